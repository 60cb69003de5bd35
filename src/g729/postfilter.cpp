// G.729 decoder post-processing around the synthesis: the residual and
// synthesis filters, the annex A post-filter (POSTFILT.C: harmonic
// post-filter pit_pst_filt, short-term post-filter, preemphasis and the
// adaptive gain control agc), the tilt compensation of G.729 4.2.3
// (calc_rc0_h and filt_mu of PST.C) and of annex E, and the annex D
// phase-dispersion state (Update64).
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "basop.h"
#include "check.h"
#include "filter_internal.h"
#include "g729/g729_internal.h"

using kel::Args;

static_assert(sizeof(kel::PhaseDispersionState) == 20 && offsetof(kel::PhaseDispersionState, prevState) == 12,
              "the annex D phase-dispersion state is six gains, counter, gain, flag and a spare word: 20 bytes");

namespace kel {

namespace {

constexpr int kSubframe = 40;
constexpr int kOrder = 10;
constexpr int kPitchMax = 143;  // longest pitch delay of G.729

// Sum of the squares of x >> 2, doubled with saturation (the L_mac
// accumulation of the reference, whose terms are all non-negative).
Kel32s scaledEnergy(const Kel16s* x, int len) {
    int64_t s = 0;
    for (int i = 0; i < len; ++i) {
        const int32_t v = shr(x[i], 2);
        s += v * v;
    }
    return sat32(2 * s);
}

}  // namespace

void ownResidualFilter_G729_16s(const Kel16s* pSrc, const Kel16s* pLpc, Kel16s* pDst) {
    for (int n = 0; n < kSubframe; ++n) {
        // The sum wraps in 32 bits and the result keeps its low 16 bits.
        uint32_t s = 2048;
        for (int i = 0; i <= kOrder; ++i) s += static_cast<uint32_t>(int32_t{pLpc[i]} * pSrc[n - i]);
        pDst[n] = static_cast<Kel16s>(static_cast<uint16_t>(static_cast<Kel32s>(s) >> 12));
    }
}

bool ownSynthesisFilter_G729_16s(const Kel16s* pSrc, const Kel16s* pLpc, Kel16s* pDst) {
    // Memory: the 10 outputs stored just before pDst.
    return ownSynthesisFilter_NR_16s(pLpc, pSrc, pDst, kSubframe, 12, pDst - kOrder, true);
}

void ownHarmonicPostFilter_G729A_16s(int delay, const Kel16s* pRes, Kel16s* pDst) {
    // Search range: three delays either side of the decoded one, within 143.
    int t0Min = delay - 3, t0Max = t0Min + 6;
    if (t0Max > kPitchMax) {
        t0Max = kPitchMax;
        t0Min = t0Max - 6;
    }
    // The residual divided by 4 against energy overflow.
    Kel16s scaledBuf[kPitchMax + kSubframe];
    Kel16s* scaled = scaledBuf + kPitchMax;
    for (int i = -t0Max; i < kSubframe; ++i) scaled[i] = shr(pRes[i], 2);

    // The delay of largest correlation; ties keep the smaller delay.
    Kel32s corMax = kMin32;
    int t0 = t0Min;
    for (int t = t0Min; t <= t0Max; ++t) {
        Kel32s c = 0;
        for (int j = 0; j < kSubframe; ++j) c = L_mac(c, scaled[j], scaled[j - t]);
        if (L_sub(c, corMax) > 0) {
            corMax = c;
            t0 = t;
        }
    }
    Kel32s ener = 1, ener0 = 1;
    for (int i = 0; i < kSubframe; ++i) ener = L_mac(ener, scaled[i - t0], scaled[i - t0]);
    for (int i = 0; i < kSubframe; ++i) ener0 = L_mac(ener0, scaled[i], scaled[i]);
    if (corMax < 0) corMax = 0;

    // All three on 16 bits with the normalisation of the largest.
    Kel32s top = corMax;
    if (ener > top) top = ener;
    if (ener0 > top) top = ener0;
    const Kel16s j = norm_l(top);
    Kel16s cmax = round_fx(L_shl(corMax, j));
    Kel16s en = round_fx(L_shl(ener, j));
    const Kel16s en0 = round_fx(L_shl(ener0, j));

    // Prediction gain below 3 dB (cmax^2 < en en0 / 2): no filtering.
    if (L_sub(L_mult(cmax, cmax), L_shr(L_mult(en, en0), 1)) < 0) {
        memcpy(pDst, pRes, kSubframe * sizeof(Kel16s));
        return;
    }
    Kel16s g0 = 0, gain = 0;
    if (cmax > en) {
        // Pitch gain above 1: g = 0.5, scaled by 1 / (1 + 0.5).
        g0 = 21845;
        gain = 10923;
    } else {
        cmax = shr(mult(cmax, 16384), 1);  // 0.5 cmax, Q14
        en = shr(en, 1);
        const Kel16s d = add(cmax, en);
        if (d > 0) {
            gain = div_s(cmax, d);  // cmax / (cmax + en)
            g0 = sub(32767, gain);
        } else {
            g0 = 32767;
            gain = 0;
        }
    }
    for (int i = 0; i < kSubframe; ++i) pDst[i] = add(mult(g0, pRes[i]), mult(gain, pRes[i - t0]));
}

void ownPreemphasize_G729A_16s(Kel16s gamma, const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pMem) {
    // 1 - gamma z^-1 from the last sample down, so that pDst may be pSrc.
    const Kel16s last = pSrc[len - 1];
    for (int i = len - 1; i > 0; --i) pDst[i] = sub(pSrc[i], mult(gamma, pSrc[i - 1]));
    pDst[0] = sub(pSrc[0], mult(gamma, *pMem));
    *pMem = last;
}

bool ownCalcG0_G729A_16s(const Kel16s* pSrc, const Kel16s* pPost, int len, Kel16s* pG0) {
    Kel32s s = scaledEnergy(pPost, len);
    if (s == 0) return false;
    Kel16s exp = sub(norm_l(s), 1);
    const Kel16s gainOut = round_fx(L_shl(s, exp));
    s = scaledEnergy(pSrc, len);
    if (s == 0) {
        *pG0 = 0;
        return true;
    }
    const Kel16s n = norm_l(s);
    const Kel16s gainIn = round_fx(L_shl(s, n));
    exp = sub(exp, n);
    // (1 - 0.9) sqrt(E_in / E_out) in Q12: the ratio E_out / E_in in Q22,
    // its inverse square root in Q19 rounded to Q12.
    s = L_shr(L_shl(L_deposit_l(div_s(gainOut, gainIn)), 7), exp);
    const Kel16s inv = round_fx(L_shl(Inv_sqrt(s), 9));
    *pG0 = mult(inv, 3276);
    return true;
}

Kel16s ownCalcGain_G729A_16s(Kel16s* pSrcDst, int len, Kel16s g0, Kel16s gainPrev) {
    // g(n) = 0.9 g(n - 1) + g0; each sample scaled by g (Q12).
    Kel16s g = gainPrev;
    for (int i = 0; i < len; ++i) {
        g = add(mult(g, 29491), g0);
        pSrcDst[i] = extract_h(L_shl(L_mult(pSrcDst[i], g), 3));
    }
    return g;
}

void ownGainControl_G729A_16s(const Kel16s* pSrc, Kel16s* pSrcDst, Kel16s* pGainPrev) {
    Kel16s g0 = 0;
    if (!ownCalcG0_G729A_16s(pSrc, pSrcDst, kSubframe, &g0)) {
        *pGainPrev = 0;  // silent output: nothing to scale
        return;
    }
    *pGainPrev = ownCalcGain_G729A_16s(pSrcDst, kSubframe, g0, *pGainPrev);
}

void ownTiltFilter_G729E_16s(Kel16s tilt, const Kel16s* pSrc, Kel16s* pDst) {
    // (1 + mu z^-1) / (1 - |mu|): mu = 0.2 tilt for a positive tilt (gain
    // g = 2^29 / (32768 - |mu|), output shift 15), else 0.9 tilt (g = 2^26 /
    // (32768 - |mu|), shift 12), as filt_mu forms them with div_s.
    Kel16s mu = 0;
    int shift = 0;
    Kel32s numerator = 0, rounding = 0;
    if (tilt > 0) {
        mu = mult_r(tilt, 6554);
        shift = 15;
        rounding = 16384;
        numerator = 0x4000;
    } else {
        mu = mult_r(tilt, 29491);
        shift = 12;
        rounding = 2048;
        numerator = 0x0800;
    }
    const Kel16s d = add(32767, sub(1, abs_s(mu)));  // 32768 - |mu|, 32767 for mu = 0
    const int32_t g = div_s(static_cast<Kel16s>(numerator), d);
    const int32_t halfMu = shr(mu, 1);
    for (int n = 0; n < kSubframe; ++n) {
        // x[n] + mu x[n - 1], kept in 32 bits, times 2 g with rounding.
        const int32_t t = pSrc[n + 1] + ((pSrc[n] * halfMu + 8192) >> 14);
        pDst[n] = sat16((int64_t{t} * 2 * g + rounding) >> shift);
    }
}

void ownTiltCompensation_G729_16s(const Kel16s* pImpulse, Kel16s* pSrcDst) {
    // First reflection coefficient of the 20-sample impulse response.
    Kel32s acc = 0;
    for (int i = 0; i < 20; ++i) acc = L_mac(acc, pImpulse[i], pImpulse[i]);
    const Kel16s sh = norm_l(acc);
    const Kel16s r0 = extract_h(L_shl(acc, sh));
    acc = 0;
    for (int i = 0; i < 19; ++i) acc = L_mac(acc, pImpulse[i], pImpulse[i + 1]);
    const Kel16s r1 = extract_h(L_shl(acc, sh));
    Kel16s k = 0;
    if (r0 >= abs_s(r1)) {
        k = div_s(abs_s(r1), r0);
        if (r1 > 0) k = negate(k);
    }
    Kel16s out[kSubframe];
    ownTiltFilter_G729E_16s(k, pSrcDst - 1, out);
    memcpy(pSrcDst, out, sizeof(out));
}

}  // namespace kel

KelStatus kelsResidualFilter_G729_16s(const Kel16s* pSrc, const Kel16s* pSrcLpc, Kel16s* pDst) {
    KEL_CHECK(Args().ptr(pSrc, pSrcLpc, pDst));
    kel::ownResidualFilter_G729_16s(pSrc, pSrcLpc, pDst);
    return kelStatusOk;
}

KelStatus kelsSynthesisFilter_G729_16s(const Kel16s* pSrc, const Kel16s* pSrcLpc, Kel16s* pDst) {
    KEL_CHECK(Args().ptr(pSrc, pSrcLpc, pDst));
    return kel::ownSynthesisFilter_G729_16s(pSrc, pSrcLpc, pDst) ? kelStatusOverflow : kelStatusOk;
}

KelStatus kelsShortTermPostFilter_G729A_16s(const Kel16s* pSrcLpc, const Kel16s* pSrc, Kel16s* pDst) {
    KEL_CHECK(Args().ptr(pSrcLpc, pSrc, pDst));
    return kel::ownSynthesisFilter_G729_16s(pSrc, pSrcLpc, pDst) ? kelStatusOverflow : kelStatusOk;
}

KelStatus kelsLongTermPostFilter_G729A_16s(Kel16s valDelay, const Kel16s* pSrcSpch, const Kel16s* pSrcLpc,
                                           Kel16s* pSrcDstResidual, Kel16s* pDst) {
    KEL_CHECK(Args()
                  .ptr(pSrcSpch, pSrcLpc, pSrcDstResidual, pDst)
                  .require(valDelay >= 18 && valDelay <= 145, kelStatusOutOfRange));
    Kel16s* res = pSrcDstResidual + 154;
    kel::ownResidualFilter_G729_16s(pSrcSpch, pSrcLpc, res);
    kel::ownHarmonicPostFilter_G729A_16s(valDelay, res, pDst);
    return kelStatusOk;
}

KelStatus kelsGainControl_G729A_16s_I(const Kel16s* pSrc, Kel16s* pSrcDst, Kel16s* pGainPrev) {
    KEL_CHECK(Args().ptr(pSrc, pSrcDst, pGainPrev));
    kel::ownGainControl_G729A_16s(pSrc, pSrcDst, pGainPrev);
    return kelStatusOk;
}

KelStatus kelsPreemphasize_G729A_16s(Kel16s gamma, const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pMem) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pMem).len(len));
    kel::ownPreemphasize_G729A_16s(gamma, pSrc, pDst, len, pMem);
    return kelStatusOk;
}

KelStatus kelsPreemphasize_G729A_16s_I(Kel16s gamma, Kel16s* pSrcDst, int len, Kel16s* pMem) {
    KEL_CHECK(Args().ptr(pSrcDst, pMem).len(len));
    kel::ownPreemphasize_G729A_16s(gamma, pSrcDst, pSrcDst, len, pMem);
    return kelStatusOk;
}

KelStatus kelsTiltCompensation_G729_16s(const Kel16s* pSrcImpulseResponse, Kel16s* pSrcDst) {
    KEL_CHECK(Args().ptr(pSrcImpulseResponse, pSrcDst));
    kel::ownTiltCompensation_G729_16s(pSrcImpulseResponse, pSrcDst);
    return kelStatusOk;
}

KelStatus kelsTiltCompensation_G729E_16s(Kel16s tilt, const Kel16s* pSrc, Kel16s* pDst) {
    KEL_CHECK(Args().ptr(pSrc, pDst));
    kel::ownTiltFilter_G729E_16s(tilt, pSrc, pDst);
    return kelStatusOk;
}

KelStatus kelsPhaseDispersionGetStateSize_G729D_16s(Kel32s* pSize) {
    KEL_CHECK(Args().ptr(pSize));
    *pSize = static_cast<Kel32s>(sizeof(kel::PhaseDispersionState));
    return kelStatusOk;
}

KelStatus kelsPhaseDispersionInit_G729D_16s(KelG729DPhaseDispersionState* pState) {
    KEL_CHECK(Args().ptr(pState));
    memset(static_cast<void*>(pState), 0, sizeof(kel::PhaseDispersionState));
    return kelStatusOk;
}

KelStatus kelsPhaseDispersionUpdate_G729D_16s(Kel16s valPitchGain, Kel16s valCodebookGain,
                                              KelG729DPhaseDispersionState* pState) {
    KEL_CHECK(Args().ptr(pState));
    kel::PhaseDispersionState s;
    memcpy(&s, static_cast<const void*>(pState), sizeof(s));
    // Update64: the pitch gain history moves by one, the counter is set to
    // 2, the codebook gain is remembered and the onset flag cleared.
    for (int i = 5; i > 0; --i) s.gainMem[i] = s.gainMem[i - 1];
    s.gainMem[0] = valPitchGain;
    s.prevState = 2;
    s.prevCbGain = valCodebookGain;
    s.onset = 0;
    memcpy(static_cast<void*>(pState), &s, sizeof(s));
    return kelStatusOk;
}
