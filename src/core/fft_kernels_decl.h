// The dispatched real-FFT kernels (see dispatch.h): one X-macro row each.
//
// fftForward_32f: N = 2 * plan->M real samples (src) to Perm (ccs = 0, N
//     values) or CCS (ccs = 1, N + 2 values) in dst, scaled when the plan
//     says so. work: 4 * M floats, 64-byte aligned. src may equal dst.
// fftInverse_32f: CCS in src to N real samples in dst, scaled when the
//     plan says so. The imaginary parts of the DC and Nyquist bins are not
//     read. Same work area; src may equal dst.
// fftSmallForward_32f, fftSmallInverse_32f: the same transforms of a block
//     of order 4 or 5 (N = 16, 32) with the same results, without work
//     area (fft_small.h); they return 0, doing nothing, for other orders
//     or where the variant has none (the caller then runs the above).
#ifndef KELSC_CORE_FFT_KERNELS_DECL_H
#define KELSC_CORE_FFT_KERNELS_DECL_H

#include "dispatch.h"
#include "fft_internal.h"
#include "kelsc.h"

// X(return type, name, parameter list, argument list)
#define KEL_FFT_KERNELS(X)                                                                                     \
    X(void, fftForward_32f, (const kel::FftPlan* plan, const Kel32f* src, Kel32f* dst, Kel32f* work, int ccs), \
      (plan, src, dst, work, ccs))                                                                             \
    X(void, fftInverse_32f, (const kel::FftPlan* plan, const Kel32f* src, Kel32f* dst, Kel32f* work),          \
      (plan, src, dst, work))                                                                                  \
    X(int, fftSmallForward_32f, (const kel::FftHeader32f* h, const Kel32f* src, Kel32f* dst, int ccs),         \
      (h, src, dst, ccs))                                                                                      \
    X(int, fftSmallInverse_32f, (const kel::FftHeader32f* h, const Kel32f* src, Kel32f* dst), (h, src, dst))

KEL_DECLARE_KERNELS(KEL_FFT_KERNELS)

#endif  // KELSC_CORE_FFT_KERNELS_DECL_H
