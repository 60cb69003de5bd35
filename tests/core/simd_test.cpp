// Every instruction-set variant of the dispatched vector kernels gives the
// same results, bit for bit, as a plain per-element model on the basic
// operators, at lengths that hit every loop tail; and the streaming kernels
// and reductions touch nothing outside their buffers whatever their length
// and alignment (masked AVX-512 edges read and write inside guard pages).
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "basop.h"
#include "support/guarded_pages.h"
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
    decltype(&kel::base::conv_16s32s) conv32;
    decltype(&kel::base::conv_16s32f) convF;
    decltype(&kel::base::set_16s) set16;
    decltype(&kel::base::set_32s) set32;
};

#define KEL_VARIANT(ns, avail)                                                                                         \
    Variant {                                                                                                          \
#ns, avail, kel::ns::add_16s, kel::ns::sub_16s, kel::ns::abs_16s, kel::ns::mulNR_16s, kel::ns::mulCNR_16s,     \
            kel::ns::lshift_16u, kel::ns::mul_16s32s, kel::ns::mulC_16s, kel::ns::rshift_16s, kel::ns::lshift_32s,     \
            kel::ns::sum_16s, kel::ns::dot_16s, kel::ns::max_16s, kel::ns::min_16s, kel::ns::max_32s,                  \
            kel::ns::maxAbs_16s, kel::ns::findFirst_16s, kel::ns::conv_16s32s, kel::ns::conv_16s32f, kel::ns::set_16s, \
            kel::ns::set_32s                                                                                           \
    }

std::vector<Variant> variants() {
    std::vector<Variant> v = {KEL_VARIANT(base, true), KEL_VARIANT(vec, true)};
#if defined(KEL_HAVE_AVX2_VARIANT)
    v.push_back(KEL_VARIANT(avx2, kel::cpuHasAvx2()));
    v.push_back(KEL_VARIANT(avx512, kel::cpuHasAvx512()));
    // The AVX-512 kernels with the VNNI sum and dot product.
    Variant vnni = KEL_VARIANT(avx512, kel::cpuHasAvx512Vnni());
    vnni.name = "avx512vnni";
    vnni.sum = kel::avx512vnni::sum_16s;
    vnni.dot = kel::avx512vnni::dot_16s;
    v.push_back(vnni);
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

// Product of the 32-bit kernel: exact at sf 0, rounded to nearest with ties
// to even for sf > 0, shifted left with saturation for sf < 0.
Kel32s product32(Kel16s x, Kel16s y, int sf) {
    const int64_t p = int64_t{x} * y;
    if (sf <= 0) return kel::sat32(p * (int64_t{1} << -sf));
    const int64_t q = p >> sf, rem = p - q * (int64_t{1} << sf), half = int64_t{1} << (sf - 1);
    return static_cast<Kel32s>(q + (rem > half || (rem == half && (q & 1))));
}

// Runs every streaming kernel of k on a and b (n values) into d16, d32 and
// f and compares each element with the model. sf is the rounded-product
// scale, 0..30.
void checkStreaming(const Variant& k, const Kel16s* a, const Kel16s* b, Kel16s* d16, Kel32s* d32, Kel32f* f, int n,
                    int sf) {
    const auto each16 = [&](const char* what, auto model) {
        for (int i = 0; i < n; ++i) ASSERT_EQ(d16[i], model(i)) << k.name << " " << what << " n " << n << " i " << i;
    };
    k.add(a, b, d16, n);
    each16("add", [&](int i) { return kel::add(a[i], b[i]); });
    k.sub(a, b, d16, n);
    each16("sub", [&](int i) { return kel::sub(b[i], a[i]); });
    k.abs(a, d16, n);
    each16("abs", [&](int i) { return kel::abs_s(a[i]); });
    k.rshift(a, 5, d16, n);
    each16("rshift", [&](int i) { return kel::shr(a[i], 5); });
    k.lshift(reinterpret_cast<const Kel16u*>(a), 5, reinterpret_cast<Kel16u*>(d16), n);
    each16("lshift", [&](int i) { return static_cast<Kel16s>(static_cast<uint16_t>(a[i]) << 5); });
    const int64_t rnd = sf > 0 ? int64_t{1} << (sf - 1) : 0;
    for (int s : {sf, 15}) {  // 15 takes the rounded Q15 product
        const int64_t r = s == 15 ? 1 << 14 : rnd;
        k.mulNR(a, b, d16, n, s);
        each16("mulNR", [&](int i) { return kel::sat16((int64_t{a[i]} * b[i] + r) >> s); });
        k.mulCNR(a, b[0], d16, n, s);
        each16("mulCNR", [&](int i) { return kel::sat16((int64_t{a[i]} * b[0] + r) >> s); });
    }
    for (int s : {0, 1, 3, 30, -3}) {
        k.mul32(a, b, d32, n, s);
        for (int i = 0; i < n; ++i) ASSERT_EQ(d32[i], product32(a[i], b[i], s)) << k.name << " mul32 sf " << s;
    }
    k.conv32(a, d32, n);
    for (int i = 0; i < n; ++i) ASSERT_EQ(d32[i], a[i]) << k.name << " conv32 n " << n;
    k.convF(a, f, n);
    for (int i = 0; i < n; ++i) ASSERT_EQ(f[i], static_cast<Kel32f>(a[i])) << k.name << " convF n " << n;
    k.set16(b[0], d16, n);
    each16("set", [&](int) { return b[0]; });
    k.set32(-1234567, d32, n);
    for (int i = 0; i < n; ++i) ASSERT_EQ(d32[i], -1234567) << k.name << " set32 n " << n;
}

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
            V16 d16(n);
            V32 d32(n), ls(n);
            std::vector<Kel32f> f(n);
            const int sf = (n + pass) % 5 == 0 ? 0 : (n * 7 + pass) % 31;  // 0..30 across the runs
            checkStreaming(k, a.data(), b.data(), d16.data(), d32.data(), f.data(), n, sf);
            if (::testing::Test::HasFatalFailure()) return;
            V16 mc(n);
            k.mulC(-32768, a.data(), mc.data(), n, -3);
            k.lshift32(w.data(), 7, ls.data(), n);
            int64_t sum = 0, dot = 0;
            Kel16s mx = a[0], mn = a[0], ma = 0;
            Kel32s mw = w[0];
            for (int i = 0; i < n; ++i) {
                ASSERT_EQ(mc[i], kel::shl(kel::sat16(-32768 * int32_t{a[i]}), 3)) << k.name;
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

// Runs long enough to pass several of the kernels' 32-bit accumulation
// blocks, of the extreme operands (every pairwise sum 2^31, or the most
// negative one; the largest low byte against -32768, the bound of the VNNI
// form's low part), against the exact sum.
TEST_P(SimdKernels, DotProductStaysExactOverLongRuns) {
    const Variant& k = GetParam();
    if (!k.available) GTEST_SKIP() << k.name << " not supported on this processor";
    const int n = 2 * 65536 * 32 + 777;
    const struct {
        Kel16s a, b;
    } patterns[] = {{-32768, -32768}, {-32768, 32767}, {32767, 32767}, {32767, -32768}, {-1, -32768}};
    for (const auto& p : patterns) {
        const V16 a(n, p.a), b(n, p.b);
        ASSERT_EQ(k.dot(a.data(), b.data(), n), int64_t{n} * p.a * p.b) << k.name;
        ASSERT_EQ(k.sum(a.data(), n), int64_t{n} * p.a) << k.name;
    }
}

TEST_P(SimdKernels, EdgesStayInsideTheBuffers) {
    const Variant& k = GetParam();
    if (!k.available) GTEST_SKIP() << k.name << " not supported on this processor";
    kelsc_test::GuardedPages pa, pb, p16, p32, pf;
    ASSERT_TRUE(pa.ok() && pb.ok() && p16.ok() && p32.ok() && pf.ok());
    Rng rng(7);
    std::vector<int> ns = lengths();
    ns.pop_back();  // 4097 values do not fit one page
    for (int n : {255, 256, 257, 511}) ns.push_back(n);
    for (int n : ns) {
        // At the start of the page, any read or write before element 0
        // faults; at the end, any beyond element n - 1 (and the destination
        // then starts at every alignment).
        for (int atEnd = 0; atEnd < 2; ++atEnd) {
            const size_t u = static_cast<size_t>(n);
            Kel16s* a = atEnd ? pa.atEnd<Kel16s>(u) : pa.atStart<Kel16s>();
            Kel16s* b = atEnd ? pb.atEnd<Kel16s>(u) : pb.atStart<Kel16s>();
            Kel16s* d16 = atEnd ? p16.atEnd<Kel16s>(u) : p16.atStart<Kel16s>();
            Kel32s* d32 = atEnd ? p32.atEnd<Kel32s>(u) : p32.atStart<Kel32s>();
            Kel32f* f = atEnd ? pf.atEnd<Kel32f>(u) : pf.atStart<Kel32f>();
            for (int i = 0; i < n; ++i) a[i] = rng.s16(), b[i] = rng.s16();
            checkStreaming(k, a, b, d16, d32, f, n, n % 31);
            if (::testing::Test::HasFatalFailure()) return;
            // The reductions read their edges the same way.
            int64_t sum = 0, dot = 0;
            for (int i = 0; i < n; ++i) sum += a[i], dot += int64_t{a[i]} * b[i];
            ASSERT_EQ(k.sum(a, n), sum) << k.name << " n " << n;
            ASSERT_EQ(k.dot(a, b, n), dot) << k.name << " n " << n;
            ASSERT_EQ(k.max(a, n), *std::max_element(a, a + n)) << k.name << " n " << n;
            ASSERT_EQ(k.min(a, n), *std::min_element(a, a + n)) << k.name << " n " << n;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, SimdKernels, ::testing::ValuesIn(variants()),
                         [](const ::testing::TestParamInfo<Variant>& info) { return std::string(info.param.name); });

}  // namespace
