// Every instruction-set variant of the dispatched vector kernels gives the
// same results, bit for bit, as a plain per-element model on the basic
// operators, at lengths that hit every loop tail.
#include <gtest/gtest.h>

#include <vector>

#include "basop.h"
#include "support/test_data.h"
#include "vec_kernels_decl.h"

namespace {

using kelsc_test::Rng;
using V16 = std::vector<Kel16s>;
using V32 = std::vector<Kel32s>;

struct Variant {
    const char* name;
    bool available;
    decltype(&kel::base::add_16s) add;
    decltype(&kel::base::sub_16s) sub;
    decltype(&kel::base::abs_16s) abs;
    decltype(&kel::base::mulNR_16s) mulNR;
    decltype(&kel::base::mulCNR_16s) mulCNR;
    decltype(&kel::base::lshift_16u) lshift;
    decltype(&kel::base::mul_16s32s) mul32;
    decltype(&kel::base::mulC_16s) mulC;
    decltype(&kel::base::rshift_16s) rshift;
    decltype(&kel::base::lshift_32s) lshift32;
    decltype(&kel::base::sum_16s) sum;
    decltype(&kel::base::dot_16s) dot;
    decltype(&kel::base::max_16s) max;
    decltype(&kel::base::min_16s) min;
    decltype(&kel::base::max_32s) max32;
    decltype(&kel::base::maxAbs_16s) maxAbs;
    decltype(&kel::base::findFirst_16s) findFirst;
};

#define KEL_VARIANT(ns, avail)                                                                                     \
    Variant {                                                                                                      \
#ns, avail, kel::ns::add_16s, kel::ns::sub_16s, kel::ns::abs_16s, kel::ns::mulNR_16s, kel::ns::mulCNR_16s, \
            kel::ns::lshift_16u, kel::ns::mul_16s32s, kel::ns::mulC_16s, kel::ns::rshift_16s, kel::ns::lshift_32s, \
            kel::ns::sum_16s, kel::ns::dot_16s, kel::ns::max_16s, kel::ns::min_16s, kel::ns::max_32s,              \
            kel::ns::maxAbs_16s, kel::ns::findFirst_16s                                                            \
    }

std::vector<Variant> variants() {
    std::vector<Variant> v = {KEL_VARIANT(base, true), KEL_VARIANT(vec, true)};
#if defined(KEL_HAVE_AVX2_VARIANT)
    v.push_back(KEL_VARIANT(avx2, kel::cpuHasAvx2()));
    v.push_back(KEL_VARIANT(avx512, kel::cpuHasAvx512()));
#endif
    return v;
}

std::vector<int> lengths() {
    std::vector<int> n;
    for (int i = 1; i <= 67; ++i) n.push_back(i);
    n.push_back(1000);
    n.push_back(4097);
    return n;
}

void PrintTo(const Variant& v, std::ostream* os) { *os << v.name; }

class SimdKernels : public ::testing::TestWithParam<Variant> {};

TEST_P(SimdKernels, BitIdenticalToScalarModel) {
    const Variant& k = GetParam();
    if (!k.available) GTEST_SKIP() << k.name << " not supported on this processor";
    Rng rng(42);
    for (int n : lengths()) {
        for (int pass = 0; pass < 3; ++pass) {
            // Random data, then all -32768 (the madd overflow case), then mixed extremes.
            V16 a = rng.vec16(n), b = rng.vec16(n);
            if (pass == 1) a.assign(n, -32768), b.assign(n, -32768);
            if (pass == 2)
                for (int i = 0; i < n; ++i) a[i] = (i % 3) ? -32768 : 32767, b[i] = (i % 2) ? -32768 : 32767;
            const V32 w = rng.vec32(n);
            V16 add(n), sub(n), abs(n), nr(n), mc(n), rs(n);
            V32 m32(n), ls(n);
            k.add(a.data(), b.data(), add.data(), n);
            k.sub(a.data(), b.data(), sub.data(), n);
            k.abs(a.data(), abs.data(), n);
            const int sf = (n + pass) % 5 == 0 ? 0 : (n * 7 + pass) % 31;  // 0..30 across the runs
            V16 nc(n), ls16(n);
            k.mulNR(a.data(), b.data(), nr.data(), n, sf);
            k.mulCNR(a.data(), b[0], nc.data(), n, sf);
            k.lshift(reinterpret_cast<const Kel16u*>(a.data()), 5, reinterpret_cast<Kel16u*>(ls16.data()), n);
            k.mul32(a.data(), b.data(), m32.data(), n, 3);
            k.mulC(-32768, a.data(), mc.data(), n, -3);
            k.rshift(a.data(), 5, rs.data(), n);
            k.lshift32(w.data(), 7, ls.data(), n);
            int64_t sum = 0, dot = 0;
            Kel16s mx = a[0], mn = a[0], ma = 0;
            Kel32s mw = w[0];
            for (int i = 0; i < n; ++i) {
                ASSERT_EQ(add[i], kel::add(a[i], b[i])) << k.name << " n " << n;
                ASSERT_EQ(sub[i], kel::sub(b[i], a[i])) << k.name << " n " << n;
                ASSERT_EQ(abs[i], kel::abs_s(a[i])) << k.name << " n " << n;
                const int64_t rnd = sf > 0 ? int64_t{1} << (sf - 1) : 0;
                ASSERT_EQ(nr[i], kel::sat16((int64_t{a[i]} * b[i] + rnd) >> sf)) << k.name << " sf " << sf;
                ASSERT_EQ(nc[i], kel::sat16((int64_t{a[i]} * b[0] + rnd) >> sf)) << k.name << " sf " << sf;
                ASSERT_EQ(ls16[i], static_cast<Kel16s>(static_cast<uint16_t>(a[i]) << 5)) << k.name;
                const int32_t p = int32_t{a[i]} * b[i];
                const int32_t q = p >> 3, rem = p & 7;  // ties to even at sf 3
                ASSERT_EQ(m32[i], q + (rem > 4 || (rem == 4 && (q & 1)))) << k.name;
                ASSERT_EQ(mc[i], kel::shl(kel::sat16(-32768 * int32_t{a[i]}), 3)) << k.name;
                ASSERT_EQ(rs[i], kel::shr(a[i], 5)) << k.name;
                ASSERT_EQ(ls[i], static_cast<Kel32s>(static_cast<uint32_t>(w[i]) << 7)) << k.name;
                sum += a[i];
                dot += int64_t{a[i]} * b[i];
                mx = std::max(mx, a[i]);
                mn = std::min(mn, a[i]);
                ma = std::max(ma, kel::abs_s(a[i]));
                mw = std::max(mw, w[i]);
            }
            ASSERT_EQ(k.sum(a.data(), n), sum) << k.name << " n " << n;
            ASSERT_EQ(k.dot(a.data(), b.data(), n), dot) << k.name << " n " << n;
            ASSERT_EQ(k.max(a.data(), n), mx) << k.name;
            ASSERT_EQ(k.min(a.data(), n), mn) << k.name;
            ASSERT_EQ(k.maxAbs(a.data(), n), ma) << k.name;
            ASSERT_EQ(k.max32(w.data(), n), mw) << k.name;
            for (Kel16s key : {mn, mx, a[n / 2], a[n - 1]})
                ASSERT_EQ(k.findFirst(a.data(), n, key), std::find(a.begin(), a.end(), key) - a.begin()) << k.name;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, SimdKernels, ::testing::ValuesIn(variants()),
                         [](const ::testing::TestParamInfo<Variant>& info) { return std::string(info.param.name); });

}  // namespace
