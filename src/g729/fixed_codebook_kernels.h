// Candidate scoring and sign handling shared by the G.729 fixed-codebook
// searches (fixed_codebook.cpp, fixed_codebook_d.cpp): the reference's
// "strictly better" test and its sequential scan, and the multiplication of
// an 8 x 8 cross block by the signs of its positions. Internal.
#ifndef KELSC_G729_FIXED_CODEBOOK_KERNELS_H
#define KELSC_G729_FIXED_CODEBOOK_KERNELS_H

#include <stdint.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "basop.h"
#include "g729/g729_tables.h"

namespace kel::fcb {

using g729::kPositions;
using g729::kTracks;

// Exact sign of L_msu(L_mult(a, b), c, d), that is of a b - c d
// (saturation keeps it). All four are 16-bit values, so each product lies
// within [-2^30, 2^30] and compares exactly in 32 bits.
inline bool better(int32_t a, int32_t b, int32_t c, int32_t d) { return a * b > c * d; }

// Bit k set when candidate k (sq[k], alp[k]) beats the best (bestSq,
// bestAlp): sq[k] bestAlp - bestSq alp[k] > 0. n is a multiple of 8; all
// values are 16-bit and bestSq >= -32767, so the pair sum lies within
// (-2^31, 2^31) and one multiply-add (SSE2 pmaddwd) computes it exactly.
inline uint32_t beatMask(const Kel16s* sq, const Kel16s* alp, int n, int32_t bestSq, int32_t bestAlp) {
    uint32_t mask = 0;
#if defined(__SSE2__)
    const __m128i coef = _mm_set1_epi32(
        static_cast<int32_t>((static_cast<uint32_t>(bestAlp) & 0xffff) | (static_cast<uint32_t>(-bestSq) << 16)));
    const __m128i zero = _mm_setzero_si128();
    for (int k = 0; k < n; k += 8) {
        const __m128i q = _mm_loadu_si128(reinterpret_cast<const __m128i*>(sq + k));
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(alp + k));
        const __m128i lo = _mm_cmpgt_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(q, a), coef), zero);
        const __m128i hi = _mm_cmpgt_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(q, a), coef), zero);
        const uint32_t bits = static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(lo))) |
                              static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(hi))) << 4;
        mask |= bits << k;
    }
#else
    for (int k = 0; k < n; ++k) mask |= static_cast<uint32_t>(better(sq[k], bestAlp, bestSq, alp[k])) << k;
#endif
    return mask;
}

// The reference's sequential candidate test over n candidates (sq[k],
// alp[k]): each replaces the best (bestSq, bestAlp) when
// sq[k] bestAlp > bestSq alp[k]. Candidates that do not beat the best at
// entry cannot be the first to replace it, so the scan starts at the first
// that does. Returns the last index that replaced the best, or -1.
inline int scanBest(const Kel16s* sq, const Kel16s* alp, int n, int32_t& bestSq, int32_t& bestAlp) {
    const uint32_t mask = beatMask(sq, alp, n, bestSq, bestAlp);
    if (mask == 0) return -1;
    int at = -1;
    for (int k = __builtin_ctz(mask); k < n; ++k) {
        if (better(sq[k], bestAlp, bestSq, alp[k])) {
            bestSq = sq[k];
            bestAlp = alp[k];
            at = k;
        }
    }
    return at;
}

// Saturating sum of two values that are never negative.
inline int32_t addPos(int32_t a, int32_t b) { return a + b > kMax16 ? kMax16 : a + b; }

// Multiplies an 8 x 8 block of correlations of positions 5x + a (rows) and
// 5y + b (columns) by their signs, as mult(rr, f) with
// f = factor[row negative][column negative]; f is never -32768 together with
// rr = -32768 except in annex A's -rr, where 32768 saturates to 32767.
inline void signBlock(Kel16s* blk, const bool* negative, int a, int b, const int32_t (&factor)[2][2]) {
    alignas(16) Kel16s f[2][kPositions];
    for (int y = 0; y < kPositions; ++y) {
        f[0][y] = static_cast<Kel16s>(factor[0][negative[kTracks * y + b]]);
        f[1][y] = static_cast<Kel16s>(factor[1][negative[kTracks * y + b]]);
    }
    for (int x = 0; x < kPositions; ++x) {
        const Kel16s* fx = f[negative[kTracks * x + a]];
        Kel16s* r = blk + kPositions * x;
#if defined(__SSE2__)
        // (r f) >> 15 = 2 x high half + bit 15 of the low half; only
        // -32768 x -32768 gives a high half of 16384, whose 32768 saturates.
        const __m128i rv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r));
        const __m128i fv = _mm_load_si128(reinterpret_cast<const __m128i*>(fx));
        const __m128i hi = _mm_mulhi_epi16(rv, fv), lo = _mm_mullo_epi16(rv, fv);
        const __m128i v = _mm_or_si128(_mm_slli_epi16(hi, 1), _mm_srli_epi16(lo, 15));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r), _mm_add_epi16(v, _mm_cmpeq_epi16(hi, _mm_set1_epi16(16384))));
#else
        for (int y = 0; y < kPositions; ++y) {
            const int32_t v = (r[y] * fx[y]) >> 15;
            r[y] = static_cast<Kel16s>(v > kMax16 ? kMax16 : v);
        }
#endif
    }
}

}  // namespace kel::fcb

#endif  // KELSC_G729_FIXED_CODEBOOK_KERNELS_H
