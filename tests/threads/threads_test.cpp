// Several threads run the stateful families at once: the real FFT on one
// shared block (each thread with its own work buffer, or none), G.726,
// G.722, the G.729 LSP quantiser and high-pass filter, and the GSM
// full-rate filters, each thread with its own states and memories. Every
// result must equal the single-threaded one. Built with
// -DKELSC_SANITIZE=thread this is the library's data-race check: the
// library keeps no writable global state, so ThreadSanitizer must report
// nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "kelsc.h"
#include "support/test_data.h"

namespace {

using Samples = std::vector<Kel16s>;

constexpr int kThreads = 4;
constexpr int kRounds = 6;
constexpr int kFftOrder = 10;
constexpr int kN = 1 << kFftOrder;

// One thread's input: a signal made from its seed.
Samples signal(uint64_t seed, int n, int amplitude) {
    kelsc_test::Rng rng(seed);
    Samples s(n);
    for (int i = 0; i < n; ++i)
        s[i] = static_cast<Kel16s>(static_cast<int64_t>(rng.next() % (2 * amplitude + 1)) - amplitude);
    return s;
}

struct FftBlock {
    std::vector<Kel8u> spec, init;
    KelFFTSpec_R_32f* p = nullptr;
    int work = 0;
    FftBlock() {
        int specSize = 0, initSize = 0;
        EXPECT_EQ(kelsFFTGetSize_R_32f(kFftOrder, kelFftDivInvByN, 0, &specSize, &initSize, &work), kelStatusOk);
        spec.resize(specSize);
        init.resize(initSize);
        EXPECT_EQ(kelsFFTInit_R_32f(&p, kFftOrder, kelFftDivInvByN, 0, spec.data(), init.data()), kelStatusOk);
    }
};

// Everything one thread computes, so that runs can be compared.
struct Results {
    std::vector<Kel32f> spectrum;
    std::vector<Kel8u> g726Codes;
    Samples g726Decoded, g722Codes, g722Decoded, lsp, highPass, gsm;
    bool operator==(const Results& o) const {
        return spectrum == o.spectrum && g726Codes == o.g726Codes && g726Decoded == o.g726Decoded &&
               g722Codes == o.g722Codes && g722Decoded == o.g722Decoded && lsp == o.lsp && highPass == o.highPass &&
               gsm == o.gsm;
    }
};

// A thread's work: its own states and memories, the shared FFT block.
Results work(const FftBlock& fft, uint64_t seed) {
    Results r;
    const Samples x = signal(seed, kN, 8000);

    std::vector<Kel32f> in(x.begin(), x.end());
    r.spectrum.resize(kN + 2);
    std::vector<Kel8u> buffer(fft.work);
    EXPECT_EQ(kelsFFTFwd_RToCCS_32f(in.data(), r.spectrum.data(), fft.p, seed % 2 ? buffer.data() : nullptr),
              kelStatusOk);

    Kel32u size = 0;
    kelsEncodeGetStateSize_G726_16s8u(&size);
    std::vector<Kel8u> enc(size);
    kelsDecodeGetStateSize_G726_8u16s(&size);
    std::vector<Kel8u> dec(size);
    auto* e = reinterpret_cast<KelG726EncoderState*>(enc.data());
    auto* d = reinterpret_cast<KelG726DecoderState*>(dec.data());
    EXPECT_EQ(kelsEncodeInit_G726_16s8u(e, kelSpeechRate32000), kelStatusOk);
    EXPECT_EQ(kelsDecodeInit_G726_8u16s(d, kelSpeechRate32000, kelPcmLinear), kelStatusOk);
    r.g726Codes.resize(kN);
    r.g726Decoded.resize(kN);
    EXPECT_EQ(kelsEncode_G726_16s8u(e, x.data(), r.g726Codes.data(), kN), kelStatusOk);
    EXPECT_EQ(kelsDecode_G726_8u16s(d, r.g726Codes.data(), r.g726Decoded.data(), kN), kelStatusOk);

    kelsSBADPCMEncodeStateSize_G722_16s(&size);
    std::vector<Kel8u> enc2(size), dec2(size);
    auto* e2 = reinterpret_cast<KelG722EncoderState*>(enc2.data());
    auto* d2 = reinterpret_cast<KelG722DecoderState*>(dec2.data());
    kelsSBADPCMEncodeInit_G722_16s(e2);
    kelsSBADPCMDecodeInit_G722_16s(d2);
    std::vector<Kel16u> codes(kN);
    EXPECT_EQ(kelsSBADPCMEncode_G722_16s(x.data(), codes.data(), kN, e2), kelStatusOk);
    r.g722Codes.assign(codes.begin(), codes.end());
    r.g722Decoded.resize(kN);
    EXPECT_EQ(kelsSBADPCMDecode_G722_16s(r.g722Codes.data(), r.g722Decoded.data(), kN, 1, d2), kelStatusOk);

    // G.729 LSP quantiser over a run of ordered LSP vectors, one memory.
    Samples freq;
    for (int f = 0; f < 4; ++f)
        for (int i = 1; i <= 10; ++i) freq.push_back(static_cast<Kel16s>(i * 2339 + (i == 10 ? 6 : 0)));
    for (int frame = 0; frame < 16; ++frame) {
        Samples lsp = signal(seed * 131 + frame, 10, 32000);
        std::sort(lsp.begin(), lsp.end(), [](Kel16s a, Kel16s b) { return a > b; });
        Kel16s q[10], idx[2];
        kelsLSPQuant_G729_16s(lsp.data(), freq.data(), q, idx);
        r.lsp.insert(r.lsp.end(), q, q + 10);
        r.lsp.insert(r.lsp.end(), idx, idx + 2);
    }

    Kel32s hpSize = 0;
    kelsHighPassFilterSize_G729(&hpSize);
    std::vector<Kel8u> hp(hpSize);
    const Kel16s pre[6] = {4096, 7807, -3733, 1899, -3798, 1899};
    kelsHighPassFilterInit_G729(pre, reinterpret_cast<KelG729HighPassState*>(hp.data()));
    r.highPass = x;
    EXPECT_EQ(
        kelsHighPassFilter_G729_16s_ISfs(r.highPass.data(), kN, 12, reinterpret_cast<KelG729HighPassState*>(hp.data())),
        kelStatusOk);

    KelHighPassMem_GSMFR mem{};
    Kel16s pre2 = 0;
    r.gsm.resize(kN);
    kelsHighPassFilter_GSMFR_16s(x.data(), r.gsm.data(), kN, &mem);
    kelsPreemphasize_GSMFR_16s(r.gsm.data(), r.gsm.data(), kN, &pre2);
    return r;
}

TEST(Threads, StatefulFamiliesAgreeWithOneThread) {
    const FftBlock fft;
    std::vector<Results> expected;
    for (int t = 0; t < kThreads; ++t) expected.push_back(work(fft, 1000 + t));

    std::vector<Results> got(kThreads * kRounds);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) got[t * kRounds + round] = work(fft, 1000 + t);
        });
    for (std::thread& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t)
        for (int round = 0; round < kRounds; ++round)
            EXPECT_TRUE(got[t * kRounds + round] == expected[t]) << "thread " << t << " round " << round;
}

}  // namespace
