// The basic operators against golden values from the ITU-T reference
// routines (STL basop32 and the G.729 oper_32b/dspfunc helpers).
#include "basop.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "support/test_data.h"

namespace {

using Row = std::vector<int64_t>;
using Op = std::function<Row(const Row&)>;

Kel16s w16(int64_t v) { return static_cast<Kel16s>(v); }
Kel32s w32(int64_t v) { return static_cast<Kel32s>(v); }

// Each operator maps the inputs of a golden row to its outputs.
const std::map<std::string, Op>& operators() {
    using namespace kel;
    static const std::map<std::string, Op> ops = {
        {"add", [](const Row& r) { return Row{add(w16(r[0]), w16(r[1]))}; }},
        {"sub", [](const Row& r) { return Row{sub(w16(r[0]), w16(r[1]))}; }},
        {"abs_s", [](const Row& r) { return Row{abs_s(w16(r[0]))}; }},
        {"negate", [](const Row& r) { return Row{negate(w16(r[0]))}; }},
        {"mult", [](const Row& r) { return Row{mult(w16(r[0]), w16(r[1]))}; }},
        {"mult_r", [](const Row& r) { return Row{mult_r(w16(r[0]), w16(r[1]))}; }},
        {"L_mult", [](const Row& r) { return Row{L_mult(w16(r[0]), w16(r[1]))}; }},
        {"L_mac", [](const Row& r) { return Row{L_mac(w32(r[0]), w16(r[1]), w16(r[2]))}; }},
        {"L_msu", [](const Row& r) { return Row{L_msu(w32(r[0]), w16(r[1]), w16(r[2]))}; }},
        {"L_add", [](const Row& r) { return Row{L_add(w32(r[0]), w32(r[1]))}; }},
        {"L_sub", [](const Row& r) { return Row{L_sub(w32(r[0]), w32(r[1]))}; }},
        {"L_abs", [](const Row& r) { return Row{L_abs(w32(r[0]))}; }},
        {"L_negate", [](const Row& r) { return Row{L_negate(w32(r[0]))}; }},
        {"round_fx", [](const Row& r) { return Row{round_fx(w32(r[0]))}; }},
        {"extract_h", [](const Row& r) { return Row{extract_h(w32(r[0]))}; }},
        {"extract_l", [](const Row& r) { return Row{extract_l(w32(r[0]))}; }},
        {"L_deposit_h", [](const Row& r) { return Row{L_deposit_h(w16(r[0]))}; }},
        {"L_deposit_l", [](const Row& r) { return Row{L_deposit_l(w16(r[0]))}; }},
        {"norm_s", [](const Row& r) { return Row{norm_s(w16(r[0]))}; }},
        {"norm_l", [](const Row& r) { return Row{norm_l(w32(r[0]))}; }},
        {"div_s", [](const Row& r) { return Row{div_s(w16(r[0]), w16(r[1]))}; }},
        {"shl", [](const Row& r) { return Row{shl(w16(r[0]), w16(r[1]))}; }},
        {"shr", [](const Row& r) { return Row{shr(w16(r[0]), w16(r[1]))}; }},
        {"L_shl", [](const Row& r) { return Row{L_shl(w32(r[0]), w16(r[1]))}; }},
        {"L_shr", [](const Row& r) { return Row{L_shr(w32(r[0]), w16(r[1]))}; }},
        {"L_Extract",
         [](const Row& r) {
             Kel16s hi = 0, lo = 0;
             L_Extract(w32(r[0]), &hi, &lo);
             return Row{hi, lo};
         }},
        {"L_Comp", [](const Row& r) { return Row{L_Comp(w16(r[0]), w16(r[1]))}; }},
        {"Mpy_32", [](const Row& r) { return Row{Mpy_32(w16(r[0]), w16(r[1]), w16(r[2]), w16(r[3]))}; }},
        {"Mpy_32_16", [](const Row& r) { return Row{Mpy_32_16(w16(r[0]), w16(r[1]), w16(r[2]))}; }},
        {"Div_32", [](const Row& r) { return Row{Div_32(w32(r[0]), w16(r[1]), w16(r[2]))}; }},
        {"Inv_sqrt", [](const Row& r) { return Row{Inv_sqrt(w32(r[0]))}; }},
        {"Log2",
         [](const Row& r) {
             Kel16s e = 0, f = 0;
             Log2(w32(r[0]), &e, &f);
             return Row{e, f};
         }},
        {"Pow2", [](const Row& r) { return Row{Pow2(w16(r[0]), w16(r[1]))}; }},
    };
    return ops;
}

class BasicOperator : public ::testing::TestWithParam<std::string> {};

TEST_P(BasicOperator, MatchesReferenceGoldenValues) {
    const std::string name = GetParam();
    const auto rows = kelsc_test::readRows(kelsc_test::goldenPath("basop/" + name + ".txt"));
    ASSERT_GT(rows.size(), 100u) << "golden file basop/" << name << ".txt missing or short";
    const Op& op = operators().at(name);
    int failures = 0;
    for (const Row& row : rows) {
        const Row out = op(row);
        ASSERT_LT(out.size(), row.size());
        const Row in(row.begin(), row.end() - static_cast<long>(out.size()));
        const Row expected(row.end() - static_cast<long>(out.size()), row.end());
        if (out != expected && ++failures <= 5) {
            ADD_FAILURE() << name << " inputs:" << ::testing::PrintToString(in) << " got "
                          << ::testing::PrintToString(out) << " want " << ::testing::PrintToString(expected);
        }
    }
    EXPECT_EQ(failures, 0);
}

std::vector<std::string> operatorNames() {
    std::vector<std::string> names;
    for (const auto& kv : operators()) names.push_back(kv.first);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Golden, BasicOperator, ::testing::ValuesIn(operatorNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

// The anchors every codec relies on, and Norm_32s_I's in-place contract.
TEST(BasicOperatorAnchors, Norm32InPlace) {
    struct Case {
        Kel32s in, out;
        int shift;
    };
    const Case cases[] = {{0, 0, 0},
                          {1, 1073741824, 30},
                          {-1, kel::kMin32, 31},
                          {kel::kMax32, kel::kMax32, 0},
                          {kel::kMin32, kel::kMin32, 0},
                          {-1073741825, -1073741825, 0},
                          {-1073741824, kel::kMin32, 1}};
    for (const Case& c : cases) {
        Kel32s x = c.in;
        EXPECT_EQ(kel::Norm_32s_I(&x), c.shift) << c.in;
        EXPECT_EQ(x, c.out) << c.in;
    }
    EXPECT_EQ(kel::L_mac(0, -32768, -32768), 2147483647);
    EXPECT_EQ(kel::shl(1, 15), 32767);
    EXPECT_EQ(kel::shl(-1, 15), -32768);
}

}  // namespace
