// The GSM 06.10 codec of tools/gsmfr on kelsc: the ETSI test sequences
// (encoder and decoder, bit for bit), golden frames and samples from the
// ITU-T STL reference coder on speech, stress signals and random
// parameters, the 33-byte frame format, and decoding of parameters outside
// their ranges.
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "gsmfr.h"
#include "support/test_data.h"

namespace {

using kelsc_test::goldenPath;
using kelsc_test::officialPath;
using kelsc_test::readBytes;
using kelsc_test::readWords;
using Words = std::vector<int16_t>;

constexpr int kSamples = GSMFR_FRAME_SAMPLES, kParams = GSMFR_FRAME_PARAMS, kBytes = GSMFR_FRAME_BYTES;

// Index of the first differing frame of two equally long sequences of
// frames of `n` values, or -1.
template <typename T>
long firstBadFrame(const std::vector<T>& got, const std::vector<T>& want, size_t n) {
    if (got.size() != want.size()) return -2;
    for (size_t f = 0; f * n < got.size(); ++f)
        if (memcmp(&got[f * n], &want[f * n], n * sizeof(T)) != 0) return static_cast<long>(f);
    return -1;
}

Words encodeAll(const Words& pcm) {
    gsmfr_encoder enc;
    gsmfr_encoder_init(&enc);
    Words params(pcm.size() / kSamples * kParams);
    for (size_t f = 0; f < pcm.size() / kSamples; ++f)
        EXPECT_EQ(gsmfr_encode_frame(&enc, &pcm[f * kSamples], &params[f * kParams]), 0);
    return params;
}

Words decodeAll(const Words& params) {
    gsmfr_decoder dec;
    gsmfr_decoder_init(&dec);
    Words pcm(params.size() / kParams * kSamples);
    for (size_t f = 0; f < params.size() / kParams; ++f)
        EXPECT_EQ(gsmfr_decode_frame(&dec, &params[f * kParams], &pcm[f * kSamples]), 0);
    return pcm;
}

std::vector<uint8_t> packAll(const Words& params) {
    std::vector<uint8_t> bytes(params.size() / kParams * kBytes);
    for (size_t f = 0; f < params.size() / kParams; ++f) gsmfr_pack(&params[f * kParams], &bytes[f * kBytes]);
    return bytes;
}

Words unpackAll(const std::vector<uint8_t>& bytes) {
    Words params(bytes.size() / kBytes * kParams);
    for (size_t f = 0; f < bytes.size() / kBytes; ++f)
        EXPECT_EQ(gsmfr_unpack(&bytes[f * kBytes], &params[f * kParams]), 0) << "frame " << f;
    return params;
}

// The 16-bit samples of the committed speech sample (a 16-bit mono WAV),
// whole frames only.
Words speech() {
    const std::vector<uint8_t> b = readBytes(goldenPath("../../tools/kelscodec/data/speech-8k.wav"));
    for (size_t at = 12; at + 8 <= b.size();) {
        const size_t size = b[at + 4] | b[at + 5] << 8 | b[at + 6] << 16 | static_cast<size_t>(b[at + 7]) << 24;
        if (memcmp(&b[at], "data", 4) == 0 && at + 8 + size <= b.size()) {
            Words x(size / 2 / kSamples * kSamples);
            for (size_t i = 0; i < x.size(); ++i)
                x[i] = static_cast<int16_t>(b[at + 8 + 2 * i] | b[at + 9 + 2 * i] << 8);
            return x;
        }
        at += 8 + size + (size & 1);
    }
    ADD_FAILURE() << "cannot read tools/kelscodec/data/speech-8k.wav";
    return {};
}

// ---------------------------------------------------------------------------
// The ETSI GSM 06.10 test sequences: SeqNN.inp (13-bit samples, left
// aligned) encodes to SeqNN.cod (76 parameter words a frame, Table 1.1
// order), SeqNN.cod decodes to SeqNN.out. Seq05 is a decoder-only sequence
// (lags outside 40..120 among its parameters).
// ---------------------------------------------------------------------------

class GsmfrEtsi : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override {
        if (readBytes(officialFile("Seq01.cod")).empty())
            GTEST_SKIP() << "ETSI GSM 06.10 test sequences not found under " << officialPath("gsmfr");
    }
    static std::string officialFile(const std::string& name) { return officialPath("gsmfr/" + name); }
    static std::string name(const char* ext) { return "Seq0" + std::to_string(GetParam()) + ext; }
    static Words need(const std::string& file) {
        Words w = readWords(officialFile(file));
        EXPECT_FALSE(w.empty()) << "missing official file " << file;
        return w;
    }
};

class GsmfrEtsiEncoder : public GsmfrEtsi {};

TEST_P(GsmfrEtsiEncoder, EncoderReproducesCod) {
    const Words cod = need(name(".cod"));
    EXPECT_EQ(firstBadFrame(encodeAll(need(name(".inp"))), cod, kParams), -1);
}

TEST_P(GsmfrEtsi, DecoderReproducesOut) {
    EXPECT_EQ(firstBadFrame(decodeAll(need(name(".cod"))), need(name(".out")), kSamples), -1);
}

// The parameters survive the 33-byte frame unchanged.
TEST_P(GsmfrEtsi, ParametersSurvivePacking) {
    const Words cod = need(name(".cod"));
    EXPECT_EQ(unpackAll(packAll(cod)), cod);
}

std::string seqName(const ::testing::TestParamInfo<int>& i) { return "Seq0" + std::to_string(i.param); }

INSTANTIATE_TEST_SUITE_P(Sequences, GsmfrEtsi, ::testing::Values(1, 2, 3, 4, 5), seqName);
INSTANTIATE_TEST_SUITE_P(Sequences, GsmfrEtsiEncoder, ::testing::Values(1, 2, 3, 4), seqName);

// ---------------------------------------------------------------------------
// Golden data from the STL reference coder (tests/vectors/README.md).
// ---------------------------------------------------------------------------

TEST(GsmfrGolden, EncoderMatchesReferenceOnSpeech) {
    const std::vector<uint8_t> want = readBytes(goldenPath("gsmfr/speech.gsm"));
    ASSERT_EQ(want.size(), 160u * kBytes);
    EXPECT_EQ(firstBadFrame(packAll(encodeAll(speech())), want, kBytes), -1);
}

TEST(GsmfrGolden, DecoderMatchesReferenceOnSpeech) {
    const Words want = readWords(goldenPath("gsmfr/speech_decoded.bin"));
    ASSERT_EQ(want.size(), 40u * kSamples);
    std::vector<uint8_t> frames = readBytes(goldenPath("gsmfr/speech.gsm"));
    frames.resize(40 * kBytes);
    EXPECT_EQ(firstBadFrame(decodeAll(unpackAll(frames)), want, kSamples), -1);
}

// Silence, full-scale square waves, noise, impulses, DC near full scale,
// random full-scale signs, low noise and a wrapping ramp, 4 frames each.
TEST(GsmfrGolden, EncoderMatchesReferenceOnStressSignals) {
    const Words x = readWords(goldenPath("gsmfr/stress_input.bin"));
    const std::vector<uint8_t> want = readBytes(goldenPath("gsmfr/stress.gsm"));
    ASSERT_EQ(x.size(), 32u * kSamples);
    ASSERT_EQ(want.size(), 32u * kBytes);
    EXPECT_EQ(firstBadFrame(packAll(encodeAll(x)), want, kBytes), -1);
}

// Random parameters of every width, the first frames with lags outside
// 40..120.
TEST(GsmfrGolden, DecoderMatchesReferenceOnRandomParameters) {
    const Words params = readWords(goldenPath("gsmfr/random_params.bin"));
    const Words want = readWords(goldenPath("gsmfr/random_decoded.bin"));
    ASSERT_EQ(params.size(), 40u * kParams);
    ASSERT_EQ(want.size(), 40u * kSamples);
    EXPECT_EQ(firstBadFrame(decodeAll(params), want, kSamples), -1);
}

// ---------------------------------------------------------------------------
// Frame format and bad parameters
// ---------------------------------------------------------------------------

TEST(GsmfrFrame, SignatureIsCheckedAndParametersMasked) {
    Words p(kParams);
    kelsc_test::Rng rng(0x6510);
    for (int16_t& v : p) v = rng.s16();
    uint8_t frame[kBytes];
    gsmfr_pack(p.data(), frame);
    EXPECT_EQ(frame[0] >> 4, 0xD);
    Words back(kParams, 0x5A5A);
    ASSERT_EQ(gsmfr_unpack(frame, back.data()), 0);
    const int widths[17] = {7, 2, 2, 6, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3};
    const int larWidths[8] = {6, 6, 5, 5, 4, 4, 3, 3};
    for (int i = 0; i < kParams; ++i) {
        const int w = i < 8 ? larWidths[i] : widths[(i - 8) % 17];
        EXPECT_EQ(back[i], p[i] & ((1 << w) - 1)) << "parameter " << i;
    }
    frame[0] = static_cast<uint8_t>(0xC0 | (frame[0] & 15));
    Words untouched(kParams, 7);
    EXPECT_EQ(gsmfr_unpack(frame, untouched.data()), -1);
    EXPECT_EQ(untouched, Words(kParams, 7));
}

// Any 16-bit parameters decode as their masked bits: nothing indexes outside
// a table (the address-sanitizer build checks the reads), and the output is
// that of the frame that carries them.
TEST(GsmfrFrame, OutOfRangeParametersDecodeAsMasked) {
    kelsc_test::Rng rng(0x0610);
    Words raw(50 * kParams);
    for (int16_t& v : raw) v = rng.s16();
    const Words viaFrames = decodeAll(unpackAll(packAll(raw)));
    EXPECT_EQ(firstBadFrame(decodeAll(raw), viaFrames, kSamples), -1);
    for (int16_t v : viaFrames) ASSERT_EQ(v % 8, 0);
}

}  // namespace
