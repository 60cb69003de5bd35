// G.711 companding against the ITU-T G.191 reference coder: all 65536
// inputs and all 256 codes (golden tables from the STL routines), and the
// official STL sweep files.
#include <gtest/gtest.h>

#include <vector>

#include "kelsc.h"
#include "support/test_data.h"

namespace {

using kelsc_test::goldenPath;
using kelsc_test::officialPath;

std::vector<Kel16s> everySample() {
    std::vector<Kel16s> x(65536);
    for (int i = 0; i < 65536; ++i) x[i] = static_cast<Kel16s>(i);
    return x;
}

struct Law {
    const char* name;
    KelStatus (*encode)(const Kel16s*, Kel8u*, int);
    KelStatus (*decode)(const Kel8u*, Kel16s*, int);
    const char* code;  // suffix of the official sweep files
};

const Law kLaws[] = {{"alaw", kelsLinToALaw_16s8u, kelsALawToLin_8u16s, "a"},
                     {"ulaw", kelsLinToMuLaw_16s8u, kelsMuLawToLin_8u16s, "u"}};

void PrintTo(const Law& law, std::ostream* os) { *os << law.name; }

class G711 : public ::testing::TestWithParam<Law> {};

TEST_P(G711, EncoderMatchesReferenceOnEveryInput) {
    const Law& law = GetParam();
    const std::vector<uint8_t> want = kelsc_test::readBytes(goldenPath(std::string("g711/") + law.name + "_enc.bin"));
    ASSERT_EQ(want.size(), 65536u);
    const std::vector<Kel16s> x = everySample();
    std::vector<Kel8u> got(65536);
    ASSERT_EQ(law.encode(x.data(), got.data(), 65536), kelStatusOk);
    for (int i = 0; i < 65536; ++i) ASSERT_EQ(got[i], want[i]) << law.name << " sample " << x[i];
}

TEST_P(G711, ExpanderMatchesReferenceOnEveryCode) {
    const Law& law = GetParam();
    const std::vector<int16_t> want = kelsc_test::readWords(goldenPath(std::string("g711/") + law.name + "_dec.bin"));
    ASSERT_EQ(want.size(), 256u);
    std::vector<Kel8u> codes(256);
    for (int i = 0; i < 256; ++i) codes[i] = static_cast<Kel8u>(i);
    std::vector<Kel16s> got(256);
    ASSERT_EQ(law.decode(codes.data(), got.data(), 256), kelStatusOk);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(got[i], want[i]) << law.name << " code " << i;
}

// The STL sweep: sweep.src encoded gives sweep-r.{a,u} (codes stored one per
// 16-bit word); the round trip gives sweep-r.re{a,u}.
TEST_P(G711, OfficialSweep) {
    const Law& law = GetParam();
    const std::vector<int16_t> src = kelsc_test::readWords(officialPath("g711/sweep.src"));
    if (src.empty()) GTEST_SKIP() << "official G.711 vectors not found under " << officialPath("g711");
    const std::vector<int16_t> codes = kelsc_test::readWords(officialPath(std::string("g711/sweep-r.") + law.code));
    const std::vector<int16_t> round = kelsc_test::readWords(officialPath(std::string("g711/sweep-r.re") + law.code));
    ASSERT_EQ(codes.size(), src.size());
    ASSERT_EQ(round.size(), src.size());
    const int n = static_cast<int>(src.size());
    std::vector<Kel8u> got(n);
    std::vector<Kel16s> back(n);
    ASSERT_EQ(law.encode(src.data(), got.data(), n), kelStatusOk);
    ASSERT_EQ(law.decode(got.data(), back.data(), n), kelStatusOk);
    for (int i = 0; i < n; ++i) {
        ASSERT_EQ(got[i], codes[i]) << law.name << " at " << i;
        ASSERT_EQ(back[i], round[i]) << law.name << " at " << i;
    }
}

TEST(G711Anchors, SignConventions) {
    const Kel16s x[2] = {0, -1};
    Kel8u a[2], u[2];
    kelsLinToALaw_16s8u(x, a, 2);
    kelsLinToMuLaw_16s8u(x, u, 2);
    EXPECT_EQ(a[0], 213);
    EXPECT_EQ(a[1], 85);
    EXPECT_EQ(u[0], 255);
}

INSTANTIATE_TEST_SUITE_P(Laws, G711, ::testing::ValuesIn(kLaws),
                         [](const ::testing::TestParamInfo<Law>& info) { return std::string(info.param.name); });

}  // namespace
