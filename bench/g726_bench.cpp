// G.726 ADPCM at 32 kbit/s: our encoder and decoder against spandsp's
// (Debian libspandsp-dev, linked as a shared library), on the same speech
// sample in one run.
//
// Before timing anything the program checks, at all four rates, that both
// encoders give the same code words for the speech sample and that both
// decoders give the same samples for those codes; it stops with a message
// on a mismatch. `--verify-only` runs the check alone (a CTest entry does).
// The check reports on stderr, so that stdout holds only the benchmark
// output (e.g. its JSON).
//
// Input scaling: our coder takes 14-bit samples, spandsp's 16-bit ones, from
// which it keeps the top 14 bits (an arithmetic shift right by 2). The 16-bit
// speech x gives us x >> 2 and spandsp (x >> 2) << 2, so both code the same
// 14-bit signal. Decoded, spandsp returns the reconstructed signal shifted
// left by 2 and wrapped to 16 bits, while ours limits it to -8192..8191: the
// two differ only on samples where the reconstruction leaves the 14-bit range
// (our output then sits at a limit), which the check counts and reports.
//
// Benchmark names are <operation>/<implementation>/<N> with implementation
// kelsc or spandsp and N the samples per call; every iteration codes the
// next N samples of the speech (cyclically, the state carried on), so both
// coders see the same signal. tools/bench_report.py makes the ratio table
// of docs/PERFORMANCE.md.
#include <benchmark/benchmark.h>
#include <kelsc.h>
#include <spandsp/telephony.h>
// telephony.h first: g726.h uses its declarations.
#include <spandsp/g726.h>
#include <stdio.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include "bench_support.h"

#ifndef KELSC_SPEECH_8K
#error "KELSC_SPEECH_8K must name the 8 kHz speech sample (a 16-bit mono WAV file)"
#endif

namespace {

// The speech as each coder takes it: 14-bit for ours, the same signal
// scaled to 16 bits for spandsp.
struct Speech {
    std::vector<Kel16s> ours;
    std::vector<int16_t> theirs;
};

const Speech& speech() {
    static const Speech s = [] {
        Speech out;
        for (Kel16s x : kelsc_bench::readWav16(KELSC_SPEECH_8K)) {
            out.ours.push_back(static_cast<Kel16s>(x >> 2));
            out.theirs.push_back(static_cast<int16_t>((x >> 2) * 4));
        }
        return out;
    }();
    return s;
}

struct RateCase {
    int kelsRate;  // kelSpeechRate... code
    int bitRate;   // bit/s, as spandsp takes it
};
constexpr RateCase kRates[] = {
    {kelSpeechRate16000, 16000}, {kelSpeechRate24000, 24000}, {kelSpeechRate32000, 32000}, {kelSpeechRate40000, 40000}};

// Our coder's state blocks, in memory of the size the library reports.
struct OurEncoder {
    explicit OurEncoder(int rate) {
        Kel32u size = 0;
        kelsEncodeGetStateSize_G726_16s8u(&size);
        block.resize(size);
        kelsEncodeInit_G726_16s8u(state(), rate);
    }
    KelG726EncoderState* state() { return reinterpret_cast<KelG726EncoderState*>(block.data()); }
    std::vector<Kel8u> block;
};

struct OurDecoder {
    explicit OurDecoder(int rate) {
        Kel32u size = 0;
        kelsDecodeGetStateSize_G726_8u16s(&size);
        block.resize(size);
        kelsDecodeInit_G726_8u16s(state(), rate, kelPcmLinear);
    }
    KelG726DecoderState* state() { return reinterpret_cast<KelG726DecoderState*>(block.data()); }
    std::vector<Kel8u> block;
};

// A spandsp coder, linear 16-bit samples, one code word per byte.
struct Peer {
    explicit Peer(int bitRate) : s(g726_init(nullptr, bitRate, G726_ENCODING_LINEAR, G726_PACKING_NONE)) {}
    ~Peer() { g726_free(s); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    g726_state_t* s;
};

// Codes and decodes the whole speech with both coders at every rate and
// compares. Returns false (after printing why) on a mismatch.
bool verify() {
    const Speech& sp = speech();
    const int n = static_cast<int>(sp.ours.size());
    if (n == 0) {
        fprintf(stderr, "cannot read the speech sample %s\n", KELSC_SPEECH_8K);
        return false;
    }
    bool ok = true;
    for (const RateCase& r : kRates) {
        std::vector<Kel8u> ourCodes(n), peerCodes(n);
        OurEncoder enc(r.kelsRate);
        Peer peerEnc(r.bitRate);
        kelsEncode_G726_16s8u(enc.state(), sp.ours.data(), ourCodes.data(), n);
        g726_encode(peerEnc.s, peerCodes.data(), sp.theirs.data(), n);
        int codeMismatches = 0, first = -1;
        for (int i = 0; i < n; ++i) {
            if (ourCodes[i] != peerCodes[i] && codeMismatches++ == 0) first = i;
        }
        if (codeMismatches != 0) {
            fprintf(stderr, "G.726 %d bit/s: %d of %d code words differ from spandsp's, first at %d (%d vs %d)\n",
                    r.bitRate, codeMismatches, n, first, ourCodes[first], peerCodes[first]);
            ok = false;
            continue;
        }

        std::vector<Kel16s> ourOut(n);
        std::vector<int16_t> peerOut(n);
        OurDecoder dec(r.kelsRate);
        Peer peerDec(r.bitRate);
        kelsDecode_G726_8u16s(dec.state(), ourCodes.data(), ourOut.data(), n);
        g726_decode(peerDec.s, peerOut.data(), ourCodes.data(), n);
        int limited = 0, sampleMismatches = 0;
        for (int i = 0; i < n; ++i) {
            if (static_cast<int16_t>(ourOut[i] * 4) == peerOut[i]) continue;
            // Out of the 14-bit range: ours is limited, spandsp's wraps.
            if (ourOut[i] == -8192 || ourOut[i] == 8191) {
                ++limited;
            } else if (sampleMismatches++ == 0) {
                fprintf(stderr, "G.726 %d bit/s: decoded sample %d is %d, spandsp's %d (/4)\n", r.bitRate, i, ourOut[i],
                        peerOut[i]);
            }
        }
        if (sampleMismatches != 0) ok = false;
        fprintf(stderr,
                "G.726 %d bit/s: %d code words equal; decoded samples equal, %d where the reconstruction leaves the "
                "14-bit range (kelsc limits, spandsp wraps)%s\n",
                r.bitRate, n, limited, sampleMismatches ? ", and MISMATCHES" : "");
    }
    return ok;
}

void encodeKelsc(benchmark::State& st) {
    const Speech& sp = speech();
    const size_t n = static_cast<size_t>(st.range(0));
    OurEncoder enc(kelSpeechRate32000);
    std::vector<Kel8u> codes(n);
    size_t pos = 0;
    for (auto _ : st) {
        const size_t at = kelsc_bench::advance(pos, n, sp.ours.size());
        kelsEncode_G726_16s8u(enc.state(), sp.ours.data() + at, codes.data(), static_cast<int>(n));
        benchmark::DoNotOptimize(codes.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * n));
}

void encodeSpandsp(benchmark::State& st) {
    const Speech& sp = speech();
    const size_t n = static_cast<size_t>(st.range(0));
    Peer enc(32000);
    std::vector<uint8_t> codes(n);
    size_t pos = 0;
    for (auto _ : st) {
        const size_t at = kelsc_bench::advance(pos, n, sp.theirs.size());
        g726_encode(enc.s, codes.data(), sp.theirs.data() + at, static_cast<int>(n));
        benchmark::DoNotOptimize(codes.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * n));
}

// The decoders read the code words of the speech at 32 kbit/s.
const std::vector<Kel8u>& speechCodes32() {
    static const std::vector<Kel8u> codes = [] {
        const Speech& sp = speech();
        std::vector<Kel8u> out(sp.ours.size());
        OurEncoder enc(kelSpeechRate32000);
        kelsEncode_G726_16s8u(enc.state(), sp.ours.data(), out.data(), static_cast<int>(out.size()));
        return out;
    }();
    return codes;
}

void decodeKelsc(benchmark::State& st) {
    const std::vector<Kel8u>& codes = speechCodes32();
    const size_t n = static_cast<size_t>(st.range(0));
    OurDecoder dec(kelSpeechRate32000);
    std::vector<Kel16s> out(n);
    size_t pos = 0;
    for (auto _ : st) {
        const size_t at = kelsc_bench::advance(pos, n, codes.size());
        kelsDecode_G726_8u16s(dec.state(), codes.data() + at, out.data(), static_cast<int>(n));
        benchmark::DoNotOptimize(out.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * n));
}

void decodeSpandsp(benchmark::State& st) {
    const std::vector<Kel8u>& codes = speechCodes32();
    const size_t n = static_cast<size_t>(st.range(0));
    Peer dec(32000);
    std::vector<int16_t> out(n);
    size_t pos = 0;
    for (auto _ : st) {
        const size_t at = kelsc_bench::advance(pos, n, codes.size());
        g726_decode(dec.s, out.data(), codes.data() + at, static_cast<int>(n));
        benchmark::DoNotOptimize(out.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * n));
}

// 10 ms and 20 ms frames, and one second per call.
#define KEL_SIZES Arg(80)->Arg(160)->Arg(8000)
BENCHMARK(encodeKelsc)->Name("EncodeG726_32k/kelsc")->KEL_SIZES;
BENCHMARK(encodeSpandsp)->Name("EncodeG726_32k/spandsp")->KEL_SIZES;
BENCHMARK(decodeKelsc)->Name("DecodeG726_32k/kelsc")->KEL_SIZES;
BENCHMARK(decodeSpandsp)->Name("DecodeG726_32k/spandsp")->KEL_SIZES;

}  // namespace

int main(int argc, char** argv) { return kelsc_bench::runAfterVerify(argc, argv, verify, "spandsp"); }
