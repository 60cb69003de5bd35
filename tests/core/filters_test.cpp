// Convolution, LP synthesis and residual filters, harmonic filters,
// pre-emphasis and the weighted sum, against plain models of each stated
// formula, and against the G.729 reference routines Residu, Syn_filt and
// Convolve on speech subframes (golden data, tests/vectors/g729_kernels).
#include <gtest/gtest.h>
#include <math.h>

#include <algorithm>

#include "core/filter_models.h"
#include "kelsc.h"

namespace {

using namespace kelsc_test;

// --- Convolution --------------------------------------------------------------

int64_t convSum(const V16& a, const V16& b, int n) {
    int64_t s = 0;
    for (int k = 0; k <= n; ++k) s += int64_t{a[k]} * b[n - k];
    return s;
}

// Doubled products saturated after each one, in the order k = 0..n.
int64_t convStepwise(const V16& a, const V16& b, int n) {
    int64_t acc = 0;
    for (int k = 0; k <= n; ++k) {
        const int64_t p = int64_t{a[k]} * b[n - k];
        acc = sat32(acc + (p == (int64_t{1} << 30) ? INT32_MAX : 2 * p));
    }
    return acc;
}

TEST(ConvPartial, AllFourWords) {
    for (int n : lengths()) {
        for (const Data& d : dataSets(n, 51)) {
            for (const V16& b : {Rng(n).vec16(n), d.v}) {
                Guarded<Kel32s> w(n);
                Guarded<Kel16s> low(n), nr(n);
                ASSERT_EQ(kelsConvPartial_16s32s(d.v.data(), b.data(), w.p(), n), kelStatusOk);
                ASSERT_EQ(kelsConvPartial_NR_Low_16s(d.v.data(), b.data(), low.p(), n), kelStatusOk);
                ASSERT_EQ(kelsConvPartial_NR_16s(d.v.data(), b.data(), nr.p(), n), kelStatusOk);
                for (int i = 0; i < n; ++i) {
                    const int32_t s = wrap32(convSum(d.v, b, i));
                    ASSERT_EQ(w[i], s) << d.name << " n " << n;
                    ASSERT_EQ(low[i], wrap16(wrap32(int64_t{s} + 16384) >> 15)) << d.name;
                    ASSERT_EQ(nr[i], round16(convStepwise(d.v, b, i))) << d.name << " n " << n << " i " << i;
                }
                for (int sf : {0, 1, 12, 31, 45}) {
                    Guarded<Kel16s> y(n);
                    ASSERT_EQ(kelsConvPartial_16s_Sfs(d.v.data(), b.data(), y.p(), n, sf), kelStatusOk);
                    for (int i = 0; i < n; ++i)
                        ASSERT_EQ(y[i], wrap16(wrap32(convSum(d.v, b, i)) >> std::min(sf, 31)))
                            << d.name << " sf " << sf;
                    ASSERT_TRUE(y.guardsIntact());
                }
                ASSERT_TRUE(w.guardsIntact() && low.guardsIntact() && nr.guardsIntact());
            }
        }
    }
}

// Stepwise saturation differs from one saturation at the end: a sum that
// overshoots (and sticks at the limit) before negative products pull it back.
TEST(ConvPartial, StepwiseSaturationKeepsItsOrder) {
    const V16 a = {32767, 32767, 32767, -32768, -32768}, b(5, 32767);
    Kel16s y[5];
    ASSERT_EQ(kelsConvPartial_NR_16s(a.data(), b.data(), y, 5), kelStatusOk);
    EXPECT_LT(y[4], -32000);                                 // stepwise: MAX, then two negative products
    EXPECT_GT(round16(sat32(2 * convSum(a, b, 4))), 32000);  // the exact sum is large and positive
}

// --- LP synthesis ---------------------------------------------------------------

struct SynthOut {
    V16 y;
    bool saturated;
};

// y[n] = (a0 x[n] - sum a[k] y[n-k] + 2^(sf-1)) >> sf: exact sum, wrapped to
// 32 bits, shifted, then saturated or wrapped to 16 bits.
SynthOut synthModel(const V16& a, const V16& x, int sf, const Kel16s* mem, bool saturate) {
    const int n = static_cast<int>(x.size());
    SynthOut out{V16(n), false};
    const auto past = [&](int i) -> int64_t { return i >= 0 ? out.y[i] : (mem ? mem[10 + i] : 0); };
    for (int i = 0; i < n; ++i) {
        int64_t s = int64_t{a[0]} * x[i] + (int64_t{1} << (sf - 1));
        for (int k = 1; k <= 10; ++k) s -= a[k] * past(i - k);
        const int64_t v = wrap32(s) >> sf;
        out.y[i] = saturate ? static_cast<Kel16s>(sat16(v)) : wrap16(v);
        out.saturated |= saturate && v != out.y[i];
    }
    return out;
}

// LP coefficient sets: a realistic Q12 filter from the speech goldens and
// random full-scale ones (whose outputs wrap and saturate).
std::vector<V16> lpcSets() {
    std::vector<V16> sets;
    const auto rows = goldenRows("subframe.bin", 315);
    if (!rows.empty()) sets.emplace_back(rows[7].begin(), rows[7].begin() + 11);
    Rng rng(61);
    for (int i = 0; i < 3; ++i) sets.push_back(rng.vec16(11));
    V16 mild(11);
    for (int k = 0; k <= 10; ++k) mild[k] = static_cast<Kel16s>(k == 0 ? 4096 : ((k % 2) ? -1 : 1) * (4096 >> k));
    sets.push_back(mild);
    return sets;
}

TEST(SynthesisFilter, ModelsWithAndWithoutMemory) {
    Rng rng(62);
    const V16 memRandom = rng.vec16(10);
    for (const V16& a : lpcSets()) {
        for (int n : lengths()) {
            for (const Data& d : dataSets(n, 63)) {
                for (int sf : {12, 13}) {
                    for (const Kel16s* mem : {static_cast<const Kel16s*>(nullptr), memRandom.data()}) {
                        const SynthOut want = synthModel(a, d.v, sf, mem, mem != nullptr);
                        const KelStatus wantStatus = want.saturated ? kelStatusOverflow : kelStatusOk;
                        Guarded<Kel16s> io(n), out(n);
                        std::copy(d.v.begin(), d.v.end(), io.p());
                        ASSERT_EQ(kelsSynthesisFilter_NR_16s_ISfs(a.data(), io.p(), n, sf, mem), wantStatus) << d.name;
                        ASSERT_EQ(kelsSynthesisFilter_NR_16s_Sfs(a.data(), d.v.data(), out.p(), n, sf, mem),
                                  wantStatus);
                        for (int i = 0; i < n; ++i) {
                            ASSERT_EQ(io[i], want.y[i]) << d.name << " n " << n << " i " << i << " sf " << sf;
                            ASSERT_EQ(out[i], want.y[i]) << d.name << " n " << n << " i " << i;
                        }
                        // Without saturation, always 0.
                        const SynthOut wrapped = synthModel(a, d.v, sf, mem, false);
                        std::copy(d.v.begin(), d.v.end(), io.p());
                        ASSERT_EQ(kelsSynthesisFilterLow_NR_16s_ISfs(a.data(), io.p(), n, sf, mem), kelStatusOk);
                        for (int i = 0; i < n; ++i) ASSERT_EQ(io[i], wrapped.y[i]) << d.name << " n " << n;
                        ASSERT_TRUE(io.guardsIntact() && out.guardsIntact());
                    }
                }
            }
        }
    }
}

TEST(SynthesisFilter, NullMemoryNeverWarns) {
    // Full-scale input through a high-gain filter: the memory form warns,
    // the zero-history form wraps silently.
    const V16 a = {4096, -8000, 4000, 0, 0, 0, 0, 0, 0, 0, 0};
    V16 x(40, 32767), y = x;
    const V16 mem(10, 0);
    EXPECT_EQ(kelsSynthesisFilter_NR_16s_ISfs(a.data(), x.data(), 40, 12, mem.data()), kelStatusOverflow);
    EXPECT_EQ(kelsSynthesisFilter_NR_16s_ISfs(a.data(), y.data(), 40, 12, nullptr), kelStatusOk);
    EXPECT_NE(x, y);
}

TEST(SynthesisFilter, ZeroStateResponse) {
    for (const V16& a : lpcSets()) {
        for (int n : {1, 2, 11, 40, 64}) {
            for (int sf : {12, 13}) {
                V16 impulse(n, 0);
                SynthOut want{V16(n), false};
                // h[0] = a[0] unshifted, then the recursion on zero input.
                want.y[0] = a[0];
                for (int i = 1; i < n; ++i) {
                    int64_t s = int64_t{1} << (sf - 1);
                    for (int k = 1; k <= std::min(i, 10); ++k) s -= int64_t{a[k]} * want.y[i - k];
                    want.y[i] = wrap16(wrap32(s) >> sf);
                }
                Guarded<Kel16s> h(n);
                ASSERT_EQ(kelsSynthesisFilterZeroStateResponse_NR_16s(a.data(), h.p(), n, sf), kelStatusOk);
                for (int i = 0; i < n; ++i) ASSERT_EQ(h[i], want.y[i]) << "n " << n << " i " << i;
                ASSERT_TRUE(h.guardsIntact());
            }
        }
    }
}

// --- Residual filter ------------------------------------------------------------

TEST(ResidualFilter, EveryOrderAndScale) {
    Rng rng(71);
    for (int order : {1, 2, 3, 9, 10, 11, 16}) {
        const V16 a = rng.vec16(order + 1);
        for (int n : lengths()) {
            if (n < order) continue;
            for (const Data& d : dataSets(order + n, 72)) {
                const Kel16s* x = d.v.data() + order;  // order samples of history
                for (int sf : {0, 1, 12, 15}) {
                    Guarded<Kel16s> e(n);
                    ASSERT_EQ(kelsResidualFilter_Low_16s_Sfs(a.data(), order, x, e.p(), n, sf), kelStatusOk);
                    for (int i = 0; i < n; ++i) {
                        int64_t s = 0;
                        for (int k = 0; k <= order; ++k) s += int64_t{a[k]} * x[i - k];
                        const int64_t r = sf > 0 ? int64_t{1} << (sf - 1) : 0;
                        ASSERT_EQ(e[i], sat16(wrap32(int64_t{wrap32(s)} + r) >> sf))
                            << d.name << " order " << order << " n " << n << " sf " << sf << " i " << i;
                    }
                    ASSERT_TRUE(e.guardsIntact());
                }
            }
        }
    }
}

// --- Harmonic filters, pre-emphasis, weighted sum -----------------------------------

TEST(HarmonicFilter, RecursiveCombAndNonRecursive) {
    for (int T : {1, 3, 20, 40, 143}) {
        for (int n : {1, 7, 40, 80, 160}) {
            for (const Data& d : dataSets(T + n, 81)) {
                for (Kel16s g : {Kel16s{0}, Kel16s{13107}, Kel16s{16384}, Kel16s{32767}, Kel16s{-32768}}) {
                    // In place: outputs from T on feed back.
                    V16 io = d.v;
                    ASSERT_EQ(kelsHarmonicFilter_16s_I(g, T, io.data() + T, n), kelStatusOk);
                    V16 out(n);
                    for (int i = 0; i < n; ++i) {
                        const int64_t past = i - T >= 0 ? out[i - T] : d.v[T + i - T];
                        out[i] = wrap16(d.v[T + i] + ((past * g) >> 15));
                        ASSERT_EQ(io[T + i], out[i]) << d.name << " T " << T << " g " << g << " i " << i;
                    }
                    ASSERT_TRUE(std::equal(io.begin(), io.begin() + T, d.v.begin()));  // history only read
                    Guarded<Kel16s> nr(n);
                    ASSERT_EQ(kelsHarmonicFilter_NR_16s(g, T, d.v.data() + T, nr.p(), n), kelStatusOk);
                    for (int i = 0; i < n; ++i) {
                        const int64_t s = int64_t{d.v[i]} * g + int64_t{d.v[T + i]} * 32768 + 16384;
                        ASSERT_EQ(nr[i], wrap16(wrap32(s) >> 15)) << d.name << " T " << T << " g " << g;
                    }
                    ASSERT_TRUE(nr.guardsIntact());
                }
            }
        }
    }
    std::vector<Kel32f> f = {1, 2, 3, 4, 5, 6, 7};
    ASSERT_EQ(kelsHarmonicFilter_32f_I(0.5f, 2, f.data() + 2, 5), kelStatusOk);
    const std::vector<Kel32f> want = {1,     2,    3.5f,   5,
                                      6.75f, 8.5f, 10.375f};  // 3 + 0.5 * 1, 4 + 0.5 * 2, 5 + 0.5 * 3.5 ...
    EXPECT_EQ(f, want);
}

TEST(Preemphasize, FromTheEndWithMemory) {
    Rng rng(91);
    for (int n : {1, 2, 5, 40, 160}) {
        std::vector<Kel32f> x(n);
        for (auto& v : x) v = static_cast<Kel32f>(static_cast<int32_t>(rng.next() % 65536) - 32768);
        std::vector<Kel32f> y = x;
        Kel32f mem = 1234.5f;
        ASSERT_EQ(kelsPreemphasize_32f_I(0.68f, y.data(), n, &mem), kelStatusOk);
        // (Within 4 ulps: an x87 build keeps the product in extended precision.)
        for (int i = 0; i < n; ++i) EXPECT_FLOAT_EQ(y[i], x[i] - 0.68f * (i > 0 ? x[i - 1] : 1234.5f)) << i;
        EXPECT_EQ(mem, x[n - 1]);
    }
}

TEST(InterpolateC, ExactWeightedSumRoundedHalfUp) {
    Rng rng(101);
    const V16 x1 = rng.vec16(33), x2 = rng.vec16(33);
    const int scales[] = {0, 1, 2, 14, 15, 16, 17, 20, 31, 40};
    for (Kel16s v1 : {Kel16s{16384}, Kel16s{-32768}, Kel16s{7}, Kel16s{32767}}) {
        for (Kel16s v2 : {Kel16s{16384}, Kel16s{-32768}, Kel16s{0}, Kel16s{-5}}) {
            for (int sf1 : scales) {
                for (int sf2 : scales) {
                    Guarded<Kel16s> y(33);
                    ASSERT_EQ(kelsInterpolateC_NR_16s(x1.data(), v1, sf1, x2.data(), v2, sf2, y.p(), 33), kelStatusOk);
                    for (int i = 0; i < 33; ++i) {
                        // val carries the factor 2^(sf - 16); halves round up.
                        const long double v = ldexpl(static_cast<long double>(x1[i]) * v1, sf1 - 16) +
                                              ldexpl(static_cast<long double>(x2[i]) * v2, sf2 - 16);
                        const long double r = floorl(v + 0.5L);
                        const int64_t want = r > 32767 ? 32767 : (r < -32768 ? -32768 : static_cast<int64_t>(r));
                        ASSERT_EQ(y[i], want) << v1 << " " << sf1 << " " << v2 << " " << sf2 << " i " << i;
                    }
                    ASSERT_TRUE(y.guardsIntact());
                }
            }
        }
    }
}

// --- G.729 reference routines on speech -------------------------------------------

// subframe.bin rows (315 words): a[11], x[-10..39], Residu(a, x), mem[10]
// (= x[-10..-1]), Syn_filt(a, residual, mem) and its overflow flag, the
// impulse response h[40] (Syn_filt of 4096, 0, 0, ... from zero memory) and
// its flag, Convolve(residual, h) and its flag, the residual convolved with
// h by L_mac and round, Cor_h_X and its flag.
TEST(FiltersGolden, G729ResiduSynFiltConvolve) {
    const auto rows = goldenRows("subframe.bin", 315);
    ASSERT_EQ(rows.size(), 28u);
    for (const V16& row : rows) {
        const V16 a(row.begin(), row.begin() + 11);
        const V16 hist(row.begin() + 11, row.begin() + 61);
        const V16 res(row.begin() + 61, row.begin() + 101), mem(row.begin() + 101, row.begin() + 111);
        const V16 syn(row.begin() + 111, row.begin() + 151), h(row.begin() + 152, row.begin() + 192);
        const V16 conv(row.begin() + 193, row.begin() + 233), nr(row.begin() + 234, row.begin() + 274);
        ASSERT_EQ(row[151] | row[192] | row[233], 0);  // the reference saturated nowhere
        V16 y(40);
        ASSERT_EQ(kelsResidualFilter_Low_16s_Sfs(a.data(), 10, hist.data() + 10, y.data(), 40, 12), kelStatusOk);
        EXPECT_EQ(y, res);
        y = res;
        ASSERT_EQ(kelsSynthesisFilter_NR_16s_ISfs(a.data(), y.data(), 40, 12, mem.data()), kelStatusOk);
        EXPECT_EQ(y, syn);
        ASSERT_EQ(kelsSynthesisFilter_NR_16s_Sfs(a.data(), res.data(), y.data(), 40, 12, mem.data()), kelStatusOk);
        EXPECT_EQ(y, syn);
        y = res;
        ASSERT_EQ(kelsSynthesisFilterLow_NR_16s_ISfs(a.data(), y.data(), 40, 12, mem.data()), kelStatusOk);
        EXPECT_EQ(y, syn);
        ASSERT_EQ(kelsSynthesisFilterZeroStateResponse_NR_16s(a.data(), y.data(), 40, 12), kelStatusOk);
        EXPECT_EQ(y, h);
        ASSERT_EQ(kelsConvPartial_16s_Sfs(res.data(), h.data(), y.data(), 40, 12), kelStatusOk);
        EXPECT_EQ(y, conv);
        ASSERT_EQ(kelsConvPartial_NR_16s(res.data(), h.data(), y.data(), 40), kelStatusOk);
        EXPECT_EQ(y, nr);
    }
}

}  // namespace
