// G.726 ADPCM: the ITU-T reset test sequences (every official sequence, at
// every rate, in both laws and the crossed laws), golden vectors from the
// STL reference for 14-bit linear input and output, independence from the
// block cutting and from the state block's alignment, decoder robustness on
// every byte value, the state block contract and the argument checks.
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
using kelsc_test::officialPath;
using kelsc_test::readBytes;
using kelsc_test::readWords;

constexpr size_t kEncoderSize = 88;
constexpr size_t kDecoderSize = 92;
constexpr size_t kReserved = 16;

struct Rate {
    int kbps;
    int code;  // rate argument of the Init functions
    int bits;  // bits per code word
};

const Rate kRates[] = {
    {16, kelSpeechRate16000, 2},
    {24, kelSpeechRate24000, 3},
    {32, kelSpeechRate32000, 4},
    {40, kelSpeechRate40000, 5},
};

struct Law {
    const char* name;
    int law;       // law argument of kelsDecodeInit_G726_8u16s
    char letter;   // law letter of the official file names: a, m
    char crossed;  // letter of the files decoded in the other law: x (A-law codes, mu-law output), c
    int otherLaw;  // the other law
    char otherLetter;
};

const Law kLaws[] = {
    {"alaw", kelPcmALaw, 'a', 'x', kelPcmMuLaw, 'm'},
    {"mulaw", kelPcmMuLaw, 'm', 'c', kelPcmALaw, 'a'},
};

void PrintTo(const Rate& r, std::ostream* os) { *os << r.kbps << "kbps"; }
void PrintTo(const Law& l, std::ostream* os) { *os << l.name; }

// A state block in its own heap memory, placed at `offset` bytes past a
// 16-byte boundary, so that any alignment can be tried.
class Block {
public:
    Block(size_t size, size_t offset, Kel8u fill = 0xA5) : mem_(size + 16 + offset, fill), size_(size) {
        const uintptr_t base = reinterpret_cast<uintptr_t>(mem_.data());
        start_ = (16 - base % 16) % 16 + offset;
    }
    Kel8u* data() { return mem_.data() + start_; }
    std::vector<Kel8u> bytes() const { return {mem_.begin() + start_, mem_.begin() + start_ + size_}; }

private:
    std::vector<Kel8u> mem_;
    size_t size_;
    size_t start_;
};

KelG726EncoderState* enc(Block& b) { return reinterpret_cast<KelG726EncoderState*>(b.data()); }
KelG726DecoderState* dec(Block& b) { return reinterpret_cast<KelG726DecoderState*>(b.data()); }

Block newEncoder(const Rate& r, size_t offset = 0) {
    Block b(kEncoderSize, offset);
    EXPECT_EQ(kelsEncodeInit_G726_16s8u(enc(b), r.code), kelStatusOk);
    return b;
}

Block newDecoder(const Rate& r, int law, size_t offset = 0) {
    Block b(kDecoderSize, offset);
    EXPECT_EQ(kelsDecodeInit_G726_8u16s(dec(b), r.code, law), kelStatusOk);
    return b;
}

std::vector<Kel8u> encodeAll(const Rate& r, const std::vector<Kel16s>& x) {
    Block b = newEncoder(r);
    std::vector<Kel8u> codes(x.size());
    EXPECT_EQ(kelsEncode_G726_16s8u(enc(b), x.data(), codes.data(), static_cast<int>(x.size())), kelStatusOk);
    return codes;
}

std::vector<Kel16s> decodeAll(const Rate& r, int law, const std::vector<Kel8u>& codes) {
    Block b = newDecoder(r, law);
    std::vector<Kel16s> y(codes.size());
    EXPECT_EQ(kelsDecode_G726_8u16s(dec(b), codes.data(), y.data(), static_cast<int>(codes.size())), kelStatusOk);
    return y;
}

// G.711 code words (one per 16-bit word) to the encoder's 14-bit input,
// through the library's expanders (16-bit results, shifted right by 2).
std::vector<Kel16s> expand(int law, const std::vector<int16_t>& words) {
    std::vector<Kel8u> codes(words.begin(), words.end());
    std::vector<Kel16s> x(words.size());
    const int n = static_cast<int>(words.size());
    EXPECT_EQ(law == kelPcmALaw ? kelsALawToLin_8u16s(codes.data(), x.data(), n)
                                : kelsMuLawToLin_8u16s(codes.data(), x.data(), n),
              kelStatusOk);
    for (Kel16s& v : x) v = static_cast<Kel16s>(v >> 2);
    return x;
}

std::vector<Kel8u> toBytes(const std::vector<int16_t>& words) { return {words.begin(), words.end()}; }

// Index of the first difference, or -1.
template <typename A, typename B>
long firstMismatch(const A& got, const B& want) {
    if (got.size() != want.size()) return 0;
    for (size_t i = 0; i < got.size(); ++i)
        if (static_cast<int>(got[i]) != static_cast<int>(want[i])) return static_cast<long>(i);
    return -1;
}

// --------------------------------------------------------------------------
// (a) The ITU-T G.726 reset test sequences. Pairing, as the STL test runs
// them (r = n for the normal input nrm.*, v for the overload input ovr.*):
//   encoder  expand(nrm.l / ovr.l)           -> rRKKfl.i
//   decoder  rRKKfl.i, output law l          -> rRKKfl.o
//   decoder  rRKKfa.i, mu-law output         -> rRKKfx.o
//   decoder  rRKKfm.i, A-law output          -> rRKKfc.o
//   decoder  iKK (arbitrary codes), law l    -> riKKfl.o
// --------------------------------------------------------------------------

std::string officialFile(const std::string& name) { return officialPath("g726/" + name); }

std::string seqName(char r, int kbps, char law, const char* ext) {
    return std::string("r") + r + std::to_string(kbps) + "f" + law + ext;
}

class G726Conformance : public ::testing::TestWithParam<std::tuple<Rate, Law>> {
protected:
    void SetUp() override {
        if (readBytes(officialFile("nrm.a")).empty())
            GTEST_SKIP() << "official G.726 test sequences not found under " << officialPath("g726");
    }
    // Reads an official file, failing the test when it is missing.
    static std::vector<int16_t> need(const std::string& name) {
        std::vector<int16_t> w = readWords(officialFile(name));
        EXPECT_FALSE(w.empty()) << "missing official file " << name;
        return w;
    }
};

struct Sequence {
    const char* input;  // G.711 input file stem
    char tag;           // n or v in the reference file names
};
const Sequence kSequences[] = {{"nrm", 'n'}, {"ovr", 'v'}};

TEST_P(G726Conformance, EncoderMatchesResetSequences) {
    const auto [rate, law] = GetParam();
    for (const Sequence& s : kSequences) {
        const std::string want = seqName(s.tag, rate.kbps, law.letter, ".i");
        SCOPED_TRACE(want);
        const std::vector<Kel8u> got = encodeAll(rate, expand(law.law, need(std::string(s.input) + "." + law.letter)));
        EXPECT_EQ(firstMismatch(got, need(want)), -1);
    }
}

TEST_P(G726Conformance, DecoderMatchesResetSequencesInTheSameLaw) {
    const auto [rate, law] = GetParam();
    for (const Sequence& s : kSequences) {
        const std::string want = seqName(s.tag, rate.kbps, law.letter, ".o");
        SCOPED_TRACE(want);
        const std::vector<Kel16s> got =
            decodeAll(rate, law.law, toBytes(need(seqName(s.tag, rate.kbps, law.letter, ".i"))));
        EXPECT_EQ(firstMismatch(got, need(want)), -1);
    }
}

TEST_P(G726Conformance, DecoderMatchesResetSequencesInTheCrossedLaw) {
    const auto [rate, law] = GetParam();
    for (const Sequence& s : kSequences) {
        const std::string want = seqName(s.tag, rate.kbps, law.crossed, ".o");
        SCOPED_TRACE(want);
        const std::vector<Kel16s> got =
            decodeAll(rate, law.otherLaw, toBytes(need(seqName(s.tag, rate.kbps, law.letter, ".i"))));
        EXPECT_EQ(firstMismatch(got, need(want)), -1);
    }
}

TEST_P(G726Conformance, DecoderMatchesArbitraryCodeSequence) {
    const auto [rate, law] = GetParam();
    const std::string want = "ri" + std::to_string(rate.kbps) + "f" + law.letter + ".o";
    SCOPED_TRACE(want);
    const std::vector<Kel16s> got = decodeAll(rate, law.law, toBytes(need("i" + std::to_string(rate.kbps))));
    EXPECT_EQ(firstMismatch(got, need(want)), -1);
}

// Synchronous tandem coding (G.726 4.2.8): the decoder's reference output,
// encoded again in the same law, gives back the code words it was decoded
// from (the adjustment cannot promise this in the crossed law).
TEST_P(G726Conformance, ReencodingDecodedOutputGivesBackTheCodes) {
    const auto [rate, law] = GetParam();
    for (const Sequence& s : kSequences) {
        const std::string codes = seqName(s.tag, rate.kbps, law.letter, ".i");
        const std::string pcm = seqName(s.tag, rate.kbps, law.letter, ".o");
        SCOPED_TRACE(pcm + " -> " + codes);
        EXPECT_EQ(firstMismatch(encodeAll(rate, expand(law.law, need(pcm))), need(codes)), -1);
    }
}

std::string rateLawName(const ::testing::TestParamInfo<std::tuple<Rate, Law>>& info) {
    return std::to_string(std::get<0>(info.param).kbps) + "kbps_" + std::get<1>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(Official, G726Conformance,
                         ::testing::Combine(::testing::ValuesIn(kRates), ::testing::ValuesIn(kLaws)), rateLawName);

// --------------------------------------------------------------------------
// Golden vectors from the STL reference (tests/vectors/README.md): 14-bit
// linear input that is not limited to G.711 values, and linear decoder
// output on a stream of random bytes.
// --------------------------------------------------------------------------

class G726Linear : public ::testing::TestWithParam<Rate> {};

TEST_P(G726Linear, EncoderMatchesReferenceOnLinearInput) {
    const Rate& rate = GetParam();
    const std::vector<int16_t> x = readWords(goldenPath("g726/linear_input.bin"));
    const std::vector<uint8_t> want = readBytes(goldenPath("g726/linear_codes_" + std::to_string(rate.kbps) + ".bin"));
    ASSERT_EQ(x.size(), 4096u);
    ASSERT_EQ(want.size(), x.size());
    EXPECT_EQ(firstMismatch(encodeAll(rate, x), want), -1);
}

TEST_P(G726Linear, DecoderMatchesReferenceOnRandomBytes) {
    const Rate& rate = GetParam();
    const std::vector<uint8_t> codes = readBytes(goldenPath("g726/random_codes.bin"));
    const std::vector<int16_t> want = readWords(goldenPath("g726/random_linear_" + std::to_string(rate.kbps) + ".bin"));
    ASSERT_EQ(codes.size(), 4096u);
    ASSERT_EQ(want.size(), codes.size());
    EXPECT_EQ(firstMismatch(decodeAll(rate, kelPcmLinear, codes), want), -1);
}

std::string rateName(const ::testing::TestParamInfo<Rate>& info) { return std::to_string(info.param.kbps) + "kbps"; }

INSTANTIATE_TEST_SUITE_P(Golden, G726Linear, ::testing::ValuesIn(kRates), rateName);

// An overload stream at 40 kbit/s (largest positive step and negative zero,
// alternating at random) that drives the reconstructed signal SR to -32768
// several times. A-law output matches the reference throughout. For mu-law
// this library deliberately compresses a wrapped SR as 0, the positive zero
// (code 255), where the reference compresses it as negative zero (127); the
// synchronous adjustment then moves 255 down to 254 where the reference
// moves 127 up to 255. The reference made 7 such wraps on this stream.
class G726Overload : public ::testing::TestWithParam<Law> {};

TEST_P(G726Overload, DecoderMatchesReferenceWhenReconstructionWraps) {
    const Law& law = GetParam();
    const std::vector<uint8_t> codes = readBytes(goldenPath("g726/overload_codes_40.bin"));
    const std::vector<int16_t> want = readWords(goldenPath(std::string("g726/overload_") + law.name + "_40.bin"));
    ASSERT_EQ(codes.size(), 4096u);
    ASSERT_EQ(want.size(), codes.size());
    const std::vector<Kel16s> got = decodeAll(kRates[3], law.law, codes);
    int wrapped = 0;
    for (size_t k = 0; k < got.size(); ++k) {
        if (got[k] == want[k]) continue;
        const bool positiveZero = law.law == kelPcmMuLaw && want[k] == 255 && got[k] == 254;
        EXPECT_TRUE(positiveZero) << "sample " << k << ": " << got[k] << " vs reference " << want[k];
        wrapped += positiveZero;
    }
    EXPECT_EQ(wrapped, law.law == kelPcmMuLaw ? 7 : 0);
}

INSTANTIATE_TEST_SUITE_P(Golden, G726Overload, ::testing::ValuesIn(kLaws),
                         [](const ::testing::TestParamInfo<Law>& info) { return std::string(info.param.name); });

// --------------------------------------------------------------------------
// (b) The output and the final state do not depend on how the signal is cut
// into blocks, nor on the alignment of the state block.
// --------------------------------------------------------------------------

// Block lengths 1, 2, 3, ... mixed with random ones up to 700.
std::vector<int> cuts(size_t total, uint64_t seed) {
    kelsc_test::Rng rng(seed);
    std::vector<int> lengths;
    size_t done = 0;
    for (int k = 1; done < total; ++k) {
        int n = k <= 8 ? k : 1 + static_cast<int>(rng.next() % (rng.next() % 2 ? 5 : 700));
        n = static_cast<int>(std::min<size_t>(n, total - done));
        lengths.push_back(n);
        done += n;
    }
    return lengths;
}

// A 14-bit test signal: random values of random bit length and full-scale
// extremes, so that the predictor and the scale factors move a lot.
std::vector<Kel16s> signal(size_t n, uint64_t seed) {
    kelsc_test::Rng rng(seed);
    std::vector<Kel16s> x(n);
    for (Kel16s& v : x) v = static_cast<Kel16s>(rng.s16() >> 2);
    return x;
}

std::vector<Kel8u> randomBytes(size_t n, uint64_t seed) {
    kelsc_test::Rng rng(seed);
    std::vector<Kel8u> b(n);
    for (Kel8u& v : b) v = static_cast<Kel8u>(rng.next());
    return b;
}

class G726Blocks : public ::testing::TestWithParam<Rate> {};

TEST_P(G726Blocks, EncoderIgnoresBlockCuttingAndAlignment) {
    const Rate& rate = GetParam();
    const std::vector<Kel16s> x = signal(6000, 0x726E + rate.kbps);
    Block whole = newEncoder(rate);
    std::vector<Kel8u> want(x.size());
    ASSERT_EQ(kelsEncode_G726_16s8u(enc(whole), x.data(), want.data(), static_cast<int>(x.size())), kelStatusOk);
    for (size_t offset : {0, 1, 2, 3, 6}) {
        SCOPED_TRACE("state at offset " + std::to_string(offset));
        Block cut = newEncoder(rate, offset);
        std::vector<Kel8u> got(x.size());
        size_t at = 0;
        for (int n : cuts(x.size(), offset)) {
            ASSERT_EQ(kelsEncode_G726_16s8u(enc(cut), x.data() + at, got.data() + at, n), kelStatusOk);
            at += n;
        }
        EXPECT_EQ(firstMismatch(got, want), -1);
        EXPECT_EQ(cut.bytes(), whole.bytes());
    }
}

TEST_P(G726Blocks, DecoderIgnoresBlockCuttingAndAlignment) {
    const Rate& rate = GetParam();
    const std::vector<Kel8u> codes = randomBytes(6000, 0x726D + rate.kbps);
    for (int law : {kelPcmMuLaw, kelPcmALaw, kelPcmLinear}) {
        Block whole = newDecoder(rate, law);
        std::vector<Kel16s> want(codes.size());
        ASSERT_EQ(kelsDecode_G726_8u16s(dec(whole), codes.data(), want.data(), static_cast<int>(codes.size())),
                  kelStatusOk);
        for (size_t offset : {0, 1, 3, 5}) {
            SCOPED_TRACE("law " + std::to_string(law) + ", state at offset " + std::to_string(offset));
            Block cut = newDecoder(rate, law, offset);
            std::vector<Kel16s> got(codes.size());
            size_t at = 0;
            for (int n : cuts(codes.size(), 100 + offset)) {
                ASSERT_EQ(kelsDecode_G726_8u16s(dec(cut), codes.data() + at, got.data() + at, n), kelStatusOk);
                at += n;
            }
            EXPECT_EQ(firstMismatch(got, want), -1);
            EXPECT_EQ(cut.bytes(), whole.bytes());
        }
    }
}

// A copied state block carries on exactly where the original left off.
TEST_P(G726Blocks, CopiedStateContinuesTheStream) {
    const Rate& rate = GetParam();
    const std::vector<Kel16s> x = signal(2000, 0x726C + rate.kbps);
    Block a = newEncoder(rate);
    std::vector<Kel8u> want(x.size()), got(x.size());
    ASSERT_EQ(kelsEncode_G726_16s8u(enc(a), x.data(), want.data(), 1000), kelStatusOk);
    Block b(kEncoderSize, 7);
    memcpy(b.data(), a.data(), kEncoderSize);
    ASSERT_EQ(kelsEncode_G726_16s8u(enc(a), x.data() + 1000, want.data() + 1000, 1000), kelStatusOk);
    ASSERT_EQ(kelsEncode_G726_16s8u(enc(b), x.data() + 1000, got.data() + 1000, 1000), kelStatusOk);
    EXPECT_TRUE(std::equal(got.begin() + 1000, got.end(), want.begin() + 1000));
    EXPECT_EQ(b.bytes(), a.bytes());
}

INSTANTIATE_TEST_SUITE_P(AllRates, G726Blocks, ::testing::ValuesIn(kRates), rateName);

// --------------------------------------------------------------------------
// (c) Every byte value decodes as its code-word bits alone: the decoder
// masks the bits above the rate's width, so it never indexes outside its
// tables (the address-sanitizer build checks the reads).
// --------------------------------------------------------------------------

class G726Robustness : public ::testing::TestWithParam<std::tuple<Rate, Law>> {};

TEST_P(G726Robustness, EveryByteDecodesAsItsMaskedCode) {
    const Rate& rate = std::get<0>(GetParam());
    const int mask = (1 << rate.bits) - 1;
    // Every byte value, in a scrambled order and then in a random stream, so
    // that each meets many decoder states.
    std::vector<Kel8u> raw;
    for (int k = 0; k < 8; ++k)
        for (int v = 0; v < 256; ++v) raw.push_back(static_cast<Kel8u>((v * 167 + k * 29) & 255));
    const std::vector<Kel8u> more = randomBytes(4096, 0x726B + rate.kbps);
    raw.insert(raw.end(), more.begin(), more.end());
    std::vector<Kel8u> masked(raw);
    for (Kel8u& v : masked) v = static_cast<Kel8u>(v & mask);

    for (int law : {kelPcmMuLaw, kelPcmALaw, kelPcmLinear}) {
        SCOPED_TRACE("law " + std::to_string(law));
        Block a = newDecoder(rate, law);
        Block b = newDecoder(rate, law);
        std::vector<Kel16s> fromRaw(raw.size()), fromMasked(raw.size());
        const int n = static_cast<int>(raw.size());
        ASSERT_EQ(kelsDecode_G726_8u16s(dec(a), raw.data(), fromRaw.data(), n), kelStatusOk);
        ASSERT_EQ(kelsDecode_G726_8u16s(dec(b), masked.data(), fromMasked.data(), n), kelStatusOk);
        EXPECT_EQ(firstMismatch(fromRaw, fromMasked), -1);
        EXPECT_EQ(a.bytes(), b.bytes());
        for (Kel16s v : fromRaw) {
            if (law == kelPcmLinear) {
                ASSERT_TRUE(v >= -8192 && v <= 8191) << v;
            } else {
                ASSERT_TRUE(v >= 0 && v <= 255) << v;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllRates, G726Robustness,
                         ::testing::Combine(::testing::ValuesIn(kRates), ::testing::ValuesIn(kLaws)), rateLawName);

// Whatever a state block holds past its rate, the encoder writes exactly len
// code words of the rate's width, and at 24, 32 and 40 kbit/s never the
// all-zero word, which the quantizer of G.726 4.2.2 does not use at those
// rates: its decision thresholds are formed from the scale factor, and a
// corrupted block can hold scale factors coding never reaches.
class G726EncoderRobustness : public ::testing::TestWithParam<Rate> {};

TEST_P(G726EncoderRobustness, AnyStateGivesCodeWordsOfTheRate) {
    const Rate& rate = GetParam();
    const size_t rateOffset = kReserved + 6;  // the rate index, kept so that the block stays one of this rate
    kelsc_test::Rng rng(0x726E + rate.kbps);
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE("trial " + std::to_string(trial));
        Block b = newEncoder(rate);
        Kel8u rateIndex[2];
        memcpy(rateIndex, b.data() + rateOffset, 2);
        for (size_t k = kReserved; k < kEncoderSize; ++k) b.data()[k] = static_cast<Kel8u>(rng.next());
        memcpy(b.data() + rateOffset, rateIndex, 2);
        // Full-range 16-bit samples, beyond the 14 bits coding expects.
        const int n = 1 + static_cast<int>(rng.next() % 64);
        std::vector<Kel16s> x(static_cast<size_t>(n));
        for (Kel16s& v : x) v = static_cast<Kel16s>(rng.next());
        std::vector<Kel8u> codes(static_cast<size_t>(n) + 1, 0xEE);
        ASSERT_EQ(kelsEncode_G726_16s8u(enc(b), x.data(), codes.data(), n), kelStatusOk);
        EXPECT_EQ(codes[static_cast<size_t>(n)], 0xEE);
        for (int j = 0; j < n; ++j) {
            ASSERT_LT(codes[static_cast<size_t>(j)], 1 << rate.bits) << "sample " << j;
            if (rate.kbps != 16) {
                ASSERT_NE(codes[static_cast<size_t>(j)], 0) << "sample " << j;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllRates, G726EncoderRobustness, ::testing::ValuesIn(kRates), rateName);

// --------------------------------------------------------------------------
// The state block contract: reported sizes, reserved bytes, and an Init that
// defines every other byte whatever the memory held before.
// --------------------------------------------------------------------------

TEST(G726StateBlock, ReportedSizes) {
    Kel32u size = 0;
    ASSERT_EQ(kelsEncodeGetStateSize_G726_16s8u(&size), kelStatusOk);
    EXPECT_EQ(size, kEncoderSize);
    ASSERT_EQ(kelsDecodeGetStateSize_G726_8u16s(&size), kelStatusOk);
    EXPECT_EQ(size, kDecoderSize);
}

TEST(G726StateBlock, ReservedBytesAreNeverTouched) {
    for (const Rate& rate : kRates) {
        Block e(kEncoderSize, 0, 0x3C);
        Block d(kDecoderSize, 0, 0xC3);
        ASSERT_EQ(kelsEncodeInit_G726_16s8u(enc(e), rate.code), kelStatusOk);
        ASSERT_EQ(kelsDecodeInit_G726_8u16s(dec(d), rate.code, kelPcmALaw), kelStatusOk);
        const std::vector<Kel16s> x = signal(500, 1);
        std::vector<Kel8u> codes(x.size());
        std::vector<Kel16s> y(x.size());
        ASSERT_EQ(kelsEncode_G726_16s8u(enc(e), x.data(), codes.data(), 500), kelStatusOk);
        ASSERT_EQ(kelsDecode_G726_8u16s(dec(d), codes.data(), y.data(), 500), kelStatusOk);
        const std::vector<Kel8u> eb = e.bytes(), db = d.bytes();
        EXPECT_EQ(std::vector<Kel8u>(eb.begin(), eb.begin() + kReserved), std::vector<Kel8u>(kReserved, 0x3C));
        EXPECT_EQ(std::vector<Kel8u>(db.begin(), db.begin() + kReserved), std::vector<Kel8u>(kReserved, 0xC3));
    }
}

TEST(G726StateBlock, InitResetsEveryByteAfterTheReservedOnes) {
    for (size_t r = 0; r < 4; ++r) {
        const Rate& rate = kRates[r];
        const Rate& otherRate = kRates[(r + 1) % 4];
        for (int law : {kelPcmMuLaw, kelPcmALaw, kelPcmLinear}) {
            SCOPED_TRACE(std::to_string(rate.kbps) + " kbit/s, law " + std::to_string(law));
            // Fresh memory of two different fills, and a block that has been
            // running (set up for another rate and law first).
            Block e0(kEncoderSize, 0, 0x00), e1(kEncoderSize, 0, 0xFF), e2 = newEncoder(otherRate);
            Block d0(kDecoderSize, 0, 0x00), d1(kDecoderSize, 0, 0xFF), d2 = newDecoder(otherRate, (law + 1) % 3);
            const std::vector<Kel16s> x = signal(300, 2);
            std::vector<Kel8u> codes(x.size());
            std::vector<Kel16s> y(x.size());
            ASSERT_EQ(kelsEncode_G726_16s8u(enc(e2), x.data(), codes.data(), 300), kelStatusOk);
            ASSERT_EQ(kelsDecode_G726_8u16s(dec(d2), codes.data(), y.data(), 300), kelStatusOk);
            for (Block* b : {&e0, &e1, &e2}) ASSERT_EQ(kelsEncodeInit_G726_16s8u(enc(*b), rate.code), kelStatusOk);
            for (Block* b : {&d0, &d1, &d2}) ASSERT_EQ(kelsDecodeInit_G726_8u16s(dec(*b), rate.code, law), kelStatusOk);
            auto tail = [](const Block& b) {
                const std::vector<Kel8u> all = b.bytes();
                return std::vector<Kel8u>(all.begin() + kReserved, all.end());
            };
            EXPECT_EQ(tail(e0), tail(e1));
            EXPECT_EQ(tail(e0), tail(e2));
            EXPECT_EQ(tail(d0), tail(d1));
            EXPECT_EQ(tail(d0), tail(d2));
        }
    }
}

// --------------------------------------------------------------------------
// (d) Argument checks, in the order they run: pointers, then the length
// (0 is an error, a negative length is accepted and does nothing), then the
// rate, then the law. Nothing is written when a check fails.
// --------------------------------------------------------------------------

struct Buffers {
    Kel8u encState[kEncoderSize];
    Kel8u decState[kDecoderSize];
    Kel16s pcm[8];
    Kel8u codes[8];
    Kel16s out16[8];
    Kel8u out8[8];

    Buffers() { memset(static_cast<void*>(this), 0x5A, sizeof(*this)); }
    KelG726EncoderState* e() { return reinterpret_cast<KelG726EncoderState*>(encState); }
    KelG726DecoderState* d() { return reinterpret_cast<KelG726DecoderState*>(decState); }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kSize = kelStatusBadSize, kRange = kelStatusOutOfRange,
                    kOk = kelStatusOk;

const kelsc_test::CheckCase<Buffers> kCases[] = {
    CASE(kNull, kelsEncodeGetStateSize_G726_16s8u(nullptr)),
    CASE(kNull, kelsDecodeGetStateSize_G726_8u16s(nullptr)),

    CASE(kNull, kelsEncodeInit_G726_16s8u(nullptr, 99)),
    CASE(kRange, kelsEncodeInit_G726_16s8u(x.e(), kelSpeechRate12800)),
    CASE(kRange, kelsEncodeInit_G726_16s8u(x.e(), kelSpeechRate15850)),
    CASE(kRange, kelsEncodeInit_G726_16s8u(x.e(), kelSpeechRateDTX)),
    CASE(kRange, kelsEncodeInit_G726_16s8u(x.e(), -1)),

    CASE(kNull, kelsEncode_G726_16s8u(nullptr, x.pcm, x.out8, 0)),
    CASE(kNull, kelsEncode_G726_16s8u(x.e(), nullptr, x.out8, -1)),
    CASE(kNull, kelsEncode_G726_16s8u(x.e(), x.pcm, nullptr, 8)),
    CASE(kSize, kelsEncode_G726_16s8u(x.e(), x.pcm, x.out8, 0)),
    CASE(kOk, kelsEncode_G726_16s8u(x.e(), x.pcm, x.out8, -1)),
    CASE(kOk, kelsEncode_G726_16s8u(x.e(), x.pcm, x.out8, INT_MIN)),

    CASE(kNull, kelsDecodeInit_G726_8u16s(nullptr, 0, 99)),
    CASE(kRange, kelsDecodeInit_G726_8u16s(x.d(), kelSpeechRate23850, 99)),
    CASE(kRange, kelsDecodeInit_G726_8u16s(x.d(), kelSpeechRate32000, 3)),
    CASE(kRange, kelsDecodeInit_G726_8u16s(x.d(), kelSpeechRate40000, -1)),

    CASE(kNull, kelsDecode_G726_8u16s(nullptr, x.codes, x.out16, 0)),
    CASE(kNull, kelsDecode_G726_8u16s(x.d(), nullptr, x.out16, -1)),
    CASE(kNull, kelsDecode_G726_8u16s(x.d(), x.codes, nullptr, 8)),
    CASE(kSize, kelsDecode_G726_8u16s(x.d(), x.codes, x.out16, 0)),
    CASE(kOk, kelsDecode_G726_8u16s(x.d(), x.codes, x.out16, -1)),
    CASE(kOk, kelsDecode_G726_8u16s(x.d(), x.codes, x.out16, INT_MIN)),
};

using G726ArgumentCheck = ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>>;

TEST_P(G726ArgumentCheck, FirstFailureReturnedNothingWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(G726, G726ArgumentCheck, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

}  // namespace
