// GSM 06.10 full-rate primitives: golden vectors from the ITU-T STL rpeltp
// routines for each primitive on speech and stress data (carried memories
// included), properties the golden data cannot show (block cutting, the
// Schur orders below 8, the weighting filter's reach, the offset
// compensation's deliberate wrap) and the argument checks.
#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kelsc.h"
#include "support/arg_checks.h"
#include "support/test_data.h"

namespace {

using kelsc_test::goldenPath;
using kelsc_test::readWords;
using Words = std::vector<Kel16s>;

// Consecutive records of a golden file (tests/vectors/README.md gives each
// layout), all 16-bit words; 32-bit values are two words, low first.
class Records {
public:
    explicit Records(const std::string& name) : w_(readWords(goldenPath("gsmfr/" + name))) {
        EXPECT_FALSE(w_.empty()) << "missing golden file gsmfr/" << name;
    }
    bool more() const { return at_ < w_.size(); }
    Kel16s word() { return at_ < w_.size() ? w_[at_++] : Kel16s{0}; }
    Kel32s word32() {
        const uint32_t lo = static_cast<uint16_t>(word());
        return static_cast<Kel32s>(lo | static_cast<uint32_t>(static_cast<uint16_t>(word())) << 16);
    }
    Words words(size_t n) {
        Words v(n);
        for (Kel16s& x : v) x = word();
        return v;
    }

private:
    Words w_;
    size_t at_ = 0;
};

// ---------------------------------------------------------------------------
// Schur recursion (GSM 06.10 4.2.5). Row: R[0..8] (32-bit), r[0..7]. Speech
// frames' autocorrelations and crafted ones (R[0] zero or negative, |R[k]|
// above R[0], full-scale and random values).
// ---------------------------------------------------------------------------

struct SchurRow {
    Kel32s R[9];
    Kel16s r[8];
};

std::vector<SchurRow> schurRows() {
    Records rec("schur.bin");
    std::vector<SchurRow> rows;
    while (rec.more()) {
        SchurRow row;
        for (Kel32s& v : row.R) v = rec.word32();
        for (Kel16s& v : row.r) v = rec.word();
        rows.push_back(row);
    }
    return rows;
}

TEST(GsmfrSchur, MatchesReferenceAtOrder8) {
    const std::vector<SchurRow> rows = schurRows();
    ASSERT_EQ(rows.size(), 218u);
    for (size_t k = 0; k < rows.size(); ++k) {
        Kel16s r[8];
        ASSERT_EQ(kelsSchur_GSMFR_32s16s(rows[k].R, r, 8), kelStatusOk);
        EXPECT_EQ(Words(r, r + 8), Words(rows[k].r, rows[k].r + 8)) << "row " << k;
    }
}

// A lower order runs the same recursion on fewer values, so it gives the
// first coefficients of order 8 (the unrolled paths of orders 4 and 8 and
// the others must agree on this), and writes nothing beyond its order.
TEST(GsmfrSchur, LowerOrdersGiveTheFirstCoefficients) {
    for (const SchurRow& row : schurRows()) {
        for (int order = 1; order <= 7; ++order) {
            Kel16s r[9];
            for (Kel16s& v : r) v = 0x5A5A;
            ASSERT_EQ(kelsSchur_GSMFR_32s16s(row.R, r, order), kelStatusOk);
            EXPECT_EQ(Words(r, r + order), Words(row.r, row.r + order)) << "order " << order;
            EXPECT_EQ(r[order], 0x5A5A) << "order " << order << " wrote past its end";
        }
    }
}

TEST(GsmfrSchur, SilentFrameGivesZeros) {
    const Kel32s R[9] = {0, 5, -7, 1 << 30, -1, 1, 2, 3, 4};
    for (int order = 1; order <= 8; ++order) {
        Kel16s r[8];
        for (Kel16s& v : r) v = 99;
        ASSERT_EQ(kelsSchur_GSMFR_32s16s(R, r, order), kelStatusOk);
        EXPECT_EQ(Words(r, r + order), Words(order, 0));
    }
}

// ---------------------------------------------------------------------------
// Short-term lattices (GSM 06.10 4.2.10, 4.3.4). Record: len, r[8], the
// memory before, input[len], output[len], the memory after. Speech frames
// (four coefficient sets per frame, the memory carried) and random
// coefficients and signals, including -32768 everywhere.
// ---------------------------------------------------------------------------

struct LatticeCall {
    Words rc, before, in, out, after;
};

std::vector<LatticeCall> latticeCalls(const std::string& name, size_t memory) {
    Records rec(name);
    std::vector<LatticeCall> calls;
    while (rec.more()) {
        LatticeCall c;
        const size_t n = static_cast<size_t>(rec.word());
        c.rc = rec.words(8);
        c.before = rec.words(memory);
        c.in = rec.words(n);
        c.out = rec.words(n);
        c.after = rec.words(memory);
        calls.push_back(c);
    }
    return calls;
}

TEST(GsmfrShortTermAnalysis, MatchesReference) {
    const std::vector<LatticeCall> calls = latticeCalls("short_term_analysis.bin", 8);
    ASSERT_EQ(calls.size(), 88u);
    for (size_t k = 0; k < calls.size(); ++k) {
        const LatticeCall& c = calls[k];
        Words s = c.in, mem = c.before;
        ASSERT_EQ(
            kelsShortTermAnalysisFilter_GSMFR_16s_I(c.rc.data(), s.data(), static_cast<int>(s.size()), mem.data()),
            kelStatusOk);
        EXPECT_EQ(s, c.out) << "call " << k;
        EXPECT_EQ(mem, c.after) << "call " << k;
    }
}

TEST(GsmfrShortTermSynthesis, MatchesReference) {
    const std::vector<LatticeCall> calls = latticeCalls("short_term_synthesis.bin", 9);
    ASSERT_EQ(calls.size(), 88u);
    for (size_t k = 0; k < calls.size(); ++k) {
        const LatticeCall& c = calls[k];
        Words y(c.in.size()), mem = c.before;
        ASSERT_EQ(kelsShortTermSynthesisFilter_GSMFR_16s(c.rc.data(), c.in.data(), y.data(), static_cast<int>(y.size()),
                                                         mem.data()),
                  kelStatusOk);
        EXPECT_EQ(y, c.out) << "call " << k;
        EXPECT_EQ(mem, c.after) << "call " << k;
        // In place gives the same.
        Words z = c.in;
        mem = c.before;
        ASSERT_EQ(kelsShortTermSynthesisFilter_GSMFR_16s(c.rc.data(), z.data(), z.data(), static_cast<int>(z.size()),
                                                         mem.data()),
                  kelStatusOk);
        EXPECT_EQ(z, c.out) << "call " << k << " in place";
    }
}

// The memories carry everything: a call cut into pieces at every length
// gives the same output and memory.
TEST(GsmfrShortTerm, BlockCuttingDoesNotMatter) {
    for (const LatticeCall& c : latticeCalls("short_term_analysis.bin", 8)) {
        if (c.in.size() < 100) continue;
        for (size_t piece : {1u, 2u, 3u, 7u, 16u, 33u}) {
            Words s = c.in, mem = c.before;
            for (size_t at = 0; at < s.size(); at += piece) {
                const int n = static_cast<int>(std::min(piece, s.size() - at));
                ASSERT_EQ(kelsShortTermAnalysisFilter_GSMFR_16s_I(c.rc.data(), s.data() + at, n, mem.data()),
                          kelStatusOk);
            }
            EXPECT_EQ(s, c.out) << "pieces of " << piece;
            EXPECT_EQ(mem, c.after) << "pieces of " << piece;
        }
    }
    for (const LatticeCall& c : latticeCalls("short_term_synthesis.bin", 9)) {
        if (c.in.size() < 100) continue;
        for (size_t piece : {1u, 5u, 8u, 31u}) {
            Words y(c.in.size()), mem = c.before;
            for (size_t at = 0; at < y.size(); at += piece) {
                const int n = static_cast<int>(std::min(piece, y.size() - at));
                ASSERT_EQ(
                    kelsShortTermSynthesisFilter_GSMFR_16s(c.rc.data(), c.in.data() + at, y.data() + at, n, mem.data()),
                    kelStatusOk);
            }
            EXPECT_EQ(y, c.out) << "pieces of " << piece;
            EXPECT_EQ(mem, c.after) << "pieces of " << piece;
        }
    }
}

// ---------------------------------------------------------------------------
// Weighting filter (GSM 06.10 4.2.13). Record: e[-5..44], x[0..39]. Speech
// sub-segments and full-scale stress blocks.
// ---------------------------------------------------------------------------

TEST(GsmfrWeighting, MatchesReference) {
    Records rec("weighting.bin");
    int rows = 0;
    while (rec.more()) {
        const Words e = rec.words(50), want = rec.words(40);
        Words x(40);
        ASSERT_EQ(kelsWeightingFilter_GSMFR_16s(e.data() + 5, x.data(), 40), kelStatusOk);
        EXPECT_EQ(x, want) << "row " << rows;
        ++rows;
    }
    EXPECT_EQ(rows, 84);
}

// Output k reads pSrc[k - 5 .. k + 5]: with len 1 exactly pSrc[-5..5]
// matter, each with its own tap.
TEST(GsmfrWeighting, ReadsFiveSamplesEachSide) {
    const Kel16s taps[11] = {-134, -374, 0, 2054, 5741, 8192, 5741, 2054, 0, -374, -134};
    for (int j = -7; j <= 7; ++j) {
        Words buf(15, 0);
        buf[7 + j] = 8192;  // 1.0 in Q13: y = (4096 + 8192 * H) >> 13 = H (rounded)
        Kel16s y = 0x5A5A;
        ASSERT_EQ(kelsWeightingFilter_GSMFR_16s(buf.data() + 7, &y, 1), kelStatusOk);
        const int want = (j < -5 || j > 5) ? 0 : (4096 + 8192 * taps[j + 5]) >> 13;
        EXPECT_EQ(y, want) << "sample " << j;
    }
}

// ---------------------------------------------------------------------------
// Offset compensation and pre-emphasis (GSM 06.10 4.2.1 to 4.2.3). Record per
// 160 samples: z1, L_z2 (32-bit), mp before; input; offset-compensated
// signal; pre-emphasised signal; z1, L_z2, mp after. Speech, then random
// full-range input and a full-scale square wave.
// ---------------------------------------------------------------------------

TEST(GsmfrPreprocessing, MatchesReference) {
    Records rec("preprocess.bin");
    int frames = 0;
    while (rec.more()) {
        KelHighPassMem_GSMFR mem;
        mem.z1 = rec.word();
        mem.lz2 = rec.word32();
        Kel16s mp = rec.word();
        const Words x = rec.words(160), sof = rec.words(160), so = rec.words(160);
        const Kel16s z1After = rec.word();
        const Kel32s lz2After = rec.word32();
        const Kel16s mpAfter = rec.word();

        // Out of place for the first filter, in place and in two pieces for
        // the second (the memories carry everything).
        Words y(160);
        ASSERT_EQ(kelsHighPassFilter_GSMFR_16s(x.data(), y.data(), 160, &mem), kelStatusOk);
        EXPECT_EQ(y, sof) << "frame " << frames;
        EXPECT_EQ(mem.z1, z1After);
        EXPECT_EQ(mem.lz2, lz2After);
        ASSERT_EQ(kelsPreemphasize_GSMFR_16s(y.data(), y.data(), 61, &mp), kelStatusOk);
        ASSERT_EQ(kelsPreemphasize_GSMFR_16s(y.data() + 61, y.data() + 61, 99, &mp), kelStatusOk);
        EXPECT_EQ(y, so) << "frame " << frames;
        EXPECT_EQ(mp, mpAfter);
        ++frames;
    }
    EXPECT_EQ(frames, 30);
}

// The deliberate difference, the wrapping 32-bit additions, cannot show:
// msp * 32735 + s1 * 2^15 + (lsp * 32735 + 16384) >> 15 (+ 16384) stays
// inside 32 bits for any 16-bit msp and s1. The golden frames above include
// memories at the corners of their ranges; these are the two extreme sums,
// worked out by hand.
TEST(GsmfrPreprocessing, ExtremeSumsStayInside32Bits) {
    // L_z2 = 0x3FFFFFFF: msp = 32767, lsp = 32767; z1 = -16387, x = 32767
    // (so = 16380): s1 = 32767, L_s2 = 32767 * 32768 + 32734 = 1073741790,
    // L_z2 = 32767 * 32735 + L_s2 = 2146369535; y = bits 15..30 of
    // 2146385919 = 65502, i.e. -34.
    KelHighPassMem_GSMFR mem = {0x3FFFFFFF, -16387};
    Kel16s x = 32767, y = 0;
    ASSERT_EQ(kelsHighPassFilter_GSMFR_16s(&x, &y, 1, &mem), kelStatusOk);
    EXPECT_EQ(mem.lz2, 2146369535);
    EXPECT_EQ(mem.z1, 16380);
    EXPECT_EQ(y, -34);
    // L_z2 = 0x40000000: msp = -32768, lsp = 0; z1 = 16384, x = -32768
    // (so = -16384): s1 = -32768, L_z2 = -32768 * 32735 - 2^30 = -2146402304;
    // y = bits 15..30 of -2146385920 (= -65503 * 2^15 + 16384), i.e. 33.
    mem = {0x40000000, 16384};
    x = -32768;
    ASSERT_EQ(kelsHighPassFilter_GSMFR_16s(&x, &y, 1, &mem), kelStatusOk);
    EXPECT_EQ(mem.lz2, -2146402304);
    EXPECT_EQ(y, 33);
}

// ---------------------------------------------------------------------------
// APCM inverse quantisation (GSM 06.10 4.2.16). Row: xMc[13], mantFactor,
// exp, xMp[13]. The speech decoder's sub-segments, every xmaxc with random
// codes, then codes outside 0..7, arbitrary factors and exponents 0..23.
// ---------------------------------------------------------------------------

TEST(GsmfrRpeDecode, MatchesReference) {
    Records rec("rpe_decode.bin");
    int rows = 0;
    while (rec.more()) {
        const Words xMc = rec.words(13);
        const Kel16s fac = rec.word(), exp = rec.word();
        const Words want = rec.words(13);
        Words xMp(13);
        ASSERT_EQ(kelsRPEQuantDecode_GSMFR_16s(xMc.data(), fac, exp, xMp.data()), kelStatusOk);
        EXPECT_EQ(xMp, want) << "row " << rows << " exp " << exp << " factor " << fac;
        Words inPlace = xMc;
        ASSERT_EQ(kelsRPEQuantDecode_GSMFR_16s(inPlace.data(), fac, exp, inPlace.data()), kelStatusOk);
        EXPECT_EQ(inPlace, want) << "row " << rows << " in place";
        ++rows;
    }
    EXPECT_EQ(rows, 248);
}

// exp 0: no rounding term and no shift; the value is the rounded product.
TEST(GsmfrRpeDecode, ExponentZeroNeitherRoundsNorShifts) {
    const Kel16s codes[13] = {0, 1, 2, 3, 4, 5, 6, 7, 0, 7, 3, 4, 1};
    Kel16s out[13];
    ASSERT_EQ(kelsRPEQuantDecode_GSMFR_16s(codes, 32767, 0, out), kelStatusOk);
    for (int i = 0; i < 13; ++i) EXPECT_EQ(out[i], ((2 * codes[i] - 7) * 32767 + 4) >> 3) << i;
}

// ---------------------------------------------------------------------------
// De-emphasis (GSM 06.10 4.3.5). Record per 160 samples: msr before, input,
// output, msr after. The speech decoder's frames, then random full-range
// input from random memories.
// ---------------------------------------------------------------------------

TEST(GsmfrDeemphasis, MatchesReference) {
    Records rec("deemphasis.bin");
    int frames = 0;
    while (rec.more()) {
        Kel16s msr = rec.word();
        Words x = rec.words(160);
        const Words want = rec.words(160);
        const Kel16s after = rec.word();
        ASSERT_EQ(kelsDeemphasize_GSMFR_16s_I(x.data(), 160, &msr), kelStatusOk);
        EXPECT_EQ(x, want) << "frame " << frames;
        EXPECT_EQ(msr, after);
        for (Kel16s v : x) ASSERT_EQ(v % 8, 0);
        ++frames;
    }
    EXPECT_EQ(frames, 22);
}

// ---------------------------------------------------------------------------
// Argument checks, in the order they run: pointers, then the length (or the
// order), then the exponent. Nothing is written when a check fails.
// ---------------------------------------------------------------------------

struct Buffers {
    Kel32s acf[9];
    Kel16s rc[8];
    Kel16s in[16];
    Kel16s out[16];
    Kel16s mem[9];
    KelHighPassMem_GSMFR hp;

    Buffers() { memset(static_cast<void*>(this), 0x5A, sizeof(*this)); }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kSize = kelStatusBadSize, kScale = kelStatusBadScale;

const kelsc_test::CheckCase<Buffers> kCases[] = {
    CASE(kNull, kelsSchur_GSMFR_32s16s(nullptr, x.rc, 0)),
    CASE(kNull, kelsSchur_GSMFR_32s16s(x.acf, nullptr, 8)),
    CASE(kSize, kelsSchur_GSMFR_32s16s(x.acf, x.rc, 0)),
    CASE(kSize, kelsSchur_GSMFR_32s16s(x.acf, x.rc, 9)),
    CASE(kSize, kelsSchur_GSMFR_32s16s(x.acf, x.rc, -1)),
    CASE(kSize, kelsSchur_GSMFR_32s16s(x.acf, x.rc, INT_MAX)),

    CASE(kNull, kelsShortTermAnalysisFilter_GSMFR_16s_I(nullptr, x.in, 0, x.mem)),
    CASE(kNull, kelsShortTermAnalysisFilter_GSMFR_16s_I(x.rc, nullptr, 4, x.mem)),
    CASE(kNull, kelsShortTermAnalysisFilter_GSMFR_16s_I(x.rc, x.in, 4, nullptr)),
    CASE(kSize, kelsShortTermAnalysisFilter_GSMFR_16s_I(x.rc, x.in, 0, x.mem)),
    CASE(kSize, kelsShortTermAnalysisFilter_GSMFR_16s_I(x.rc, x.in, INT_MIN, x.mem)),

    CASE(kNull, kelsWeightingFilter_GSMFR_16s(nullptr, x.out, 0)),
    CASE(kNull, kelsWeightingFilter_GSMFR_16s(x.in + 5, nullptr, 4)),
    CASE(kSize, kelsWeightingFilter_GSMFR_16s(x.in + 5, x.out, 0)),
    CASE(kSize, kelsWeightingFilter_GSMFR_16s(x.in + 5, x.out, -40)),

    CASE(kNull, kelsPreemphasize_GSMFR_16s(nullptr, x.out, 0, x.mem)),
    CASE(kNull, kelsPreemphasize_GSMFR_16s(x.in, nullptr, 4, x.mem)),
    CASE(kNull, kelsPreemphasize_GSMFR_16s(x.in, x.out, 4, nullptr)),
    CASE(kSize, kelsPreemphasize_GSMFR_16s(x.in, x.out, 0, x.mem)),
    CASE(kSize, kelsPreemphasize_GSMFR_16s(x.in, x.out, -1, x.mem)),

    CASE(kNull, kelsHighPassFilter_GSMFR_16s(nullptr, x.out, 0, &x.hp)),
    CASE(kNull, kelsHighPassFilter_GSMFR_16s(x.in, nullptr, 4, &x.hp)),
    CASE(kNull, kelsHighPassFilter_GSMFR_16s(x.in, x.out, 4, nullptr)),
    CASE(kSize, kelsHighPassFilter_GSMFR_16s(x.in, x.out, 0, &x.hp)),
    CASE(kSize, kelsHighPassFilter_GSMFR_16s(x.in, x.out, -160, &x.hp)),

    CASE(kNull, kelsRPEQuantDecode_GSMFR_16s(nullptr, 18431, -1, x.out)),
    CASE(kNull, kelsRPEQuantDecode_GSMFR_16s(x.in, 18431, 0, nullptr)),
    CASE(kScale, kelsRPEQuantDecode_GSMFR_16s(x.in, 18431, -1, x.out)),
    CASE(kScale, kelsRPEQuantDecode_GSMFR_16s(x.in, 18431, -32768, x.out)),

    CASE(kNull, kelsDeemphasize_GSMFR_16s_I(nullptr, 0, x.mem)),
    CASE(kNull, kelsDeemphasize_GSMFR_16s_I(x.in, 4, nullptr)),
    CASE(kSize, kelsDeemphasize_GSMFR_16s_I(x.in, 0, x.mem)),
    CASE(kSize, kelsDeemphasize_GSMFR_16s_I(x.in, -3, x.mem)),

    CASE(kNull, kelsShortTermSynthesisFilter_GSMFR_16s(nullptr, x.in, x.out, 0, x.mem)),
    CASE(kNull, kelsShortTermSynthesisFilter_GSMFR_16s(x.rc, nullptr, x.out, 4, x.mem)),
    CASE(kNull, kelsShortTermSynthesisFilter_GSMFR_16s(x.rc, x.in, nullptr, 4, x.mem)),
    CASE(kNull, kelsShortTermSynthesisFilter_GSMFR_16s(x.rc, x.in, x.out, 4, nullptr)),
    CASE(kSize, kelsShortTermSynthesisFilter_GSMFR_16s(x.rc, x.in, x.out, 0, x.mem)),
    CASE(kSize, kelsShortTermSynthesisFilter_GSMFR_16s(x.rc, x.in, x.out, INT_MIN, x.mem)),
};

using GsmfrArgumentCheck = ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>>;

TEST_P(GsmfrArgumentCheck, FirstFailureReturnedNothingWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Gsmfr, GsmfrArgumentCheck, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

}  // namespace
