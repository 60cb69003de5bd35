// G.729 gain decoding, synthesis and the annex A post-filter against the
// ITU-T reference decoder's own sub-frames (tests/vectors/g729/postfilter,
// recorded by the annex A decoder on the official bit streams, erased
// frames included): each row holds a routine's inputs, memories and outputs.
#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "g729/g729_golden.h"

namespace {

using namespace kelsc_test;

// gain.bin (the decoder's sub-frames) and gain_stress.bin (random indices,
// memories, gains and energies, among them 0, 1 and 2^31 - 1, every fifth
// erased), 17 words: first index, second index, erased flag, energy
// (32-bit), past errors [4], gains in [2], gains out [2], past errors out [4].
class G729Gain : public ::testing::TestWithParam<const char*> {};

TEST_P(G729Gain, DecodesLikeTheReference) {
    size_t erased = 0;
    for (const V16& row : g729Rows(std::string("postfilter/") + GetParam(), 17)) {
        Fields f(row);
        const Kel16s idx[2] = {f.one(), f.one()};
        const bool bad = f.one() != 0;
        const Kel32s energy = f.word32();
        V16 past = f.take(4), gain = f.take(2);
        const V16 wantGain = f.take(2), wantPast = f.take(4);
        ASSERT_EQ(kelsDecodeGain_G729_16s(energy, past.data(), bad ? nullptr : idx, gain.data()), kelStatusOk);
        EXPECT_EQ(gain, wantGain) << "indices " << idx[0] << " " << idx[1] << " erased " << bad << " energy " << energy;
        EXPECT_EQ(past, wantPast);
        erased += bad;
    }
    EXPECT_GT(erased, 50u);
}

INSTANTIATE_TEST_SUITE_P(Reference, G729Gain, ::testing::Values("gain.bin", "gain_stress.bin"));

// gain6k.bin, 18 words: the annex D decoder's 6.4 kbit/s sub-frames (modes
// 1 and 3 of its test streams), then random rows, every fourth erased:
// first index, second index, erased flag, attenuation, energy (32-bit),
// past errors [4], gains in [2], gains out [2], past errors out [4].
TEST(G729IGain, DecodesLikeTheAnnexDReference) {
    size_t erased = 0, rows = 0;
    for (const V16& row : g729Rows("postfilter/gain6k.bin", 18)) {
        Fields f(row);
        const Kel16s idx[2] = {f.one(), f.one()};
        const bool bad = f.one() != 0;
        const Kel16s attenuation = f.one();
        const Kel32s energy = f.word32();
        V16 past = f.take(4), gain = f.take(2);
        const V16 wantGain = f.take(2), wantPast = f.take(4);
        ASSERT_EQ(kelsDecodeGain_G729I_16s(energy, attenuation, past.data(), bad ? nullptr : idx, gain.data()),
                  kelStatusOk);
        EXPECT_EQ(gain, wantGain) << "row " << rows;
        EXPECT_EQ(past, wantPast) << "row " << rows;
        erased += bad;
        ++rows;
    }
    EXPECT_GT(erased, 50u);
}

// synthesis.bin, 102 words: a[11], memory [10], excitation [40], output
// [40], the reference's overflow flag (its saturating accumulation differs
// from the wrapping one only on such rows, where the decoder rescales).
// A saturated output is reported as kelStatusOverflow; the reference raises
// its flag then too (and also when only a partial sum saturated).
TEST(G729Synthesis, MatchesTheDecoderSynthesis) {
    size_t checked = 0, overflows = 0;
    for (const V16& row : g729Rows("postfilter/synthesis.bin", 102)) {
        Fields f(row);
        const V16 a = f.take(11), mem = f.take(10), exc = f.take(40), want = f.take(40);
        const bool refOverflow = f.one() != 0;
        Kel16s buf[50];
        memcpy(buf, mem.data(), sizeof(Kel16s) * 10);
        const KelStatus st = kelsSynthesisFilter_G729_16s(exc.data(), a.data(), buf + 10);
        EXPECT_EQ(V16(buf, buf + 10), mem) << "the memory is read, not written";
        if (st == kelStatusOverflow) {
            EXPECT_TRUE(refOverflow);
            ++overflows;
        }
        if (refOverflow) continue;
        ASSERT_EQ(st, kelStatusOk);
        EXPECT_EQ(V16(buf + 10, buf + 50), want);
        ++checked;
    }
    EXPECT_GT(checked, 150u);
    EXPECT_GT(overflows, 0u);
}

// postfilter_a.bin, 431 words, one annex A Post_Filter sub-frame: decoded
// delay, A(z/0.55) [11], speech [-10..39], its residual [40], the residual
// history [-143..-1], the harmonic post-filter output [40], tilt
// coefficient, preemphasis memory, preemphasised [40], A(z/0.7) [11],
// short-term memory [10], its output [40], overflow flag, gain-control
// gain, scaled output [40], gain after.
TEST(G729APostFilter, FollowsTheReferencePostFilterStepByStep) {
    size_t rows = 0, silent = 0;
    for (const V16& row : g729Rows("postfilter/postfilter_a.bin", 431)) {
        Fields f(row);
        const Kel16s delay = f.one();
        const V16 ap3 = f.take(11), speech = f.take(50), wantRes = f.take(40), hist = f.take(143), wantLtp = f.take(40);
        const Kel16s tilt = f.one();
        Kel16s mem = f.one();
        const V16 wantPre = f.take(40), ap4 = f.take(11), stpMem = f.take(10), wantStp = f.take(40);
        const bool overflow = f.one() != 0;
        Kel16s gainPrev = f.one();
        const V16 wantAgc = f.take(40);
        const Kel16s wantGain = f.one();

        // Long-term: 154 history words, the first 11 never read.
        Kel16s res[194];
        for (int i = 0; i < 11; ++i) res[i] = static_cast<Kel16s>(0x7A7A);
        memcpy(res + 11, hist.data(), 143 * sizeof(Kel16s));
        Kel16s ltp[40];
        ASSERT_EQ(kelsLongTermPostFilter_G729A_16s(delay, speech.data() + 10, ap3.data(), res, ltp), kelStatusOk);
        EXPECT_EQ(V16(res + 154, res + 194), wantRes) << "row " << rows;
        EXPECT_EQ(V16(ltp, ltp + 40), wantLtp) << "row " << rows << " delay " << delay;

        // Preemphasis by the tilt coefficient, in place and out of place.
        Kel16s pre[40], pre2[40];
        Kel16s mem2 = mem;
        ASSERT_EQ(kelsPreemphasize_G729A_16s(tilt, wantLtp.data(), pre2, 40, &mem2), kelStatusOk);
        memcpy(pre, wantLtp.data(), sizeof(pre));
        ASSERT_EQ(kelsPreemphasize_G729A_16s_I(tilt, pre, 40, &mem), kelStatusOk);
        EXPECT_EQ(V16(pre, pre + 40), wantPre);
        EXPECT_EQ(V16(pre2, pre2 + 40), wantPre);
        EXPECT_EQ(mem, wantLtp[39]);
        EXPECT_EQ(mem2, wantLtp[39]);

        // Short-term post-filter with its memory before the output.
        if (!overflow) {
            Kel16s stp[50];
            memcpy(stp, stpMem.data(), 10 * sizeof(Kel16s));
            ASSERT_EQ(kelsShortTermPostFilter_G729A_16s(ap4.data(), wantPre.data(), stp + 10), kelStatusOk);
            EXPECT_EQ(V16(stp + 10, stp + 50), wantStp) << "row " << rows;
        }

        // Gain control of the short-term output against the speech.
        Kel16s out[40];
        memcpy(out, wantStp.data(), sizeof(out));
        ASSERT_EQ(kelsGainControl_G729A_16s_I(speech.data() + 10, out, &gainPrev), kelStatusOk);
        EXPECT_EQ(V16(out, out + 40), wantAgc) << "row " << rows;
        EXPECT_EQ(gainPrev, wantGain) << "row " << rows;
        silent += wantGain == 0;
        ++rows;
    }
    EXPECT_GT(rows, 100u);
    EXPECT_GT(silent, 0u) << "a silent sub-frame among the rows";
}

}  // namespace
