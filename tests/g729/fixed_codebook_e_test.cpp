// G.729 annex E 35- and 44-bit searches against the reference's
// ACELP_10i40_35bits and ACELP_12i40_44bits, golden data in
// tests/vectors/g729/fixed_codebook/annex_e.bin.
#include <gtest/gtest.h>

#include <vector>

#include "g729/g729_golden.h"
#include "kelsc.h"
#include "support/test_data.h"

namespace {

using namespace kelsc_test;

// annex_e.bin (206 words a row): mode (0: 35 bits, 1: 44 bits), target[40],
// LTP residual[40], h[40], code[40], filtered code[40], index words[5].
// Rows of the annex E encoder over SPEECHE.118, FIXED35.118, FIXED44.118
// and SWITCH.XXX (both modes from each where present) and 27 stress rows
// (saturating and zero responses, extreme and zero targets and residuals;
// the five where no start improves on the initial values, so that the
// reference's positions are undefined, are left out), then 8 calls on
// extreme inputs where a partial pulse correlation reaches -32768 (its
// square saturates).
TEST(FixedCodebookEGolden, MatchesReference) {
    const auto rows = g729Rows("fixed_codebook/annex_e.bin", 206);
    int modes[2] = {0, 0};
    for (size_t n = 0; n < rows.size(); ++n) {
        Fields f(rows[n]);
        const Kel16s mode = f.one();
        const V16 x = f.take(40), cn = f.take(40), h = f.take(40), code = f.take(40), y = f.take(40), words = f.take(5);
        V16 c(40, 1), fy(40, 1), w(5, -1);
        const V16 hBefore = h;
        ASSERT_EQ(kelsFixedCodebookSearch_G729E_16s(mode, x.data(), cn.data(), h.data(), c.data(), fy.data(), w.data()),
                  kelStatusOk);
        EXPECT_EQ(c, code) << "row " << n << " mode " << mode;
        EXPECT_EQ(fy, y) << "row " << n << " mode " << mode;
        EXPECT_EQ(w, words) << "row " << n << " mode " << mode;
        EXPECT_EQ(h, hBefore) << "h is not modified";
        ++modes[mode != 0];
    }
    EXPECT_GE(modes[0], 30);
    EXPECT_GE(modes[1], 30);
}

// Any non-zero mode is the 44-bit codebook: twelve pulses (ten in the 35-bit
// one), each of +-4096 (summed where two coincide).
TEST(FixedCodebookERules, ModesAndPulseCounts) {
    const auto rows = g729Rows("fixed_codebook/annex_e.bin", 206);
    Fields f(rows[0]);
    f.one();
    const V16 x = f.take(40), cn = f.take(40), h = f.take(40);
    for (Kel16s mode : {0, 1, 2, -1, 32767}) {
        V16 c(40), y(40), w(5);
        ASSERT_EQ(kelsFixedCodebookSearch_G729E_16s(mode, x.data(), cn.data(), h.data(), c.data(), y.data(), w.data()),
                  kelStatusOk);
        int units = 0;
        for (Kel16s v : c) {
            EXPECT_EQ(v % 4096, 0);
            units += (v < 0 ? -v : v) / 4096;
        }
        EXPECT_LE(units, mode == 0 ? 10 : 12) << mode;
        EXPECT_GE(units, mode == 0 ? 2 : 4) << mode;
        if (mode == 0) {
            for (Kel16s v : w) EXPECT_TRUE(v >= 0 && v < 128) << v;
        } else {
            EXPECT_TRUE(w[0] >= 0 && w[0] < 8192) << w[0];
            EXPECT_TRUE(w[1] >= 0 && w[1] < 1024) << w[1];
        }
    }
}

}  // namespace

namespace {

using namespace kelsc_test;

// Arbitrary targets, residuals and responses (random, extreme, zero) in
// heap arrays of exactly the stated sizes (checked under the address
// sanitizer): pulses of +-4096 and index words within their widths.
TEST(FixedCodebookERobustness, ArbitraryInputs) {
    Rng rng(118);
    for (int t = 0; t < 300; ++t) {
        auto value = [&](int kind) -> Kel16s {
            switch (kind % 4) {
                case 0: return static_cast<Kel16s>(rng.next());
                case 1: return (rng.next() & 1) ? -32768 : 32767;
                case 2: return 0;
                default: return static_cast<Kel16s>(static_cast<Kel16s>(rng.next()) >> 10);
            }
        };
        std::vector<Kel16s> x(40), cn(40), h(40), code(40), y(40), index(5);
        for (int i = 0; i < 40; ++i) {
            x[i] = value(t);
            cn[i] = value(t / 4);
            h[i] = value(t / 16);
        }
        const Kel16s mode = static_cast<Kel16s>(t & 1);
        ASSERT_EQ(
            kelsFixedCodebookSearch_G729E_16s(mode, x.data(), cn.data(), h.data(), code.data(), y.data(), index.data()),
            kelStatusOk);
        int units = 0;
        for (Kel16s v : code) {
            EXPECT_EQ(v % 4096, 0) << v;
            units += (v < 0 ? -v : v) / 4096;
        }
        EXPECT_LE(units, mode ? 12 : 10);
        for (int k = 0; k < 5; ++k) {
            const int limit = mode && k == 0 ? 8192 : mode && k == 1 ? 1024 : 128;
            EXPECT_TRUE(index[k] >= 0 && index[k] < limit) << t << " word " << k << " " << index[k];
        }
    }
}

}  // namespace
