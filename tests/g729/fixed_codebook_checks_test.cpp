// Every argument check of every G.729 fixed-codebook function, in the order
// the checks run, with canary-filled buffers: a failed check writes nothing
// (neither the outputs nor the matrix or budget it would modify).
#include <gtest/gtest.h>
#include <string.h>

#include "kelsc.h"
#include "support/arg_checks.h"

namespace {

struct Buffers {
    Kel16s dn[40], h[40], res[40], code[40], y[40], idx[5], sign, times, rr16[616];
    Kel32s rr32[616];

    Buffers() { memset(static_cast<void*>(this), 0x5A, sizeof(*this)); }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kRange = kelStatusOutOfRange;

// Each pointer null (with a bad sub-frame where there is one: pointers come
// first), then each bad sub-frame number.
const kelsc_test::CheckCase<Buffers> kCases[] = {
    CASE(kNull, kelsToeplizMatrix_G729_16s32s(nullptr, x.rr32)),
    CASE(kNull, kelsToeplizMatrix_G729_16s32s(x.h, nullptr)),
    CASE(kNull, kelsToeplizMatrix_G729_16s(nullptr, x.rr16)),
    CASE(kNull, kelsToeplizMatrix_G729_16s(x.h, nullptr)),

    CASE(kNull, kelsFixedCodebookSearch_G729_32s16s(nullptr, x.rr32, x.code, x.idx, &x.times, -1)),
    CASE(kNull, kelsFixedCodebookSearch_G729_32s16s(x.dn, nullptr, x.code, x.idx, &x.times, -1)),
    CASE(kNull, kelsFixedCodebookSearch_G729_32s16s(x.dn, x.rr32, nullptr, x.idx, &x.times, -1)),
    CASE(kNull, kelsFixedCodebookSearch_G729_32s16s(x.dn, x.rr32, x.code, nullptr, &x.times, -1)),
    CASE(kNull, kelsFixedCodebookSearch_G729_32s16s(x.dn, x.rr32, x.code, x.idx, nullptr, -1)),
    CASE(kRange, kelsFixedCodebookSearch_G729_32s16s(x.dn, x.rr32, x.code, x.idx, &x.times, -1)),
    CASE(kRange, kelsFixedCodebookSearch_G729_32s16s(x.dn, x.rr32, x.code, x.idx, &x.times, -2147483647 - 1)),

    CASE(kNull, kelsFixedCodebookSearch_G729_16s(nullptr, x.rr16, x.code, x.idx, &x.times, 2)),
    CASE(kNull, kelsFixedCodebookSearch_G729_16s(x.dn, nullptr, x.code, x.idx, &x.times, 2)),
    CASE(kNull, kelsFixedCodebookSearch_G729_16s(x.dn, x.rr16, nullptr, x.idx, &x.times, 2)),
    CASE(kNull, kelsFixedCodebookSearch_G729_16s(x.dn, x.rr16, x.code, nullptr, &x.times, 2)),
    CASE(kNull, kelsFixedCodebookSearch_G729_16s(x.dn, x.rr16, x.code, x.idx, nullptr, 2)),
    CASE(kRange, kelsFixedCodebookSearch_G729_16s(x.dn, x.rr16, x.code, x.idx, &x.times, 2)),
    CASE(kRange, kelsFixedCodebookSearch_G729_16s(x.dn, x.rr16, x.code, x.idx, &x.times, -1)),

    CASE(kNull, kelsFixedCodebookSearch_G729A_32s16s(nullptr, x.rr32, x.code, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729A_32s16s(x.dn, nullptr, x.code, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729A_32s16s(x.dn, x.rr32, nullptr, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729A_32s16s(x.dn, x.rr32, x.code, nullptr)),
    CASE(kNull, kelsFixedCodebookSearch_G729A_16s(nullptr, x.rr16, x.code, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729A_16s(x.dn, nullptr, x.code, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729A_16s(x.dn, x.rr16, nullptr, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729A_16s(x.dn, x.rr16, x.code, nullptr)),

    CASE(kNull, kelsFixedCodebookSearch_G729D_16s(nullptr, x.h, x.code, x.y, &x.sign, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729D_16s(x.dn, nullptr, x.code, x.y, &x.sign, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729D_16s(x.dn, x.h, nullptr, x.y, &x.sign, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729D_16s(x.dn, x.h, x.code, nullptr, &x.sign, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729D_16s(x.dn, x.h, x.code, x.y, nullptr, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729D_16s(x.dn, x.h, x.code, x.y, &x.sign, nullptr)),

    CASE(kNull, kelsFixedCodebookSearch_G729E_16s(0, nullptr, x.res, x.h, x.code, x.y, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729E_16s(0, x.dn, nullptr, x.h, x.code, x.y, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729E_16s(1, x.dn, x.res, nullptr, x.code, x.y, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729E_16s(1, x.dn, x.res, x.h, nullptr, x.y, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729E_16s(1, x.dn, x.res, x.h, x.code, nullptr, x.idx)),
    CASE(kNull, kelsFixedCodebookSearch_G729E_16s(1, x.dn, x.res, x.h, x.code, x.y, nullptr)),
};

class FixedCodebookChecks : public ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>> {};

TEST_P(FixedCodebookChecks, FirstFailedCheckWinsAndNothingIsWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(All, FixedCodebookChecks, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

}  // namespace
