// Every argument check of every G.729 LP analysis, LSP quantisation and
// high-pass filter function, in the order the checks run, with
// canary-filled buffers: a failed check writes nothing.
#include <gtest/gtest.h>
#include <string.h>

#include "kelsc.h"
#include "support/arg_checks.h"

namespace {

// Every buffer a call may touch, filled with a canary pattern (which is
// also an invalid predictor index), and index vectors with L0 = 4 and -1.
struct Buffers {
    Kel16s src[240], a[16], b[16], d[16], prev[40], idx[4], idx4[4], idxm1[4], norm;
    Kel32s r[16], size;
    Kel8u state[32];

    Buffers() {
        memset(static_cast<void*>(this), 0x5A, sizeof(*this));
        idx4[0] = 4;
        idxm1[0] = -1;
    }
    KelG729HighPassState* hp() { return reinterpret_cast<KelG729HighPassState*>(state); }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kSize = kelStatusBadSize, kRange = kelStatusOutOfRange,
                    kIndex = kelStatusBadIndex, kScale = kelStatusBadScale;

// For each function: each required pointer null together with a bad length
// or value (pointers come first), then a bad length with a bad value, then
// each bad value.
const kelsc_test::CheckCase<Buffers> kCases[] = {
    CASE(kNull, kelsAutoCorr_G729B(nullptr, &x.norm, x.r)),
    CASE(kNull, kelsAutoCorr_G729B(x.src, nullptr, x.r)),
    CASE(kNull, kelsAutoCorr_G729B(x.src, &x.norm, nullptr)),

    CASE(kNull, kelsLagWindow_G729_32s_I(nullptr, 13)),
    CASE(kSize, kelsLagWindow_G729_32s_I(x.r, 0)),
    CASE(kSize, kelsLagWindow_G729_32s_I(x.r, -13)),
    CASE(kRange, kelsLagWindow_G729_32s_I(x.r, 13)),

    CASE(kNull, kelsLevinsonDurbin_G729_32s16s(nullptr, 31, x.a, x.b, &x.norm)),
    CASE(kNull, kelsLevinsonDurbin_G729_32s16s(x.r, 31, nullptr, x.b, &x.norm)),
    CASE(kNull, kelsLevinsonDurbin_G729_32s16s(x.r, 31, x.a, nullptr, &x.norm)),
    CASE(kNull, kelsLevinsonDurbin_G729_32s16s(x.r, 31, x.a, x.b, nullptr)),
    CASE(kRange, kelsLevinsonDurbin_G729_32s16s(x.r, 31, x.a, x.b, &x.norm)),
    CASE(kRange, kelsLevinsonDurbin_G729_32s16s(x.r, 0, x.a, x.b, &x.norm)),
    CASE(kNull, kelsLevinsonDurbin_G729B(nullptr, x.a, x.b, &x.norm)),
    CASE(kNull, kelsLevinsonDurbin_G729B(x.r, nullptr, x.b, &x.norm)),
    CASE(kNull, kelsLevinsonDurbin_G729B(x.r, x.a, nullptr, &x.norm)),
    CASE(kNull, kelsLevinsonDurbin_G729B(x.r, x.a, x.b, nullptr)),

    CASE(kNull, kelsLPCToLSP_G729_16s(nullptr, x.b, x.d)),
    CASE(kNull, kelsLPCToLSP_G729_16s(x.a, nullptr, x.d)),
    CASE(kNull, kelsLPCToLSP_G729_16s(x.a, x.b, nullptr)),
    CASE(kNull, kelsLPCToLSP_G729A_16s(nullptr, x.b, x.d)),
    CASE(kNull, kelsLPCToLSP_G729A_16s(x.a, nullptr, x.d)),
    CASE(kNull, kelsLPCToLSP_G729A_16s(x.a, x.b, nullptr)),
    CASE(kNull, kelsLSPToLPC_G729_16s(nullptr, x.d)),
    CASE(kNull, kelsLSPToLPC_G729_16s(x.a, nullptr)),
    CASE(kNull, kelsLSPToLSF_G729_16s(nullptr, x.d)),
    CASE(kNull, kelsLSPToLSF_G729_16s(x.a, nullptr)),
    CASE(kNull, kelsLSPToLSF_Norm_G729_16s(nullptr, x.d)),
    CASE(kNull, kelsLSPToLSF_Norm_G729_16s(x.a, nullptr)),
    CASE(kNull, kelsLSFToLSP_G729_16s(nullptr, x.d)),
    CASE(kNull, kelsLSFToLSP_G729_16s(x.a, nullptr)),

    CASE(kNull, kelsLSFQuant_G729_16s(nullptr, x.prev, x.d, x.idx)),
    CASE(kNull, kelsLSFQuant_G729_16s(x.a, nullptr, x.d, x.idx)),
    CASE(kNull, kelsLSFQuant_G729_16s(x.a, x.prev, nullptr, x.idx)),
    CASE(kNull, kelsLSFQuant_G729_16s(x.a, x.prev, x.d, nullptr)),
    CASE(kNull, kelsLSPQuant_G729_16s(nullptr, x.prev, x.d, x.idx)),
    CASE(kNull, kelsLSPQuant_G729_16s(x.a, nullptr, x.d, x.idx)),
    CASE(kNull, kelsLSPQuant_G729_16s(x.a, x.prev, nullptr, x.idx)),
    CASE(kNull, kelsLSPQuant_G729_16s(x.a, x.prev, x.d, nullptr)),
    // The canary is an invalid L0: pointers are checked before it.
    CASE(kNull, kelsLSFDecode_G729_16s(nullptr, x.prev, x.d)),
    CASE(kNull, kelsLSFDecode_G729_16s(x.idx, nullptr, x.d)),
    CASE(kNull, kelsLSFDecode_G729_16s(x.idx, x.prev, nullptr)),
    CASE(kIndex, kelsLSFDecode_G729_16s(x.idx, x.prev, x.d)),
    CASE(kIndex, kelsLSFDecode_G729_16s(x.idx4, x.prev, x.d)),
    CASE(kIndex, kelsLSFDecode_G729_16s(x.idxm1, x.prev, x.d)),
    CASE(kNull, kelsLSFDecodeErased_G729_16s(4, nullptr, x.a)),
    CASE(kNull, kelsLSFDecodeErased_G729_16s(4, x.prev, nullptr)),
    CASE(kIndex, kelsLSFDecodeErased_G729_16s(4, x.prev, x.a)),
    CASE(kIndex, kelsLSFDecodeErased_G729_16s(-1, x.prev, x.a)),

    CASE(kNull, kelsLSFQuant_G729B_16s(nullptr, x.prev, x.d, x.idx)),
    CASE(kNull, kelsLSFQuant_G729B_16s(x.a, nullptr, x.d, x.idx)),
    CASE(kNull, kelsLSFQuant_G729B_16s(x.a, x.prev, nullptr, x.idx)),
    CASE(kNull, kelsLSFQuant_G729B_16s(x.a, x.prev, x.d, nullptr)),
    CASE(kNull, kelsLSFDecode_G729B_16s(nullptr, x.prev, x.d)),
    CASE(kNull, kelsLSFDecode_G729B_16s(x.idx, nullptr, x.d)),
    CASE(kNull, kelsLSFDecode_G729B_16s(x.idx, x.prev, nullptr)),
    CASE(kIndex, kelsLSFDecode_G729B_16s(x.idx, x.prev, x.d)),
    CASE(kIndex, kelsLSFDecode_G729B_16s(x.idx4, x.prev, x.d)),
    CASE(kIndex, kelsLSFDecode_G729B_16s(x.idxm1, x.prev, x.d)),

    CASE(kNull, kelsLSPQuant_G729E_16s(nullptr, x.prev, x.d, x.idx, x.b)),
    CASE(kNull, kelsLSPQuant_G729E_16s(x.a, nullptr, x.d, x.idx, x.b)),
    CASE(kNull, kelsLSPQuant_G729E_16s(x.a, x.prev, nullptr, x.idx, x.b)),
    CASE(kNull, kelsLSPQuant_G729E_16s(x.a, x.prev, x.d, nullptr, x.b)),
    CASE(kNull, kelsLSPQuant_G729E_16s(x.a, x.prev, x.d, x.idx, nullptr)),
    // A null pIdx is an erased frame, not a failure.
    CASE(kNull, kelsLSFDecode_G729E_16s(x.idx, nullptr, x.a, &x.norm, x.d)),
    CASE(kNull, kelsLSFDecode_G729E_16s(nullptr, x.prev, nullptr, &x.norm, x.d)),
    CASE(kNull, kelsLSFDecode_G729E_16s(x.idx, x.prev, x.a, nullptr, x.d)),
    CASE(kNull, kelsLSFDecode_G729E_16s(nullptr, x.prev, x.a, &x.norm, nullptr)),

    CASE(kNull, kelsInterpolate_G729_16s(nullptr, x.b, x.d, 0)),
    CASE(kNull, kelsInterpolate_G729_16s(x.a, nullptr, x.d, 0)),
    CASE(kNull, kelsInterpolate_G729_16s(x.a, x.b, nullptr, 0)),
    CASE(kSize, kelsInterpolate_G729_16s(x.a, x.b, x.d, 0)),
    CASE(kSize, kelsInterpolate_G729_16s(x.a, x.b, x.d, -1)),

    CASE(kNull, kelsHighPassFilterSize_G729(nullptr)),
    CASE(kNull, kelsHighPassFilterInit_G729(nullptr, x.hp())),
    CASE(kNull, kelsHighPassFilterInit_G729(x.a, nullptr)),
    CASE(kNull, kelsHighPassFilter_G729_16s_ISfs(nullptr, 0, 14, x.hp())),
    CASE(kNull, kelsHighPassFilter_G729_16s_ISfs(x.src, 0, 14, nullptr)),
    CASE(kSize, kelsHighPassFilter_G729_16s_ISfs(x.src, 0, 14, x.hp())),
    CASE(kScale, kelsHighPassFilter_G729_16s_ISfs(x.src, 8, 14, x.hp())),
    CASE(kScale, kelsHighPassFilter_G729_16s_ISfs(x.src, 8, 11, x.hp())),
};

class G729Checks : public ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>> {};

TEST_P(G729Checks, FirstFailedCheckWinsAndNothingIsWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(All, G729Checks, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

}  // namespace
