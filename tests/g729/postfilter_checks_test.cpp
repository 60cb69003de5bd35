// Every argument check of the G.729 gain decoding and post-processing
// functions, in the order the checks run, with canary-filled buffers: a
// failed check writes nothing.
#include <gtest/gtest.h>
#include <string.h>

#include "kelsc.h"
#include "support/arg_checks.h"

namespace {

struct Buffers {
    Kel16s src[200], lpc[11], res[194], dst[40], past[4], idx[2], gain[2], one, h[20];
    Kel32s size;
    Kel8u state[24];

    Buffers() { memset(static_cast<void*>(this), 0x5A, sizeof(*this)); }
    KelG729DPhaseDispersionState* pd() { return reinterpret_cast<KelG729DPhaseDispersionState*>(state); }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kSize = kelStatusBadSize, kRange = kelStatusOutOfRange;

// Each required pointer null (with a bad length or value where there is
// one: pointers come first), then a bad length with a bad value, then each
// bad value at both ends of its range.
const kelsc_test::CheckCase<Buffers> kCases[] = {
    CASE(kNull, kelsDecodeGain_G729_16s(0, nullptr, x.idx, x.gain)),
    CASE(kNull, kelsDecodeGain_G729_16s(0, x.past, x.idx, nullptr)),
    CASE(kNull, kelsDecodeGain_G729I_16s(0, 0, nullptr, x.idx, x.gain)),
    CASE(kNull, kelsDecodeGain_G729I_16s(0, 0, x.past, nullptr, nullptr)),

    CASE(kNull, kelsGainControl_G729A_16s_I(nullptr, x.dst, &x.one)),
    CASE(kNull, kelsGainControl_G729A_16s_I(x.src, nullptr, &x.one)),
    CASE(kNull, kelsGainControl_G729A_16s_I(x.src, x.dst, nullptr)),

    CASE(kNull, kelsLongTermPostFilter_G729A_16s(146, nullptr, x.lpc, x.res, x.dst)),
    CASE(kNull, kelsLongTermPostFilter_G729A_16s(146, x.src + 10, nullptr, x.res, x.dst)),
    CASE(kNull, kelsLongTermPostFilter_G729A_16s(146, x.src + 10, x.lpc, nullptr, x.dst)),
    CASE(kNull, kelsLongTermPostFilter_G729A_16s(17, x.src + 10, x.lpc, x.res, nullptr)),
    CASE(kRange, kelsLongTermPostFilter_G729A_16s(146, x.src + 10, x.lpc, x.res, x.dst)),
    CASE(kRange, kelsLongTermPostFilter_G729A_16s(17, x.src + 10, x.lpc, x.res, x.dst)),
    CASE(kRange, kelsLongTermPostFilter_G729A_16s(-32768, x.src + 10, x.lpc, x.res, x.dst)),

    CASE(kNull, kelsShortTermPostFilter_G729A_16s(nullptr, x.src, x.dst + 10)),
    CASE(kNull, kelsShortTermPostFilter_G729A_16s(x.lpc, nullptr, x.dst + 10)),
    CASE(kNull, kelsShortTermPostFilter_G729A_16s(x.lpc, x.src, nullptr)),
    CASE(kNull, kelsSynthesisFilter_G729_16s(nullptr, x.lpc, x.dst + 10)),
    CASE(kNull, kelsSynthesisFilter_G729_16s(x.src, nullptr, x.dst + 10)),
    CASE(kNull, kelsSynthesisFilter_G729_16s(x.src, x.lpc, nullptr)),
    CASE(kNull, kelsResidualFilter_G729_16s(nullptr, x.lpc, x.dst)),
    CASE(kNull, kelsResidualFilter_G729_16s(x.src + 10, nullptr, x.dst)),
    CASE(kNull, kelsResidualFilter_G729_16s(x.src + 10, x.lpc, nullptr)),

    CASE(kNull, kelsTiltCompensation_G729_16s(nullptr, x.src + 1)),
    CASE(kNull, kelsTiltCompensation_G729_16s(x.h, nullptr)),
    CASE(kNull, kelsTiltCompensation_G729E_16s(0, nullptr, x.dst)),
    CASE(kNull, kelsTiltCompensation_G729E_16s(0, x.src, nullptr)),

    CASE(kNull, kelsPreemphasize_G729A_16s(0, nullptr, x.dst, 0, &x.one)),
    CASE(kNull, kelsPreemphasize_G729A_16s(0, x.src, nullptr, 0, &x.one)),
    CASE(kNull, kelsPreemphasize_G729A_16s(0, x.src, x.dst, 0, nullptr)),
    CASE(kSize, kelsPreemphasize_G729A_16s(0, x.src, x.dst, 0, &x.one)),
    CASE(kSize, kelsPreemphasize_G729A_16s(0, x.src, x.dst, -40, &x.one)),
    CASE(kNull, kelsPreemphasize_G729A_16s_I(0, nullptr, 0, &x.one)),
    CASE(kNull, kelsPreemphasize_G729A_16s_I(0, x.dst, 0, nullptr)),
    CASE(kSize, kelsPreemphasize_G729A_16s_I(0, x.dst, 0, &x.one)),

    CASE(kNull, kelsPhaseDispersionGetStateSize_G729D_16s(nullptr)),
    CASE(kNull, kelsPhaseDispersionInit_G729D_16s(nullptr)),
    CASE(kNull, kelsPhaseDispersionUpdate_G729D_16s(0, 0, nullptr)),
};

class G729PostFilterChecks : public ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>> {};

TEST_P(G729PostFilterChecks, FirstFailedCheckWinsAndNothingIsWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(All, G729PostFilterChecks, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

// The accepted ends of the delay range (18 and 145) run.
TEST(G729PostFilterChecks, DelayRangeEndsAreAccepted) {
    Kel16s speech[50] = {}, lpc[11] = {4096}, res[194] = {}, out[40];
    EXPECT_EQ(kelsLongTermPostFilter_G729A_16s(18, speech + 10, lpc, res, out), kelStatusOk);
    EXPECT_EQ(kelsLongTermPostFilter_G729A_16s(145, speech + 10, lpc, res, out), kelStatusOk);
}

}  // namespace
