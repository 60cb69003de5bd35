// GSM 06.10 full rate: our codec (tools/gsmfr on kelsc) against libgsm
// (Debian libgsm1-dev, its shared library, default options), on the same
// speech sample in one run.
//
// Before timing anything the program checks that both encoders give the same
// 33-byte frames for the whole speech sample and that both decoders give the
// same samples for those frames; it stops with a message on a mismatch.
// `--verify-only` runs the check alone (a CTest entry does). The check
// reports on stderr, so that stdout holds only the benchmark output.
//
// Both sides work on packed 33-byte frames: ours encodes and packs
// (gsmfr_encode_frame, gsmfr_pack) and unpacks and decodes, as libgsm's
// gsm_encode and gsm_decode do.
//
// Benchmark names are <operation>/<implementation>/<N> with implementation
// kelsc or libgsm and N the samples per iteration (one 20 ms frame, or one
// second); every iteration codes the next frames of the speech
// (cyclically, the state carried on). tools/bench_report.py makes the ratio
// table of docs/PERFORMANCE.md.
#include <benchmark/benchmark.h>
#include <gsm.h>
#include <stdio.h>
#include <string.h>

#include <vector>

#include "bench_support.h"
#include "gsmfr.h"

#ifndef KELSC_SPEECH_8K
#error "KELSC_SPEECH_8K must name the 8 kHz speech sample (a 16-bit mono WAV file)"
#endif

namespace {

constexpr int kSamples = GSMFR_FRAME_SAMPLES, kBytes = GSMFR_FRAME_BYTES;

// The speech sample, whole frames only.
std::vector<int16_t> readFrames(const char* path) {
    std::vector<int16_t> samples = kelsc_bench::readWav16(path);
    samples.resize(samples.size() / kSamples * kSamples);
    return samples;
}

const std::vector<int16_t>& speech() {
    static const std::vector<int16_t> s = readFrames(KELSC_SPEECH_8K);
    return s;
}

size_t frameCount() { return speech().size() / kSamples; }

// A libgsm coder with its default options.
struct Peer {
    Peer() : g(gsm_create()) {}
    ~Peer() { gsm_destroy(g); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    gsm g;
};

void ourEncode(gsmfr_encoder* enc, const int16_t* pcm, uint8_t* frame) {
    int16_t params[GSMFR_FRAME_PARAMS];
    gsmfr_encode_frame(enc, pcm, params);
    gsmfr_pack(params, frame);
}

void ourDecode(gsmfr_decoder* dec, const uint8_t* frame, int16_t* pcm) {
    int16_t params[GSMFR_FRAME_PARAMS];
    gsmfr_unpack(frame, params);
    gsmfr_decode_frame(dec, params, pcm);
}

// The speech encoded by our coder.
const std::vector<uint8_t>& speechFrames() {
    static const std::vector<uint8_t> frames = [] {
        std::vector<uint8_t> out(frameCount() * kBytes);
        gsmfr_encoder enc;
        gsmfr_encoder_init(&enc);
        for (size_t f = 0; f < frameCount(); ++f) ourEncode(&enc, &speech()[f * kSamples], &out[f * kBytes]);
        return out;
    }();
    return frames;
}

// Codes the whole speech with both coders and compares. Returns false (after
// printing why) on a mismatch.
bool verify() {
    const size_t frames = frameCount();
    if (frames == 0) {
        fprintf(stderr, "cannot read the speech sample %s\n", KELSC_SPEECH_8K);
        return false;
    }
    const std::vector<uint8_t>& ours = speechFrames();
    Peer enc;
    int frameMismatches = 0;
    for (size_t f = 0; f < frames; ++f) {
        gsm_byte peer[kBytes];
        gsm_encode(enc.g, const_cast<gsm_signal*>(&speech()[f * kSamples]), peer);
        if (memcmp(peer, &ours[f * kBytes], kBytes) != 0 && frameMismatches++ == 0) {
            fprintf(stderr, "GSM 06.10: frame %zu differs from libgsm's\n", f);
        }
    }

    gsmfr_decoder dec;
    gsmfr_decoder_init(&dec);
    Peer peerDec;
    int sampleMismatches = 0;
    for (size_t f = 0; f < frames; ++f) {
        int16_t a[kSamples];
        gsm_signal b[kSamples];
        ourDecode(&dec, &ours[f * kBytes], a);
        gsm_decode(peerDec.g, const_cast<gsm_byte*>(&ours[f * kBytes]), b);
        for (int i = 0; i < kSamples; ++i) {
            if (a[i] != b[i] && sampleMismatches++ == 0) {
                fprintf(stderr, "GSM 06.10: decoded sample %zu is %d, libgsm's %d\n", f * kSamples + i, a[i], b[i]);
            }
        }
    }
    fprintf(stderr, "GSM 06.10: %zu frames; %d differ from libgsm's; %d decoded samples differ\n", frames,
            frameMismatches, sampleMismatches);
    return frameMismatches == 0 && sampleMismatches == 0;
}

// Frames per iteration from the benchmark's N samples.
size_t framesPerIteration(const benchmark::State& st) { return static_cast<size_t>(st.range(0)) / kSamples; }

void encodeKelsc(benchmark::State& st) {
    const size_t per = framesPerIteration(st), total = frameCount();
    gsmfr_encoder enc;
    gsmfr_encoder_init(&enc);
    std::vector<uint8_t> out(per * kBytes);
    size_t f = 0;
    for (auto _ : st) {
        for (size_t k = 0; k < per; ++k, f = f + 1 < total ? f + 1 : 0)
            ourEncode(&enc, &speech()[f * kSamples], &out[k * kBytes]);
        benchmark::DoNotOptimize(out.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * per * kSamples));
}

void encodeLibgsm(benchmark::State& st) {
    const size_t per = framesPerIteration(st), total = frameCount();
    Peer enc;
    std::vector<gsm_byte> out(per * kBytes);
    size_t f = 0;
    for (auto _ : st) {
        for (size_t k = 0; k < per; ++k, f = f + 1 < total ? f + 1 : 0)
            gsm_encode(enc.g, const_cast<gsm_signal*>(&speech()[f * kSamples]), &out[k * kBytes]);
        benchmark::DoNotOptimize(out.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * per * kSamples));
}

void decodeKelsc(benchmark::State& st) {
    const size_t per = framesPerIteration(st), total = frameCount();
    const std::vector<uint8_t>& frames = speechFrames();
    gsmfr_decoder dec;
    gsmfr_decoder_init(&dec);
    std::vector<int16_t> out(per * kSamples);
    size_t f = 0;
    for (auto _ : st) {
        for (size_t k = 0; k < per; ++k, f = f + 1 < total ? f + 1 : 0)
            ourDecode(&dec, &frames[f * kBytes], &out[k * kSamples]);
        benchmark::DoNotOptimize(out.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * per * kSamples));
}

void decodeLibgsm(benchmark::State& st) {
    const size_t per = framesPerIteration(st), total = frameCount();
    const std::vector<uint8_t>& frames = speechFrames();
    Peer dec;
    std::vector<gsm_signal> out(per * kSamples);
    size_t f = 0;
    for (auto _ : st) {
        for (size_t k = 0; k < per; ++k, f = f + 1 < total ? f + 1 : 0)
            gsm_decode(dec.g, const_cast<gsm_byte*>(&frames[f * kBytes]), &out[k * kSamples]);
        benchmark::DoNotOptimize(out.data());
    }
    st.SetItemsProcessed(static_cast<int64_t>(st.iterations() * per * kSamples));
}

// One 20 ms frame, and one second, per iteration.
#define KEL_SIZES Arg(160)->Arg(8000)
BENCHMARK(encodeKelsc)->Name("EncodeGSMFR/kelsc")->KEL_SIZES;
BENCHMARK(encodeLibgsm)->Name("EncodeGSMFR/libgsm")->KEL_SIZES;
BENCHMARK(decodeKelsc)->Name("DecodeGSMFR/kelsc")->KEL_SIZES;
BENCHMARK(decodeLibgsm)->Name("DecodeGSMFR/libgsm")->KEL_SIZES;

}  // namespace

int main(int argc, char** argv) { return kelsc_bench::runAfterVerify(argc, argv, verify, "libgsm"); }
