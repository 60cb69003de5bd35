// Hot vector kernels, written once and compiled once per instruction set.
//
// This header is included by one translation unit per target (baseline,
// AVX2, AVX-512); each defines KEL_VEC_NS first, so the same loops are built
// for every target and the dispatcher picks one per process (dispatch.h).
// The loops are written so that the compiler vectorises them; a few use the
// vocabulary of simd.h where the compiler does not find the instruction
// (saturating 16-bit arithmetic, rounded products, pairwise multiply-add).
// Every variant gives the same results bit for bit.
//
// Kernels take valid arguments only (len >= 1, pointers valid, counts and
// scale factors inside the limits stated for each).
#ifndef KEL_VEC_NS
#error "define KEL_VEC_NS before including vec_kernels.h"
#endif

#include <string.h>

#include "basop.h"
#include "scale.h"
#include "simd.h"
#include "vec_kernels_decl.h"
#include "vec_madd_kernels.h"

namespace kel {
namespace KEL_VEC_NS {

void add_16s(const Kel16s* a, const Kel16s* b, Kel16s* d, int n) {
    stream(
        d, n, [=](int i) { d[i] = add(a[i], b[i]); }, KEL_VECTOR(adds16(load(a + i), load(b + i))));
}

// d = b - a (second minus first).
void sub_16s(const Kel16s* a, const Kel16s* b, Kel16s* d, int n) {
    stream(
        d, n, [=](int i) { d[i] = sub(b[i], a[i]); }, KEL_VECTOR(subs16(load(b + i), load(a + i))));
}

void abs_16s(const Kel16s* s, Kel16s* d, int n) {
    stream(
        d, n, [=](int i) { d[i] = abs_s(s[i]); }, KEL_VECTOR(absSat16(load(s + i))));
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

#if defined(KEL_SIMD)
// (x * y + rnd) >> sf saturated, sf 0..30: 32-bit products from the low and
// high halves, shifted, then packed back with saturation.
inline VecI mulRound16(VecI x, VecI y, VecI rnd, __m128i sh) {
    const VecI lo = mullo16(x, y), hi = mulhi16(x, y);
    const VecI p0 = sra32(add32(unpacklo16(lo, hi), rnd), sh);
    const VecI p1 = sra32(add32(unpackhi16(lo, hi), rnd), sh);
    return packs32(p0, p1);
}
#endif

// (x * y + rnd) >> sf saturated to 16 bits, 0 <= sf. Up to sf = 30 the
// rounded product fits 32 bits; beyond that the 64-bit form is used. The
// vector form takes sf 0..30; at sf 15 it is the rounded Q15 product, whose
// one wrapping case (-32768 * -32768) is flipped to 32767.
template <typename Second>
inline void mulRoundKernel(const Kel16s* a, Second second, Kel16s* d, int n, int sf) {
    const int sh = sf > 62 ? 62 : sf;
    const int64_t rnd64 = sh > 0 ? int64_t{1} << (sh - 1) : 0;
    const auto scalar = [=](int i) { d[i] = sat16((int64_t{a[i]} * second.at(i) + rnd64) >> sh); };
#if defined(KEL_SIMD)
    if (sf <= 30) {
#if defined(__SSSE3__)
        if (sf == 15) {
            stream(d, n, scalar,
                   [=](int i, auto load) { return unwrapMin16(mulhrs16(load(a + i), second.vec(i, load))); });
            return;
        }
#endif
        const VecI rnd = set32(static_cast<int32_t>(rnd64));
        const __m128i count = _mm_cvtsi32_si128(sf);
        stream(d, n, scalar,
               [=](int i, auto load) { return mulRound16(load(a + i), second.vec(i, load), rnd, count); });
        return;
    }
#endif
    for (int i = 0; i < n; ++i) scalar(i);
}

// The second operand of a product: a vector, or a constant.
struct VectorOperand {
    const Kel16s* p;
    Kel16s at(int i) const { return p[i]; }
#if defined(KEL_SIMD)
    template <typename Load>
    VecI vec(int i, Load load) const {
        return load(p + i);
    }
#endif
};
struct ConstantOperand {
    Kel16s v;
#if defined(KEL_SIMD)
    VecI broadcast;
    template <typename Load>
    VecI vec(int, Load) const {
        return broadcast;
    }
#endif
    Kel16s at(int) const { return v; }
};

void mulNR_16s(const Kel16s* a, const Kel16s* b, Kel16s* d, int n, int sf) {
    mulRoundKernel(a, VectorOperand{b}, d, n, sf);
}

void mulCNR_16s(const Kel16s* a, Kel16s v, Kel16s* d, int n, int sf) {
#if defined(KEL_SIMD)
    mulRoundKernel(a, ConstantOperand{v, set16(v)}, d, n, sf);
#else
    mulRoundKernel(a, ConstantOperand{v}, d, n, sf);
#endif
}

// 32-bit products scaled, -30 <= sf <= 30. For sf > 0 the products are
// rounded to nearest, ties to even; |p| <= 2^30, so the sum p + half + odd
// bit stays inside 32 bits.
void mul_16s32s(const Kel16s* a, const Kel16s* b, Kel32s* d, int n, int sf) {
    if (sf < 0) {
        for (int i = 0; i < n; ++i) d[i] = shlSatTo<Kel32s>(int32_t{a[i]} * b[i], -sf);
        return;
    }
    if (sf == 0) {
        stream(
            d, n, [=](int i) { d[i] = int32_t{a[i]} * b[i]; }, KEL_VECTOR(mulWide16(load(a + i), load(b + i))));
        return;
    }
    const int32_t half = (int32_t{1} << (sf - 1)) - 1;
    const auto scalar = [=](int i) {
        const int32_t p = int32_t{a[i]} * b[i];
        d[i] = (p + half + ((p >> sf) & 1)) >> sf;
    };
#if defined(KEL_SIMD)
    const VecI halfV = set32(half), one = set32(1);
    const __m128i count = _mm_cvtsi32_si128(sf);
    const auto round = [=](VecI p) { return sra32(add32(add32(p, halfV), and16(sra32(p, count), one)), count); };
    stream(d, n, scalar, [=](int i, auto load) {
        const VecI2 p = mulWide16(load(a + i), load(b + i));
        return VecI2{round(p.lo), round(p.hi)};
    });
#else
    stream(d, n, scalar, nullptr);
#endif
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
#if defined(KEL_SIMD)
    const Count16 count = count16(sh);
#endif
    stream(
        d, n, [=](int i) { d[i] = static_cast<Kel16u>(s[i] << sh); }, KEL_VECTOR(sll16(load(s + i), count)));
}

// Arithmetic right shift, 0 <= sh <= 15.
void rshift_16s(const Kel16s* s, int sh, Kel16s* d, int n) {
#if defined(KEL_SIMD)
    const Count16 count = count16(sh);
#endif
    stream(
        d, n, [=](int i) { d[i] = static_cast<Kel16s>(s[i] >> sh); }, KEL_VECTOR(sra16(load(s + i), count)));
}

// Logical left shift of 32-bit patterns, 0 <= sh <= 31.
void lshift_32s(const Kel32s* s, int sh, Kel32s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<Kel32s>(static_cast<uint32_t>(s[i]) << sh);
}

// Arithmetic right shift, 0 <= sh <= 31.
void rshift_32s(const Kel32s* s, int sh, Kel32s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = s[i] >> sh;
}

// Index of the first element equal to v, which must be present.
int findFirst_16s(const Kel16s* s, int n, Kel16s v) {
    int i = 0;
#if defined(KEL_SIMD)
    const VecI key = set16(v);
    for (; i + kLanes16 <= n; i += kLanes16) {
        const uint64_t m = eqMask16(vload(s + i), key);
        if (m != 0) return i + __builtin_ctzll(m) / kMaskBitsPerLane16;
    }
#else
    (void)n;
#endif
    while (s[i] != v) ++i;
    return i;
}

int64_t sum_32s(const Kel32s* s, int n) {
    int64_t total = 0;
    for (int i = 0; i < n; ++i) total += s[i];
    return total;
}

// Largest (kMin false) or smallest element. Four vector accumulators, so
// that the compares of consecutive vectors do not wait on each other. The
// last whole vector is read overlapping the one before (an element seen
// twice changes nothing); with AVX-512 a vector shorter than one register is
// one masked read whose other lanes read as the identity.
template <bool kMin>
Kel16s extreme_16s(const Kel16s* s, int n) {
#if defined(KEL_SIMD)
    const auto pick = [](VecI a, VecI b) { return kMin ? min16(a, b) : max16(a, b); };
    if (n >= kLanes16) {
        VecI a0 = vload(s), a1 = a0, a2 = a0, a3 = a0;
        int i = kLanes16;
        for (; i + 4 * kLanes16 <= n; i += 4 * kLanes16) {
            a0 = pick(a0, vload(s + i));
            a1 = pick(a1, vload(s + i + kLanes16));
            a2 = pick(a2, vload(s + i + 2 * kLanes16));
            a3 = pick(a3, vload(s + i + 3 * kLanes16));
        }
        for (; i + kLanes16 <= n; i += kLanes16) a0 = pick(a0, vload(s + i));
        if (i < n) a1 = pick(a1, vload(s + n - kLanes16));
        return hextreme16<kMin>(pick(pick(a0, a1), pick(a2, a3)));
    }
#if defined(KEL_MASKED_EDGES)
    const VecI identity = set16(kMin ? kMax16 : kMin16);
    return hextreme16<kMin>(_mm512_mask_loadu_epi16(identity, (__mmask32{1} << n) - 1, s));
#endif
#endif
    Kel16s m = s[0];
    for (int i = 1; i < n; ++i) m = (kMin ? s[i] < m : s[i] > m) ? s[i] : m;
    return m;
}

Kel16s max_16s(const Kel16s* s, int n) { return extreme_16s<false>(s, n); }
Kel16s min_16s(const Kel16s* s, int n) { return extreme_16s<true>(s, n); }

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
    stream(
        d, n, [=](int i) { d[i] = s[i]; }, KEL_VECTOR(load.widen(s + i)));
}

void conv_16s32f(const Kel16s* s, Kel32f* d, int n) {
    stream(
        d, n, [=](int i) { d[i] = static_cast<Kel32f>(s[i]); }, KEL_VECTOR(toFloatBits32(load.widen(s + i))));
}

void conv_32s32f(const Kel32s* s, Kel32f* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<Kel32f>(s[i]);
}

void set_16s(Kel16s v, Kel16s* d, int n) {
#if defined(KEL_SIMD)
    const VecI value = set16(v);
    stream(
        d, n, [=](int i) { d[i] = v; }, [=](int, auto) { return value; });
#else
    for (int i = 0; i < n; ++i) d[i] = v;
#endif
}

void set_32s(Kel32s v, Kel32s* d, int n) {
#if defined(KEL_SIMD)
    const VecI value = set32(v);
    stream(
        d, n, [=](int i) { d[i] = v; }, [=](int, auto) { return value; });
#else
    for (int i = 0; i < n; ++i) d[i] = v;
#endif
}

}  // namespace KEL_VEC_NS
}  // namespace kel
