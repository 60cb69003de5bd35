// The G.729 annex A decoder of tools/g729a on kelsc: the official annex A
// test sequences decoded sample for sample, the erasure paths that the
// serial format and the frame call offer, and decoding of parameter words
// outside their widths.
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "g729a.h"
#include "support/test_data.h"

namespace {

using kelsc_test::officialPath;
using kelsc_test::readWords;
using Words = std::vector<int16_t>;

constexpr int kSamples = G729A_FRAME_SAMPLES, kSerial = G729A_SERIAL_WORDS, kParams = G729A_FRAME_PARAMS;

std::string annexA(const std::string& name) { return officialPath("g729/annex_a/" + name); }

// Decodes a whole serial file; the first non-zero status fails the test.
Words decodeSerial(const Words& serial) {
    g729a_decoder dec;
    EXPECT_EQ(g729a_decoder_init(&dec), 0);
    Words pcm(serial.size() / kSerial * kSamples);
    for (size_t f = 0; f < serial.size() / kSerial; ++f)
        EXPECT_EQ(g729a_decode_serial(&dec, &serial[f * kSerial], &pcm[f * kSamples]), 0) << "frame " << f;
    return pcm;
}

// ---------------------------------------------------------------------------
// Official annex A sequences: every .BIT decodes to its .PST exactly.
// ---------------------------------------------------------------------------

class G729aOfficial : public ::testing::TestWithParam<const char*> {};

TEST_P(G729aOfficial, DecoderReproducesPst) {
    const std::string name = GetParam();
    const Words serial = readWords(annexA(name + ".BIT"));
    if (serial.empty()) GTEST_SKIP() << "G.729 annex A test sequences not found under " << annexA("");
    Words want = readWords(annexA(name + ".PST"));
    if (want.empty()) want = readWords(annexA(name + ".pst"));
    ASSERT_FALSE(want.empty()) << "no decoder output for " << name;
    ASSERT_EQ(serial.size() % kSerial, 0u);
    const Words got = decodeSerial(serial);
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_EQ(got[i], want[i]) << name << ": frame " << i / kSamples << ", sample " << i % kSamples;
}

INSTANTIATE_TEST_SUITE_P(Sequences, G729aOfficial,
                         ::testing::Values("ALGTHM", "ERASURE", "FIXED", "LSP", "OVERFLOW", "PARITY", "PITCH", "SPEECH",
                                           "TAME", "TEST"),
                         [](const ::testing::TestParamInfo<const char*>& info) { return std::string(info.param); });

// ---------------------------------------------------------------------------
// Golden frames from the annex A reference decoder: random parameters with
// gains that drive the synthesis into its overflow rule, and erasures after
// a second-sub-frame lag of 144 (see tests/vectors/README.md).
// ---------------------------------------------------------------------------

class G729aGolden : public ::testing::TestWithParam<const char*> {};

TEST_P(G729aGolden, DecoderReproducesReference) {
    const std::string name = GetParam();
    const std::vector<uint8_t> frames = kelsc_test::readBytes(kelsc_test::goldenPath("g729a/" + name + "_frames.bin"));
    const Words want = readWords(kelsc_test::goldenPath("g729a/" + name + "_decoded.bin"));
    constexpr size_t kBytes = 1 + G729A_FRAME_BITS / 8;
    ASSERT_FALSE(frames.empty());
    ASSERT_EQ(frames.size() % kBytes, 0u);
    ASSERT_EQ(want.size(), frames.size() / kBytes * kSamples);
    Words serial;
    for (size_t f = 0; f < frames.size() / kBytes; ++f) {
        const uint8_t* fr = &frames[f * kBytes];
        serial.push_back(0x6B21);
        serial.push_back(80);
        for (int b = 0; b < G729A_FRAME_BITS; ++b)
            serial.push_back(fr[0] ? 0 : ((fr[1 + b / 8] >> (7 - b % 8)) & 1) ? 0x0081 : 0x007F);
    }
    const Words got = decodeSerial(serial);
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_EQ(got[i], want[i]) << name << ": frame " << i / kSamples << ", sample " << i % kSamples;
}

INSTANTIATE_TEST_SUITE_P(Frames, G729aGolden, ::testing::Values("overflow", "lag144"),
                         [](const ::testing::TestParamInfo<const char*>& info) { return std::string(info.param); });

// ---------------------------------------------------------------------------
// Erasures: the three ways of signalling one must conceal alike, and a
// parity error must differ from both a good and an erased frame.
// ---------------------------------------------------------------------------

Words speechSerial() {
    Words s = readWords(annexA("SPEECH.BIT"));
    if (s.size() > 200 * static_cast<size_t>(kSerial)) s.resize(200 * kSerial);
    return s;
}

TEST(G729aErasure, SizeWordZeroBitWordZeroAndFlagAgree) {
    const Words serial = speechSerial();
    if (serial.empty()) GTEST_SKIP() << "annex A SPEECH.BIT not found";
    const size_t frames = serial.size() / kSerial;
    struct Way {
        const char* name;
        void (*mark)(int16_t* frame);
    };
    const Way ways[] = {{"size word 0", [](int16_t* fr) { fr[1] = 0; }},
                        {"one bit word 0", [](int16_t* fr) { fr[2 + 41] = 0; }},
                        {"all bit words 0", [](int16_t* fr) { memset(fr + 2, 0, 80 * sizeof(int16_t)); }}};
    // Reference: the frame call with the bad-frame flag and no parameters.
    auto erased = [](size_t f) { return f % 7 == 3 || (f >= 50 && f < 56); };
    Words want(frames * kSamples);
    {
        g729a_decoder dec;
        ASSERT_EQ(g729a_decoder_init(&dec), 0);
        for (size_t f = 0; f < frames; ++f) {
            if (erased(f)) {
                ASSERT_EQ(g729a_decode_frame(&dec, nullptr, 1, &want[f * kSamples]), 0);
            } else {
                ASSERT_EQ(g729a_decode_serial(&dec, &serial[f * kSerial], &want[f * kSamples]), 0);
            }
        }
    }
    const Words clean = decodeSerial(serial);
    EXPECT_NE(memcmp(clean.data(), want.data(), want.size() * 2), 0) << "the erasures changed nothing";
    for (const Way& way : ways) {
        Words marked = serial;
        for (size_t f = 0; f < frames; ++f)
            if (erased(f)) way.mark(&marked[f * kSerial]);
        const Words got = decodeSerial(marked);
        EXPECT_EQ(memcmp(got.data(), want.data(), want.size() * 2), 0) << way.name;
    }
}

TEST(G729aErasure, ParityErrorConcealsOnlyTheFirstLag) {
    const Words serial = speechSerial();
    if (serial.empty()) GTEST_SKIP() << "annex A SPEECH.BIT not found";
    Words flipped = serial;
    const size_t f = 120, parityBit = 2 + 8 + 10 + 8;  // after L0L1, L2L3 and P1
    flipped[f * kSerial + parityBit] = flipped[f * kSerial + parityBit] == 0x0081 ? 0x007F : 0x0081;
    Words erased = serial;
    erased[f * kSerial + 1] = 0;
    const Words a = decodeSerial(serial), b = decodeSerial(flipped), c = decodeSerial(erased);
    const size_t at = f * kSamples;
    EXPECT_EQ(memcmp(a.data(), b.data(), at * 2), 0);
    EXPECT_NE(memcmp(a.data() + at, b.data() + at, kSamples * 2), 0);
    EXPECT_NE(memcmp(c.data() + at, b.data() + at, kSamples * 2), 0);
}

// ---------------------------------------------------------------------------
// Parameter words: bits above each width are ignored; any words decode
// without fault (the sanitizer builds run this), and the state is a plain
// value that can be copied mid-stream.
// ---------------------------------------------------------------------------

TEST(G729aParams, HighBitsAreMaskedAndAnyWordsDecode) {
    static const int kWidth[kParams] = {8, 10, 8, 1, 13, 4, 7, 5, 13, 4, 7};
    kelsc_test::Rng rng(729);
    g729a_decoder plain, noisy;
    ASSERT_EQ(g729a_decoder_init(&plain), 0);
    ASSERT_EQ(g729a_decoder_init(&noisy), 0);
    for (int f = 0; f < 400; ++f) {
        int16_t p[kParams], q[kParams];
        for (int i = 0; i < kParams; ++i) {
            q[i] = rng.s16();
            p[i] = static_cast<int16_t>(q[i] & ((1 << kWidth[i]) - 1));
        }
        int16_t a[kSamples], b[kSamples];
        const int bfi = f % 13 == 5;
        ASSERT_EQ(g729a_decode_frame(&plain, p, bfi, a), 0);
        ASSERT_EQ(g729a_decode_frame(&noisy, q, bfi, b), 0);
        ASSERT_EQ(memcmp(a, b, sizeof(a)), 0) << "frame " << f;
    }
}

TEST(G729aParams, UnpackReadsMostSignificantBitFirst) {
    // One parameter word at a time set to a pattern of its width, the
    // others 0: the bit words are the pattern, most significant bit first.
    static const int kWidth[kParams] = {8, 10, 8, 1, 13, 4, 7, 5, 13, 4, 7};
    int start = 0;
    for (int k = 0; k < kParams; ++k) {
        int16_t bits[G729A_FRAME_BITS];
        for (int16_t& b : bits) b = 0x007F;
        const int value = (0x5A5A & ((1 << kWidth[k]) - 1)) | (1 << (kWidth[k] - 1));
        for (int b = 0; b < kWidth[k]; ++b)
            if (value >> (kWidth[k] - 1 - b) & 1) bits[start + b] = 0x0081;
        int16_t params[kParams];
        g729a_unpack(bits, params);
        for (int i = 0; i < kParams; ++i) EXPECT_EQ(params[i], i == k ? value : 0) << "word " << i;
        start += kWidth[k];
    }
    EXPECT_EQ(start, G729A_FRAME_BITS);
}

TEST(G729aParams, StateCopiesMidStream) {
    const Words serial = speechSerial();
    if (serial.empty()) GTEST_SKIP() << "annex A SPEECH.BIT not found";
    g729a_decoder dec;
    ASSERT_EQ(g729a_decoder_init(&dec), 0);
    int16_t pcm[kSamples], again[kSamples];
    for (int f = 0; f < 100; ++f) ASSERT_EQ(g729a_decode_serial(&dec, &serial[f * kSerial], pcm), 0);
    g729a_decoder copy = dec;
    for (int f = 100; f < 150; ++f) {
        ASSERT_EQ(g729a_decode_serial(&dec, &serial[f * kSerial], pcm), 0);
        ASSERT_EQ(g729a_decode_serial(&copy, &serial[f * kSerial], again), 0);
        ASSERT_EQ(memcmp(pcm, again, sizeof(pcm)), 0) << "frame " << f;
    }
}

}  // namespace
