// Every argument check of every G.729 pitch function, in the order the
// checks run, with canary-filled buffers (a failed check writes nothing);
// and the buffer bounds: for every accepted delay no function reads outside
// its excitation buffer or weighted-speech window (guard pages around them).
#include <gtest/gtest.h>
#include <string.h>

#include "kelsc.h"
#include "support/arg_checks.h"
#include "support/guarded_pages.h"
#include "support/test_data.h"

namespace {

struct Buffers {
    Kel16s sig[223], x[40], h[40], exc[194], v[40], y[40], lpc[11], d[2], g;
    Kel16s t17[2], t145[2], fracM2[2], frac2[2];

    Buffers() {
        memset(static_cast<void*>(this), 0x5A, sizeof(*this));
        t17[0] = 17, t17[1] = 0;
        t145[0] = 145, t145[1] = 0;
        fracM2[0] = 40, fracM2[1] = -2;
        frac2[0] = 40, frac2[1] = 2;
    }
};

#define CASE(want, expr) KEL_CHECK_CASE(Buffers, want, expr)

constexpr KelStatus kNull = kelStatusNullPointer, kRange = kelStatusOutOfRange, kIndex = kelStatusBadIndex;

// Each required pointer null together with bad values (pointers come
// first), then each bad value.
const kelsc_test::CheckCase<Buffers> kCases[] = {
    CASE(kNull, kelsOpenLoopPitchSearch_G729_16s(nullptr, &x.g)),
    CASE(kNull, kelsOpenLoopPitchSearch_G729_16s(x.sig + 143, nullptr)),
    CASE(kNull, kelsOpenLoopPitchSearch_G729A_16s(nullptr, &x.g)),
    CASE(kNull, kelsOpenLoopPitchSearch_G729A_16s(x.sig + 143, nullptr)),

    CASE(kNull, kelsAdaptiveCodebookSearch_G729_16s(17, nullptr, x.h, x.exc, x.d, x.v, 2)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729_16s(17, x.x, nullptr, x.exc, x.d, x.v, 2)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729_16s(17, x.x, x.h, nullptr, x.d, x.v, 2)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729_16s(17, x.x, x.h, x.exc, nullptr, x.v, 2)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729_16s(17, x.x, x.h, x.exc, x.d, nullptr, 2)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729_16s(17, x.x, x.h, x.exc, x.d, x.v, 0)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729_16s(146, x.x, x.h, x.exc, x.d, x.v, 1)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729_16s(145, x.x, x.h, x.exc, x.d, x.v, 2)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729_16s(18, x.x, x.h, x.exc, x.d, x.v, -1)),

    CASE(kNull, kelsAdaptiveCodebookSearch_G729A_16s(17, nullptr, x.h, x.exc, x.d, x.v, 2)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729A_16s(17, x.x, nullptr, x.exc, x.d, x.v, 2)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729A_16s(17, x.x, x.h, nullptr, x.d, x.v, 2)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729A_16s(17, x.x, x.h, x.exc, nullptr, x.v, 2)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729A_16s(17, x.x, x.h, x.exc, x.d, nullptr, 2)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729A_16s(17, x.x, x.h, x.exc, x.d, x.v, 0)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729A_16s(146, x.x, x.h, x.exc, x.d, x.v, 1)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729A_16s(145, x.x, x.h, x.exc, x.d, x.v, 2)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729A_16s(18, x.x, x.h, x.exc, x.d, x.v, -1)),

    CASE(kNull, kelsAdaptiveCodebookSearch_G729D_16s(17, nullptr, x.h, x.exc, 2, x.d)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729D_16s(17, x.x, nullptr, x.exc, 2, x.d)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729D_16s(17, x.x, x.h, nullptr, 2, x.d)),
    CASE(kNull, kelsAdaptiveCodebookSearch_G729D_16s(17, x.x, x.h, x.exc, 2, nullptr)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729D_16s(17, x.x, x.h, x.exc, 0, x.d)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729D_16s(146, x.x, x.h, x.exc, 1, x.d)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729D_16s(145, x.x, x.h, x.exc, 2, x.d)),
    CASE(kRange, kelsAdaptiveCodebookSearch_G729D_16s(18, x.x, x.h, x.exc, -1, x.d)),

    // The canary delay is itself out of range: pointers are checked first.
    CASE(kNull, kelsDecodeAdaptiveVector_G729_16s_I(nullptr, x.exc)),
    CASE(kNull, kelsDecodeAdaptiveVector_G729_16s_I(x.d, nullptr)),
    CASE(kIndex, kelsDecodeAdaptiveVector_G729_16s_I(x.t17, x.exc)),
    CASE(kIndex, kelsDecodeAdaptiveVector_G729_16s_I(x.t145, x.exc)),
    CASE(kIndex, kelsDecodeAdaptiveVector_G729_16s_I(x.fracM2, x.exc)),
    CASE(kIndex, kelsDecodeAdaptiveVector_G729_16s_I(x.frac2, x.exc)),
    CASE(kNull, kelsDecodeAdaptiveVector_G729_16s(nullptr, x.exc, x.v)),
    CASE(kNull, kelsDecodeAdaptiveVector_G729_16s(x.d, nullptr, x.v)),
    CASE(kNull, kelsDecodeAdaptiveVector_G729_16s(x.d, x.exc, nullptr)),
    CASE(kIndex, kelsDecodeAdaptiveVector_G729_16s(x.t17, x.exc, x.v)),
    CASE(kIndex, kelsDecodeAdaptiveVector_G729_16s(x.t145, x.exc, x.v)),
    CASE(kIndex, kelsDecodeAdaptiveVector_G729_16s(x.fracM2, x.exc, x.v)),
    CASE(kIndex, kelsDecodeAdaptiveVector_G729_16s(x.frac2, x.exc, x.v)),

    CASE(kNull, kelsAdaptiveCodebookGain_G729_16s(nullptr, x.h, x.v, x.y, &x.g)),
    CASE(kNull, kelsAdaptiveCodebookGain_G729_16s(x.x, nullptr, x.v, x.y, &x.g)),
    CASE(kNull, kelsAdaptiveCodebookGain_G729_16s(x.x, x.h, nullptr, x.y, &x.g)),
    CASE(kNull, kelsAdaptiveCodebookGain_G729_16s(x.x, x.h, x.v, nullptr, &x.g)),
    CASE(kNull, kelsAdaptiveCodebookGain_G729_16s(x.x, x.h, x.v, x.y, nullptr)),
    CASE(kNull, kelsAdaptiveCodebookGain_G729A_16s(nullptr, x.lpc, x.v, x.y, &x.g)),
    CASE(kNull, kelsAdaptiveCodebookGain_G729A_16s(x.x, nullptr, x.v, x.y, &x.g)),
    CASE(kNull, kelsAdaptiveCodebookGain_G729A_16s(x.x, x.lpc, nullptr, x.y, &x.g)),
    CASE(kNull, kelsAdaptiveCodebookGain_G729A_16s(x.x, x.lpc, x.v, nullptr, &x.g)),
    CASE(kNull, kelsAdaptiveCodebookGain_G729A_16s(x.x, x.lpc, x.v, x.y, nullptr)),

    CASE(kNull, kelsAdaptiveCodebookContribution_G729_16s(8192, nullptr, x.x, x.y)),
    CASE(kNull, kelsAdaptiveCodebookContribution_G729_16s(8192, x.v, nullptr, x.y)),
    CASE(kNull, kelsAdaptiveCodebookContribution_G729_16s(8192, x.v, x.x, nullptr)),
};

class G729PitchChecks : public ::testing::TestWithParam<kelsc_test::CheckCase<Buffers>> {};

TEST_P(G729PitchChecks, FirstFailedCheckWinsAndNothingIsWritten) { kelsc_test::expectCheck(GetParam()); }

INSTANTIATE_TEST_SUITE_P(All, G729PitchChecks, ::testing::ValuesIn(kCases), kelsc_test::checkCaseName<Buffers>);

void fillRandom(Kel16s* p, size_t n, kelsc_test::Rng& rng, int amplitude) {
    for (size_t i = 0; i < n; ++i)
        p[i] = static_cast<Kel16s>(static_cast<int>(rng.next() % (2 * amplitude + 1)) - amplitude);
}

TEST(G729PitchBounds, NoReadOutsideTheBuffersForAnyAcceptedDelay) {
    kelsc_test::GuardedPages pages;
    ASSERT_TRUE(pages.ok());
    kelsc_test::Rng rng(729);
    Kel16s x[40], h[40], v[40], d[2];
    fillRandom(x, 40, rng, 4000);
    h[0] = 4096;
    fillRandom(h + 1, 39, rng, 1500);
    for (int where = 0; where < 2; ++where) {
        Kel16s* exc = where == 0 ? pages.atStart() : pages.atEnd(194);
        for (int val = 18; val <= 145; ++val)
            for (Kel16s sub = 0; sub <= 1; ++sub) {
                fillRandom(exc, 194, rng, 8000);
                ASSERT_EQ(kelsAdaptiveCodebookSearch_G729_16s(val, x, h, exc, d, v, sub), kelStatusOk);
                ASSERT_EQ(kelsAdaptiveCodebookSearch_G729A_16s(val, x, h, exc, d, v, sub), kelStatusOk);
                ASSERT_EQ(kelsAdaptiveCodebookSearch_G729D_16s(val, x, h, exc, sub, d), kelStatusOk);
            }
        for (Kel16s t = 18; t <= 144; ++t)
            for (Kel16s f = -1; f <= 1; ++f) {
                const Kel16s delay[2] = {t, f};
                fillRandom(exc, 194, rng, 32767);
                ASSERT_EQ(kelsDecodeAdaptiveVector_G729_16s(delay, exc, v), kelStatusOk);
            }
        Kel16s* sig = where == 0 ? pages.atStart() : pages.atEnd(223);
        fillRandom(sig, 223, rng, 32767);
        Kel16s lag;
        ASSERT_EQ(kelsOpenLoopPitchSearch_G729_16s(sig + 143, &lag), kelStatusOk);
        ASSERT_EQ(kelsOpenLoopPitchSearch_G729A_16s(sig + 143, &lag), kelStatusOk);
    }
}

}  // namespace
