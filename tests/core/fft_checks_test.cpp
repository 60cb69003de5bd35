// Every argument check of every real-FFT function, in the order the checks
// run, with canary-filled buffers and blocks built inside them: a failed
// check writes nothing, neither to the data nor to a block.
#include <gtest/gtest.h>
#include <string.h>

#include "fft_internal.h"
#include "kelsc.h"
#include "support/arg_checks.h"

namespace {

constexpr int kOrder = 4, kN = 1 << kOrder;

// Every buffer a call may touch, filled with a canary pattern; then a float
// and a 16-bit block of order 4, and two forged blocks with a valid tag
// whose recorded work size no allocation can serve (the float one of order
// 6: orders 4 and 5 transform without a work area).
struct Buffers {
    Kel8u mem32[256 + 16], mem16[304 + 16], init[64 + 16], work[320 + 16];
    Kel8u forged32[48], forged16[48];
    Kel32f x[kN + 2], y[kN + 2];
    Kel16s s16[kN];
    Kel32s s32[kN + 2];
    KelFFTSpec_R_32f* spec32;
    KelFFTSpec_R_16s32s* spec16;
    KelFFTSpec_R_32f* out32;
    KelFFTSpec_R_16s32s* out16;
    int size[3];

    Buffers() {
        memset(static_cast<void*>(this), 0x5A, sizeof(*this));
        kelsFFTInit_R_32f(&spec32, kOrder, kelFftDivInvByN, 0, mem32, init);
        kelsFFTInit_R_16s32s(&spec16, kOrder, kelFftDivInvByN, 0, mem16, init);
        const kel::FftHeader32f f = {kel::kFftTag32f, kOrder + 2, 0, 0, 1.0f, 0, INT32_MAX, 0};
        memcpy(forged32, &f, sizeof(f));
        const kel::FftHeader16s h = {kel::kFftTag16s, kOrder, 0, INT32_MAX, 0, 0};
        memcpy(forged16, &h, sizeof(h));
    }
    const KelFFTSpec_R_32f* forgedFloat() const { return reinterpret_cast<const KelFFTSpec_R_32f*>(forged32); }
    const KelFFTSpec_R_16s32s* forged16s() const { return reinterpret_cast<const KelFFTSpec_R_16s32s*>(forged16); }
    // A block of the other kind, or of none.
    const KelFFTSpec_R_32f* as32(const void* p) const { return static_cast<const KelFFTSpec_R_32f*>(p); }
    const KelFFTSpec_R_16s32s* as16(const void* p) const { return static_cast<const KelFFTSpec_R_16s32s*>(p); }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kOrderBad = kelStatusBadFftOrder, kFlag = kelStatusBadFftFlag,
                    kContext = kelStatusBadContext, kMemory = kelStatusNoMemory;

const kelsc_test::CheckCase<Buffers> kCases[] = {
    // Size queries: the order before the pointers, then sizes beyond an int.
    CASE(kOrderBad, kelsFFTGetSize_R_32f(31, 1, 0, nullptr, nullptr, nullptr)),
    CASE(kOrderBad, kelsFFTGetSize_R_32f(-1, 1, 0, &x.size[0], &x.size[1], &x.size[2])),
    CASE(kNull, kelsFFTGetSize_R_32f(30, 1, 0, nullptr, &x.size[1], &x.size[2])),
    CASE(kNull, kelsFFTGetSize_R_32f(4, 3, 0, &x.size[0], nullptr, &x.size[2])),
    CASE(kNull, kelsFFTGetSize_R_32f(4, 1, 0, &x.size[0], &x.size[1], nullptr)),
    CASE(kMemory, kelsFFTGetSize_R_32f(28, 3, 0, &x.size[0], &x.size[1], &x.size[2])),
    CASE(kOrderBad, kelsFFTGetSize_R_16s32s(31, 1, 0, nullptr, nullptr, nullptr)),
    CASE(kOrderBad, kelsFFTGetSize_R_16s32s(-1, 1, 0, &x.size[0], &x.size[1], &x.size[2])),
    CASE(kNull, kelsFFTGetSize_R_16s32s(29, 1, 0, nullptr, &x.size[1], &x.size[2])),
    CASE(kNull, kelsFFTGetSize_R_16s32s(4, 1, 0, &x.size[0], nullptr, &x.size[2])),
    CASE(kNull, kelsFFTGetSize_R_16s32s(4, 1, 0, &x.size[0], &x.size[1], nullptr)),
    CASE(kMemory, kelsFFTGetSize_R_16s32s(30, 1, 0, &x.size[0], &x.size[1], &x.size[2])),
    // Inits: ppSpec, order, pMemSpec, flag, the scratch (orders >= 4), size.
    CASE(kNull, kelsFFTInit_R_32f(nullptr, 31, 3, 0, nullptr, nullptr)),
    CASE(kOrderBad, kelsFFTInit_R_32f(&x.out32, 31, 3, 0, nullptr, nullptr)),
    CASE(kOrderBad, kelsFFTInit_R_32f(&x.out32, -1, 1, 0, x.mem32, x.init)),
    CASE(kNull, kelsFFTInit_R_32f(&x.out32, 4, 3, 0, nullptr, nullptr)),
    CASE(kFlag, kelsFFTInit_R_32f(&x.out32, 4, 3, 0, x.mem32, nullptr)),
    CASE(kFlag, kelsFFTInit_R_32f(&x.out32, 0, 0, 0, x.mem32, x.init)),
    CASE(kFlag, kelsFFTInit_R_32f(&x.out32, 0, 16, 0, x.mem32, x.init)),
    CASE(kNull, kelsFFTInit_R_32f(&x.out32, 4, 1, 0, x.mem32, nullptr)),
    CASE(kMemory, kelsFFTInit_R_32f(&x.out32, 28, 8, 0, x.mem32, x.init)),
    CASE(kNull, kelsFFTInit_R_16s32s(nullptr, 31, 3, 0, nullptr, nullptr)),
    CASE(kOrderBad, kelsFFTInit_R_16s32s(&x.out16, 31, 3, 0, nullptr, nullptr)),
    CASE(kNull, kelsFFTInit_R_16s32s(&x.out16, 4, 3, 0, nullptr, nullptr)),
    CASE(kFlag, kelsFFTInit_R_16s32s(&x.out16, 4, 3, 0, x.mem16, nullptr)),
    CASE(kNull, kelsFFTInit_R_16s32s(&x.out16, 5, 2, 0, x.mem16, nullptr)),
    CASE(kMemory, kelsFFTInit_R_16s32s(&x.out16, 30, 2, 0, x.mem16, x.init)),
    // Work-size query: pointers, then the tag.
    CASE(kNull, kelsFFTGetBufSize_R_32f(nullptr, &x.size[0])),
    CASE(kNull, kelsFFTGetBufSize_R_32f(x.as32(x.spec16), nullptr)),
    CASE(kContext, kelsFFTGetBufSize_R_32f(x.as32(x.spec16), &x.size[0])),
    CASE(kContext, kelsFFTGetBufSize_R_32f(x.as32(x.s16), &x.size[0])),
    // Float transforms: the block and its tag before the data pointers,
    // then the allocation of a work buffer.
    CASE(kNull, kelsFFTFwd_RToCCS_32f(nullptr, nullptr, nullptr, x.work)),
    CASE(kContext, kelsFFTFwd_RToCCS_32f(nullptr, x.y, x.as32(x.spec16), x.work)),
    CASE(kNull, kelsFFTFwd_RToCCS_32f(nullptr, x.y, x.spec32, x.work)),
    CASE(kNull, kelsFFTFwd_RToCCS_32f(x.x, nullptr, x.spec32, nullptr)),
    CASE(kMemory, kelsFFTFwd_RToCCS_32f(x.x, x.y, x.forgedFloat(), nullptr)),
    CASE(kNull, kelsFFTFwd_RToPerm_32f(x.x, x.y, nullptr, nullptr)),
    CASE(kContext, kelsFFTFwd_RToPerm_32f(x.x, nullptr, x.as32(x.s32), x.work)),
    CASE(kNull, kelsFFTFwd_RToPerm_32f(nullptr, x.y, x.spec32, x.work)),
    CASE(kNull, kelsFFTFwd_RToPerm_32f(x.x, nullptr, x.spec32, x.work)),
    CASE(kMemory, kelsFFTFwd_RToPerm_32f(x.x, x.y, x.forgedFloat(), nullptr)),
    CASE(kNull, kelsFFTInv_CCSToR_32f(x.x, x.y, nullptr, x.work)),
    CASE(kContext, kelsFFTInv_CCSToR_32f(nullptr, nullptr, x.as32(x.spec16), nullptr)),
    CASE(kNull, kelsFFTInv_CCSToR_32f(nullptr, x.y, x.spec32, x.work)),
    CASE(kNull, kelsFFTInv_CCSToR_32f(x.x, nullptr, x.spec32, x.work)),
    CASE(kMemory, kelsFFTInv_CCSToR_32f(x.x, x.y, x.forgedFloat(), nullptr)),
    // 16-bit transforms: same order.
    CASE(kNull, kelsFFTFwd_RToCCS_16s32s_Sfs(nullptr, nullptr, nullptr, 0, x.work)),
    CASE(kContext, kelsFFTFwd_RToCCS_16s32s_Sfs(nullptr, x.s32, x.as16(x.spec32), 0, x.work)),
    CASE(kNull, kelsFFTFwd_RToCCS_16s32s_Sfs(nullptr, x.s32, x.spec16, 0, x.work)),
    CASE(kNull, kelsFFTFwd_RToCCS_16s32s_Sfs(x.s16, nullptr, x.spec16, 0, x.work)),
    CASE(kMemory, kelsFFTFwd_RToCCS_16s32s_Sfs(x.s16, x.s32, x.forged16s(), 0, nullptr)),
    CASE(kNull, kelsFFTInv_CCSToR_32s16s_Sfs(x.s32, x.s16, nullptr, 0, x.work)),
    CASE(kContext, kelsFFTInv_CCSToR_32s16s_Sfs(nullptr, nullptr, x.as16(x.spec32), 0, x.work)),
    CASE(kNull, kelsFFTInv_CCSToR_32s16s_Sfs(nullptr, x.s16, x.spec16, 0, x.work)),
    CASE(kNull, kelsFFTInv_CCSToR_32s16s_Sfs(x.s32, nullptr, x.spec16, 0, x.work)),
    CASE(kMemory, kelsFFTInv_CCSToR_32s16s_Sfs(x.s32, x.s16, x.forged16s(), 0, nullptr)),
};

using FftArgumentCheck = ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>>;

TEST_P(FftArgumentCheck, FirstFailureReturnedNothingWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Fft, FftArgumentCheck, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

// The blocks the checks run on are real ones: the sizes above hold them,
// and a valid call on them succeeds.
TEST(FftArgumentCheck, BuffersHoldValidBlocks) {
    int spec = 0, init = 0, work = 0;
    ASSERT_EQ(kelsFFTGetSize_R_32f(kOrder, 2, 0, &spec, &init, &work), kelStatusOk);
    Buffers x;
    EXPECT_LE(spec, static_cast<int>(sizeof(x.mem32)));
    EXPECT_LE(init, static_cast<int>(sizeof(x.init)));
    ASSERT_EQ(kelsFFTGetSize_R_16s32s(kOrder, 2, 0, &spec, &init, &work), kelStatusOk);
    EXPECT_LE(spec, static_cast<int>(sizeof(x.mem16)));
    EXPECT_LE(work, static_cast<int>(sizeof(x.work)));
    EXPECT_EQ(kelsFFTFwd_RToCCS_32f(x.x, x.y, x.spec32, x.work), kelStatusOk);
    EXPECT_EQ(kelsFFTInv_CCSToR_32s16s_Sfs(x.s32, x.s16, x.spec16, 3, x.work), kelStatusOk);
}

}  // namespace
