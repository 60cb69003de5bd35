// G.729 annex D fixed-codebook search at 6.4 kbit/s (11 bits, two pulses):
// the correlations of Cor_h_D in its 6.4 kbit/s form and D2i40_11 of
// ACELPCOD.C of the G.729 Release 2 reference.
//
// The first pulse lies on 5m + 1 or 5m + 3 (trackTable0), the second on 5m,
// 5m + 2, 5m + 4 or 5m + 1 (trackTable1). Eight pairs of sub-tracks are
// searched, each over 8 x 8 positions, in the reference's order; a pair
// replaces the best only when strictly better, so the earliest wins a tie.
// The arithmetic runs on plain integers: an energy (rr[a][a] + rr[b][b] +
// 2 rr[a][b], doubled) stays below 2^19, the correlation of two |Dn| is a
// saturating sum of values that are never negative (min(sum, 32767)), and
// the candidate test keeps its sign under saturation (compared on 32-bit
// products, fixed_codebook_kernels.h).
#include <string.h>

#include "basop.h"
#include "check.h"
#include "g729/fixed_codebook_kernels.h"
#include "g729/g729_internal.h"

namespace {

using namespace kel;
using namespace kel::g729;

// The sub-track pairs in search order: the track of the outer loop, the
// track of the inner loop, and whether the outer position is the first
// pulse (else the inner one is).
struct Pair {
    int outer, inner;
    bool outerFirst;
};

constexpr Pair kPairs[8] = {{0, 1, false}, {1, 1, true},  {0, 3, false}, {3, 4, true},
                            {1, 2, true},  {1, 3, false}, {1, 4, true},  {2, 3, false}};

// Index of a position in a track table (the position is always there).
int tableIndex(const Kel16s* table, int n, int pos) {
    int i = 0;
    while (i < n - 1 && table[i] != pos) ++i;
    return i;
}

}  // namespace

namespace kel {

Kel16s ownFixedCodebookSearch_G729D_16s(const Kel16s* pDn, const Kel16s* pH, Kel16s* pCode, Kel16s* pY, Kel16s* pSign) {
    // 16-bit correlations of the scaled response, as kelsToeplizMatrix_G729_16s
    // has them: c[n][d] is the running sum of h[k] h[k + d] over k = 0..n,
    // the correlation of positions 39 - n - d and 39 - n. All diagonals
    // advance together, one step n at a time.
    Kel16s h[kSubframe];
    const int kind = ownScaleImpulse_G729_16s(pH, h);
    alignas(16) Kel16s c[kSubframe][kSubframe];
    if (kind == 2) {
        Kel32s s[kSubframe] = {};
        for (int n = 0; n < kSubframe; ++n)
            for (int d = 0; d + n < kSubframe; ++d) {
                s[d] = L_mac(s[d], h[n], h[n + d]);
                c[n][d] = extract_h(s[d]);
            }
    } else {
        int32_t s[kSubframe] = {};
        for (int n = 0; n < kSubframe; ++n) {
            const int32_t hn = h[n];
            for (int d = 0; d + n < kSubframe; ++d) {
                s[d] += hn * h[n + d];
                c[n][d] = static_cast<Kel16s>(s[d] >> 15);
            }
        }
    }
    // rr[p][q] for any p, q.
    const auto rr = [&c](int p, int q) { return p <= q ? c[39 - q][q - p] : c[39 - p][p - q]; };

    Kel16s dn[kSubframe];
    bool negative[kSubframe];
    for (int i = 0; i < kSubframe; ++i) {
        negative[i] = pDn[i] < 0;
        dn[i] = negative[i] ? negate(pDn[i]) : pDn[i];
    }
    alignas(16) Kel16s dT[kTracks][kPositions], diagT[kTracks][kPositions];
    for (int t = 0; t < kTracks; ++t)
        for (int k = 0; k < kPositions; ++k) {
            dT[t][k] = dn[kTracks * k + t];
            diagT[t][k] = rr(kTracks * k + t, kTracks * k + t);
        }

    // Cross terms times mult(sign_i0, sign_i1): 32766, 32767 or -32767 (the
    // same-track block's diagonal included).
    static constexpr int32_t kFactor[2][2] = {{32766, -32767}, {-32767, 32767}};
    int ip0 = 1, ip1 = 0;  // first and second pulse
    int32_t psc = 0, alpha = kMax16;
    for (const Pair& pr : kPairs) {
        alignas(16) Kel16s blk[kBlockSize];
        for (int x = 0; x < kPositions; ++x)
            for (int y = 0; y < kPositions; ++y)
                blk[kPositions * x + y] = rr(kTracks * x + pr.outer, kTracks * y + pr.inner);
        fcb::signBlock(blk, negative, pr.outer, pr.inner, kFactor);
        for (int x = 0; x < kPositions; ++x) {
            const int32_t ps0 = dT[pr.outer][x];
            const int32_t alp0 = diagT[pr.outer][x];
            // Energies (alp0 + rr[i1][i1] + 2 rr[i0][i1]) >> 4 (within 16 bits)
            // and squared correlations mult(ps, ps), ps = add(ps0, |Dn[i1]|).
            alignas(16) Kel16s alp[kPositions], sq[kPositions];
            for (int y = 0; y < kPositions; ++y) {
                alp[y] = static_cast<Kel16s>((alp0 + diagT[pr.inner][y] + 2 * blk[kPositions * x + y]) >> 4);
                const int32_t ps1 = fcb::addPos(ps0, dT[pr.inner][y]);
                sq[y] = static_cast<Kel16s>((ps1 * ps1) >> 15);
            }
            const int y = fcb::scanBest(sq, alp, kPositions, psc, alpha);
            if (y >= 0) {
                const int i0 = kTracks * x + pr.outer, i1 = kTracks * y + pr.inner;
                ip0 = pr.outerFirst ? i0 : i1;
                ip1 = pr.outerFirst ? i1 : i0;
            }
        }
    }

    const int n0 = tableIndex(kTrack0_G729D, 16, ip0);
    const int n1 = tableIndex(kTrack1_G729D, 32, ip1);
    const int s0 = negative[ip0] ? 0 : 1, s1 = negative[ip1] ? 0 : 1;
    memset(pCode, 0, sizeof(Kel16s) * kSubframe);
    pCode[ip0] = static_cast<Kel16s>(s0 ? 8191 : -8192);
    pCode[ip1] = add(pCode[ip1], static_cast<Kel16s>(s1 ? 8191 : -8192));
    *pSign = static_cast<Kel16s>(2 * s1 + s0);

    // The filtered code: h at each pulse with its sign, saturating.
    memset(pY, 0, sizeof(Kel16s) * ip0);
    for (int i = ip0; i < kSubframe; ++i) pY[i] = s0 ? pH[i - ip0] : negate(pH[i - ip0]);
    for (int i = ip1; i < kSubframe; ++i) pY[i] = s1 ? add(pY[i], pH[i - ip1]) : sub(pY[i], pH[i - ip1]);
    return static_cast<Kel16s>(kGrayEncode_G729D[n0] + (kGrayEncode_G729D[n1] << 4));
}

}  // namespace kel

KelStatus kelsFixedCodebookSearch_G729D_16s(const Kel16s* pSrcFixedCorr, const Kel16s* pSrcImpulseResponse,
                                            Kel16s* pDstFixedVector, Kel16s* pDstFltFixedVector, Kel16s* pDstSign,
                                            Kel16s* pDstIndex) {
    KEL_CHECK(
        kel::Args().ptr(pSrcFixedCorr, pSrcImpulseResponse, pDstFixedVector, pDstFltFixedVector, pDstSign, pDstIndex));
    *pDstIndex = kel::ownFixedCodebookSearch_G729D_16s(pSrcFixedCorr, pSrcImpulseResponse, pDstFixedVector,
                                                       pDstFltFixedVector, pDstSign);
    return kelStatusOk;
}
