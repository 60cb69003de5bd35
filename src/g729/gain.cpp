// G.729 gain decoding (3.9.1, 4.1.5, 4.4.2): the conjugate-structure
// codebook of 8 kbit/s and the 6.4 kbit/s codebook of annex D in the
// annex I form, with the MA prediction of the fixed-codebook gain and the
// frame-erasure path (Dec_gain of DEC_GAIN.C, Gain_predict, Gain_update and
// Gain_update_erasure of GAINPRED.C, Dec_gain_6k of annex D).
#include "basop.h"
#include "check.h"
#include "g729/g729_internal.h"

using kel::Args;
namespace tab = kel::g729;

namespace kel {

void ownGainPredict_G729_16s(Kel32s energy, const Kel16s* pPastQEnergy, Kel16s* pGcode0, Kel16s* pExp) {
    // 127.298 dB - 10 log10(energy / 40) in Q14: 3.0103 log2 (-24660 in Q13),
    // then the mean (32588 x 32 = 127.298 in Q14).
    Kel16s exp = 0, frac = 0;
    Log2(energy, &exp, &frac);
    Kel32s acc = Mpy_32_16(exp, frac, -24660);
    acc = L_mac(acc, 32588, 32);
    // Q14 to Q24, plus the predicted part (Q13 x Q10).
    acc = L_shl(acc, 10);
    for (int i = 0; i < 4; ++i) acc = L_mac(acc, tab::kGainPredictor[i], pPastQEnergy[i]);
    const Kel16s gcode0Db = extract_h(acc);  // Q8 dB
    // 10^(dB / 20) = 2^(0.166 dB): 5439 is 0.166 in Q15, Q24 to Q16.
    acc = L_shr(L_mult(gcode0Db, 5439), 8);
    Kel16s hi = 0, lo = 0;
    L_Extract(acc, &hi, &lo);
    *pGcode0 = extract_l(Pow2(14, lo));  // 16384 < gcode0 <= 32767
    *pExp = sub(14, hi);
}

void ownGainUpdate_G729_16s(Kel16s* pPastQEnergy, Kel32s gbk12) {
    for (int i = 3; i > 0; --i) pPastQEnergy[i] = pPastQEnergy[i - 1];
    // 20 log10(correction) = 6.0205 log2 (24660 in Q12), Q10.
    Kel16s exp = 0, frac = 0;
    Log2(gbk12, &exp, &frac);
    const Kel32s acc = L_Comp(sub(exp, 13), frac);
    pPastQEnergy[0] = mult(extract_h(L_shl(acc, 13)), 24660);
}

void ownGainUpdateErasure_G729_16s(Kel16s* pPastQEnergy) {
    // The mean of the four past errors less 4 dB, at least -14 dB (Q10).
    Kel32s sum = 0;
    for (int i = 0; i < 4; ++i) sum = L_add(sum, L_deposit_l(pPastQEnergy[i]));
    Kel16s mean = sub(extract_l(L_shr(sum, 2)), 4096);
    if (mean < -14336) mean = -14336;
    for (int i = 3; i > 0; --i) pPastQEnergy[i] = pPastQEnergy[i - 1];
    pPastQEnergy[0] = mean;
}

void ownDecodeGain_G729_16s(Kel32s energy, Kel16s* pPastQEnergy, const Kel16s* pIdx, Kel16s* pGain) {
    if (pIdx == nullptr) {
        // G.729 4.4.2: 0.9 of the pitch gain, at most 0.9; 0.98 of the
        // fixed-codebook gain.
        Kel16s gp = mult(pGain[0], 29491);
        if (gp > 29491) gp = 29491;
        pGain[0] = gp;
        pGain[1] = mult(pGain[1], 32111);
        ownGainUpdateErasure_G729_16s(pPastQEnergy);
        return;
    }
    const Kel16s* row1 = tab::kGainCb1[tab::kGainMap1[pIdx[0] & 7]];
    const Kel16s* row2 = tab::kGainCb2[tab::kGainMap2[pIdx[1] & 15]];
    pGain[0] = add(row1[0], row2[0]);
    Kel16s gcode0 = 0, exp = 0;
    ownGainPredict_G729_16s(energy, pPastQEnergy, &gcode0, &exp);
    // Correction (Q13, halved to Q12) x predicted gain, to Q1.
    const Kel32s gbk12 = L_add(row1[1], row2[1]);
    const Kel16s corr = extract_l(L_shr(gbk12, 1));
    pGain[1] = extract_h(L_shl(L_mult(corr, gcode0), sub(4, exp)));
    ownGainUpdate_G729_16s(pPastQEnergy, gbk12);
}

void ownDecodeGain_G729I_16s(Kel32s energy, Kel16s attenuation, Kel16s* pPastQEnergy, const Kel16s* pIdx,
                             Kel16s* pGain) {
    if (pIdx == nullptr) {
        // Both gains attenuated by the caller's factor, no ceiling.
        pGain[0] = mult(pGain[0], attenuation);
        pGain[1] = mult(pGain[1], attenuation);
        ownGainUpdateErasure_G729_16s(pPastQEnergy);
        return;
    }
    // Three-bit indices; the mask only keeps a stray value inside the tables.
    const Kel16s* row1 = tab::kGainCb1_6k[tab::kGainMap1_6k[pIdx[0] & 7]];
    const Kel16s* row2 = tab::kGainCb2_6k[tab::kGainMap2_6k[pIdx[1] & 7]];
    pGain[0] = add(row1[0], row2[0]);
    Kel16s gcode0 = 0, exp = 0;
    ownGainPredict_G729_16s(energy, pPastQEnergy, &gcode0, &exp);
    // Correction (Q14 sum halved to Q13) x predicted gain >> (exp + 12),
    // kept to 16 bits without saturation.
    const Kel32s gbk12 = L_shr(L_add(row1[1], row2[1]), 1);
    // exp is 14 less a Pow2 exponent of -22..21, so the shift is 5..48.
    const int64_t prod = int64_t{extract_l(gbk12)} * gcode0;
    pGain[1] = static_cast<Kel16s>(static_cast<uint16_t>(prod >> (exp + 12)));
    ownGainUpdate_G729_16s(pPastQEnergy, gbk12);
}

}  // namespace kel

KelStatus kelsDecodeGain_G729_16s(Kel32s energy, Kel16s* pPastQEnergy, const Kel16s* pIdx, Kel16s* pGain) {
    KEL_CHECK(Args().ptr(pPastQEnergy, pGain));
    kel::ownDecodeGain_G729_16s(energy, pPastQEnergy, pIdx, pGain);
    return kelStatusOk;
}

KelStatus kelsDecodeGain_G729I_16s(Kel32s energy, Kel16s attenuation, Kel16s* pPastQEnergy, const Kel16s* pIdx,
                                   Kel16s* pGain) {
    KEL_CHECK(Args().ptr(pPastQEnergy, pGain));
    kel::ownDecodeGain_G729I_16s(energy, attenuation, pPastQEnergy, pIdx, pGain);
    return kelStatusOk;
}
