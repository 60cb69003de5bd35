// G.722: the ITU-T STL test sequence through the whole chain (QMF and
// SB-ADPCM, encoder and decoder in all three modes), golden vectors from the
// STL routines for each stage on its own, the decoder modes, independence
// from block cutting and from the state block's address, the delay-line
// layout, decoder robustness on any code value, the state block contract and
// the argument checks.
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

constexpr size_t kBlockSize = 144;
constexpr size_t kUsed = 128;
constexpr int kDelay = 24;

// A state block in heap memory starting `offset` bytes past a 16-byte
// boundary, filled with `fill`.
class Block {
public:
    explicit Block(size_t offset = 0, Kel8u fill = 0xA5) : mem_(kBlockSize + 32, fill) {
        const uintptr_t base = reinterpret_cast<uintptr_t>(mem_.data());
        start_ = (16 - base % 16) % 16 + offset;
    }
    KelG722EncoderState* enc() { return reinterpret_cast<KelG722EncoderState*>(mem_.data() + start_); }
    KelG722DecoderState* dec() { return reinterpret_cast<KelG722DecoderState*>(mem_.data() + start_); }
    // The 128 bytes the library uses: from the first 16-byte boundary.
    std::vector<Kel8u> used() const {
        const size_t at = (start_ + 15) / 16 * 16;
        return {mem_.begin() + at, mem_.begin() + at + kUsed};
    }
    const std::vector<Kel8u>& all() const { return mem_; }
    size_t start() const { return start_; }

private:
    std::vector<Kel8u> mem_;
    size_t start_;
};

// Octets IH << 6 | ILR to interleaved code words, and back.
std::vector<Kel16s> unpack(const std::vector<uint8_t>& octets) {
    std::vector<Kel16s> codes(2 * octets.size());
    for (size_t k = 0; k < octets.size(); ++k) {
        codes[2 * k] = octets[k] & 63;
        codes[2 * k + 1] = octets[k] >> 6;
    }
    return codes;
}

std::vector<uint8_t> pack(const std::vector<Kel16u>& codes) {
    std::vector<uint8_t> octets(codes.size() / 2);
    for (size_t k = 0; k < octets.size(); ++k) octets[k] = static_cast<uint8_t>(codes[2 * k + 1] << 6 | codes[2 * k]);
    return octets;
}

// One direction of the whole codec: a QMF delay line and a state block.
struct Encoder {
    explicit Encoder(size_t offset = 0) : block(offset) {
        EXPECT_EQ(kelsSBADPCMEncodeInit_G722_16s(block.enc()), kelStatusOk);
    }
    // 16 kHz samples to octets IH << 6 | ILR, n samples per call.
    std::vector<Kel8u> run(const std::vector<Kel16s>& x, const std::vector<int>& cuts) {
        std::vector<Kel16s> bands(x.size());
        std::vector<Kel16u> codes(x.size());
        size_t at = 0;
        for (int n : cuts) {
            EXPECT_EQ(kelsQMFEncode_G722_16s(x.data() + at, bands.data() + at, n, delay), kelStatusOk);
            EXPECT_EQ(kelsSBADPCMEncode_G722_16s(bands.data() + at, codes.data() + at, n, block.enc()), kelStatusOk);
            at += n;
        }
        return pack(codes);
    }
    Kel16s delay[kDelay] = {};
    Block block;
};

struct Decoder {
    explicit Decoder(size_t offset = 0) : block(offset) {
        EXPECT_EQ(kelsSBADPCMDecodeInit_G722_16s(block.dec()), kelStatusOk);
    }
    std::vector<Kel16s> run(const std::vector<Kel8u>& octets, Kel16s mode, const std::vector<int>& cuts) {
        const std::vector<Kel16s> codes = unpack(octets);
        std::vector<Kel16s> bands(codes.size()), y(codes.size());
        size_t at = 0;
        for (int n : cuts) {
            EXPECT_EQ(kelsSBADPCMDecode_G722_16s(codes.data() + at, bands.data() + at, n, mode, block.dec()),
                      kelStatusOk);
            EXPECT_EQ(kelsQMFDecode_G722_16s(bands.data() + at, y.data() + at, n, delay), kelStatusOk);
            at += n;
        }
        return y;
    }
    Kel16s delay[kDelay] = {};
    Block block;
};

// Even block lengths adding up to total: 2, 4, 6, ... mixed with random
// ones up to 1400 (the QMF works through 512-value chunks).
std::vector<int> cuts(size_t total, uint64_t seed) {
    kelsc_test::Rng rng(seed);
    std::vector<int> lengths;
    size_t done = 0;
    for (int k = 1; done < total; ++k) {
        int n = k <= 8 ? 2 * k : 2 + 2 * static_cast<int>(rng.next() % (rng.next() % 2 ? 4 : 700));
        n = static_cast<int>(std::min<size_t>(n, total - done));
        lengths.push_back(n);
        done += n;
    }
    return lengths;
}

std::vector<int> whole(size_t n) { return {static_cast<int>(n)}; }

template <typename A, typename B>
long firstMismatch(const A& got, const B& want) {
    if (got.size() != want.size()) return 0;
    for (size_t i = 0; i < got.size(); ++i)
        if (static_cast<int>(got[i]) != static_cast<int>(want[i])) return static_cast<long>(i);
    return -1;
}

// --------------------------------------------------------------------------
// (a) The ITU-T STL G.722 test sequence (src/g722/test_data of the STL): the
// 16 kHz input inpsp.bin, its 64 kbit/s octets codsp.cod, and those octets
// decoded in modes 1, 2, 3 (outsp1..3.bin). The reference codes the whole
// file after one reset, QMF included. codsp.cod holds two octets per 16-bit
// little-endian word, the earlier one in the high byte.
// --------------------------------------------------------------------------

class G722Official : public ::testing::Test {
protected:
    void SetUp() override {
        input_ = readWords(officialPath("g722/inpsp.bin"));
        const std::vector<int16_t> packed = readWords(officialPath("g722/codsp.cod"));
        if (input_.empty() || packed.empty())
            GTEST_SKIP() << "official G.722 test sequence not found under " << officialPath("g722");
        for (int16_t w : packed) {
            octets_.push_back(static_cast<Kel8u>(static_cast<uint16_t>(w) >> 8));
            octets_.push_back(static_cast<Kel8u>(w & 255));
        }
    }
    std::vector<Kel16s> input_;
    std::vector<Kel8u> octets_;
};

TEST_F(G722Official, EncoderChainGivesTheReferenceOctets) {
    ASSERT_EQ(octets_.size() * 2, input_.size());
    EXPECT_EQ(firstMismatch(Encoder().run(input_, whole(input_.size())), octets_), -1);
    // Cut into blocks, with the state block at an odd address.
    EXPECT_EQ(firstMismatch(Encoder(7).run(input_, cuts(input_.size(), 1)), octets_), -1);
}

TEST_F(G722Official, DecoderChainGivesTheReferenceOutputInEveryMode) {
    for (Kel16s mode = 1; mode <= 3; ++mode) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        const std::vector<int16_t> want = readWords(officialPath("g722/outsp" + std::to_string(mode) + ".bin"));
        ASSERT_EQ(want.size(), 2 * octets_.size());
        EXPECT_EQ(firstMismatch(Decoder().run(octets_, mode, whole(want.size())), want), -1);
        EXPECT_EQ(firstMismatch(Decoder(3).run(octets_, mode, cuts(want.size(), mode)), want), -1);
    }
}

// --------------------------------------------------------------------------
// (b) Golden vectors from the STL routines, each stage on its own
// (tests/vectors/README.md): signals that reach the 15-bit and 16-bit
// limits, and random codes (including the 6-bit codes 0..3 no encoder
// sends).
// --------------------------------------------------------------------------

std::vector<Kel16s> golden(const std::string& name, size_t size = 4096) {
    const std::vector<int16_t> w = readWords(goldenPath("g722/" + name));
    EXPECT_EQ(w.size(), size) << name;
    return w;
}

TEST(G722Golden, QmfAnalysis) {
    const std::vector<Kel16s> x = golden("qmf_input.bin");
    std::vector<Kel16s> y(x.size());
    Kel16s delay[kDelay] = {};
    ASSERT_EQ(kelsQMFEncode_G722_16s(x.data(), y.data(), static_cast<int>(x.size()), delay), kelStatusOk);
    EXPECT_EQ(firstMismatch(y, golden("qmf_analysis.bin")), -1);
}

// The 15-bit band signal, and the full-scale 16-bit signal taken as RL, RH
// (RL + RH and RL - RH saturate, and so do the outputs).
TEST(G722Golden, QmfSynthesis) {
    for (const char* name : {"band_input.bin", "qmf_input.bin"}) {
        SCOPED_TRACE(name);
        const std::vector<Kel16s> bands = golden(name);
        std::vector<Kel16s> y(bands.size());
        Kel16s delay[kDelay] = {};
        ASSERT_EQ(kelsQMFDecode_G722_16s(bands.data(), y.data(), static_cast<int>(y.size()), delay), kelStatusOk);
        EXPECT_EQ(firstMismatch(y, golden(name == std::string("band_input.bin") ? "qmf_synthesis.bin"
                                                                                : "qmf_synthesis_wide.bin")),
                  -1);
    }
}

// Two sets: a 15-bit band signal and random codes; and an overload set (16-bit
// square waves into the encoder, runs of the largest steps into the decoder)
// on which the reference saturates its reconstructed signals, its estimates
// and the zero-section sum.
struct GoldenSet {
    const char* name;
    const char* encoderInput;
    const char* encoderCodes;
    const char* decoderCodes;
    const char* decoderOutput;  // with the mode's number appended
    size_t instants;
};

const GoldenSet kGoldenSets[] = {
    {"normal", "band_input.bin", "band_codes.bin", "random_codes.bin", "random_decoded_mode", 2048},
    {"overload", "overload_band_input.bin", "overload_band_codes.bin", "overload_codes.bin", "overload_decoded_mode",
     1024},
};

void PrintTo(const GoldenSet& g, std::ostream* os) { *os << g.name; }

class G722GoldenAdpcm : public ::testing::TestWithParam<GoldenSet> {};

// Each set is coded in one call with an aligned state block, and in blocks
// of 2, 4, ... values with the block at an odd address.
struct Layout {
    size_t offset;
    bool cut;
};
const Layout kLayouts[] = {{0, false}, {7, true}};

TEST_P(G722GoldenAdpcm, Encoder) {
    const GoldenSet& g = GetParam();
    const std::vector<Kel16s> bands = golden(g.encoderInput, 2 * g.instants);
    const std::vector<uint8_t> want = readBytes(goldenPath(std::string("g722/") + g.encoderCodes));
    ASSERT_EQ(want.size(), g.instants);
    for (const Layout& l : kLayouts) {
        SCOPED_TRACE(l.cut ? "cut" : "whole");
        Block b(l.offset);
        ASSERT_EQ(kelsSBADPCMEncodeInit_G722_16s(b.enc()), kelStatusOk);
        std::vector<Kel16u> codes(bands.size());
        size_t at = 0;
        for (int n : l.cut ? cuts(bands.size(), 3) : whole(bands.size())) {
            ASSERT_EQ(kelsSBADPCMEncode_G722_16s(bands.data() + at, codes.data() + at, n, b.enc()), kelStatusOk);
            at += n;
        }
        EXPECT_EQ(firstMismatch(pack(codes), want), -1);
    }
}

TEST_P(G722GoldenAdpcm, DecoderInEveryMode) {
    const GoldenSet& g = GetParam();
    const std::vector<uint8_t> octets = readBytes(goldenPath(std::string("g722/") + g.decoderCodes));
    ASSERT_EQ(octets.size(), g.instants);
    const std::vector<Kel16s> codes = unpack(octets);
    for (Kel16s mode = 1; mode <= 3; ++mode) {
        const std::vector<Kel16s> want = golden(g.decoderOutput + std::to_string(mode) + ".bin", codes.size());
        for (const Layout& l : kLayouts) {
            SCOPED_TRACE("mode " + std::to_string(mode) + (l.cut ? ", cut" : ", whole"));
            Block b(l.offset);
            ASSERT_EQ(kelsSBADPCMDecodeInit_G722_16s(b.dec()), kelStatusOk);
            std::vector<Kel16s> y(codes.size());
            size_t at = 0;
            for (int n : l.cut ? cuts(codes.size(), mode) : whole(codes.size())) {
                ASSERT_EQ(kelsSBADPCMDecode_G722_16s(codes.data() + at, y.data() + at, n, mode, b.dec()), kelStatusOk);
                at += n;
            }
            EXPECT_EQ(firstMismatch(y, want), -1);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Stl, G722GoldenAdpcm, ::testing::ValuesIn(kGoldenSets),
                         [](const ::testing::TestParamInfo<GoldenSet>& info) { return std::string(info.param.name); });

// --------------------------------------------------------------------------
// (c) Modes: every value other than 1 and 2 is the 48 kbit/s decoder; the
// three modes differ in the lower band's output only, never in the higher
// band or in the state they leave.
// --------------------------------------------------------------------------

struct Decoded {
    std::vector<Kel16s> out;
    std::vector<Kel8u> state;
};

Decoded decodeBands(const std::vector<Kel16s>& codes, Kel16s mode) {
    Block b;
    EXPECT_EQ(kelsSBADPCMDecodeInit_G722_16s(b.dec()), kelStatusOk);
    Decoded d{std::vector<Kel16s>(codes.size()), {}};
    EXPECT_EQ(kelsSBADPCMDecode_G722_16s(codes.data(), d.out.data(), static_cast<int>(codes.size()), mode, b.dec()),
              kelStatusOk);
    d.state = b.used();
    return d;
}

// The encoder's codes of the golden band signal.
std::vector<Kel16s> encodedBands() {
    const std::vector<Kel16s> bands = golden("band_input.bin");
    Block b;
    EXPECT_EQ(kelsSBADPCMEncodeInit_G722_16s(b.enc()), kelStatusOk);
    std::vector<Kel16u> codes(bands.size());
    EXPECT_EQ(kelsSBADPCMEncode_G722_16s(bands.data(), codes.data(), static_cast<int>(codes.size()), b.enc()),
              kelStatusOk);
    return {codes.begin(), codes.end()};
}

std::vector<Kel16s> band(const std::vector<Kel16s>& v, int which) {
    std::vector<Kel16s> out;
    for (size_t k = which; k < v.size(); k += 2) out.push_back(v[k]);
    return out;
}

TEST(G722Modes, ValuesOtherThanOneAndTwoDecodeAsMode3) {
    const std::vector<Kel16s> codes = encodedBands();
    const Decoded mode3 = decodeBands(codes, 3);
    for (Kel16s mode : {0, 4, 7, -1, -32768, 32767, 258}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        const Decoded d = decodeBands(codes, mode);
        EXPECT_EQ(firstMismatch(d.out, mode3.out), -1);
        EXPECT_EQ(d.state, mode3.state);
    }
}

TEST(G722Modes, ModesDifferInTheLowerBandOutputOnly) {
    const std::vector<Kel16s> codes = encodedBands();
    const Decoded d[3] = {decodeBands(codes, 1), decodeBands(codes, 2), decodeBands(codes, 3)};
    for (int i = 0; i < 3; ++i) {
        for (int j = i + 1; j < 3; ++j) {
            SCOPED_TRACE("modes " + std::to_string(i + 1) + " and " + std::to_string(j + 1));
            EXPECT_NE(band(d[i].out, 0), band(d[j].out, 0));
            EXPECT_EQ(band(d[i].out, 1), band(d[j].out, 1));
            EXPECT_EQ(d[i].state, d[j].state);
        }
    }
}

// --------------------------------------------------------------------------
// (d) Block cutting, state addresses, copies and the delay-line layout.
// --------------------------------------------------------------------------

std::vector<Kel16s> noise(size_t n, uint64_t seed) {
    kelsc_test::Rng rng(seed);
    return rng.vec16(n);
}

TEST(G722Blocks, CuttingAndStateAddressChangeNothing) {
    // Full-scale noise: every limit of the QMF and the quantizers is met.
    const std::vector<Kel16s> x = noise(9000, 0x722A);
    Encoder whole0;
    const std::vector<Kel8u> want = whole0.run(x, whole(x.size()));
    Decoder wholeDec;
    const std::vector<Kel16s> wantOut = wholeDec.run(want, 1, whole(x.size()));
    for (size_t offset = 0; offset < 16; offset += 3) {
        SCOPED_TRACE("state block at offset " + std::to_string(offset));
        Encoder e(offset);
        EXPECT_EQ(firstMismatch(e.run(x, cuts(x.size(), offset)), want), -1);
        EXPECT_EQ(e.block.used(), whole0.block.used());
        EXPECT_TRUE(std::equal(e.delay, e.delay + kDelay, whole0.delay));
        Decoder d(offset);
        EXPECT_EQ(firstMismatch(d.run(want, 1, cuts(x.size(), 50 + offset)), wantOut), -1);
        EXPECT_EQ(d.block.used(), wholeDec.block.used());
        EXPECT_TRUE(std::equal(d.delay, d.delay + kDelay, wholeDec.delay));
    }
}

// The state lives at the first 16-byte boundary of the block: a copy to
// memory at the same address modulo 16 carries the stream on.
TEST(G722Blocks, CopiedStateContinuesTheStream) {
    const std::vector<Kel16s> x = noise(4000, 0x722C);
    Encoder a(5);
    (void)a.run(std::vector<Kel16s>(x.begin(), x.begin() + 2000), whole(2000));
    Encoder b(5);
    memcpy(b.block.enc(), a.block.enc(), kBlockSize);
    memcpy(b.delay, a.delay, sizeof a.delay);
    const std::vector<Kel16s> rest(x.begin() + 2000, x.end());
    EXPECT_EQ(a.run(rest, whole(2000)), b.run(rest, whole(2000)));
}

TEST(G722Blocks, QmfMayRunInPlace) {
    const std::vector<Kel16s> x = noise(3000, 0x722E);
    for (bool analysis : {true, false}) {
        Kel16s d1[kDelay] = {}, d2[kDelay] = {};
        std::vector<Kel16s> want(x.size()), inPlace(x);
        const auto run = analysis ? kelsQMFEncode_G722_16s : kelsQMFDecode_G722_16s;
        ASSERT_EQ(run(x.data(), want.data(), 3000, d1), kelStatusOk);
        ASSERT_EQ(run(inPlace.data(), inPlace.data(), 3000, d2), kelStatusOk);
        EXPECT_EQ(inPlace, want) << (analysis ? "analysis" : "synthesis");
    }
}

// G.722's delay-line layout, which another implementation sharing the line
// relies on: positions 2..23 the last eleven pairs, newest first, the
// encoder's second sample (the decoder's RL - RH) first; positions 0 and 1
// repeat the newest pair.
TEST(G722Blocks, DelayLineLayout) {
    std::vector<Kel16s> x(26), y(26);
    for (int i = 0; i < 26; ++i) x[i] = static_cast<Kel16s>(100 + i);  // pairs (100, 101) .. (124, 125)
    Kel16s enc[kDelay] = {}, dec[kDelay] = {};
    ASSERT_EQ(kelsQMFEncode_G722_16s(x.data(), y.data(), 26, enc), kelStatusOk);
    ASSERT_EQ(kelsQMFDecode_G722_16s(x.data(), y.data(), 26, dec), kelStatusOk);
    for (int j = 0; j < kDelay; ++j) {
        const int pair = 12 - (j < 2 ? 0 : (j - 2) / 2);  // pair index, 12 the newest
        const int first = 100 + 2 * pair, second = first + 1;
        const bool evenPosition = j % 2 == 0;
        EXPECT_EQ(enc[j], evenPosition ? second : first) << "encoder position " << j;
        EXPECT_EQ(dec[j], evenPosition ? first - second : first + second) << "decoder position " << j;
    }
}

// --------------------------------------------------------------------------
// (e) Robustness: the decoder uses the low 6 and 2 bits of its code words,
// whatever the rest holds (the address-sanitizer build checks the reads).
// --------------------------------------------------------------------------

TEST(G722Robustness, CodesAreMaskedToTheirWidths) {
    const std::vector<Kel16s> raw = noise(8192, 0x722D);
    std::vector<Kel16s> masked(raw);
    for (size_t k = 0; k < masked.size(); ++k) masked[k] = static_cast<Kel16s>(masked[k] & (k % 2 ? 3 : 63));
    for (Kel16s mode = 1; mode <= 3; ++mode) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        const Decoded a = decodeBands(raw, mode);
        const Decoded b = decodeBands(masked, mode);
        EXPECT_EQ(firstMismatch(a.out, b.out), -1);
        EXPECT_EQ(a.state, b.state);
        for (Kel16s v : a.out) ASSERT_TRUE(v >= -16384 && v <= 16383) << v;
    }
}

// --------------------------------------------------------------------------
// (f) The state block contract: 144 bytes; Init defines the 128 bytes from
// the first 16-byte boundary whatever they held; no function writes outside
// them.
// --------------------------------------------------------------------------

TEST(G722StateBlock, ReportedSizes) {
    Kel32u size = 0;
    ASSERT_EQ(kelsSBADPCMEncodeStateSize_G722_16s(&size), kelStatusOk);
    EXPECT_EQ(size, kBlockSize);
    size = 0;
    ASSERT_EQ(kelsSBADPCMDecodeStateSize_G722_16s(&size), kelStatusOk);
    EXPECT_EQ(size, kBlockSize);
}

TEST(G722StateBlock, InitDefinesTheUsedBytesAndNothingOutsideIsWritten) {
    const std::vector<Kel16s> bands = golden("band_input.bin");
    std::vector<Kel16u> codes(bands.size());
    std::vector<Kel16s> out(bands.size());
    for (size_t offset : {0, 1, 8, 15}) {
        SCOPED_TRACE("offset " + std::to_string(offset));
        Block e0(offset, 0x00), e1(offset, 0xFF), d0(offset, 0x00), d1(offset, 0xFF);
        for (Block* b : {&e0, &e1}) ASSERT_EQ(kelsSBADPCMEncodeInit_G722_16s(b->enc()), kelStatusOk);
        for (Block* b : {&d0, &d1}) ASSERT_EQ(kelsSBADPCMDecodeInit_G722_16s(b->dec()), kelStatusOk);
        EXPECT_EQ(e0.used(), e1.used());
        EXPECT_EQ(d0.used(), d1.used());
        ASSERT_EQ(kelsSBADPCMEncode_G722_16s(bands.data(), codes.data(), 4096, e1.enc()), kelStatusOk);
        ASSERT_EQ(kelsSBADPCMDecode_G722_16s(bands.data(), out.data(), 4096, 2, d1.dec()), kelStatusOk);
        // Outside the used 128 bytes every byte still holds the fill.
        for (const Block* b : {&e1, &d1}) {
            const size_t at = (b->start() + 15) / 16 * 16;
            for (size_t i = 0; i < b->all().size(); ++i) {
                if (i < at || i >= at + kUsed) {
                    ASSERT_EQ(b->all()[i], 0xFF) << "byte " << i;
                }
            }
        }
    }
}

// --------------------------------------------------------------------------
// (g) Argument checks, in the order they run: pointers, then the length
// (>= 1 and even). Nothing is written when a check fails.
// --------------------------------------------------------------------------

struct Buffers {
    Kel8u state[kBlockSize];
    Kel16s delay[kDelay];
    Kel16s in[8];
    Kel16s out[8];
    Kel16u codes[8];
    Kel32u size;

    Buffers() { memset(static_cast<void*>(this), 0x5A, sizeof(*this)); }
    KelG722EncoderState* e() { return reinterpret_cast<KelG722EncoderState*>(state); }
    KelG722DecoderState* d() { return reinterpret_cast<KelG722DecoderState*>(state); }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kSize = kelStatusBadSize;

const kelsc_test::CheckCase<Buffers> kCases[] = {
    CASE(kNull, kelsQMFEncode_G722_16s(nullptr, x.out, 0, x.delay)),
    CASE(kNull, kelsQMFEncode_G722_16s(x.in, nullptr, 2, x.delay)),
    CASE(kNull, kelsQMFEncode_G722_16s(x.in, x.out, 2, nullptr)),
    CASE(kSize, kelsQMFEncode_G722_16s(x.in, x.out, 0, x.delay)),
    CASE(kSize, kelsQMFEncode_G722_16s(x.in, x.out, -2, x.delay)),
    CASE(kSize, kelsQMFEncode_G722_16s(x.in, x.out, 1, x.delay)),
    CASE(kSize, kelsQMFEncode_G722_16s(x.in, x.out, 7, x.delay)),
    CASE(kSize, kelsQMFEncode_G722_16s(x.in, x.out, INT_MIN, x.delay)),

    CASE(kNull, kelsQMFDecode_G722_16s(nullptr, x.out, 3, x.delay)),
    CASE(kNull, kelsQMFDecode_G722_16s(x.in, nullptr, 2, x.delay)),
    CASE(kNull, kelsQMFDecode_G722_16s(x.in, x.out, 2, nullptr)),
    CASE(kSize, kelsQMFDecode_G722_16s(x.in, x.out, 0, x.delay)),
    CASE(kSize, kelsQMFDecode_G722_16s(x.in, x.out, 3, x.delay)),
    CASE(kSize, kelsQMFDecode_G722_16s(x.in, x.out, -1, x.delay)),

    CASE(kNull, kelsSBADPCMEncodeStateSize_G722_16s(nullptr)),
    CASE(kNull, kelsSBADPCMDecodeStateSize_G722_16s(nullptr)),
    CASE(kNull, kelsSBADPCMEncodeInit_G722_16s(nullptr)),
    CASE(kNull, kelsSBADPCMDecodeInit_G722_16s(nullptr)),

    CASE(kNull, kelsSBADPCMEncode_G722_16s(nullptr, x.codes, 1, x.e())),
    CASE(kNull, kelsSBADPCMEncode_G722_16s(x.in, nullptr, 2, x.e())),
    CASE(kNull, kelsSBADPCMEncode_G722_16s(x.in, x.codes, 2, nullptr)),
    CASE(kSize, kelsSBADPCMEncode_G722_16s(x.in, x.codes, 0, x.e())),
    CASE(kSize, kelsSBADPCMEncode_G722_16s(x.in, x.codes, 1, x.e())),
    CASE(kSize, kelsSBADPCMEncode_G722_16s(x.in, x.codes, 3, x.e())),
    CASE(kSize, kelsSBADPCMEncode_G722_16s(x.in, x.codes, -4, x.e())),

    CASE(kNull, kelsSBADPCMDecode_G722_16s(nullptr, x.out, 0, 1, x.d())),
    CASE(kNull, kelsSBADPCMDecode_G722_16s(x.in, nullptr, 2, 1, x.d())),
    CASE(kNull, kelsSBADPCMDecode_G722_16s(x.in, x.out, 2, 1, nullptr)),
    CASE(kSize, kelsSBADPCMDecode_G722_16s(x.in, x.out, 0, 1, x.d())),
    CASE(kSize, kelsSBADPCMDecode_G722_16s(x.in, x.out, 1, 2, x.d())),
    CASE(kSize, kelsSBADPCMDecode_G722_16s(x.in, x.out, 5, 3, x.d())),
    CASE(kSize, kelsSBADPCMDecode_G722_16s(x.in, x.out, INT_MIN + 1, 1, x.d())),
};

using G722ArgumentCheck = ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>>;

TEST_P(G722ArgumentCheck, FirstFailureReturnedNothingWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(G722, G722ArgumentCheck, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

}  // namespace
