// G.729 algebraic fixed-codebook search (clause 3.8) and its annex A form
// (A.3.8), with the correlation matrix of the impulse response that both
// consume. The arithmetic is that of ACELP_CO.C (Cor_h, D4i40_17) and
// ACELP_CA.C (D4i40_17_fast) of the G.729 Release 2 reference.
//
// For speed (docs/PERFORMANCE.md) the searches run on plain integers. With
// 16-bit correlations and 16-bit |Dn| none of the reference's 32-bit
// accumulations can saturate (the largest G.729 energy sum is
// 2 x 16 x 2^15 = 2^20; the largest annex A sum is bounded by 2^31 - 1 and
// -2^31, worked out term by term below), so plain sums give the reference's
// values. The 16-bit partial correlations are sums of values that are never
// negative, where saturating addition equals min(exact sum, 32767). The
// candidate tests L_msu(L_mult(a, b), c, d) > 0 keep their sign under
// saturation and are compared exactly in 64 bits. Where the reference
// truncates (extract_l) the code does the same.
#include <string.h>

#include "basop.h"
#include "check.h"
#include "g729/g729_internal.h"

using kel::Args;

namespace {

using namespace kel;
using namespace kel::g729;

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
        // The halved L_mac sums are the plain sums.
        for (int d = 0; d < kSubframe; ++d) {
            Kel32s s = 0;
            const Kel16s* slots = kSlots.at[d];
            for (int n = 0; n + d < kSubframe; ++n) {
                s += int32_t{h[n]} * h[n + d];
                if (slots[n] >= 0) pMatrix[slots[n]] = s;
            }
        }
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
    const int t3 = ip[3] / kTracks;
    pIndex[0] = static_cast<Kel16s>(signs);
    pIndex[1] = static_cast<Kel16s>(ip[0] / kTracks + ((ip[1] / kTracks) << 3) + ((ip[2] / kTracks) << 6) +
                                    ((2 * t3 + ip[3] % kTracks - 3) << 9));
}

// Exact sign of L_msu(L_mult(a, b), c, d): a b - c d (saturation keeps it).
static inline bool better(int32_t a, int32_t b, int32_t c, int32_t d) { return int64_t{a} * b > int64_t{c} * d; }

// Saturating sum of two values that are never negative.
static inline int32_t addPos(int32_t a, int32_t b) { return a + b > kMax16 ? kMax16 : a + b; }

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
    // f = mult(s_i, s_j), 32766 for two positive, 32767 for two negative
    // and -32767 for mixed signs (never -32768, so no saturation).
    for (int a = 0; a < 3; ++a) {
        for (int b = a + 1; b < kTracks; ++b) {
            Kel16s* blk = pRr + cross(a, b);
            for (int x = 0; x < kPositions; ++x) {
                const bool nx = negative[kTracks * x + a];
                for (int y = 0; y < kPositions; ++y) {
                    const bool ny = negative[kTracks * y + b];
                    const int32_t f = nx != ny ? -32767 : (nx ? 32767 : 32766);
                    blk[kPositions * x + y] = static_cast<Kel16s>((blk[kPositions * x + y] * f) >> 15);
                }
            }
        }
    }

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

    // Fourth-pulse terms that depend on i0 and i1 only, made when first
    // needed: 2 rr[i3][i3] + 4 (rr[i0][i3] + rr[i1][i3]) for both tracks.
    int32_t w[2 * kPositions];
    int32_t dn3[2 * kPositions];
    for (int k = 0; k < kPositions; ++k) {
        dn3[k] = dn[kTracks * k + 3];
        dn3[kPositions + k] = dn[kTracks * k + 4];
    }

    int ip[4] = {0, 1, 2, 3};
    int32_t psc = 0, alpha = kMax16;
    bool stop = false;  // the budget ran out
    for (int m0 = 0; m0 < kPositions && !stop; ++m0) {
        const int32_t ps0 = dn[kTracks * m0];
        const int32_t alp0 = r00[m0];
        for (int m1 = 0; m1 < kPositions && !stop; ++m1) {
            const int32_t ps1 = addPos(ps0, dn[kTracks * m1 + 1]);
            const int32_t alp1 = 2 * (alp0 + r11[m1] + 2 * r01[kPositions * m0 + m1]);
            bool wReady = false;
            for (int m2 = 0; m2 < kPositions; ++m2) {
                const int32_t ps2 = addPos(ps1, dn[kTracks * m2 + 2]);
                if (ps2 <= thres) continue;
                const int32_t alp2 = alp1 + 2 * r22[m2] + 4 * (r02[kPositions * m0 + m2] + r12[kPositions * m1 + m2]);
                if (!wReady) {
                    for (int k = 0; k < kPositions; ++k) {
                        w[k] = 2 * r33[k] + 4 * (r03[kPositions * m0 + k] + r13[kPositions * m1 + k]);
                        w[kPositions + k] = 2 * r44[k] + 4 * (r04[kPositions * m0 + k] + r14[kPositions * m1 + k]);
                    }
                    wReady = true;
                }
                const Kel16s* c23 = r23 + kPositions * m2;
                const Kel16s* c24 = r24 + kPositions * m2;
                int32_t alp[2 * kPositions], sq[2 * kPositions];
                for (int k = 0; k < kPositions; ++k) {
                    alp[k] = static_cast<Kel16s>((alp2 + w[k] + 4 * c23[k]) >> 5);
                    alp[kPositions + k] = static_cast<Kel16s>((alp2 + w[kPositions + k] + 4 * c24[k]) >> 5);
                }
                for (int k = 0; k < 2 * kPositions; ++k) {
                    const int32_t ps3 = addPos(ps2, dn3[k]);
                    sq[k] = (ps3 * ps3) >> 15;
                }
                for (int k = 0; k < 2 * kPositions; ++k) {
                    if (better(sq[k], alpha, psc, alp[k])) {
                        psc = sq[k];
                        alpha = alp[k];
                        ip[0] = kTracks * m0;
                        ip[1] = kTracks * m1 + 1;
                        ip[2] = kTracks * m2 + 2;
                        ip[3] = k < kPositions ? kTracks * k + 3 : kTracks * (k - kPositions) + 4;
                    }
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

void ownFixedCodebookSearch_G729A_16s(const Kel16s* pDn, Kel16s* pRr, Kel16s* pCode, Kel16s* pIndex) {
    Kel16s dn[kSubframe];
    bool negative[kSubframe];
    pulseSigns(pDn, dn, negative);

    // Cross terms: mult(rr, s_j) for a positive s_i, mult(rr, -s_j) for a
    // negative one, s = 32767 or -32768: 32767 when the signs agree
    // ((rr 32767) >> 15), -32768 when they differ (-rr, saturated).
    for (int a = 0; a < 3; ++a) {
        for (int b = a + 1; b < kTracks; ++b) {
            Kel16s* blk = pRr + cross(a, b);
            for (int x = 0; x < kPositions; ++x) {
                const bool nx = negative[kTracks * x + a];
                for (int y = 0; y < kPositions; ++y) {
                    Kel16s& r = blk[kPositions * x + y];
                    r = nx == negative[kTracks * y + b] ? static_cast<Kel16s>((r * 32767) >> 15) : negate(r);
                }
            }
        }
    }

    const Kel16s* r00 = pRr + diag(0);
    const Kel16s* r11 = pRr + diag(1);
    const Kel16s* r22 = pRr + diag(2);
    const Kel16s* r01 = pRr + cross(0, 1);
    const Kel16s* r02 = pRr + cross(0, 2);
    const Kel16s* r12 = pRr + cross(1, 2);

    int32_t psk = -1, alpk = 1;
    int ip[4] = {0, 1, 2, 3};
    int ix = 0, iy = 0, i0 = 0;
    int32_t ps = 0;
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
            const int32_t ps1 = dn[i0];
            const int32_t alp1 = r22[j] * 16384;
            for (int k = 0; k < kPositions; ++k) {
                const int32_t ps2 = addPos(ps1, dn[kTracks * k + track]);
                const int32_t alp2 = alp1 + r2t[kPositions * j + k] * 32768 + rtt[k] * 16384;
                const int32_t sq2 = (ps2 * ps2) >> 15;
                const int32_t a16 = roundHi(alp2);
                if (better(alp, sq2, sq, a16)) {
                    sq = sq2;
                    ps = ps2;
                    alp = a16;
                    ix = i0;
                    iy = kTracks * k + track;
                }
            }
        }
        int p2 = ix, p3 = iy;

        // Search 3, phase B: pulses on tracks 0 and 1.
        int32_t ps0 = ps, alp0 = alp * 16384;
        sq = -1;
        alp = 1;
        int32_t tmp[kPositions];
        for (int k = 0; k < kPositions; ++k) {
            tmp[k] = roundHi(r12[kPositions * k + p2 / kTracks] * 16384 + r1t[kPositions * k + p3 / kTracks] * 16384 +
                             r11[k] * 8192);
        }
        for (int m = 0; m < kPositions; ++m) {
            const int32_t ps1 = addPos(ps0, dn[kTracks * m]);
            const int32_t alp1 = alp0 + r02[kPositions * m + p2 / kTracks] * 8192 +
                                 r0t[kPositions * m + p3 / kTracks] * 8192 + r00[m] * 4096;
            for (int k = 0; k < kPositions; ++k) {
                const int32_t ps2 = addPos(ps1, dn[kTracks * k + 1]);
                const int32_t alp2 = alp1 + r01[kPositions * m + k] * 8192 + tmp[k] * 32768;
                const int32_t sq2 = (ps2 * ps2) >> 15;
                const int32_t a16 = roundHi(alp2);
                if (better(alp, sq2, sq, a16)) {
                    sq = sq2;
                    alp = a16;
                    ix = kTracks * m;
                    iy = kTracks * k + 1;
                }
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
            const int32_t ps1 = dn[i0];
            const int32_t alp1 = rtt[j] * 16384;
            for (int m = 0; m < kPositions; ++m) {
                const int32_t ps2 = addPos(ps1, dn[kTracks * m]);
                const int32_t alp2 = alp1 + r0t[kPositions * m + j] * 32768 + r00[m] * 16384;
                const int32_t sq2 = (ps2 * ps2) >> 15;
                const int32_t a16 = roundHi(alp2);
                if (better(alp, sq2, sq, a16)) {
                    sq = sq2;
                    ps = ps2;
                    alp = a16;
                    ix = i0;
                    iy = kTracks * m;
                }
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
            const int32_t ps1 = addPos(ps0, dn[kTracks * m + 1]);
            const int32_t alp1 = alp0 + r1t[kPositions * m + p3 / kTracks] * 8192 +
                                 r01[kPositions * (p0 / kTracks) + m] * 8192 + r11[m] * 4096;
            for (int k = 0; k < kPositions; ++k) {
                const int32_t ps2 = addPos(ps1, dn[kTracks * k + 2]);
                const int32_t alp2 = alp1 + r12[kPositions * m + k] * 8192 + tmp[k] * 32768;
                const int32_t sq2 = (ps2 * ps2) >> 15;
                const int32_t a16 = roundHi(alp2);
                if (better(alp, sq2, sq, a16)) {
                    sq = sq2;
                    alp = a16;
                    ix = kTracks * m + 1;
                    iy = kTracks * k + 2;
                }
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
