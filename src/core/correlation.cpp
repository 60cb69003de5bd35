// Autocorrelation, cross-correlation and lag searches: checked entry points
// and the internal variants the codecs call.
//
// Each function keeps its own accumulation word: wrapping 32-bit sums
// (dotWrap_16s, lagCorrWrap_16s) or exact 64-bit sums (dot_16s) limited once
// at the end. Where the reference codecs accumulate with L_mac, the results
// agree wherever the reference does not saturate inside a sum.
#include <float.h>

#include "basop.h"
#include "check.h"
#include "filter_internal.h"
#include "flt_kernels_decl.h"
#include "scale.h"
#include "vec_kernels_decl.h"

using kel::Args;
namespace vec = kel::vec;

namespace {

// Wrapping sum of x[i] * y[i] over i < n; 0 for an empty range.
int32_t dotWrap(const Kel16s* x, const Kel16s* y, int n) { return n > 0 ? vec::dotWrap_16s(x, y, n) : 0; }

// Exact sum of x[i] * y[i] over i < n; 0 for an empty range.
int64_t dot64(const Kel16s* x, const Kel16s* y, int n) { return n > 0 ? vec::dot_16s(x, y, n) : 0; }

// Doubling with saturation: above 1073741823 gives 2147483647, below
// -1073741824 gives -2147483648.
Kel32s doubleSat(int32_t s) { return kel::L_shlSat(s, 1); }
Kel32s doubleWrap(int32_t s) { return static_cast<Kel32s>(static_cast<uint32_t>(s) << 1); }

// A 64-bit sum shifted left by 1..31, saturated to 32 bits.
Kel32s shlSat64(int64_t s, int n) { return kel::shlSatTo<Kel32s>(s, n); }

// The "rounded to 16 bits" of the normalised forms: 2147450880 and above
// give 32767, else (v + 32768) >> 16 (the round operator).
Kel16s round16(Kel32s v) { return kel::round_fx(v); }

// Normalised 16-bit autocorrelation from its zero-lag word r0 (the _NR form
// and its stepped variant): lags are 64-bit sums at k * step.
void autoCorrNormNR(const Kel16s* x, int len, int step, Kel32s r0, Kel16s* pDst, int lagCount, int* pNorm) {
    const int n = kel::Norm_32s_I(&r0);
    *pNorm = n;
    pDst[0] = round16(r0);
    for (int k = 1; k < lagCount; ++k) {
        const int64_t lag = int64_t{k} * step;
        const int64_t s = lag < len ? dot64(x, x + lag, len - static_cast<int>(lag)) : 0;
        pDst[k] = round16(shlSat64(s, n + 1));
    }
}

}  // namespace

// ---------------------------------------------------------------------------
// Autocorrelation
// ---------------------------------------------------------------------------

KelStatus kelsAutoCorr_16s32s(const Kel16s* pSrc, int len, Kel32s* pDst, int lagCount) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len).len(lagCount));
    const int direct = lagCount < len ? lagCount : len;
    for (int k = 0; k < direct; ++k) pDst[k] = dotWrap(pSrc, pSrc + k, len - k);
    for (int k = direct; k < lagCount; ++k) pDst[k] = 0;
    return kelStatusOk;
}

KelStatus kelsAutoCorr_NormE_16s32s(const Kel16s* pSrc, int len, Kel32s* pDst, int lagCount, int* pNorm) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pNorm).len(len).len(lagCount));
    // The energy as kelsDotProd_16s32s_Sfs gives it: 64-bit, saturated.
    const Kel32s e = kel::sat32(vec::dot_16s(pSrc, pSrc, len));
    // Too loud: the caller scales the signal down and calls again (as the
    // G.729 Autocorr loop divides its windowed signal by 4 on overflow).
    if (e > 1073741823) return kelStatusOverflow;
    Kel32s r0 = 2 * e + 1;  // + 1 keeps r0 non-zero for a silent frame
    const int n = kel::Norm_32s_I(&r0);
    pDst[0] = r0;
    *pNorm = n;
    for (int k = 1; k < lagCount; ++k) pDst[k] = kel::L_shlSat(k < len ? dotWrap(pSrc, pSrc + k, len - k) : 0, n + 1);
    return kelStatusOk;
}

KelStatus kelsAutoCorr_NormE_NR_16s(const Kel16s* pSrc, int len, Kel16s* pDst, int lagCount, int* pNorm) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pNorm).len(len).len(lagCount));
    const Kel32s e = kel::sat32(vec::dot_16s(pSrc, pSrc, len));
    autoCorrNormNR(pSrc, len, 1, e < 1073741824 ? 2 * e : kel::kMax32, pDst, lagCount, pNorm);
    return kelStatusOk;
}

void kel::_kelsAutoCorr_NormE_Step_NR_16s(const Kel16s* pSrc, int len, int step, Kel16s* pDst, int lagCount,
                                          int* pNorm) {
    const int64_t e = vec::dot_16s(pSrc, pSrc, len);
    autoCorrNormNR(pSrc, len, step, 2 * static_cast<Kel32s>(e < 1073741823 ? e : 1073741823), pDst, lagCount, pNorm);
}

void kel::_kelsAutoCorr_Inv_16s32s(const Kel16s* pSrc, int len, Kel32s* pDst, int lagCount) {
    for (int k = 0; k < lagCount; ++k) pDst[k] = sat32(vec::dot_16s(pSrc, pSrc - k, len));
}

// ---------------------------------------------------------------------------
// Cross-correlation
// ---------------------------------------------------------------------------

KelStatus kelsCrossCorr_16s32s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDst, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    for (int k = 0; k < len; ++k) {
        const int32_t c = dotWrap(pSrc1, pSrc2 + k, len - k);
        if (scaleFactor >= 0) {
            pDst[k] = c >> (scaleFactor > 31 ? 31 : scaleFactor);  // arithmetic, truncating
        } else {
            // Wrapping left shift; 32 or more leaves nothing.
            pDst[k] = scaleFactor < -31 ? 0 : static_cast<Kel32s>(static_cast<uint32_t>(c) << -scaleFactor);
        }
    }
    return kelStatusOk;
}

KelStatus kelsCrossCorr_NR_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel16s* pDst, int lagCount) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len).len(lagCount));
    for (int k = 0; k < lagCount; ++k) {
        const uint32_t c = static_cast<uint32_t>(dotWrap(pSrc1, pSrc2 + k, len));
        pDst[k] = static_cast<Kel16s>(static_cast<int32_t>(c + 16384) >> 15);
    }
    return kelStatusOk;
}

KelStatus kelsCrossCorr_NormM_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel16s* pDst) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    // The doubled correlations (as G.729 Cor_h_X keeps them on 32 bits),
    // kept on the stack for the usual subframe lengths and recomputed for
    // longer vectors.
    constexpr int kKept = 256;
    Kel32s kept[kKept];
    const auto corr = [&](int k) { return k < kKept ? kept[k] : doubleWrap(dotWrap(pSrc1, pSrc2 + k, len - k)); };
    Kel32s m = 0;
    for (int k = 0; k < len; ++k) {
        const Kel32s c = doubleWrap(dotWrap(pSrc1, pSrc2 + k, len - k));
        if (k < kKept) kept[k] = c;
        const Kel32s a = kel::L_abs(c);
        m = a > m ? a : m;
    }
    // The largest magnitude lands just below 2^13 (n limited to 16).
    const int n = kel::norm_l(m) > 16 ? 16 : kel::norm_l(m);
    for (int k = 0; k < len; ++k) pDst[k] = static_cast<Kel16s>(corr(k) >> (18 - n));
    return kelStatusOk;
}

void kel::_kelsCrossCorr_Fwd_16s32s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDst, int lagCount) {
    vec::lagCorrWrap_16s(pSrc1, pSrc2, len, 0, lagCount, 1, pDst);
    for (int k = 0; k < lagCount; ++k) pDst[k] = doubleSat(pDst[k]);
}

void kel::_kelsCrossCorr_Fwd_Low_16s32s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDst, int lagCount) {
    vec::lagCorrWrap_16s(pSrc1, pSrc2, len, 0, lagCount, 1, pDst);
    for (int k = 0; k < lagCount; ++k) pDst[k] = doubleWrap(pDst[k]);
}

void kel::_kelsCrossCorr_Inv_16s32s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDst, int lagCount) {
    vec::lagCorrWrap_16s(pSrc1, pSrc2, len, 0, lagCount, -1, pDst);
    for (int k = 0; k < lagCount; ++k) pDst[k] = doubleSat(pDst[k]);
}

void kel::_kelsCrossCorr_Step_NR_Sfs_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, int step, Kel16s* pDst,
                                         int lagCount, int sf) {
    const uint32_t rnd = sf > 0 ? uint32_t{1} << (sf - 1) : 0;
    for (int j = 0; j < lagCount; ++j) {
        const int64_t lag = int64_t{j} * step;
        const uint32_t c =
            static_cast<uint32_t>(lag < len ? dotWrap(pSrc1, pSrc2 + lag, len - static_cast<int>(lag)) : 0);
        pDst[j] = static_cast<Kel16s>(static_cast<int32_t>(c + rnd) >> sf);
    }
}

// ---------------------------------------------------------------------------
// Lag searches
// ---------------------------------------------------------------------------

namespace {

// Best of the wrapping correlations at lags lagMin..lagMax (ascending,
// strictly greater replaces: ties keep the smaller lag); the best starts at
// -2147483648 with index 0. dir +1 reads x[i + lag], -1 reads x[i - lag].
void autoCorrLagMax(const Kel16s* x, int len, int lagMin, int lagMax, int dir, Kel32s* pMax, int* pIndex) {
    int32_t best = kel::kMin32;
    int index = 0;
    constexpr int kBlock = 64;  // lags per pass of the kernel
    Kel32s c[kBlock];
    for (int64_t lag = lagMin; lag <= lagMax; lag += kBlock) {
        const int count = static_cast<int>(lagMax - lag + 1 < kBlock ? lagMax - lag + 1 : kBlock);
        vec::lagCorrWrap_16s(x, x, len, static_cast<int>(lag), count, dir, c);
        for (int j = 0; j < count; ++j) {
            if (c[j] > best) {
                best = c[j];
                index = static_cast<int>(lag) + j;
            }
        }
    }
    *pMax = doubleSat(best);
    *pIndex = index;
}

}  // namespace

KelStatus kelsCrossCorrLagMax_16s(const Kel16s* pSrc, const Kel16s* pSrc2, int len, int maxLag, Kel32s* pMax,
                                  int* pIndex) {
    KEL_CHECK(Args().ptr(pSrc, pSrc2, pMax, pIndex).len(len).require(maxLag >= 0, kelStatusOutOfRange));
    // Lags from maxLag down to 0, each correlation as kelsDotProd_16s32s_Sfs
    // (64-bit, saturated); strictly greater replaces, so among equal maxima
    // the largest lag wins, and no positive correlation leaves 0 at maxLag.
    Kel32s best = 0;
    int index = maxLag;
    const auto consider = [&](Kel32s c, int lag) {
        if (c > best) {
            best = c;
            index = lag;
        }
    };
    // When no sum can leave 32 bits (len * max|x| * max|y| below 2^31), the
    // wrapping sums are the exact ones and the lags share the loads of x.
    // (maxAbs_16s counts -32768 as 32767, hence the + 1.)
    const int64_t span = int64_t{len} + maxLag;
    if (span <= kel::kMax32 &&
        int64_t{len} * (vec::maxAbs_16s(pSrc, len) + 1) * (vec::maxAbs_16s(pSrc2, static_cast<int>(span)) + 1) <=
            kel::kMax32) {
        constexpr int kBlock = 64;
        Kel32s c[kBlock];
        for (int hi = maxLag; hi >= 0; hi -= kBlock) {
            const int lo = hi - kBlock + 1 > 0 ? hi - kBlock + 1 : 0;
            vec::lagCorrWrap_16s(pSrc, pSrc2, len, lo, hi - lo + 1, 1, c);
            for (int lag = hi; lag >= lo; --lag) consider(c[lag - lo], lag);
        }
    } else {
        for (int lag = maxLag; lag >= 0; --lag) consider(kel::sat32(vec::dot_16s(pSrc, pSrc2 + lag, len)), lag);
    }
    *pMax = best;
    *pIndex = index;
    return kelStatusOk;
}

KelStatus kelsAutoCorrLagMax_Fwd_16s(const Kel16s* pSrc, int len, int lagMin, int lagMax, Kel32s* pMax, int* pIndex) {
    KEL_CHECK(Args().ptr(pSrc, pMax, pIndex).len(len));
    autoCorrLagMax(pSrc, len, lagMin, lagMax, 1, pMax, pIndex);
    return kelStatusOk;
}

KelStatus kelsAutoCorrLagMax_Inv_16s(const Kel16s* pSrc, int len, int lagMin, int lagMax, Kel32s* pMax, int* pIndex) {
    KEL_CHECK(Args().ptr(pSrc, pMax, pIndex).len(len));
    autoCorrLagMax(pSrc, len, lagMin, lagMax, -1, pMax, pIndex);
    return kelStatusOk;
}

void kel::_kelsCrossCorrLagMax_Inv_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, int lagMin, int lagMax,
                                       Kel32s* pMax, int* pIndex) {
    Kel32s best = kMin32;
    int index = 0;
    for (int lag = lagMin; lag <= lagMax; ++lag) {
        const Kel32s c = sat32(2 * vec::dot_16s(pSrc1, pSrc2 - lag, len));
        if (c > best) {
            best = c;
            index = lag;
        }
    }
    *pMax = best;
    *pIndex = index;
}

// Float searches: sums in double precision (the products of two floats are
// exact in a double), in index order.
KelStatus kelsAutoCorrLagMax_32f(const Kel32f* pSrc, int len, int lagMin, int lagMax, Kel32f* pMax, int* pIndex) {
    KEL_CHECK(Args().ptr(pSrc, pMax, pIndex).len(len));
    // The upper bound is exclusive here, unlike the 16-bit searches.
    double best = -static_cast<double>(FLT_MAX);
    int index = 0;
    for (int lag = lagMin; lag < lagMax; ++lag) {
        double s = 0;
        for (int i = 0; i < len; ++i) s += static_cast<double>(pSrc[i]) * pSrc[i - lag];
        if (s > best) {
            best = s;
            index = lag;
        }
    }
    *pMax = static_cast<Kel32f>(best);
    *pIndex = index;
    return kelStatusOk;
}

KelStatus kelsCrossCorrLagMax_32f64f(const Kel32f* pSrc, const Kel32f* pSrc2, int len, int maxLag, Kel64f* pMax,
                                     int* pIndex) {
    KEL_CHECK(Args().ptr(pSrc, pSrc2, pMax, pIndex).len(len).require(maxLag >= 0, kelStatusOutOfRange));
    // Lags from maxLag down to 0; strictly greater replaces, so ties keep
    // the larger lag.
    double best = -3.4028234663852886e38;
    int index = 0;
    for (int lag = maxLag; lag >= 0; --lag) {
        double s = 0;
        for (int i = 0; i < len; ++i) s += static_cast<double>(pSrc[i]) * pSrc2[i + lag];
        if (s > best) {
            best = s;
            index = lag;
        }
    }
    *pMax = best;
    *pIndex = index;
    return kelStatusOk;
}
