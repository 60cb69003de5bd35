// Every instruction-set variant of the dispatched correlation and filter
// kernels gives the same results, bit for bit, as a plain model, at lengths
// that reach every loop tail of every vector width, on data that makes the
// pairwise multiply-add wrap (all operands -32768).
#include <gtest/gtest.h>

#include "core/filter_models.h"
#include "flt_kernels_decl.h"

namespace {

using namespace kelsc_test;

struct Variant {
    const char* name;
    bool available;
    decltype(&kel::base::dotWrap_16s) dot;
    decltype(&kel::base::lagCorrWrap_16s) lags;
    decltype(&kel::base::residual_16s) residual;
    decltype(&kel::base::convWrap_16s32s) conv;
};

#define KEL_FLT_VARIANT(ns, avail)                                                                                  \
    Variant {                                                                                                       \
#ns, avail, kel::ns::dotWrap_16s, kel::ns::lagCorrWrap_16s, kel::ns::residual_16s, kel::ns::convWrap_16s32s \
    }

std::vector<Variant> variants() {
    std::vector<Variant> v = {KEL_FLT_VARIANT(base, true), KEL_FLT_VARIANT(vec, true)};
#if defined(KEL_HAVE_AVX2_VARIANT)
    v.push_back(KEL_FLT_VARIANT(avx2, kel::cpuHasAvx2()));
    v.push_back(KEL_FLT_VARIANT(avx512, kel::cpuHasAvx512()));
#endif
    return v;
}

void PrintTo(const Variant& v, std::ostream* os) { *os << v.name; }

class FilterKernels : public ::testing::TestWithParam<Variant> {};

TEST_P(FilterKernels, BitIdenticalToModel) {
    const Variant& k = GetParam();
    if (!k.available) GTEST_SKIP() << k.name << " not supported on this processor";
    std::vector<int> ns;
    for (int n = 1; n <= 67; ++n) ns.push_back(n);
    for (int n : {80, 97, 160, 240, 1000}) ns.push_back(n);
    const int hist = 16, reach = 9;
    for (int n : ns) {
        for (const Data& d : dataSets(hist + n + reach, static_cast<uint64_t>(n))) {
            const Kel16s* x = d.v.data() + hist;
            const V16 other = Rng(n).vec16(hist + n + reach);
            const Kel16s* y = other.data() + hist;
            ASSERT_EQ(k.dot(x, y, n), wrap32(dot(x, y, n))) << k.name << " " << d.name << " n " << n;
            for (int dir : {1, -1}) {
                V32 c(reach + 1);
                k.lags(x, y, n, dir > 0 ? 0 : 3, reach + 1 - (dir > 0 ? 0 : 3), dir, c.data());
                for (int j = 0; j + (dir > 0 ? 0 : 3) <= reach; ++j)
                    ASSERT_EQ(c[j], wrap32(dot(x, y + dir * (j + (dir > 0 ? 0 : 3)), n))) << k.name << " dir " << dir;
            }
            const int order = 1 + n % 12, sf = n % 16;
            V16 e(n);
            k.residual(y, order, x, e.data(), n, sf);
            for (int i = 0; i < n; ++i) {
                int64_t s = 0;
                for (int t = 0; t <= order; ++t) s += int64_t{y[t]} * x[i - t];
                ASSERT_EQ(e[i], sat16(wrap32(s + (sf > 0 ? 1 << (sf - 1) : 0)) >> sf))
                    << k.name << " " << d.name << " n " << n << " order " << order << " i " << i;
            }
            const int start = n / 3;
            V32 w(n - start);
            k.conv(x, y, w.data(), start, n - start);
            for (int j = 0; j < n - start; ++j) {
                int64_t s = 0;
                for (int t = 0; t <= start + j; ++t) s += int64_t{x[t]} * y[start + j - t];
                ASSERT_EQ(w[j], wrap32(s)) << k.name << " n " << n << " j " << j;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, FilterKernels, ::testing::ValuesIn(variants()),
                         [](const ::testing::TestParamInfo<Variant>& info) { return std::string(info.param.name); });

}  // namespace
