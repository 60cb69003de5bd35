// Internal kernels of the G.729 LP analysis and LSP quantisation family:
// the unchecked kernels of the exported functions (own...) and the internal
// variants that tests and benchmarks compare with them (_kels...). No checks
// and no status: callers pass valid pointers and arguments. The GSM-AMR
// family calls the root search with its own grid, scaling and bisections.
#ifndef KELSC_G729_G729_INTERNAL_H
#define KELSC_G729_G729_INTERNAL_H

#include "g729/g729_tables.h"
#include "kelsc.h"

namespace kel {

// ---------------------------------------------------------------------------
// LP analysis (lp_analysis.cpp)
// ---------------------------------------------------------------------------

// G.729 3.2.2 Levinson-Durbin recursion in the reference's double precision
// (Levinson of LPC.C), for any order 1..30. r: [order + 1] normalised
// autocorrelations (32-bit words; the mantissa in the high half). On
// success writes a[0..order] (Q12, a[0] = 4096), the first rcLen reflection
// coefficients (Q15) and the residual energy (alpha >> (16 + its
// normalisation)), and returns true. When a reflection coefficient of order
// 2 or more exceeds 32750 in magnitude the recursion stops: the coefficients
// computed so far (that one included, up to rcLen) are written, a and the
// energy are not, and the result is false.
bool ownLevinsonDurbin_G729_32s16s(const Kel32s* pAutoCorr, int order, Kel16s* pLpc, Kel16s* pRc, int rcLen,
                                   Kel16s* pEnergy);

// G.729 3.2.3 LP to LSP by Chebyshev root search (Az_lsp of LPC.C):
//   pLpc: [11] a[0..10], Q12; pPrevLsp: [10] LSPs copied to pLsp when fewer
//   than 10 roots are found; pLsp: [10] out, Q15 (may alias pPrevLsp).
//   gridPoints, gridTable: intervals searched and grid (0: kGrid60, 1:
//   kGrid50); gridPoints <= 60 (table 0) or 50 (table 1).
//   bisections: halvings of each sign-change interval (4 for G.729, 2 for
//   G.729A).
//   scale: 12 forms F1, F2 in Q11 ((a[i+1] +- a[10-i]) >> 1) and evaluates
//   in Q24, falling back to Q10 coefficients evaluated in Q23 when a Q11
//   coefficient leaves 16 bits (the overflow-safe G.729 form); 13 forms them
//   in Q10 (>> 2) and evaluates in Q24, saturating, with no fallback (the
//   GSM-AMR form).
// Returns the number of roots found (10 on success).
int ownLPCToLSP_G729_16s(const Kel16s* pLpc, const Kel16s* pPrevLsp, Kel16s* pLsp, int gridPoints, int bisections,
                         int gridTable, int scale);

// The Chebyshev series C(x) = T5(x) + f[1] T4(x) + ... + f[4] T1(x) + f[5] / 2
// of the root search, evaluated as Chebps_11 / Chebps_10 of LPC.C (and
// Chebps of GSM-AMR) compute it: in Q(evalQ) (23 or 24) double precision
// with f in Q(evalQ - fShift) (fShift 13 or 14), the result in Q14 saturated
// to +-2. f: [6], f[0] unused. exact selects the basic-operator form; the
// default form uses plain 64-bit arithmetic and falls back to it when an
// intermediate could saturate. Both give the same value for every input.
Kel16s _kelsChebyshev_G729_16s(Kel16s x, const Kel16s* f, int evalQ, int fShift, bool exact);

// ---------------------------------------------------------------------------
// LSP quantisation (lsp_quant.cpp)
// ---------------------------------------------------------------------------

// G.729 3.2.4 first stage (Lsp_pre_select): the index of the first vector
// of lspcb1 with the smallest sum over j of L_mac-accumulated
// sub(target[j], lspcb1[i][j])^2, where a sum that saturates never wins and
// no winner gives index 0. pTarget: [10] Q13. The default form takes a
// 16-bit vector path (SSE2) when no candidate's sum can leave 31 bits.
int ownLSPPreselect_G729_16s(const Kel16s* pTarget);
// The same search in exact 64-bit sums, element by element.
int _kelsLSPPreselect_Exact_G729_16s(const Kel16s* pTarget);

// G.729 3.2.4 encoder search (Relspwed of QUA_LSP.C without its final
// decoding): weights of the unquantised LSFs, both predictors of pPred
// tried. pLsf: [10] Q13; pPrevFreq: [40] MA memory, newest frame first;
// pIdx: [4] out, L0 (predictor), L1 (first stage), L2, L3 (second stage).
void ownLSFQuantSearch_G729_16s(const Kel16s* pLsf, const Kel16s* pPrevFreq, const g729::MaPredictors& pred,
                                Kel16s* pIdx);

// G.729 3.2.4 / 4.1.1 decoder composition (Lsp_get_quant without its memory
// update and stability step): residual = lspcb1[l1] with the lower half of
// lspcb2[l2] and the upper half of lspcb2[l3], spread with gaps 10 and 5;
// lsf = MA prediction from pPrevFreq plus fg_sum x residual. l1 0..127,
// l2 and l3 0..31, mode 0..1. pQLsf, pResidual: [10] out, Q13.
void ownLSFCompose_G729_16s(int mode, int l1, int l2, int l3, const Kel16s* pPrevFreq, const g729::MaPredictors& pred,
                            Kel16s* pQLsf, Kel16s* pResidual);

// The residual that pLsf would have under predictor mode (Lsp_prev_extract):
// (lsf - MA prediction) x fg_sum_inv. pLsf, pResidual: [10] Q13.
void ownLSFResidual_G729_16s(const Kel16s* pLsf, int mode, const Kel16s* pPrevFreq, const g729::MaPredictors& pred,
                             Kel16s* pResidual);

// Lsp_prev_update: drops the oldest frame of pPrevFreq ([40]) and makes
// pResidual ([10]) the newest.
void ownLSFMemoryUpdate_G729_16s(Kel16s* pPrevFreq, const Kel16s* pResidual);

// G.729 3.2.4 stability step (Lsp_stability) on pLsf ([10], Q13, in place).
// Returns bit 0 when the first LSF was raised to 40, bit 1 when the last
// was lowered to 25681.
int ownLSFStability_G729_16s(Kel16s* pLsf);

// Lsf_lsp2: Q13 LSF to Q15 LSP, element by element. Returns the number of
// elements converted: len, or the index of the first negative LSF, where
// the conversion stops.
int ownLSFToLSP_G729_16s(const Kel16s* pLsf, Kel16s* pLsp, int len);

// Lsp_lsf2: Q15 LSP (decreasing) to Q13 LSF.
void ownLSPToLSF_G729_16s(const Kel16s* pLsp, Kel16s* pLsf, int len);

// ---------------------------------------------------------------------------
// Pre- and post-processing high-pass filter (highpass.cpp)
// ---------------------------------------------------------------------------

// The filter state, in the order of the caller's 24-byte block.
struct HighPassState {
    Kel32s y1, y2;    // previous two outputs, full 32-bit values after the output shift
    Kel16s x1, x2;    // previous two inputs
    Kel16s coeff[6];  // a0 (unused), a1, a2, b0, b1, b2
};

// G.729 3.1 / 4.2.5 second-order high-pass filter over len samples in place;
// sf 12 (Pre_Process) or 13 (Post_Process).
void ownHighPassFilter_G729_16s(Kel16s* pSrcDst, int len, int sf, HighPassState* pState);

// ---------------------------------------------------------------------------
// G.729 pitch analysis
// ---------------------------------------------------------------------------
// (pitch.cpp, pitch_search.cpp). The excitation buffer exc is the caller's
// 194 samples: 154 past ones, then the current sub-frame at exc + 154
// (kPitchHistory). Delays are (integer lag, fraction in thirds).

constexpr int kPitchHistory = 154;     // PIT_MAX + L_INTERPOL: past excitation samples
constexpr int kPitchSubframe = 40;     // L_SUBFR
constexpr int kOpenLoopHistory = 143;  // PIT_MAX: weighted speech before the frame
constexpr int kOpenLoopFrame = 80;     // L_FRAME

// G.729 3.4 open-loop lag (Pitch_ol): pSrc points at the frame's first
// sample, 143 samples of history before it. Returns 20..143.
int ownOpenLoopPitchSearch_G729_16s(const Kel16s* pSrc);
// G.729A A.3.4 open-loop lag (Pitch_ol_fast), same buffer.
int ownOpenLoopPitchSearch_G729A_16s(const Kel16s* pSrc);

// The closed-loop search range of G.729 3.7 from valOpenDelay (18..145)
// for sub-frame 0 (t_min = T - 3, 7 lags) or 1 (t_min = T - 5, 10 lags),
// t_min raised to 20 and the range moved below 143.
void ownPitchSearchRange_G729(int valOpenDelay, int subFrame, int* pMin, int* pMax);

// The normalised correlation of G.729 3.7 (Norm_Corr): for every lag t of
// tMin..tMax, the correlation of the target with the past excitation at lag
// t filtered by h, divided by the square root of that filtered vector's
// energy; pCorr[t - tMin] in Q15. pExc: the current sub-frame (tMax samples
// of history before it; the first filtered vector also reads up to
// 39 - tMin samples from it); pTarget, pImp: [40], h in Q12.
// 4 <= tMin <= tMax, tMax - tMin < 32.
void ownNormCorr_G729_16s(const Kel16s* pExc, const Kel16s* pTarget, const Kel16s* pImp, int tMin, int tMax,
                          Kel16s* pCorr);

// The 1/3-resolution interpolation of the normalised correlation (Interpol_3)
// at pCorr (pCorr[-4..4] read), frac -2..2.
Kel16s ownInterpolCorr_G729_16s(const Kel16s* pCorr, int frac);

// G.729 3.7.1 adaptive vector (Pred_lt_3 with the library's summation):
// pExc[0..39] from the history before it for delay (t, frac), t 18..144,
// frac -1..1; samples written become input for later ones when t < 50.
void ownDecodeAdaptiveVector_G729_16s(Kel16s* pExc, int t, int frac);
// The same with the reference's saturating accumulation at every step.
void _kelsDecodeAdaptiveVector_Sat_G729_16s(Kel16s* pExc, int t, int frac);

// The closed-loop searches on a 194-sample excitation buffer: G.729 and
// G.729A build the chosen vector at pExcBuf + 154; G.729D only chooses.
// pDelay: [2] out.
void ownAdaptiveCodebookSearch_G729_16s(int valOpenDelay, const Kel16s* pTarget, const Kel16s* pImp, Kel16s* pExcBuf,
                                        int subFrame, Kel16s* pDelay);
void ownAdaptiveCodebookSearch_G729A_16s(int valOpenDelay, const Kel16s* pTarget, const Kel16s* pImp, Kel16s* pExcBuf,
                                         int subFrame, Kel16s* pDelay);
void ownAdaptiveCodebookSearch_G729D_16s(int valOpenDelay, const Kel16s* pTarget, const Kel16s* pImp,
                                         const Kel16s* pExcBuf, int subFrame, Kel16s* pDelay);

// G.729 3.7.3 gain of the filtered adaptive vector y against the target x
// (G_pitch with the library's overflow tests), Q14, 0..19661.
Kel16s ownAdaptiveGain_G729_16s(const Kel16s* pTarget, const Kel16s* pFlt);

// ---------------------------------------------------------------------------
// G.729 fixed-codebook search
// ---------------------------------------------------------------------------
// The scaling of h before its correlations (Cor_h, Cor_h_D): pScaled = 0
// when the energy E (plain sum of squares) >> 15 is 0, h >> 1 when it
// exceeds 32000, else h << ((norm(E) - 1) >> 1). Returns 0 for the zero
// response, 1 when no doubled partial correlation of pScaled can saturate,
// 2 when one may.
int ownScaleImpulse_G729_16s(const Kel16s* pH, Kel16s* pScaled);

// Correlation matrix of G.729 3.8.1 (Cor_h) in the 616-value layout of
// kelsc.h; each entry is the halved saturating L_mac sum (entry >> 15 is
// the reference's 16-bit value). Zero when the energy of pH >> 15 is 0.
void ownToeplizMatrix_G729_16s32s(const Kel16s* pH, Kel32s* pMatrix);
// The same, shifted right by 15 into 16 bits.
void ownToeplizMatrix_G729_16s(const Kel16s* pH, Kel16s* pMatrix);

// G.729 3.8 search (D4i40_17) on a 16-bit matrix whose cross terms it
// multiplies by the pulse signs in place. pDn: [40] (not modified); pCode:
// [40] Q13; pIndex: [2] sign word, position word; pBudget: the fourth-loop
// budget, replaced by 30 + 75 when firstSubframe, else increased by 75
// (saturating), and left holding the remainder.
void ownFixedCodebookSearch_G729_16s(const Kel16s* pDn, Kel16s* pRr, Kel16s* pCode, Kel16s* pIndex, Kel16s* pBudget,
                                     bool firstSubframe);
// G.729A A.3.8 depth-first search (D4i40_17_fast), same arguments without
// the budget; the cross terms are sign-modified as annex A does.
void ownFixedCodebookSearch_G729A_16s(const Kel16s* pDn, Kel16s* pRr, Kel16s* pCode, Kel16s* pIndex);

// G.729D 11-bit search (Cor_h_D in its 6.4 kbit/s form, D2i40_11). pY:
// [40] Q12 filtered code; *pSign: sign bits; returns the position index.
Kel16s ownFixedCodebookSearch_G729D_16s(const Kel16s* pDn, const Kel16s* pH, Kel16s* pCode, Kel16s* pY, Kel16s* pSign);

// G.729E 35-bit (mode 0) or 44-bit search (ACELP_10i40_35bits,
// ACELP_12i40_44bits). pX: [40] target; pCn: [40] LTP residual; pH: [40]
// Q12; pCode: [40] Q12; pY: [40] Q11; pIndex: [5].
void ownFixedCodebookSearch_G729E_16s(int mode, const Kel16s* pX, const Kel16s* pCn, const Kel16s* pH, Kel16s* pCode,
                                      Kel16s* pY, Kel16s* pIndex);

// ---------------------------------------------------------------------------
// G.729 gain decoding and post-processing
// ---------------------------------------------------------------------------

// Gain decoding (gain.cpp). pPastQEnergy: [4] past quantised prediction
// errors (Q10, newest first); pGain: [2] pitch gain (Q14), fixed-codebook
// gain (Q1), the previous sub-frame's on input of the erasure path.

// G.729 3.9.1 prediction (Gain_predict) from the fixed-codebook energy
// (sum of L_mac squares of the Q13 code vector): the predicted gain
// 16384 < *pGcode0 <= 32767 with its exponent, gain = gcode0 >> *pExp.
void ownGainPredict_G729_16s(Kel32s energy, const Kel16s* pPastQEnergy, Kel16s* pGcode0, Kel16s* pExp);
// Gain_update: shift the memory in, newest error = 20 log10(gbk12 / 2^13).
void ownGainUpdate_G729_16s(Kel16s* pPastQEnergy, Kel32s gbk12);
// Gain_update_erasure: newest error = max(mean - 4 dB, -14 dB).
void ownGainUpdateErasure_G729_16s(Kel16s* pPastQEnergy);
// The kernels of kelsDecodeGain_G729_16s / _G729I_16s (pIdx null: erasure).
void ownDecodeGain_G729_16s(Kel32s energy, Kel16s* pPastQEnergy, const Kel16s* pIdx, Kel16s* pGain);
void ownDecodeGain_G729I_16s(Kel32s energy, Kel16s attenuation, Kel16s* pPastQEnergy, const Kel16s* pIdx,
                             Kel16s* pGain);

// Post-processing (postfilter.cpp); sub-frames of 40 samples.

// dst[n] = low 16 bits of (sum a[i] src[n - i] + 2048) >> 12 (wrapping sum).
// History: 10 samples before pSrc.
void ownResidualFilter_G729_16s(const Kel16s* pSrc, const Kel16s* pLpc, Kel16s* pDst);
// All-pole synthesis with scale 12, saturated outputs; the memory is the
// 10 samples before pDst. pSrc may be pDst. True when an output saturated.
bool ownSynthesisFilter_G729_16s(const Kel16s* pSrc, const Kel16s* pLpc, Kel16s* pDst);
// Annex A harmonic post-filter (pit_pst_filt) on the residual pRes around
// delay (18..145). History: 143 samples before pRes.
void ownHarmonicPostFilter_G729A_16s(int delay, const Kel16s* pRes, Kel16s* pDst);
// Annex A preemphasis 1 - gamma z^-1 over len >= 1 samples; *pMem is the
// sample before pSrc[0] and becomes pSrc[len - 1]. pDst may be pSrc.
void ownPreemphasize_G729A_16s(Kel16s gamma, const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pMem);
// Annex A gain control, first half (agc up to g0): from the energies of the
// post-filter input pSrc and output pPost ([len] each, x >> 2 squared),
// *pG0 = 0.1 sqrt(E_in / E_out) in Q12 (0 for a silent input). Returns
// false, writing nothing, when the output is silent.
bool ownCalcG0_G729A_16s(const Kel16s* pSrc, const Kel16s* pPost, int len, Kel16s* pG0);
// Second half: g = 0.9 g + g0 per sample from gainPrev, each sample
// scaled by g (Q12, saturated). Returns the last g.
Kel16s ownCalcGain_G729A_16s(Kel16s* pSrcDst, int len, Kel16s g0, Kel16s gainPrev);
// kelsGainControl_G729A_16s_I over one sub-frame.
void ownGainControl_G729A_16s(const Kel16s* pSrc, Kel16s* pSrcDst, Kel16s* pGainPrev);
// Annex E tilt filter (filt_mu with mu from tilt): pSrc [41] from the sample
// before the sub-frame; pDst [40] must not overlap pSrc.
void ownTiltFilter_G729E_16s(Kel16s tilt, const Kel16s* pSrc, Kel16s* pDst);
// G.729 4.2.3: k = -r1 / r0 of the 20-sample impulse response, then the
// tilt filter in place. History: 1 sample before pSrcDst.
void ownTiltCompensation_G729_16s(const Kel16s* pImpulse, Kel16s* pSrcDst);

// The annex D phase-dispersion state, in the order of the caller's 20 bytes.
struct PhaseDispersionState {
    Kel16s gainMem[6];  // past pitch gains, newest first (Q14)
    Kel16s prevState;   // dispersion counter
    Kel16s prevCbGain;  // previous fixed-codebook gain (Q1)
    Kel16s onset;       // onset flag
    Kel16s spare;       // keeps the block at 20 bytes
};

}  // namespace kel

#endif  // KELSC_G729_G729_INTERNAL_H
