// Fixed-point basic operators with the results of the ITU-T basic operator
// set (STL basop32) and the 32-bit helpers of the G.729 reference
// (oper_32b: L_Extract, L_Comp, Mpy_32, Mpy_32_16, Div_32; dspfunc: Log2,
// Pow2, Inv_sqrt). Every codec of the library computes with these.
//
// Unlike the reference, nothing here touches a global Overflow or Carry flag:
// kernels that must know about saturation test for it explicitly.
#ifndef KELSC_CORE_BASOP_H
#define KELSC_CORE_BASOP_H

#include <stdint.h>

#include "kelsc.h"

namespace kel {

constexpr Kel16s kMax16 = 32767;
constexpr Kel16s kMin16 = -32768;
constexpr Kel32s kMax32 = 2147483647;
constexpr Kel32s kMin32 = -2147483647 - 1;

// ---------------------------------------------------------------------------
// Saturation
// ---------------------------------------------------------------------------

constexpr inline Kel16s sat16(int64_t x) {
    return static_cast<Kel16s>(x > kMax16 ? kMax16 : (x < kMin16 ? kMin16 : x));
}

constexpr inline Kel32s sat32(int64_t x) {
    return static_cast<Kel32s>(x > kMax32 ? kMax32 : (x < kMin32 ? kMin32 : x));
}

// Two's-complement wrap without undefined behaviour.
constexpr inline Kel32s wrap32(int64_t x) { return static_cast<Kel32s>(static_cast<uint32_t>(x)); }

// Leading-zero count of a non-zero 32-bit pattern.
constexpr inline int clz32(uint32_t x) { return __builtin_clz(x); }

// ---------------------------------------------------------------------------
// 16-bit operators
// ---------------------------------------------------------------------------

constexpr inline Kel16s add(Kel16s a, Kel16s b) { return sat16(int32_t{a} + b); }
constexpr inline Kel16s Add_16s(Kel16s a, Kel16s b) { return add(a, b); }
constexpr inline Kel16s sub(Kel16s a, Kel16s b) { return sat16(int32_t{a} - b); }
constexpr inline Kel16s abs_s(Kel16s a) { return a == kMin16 ? kMax16 : static_cast<Kel16s>(a < 0 ? -a : a); }
constexpr inline Kel16s negate(Kel16s a) { return a == kMin16 ? kMax16 : static_cast<Kel16s>(-a); }

// Q15 product: (a * b) >> 15, saturated (only -32768 * -32768 saturates).
constexpr inline Kel16s mult(Kel16s a, Kel16s b) { return sat16((int32_t{a} * b) >> 15); }

// Q15 product rounded: (a * b + 2^14) >> 15, saturated.
constexpr inline Kel16s mult_r(Kel16s a, Kel16s b) { return sat16((int32_t{a} * b + 16384) >> 15); }

constexpr inline Kel16s extract_h(Kel32s x) { return static_cast<Kel16s>(x >> 16); }
constexpr inline Kel16s extract_l(Kel32s x) { return static_cast<Kel16s>(x); }

// Shifts take the count as a signed 16-bit value, as the reference does.
constexpr inline Kel16s shl(Kel16s x, Kel16s n);

constexpr inline Kel16s shr(Kel16s x, Kel16s n) {
    if (n < 0) return shl(x, static_cast<Kel16s>(n < -16 ? 16 : -n));
    if (n >= 15) return static_cast<Kel16s>(x < 0 ? -1 : 0);
    return static_cast<Kel16s>(x >> n);
}

constexpr inline Kel16s shl(Kel16s x, Kel16s n) {
    if (n < 0) return shr(x, static_cast<Kel16s>(n < -16 ? 16 : -n));
    if (x == 0) return 0;
    if (n > 15) return x > 0 ? kMax16 : kMin16;
    const int32_t r = static_cast<int32_t>(static_cast<uint32_t>(int32_t{x}) << n);
    if (r != static_cast<Kel16s>(r)) return x > 0 ? kMax16 : kMin16;
    return static_cast<Kel16s>(r);
}

// Number of left shifts that normalise a 16-bit value (0 for 0, 15 for -1).
constexpr inline Kel16s norm_s(Kel16s x) {
    if (x == 0) return 0;
    if (x == -1) return 15;
    const uint32_t v = static_cast<uint16_t>(x < 0 ? ~x : x);
    return static_cast<Kel16s>(clz32(v) - 17);
}

// Q15 division of 0 <= num <= den, den > 0. Out-of-domain operands (the
// reference aborts) give 0 for num <= 0 and 32767 for num >= den.
constexpr inline Kel16s div_s(Kel16s num, Kel16s den) {
    if (num <= 0 || den <= 0) return 0;
    if (num >= den) return kMax16;
    int32_t n = num;
    const int32_t d = den;
    int32_t q = 0;
    for (int i = 0; i < 15; ++i) {
        q <<= 1;
        n <<= 1;
        if (n >= d) {
            n -= d;
            q += 1;
        }
    }
    return static_cast<Kel16s>(q);
}

// ---------------------------------------------------------------------------
// 32-bit operators
// ---------------------------------------------------------------------------

constexpr inline Kel32s L_add(Kel32s a, Kel32s b) { return sat32(int64_t{a} + b); }
constexpr inline Kel32s L_sub(Kel32s a, Kel32s b) { return sat32(int64_t{a} - b); }
constexpr inline Kel32s L_abs(Kel32s a) { return a == kMin32 ? kMax32 : (a < 0 ? -a : a); }
constexpr inline Kel32s L_negate(Kel32s a) { return a == kMin32 ? kMax32 : -a; }

// Doubled product: 2 * a * b, with -32768 * -32768 giving 2147483647.
constexpr inline Kel32s L_mult(Kel16s a, Kel16s b) {
    const int32_t p = int32_t{a} * b;
    return p == 0x40000000 ? kMax32 : p * 2;
}

constexpr inline Kel32s L_mac(Kel32s acc, Kel16s a, Kel16s b) { return L_add(acc, L_mult(a, b)); }
constexpr inline Kel32s L_msu(Kel32s acc, Kel16s a, Kel16s b) { return L_sub(acc, L_mult(a, b)); }

constexpr inline Kel32s L_deposit_h(Kel16s x) { return static_cast<Kel32s>(static_cast<uint32_t>(int32_t{x}) << 16); }
constexpr inline Kel32s L_deposit_l(Kel16s x) { return x; }

// Rounds a Q31 value to Q15: extract_h(L_add(x, 0x8000)).
constexpr inline Kel16s round_fx(Kel32s x) { return extract_h(L_add(x, 0x8000)); }

// Saturating left shift by n >= 0 (any count): the doubling rule of L_shl.
constexpr inline Kel32s L_shlSat(Kel32s x, int n) {
    if (x == 0) return 0;
    if (n >= 31) return x > 0 ? kMax32 : kMin32;
    if (x > (kMax32 >> n)) return kMax32;
    if (x < (kMin32 >> n)) return kMin32;
    return static_cast<Kel32s>(static_cast<uint32_t>(x) << n);
}

// Arithmetic right shift by n >= 0 (any count).
constexpr inline Kel32s L_shrArith(Kel32s x, int n) { return n >= 31 ? (x < 0 ? -1 : 0) : (x >> n); }

constexpr inline Kel32s L_shl(Kel32s x, Kel16s n) { return n > 0 ? L_shlSat(x, n) : L_shrArith(x, -int{n}); }
constexpr inline Kel32s L_shr(Kel32s x, Kel16s n) { return n >= 0 ? L_shrArith(x, n) : L_shlSat(x, -int{n}); }

// Right shift with rounding (halves up); counts above 31 give 0.
constexpr inline Kel32s L_shr_r(Kel32s x, Kel16s n) {
    if (n > 31) return 0;
    Kel32s r = L_shr(x, n);
    if (n > 0 && ((x >> (n - 1)) & 1)) r += 1;
    return r;
}

// Number of left shifts that normalise a 32-bit value (0 for 0, 31 for -1).
constexpr inline Kel16s norm_l(Kel32s x) {
    if (x == 0) return 0;
    if (x == -1) return 31;
    const uint32_t v = static_cast<uint32_t>(x < 0 ? ~x : x);
    return static_cast<Kel16s>(clz32(v) - 1);
}

// Normalises x in place and returns the shift used (the library's
// Norm_32s_I: x = 0 stays 0 and returns 0, x = -1 becomes -2^31 and
// returns 31).
constexpr inline int Norm_32s_I(Kel32s* x) {
    const int n = norm_l(*x);
    *x = static_cast<Kel32s>(static_cast<uint32_t>(*x) << n);
    return n;
}

// ---------------------------------------------------------------------------
// Double-precision (hi, lo) helpers of the G.729 reference (oper_32b)
// ---------------------------------------------------------------------------

// Splits x into hi = x >> 16 and lo = (x - hi * 2^16) >> 1 (Q15 residue).
constexpr inline void L_Extract(Kel32s x, Kel16s* hi, Kel16s* lo) {
    *hi = extract_h(x);
    *lo = extract_l(L_msu(L_shr(x, 1), *hi, 16384));
}

constexpr inline Kel32s L_Comp(Kel16s hi, Kel16s lo) { return L_mac(L_deposit_h(hi), lo, 1); }

// 32 x 32 fractional product of two (hi, lo) pairs.
constexpr inline Kel32s Mpy_32(Kel16s hi1, Kel16s lo1, Kel16s hi2, Kel16s lo2) {
    Kel32s r = L_mult(hi1, hi2);
    r = L_mac(r, mult(hi1, lo2), 1);
    return L_mac(r, mult(lo1, hi2), 1);
}

// 32 x 16 fractional product of a (hi, lo) pair with n.
constexpr inline Kel32s Mpy_32_16(Kel16s hi, Kel16s lo, Kel16s n) { return L_mac(L_mult(hi, n), mult(lo, n), 1); }

// num / denom in Q31 for 0 <= num < denom, denom normalised (>= 2^30) and
// given as a (hi, lo) pair. Newton step on 1/denom, then one product.
constexpr inline Kel32s Div_32(Kel32s num, Kel16s denomHi, Kel16s denomLo) {
    const Kel16s approx = div_s(0x3fff, denomHi);  // 1/denom in Q14 as a first guess
    Kel32s t = L_sub(kMax32, Mpy_32_16(denomHi, denomLo, approx));
    Kel16s hi = 0, lo = 0;
    L_Extract(t, &hi, &lo);
    t = Mpy_32_16(hi, lo, approx);  // 1/denom in Q30
    L_Extract(t, &hi, &lo);
    Kel16s nHi = 0, nLo = 0;
    L_Extract(num, &nHi, &nLo);
    return L_shl(Mpy_32(nHi, nLo, hi, lo), 2);
}

// ---------------------------------------------------------------------------
// G.729 math helpers (dspfunc): table interpolation on 32 or 48 segments.
// ---------------------------------------------------------------------------

extern const Kel16s kTabPow[33];  // 2^x, x in 0..1, Q14 (G.729 tabpow)
extern const Kel16s kTabLog[33];  // log2(x), x in 1..2, Q15 (G.729 tablog)
extern const Kel16s kTabSqr[49];  // 1/sqrt(x), x in 0.25..1, Q15 (G.729 tabsqr)

// 2^(exponent.fraction): exponent 0..30 (Q0), fraction Q15; result Q0.
inline Kel32s Pow2(Kel16s exponent, Kel16s fraction) {
    Kel32s x = L_mult(fraction, 32);
    const Kel16s i = extract_h(x);  // bits 10..15 of the fraction
    x = L_shr(x, 1);
    const Kel16s a = static_cast<Kel16s>(extract_l(x) & 0x7fff);
    x = L_deposit_h(kTabPow[i]);
    x = L_msu(x, sub(kTabPow[i], kTabPow[i + 1]), a);
    return L_shr_r(x, sub(30, exponent));
}

// log2(x) for x > 0 as an integer part (0..30) and a Q15 fraction;
// x <= 0 gives 0 and 0.
inline void Log2(Kel32s x, Kel16s* exponent, Kel16s* fraction) {
    if (x <= 0) {
        *exponent = 0;
        *fraction = 0;
        return;
    }
    const Kel16s n = norm_l(x);
    x = L_shl(x, n);
    *exponent = sub(30, n);
    x = L_shr(x, 9);
    const Kel16s i = static_cast<Kel16s>(extract_h(x) - 32);  // bits 25..30
    x = L_shr(x, 1);
    const Kel16s a = static_cast<Kel16s>(extract_l(x) & 0x7fff);
    Kel32s y = L_deposit_h(kTabLog[i]);
    y = L_msu(y, sub(kTabLog[i], kTabLog[i + 1]), a);
    *fraction = extract_h(y);
}

// 1/sqrt(x) in Q30 for x > 0 (Q0); x <= 0 gives 0x3fffffff.
inline Kel32s Inv_sqrt(Kel32s x) {
    if (x <= 0) return 0x3fffffff;
    const Kel16s n = norm_l(x);
    x = L_shl(x, n);
    Kel16s e = sub(30, n);
    if ((e & 1) == 0) x = L_shr(x, 1);
    e = add(shr(e, 1), 1);
    x = L_shr(x, 9);
    const Kel16s i = static_cast<Kel16s>(extract_h(x) - 16);  // bits 25..30
    x = L_shr(x, 1);
    const Kel16s a = static_cast<Kel16s>(extract_l(x) & 0x7fff);
    Kel32s y = L_deposit_h(kTabSqr[i]);
    y = L_msu(y, sub(kTabSqr[i], kTabSqr[i + 1]), a);
    return L_shr(y, e);
}

}  // namespace kel

#endif  // KELSC_CORE_BASOP_H
