// The integer SIMD vocabulary shared by the kernels built once per
// instruction set (see dispatch.h): the widest vector type of the build and
// the few operations the compiler does not find by itself, plus the loop
// shape of the streaming kernels. Included after KEL_VEC_NS is defined.
#ifndef KEL_VEC_NS
#error "define KEL_VEC_NS before including simd.h"
#endif
#ifndef KELSC_CORE_SIMD_H
#define KELSC_CORE_SIMD_H

#include <stdint.h>

#include "basop.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kel {
namespace KEL_VEC_NS {

// The widest integer vector of this build, with the few operations that the
// compiler does not find by itself. Each operation acts on 16-bit or 32-bit
// lanes; unpack and pack work within 128-bit blocks, so an unpack followed
// by a pack restores the element order.
#if defined(__AVX512BW__)
#define KEL_SIMD 1
using VecI = __m512i;
inline VecI vload(const void* p) { return _mm512_loadu_si512(p); }
inline void vstore(void* p, VecI v) { _mm512_storeu_si512(p, v); }
inline VecI adds16(VecI a, VecI b) { return _mm512_adds_epi16(a, b); }
inline VecI subs16(VecI a, VecI b) { return _mm512_subs_epi16(a, b); }
inline VecI sll16(VecI a, __m128i n) { return _mm512_sll_epi16(a, n); }
inline VecI sra16(VecI a, __m128i n) { return _mm512_sra_epi16(a, n); }
inline VecI sra32(VecI a, __m128i n) { return _mm512_sra_epi32(a, n); }
inline VecI mullo16(VecI a, VecI b) { return _mm512_mullo_epi16(a, b); }
inline VecI mulhi16(VecI a, VecI b) { return _mm512_mulhi_epi16(a, b); }
inline VecI unpacklo16(VecI a, VecI b) { return _mm512_unpacklo_epi16(a, b); }
inline VecI unpackhi16(VecI a, VecI b) { return _mm512_unpackhi_epi16(a, b); }
inline VecI packs32(VecI a, VecI b) { return _mm512_packs_epi32(a, b); }
inline VecI add32(VecI a, VecI b) { return _mm512_add_epi32(a, b); }
inline VecI set32(int32_t v) { return _mm512_set1_epi32(v); }
inline VecI set16(Kel16s v) { return _mm512_set1_epi16(v); }
inline VecI max16(VecI a, VecI b) { return _mm512_max_epi16(a, b); }
inline VecI min16(VecI a, VecI b) { return _mm512_min_epi16(a, b); }
inline VecI cmpeq16(VecI a, VecI b) { return _mm512_movm_epi16(_mm512_cmpeq_epi16_mask(a, b)); }
inline VecI madd16(VecI a, VecI b) { return _mm512_madd_epi16(a, b); }
inline int32_t hsum32(VecI v) { return _mm512_reduce_add_epi32(v); }
// Bit k set when lane k of a equals lane k of b.
inline uint64_t eqMask16(VecI a, VecI b) { return _mm512_cmpeq_epi16_mask(a, b); }
constexpr int kMaskBitsPerLane16 = 1;
inline VecI xor16(VecI a, VecI b) { return _mm512_xor_si512(a, b); }
inline VecI zero() { return _mm512_setzero_si512(); }
// Rounded Q15 product (x * y + 2^14) >> 15; only -32768 * -32768 wraps.
inline VecI mulhrs16(VecI a, VecI b) { return _mm512_mulhrs_epi16(a, b); }
#elif defined(__AVX2__)
#define KEL_SIMD 1
using VecI = __m256i;
inline VecI vload(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
inline void vstore(void* p, VecI v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
inline VecI adds16(VecI a, VecI b) { return _mm256_adds_epi16(a, b); }
inline VecI subs16(VecI a, VecI b) { return _mm256_subs_epi16(a, b); }
inline VecI sll16(VecI a, __m128i n) { return _mm256_sll_epi16(a, n); }
inline VecI sra16(VecI a, __m128i n) { return _mm256_sra_epi16(a, n); }
inline VecI sra32(VecI a, __m128i n) { return _mm256_sra_epi32(a, n); }
inline VecI mullo16(VecI a, VecI b) { return _mm256_mullo_epi16(a, b); }
inline VecI mulhi16(VecI a, VecI b) { return _mm256_mulhi_epi16(a, b); }
inline VecI unpacklo16(VecI a, VecI b) { return _mm256_unpacklo_epi16(a, b); }
inline VecI unpackhi16(VecI a, VecI b) { return _mm256_unpackhi_epi16(a, b); }
inline VecI packs32(VecI a, VecI b) { return _mm256_packs_epi32(a, b); }
inline VecI add32(VecI a, VecI b) { return _mm256_add_epi32(a, b); }
inline VecI set32(int32_t v) { return _mm256_set1_epi32(v); }
inline VecI set16(Kel16s v) { return _mm256_set1_epi16(v); }
inline VecI max16(VecI a, VecI b) { return _mm256_max_epi16(a, b); }
inline VecI min16(VecI a, VecI b) { return _mm256_min_epi16(a, b); }
inline VecI cmpeq16(VecI a, VecI b) { return _mm256_cmpeq_epi16(a, b); }
inline VecI madd16(VecI a, VecI b) { return _mm256_madd_epi16(a, b); }
inline int32_t hsum32(VecI v) {
    const __m128i h = _mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    const __m128i q = _mm_add_epi32(h, _mm_shuffle_epi32(h, 0x4e));
    return _mm_cvtsi128_si32(_mm_add_epi32(q, _mm_shuffle_epi32(q, 0xb1)));
}
// Bit 2k set when lane k of a equals lane k of b.
inline uint64_t eqMask16(VecI a, VecI b) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(a, b))) & 0x55555555u;
}
constexpr int kMaskBitsPerLane16 = 2;
inline VecI xor16(VecI a, VecI b) { return _mm256_xor_si256(a, b); }
inline VecI zero() { return _mm256_setzero_si256(); }
// Rounded Q15 product (x * y + 2^14) >> 15; only -32768 * -32768 wraps.
inline VecI mulhrs16(VecI a, VecI b) { return _mm256_mulhrs_epi16(a, b); }
#elif defined(__SSE2__)
#define KEL_SIMD 1
using VecI = __m128i;
inline VecI vload(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline void vstore(void* p, VecI v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
inline VecI adds16(VecI a, VecI b) { return _mm_adds_epi16(a, b); }
inline VecI subs16(VecI a, VecI b) { return _mm_subs_epi16(a, b); }
inline VecI sll16(VecI a, __m128i n) { return _mm_sll_epi16(a, n); }
inline VecI sra16(VecI a, __m128i n) { return _mm_sra_epi16(a, n); }
inline VecI sra32(VecI a, __m128i n) { return _mm_sra_epi32(a, n); }
inline VecI mullo16(VecI a, VecI b) { return _mm_mullo_epi16(a, b); }
inline VecI mulhi16(VecI a, VecI b) { return _mm_mulhi_epi16(a, b); }
inline VecI unpacklo16(VecI a, VecI b) { return _mm_unpacklo_epi16(a, b); }
inline VecI unpackhi16(VecI a, VecI b) { return _mm_unpackhi_epi16(a, b); }
inline VecI packs32(VecI a, VecI b) { return _mm_packs_epi32(a, b); }
inline VecI add32(VecI a, VecI b) { return _mm_add_epi32(a, b); }
inline VecI set32(int32_t v) { return _mm_set1_epi32(v); }
inline VecI set16(Kel16s v) { return _mm_set1_epi16(v); }
inline VecI max16(VecI a, VecI b) { return _mm_max_epi16(a, b); }
inline VecI min16(VecI a, VecI b) { return _mm_min_epi16(a, b); }
inline VecI cmpeq16(VecI a, VecI b) { return _mm_cmpeq_epi16(a, b); }
inline VecI madd16(VecI a, VecI b) { return _mm_madd_epi16(a, b); }
inline int32_t hsum32(VecI v) {
    const __m128i q = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4e));
    return _mm_cvtsi128_si32(_mm_add_epi32(q, _mm_shuffle_epi32(q, 0xb1)));
}
// Bit 2k set when lane k of a equals lane k of b.
inline uint64_t eqMask16(VecI a, VecI b) {
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi16(a, b))) & 0x5555u;
}
constexpr int kMaskBitsPerLane16 = 2;
inline VecI xor16(VecI a, VecI b) { return _mm_xor_si128(a, b); }
inline VecI zero() { return _mm_setzero_si128(); }
#endif

#if defined(KEL_SIMD)
constexpr int kLanes16 = sizeof(VecI) / 2;
#endif

// The loop of every streaming kernel: element-wise until the destination
// reaches a vector boundary (split stores cost more than anything else in
// these loops), then whole vectors, then the remainder element-wise.
#if defined(KEL_SIMD)
#define KEL_VECTOR(...) [=](int i) { __VA_ARGS__; }
#else
#define KEL_VECTOR(...) nullptr
#endif
template <typename T, typename Scalar, typename Vector>
inline void stream(T* d, int n, Scalar scalar, Vector vector) {
    int i = 0;
#if defined(KEL_SIMD)
    constexpr int lanes = sizeof(VecI) / sizeof(T);
    const int misalign = static_cast<int>(reinterpret_cast<uintptr_t>(d) % sizeof(VecI));
    int head = misalign % sizeof(T) != 0 ? n : static_cast<int>((sizeof(VecI) - misalign) % sizeof(VecI) / sizeof(T));
    if (n < 8 * lanes) head = 0;  // short vectors: peeling costs more than a split store
    head = head < n ? head : n;
    for (; i < head; ++i) scalar(i);
#pragma GCC unroll 4
    for (; i + lanes <= n; i += lanes) vector(i);
#else
    (void)d;
    (void)vector;
#endif
    for (; i < n; ++i) scalar(i);
}

}  // namespace KEL_VEC_NS
}  // namespace kel

#endif  // KELSC_CORE_SIMD_H
