// The scale-factor rule of the "_Sfs" functions, written once.
//
// An exact result r (a 16 x 16 product in 32 bits, or a sum or dot product
// in 64 bits) is stored as r * 2^-sf saturated to the destination type:
//  - sf > 0: rounded to nearest, ties to even:
//        (r + 2^(sf-1) - 1 + bit sf of r) >> sf
//  - sf < 0: shifted left by -sf with saturation: a value above
//    max >> -sf (below min >> -sf) saturates;
//  - sf = 0: saturated only.
// Each function has its own limits: above its zero limit it writes zeros,
// beyond its saturation limit only the sign of r survives. The helpers here
// assume the caller has applied those limits (shifts below 64, left shifts
// below the destination's width).
#ifndef KELSC_CORE_SCALE_H
#define KELSC_CORE_SCALE_H

#include <stdint.h>

#include "basop.h"

namespace kel {

// Ties-to-even right shift, 1 <= sf <= 63, |r| <= 2^62.
constexpr inline int64_t shrRoundEven(int64_t r, int sf) {
    return (r + ((int64_t{1} << (sf - 1)) - 1) + ((r >> sf) & 1)) >> sf;
}

// Saturation to a destination element type.
template <typename T>
constexpr T satTo(int64_t r);
template <>
constexpr Kel16s satTo<Kel16s>(int64_t r) {
    return sat16(r);
}
template <>
constexpr Kel32s satTo<Kel32s>(int64_t r) {
    return sat32(r);
}

template <typename T>
constexpr int64_t maxOf() {
    return sizeof(T) == 2 ? kMax16 : kMax32;
}
template <typename T>
constexpr int64_t minOf() {
    return sizeof(T) == 2 ? kMin16 : kMin32;
}

// Saturating left shift, 1 <= n < bit width of T.
template <typename T>
constexpr T shlSatTo(int64_t r, int n) {
    if (r > (maxOf<T>() >> n)) return static_cast<T>(maxOf<T>());
    if (r < (minOf<T>() >> n)) return static_cast<T>(minOf<T>());
    return static_cast<T>(r * (int64_t{1} << n));
}

// Only the sign survives: the fate of every non-zero r beyond the
// saturation limit.
template <typename T>
constexpr T signSatTo(int64_t r) {
    return static_cast<T>(r > 0 ? maxOf<T>() : (r < 0 ? minOf<T>() : 0));
}

// How a whole vector is scaled once sf is compared with a function's limits.
enum class ScaleMode { Zero, Down, Plain, Up, Sign };

constexpr inline ScaleMode scaleMode(int sf, int zeroLimit, int satLimit) {
    if (sf > zeroLimit) return ScaleMode::Zero;
    if (sf > 0) return ScaleMode::Down;
    if (sf == 0) return ScaleMode::Plain;
    return sf < -satLimit ? ScaleMode::Sign : ScaleMode::Up;
}

// Scales one exact result by the rule, for an sf inside the limits (or
// clamped into them by the caller).
template <typename T>
constexpr T scaleTo(int64_t r, int sf, int satLimit) {
    if (sf > 0) return satTo<T>(shrRoundEven(r, sf));
    if (sf == 0) return satTo<T>(r);
    return sf < -satLimit ? signSatTo<T>(r) : shlSatTo<T>(r, -sf);
}

// Scale factors of the 64-bit reductions are clamped rather than limited.
constexpr inline int clampScale(int sf, int lo, int hi) { return sf < lo ? lo : (sf > hi ? hi : sf); }

}  // namespace kel

#endif  // KELSC_CORE_SCALE_H
