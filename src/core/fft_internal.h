// Real FFT: the layout of the FFT blocks (KelFFTSpec_R_32f and
// KelFFTSpec_R_16s32s) and the per-call view of a block that the dispatched
// kernels take (fft_kernels.h).
//
// A real transform of N = 2^order samples runs as a complex transform of
// M = N / 2 points on the even samples (real parts) and odd samples
// (imaginary parts), then a recombination pass (Perm/CCS packing). The
// complex transform is a radix-4 Stockham autosort transform in split
// format (real parts and imaginary parts in separate arrays) that works
// between two buffers of the caller's work area; a final radix-2 pass
// completes odd powers of two. It needs no bit reversal and its results do
// not depend on the vector width: every instruction-set variant performs
// the same operations on each value in the same order.
//
// Float block (at the first 16-byte boundary of the caller's memory):
//
//     offset  0: identity tag, 6
//             4: order (0..30)
//             8: 1 when the forward result is scaled
//            12: 1 when the inverse result is scaled
//            16: the scale factor (float: 1/N or 1/sqrt(N); 1 otherwise)
//            20: the caller's algorithm hint (stored, not used)
//            24: work-buffer bytes the transforms need (0: none)
//            28: 1 when the library allocated the block (always 0)
//            32: tables (order >= 4), all float, each array 16-byte aligned:
//                radix-4 twiddles: six arrays of twStride floats,
//                    Re W^p, Im W^p, Re W^2p, Im W^2p, Re W^3p, Im W^3p
//                    for p = 0..M/4-1, W = exp(-2 pi i / M);
//                forward recombination: M/2 real parts, M/2 imaginary parts
//                    of -i/2 exp(-2 pi i k / N), k = 1..M/2;
//                inverse recombination: likewise i exp(+2 pi i k / N).
//
// The block holds no pointers: every table sits at a fixed offset from the
// header, so a copy of the block at any 16-byte boundary is as good as the
// original.
//
// 16-bit block: a 24-byte header (tag 'g','S','M','L' read as a
// little-endian word, order, hint, work-buffer bytes of the 16-bit
// transforms, library-allocated flag, and the byte offset from the header to
// the float block), then the float block of the same order and flag at the
// next 16-byte boundary.
#ifndef KELSC_CORE_FFT_INTERNAL_H
#define KELSC_CORE_FFT_INTERNAL_H

#include <stdint.h>

#include "kelsc.h"

namespace kel {

constexpr int32_t kFftTag32f = 6;
constexpr int32_t kFftTag16s = 1280136039;  // 'g','S','M','L'
constexpr int kFftMaxOrder = 30;
constexpr int kFftSmallOrders = 4;  // orders below this use straight-line kernels

struct FftHeader32f {
    int32_t tag;
    int32_t order;
    int32_t scaleFwd;
    int32_t scaleInv;
    float scale;
    int32_t hint;
    int32_t workBytes;
    int32_t allocated;
};
static_assert(sizeof(FftHeader32f) == 32, "the float header is 32 bytes");

struct FftHeader16s {
    int32_t tag;
    int32_t order;
    int32_t hint;
    int32_t workBytes;
    int32_t allocated;
    int32_t floatOffset;
};
static_assert(sizeof(FftHeader16s) == 24, "the 16-bit header is 24 bytes");

// What one transform of order >= 4 needs from a float block.
struct FftPlan {
    int M;              // complex points, N / 2, at least 8
    const float* tw;    // radix-4 twiddles: six arrays twStride floats apart
    int twStride;       // floats
    const float* recF;  // forward recombination, k = 1..M/2: M/2 Re, then M/2 Im
    const float* recI;  // inverse recombination, same layout
    float scale;
    bool scaleFwd;
    bool scaleInv;
};

// Floats per radix-4 twiddle array: M/4 rounded up to whole 16-byte units.
constexpr int fftTwiddleStride(int M) { return (M / 4 + 3) / 4 * 4; }

// The kernels' view of a float block of order >= 4 (fft.cpp).
FftPlan fftPlanOf(const FftHeader32f* h);

}  // namespace kel

#endif  // KELSC_CORE_FFT_INTERNAL_H
