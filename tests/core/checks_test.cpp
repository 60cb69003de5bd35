// Every argument check of every frame and vector function, in the order the
// checks run, with canary-filled buffers: a failed check writes nothing.
#include <gtest/gtest.h>
#include <string.h>

#include "kelsc.h"
#include "support/arg_checks.h"

namespace {

// Every buffer a call may touch, filled with a canary pattern.
struct Buffers {
    Kel16s a[8], b[8], d16[8];
    Kel32s w[8], d32[8];
    Kel32f f[8], df[8];
    Kel64f g[8];
    Kel8u u8[8];
    Kel16sc sc[8];
    Kel32sc c[8];
    int index, scale, negScale;
    Kel16s m16;
    Kel32s m32;

    Buffers() {
        memset(static_cast<void*>(this), 0x5A, sizeof(*this));
        negScale = -1;
    }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kSize = kelStatusBadSize, kScale = kelStatusBadScale,
                    kShift = kelStatusBadShift;
Kel16u* u16(Kel16s* p) { return reinterpret_cast<Kel16u*>(p); }

// For each function: a null pointer with a bad length (pointers come first),
// a bad length with a bad value (lengths come next), then each bad value,
// and the deliberate exceptions to that order.
const kelsc_test::CheckCase<Buffers> kCases[] = {
    CASE(kNull, kelsAbs_16s(nullptr, x.d16, 0)),
    CASE(kNull, kelsAbs_16s(x.a, nullptr, 0)),
    CASE(kSize, kelsAbs_16s(x.a, x.d16, 0)),
    CASE(kNull, kelsAdd_16s(x.a, nullptr, x.d16, -1)),
    CASE(kSize, kelsAdd_16s(x.a, x.b, x.d16, -1)),
    CASE(kNull, kelsAdd_16s_I(nullptr, x.d16, 0)),
    CASE(kSize, kelsAdd_16s_I(x.a, x.d16, 0)),
    CASE(kNull, kelsAdd_32f_I(x.f, nullptr, 0)),
    CASE(kSize, kelsAdd_32f_I(x.f, x.df, 0)),
    CASE(kNull, kelsAdd_32s_ISfs(nullptr, x.d32, 0, 99)),
    CASE(kSize, kelsAdd_32s_ISfs(x.w, x.d32, 0, 99)),
    CASE(kNull, kelsSub_16s(nullptr, x.b, x.d16, 0)),
    CASE(kSize, kelsSub_16s(x.a, x.b, x.d16, 0)),
    CASE(kNull, kelsSub_16s_I(x.a, nullptr, 0)),
    CASE(kSize, kelsSub_16s_I(x.a, x.d16, INT32_MIN)),
    CASE(kNull, kelsSub_32f_I(nullptr, x.df, 0)),
    CASE(kSize, kelsSub_32f_I(x.f, x.df, 0)),
    CASE(kNull, kelsSubCRev_16s_Sfs(x.a, 3, nullptr, 0, 0)),
    CASE(kSize, kelsSubCRev_16s_Sfs(x.a, 3, x.d16, 0, 0)),
    CASE(kNull, kelsMul_32f(x.f, x.f, nullptr, 0)),
    CASE(kSize, kelsMul_32f(x.f, x.f, x.df, 0)),
    CASE(kNull, kelsMul_16s32s_Sfs(x.a, nullptr, x.d32, 0, 0)),
    CASE(kSize, kelsMul_16s32s_Sfs(x.a, x.b, x.d32, 0, 0)),
    CASE(kNull, kelsMulC_16s_ISfs(0, nullptr, 0, 0)),
    CASE(kSize, kelsMulC_16s_ISfs(0, x.d16, 0, 0)),
    CASE(kNull, kelsMul_NR_16s_Sfs(x.a, x.b, nullptr, 0, -1)),
    CASE(kSize, kelsMul_NR_16s_Sfs(x.a, x.b, x.d16, 0, -1)),
    CASE(kScale, kelsMul_NR_16s_Sfs(x.a, x.b, x.d16, 8, -1)),
    CASE(kNull, kelsMul_NR_16s_ISfs(nullptr, x.d16, 0, -1)),
    CASE(kSize, kelsMul_NR_16s_ISfs(x.a, x.d16, 0, -1)),
    CASE(kScale, kelsMul_NR_16s_ISfs(x.a, x.d16, 8, INT32_MIN)),
    CASE(kNull, kelsMulC_NR_16s_Sfs(nullptr, 1, x.d16, 0, -1)),
    CASE(kSize, kelsMulC_NR_16s_Sfs(x.a, 1, x.d16, 0, -1)),
    CASE(kScale, kelsMulC_NR_16s_Sfs(x.a, 1, x.d16, 8, -1)),
    CASE(kNull, kelsMulC_NR_16s_ISfs(1, nullptr, 0, -1)),
    CASE(kSize, kelsMulC_NR_16s_ISfs(1, x.d16, 0, -1)),
    CASE(kScale, kelsMulC_NR_16s_ISfs(1, x.d16, 8, -1)),
    // The scale factor is checked before the length here.
    CASE(kNull, kelsMulPowerC_NR_16s_Sfs(x.a, 1, nullptr, 0, -1)),
    CASE(kScale, kelsMulPowerC_NR_16s_Sfs(x.a, 1, x.d16, 0, -1)),
    CASE(kSize, kelsMulPowerC_NR_16s_Sfs(x.a, 1, x.d16, 0, 15)),
    CASE(kNull, kelsLShiftC_16s(nullptr, -1, x.d16, 0)),
    CASE(kSize, kelsLShiftC_16s(x.a, -1, x.d16, 0)),
    CASE(kShift, kelsLShiftC_16s(x.a, -1, x.d16, 8)),
    CASE(kNull, kelsLShiftC_16s_I(-1, nullptr, 0)),
    CASE(kSize, kelsLShiftC_16s_I(-1, x.d16, 0)),
    CASE(kShift, kelsLShiftC_16s_I(-1, x.d16, 8)),
    CASE(kNull, kelsLShiftC_16u(u16(x.a), -1, nullptr, 0)),
    CASE(kSize, kelsLShiftC_16u(u16(x.a), -1, u16(x.d16), 0)),
    CASE(kShift, kelsLShiftC_16u(u16(x.a), INT32_MIN, u16(x.d16), 8)),
    CASE(kNull, kelsLShiftC_16u_I(-1, nullptr, 0)),
    CASE(kSize, kelsLShiftC_16u_I(-1, u16(x.d16), 0)),
    CASE(kShift, kelsLShiftC_16u_I(-1, u16(x.d16), 8)),
    // An over-wide count goes to the zero-fill, whose own checks answer.
    CASE(kNull, kelsLShiftC_16u_I(16, nullptr, 0)),
    CASE(kSize, kelsLShiftC_16u_I(16, u16(x.d16), 0)),
    CASE(kNull, kelsLShiftC_32s_I(40, nullptr, 5)),
    CASE(kSize, kelsLShiftC_32s_I(40, x.d32, -3)),
    CASE(kNull, kelsLShiftC_32s_I(-1, nullptr, 0)),
    CASE(kSize, kelsLShiftC_32s_I(-1, x.d32, 0)),
    CASE(kShift, kelsLShiftC_32s_I(-1, x.d32, 8)),
    CASE(kNull, kelsRShiftC_16s(x.a, -1, nullptr, 0)),
    CASE(kSize, kelsRShiftC_16s(x.a, -1, x.d16, 0)),
    CASE(kShift, kelsRShiftC_16s(x.a, -1, x.d16, 8)),
    CASE(kNull, kelsRShiftC_16s_I(-1, nullptr, 0)),
    CASE(kSize, kelsRShiftC_16s_I(-1, x.d16, 0)),
    CASE(kShift, kelsRShiftC_16s_I(-7, x.d16, 8)),
    CASE(kNull, kelsRShiftC_32s_I(-1, nullptr, 0)),
    CASE(kSize, kelsRShiftC_32s_I(-1, x.d32, 0)),
    CASE(kShift, kelsRShiftC_32s_I(-1, x.d32, 8)),
    CASE(kNull, kelsSum_16s_Sfs(x.a, 0, nullptr, 0)),
    CASE(kSize, kelsSum_16s_Sfs(x.a, 0, &x.m16, 0)),
    CASE(kNull, kelsSum_16s32s_Sfs(nullptr, 0, &x.m32, 0)),
    CASE(kSize, kelsSum_16s32s_Sfs(x.a, 0, &x.m32, 0)),
    CASE(kNull, kelsSum_32s_Sfs(x.w, 0, nullptr, 0)),
    CASE(kSize, kelsSum_32s_Sfs(x.w, 0, &x.m32, 0)),
    CASE(kNull, kelsDotProd_16s32s_Sfs(x.a, nullptr, 0, &x.m32, 0)),
    CASE(kSize, kelsDotProd_16s32s_Sfs(x.a, x.b, 0, &x.m32, 0)),
    CASE(kNull, kelsDotProdAutoScale_16s32s_Sfs(x.a, x.b, 0, &x.m32, nullptr)),
    CASE(kSize, kelsDotProdAutoScale_16s32s_Sfs(x.a, x.b, 0, &x.m32, &x.index)),
    CASE(kNull, kelsAutoScale_16s(x.a, x.d16, 0, nullptr)),
    CASE(kSize, kelsAutoScale_16s(x.a, x.d16, 0, &x.negScale)),
    CASE(kScale, kelsAutoScale_16s(x.a, x.d16, 8, &x.negScale)),
    CASE(kNull, kelsAutoScale_16s_I(nullptr, 0, &x.negScale)),
    CASE(kSize, kelsAutoScale_16s_I(x.d16, 0, &x.negScale)),
    CASE(kScale, kelsAutoScale_16s_I(x.d16, 8, &x.negScale)),
    CASE(kNull, kelsInvSqrt_32s_I(nullptr, 0)),
    CASE(kSize, kelsInvSqrt_32s_I(x.d32, 0)),
    CASE(kNull, kelsMagSquared_32sc32s_Sfs(x.c, nullptr, 0, 0)),
    CASE(kSize, kelsMagSquared_32sc32s_Sfs(x.c, x.d32, 0, 0)),
    CASE(kNull, kelsMax_16s(nullptr, 0, &x.m16)),
    CASE(kSize, kelsMax_16s(x.a, 0, &x.m16)),
    CASE(kNull, kelsMin_16s(x.a, 0, nullptr)),
    CASE(kSize, kelsMin_16s(x.a, 0, &x.m16)),
    CASE(kNull, kelsMax_32s(x.w, 0, nullptr)),
    CASE(kSize, kelsMax_32s(x.w, 0, &x.m32)),
    CASE(kNull, kelsMaxIndx_32s(nullptr, 0, &x.m32, &x.index)),
    CASE(kSize, kelsMaxIndx_32s(x.w, 0, &x.m32, nullptr)),
    CASE(kNull, kelsMinIndx_16s(x.a, 0, nullptr, &x.index)),
    CASE(kSize, kelsMinIndx_16s(x.a, 0, &x.m16, &x.index)),
    CASE(kNull, kelsConvert_16s32s(x.a, nullptr, 0)),
    CASE(kSize, kelsConvert_16s32s(x.a, x.d32, 0)),
    CASE(kNull, kelsConvert_16s32f(nullptr, x.df, 0)),
    CASE(kSize, kelsConvert_16s32f(x.a, x.df, 0)),
    CASE(kNull, kelsConvert_32s32f(x.w, nullptr, 0)),
    CASE(kSize, kelsConvert_32s32f(x.w, x.df, 0)),
    CASE(kNull, kelsConvert_64f32f(nullptr, x.df, 0)),
    CASE(kSize, kelsConvert_64f32f(x.g, x.df, 0)),
    CASE(kNull, kelsConvert_32f16s_Sfs(x.f, nullptr, 0, 1, 0)),
    CASE(kSize, kelsConvert_32f16s_Sfs(x.f, x.d16, 0, 1, 0)),
    CASE(kNull, kelsConvert_32f32s_Sfs(nullptr, x.d32, 0, 1, 0)),
    CASE(kSize, kelsConvert_32f32s_Sfs(x.f, x.d32, 0, 1, 0)),
    CASE(kNull, kelsZero_8u(nullptr, 0)),
    CASE(kSize, kelsZero_8u(x.u8, 0)),
    CASE(kNull, kelsZero_16s(nullptr, 0)),
    CASE(kSize, kelsZero_16s(x.d16, -1)),
    CASE(kNull, kelsZero_16sc(nullptr, 0)),
    CASE(kSize, kelsZero_16sc(x.sc, 0)),
    CASE(kNull, kelsZero_32s(nullptr, 0)),
    CASE(kSize, kelsZero_32s(x.d32, 0)),
    CASE(kNull, kelsZero_32f(nullptr, 0)),
    CASE(kSize, kelsZero_32f(x.df, 0)),
    CASE(kNull, kelsSet_16s(1, nullptr, 0)),
    CASE(kSize, kelsSet_16s(1, x.d16, 0)),
    CASE(kNull, kelsSet_32s(1, nullptr, 0)),
    CASE(kSize, kelsSet_32s(1, x.d32, 0)),
    CASE(kNull, kelsCopy_16s(nullptr, x.d16, 0)),
    CASE(kSize, kelsCopy_16s(x.a, x.d16, 0)),
    CASE(kNull, kelsCopy_32f(x.f, nullptr, 0)),
    CASE(kSize, kelsCopy_32f(x.f, x.df, 0)),
    CASE(kNull, kelsMove_16s(nullptr, x.d16, 0)),
    CASE(kSize, kelsMove_16s(x.a, x.d16, 0)),
    CASE(kNull, kelsMove_32f(x.f, nullptr, 0)),
    CASE(kSize, kelsMove_32f(x.f, x.df, 0)),
    CASE(kNull, kelsLinToMuLaw_16s8u(nullptr, x.u8, 0)),
    CASE(kSize, kelsLinToMuLaw_16s8u(x.a, x.u8, 0)),
    CASE(kNull, kelsLinToALaw_16s8u(x.a, nullptr, 0)),
    CASE(kSize, kelsLinToALaw_16s8u(x.a, x.u8, 0)),
    CASE(kNull, kelsMuLawToLin_8u16s(nullptr, x.d16, 0)),
    CASE(kSize, kelsMuLawToLin_8u16s(x.u8, x.d16, 0)),
    CASE(kNull, kelsALawToLin_8u16s(x.u8, nullptr, 0)),
    CASE(kSize, kelsALawToLin_8u16s(x.u8, x.d16, 0)),
};

using ArgumentCheck = ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>>;

TEST_P(ArgumentCheck, FirstFailureReturnedNothingWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Vector, ArgumentCheck, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

}  // namespace
