// Hot vector kernels, written once and compiled once per instruction set.
//
// This header is included by one translation unit per target (baseline and
// AVX2); each defines KEL_VEC_NS first, so the same loops are built for
// every target and the dispatcher picks one per process through an ifunc
// resolver. The loops are written so that the compiler vectorises them; a
// few use intrinsics where the compiler does not find the instruction
// (saturating 16-bit add and subtract, the pairwise multiply-add of the dot
// product). Every variant gives the same results bit for bit.
//
// Kernels take valid arguments only (len >= 1, pointers valid, counts and
// scale factors inside the limits stated for each).
#ifndef KEL_VEC_NS
#error "define KEL_VEC_NS before including vec_kernels.h"
#endif

#include <string.h>

#include "basop.h"
#include "scale.h"
#include "vec_kernels_decl.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kel {
namespace KEL_VEC_NS {

void add_16s(const Kel16s* a, const Kel16s* b, Kel16s* d, int n) {
    int i = 0;
#if defined(__AVX2__)
    for (; i + 16 <= n; i += 16) {
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a + i));
        const __m256i y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), _mm256_adds_epi16(x, y));
    }
#elif defined(__SSE2__)
    for (; i + 8 <= n; i += 8) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i));
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), _mm_adds_epi16(x, y));
    }
#endif
    for (; i < n; ++i) d[i] = add(a[i], b[i]);
}

// d = b - a (second minus first).
void sub_16s(const Kel16s* a, const Kel16s* b, Kel16s* d, int n) {
    int i = 0;
#if defined(__AVX2__)
    for (; i + 16 <= n; i += 16) {
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a + i));
        const __m256i y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), _mm256_subs_epi16(y, x));
    }
#elif defined(__SSE2__)
    for (; i + 8 <= n; i += 8) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i));
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), _mm_subs_epi16(y, x));
    }
#endif
    for (; i < n; ++i) d[i] = sub(b[i], a[i]);
}

void abs_16s(const Kel16s* s, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) {
        const int32_t v = s[i] < 0 ? -int32_t{s[i]} : s[i];
        d[i] = static_cast<Kel16s>(v > kMax16 ? kMax16 : v);
    }
}

void add_32f(const Kel32f* a, const Kel32f* b, Kel32f* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] + b[i];
}

void sub_32f(const Kel32f* a, const Kel32f* b, Kel32f* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = b[i] - a[i];
}

void mul_32f(const Kel32f* a, const Kel32f* b, Kel32f* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] * b[i];
}

// Round-half-up products, 0 <= sf. Up to sf = 30 the rounded product fits
// 32 bits; beyond that the 64-bit form is used.
void mulNR_16s(const Kel16s* a, const Kel16s* b, Kel16s* d, int n, int sf) {
    if (sf == 0) {
        for (int i = 0; i < n; ++i) d[i] = sat16(int32_t{a[i]} * b[i]);
    } else if (sf <= 30) {
        const int32_t rnd = int32_t{1} << (sf - 1);
        for (int i = 0; i < n; ++i) d[i] = sat16((int32_t{a[i]} * b[i] + rnd) >> sf);
    } else {
        const int sh = sf > 62 ? 62 : sf;
        const int64_t rnd = int64_t{1} << (sh - 1);
        for (int i = 0; i < n; ++i) d[i] = sat16((int64_t{a[i]} * b[i] + rnd) >> sh);
    }
}

void mulCNR_16s(const Kel16s* a, Kel16s v, Kel16s* d, int n, int sf) {
    if (sf == 0) {
        for (int i = 0; i < n; ++i) d[i] = sat16(int32_t{a[i]} * v);
    } else if (sf <= 30) {
        const int32_t rnd = int32_t{1} << (sf - 1);
        for (int i = 0; i < n; ++i) d[i] = sat16((int32_t{a[i]} * v + rnd) >> sf);
    } else {
        const int sh = sf > 62 ? 62 : sf;
        const int64_t rnd = int64_t{1} << (sh - 1);
        for (int i = 0; i < n; ++i) d[i] = sat16((int64_t{a[i]} * v + rnd) >> sh);
    }
}

// 32-bit products scaled, -30 <= sf <= 30.
void mul_16s32s(const Kel16s* a, const Kel16s* b, Kel32s* d, int n, int sf) {
    if (sf == 0) {
        for (int i = 0; i < n; ++i) d[i] = int32_t{a[i]} * b[i];
    } else if (sf > 0) {
        // |p| <= 2^30, so the ties-to-even sum stays inside 32 bits.
        const int32_t half = (int32_t{1} << (sf - 1)) - 1;
        for (int i = 0; i < n; ++i) {
            const int32_t p = int32_t{a[i]} * b[i];
            d[i] = (p + half + ((p >> sf) & 1)) >> sf;
        }
    } else {
        for (int i = 0; i < n; ++i) d[i] = shlSatTo<Kel32s>(int32_t{a[i]} * b[i], -sf);
    }
}

// Constant product scaled to 16 bits, v != 0, -15 <= sf <= 30.
void mulC_16s(Kel16s v, const Kel16s* s, Kel16s* d, int n, int sf) {
    if (sf == 0) {
        for (int i = 0; i < n; ++i) d[i] = sat16(int32_t{s[i]} * v);
    } else if (sf > 0) {
        const int32_t half = (int32_t{1} << (sf - 1)) - 1;
        for (int i = 0; i < n; ++i) {
            const int32_t p = int32_t{s[i]} * v;
            d[i] = sat16((p + half + ((p >> sf) & 1)) >> sf);
        }
    } else {
        for (int i = 0; i < n; ++i) d[i] = shlSatTo<Kel16s>(sat16(int32_t{s[i]} * v), -sf);
    }
}

// Logical left shift of 16-bit patterns, 0 <= sh <= 15.
void lshift_16u(const Kel16u* s, int sh, Kel16u* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<Kel16u>(s[i] << sh);
}

// Arithmetic right shift, 0 <= sh <= 15.
void rshift_16s(const Kel16s* s, int sh, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<Kel16s>(s[i] >> sh);
}

// Logical left shift of 32-bit patterns, 0 <= sh <= 31.
void lshift_32s(const Kel32s* s, int sh, Kel32s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<Kel32s>(static_cast<uint32_t>(s[i]) << sh);
}

// Arithmetic right shift, 0 <= sh <= 31.
void rshift_32s(const Kel32s* s, int sh, Kel32s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = s[i] >> sh;
}

// Exact sum of 16-bit values. Blocks of 65536 values cannot overflow a
// 32-bit lane, which lets the inner loop vectorise without widening.
int64_t sum_16s(const Kel16s* s, int n) {
    int64_t total = 0;
    for (int start = 0; start < n; start += 65536) {
        const int end = n - start > 65536 ? start + 65536 : n;
        int32_t part = 0;
        for (int i = start; i < end; ++i) part += s[i];
        total += part;
    }
    return total;
}

int64_t sum_32s(const Kel32s* s, int n) {
    int64_t total = 0;
    for (int i = 0; i < n; ++i) total += s[i];
    return total;
}

// Exact dot product of 16-bit vectors in 64 bits.
int64_t dot_16s(const Kel16s* a, const Kel16s* b, int n) {
    int64_t total = 0;
    int i = 0;
#if defined(__AVX2__)
    // vpmaddwd adds two products in 32 bits; that sum overflows only when
    // all four operands are -32768 (2^31 reads back as -2^31, a value no
    // other pair can produce). Such lanes are counted and corrected by 2^32.
    const __m256i minLane = _mm256_set1_epi32(kMin32);
    __m256i acc = _mm256_setzero_si256();
    __m256i wrapped = _mm256_setzero_si256();
    for (; i + 16 <= n; i += 16) {
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a + i));
        const __m256i y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b + i));
        const __m256i p = _mm256_madd_epi16(x, y);
        wrapped = _mm256_sub_epi32(wrapped, _mm256_cmpeq_epi32(p, minLane));
        acc = _mm256_add_epi64(acc, _mm256_cvtepi32_epi64(_mm256_castsi256_si128(p)));
        acc = _mm256_add_epi64(acc, _mm256_cvtepi32_epi64(_mm256_extracti128_si256(p, 1)));
    }
    alignas(32) int64_t lanes[4];
    alignas(32) int32_t counts[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), acc);
    _mm256_store_si256(reinterpret_cast<__m256i*>(counts), wrapped);
    for (int k = 0; k < 4; ++k) total += lanes[k];
    for (int k = 0; k < 8; ++k) total += int64_t{counts[k]} << 32;
#endif
    for (; i < n; ++i) total += int32_t{a[i]} * b[i];
    return total;
}

Kel16s max_16s(const Kel16s* s, int n) {
    Kel16s m = s[0];
    for (int i = 1; i < n; ++i) m = s[i] > m ? s[i] : m;
    return m;
}

Kel16s min_16s(const Kel16s* s, int n) {
    Kel16s m = s[0];
    for (int i = 1; i < n; ++i) m = s[i] < m ? s[i] : m;
    return m;
}

Kel32s max_32s(const Kel32s* s, int n) {
    Kel32s m = s[0];
    for (int i = 1; i < n; ++i) m = s[i] > m ? s[i] : m;
    return m;
}

// Largest magnitude with |-32768| counted as 32767.
Kel16s maxAbs_16s(const Kel16s* s, int n) {
    int32_t m = 0;
    for (int i = 0; i < n; ++i) {
        const int32_t v = s[i] < 0 ? -int32_t{s[i]} : s[i];
        m = v > m ? v : m;
    }
    return static_cast<Kel16s>(m > kMax16 ? kMax16 : m);
}

void conv_16s32s(const Kel16s* s, Kel32s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = s[i];
}

void conv_16s32f(const Kel16s* s, Kel32f* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<Kel32f>(s[i]);
}

void conv_32s32f(const Kel32s* s, Kel32f* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<Kel32f>(s[i]);
}

void set_16s(Kel16s v, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = v;
}

void set_32s(Kel32s v, Kel32s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = v;
}

}  // namespace KEL_VEC_NS
}  // namespace kel
