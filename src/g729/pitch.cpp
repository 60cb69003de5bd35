// G.729 pitch analysis, frame and vector parts: the open-loop lag searches
// of G.729 (3.4) and G.729A (A.3.4), the adaptive-vector interpolation
// (3.7.1), the adaptive-codebook gain (3.7.3) and the target update. The
// arithmetic is that of PITCH.C, PITCH_A.C and PRED_LT3.C of the G.729
// Release 2 reference on the library's basic operators, with these forms of
// the library:
// - the interpolation sums its twenty products without saturation when the
//   two central samples are small (|x0[n] + x0[n + 1]| < 9656), otherwise
//   with the reference's saturation at every step;
// - the gain filters the vector by the wrapping partial convolution (G.729)
//   or the non-saturating synthesis filter (G.729A), and tests the two dot
//   products for overflow on their exact values;
// - the target update wraps in 16 bits.
// These agree with the reference wherever its sums do not saturate.
//
// Wherever a sum is taken without per-step saturation below, a bound shows
// that no partial sum can reach 32 bits, so the result is the reference's.
#include <stdint.h>
#include <string.h>

#include "basop.h"
#include "check.h"
#include "filter_internal.h"
#include "g729/g729_internal.h"

using kel::Args;

namespace {

using kel::g729::kInter3L;
constexpr int kSub = kel::kPitchSubframe;
constexpr int kHist = kel::kPitchHistory;
constexpr int kOlHist = kel::kOpenLoopHistory;
constexpr int kOlFrame = kel::kOpenLoopFrame;
constexpr int kOlLen = kOlHist + kOlFrame;  // 223 samples scanned
constexpr int64_t k2p31 = int64_t{1} << 31;

// Sum of squares of n samples step apart, exact.
int64_t energy64(const Kel16s* x, int n, int step) {
    int64_t e = 0;
    for (int i = 0; i < n; i += step) e += int32_t{x[i]} * x[i];
    return e;
}

// The open-loop working copy: the 223 samples scaled as the search needs
// them (shifted right by 3 when the energy test overflows, left by 3 when
// it is small), and whether every correlation of two windows of it is
// exact without per-step saturation (twice its energy below 2^31: by
// Cauchy-Schwarz no partial sum of doubled products can then leave 32 bits).
struct ScaledSignal {
    alignas(32) Kel16s buf[kOlLen + 1];
    bool exact;
    const Kel16s* frame() const { return buf + kOlHist; }
};

enum class Scaling { Down, Up, Copy };

void scaleSignal(const Kel16s* pSrc, Scaling how, ScaledSignal* s) {
    const Kel16s* x = pSrc - kOlHist;
    for (int i = 0; i < kOlLen; ++i)
        s->buf[i] = how == Scaling::Down ? kel::shr(x[i], 3) : how == Scaling::Up ? kel::shl(x[i], 3) : x[i];
    s->exact = 2 * energy64(s->buf, kOlLen, 1) < k2p31;
}

// 2 * sum over j < n (step apart) of x[j] * x[j - lag] as L_mac
// accumulates it from 0.
Kel32s lagCorr(const ScaledSignal& s, int lag, int n, int step) {
    const Kel16s* x = s.frame();
    const Kel16s* y = x - lag;
    if (s.exact) {
        int32_t acc = 0;
        for (int j = 0; j < n; j += step) acc += int32_t{x[j]} * y[j];
        return 2 * acc;
    }
    Kel32s acc = 0;
    for (int j = 0; j < n; j += step) acc = kel::L_mac(acc, x[j], y[j]);
    return acc;
}

// max / sqrt(energy) of Lag_max: Inv_sqrt of the (saturated) energy, then
// the double-precision product, low word kept.
Kel16s normaliseMax(Kel32s max, Kel32s energy) {
    const Kel32s inv = kel::Inv_sqrt(energy);
    Kel16s mh, ml, eh, el;
    kel::L_Extract(max, &mh, &ml);
    kel::L_Extract(inv, &eh, &el);
    return kel::extract_l(kel::Mpy_32(mh, ml, eh, el));
}

// One section of the G.729 search (Lag_max): lags lo..hi upwards, a lag
// replaces the best only on a strictly larger correlation (the smallest
// lag wins a tie); the winner's energy over 80 samples from 0.
int sectionMax_G729(const ScaledSignal& s, int lo, int hi, Kel16s* pNorm) {
    Kel32s max = kel::kMin32;
    int best = lo;
    for (int t = lo; t <= hi; ++t) {
        const Kel32s c = lagCorr(s, t, kOlFrame, 1);
        if (c > max) max = c, best = t;
    }
    const Kel32s e = kel::sat32(2 * energy64(s.frame() - best, kOlFrame, 1));
    *pNorm = normaliseMax(max, e);
    return best;
}

// Energy of every second sample of the 80 delayed by lag, from 1 as in
// Pitch_ol_fast (L_mac from 1: the sum only grows, so it saturates once).
Kel32s energyHalf(const ScaledSignal& s, int lag) { return kel::sat32(1 + 2 * energy64(s.frame() - lag, kOlFrame, 2)); }

}  // namespace

// ---------------------------------------------------------------------------
// Open-loop searches
// ---------------------------------------------------------------------------

int kel::ownOpenLoopPitchSearch_G729_16s(const Kel16s* pSrc) {
    // 2^30 on the undoubled sum is the reference's Overflow of L_mac; 2^19
    // its 2^20 threshold.
    const int64_t e = energy64(pSrc - kOlHist, kOlLen, 1);
    ScaledSignal s;
    scaleSignal(pSrc, e >= (int64_t{1} << 30) ? Scaling::Down : e < (1 << 19) ? Scaling::Up : Scaling::Copy, &s);
    // Sections 80..143, 40..79, 20..39; the later sections win when the
    // earlier maximum times 0.85 is below theirs (favouring small lags).
    Kel16s m1, m2, m3;
    int t1 = sectionMax_G729(s, 80, 143, &m1);
    const int t2 = sectionMax_G729(s, 40, 79, &m2);
    const int t3 = sectionMax_G729(s, 20, 39, &m3);
    constexpr Kel16s kThreshold = 27853;  // 0.85 in Q15
    if (kel::mult(m1, kThreshold) < m2) m1 = m2, t1 = t2;
    if (kel::mult(m1, kThreshold) < m3) t1 = t3;
    return t1;
}

int kel::ownOpenLoopPitchSearch_G729A_16s(const Kel16s* pSrc) {
    // The energy of every second sample decides the scaling: an overflowing
    // doubled sum shifts right by 3, one below 2^20 left by 3.
    const int64_t e2 = 2 * energy64(pSrc - kOlHist, kOlLen, 2);
    ScaledSignal s;
    scaleSignal(pSrc, e2 >= k2p31 ? Scaling::Down : e2 < (1 << 20) ? Scaling::Up : Scaling::Copy, &s);

    // Sections 20..39 and 40..79 at every lag, 80..142 at even lags; every
    // correlation over every second sample; strictly larger replaces.
    const auto section = [&](int lo, int hi, int step, Kel32s* pMax) {
        Kel32s max = kel::kMin32;
        int best = lo;
        for (int t = lo; t <= hi; t += step) {
            const Kel32s c = lagCorr(s, t, kOlFrame, 2);
            if (c > max) max = c, best = t;
        }
        *pMax = max;
        return best;
    };
    Kel32s c1, c2, c3;
    int t1 = section(20, 39, 1, &c1);
    int t2 = section(40, 79, 1, &c2);
    int t3 = section(80, 142, 2, &c3);
    // The odd neighbours of the third section's winner, T3 + 1 first.
    const int mid = t3;
    for (int t = mid + 1; t >= mid - 1; t -= 2) {
        const Kel32s c = lagCorr(s, t, kOlFrame, 2);
        if (c > c3) c3 = c, t3 = t;
    }
    Kel16s m1 = normaliseMax(c1, energyHalf(s, t1));
    Kel16s m2 = normaliseMax(c2, energyHalf(s, t2));
    const Kel16s m3 = normaliseMax(c3, energyHalf(s, t3));

    // Favour submultiples: a lag whose double or triple lies near the next
    // section's winner gains a part of that maximum.
    {
        const int d = 2 * t2 - t3;
        if ((d < 0 ? -d : d) < 5) m2 = kel::add(m2, kel::shr(m3, 2));
        if ((d + t2 < 0 ? -(d + t2) : d + t2) < 7) m2 = kel::add(m2, kel::shr(m3, 2));
    }
    {
        const int d = 2 * t1 - t2;
        if ((d < 0 ? -d : d) < 5) m1 = kel::add(m1, kel::mult(m2, 6554));  // 0.2 in Q15
        if ((d + t1 < 0 ? -(d + t1) : d + t1) < 7) m1 = kel::add(m1, kel::mult(m2, 6554));
    }
    if (m1 < m2) m1 = m2, t1 = t2;
    if (m1 < m3) t1 = t3;
    return t1;
}

// ---------------------------------------------------------------------------
// Adaptive-vector interpolation
// ---------------------------------------------------------------------------

namespace {

// The 20 taps of delay phase f around sample n: x0[n - i] * c[f + 3 i] and
// x0[n + 1 + i] * c[3 - f + 3 i], i < 10, in the reference's order.
template <bool Saturate>
Kel16s interpolateSample(const Kel16s* x0, const Kel16s* c1, const Kel16s* c2, int n) {
    if (Saturate) {
        Kel32s s = 0;
        for (int i = 0, k = 0; i < 10; ++i, k += 3) {
            s = kel::L_mac(s, x0[n - i], c1[k]);
            s = kel::L_mac(s, x0[n + 1 + i], c2[k]);
        }
        return kel::round_fx(s);
    }
    uint32_t s = 0;
    for (int i = 0, k = 0; i < 10; ++i, k += 3)
        s += static_cast<uint32_t>(int32_t{x0[n - i]} * c1[k]) + static_cast<uint32_t>(int32_t{x0[n + 1 + i]} * c2[k]);
    return static_cast<Kel16s>(static_cast<int32_t>(2 * s + 32768u) >> 16);
}

}  // namespace

void kel::ownDecodeAdaptiveVector_G729_16s(Kel16s* pExc, int t, int frac) {
    const Kel16s* x0 = pExc - t;
    int f = -frac;
    if (f < 0) f += 3, --x0;
    const Kel16s* c1 = kInter3L + f;
    const Kel16s* c2 = kInter3L + 3 - f;
    // In order: for t < 50 later samples read earlier outputs.
    for (int n = 0; n < kSub; ++n) {
        const int mid = int32_t{x0[n]} + x0[n + 1];
        pExc[n] = (mid < 9656 && mid > -9656) ? interpolateSample<false>(x0, c1, c2, n)
                                              : interpolateSample<true>(x0, c1, c2, n);
    }
}

void kel::_kelsDecodeAdaptiveVector_Sat_G729_16s(Kel16s* pExc, int t, int frac) {
    const Kel16s* x0 = pExc - t;
    int f = -frac;
    if (f < 0) f += 3, --x0;
    for (int n = 0; n < kSub; ++n) pExc[n] = interpolateSample<true>(x0, kInter3L + f, kInter3L + 3 - f, n);
}

// ---------------------------------------------------------------------------
// Gain and target update
// ---------------------------------------------------------------------------

Kel16s kel::ownAdaptiveGain_G729_16s(const Kel16s* pTarget, const Kel16s* pFlt) {
    constexpr int64_t kLimit = (int64_t{1} << 30) - 1;
    // <y, y> from 1 (never zero); when it reaches 2^30 - 1, the sum of the
    // vector divided by 4, 4 more bits of exponent.
    int64_t yy64 = energy64(pFlt, kSub, 1);
    Kel32s s;
    Kel16s expYY, expXY;
    if (yy64 >= kLimit) {
        s = 1;
        for (int i = 0; i < kSub; ++i) {
            const Kel16s y = kel::shr(pFlt[i], 2);
            s = kel::L_mac(s, y, y);
        }
        expYY = kel::norm_l(s);
        s = kel::L_shl(s, expYY);
        expYY = static_cast<Kel16s>(expYY - 4);
    } else {
        s = static_cast<Kel32s>(1 + 2 * yy64);
        expYY = kel::norm_l(s);
        s = kel::L_shl(s, expYY);
    }
    const Kel16s yy = kel::round_fx(s);
    // <x, y>; when its magnitude reaches 2^30 - 1, against y / 4.
    int64_t xy64 = 0;
    for (int i = 0; i < kSub; ++i) xy64 += int32_t{pTarget[i]} * pFlt[i];
    if (xy64 >= kLimit || xy64 <= -kLimit) {
        s = 0;
        for (int i = 0; i < kSub; ++i) s = kel::L_mac(s, pTarget[i], kel::shr(pFlt[i], 2));
        expXY = kel::norm_l(s);
        s = kel::L_shl(s, expXY);
        expXY = static_cast<Kel16s>(expXY - 2);
    } else {
        s = static_cast<Kel32s>(2 * xy64);
        expXY = kel::norm_l(s);
        s = kel::L_shl(s, expXY);
    }
    Kel16s xy = kel::round_fx(s);
    if (xy < 4) return 0;
    // gain = (xy / 2) / yy, at the exponent difference, limited to 1.2 (Q14).
    xy = kel::shr(xy, 1);
    Kel16s gain = kel::div_s(xy, yy);
    gain = kel::shr(gain, kel::sub(expXY, expYY));
    return gain > 19661 ? Kel16s{19661} : gain;
}

// ---------------------------------------------------------------------------
// Exported functions
// ---------------------------------------------------------------------------

KelStatus kelsOpenLoopPitchSearch_G729_16s(const Kel16s* pSrc, Kel16s* pDstLag) {
    KEL_CHECK(Args().ptr(pSrc, pDstLag));
    *pDstLag = static_cast<Kel16s>(kel::ownOpenLoopPitchSearch_G729_16s(pSrc));
    return kelStatusOk;
}

KelStatus kelsOpenLoopPitchSearch_G729A_16s(const Kel16s* pSrc, Kel16s* pDstLag) {
    KEL_CHECK(Args().ptr(pSrc, pDstLag));
    *pDstLag = static_cast<Kel16s>(kel::ownOpenLoopPitchSearch_G729A_16s(pSrc));
    return kelStatusOk;
}

namespace {
// T 18..144 (every delay a search can give) and a fraction of -1..1.
bool validDelay(const Kel16s* d) { return d[0] >= 18 && d[0] <= 144 && d[1] >= -1 && d[1] <= 1; }
}  // namespace

KelStatus kelsDecodeAdaptiveVector_G729_16s_I(const Kel16s* pSrcDelay, Kel16s* pSrcDstPrevExcitation) {
    KEL_CHECK(
        Args().ptr(pSrcDelay, pSrcDstPrevExcitation).require(pSrcDelay && validDelay(pSrcDelay), kelStatusBadIndex));
    kel::ownDecodeAdaptiveVector_G729_16s(pSrcDstPrevExcitation + kHist, pSrcDelay[0], pSrcDelay[1]);
    return kelStatusOk;
}

KelStatus kelsDecodeAdaptiveVector_G729_16s(const Kel16s* pSrcDelay, Kel16s* pSrcDstPrevExcitation,
                                            Kel16s* pDstAdptVector) {
    KEL_CHECK(Args()
                  .ptr(pSrcDelay, pSrcDstPrevExcitation, pDstAdptVector)
                  .require(pSrcDelay && validDelay(pSrcDelay), kelStatusBadIndex));
    kel::ownDecodeAdaptiveVector_G729_16s(pSrcDstPrevExcitation + kHist, pSrcDelay[0], pSrcDelay[1]);
    memcpy(pDstAdptVector, pSrcDstPrevExcitation + kHist, kSub * sizeof(Kel16s));
    return kelStatusOk;
}

KelStatus kelsAdaptiveCodebookGain_G729_16s(const Kel16s* pSrcAdptTarget, const Kel16s* pSrcImpulseResponse,
                                            const Kel16s* pSrcAdptVector, Kel16s* pDstFltAdptVector,
                                            Kel16s* pResultAdptGain) {
    KEL_CHECK(Args().ptr(pSrcAdptTarget, pSrcImpulseResponse, pSrcAdptVector, pDstFltAdptVector, pResultAdptGain));
    // y = v * h, each wrapping sum shifted right by 12 (h in Q12).
    kelsConvPartial_16s_Sfs(pSrcAdptVector, pSrcImpulseResponse, pDstFltAdptVector, kSub, 12);
    *pResultAdptGain = kel::ownAdaptiveGain_G729_16s(pSrcAdptTarget, pDstFltAdptVector);
    return kelStatusOk;
}

KelStatus kelsAdaptiveCodebookGain_G729A_16s(const Kel16s* pSrcAdptTarget, const Kel16s* pSrcLpc,
                                             const Kel16s* pSrcAdptVector, Kel16s* pDstFltAdptVector,
                                             Kel16s* pResultAdptGain) {
    KEL_CHECK(Args().ptr(pSrcAdptTarget, pSrcLpc, pSrcAdptVector, pDstFltAdptVector, pResultAdptGain));
    // y = v through 1/A(z) (Q12) from zero memory, outputs stored as 16 bits.
    kel::ownSynthesisFilter_NR_16s(pSrcLpc, pSrcAdptVector, pDstFltAdptVector, kSub, 12, nullptr, false);
    *pResultAdptGain = kel::ownAdaptiveGain_G729_16s(pSrcAdptTarget, pDstFltAdptVector);
    return kelStatusOk;
}

KelStatus kelsAdaptiveCodebookContribution_G729_16s(Kel16s gain, const Kel16s* pFltAdptVector,
                                                    const Kel16s* pSrcAdptTarget, Kel16s* pDstAdptTarget) {
    KEL_CHECK(Args().ptr(pFltAdptVector, pSrcAdptTarget, pDstAdptTarget));
    // x2[n] = x[n] - y[n] g (g in Q14), in 16-bit arithmetic without saturation.
    for (int n = 0; n < kSub; ++n)
        pDstAdptTarget[n] = static_cast<Kel16s>(pSrcAdptTarget[n] - ((int32_t{pFltAdptVector[n]} * gain) >> 14));
    return kelStatusOk;
}
