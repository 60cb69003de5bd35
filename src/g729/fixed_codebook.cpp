// G.729 algebraic fixed-codebook search (clause 3.8) and its annex A form
// (A.3.8), with the correlation matrix of the impulse response that both
// consume. The arithmetic is that of ACELP_CO.C (Cor_h, D4i40_17) and
// ACELP_CA.C (D4i40_17_fast) of the G.729 Release 2 reference.
//
// For speed (docs/PERFORMANCE.md) the searches run on plain integers, eight
// or sixteen candidates at a time (SSE2 where available). With 16-bit
// correlations and 16-bit |Dn| none of the reference's 32-bit accumulations
// can saturate (the largest G.729 energy sum is 2 x 16 x 2^15 = 2^20; the
// annex A sums stay within [-2^31, 2^31 - 1], worked out term by term at
// roundHi), so plain sums give the reference's values. The partial
// correlations are sums of values that are never negative, where
// saturating addition is min(exact sum, 32767). The candidate tests
// L_msu(L_mult(a, b), c, d) > 0 keep their sign under saturation and are
// made exactly on 32-bit products; where the reference truncates
// (extract_l) the code does the same. A candidate replaces the best only
// when strictly better, in the reference's order (fixed_codebook_kernels.h).
#include <string.h>

#include "basop.h"
#include "check.h"
#include "g729/fixed_codebook_kernels.h"
#include "g729/g729_internal.h"

using kel::Args;

namespace {

using namespace kel;
using namespace kel::g729;
using namespace kel::fcb;

// ---------------------------------------------------------------------------
// Matrix layout
// ---------------------------------------------------------------------------

// The cross blocks in storage order: (0,1), (0,2), (0,3), (0,4), (1,2),
// (1,3), (1,4), (2,3), (2,4); -1 for pairs without a block.
constexpr int kBlock[kTracks][kTracks] = {
    {-1, 0, 1, 2, 3}, {0, -1, 4, 5, 6}, {1, 4, -1, 7, 8}, {2, 5, 7, -1, -1}, {3, 6, 8, -1, -1}};

constexpr int diag(int track) { return kPositions * track; }
constexpr int cross(int a, int b) { return kTracks * kPositions + kBlockSize * kBlock[a][b]; }

// Where the correlation of positions p <= q is stored, or -1.
constexpr int slot(int p, int q) {
    if (p == q) return diag(p % kTracks) + p / kTracks;
    const int tp = p % kTracks, tq = q % kTracks;
    if (tp == tq || (tp >= 3 && tq >= 3)) return -1;
    if (tp < tq) return cross(tp, tq) + kPositions * (p / kTracks) + q / kTracks;
    return cross(tq, tp) + kPositions * (q / kTracks) + p / kTracks;
}

// For diagonal d and step n of its running sum (the sum of h[k] h[k + d]
// for k = 0..n), the slot of the pair (39 - n - d, 39 - n): the running
// sums go from the end of the sub-frame backwards.
struct SlotTable {
    Kel16s at[kSubframe][kSubframe];
};

constexpr SlotTable makeSlots() {
    SlotTable t{};
    for (int d = 0; d < kSubframe; ++d)
        for (int n = 0; n < kSubframe; ++n)
            t.at[d][n] = static_cast<Kel16s>(n + d < kSubframe ? slot(39 - n - d, 39 - n) : -1);
    return t;
}

constexpr SlotTable kSlots = makeSlots();

// The inverse: for each of the 616 entries, the step n and diagonal d of its
// running sum, as n x 40 + d.
struct SourceTable {
    Kel16s at[kMatrixSize];
};

constexpr SourceTable makeSources() {
    SourceTable t{};
    for (int d = 0; d < kSubframe; ++d)
        for (int n = 0; n + d < kSubframe; ++n)
            if (kSlots.at[d][n] >= 0) t.at[kSlots.at[d][n]] = static_cast<Kel16s>(kSubframe * n + d);
    return t;
}

constexpr SourceTable kSources = makeSources();

}  // namespace

namespace kel {

// ---------------------------------------------------------------------------
// Correlation matrix (Cor_h)
// ---------------------------------------------------------------------------

int ownScaleImpulse_G729_16s(const Kel16s* pH, Kel16s* pScaled) {
    int64_t energy = 0;
    for (int n = 0; n < kSubframe; ++n) energy += int32_t{pH[n]} * pH[n];
    if ((energy >> 15) == 0) {
        // A response of negligible energy is replaced by zeros.
        memset(pScaled, 0, sizeof(Kel16s) * kSubframe);
        return 0;
    }
    if ((energy >> 15) > 32000) {
        for (int n = 0; n < kSubframe; ++n) pScaled[n] = shr(pH[n], 1);
    } else {
        // norm_l of the doubled energy (below 2^31 here), halved.
        const Kel16s k = shr(norm_l(static_cast<Kel32s>(2 * energy)), 1);
        for (int n = 0; n < kSubframe; ++n) pScaled[n] = shl(pH[n], k);
    }
    // No doubled partial sum can reach 2^31 when twice the energy stays
    // below it (|sum h[k] h[k + d]| is at most the energy).
    int64_t scaled = 0;
    for (int n = 0; n < kSubframe; ++n) scaled += int32_t{pScaled[n]} * pScaled[n];
    return 2 * scaled <= kMax32 ? 1 : 2;
}

void ownToeplizMatrix_G729_16s32s(const Kel16s* pH, Kel32s* pMatrix) {
    Kel16s h[kSubframe];
    const int kind = ownScaleImpulse_G729_16s(pH, h);
    if (kind == 0) {
        memset(pMatrix, 0, sizeof(Kel32s) * kMatrixSize);
        return;
    }
    if (kind == 1) {
        // The halved L_mac sums are the plain sums; all diagonals advance
        // together, one step n at a time, then each entry takes its sum.
        alignas(16) int32_t sum[kSubframe] = {};
        alignas(16) int32_t c[kSubframe * kSubframe];
        for (int n = 0; n < kSubframe; ++n) {
            const int32_t hn = h[n];
            int32_t* cn = c + kSubframe * n;
            for (int d = 0; d + n < kSubframe; ++d) {
                sum[d] += hn * h[n + d];
                cn[d] = sum[d];
            }
        }
        for (int i = 0; i < kMatrixSize; ++i) pMatrix[i] = c[kSources.at[i]];
        return;
    }
    // Saturating doubled accumulation, as the reference, then halved.
    for (int d = 0; d < kSubframe; ++d) {
        Kel32s s = 0;
        const Kel16s* slots = kSlots.at[d];
        for (int n = 0; n + d < kSubframe; ++n) {
            s = L_mac(s, h[n], h[n + d]);
            if (slots[n] >= 0) pMatrix[slots[n]] = s >> 1;
        }
    }
}

void ownToeplizMatrix_G729_16s(const Kel16s* pH, Kel16s* pMatrix) {
    Kel32s m[kMatrixSize];
    ownToeplizMatrix_G729_16s32s(pH, m);
    for (int i = 0; i < kMatrixSize; ++i) pMatrix[i] = static_cast<Kel16s>(m[i] >> 15);
}

// ---------------------------------------------------------------------------
// Common parts of the G.729 and G.729A searches
// ---------------------------------------------------------------------------

// Pulse magnitudes |Dn| (negate saturates -32768 to 32767) and signs.
static void pulseSigns(const Kel16s* pDn, Kel16s* dn, bool* negative) {
    for (int i = 0; i < kSubframe; ++i) {
        negative[i] = pDn[i] < 0;
        dn[i] = negative[i] ? negate(pDn[i]) : pDn[i];
    }
}

// Code vector and index words of four pulses (one per track 0, 1, 2 and
// track 3 or 4), as D4i40_17 builds them.
static void fourPulseCode(const int* ip, const bool* negative, Kel16s* pCode, Kel16s* pIndex) {
    memset(pCode, 0, sizeof(Kel16s) * kSubframe);
    int signs = 0;
    for (int k = 0; k < 4; ++k) {
        pCode[ip[k]] = negative[ip[k]] ? -8192 : 8191;  // shr(+-1 in Q15, 2)
        if (!negative[ip[k]]) signs += 1 << k;
    }
    // Pulse 3 as 2 (i3 / 5) + j; negative only when annex A, as its
    // reference, keeps a stale position off tracks 3 and 4.
    const int t3 = ip[3] / kTracks;
    pIndex[0] = static_cast<Kel16s>(signs);
    pIndex[1] = static_cast<Kel16s>(ip[0] / kTracks + ((ip[1] / kTracks) << 3) + ((ip[2] / kTracks) << 6) +
                                    (2 * t3 + ip[3] % kTracks - 3) * 512);
}

// The sixteen fourth-pulse candidates of one triple: energies
// alp = extract_l((alp2 + w[k] + 4 rr[i2][i3]) >> 5) (tracks 3, then 4)
// and squared correlations sq = mult(ps3, ps3), ps3 = add(ps2, |Dn[i3]|).
// |alp2 + w + 4 rr| is at most 2 x 16 x 2^15, so the shifted energy fits 16
// bits and saturating packing is exact; ps2 and |Dn| are never negative, so
// the saturating 16-bit sum is the reference's add.
static inline void fourthPulseScores(int32_t alp2, int32_t ps2, const int32_t* w, const Kel16s* c23, const Kel16s* c24,
                                     const Kel16s* d34, Kel16s* alp, Kel16s* sq) {
#if defined(__SSE2__)
    const __m128i base = _mm_set1_epi32(alp2);
    const __m128i c3 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c23));
    const __m128i c4 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c24));
    const __m128i* wv = reinterpret_cast<const __m128i*>(w);
    // Sign-extended rr x 4: the 16-bit value in the high half, shifted right by 14.
    const __m128i e0 = _mm_srai_epi32(_mm_unpacklo_epi16(_mm_setzero_si128(), c3), 14);
    const __m128i e1 = _mm_srai_epi32(_mm_unpackhi_epi16(_mm_setzero_si128(), c3), 14);
    const __m128i e2 = _mm_srai_epi32(_mm_unpacklo_epi16(_mm_setzero_si128(), c4), 14);
    const __m128i e3 = _mm_srai_epi32(_mm_unpackhi_epi16(_mm_setzero_si128(), c4), 14);
    const __m128i a0 = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(base, _mm_load_si128(wv)), e0), 5);
    const __m128i a1 = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(base, _mm_load_si128(wv + 1)), e1), 5);
    const __m128i a2 = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(base, _mm_load_si128(wv + 2)), e2), 5);
    const __m128i a3 = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(base, _mm_load_si128(wv + 3)), e3), 5);
    _mm_store_si128(reinterpret_cast<__m128i*>(alp), _mm_packs_epi32(a0, a1));
    _mm_store_si128(reinterpret_cast<__m128i*>(alp + 8), _mm_packs_epi32(a2, a3));
    const __m128i p = _mm_set1_epi16(static_cast<Kel16s>(ps2));
    for (int h = 0; h < 2; ++h) {
        const __m128i ps3 = _mm_adds_epi16(p, _mm_load_si128(reinterpret_cast<const __m128i*>(d34 + 8 * h)));
        // (ps3^2) >> 15 = 2 x high half + bit 15 of the low half.
        const __m128i hi = _mm_mulhi_epi16(ps3, ps3), lo = _mm_mullo_epi16(ps3, ps3);
        _mm_store_si128(reinterpret_cast<__m128i*>(sq + 8 * h),
                        _mm_or_si128(_mm_slli_epi16(hi, 1), _mm_srli_epi16(lo, 15)));
    }
#else
    for (int k = 0; k < kPositions; ++k) {
        alp[k] = static_cast<Kel16s>((alp2 + w[k] + 4 * c23[k]) >> 5);
        alp[kPositions + k] = static_cast<Kel16s>((alp2 + w[kPositions + k] + 4 * c24[k]) >> 5);
    }
    for (int k = 0; k < 2 * kPositions; ++k) {
        const int32_t ps3 = addPos(ps2, d34[k]);
        sq[k] = static_cast<Kel16s>((ps3 * ps3) >> 15);
    }
#endif
}

// Multiplies the nine cross blocks by their positions' signs (signBlock).
static void signCrossTerms(Kel16s* pRr, const bool* negative, const int32_t (&factor)[2][2]) {
    for (int a = 0; a < 3; ++a)
        for (int b = a + 1; b < kTracks; ++b) fcb::signBlock(pRr + cross(a, b), negative, a, b, factor);
}

// ---------------------------------------------------------------------------
// G.729 search (D4i40_17)
// ---------------------------------------------------------------------------

void ownFixedCodebookSearch_G729_16s(const Kel16s* pDn, Kel16s* pRr, Kel16s* pCode, Kel16s* pIndex, Kel16s* pBudget,
                                     bool firstSubframe) {
    Kel16s dn[kSubframe];
    bool negative[kSubframe];
    pulseSigns(pDn, dn, negative);

    // Threshold after three pulses: mean + 0.4 (sum of track maxima - mean),
    // with the reference's 16-bit truncation of the mean.
    Kel16s max0 = dn[0], max1 = dn[1], max2 = dn[2];
    int32_t sum = 0;
    for (int i = 0; i < kSubframe; i += kTracks) {
        max0 = dn[i] > max0 ? dn[i] : max0;
        max1 = dn[i + 1] > max1 ? dn[i + 1] : max1;
        max2 = dn[i + 2] > max2 ? dn[i + 2] : max2;
        sum += dn[i] + dn[i + 1] + dn[i + 2];
    }
    const Kel16s top = add(add(max0, max1), max2);
    const Kel16s mean = extract_l(sum >> 3);
    const int32_t thres = add(mult(sub(top, mean), 13107), mean);

    // Cross terms times the product of the two signs: mult(rr, f) with
    // f = mult(s_i, s_j): 32766 for two positive, 32767 for two negative and
    // -32767 for mixed signs.
    static constexpr int32_t kFactor[2][2] = {{32766, -32767}, {-32767, 32767}};
    signCrossTerms(pRr, negative, kFactor);

    int32_t budget = add(firstSubframe ? Kel16s{30} : *pBudget, 75);
    *pBudget = static_cast<Kel16s>(budget);

    const Kel16s* r00 = pRr + diag(0);
    const Kel16s* r11 = pRr + diag(1);
    const Kel16s* r22 = pRr + diag(2);
    const Kel16s* r33 = pRr + diag(3);
    const Kel16s* r44 = pRr + diag(4);
    const Kel16s* r01 = pRr + cross(0, 1);
    const Kel16s* r02 = pRr + cross(0, 2);
    const Kel16s* r03 = pRr + cross(0, 3);
    const Kel16s* r04 = pRr + cross(0, 4);
    const Kel16s* r12 = pRr + cross(1, 2);
    const Kel16s* r13 = pRr + cross(1, 3);
    const Kel16s* r14 = pRr + cross(1, 4);
    const Kel16s* r23 = pRr + cross(2, 3);
    const Kel16s* r24 = pRr + cross(2, 4);

    // |Dn| of each track in contiguous lanes; the fourth pulse's tracks 3
    // and 4 side by side.
    int32_t d0[kPositions], d1[kPositions], d2[kPositions];
    alignas(16) Kel16s d34[2 * kPositions];
    for (int k = 0; k < kPositions; ++k) {
        d0[k] = dn[kTracks * k];
        d1[k] = dn[kTracks * k + 1];
        d2[k] = dn[kTracks * k + 2];
        d34[k] = dn[kTracks * k + 3];
        d34[kPositions + k] = dn[kTracks * k + 4];
    }

    // Fourth-pulse terms that depend on i0 and i1 only, made when first
    // needed: 2 rr[i3][i3] + 4 (rr[i0][i3] + rr[i1][i3]) for both tracks.
    alignas(16) int32_t w[2 * kPositions];
    int ip[4] = {0, 1, 2, 3};
    int32_t psc = 0, alpha = kMax16;
    bool stop = false;  // the budget ran out
    for (int m0 = 0; m0 < kPositions && !stop; ++m0) {
        const int32_t ps0 = d0[m0];
        const int32_t alp0 = r00[m0];
        for (int m1 = 0; m1 < kPositions && !stop; ++m1) {
            const int32_t ps1 = addPos(ps0, d1[m1]);
            // The eight third pulses at once; most fail the threshold.
            int32_t ps2v[kPositions];
            int pass = 0;
            for (int m2 = 0; m2 < kPositions; ++m2) {
                ps2v[m2] = addPos(ps1, d2[m2]);
                pass |= (ps2v[m2] > thres) << m2;
            }
            if (pass == 0) continue;
            const int32_t alp1 = 2 * (alp0 + r11[m1] + 2 * r01[kPositions * m0 + m1]);
            for (int k = 0; k < kPositions; ++k) {
                w[k] = 2 * r33[k] + 4 * (r03[kPositions * m0 + k] + r13[kPositions * m1 + k]);
                w[kPositions + k] = 2 * r44[k] + 4 * (r04[kPositions * m0 + k] + r14[kPositions * m1 + k]);
            }
            for (int m2 = 0; m2 < kPositions; ++m2) {
                if (!(pass >> m2 & 1)) continue;
                const int32_t ps2 = ps2v[m2];
                const int32_t alp2 = alp1 + 2 * r22[m2] + 4 * (r02[kPositions * m0 + m2] + r12[kPositions * m1 + m2]);
                alignas(16) Kel16s alp[2 * kPositions], sq[2 * kPositions];
                fourthPulseScores(alp2, ps2, w, r23 + kPositions * m2, r24 + kPositions * m2, d34, alp, sq);
                const int k = scanBest(sq, alp, 2 * kPositions, psc, alpha);
                if (k >= 0) {
                    ip[0] = kTracks * m0;
                    ip[1] = kTracks * m1 + 1;
                    ip[2] = kTracks * m2 + 2;
                    ip[3] = k < kPositions ? kTracks * k + 3 : kTracks * (k - kPositions) + 4;
                }
                if (--budget <= 0) {
                    stop = true;
                    break;
                }
            }
        }
    }
    *pBudget = static_cast<Kel16s>(budget);
    fourPulseCode(ip, negative, pCode, pIndex);
}

// ---------------------------------------------------------------------------
// G.729A search (D4i40_17_fast)
// ---------------------------------------------------------------------------

// Position of the largest dn on a track other than `skip` (the earliest of
// equal values), as the reference's max search starting from -1.
static int trackMax(const Kel16s* dn, int track, int skip, int previous) {
    int32_t best = -1;
    int at = previous;
    for (int j = track; j < kSubframe; j += kTracks) {
        if (dn[j] > best && j != skip) {
            best = dn[j];
            at = j;
        }
    }
    return at;
}

// Without saturation (the bounds, with |rr| <= 2^15 and 0 <= alp_16 and
// tmp within [-20480, 20479]): a pair's energy in phase A is at most
// 2^15 (2^14 + 2^15 + 2^14) = 2^31 in magnitude, reached only by -2^31; in
// phase B alp0 + 3 x 2^13 rr + 2^12 rr + 2^15 tmp lies within
// [-2^31, 2^31 - 77824]. round() of these never saturates either.
static inline int32_t roundHi(int32_t x) { return (x + 0x8000) >> 16; }

// Eight annex A candidates: sq[k] = mult(ps, ps) with ps = add(ps1, d[k]),
// and a16[k] = round(base + (c1[k] << s1) + (c2[k] << s2)) (the L_mac terms
// with 1/2, 1/4, 1/8 or 1/16 in Q15; within 32 bits, see roundHi).
template <int s1, int s2>
static inline void scoreEight(int32_t base, int32_t ps1, const Kel16s* d, const Kel16s* c1, const Kel16s* c2,
                              Kel16s* sq, Kel16s* a16) {
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const __m128i ps =
        _mm_adds_epi16(_mm_set1_epi16(static_cast<Kel16s>(ps1)), _mm_loadu_si128(reinterpret_cast<const __m128i*>(d)));
    const __m128i hi = _mm_mulhi_epi16(ps, ps), lo = _mm_mullo_epi16(ps, ps);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(sq), _mm_or_si128(_mm_slli_epi16(hi, 1), _mm_srli_epi16(lo, 15)));
    const __m128i x1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c1));
    const __m128i x2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c2));
    // c << s, sign-extended: the value in the high half shifted right by 16 - s.
    const __m128i b = _mm_set1_epi32(base + 0x8000);
    const __m128i lo32 = _mm_add_epi32(_mm_add_epi32(b, _mm_srai_epi32(_mm_unpacklo_epi16(zero, x1), 16 - s1)),
                                       _mm_srai_epi32(_mm_unpacklo_epi16(zero, x2), 16 - s2));
    const __m128i hi32 = _mm_add_epi32(_mm_add_epi32(b, _mm_srai_epi32(_mm_unpackhi_epi16(zero, x1), 16 - s1)),
                                       _mm_srai_epi32(_mm_unpackhi_epi16(zero, x2), 16 - s2));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(a16),
                     _mm_packs_epi32(_mm_srai_epi32(lo32, 16), _mm_srai_epi32(hi32, 16)));
#else
    for (int k = 0; k < kPositions; ++k) {
        const int32_t ps = addPos(ps1, d[k]);
        sq[k] = static_cast<Kel16s>((ps * ps) >> 15);
        a16[k] = static_cast<Kel16s>(roundHi(base + c1[k] * (1 << s1) + c2[k] * (1 << s2)));
    }
#endif
}

void ownFixedCodebookSearch_G729A_16s(const Kel16s* pDn, Kel16s* pRr, Kel16s* pCode, Kel16s* pIndex) {
    Kel16s dn[kSubframe];
    bool negative[kSubframe];
    pulseSigns(pDn, dn, negative);

    // Cross terms: mult(rr, s_j) for a positive s_i, mult(rr, -s_j) for a
    // negative one, s = 32767 or -32768: 32767 when the signs agree, -32768
    // (-rr, saturated) when they differ.
    static constexpr int32_t kFactor[2][2] = {{32767, -32768}, {-32768, 32767}};
    signCrossTerms(pRr, negative, kFactor);

    const Kel16s* r00 = pRr + diag(0);
    const Kel16s* r11 = pRr + diag(1);
    const Kel16s* r22 = pRr + diag(2);
    const Kel16s* r01 = pRr + cross(0, 1);
    const Kel16s* r02 = pRr + cross(0, 2);
    const Kel16s* r12 = pRr + cross(1, 2);
    alignas(16) Kel16s d[kTracks][kPositions];  // |Dn| per track
    for (int t = 0; t < kTracks; ++t)
        for (int k = 0; k < kPositions; ++k) d[t][k] = dn[kTracks * k + t];

    int32_t psk = -1, alpk = 1;
    int ip[4] = {0, 1, 2, 3};
    int ix = 0, iy = 0, i0 = 0;
    int32_t ps = 0;
    alignas(16) Kel16s sq2[kPositions], a16[kPositions], col[kPositions], tmp[kPositions];
    for (int track = 3; track < kTracks; ++track) {
        const Kel16s* rtt = pRr + diag(track);
        const Kel16s* r0t = pRr + cross(0, track);
        const Kel16s* r1t = pRr + cross(1, track);
        const Kel16s* r2t = pRr + cross(2, track);

        // Search 3, phase A: pulse on track 2 (its two largest dn) and on
        // the fourth track.
        int32_t sq = -1, alp = 1;
        int prev = -1;
        for (int t = 0; t < 2; ++t) {
            i0 = trackMax(dn, 2, prev, i0);
            prev = i0;
            const int j = i0 / kTracks;
            scoreEight<15, 14>(r22[j] * 16384, dn[i0], d[track], r2t + kPositions * j, rtt, sq2, a16);
            const int k = scanBest(sq2, a16, kPositions, sq, alp);
            if (k >= 0) {
                ps = addPos(dn[i0], d[track][k]);
                ix = i0;
                iy = kTracks * k + track;
            }
        }
        int p2 = ix, p3 = iy;

        // Search 3, phase B: pulses on tracks 0 and 1.
        int32_t ps0 = ps, alp0 = alp * 16384;
        sq = -1;
        alp = 1;
        for (int k = 0; k < kPositions; ++k) {
            tmp[k] = roundHi(r12[kPositions * k + p2 / kTracks] * 16384 + r1t[kPositions * k + p3 / kTracks] * 16384 +
                             r11[k] * 8192);
        }
        for (int m = 0; m < kPositions; ++m) {
            const int32_t ps1 = addPos(ps0, d[0][m]);
            const int32_t alp1 = alp0 + r02[kPositions * m + p2 / kTracks] * 8192 +
                                 r0t[kPositions * m + p3 / kTracks] * 8192 + r00[m] * 4096;
            scoreEight<13, 15>(alp1, ps1, d[1], r01 + kPositions * m, tmp, sq2, a16);
            const int k = scanBest(sq2, a16, kPositions, sq, alp);
            if (k >= 0) {
                ix = kTracks * m;
                iy = kTracks * k + 1;
            }
        }
        if (better(alpk, sq, psk, alp)) {
            psk = sq;
            alpk = alp;
            ip[2] = p2;
            ip[3] = p3;
            ip[0] = ix;
            ip[1] = iy;
        }

        // Search 4, phase A: pulse on the fourth track (its two largest dn)
        // and on track 0.
        sq = -1;
        alp = 1;
        prev = -1;
        for (int t = 0; t < 2; ++t) {
            i0 = trackMax(dn, track, prev, i0);
            prev = i0;
            const int j = i0 / kTracks;
            for (int m = 0; m < kPositions; ++m) col[m] = r0t[kPositions * m + j];
            scoreEight<15, 14>(rtt[j] * 16384, dn[i0], d[0], col, r00, sq2, a16);
            const int m = scanBest(sq2, a16, kPositions, sq, alp);
            if (m >= 0) {
                ps = addPos(dn[i0], d[0][m]);
                ix = i0;
                iy = kTracks * m;
            }
        }
        p3 = ix;
        const int p0 = iy;

        // Search 4, phase B: pulses on tracks 1 and 2.
        ps0 = ps;
        alp0 = alp * 16384;
        sq = -1;
        alp = 1;
        for (int k = 0; k < kPositions; ++k) {
            tmp[k] = roundHi(r2t[kPositions * k + p3 / kTracks] * 16384 + r02[kPositions * (p0 / kTracks) + k] * 16384 +
                             r22[k] * 8192);
        }
        for (int m = 0; m < kPositions; ++m) {
            const int32_t ps1 = addPos(ps0, d[1][m]);
            const int32_t alp1 = alp0 + r1t[kPositions * m + p3 / kTracks] * 8192 +
                                 r01[kPositions * (p0 / kTracks) + m] * 8192 + r11[m] * 4096;
            scoreEight<13, 15>(alp1, ps1, d[2], r12 + kPositions * m, tmp, sq2, a16);
            const int k = scanBest(sq2, a16, kPositions, sq, alp);
            if (k >= 0) {
                ix = kTracks * m + 1;
                iy = kTracks * k + 2;
            }
        }
        if (better(alpk, sq, psk, alp)) {
            psk = sq;
            alpk = alp;
            ip[3] = p3;
            ip[0] = p0;
            ip[1] = ix;
            ip[2] = iy;
        }
    }
    fourPulseCode(ip, negative, pCode, pIndex);
}

}  // namespace kel

// ---------------------------------------------------------------------------
// Exported functions
// ---------------------------------------------------------------------------

using namespace kel::g729;

// The 32-bit matrix shifted right by 15 into 16 bits (saturated: a matrix
// of kelsToeplizMatrix_G729_16s32s always fits).
static void narrowMatrix(const Kel32s* pSrc, Kel16s* pDst) {
    for (int i = 0; i < kMatrixSize; ++i) pDst[i] = kel::sat16(pSrc[i] >> 15);
}

static void widenMatrix(const Kel16s* pSrc, Kel32s* pDst) {
    for (int i = 0; i < kMatrixSize; ++i) pDst[i] = pSrc[i];
}

KelStatus kelsToeplizMatrix_G729_16s32s(const Kel16s* pSrcImpulseResponse, Kel32s* pDstMatrix) {
    KEL_CHECK(Args().ptr(pSrcImpulseResponse, pDstMatrix));
    kel::ownToeplizMatrix_G729_16s32s(pSrcImpulseResponse, pDstMatrix);
    return kelStatusOk;
}

KelStatus kelsToeplizMatrix_G729_16s(const Kel16s* pSrcImpulseResponse, Kel16s* pDstMatrix) {
    KEL_CHECK(Args().ptr(pSrcImpulseResponse, pDstMatrix));
    kel::ownToeplizMatrix_G729_16s(pSrcImpulseResponse, pDstMatrix);
    return kelStatusOk;
}

KelStatus kelsFixedCodebookSearch_G729_32s16s(const Kel16s* pSrcFixedCorr, Kel32s* pSrcDstMatrix,
                                              Kel16s* pDstFixedVector, Kel16s* pDstFixedIndex,
                                              Kel16s* pSrcDstSearchTimes, int subFrame) {
    KEL_CHECK(Args()
                  .ptr(pSrcFixedCorr, pSrcDstMatrix, pDstFixedVector, pDstFixedIndex, pSrcDstSearchTimes)
                  .require(subFrame >= 0, kelStatusOutOfRange));
    alignas(32) Kel16s rr[kMatrixSize];
    narrowMatrix(pSrcDstMatrix, rr);
    kel::ownFixedCodebookSearch_G729_16s(pSrcFixedCorr, rr, pDstFixedVector, pDstFixedIndex, pSrcDstSearchTimes,
                                         subFrame == 0);
    widenMatrix(rr, pSrcDstMatrix);
    return kelStatusOk;
}

KelStatus kelsFixedCodebookSearch_G729_16s(const Kel16s* pSrcFixedCorr, Kel16s* pSrcDstMatrix, Kel16s* pDstFixedVector,
                                           Kel16s* pDstFixedIndex, Kel16s* pSrcDstSearchTimes, int subFrame) {
    KEL_CHECK(Args()
                  .ptr(pSrcFixedCorr, pSrcDstMatrix, pDstFixedVector, pDstFixedIndex, pSrcDstSearchTimes)
                  .require(subFrame == 0 || subFrame == 1, kelStatusOutOfRange));
    kel::ownFixedCodebookSearch_G729_16s(pSrcFixedCorr, pSrcDstMatrix, pDstFixedVector, pDstFixedIndex,
                                         pSrcDstSearchTimes, subFrame == 0);
    return kelStatusOk;
}

KelStatus kelsFixedCodebookSearch_G729A_32s16s(const Kel16s* pSrcFixedCorr, Kel32s* pSrcDstMatrix,
                                               Kel16s* pDstFixedVector, Kel16s* pDstFixedIndex) {
    KEL_CHECK(Args().ptr(pSrcFixedCorr, pSrcDstMatrix, pDstFixedVector, pDstFixedIndex));
    alignas(32) Kel16s rr[kMatrixSize];
    narrowMatrix(pSrcDstMatrix, rr);
    kel::ownFixedCodebookSearch_G729A_16s(pSrcFixedCorr, rr, pDstFixedVector, pDstFixedIndex);
    widenMatrix(rr, pSrcDstMatrix);
    return kelStatusOk;
}

KelStatus kelsFixedCodebookSearch_G729A_16s(const Kel16s* pSrcFixedCorr, Kel16s* pSrcDstMatrix, Kel16s* pDstFixedVector,
                                            Kel16s* pDstFixedIndex) {
    KEL_CHECK(Args().ptr(pSrcFixedCorr, pSrcDstMatrix, pDstFixedVector, pDstFixedIndex));
    kel::ownFixedCodebookSearch_G729A_16s(pSrcFixedCorr, pSrcDstMatrix, pDstFixedVector, pDstFixedIndex);
    return kelStatusOk;
}
