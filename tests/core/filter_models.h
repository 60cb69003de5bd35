// Plain models and data for the correlation and filter tests: every formula
// in exact 64-bit (or double) arithmetic, then the stated limiting, written
// without the library's operators.
#ifndef KELSC_TESTS_CORE_FILTER_MODELS_H
#define KELSC_TESTS_CORE_FILTER_MODELS_H

#include <gtest/gtest.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "kelsc.h"
#include "support/test_data.h"

namespace kelsc_test {

using V16 = std::vector<Kel16s>;
using V32 = std::vector<Kel32s>;

inline int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }
inline int16_t wrap16(int64_t v) { return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint64_t>(v))); }
inline int64_t clampTo(int64_t v, int64_t lo, int64_t hi) { return v < lo ? lo : (v > hi ? hi : v); }
inline int64_t sat16(int64_t v) { return clampTo(v, -32768, 32767); }
inline int64_t sat32(int64_t v) { return clampTo(v, INT32_MIN, INT32_MAX); }
// v * 2^n saturated to 32 bits, exactly (no 64-bit overflow for n <= 31).
inline int64_t shlSat32(int64_t v, int n) {
    if (v > (int64_t{INT32_MAX} >> n)) return INT32_MAX;
    if (v < (int64_t{INT32_MIN} >> n)) return INT32_MIN;
    return v * (int64_t{1} << n);
}
// Left shifts that bring r > 0 into 2^30..2^31-1 (0 for r = 0).
inline int normShift(int64_t r) {
    int n = 0;
    while (r > 0 && r < (int64_t{1} << 30)) r *= 2, ++n;
    return n;
}
// "Rounded to 16 bits": 2147450880 and above give 32767, else (v + 32768) >> 16.
inline int64_t round16(int64_t v) { return v >= 2147450880 ? 32767 : (v + 32768) >> 16; }

// Exact sum of x[i] * y[i] for i in [0, n).
inline int64_t dot(const Kel16s* x, const Kel16s* y, int64_t n) {
    int64_t s = 0;
    for (int64_t i = 0; i < n; ++i) s += int64_t{x[i]} * y[i];
    return s;
}

// Named input vectors: random, silent and full scale in several shapes.
struct Data {
    std::string name;
    V16 v;
};
inline std::vector<Data> dataSets(int n, uint64_t seed) {
    Rng rng(seed);
    V16 small(n), tiny(n), ties(n), alt(n), sparse(n, 0);
    for (auto& x : small) x = static_cast<Kel16s>(static_cast<int32_t>(rng.next() % 8192) - 4096);
    for (auto& x : tiny) x = static_cast<Kel16s>(static_cast<int32_t>(rng.next() % 7) - 3);
    // Products that land on rounding ties (odd multiples of 2^14 and 2^12).
    const Kel16s halves[7] = {16384, 1, -16384, 3, 8192, -1, 4096};
    for (int i = 0; i < n; ++i) ties[i] = halves[i % 7];
    for (int i = 0; i < n; ++i) alt[i] = i % 2 ? -32768 : 32767;
    for (int i = 0; i < n; i += 7) sparse[i] = rng.s16();
    return {{"random", rng.vec16(n)}, {"speechlike", small}, {"tiny", tiny},
            {"ties", ties},           {"silent", V16(n, 0)}, {"min", V16(n, -32768)},
            {"max", V16(n, 32767)},   {"alternating", alt},  {"sparse", sparse}};
}

// Lengths that reach every loop tail of the 8-, 16- and 32-lane kernels and
// the codecs' frame sizes.
inline const std::vector<int>& lengths() {
    static const std::vector<int> n = {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 32, 33, 40, 47, 64, 80, 143, 160, 240};
    return n;
}

// A vector with guard words before and after it: checks that a call writes
// exactly [0, n) and nothing around it.
template <typename T>
struct Guarded {
    static constexpr int kPad = 8;
    std::vector<T> buf;
    explicit Guarded(int n) : buf(n + 2 * kPad, static_cast<T>(0x5A5A)) {}
    T* p() { return buf.data() + kPad; }
    T operator[](int i) const { return buf[kPad + i]; }
    bool guardsIntact() const {
        for (int i = 0; i < kPad; ++i)
            if (buf[i] != static_cast<T>(0x5A5A) || buf[buf.size() - 1 - i] != static_cast<T>(0x5A5A)) return false;
        return true;
    }
};

// Golden rows of the G.729 reference routines (tests/vectors/g729_kernels).
inline std::vector<V16> goldenRows(const std::string& name, size_t width) {
    const std::vector<int16_t> w = readWords(goldenPath("g729_kernels/" + name));
    std::vector<V16> rows;
    for (size_t i = 0; i + width <= w.size(); i += width) rows.emplace_back(w.begin() + i, w.begin() + i + width);
    return rows;
}

}  // namespace kelsc_test

#endif  // KELSC_TESTS_CORE_FILTER_MODELS_H
