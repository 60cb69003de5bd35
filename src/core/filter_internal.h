// Internal correlation and filter kernels that the codec families call:
// variants of the exported operations with other accumulation words or lag
// layouts (_kels...), and the unchecked kernels of exported filters (own...).
// No checks and no status: callers pass valid pointers, lengths and scale
// factors. "History" means samples the kernel reads before the pointer it is
// given; they must exist in the caller's buffer.
#ifndef KELSC_CORE_FILTER_INTERNAL_H
#define KELSC_CORE_FILTER_INTERNAL_H

#include "kelsc.h"

namespace kel {

// ---------------------------------------------------------------------------
// Autocorrelation
// ---------------------------------------------------------------------------

// As kelsAutoCorr_NormE_NR_16s with lag k taken as k * step samples:
// E = the 64-bit energy limited to 1073741823, r0 = 2E, n = norm_l(r0),
// *pNorm = n, pDst[0] = round(r0 << n); for k >= 1 the 64-bit sum of
// x[i] * x[i + k * step] (i < len - k * step) shifted left by n + 1,
// saturated to 32 bits and rounded to 16 bits. pDst: [lagCount].
void _kelsAutoCorr_NormE_Step_NR_16s(const Kel16s* pSrc, int len, int step, Kel16s* pDst, int lagCount, int* pNorm);

// pDst[k] = sat32(sum over i < len of x[i] * x[i - k]) in 64 bits,
// k < lagCount. History: lagCount - 1 samples before pSrc.
void _kelsAutoCorr_Inv_16s32s(const Kel16s* pSrc, int len, Kel32s* pDst, int lagCount);

// ---------------------------------------------------------------------------
// Cross-correlation (x = pSrc1, y = pSrc2)
// ---------------------------------------------------------------------------

// pDst[k] = 2 * sum over i < len of x[i] * y[i + k], k < lagCount: the sum
// wraps in 32 bits, the doubling saturates (above 1073741823 gives
// 2147483647, below -1073741824 gives -2147483648). y: [len + lagCount - 1].
void _kelsCrossCorr_Fwd_16s32s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDst, int lagCount);
// As _kelsCrossCorr_Fwd_16s32s with a wrapping doubling.
void _kelsCrossCorr_Fwd_Low_16s32s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDst, int lagCount);
// pDst[k] = 2 * sum over i < len of x[i] * y[i - k] with the saturated
// doubling of _kelsCrossCorr_Fwd_16s32s. History: lagCount - 1 samples
// before pSrc2.
void _kelsCrossCorr_Inv_16s32s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDst, int lagCount);
// For j < lagCount with lag = j * step: c = sum over i < len - lag of
// x[i] * y[i + lag] (wrapping), pDst[j] = (c + 2^(sf-1)) >> sf (no rounding
// term for sf = 0; the addition wraps), stored as 16 bits without
// saturation. 0 <= sf <= 31.
void _kelsCrossCorr_Step_NR_Sfs_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, int step, Kel16s* pDst,
                                    int lagCount, int sf);

// Lag search over lagMin..lagMax ascending: v = sat32(2 * sum over i < len
// of x[i] * y[i - lag]) from a 64-bit sum; a lag replaces the best only if
// its v is strictly greater, so ties keep the smaller lag. The best starts
// at -2147483648 with index 0 (the result when lagMin > lagMax). History:
// lagMax samples before pSrc2.
void _kelsCrossCorrLagMax_Inv_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, int lagMin, int lagMax,
                                  Kel32s* pMax, int* pIndex);

// ---------------------------------------------------------------------------
// Unchecked kernels of the exported filters
// ---------------------------------------------------------------------------

// 10th-order synthesis filter: y[n] = (a[0] * x[n] - sum over k = 1..10 of
// a[k] * y[n - k] + 2^(sf-1)) >> sf with wrapping sums; y[n - k] for
// n - k < 0 from pMem (10 past outputs, oldest first) or zero when pMem is
// null. saturate: each output saturated to 16 bits (else stored as 16 bits).
// pSrc may equal pDst. 1 <= sf <= 31 (12 and 13 take a faster path).
// Returns true when an output was saturated.
bool ownSynthesisFilter_NR_16s(const Kel16s* pLPC, const Kel16s* pSrc, Kel16s* pDst, int len, int sf,
                               const Kel16s* pMem, bool saturate);

// e[n] = sat16((sum over k = 0..order of a[k] * x[n - k] + 2^(sf-1)) >> sf),
// wrapping 32-bit sum, 0 <= sf <= 15. History: order samples before pSrc.
// pSrc and pDst must not overlap.
void ownResidualFilter_16s(const Kel16s* pLPC, int order, const Kel16s* pSrc, Kel16s* pDst, int len, int sf);

}  // namespace kel

#endif  // KELSC_CORE_FILTER_INTERNAL_H
