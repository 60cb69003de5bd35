// G.729 closed-loop adaptive-codebook searches (3.7, A.3.7 and the
// 6.4 kbit/s second sub-frame of annex D) and the normalised correlation
// they maximise, with the arithmetic of Pitch_fr3, Norm_Corr, Interpol_3
// (PITCH.C), Pitch_fr3_fast (PITCH_A.C) and Pitch_fr3D (pitchd.c) of the
// G.729 Release 2 reference.
//
// Speed: the normalised correlation runs per sub-frame over 15 or 18 lags.
// Its sums are taken in plain integers wherever a bound shows that the
// reference's per-step saturation cannot act (then both give the same
// value), and with the reference's saturating steps otherwise.
#include <stdint.h>
#include <string.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "basop.h"
#include "check.h"
#include "flt_kernels_decl.h"
#include "g729/g729_internal.h"

using kel::Args;

namespace {

using kel::g729::kInter3;
constexpr int kSub = kel::kPitchSubframe;
constexpr int kHist = kel::kPitchHistory;
constexpr int kInterTaps = 4;  // L_INTER4: taps each side of the correlation interpolation

inline Kel16s sat16(int32_t x) { return static_cast<Kel16s>(x > 32767 ? 32767 : x < -32768 ? -32768 : x); }

// Convolve of FILTER.C: y[n] = extract_h(L_shl(sum of L_mac(x[i], h[n - i]),
// 3)). When max|x| * sum|h| is below 2^30 no partial sum of doubled products
// reaches 2^31, and the result is sat16(sum >> 12) of the plain sum.
void convolveSat(const Kel16s* x, const Kel16s* h, Kel16s* y) {
    int32_t maxX = 0, sumH = 0;
    for (int i = 0; i < kSub; ++i) {
        const int32_t ax = x[i] < 0 ? -int32_t{x[i]} : x[i];
        maxX = ax > maxX ? ax : maxX;
        sumH += h[i] < 0 ? -int32_t{h[i]} : h[i];
    }
    if (int64_t{maxX} * sumH < (int64_t{1} << 30)) {
        Kel32s s[kSub];
        kel::vec::convWrap_16s32s(x, h, s, 0, kSub);
        for (int n = 0; n < kSub; ++n) y[n] = sat16(s[n] >> 12);
        return;
    }
    for (int n = 0; n < kSub; ++n) {
        Kel32s s = 0;
        for (int i = 0; i <= n; ++i) s = kel::L_mac(s, x[i], h[n - i]);
        y[n] = kel::extract_h(kel::L_shl(s, 3));
    }
}

int32_t maxAbs(const Kel16s* x) {
    int32_t m = 0;
    for (int j = 0; j < kSub; ++j) {
        const int32_t a = x[j] < 0 ? -int32_t{x[j]} : x[j];
        m = a > m ? a : m;
    }
    return m;
}

}  // namespace

void kel::ownPitchSearchRange_G729(int valOpenDelay, int subFrame, int* pMin, int* pMax) {
    const int below = subFrame == 0 ? 3 : 5, width = subFrame == 0 ? 6 : 9;
    int lo = valOpenDelay - below;
    if (lo < 20) lo = 20;
    int hi = lo + width;
    if (hi > 143) hi = 143, lo = 143 - width;
    *pMin = lo;
    *pMax = hi;
}

namespace {

// The filtered vector of one lag, f[0..39] at f + kPad, with a zero at
// f[-1] so that the update reads f[j - 1] for every j.
constexpr int kPad = 8;
struct Filtered {
    alignas(16) Kel16s v[kPad + kSub];
    Filtered() { v[kPad - 1] = 0; }
    Kel16s* f() { return v + kPad; }
};

// Next lag: next[j] = sat16(sat16((x h[j]) >> shift) + f[j - 1]) for j >= 1
// (extract_h(L_shl(L_mult(x, h), 3 - scaling)) added to f[j - 1] with add),
// next[0] = x >> scaling. Returns max |next[j]| (saturated to 32767).
int32_t updateFiltered(Filtered& in, Filtered& out, const Kel16s* h, int32_t x, int shift, int scaling) {
    const Kel16s* f = in.f();
    Kel16s* d = out.f();
#if defined(__SSE2__)
    // The 32-bit products from their low and high halves, shifted, narrowed
    // with saturation (packs), added with saturation (adds): the same
    // operations lane by lane. Lane 0 of the first pack is replaced below.
    const __m128i xv = _mm_set1_epi16(static_cast<Kel16s>(x));
    const __m128i sh = _mm_cvtsi32_si128(shift);
    // The largest magnitude (subs: |-32768| counts as 32767), lane 0 of the
    // first pack masked out.
    __m128i keep = _mm_set_epi16(-1, -1, -1, -1, -1, -1, -1, 0);
    __m128i m = _mm_setzero_si128();
    for (int j = 0; j < kSub; j += 8) {
        const __m128i hv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(h + j));
        const __m128i lo = _mm_mullo_epi16(xv, hv), hi = _mm_mulhi_epi16(xv, hv);
        const __m128i p0 = _mm_sra_epi32(_mm_unpacklo_epi16(lo, hi), sh);
        const __m128i p1 = _mm_sra_epi32(_mm_unpackhi_epi16(lo, hi), sh);
        const __m128i prev = _mm_loadu_si128(reinterpret_cast<const __m128i*>(f + j - 1));
        const __m128i v = _mm_adds_epi16(_mm_packs_epi32(p0, p1), prev);
        _mm_store_si128(reinterpret_cast<__m128i*>(d + j), v);
        m = _mm_max_epi16(m, _mm_and_si128(keep, _mm_max_epi16(v, _mm_subs_epi16(_mm_setzero_si128(), v))));
        keep = _mm_set1_epi16(-1);
    }
    // Lane 0 held the j = 0 term, which is not part of the vector.
    d[0] = static_cast<Kel16s>(x >> scaling);
    m = _mm_max_epi16(m, _mm_srli_si128(m, 8));
    m = _mm_max_epi16(m, _mm_srli_si128(m, 4));
    m = _mm_max_epi16(m, _mm_srli_si128(m, 2));
    const int32_t mx = static_cast<Kel16s>(_mm_cvtsi128_si32(m));
    const int32_t a0 = d[0] < 0 ? -int32_t{d[0]} : d[0];
    return a0 > mx ? a0 : mx;
#else
    int32_t mx = 0;
    for (int j = 1; j < kSub; ++j) {
        const int32_t v = sat16(int32_t{sat16((x * h[j]) >> shift)} + f[j - 1]);
        d[j] = static_cast<Kel16s>(v);
        const int32_t a = v < 0 ? (v == -32768 ? 32767 : -v) : v;
        mx = a > mx ? a : mx;
    }
    d[0] = static_cast<Kel16s>(x >> scaling);
    const int32_t a0 = d[0] < 0 ? -int32_t{d[0]} : d[0];
    return a0 > mx ? a0 : mx;
#endif
}

// Dot product of 40 samples, wrapping 32-bit sums (exact where used).
int32_t dot40(const Kel16s* a, const Kel16s* b) {
#if defined(__SSE2__)
    __m128i acc = _mm_setzero_si128();
    for (int j = 0; j < kSub; j += 8)
        acc = _mm_add_epi32(acc, _mm_madd_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(a + j)),
                                                _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + j))));
    acc = _mm_add_epi32(acc, _mm_shuffle_epi32(acc, 0x4e));
    acc = _mm_add_epi32(acc, _mm_shuffle_epi32(acc, 0xb1));
    return _mm_cvtsi128_si32(acc);
#else
    uint32_t s = 0;
    for (int j = 0; j < kSub; ++j) s += static_cast<uint32_t>(int32_t{a[j]} * b[j]);
    return static_cast<int32_t>(s);
#endif
}

// Sum of squares of 40 samples: in 32 bits when every |x| <= 7326
// (40 x 7326^2 < 2^31; and no pair of madd reaches 2^31).
int64_t energy40(const Kel16s* x, int32_t maxAbsX) {
    if (maxAbsX <= 7326) return dot40(x, x);
    int64_t e = 0;
    for (int j = 0; j < kSub; ++j) e += int32_t{x[j]} * x[j];
    return e;
}

}  // namespace

void kel::ownNormCorr_G729_16s(const Kel16s* pExc, const Kel16s* pTarget, const Kel16s* pImp, int tMin, int tMax,
                               Kel16s* pCorr) {
    // The past excitation at lag tMin filtered by h; later lags are derived
    // from it one sample at a time.
    Filtered bufA, bufB;
    Filtered* cur = &bufA;
    Filtered* next = &bufB;
    Kel16s* f = cur->f();
    convolveSat(pExc - tMin, pImp, f);
    // Above 2^26 (doubled energy) the filtered vector is divided by 4 and
    // the per-lag update uses h at 2 bits less.
    int32_t maxF = maxAbs(f);
    const bool scaled = 2 * energy40(f, maxF) > (int64_t{1} << 26);
    const int scaling = scaled ? 2 : 0;
    const int hShift = 12 + scaling;
    if (scaled) {
        for (int j = 0; j < kSub; ++j) f[j] = static_cast<Kel16s>(f[j] >> 2);
        maxF = maxAbs(f);
    }

    int64_t ex = 0;
    for (int j = 0; j < kSub; ++j) ex += int32_t{pTarget[j]} * pTarget[j];
    const bool targetSmall = ex < (int64_t{1} << 30);

    for (int t = tMin;; ++t) {
        f = cur->f();
        // 1 / sqrt(energy) in Q30: the energy's L_mac sum only grows, so it
        // saturates once.
        const int64_t e = energy40(f, maxF);
        const Kel32s inv = kel::Inv_sqrt(kel::sat32(2 * e));
        // <x, f> doubled: exact when both energies are below 2^30 (then
        // |partial sum| <= sqrt(Ex Ef) < 2^30), else stepwise saturated.
        Kel32s c;
        if (targetSmall && e < (int64_t{1} << 30)) {
            c = 2 * dot40(pTarget, f);
        } else {
            c = 0;
            for (int j = 0; j < kSub; ++j) c = kel::L_mac(c, pTarget[j], f[j]);
        }
        Kel16s ch, cl, nh, nl;
        kel::L_Extract(c, &ch, &cl);
        kel::L_Extract(inv, &nh, &nl);
        pCorr[t - tMin] = sat16(kel::Mpy_32(ch, cl, nh, nl));
        if (t == tMax) break;
        // The filtered vector of the next lag, from the next older sample.
        maxF = updateFiltered(*cur, *next, pImp, pExc[-t - 1], hShift, scaling);
        Filtered* tmp = cur;
        cur = next;
        next = tmp;
    }
}

Kel16s kel::ownInterpolCorr_G729_16s(const Kel16s* pCorr, int frac) {
    const Kel16s* x = pCorr;
    if (frac < 0) frac += 3, --x;
    Kel32s s = 0;
    for (int i = 0, k = 0; i < kInterTaps; ++i, k += 3) {
        s = kel::L_mac(s, x[-i], kInter3[frac + k]);
        s = kel::L_mac(s, x[1 + i], kInter3[3 - frac + k]);
    }
    return kel::round_fx(s);
}

namespace {

// The integer lag of the normalised correlation over tMin..tMax (pCorr
// indexed from tMin - 4): scanning upwards, greater or equal replaces, so
// the largest lag wins a tie.
int integerLag(const Kel16s* pCorr, int tMin, int tMax) {
    const Kel16s* c = pCorr + kInterTaps - tMin;
    Kel16s max = c[tMin];
    int lag = tMin;
    for (int t = tMin + 1; t <= tMax; ++t)
        if (c[t] >= max) max = c[t], lag = t;
    return lag;
}

// The best fraction of lo..hi (thirds) around lag: starting with lo,
// strictly greater replaces.
int bestFraction(const Kel16s* pCorr, int tMin, int lag, int lo, int hi) {
    const Kel16s* at = pCorr + kInterTaps + (lag - tMin);
    Kel16s max = kel::ownInterpolCorr_G729_16s(at, lo);
    int frac = lo;
    for (int i = lo + 1; i <= hi; ++i) {
        const Kel16s v = kel::ownInterpolCorr_G729_16s(at, i);
        if (v > max) max = v, frac = i;
    }
    return frac;
}

// -2/3 becomes (lag - 1, +1/3), +2/3 becomes (lag + 1, -1/3).
void storeDelay(int lag, int frac, Kel16s* pDelay) {
    if (frac == -2) frac = 1, --lag;
    if (frac == 2) frac = -1, ++lag;
    pDelay[0] = static_cast<Kel16s>(lag);
    pDelay[1] = static_cast<Kel16s>(frac);
}

// The normalised correlation over tMin - 4 .. tMax + 4 (at most 18 lags).
constexpr int kCorrMax = 10 + 2 * kInterTaps;

}  // namespace

void kel::ownAdaptiveCodebookSearch_G729_16s(int valOpenDelay, const Kel16s* pTarget, const Kel16s* pImp,
                                             Kel16s* pExcBuf, int subFrame, Kel16s* pDelay) {
    int tMin, tMax;
    ownPitchSearchRange_G729(valOpenDelay, subFrame, &tMin, &tMax);
    Kel16s* exc = pExcBuf + kHist;
    Kel16s corr[kCorrMax];
    ownNormCorr_G729_16s(exc, pTarget, pImp, tMin - kInterTaps, tMax + kInterTaps, corr);
    const int lag = integerLag(corr, tMin, tMax);
    // In the first sub-frame lags of 85 and more have integer resolution.
    const int frac = (subFrame == 0 && lag > 84) ? 0 : bestFraction(corr, tMin, lag, -2, 2);
    storeDelay(lag, frac, pDelay);
    ownDecodeAdaptiveVector_G729_16s(exc, pDelay[0], pDelay[1]);
}

void kel::ownAdaptiveCodebookSearch_G729D_16s(int valOpenDelay, const Kel16s* pTarget, const Kel16s* pImp,
                                              const Kel16s* pExcBuf, int subFrame, Kel16s* pDelay) {
    int tMin, tMax;
    ownPitchSearchRange_G729(valOpenDelay, subFrame, &tMin, &tMax);
    Kel16s corr[kCorrMax];
    ownNormCorr_G729_16s(pExcBuf + kHist, pTarget, pImp, tMin - kInterTaps, tMax + kInterTaps, corr);
    const int lag = integerLag(corr, tMin, tMax);
    int frac = 0;
    if (subFrame == 0) {
        if (lag <= 84) frac = bestFraction(corr, tMin, lag, -2, 2);
    } else {
        // The 4-bit code of the second sub-frame: fractions only next to
        // the middle of the range (t_max - 4), one-sided at its edges.
        switch (lag - (tMax - 4)) {
            case -1:
            case 0: frac = bestFraction(corr, tMin, lag, -2, 2); break;
            case -2: frac = bestFraction(corr, tMin, lag, 0, 2); break;
            case 1: frac = bestFraction(corr, tMin, lag, -2, 0); break;
            default: break;
        }
    }
    storeDelay(lag, frac, pDelay);
}

namespace {

// 2 * <a, b> over 40 samples as L_mac accumulates it from 0; exact sums
// when max|b| * sum|a| stays below 2^30.
Kel32s dotSat(const Kel16s* a, int32_t sumAbsA, const Kel16s* b) {
    int32_t maxB = 0;
    for (int j = 0; j < kSub; ++j) {
        const int32_t v = b[j] < 0 ? -int32_t{b[j]} : b[j];
        maxB = v > maxB ? v : maxB;
    }
    if (int64_t{maxB} * sumAbsA < (int64_t{1} << 30)) {
        int32_t s = 0;
        for (int j = 0; j < kSub; ++j) s += int32_t{a[j]} * b[j];
        return 2 * s;
    }
    Kel32s s = 0;
    for (int j = 0; j < kSub; ++j) s = kel::L_mac(s, a[j], b[j]);
    return s;
}

}  // namespace

void kel::ownAdaptiveCodebookSearch_G729A_16s(int valOpenDelay, const Kel16s* pTarget, const Kel16s* pImp,
                                              Kel16s* pExcBuf, int subFrame, Kel16s* pDelay) {
    int tMin, tMax;
    ownPitchSearchRange_G729(valOpenDelay, subFrame, &tMin, &tMax);
    Kel16s* exc = pExcBuf + kHist;
    // The target filtered backwards through h (Cor_h_X), peak near 2^13.
    Kel16s dn[kSub];
    kelsCrossCorr_NormM_16s(pImp, pTarget, kSub, dn);
    int32_t sumAbs = 0;
    for (int j = 0; j < kSub; ++j) sumAbs += dn[j] < 0 ? -int32_t{dn[j]} : dn[j];
    // Integer lag: strictly larger replaces, the smallest lag wins a tie.
    Kel32s max = kel::kMin32;
    int lag = tMin;
    for (int t = tMin; t <= tMax; ++t) {
        const Kel32s c = dotSat(dn, sumAbs, exc - t);
        if (c > max) max = c, lag = t;
    }
    // Fraction 0, then -1/3 and +1/3, each kept only when its vector
    // correlates strictly better; the winner's vector stays in exc.
    ownDecodeAdaptiveVector_G729_16s(exc, lag, 0);
    int frac = 0;
    if (!(subFrame == 0 && lag > 84)) {
        max = dotSat(dn, sumAbs, exc);
        Kel16s kept[kSub];
        memcpy(kept, exc, sizeof(kept));
        ownDecodeAdaptiveVector_G729_16s(exc, lag, -1);
        Kel32s c = dotSat(dn, sumAbs, exc);
        if (c > max) max = c, frac = -1, memcpy(kept, exc, sizeof(kept));
        ownDecodeAdaptiveVector_G729_16s(exc, lag, 1);
        c = dotSat(dn, sumAbs, exc);
        if (c > max)
            frac = 1;
        else
            memcpy(exc, kept, sizeof(kept));
    }
    pDelay[0] = static_cast<Kel16s>(lag);
    pDelay[1] = static_cast<Kel16s>(frac);
}

// ---------------------------------------------------------------------------
// Exported functions
// ---------------------------------------------------------------------------

namespace {
bool validSearch(Kel16s valOpenDelay, Kel16s subFrame) {
    return valOpenDelay >= 18 && valOpenDelay <= 145 && subFrame >= 0 && subFrame <= 1;
}

// The G.729 and G.729A searches share their checks and hand back the
// chosen adaptive vector, which the search leaves at the sub-frame's place
// in the excitation buffer.
using OwnSearch = void (*)(int, const Kel16s*, const Kel16s*, Kel16s*, int, Kel16s*);

KelStatus searchWithVector(OwnSearch search, Kel16s valOpenDelay, const Kel16s* pSrcAdptTarget,
                           const Kel16s* pSrcImpulseResponse, Kel16s* pSrcDstPrevExcitation, Kel16s* pDstDelay,
                           Kel16s* pDstAdptVector, Kel16s subFrame) {
    KEL_CHECK(Args()
                  .ptr(pSrcAdptTarget, pSrcImpulseResponse, pSrcDstPrevExcitation, pDstDelay, pDstAdptVector)
                  .require(validSearch(valOpenDelay, subFrame), kelStatusOutOfRange));
    search(valOpenDelay, pSrcAdptTarget, pSrcImpulseResponse, pSrcDstPrevExcitation, subFrame, pDstDelay);
    memcpy(pDstAdptVector, pSrcDstPrevExcitation + kHist, kSub * sizeof(Kel16s));
    return kelStatusOk;
}
}  // namespace

KelStatus kelsAdaptiveCodebookSearch_G729_16s(Kel16s valOpenDelay, const Kel16s* pSrcAdptTarget,
                                              const Kel16s* pSrcImpulseResponse, Kel16s* pSrcDstPrevExcitation,
                                              Kel16s* pDstDelay, Kel16s* pDstAdptVector, Kel16s subFrame) {
    return searchWithVector(kel::ownAdaptiveCodebookSearch_G729_16s, valOpenDelay, pSrcAdptTarget, pSrcImpulseResponse,
                            pSrcDstPrevExcitation, pDstDelay, pDstAdptVector, subFrame);
}

KelStatus kelsAdaptiveCodebookSearch_G729A_16s(Kel16s valOpenDelay, const Kel16s* pSrcAdptTarget,
                                               const Kel16s* pSrcImpulseResponse, Kel16s* pSrcDstPrevExcitation,
                                               Kel16s* pDstDelay, Kel16s* pDstAdptVector, Kel16s subFrame) {
    return searchWithVector(kel::ownAdaptiveCodebookSearch_G729A_16s, valOpenDelay, pSrcAdptTarget, pSrcImpulseResponse,
                            pSrcDstPrevExcitation, pDstDelay, pDstAdptVector, subFrame);
}

KelStatus kelsAdaptiveCodebookSearch_G729D_16s(Kel16s valOpenDelay, const Kel16s* pSrcAdptTarget,
                                               const Kel16s* pSrcImpulseResponse, const Kel16s* pSrcDstPrevExcitation,
                                               Kel16s subFrame, Kel16s* pDstDelay) {
    KEL_CHECK(Args()
                  .ptr(pSrcAdptTarget, pSrcImpulseResponse, pSrcDstPrevExcitation, pDstDelay)
                  .require(validSearch(valOpenDelay, subFrame), kelStatusOutOfRange));
    kel::ownAdaptiveCodebookSearch_G729D_16s(valOpenDelay, pSrcAdptTarget, pSrcImpulseResponse, pSrcDstPrevExcitation,
                                             subFrame, pDstDelay);
    return kelStatusOk;
}
