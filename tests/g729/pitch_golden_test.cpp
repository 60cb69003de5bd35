// G.729 pitch analysis against the ITU-T reference routines (golden rows of
// tests/vectors/g729/pitch, made from the reference encoders' own calls on
// the ITU speech files and from edge cases; see tests/vectors/README.md).
//
// Where the library's overflow forms differ from the reference (the
// interpolation's fast sum, the non-saturating filters of the gains, the
// wrapping target update), each row also holds the result of that form,
// computed by the harness; the tests compare with it, and count the rows
// where it leaves the reference's result, which happens only on the
// saturating edge cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "g729/g729_golden.h"
#include "kelsc.h"

namespace {

using kelsc_test::Fields;
using kelsc_test::g729Rows;
using kelsc_test::V16;

constexpr size_t kExc = 194, kSub = 40;

// ---------------------------------------------------------------------------
// Open-loop searches. Row: 223 samples (143 of history, then the frame),
// the reference's lag.
// ---------------------------------------------------------------------------

struct OpenLoop {
    const char* file;
    KelStatus (*fn)(const Kel16s*, Kel16s*);
};

class PitchOpenLoop : public ::testing::TestWithParam<OpenLoop> {};

TEST_P(PitchOpenLoop, MatchesReference) {
    const auto rows = g729Rows(GetParam().file, 224);
    int row = 0;
    for (const V16& r : rows) {
        // The signal in an exactly sized heap block: reads outside it are
        // caught by the sanitiser build.
        const std::vector<Kel16s> sig(r.begin(), r.begin() + 223);
        Kel16s lag = -1;
        ASSERT_EQ(GetParam().fn(sig.data() + 143, &lag), kelStatusOk);
        EXPECT_EQ(lag, r[223]) << "row " << row;
        ++row;
    }
}

INSTANTIATE_TEST_SUITE_P(G729, PitchOpenLoop,
                         ::testing::Values(OpenLoop{"pitch/ol_g729.bin", kelsOpenLoopPitchSearch_G729_16s},
                                           OpenLoop{"pitch/ol_g729a.bin", kelsOpenLoopPitchSearch_G729A_16s}),
                         [](const auto& info) { return info.index == 0 ? "G729" : "G729A"; });

// ---------------------------------------------------------------------------
// Closed-loop searches. Row: valOpenDelay, subFrame, x[40], h[40], the
// excitation buffer [194], then the reference's delay (and vectors).
// ---------------------------------------------------------------------------

struct SearchInput {
    Kel16s val, sub;
    V16 x, h, exc;
    explicit SearchInput(Fields& f) : val(f.one()), sub(f.one()), x(f.take(kSub)), h(f.take(kSub)), exc(f.take(kExc)) {}
};

// G.729: then T, fraction, the reference's vector and the vector of the
// library's interpolation.
TEST(PitchSearch, G729MatchesReference) {
    int row = 0, interpolationDiffers = 0;
    for (const V16& r : g729Rows("pitch/acs_g729.bin", 358)) {
        Fields f(r);
        SearchInput in(f);
        const V16 delay = f.take(2), ref = f.take(kSub), lib = f.take(kSub);
        std::vector<Kel16s> exc(in.exc);
        Kel16s d[2] = {-1, -1}, v[kSub];
        ASSERT_EQ(kelsAdaptiveCodebookSearch_G729_16s(in.val, in.x.data(), in.h.data(), exc.data(), d, v, in.sub),
                  kelStatusOk);
        EXPECT_EQ(V16(d, d + 2), delay) << "row " << row;
        EXPECT_EQ(V16(v, v + kSub), lib) << "row " << row;
        EXPECT_EQ(V16(exc.begin() + 154, exc.end()), lib) << "row " << row;
        EXPECT_TRUE(std::equal(exc.begin(), exc.begin() + 154, in.exc.begin())) << "history changed, row " << row;
        interpolationDiffers += ref != lib;
        ++row;
    }
    // None here: the searches' vectors on these rows stay within the
    // reference's range (the decoding rows below include those that do not).
    EXPECT_EQ(interpolationDiffers, 0);
}

// G.729A: then the reference's T, fraction and vector, and those of the
// library's form (backward filtering by the wrapping normalised
// correlation, the library's interpolation).
TEST(PitchSearch, G729AMatchesReference) {
    int row = 0, delayDiffers = 0, vectorDiffers = 0;
    for (const V16& r : g729Rows("pitch/acs_g729a.bin", 360)) {
        Fields f(r);
        SearchInput in(f);
        const V16 delayRef = f.take(2), ref = f.take(kSub), delay = f.take(2), lib = f.take(kSub);
        std::vector<Kel16s> exc(in.exc);
        Kel16s d[2] = {-1, -1}, v[kSub];
        ASSERT_EQ(kelsAdaptiveCodebookSearch_G729A_16s(in.val, in.x.data(), in.h.data(), exc.data(), d, v, in.sub),
                  kelStatusOk);
        EXPECT_EQ(V16(d, d + 2), delay) << "row " << row;
        EXPECT_EQ(V16(v, v + kSub), lib) << "row " << row;
        EXPECT_EQ(V16(exc.begin() + 154, exc.end()), lib) << "row " << row;
        EXPECT_TRUE(std::equal(exc.begin(), exc.begin() + 154, in.exc.begin())) << "history changed, row " << row;
        delayDiffers += delayRef != delay;
        vectorDiffers += ref != lib;
        ++row;
    }
    // Full-scale noise and square-wave edge cases, where the reference's
    // backward filtering or interpolation saturates.
    EXPECT_EQ(delayDiffers, 10);
    EXPECT_EQ(vectorDiffers, 11);
}

// G.729D at 6.4 kbit/s: then T and fraction; the buffer is not written.
TEST(PitchSearch, G729DMatchesReference) {
    int row = 0;
    for (const V16& r : g729Rows("pitch/acs_g729d.bin", 278)) {
        Fields f(r);
        SearchInput in(f);
        const V16 delay = f.take(2);
        const std::vector<Kel16s> exc(in.exc);
        Kel16s d[2] = {-1, -1};
        ASSERT_EQ(kelsAdaptiveCodebookSearch_G729D_16s(in.val, in.x.data(), in.h.data(), exc.data(), in.sub, d),
                  kelStatusOk);
        EXPECT_EQ(V16(d, d + 2), delay) << "row " << row;
        ++row;
    }
}

// The golden rows reach the range edges and both fraction rules.
TEST(PitchSearch, GoldenRowsCoverTheEdges) {
    int clampedLow = 0, clampedHigh = 0, integerOnly85 = 0, foldedDown = 0, foldedUp = 0;
    for (const V16& r : g729Rows("pitch/acs_g729.bin", 358)) {
        const Kel16s val = r[0], sub = r[1], t = r[276], frac = r[277];
        clampedLow += val <= 19;
        clampedHigh += val == 145;
        integerOnly85 += sub == 0 && t == 85 && frac == 0;
        foldedDown += frac == 1;
        foldedUp += frac == -1;
    }
    EXPECT_GT(clampedLow, 0);
    EXPECT_GT(clampedHigh, 0);
    EXPECT_GT(integerOnly85, 0);
    EXPECT_GT(foldedDown, 0);
    EXPECT_GT(foldedUp, 0);
}

// ---------------------------------------------------------------------------
// Adaptive-vector decoding. Row: T, fraction, buffer [194], the reference's
// vector, the vector of the library's interpolation.
// ---------------------------------------------------------------------------

TEST(PitchDecodeVector, MatchesReference) {
    int row = 0, differs = 0;
    for (const V16& r : g729Rows("pitch/decvec.bin", 276)) {
        Fields f(r);
        const V16 delay = f.take(2), in = f.take(kExc), ref = f.take(kSub), lib = f.take(kSub);
        std::vector<Kel16s> a(in), b(in);
        Kel16s v[kSub];
        ASSERT_EQ(kelsDecodeAdaptiveVector_G729_16s_I(delay.data(), a.data()), kelStatusOk);
        ASSERT_EQ(kelsDecodeAdaptiveVector_G729_16s(delay.data(), b.data(), v), kelStatusOk);
        EXPECT_EQ(V16(a.begin() + 154, a.end()), lib) << "row " << row;
        EXPECT_EQ(a, b) << "row " << row;
        EXPECT_EQ(V16(v, v + kSub), lib) << "row " << row;
        EXPECT_TRUE(std::equal(a.begin(), a.begin() + 154, in.begin())) << "row " << row;
        differs += ref != lib;
        ++row;
    }
    // Full-scale noise, square-wave and alternating histories only.
    EXPECT_EQ(differs, 12);
}

// ---------------------------------------------------------------------------
// Gains. Row: x[40], h[40] (G.729) or a[11] (G.729A), v[40], the
// reference's y and gain, the library form's y and gain.
// ---------------------------------------------------------------------------

struct GainCase {
    const char* file;
    size_t filterLen;
    KelStatus (*fn)(const Kel16s*, const Kel16s*, const Kel16s*, Kel16s*, Kel16s*);
    int differs;  // rows where the non-saturating filter leaves the reference
};

class PitchGain : public ::testing::TestWithParam<GainCase> {};

TEST_P(PitchGain, MatchesReference) {
    const GainCase& c = GetParam();
    int row = 0, differs = 0;
    for (const V16& r : g729Rows(c.file, 40 + c.filterLen + 40 + 41 + 41)) {
        Fields f(r);
        const V16 x = f.take(kSub), filt = f.take(c.filterLen), v = f.take(kSub), yRef = f.take(kSub);
        const Kel16s gRef = f.one();
        const V16 yLib = f.take(kSub);
        const Kel16s gLib = f.one();
        Kel16s y[kSub], g = -1;
        ASSERT_EQ(c.fn(x.data(), filt.data(), v.data(), y, &g), kelStatusOk);
        EXPECT_EQ(V16(y, y + kSub), yLib) << "row " << row;
        EXPECT_EQ(g, gLib) << "row " << row;
        EXPECT_GE(g, 0);
        EXPECT_LE(g, 19661);
        // Where the filtered vectors agree, so do the gains.
        if (yRef == yLib) {
            EXPECT_EQ(gLib, gRef) << "row " << row;
        }
        differs += yRef != yLib;
        ++row;
    }
    EXPECT_EQ(differs, c.differs);
}

INSTANTIATE_TEST_SUITE_P(G729, PitchGain,
                         ::testing::Values(GainCase{"pitch/gain_g729.bin", 40, kelsAdaptiveCodebookGain_G729_16s, 82},
                                           GainCase{"pitch/gain_g729a.bin", 11, kelsAdaptiveCodebookGain_G729A_16s,
                                                    77}),
                         [](const auto& info) { return info.index == 0 ? "G729" : "G729A"; });

// Target update. Row: gain, x[40], y[40], the reference's result (saturating),
// the 16-bit wrapping result.
TEST(PitchContribution, MatchesReference) {
    int row = 0, differs = 0;
    for (const V16& r : g729Rows("pitch/contrib.bin", 161)) {
        Fields f(r);
        const Kel16s g = f.one();
        const V16 x = f.take(kSub), y = f.take(kSub), ref = f.take(kSub), lib = f.take(kSub);
        Kel16s out[kSub];
        ASSERT_EQ(kelsAdaptiveCodebookContribution_G729_16s(g, y.data(), x.data(), out), kelStatusOk);
        EXPECT_EQ(V16(out, out + kSub), lib) << "row " << row;
        V16 inPlace(x);
        ASSERT_EQ(kelsAdaptiveCodebookContribution_G729_16s(g, y.data(), inPlace.data(), inPlace.data()), kelStatusOk);
        EXPECT_EQ(inPlace, lib) << "row " << row;
        differs += ref != lib;
        ++row;
    }
    EXPECT_EQ(differs, 18);
}

}  // namespace
