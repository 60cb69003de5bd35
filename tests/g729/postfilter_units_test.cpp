// G.729 post-processing pieces on reference rows beyond the decoder's own
// sub-frames (stress rows of the ITU-T routines, tests/vectors/g729/
// postfilter), the tilt compensation recorded in the G.729 decoder, the
// annex D phase-dispersion update, the high-pass filter over a whole
// official file, and the edge cases where the stated arithmetic departs
// from the reference's.
#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include <string>
#include <vector>

#include "g729/g729_golden.h"
#include "g729/g729_internal.h"

namespace {

using namespace kelsc_test;

// agc_stress.bin, 122 words: input [40], post-filtered [40], gain, scaled
// output [40], gain after (agc of POSTFILT.C on silent, tiny, speech-like,
// full-scale and +-full-scale signals).
TEST(G729AGainControl, MatchesTheReferenceOnStressSignals) {
    size_t silent = 0;
    for (const V16& row : g729Rows("postfilter/agc_stress.bin", 122)) {
        Fields f(row);
        const V16 in = f.take(40);
        V16 out = f.take(40);
        Kel16s gain = f.one();
        const V16 want = f.take(40);
        const Kel16s wantGain = f.one();
        ASSERT_EQ(kelsGainControl_G729A_16s_I(in.data(), out.data(), &gain), kelStatusOk);
        EXPECT_EQ(out, want);
        EXPECT_EQ(gain, wantGain);
        silent += wantGain == 0;
    }
    EXPECT_GT(silent, 5u);
}

// ltp_stress.bin, 224 words: delay, residual [-143..39], output [40]
// (pit_pst_filt with the decoder's search range; random, periodic,
// full-scale and extreme residuals; delays 18, 141, 145 and random; equal
// correlations at neighbouring delays, where the smaller delay wins).
TEST(G729ALongTermPostFilter, MatchesTheReferenceOnStressResiduals) {
    const Kel16s a[11] = {4096};  // A(z) = 1: the residual is the speech
    for (const V16& row : g729Rows("postfilter/ltp_stress.bin", 224)) {
        Fields f(row);
        const Kel16s delay = f.one();
        const V16 signal = f.take(183), want = f.take(40);
        Kel16s res[194], out[40];
        for (int i = 0; i < 11; ++i) res[i] = static_cast<Kel16s>(-1 - i);
        memcpy(res + 11, signal.data(), 143 * sizeof(Kel16s));
        ASSERT_EQ(kelsLongTermPostFilter_G729A_16s(delay, signal.data() + 143, a, res, out), kelStatusOk);
        EXPECT_EQ(V16(res + 154, res + 194), V16(signal.begin() + 143, signal.end()));
        EXPECT_EQ(V16(out, out + 40), want) << "delay " << delay;
    }
}

// preemphasis_stress.bin, 83 words: gamma, memory, signal [40], output
// [40], memory after (gamma +-full scale and random, memories at the ends).
TEST(G729APreemphasis, MatchesTheReferenceOnExtremes) {
    for (const V16& row : g729Rows("postfilter/preemphasis_stress.bin", 83)) {
        Fields f(row);
        const Kel16s gamma = f.one();
        Kel16s mem = f.one();
        V16 x = f.take(40);
        const V16 want = f.take(40);
        const Kel16s wantMem = f.one();
        Kel16s mem2 = mem;
        V16 out(40);
        ASSERT_EQ(kelsPreemphasize_G729A_16s(gamma, x.data(), out.data(), 40, &mem2), kelStatusOk);
        ASSERT_EQ(kelsPreemphasize_G729A_16s_I(gamma, x.data(), 40, &mem), kelStatusOk);
        EXPECT_EQ(x, want);
        EXPECT_EQ(out, want);
        EXPECT_EQ(mem, wantMem);
        EXPECT_EQ(mem2, wantMem);
    }
}

// tilt.bin, 102 words: impulse response [20], first reflection coefficient,
// signal [-1..39], output [40] (calc_rc0_h and filt_mu of PST.C: sub-frames
// of the G.729 decoder on main/{SPEECH,OVERFLOW,TAME,ALGTHM}.BIT, then
// saturating, alternating, unit, random and decaying responses).
TEST(G729TiltCompensation, MatchesTheReferencePostFilter) {
    for (const V16& row : g729Rows("postfilter/tilt.bin", 102)) {
        Fields f(row);
        const V16 h = f.take(20);
        const Kel16s k = f.one();
        V16 x = f.take(41);
        const V16 want = f.take(40);
        V16 viaE(40);
        ASSERT_EQ(kelsTiltCompensation_G729E_16s(k, x.data(), viaE.data()), kelStatusOk);
        EXPECT_EQ(viaE, want) << "the annex E form with the reference's coefficient " << k;
        const Kel16s before = x[0];
        ASSERT_EQ(kelsTiltCompensation_G729_16s(h.data(), x.data() + 1), kelStatusOk);
        EXPECT_EQ(V16(x.begin() + 1, x.end()), want) << "coefficient " << k;
        EXPECT_EQ(x[0], before);
    }
}

// tilt_e.bin, 82 words: tilt, signal [-1..39], output [40] (filt_mu on
// tilt 0, +-1, 32767, -32768 and random; rows on which the reference's
// 16-bit intermediate would wrap are left out, see the next test).
TEST(G729ETiltCompensation, MatchesTheReferenceFilter) {
    for (const V16& row : g729Rows("postfilter/tilt_e.bin", 82)) {
        Fields f(row);
        const Kel16s tilt = f.one();
        const V16 x = f.take(41), want = f.take(40);
        V16 out(40);
        ASSERT_EQ(kelsTiltCompensation_G729E_16s(tilt, x.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, want) << "tilt " << tilt;
    }
}

// x[n] + mu x[n - 1] is kept in 32 bits (the reference keeps its low 16):
// with tilt -32768 (mu = -29491, d = 3277, g = 2^26 / 3277 = 20479) and
// x[-1] = -32768, x[0] = 32767: 32767 + ((-32768 x -14746 + 8192) >> 14)
// = 32767 + 29492 = 62259, times 2 g rounded >> 12 saturates to 32767.
// With tilt 0 (mu 0, d 32767, g = 2^26 / 32767 = 2048) the signal passes
// as x 2 x 2048 / 4096 = x.
TEST(G729ETiltCompensation, KeepsTheIntermediateSumAndSaturatesTheOutput) {
    Kel16s x[41] = {-32768, 32767};
    for (int i = 2; i < 41; ++i) x[i] = static_cast<Kel16s>(i * 100 - 2000);
    Kel16s out[40];
    ASSERT_EQ(kelsTiltCompensation_G729E_16s(-32768, x, out), kelStatusOk);
    EXPECT_EQ(out[0], 32767);
    ASSERT_EQ(kelsTiltCompensation_G729E_16s(0, x, out), kelStatusOk);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(out[i], x[i + 1]);
}

// A zero impulse response gives k = 0 (the reference would divide by 0).
TEST(G729TiltCompensation, ZeroResponseLeavesTheSignal) {
    const Kel16s h[20] = {};
    Kel16s x[41];
    for (int i = 0; i < 41; ++i) x[i] = static_cast<Kel16s>(1000 * (i % 7) - 3000);
    const std::vector<Kel16s> orig(x, x + 41);
    ASSERT_EQ(kelsTiltCompensation_G729_16s(h, x + 1), kelStatusOk);
    EXPECT_EQ(std::vector<Kel16s>(x, x + 41), orig);
}

// phase_update.bin, 20 words: state [9] (six gains, counter, gain, flag),
// pitch gain, codebook gain, state after [9] (Update64 of the annex D
// decoder at 8 kbit/s and in its rate-switching mode).
TEST(G729DPhaseDispersion, UpdatesLikeTheReference) {
    Kel32s size = 0;
    ASSERT_EQ(kelsPhaseDispersionGetStateSize_G729D_16s(&size), kelStatusOk);
    ASSERT_EQ(size, 20);
    for (const V16& row : g729Rows("postfilter/phase_update.bin", 20)) {
        Fields f(row);
        const V16 before = f.take(9);
        const Kel16s gp = f.one(), gc = f.one();
        const V16 after = f.take(9);
        // An odd address: the block may have any alignment.
        alignas(8) Kel8u mem[24];
        auto* st = reinterpret_cast<KelG729DPhaseDispersionState*>(mem + 1);
        memset(mem, 0x5A, sizeof(mem));
        ASSERT_EQ(kelsPhaseDispersionInit_G729D_16s(st), kelStatusOk);
        for (int i = 1; i < 21; ++i) EXPECT_EQ(mem[i], 0);
        EXPECT_EQ(mem[0], 0x5A);
        EXPECT_EQ(mem[21], 0x5A);
        memcpy(mem + 1, before.data(), 18);
        ASSERT_EQ(kelsPhaseDispersionUpdate_G729D_16s(gp, gc, st), kelStatusOk);
        V16 got(9);
        memcpy(got.data(), mem + 1, 18);
        EXPECT_EQ(got, after);
        EXPECT_EQ(mem[19] | mem[20], 0) << "the spare word is kept";
        EXPECT_EQ(mem[21], 0x5A);
    }
}

uint64_t fnv1a(const Kel16s* x, int n) {
    uint64_t v = 0xcbf29ce484222325ULL;
    for (int i = 0; i < n; ++i) {
        const uint16_t w = static_cast<uint16_t>(x[i]);
        v = (v ^ (w & 0xFF)) * 0x100000001b3ULL;
        v = (v ^ (w >> 8)) * 0x100000001b3ULL;
    }
    return v;
}

// highpass_speech_fnv.bin: the 64-bit FNV-1a hash (little-endian, over the
// output's little-endian bytes) of each 80-sample frame of Pre_Process over
// the whole of main/SPEECH.IN; highpass_speech_frames.bin: frame index and
// the 80 outputs of frames 250, 750, ..., 3250.
TEST(G729HighPass, PreProcessesTheWholeSpeechFile) {
    const std::vector<int16_t> speech = readWords(officialPath("g729/main/SPEECH.IN"));
    if (speech.empty()) GTEST_SKIP() << "official G.729 vectors not found beside the project";
    const std::vector<uint8_t> hashes = readBytes(goldenPath("g729/postfilter/highpass_speech_fnv.bin"));
    const std::vector<V16> frames = g729Rows("postfilter/highpass_speech_frames.bin", 81);
    const size_t count = speech.size() / 80;
    ASSERT_EQ(hashes.size(), count * 8);
    const Kel16s pre[6] = {4096, 7807, -3733, 1899, -3798, 1899};
    alignas(8) Kel8u state[24];
    auto* hp = reinterpret_cast<KelG729HighPassState*>(state);
    ASSERT_EQ(kelsHighPassFilterInit_G729(pre, hp), kelStatusOk);
    size_t bad = 0, full = 0;
    for (size_t f = 0; f < count; ++f) {
        Kel16s x[80];
        memcpy(x, speech.data() + 80 * f, sizeof(x));
        ASSERT_EQ(kelsHighPassFilter_G729_16s_ISfs(x, 80, 12, hp), kelStatusOk);
        uint64_t want = 0;
        for (int b = 7; b >= 0; --b) want = want << 8 | hashes[8 * f + b];
        if (fnv1a(x, 80) != want && ++bad < 5) ADD_FAILURE() << "frame " << f;
        for (const V16& row : frames)
            if (static_cast<size_t>(row[0]) == f) {
                EXPECT_EQ(V16(x, x + 80), V16(row.begin() + 1, row.end())) << "frame " << f;
                ++full;
            }
    }
    EXPECT_EQ(bad, 0u);
    EXPECT_EQ(full, frames.size());
}

// The residual filter keeps the low 16 bits of a wrapping 32-bit sum
// where the reference saturates.
TEST(G729ResidualFilter, WrapsInsteadOfSaturating) {
    Kel16s a[11], x[50], y[40];
    for (int i = 0; i < 11; ++i) a[i] = 4096;
    for (int i = 0; i < 50; ++i) x[i] = 32767;
    ASSERT_EQ(kelsResidualFilter_G729_16s(x + 10, a, y), kelStatusOk);
    // (11 x 4096 x 32767 + 2048) >> 12 = 360437; low 16 bits 32757.
    for (int i = 0; i < 40; ++i) EXPECT_EQ(y[i], 32757);
    // 11 x 32767 x 32767 + 2048 = 11810441227 wraps to -1074460661;
    // >> 12 = -262320, low 16 bits -176.
    for (int i = 0; i < 11; ++i) a[i] = 32767;
    ASSERT_EQ(kelsResidualFilter_G729_16s(x + 10, a, y), kelStatusOk);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(y[i], -176);
}

// Erasure of a saturated pitch gain: 32767 x 0.9 = 29490, under the
// ceiling; the annex I form has no ceiling and one factor for both gains.
TEST(G729GainEdges, ErasureEdgeCases) {
    Kel16s past[4] = {-14336, -14336, -14336, -14336}, gain[2] = {32767, 32767};
    ASSERT_EQ(kelsDecodeGain_G729_16s(0, past, nullptr, gain), kelStatusOk);
    EXPECT_EQ(gain[0], 29490);
    EXPECT_EQ(gain[1], 32110);
    EXPECT_EQ(past[0], -14336) << "the mean less 4 dB is floored at -14 dB";
    Kel16s gainI[2] = {32767, -32768};
    ASSERT_EQ(kelsDecodeGain_G729I_16s(0, 32767, past, nullptr, gainI), kelStatusOk);
    EXPECT_EQ(gainI[0], 32766);
    EXPECT_EQ(gainI[1], -32767);
}

// A zero code energy with zero past errors predicts about 127 dB: the
// 8 kbit/s fixed-codebook gain saturates, the annex I one keeps the low 16
// bits of correction x predicted gain >> (exp + 12). Indices 0, 0 of the
// 6.4 kbit/s tables: rows 0 and 0, pitch gain 5849 + 0, correction
// (0 + 4175) / 2 = 2087 (Q13). The prediction itself is the one the
// reference rows check.
TEST(G729GainEdges, OverflowingPredictionSaturatesOnlyAt8kbps) {
    const Kel16s idx[2] = {0, 0}, zero[4] = {};
    Kel16s gcode0 = 0, exp = 0;
    kel::ownGainPredict_G729_16s(0, zero, &gcode0, &exp);
    ASSERT_LT(exp + 12, 16) << "the prediction must overflow 16 bits for this case";
    Kel16s past[4] = {}, gain[2] = {};
    ASSERT_EQ(kelsDecodeGain_G729I_16s(0, 0, past, idx, gain), kelStatusOk);
    EXPECT_EQ(gain[0], 5849);
    EXPECT_EQ(gain[1], static_cast<Kel16s>(static_cast<uint16_t>((int64_t{2087} * gcode0) >> (exp + 12))));
    Kel16s past8[4] = {}, gain8[2] = {};
    ASSERT_EQ(kelsDecodeGain_G729_16s(0, past8, idx, gain8), kelStatusOk);
    EXPECT_EQ(gain8[1], 32767);
}

// Gain control with a silent post-filtered sub-frame (all samples 0..3,
// which the >> 2 of the energy makes zero) stores 0, leaves the samples.
TEST(G729AGainControl, SilentOutputStoresZero) {
    Kel16s in[40], out[40], gain = 4096;
    for (int i = 0; i < 40; ++i) {
        in[i] = static_cast<Kel16s>(1000 - 50 * i);
        out[i] = static_cast<Kel16s>(i % 4);
    }
    const std::vector<Kel16s> orig(out, out + 40);
    ASSERT_EQ(kelsGainControl_G729A_16s_I(in, out, &gain), kelStatusOk);
    EXPECT_EQ(gain, 0);
    EXPECT_EQ(std::vector<Kel16s>(out, out + 40), orig);
}

}  // namespace
