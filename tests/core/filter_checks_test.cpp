// Every argument check of every correlation, convolution and filter
// function, in the order the checks run, with canary-filled buffers: a
// failed check writes nothing.
#include <gtest/gtest.h>
#include <string.h>

#include "kelsc.h"
#include "support/arg_checks.h"

namespace {

// Every buffer a call may touch, filled with a canary pattern.
struct Buffers {
    Kel16s a[16], b[16], lpc[11], mem[10], d16[16];
    Kel32s d32[16];
    Kel32f f[16], df[16];
    Kel64f dmax;
    Kel32s m32;
    Kel32f mf;
    int index, norm;

    Buffers() { memset(static_cast<void*>(this), 0x5A, sizeof(*this)); }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kSize = kelStatusBadSize, kScale = kelStatusBadScale,
                    kRange = kelStatusOutOfRange, kArg = kelStatusBadArgument;

// For each function: each required pointer null with a bad length (pointers
// come first), a bad length with a bad value (lengths come next), then each
// bad value, and the deliberate exception of kelsConvPartial_16s_Sfs.
const kelsc_test::CheckCase<Buffers> kCases[] = {
    CASE(kNull, kelsAutoCorr_16s32s(nullptr, 0, x.d32, 0)),
    CASE(kNull, kelsAutoCorr_16s32s(x.a, 0, nullptr, 0)),
    CASE(kSize, kelsAutoCorr_16s32s(x.a, 0, x.d32, 4)),
    CASE(kSize, kelsAutoCorr_16s32s(x.a, 4, x.d32, 0)),
    CASE(kNull, kelsAutoCorr_NormE_16s32s(nullptr, 0, x.d32, 0, &x.norm)),
    CASE(kNull, kelsAutoCorr_NormE_16s32s(x.a, 0, nullptr, 0, &x.norm)),
    CASE(kNull, kelsAutoCorr_NormE_16s32s(x.a, 0, x.d32, 0, nullptr)),
    CASE(kSize, kelsAutoCorr_NormE_16s32s(x.a, -1, x.d32, 4, &x.norm)),
    CASE(kSize, kelsAutoCorr_NormE_16s32s(x.a, 4, x.d32, 0, &x.norm)),
    CASE(kNull, kelsAutoCorr_NormE_NR_16s(nullptr, 0, x.d16, 0, &x.norm)),
    CASE(kNull, kelsAutoCorr_NormE_NR_16s(x.a, 0, nullptr, 0, &x.norm)),
    CASE(kNull, kelsAutoCorr_NormE_NR_16s(x.a, 0, x.d16, 0, nullptr)),
    CASE(kSize, kelsAutoCorr_NormE_NR_16s(x.a, 0, x.d16, 4, &x.norm)),
    CASE(kSize, kelsAutoCorr_NormE_NR_16s(x.a, 4, x.d16, -2, &x.norm)),

    CASE(kNull, kelsCrossCorr_16s32s_Sfs(nullptr, x.b, 0, x.d32, 0)),
    CASE(kNull, kelsCrossCorr_16s32s_Sfs(x.a, nullptr, 0, x.d32, 0)),
    CASE(kNull, kelsCrossCorr_16s32s_Sfs(x.a, x.b, 0, nullptr, 0)),
    CASE(kSize, kelsCrossCorr_16s32s_Sfs(x.a, x.b, 0, x.d32, 0)),
    CASE(kNull, kelsCrossCorr_NR_16s(nullptr, x.b, 0, x.d16, 0)),
    CASE(kNull, kelsCrossCorr_NR_16s(x.a, nullptr, 0, x.d16, 0)),
    CASE(kNull, kelsCrossCorr_NR_16s(x.a, x.b, 0, nullptr, 0)),
    CASE(kSize, kelsCrossCorr_NR_16s(x.a, x.b, 0, x.d16, 4)),
    CASE(kSize, kelsCrossCorr_NR_16s(x.a, x.b, 4, x.d16, 0)),
    CASE(kNull, kelsCrossCorr_NormM_16s(nullptr, x.b, 0, x.d16)),
    CASE(kNull, kelsCrossCorr_NormM_16s(x.a, nullptr, 0, x.d16)),
    CASE(kNull, kelsCrossCorr_NormM_16s(x.a, x.b, 0, nullptr)),
    CASE(kSize, kelsCrossCorr_NormM_16s(x.a, x.b, 0, x.d16)),

    CASE(kNull, kelsCrossCorrLagMax_16s(nullptr, x.b, 0, -1, &x.m32, &x.index)),
    CASE(kNull, kelsCrossCorrLagMax_16s(x.a, nullptr, 0, -1, &x.m32, &x.index)),
    CASE(kNull, kelsCrossCorrLagMax_16s(x.a, x.b, 0, -1, nullptr, &x.index)),
    CASE(kNull, kelsCrossCorrLagMax_16s(x.a, x.b, 0, -1, &x.m32, nullptr)),
    CASE(kSize, kelsCrossCorrLagMax_16s(x.a, x.b, 0, -1, &x.m32, &x.index)),
    CASE(kRange, kelsCrossCorrLagMax_16s(x.a, x.b, 4, -1, &x.m32, &x.index)),
    CASE(kNull, kelsAutoCorrLagMax_Fwd_16s(nullptr, 0, 0, 2, &x.m32, &x.index)),
    CASE(kNull, kelsAutoCorrLagMax_Fwd_16s(x.a, 0, 0, 2, nullptr, &x.index)),
    CASE(kNull, kelsAutoCorrLagMax_Fwd_16s(x.a, 0, 0, 2, &x.m32, nullptr)),
    CASE(kSize, kelsAutoCorrLagMax_Fwd_16s(x.a, 0, 0, 2, &x.m32, &x.index)),
    CASE(kNull, kelsAutoCorrLagMax_Inv_16s(nullptr, 0, 0, 2, &x.m32, &x.index)),
    CASE(kNull, kelsAutoCorrLagMax_Inv_16s(x.a, 0, 0, 2, nullptr, &x.index)),
    CASE(kNull, kelsAutoCorrLagMax_Inv_16s(x.a, 0, 0, 2, &x.m32, nullptr)),
    CASE(kSize, kelsAutoCorrLagMax_Inv_16s(x.a, -5, 0, 2, &x.m32, &x.index)),
    CASE(kNull, kelsAutoCorrLagMax_32f(nullptr, 0, 0, 2, &x.mf, &x.index)),
    CASE(kNull, kelsAutoCorrLagMax_32f(x.f, 0, 0, 2, nullptr, &x.index)),
    CASE(kNull, kelsAutoCorrLagMax_32f(x.f, 0, 0, 2, &x.mf, nullptr)),
    CASE(kSize, kelsAutoCorrLagMax_32f(x.f, 0, 0, 2, &x.mf, &x.index)),
    CASE(kNull, kelsCrossCorrLagMax_32f64f(nullptr, x.df, 0, -1, &x.dmax, &x.index)),
    CASE(kNull, kelsCrossCorrLagMax_32f64f(x.f, nullptr, 0, -1, &x.dmax, &x.index)),
    CASE(kNull, kelsCrossCorrLagMax_32f64f(x.f, x.df, 0, -1, nullptr, &x.index)),
    CASE(kNull, kelsCrossCorrLagMax_32f64f(x.f, x.df, 0, -1, &x.dmax, nullptr)),
    CASE(kSize, kelsCrossCorrLagMax_32f64f(x.f, x.df, 0, -1, &x.dmax, &x.index)),
    CASE(kRange, kelsCrossCorrLagMax_32f64f(x.f, x.df, 4, -1, &x.dmax, &x.index)),

    CASE(kNull, kelsConvPartial_16s32s(nullptr, x.b, x.d32, 0)),
    CASE(kNull, kelsConvPartial_16s32s(x.a, nullptr, x.d32, 0)),
    CASE(kNull, kelsConvPartial_16s32s(x.a, x.b, nullptr, 0)),
    CASE(kSize, kelsConvPartial_16s32s(x.a, x.b, x.d32, 0)),
    // A negative scale factor is a bad argument, checked before the length.
    CASE(kNull, kelsConvPartial_16s_Sfs(nullptr, x.b, x.d16, 0, -1)),
    CASE(kNull, kelsConvPartial_16s_Sfs(x.a, nullptr, x.d16, 0, -1)),
    CASE(kNull, kelsConvPartial_16s_Sfs(x.a, x.b, nullptr, 0, -1)),
    CASE(kArg, kelsConvPartial_16s_Sfs(x.a, x.b, x.d16, 0, -1)),
    CASE(kSize, kelsConvPartial_16s_Sfs(x.a, x.b, x.d16, 0, 0)),
    CASE(kNull, kelsConvPartial_NR_Low_16s(nullptr, x.b, x.d16, 0)),
    CASE(kNull, kelsConvPartial_NR_Low_16s(x.a, nullptr, x.d16, 0)),
    CASE(kNull, kelsConvPartial_NR_Low_16s(x.a, x.b, nullptr, 0)),
    CASE(kSize, kelsConvPartial_NR_Low_16s(x.a, x.b, x.d16, 0)),
    CASE(kNull, kelsConvPartial_NR_16s(nullptr, x.b, x.d16, 0)),
    CASE(kNull, kelsConvPartial_NR_16s(x.a, nullptr, x.d16, 0)),
    CASE(kNull, kelsConvPartial_NR_16s(x.a, x.b, nullptr, 0)),
    CASE(kSize, kelsConvPartial_NR_16s(x.a, x.b, x.d16, 0)),

    // The memory is optional: a null pMem is never a failure.
    CASE(kNull, kelsSynthesisFilter_NR_16s_ISfs(nullptr, x.d16, 0, 14, x.mem)),
    CASE(kNull, kelsSynthesisFilter_NR_16s_ISfs(x.lpc, nullptr, 0, 14, nullptr)),
    CASE(kSize, kelsSynthesisFilter_NR_16s_ISfs(x.lpc, x.d16, 0, 14, nullptr)),
    CASE(kScale, kelsSynthesisFilter_NR_16s_ISfs(x.lpc, x.d16, 8, 14, x.mem)),
    CASE(kScale, kelsSynthesisFilter_NR_16s_ISfs(x.lpc, x.d16, 8, 11, nullptr)),
    CASE(kNull, kelsSynthesisFilter_NR_16s_Sfs(nullptr, x.a, x.d16, 0, 14, x.mem)),
    CASE(kNull, kelsSynthesisFilter_NR_16s_Sfs(x.lpc, nullptr, x.d16, 0, 14, x.mem)),
    CASE(kNull, kelsSynthesisFilter_NR_16s_Sfs(x.lpc, x.a, nullptr, 0, 14, x.mem)),
    CASE(kSize, kelsSynthesisFilter_NR_16s_Sfs(x.lpc, x.a, x.d16, -1, 14, x.mem)),
    CASE(kScale, kelsSynthesisFilter_NR_16s_Sfs(x.lpc, x.a, x.d16, 8, 0, x.mem)),
    CASE(kNull, kelsSynthesisFilterLow_NR_16s_ISfs(nullptr, x.d16, 0, 14, x.mem)),
    CASE(kNull, kelsSynthesisFilterLow_NR_16s_ISfs(x.lpc, nullptr, 0, 14, x.mem)),
    CASE(kSize, kelsSynthesisFilterLow_NR_16s_ISfs(x.lpc, x.d16, 0, 14, x.mem)),
    CASE(kScale, kelsSynthesisFilterLow_NR_16s_ISfs(x.lpc, x.d16, 8, -12, x.mem)),
    CASE(kNull, kelsSynthesisFilterZeroStateResponse_NR_16s(nullptr, x.d16, 0, 14)),
    CASE(kNull, kelsSynthesisFilterZeroStateResponse_NR_16s(x.lpc, nullptr, 0, 14)),
    CASE(kSize, kelsSynthesisFilterZeroStateResponse_NR_16s(x.lpc, x.d16, 0, 14)),
    CASE(kScale, kelsSynthesisFilterZeroStateResponse_NR_16s(x.lpc, x.d16, 8, 14)),

    CASE(kNull, kelsResidualFilter_Low_16s_Sfs(nullptr, 10, x.a + 10, x.d16, 0, 16)),
    CASE(kNull, kelsResidualFilter_Low_16s_Sfs(x.lpc, 10, nullptr, x.d16, 0, 16)),
    CASE(kNull, kelsResidualFilter_Low_16s_Sfs(x.lpc, 10, x.a + 10, nullptr, 0, 16)),
    CASE(kSize, kelsResidualFilter_Low_16s_Sfs(x.lpc, 0, x.a + 10, x.d16, 6, 16)),
    CASE(kSize, kelsResidualFilter_Low_16s_Sfs(x.lpc, 2, x.a + 10, x.d16, 0, 16)),
    CASE(kSize, kelsResidualFilter_Low_16s_Sfs(x.lpc, 10, x.a + 10, x.d16, 6, 16)),  // len < order
    CASE(kScale, kelsResidualFilter_Low_16s_Sfs(x.lpc, 2, x.a + 10, x.d16, 6, 16)),
    CASE(kScale, kelsResidualFilter_Low_16s_Sfs(x.lpc, 2, x.a + 10, x.d16, 6, -1)),

    CASE(kNull, kelsHarmonicFilter_16s_I(16384, 3, nullptr, 0)),
    CASE(kSize, kelsHarmonicFilter_16s_I(16384, 3, x.d16 + 8, 0)),
    CASE(kNull, kelsHarmonicFilter_NR_16s(16384, 3, nullptr, x.d16, 0)),
    CASE(kNull, kelsHarmonicFilter_NR_16s(16384, 3, x.a + 8, nullptr, 0)),
    CASE(kSize, kelsHarmonicFilter_NR_16s(16384, 3, x.a + 8, x.d16, 0)),
    CASE(kNull, kelsHarmonicFilter_32f_I(0.5f, 3, nullptr, 0)),
    CASE(kSize, kelsHarmonicFilter_32f_I(0.5f, 3, x.df + 8, -3)),
    CASE(kNull, kelsPreemphasize_32f_I(0.68f, nullptr, 0, &x.mf)),
    CASE(kNull, kelsPreemphasize_32f_I(0.68f, x.df, 0, nullptr)),
    CASE(kSize, kelsPreemphasize_32f_I(0.68f, x.df, 0, &x.mf)),
    CASE(kNull, kelsInterpolateC_NR_16s(nullptr, 1, -1, x.b, 1, -1, x.d16, 0)),
    CASE(kNull, kelsInterpolateC_NR_16s(x.a, 1, -1, nullptr, 1, -1, x.d16, 0)),
    CASE(kNull, kelsInterpolateC_NR_16s(x.a, 1, -1, x.b, 1, -1, nullptr, 0)),
    CASE(kSize, kelsInterpolateC_NR_16s(x.a, 1, -1, x.b, 1, -1, x.d16, 0)),
    CASE(kScale, kelsInterpolateC_NR_16s(x.a, 1, -1, x.b, 1, 15, x.d16, 8)),
    CASE(kScale, kelsInterpolateC_NR_16s(x.a, 1, 15, x.b, 1, -1, x.d16, 8)),
};

using FilterArgumentCheck = ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>>;

TEST_P(FilterArgumentCheck, FirstFailureReturnedNothingWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Filters, FilterArgumentCheck, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

}  // namespace
