// Real FFT of N = 16 and N = 32 (orders 4 and 5): straight-line
// transforms held in registers from the first load to the last store,
// written once and compiled per instruction set with the other kernels
// (fft_kernels.h includes this file) and called straight from the exported
// functions: no work buffer, no table offsets, no plan.
//
// They perform, value for value, the operations of the general kernels for
// these sizes: the radix-4 pass of the N/2-point complex transform, its last
// pass (radix-2 for N = 16, radix-4 for N = 32), then the split into the
// real spectrum (forward), or the same in reverse order on conjugates
// (inverse). Only the placement of the values differs, so the results are
// identical bit for bit in every variant, which tests/core/fft_test.cpp
// checks against the baseline kernels. Registers hold complex values with
// real and imaginary parts interleaved, as in the signal and the spectrum:
// two per SSE register in the baseline variant, four per AVX register in
// the AVX2 and AVX-512 variants. The twiddles and the split constants are
// the block's table values (cos and sin of multiples of pi/16 rounded from
// double, zeros with the signs the tables give them), written out in the
// lane layout the code needs.
// Operations are rewritten only where IEEE arithmetic makes both forms
// equal bit for bit: x - y as x + (-y), and sums and products with their
// operands swapped.
#ifndef KEL_VEC_NS
#error "define KEL_VEC_NS before including fft_small.h"
#endif

#include "fft_internal.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kel {
namespace KEL_VEC_NS {

#if defined(__SSE2__)
namespace codelet {

using V = __m128;

// cos and sin of pi/8, pi/4 (and 3 pi/8 by symmetry), pi/16, 3 pi/16 (and
// 5 pi/16, 7 pi/16): the float values of the block's tables.
constexpr float kC8 = 0x1.d906bcp-1f;   // cos pi/8
constexpr float kS8 = 0x1.87de2ap-2f;   // sin pi/8
constexpr float kR = 0x1.6a09e6p-1f;    // cos pi/4 = sin pi/4
constexpr float kC16 = 0x1.f6297cp-1f;  // cos pi/16
constexpr float kS16 = 0x1.8f8b84p-3f;  // sin pi/16
constexpr float kC3 = 0x1.a9b662p-1f;   // cos 3 pi/16
constexpr float kS3 = 0x1.1c73b4p-1f;   // sin 3 pi/16

// Lane moves on pairs of complex values [v0 v1 | v2 v3].
inline V lo2(V a, V b) { return _mm_movelh_ps(a, b); }           // a0 a1 b0 b1
inline V hi2(V a, V b) { return _mm_movehl_ps(b, a); }           // a2 a3 b2 b3
inline V cross(V a, V b) { return _mm_shuffle_ps(a, b, 0x4E); }  // a2 a3 b0 b1
inline V join(V a, V b) { return _mm_shuffle_ps(a, b, 0xE4); }   // a0 a1 b2 b3
inline V swapHalves(V a) { return _mm_shuffle_ps(a, a, 0x4E); }  // a2 a3 a0 a1
inline V swapReIm(V a) { return _mm_shuffle_ps(a, a, 0xB1); }    // a1 a0 a3 a2
inline V conj(V a) { return _mm_xor_ps(a, _mm_setr_ps(0.0f, -0.0f, 0.0f, -0.0f)); }
inline V negRe(V a) { return _mm_xor_ps(a, _mm_setr_ps(-0.0f, 0.0f, -0.0f, 0.0f)); }

// A multiplier per complex value c0, c1: re = [Re c0, Re c0, Re c1, Re c1],
// im = [-Im c0, Im c0, -Im c1, Im c1].
struct Mul {
    V re, im;
};
inline Mul mulOf(float r0, float i0, float r1, float i1) {
    return {_mm_setr_ps(r0, r0, r1, r1), _mm_setr_ps(-i0, i0, -i1, i1)};
}
// v * c per complex value: (Re v Re c - Im v Im c, Im v Re c + Re v Im c).
inline V cmul(V v, const Mul& c) { return _mm_add_ps(_mm_mul_ps(v, c.re), _mm_mul_ps(swapReIm(v), c.im)); }

// Radix-4 decimation-in-frequency butterfly on two groups at once; outputs
// 1..3 multiplied by w[0..2] when given.
inline void butterfly4(V& a, V& b, V& c, V& d, const Mul* w) {
    const V apc = _mm_add_ps(a, c), amc = _mm_sub_ps(a, c), bpd = _mm_add_ps(b, d), bmd = _mm_sub_ps(b, d);
    const V jb = conj(swapReIm(bmd));  // (Im, -Re) of b - d
    const V t1 = _mm_add_ps(amc, jb), t2 = _mm_sub_ps(apc, bpd), t3 = _mm_sub_ps(amc, jb);
    a = _mm_add_ps(apc, bpd);
    if (w != nullptr) {
        b = cmul(t1, w[0]);
        c = cmul(t2, w[1]);
        d = cmul(t3, w[2]);
    } else {
        b = t1;
        c = t2;
        d = t3;
    }
}

// Twiddles W^p, W^2p, W^3p of the first pass, W = exp(-2 pi i / M), for
// the groups p0 and p1 of a register.
struct Twiddles {
    Mul w[3];
};
// M = 8, groups 0 and 1.
inline Twiddles twiddles8() {
    return {{mulOf(1.0f, -0.0f, kR, -kR), mulOf(1.0f, -0.0f, -0.0f, -1.0f), mulOf(1.0f, -0.0f, -kR, -kR)}};
}
// M = 16, groups (0, 1), (2, 3), (1, 2) and (3, 0).
inline Twiddles twiddles16(int p0, int p1) {
    // W_16^n, n = j p: 0, 1, 2, 3, 4, 6 and 9 occur (the others are left
    // zero). As in the tables, W^0 is (1, -0) and W^4 is (-0, -1).
    static const float kRe[10] = {1.0f, kC8, kR, kS8, -0.0f, 0.0f, -kR, 0.0f, 0.0f, -kC8};
    static const float kIm[10] = {-0.0f, -kS8, -kR, -kC8, -1.0f, 0.0f, -kR, 0.0f, 0.0f, kS8};
    Twiddles t;
    for (int j = 1; j <= 3; ++j) {
        const int a = j * p0, b = j * p1;
        t.w[j - 1] = mulOf(kRe[a], kIm[a], kRe[b], kIm[b]);
    }
    return t;
}

// Forward split of the half-length spectrum, two bins k at once: a = Z[k],
// b = Z[M - k], c = -i/2 exp(-2 pi i k / N). x1 = X[k], x2 = X[M - k]:
//     h = (a + conj b) / 2, u = c (a - conj b), X[k] = h + u,
//     X[M - k] = conj(h - u).
template <bool kScale>
inline void splitFwd(V a, V b, const Mul& c, V f, V& x1, V& x2) {
    const V bc = conj(b);
    const V h = _mm_mul_ps(_mm_add_ps(a, bc), _mm_set1_ps(0.5f));
    const V u = cmul(_mm_sub_ps(a, bc), c);
    x1 = _mm_add_ps(h, u);
    x2 = _mm_add_ps(conj(h), negRe(u));
    if (kScale) {
        x1 = _mm_mul_ps(x1, f);
        x2 = _mm_mul_ps(x2, f);
    }
}

// Inverse split, two bins k at once: a = X[k], b = X[M - k],
// c = i exp(2 pi i k / N); front = conj(2 Z[k]), back = conj(2 Z[M - k]):
//     s = a + conj b, u = c (a - conj b), front = conj(s + u), back = s - u.
inline void splitInv(V a, V b, const Mul& c, V& front, V& back) {
    const V bc = conj(b);
    const V s = _mm_add_ps(a, bc);
    const V u = cmul(_mm_sub_ps(a, bc), c);
    front = conj(_mm_add_ps(s, u));
    back = _mm_sub_ps(s, u);
}

// -1/2 (sin, cos) and (-sin, cos) of 2 pi k / N as split multipliers.
inline Mul fwdSplit(float s0, float c0, float s1, float c1) {
    return mulOf(-0.5f * s0, -0.5f * c0, -0.5f * s1, -0.5f * c1);
}
inline Mul invSplit(float s0, float c0, float s1, float c1) { return mulOf(-s0, c0, -s1, c1); }

// DC and Nyquist from Z[0] in the low pair of z0: [dc, 0, ny, 0], scaled.
template <bool kScale>
inline V dcNyquist(V z0, V f) {
    const V re = _mm_shuffle_ps(z0, z0, 0x00), im = _mm_shuffle_ps(z0, z0, 0x55);
    V dn = _mm_add_ps(re, conj(im));  // re + im, re - im
    if (kScale) dn = _mm_mul_ps(dn, f);
    return _mm_unpacklo_ps(dn, _mm_setzero_ps());
}

// Stores DC and Nyquist (CCS: dc 0 .. ny 0; Perm: dc ny ..) and the last
// bin X[M - 1] (in the low pair of last).
inline void storeEnds(float* dst, int M, V e, V last, bool ccs) {
    if (ccs) {
        _mm_storel_pi(reinterpret_cast<__m64*>(dst), e);
        _mm_storeu_ps(dst + 2 * M - 2, _mm_shuffle_ps(last, e, 0xE4));
    } else {
        _mm_storel_pi(reinterpret_cast<__m64*>(dst), _mm_shuffle_ps(e, e, 0x08));
        _mm_storel_pi(reinterpret_cast<__m64*>(dst + 2 * M - 2), last);
    }
}

template <bool kScale>
void forward16(const float* src, float* dst, bool ccs, float scale) {
    const V f = _mm_set1_ps(scale);
    // Groups p = 0, 1 of the first pass: z[p], z[p + 2], z[p + 4], z[p + 6].
    V a = _mm_loadu_ps(src), b = _mm_loadu_ps(src + 4), c = _mm_loadu_ps(src + 8), d = _mm_loadu_ps(src + 12);
    const Twiddles tw = twiddles8();
    butterfly4(a, b, c, d, tw.w);
    // Radix-2 pass: Z[k] = y_k(0) + y_k(1), Z[k + 4] = y_k(0) - y_k(1).
    const V l13 = lo2(b, d), h13 = hi2(b, d), l20 = lo2(c, a), h20 = hi2(c, a);
    const V z13 = _mm_add_ps(l13, h13), z57 = _mm_sub_ps(l13, h13);  // Z1 Z3, Z5 Z7
    const V z20 = _mm_add_ps(l20, h20), z64 = _mm_sub_ps(l20, h20);  // Z2 Z0, Z6 Z4
    // Bins (1, 3) and (2, 4).
    V x13, x75, x24, x64;
    splitFwd<kScale>(z13, swapHalves(z57), fwdSplit(kS8, kC8, kC8, kS8), f, x13, x75);
    splitFwd<kScale>(join(z20, z64), z64, fwdSplit(kR, kR, 1.0f, -0.0f), f, x24, x64);
    _mm_storeu_ps(dst + 2, lo2(x13, x24));
    _mm_storeu_ps(dst + 6, hi2(x13, x24));
    _mm_storeu_ps(dst + 10, cross(x75, x64));
    storeEnds(dst, 8, dcNyquist<kScale>(swapHalves(z20), f), x75, ccs);
}

template <bool kScale>
void forward32(const float* src, float* dst, bool ccs, float scale) {
    const V f = _mm_set1_ps(scale);
    // First pass, groups (0, 1) and (2, 3): z[p + 4 k], k = 0..3.
    V a0 = _mm_loadu_ps(src), b0 = _mm_loadu_ps(src + 8), c0 = _mm_loadu_ps(src + 16), d0 = _mm_loadu_ps(src + 24);
    V a1 = _mm_loadu_ps(src + 4), b1 = _mm_loadu_ps(src + 12), c1 = _mm_loadu_ps(src + 20), d1 = _mm_loadu_ps(src + 28);
    const Twiddles w01 = twiddles16(0, 1), w23 = twiddles16(2, 3);
    butterfly4(a0, b0, c0, d0, w01.w);
    butterfly4(a1, b1, c1, d1, w23.w);
    // Last pass: input k' of lane q is output q of group k'. Lanes (1, 3)
    // and (0, 2); outputs Z[q + 4 k''].
    V p0 = lo2(b0, d0), p1 = hi2(b0, d0), p2 = lo2(b1, d1), p3 = hi2(b1, d1);
    V q0 = lo2(a0, c0), q1 = hi2(a0, c0), q2 = lo2(a1, c1), q3 = hi2(a1, c1);
    butterfly4(p0, p1, p2, p3, nullptr);  // Z1 Z3, Z5 Z7, Z9 Z11, Z13 Z15
    butterfly4(q0, q1, q2, q3, nullptr);  // Z0 Z2, Z4 Z6, Z8 Z10, Z12 Z14
    // Bins (1, 3), (5, 7), (4, 6), (8, 2).
    V x13, x1513, x57, x119, x46, x1210, x82, x814;
    splitFwd<kScale>(p0, swapHalves(p3), fwdSplit(kS16, kC16, kS3, kC3), f, x13, x1513);
    splitFwd<kScale>(p1, swapHalves(p2), fwdSplit(kC3, kS3, kC16, kS16), f, x57, x119);
    splitFwd<kScale>(q1, join(q3, q2), fwdSplit(kR, kR, kC8, kS8), f, x46, x1210);
    splitFwd<kScale>(join(q2, q0), join(q2, q3), fwdSplit(1.0f, -0.0f, kS8, kC8), f, x82, x814);
    _mm_storeu_ps(dst + 2, join(x13, x82));
    _mm_storeu_ps(dst + 6, cross(x13, x46));
    _mm_storeu_ps(dst + 10, join(x57, x46));
    _mm_storeu_ps(dst + 14, cross(x57, x82));
    _mm_storeu_ps(dst + 18, hi2(x119, x1210));
    _mm_storeu_ps(dst + 22, lo2(x119, x1210));
    _mm_storeu_ps(dst + 26, hi2(x1513, x814));
    storeEnds(dst, 16, dcNyquist<kScale>(q0, f), x1513, ccs);
}

// 2 Z[0], conjugated, from DC x0 and Nyquist xm: (x0 + xm, -(x0 - xm)).
inline V twiceZ0Conj(const float* x0, const float* xm) {
    const V a = _mm_load_ss(x0), b = _mm_load_ss(xm);
    return conj(_mm_add_ps(_mm_unpacklo_ps(a, a), conj(_mm_unpacklo_ps(b, b))));
}

// The inverse's output: conj(y), scaled first when asked.
template <bool kScale>
inline void storeConj(float* p, V y, V f) {
    if (kScale) y = _mm_mul_ps(y, f);
    _mm_storeu_ps(p, conj(y));
}

template <bool kScale>
void inverse16(const float* src, float* dst, float scale) {
    const V f = _mm_set1_ps(scale);
    const V x12 = _mm_loadu_ps(src + 2), x34 = _mm_loadu_ps(src + 6), x56 = _mm_loadu_ps(src + 10);
    const V x7 = _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(src + 14));
    const V z0 = twiceZ0Conj(src, src + 16);
    // Bins (1, 2) and (3, 4).
    V z12, z76, z34, z5;
    splitInv(x12, join(x7, x56), invSplit(kS8, kC8, kR, kR), z12, z76);
    splitInv(x34, join(x56, x34), invSplit(kC8, kS8, 1.0f, -0.0f), z34, z5);
    // The complex transform of the conjugates, groups p = 0, 1.
    V a = lo2(z0, z12), b = cross(z12, z34), c = cross(z34, z5), d = swapHalves(z76);
    const Twiddles tw = twiddles8();
    butterfly4(a, b, c, d, tw.w);
    const V l01 = lo2(a, b), h01 = hi2(a, b), l23 = lo2(c, d), h23 = hi2(c, d);
    storeConj<kScale>(dst, _mm_add_ps(l01, h01), f);
    storeConj<kScale>(dst + 4, _mm_add_ps(l23, h23), f);
    storeConj<kScale>(dst + 8, _mm_sub_ps(l01, h01), f);
    storeConj<kScale>(dst + 12, _mm_sub_ps(l23, h23), f);
}

template <bool kScale>
void inverse32(const float* src, float* dst, float scale) {
    const V f = _mm_set1_ps(scale);
    V x[8];
    for (int j = 0; j < 7; ++j) x[j] = _mm_loadu_ps(src + 4 * j + 2);  // X[2j + 1], X[2j + 2]
    x[7] = _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(src + 30));
    const V z0 = twiceZ0Conj(src, src + 32);
    // Bins (1, 2), (3, 4), (5, 6), (7, 8).
    V z12, z1514, z34, z1312, z56, z1110, z78, z9;
    splitInv(x[0], join(x[7], x[6]), invSplit(kS16, kC16, kS8, kC8), z12, z1514);
    splitInv(x[1], join(x[6], x[5]), invSplit(kS3, kC3, kR, kR), z34, z1312);
    splitInv(x[2], join(x[5], x[4]), invSplit(kC3, kS3, kC8, kS8), z56, z1110);
    splitInv(x[3], join(x[4], x[3]), invSplit(kC16, kS16, 1.0f, -0.0f), z78, z9);
    // First pass, groups (1, 2) and (3, 0): z[p + 4 k], k = 0..3.
    V a0 = z12, b0 = z56, c0 = join(z9, z1110), d0 = join(z1312, z1514);
    V a1 = lo2(z34, z0), b1 = join(z78, z34), c1 = join(z1110, z78), d1 = join(z1514, z1312);
    const Twiddles w12 = twiddles16(1, 2), w30 = twiddles16(3, 0);
    butterfly4(a0, b0, c0, d0, w12.w);
    butterfly4(a1, b1, c1, d1, w30.w);
    // Last pass, lanes (0, 1) and (2, 3): input k' of lane q is output q of
    // group k'; outputs Z[q + 4 k''] in order.
    V p0 = hi2(a1, b1), p1 = lo2(a0, b0), p2 = hi2(a0, b0), p3 = lo2(a1, b1);
    V q0 = hi2(c1, d1), q1 = lo2(c0, d0), q2 = hi2(c0, d0), q3 = lo2(c1, d1);
    butterfly4(p0, p1, p2, p3, nullptr);
    butterfly4(q0, q1, q2, q3, nullptr);
    storeConj<kScale>(dst, p0, f);
    storeConj<kScale>(dst + 4, q0, f);
    storeConj<kScale>(dst + 8, p1, f);
    storeConj<kScale>(dst + 12, q1, f);
    storeConj<kScale>(dst + 16, p2, f);
    storeConj<kScale>(dst + 20, q2, f);
    storeConj<kScale>(dst + 24, p3, f);
    storeConj<kScale>(dst + 28, q3, f);
}

#if defined(__AVX2__)
// ---------------------------------------------------------------------------
// N = 16 and 32 with four complex values per register. For N = 32 the
// first pass runs its four groups in one register per operand, and a 4 x 4
// transpose of complex values gives the last pass's operands with the
// output index in the elements.
// ---------------------------------------------------------------------------

using Y = __m256;

inline Y swapReIm(Y a) { return _mm256_permute_ps(a, 0xB1); }
inline Y conj(Y a) { return _mm256_xor_ps(a, _mm256_setr_ps(0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f)); }
inline Y negRe(Y a) { return _mm256_xor_ps(a, _mm256_setr_ps(-0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f)); }
// Complex element i of the result is element (imm >> 2 i) & 3 of a.
template <int kImm>
inline Y permute(Y a) {
    return _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(a), kImm));
}
constexpr int kReverse = 0x1B;                                        // 3 2 1 0
constexpr int kRotate = 0x6C;                                         // 0 3 2 1: element 0 kept, 1..3 reversed
inline Y withFirst(Y a, Y b) { return _mm256_blend_ps(a, b, 0x03); }  // b0 a1 a2 a3

struct Mul4 {
    Y re, im;
};
inline Mul4 mulOf(const float (&c)[8]) {
    return {_mm256_setr_ps(c[0], c[0], c[2], c[2], c[4], c[4], c[6], c[6]),
            _mm256_setr_ps(-c[1], c[1], -c[3], c[3], -c[5], c[5], -c[7], c[7])};
}
inline Y cmul(Y v, const Mul4& c) { return _mm256_add_ps(_mm256_mul_ps(v, c.re), _mm256_mul_ps(swapReIm(v), c.im)); }

inline void butterfly4(Y& a, Y& b, Y& c, Y& d, const Mul4* w) {
    const Y apc = _mm256_add_ps(a, c), amc = _mm256_sub_ps(a, c), bpd = _mm256_add_ps(b, d), bmd = _mm256_sub_ps(b, d);
    const Y jb = conj(swapReIm(bmd));
    const Y t1 = _mm256_add_ps(amc, jb), t2 = _mm256_sub_ps(apc, bpd), t3 = _mm256_sub_ps(amc, jb);
    a = _mm256_add_ps(apc, bpd);
    if (w != nullptr) {
        b = cmul(t1, w[0]);
        c = cmul(t2, w[1]);
        d = cmul(t3, w[2]);
    } else {
        b = t1;
        c = t2;
        d = t3;
    }
}

// Twiddles W_16^{j p} of the groups p = 0..3, (Re, Im) pairs.
inline void twiddles16x4(Mul4 w[3]) {
    const float w1[8] = {1.0f, -0.0f, kC8, -kS8, kR, -kR, kS8, -kC8};
    const float w2[8] = {1.0f, -0.0f, kR, -kR, -0.0f, -1.0f, -kR, -kR};
    const float w3[8] = {1.0f, -0.0f, kS8, -kC8, -kR, -kR, -kC8, kS8};
    w[0] = mulOf(w1);
    w[1] = mulOf(w2);
    w[2] = mulOf(w3);
}

// Transposes four registers of four complex values.
inline void transpose4(Y& a, Y& b, Y& c, Y& d) {
    const __m256d u0 = _mm256_unpacklo_pd(_mm256_castps_pd(a), _mm256_castps_pd(b));
    const __m256d u1 = _mm256_unpackhi_pd(_mm256_castps_pd(a), _mm256_castps_pd(b));
    const __m256d u2 = _mm256_unpacklo_pd(_mm256_castps_pd(c), _mm256_castps_pd(d));
    const __m256d u3 = _mm256_unpackhi_pd(_mm256_castps_pd(c), _mm256_castps_pd(d));
    a = _mm256_castpd_ps(_mm256_permute2f128_pd(u0, u2, 0x20));
    b = _mm256_castpd_ps(_mm256_permute2f128_pd(u1, u3, 0x20));
    c = _mm256_castpd_ps(_mm256_permute2f128_pd(u0, u2, 0x31));
    d = _mm256_castpd_ps(_mm256_permute2f128_pd(u1, u3, 0x31));
}

// Split multipliers of bins 4..7 and of bins 8, 1, 2, 3 (sin, cos pairs).
constexpr float kBins4567[8] = {kR, kR, kC3, kS3, kC8, kS8, kC16, kS16};
constexpr float kBins8123[8] = {1.0f, -0.0f, kS16, kC16, kS8, kC8, kS3, kC3};
inline Mul4 fwdSplit4(const float (&sc)[8]) {
    float c[8];
    for (int i = 0; i < 8; ++i) c[i] = -0.5f * sc[i];
    return mulOf(c);
}
inline Mul4 invSplit4(const float (&sc)[8]) {
    float c[8];
    for (int i = 0; i < 8; i += 2) {
        c[i] = -sc[i];
        c[i + 1] = sc[i + 1];
    }
    return mulOf(c);
}

template <bool kScale>
inline void splitFwd(Y a, Y b, const Mul4& c, Y f, Y& x1, Y& x2) {
    const Y bc = conj(b);
    const Y h = _mm256_mul_ps(_mm256_add_ps(a, bc), _mm256_set1_ps(0.5f));
    const Y u = cmul(_mm256_sub_ps(a, bc), c);
    x1 = _mm256_add_ps(h, u);
    x2 = _mm256_add_ps(conj(h), negRe(u));
    if (kScale) {
        x1 = _mm256_mul_ps(x1, f);
        x2 = _mm256_mul_ps(x2, f);
    }
}

inline void splitInv(Y a, Y b, const Mul4& c, Y& front, Y& back) {
    const Y bc = conj(b);
    const Y s = _mm256_add_ps(a, bc);
    const Y u = cmul(_mm256_sub_ps(a, bc), c);
    front = conj(_mm256_add_ps(s, u));
    back = _mm256_sub_ps(s, u);
}

// N = 16: the first pass's two groups p = 0, 1 of operands a, b in one
// register and c, d in another ([a | b], [c | d], groups in the complex
// elements of each half); it returns [y0 | y2] and [y1 | y3], outputs k of
// both groups, and the radix-2 pass Z[k] = y_k(0) + y_k(1),
// Z[k + 4] = y_k(0) - y_k(1) gives Z[0..3] and Z[4..7].
inline void complex8(Y ab, Y cd, Y& z0123, Y& z4567) {
    const Y s = _mm256_add_ps(ab, cd), d = _mm256_sub_ps(ab, cd);  // [a + c | b + d], [a - c | b - d]
    const Y negHigh = _mm256_setr_ps(0.0f, 0.0f, 0.0f, 0.0f, -0.0f, -0.0f, -0.0f, -0.0f);
    // [a + c + (b + d) | a + c - (b + d)]: output 0, and output 2 before
    // its twiddle.
    const Y y02 =
        _mm256_add_ps(_mm256_permute2f128_ps(s, s, 0x00), _mm256_xor_ps(_mm256_permute2f128_ps(s, s, 0x11), negHigh));
    // [a - c + jb | a - c + (-jb)], jb = (Im, -Re) of b - d: outputs 1 and 3.
    const Y jbs = _mm256_xor_ps(swapReIm(_mm256_permute2f128_ps(d, d, 0x11)),
                                _mm256_setr_ps(0.0f, -0.0f, 0.0f, -0.0f, -0.0f, 0.0f, -0.0f, 0.0f));
    const Y y13 = _mm256_add_ps(_mm256_permute2f128_ps(d, d, 0x00), jbs);
    // Twiddles W_8^{j p}: j = 1 and 3 on [y1 | y3], j = 2 on the upper half
    // of [y0 | y2] (output 0 takes none).
    const float w13[8] = {1.0f, -0.0f, kR, -kR, 1.0f, -0.0f, -kR, -kR};
    const float w22[8] = {1.0f, -0.0f, -0.0f, -1.0f, 1.0f, -0.0f, -0.0f, -1.0f};
    const Y t13 = cmul(y13, mulOf(w13));
    const Y t02 = _mm256_blend_ps(y02, cmul(y02, mulOf(w22)), 0xF0);
    const __m256d lo = _mm256_unpacklo_pd(_mm256_castps_pd(t02), _mm256_castps_pd(t13));  // group 0
    const __m256d hi = _mm256_unpackhi_pd(_mm256_castps_pd(t02), _mm256_castps_pd(t13));  // group 1
    z0123 = _mm256_add_ps(_mm256_castpd_ps(lo), _mm256_castpd_ps(hi));
    z4567 = _mm256_sub_ps(_mm256_castpd_ps(lo), _mm256_castpd_ps(hi));
}

constexpr float kBins1234[8] = {kS8, kC8, kR, kR, kC8, kS8, 1.0f, -0.0f};

template <bool kScale>
void forward16Wide(const float* src, float* dst, bool ccs, float scale) {
    const Y f = _mm256_set1_ps(scale);
    Y z0123, z4567;
    complex8(_mm256_loadu_ps(src), _mm256_loadu_ps(src + 8), z0123, z4567);
    // Bins 1..4 against 7..4.
    const Y b = permute<kReverse>(z4567);
    const Y a = _mm256_blend_ps(permute<0x39>(z0123), b, 0xC0);  // Z[1..3], Z[4]
    Y x1234, x7654;
    splitFwd<kScale>(a, b, fwdSplit4(kBins1234), f, x1234, x7654);
    const __m128 e = dcNyquist<kScale>(_mm256_castps256_ps128(z0123), _mm256_castps256_ps128(f));
    _mm256_storeu_ps(dst + 8, permute<kReverse>(x7654));  // X[4] is rewritten next
    _mm256_storeu_ps(dst + 2, x1234);
    if (ccs) {
        _mm_storel_pi(reinterpret_cast<__m64*>(dst), e);
        _mm_storeh_pi(reinterpret_cast<__m64*>(dst + 16), e);
    } else {
        _mm_storel_pi(reinterpret_cast<__m64*>(dst), _mm_shuffle_ps(e, e, 0x08));
    }
}

template <bool kScale>
void inverse16Wide(const float* src, float* dst, float scale) {
    const Y f = _mm256_set1_ps(scale);
    const Y a = _mm256_loadu_ps(src + 2), b = permute<kReverse>(_mm256_loadu_ps(src + 8));
    const __m128 z0 = twiceZ0Conj(src, src + 16);
    Y z1234, z765;
    splitInv(a, b, invSplit4(kBins1234), z1234, z765);
    const Y z4123 = permute<0x93>(z1234);
    const Y ab = withFirst(z4123, _mm256_castps128_ps256(z0));
    const Y cd = withFirst(permute<kReverse>(z765), z4123);
    Y y0123, y4567;
    complex8(ab, cd, y0123, y4567);
    if (kScale) {
        y0123 = _mm256_mul_ps(y0123, f);
        y4567 = _mm256_mul_ps(y4567, f);
    }
    _mm256_storeu_ps(dst, conj(y0123));
    _mm256_storeu_ps(dst + 8, conj(y4567));
}

template <bool kScale>
void forward32Wide(const float* src, float* dst, bool ccs, float scale) {
    const Y f = _mm256_set1_ps(scale);
    // First pass: operand k of the groups p = 0..3 is z[4 k + p].
    Y a = _mm256_loadu_ps(src), b = _mm256_loadu_ps(src + 8), c = _mm256_loadu_ps(src + 16),
      d = _mm256_loadu_ps(src + 24);
    Mul4 w[3];
    twiddles16x4(w);
    butterfly4(a, b, c, d, w);
    // Last pass: operand p of lane q is output q of group p.
    transpose4(a, b, c, d);
    butterfly4(a, b, c, d, nullptr);  // Z[4 k + q], k = 0..3
    // Bins 4..7 against 12..9, and 8, 1, 2, 3 against 8, 15, 14, 13.
    Y x4567, x1211109, x8123, x8151413;
    splitFwd<kScale>(b, withFirst(permute<kRotate>(c), d), fwdSplit4(kBins4567), f, x4567, x1211109);
    splitFwd<kScale>(withFirst(a, c), withFirst(permute<kRotate>(d), c), fwdSplit4(kBins8123), f, x8123, x8151413);
    const __m128 e = dcNyquist<kScale>(_mm256_castps256_ps128(a), _mm256_castps256_ps128(f));
    // X[8] X[1..3] then DC over X[8]; X[13..15], then Nyquist over X[8].
    _mm256_storeu_ps(dst, x8123);
    _mm256_storeu_ps(dst + 8, x4567);
    _mm_storel_pi(reinterpret_cast<__m64*>(dst + 16), _mm256_castps256_ps128(x8123));
    _mm256_storeu_ps(dst + 18, permute<kReverse>(x1211109));
    const Y x13 = permute<kReverse>(x8151413);
    if (ccs) {
        _mm_storel_pi(reinterpret_cast<__m64*>(dst), e);
        _mm256_storeu_ps(dst + 26, x13);
        _mm_storeh_pi(reinterpret_cast<__m64*>(dst + 32), e);
    } else {
        _mm_storel_pi(reinterpret_cast<__m64*>(dst), _mm_shuffle_ps(e, e, 0x08));
        _mm_storeu_ps(dst + 26, _mm256_castps256_ps128(x13));
        _mm_storel_pi(reinterpret_cast<__m64*>(dst + 30), _mm256_extractf128_ps(x13, 1));
    }
}

template <bool kScale>
void inverse32Wide(const float* src, float* dst, float scale) {
    const Y f = _mm256_set1_ps(scale);
    // X[8] in every element; the imaginary parts of DC and Nyquist, loaded
    // with their neighbours, are replaced before any arithmetic.
    const Y x8 = _mm256_castpd_ps(_mm256_broadcast_sd(reinterpret_cast<const double*>(src + 16)));
    const Y x4567 = _mm256_loadu_ps(src + 8), x9101112 = _mm256_loadu_ps(src + 18);
    const Y x8123 = withFirst(_mm256_loadu_ps(src), x8);
    const Y x8151413 = withFirst(permute<kReverse>(_mm256_loadu_ps(src + 26)), x8);
    const __m128 z0 = twiceZ0Conj(src, src + 32);
    Y z4567, z1211109, z8123, z8151413;
    splitInv(x4567, permute<kReverse>(x9101112), invSplit4(kBins4567), z4567, z1211109);
    splitInv(x8123, x8151413, invSplit4(kBins8123), z8123, z8151413);
    // First pass operands z[4 k + p], k = 0..3.
    Y a = withFirst(z8123, _mm256_castps128_ps256(z0)), b = z4567;
    Y c = withFirst(permute<kRotate>(z1211109), z8123);
    Y d = withFirst(permute<kRotate>(z8151413), z1211109);
    Mul4 w[3];
    twiddles16x4(w);
    butterfly4(a, b, c, d, w);
    transpose4(a, b, c, d);
    butterfly4(a, b, c, d, nullptr);
    const Y out[4] = {a, b, c, d};
    for (int k = 0; k < 4; ++k) {
        Y y = out[k];
        if (kScale) y = _mm256_mul_ps(y, f);
        _mm256_storeu_ps(dst + 8 * k, conj(y));
    }
}
#endif

}  // namespace codelet

int fftSmallForward_32f(const FftHeader32f* h, const Kel32f* src, Kel32f* dst, int ccs) {
    using namespace codelet;
    const bool scale = h->scaleFwd != 0, toCcs = ccs != 0;
    switch (h->order) {
        case 4:
#if defined(__AVX2__)
            scale ? forward16Wide<true>(src, dst, toCcs, h->scale) : forward16Wide<false>(src, dst, toCcs, h->scale);
#else
            scale ? forward16<true>(src, dst, toCcs, h->scale) : forward16<false>(src, dst, toCcs, h->scale);
#endif
            return 1;
        case 5:
#if defined(__AVX2__)
            scale ? forward32Wide<true>(src, dst, toCcs, h->scale) : forward32Wide<false>(src, dst, toCcs, h->scale);
#else
            scale ? forward32<true>(src, dst, toCcs, h->scale) : forward32<false>(src, dst, toCcs, h->scale);
#endif
            return 1;
        default: return 0;
    }
}

int fftSmallInverse_32f(const FftHeader32f* h, const Kel32f* src, Kel32f* dst) {
    using namespace codelet;
    const bool scale = h->scaleInv != 0;
    switch (h->order) {
        case 4:
#if defined(__AVX2__)
            scale ? inverse16Wide<true>(src, dst, h->scale) : inverse16Wide<false>(src, dst, h->scale);
#else
            scale ? inverse16<true>(src, dst, h->scale) : inverse16<false>(src, dst, h->scale);
#endif
            return 1;
        case 5:
#if defined(__AVX2__)
            scale ? inverse32Wide<true>(src, dst, h->scale) : inverse32Wide<false>(src, dst, h->scale);
#else
            scale ? inverse32<true>(src, dst, h->scale) : inverse32<false>(src, dst, h->scale);
#endif
            return 1;
        default: return 0;
    }
}

#else

// No SSE (i386 baseline): the general kernels run these sizes.
int fftSmallForward_32f(const FftHeader32f*, const Kel32f*, Kel32f*, int) { return 0; }
int fftSmallInverse_32f(const FftHeader32f*, const Kel32f*, Kel32f*) { return 0; }

#endif

}  // namespace KEL_VEC_NS
}  // namespace kel
