// The float vocabulary of the FFT kernels (fft_kernels.h): packs of 1, 4, 8
// and 16 floats (scalar, SSE, AVX2, AVX-512) with one set of operations, so
// that a kernel body is written once for every width. Arithmetic is lane by
// lane, one IEEE single-precision operation per lane and call, never fused,
// so a value comes out the same, bit for bit, whichever pack computed it.
// The remaining operations only move lanes. Included after KEL_VEC_NS is
// defined; the packs a build offers depend on its instruction set.
#ifndef KEL_VEC_NS
#error "define KEL_VEC_NS before including fft_simd.h"
#endif
#ifndef KELSC_CORE_FFT_SIMD_H
#define KELSC_CORE_FFT_SIMD_H

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kel {
namespace KEL_VEC_NS {
namespace fftsimd {

// With x87 arithmetic (FLT_EVAL_METHOD 2) intermediates keep extended
// precision; storing each result to a float rounds it to single precision
// as a SIMD lane does. The extended result of one +, - or * of two floats
// rounds to the same float as the exact one (64 >= 2 * 24 + 2 bits).
#if defined(__FLT_EVAL_METHOD__) && __FLT_EVAL_METHOD__ != 0
inline float single(float x) {
    volatile float r = x;
    return r;
}
#else
inline float single(float x) { return x; }
#endif

// ---------------------------------------------------------------------------
// One lane.
// ---------------------------------------------------------------------------
struct F1 {
    static constexpr int kLanes = 1;
    float v;
    static F1 load(const float* p) { return {*p}; }
    static F1 set1(float x) { return {x}; }
};
inline void store(float* p, F1 a) { *p = a.v; }
inline F1 add(F1 a, F1 b) { return {single(a.v + b.v)}; }
inline F1 sub(F1 a, F1 b) { return {single(a.v - b.v)}; }
inline F1 mul(F1 a, F1 b) { return {single(a.v * b.v)}; }
inline F1 neg(F1 a) { return {-a.v}; }
inline F1 reverse(F1 a) { return a; }
inline F1 spread4(F1 a) { return a; }
inline F1 shift1(F1, F1 b) { return b; }
inline F1 shiftBack1(F1 a, F1) { return a; }
inline F1 withFirst(F1, F1 b) { return b; }
inline void loadSplit(const float* p, F1& re, F1& im) {
    re.v = p[0];
    im.v = p[1];
}
inline void storeJoined(float* p, F1 re, F1 im) {
    p[0] = re.v;
    p[1] = im.v;
}
inline void transpose4(F1&, F1&, F1&, F1&) {}
inline void chunkTranspose4(F1&, F1&, F1&, F1&) {}

// Lane-moving operations of the wider packs:
//  reverse: lane l takes lane L-1-l.
//  spread4: lane l takes lane 4 * (l / 4).
//  shift1(a, b): lanes a1 .. a(L-1), b0: the pack one element further on
//      in memory, from two aligned packs.
//  shiftBack1(a, b): lanes a(L-1), b0 .. b(L-2): one element back.
//  withFirst(a, b): a with lane 0 replaced by b(L-1).
//  loadSplit: 2L floats re0 im0 re1 im1 ... into a real and an imaginary
//      pack; storeJoined is its inverse.
//  transpose4: a 4x4 transpose inside each 128-bit block: block j of
//      a, b, c, d becomes block j of the rows a[4j..], b[4j..], ...
//      transposed, i.e. a = (a0 b0 c0 d0), b = (a1 b1 c1 d1), ...
//  chunkTranspose4: with 128-bit blocks (chunks) Cj: the concatenation of
//      the results reads a.C0 b.C0 c.C0 d.C0 a.C1 b.C1 ... (identity for
//      one chunk).
// transpose4 followed by chunkTranspose4 turns four packs of streams into
// their interleaving: a0 b0 c0 d0 a1 b1 c1 d1 ...

#if defined(__SSE2__)
// ---------------------------------------------------------------------------
// Two lanes (the low half of an SSE register; the high half stays zero).
// ---------------------------------------------------------------------------
struct F2 {
    static constexpr int kLanes = 2;
    __m128 v;
    static F2 load(const float* p) { return {_mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(p)))}; }
    static F2 set1(float x) { return {_mm_setr_ps(x, x, 0.0f, 0.0f)}; }
};
inline void store(float* p, F2 a) { _mm_store_sd(reinterpret_cast<double*>(p), _mm_castps_pd(a.v)); }
inline F2 add(F2 a, F2 b) { return {_mm_add_ps(a.v, b.v)}; }
inline F2 sub(F2 a, F2 b) { return {_mm_sub_ps(a.v, b.v)}; }
inline F2 mul(F2 a, F2 b) { return {_mm_mul_ps(a.v, b.v)}; }
inline F2 neg(F2 a) { return {_mm_xor_ps(a.v, _mm_setr_ps(-0.0f, -0.0f, 0.0f, 0.0f))}; }
inline F2 reverse(F2 a) { return {_mm_shuffle_ps(a.v, _mm_setzero_ps(), _MM_SHUFFLE(0, 0, 0, 1))}; }
inline F2 shift1(F2 a, F2 b) {
    return {_mm_shuffle_ps(_mm_unpacklo_ps(a.v, b.v), _mm_setzero_ps(), _MM_SHUFFLE(0, 0, 1, 2))};  // a1 b0
}
inline F2 shiftBack1(F2 a, F2 b) { return shift1(a, b); }
inline F2 withFirst(F2 a, F2 b) {
    return {_mm_shuffle_ps(_mm_unpacklo_ps(b.v, a.v), _mm_setzero_ps(), _MM_SHUFFLE(0, 0, 3, 2))};
}
inline void loadSplit(const float* p, F2& re, F2& im) {
    const __m128 a = _mm_loadu_ps(p);  // re0 im0 re1 im1
    re.v = _mm_shuffle_ps(a, _mm_setzero_ps(), _MM_SHUFFLE(0, 0, 2, 0));
    im.v = _mm_shuffle_ps(a, _mm_setzero_ps(), _MM_SHUFFLE(0, 0, 3, 1));
}
inline void storeJoined(float* p, F2 re, F2 im) { _mm_storeu_ps(p, _mm_unpacklo_ps(re.v, im.v)); }
// Four packs of two: the output reads a0 b0 c0 d0 a1 b1 c1 d1.
inline void transpose4(F2& a, F2& b, F2& c, F2& d) {
    const __m128 ab = _mm_unpacklo_ps(a.v, b.v), cd = _mm_unpacklo_ps(c.v, d.v);  // a0 b0 a1 b1, c0 d0 c1 d1
    a.v = _mm_movelh_ps(ab, _mm_setzero_ps());
    b.v = _mm_movelh_ps(cd, _mm_setzero_ps());
    c.v = _mm_movehl_ps(_mm_setzero_ps(), ab);
    d.v = _mm_movehl_ps(_mm_setzero_ps(), cd);
}
inline void chunkTranspose4(F2&, F2&, F2&, F2&) {}
#endif

#if defined(__SSE2__)
// ---------------------------------------------------------------------------
// Four lanes (SSE).
// ---------------------------------------------------------------------------
struct F4 {
    static constexpr int kLanes = 4;
    __m128 v;
    static F4 load(const float* p) { return {_mm_loadu_ps(p)}; }
    static F4 set1(float x) { return {_mm_set1_ps(x)}; }
};
inline void store(float* p, F4 a) { _mm_storeu_ps(p, a.v); }
inline F4 add(F4 a, F4 b) { return {_mm_add_ps(a.v, b.v)}; }
inline F4 sub(F4 a, F4 b) { return {_mm_sub_ps(a.v, b.v)}; }
inline F4 mul(F4 a, F4 b) { return {_mm_mul_ps(a.v, b.v)}; }
inline F4 neg(F4 a) { return {_mm_xor_ps(a.v, _mm_set1_ps(-0.0f))}; }
inline F4 reverse(F4 a) { return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(0, 1, 2, 3))}; }
inline F4 spread4(F4 a) { return {_mm_shuffle_ps(a.v, a.v, 0)}; }
inline F4 shift1(F4 a, F4 b) {
    const __m128 t = _mm_move_ss(a.v, b.v);  // b0 a1 a2 a3
    return {_mm_shuffle_ps(t, t, _MM_SHUFFLE(0, 3, 2, 1))};
}
inline F4 shiftBack1(F4 a, F4 b) {
    const __m128 t = _mm_shuffle_ps(a.v, b.v, _MM_SHUFFLE(0, 0, 3, 3));  // a3 a3 b0 b0
    return {_mm_shuffle_ps(t, b.v, _MM_SHUFFLE(2, 1, 2, 0))};
}
inline F4 withFirst(F4 a, F4 b) { return {_mm_move_ss(a.v, _mm_shuffle_ps(b.v, b.v, _MM_SHUFFLE(3, 3, 3, 3)))}; }
inline void loadSplit(const float* p, F4& re, F4& im) {
    const __m128 a = _mm_loadu_ps(p), b = _mm_loadu_ps(p + 4);
    re.v = _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
    im.v = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
}
inline void storeJoined(float* p, F4 re, F4 im) {
    _mm_storeu_ps(p, _mm_unpacklo_ps(re.v, im.v));
    _mm_storeu_ps(p + 4, _mm_unpackhi_ps(re.v, im.v));
}
inline void transpose4(F4& a, F4& b, F4& c, F4& d) {
    const __m128 t0 = _mm_unpacklo_ps(a.v, b.v), t1 = _mm_unpacklo_ps(c.v, d.v);
    const __m128 t2 = _mm_unpackhi_ps(a.v, b.v), t3 = _mm_unpackhi_ps(c.v, d.v);
    a.v = _mm_movelh_ps(t0, t1);
    b.v = _mm_movehl_ps(t1, t0);
    c.v = _mm_movelh_ps(t2, t3);
    d.v = _mm_movehl_ps(t3, t2);
}
inline void chunkTranspose4(F4&, F4&, F4&, F4&) {}
#endif

#if defined(__AVX2__)
// ---------------------------------------------------------------------------
// Eight lanes (AVX2).
// ---------------------------------------------------------------------------
struct F8 {
    static constexpr int kLanes = 8;
    __m256 v;
    static F8 load(const float* p) { return {_mm256_loadu_ps(p)}; }
    static F8 set1(float x) { return {_mm256_set1_ps(x)}; }
};
inline void store(float* p, F8 a) { _mm256_storeu_ps(p, a.v); }
inline F8 add(F8 a, F8 b) { return {_mm256_add_ps(a.v, b.v)}; }
inline F8 sub(F8 a, F8 b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline F8 mul(F8 a, F8 b) { return {_mm256_mul_ps(a.v, b.v)}; }
inline F8 neg(F8 a) { return {_mm256_xor_ps(a.v, _mm256_set1_ps(-0.0f))}; }
inline F8 reverse(F8 a) { return {_mm256_permutevar8x32_ps(a.v, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0))}; }
inline F8 spread4(F8 a) { return {_mm256_permutevar8x32_ps(a.v, _mm256_setr_epi32(0, 0, 0, 0, 4, 4, 4, 4))}; }
inline F8 shift1(F8 a, F8 b) {
    const __m256 t = _mm256_permutevar8x32_ps(a.v, _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 0));
    return {_mm256_blend_ps(t, _mm256_broadcastss_ps(_mm256_castps256_ps128(b.v)), 0x80)};
}
inline F8 shiftBack1(F8 a, F8 b) {
    const __m256 t = _mm256_permutevar8x32_ps(b.v, _mm256_setr_epi32(7, 0, 1, 2, 3, 4, 5, 6));
    return {_mm256_blend_ps(t, _mm256_permutevar8x32_ps(a.v, _mm256_set1_epi32(7)), 0x01)};
}
inline F8 withFirst(F8 a, F8 b) {
    return {_mm256_blend_ps(a.v, _mm256_permutevar8x32_ps(b.v, _mm256_set1_epi32(7)), 0x01)};
}
inline void loadSplit(const float* p, F8& re, F8& im) {
    const __m256 a = _mm256_loadu_ps(p), b = _mm256_loadu_ps(p + 8);
    // Per 128-bit block: even (odd) lanes of a, then of b; then the middle
    // 64-bit quarters swap into order.
    const __m256 e = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
    const __m256 o = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
    re.v = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(e), _MM_SHUFFLE(3, 1, 2, 0)));
    im.v = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(o), _MM_SHUFFLE(3, 1, 2, 0)));
}
inline void storeJoined(float* p, F8 re, F8 im) {
    const __m256 lo = _mm256_unpacklo_ps(re.v, im.v), hi = _mm256_unpackhi_ps(re.v, im.v);
    _mm256_storeu_ps(p, _mm256_permute2f128_ps(lo, hi, 0x20));
    _mm256_storeu_ps(p + 8, _mm256_permute2f128_ps(lo, hi, 0x31));
}
inline void transpose4(F8& a, F8& b, F8& c, F8& d) {
    const __m256 t0 = _mm256_unpacklo_ps(a.v, b.v), t1 = _mm256_unpacklo_ps(c.v, d.v);
    const __m256 t2 = _mm256_unpackhi_ps(a.v, b.v), t3 = _mm256_unpackhi_ps(c.v, d.v);
    a.v = _mm256_shuffle_ps(t0, t1, _MM_SHUFFLE(1, 0, 1, 0));
    b.v = _mm256_shuffle_ps(t0, t1, _MM_SHUFFLE(3, 2, 3, 2));
    c.v = _mm256_shuffle_ps(t2, t3, _MM_SHUFFLE(1, 0, 1, 0));
    d.v = _mm256_shuffle_ps(t2, t3, _MM_SHUFFLE(3, 2, 3, 2));
}
inline void chunkTranspose4(F8& a, F8& b, F8& c, F8& d) {
    const __m256 o0 = _mm256_permute2f128_ps(a.v, b.v, 0x20), o1 = _mm256_permute2f128_ps(c.v, d.v, 0x20);
    const __m256 o2 = _mm256_permute2f128_ps(a.v, b.v, 0x31), o3 = _mm256_permute2f128_ps(c.v, d.v, 0x31);
    a.v = o0;
    b.v = o1;
    c.v = o2;
    d.v = o3;
}
#endif

#if defined(__AVX512F__)
// ---------------------------------------------------------------------------
// Sixteen lanes (AVX-512 F).
// ---------------------------------------------------------------------------
struct F16 {
    static constexpr int kLanes = 16;
    __m512 v;
    static F16 load(const float* p) { return {_mm512_loadu_ps(p)}; }
    static F16 set1(float x) { return {_mm512_set1_ps(x)}; }
};
inline void store(float* p, F16 a) { _mm512_storeu_ps(p, a.v); }
inline F16 add(F16 a, F16 b) { return {_mm512_add_ps(a.v, b.v)}; }
inline F16 sub(F16 a, F16 b) { return {_mm512_sub_ps(a.v, b.v)}; }
inline F16 mul(F16 a, F16 b) { return {_mm512_mul_ps(a.v, b.v)}; }
inline F16 neg(F16 a) {
    return {_mm512_castsi512_ps(_mm512_xor_si512(_mm512_castps_si512(a.v), _mm512_set1_epi32(INT32_MIN)))};
}
inline F16 reverse(F16 a) {
    return {_mm512_permutexvar_ps(_mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0), a.v)};
}
inline F16 spread4(F16 a) {
    return {_mm512_permutexvar_ps(_mm512_setr_epi32(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12), a.v)};
}
inline F16 shift1(F16 a, F16 b) {
    return {_mm512_permutex2var_ps(a.v, _mm512_setr_epi32(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16), b.v)};
}
inline F16 shiftBack1(F16 a, F16 b) {
    return {_mm512_permutex2var_ps(
        a.v, _mm512_setr_epi32(15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30), b.v)};
}
inline F16 withFirst(F16 a, F16 b) { return {_mm512_mask_permutexvar_ps(a.v, 1, _mm512_set1_epi32(15), b.v)}; }
inline void loadSplit(const float* p, F16& re, F16& im) {
    const __m512 a = _mm512_loadu_ps(p), b = _mm512_loadu_ps(p + 16);
    re.v = _mm512_permutex2var_ps(a, _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30), b);
    im.v = _mm512_permutex2var_ps(a, _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31), b);
}
inline void storeJoined(float* p, F16 re, F16 im) {
    _mm512_storeu_ps(p, _mm512_permutex2var_ps(
                            re.v, _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23), im.v));
    _mm512_storeu_ps(p + 16,
                     _mm512_permutex2var_ps(
                         re.v, _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31), im.v));
}
inline void transpose4(F16& a, F16& b, F16& c, F16& d) {
    const __m512 t0 = _mm512_unpacklo_ps(a.v, b.v), t1 = _mm512_unpacklo_ps(c.v, d.v);
    const __m512 t2 = _mm512_unpackhi_ps(a.v, b.v), t3 = _mm512_unpackhi_ps(c.v, d.v);
    a.v = _mm512_shuffle_ps(t0, t1, _MM_SHUFFLE(1, 0, 1, 0));
    b.v = _mm512_shuffle_ps(t0, t1, _MM_SHUFFLE(3, 2, 3, 2));
    c.v = _mm512_shuffle_ps(t2, t3, _MM_SHUFFLE(1, 0, 1, 0));
    d.v = _mm512_shuffle_ps(t2, t3, _MM_SHUFFLE(3, 2, 3, 2));
}
inline void chunkTranspose4(F16& a, F16& b, F16& c, F16& d) {
    const __m512 t0 = _mm512_shuffle_f32x4(a.v, b.v, _MM_SHUFFLE(1, 0, 1, 0));  // a.C0 a.C1 b.C0 b.C1
    const __m512 t1 = _mm512_shuffle_f32x4(c.v, d.v, _MM_SHUFFLE(1, 0, 1, 0));  // c.C0 c.C1 d.C0 d.C1
    const __m512 t2 = _mm512_shuffle_f32x4(a.v, b.v, _MM_SHUFFLE(3, 2, 3, 2));  // a.C2 a.C3 b.C2 b.C3
    const __m512 t3 = _mm512_shuffle_f32x4(c.v, d.v, _MM_SHUFFLE(3, 2, 3, 2));  // c.C2 c.C3 d.C2 d.C3
    a.v = _mm512_shuffle_f32x4(t0, t1, _MM_SHUFFLE(2, 0, 2, 0));
    b.v = _mm512_shuffle_f32x4(t0, t1, _MM_SHUFFLE(3, 1, 3, 1));
    c.v = _mm512_shuffle_f32x4(t2, t3, _MM_SHUFFLE(2, 0, 2, 0));
    d.v = _mm512_shuffle_f32x4(t2, t3, _MM_SHUFFLE(3, 1, 3, 1));
}
#endif

// The next narrower pack, down to one lane.
template <typename P>
struct Narrower;
#if defined(__SSE2__)
template <>
struct Narrower<F2> {
    using type = F1;
};
template <>
struct Narrower<F4> {
    using type = F2;
};
#endif
#if defined(__AVX2__)
template <>
struct Narrower<F8> {
    using type = F4;
};
#endif
#if defined(__AVX512F__)
template <>
struct Narrower<F16> {
    using type = F8;
};
#endif

// The widest pack of this build.
#if defined(__AVX512F__)
using Widest = F16;
#elif defined(__AVX2__)
using Widest = F8;
#elif defined(__SSE2__)
using Widest = F4;
#else
using Widest = F1;
#endif

}  // namespace fftsimd
}  // namespace KEL_VEC_NS
}  // namespace kel

#endif  // KELSC_CORE_FFT_SIMD_H
