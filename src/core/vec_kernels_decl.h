// The table of dispatched vector kernels: one X-macro row per kernel, used
// to declare each instruction-set variant and the dispatched entry points.
#ifndef KELSC_CORE_VEC_KERNELS_DECL_H
#define KELSC_CORE_VEC_KERNELS_DECL_H

#include <stdint.h>

#include "kelsc.h"

// X(return type, name, parameter list, argument list)
#define KEL_VEC_KERNELS(X)                                                                              \
    X(void, add_16s, (const Kel16s* a, const Kel16s* b, Kel16s* d, int n), (a, b, d, n))                \
    X(void, sub_16s, (const Kel16s* a, const Kel16s* b, Kel16s* d, int n), (a, b, d, n))                \
    X(void, abs_16s, (const Kel16s* s, Kel16s* d, int n), (s, d, n))                                    \
    X(void, add_32f, (const Kel32f* a, const Kel32f* b, Kel32f* d, int n), (a, b, d, n))                \
    X(void, sub_32f, (const Kel32f* a, const Kel32f* b, Kel32f* d, int n), (a, b, d, n))                \
    X(void, mul_32f, (const Kel32f* a, const Kel32f* b, Kel32f* d, int n), (a, b, d, n))                \
    X(void, mulNR_16s, (const Kel16s* a, const Kel16s* b, Kel16s* d, int n, int sf), (a, b, d, n, sf))  \
    X(void, mulCNR_16s, (const Kel16s* a, Kel16s v, Kel16s* d, int n, int sf), (a, v, d, n, sf))        \
    X(void, mul_16s32s, (const Kel16s* a, const Kel16s* b, Kel32s* d, int n, int sf), (a, b, d, n, sf)) \
    X(void, mulC_16s, (Kel16s v, const Kel16s* s, Kel16s* d, int n, int sf), (v, s, d, n, sf))          \
    X(void, lshift_16u, (const Kel16u* s, int sh, Kel16u* d, int n), (s, sh, d, n))                     \
    X(void, rshift_16s, (const Kel16s* s, int sh, Kel16s* d, int n), (s, sh, d, n))                     \
    X(void, lshift_32s, (const Kel32s* s, int sh, Kel32s* d, int n), (s, sh, d, n))                     \
    X(void, rshift_32s, (const Kel32s* s, int sh, Kel32s* d, int n), (s, sh, d, n))                     \
    X(int64_t, sum_16s, (const Kel16s* s, int n), (s, n))                                               \
    X(int64_t, sum_32s, (const Kel32s* s, int n), (s, n))                                               \
    X(int64_t, dot_16s, (const Kel16s* a, const Kel16s* b, int n), (a, b, n))                           \
    X(Kel16s, max_16s, (const Kel16s* s, int n), (s, n))                                                \
    X(Kel16s, min_16s, (const Kel16s* s, int n), (s, n))                                                \
    X(Kel32s, max_32s, (const Kel32s* s, int n), (s, n))                                                \
    X(Kel16s, maxAbs_16s, (const Kel16s* s, int n), (s, n))                                             \
    X(int, findFirst_16s, (const Kel16s* s, int n, Kel16s v), (s, n, v))                                \
    X(void, conv_16s32s, (const Kel16s* s, Kel32s* d, int n), (s, d, n))                                \
    X(void, conv_16s32f, (const Kel16s* s, Kel32f* d, int n), (s, d, n))                                \
    X(void, conv_32s32f, (const Kel32s* s, Kel32f* d, int n), (s, d, n))                                \
    X(void, set_16s, (Kel16s v, Kel16s * d, int n), (v, d, n))                                          \
    X(void, set_32s, (Kel32s v, Kel32s * d, int n), (v, d, n))

#define KEL_VEC_DECLARE(ret, name, params, args) ret name params;

namespace kel {
// Baseline build (SSE2 on x86-64, plain scalar code on i386).
namespace base {
KEL_VEC_KERNELS(KEL_VEC_DECLARE)
}
#if defined(__i386__) || defined(__x86_64__)
#define KEL_HAVE_AVX2_VARIANT 1
namespace avx2 {
KEL_VEC_KERNELS(KEL_VEC_DECLARE)
}
namespace avx512 {
KEL_VEC_KERNELS(KEL_VEC_DECLARE)
}
// True when the processor and the operating system support AVX2, and
// AVX-512 F/BW/VL with the 512-bit register state.
bool cpuHasAvx2();
bool cpuHasAvx512();
#endif
// Entry points bound once per process to the best variant.
namespace vec {
KEL_VEC_KERNELS(KEL_VEC_DECLARE)
}
}  // namespace kel

#endif  // KELSC_CORE_VEC_KERNELS_DECL_H
