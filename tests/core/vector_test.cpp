// Vector arithmetic against plain models of each stated formula: exact
// arithmetic first (64-bit integers or long double), then the stated
// rounding and limiting, over random, silent and full-scale data.
#include <float.h>
#include <gtest/gtest.h>
#include <math.h>

#include <algorithm>
#include <vector>

#include "kelsc.h"
#include "support/test_data.h"
#include "vector_internal.h"

namespace {

using kelsc_test::Rng;
using V16 = std::vector<Kel16s>;
using V32 = std::vector<Kel32s>;

// --- Independent model of the scale rule -----------------------------------

int64_t clampTo(long double x, int64_t lo, int64_t hi) {
    return x < static_cast<long double>(lo) ? lo : (x > static_cast<long double>(hi) ? hi : static_cast<int64_t>(x));
}

// r * 2^-sf: ties-to-even rounding for sf > 0 (by floor and remainder),
// exact scaling for sf < 0, then clamping; zeros above the zero limit and
// sign only beyond the saturation limit.
int64_t scaled(int64_t r, int sf, int64_t lo, int64_t hi, int zeroLimit, int satLimit) {
    if (sf > zeroLimit) return 0;
    if (sf > 0) {
        const long double p = ldexpl(1.0L, sf);
        long double q = floorl(static_cast<long double>(r) / p);
        const long double rem = static_cast<long double>(r) - q * p;
        if (rem > p / 2 || (rem == p / 2 && fmodl(q, 2.0L) != 0)) q += 1;
        return clampTo(q, lo, hi);
    }
    if (-sf > satLimit) return r > 0 ? hi : (r < 0 ? lo : 0);
    return clampTo(ldexpl(static_cast<long double>(r), -sf), lo, hi);
}

constexpr int64_t k16lo = -32768, k16hi = 32767, k32lo = INT32_MIN, k32hi = INT32_MAX;

// Data sets: random, silence and full scale, at lengths that exercise tails.
std::vector<V16> dataSets16(size_t n, uint64_t seed) {
    Rng rng(seed);
    return {rng.vec16(n), V16(n, 0), V16(n, -32768), V16(n, 32767)};
}

const int kLengths[] = {1, 3, 8, 15, 16, 17, 33, 100};

// --- Add, subtract, multiply ---------------------------------------------------

TEST(VectorAddSub, SaturatingAndOperandOrder) {
    Rng rng(1);
    for (int n : kLengths) {
        const V16 a = rng.vec16(n), b = rng.vec16(n);
        V16 add(n), sub(n), addI = b, subI = b;
        ASSERT_EQ(kelsAdd_16s(a.data(), b.data(), add.data(), n), kelStatusOk);
        ASSERT_EQ(kelsSub_16s(a.data(), b.data(), sub.data(), n), kelStatusOk);
        ASSERT_EQ(kelsAdd_16s_I(a.data(), addI.data(), n), kelStatusOk);
        ASSERT_EQ(kelsSub_16s_I(a.data(), subI.data(), n), kelStatusOk);
        for (int i = 0; i < n; ++i) {
            const int64_t s = clampTo(a[i] + b[i], k16lo, k16hi);
            const int64_t d = clampTo(b[i] - a[i], k16lo, k16hi);  // second minus first
            EXPECT_EQ(add[i], s);
            EXPECT_EQ(addI[i], s);
            EXPECT_EQ(sub[i], d);
            EXPECT_EQ(subI[i], d);
        }
    }
    const Kel16s lo[1] = {-32768}, one[1] = {1};
    Kel16s out[1];
    kelsSub_16s(one, lo, out, 1);  // -32768 - 1 saturates
    EXPECT_EQ(out[0], -32768);
}

TEST(VectorAddSub, FloatForms) {
    const Kel32f a[3] = {1.5f, -2.0f, 1e30f}, b[3] = {0.25f, 4.0f, 1e30f};
    Kel32f x[3] = {0.25f, 4.0f, 1e30f}, y[3] = {0.25f, 4.0f, 1e30f}, m[3];
    ASSERT_EQ(kelsAdd_32f_I(a, x, 3), kelStatusOk);
    ASSERT_EQ(kelsSub_32f_I(a, y, 3), kelStatusOk);
    ASSERT_EQ(kelsMul_32f(a, b, m, 3), kelStatusOk);
    EXPECT_FLOAT_EQ(x[0], 1.75f);
    EXPECT_FLOAT_EQ(y[1], 6.0f);  // pSrcDst - pSrc
    EXPECT_FLOAT_EQ(m[1], -8.0f);
    EXPECT_TRUE(isinf(m[2]));
}

TEST(VectorAbs, MinimumMapsToMaximum) {
    for (const V16& x : dataSets16(37, 2)) {
        V16 y(x.size());
        ASSERT_EQ(kelsAbs_16s(x.data(), y.data(), static_cast<int>(x.size())), kelStatusOk);
        for (size_t i = 0; i < x.size(); ++i) EXPECT_EQ(y[i], clampTo(std::abs(int64_t{x[i]}), k16lo, k16hi));
    }
}

TEST(VectorAdd32, ScaleRuleWithLimits) {
    Rng rng(3);
    const V32 a = rng.vec32(41), b = rng.vec32(41);
    for (int sf = -34; sf <= 35; ++sf) {
        V32 y = b;
        ASSERT_EQ(kelsAdd_32s_ISfs(a.data(), y.data(), 41, sf), kelStatusOk);
        for (int i = 0; i < 41; ++i)
            ASSERT_EQ(y[i], scaled(int64_t{a[i]} + b[i], sf, k32lo, k32hi, 32, 30)) << "sf " << sf << " i " << i;
    }
}

TEST(VectorSubCRev, ScaleRuleWithLimits) {
    Rng rng(4);
    const V16 x = rng.vec16(29);
    for (Kel16s val : {Kel16s{0}, Kel16s{-32768}, Kel16s{32767}, Kel16s{1234}}) {
        for (int sf = -18; sf <= 18; ++sf) {
            V16 y(29);
            ASSERT_EQ(kelsSubCRev_16s_Sfs(x.data(), val, y.data(), 29, sf), kelStatusOk);
            for (int i = 0; i < 29; ++i)
                ASSERT_EQ(y[i], scaled(int64_t{val} - x[i], sf, k16lo, k16hi, 16, 15)) << sf << " " << i;
        }
    }
}

TEST(VectorMul, ProductTo32BitsScaled) {
    for (const V16& a : dataSets16(23, 5)) {
        const V16 b = Rng(6).vec16(23);
        for (const V16* second : {&a, &b}) {
            for (int sf = -33; sf <= 33; ++sf) {
                V32 y(23);
                ASSERT_EQ(kelsMul_16s32s_Sfs(a.data(), second->data(), y.data(), 23, sf), kelStatusOk);
                for (int i = 0; i < 23; ++i)
                    ASSERT_EQ(y[i], scaled(int64_t{a[i]} * (*second)[i], sf, k32lo, k32hi, 30, 30)) << sf;
            }
        }
    }
}

TEST(VectorMul, DocumentedAnchors) {
    const Kel16s m[1] = {-32768}, three[2] = {3, 1}, one[2] = {1, 1};
    Kel32s y[2];
    kelsMul_16s32s_Sfs(m, m, y, 1, 0);
    EXPECT_EQ(y[0], 1073741824);
    kelsMul_16s32s_Sfs(m, m, y, 1, 31);
    EXPECT_EQ(y[0], 0);
    kelsMul_16s32s_Sfs(m, m, y, 1, -31);
    EXPECT_EQ(y[0], INT32_MAX);
    kelsMul_16s32s_Sfs(three, one, y, 2, 1);  // 3/2 -> 2 and 1/2 -> 0: ties to even
    EXPECT_EQ(y[0], 2);
    EXPECT_EQ(y[1], 0);
    Kel16s r[2];
    kelsMul_NR_16s_Sfs(three, one, r, 2, 1);  // halves up: 2 and 1
    EXPECT_EQ(r[0], 2);
    EXPECT_EQ(r[1], 1);
}

TEST(VectorMulC, ConstantProductScaledTo16Bits) {
    Rng rng(7);
    const V16 x = rng.vec16(19);
    for (Kel16s val : {Kel16s{0}, Kel16s{1}, Kel16s{-1}, Kel16s{-32768}, Kel16s{32767}, Kel16s{-12345}}) {
        for (int sf = -20; sf <= 34; ++sf) {
            V16 y = x;
            ASSERT_EQ(kelsMulC_16s_ISfs(val, y.data(), 19, sf), kelStatusOk);
            for (int i = 0; i < 19; ++i) {
                const int64_t p = int64_t{x[i]} * val;
                int64_t want;
                if (val == 0) {
                    want = 0;
                } else if (sf < 0 && sf >= -15) {  // saturate to 16 bits first, then shift
                    want = scaled(clampTo(p, k16lo, k16hi), sf, k16lo, k16hi, 30, 15);
                } else {
                    want = scaled(p, sf, k16lo, k16hi, 30, 15);
                }
                ASSERT_EQ(y[i], want) << "val " << val << " sf " << sf << " i " << i;
            }
        }
    }
}

TEST(VectorMulNR, RoundHalfUpAllForms) {
    Rng rng(8);
    for (int n : kLengths) {
        const V16 a = rng.vec16(n), b = rng.vec16(n);
        const Kel16s c = rng.s16();
        for (int sf : {0, 1, 2, 7, 15, 16, 29, 30, 31, 32, 40, 70}) {
            V16 y(n), yi = b, yc(n), yci = a;
            ASSERT_EQ(kelsMul_NR_16s_Sfs(a.data(), b.data(), y.data(), n, sf), kelStatusOk);
            ASSERT_EQ(kelsMul_NR_16s_ISfs(a.data(), yi.data(), n, sf), kelStatusOk);
            ASSERT_EQ(kelsMulC_NR_16s_Sfs(a.data(), c, yc.data(), n, sf), kelStatusOk);
            ASSERT_EQ(kelsMulC_NR_16s_ISfs(c, yci.data(), n, sf), kelStatusOk);
            for (int i = 0; i < n; ++i) {
                const auto nr = [sf](int64_t p) {
                    const long double q = floorl(ldexpl(static_cast<long double>(p), -sf) + 0.5L);
                    return clampTo(q, k16lo, k16hi);
                };
                ASSERT_EQ(y[i], nr(int64_t{a[i]} * b[i])) << sf;
                ASSERT_EQ(yi[i], y[i]);
                ASSERT_EQ(yc[i], nr(int64_t{a[i]} * c)) << sf;
                ASSERT_EQ(yci[i], yc[i]);
            }
        }
    }
}

TEST(VectorMulPowerC, BandwidthExpansionOfLpCoefficients) {
    // a[i] * 0.9^i on Q12 coefficients with sf 15, and other scale factors.
    const V16 a = {4096, -7000, 8000, -3000, 1200, 32767, -32768, 700, -90, 5, 3};
    for (int sf : {0, 1, 14, 15, 16, 31}) {
        for (Kel16s g : {Kel16s{29491}, Kel16s{-32768}, Kel16s{32767}, Kel16s{3}}) {
            V16 y(a.size());
            ASSERT_EQ(kelsMulPowerC_NR_16s_Sfs(a.data(), g, y.data(), static_cast<int>(a.size()), sf), kelStatusOk);
            EXPECT_EQ(y[0], a[0]);
            int64_t p = g;
            for (size_t i = 1; i < a.size(); ++i) {
                const int64_t rnd = sf > 0 ? int64_t{1} << (sf - 1) : 0;
                EXPECT_EQ(y[i], clampTo(clampTo(a[i] * p + rnd, k32lo, k32hi) >> sf, k16lo, k16hi)) << sf << " " << i;
                p = static_cast<Kel16s>(clampTo(p * g + rnd, k32lo, k32hi) >> sf);
            }
        }
    }
}

// --- Shifts ------------------------------------------------------------------------

TEST(VectorShift, LogicalLeftAndArithmeticRight) {
    Rng rng(9);
    const V16 x = rng.vec16(21);
    const V32 w = rng.vec32(21);
    for (int c = 0; c <= 40; ++c) {
        V16 l(21), li = x, r(21), ri = x;
        V32 lw = w, rw = w;
        ASSERT_EQ(kelsLShiftC_16s(x.data(), c, l.data(), 21), kelStatusOk);
        ASSERT_EQ(kelsLShiftC_16s_I(c, li.data(), 21), kelStatusOk);
        ASSERT_EQ(kelsRShiftC_16s(x.data(), c, r.data(), 21), kelStatusOk);
        ASSERT_EQ(kelsRShiftC_16s_I(c, ri.data(), 21), kelStatusOk);
        ASSERT_EQ(kelsLShiftC_32s_I(c, lw.data(), 21), kelStatusOk);
        ASSERT_EQ(kelsRShiftC_32s_I(c, rw.data(), 21), kelStatusOk);
        V16 lu(21);
        ASSERT_EQ(
            kelsLShiftC_16u(reinterpret_cast<const Kel16u*>(x.data()), c, reinterpret_cast<Kel16u*>(lu.data()), 21),
            kelStatusOk);
        for (int i = 0; i < 21; ++i) {
            const Kel16s wantL = c > 15 ? 0 : static_cast<Kel16s>(static_cast<uint16_t>(x[i]) * (1u << c));
            const Kel16s wantR = static_cast<Kel16s>(floorl(ldexpl(x[i], -c)));
            EXPECT_EQ(l[i], wantL);
            EXPECT_EQ(li[i], wantL);
            EXPECT_EQ(lu[i], wantL);
            EXPECT_EQ(r[i], wantR);
            EXPECT_EQ(ri[i], wantR);
            EXPECT_EQ(lw[i], c > 31 ? 0 : static_cast<Kel32s>(static_cast<uint64_t>(static_cast<uint32_t>(w[i])) << c));
            EXPECT_EQ(rw[i], static_cast<Kel32s>(floorl(ldexpl(w[i], -c))));
        }
    }
}

// --- Sums and dot products ---------------------------------------------------------

TEST(VectorSum, SixtyFourBitSumsScaled) {
    for (const V16& x : dataSets16(77, 10)) {
        int64_t exact = 0;
        for (Kel16s v : x) exact += v;
        const V32 w = Rng(11).vec32(77);
        int64_t exactW = 0;
        for (Kel32s v : w) exactW += v;
        for (int sf = -40; sf <= 70; ++sf) {
            Kel32s s32 = 0, sw = 0;
            Kel16s s16 = 0;
            ASSERT_EQ(kelsSum_16s32s_Sfs(x.data(), 77, &s32, sf), kelStatusOk);
            ASSERT_EQ(kelsSum_16s_Sfs(x.data(), 77, &s16, sf), kelStatusOk);
            ASSERT_EQ(kelsSum_32s_Sfs(w.data(), 77, &sw, sf), kelStatusOk);
            const int clamped = std::clamp(sf, -31, 63);
            const int64_t want = scaled(exact, clamped, k32lo, k32hi, 63, 31);
            EXPECT_EQ(s32, want) << sf;
            EXPECT_EQ(s16, clampTo(want, k16lo, k16hi)) << sf;
            EXPECT_EQ(sw, scaled(exactW, clamped, k32lo, k32hi, 63, 31)) << sf;
        }
    }
}

TEST(VectorDotProd, SixtyFourBitAccumulationScaled) {
    Rng rng(12);
    for (int n : {1, 2, 15, 16, 17, 40, 160, 1000}) {
        for (const V16& a : dataSets16(n, 13 + n)) {
            const V16 b = rng.vec16(n);
            for (const V16* second : {&a, &b}) {
                int64_t exact = 0;
                for (int i = 0; i < n; ++i) exact += int64_t{a[i]} * (*second)[i];
                for (int sf : {-40, -31, -30, -5, -1, 0, 1, 2, 15, 16, 31, 32, 50}) {
                    Kel32s y = 0;
                    ASSERT_EQ(kelsDotProd_16s32s_Sfs(a.data(), second->data(), n, &y, sf), kelStatusOk);
                    EXPECT_EQ(y, scaled(exact, std::clamp(sf, -31, 31), k32lo, k32hi, 31, 31)) << n << " sf " << sf;
                }
            }
        }
    }
}

TEST(VectorDotProdAutoScale, FirstTermNotDoubledShiftsAlternate) {
    Rng rng(14);
    for (int n : {1, 2, 5, 40, 240, 1000}) {
        for (const V16& a : dataSets16(n, 15 + n)) {
            const V16 b = rng.vec16(n);
            Kel32s y = 0;
            int shift = -1;
            ASSERT_EQ(kelsDotProdAutoScale_16s32s_Sfs(a.data(), b.data(), n, &y, &shift), kelStatusOk);
            // Model: try shift pairs (0,0), (0,1), (1,1), (1,2), ... in turn.
            int s[2] = {0, 0}, next = 1;
            for (;;) {
                long double sum = static_cast<long double>((a[0] >> s[0]) * (b[0] >> s[1]));
                for (int i = 1; i < n; ++i) sum += 2.0L * ((a[i] >> s[0]) * (b[i] >> s[1]));
                if (sum >= INT32_MIN && sum <= INT32_MAX) {
                    EXPECT_EQ(y, static_cast<int64_t>(sum)) << n;
                    EXPECT_EQ(shift, s[0] + s[1]) << n;
                    break;
                }
                ++s[next];
                next ^= 1;
            }
        }
    }
}

// --- Block scaling, inverse square root, magnitude ---------------------------------

TEST(VectorAutoScale, NormalisesToHeadroom) {
    struct Case {
        V16 x;
        int headroom;
    };
    const Case cases[] = {{{0, 0, 0}, 2},   {{1, -1, 0}, 0},       {{-32768, 5}, 0}, {{16383, -100}, 3},
                          {{-16384, 7}, 1}, {{100, -200, 300}, 0}, {{3, -4}, 20},    {{32767}, 40}};
    for (const Case& c : cases) {
        const int n = static_cast<int>(c.x.size());
        int scale = c.headroom, scaleI = c.headroom;
        V16 y(n), yi = c.x;
        ASSERT_EQ(kelsAutoScale_16s(c.x.data(), y.data(), n, &scale), kelStatusOk);
        ASSERT_EQ(kelsAutoScale_16s_I(yi.data(), n, &scaleI), kelStatusOk);
        int64_t m = 0;
        for (Kel16s v : c.x) m = std::max(m, std::min<int64_t>(std::abs(int64_t{v}), 32767));
        int up = 0;
        while (m != 0 && (m << up) < 16384) ++up;
        EXPECT_EQ(scale, m == 0 ? 16 - c.headroom : up - c.headroom);
        EXPECT_EQ(scaleI, scale);
        for (int i = 0; i < n; ++i) {
            const int64_t want = m == 0 ? 0 : static_cast<int64_t>(floorl(ldexpl(c.x[i], up - c.headroom)));
            EXPECT_EQ(y[i], want);
            EXPECT_EQ(yi[i], want);
        }
    }
    int bad = -1;
    Kel16s one[1] = {1};
    EXPECT_EQ(kelsAutoScale_16s_I(one, 1, &bad), kelStatusBadScale);
}

TEST(VectorInvSqrt, MatchesG729InvSqrtGoldenValues) {
    const auto rows = kelsc_test::readRows(kelsc_test::goldenPath("basop/Inv_sqrt.txt"));
    ASSERT_GT(rows.size(), 100u);
    V32 x, want;
    for (const auto& r : rows) {
        x.push_back(static_cast<Kel32s>(r[0]));
        want.push_back(static_cast<Kel32s>(r[1]));
    }
    ASSERT_EQ(kelsInvSqrt_32s_I(x.data(), static_cast<int>(x.size())), kelStatusOk);
    EXPECT_EQ(x, want);
    Kel32s neg[3] = {0, -1, INT32_MIN};
    kelsInvSqrt_32s_I(neg, 3);
    for (Kel32s v : neg) EXPECT_EQ(v, 1073741823);
}

TEST(VectorMagSquared, UnsignedSumTruncatedAndSaturated) {
    Rng rng(16);
    std::vector<Kel32sc> z(31);
    for (auto& c : z) c = {rng.s32(), rng.s32()};
    z[0] = {INT32_MIN, INT32_MIN};
    z[1] = {0, 0};
    z[2] = {3, 4};
    for (int sf = -40; sf <= 70; ++sf) {
        V32 y(31);
        ASSERT_EQ(kelsMagSquared_32sc32s_Sfs(z.data(), y.data(), 31, sf), kelStatusOk);
        for (int i = 0; i < 31; ++i) {
            const long double m =
                static_cast<long double>(z[i].re) * z[i].re + static_cast<long double>(z[i].im) * z[i].im;
            int64_t want;
            if (sf > 63) {
                want = 0;
            } else if (sf < -30) {
                want = m == 0 ? 0 : k32hi;
            } else {
                want = clampTo(sf > 0 ? floorl(ldexpl(m, -sf)) : ldexpl(m, -sf), 0, k32hi);
            }
            ASSERT_EQ(y[i], want) << "sf " << sf << " i " << i;
        }
    }
}

// --- Extrema ------------------------------------------------------------------------

TEST(VectorExtrema, ValuesAndFirstIndex) {
    Rng rng(17);
    for (int n : {1, 2, 3, 4, 5, 7, 8, 9, 31, 64, 65, 1001}) {
        V16 x = rng.vec16(n);
        V32 w = rng.vec32(n);
        if (n > 4) {  // plant equal extrema late and early
            x[n - 1] = x[n / 2] = -32768;
            w[n - 1] = w[n / 3] = INT32_MAX;
        }
        Kel16s mx = 0, mn = 0, mn2 = 0;
        Kel32s mw = 0, mw2 = 0;
        int idxMin = -1, idxMax = -1;
        ASSERT_EQ(kelsMax_16s(x.data(), n, &mx), kelStatusOk);
        ASSERT_EQ(kelsMin_16s(x.data(), n, &mn), kelStatusOk);
        ASSERT_EQ(kelsMax_32s(w.data(), n, &mw), kelStatusOk);
        ASSERT_EQ(kelsMaxIndx_32s(w.data(), n, &mw2, &idxMax), kelStatusOk);
        ASSERT_EQ(kelsMinIndx_16s(x.data(), n, &mn2, &idxMin), kelStatusOk);
        const auto minIt = std::min_element(x.begin(), x.end());  // first of equal minima
        const auto maxIt = std::max_element(w.begin(), w.end());  // first of equal maxima
        EXPECT_EQ(mx, *std::max_element(x.begin(), x.end()));
        EXPECT_EQ(mn, *minIt);
        EXPECT_EQ(mn2, *minIt);
        EXPECT_EQ(idxMin, minIt - x.begin());
        EXPECT_EQ(mw, *maxIt);
        EXPECT_EQ(mw2, *maxIt);
        EXPECT_EQ(idxMax, maxIt - w.begin());
        // The index is optional.
        EXPECT_EQ(kelsMaxIndx_32s(w.data(), n, &mw2, nullptr), kelStatusOk);
        EXPECT_EQ(kelsMinIndx_16s(x.data(), n, &mn2, nullptr), kelStatusOk);
    }
}

TEST(VectorExtrema, TieBreakOfInternalKernels) {
    const Kel32s x[3] = {5, 7, 7};
    Kel32s m = 0;
    int i = -1;
    ASSERT_EQ(kelsMaxIndx_32s(x, 3, &m, &i), kelStatusOk);
    EXPECT_EQ(i, 1);
    kel::_kelsMaxIndx_32s(x, 3, &m, &i);
    EXPECT_EQ(i, 1);
    kel::_kelsMaxIndx_Inv_32s(x, 3, &m, &i);
    EXPECT_EQ(i, 2);
    EXPECT_EQ(m, 7);
    kel::_kelsMaxIndx_32s(x, 0, &m, &i);
    EXPECT_EQ(m, INT32_MIN);
    EXPECT_EQ(i, 0);
    const Kel32s low[2] = {INT32_MIN, INT32_MIN};
    kel::_kelsMaxIndx_Inv_32s(low, 2, &m, &i);
    EXPECT_EQ(i, 1);
}

// --- Conversions --------------------------------------------------------------------

TEST(VectorConvert, IntegerToWiderAndFloat) {
    Rng rng(18);
    const V16 x = rng.vec16(50);
    const V32 w = rng.vec32(50);
    V32 y(50);
    std::vector<Kel32f> f(50), g(50);
    ASSERT_EQ(kelsConvert_16s32s(x.data(), y.data(), 50), kelStatusOk);
    ASSERT_EQ(kelsConvert_16s32f(x.data(), f.data(), 50), kelStatusOk);
    ASSERT_EQ(kelsConvert_32s32f(w.data(), g.data(), 50), kelStatusOk);
    for (int i = 0; i < 50; ++i) {
        // Through memory, so that x87 builds compare single-precision values.
        volatile float wantF = static_cast<float>(x[i]), wantG = static_cast<float>(w[i]);
        EXPECT_EQ(y[i], x[i]);
        EXPECT_EQ(f[i], wantF);
        EXPECT_EQ(g[i], wantG);
    }
}

TEST(VectorConvert, DoubleToFloatSaturates) {
    const Kel64f x[6] = {NAN, 1e300, -1e300, INFINITY, 1.5, -0.0};
    Kel32f y[6];
    ASSERT_EQ(kelsConvert_64f32f(x, y, 6), kelStatusOk);
    EXPECT_EQ(y[0], -FLT_MAX);
    EXPECT_EQ(y[1], FLT_MAX);
    EXPECT_EQ(y[2], -FLT_MAX);
    EXPECT_EQ(y[3], FLT_MAX);
    EXPECT_EQ(y[4], 1.5f);
    EXPECT_EQ(y[5], 0.0f);
}

TEST(VectorConvert, FloatToIntegerRoundsAndSaturates) {
    struct Case {
        float x;
        int sf, mode;
        int64_t want16, want32;
    };
    const Case cases[] = {
        {2.5f, 0, 1, 3, 3},
        {-2.5f, 0, 1, -3, -3},
        {2.5f, 0, 0, 2, 2},
        {-2.7f, 0, 0, -2, -2},
        {5.0f, 1, 1, 3, 3},
        {5.0f, 1, 2, 2, 2},
        {3.0f, -2, 1, 12, 12},
        {40000.0f, 0, 1, 32767, 40000},
        {-1e10f, 0, 1, -32768, INT32_MIN},
        {3e9f, 0, 0, 32767, INT32_MAX},
        {NAN, 0, 1, -32768, INT32_MIN},
        {0.49999997f, 0, 1, 0, 0},
        {1.0f, 200, 1, 0, 0},
        {1.0f, -200, 1, 32767, INT32_MAX},
        {-32768.4f, 0, 1, -32768, -32768},
    };
    for (const Case& c : cases) {
        Kel16s y16 = 0;
        Kel32s y32 = 0;
        ASSERT_EQ(kelsConvert_32f16s_Sfs(&c.x, &y16, 1, c.mode, c.sf), kelStatusOk);
        ASSERT_EQ(kelsConvert_32f32s_Sfs(&c.x, &y32, 1, c.mode, c.sf), kelStatusOk);
        EXPECT_EQ(y16, c.want16) << c.x << " sf " << c.sf << " mode " << c.mode;
        EXPECT_EQ(y32, c.want32) << c.x << " sf " << c.sf << " mode " << c.mode;
    }
}

// --- Fill, copy, move ---------------------------------------------------------------

TEST(VectorFill, ZeroSetCopy) {
    std::vector<Kel8u> b(13, 9);
    V16 s(13, 9), s2(13);
    std::vector<Kel16sc> sc(13, Kel16sc{9, 9});
    V32 w(13, 9);
    std::vector<Kel32f> f(13, 9.0f), f2(13);
    ASSERT_EQ(kelsZero_8u(b.data(), 12), kelStatusOk);
    ASSERT_EQ(kelsZero_16s(s.data(), 12), kelStatusOk);
    ASSERT_EQ(kelsZero_16sc(sc.data(), 12), kelStatusOk);
    ASSERT_EQ(kelsZero_32s(w.data(), 12), kelStatusOk);
    ASSERT_EQ(kelsZero_32f(f.data(), 12), kelStatusOk);
    // Exactly len elements, not bytes.
    EXPECT_EQ(b[11], 0);
    EXPECT_EQ(b[12], 9);
    EXPECT_EQ(s[11], 0);
    EXPECT_EQ(s[12], 9);
    EXPECT_EQ(sc[11].im, 0);
    EXPECT_EQ(sc[12].re, 9);
    EXPECT_EQ(w[12], 9);
    EXPECT_EQ(f[12], 9.0f);
    ASSERT_EQ(kelsSet_16s(-7, s.data(), 13), kelStatusOk);
    ASSERT_EQ(kelsSet_32s(INT32_MIN, w.data(), 13), kelStatusOk);
    EXPECT_EQ(s, V16(13, -7));
    EXPECT_EQ(w, V32(13, INT32_MIN));
    ASSERT_EQ(kelsCopy_16s(s.data(), s2.data(), 13), kelStatusOk);
    EXPECT_EQ(s2, s);
    ASSERT_EQ(kelsCopy_32f(f.data(), f2.data(), 13), kelStatusOk);
    EXPECT_EQ(f2, f);
}

TEST(VectorMove, OverlapInBothDirections) {
    for (int shift : {-5, -1, 0, 1, 5}) {
        V16 buf(40);
        std::vector<Kel32f> fb(40);
        for (int i = 0; i < 40; ++i) buf[i] = static_cast<Kel16s>(i), fb[i] = static_cast<float>(i);
        ASSERT_EQ(kelsMove_16s(buf.data() + 10, buf.data() + 10 + shift, 20), kelStatusOk);
        ASSERT_EQ(kelsMove_32f(fb.data() + 10, fb.data() + 10 + shift, 20), kelStatusOk);
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(buf[10 + shift + i], 10 + i) << shift;
            EXPECT_EQ(fb[10 + shift + i], 10.0f + i) << shift;
        }
    }
}

// --- Internal kernels ---------------------------------------------------------------

TEST(VectorInternal, WrappingAndSaturatingEnergies) {
    const V16 big(4, -32768);
    Kel32s r = 0;
    kel::_kelsDotProd_16s32s(big.data(), big.data(), 4, &r);
    EXPECT_EQ(r, 0);  // 4 * 2^30 wraps to 0
    EXPECT_EQ(kel::_kelsSumSquare_NS_16s32s_Sfs(big.data(), 4, 0, &r), kelStatusOverflow);
    EXPECT_EQ(r, INT32_MAX);
    EXPECT_EQ(kel::_kelsSumSquare_NS_16s32s_Sfs(big.data(), 4, 1, &r), kelStatusOk);
    EXPECT_EQ(r, 4 * 16384 * 16384);
    const Kel32s wide[4] = {INT32_MAX, 65535, -65536, 98304};
    Kel16s n[4];
    kel::_kelsConvert_NR_32s16s_Sfs(wide, n, 4, 1);  // INT32_MAX + 1 wraps negative
    EXPECT_EQ(n[0], -32768);
    EXPECT_EQ(n[1], 32767);
    EXPECT_EQ(n[2], -32768);
    EXPECT_EQ(n[3], 32767);
    kel::_kelsConvert_NR_32s16s_Sfs(wide + 1, n, 3, 17);
    EXPECT_EQ(n[0], 0);  // (65535 + 65536) >> 17
    EXPECT_EQ(n[1], 0);
    EXPECT_EQ(n[2], 1);  // (98304 + 65536) >> 17
}

TEST(VectorInternal, MatrixRowProducts) {
    const Kel16s m[3 * 5] = {1, 2, 3, 4, 5, -1, -2, -3, -4, -5, 7, 0, 7, 0, 7};
    const Kel16s v[4] = {1, 1, 1, 1};
    Kel32s out[6];
    kel::_kelsMul_D2D1Step_16s32s(m, 5, v, 4, 3, out);
    EXPECT_EQ(out[0], 10);
    EXPECT_EQ(out[1], -10);
    EXPECT_EQ(out[2], 14);
    kel::_kelsMul_D2_16s32s(m, 5, 5, 3, out);
    const Kel32s want[6] = {55, 55, 147, -55, 63, -63};  // energies, then (1,0), (2,0), (2,1)
    for (int i = 0; i < 6; ++i) EXPECT_EQ(out[i], want[i]) << i;
    kel::_kelsSumSquare_D2_16s32s(m, 3, 5, out);
    EXPECT_EQ(out[2], 147);
}

}  // namespace
