// Autocorrelation, cross-correlation and lag searches against plain models
// of each stated formula (exact sums, then the stated wrap, shift, rounding
// and saturation), and against the G.729 reference routines Autocorr,
// Cor_h_X and Lag_max on speech (golden data, tests/vectors/g729_kernels).
#include <float.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "basop.h"
#include "core/filter_models.h"
#include "filter_internal.h"

namespace {

using namespace kelsc_test;

// Every vector of a data set, with the data repeated to n + extra samples
// so that lags can read past n; exact size, so over-reads are caught.
V16 extend(const V16& v, size_t n) {
    V16 out(n);
    for (size_t i = 0; i < n; ++i) out[i] = v[i % v.size()] ^ static_cast<Kel16s>(i / v.size() * 0x1235);
    return out;
}

// --- Autocorrelation ----------------------------------------------------------

TEST(AutoCorr, WrappingSumsPerLag) {
    for (int n : lengths()) {
        for (const Data& d : dataSets(n, 11)) {
            const int lags = n + 3;  // lags past the length read nothing and give 0
            Guarded<Kel32s> r(lags);
            ASSERT_EQ(kelsAutoCorr_16s32s(d.v.data(), n, r.p(), lags), kelStatusOk);
            for (int k = 0; k < lags; ++k)
                ASSERT_EQ(r[k], wrap32(k < n ? dot(d.v.data(), d.v.data() + k, n - k) : 0)) << d.name << " n " << n;
            ASSERT_TRUE(r.guardsIntact());
        }
    }
}

TEST(AutoCorr, NormalisedOrOverflow) {
    for (int n : lengths()) {
        for (const Data& d : dataSets(n, 12)) {
            for (int lags : {1, 11}) {
                Guarded<Kel32s> r(lags);
                int norm = -99;
                const KelStatus st = kelsAutoCorr_NormE_16s32s(d.v.data(), n, r.p(), lags, &norm);
                const int64_t e = sat32(dot(d.v.data(), d.v.data(), n));
                ASSERT_TRUE(r.guardsIntact());
                if (e > 1073741823) {
                    // Nothing written: the caller scales down and calls again.
                    ASSERT_EQ(st, kelStatusOverflow) << d.name << " n " << n;
                    ASSERT_EQ(norm, -99);
                    ASSERT_EQ(r[0], 0x5A5A);
                    continue;
                }
                ASSERT_EQ(st, kelStatusOk);
                const int64_t r0 = 2 * e + 1;
                const int shift = normShift(r0);
                ASSERT_EQ(norm, shift);
                ASSERT_EQ(r[0], r0 << shift);
                for (int k = 1; k < lags; ++k)
                    ASSERT_EQ(r[k], shlSat32(wrap32(k < n ? dot(d.v.data(), d.v.data() + k, n - k) : 0), shift + 1))
                        << d.name << " n " << n << " k " << k;
            }
        }
    }
    // Silence: r0 = 1 normalised by 30.
    const Kel16s zero[5] = {};
    Kel32s r[2];
    int norm = 0;
    ASSERT_EQ(kelsAutoCorr_NormE_16s32s(zero, 5, r, 2, &norm), kelStatusOk);
    EXPECT_EQ(norm, 30);
    EXPECT_EQ(r[0], 1073741824);
    EXPECT_EQ(r[1], 0);
}

// The 16-bit normalised forms, the stepped one with its energy limit.
TEST(AutoCorr, NormalisedRounded) {
    for (int n : lengths()) {
        for (const Data& d : dataSets(n, 13)) {
            for (int step : {0, 1, 2, 5}) {  // 0: the exported form
                const int lags = 11;
                Guarded<Kel16s> r(lags);
                int norm = -1;
                const int64_t exact = dot(d.v.data(), d.v.data(), n);
                int64_t r0;
                if (step == 0) {
                    ASSERT_EQ(kelsAutoCorr_NormE_NR_16s(d.v.data(), n, r.p(), lags, &norm), kelStatusOk);
                    const int64_t e = std::min<int64_t>(exact, INT32_MAX);
                    r0 = e < (int64_t{1} << 30) ? 2 * e : INT32_MAX;  // no + 1 here
                } else {
                    kel::_kelsAutoCorr_NormE_Step_NR_16s(d.v.data(), n, step, r.p(), lags, &norm);
                    r0 = 2 * std::min<int64_t>(exact, 1073741823);
                }
                const int shift = normShift(r0), stride = step == 0 ? 1 : step;
                ASSERT_EQ(norm, shift) << d.name;
                ASSERT_EQ(r[0], round16(r0 << shift)) << d.name << " n " << n;
                for (int k = 1; k < lags; ++k) {
                    const int64_t lag = int64_t{k} * stride;
                    const int64_t s = lag < n ? dot(d.v.data(), d.v.data() + lag, n - lag) : 0;
                    ASSERT_EQ(r[k], round16(shlSat32(s, shift + 1))) << d.name << " n " << n << " step " << step;
                }
                ASSERT_TRUE(r.guardsIntact());
            }
        }
    }
}

TEST(AutoCorr, InverseLagsSaturated64) {
    for (int n : lengths()) {
        for (const Data& d : dataSets(n + 12, 14)) {
            const Kel16s* x = d.v.data() + 12;  // 12 samples of history
            V32 r(13);
            kel::_kelsAutoCorr_Inv_16s32s(x, n, r.data(), 13);
            for (int k = 0; k < 13; ++k) ASSERT_EQ(r[k], sat32(dot(x, x - k, n))) << d.name << " n " << n;
        }
    }
}

// --- Cross-correlation ----------------------------------------------------------

TEST(CrossCorr, ScaledWrappingSums) {
    for (int n : lengths()) {
        for (const Data& d : dataSets(n, 21)) {
            const V16 y = Rng(n).vec16(n);
            for (int sf : {-40, -32, -31, -3, 0, 1, 7, 31, 32, 99}) {
                Guarded<Kel32s> c(n);
                ASSERT_EQ(kelsCrossCorr_16s32s_Sfs(d.v.data(), y.data(), n, c.p(), sf), kelStatusOk);
                for (int k = 0; k < n; ++k) {
                    const int32_t s = wrap32(dot(d.v.data(), y.data() + k, n - k));
                    const int32_t want =
                        sf >= 0 ? s >> std::min(sf, 31) : (sf < -31 ? 0 : wrap32(int64_t{s} * (int64_t{1} << -sf)));
                    ASSERT_EQ(c[k], want) << d.name << " sf " << sf;
                }
                ASSERT_TRUE(c.guardsIntact());
            }
        }
    }
}

TEST(CrossCorr, RoundedNoSaturation) {
    for (int n : lengths()) {
        for (const Data& d : dataSets(n, 22)) {
            const int lags = 9;
            const V16 y = extend(d.v, n + lags - 1);
            Guarded<Kel16s> c(lags);
            ASSERT_EQ(kelsCrossCorr_NR_16s(d.v.data(), y.data(), n, c.p(), lags), kelStatusOk);
            for (int k = 0; k < lags; ++k)
                ASSERT_EQ(c[k],
                          wrap16(int64_t{wrap32(wrap32(dot(d.v.data(), y.data() + k, n)) + int64_t{16384})} >> 15))
                    << d.name;
            ASSERT_TRUE(c.guardsIntact());
        }
    }
}

TEST(CrossCorr, NormalisedToPeak) {
    for (int n : lengths()) {
        for (const Data& d : dataSets(n, 23)) {
            for (const V16& y : {Rng(n + 1).vec16(n), d.v}) {
                Guarded<Kel16s> c(n);
                ASSERT_EQ(kelsCrossCorr_NormM_16s(d.v.data(), y.data(), n, c.p()), kelStatusOk);
                V32 dbl(n);
                int64_t m = 0;
                for (int k = 0; k < n; ++k) {
                    dbl[k] = wrap32(2 * int64_t{wrap32(dot(d.v.data(), y.data() + k, n - k))});
                    m = std::max<int64_t>(m, std::min<int64_t>(std::abs(int64_t{dbl[k]}), INT32_MAX));
                }
                const int shift = std::min(16, normShift(m));
                for (int k = 0; k < n; ++k) ASSERT_EQ(c[k], wrap16(dbl[k] >> (18 - shift))) << d.name << " n " << n;
                ASSERT_TRUE(c.guardsIntact());
            }
        }
    }
}

// The internal variants: saturated or wrapping doubling, inverse lags, stepped lags.
TEST(CrossCorr, InternalVariants) {
    const int hist = 20, lags = 21;
    for (int n : lengths()) {
        for (const Data& d : dataSets(n, 24)) {
            const V16 y = extend(d.v, hist + n + lags);
            const Kel16s* yc = y.data() + hist;
            V32 fwd(lags), low(lags), inv(lags);
            kel::_kelsCrossCorr_Fwd_16s32s(d.v.data(), yc, n, fwd.data(), lags);
            kel::_kelsCrossCorr_Fwd_Low_16s32s(d.v.data(), yc, n, low.data(), lags);
            kel::_kelsCrossCorr_Inv_16s32s(d.v.data(), yc, n, inv.data(), hist + 1);
            for (int k = 0; k < lags; ++k) {
                const int32_t s = wrap32(dot(d.v.data(), yc + k, n));
                ASSERT_EQ(fwd[k], shlSat32(s, 1)) << d.name;
                ASSERT_EQ(low[k], wrap32(2 * int64_t{s})) << d.name;
                if (k <= hist) {
                    ASSERT_EQ(inv[k], shlSat32(wrap32(dot(d.v.data(), yc - k, n)), 1)) << d.name;
                }
            }
            for (int step : {1, 3}) {
                for (int sf : {0, 1, 15, 20}) {
                    V16 c(lags);
                    kel::_kelsCrossCorr_Step_NR_Sfs_16s(d.v.data(), yc, n, step, c.data(), lags, sf);
                    for (int j = 0; j < lags; ++j) {
                        const int64_t lag = int64_t{j} * step;
                        const int64_t s = wrap32(lag < n ? dot(d.v.data(), yc + lag, n - lag) : 0);
                        ASSERT_EQ(c[j], wrap16(wrap32(s + (sf > 0 ? int64_t{1} << (sf - 1) : 0)) >> sf)) << d.name;
                    }
                }
            }
        }
    }
}

// --- Lag searches ---------------------------------------------------------------

// Brute-force searches written from the stated rules.
struct Best {
    int64_t max;
    int index;
};
Best crossLagMaxModel(const Kel16s* x, const Kel16s* y, int n, int maxLag) {
    Best b{0, maxLag};
    for (int lag = maxLag; lag >= 0; --lag) {
        const int64_t c = sat32(dot(x, y + lag, n));
        if (c > b.max) b = {c, lag};
    }
    return b;
}
Best autoLagMaxModel(const Kel16s* x, int n, int lagMin, int lagMax, int dir) {
    int64_t best = INT32_MIN;
    int index = 0;
    for (int lag = lagMin; lag <= lagMax; ++lag) {
        const int64_t s = wrap32(dot(x, x + dir * lag, n));
        if (s > best) best = s, index = lag;
    }
    return {shlSat32(best, 1), index};
}

TEST(LagMax, AgainstBruteForce) {
    for (int n : {1, 8, 17, 40, 80, 160}) {
        for (const Data& d : dataSets(n, 31)) {
            const int hist = 143;
            const V16 sig = extend(d.v, hist + n + hist);  // history, signal, forward reach
            const Kel16s* x = sig.data() + hist;
            for (auto [lo, hi] : {std::pair{20, 143}, std::pair{0, 0}, std::pair{40, 39}, std::pair{-5, 7}}) {
                Kel32s m = 0;
                int idx = -1;
                ASSERT_EQ(kelsAutoCorrLagMax_Fwd_16s(x, n, lo, hi, &m, &idx), kelStatusOk);
                const Best f = autoLagMaxModel(x, n, lo, hi, 1);
                ASSERT_EQ(m, f.max) << d.name << " " << lo << ".." << hi;
                ASSERT_EQ(idx, f.index) << d.name << " " << lo << ".." << hi;
                ASSERT_EQ(kelsAutoCorrLagMax_Inv_16s(x, n, lo, hi, &m, &idx), kelStatusOk);
                const Best b = autoLagMaxModel(x, n, lo, hi, -1);
                ASSERT_EQ(m, b.max) << d.name;
                ASSERT_EQ(idx, b.index) << d.name;
            }
            // Cross search against a second signal; internal inverse search
            // with 64-bit sums and saturated doubling.
            // (Small operands on short lengths take the wrapping path, whose
            // sums cannot leave 32 bits; the others the 64-bit one.)
            Kel32s m = 0;
            int idx = -1;
            for (const V16& y : {extend(Rng(n).vec16(n), n + 60), extend(dataSets(n, 32)[1].v, n + 60)}) {
                ASSERT_EQ(kelsCrossCorrLagMax_16s(d.v.data(), y.data(), n, 60, &m, &idx), kelStatusOk);
                const Best c = crossLagMaxModel(d.v.data(), y.data(), n, 60);
                ASSERT_EQ(m, c.max) << d.name;
                ASSERT_EQ(idx, c.index) << d.name;
            }
            kel::_kelsCrossCorrLagMax_Inv_16s(x, x, n, 20, 143, &m, &idx);
            int64_t best = INT32_MIN;
            int want = 0;
            for (int lag = 20; lag <= 143; ++lag) {
                const int64_t v = sat32(2 * dot(x, x - lag, n));
                if (v > best) best = v, want = lag;
            }
            ASSERT_EQ(m, best) << d.name;
            ASSERT_EQ(idx, want) << d.name;
        }
    }
}

// Which lag wins among equal maxima is part of each contract.
TEST(LagMax, TieBreaks) {
    // A signal of period 5: lags l and l + 5 see the same samples.
    V16 sig(300);
    const Kel16s period[5] = {900, -300, 1200, 50, -700};  // no sum wraps
    for (size_t i = 0; i < sig.size(); ++i) sig[i] = period[i % 5];
    const Kel16s* x = sig.data() + 150;
    Kel32s m;
    int idx;
    // Forward and inverse: the smaller lag (lag 10 and 15 tie with lag 5).
    ASSERT_EQ(kelsAutoCorrLagMax_Fwd_16s(x, 40, 3, 17, &m, &idx), kelStatusOk);
    EXPECT_EQ(idx, 5);
    ASSERT_EQ(kelsAutoCorrLagMax_Inv_16s(x, 40, 3, 17, &m, &idx), kelStatusOk);
    EXPECT_EQ(idx, 5);
    kel::_kelsCrossCorrLagMax_Inv_16s(x, x, 40, 3, 17, &m, &idx);
    EXPECT_EQ(idx, 5);
    // Cross search from maxLag down: the larger lag.
    ASSERT_EQ(kelsCrossCorrLagMax_16s(x, x, 40, 17, &m, &idx), kelStatusOk);
    EXPECT_EQ(idx, 15);
    EXPECT_EQ(m, dot(x, x, 40));
    // All correlations negative: 0 at maxLag.
    V16 neg(60);
    for (size_t i = 0; i < neg.size(); ++i) neg[i] = static_cast<Kel16s>(-(x[i % 40] > 0 ? x[i % 40] : -x[i % 40]));
    V16 pos(40);
    for (int i = 0; i < 40; ++i) pos[i] = static_cast<Kel16s>(std::abs(x[i]));
    ASSERT_EQ(kelsCrossCorrLagMax_16s(pos.data(), neg.data(), 40, 20, &m, &idx), kelStatusOk);
    EXPECT_EQ(m, 0);
    EXPECT_EQ(idx, 20);
    // Empty lag range: the sentinel.
    ASSERT_EQ(kelsAutoCorrLagMax_Inv_16s(x, 40, 9, 8, &m, &idx), kelStatusOk);
    EXPECT_EQ(m, INT32_MIN);
    EXPECT_EQ(idx, 0);
    // A silent signal ties every lag: the first one tried wins.
    const V16 silent(200, 0);
    ASSERT_EQ(kelsAutoCorrLagMax_Inv_16s(silent.data() + 150, 40, 20, 143, &m, &idx), kelStatusOk);
    EXPECT_EQ(idx, 20);
    EXPECT_EQ(m, 0);

    // Float searches: the inverse one keeps the smaller lag (upper bound
    // excluded), the cross one the larger.
    std::vector<Kel32f> f(sig.begin(), sig.end());
    const Kel32f* fx = f.data() + 150;
    Kel32f fm;
    ASSERT_EQ(kelsAutoCorrLagMax_32f(fx, 40, 3, 16, &fm, &idx), kelStatusOk);
    EXPECT_EQ(idx, 5);
    ASSERT_EQ(kelsAutoCorrLagMax_32f(fx, 40, 6, 11, &fm, &idx), kelStatusOk);
    EXPECT_EQ(idx, 10);
    ASSERT_EQ(kelsAutoCorrLagMax_32f(fx, 40, 6, 10, &fm, &idx), kelStatusOk);  // lag 10 excluded
    EXPECT_LT(idx, 10);
    ASSERT_EQ(kelsAutoCorrLagMax_32f(fx, 40, 7, 7, &fm, &idx), kelStatusOk);
    EXPECT_EQ(fm, -FLT_MAX);
    EXPECT_EQ(idx, 0);
    Kel64f dm;
    ASSERT_EQ(kelsCrossCorrLagMax_32f64f(fx, fx, 40, 17, &dm, &idx), kelStatusOk);
    EXPECT_EQ(idx, 15);
    EXPECT_EQ(dm, static_cast<double>(dot(x, x, 40)));
}

TEST(LagMax, FloatAgainstBruteForce) {
    Rng rng(41);
    std::vector<Kel32f> f(400);
    for (auto& v : f) v = static_cast<Kel32f>(static_cast<int32_t>(rng.next() % 20001) - 10000) / 128.0f;
    const Kel32f* x = f.data() + 150;
    for (int n : {1, 7, 40, 80}) {
        double best = -FLT_MAX;
        int want = 0;
        for (int lag = 20; lag < 143; ++lag) {
            double s = 0;
            for (int i = 0; i < n; ++i) s += double{x[i]} * x[i - lag];
            if (s > best) best = s, want = lag;
        }
        Kel32f m;
        int idx;
        ASSERT_EQ(kelsAutoCorrLagMax_32f(x, n, 20, 143, &m, &idx), kelStatusOk);
        EXPECT_EQ(idx, want);
        EXPECT_EQ(m, static_cast<Kel32f>(best));
        double cbest = -3.4028234663852886e38;
        int cwant = 0;
        for (int lag = 100; lag >= 0; --lag) {
            double s = 0;
            for (int i = 0; i < n; ++i) s += double{x[i]} * x[i + lag];
            if (s > cbest) cbest = s, cwant = lag;
        }
        Kel64f dm;
        ASSERT_EQ(kelsCrossCorrLagMax_32f64f(x, x, n, 100, &dm, &idx), kelStatusOk);
        EXPECT_EQ(idx, cwant);
        EXPECT_EQ(dm, cbest);
    }
}

// --- G.729 reference routines on speech -------------------------------------------

// autocorr.bin rows: 240 windowed samples (mult_r by hamwindow), then the
// r_h[0..10] and r_l[0..10] of Autocorr on the same frame.
TEST(AutoCorrGolden, G729AutocorrIncludingOverflowRetries) {
    const auto rows = goldenRows("autocorr.bin", 262);
    ASSERT_EQ(rows.size(), 28u);
    int retried = 0;
    for (const V16& row : rows) {
        V16 y(row.begin(), row.begin() + 240);
        Kel32s r[11];
        int norm = 0;
        KelStatus st;
        // The reference divides its windowed signal by 4 until r[0] fits.
        while ((st = kelsAutoCorr_NormE_16s32s(y.data(), 240, r, 11, &norm)) == kelStatusOverflow) {
            for (auto& v : y) v = static_cast<Kel16s>(v >> 2);
            ++retried;
        }
        ASSERT_EQ(st, kelStatusOk);
        for (int k = 0; k <= 10; ++k) {
            Kel16s hi, lo;
            kel::L_Extract(r[k], &hi, &lo);
            ASSERT_EQ(hi, row[240 + k]) << "k " << k;
            ASSERT_EQ(lo, row[251 + k]) << "k " << k;
        }
    }
    EXPECT_GE(retried, 4);  // the loud frames took the overflow path
}

// subframe.bin rows (315 words): a[11], x[-10..39], Residu, mem[10], Syn_filt,
// its overflow flag, impulse response h[40], flag, Convolve, flag, L_mac/round
// convolution, Cor_h_X(h, x) and its flag.
TEST(CrossCorrGolden, G729CorHX) {
    const auto rows = goldenRows("subframe.bin", 315);
    ASSERT_EQ(rows.size(), 28u);
    for (const V16& row : rows) {
        ASSERT_EQ(row[314], 0);  // no saturation inside the reference's sums
        const Kel16s* h = &row[152];
        const Kel16s* x = &row[21];
        Kel16s d[40];
        ASSERT_EQ(kelsCrossCorr_NormM_16s(h, x, 40, d), kelStatusOk);
        for (int i = 0; i < 40; ++i) ASSERT_EQ(d[i], row[274 + i]) << i;
    }
}

// lagmax.bin rows: 143 + 160 samples of the signal as Pitch_ol scales it,
// then (lag, normalised correlation, overflow flag) of Lag_max over 80
// samples for lags 80..143, 40..79, 20..39 and over 160 samples for 20..143.
TEST(LagMaxGolden, G729LagMax) {
    const auto rows = goldenRows("lagmax.bin", 315);
    ASSERT_EQ(rows.size(), 28u);
    const int len[4] = {80, 80, 80, 160}, hi[4] = {143, 79, 39, 143}, lo[4] = {80, 40, 20, 20};
    for (const V16& row : rows) {
        const Kel16s* x = row.data() + 143;
        // The same correlations read forwards on the time-reversed signal.
        V16 rev(row.rbegin() + 12, row.rend());  // the 303 samples, reversed
        for (int t = 0; t < 4; ++t) {
            const int wantLag = row[303 + 3 * t];
            ASSERT_EQ(row[305 + 3 * t], 0);
            Kel32s m = 0;
            int idx = -1;
            ASSERT_EQ(kelsAutoCorrLagMax_Inv_16s(x, len[t], lo[t], hi[t], &m, &idx), kelStatusOk);
            ASSERT_EQ(idx, wantLag);
            // Lag_max's normalised correlation, max / sqrt(energy at the lag).
            const Kel32s energy = static_cast<Kel32s>(sat32(2 * dot(x - idx, x - idx, len[t])));
            Kel16s mh, ml, eh, el;
            kel::L_Extract(m, &mh, &ml);
            kel::L_Extract(kel::Inv_sqrt(energy), &eh, &el);
            ASSERT_EQ(kel::extract_l(kel::Mpy_32(mh, ml, eh, el)), row[304 + 3 * t]);
            Kel32s m2 = 0;
            ASSERT_EQ(kelsAutoCorrLagMax_Fwd_16s(rev.data() + (303 - 143 - len[t]), len[t], lo[t], hi[t], &m2, &idx),
                      kelStatusOk);
            ASSERT_EQ(idx, wantLag);
            ASSERT_EQ(m2, m);
            kel::_kelsCrossCorrLagMax_Inv_16s(x, x, len[t], lo[t], hi[t], &m2, &idx);
            ASSERT_EQ(idx, wantLag);
            ASSERT_EQ(m2, m);
        }
    }
}

}  // namespace
