// G.729 annex D 11-bit search against the reference's D2i40_11 (with
// Cor_h_D in its 6.4 kbit/s form), golden data in
// tests/vectors/g729/fixed_codebook/annex_d.bin.
#include <gtest/gtest.h>

#include <vector>

#include "g729/g729_golden.h"
#include "kelsc.h"
#include "support/test_data.h"

namespace {

using namespace kelsc_test;

// annex_d.bin (162 words a row): Dn[40], h[40], code[40], y[40], sign word,
// position index. Rows of the annex D encoder at 6.4 kbit/s and switching
// between 6.4 and 8 kbit/s over the annex's test file, 24 stress rows
// (saturating, tiny and impulse responses; extreme and constant Dn) and
// rows where both pulses fall on the same position.
TEST(FixedCodebookDGolden, MatchesReference) {
    const auto rows = g729Rows("fixed_codebook/annex_d.bin", 162);
    int same = 0;
    for (size_t n = 0; n < rows.size(); ++n) {
        Fields f(rows[n]);
        const V16 dn = f.take(40), h = f.take(40), code = f.take(40), y = f.take(40);
        const Kel16s sign = f.one(), index = f.one();
        int64_t energy = 0;
        for (Kel16s v : h) energy += int32_t{v} * v;
        if ((energy >> 15) == 0) continue;  // the reference normalises what we zero
        V16 c(40, 1), fy(40, 1);
        Kel16s s = -1, i = -1;
        ASSERT_EQ(kelsFixedCodebookSearch_G729D_16s(dn.data(), h.data(), c.data(), fy.data(), &s, &i), kelStatusOk);
        EXPECT_EQ(c, code) << "row " << n;
        EXPECT_EQ(fy, y) << "row " << n;
        EXPECT_EQ(s, sign) << "row " << n;
        EXPECT_EQ(i, index) << "row " << n;
        int pulses = 0;
        for (Kel16s v : code) pulses += v != 0;
        same += pulses == 1;
    }
    EXPECT_GE(rows.size(), 80u);
    EXPECT_GE(same, 2);
}

// A zero response: every pair has energy 0, so the first pair with a
// non-zero correlation (outer position 0, inner 16) wins and no later one is
// strictly better, however large its |Dn|; y stays zero.
TEST(FixedCodebookDRules, ZeroResponse) {
    V16 dn(40, 0), h(40, 0), c(40), y(40);
    dn[16] = -3000;  // 5m + 1: first pulse, table index 6, negative
    dn[20] = 2000;   // 5m: second pulse, table index 12, positive
    Kel16s s, i;
    ASSERT_EQ(kelsFixedCodebookSearch_G729D_16s(dn.data(), h.data(), c.data(), y.data(), &s, &i), kelStatusOk);
    V16 want(40, 0);
    want[16] = -8192;  // first pulse, table index 6
    want[0] = 8191;    // second pulse (Dn 0 counts as positive), table index 0
    EXPECT_EQ(c, want);
    EXPECT_EQ(y, V16(40, 0));
    EXPECT_EQ(s, 2);
    EXPECT_EQ(i, 5 + (0 << 4)) << "Gray codes of 6 and 0";
}

}  // namespace

namespace {

using namespace kelsc_test;

// Arbitrary Dn and responses (random, extreme, zero) in heap arrays of
// exactly the stated sizes (checked under the address sanitizer): two
// pulses on the annex's tracks and index words within their widths.
TEST(FixedCodebookDRobustness, ArbitraryInputs) {
    Rng rng(64);
    for (int t = 0; t < 300; ++t) {
        auto value = [&](int kind) -> Kel16s {
            switch (kind % 4) {
                case 0: return static_cast<Kel16s>(rng.next());
                case 1: return (rng.next() & 1) ? -32768 : 32767;
                case 2: return 0;
                default: return static_cast<Kel16s>(static_cast<Kel16s>(rng.next()) >> 8);
            }
        };
        std::vector<Kel16s> dn(40), h(40), code(40), y(40), sign(1), index(1);
        for (int i = 0; i < 40; ++i) {
            dn[i] = value(t);
            h[i] = value(t / 4);
        }
        ASSERT_EQ(
            kelsFixedCodebookSearch_G729D_16s(dn.data(), h.data(), code.data(), y.data(), sign.data(), index.data()),
            kelStatusOk);
        int pulses = 0;
        for (int i = 0; i < 40; ++i) {
            if (code[i] == 0) continue;
            ++pulses;
            EXPECT_TRUE(code[i] == 8191 || code[i] == -8192 || code[i] == 16382 || code[i] == -16384 || code[i] == -1)
                << code[i];
        }
        EXPECT_TRUE(pulses == 1 || pulses == 2) << t;
        EXPECT_TRUE(sign[0] >= 0 && sign[0] <= 3);
        EXPECT_TRUE(index[0] >= 0 && index[0] < 512) << index[0];
    }
}

}  // namespace
