// Hot correlation and filter kernels, written once and compiled once per
// instruction set (see dispatch.h and vec_kernels.h for the scheme).
//
// The sums here wrap modulo 2^32: a 32-bit two's-complement accumulation of
// 16 x 16-bit products. Pairwise multiply-add (pmaddwd) adds two products in
// a 32-bit lane and wraps only when all four operands are -32768, which is
// the same value modulo 2^32, so every lane, every width and the scalar tail
// agree bit for bit whatever the operands.
//
// Each loop runs on the widest vectors of the build, then on narrower ones
// (AVX-512, then AVX2, then SSE2), then element by element, so that the
// short lengths of the codecs (40, 80, 160, 240) leave no long scalar tail.
// Kernels take valid arguments only.
#ifndef KEL_VEC_NS
#error "define KEL_VEC_NS before including flt_kernels.h"
#endif

#include <stdint.h>

#include "basop.h"
#include "flt_kernels_decl.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kel {
namespace KEL_VEC_NS {

namespace {

inline uint32_t prod(Kel16s a, Kel16s b) { return static_cast<uint32_t>(int32_t{a} * b); }

// Integer vectors of one width, with the operations these kernels use.
// unpack and pack work within 128-bit blocks, so an unpack followed by a
// pack restores the element order.
#if defined(__SSE2__)
struct W128 {
    using V = __m128i;
    static constexpr int kLanes = 8;
    static V load(const Kel16s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static void store(Kel16s* p, V v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
    static V zero() { return _mm_setzero_si128(); }
    static V set32(int32_t v) { return _mm_set1_epi32(v); }
    static V madd(V a, V b) { return _mm_madd_epi16(a, b); }
    static V add(V a, V b) { return _mm_add_epi32(a, b); }
    static V unpacklo(V a, V b) { return _mm_unpacklo_epi16(a, b); }
    static V unpackhi(V a, V b) { return _mm_unpackhi_epi16(a, b); }
    static V sra(V a, __m128i n) { return _mm_sra_epi32(a, n); }
    static V packs(V a, V b) { return _mm_packs_epi32(a, b); }
    static uint32_t hsum(V v) {
        const V q = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4e));
        return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(q, _mm_shuffle_epi32(q, 0xb1))));
    }
};
#endif

#if defined(__AVX2__)
struct W256 {
    using V = __m256i;
    static constexpr int kLanes = 16;
    static V load(const Kel16s* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static void store(Kel16s* p, V v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
    static V zero() { return _mm256_setzero_si256(); }
    static V set32(int32_t v) { return _mm256_set1_epi32(v); }
    static V madd(V a, V b) { return _mm256_madd_epi16(a, b); }
    static V add(V a, V b) { return _mm256_add_epi32(a, b); }
    static V unpacklo(V a, V b) { return _mm256_unpacklo_epi16(a, b); }
    static V unpackhi(V a, V b) { return _mm256_unpackhi_epi16(a, b); }
    static V sra(V a, __m128i n) { return _mm256_sra_epi32(a, n); }
    static V packs(V a, V b) { return _mm256_packs_epi32(a, b); }
};
#endif

#if defined(__AVX512BW__)
struct W512 {
    using V = __m512i;
    static constexpr int kLanes = 32;
    static V load(const Kel16s* p) { return _mm512_loadu_si512(p); }
    static void store(Kel16s* p, V v) { _mm512_storeu_si512(p, v); }
    static V zero() { return _mm512_setzero_si512(); }
    static V set32(int32_t v) { return _mm512_set1_epi32(v); }
    static V madd(V a, V b) { return _mm512_madd_epi16(a, b); }
    static V add(V a, V b) { return _mm512_add_epi32(a, b); }
    static V unpacklo(V a, V b) { return _mm512_unpacklo_epi16(a, b); }
    static V unpackhi(V a, V b) { return _mm512_unpackhi_epi16(a, b); }
    static V sra(V a, __m128i n) { return _mm512_sra_epi32(a, n); }
    static V packs(V a, V b) { return _mm512_packs_epi32(a, b); }
};
#endif

// Runs f<W>() for each vector width of the build, widest first.
template <typename F>
inline void forEachWidth(F&& f) {
#if defined(__AVX512BW__)
    f(W512{});
#endif
#if defined(__AVX2__)
    f(W256{});
#endif
#if defined(__SSE2__)
    f(W128{});
#endif
    (void)f;
}

#if defined(__SSE2__)
// Four 128-bit accumulators to their four lane sums, in order (an SSE2
// transpose-and-add; wrapping).
inline __m128i sum4(__m128i a0, __m128i a1, __m128i a2, __m128i a3) {
    const __m128i s01 = _mm_add_epi32(_mm_unpacklo_epi32(a0, a1), _mm_unpackhi_epi32(a0, a1));
    const __m128i s23 = _mm_add_epi32(_mm_unpacklo_epi32(a2, a3), _mm_unpackhi_epi32(a2, a3));
    return _mm_add_epi32(_mm_unpacklo_epi64(s01, s23), _mm_unpackhi_epi64(s01, s23));
}
#endif

// K wrapping dot products of length n sharing the first operand x, into
// s[0..K-1]. The widest accumulators fold into the narrower ones as the
// loop steps down in width, so that each sum is reduced across lanes once.
template <int K>
inline void dotWrapK(const Kel16s* x, const Kel16s* const* y, int n, uint32_t* s) {
    int i = 0;
#if defined(__SSE2__)
    __m128i acc[K];
    for (int k = 0; k < K; ++k) acc[k] = _mm_setzero_si128();
#if defined(__AVX2__)
    if (n >= 16) {
        __m256i acc2[K];
        for (int k = 0; k < K; ++k) acc2[k] = _mm256_setzero_si256();
#if defined(__AVX512BW__)
        if (n >= 32) {
            __m512i acc5[K];
            for (int k = 0; k < K; ++k) acc5[k] = _mm512_setzero_si512();
            for (; i + 32 <= n; i += 32) {
                const __m512i xv = W512::load(x + i);
                for (int k = 0; k < K; ++k)
                    acc5[k] = _mm512_add_epi32(acc5[k], _mm512_madd_epi16(xv, W512::load(y[k] + i)));
            }
            for (int k = 0; k < K; ++k)
                acc2[k] = _mm256_add_epi32(
                    acc2[k], _mm256_add_epi32(_mm512_castsi512_si256(acc5[k]), _mm512_extracti64x4_epi64(acc5[k], 1)));
        }
#endif
        for (; i + 16 <= n; i += 16) {
            const __m256i xv = W256::load(x + i);
            for (int k = 0; k < K; ++k)
                acc2[k] = _mm256_add_epi32(acc2[k], _mm256_madd_epi16(xv, W256::load(y[k] + i)));
        }
        for (int k = 0; k < K; ++k)
            acc[k] = _mm_add_epi32(
                acc[k], _mm_add_epi32(_mm256_castsi256_si128(acc2[k]), _mm256_extracti128_si256(acc2[k], 1)));
    }
#endif
    for (; i + 8 <= n; i += 8) {
        const __m128i xv = W128::load(x + i);
        for (int k = 0; k < K; ++k) acc[k] = _mm_add_epi32(acc[k], _mm_madd_epi16(xv, W128::load(y[k] + i)));
    }
    if constexpr (K == 4) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(s), sum4(acc[0], acc[1], acc[2], acc[3]));
    } else {
        for (int k = 0; k < K; ++k) s[k] = W128::hsum(acc[k]);
    }
#else
    for (int k = 0; k < K; ++k) s[k] = 0;
#endif
    for (; i < n; ++i)
        for (int k = 0; k < K; ++k) s[k] += prod(x[i], y[k][i]);
}

#if defined(__SSE2__)
// Residual outputs [i, n) in whole vectors of width W: taps are paired so
// that one multiply-add covers a[k] * x[j - k] + a[k + 1] * x[j - k - 1]; an
// odd last tap is paired with zero (no read beyond x[j - order]). The
// rounded sum is shifted in 32-bit lanes and packed with saturation.
template <typename W>
inline void residualRun(W, const Kel16s* a, int order, const Kel16s* x, Kel16s* d, int& i, int n, int32_t rnd,
                        __m128i count) {
    using V = typename W::V;
    if (i + W::kLanes > n) return;
    const V vrnd = W::set32(rnd);
    for (; i + W::kLanes <= n; i += W::kLanes) {
        V lo = vrnd, hi = vrnd;
        int k = 0;
        for (; k + 1 <= order; k += 2) {
            const uint32_t pair = static_cast<uint16_t>(a[k]) | (uint32_t{static_cast<uint16_t>(a[k + 1])} << 16);
            const V c = W::set32(static_cast<int32_t>(pair));
            const V p = W::load(x + i - k), q = W::load(x + i - k - 1);
            lo = W::add(lo, W::madd(W::unpacklo(p, q), c));
            hi = W::add(hi, W::madd(W::unpackhi(p, q), c));
        }
        if (k == order) {
            const V c = W::set32(static_cast<uint16_t>(a[k]));
            const V p = W::load(x + i - k);
            lo = W::add(lo, W::madd(W::unpacklo(p, W::zero()), c));
            hi = W::add(hi, W::madd(W::unpackhi(p, W::zero()), c));
        }
        W::store(d + i, W::packs(W::sra(lo, count), W::sra(hi, count)));
    }
}
#endif

}  // namespace

int32_t dotWrap_16s(const Kel16s* a, const Kel16s* b, int n) {
    uint32_t s = 0;
    dotWrapK<1>(a, &b, n, &s);
    return static_cast<int32_t>(s);
}

// d[j] = sum over i < n of x[i] * y[i + dir * (lagMin + j)], j < lagCount,
// wrapping; dir is +1 (forward lags) or -1 (lags into the history before y).
// Four lags share each load of x.
void lagCorrWrap_16s(const Kel16s* x, const Kel16s* y, int n, int lagMin, int lagCount, int dir, Kel32s* d) {
    int j = 0;
    for (; j + 4 <= lagCount; j += 4) {
        const Kel16s* ys[4];
        for (int k = 0; k < 4; ++k) ys[k] = y + dir * (lagMin + j + k);
        uint32_t s[4];
        dotWrapK<4>(x, ys, n, s);
        for (int k = 0; k < 4; ++k) d[j + k] = static_cast<int32_t>(s[k]);
    }
    for (; j < lagCount; ++j) d[j] = dotWrap_16s(x, y + dir * (lagMin + j), n);
}

// e[j] = sat16((sum over k = 0..order of a[k] * x[j - k] + 2^(sf-1)) >> sf)
// with a wrapping 32-bit sum and rounding term, 0 <= sf <= 15.
void residual_16s(const Kel16s* a, int order, const Kel16s* x, Kel16s* d, int n, int sf) {
    const int32_t rnd = sf > 0 ? int32_t{1} << (sf - 1) : 0;
    int i = 0;
#if defined(__SSE2__)
    const __m128i count = _mm_cvtsi32_si128(sf);
    forEachWidth([&](auto w) { residualRun(w, a, order, x, d, i, n, rnd, count); });
#endif
    for (; i < n; ++i) {
        uint32_t s = static_cast<uint32_t>(rnd);
        for (int k = 0; k <= order; ++k) s += prod(a[k], x[i - k]);
        d[i] = sat16(static_cast<int32_t>(s) >> sf);
    }
}

// d[j] = sum over k = 0..start+j of a[k] * b[start + j - k], j < count,
// wrapping: each tap adds its products to every output it reaches, a loop
// the compiler vectorises.
void convWrap_16s32s(const Kel16s* a, const Kel16s* b, Kel32s* d, int start, int count) {
    uint32_t* acc = reinterpret_cast<uint32_t*>(d);
    for (int j = 0; j < count; ++j) acc[j] = 0;
    const int end = start + count;
    for (int k = 0; k < end; ++k) {
        const int32_t ak = a[k];
        const int first = k > start ? k - start : 0;
        for (int j = first; j < count; ++j) acc[j] += static_cast<uint32_t>(ak * b[start + j - k]);
    }
}

}  // namespace KEL_VEC_NS
}  // namespace kel
