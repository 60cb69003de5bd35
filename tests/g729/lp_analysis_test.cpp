// G.729 LP analysis against the reference routines (golden data in
// tests/vectors/g729): Autocorr, Lag_window and Levinson of annex B on
// speech and stress frames, Levinson at orders 1..30, Az_lsp of G.729 and
// G.729A, Lsp_Az and the LSP/LSF conversions; the fast Chebyshev evaluation
// against its basic-operator form; the stated edge cases.
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>

#include "basop.h"
#include "g729/g729_golden.h"
#include "g729/g729_internal.h"

namespace {

using namespace kelsc_test;

constexpr Kel16s kSentinel = -12345;  // the harness's mark of a value the reference did not write

// lpc_frames.bin (314 words): x[240]; annex B Autocorr(x, 12): exp_R0,
// r_h[13], r_l[13]; Lag_window(12): r_h[1..12], r_l[1..12]; Levinson on
// r[0..10]: unstable flag, A[11], rc[10], Err.
TEST(LpAnalysisGolden, AutoCorrLagWindowLevinsonOnFrames) {
    const auto rows = g729Rows("lpc_frames.bin", 314);
    int retried = 0;
    for (size_t n = 0; n < rows.size(); ++n) {
        Fields f(rows[n]);
        const V16 x = f.take(240);
        const Kel16s expR0 = f.one();
        const V16 rh = f.take(13), rl = f.take(13), wh = f.take(12), wl = f.take(12);
        const bool unstable = f.one() != 0;
        const V16 a = f.take(11), rc = f.take(10);
        const Kel16s err = f.one();

        // The reference divides the windowed frame by 4 while its energy
        // reaches 2^30: count the frames that take that path.
        int64_t energy = 0;
        for (int i = 0; i < 240; ++i) {
            const int64_t y = kel::mult_r(x[i], kel::g729::kHamWindow[i]);
            energy += y * y;
        }
        retried += energy >= (int64_t{1} << 30);

        Kel32s r[13];
        Kel16s norm = 0;
        ASSERT_EQ(kelsAutoCorr_G729B(x.data(), &norm, r), kelStatusOk);
        EXPECT_EQ(norm, expR0) << "row " << n;
        for (int k = 0; k < 13; ++k) {
            Kel16s hi = 0, lo = 0;
            kel::L_Extract(r[k], &hi, &lo);
            EXPECT_EQ(hi, rh[k]) << "row " << n << " lag " << k;
            EXPECT_EQ(lo, rl[k]) << "row " << n << " lag " << k;
        }

        ASSERT_EQ(kelsLagWindow_G729_32s_I(r + 1, 12), kelStatusOk);
        for (int k = 0; k < 12; ++k) EXPECT_EQ(r[k + 1], fromHiLo(wh[k], wl[k])) << "row " << n << " lag " << k + 1;

        Kel16s lpc[11], rcs[10], rc2[2], e = 0, e2 = 0;
        memset(lpc, 0x5a, sizeof(lpc));
        const KelStatus st = kelsLevinsonDurbin_G729_32s16s(r, 10, lpc, rcs, &e);
        const KelStatus st2 = kelsLevinsonDurbin_G729B(r, lpc, rc2, &e2);
        ASSERT_FALSE(unstable) << "row " << n;  // no speech or stress frame is unstable after the lag window
        ASSERT_EQ(st, kelStatusOk);
        ASSERT_EQ(st2, kelStatusOk);
        EXPECT_EQ(V16(lpc, lpc + 11), a) << "row " << n;
        EXPECT_EQ(V16(rcs, rcs + 10), rc) << "row " << n;
        EXPECT_EQ(V16(rc2, rc2 + 2), V16(rc.begin(), rc.begin() + 2));
        EXPECT_EQ(e, err);
        EXPECT_EQ(e2, err);
    }
    EXPECT_GE(retried, 6);  // loud frames took the overflow loop
}

// levinson_orders.bin (126 words): order, r_h[31], r_l[31], unstable flag,
// A[31], rc[30], Err (Levinson of annex B compiled with M = order). On an
// unstable filter the reference wrote rc up to the failing coefficient and
// then its two remembered ones (sentinels) over rc[0], rc[1].
TEST(LpAnalysisGolden, LevinsonAtEveryOrder) {
    const auto rows = g729Rows("levinson_orders.bin", 126);
    int unstable = 0, orders = 0, lastOrder = 0;
    for (const V16& row : rows) {
        Fields f(row);
        const int order = f.one();
        const V16 rh = f.take(31), rl = f.take(31);
        const bool bad = f.one() != 0;
        const V16 a = f.take(31), rc = f.take(30);
        const Kel16s err = f.one();
        orders += order != lastOrder;
        lastOrder = order;
        Kel32s r[31];
        for (int i = 0; i <= order; ++i) r[i] = fromHiLo(rh[i], rl[i]);
        V16 lpc(31, 0x5a5a), rcs(30, 0x5a5a);
        Kel16s e = 0x5a5a;
        const KelStatus st = kelsLevinsonDurbin_G729_32s16s(r, order, lpc.data(), rcs.data(), &e);
        if (!bad) {
            ASSERT_EQ(st, kelStatusOk) << "order " << order;
            EXPECT_EQ(V16(lpc.begin(), lpc.begin() + order + 1), V16(a.begin(), a.begin() + order + 1)) << order;
            EXPECT_EQ(V16(rcs.begin(), rcs.begin() + order), V16(rc.begin(), rc.begin() + order)) << order;
            EXPECT_EQ(e, err);
            continue;
        }
        ++unstable;
        ASSERT_EQ(st, kelStatusOverflow) << "order " << order;
        EXPECT_EQ(lpc, V16(31, 0x5a5a)) << "the LP vector is left as it was";
        EXPECT_EQ(e, 0x5a5a);
        // The reflection coefficients up to the unstable one are written,
        // the rest are not.
        int fail = 1;
        while (fail < order && rcs[fail] != 0x5a5a) ++fail;
        --fail;
        EXPECT_GT(kel::abs_s(rcs[fail]), 32750) << "order " << order;
        for (int k = 2; k < order; ++k)
            if (rc[k] != kSentinel) {
                EXPECT_EQ(rcs[k], rc[k]) << "order " << order << " k " << k;
            }
        EXPECT_TRUE(fail + 1 == order || rc[fail + 1] == kSentinel);
    }
    EXPECT_EQ(orders, 12);
    EXPECT_GE(unstable, 10);
}

// lsp_conv.bin (132 words): a[11], old_lsp[10], Az_lsp of G.729 and of
// G.729A, an LSP input (the G.729 roots, or a disordered or extreme
// vector), Lsp_Az of it, its sums before extract_l (10 32-bit words),
// Lsp_lsf2, Lsp_lsf, Lsf_lsp2 of the Lsp_lsf2 result; an LSF input and its
// Lsf_lsp2.
TEST(LpAnalysisGolden, LspConversions) {
    const auto rows = g729Rows("lsp_conv.bin", 132);
    int failed = 0, q11Overflows = 0, saturated = 0, negatives = 0;
    for (size_t n = 0; n < rows.size(); ++n) {
        Fields f(rows[n]);
        const V16 a = f.take(11), old = f.take(10), lsp60 = f.take(10), lsp50 = f.take(10), lspIn = f.take(10);
        const V16 az = f.take(11);
        Kel32s wide[10];
        for (Kel32s& w : wide) w = f.word32();
        const V16 lsf13 = f.take(10), lsfn = f.take(10), back = f.take(10), lsfIn = f.take(10), fromLsf = f.take(10);

        // Coverage: the Q11 polynomial of this LP vector overflows 16 bits.
        int32_t p1 = 2048, p2 = 2048;
        bool ovf = false;
        for (int i = 0; i < 5; ++i) {
            p1 = ((a[i + 1] + a[10 - i]) >> 1) - p1;
            p2 = ((a[i + 1] - a[10 - i]) >> 1) + p2;
            ovf = ovf || p1 != kel::sat16(p1) || p2 != kel::sat16(p2);
            p1 = kel::sat16(p1);
            p2 = kel::sat16(p2);
        }
        q11Overflows += ovf;
        failed += lsp60 == old;

        V16 out(10);
        ASSERT_EQ(kelsLPCToLSP_G729_16s(a.data(), old.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, lsp60) << "row " << n;
        ASSERT_EQ(kelsLPCToLSP_G729A_16s(a.data(), old.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, lsp50) << "row " << n;
        out = old;  // in place over the previous LSPs
        ASSERT_EQ(kelsLPCToLSP_G729_16s(a.data(), out.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, lsp60) << "row " << n;

        // LSP to LP: the reference keeps the low half of an out-of-range sum,
        // this library saturates it.
        V16 lpc(11);
        ASSERT_EQ(kelsLSPToLPC_G729_16s(lspIn.data(), lpc.data()), kelStatusOk);
        EXPECT_EQ(lpc[0], 4096);
        for (int i = 1; i <= 10; ++i) {
            EXPECT_EQ(lpc[i], kel::sat16(wide[i - 1])) << "row " << n << " i " << i;
            if (wide[i - 1] == kel::sat16(wide[i - 1])) {
                EXPECT_EQ(lpc[i], az[i]);
            }
            saturated += wide[i - 1] != kel::sat16(wide[i - 1]);
        }

        ASSERT_EQ(kelsLSPToLSF_G729_16s(lspIn.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, lsf13) << "row " << n;
        ASSERT_EQ(kelsLSPToLSF_Norm_G729_16s(lspIn.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, lsfn) << "row " << n;
        // A disordered LSP vector can give a negative LSF, where the
        // reference reads before its table: only the status is defined.
        const bool negative = *std::min_element(lsf13.begin(), lsf13.end()) < 0;
        negatives += negative;
        ASSERT_EQ(kelsLSFToLSP_G729_16s(lsf13.data(), out.data()), negative ? kelStatusNegativeLsf : kelStatusOk);
        if (!negative) {
            EXPECT_EQ(out, back) << "row " << n;
        }
        ASSERT_EQ(kelsLSFToLSP_G729_16s(lsfIn.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, fromLsf) << "row " << n;
        out = lspIn;  // in place
        ASSERT_EQ(kelsLSPToLSF_G729_16s(out.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, lsf13);
    }
    EXPECT_GE(q11Overflows, 10);  // the Q10 path
    EXPECT_GE(failed, 10);        // fewer than 10 roots: the previous LSPs
    EXPECT_GE(saturated, 4);      // LSP-to-LP sums beyond 16 bits
    EXPECT_GE(negatives, 1);
}

// The Chebyshev series in plain 64-bit arithmetic equals the basic-operator
// form (Chebps_11, Chebps_10, the GSM-AMR Chebps) for every input, including
// coefficients whose recursion saturates and x = -32768.
TEST(LpAnalysis, ChebyshevFastFormMatchesBasicOperators) {
    Rng rng(2906);
    const int forms[3][2] = {{24, 13}, {23, 13}, {24, 14}};
    int slow = 0;
    for (int t = 0; t < 200000; ++t) {
        Kel16s f[6] = {0};
        const int scale = static_cast<int>(rng.next() % 16);
        for (int i = 1; i < 6; ++i)
            f[i] = t % 7 == 0 ? rng.s16() : static_cast<Kel16s>(static_cast<int16_t>(rng.next()) >> scale);
        const Kel16s x = t % 11 == 0 ? rng.s16() : kel::g729::kGrid60[rng.next() % 61];
        const auto& form = forms[t % 3];
        const Kel16s fast = kel::_kelsChebyshev_G729_16s(x, f, form[0], form[1], false);
        const Kel16s exact = kel::_kelsChebyshev_G729_16s(x, f, form[0], form[1], true);
        ASSERT_EQ(fast, exact) << "x " << x << " form " << form[0] << "/" << form[1] << " f " << f[1] << " " << f[2]
                               << " " << f[3] << " " << f[4] << " " << f[5];
        slow += scale < 2;
    }
    EXPECT_GT(slow, 1000);
}

// The G.729 entry point is the root-search kernel with scale 12; the
// GSM-AMR form (Q10 coefficients evaluated in Q24, no fallback) finds the
// same roots for an ordinary speech filter, up to the precision of its
// coefficients (a shape check: its bit-exactness belongs to GSM-AMR's data).
TEST(LpAnalysis, RootSearchShapes) {
    const auto rows = g729Rows("lsp_conv.bin", 132);
    const V16& row = rows[0];
    const Kel16s* a = row.data();
    const Kel16s* old = row.data() + 11;
    Kel16s g729[10], amr[10];
    EXPECT_EQ(kel::ownLPCToLSP_G729_16s(a, old, g729, 60, 4, 0, 12), 10);
    EXPECT_EQ(V16(g729, g729 + 10), V16(row.begin() + 21, row.begin() + 31));
    EXPECT_EQ(kel::ownLPCToLSP_G729_16s(a, old, amr, 60, 4, 0, 13), 10);
    for (int i = 0; i < 10; ++i) EXPECT_NEAR(amr[i], g729[i], 32) << i;
}

// --- Stated edge cases ---------------------------------------------------------

TEST(LpAnalysis, LevinsonSmallEnergyWarnsAndWritesNothing) {
    for (Kel32s r0 : {65535, -65535, 0, 1}) {
        Kel32s r[11] = {r0};
        Kel16s lpc[11], rc[10], e = 7;
        memset(lpc, 0x33, sizeof(lpc));
        memset(rc, 0x33, sizeof(rc));
        EXPECT_EQ(kelsLevinsonDurbin_G729_32s16s(r, 10, lpc, rc, &e), kelStatusOverflow) << r0;
        EXPECT_EQ(kelsLevinsonDurbin_G729B(r, lpc, rc, &e), kelStatusOverflow) << r0;
        EXPECT_EQ(lpc[3], 0x3333);
        EXPECT_EQ(rc[0], 0x3333);
        EXPECT_EQ(e, 7);
    }
    // r[0] = 65536 passes the test; zero lags give a flat filter.
    Kel32s r[3] = {65536, 0, 0};
    Kel16s lpc[3], rc[2], e = 0;
    EXPECT_EQ(kelsLevinsonDurbin_G729_32s16s(r, 2, lpc, rc, &e), kelStatusOk);
    EXPECT_EQ(V16(lpc, lpc + 3), V16({4096, 0, 0}));
    EXPECT_EQ(V16(rc, rc + 2), V16({0, 0}));
}

TEST(LpAnalysis, InterpolateHalvesWithArithmeticShifts) {
    const Kel16s a[4] = {-3, 32767, -32768, 1}, b[4] = {-3, 32767, -32768, 1};
    Kel16s d[4];
    ASSERT_EQ(kelsInterpolate_G729_16s(a, b, d, 4), kelStatusOk);
    EXPECT_EQ(V16(d, d + 4), V16({-4, 32766, -32768, 0}));
    ASSERT_EQ(kelsInterpolate_G729_16s(d, b, d, 4), kelStatusOk);  // in place
    EXPECT_EQ(V16(d, d + 4), V16({-4, 32766, -32768, 0}));
}

TEST(LpAnalysis, NegativeLsfStopsTheConversion) {
    const Kel16s lsf[10] = {300, 600, -1, 1200, 1500, 1800, 2100, 2400, 2700, 3000};
    Kel16s lsp[10];
    memset(lsp, 0x11, sizeof(lsp));
    EXPECT_EQ(kelsLSFToLSP_G729_16s(lsf, lsp), kelStatusNegativeLsf);
    EXPECT_NE(lsp[0], 0x1111);
    EXPECT_NE(lsp[1], 0x1111);
    EXPECT_EQ(lsp[2], 0x1111);
    EXPECT_EQ(lsp[9], 0x1111);
}

}  // namespace
