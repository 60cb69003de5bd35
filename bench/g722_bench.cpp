// G.722 at 64 kbit/s: our encoder chain (QMF analysis, then SB-ADPCM
// encoding) and decoder chain (SB-ADPCM decoding, then QMF synthesis)
// against spandsp's G.722 codec (Debian libspandsp-dev, linked as a shared
// library), which includes its QMF, on the same 16 kHz speech in one run.
//
// Before timing anything the program checks that both encoders give the
// same octets (IH << 6 | ILR) for the speech sample and that both decoders
// give the same 16 kHz samples for those octets, in every mode (spandsp's
// 64000, 56000 and 48000 bit/s decoders against our modes 1, 2, 3); it stops
// with a message on a mismatch. `--verify-only` runs the check alone (a
// CTest entry does). The check reports on stderr, so that stdout holds only
// the benchmark output (e.g. its JSON).
//
// Both sides do the same work per call: 16-bit samples at 16 kHz in, one
// octet per 8 kHz instant out, and back. Ours packs its interleaved code
// words into octets after encoding and unpacks them before decoding (the
// transmission format is the caller's business in our interface); that
// time is included.
//
// Benchmark names are <operation>/<implementation>/<N> with implementation
// kelsc or spandsp and N the 16 kHz samples per call; every iteration codes
// the next N samples of the speech (cyclically, the state carried on), so
// both coders see the same signal. tools/bench_report.py makes the ratio
// table of docs/PERFORMANCE.md.
#include <benchmark/benchmark.h>
#include <kelsc.h>
#include <spandsp/telephony.h>
// telephony.h first: g722.h uses its declarations.
#include <spandsp/g722.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench_support.h"

#ifndef KELSC_SPEECH_16K
#error "KELSC_SPEECH_16K must name the 16 kHz speech sample (a 16-bit mono WAV file)"
#endif

namespace {

// The speech sample, cut to an even number of samples (whole pairs).
const std::vector<Kel16s>& speech() {
    static const std::vector<Kel16s> s = [] {
        std::vector<Kel16s> x = kelsc_bench::readWav16(KELSC_SPEECH_16K);
        x.resize(x.size() & ~static_cast<size_t>(1));
        return x;
    }();
    return s;
}

// The largest block a benchmark codes per call (samples at 16 kHz).
constexpr size_t kMaxBlock = 16000;

// Our encoder chain: QMF delay line, state block and work buffers.
struct OurEncoder {
    OurEncoder() {
        Kel32u size = 0;
        kelsSBADPCMEncodeStateSize_G722_16s(&size);
        block.resize(size);
        kelsSBADPCMEncodeInit_G722_16s(state());
    }
    OurEncoder(const OurEncoder&) = delete;
    OurEncoder& operator=(const OurEncoder&) = delete;
    KelG722EncoderState* state() { return reinterpret_cast<KelG722EncoderState*>(block.data()); }
    // n samples (even) to n / 2 octets.
    void encode(const Kel16s* x, int n, uint8_t* octets) {
        kelsQMFEncode_G722_16s(x, bands, n, delay);
        kelsSBADPCMEncode_G722_16s(bands, codes, n, state());
        for (int k = 0; k < n / 2; ++k) octets[k] = static_cast<uint8_t>(codes[2 * k + 1] << 6 | codes[2 * k]);
    }
    std::vector<Kel8u> block;
    Kel16s delay[24] = {};
    std::vector<Kel16s> bandBuffer = std::vector<Kel16s>(kMaxBlock);
    std::vector<Kel16u> codeBuffer = std::vector<Kel16u>(kMaxBlock);
    Kel16s* bands = bandBuffer.data();
    Kel16u* codes = codeBuffer.data();
};

struct OurDecoder {
    explicit OurDecoder(Kel16s mode) : mode(mode) {
        Kel32u size = 0;
        kelsSBADPCMDecodeStateSize_G722_16s(&size);
        block.resize(size);
        kelsSBADPCMDecodeInit_G722_16s(state());
    }
    OurDecoder(const OurDecoder&) = delete;
    OurDecoder& operator=(const OurDecoder&) = delete;
    KelG722DecoderState* state() { return reinterpret_cast<KelG722DecoderState*>(block.data()); }
    // m octets to 2 m samples.
    void decode(const uint8_t* octets, int m, Kel16s* y) {
        for (int k = 0; k < m; ++k) {
            codes[2 * k] = static_cast<Kel16s>(octets[k] & 63);
            codes[2 * k + 1] = static_cast<Kel16s>(octets[k] >> 6);
        }
        kelsSBADPCMDecode_G722_16s(codes, bands, 2 * m, mode, state());
        kelsQMFDecode_G722_16s(bands, y, 2 * m, delay);
    }
    Kel16s mode;
    std::vector<Kel8u> block;
    Kel16s delay[24] = {};
    std::vector<Kel16s> codeBuffer = std::vector<Kel16s>(kMaxBlock);
    std::vector<Kel16s> bandBuffer = std::vector<Kel16s>(kMaxBlock);
    Kel16s* codes = codeBuffer.data();
    Kel16s* bands = bandBuffer.data();
};

// spandsp's coders at a bit rate, 16 kHz linear samples, one octet per
// instant (no packing).
struct PeerEncoder {
    PeerEncoder() : s(g722_encode_init(nullptr, 64000, 0)) {}
    ~PeerEncoder() { g722_encode_free(s); }
    PeerEncoder(const PeerEncoder&) = delete;
    PeerEncoder& operator=(const PeerEncoder&) = delete;
    g722_encode_state_t* s;
};

struct PeerDecoder {
    explicit PeerDecoder(int bitRate) : s(g722_decode_init(nullptr, bitRate, 0)) {}
    ~PeerDecoder() { g722_decode_free(s); }
    PeerDecoder(const PeerDecoder&) = delete;
    PeerDecoder& operator=(const PeerDecoder&) = delete;
    g722_decode_state_t* s;
};

struct ModeCase {
    Kel16s mode;
    int bitRate;  // spandsp's decoder rate
};
constexpr ModeCase kModes[] = {{1, 64000}, {2, 56000}, {3, 48000}};

// Our encoder's octets of the whole speech, coded in blocks of kMaxBlock.
std::vector<uint8_t> ourOctets() {
    const std::vector<Kel16s>& x = speech();
    std::vector<uint8_t> octets(x.size() / 2);
    OurEncoder enc;
    for (size_t at = 0; at < x.size(); at += kMaxBlock) {
        const size_t n = std::min(kMaxBlock, x.size() - at);
        enc.encode(x.data() + at, static_cast<int>(n), octets.data() + at / 2);
    }
    return octets;
}

const std::vector<uint8_t>& speechOctets() {
    static const std::vector<uint8_t> octets = ourOctets();
    return octets;
}

// At 56 and 48 kbit/s spandsp's decoder takes the code shifted right by 1
// or 2 bits (the bits it decodes, right-aligned) when it is not packing.
uint8_t peerCode(uint8_t octet, int bitRate) {
    return bitRate == 64000 ? octet : static_cast<uint8_t>(octet >> (bitRate == 56000 ? 1 : 2));
}

// Codes and decodes the whole speech with both codecs and compares.
// Returns false (after printing why) on a mismatch.
bool verify() {
    const std::vector<Kel16s>& x = speech();
    if (x.empty()) {
        fprintf(stderr, "cannot read the speech sample %s\n", KELSC_SPEECH_16K);
        return false;
    }
    const int n = static_cast<int>(x.size());
    const std::vector<uint8_t>& ours = speechOctets();
    std::vector<uint8_t> theirs(x.size() / 2);
    PeerEncoder peerEnc;
    const int made = g722_encode(peerEnc.s, theirs.data(), x.data(), n);
    int mismatches = 0, first = -1;
    for (size_t k = 0; k < ours.size(); ++k) {
        if (ours[k] != theirs[k] && mismatches++ == 0) first = static_cast<int>(k);
    }
    if (made != n / 2 || mismatches != 0) {
        fprintf(stderr,
                "G.722 encoder: spandsp made %d octets for %d samples; %d of %zu differ from ours, first at %d\n", made,
                n, mismatches, ours.size(), first);
        return false;
    }
    fprintf(stderr, "G.722 64 kbit/s: %zu octets equal\n", ours.size());

    bool ok = true;
    for (const ModeCase& m : kModes) {
        OurDecoder dec(m.mode);
        std::vector<Kel16s> ourOut(x.size());
        for (size_t at = 0; at < ours.size(); at += kMaxBlock / 2) {
            const size_t count = std::min(kMaxBlock / 2, ours.size() - at);
            dec.decode(ours.data() + at, static_cast<int>(count), ourOut.data() + 2 * at);
        }
        std::vector<uint8_t> peerIn(ours.size());
        for (size_t k = 0; k < ours.size(); ++k) peerIn[k] = peerCode(ours[k], m.bitRate);
        std::vector<int16_t> peerOut(x.size());
        PeerDecoder peerDec(m.bitRate);
        const int got = g722_decode(peerDec.s, peerOut.data(), peerIn.data(), static_cast<int>(peerIn.size()));
        int differ = 0, at = -1;
        for (int i = 0; i < n; ++i) {
            if (ourOut[i] != peerOut[i] && differ++ == 0) at = i;
        }
        if (got != n || differ != 0) {
            fprintf(stderr, "G.722 mode %d: spandsp decoded %d samples; %d of %d differ from ours, first at %d\n",
                    m.mode, got, differ, n, at);
            ok = false;
        } else {
            fprintf(stderr, "G.722 mode %d (%d bit/s): %d decoded samples equal\n", m.mode, m.bitRate, n);
        }
    }
    return ok;
}

void encodeKelsc(benchmark::State& st) {
    const std::vector<Kel16s>& x = speech();
    const size_t n = static_cast<size_t>(st.range(0));
    OurEncoder enc;
    std::vector<uint8_t> octets(n / 2);
    size_t pos = 0;
    for (auto _ : st) {
        const size_t at = kelsc_bench::advance(pos, n, x.size());
        enc.encode(x.data() + at, static_cast<int>(n), octets.data());
        benchmark::DoNotOptimize(octets.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * n));
}

void encodeSpandsp(benchmark::State& st) {
    const std::vector<Kel16s>& x = speech();
    const size_t n = static_cast<size_t>(st.range(0));
    PeerEncoder enc;
    std::vector<uint8_t> octets(n / 2);
    size_t pos = 0;
    for (auto _ : st) {
        const size_t at = kelsc_bench::advance(pos, n, x.size());
        g722_encode(enc.s, octets.data(), x.data() + at, static_cast<int>(n));
        benchmark::DoNotOptimize(octets.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * n));
}

void decodeKelsc(benchmark::State& st) {
    const std::vector<uint8_t>& octets = speechOctets();
    const size_t n = static_cast<size_t>(st.range(0));
    OurDecoder dec(1);
    std::vector<Kel16s> y(n);
    size_t pos = 0;
    for (auto _ : st) {
        const size_t at = kelsc_bench::advance(pos, n / 2, octets.size());
        dec.decode(octets.data() + at, static_cast<int>(n / 2), y.data());
        benchmark::DoNotOptimize(y.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * n));
}

void decodeSpandsp(benchmark::State& st) {
    const std::vector<uint8_t>& octets = speechOctets();
    const size_t n = static_cast<size_t>(st.range(0));
    PeerDecoder dec(64000);
    std::vector<int16_t> y(n);
    size_t pos = 0;
    for (auto _ : st) {
        const size_t at = kelsc_bench::advance(pos, n / 2, octets.size());
        g722_decode(dec.s, y.data(), octets.data() + at, static_cast<int>(n / 2));
        benchmark::DoNotOptimize(y.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * n));
}

// 10 ms and 20 ms frames at 16 kHz, and one second per call.
#define KEL_SIZES Arg(160)->Arg(320)->Arg(16000)
BENCHMARK(encodeKelsc)->Name("EncodeG722_64k/kelsc")->KEL_SIZES;
BENCHMARK(encodeSpandsp)->Name("EncodeG722_64k/spandsp")->KEL_SIZES;
BENCHMARK(decodeKelsc)->Name("DecodeG722_64k/kelsc")->KEL_SIZES;
BENCHMARK(decodeSpandsp)->Name("DecodeG722_64k/spandsp")->KEL_SIZES;

}  // namespace

int main(int argc, char** argv) { return kelsc_bench::runAfterVerify(argc, argv, verify, "spandsp"); }
