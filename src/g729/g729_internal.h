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
// @@PITCH-SECTION@@

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
Kel16s ownFixedCodebookSearch_G729D_16s(const Kel16s* pDn, const Kel16s* pH, Kel16s* pCode, Kel16s* pY,
                                        Kel16s* pSign);

// G.729E 35-bit (mode 0) or 44-bit search (ACELP_10i40_35bits,
// ACELP_12i40_44bits). pX: [40] target; pCn: [40] LTP residual; pH: [40]
// Q12; pCode: [40] Q12; pY: [40] Q11; pIndex: [5].
void ownFixedCodebookSearch_G729E_16s(int mode, const Kel16s* pX, const Kel16s* pCn, const Kel16s* pH,
                                      Kel16s* pCode, Kel16s* pY, Kel16s* pIndex);

// ---------------------------------------------------------------------------
// G.729 gain decoding and post-processing
// ---------------------------------------------------------------------------
// @@GAIN-SECTION@@

}  // namespace kel

#endif  // KELSC_G729_G729_INTERNAL_H
