// The G.729 encoder's LP front end end to end over the ITU-T test vectors:
// pre-processing high-pass filter, windowed autocorrelation, lag window,
// Levinson-Durbin, LP to LSP and LSP quantisation, frame by frame as G.729
// runs them, reproduce the LSP indices (the first 18 bits of every frame)
// of the official bit streams.
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "g729/g729_golden.h"

namespace {

using namespace kelsc_test;

class FrontEnd : public ::testing::TestWithParam<const char*> {};

TEST_P(FrontEnd, ReproducesTheLspIndicesOfTheBitStream) {
    const std::string name = GetParam();
    const std::vector<int16_t> speech = readWords(officialPath("g729/main/" + name + ".IN"));
    const std::vector<int16_t> bits = readWords(officialPath("g729/main/" + name + ".BIT"));
    if (speech.empty() || bits.empty()) GTEST_SKIP() << "official G.729 vectors not found beside the project";
    const size_t frames = speech.size() / 80;
    ASSERT_EQ(bits.size(), frames * 82) << "one serial frame per 80 samples";

    const Kel16s pre[6] = {4096, 7807, -3733, 1899, -3798, 1899};  // G.729 3.1: 140 Hz, Q12
    alignas(8) Kel8u state[24];
    auto* hp = reinterpret_cast<KelG729HighPassState*>(state);
    ASSERT_EQ(kelsHighPassFilterInit_G729(pre, hp), kelStatusOk);
    // The LP window (240 samples): 120 past samples, the frame, 40 ahead.
    Kel16s window[240] = {};
    Kel16s lpc[11] = {4096}, lspOld[10] = {30000, 26000, 21000, 15000, 8000, 0, -8000, -15000, -21000, -26000};
    V16 memory = resetMemory();
    size_t mismatches = 0, unstable = 0;
    for (size_t f = 0; f < frames; ++f) {
        memmove(window, window + 80, 160 * sizeof(Kel16s));
        memcpy(window + 160, speech.data() + 80 * f, 80 * sizeof(Kel16s));
        ASSERT_EQ(kelsHighPassFilter_G729_16s_ISfs(window + 160, 80, 12, hp), kelStatusOk);

        Kel32s r[13];
        Kel16s norm, rc[2], energy, lsp[10], lspq[10], idx[2];
        ASSERT_EQ(kelsAutoCorr_G729B(window, &norm, r), kelStatusOk);
        ASSERT_EQ(kelsLagWindow_G729_32s_I(r + 1, 10), kelStatusOk);
        const KelStatus st = kelsLevinsonDurbin_G729B(r, lpc, rc, &energy);
        ASSERT_TRUE(st == kelStatusOk || st == kelStatusOverflow);  // on +12 the previous filter stays in lpc
        unstable += st != kelStatusOk;
        ASSERT_EQ(kelsLPCToLSP_G729_16s(lpc, lspOld, lsp), kelStatusOk);
        ASSERT_EQ(kelsLSPQuant_G729_16s(lsp, memory.data(), lspq, idx), kelStatusOk);
        memcpy(lspOld, lsp, sizeof(lsp));

        // Serial format: sync word, length 80, then one word per bit
        // (0x0081 a one, 0x007f a zero), L0 L1 (8 bits) then L2 L3 (10).
        const int16_t* b = bits.data() + 82 * f;
        ASSERT_EQ(b[0], 0x6b21);
        ASSERT_EQ(b[1], 80);
        int w0 = 0, w1 = 0;
        for (int i = 0; i < 8; ++i) w0 = w0 << 1 | (b[2 + i] == 0x0081);
        for (int i = 0; i < 10; ++i) w1 = w1 << 1 | (b[10 + i] == 0x0081);
        if (w0 != idx[0] || w1 != idx[1]) {
            if (++mismatches < 5)
                ADD_FAILURE() << name << " frame " << f << ": " << idx[0] << " " << idx[1] << " instead of " << w0
                              << " " << w1;
        }
    }
    EXPECT_EQ(mismatches, 0u) << name << ": " << frames << " frames, " << unstable << " unstable";
}

INSTANTIATE_TEST_SUITE_P(G729, FrontEnd, ::testing::Values("SPEECH", "ALGTHM", "FIXED", "LSP", "PITCH", "TAME"),
                         [](const ::testing::TestParamInfo<const char*>& info) { return std::string(info.param); });

}  // namespace
