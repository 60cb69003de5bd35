// G.729 annex E fixed-codebook searches at 11.8 kbit/s: ten pulses, two per
// track, in 35 bits (forward-adaptive frames) and twelve pulses in 44 bits
// (backward-adaptive frames). The arithmetic is that of ACELP_E.C of the
// G.729 Release 2 reference (ACELP_10i40_35bits, ACELP_12i40_44bits and
// their helpers cor_h_x_e, set_sign, cor_h_e, cor_h_vec, search_ixiy,
// build_code, pack3).
//
// The correlations are sums of 40 or fewer products accumulated with
// saturation. By the Cauchy-Schwarz inequality every partial sum of
// a[k] b[k] is at most sqrt(E_a E_b) in magnitude, so when twice that bound
// (plus the rounding constant) stays below 2^31 no doubled partial sum
// saturates and plain integer sums give the reference's values; otherwise
// the saturating form runs. The 16-bit sums of the search keep the
// reference's saturating additions.
#include <string.h>

#include "basop.h"
#include "check.h"
#include "g729/fixed_codebook_kernels.h"
#include "g729/g729_internal.h"

namespace {

using namespace kel;
using namespace kel::g729;

constexpr int kPairBlock = kPositions * kPositions;

// Energy of a 40-sample vector, exact.
int64_t energy(const Kel16s* v) {
    int64_t e = 0;
    for (int i = 0; i < kSubframe; ++i) e += int32_t{v[i]} * v[i];
    return e;
}

// True when 2 sqrt(ea eb) + bias stays below 2^31: no doubled partial sum of
// products of the two vectors (started at bias) can saturate.
bool productsFit(int64_t ea, int64_t eb, int32_t bias) {
    const double limit = 2147483647.0 - bias;
    return 4.0 * static_cast<double>(ea) * static_cast<double>(eb) < 0.999 * limit * limit;
}

// sum over k < n of L_mac(a[k], b[k]) from init: plain when `fits`.
inline Kel32s dot(const Kel16s* a, const Kel16s* b, int n, Kel32s init, bool fits) {
    if (fits) {
        int32_t s = 0;
        for (int k = 0; k < n; ++k) s += int32_t{a[k]} * b[k];
        return init + 2 * s;
    }
    Kel32s s = init;
    for (int k = 0; k < n; ++k) s = L_mac(s, a[k], b[k]);
    return s;
}

// mult(r, s) for a sign s of 32767 (r (32767 / 32768)) or -32768 (-r,
// saturated).
inline Kel16s applySign(Kel16s r, bool negative) {
    return negative ? negate(r) : static_cast<Kel16s>((int32_t{r} * 32767) >> 15);
}

struct SearchState {
    Kel16s dn[kSubframe];  // |dn| after the sign choice
    bool negative[kSubframe];
    int posMax[kTracks];
    Kel32s corr[kTracks];
    // Normalised h and -h, each after 40 zeros: the response of a pulse at
    // position p is hPad + 40 - p.
    alignas(16) Kel16s hPad[2 * kSubframe];
    alignas(16) Kel16s hNegPad[2 * kSubframe];
    Kel16s* h = hPad + kSubframe;
    Kel16s* hNeg = hNegPad + kSubframe;
    int64_t hEnergy;  // of the normalised h
    Kel16s rrixix[kTracks][kPositions];
    Kel16s rrixiy[kTracks][kPairBlock];  // (t, t + 1 mod 5), 8 x (track t) + (track t + 1)
};

// cor_h_x_e: correlation of the target with h, scaled so that twice the
// sum of the track maxima does not saturate.
void targetCorrelation(const Kel16s* pH, const Kel16s* pX, Kel16s* dn) {
    const bool fits = productsFit(energy(pH), energy(pX), 0);
    Kel32s y32[kSubframe];
    Kel32s tot = 5;
    for (int k = 0; k < kTracks; ++k) {
        Kel32s max = 0;
        for (int i = k; i < kSubframe; i += kTracks) {
            y32[i] = dot(pX + i, pH, kSubframe - i, 0, fits);
            const Kel32s s = L_abs(y32[i]);
            if (s > max) max = s;
        }
        tot = L_add(tot, max >> 1);
    }
    const Kel16s j = sub(norm_l(tot), 2);
    for (int i = 0; i < kSubframe; ++i) dn[i] = round_fx(L_shl(y32[i], j));
}

// Inv_sqrt-based normalisation factor of a vector's energy (set_sign).
Kel16s normFactor(const Kel16s* v) {
    Kel32s s = 0;
    for (int i = 0; i < kSubframe; ++i) s = L_mac(s, v[i], v[i]);
    if (s < 512) s = 512;
    return extract_h(L_shl(Inv_sqrt(s), 5));
}

// set_sign: the sign of each position from k_cn cn + k_dn dn, dn made
// non-negative accordingly, and per track the position and value of the
// largest |k_cn cn + k_dn dn|.
void chooseSigns(const Kel16s* pCn, SearchState& st) {
    const Kel16s kCn = mult(normFactor(pCn), 32767);
    const Kel16s kDn = normFactor(st.dn);
    for (int k = 0; k < kTracks; ++k) {
        Kel32s max = -1;
        int pos = k;
        for (int i = k; i < kSubframe; i += kTracks) {
            Kel16s val = st.dn[i];
            Kel32s s = L_mac(L_mult(kCn, pCn[i]), kDn, val);
            st.negative[i] = s < 0;
            if (s < 0) val = negate(val);
            st.dn[i] = val;
            s = L_abs(s);
            if (s > max) {
                max = s;
                pos = i;
            }
        }
        st.posMax[k] = pos;
        st.corr[k] = max;
    }
}

// cor_h_e: h normalised (shift, then the factor 1 / sqrt(E / 2^12)), the
// track energies and the adjacent-track correlations, signs applied.
void impulseCorrelations(const Kel16s* pH, SearchState& st) {
    memset(st.hPad, 0, sizeof(st.hPad));
    memset(st.hNegPad, 0, sizeof(st.hNegPad));
    Kel32s cor = 0;
    for (int i = 0; i < kSubframe; ++i) cor = L_mac(cor, pH[i], pH[i]);
    Kel16s k = shr(norm_l(cor), 1);
    for (int i = 0; i < kSubframe; ++i) st.h[i] = shl(pH[i], k);
    cor = L_shl(cor, add(k, k));
    cor = L_shr(cor, 12);
    k = extract_h(L_shl(Inv_sqrt(cor), 8));
    for (int i = 0; i < kSubframe; ++i) {
        st.h[i] = mult(st.h[i], k);
        st.hNeg[i] = negate(st.h[i]);
    }

    const int64_t eh = energy(st.h);
    st.hEnergy = eh;
    const bool fits = 2 * eh + 0x10000 <= kMax32;
    // Track energies: running sums of h^2 from the end of the sub-frame,
    // started at 1.0 for rounding, high halves, halved.
    Kel32s s = 0x10000;
    for (int n = 0; n < kSubframe; ++n) {
        s = fits ? s + 2 * int32_t{st.h[n]} * st.h[n] : L_mac(s, st.h[n], st.h[n]);
        const int q = 39 - n;
        st.rrixix[q % kTracks][q / kTracks] = shr(extract_h(s), 1);
    }
    // Adjacent-track correlations along the diagonals d = 5m + 1 and 5m + 4,
    // started at 0.5 for rounding.
    for (int d = 1; d < kSubframe; ++d) {
        if (d % kTracks != 1 && d % kTracks != 4) continue;
        s = 0x8000;
        for (int n = 0; n + d < kSubframe; ++n) {
            s = fits ? s + 2 * int32_t{st.h[n]} * st.h[n + d] : L_mac(s, st.h[n], st.h[n + d]);
            const int p = 39 - n - d, q = 39 - n;
            const int tp = p % kTracks, tq = q % kTracks;
            if (tq == (tp + 1) % kTracks) {
                st.rrixiy[tp][kPositions * (p / kTracks) + q / kTracks] = extract_h(s);
            } else {
                st.rrixiy[tq][kPositions * (q / kTracks) + p / kTracks] = extract_h(s);
            }
        }
    }
    // mult(rr, sign_j) when sign_i is positive, mult(rr, -sign_j) when not.
    for (int t = 0; t < kTracks; ++t) {
        const int u = (t + 1) % kTracks;
        for (int x = 0; x < kPositions; ++x) {
            const bool nx = st.negative[kTracks * x + t];
            for (int y = 0; y < kPositions; ++y) {
                Kel16s& r = st.rrixiy[t][kPositions * x + y];
                r = applySign(r, nx != st.negative[kTracks * y + u]);
            }
        }
    }
}

// cor_h_vec: for each position of a track, the correlation of h with vec
// (the fixed pulses' responses) times the position's sign, plus its energy.
void pulseCorrelations(const SearchState& st, const Kel16s* vec, bool fits, int track, Kel16s* cor) {
    for (int m = 0; m < kPositions; ++m) {
        const int pos = kTracks * m + track;
        const Kel32s s = dot(st.h, vec + pos, kSubframe - pos, 0, fits);
        cor[m] = add(applySign(round_fx(s), st.negative[pos]), st.rrixix[track][m]);
    }
}

// search_ixiy: the best pair of positions on tracks tx and tx + 1 added to
// the fixed pulses (correlation *ps, energy *alp). ix, iy keep their values
// when no pair improves on the start.
void searchPair(const SearchState& st, int tx, const Kel16s* corX, const Kel16s* corY, Kel16s* ps, Kel16s* alp, int* ix,
                int* iy) {
    const int ty = (tx + 1) % kTracks;
    const Kel16s* rxy = st.rrixiy[tx];
    alignas(16) Kel16s dy[kPositions];
    for (int n = 0; n < kPositions; ++n) dy[n] = st.dn[kTracks * n + ty];
    int32_t sqk = -1, alpk = 1;
    for (int m = 0; m < kPositions; ++m) {
        const int x = kTracks * m + tx;
        const Kel16s ps1 = add(*ps, st.dn[x]);
        const Kel16s alp1 = add(*alp, corX[m]);
        // The eight second pulses: alp2 = add(alp1, add(corY, rr)),
        // sq = mult(ps2, ps2) with ps2 = add(ps1, dn).
        alignas(16) Kel16s alp2[kPositions], sq[kPositions];
#if defined(__SSE2__)
        const __m128i a =
            _mm_adds_epi16(_mm_set1_epi16(alp1),
                           _mm_adds_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(corY)),
                                          _mm_loadu_si128(reinterpret_cast<const __m128i*>(rxy + kPositions * m))));
        _mm_store_si128(reinterpret_cast<__m128i*>(alp2), a);
        const __m128i p2 = _mm_adds_epi16(_mm_set1_epi16(ps1), _mm_load_si128(reinterpret_cast<const __m128i*>(dy)));
        const __m128i hi = _mm_mulhi_epi16(p2, p2), lo = _mm_mullo_epi16(p2, p2);
        // dn may be negative here (its sign follows dn and the residual
        // together): mult(-32768, -32768) saturates to 32767.
        const __m128i v = _mm_or_si128(_mm_slli_epi16(hi, 1), _mm_srli_epi16(lo, 15));
        _mm_store_si128(reinterpret_cast<__m128i*>(sq), _mm_add_epi16(v, _mm_cmpeq_epi16(hi, _mm_set1_epi16(16384))));
#else
        for (int n = 0; n < kPositions; ++n) {
            alp2[n] = add(alp1, add(corY[n], rxy[kPositions * m + n]));
            const Kel16s ps2 = add(ps1, dy[n]);
            sq[n] = mult(ps2, ps2);
        }
#endif
        const int n = fcb::scanBest(sq, alp2, kPositions, sqk, alpk);
        if (n >= 0) {
            *ix = x;
            *iy = kTracks * n + ty;
        }
    }
    *ps = add(*ps, add(st.dn[*ix], st.dn[*iy]));
    *alp = static_cast<Kel16s>(alpk);
}

// The depth-first search from the three best starting track pairs: pulses
// 0 and 1 at the largest correlations of tracks k and k + 1, then `stages`
// pairs on the following tracks. codvec: [2 + 2 stages] positions.
void depthFirst(SearchState& st, int stages, int* codvec) {
    // Correlation of each pair of adjacent tracks; the three largest
    // (earliest on ties) give the starts.
    Kel32s corr[kTracks];
    for (int k = 0; k < kTracks; ++k) corr[k] = L_add(st.corr[k], st.corr[(k + 1) % kTracks]);
    int starts[3];
    for (int n = 0; n < 3; ++n) {
        Kel32s best = corr[0];
        int track = 0;
        for (int i = 1; i < kTracks; ++i) {
            if (L_sub(corr[i], best) > 0) {
                best = corr[i];
                track = i;
            }
        }
        corr[track] = -1;
        starts[n] = track;
    }

    const int pulses = 2 + 2 * stages;
    int32_t psk = -1, alpk = 1;
    // Start values, kept only if no start improves on psk = -1, alpk = 1
    // (the reference leaves them undefined then): two per track.
    for (int i = 0; i < pulses; ++i) codvec[i] = i;
    for (int start : starts) {
        const int t0 = start % kTracks, t1 = (start + 1) % kTracks;
        int ix = st.posMax[t0], iy = st.posMax[t1];
        Kel16s ps = add(st.dn[ix], st.dn[iy]);
        Kel16s alp = add(st.rrixix[t0][ix / kTracks], st.rrixix[t1][iy / kTracks]);
        alp = add(alp, st.rrixiy[t0][kPositions * (ix / kTracks) + iy / kTracks]);
        int ip[12];
        ip[0] = ix;
        ip[1] = iy;
        alignas(16) Kel16s vec[kSubframe] = {};
        for (int j = 2; j < pulses; j += 2) {
            const Kel16s* px = (st.negative[ix] ? st.hNeg : st.h) - ix;
            const Kel16s* py = (st.negative[iy] ? st.hNeg : st.h) - iy;
#if defined(__SSE2__)
            for (int i = 0; i < kSubframe; i += 8) {
                const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(px + i));
                const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(py + i));
                __m128i* v = reinterpret_cast<__m128i*>(vec + i);
                _mm_store_si128(v, _mm_adds_epi16(_mm_load_si128(v), _mm_adds_epi16(a, b)));
            }
#else
            for (int i = 0; i < kSubframe; ++i) vec[i] = add(vec[i], add(px[i], py[i]));
#endif
            const bool fits = productsFit(st.hEnergy, energy(vec), 0);
            Kel16s corX[kPositions], corY[kPositions];
            const int tx = (start + j) % kTracks;
            pulseCorrelations(st, vec, fits, tx, corX);
            pulseCorrelations(st, vec, fits, (tx + 1) % kTracks, corY);
            searchPair(st, tx, corX, corY, &ps, &alp, &ix, &iy);
            ip[j] = ix;
            ip[j + 1] = iy;
        }
        const int32_t sq = mult(ps, ps);
        if (int64_t{alpk} * sq > int64_t{psk} * alp) {
            psk = sq;
            alpk = alp;
            for (int i = 0; i < pulses; ++i) codvec[i] = ip[i];
        }
    }
}

// Track of a position and its 4-bit code: position in the track, plus 8
// for a negative pulse.
struct Pulse {
    int track, code;
};

// build_code: ten pulses (two per track) into the Q12 code vector, the Q11
// filtered code (h halved) and one index word per track: the two 4-bit codes
// ordered so that the decoder recovers both signs from one bit.
void buildCode(const int* codvec, const bool* negative, const Kel16s* hHalf, Kel16s* pCode, Kel16s* pY, Kel16s* idx) {
    memset(pCode, 0, sizeof(Kel16s) * kSubframe);
    memset(pY, 0, sizeof(Kel16s) * kSubframe);
    for (int t = 0; t < kTracks; ++t) idx[t] = -1;
    for (int k = 0; k < 10; ++k) {
        const int i = codvec[k];
        int index = i / kTracks;
        const int track = i % kTracks;
        if (!negative[i]) {
            pCode[i] = add(pCode[i], 4096);
            for (int n = i; n < kSubframe; ++n) pY[n] = add(pY[n], hHalf[n - i]);
        } else {
            pCode[i] = sub(pCode[i], 4096);
            index += 8;
            for (int n = i; n < kSubframe; ++n) pY[n] = sub(pY[n], hHalf[n - i]);
        }
        const int old = idx[track];
        if (old < 0) {
            idx[track] = static_cast<Kel16s>(index);
        } else if (((index ^ old) & 8) == 0) {
            // Equal signs: the smaller code first.
            idx[track] = static_cast<Kel16s>((old <= index ? (old << 4) + index : (index << 4) + old) | 256);
        } else {
            // Different signs: the order tells the sign of the second.
            idx[track] =
                static_cast<Kel16s>(((old & 7) <= (index & 7) ? (index << 4) + old : (old << 4) + index) | 256);
        }
    }
}

// pack3: three 4-bit pulse codes in 10 bits, sorted by position, the
// arrangement chosen by their sign bits.
int pack3(int a, int b, int c) {
    if ((a & 7) > (b & 7)) {
        const int t = a;
        a = b;
        b = t;
    }
    if ((a & 7) > (c & 7)) {
        const int t = a;
        a = c;
        c = t;
    }
    if ((b & 7) > (c & 7)) {
        const int t = b;
        b = c;
        c = t;
    }
    const int k = ((a >> 1) & 4) + ((b >> 2) & 2) + ((c >> 3) & 1);
    switch (k) {
        case 0:
        case 7: return ((a & 7) << 7) + ((b & 7) << 4) + c;
        case 1:
        case 6: return ((c & 7) << 7) + ((a & 7) << 4) + b;
        case 2:
        case 5: return ((b & 7) << 7) + ((a & 7) << 4) + c;
        default: return ((b & 7) << 7) + ((c & 7) << 4) + a;
    }
}

}  // namespace

namespace kel {

void ownFixedCodebookSearch_G729E_16s(int mode, const Kel16s* pX, const Kel16s* pCn, const Kel16s* pH, Kel16s* pCode,
                                      Kel16s* pY, Kel16s* pIndex) {
    SearchState st;
    targetCorrelation(pH, pX, st.dn);
    chooseSigns(pCn, st);
    impulseCorrelations(pH, st);

    Kel16s hHalf[kSubframe];
    for (int i = 0; i < kSubframe; ++i) hHalf[i] = shr(pH[i], 1);  // Q12 to Q11

    int codvec[12];
    Kel16s idx[kTracks];
    if (mode == 0) {
        // 35 bits: 7 per track (two 3-bit positions, one sign).
        depthFirst(st, 4, codvec);
        buildCode(codvec, st.negative, hHalf, pCode, pY, idx);
        for (int t = 0; t < kTracks; ++t) pIndex[t] = static_cast<Kel16s>(idx[t] & 127);
        return;
    }
    // 44 bits: the two extra pulses join the words of their tracks: 13 bits
    // (track of the first, the three codes of its track), 10 bits, then the
    // three following tracks in 7 bits.
    depthFirst(st, 5, codvec);
    buildCode(codvec + 2, st.negative, hHalf, pCode, pY, idx);
    int track = 0;
    for (int k = 0; k < 2; ++k) {
        const int pos = codvec[k];
        int index = pos / kTracks;
        track = pos % kTracks;
        if (!st.negative[pos]) {
            pCode[pos] = add(pCode[pos], 4096);
            for (int n = pos; n < kSubframe; ++n) pY[n] = add(pY[n], hHalf[n - pos]);
        } else {
            pCode[pos] = sub(pCode[pos], 4096);
            for (int n = pos; n < kSubframe; ++n) pY[n] = sub(pY[n], hHalf[n - pos]);
            index += 8;
        }
        index = pack3((idx[track] >> 4) & 15, idx[track] & 15, index);
        if (k == 0) index += track << 10;
        pIndex[k] = static_cast<Kel16s>(index);
    }
    for (int k = 2; k < kTracks; ++k) {
        track = (track + 1) % kTracks;
        pIndex[k] = static_cast<Kel16s>(idx[track] & 127);
    }
}

}  // namespace kel

KelStatus kelsFixedCodebookSearch_G729E_16s(Kel16s mode, const Kel16s* pSrcFixedTarget, const Kel16s* pSrcLtpResidual,
                                            const Kel16s* pSrcImpulseResponse, Kel16s* pDstFixedVector,
                                            Kel16s* pDstFltFixedVector, Kel16s* pDstIndex) {
    KEL_CHECK(kel::Args().ptr(pSrcFixedTarget, pSrcLtpResidual, pSrcImpulseResponse, pDstFixedVector,
                              pDstFltFixedVector, pDstIndex));
    kel::ownFixedCodebookSearch_G729E_16s(mode, pSrcFixedTarget, pSrcLtpResidual, pSrcImpulseResponse, pDstFixedVector,
                                          pDstFltFixedVector, pDstIndex);
    return kelStatusOk;
}
