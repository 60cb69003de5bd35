// Readers for the G.729 golden vectors (tests/vectors/g729, made by the
// ITU-T reference routines; the layout of each file is given where it is
// read) and small helpers of the G.729 tests.
#ifndef KELSC_TESTS_G729_G729_GOLDEN_H
#define KELSC_TESTS_G729_G729_GOLDEN_H

#include <gtest/gtest.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "kelsc.h"
#include "support/test_data.h"

namespace kelsc_test {

using V16 = std::vector<Kel16s>;

// Rows of width little-endian words of tests/vectors/g729/<name>.
inline std::vector<V16> g729Rows(const std::string& name, size_t width) {
    const std::vector<int16_t> w = readWords(goldenPath("g729/" + name));
    EXPECT_EQ(w.size() % width, 0u) << name;
    std::vector<V16> rows;
    for (size_t i = 0; i + width <= w.size(); i += width) rows.emplace_back(w.begin() + i, w.begin() + i + width);
    EXPECT_FALSE(rows.empty()) << "golden file g729/" << name << " missing";
    return rows;
}

// Consecutive fields of a golden row.
class Fields {
public:
    explicit Fields(const V16& row) : row_(row) {}
    V16 take(size_t n) {
        V16 v(row_.begin() + at_, row_.begin() + at_ + n);
        at_ += n;
        return v;
    }
    Kel16s one() { return row_[at_++]; }
    // A 32-bit value stored as its low word, then its high word.
    Kel32s word32() {
        const uint32_t lo = static_cast<uint16_t>(row_[at_]), hi = static_cast<uint16_t>(row_[at_ + 1]);
        at_ += 2;
        return static_cast<Kel32s>(lo | hi << 16);
    }
    size_t position() const { return at_; }

private:
    const V16& row_;
    size_t at_ = 0;
};

// The reference's double-precision pair (hi, lo) as one 32-bit word
// (L_Comp: hi << 16 + lo << 1).
inline Kel32s fromHiLo(Kel16s hi, Kel16s lo) {
    return static_cast<Kel32s>(static_cast<uint32_t>(int32_t{hi}) << 16) + 2 * int32_t{lo};
}

// The reference's stability warnings (bit 0 low, bit 1 high) as a status.
inline KelStatus clampStatus(int bits) {
    static const KelStatus s[4] = {kelStatusOk, kelStatusLsfLowClamped, kelStatusLsfHighClamped,
                                   kelStatusLsfBothClamped};
    return s[bits & 3];
}

// The G.729 reset value of each frame of the MA predictor memory.
inline V16 resetMemory() {
    const Kel16s frame[10] = {2339, 4679, 7018, 9358, 11698, 14037, 16377, 18717, 21056, 23396};
    V16 m;
    for (int k = 0; k < 4; ++k) m.insert(m.end(), frame, frame + 10);
    return m;
}

}  // namespace kelsc_test

#endif  // KELSC_TESTS_G729_G729_GOLDEN_H
