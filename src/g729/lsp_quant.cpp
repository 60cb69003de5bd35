// G.729 LSP quantisation (clause 3.2.4) and its decoder (4.1.1, with the
// frame-erasure path of 4.4.1), the LSP/LSF conversions around them, and
// the annex variants: the G.729B comfort-noise (SID) LSF quantiser and
// decoder, and the G.729E quantiser and decoder whose MA memory the caller
// updates only for forward-adaptive frames. The arithmetic is that of
// QUA_LSP.C, LSPGETQ.C, LSPDEC.C and LPCFUNC.C of the G.729 Release 2
// reference (QSIDLSF.C and DEC_SID.C of annex B, QUA_LSPE.C, LSPGETQE.C and
// LSPDECE.C of annex E) on the library's basic operators.
//
// The MA predictor memory is the caller's array of 40 Kel16s: four frames of
// ten quantiser outputs (Q13), newest first, frame k at [10 k .. 10 k + 9].
//
// For speed (docs/PERFORMANCE.md) the two codebook searches accumulate exact
// sums instead of saturating ones. Their terms are never negative, so the
// reference's saturated sum is min(exact sum, 2^31 - 1), and a candidate
// replaces the best only when that is strictly smaller than the best so far
// (which never exceeds 2^31 - 1): comparing exact sums selects the same
// index. The first stage runs in 16-bit SIMD lanes (SSE2) when no
// candidate's sum can reach 2^31.
#include <string.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "basop.h"
#include "check.h"
#include "g729/g729_internal.h"

using kel::Args;
namespace g729 = kel::g729;

namespace {

using namespace kel;
using g729::kHalfOrder;
using g729::kMaOrder;
using g729::kOrder;

constexpr Kel16s kGap1 = 10;        // GAP1, Q13: first spreading of the residual
constexpr Kel16s kGap2 = 5;         // GAP2, Q13: second spreading
constexpr Kel16s kGap3 = 321;       // GAP3, Q13: least distance of the stable LSFs
constexpr Kel16s kLsfLow = 40;      // L_LIMIT, Q13: 0.005
constexpr Kel16s kLsfHigh = 25681;  // M_LIMIT, Q13: 3.135
constexpr Kel16s kPi04 = 1029;      // PI04, Q13: 0.04 pi
constexpr Kel16s kPi92 = 23677;     // PI92, Q13: 0.92 pi
constexpr Kel16s kConst10 = 20480;  // CONST10, Q11: 10.0
constexpr Kel16s kConst12 = 19661;  // CONST12, Q14: 1.2
constexpr Kel16s kOneQ13 = 8192;    // 1.0 in Q13
constexpr Kel16s kOneQ11 = 2048;    // 1.0 in Q11

// The predictor index L0: 0..3 accepted, its low bit selects one of the two
// predictors (as the decoder reads it from the 8-bit parameter word).
constexpr bool validPredictor(int l0) { return l0 >= 0 && l0 <= 3; }

// G.729 equation (20), Get_wegt: Q11 weights of the LSFs (Q13) from their
// neighbours' distances, w[4] and w[5] scaled by 1.2, all ten normalised by
// the shift of the largest.
void weights(const Kel16s* lsf, Kel16s* w) {
    Kel16s d[kOrder];
    d[0] = sub(lsf[1], kPi04 + kOneQ13);
    for (int i = 1; i < kOrder - 1; ++i) d[i] = sub(sub(lsf[i + 1], lsf[i - 1]), kOneQ13);
    d[kOrder - 1] = sub(kPi92 - kOneQ13, lsf[kOrder - 2]);
    for (int i = 0; i < kOrder; ++i) {
        if (d[i] > 0) {
            w[i] = kOneQ11;
        } else {
            Kel16s t = extract_h(L_shl(L_mult(d[i], d[i]), 2));  // Q13
            t = extract_h(L_shl(L_mult(t, kConst10), 2));        // Q11
            w[i] = add(t, kOneQ11);
        }
    }
    w[4] = extract_h(L_shl(L_mult(w[4], kConst12), 1));
    w[5] = extract_h(L_shl(L_mult(w[5], kConst12), 1));
    Kel16s top = 0;
    for (int i = 0; i < kOrder; ++i) top = w[i] > top ? w[i] : top;
    const Kel16s shift = norm_s(top);
    for (int i = 0; i < kOrder; ++i) w[i] = shl(w[i], shift);
}

// Lsp_expand_1_2 over coefficients from..to-1: where two neighbours are
// closer than gap, both move apart by half the shortfall.
void spread(Kel16s* r, Kel16s gap, int from, int to) {
    for (int j = from; j < to; ++j) {
        const Kel16s t = shr(add(sub(r[j - 1], r[j]), gap), 1);
        if (t > 0) {
            r[j - 1] = sub(r[j - 1], t);
            r[j] = add(r[j], t);
        }
    }
}

// Lsp_select_1 / Lsp_select_2: the second-stage vector for coefficients
// lo..hi-1 with the smallest weighted error sum over j of
// 2 mult(w[j], e) e, e = target - first stage - candidate; the lowest index
// wins a tie, a saturating sum never wins.
int secondStage(const Kel16s* target, const Kel16s* first, const Kel16s* w, int lo, int hi) {
    Kel16s e0[kOrder];
    for (int j = lo; j < hi; ++j) e0[j] = sub(target[j], first[j]);
    int best = 0;
    int64_t bestDist = kMax32;
    for (int k = 0; k < g729::kStage2Size; ++k) {
        int64_t dist = 0;
        for (int j = lo; j < hi; ++j) {
            const Kel16s e = sub(e0[j], g729::kLspCode2[k][j]);
            dist += 2 * int64_t{mult(w[j], e)} * e;
        }
        if (dist < bestDist) {
            bestDist = dist;
            best = k;
        }
    }
    return best;
}

// Lsp_get_tdist: the weighted distortion of a candidate residual against
// the target, in the LSF domain (the difference scaled by fg_sum).
Kel32s distortion(const Kel16s* w, const Kel16s* candidate, const Kel16s* target, const Kel16s* fgSum) {
    Kel32s dist = 0;
    for (int j = 0; j < kOrder; ++j) {
        const Kel16s t = mult(sub(candidate[j], target[j]), fgSum[j]);
        const Kel16s t2 = extract_h(L_shl(L_mult(w[j], t), 4));
        dist = L_mac(dist, t2, t);
    }
    return dist;
}

// Lsp_prev_compose: lsf = fg_sum x residual + MA prediction, stepwise.
void compose(const Kel16s* residual, const Kel16s* prev, const g729::MaPredictors& pred, int mode, Kel16s* lsf) {
    for (int j = 0; j < kOrder; ++j) {
        Kel32s acc = L_mult(residual[j], pred.fgSum[mode][j]);
        for (int k = 0; k < kMaOrder; ++k) acc = L_mac(acc, prev[kOrder * k + j], pred.fg[mode][k][j]);
        lsf[j] = extract_h(acc);
    }
}

// The G.729 warning of the stability step's two bits.
KelStatus clampStatus(int bits) {
    static_assert(
        kelStatusLsfLowClamped + 1 == kelStatusLsfHighClamped && kelStatusLsfHighClamped + 1 == kelStatusLsfBothClamped,
        "the clamping warnings are consecutive");
    return bits == 0 ? kelStatusOk : static_cast<KelStatus>(kelStatusLsfLowClamped + bits - 1);
}

// The decoder: composition, memory update and stability (Lsp_get_quant).
int decode(int mode, int l1, int l2, int l3, Kel16s* prev, Kel16s* qLsf) {
    Kel16s residual[kOrder];
    ownLSFCompose_G729_16s(mode, l1, l2, l3, prev, g729::kMaPredictors, qLsf, residual);
    ownLSFMemoryUpdate_G729_16s(prev, residual);
    return ownLSFStability_G729_16s(qLsf);
}

#if defined(__SSE2__)
// The first stage in SSE2: four codebook vectors per 128-bit register, a
// coefficient pair per 32-bit lane, so that one pmaddwd gives each vector's
// two squared (saturated 16-bit) errors summed. Valid when no sum reaches
// 2^31 (the caller's bound). Returns the first index of the smallest sum,
// or 0 when that sum reaches 2^30 (the reference's doubled sum saturates).
int preselectSse2(const Kel16s* target) {
    __m128i t[kHalfOrder];
    for (int p = 0; p < kHalfOrder; ++p) {
        const uint32_t pair = static_cast<uint16_t>(target[2 * p]) | uint32_t{static_cast<uint16_t>(target[2 * p + 1])}
                                                                         << 16;
        t[p] = _mm_set1_epi32(static_cast<int32_t>(pair));
    }
    __m128i best = _mm_set1_epi32(kMax32), bestIndex = _mm_setzero_si128();
    __m128i index = _mm_setr_epi32(0, 1, 2, 3);
    const __m128i four = _mm_set1_epi32(4);
    for (int i = 0; i < g729::kStage1Size; i += 4) {
        __m128i acc = _mm_setzero_si128();
        for (int p = 0; p < kHalfOrder; ++p) {
            const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&g729::kLspCode1Layout.pairs[p][2 * i]));
            const __m128i d = _mm_subs_epi16(t[p], c);
            acc = _mm_add_epi32(acc, _mm_madd_epi16(d, d));
        }
        const __m128i lt = _mm_cmplt_epi32(acc, best);  // strictly smaller: the first index stays in a tie
        best = _mm_or_si128(_mm_and_si128(lt, acc), _mm_andnot_si128(lt, best));
        bestIndex = _mm_or_si128(_mm_and_si128(lt, index), _mm_andnot_si128(lt, bestIndex));
        index = _mm_add_epi32(index, four);
    }
    int32_t v[4], ix[4];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(v), best);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(ix), bestIndex);
    int lane = 0;
    for (int l = 1; l < 4; ++l)
        if (v[l] < v[lane] || (v[l] == v[lane] && ix[l] < ix[lane])) lane = l;
    return v[lane] < (int32_t{1} << 30) ? ix[lane] : 0;
}
#endif

// The G.729B SID quantiser's search (Qnt_e with New_ML_search_1 and
// New_ML_search_2): four candidates of the first stage over both noise
// predictors, then the best second-stage pair for them. idx: predictor,
// first-stage index (0..31), second-stage index (0..15).
void sidSearch(const Kel16s* lsf, const Kel16s* w, const Kel16s* prev, Kel16s* idx) {
    constexpr int kJ1 = g729::kMaModes, kM1 = g729::kSidStage1Size, kK1 = 4;
    constexpr int kM2 = g729::kSidStage2Size;
    const g729::MaPredictors& pred = g729::kNoiseMaPredictors;
    Kel16s err[kJ1][kOrder];
    for (int mode = 0; mode < kJ1; ++mode) ownLSFResidual_G729_16s(lsf, mode, prev, pred, err[mode]);

    // First stage: errors weighted per predictor, the four smallest kept.
    Kel16s sum[kK1 * kM2 > kJ1 * kM1 ? kK1 * kM2 : kJ1 * kM1];
    for (int p = 0; p < kJ1; ++p) {
        for (int m = 0; m < kM1; ++m) {
            const Kel16s* cb = g729::kLspCode1[g729::kSidStage1Map[m]];
            Kel32s acc = 0;
            for (int l = 0; l < kOrder; ++l) {
                const Kel16s t = sub(err[p][l], cb[l]);
                acc = L_mac(acc, t, t);
            }
            sum[p * kM1 + m] = mult(extract_h(acc), g729::kSidModeWeight[p]);
        }
    }
    Kel16s cand[kK1][kOrder];
    int back1[kK1], best1[kK1];
    for (int q = 0; q < kK1; ++q) {
        Kel16s least = kMax16;
        int bp = 0, bm = 0;
        for (int p = 0; p < kJ1; ++p) {
            for (int m = 0; m < kM1; ++m) {
                if (sum[p * kM1 + m] < least) {
                    least = sum[p * kM1 + m];
                    bp = p;
                    bm = m;
                }
            }
        }
        sum[bp * kM1 + bm] = kMax16;
        const Kel16s* cb = g729::kLspCode1[g729::kSidStage1Map[bm]];
        for (int l = 0; l < kOrder; ++l) cand[q][l] = sub(err[bp][l], cb[l]);
        back1[q] = bp;
        best1[q] = bm;
    }

    // Second stage: weighted errors of each candidate, the smallest kept.
    for (int p = 0; p < kK1; ++p) {
        const Kel16s* fgSum = pred.fgSum[back1[p]];
        for (int m = 0; m < kM2; ++m) {
            Kel32s acc = 0;
            for (int l = 0; l < kOrder; ++l) {
                const Kel16s* cb = g729::kLspCode2[g729::kSidStage2Map[l < kHalfOrder ? 0 : 1][m]];
                Kel16s t1 = extract_h(L_shl(L_mult(fgSum[l], fgSum[l]), 2));
                t1 = mult(t1, w[l]);
                const Kel16s t2 = sub(cand[p][l], cb[l]);
                t1 = extract_h(L_shl(L_mult(t1, t2), 3));
                acc = L_mac(acc, t1, t2);
            }
            sum[p * kM2 + m] = extract_h(acc);
        }
    }
    Kel16s least = kMax16;
    int bp = 0, bm = 0;
    for (int p = 0; p < kK1; ++p) {
        for (int m = 0; m < kM2; ++m) {
            if (sum[p * kM2 + m] < least) {
                least = sum[p * kM2 + m];
                bp = p;
                bm = m;
            }
        }
    }
    idx[0] = static_cast<Kel16s>(back1[bp]);
    idx[1] = static_cast<Kel16s>(best1[bp]);
    idx[2] = static_cast<Kel16s>(bm);
}

// The G.729B SID decoder (sid_lsfq_decode up to the LSF): residual from the
// mapped codebook rows, spread once with gap 10, composed with the noise
// predictor, memory update and stability. Indices already in range.
int sidDecode(int mode, int c1, int c2, Kel16s* prev, Kel16s* qLsf) {
    Kel16s residual[kOrder];
    const Kel16s* first = g729::kLspCode1[g729::kSidStage1Map[c1]];
    const Kel16s* low = g729::kLspCode2[g729::kSidStage2Map[0][c2]];
    const Kel16s* high = g729::kLspCode2[g729::kSidStage2Map[1][c2]];
    for (int j = 0; j < kOrder; ++j) residual[j] = add(first[j], j < kHalfOrder ? low[j] : high[j]);
    spread(residual, kGap1, 1, kOrder);
    compose(residual, prev, g729::kNoiseMaPredictors, mode, qLsf);
    ownLSFMemoryUpdate_G729_16s(prev, residual);
    return ownLSFStability_G729_16s(qLsf);
}

}  // namespace

// ---------------------------------------------------------------------------
// Kernels
// ---------------------------------------------------------------------------

int kel::_kelsLSPPreselect_Exact_G729_16s(const Kel16s* pTarget) {
    int best = 0;
    int64_t bestDist = kMax32;
    for (int i = 0; i < g729::kStage1Size; ++i) {
        int64_t dist = 0;
        for (int j = 0; j < kOrder; ++j) {
            const Kel16s d = sub(pTarget[j], g729::kLspCode1[i][j]);
            dist += L_mult(d, d);
        }
        if (dist < bestDist) {
            bestDist = dist;
            best = i;
        }
    }
    return best;
}

int kel::ownLSPPreselect_G729_16s(const Kel16s* pTarget) {
#if defined(__SSE2__)
    // The largest squared error of each coefficient over the codebook is at
    // its smallest or largest value; their sum bounds every candidate's.
    int64_t bound = 0;
    for (int j = 0; j < kOrder; ++j) {
        const int32_t lo = sub(pTarget[j], g729::kLspCode1Layout.min[j]);
        const int32_t hi = sub(pTarget[j], g729::kLspCode1Layout.max[j]);
        const int64_t m = lo * lo > hi * hi ? lo * lo : hi * hi;
        bound += m;
    }
    if (bound < (int64_t{1} << 31)) return preselectSse2(pTarget);
#endif
    return _kelsLSPPreselect_Exact_G729_16s(pTarget);
}

void kel::ownLSFResidual_G729_16s(const Kel16s* pLsf, int mode, const Kel16s* pPrevFreq, const g729::MaPredictors& pred,
                                  Kel16s* pResidual) {
    for (int j = 0; j < kOrder; ++j) {
        Kel32s acc = L_deposit_h(pLsf[j]);
        for (int k = 0; k < kMaOrder; ++k) acc = L_msu(acc, pPrevFreq[kOrder * k + j], pred.fg[mode][k][j]);
        acc = L_mult(extract_h(acc), pred.fgSumInv[mode][j]);
        pResidual[j] = extract_h(L_shl(acc, 3));
    }
}

void kel::ownLSFQuantSearch_G729_16s(const Kel16s* pLsf, const Kel16s* pPrevFreq, const g729::MaPredictors& pred,
                                     Kel16s* pIdx) {
    Kel16s w[kOrder];
    weights(pLsf, w);
    int first[g729::kMaModes], low[g729::kMaModes], high[g729::kMaModes];
    Kel32s dist[g729::kMaModes];
    for (int mode = 0; mode < g729::kMaModes; ++mode) {
        Kel16s target[kOrder], r[kOrder];
        ownLSFResidual_G729_16s(pLsf, mode, pPrevFreq, pred, target);
        first[mode] = ownLSPPreselect_G729_16s(target);
        const Kel16s* cb1 = g729::kLspCode1[first[mode]];
        low[mode] = secondStage(target, cb1, w, 0, kHalfOrder);
        high[mode] = secondStage(target, cb1, w, kHalfOrder, kOrder);
        // The quantised residual spread as the decoder will (Lsp_expand_1
        // and Lsp_expand_2 with GAP1 run over j = 1..9 in this order).
        for (int j = 0; j < kOrder; ++j)
            r[j] = add(cb1[j], g729::kLspCode2[j < kHalfOrder ? low[mode] : high[mode]][j]);
        spread(r, kGap1, 1, kOrder);
        spread(r, kGap2, 1, kOrder);
        dist[mode] = distortion(w, r, target, pred.fgSum[mode]);
    }
    const int mode = dist[1] < dist[0] ? 1 : 0;  // equal distortion keeps predictor 0
    pIdx[0] = static_cast<Kel16s>(mode);
    pIdx[1] = static_cast<Kel16s>(first[mode]);
    pIdx[2] = static_cast<Kel16s>(low[mode]);
    pIdx[3] = static_cast<Kel16s>(high[mode]);
}

void kel::ownLSFCompose_G729_16s(int mode, int l1, int l2, int l3, const Kel16s* pPrevFreq,
                                 const g729::MaPredictors& pred, Kel16s* pQLsf, Kel16s* pResidual) {
    for (int j = 0; j < kOrder; ++j)
        pResidual[j] = add(g729::kLspCode1[l1][j], g729::kLspCode2[j < kHalfOrder ? l2 : l3][j]);
    spread(pResidual, kGap1, 1, kOrder);
    spread(pResidual, kGap2, 1, kOrder);
    compose(pResidual, pPrevFreq, pred, mode, pQLsf);
}

void kel::ownLSFMemoryUpdate_G729_16s(Kel16s* pPrevFreq, const Kel16s* pResidual) {
    memmove(pPrevFreq + kOrder, pPrevFreq, (kMaOrder - 1) * kOrder * sizeof(Kel16s));
    memcpy(pPrevFreq, pResidual, kOrder * sizeof(Kel16s));
}

int kel::ownLSFStability_G729_16s(Kel16s* pLsf) {
    for (int j = 0; j < kOrder - 1; ++j) {  // one pass of adjacent swaps
        if (pLsf[j + 1] < pLsf[j]) {
            const Kel16s t = pLsf[j + 1];
            pLsf[j + 1] = pLsf[j];
            pLsf[j] = t;
        }
    }
    int bits = 0;
    if (pLsf[0] < kLsfLow) {
        pLsf[0] = kLsfLow;
        bits |= 1;
    }
    for (int j = 0; j < kOrder - 1; ++j)
        if (int32_t{pLsf[j + 1]} - pLsf[j] < kGap3) pLsf[j + 1] = add(pLsf[j], kGap3);
    if (pLsf[kOrder - 1] > kLsfHigh) {
        pLsf[kOrder - 1] = kLsfHigh;
        bits |= 2;
    }
    return bits;
}

int kel::ownLSFToLSP_G729_16s(const Kel16s* pLsf, Kel16s* pLsp, int len) {
    for (int i = 0; i < len; ++i) {
        const Kel16s f = mult(pLsf[i], 20861);  // 1 / (2 pi) in Q17: normalised frequency, Q15
        Kel16s k = shr(f, 8);
        if (k < 0) return i;
        const Kel16s offset = static_cast<Kel16s>(f & 0xff);
        if (k > 63) k = 63;
        const Kel32s t = L_mult(g729::kSlopeCos[k], offset);  // Q28
        pLsp[i] = add(g729::kCos15[k], extract_l(L_shr(t, 13)));
    }
    return len;
}

void kel::ownLSPToLSF_G729_16s(const Kel16s* pLsp, Kel16s* pLsf, int len) {
    int k = g729::kCosSegments - 1;
    for (int i = len - 1; i >= 0; --i) {
        while (k > 0 && g729::kCos15[k] < pLsp[i]) --k;  // the segment just above the LSP
        const Kel16s offset = sub(pLsp[i], g729::kCos15[k]);
        const Kel32s t = L_mult(g729::kAcos12[k], offset);                              // Q28
        const Kel16s f = add(shl(static_cast<Kel16s>(k), 9), extract_l(L_shr(t, 12)));  // Q16 normalised
        pLsf[i] = mult(f, 25736);                                                       // 2 pi in Q12
    }
}

// ---------------------------------------------------------------------------
// LSP / LSF conversions
// ---------------------------------------------------------------------------

KelStatus kelsLSPToLSF_G729_16s(const Kel16s* pSrcLsp, Kel16s* pDstLsf) {
    KEL_CHECK(Args().ptr(pSrcLsp, pDstLsf));
    Kel16s lsf[kOrder];
    ownLSPToLSF_G729_16s(pSrcLsp, lsf, kOrder);
    memcpy(pDstLsf, lsf, sizeof(lsf));
    return kelStatusOk;
}

KelStatus kelsLSPToLSF_Norm_G729_16s(const Kel16s* pSrcLsp, Kel16s* pDstLsf) {
    KEL_CHECK(Args().ptr(pSrcLsp, pDstLsf));
    // Lsp_lsf: the same segment walk, the result the Q15 normalised
    // frequency k / 128 + the rounded interpolation.
    Kel16s lsf[kOrder];
    int k = g729::kCosSegments - 1;
    for (int i = kOrder - 1; i >= 0; --i) {
        while (k > 0 && g729::kCos15[k] < pSrcLsp[i]) --k;
        const Kel32s t = L_mult(sub(pSrcLsp[i], g729::kCos15[k]), g729::kAcos12[k]);
        lsf[i] = add(round_fx(L_shl(t, 3)), shl(static_cast<Kel16s>(k), 8));
    }
    memcpy(pDstLsf, lsf, sizeof(lsf));
    return kelStatusOk;
}

KelStatus kelsLSFToLSP_G729_16s(const Kel16s* pSrcLsf, Kel16s* pDstLsp) {
    KEL_CHECK(Args().ptr(pSrcLsf, pDstLsp));
    return ownLSFToLSP_G729_16s(pSrcLsf, pDstLsp, kOrder) == kOrder ? kelStatusOk : kelStatusNegativeLsf;
}

// ---------------------------------------------------------------------------
// G.729 quantiser and decoder
// ---------------------------------------------------------------------------

KelStatus kelsLSFQuant_G729_16s(const Kel16s* pSrcLsf, Kel16s* pPrevFreq, Kel16s* pQLsf, Kel16s* pIdx) {
    KEL_CHECK(Args().ptr(pSrcLsf, pPrevFreq, pQLsf, pIdx));
    Kel16s idx[4];
    ownLSFQuantSearch_G729_16s(pSrcLsf, pPrevFreq, g729::kMaPredictors, idx);
    memcpy(pIdx, idx, sizeof(idx));
    return clampStatus(decode(idx[0], idx[1], idx[2], idx[3], pPrevFreq, pQLsf));
}

KelStatus kelsLSPQuant_G729_16s(const Kel16s* pSrcLsp, Kel16s* pPrevFreq, Kel16s* pQLsp, Kel16s* pIdx) {
    KEL_CHECK(Args().ptr(pSrcLsp, pPrevFreq, pQLsp, pIdx));
    Kel16s lsf[kOrder], idx[4];
    ownLSPToLSF_G729_16s(pSrcLsp, lsf, kOrder);
    ownLSFQuantSearch_G729_16s(lsf, pPrevFreq, g729::kMaPredictors, idx);
    decode(idx[0], idx[1], idx[2], idx[3], pPrevFreq, lsf);
    pIdx[0] = static_cast<Kel16s>(idx[0] << 7 | idx[1]);  // L0 L1: 1 + 7 bits
    pIdx[1] = static_cast<Kel16s>(idx[2] << 5 | idx[3]);  // L2 L3: 5 + 5 bits
    return ownLSFToLSP_G729_16s(lsf, pQLsp, kOrder) == kOrder ? kelStatusOk : kelStatusNegativeLsf;
}

KelStatus kelsLSFDecode_G729_16s(const Kel16s* pIdx, Kel16s* pPrevFreq, Kel16s* pQLsf) {
    KEL_CHECK(Args().ptr(pIdx, pPrevFreq, pQLsf).require(pIdx && validPredictor(pIdx[0]), kelStatusBadIndex));
    // L1..L3 are masked to their field widths: any value reads inside the codebooks.
    return clampStatus(decode(pIdx[0] & 1, pIdx[1] & 127, pIdx[2] & 31, pIdx[3] & 31, pPrevFreq, pQLsf));
}

KelStatus kelsLSFDecodeErased_G729_16s(Kel16s maIndex, Kel16s* pPrevFreq, const Kel16s* pSrcLsf) {
    KEL_CHECK(Args().ptr(pPrevFreq, pSrcLsf).require(validPredictor(maIndex), kelStatusBadIndex));
    Kel16s residual[kOrder];
    ownLSFResidual_G729_16s(pSrcLsf, maIndex & 1, pPrevFreq, g729::kMaPredictors, residual);
    ownLSFMemoryUpdate_G729_16s(pPrevFreq, residual);
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// G.729 annex B: comfort-noise LSF quantiser and decoder
// ---------------------------------------------------------------------------

KelStatus kelsLSFQuant_G729B_16s(const Kel16s* pSrcLsf, Kel16s* pPrevFreq, Kel16s* pQLsf, Kel16s* pIdx) {
    KEL_CHECK(Args().ptr(pSrcLsf, pPrevFreq, pQLsf, pIdx));
    // lsfq_noise: space the LSFs to about 100 Hz first.
    Kel16s lsf[kOrder], w[kOrder], idx[3];
    memcpy(lsf, pSrcLsf, sizeof(lsf));
    if (lsf[0] < kLsfLow) lsf[0] = kLsfLow;
    for (int i = 0; i < kOrder - 1; ++i)
        if (sub(lsf[i + 1], lsf[i]) < 2 * kGap3) lsf[i + 1] = add(lsf[i], 2 * kGap3);
    if (lsf[kOrder - 1] > kLsfHigh) lsf[kOrder - 1] = kLsfHigh;
    if (lsf[kOrder - 1] < lsf[kOrder - 2]) lsf[kOrder - 2] = sub(lsf[kOrder - 1], kGap3);
    weights(lsf, w);
    sidSearch(lsf, w, pPrevFreq, idx);
    memcpy(pIdx, idx, sizeof(idx));
    return clampStatus(sidDecode(idx[0], idx[1], idx[2], pPrevFreq, pQLsf));
}

KelStatus kelsLSFDecode_G729B_16s(const Kel16s* pIdx, Kel16s* pPrevFreq, Kel16s* pQLsf) {
    KEL_CHECK(Args().ptr(pIdx, pPrevFreq, pQLsf).require(pIdx && validPredictor(pIdx[0]), kelStatusBadIndex));
    return clampStatus(sidDecode(pIdx[0] & 1, pIdx[1] & 31, pIdx[2] & 15, pPrevFreq, pQLsf));
}

// ---------------------------------------------------------------------------
// G.729 annex E: forward-mode quantiser and decoder
// ---------------------------------------------------------------------------

KelStatus kelsLSPQuant_G729E_16s(const Kel16s* pSrcLsp, const Kel16s* pPrevFreq, Kel16s* pQLsp, Kel16s* pIdx,
                                 Kel16s* pFreqCur) {
    KEL_CHECK(Args().ptr(pSrcLsp, pPrevFreq, pQLsp, pIdx, pFreqCur));
    Kel16s lsf[kOrder], idx[4], residual[kOrder];
    ownLSPToLSF_G729_16s(pSrcLsp, lsf, kOrder);
    ownLSFQuantSearch_G729_16s(lsf, pPrevFreq, g729::kMaPredictors, idx);
    ownLSFCompose_G729_16s(idx[0], idx[1], idx[2], idx[3], pPrevFreq, g729::kMaPredictors, lsf, residual);
    ownLSFStability_G729_16s(lsf);
    memcpy(pFreqCur, residual, sizeof(residual));
    pIdx[0] = static_cast<Kel16s>(idx[0] << 7 | idx[1]);
    pIdx[1] = static_cast<Kel16s>(idx[2] << 5 | idx[3]);
    return ownLSFToLSP_G729_16s(lsf, pQLsp, kOrder) == kOrder ? kelStatusOk : kelStatusNegativeLsf;
}

KelStatus kelsLSFDecode_G729E_16s(const Kel16s* pIdx, Kel16s* pPrevFreq, Kel16s* pPrevLsf, Kel16s* pPrevMa,
                                  Kel16s* pQLsf) {
    KEL_CHECK(Args().ptr(pPrevFreq, pPrevLsf, pPrevMa, pQLsf));
    Kel16s lsf[kOrder], residual[kOrder];
    int bits = 0;
    if (pIdx != nullptr) {
        // Lsp_iqua_cse: the fields of the two parameter words, masked.
        const int mode = (pIdx[0] >> 7) & 1;
        ownLSFCompose_G729_16s(mode, pIdx[0] & 127, (pIdx[1] >> 5) & 31, pIdx[1] & 31, pPrevFreq, g729::kMaPredictors,
                               lsf, residual);
        bits = ownLSFStability_G729_16s(lsf);
        memcpy(pPrevLsf, lsf, sizeof(lsf));
        *pPrevMa = static_cast<Kel16s>(mode);
    } else {
        // Erased frame: repeat the last good LSFs and derive their residual.
        memcpy(lsf, pPrevLsf, sizeof(lsf));
        ownLSFResidual_G729_16s(lsf, *pPrevMa & 1, pPrevFreq, g729::kMaPredictors, residual);
    }
    ownLSFMemoryUpdate_G729_16s(pPrevFreq, residual);
    memcpy(pQLsf, lsf, sizeof(lsf));
    return clampStatus(bits);
}
