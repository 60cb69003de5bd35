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
// 16-bit shifts by a count broadcast to every lane: the per-lane form is one
// instruction where the count-register form is two.
using Count16 = __m512i;
inline Count16 count16(int n) { return _mm512_set1_epi16(static_cast<short>(n)); }
inline VecI sll16(VecI a, Count16 n) { return _mm512_sllv_epi16(a, n); }
inline VecI sra16(VecI a, Count16 n) { return _mm512_srav_epi16(a, n); }
inline VecI sra32(VecI a, __m128i n) { return _mm512_sra_epi32(a, n); }
inline VecI srl32by16(VecI a) { return _mm512_srli_epi32(a, 16); }
inline VecI sll32by16(VecI a) { return _mm512_slli_epi32(a, 16); }
// Sum of the unsigned 32-bit lanes.
inline uint64_t hsumU32(VecI v) {
    const __m512i pairs =
        _mm512_add_epi64(_mm512_and_si512(v, _mm512_set1_epi64(0xffffffff)), _mm512_srli_epi64(v, 32));
    return static_cast<uint64_t>(_mm512_reduce_add_epi64(pairs));
}
inline VecI mullo16(VecI a, VecI b) { return _mm512_mullo_epi16(a, b); }
inline VecI mulhi16(VecI a, VecI b) { return _mm512_mulhi_epi16(a, b); }
inline VecI unpacklo16(VecI a, VecI b) { return _mm512_unpacklo_epi16(a, b); }
inline VecI unpackhi16(VecI a, VecI b) { return _mm512_unpackhi_epi16(a, b); }
inline VecI packs32(VecI a, VecI b) { return _mm512_packs_epi32(a, b); }
inline VecI add32(VecI a, VecI b) { return _mm512_add_epi32(a, b); }
inline VecI sub32(VecI a, VecI b) { return _mm512_sub_epi32(a, b); }
inline VecI set32(int32_t v) { return _mm512_set1_epi32(v); }
inline VecI set16(Kel16s v) { return _mm512_set1_epi16(v); }
inline VecI max16(VecI a, VecI b) { return _mm512_max_epi16(a, b); }
inline VecI min16(VecI a, VecI b) { return _mm512_min_epi16(a, b); }
inline VecI cmpeq16(VecI a, VecI b) { return _mm512_movm_epi16(_mm512_cmpeq_epi16_mask(a, b)); }
inline VecI madd16(VecI a, VecI b) { return _mm512_madd_epi16(a, b); }
// acc + madd16(a, b), one instruction with VNNI.
inline VecI maddAcc16(VecI acc, VecI a, VecI b) {
#if defined(__AVX512VNNI__)
    return _mm512_dpwssd_epi32(acc, a, b);
#else
    return _mm512_add_epi32(acc, _mm512_madd_epi16(a, b));
#endif
}
inline int32_t hsum32(VecI v) { return _mm512_reduce_add_epi32(v); }
// Bit k set when lane k of a equals lane k of b.
inline uint64_t eqMask16(VecI a, VecI b) { return _mm512_cmpeq_epi16_mask(a, b); }
constexpr int kMaskBitsPerLane16 = 1;
inline VecI xor16(VecI a, VecI b) { return _mm512_xor_si512(a, b); }
inline VecI and16(VecI a, VecI b) { return _mm512_and_si512(a, b); }
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
using Count16 = __m128i;
inline Count16 count16(int n) { return _mm_cvtsi32_si128(n); }
inline VecI sll16(VecI a, Count16 n) { return _mm256_sll_epi16(a, n); }
inline VecI sra16(VecI a, Count16 n) { return _mm256_sra_epi16(a, n); }
inline VecI sra32(VecI a, __m128i n) { return _mm256_sra_epi32(a, n); }
inline VecI srl32by16(VecI a) { return _mm256_srli_epi32(a, 16); }
inline VecI sll32by16(VecI a) { return _mm256_slli_epi32(a, 16); }
inline uint64_t hsumU32(VecI v) {
    const __m256i pairs =
        _mm256_add_epi64(_mm256_and_si256(v, _mm256_set1_epi64x(0xffffffff)), _mm256_srli_epi64(v, 32));
    const __m128i q = _mm_add_epi64(_mm256_castsi256_si128(pairs), _mm256_extracti128_si256(pairs, 1));
    alignas(16) uint64_t l[2];
    _mm_store_si128(reinterpret_cast<__m128i*>(l), q);
    return l[0] + l[1];
}
inline VecI mullo16(VecI a, VecI b) { return _mm256_mullo_epi16(a, b); }
inline VecI mulhi16(VecI a, VecI b) { return _mm256_mulhi_epi16(a, b); }
inline VecI unpacklo16(VecI a, VecI b) { return _mm256_unpacklo_epi16(a, b); }
inline VecI unpackhi16(VecI a, VecI b) { return _mm256_unpackhi_epi16(a, b); }
inline VecI packs32(VecI a, VecI b) { return _mm256_packs_epi32(a, b); }
inline VecI add32(VecI a, VecI b) { return _mm256_add_epi32(a, b); }
inline VecI sub32(VecI a, VecI b) { return _mm256_sub_epi32(a, b); }
inline VecI set32(int32_t v) { return _mm256_set1_epi32(v); }
inline VecI set16(Kel16s v) { return _mm256_set1_epi16(v); }
inline VecI max16(VecI a, VecI b) { return _mm256_max_epi16(a, b); }
inline VecI min16(VecI a, VecI b) { return _mm256_min_epi16(a, b); }
inline VecI cmpeq16(VecI a, VecI b) { return _mm256_cmpeq_epi16(a, b); }
inline VecI madd16(VecI a, VecI b) { return _mm256_madd_epi16(a, b); }
inline VecI maddAcc16(VecI acc, VecI a, VecI b) { return _mm256_add_epi32(acc, _mm256_madd_epi16(a, b)); }
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
inline VecI and16(VecI a, VecI b) { return _mm256_and_si256(a, b); }
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
using Count16 = __m128i;
inline Count16 count16(int n) { return _mm_cvtsi32_si128(n); }
inline VecI sll16(VecI a, Count16 n) { return _mm_sll_epi16(a, n); }
inline VecI sra16(VecI a, Count16 n) { return _mm_sra_epi16(a, n); }
inline VecI sra32(VecI a, __m128i n) { return _mm_sra_epi32(a, n); }
inline VecI srl32by16(VecI a) { return _mm_srli_epi32(a, 16); }
inline VecI sll32by16(VecI a) { return _mm_slli_epi32(a, 16); }
inline uint64_t hsumU32(VecI v) {
    alignas(16) uint32_t l[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(l), v);
    return uint64_t{l[0]} + l[1] + l[2] + l[3];
}
inline VecI mullo16(VecI a, VecI b) { return _mm_mullo_epi16(a, b); }
inline VecI mulhi16(VecI a, VecI b) { return _mm_mulhi_epi16(a, b); }
inline VecI unpacklo16(VecI a, VecI b) { return _mm_unpacklo_epi16(a, b); }
inline VecI unpackhi16(VecI a, VecI b) { return _mm_unpackhi_epi16(a, b); }
inline VecI packs32(VecI a, VecI b) { return _mm_packs_epi32(a, b); }
inline VecI add32(VecI a, VecI b) { return _mm_add_epi32(a, b); }
inline VecI sub32(VecI a, VecI b) { return _mm_sub_epi32(a, b); }
inline VecI set32(int32_t v) { return _mm_set1_epi32(v); }
inline VecI set16(Kel16s v) { return _mm_set1_epi16(v); }
inline VecI max16(VecI a, VecI b) { return _mm_max_epi16(a, b); }
inline VecI min16(VecI a, VecI b) { return _mm_min_epi16(a, b); }
inline VecI cmpeq16(VecI a, VecI b) { return _mm_cmpeq_epi16(a, b); }
inline VecI madd16(VecI a, VecI b) { return _mm_madd_epi16(a, b); }
inline VecI maddAcc16(VecI acc, VecI a, VecI b) { return _mm_add_epi32(acc, _mm_madd_epi16(a, b)); }
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
inline VecI and16(VecI a, VecI b) { return _mm_and_si128(a, b); }
inline VecI zero() { return _mm_setzero_si128(); }
#endif

#if defined(KEL_SIMD)
constexpr int kLanes16 = sizeof(VecI) / 2;
constexpr int kLanes32 = sizeof(VecI) / 4;

// Two consecutive result vectors (a widening kernel's output for one input
// vector).
struct VecI2 {
    VecI lo, hi;
};

// Lanes equal to -32768 become 32767 (the one wrapping case of mulhrs16).
inline VecI unwrapMin16(VecI r) {
#if defined(__AVX512BW__)
    return _mm512_mask_mov_epi16(r, _mm512_cmpeq_epi16_mask(r, set16(kMin16)), set16(kMax16));
#else
    return xor16(r, cmpeq16(r, set16(kMin16)));
#endif
}

// |x| with -32768 mapped to 32767 (abs_s). With AVX-512 the saturating
// pair (two instructions on one execution port) becomes a compare, which
// runs on another port, and a saturating negation of the negative lanes.
inline VecI absSat16(VecI x) {
#if defined(__AVX512BW__)
    return _mm512_mask_subs_epi16(x, _mm512_cmplt_epi16_mask(x, zero()), zero(), x);
#else
    return max16(x, subs16(zero(), x));
#endif
}

// Largest (kMin false) or smallest 16-bit lane: halves folded down to 128
// bits, then one phminposuw on lanes mapped to an unsigned order that puts
// the wanted lane first (x ^ 0x8000 for the smallest, x ^ 0x7fff, which is
// 32767 - x, for the largest).
template <bool kMin>
inline Kel16s hextreme16(VecI v) {
    const auto pick = [](__m128i a, __m128i b) { return kMin ? _mm_min_epi16(a, b) : _mm_max_epi16(a, b); };
#if defined(__AVX512BW__)
    const __m256i y = kMin ? _mm256_min_epi16(_mm512_castsi512_si256(v), _mm512_extracti64x4_epi64(v, 1))
                           : _mm256_max_epi16(_mm512_castsi512_si256(v), _mm512_extracti64x4_epi64(v, 1));
    const __m128i x = pick(_mm256_castsi256_si128(y), _mm256_extracti128_si256(y, 1));
#elif defined(__AVX2__)
    const __m128i x = pick(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
#else
    const __m128i x = v;
#endif
#if defined(__SSE4_1__)
    const __m128i flip = _mm_set1_epi16(kMin ? kMin16 : kMax16);
    return static_cast<Kel16s>(_mm_extract_epi16(_mm_minpos_epu16(_mm_xor_si128(x, flip)), 0) ^
                               (kMin ? 0x8000 : 0x7fff));
#else
    __m128i r = pick(x, _mm_shuffle_epi32(x, 0x4e));
    r = pick(r, _mm_shuffle_epi32(r, 0xb1));
    r = pick(r, _mm_shufflelo_epi16(r, 0xb1));
    return static_cast<Kel16s>(_mm_cvtsi128_si32(r));
#endif
}

// Converts 32-bit lanes to float and returns the bits.
inline VecI toFloatBits32(VecI v) {
#if defined(__AVX512BW__)
    return _mm512_castps_si512(_mm512_cvtepi32_ps(v));
#elif defined(__AVX2__)
    return _mm256_castps_si256(_mm256_cvtepi32_ps(v));
#else
    return _mm_castps_si128(_mm_cvtepi32_ps(v));
#endif
}

// Exact 32-bit products of the 16-bit lanes of a and b, in element order.
// unpack works within 128-bit blocks, so the low and high product halves
// are first permuted to put 64-bit groups k and k + half into block k.
inline VecI2 mulWide16(VecI a, VecI b) {
    VecI lo = mullo16(a, b), hi = mulhi16(a, b);
#if defined(__AVX512BW__)
    const VecI order = _mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7);
    lo = _mm512_permutexvar_epi64(order, lo);
    hi = _mm512_permutexvar_epi64(order, hi);
#elif defined(__AVX2__)
    lo = _mm256_permute4x64_epi64(lo, 0xd8);
    hi = _mm256_permute4x64_epi64(hi, 0xd8);
#endif
    return {unpacklo16(lo, hi), unpackhi16(lo, hi)};
}

// How a streaming kernel reads its sources: whole vectors, or (AVX-512)
// only the lanes of a mask, the others reading as zero and never touching
// memory. operator() reads kLanes16 values, widen() kLanes32 values
// sign-extended to 32-bit lanes.
struct FullLoad {
    template <typename E>
    VecI operator()(const E* p) const {
        return vload(p);
    }
    VecI widen(const Kel16s* p) const {
#if defined(__AVX512BW__)
        return _mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
#elif defined(__AVX2__)
        return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
#else
        const __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return _mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16);
#endif
    }
};

#if defined(__AVX512BW__)
// Lane k of the step is read (and written) when bit k of the mask is set.
#define KEL_MASKED_EDGES 1
struct MaskedLoad {
    __mmask32 m;
    template <typename E>
    VecI operator()(const E* p) const {
        return _mm512_maskz_loadu_epi16(m, p);
    }
    VecI widen(const Kel16s* p) const {
        return _mm512_cvtepi16_epi32(_mm256_maskz_loadu_epi16(static_cast<__mmask16>(m), p));
    }
};

inline void vstoreMasked(Kel16s* p, __mmask32 m, VecI v) { _mm512_mask_storeu_epi16(p, m, v); }
inline void vstoreMasked(Kel16u* p, __mmask32 m, VecI v) { _mm512_mask_storeu_epi16(p, m, v); }
template <typename T32>
inline void vstoreMasked(T32* p, __mmask32 m, VecI v) {
    static_assert(sizeof(T32) == 4, "32-bit destination");
    _mm512_mask_storeu_epi32(p, static_cast<__mmask16>(m), v);
}
template <typename T32>
inline void vstoreMasked(T32* p, __mmask32 m, VecI2 v) {
    vstoreMasked(p, m, v.lo);
    vstoreMasked(p + kLanes32, m >> kLanes32, v.hi);
}
#endif

inline void vstore(void* p, VecI2 v) {
    vstore(p, v.lo);
    vstore(static_cast<char*>(p) + sizeof(VecI), v.hi);
}
#endif

// The loop of every streaming kernel: up to the first vector boundary of
// the destination (split stores cost more than anything else in these
// loops), then whole vectors, then the remainder. vector(i, load) returns
// the results for elements i onwards (a VecI, or a VecI2 for widening
// kernels), reading its sources through load, and the loop stores them;
// results are formed four vectors at a time before any is stored, so that
// the loads of a group are not held behind its stores. With
// AVX-512 the edges are one masked step each; otherwise they go element by
// element through scalar(i). Element i of the result depends on element i
// of the sources only, so in place operation (destination equal to a
// source) is unaffected by the order.
//
// Always inlined: an out-of-line copy receives the two lambdas through the
// stack, and reading back their just-written captures stalls store
// forwarding for longer than a 40-sample call takes.
#if defined(KEL_SIMD)
#define KEL_VECTOR(...) [=](int i, auto load) { return __VA_ARGS__; }
#else
#define KEL_VECTOR(...) nullptr
#endif
template <typename T, typename Scalar, typename Vector>
__attribute__((always_inline)) inline void stream(T* d, int n, Scalar scalar, Vector vector) {
    int i = 0;
#if defined(KEL_SIMD)
    using Result = decltype(vector(0, FullLoad{}));
    constexpr int step = sizeof(Result) / sizeof(T);
    constexpr int group = 4 * sizeof(VecI) / sizeof(Result);
    // Elements before the first vector boundary of d. Short vectors skip
    // this (a split store costs less than the extra step), and so does a
    // destination that is not even element-aligned (no boundary to reach).
    const int misalign = static_cast<int>(reinterpret_cast<uintptr_t>(d) % sizeof(VecI));
    int head = static_cast<int>((sizeof(VecI) - misalign) % sizeof(VecI) / sizeof(T));
    if (n < 8 * static_cast<int>(sizeof(VecI) / sizeof(T)) || misalign % sizeof(T) != 0) head = 0;
#if defined(KEL_MASKED_EDGES)
    (void)scalar;
    if (head > 0) {
        const __mmask32 m = (__mmask32{1} << head) - 1;
        vstoreMasked(d, m, vector(0, MaskedLoad{m}));
        i = head;
    }
#else
    for (; i < head; ++i) scalar(i);
#endif
    for (; i + group * step <= n; i += group * step) {
        Result r[group];
        for (int k = 0; k < group; ++k) r[k] = vector(i + k * step, FullLoad{});
        for (int k = 0; k < group; ++k) vstore(d + i + k * step, r[k]);
    }
    for (; i + step <= n; i += step) vstore(d + i, vector(i, FullLoad{}));
#if defined(KEL_MASKED_EDGES)
    if (i < n) {
        const __mmask32 m = (__mmask32{1} << (n - i)) - 1;
        vstoreMasked(d + i, m, vector(i, MaskedLoad{m}));
    }
    return;
#endif
#else
    (void)d;
    (void)vector;
#endif
    for (; i < n; ++i) scalar(i);
}

}  // namespace KEL_VEC_NS
}  // namespace kel

#endif  // KELSC_CORE_SIMD_H
