// Real FFT against independent oracles: a plain double-precision DFT, and
// for the large orders a plain double-precision recursive radix-2 FFT that
// is itself checked against the DFT. Then the packing, scaling, in-place and
// buffer contracts, the instruction-set variants bit for bit, concurrent
// use of one block, and the 16-bit forms' rounding and saturation.
#include <gtest/gtest.h>
#include <string.h>

#include <cmath>
#include <complex>
#include <thread>
#include <vector>

#include "fft_internal.h"
#include "fft_kernels_decl.h"
#include "kelsc.h"
#include "support/test_data.h"

namespace {

using kelsc_test::Rng;
using Cd = std::complex<double>;
using Bytes = std::vector<Kel8u>;
constexpr double kPi = 3.14159265358979323846;

// Uniform in [-1, 1).
double uniform(Rng& rng) { return static_cast<double>(rng.next() >> 11) * 0x1p-52 - 1.0; }

// ---------------------------------------------------------------------------
// Oracles
// ---------------------------------------------------------------------------

// X[k] = sum x[n] exp(sign 2 pi i n k / N), straight from the definition.
std::vector<Cd> dft(const std::vector<Cd>& x, int sign) {
    const size_t n = x.size();
    std::vector<Cd> out(n);
    for (size_t k = 0; k < n; ++k) {
        Cd acc = 0;
        for (size_t j = 0; j < n; ++j) {
            acc += x[j] * std::polar(1.0, sign * 2.0 * kPi * static_cast<double>((j * k) % n) / static_cast<double>(n));
        }
        out[k] = acc;
    }
    return out;
}

// The same transform by recursive radix-2 decimation in time: out[0..n)
// is the transform of in[0], in[stride], ...; roots[j] = exp(sign 2 pi i j / N)
// for the full size N = n * step.
void fftRecursive(const Cd* in, size_t stride, Cd* out, size_t n, const std::vector<Cd>& roots, size_t step) {
    if (n == 1) {
        out[0] = in[0];
        return;
    }
    fftRecursive(in, 2 * stride, out, n / 2, roots, 2 * step);
    fftRecursive(in + stride, 2 * stride, out + n / 2, n / 2, roots, 2 * step);
    for (size_t k = 0; k < n / 2; ++k) {
        const Cd e = out[k], t = roots[k * step] * out[k + n / 2];
        out[k] = e + t;
        out[k + n / 2] = e - t;
    }
}
std::vector<Cd> fftRecursive(const std::vector<Cd>& x, int sign) {
    const size_t n = x.size();
    std::vector<Cd> roots(n), out(n);
    for (size_t j = 0; j < n; ++j)
        roots[j] = std::polar(1.0, sign * 2.0 * kPi * static_cast<double>(j) / static_cast<double>(n));
    fftRecursive(x.data(), 1, out.data(), n, roots, 1);
    return out;
}

std::vector<Cd> oracle(const std::vector<Cd>& x, int sign) {
    return x.size() <= 256 ? dft(x, sign) : fftRecursive(x, sign);
}

// Spectrum X[0..N/2] of real x.
std::vector<Cd> realSpectrum(const std::vector<float>& x) {
    std::vector<Cd> c(x.begin(), x.end());
    std::vector<Cd> full = oracle(c, -1);
    full.resize(x.size() / 2 + 1);
    return full;
}

// Real signal of a half spectrum X[0..N/2], completed as Hermitian (the
// imaginary parts of X[0] and X[N/2] ignored).
std::vector<double> realSignal(const std::vector<Cd>& half, int n) {
    std::vector<Cd> full(n);
    for (int k = 0; k <= n / 2; ++k) full[k] = half[k];
    full[0] = half[0].real();
    if (n > 1) full[n / 2] = half[n / 2].real();
    for (int k = n / 2 + 1; k < n; ++k) full[k] = std::conj(full[n - k]);
    const std::vector<Cd> x = oracle(full, +1);
    std::vector<double> out(n);
    for (int i = 0; i < n; ++i) out[i] = x[i].real();
    return out;
}

// Signal-to-error ratio in dB of `got` against `want` (factor applied to want).
double snrCcs(const std::vector<Cd>& want, const std::vector<float>& ccs, double factor) {
    double sig = 0, err = 0;
    for (size_t k = 0; k < want.size(); ++k) {
        const Cd w = want[k] * factor, g(ccs[2 * k], ccs[2 * k + 1]);
        sig += std::norm(w);
        err += std::norm(w - g);
    }
    return err == 0 ? 999.0 : 10.0 * std::log10(sig / err);
}
double snrReal(const std::vector<double>& want, const std::vector<float>& got, double factor) {
    double sig = 0, err = 0;
    for (size_t i = 0; i < want.size(); ++i) {
        sig += want[i] * factor * want[i] * factor;
        err += (want[i] * factor - got[i]) * (want[i] * factor - got[i]);
    }
    return err == 0 ? 999.0 : 10.0 * std::log10(sig / err);
}

TEST(FftOracle, RecursiveFftMatchesDft) {
    Rng rng(7);
    for (int order = 0; order <= 10; ++order) {
        std::vector<Cd> x(size_t{1} << order);
        for (Cd& v : x) v = Cd(uniform(rng), uniform(rng));
        for (int sign : {-1, 1}) {
            const std::vector<Cd> a = dft(x, sign), b = fftRecursive(x, sign);
            double err = 0, sig = 0;
            for (size_t k = 0; k < x.size(); ++k) {
                err += std::norm(a[k] - b[k]);
                sig += std::norm(a[k]);
            }
            EXPECT_LT(err, sig * 1e-24) << "order " << order;
        }
    }
}

// ---------------------------------------------------------------------------
// A float block with its memory, and the transforms with a buffer.
// ---------------------------------------------------------------------------

struct Block {
    Block(int order, int flag) : order(order), n(1 << order) {
        int specSize = 0, initSize = 0;
        EXPECT_EQ(kelsFFTGetSize_R_32f(order, flag, 0, &specSize, &initSize, &bufSize), kelStatusOk);
        mem.resize(specSize);
        Bytes init(initSize + 1);
        EXPECT_EQ(kelsFFTInit_R_32f(&spec, order, flag, 0, mem.data(), init.data()), kelStatusOk);
        buf.resize(bufSize + 1);
    }
    std::vector<float> fwd(const std::vector<float>& x, bool ccs = true) {
        std::vector<float> out(ccs ? n + 2 : n, -7.0f);
        const KelStatus st = ccs ? kelsFFTFwd_RToCCS_32f(x.data(), out.data(), spec, buf.data())
                                 : kelsFFTFwd_RToPerm_32f(x.data(), out.data(), spec, buf.data());
        EXPECT_EQ(st, kelStatusOk);
        if (n == 1 && ccs) out.resize(2);
        return out;
    }
    std::vector<float> inv(const std::vector<float>& ccs) {
        std::vector<float> out(n, -7.0f);
        EXPECT_EQ(kelsFFTInv_CCSToR_32f(ccs.data(), out.data(), spec, buf.data()), kelStatusOk);
        return out;
    }
    int order, n, bufSize = 0;
    Bytes mem, buf;
    KelFFTSpec_R_32f* spec = nullptr;
};

std::vector<float> randomSignal(int n, uint64_t seed) {
    Rng rng(seed);
    std::vector<float> x(n);
    for (float& v : x) v = static_cast<float>(uniform(rng));
    return x;
}

// A CCS spectrum with random bins (the always-zero parts set to garbage:
// the inverse must not read them).
std::vector<float> randomCcs(int n, uint64_t seed) {
    std::vector<float> s = randomSignal(n + 2, seed);
    s[1] = 1e30f;
    if (n > 1) s[n + 1] = -1e30f;
    return s;
}
std::vector<Cd> halfOf(const std::vector<float>& ccs, int n) {
    std::vector<Cd> h(n / 2 + 1);
    for (int k = 0; k <= n / 2; ++k) h[k] = Cd(ccs[2 * k], ccs[2 * k + 1]);
    return h;
}

// ---------------------------------------------------------------------------
// Accuracy, every order 0..20, both directions
// ---------------------------------------------------------------------------

class FftOrder : public ::testing::TestWithParam<int> {};

TEST_P(FftOrder, ForwardMatchesOracle) {
    const int order = GetParam(), n = 1 << order;
    Block b(order, kelFftNoDiv);
    const std::vector<float> x = randomSignal(n, 100 + order);
    const std::vector<float> y = b.fwd(x);
    EXPECT_GE(snrCcs(realSpectrum(x), y, 1.0), 120.0);
    EXPECT_EQ(y[1], 0.0f);
    if (n > 1) {
        EXPECT_EQ(y[n + 1], 0.0f);
    }
}

TEST_P(FftOrder, InverseMatchesOracle) {
    const int order = GetParam(), n = 1 << order;
    Block b(order, kelFftNoDiv);
    const std::vector<float> s = randomCcs(n, 200 + order);
    EXPECT_GE(snrReal(realSignal(halfOf(s, n), n), b.inv(s), 1.0), 120.0);
}

// Flags 1, 2 and 4 give the identity round trip, flag 8 N times the input.
TEST_P(FftOrder, RoundTripEveryFlag) {
    const int order = GetParam(), n = 1 << order;
    const std::vector<float> x = randomSignal(n, 300 + order);
    const std::vector<double> xd(x.begin(), x.end());
    for (int flag : {kelFftDivFwdByN, kelFftDivInvByN, kelFftDivBySqrtN, kelFftNoDiv}) {
        Block b(order, flag);
        const double factor = flag == kelFftNoDiv ? n : 1.0;
        EXPECT_GE(snrReal(xd, b.inv(b.fwd(x)), factor), 120.0) << "flag " << flag;
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, FftOrder, ::testing::Range(0, 21));

// Each flag scales each direction by its own factor.
TEST(Fft, FlagsScaleEachDirection) {
    for (int order : {0, 1, 3, 4, 5, 9, 12}) {
        const int n = 1 << order;
        const std::vector<float> x = randomSignal(n, 400 + order);
        const std::vector<float> s = randomCcs(n, 500 + order);
        const std::vector<Cd> spectrum = realSpectrum(x);
        const std::vector<double> signal = realSignal(halfOf(s, n), n);
        const double r = 1.0 / std::sqrt(static_cast<double>(n));
        const struct {
            int flag;
            double fwd, inv;
        } rows[] = {{kelFftDivFwdByN, 1.0 / n, 1.0}, {kelFftDivInvByN, 1.0, 1.0 / n}, {kelFftDivBySqrtN, r, r}};
        for (const auto& row : rows) {
            Block b(order, row.flag);
            EXPECT_GE(snrCcs(spectrum, b.fwd(x), row.fwd), 120.0) << order << " flag " << row.flag;
            EXPECT_GE(snrReal(signal, b.inv(s), row.inv), 120.0) << order << " flag " << row.flag;
        }
    }
}

// ---------------------------------------------------------------------------
// Packing, in place, buffers
// ---------------------------------------------------------------------------

TEST(Fft, OrderZeroIsTheSampleItself) {
    Block b(0, kelFftNoDiv);
    EXPECT_EQ(b.bufSize, 0);
    const std::vector<float> y = b.fwd({3.5f});
    ASSERT_EQ(y.size(), 2u);
    EXPECT_EQ(y[0], 3.5f);
    EXPECT_EQ(y[1], 0.0f);
    // CCS of N = 1 is two values: nothing beyond them is written.
    std::vector<float> out(3, -7.0f);
    const float x = 3.5f;
    EXPECT_EQ(kelsFFTFwd_RToCCS_32f(&x, out.data(), b.spec, nullptr), kelStatusOk);
    EXPECT_EQ(out[2], -7.0f);
    EXPECT_EQ(b.inv({2.0f, 99.0f})[0], 2.0f);
}

TEST(Fft, PermHoldsTheCcsValues) {
    for (int order = 0; order <= 12; ++order) {
        const int n = 1 << order;
        Block b(order, kelFftDivBySqrtN);
        const std::vector<float> x = randomSignal(n, 600 + order);
        const std::vector<float> ccs = b.fwd(x, true), perm = b.fwd(x, false);
        ASSERT_EQ(perm[0], ccs[0]);
        if (n > 1) {
            ASSERT_EQ(perm[1], ccs[n]) << order;
        }
        for (int i = 2; i < n; ++i) ASSERT_EQ(perm[i], ccs[i]) << order << " " << i;
    }
}

TEST(Fft, InPlaceEqualsOutOfPlace) {
    for (int order = 0; order <= 13; ++order) {
        const int n = 1 << order;
        Block b(order, kelFftDivFwdByN);
        const std::vector<float> x = randomSignal(n, 700 + order);
        std::vector<float> io(x);
        io.resize(n + 2);
        ASSERT_EQ(kelsFFTFwd_RToCCS_32f(io.data(), io.data(), b.spec, b.buf.data()), kelStatusOk);
        io.resize(n == 1 ? 2 : n + 2);
        EXPECT_EQ(io, b.fwd(x, true)) << order;
        std::vector<float> perm(x);
        ASSERT_EQ(kelsFFTFwd_RToPerm_32f(perm.data(), perm.data(), b.spec, b.buf.data()), kelStatusOk);
        EXPECT_EQ(perm, b.fwd(x, false)) << order;
        const std::vector<float> s = randomCcs(n, 800 + order);
        std::vector<float> back(s);
        ASSERT_EQ(kelsFFTInv_CCSToR_32f(back.data(), back.data(), b.spec, b.buf.data()), kelStatusOk);
        back.resize(n);
        EXPECT_EQ(back, b.inv(s)) << order;
    }
}

// Memory of exactly the reported sizes at every misalignment: nothing is
// written past it, and a null work buffer (the transform's own) gives the
// same results as a given one.
TEST(Fft, ReportedSizesSufficeAtAnyAlignment) {
    constexpr Kel8u kGuard = 0xA5;
    for (int order = 0; order <= 12; ++order) {
        const int n = 1 << order;
        int specSize = 0, initSize = 0, bufSize = 0;
        ASSERT_EQ(kelsFFTGetSize_R_32f(order, kelFftNoDiv, 0, &specSize, &initSize, &bufSize), kelStatusOk);
        const std::vector<float> x = randomSignal(n, 900 + order), s = randomCcs(n, 950 + order);
        Block reference(order, kelFftNoDiv);
        const std::vector<float> wantF = reference.fwd(x), wantI = reference.inv(s);
        for (int off = 0; off < 16; off += 5) {
            Bytes mem(specSize + off + 64, kGuard), init(initSize + off + 64, kGuard), buf(bufSize + off + 64, kGuard);
            KelFFTSpec_R_32f* spec = nullptr;
            ASSERT_EQ(kelsFFTInit_R_32f(&spec, order, kelFftNoDiv, 0, mem.data() + off, init.data() + off),
                      kelStatusOk);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(spec) % 16, 0u);
            int reported = -1;
            ASSERT_EQ(kelsFFTGetBufSize_R_32f(spec, &reported), kelStatusOk);
            EXPECT_EQ(reported, bufSize);
            std::vector<float> y(n + 2), z(n);
            ASSERT_EQ(kelsFFTFwd_RToCCS_32f(x.data(), y.data(), spec, buf.data() + off), kelStatusOk);
            ASSERT_EQ(kelsFFTInv_CCSToR_32f(s.data(), z.data(), spec, buf.data() + off), kelStatusOk);
            y.resize(wantF.size());
            EXPECT_EQ(y, wantF);
            EXPECT_EQ(z, wantI);
            ASSERT_EQ(kelsFFTFwd_RToCCS_32f(x.data(), y.data(), spec, nullptr), kelStatusOk);
            EXPECT_EQ(y, wantF);
            for (size_t i = specSize + off; i < mem.size(); ++i) ASSERT_EQ(mem[i], kGuard) << order << " spec";
            for (size_t i = initSize + off; i < init.size(); ++i) ASSERT_EQ(init[i], kGuard) << order << " init";
            for (size_t i = bufSize + off; i < buf.size(); ++i) ASSERT_EQ(buf[i], kGuard) << order << " buffer";
        }
    }
}

// The sizes callers allocate from, for a few orders. Orders 28..30 need
// more bytes than an int holds.
TEST(Fft, SizeFormulas) {
    const struct {
        int order, spec, init, work;
    } rows[] = {
        {0, 96, 0, 0},
        {3, 96, 0, 0},
        {4, 96 + 64 + 96, 48, 208},
        {5, 96 + 128 + 96, 64, 336},
        {10, 96 * 32 + 32 * 128 + 96, 1056, 8272},
        {20, 96 * 32768 + 32 * 131072 + 96, 1048608, 8388688},
        {27, 96 * 4194304 + 32 * 16777216 + 96, 134217760, 1073741904},
    };
    for (const auto& r : rows) {
        int spec = 0, init = 0, work = 0;
        ASSERT_EQ(kelsFFTGetSize_R_32f(r.order, 1, 0, &spec, &init, &work), kelStatusOk);
        EXPECT_EQ(spec, r.spec) << r.order;
        EXPECT_EQ(init, r.init) << r.order;
        EXPECT_EQ(work, r.work) << r.order;
        const int n = 1 << r.order;
        ASSERT_EQ(kelsFFTGetSize_R_16s32s(r.order, 1, 0, &spec, &init, &work), kelStatusOk);
        EXPECT_EQ(spec, r.spec + 48) << r.order;
        EXPECT_EQ(init, r.init == 0 ? 0 : r.init + 16) << r.order;
        EXPECT_EQ(work, r.work + 4 * n + 24) << r.order;
    }
    for (int order : {28, 29, 30}) {
        int spec = 0, init = 0, work = 0;
        EXPECT_EQ(kelsFFTGetSize_R_32f(order, 1, 0, &spec, &init, &work), kelStatusNoMemory);
        EXPECT_EQ(kelsFFTGetSize_R_16s32s(order, 1, 0, &spec, &init, &work), kelStatusNoMemory);
    }
}

// ---------------------------------------------------------------------------
// Instruction-set variants, bit for bit
// ---------------------------------------------------------------------------

struct Variant {
    const char* name;
    bool available;
    decltype(&kel::base::fftForward_32f) forward;
    decltype(&kel::base::fftInverse_32f) inverse;
};

std::vector<Variant> variants() {
    std::vector<Variant> v = {{"vec", true, kel::vec::fftForward_32f, kel::vec::fftInverse_32f}};
#if defined(KEL_HAVE_AVX2_VARIANT)
    v.push_back({"avx2", kel::cpuHasAvx2(), kel::avx2::fftForward_32f, kel::avx2::fftInverse_32f});
    v.push_back({"avx512", kel::cpuHasAvx512(), kel::avx512::fftForward_32f, kel::avx512::fftInverse_32f});
#endif
    return v;
}

TEST(FftVariants, BitIdenticalToBaseline) {
    for (int order = 4; order <= 18; ++order) {
        const int n = 1 << order;
        for (int flag : {kelFftNoDiv, kelFftDivBySqrtN}) {
            Block b(order, flag);
            const kel::FftPlan plan = kel::fftPlanOf(reinterpret_cast<const kel::FftHeader32f*>(b.spec));
            const std::vector<float> x = randomSignal(n, 1000 + order), s = randomCcs(n, 1100 + order);
            std::vector<float> work(2 * n + 16);
            float* w = work.data() + (64 - reinterpret_cast<uintptr_t>(work.data()) % 64) % 64 / sizeof(float);
            std::vector<float> wantF(n + 2), wantP(n), wantI(n);
            kel::base::fftForward_32f(&plan, x.data(), wantF.data(), w, 1);
            kel::base::fftForward_32f(&plan, x.data(), wantP.data(), w, 0);
            kel::base::fftInverse_32f(&plan, s.data(), wantI.data(), w);
            for (const Variant& v : variants()) {
                if (!v.available) continue;
                std::vector<float> f(n + 2), p(n), i(n);
                v.forward(&plan, x.data(), f.data(), w, 1);
                v.forward(&plan, x.data(), p.data(), w, 0);
                v.inverse(&plan, s.data(), i.data(), w);
                EXPECT_EQ(memcmp(f.data(), wantF.data(), sizeof(float) * f.size()), 0) << v.name << " " << order;
                EXPECT_EQ(memcmp(p.data(), wantP.data(), sizeof(float) * p.size()), 0) << v.name << " " << order;
                EXPECT_EQ(memcmp(i.data(), wantI.data(), sizeof(float) * i.size()), 0) << v.name << " " << order;
            }
        }
    }
}

// N = 16 and 32 run straight-line transforms of their own (fft_small.h),
// with four complex values per register in the AVX2 and AVX-512 variants:
// every variant, and the exported functions, must give the baseline
// kernels' results bit for bit, signed zeros included, for every flag, both
// packings and the inverse; the exported functions need no work buffer.
struct SmallVariant {
    const char* name;
    bool available;
    decltype(&kel::base::fftSmallForward_32f) forward;
    decltype(&kel::base::fftSmallInverse_32f) inverse;
};

std::vector<SmallVariant> smallVariants() {
    std::vector<SmallVariant> v = {{"base", true, kel::base::fftSmallForward_32f, kel::base::fftSmallInverse_32f}};
#if defined(KEL_HAVE_AVX2_VARIANT)
    v.push_back({"avx2", kel::cpuHasAvx2(), kel::avx2::fftSmallForward_32f, kel::avx2::fftSmallInverse_32f});
    v.push_back({"avx512", kel::cpuHasAvx512(), kel::avx512::fftSmallForward_32f, kel::avx512::fftSmallInverse_32f});
#endif
    return v;
}

TEST(FftSmall, BitIdenticalToBaselineKernels) {
    for (int order : {4, 5}) {
        const int n = 1 << order;
        // Random data, and signals and spectra whose transforms are mostly
        // exact zeros of either sign: constants, alternations, impulses,
        // single bins.
        std::vector<std::vector<float>> xs = {randomSignal(n, 1400 + order), std::vector<float>(n, -0.0f)};
        std::vector<std::vector<float>> ss = {randomCcs(n, 1500 + order), std::vector<float>(n + 2, -0.0f)};
        for (int k : {0, 1, 2, 3, n / 4, n / 2 - 1, n / 2}) {
            std::vector<float> x(n), s(n + 2, 0.0f);
            for (int i = 0; i < n; ++i) x[i] = static_cast<float>(std::cos(2.0 * kPi * k * i / n));
            s[2 * k] = 1.0f;
            if (k < n / 2) s[2 * k + 2] = -0.5f;
            xs.push_back(x);
            ss.push_back(s);
            std::vector<float> impulse(n, 0.0f);
            impulse[k] = -1.0f;
            xs.push_back(impulse);
        }
        ss.resize(xs.size(), randomCcs(n, 1600 + order));
        for (int flag : {kelFftDivFwdByN, kelFftDivInvByN, kelFftDivBySqrtN, kelFftNoDiv}) {
            Block b(order, flag);
            const kel::FftHeader32f* h = reinterpret_cast<const kel::FftHeader32f*>(b.spec);
            const kel::FftPlan plan = kel::fftPlanOf(h);
            std::vector<float> work(2 * n + 16);
            float* w = work.data() + (64 - reinterpret_cast<uintptr_t>(work.data()) % 64) % 64 / sizeof(float);
            for (size_t c = 0; c < xs.size(); ++c) {
                const std::vector<float>& x = xs[c];
                const std::vector<float>& s = ss[c];
                std::vector<float> wantF(n + 2), wantP(n), wantI(n), f(n + 2), p(n), i(n);
                kel::base::fftForward_32f(&plan, x.data(), wantF.data(), w, 1);
                kel::base::fftForward_32f(&plan, x.data(), wantP.data(), w, 0);
                kel::base::fftInverse_32f(&plan, s.data(), wantI.data(), w);
                ASSERT_EQ(kelsFFTFwd_RToCCS_32f(x.data(), f.data(), b.spec, nullptr), kelStatusOk);
                ASSERT_EQ(kelsFFTFwd_RToPerm_32f(x.data(), p.data(), b.spec, nullptr), kelStatusOk);
                ASSERT_EQ(kelsFFTInv_CCSToR_32f(s.data(), i.data(), b.spec, nullptr), kelStatusOk);
                EXPECT_EQ(memcmp(f.data(), wantF.data(), sizeof(float) * f.size()), 0)
                    << order << " " << flag << " " << c;
                EXPECT_EQ(memcmp(p.data(), wantP.data(), sizeof(float) * p.size()), 0)
                    << order << " " << flag << " " << c;
                EXPECT_EQ(memcmp(i.data(), wantI.data(), sizeof(float) * i.size()), 0)
                    << order << " " << flag << " " << c;
                for (const SmallVariant& v : smallVariants()) {
                    if (!v.available) continue;
                    std::vector<float> vf(n + 2), vp(n), vi(n);
                    // The i386 baseline has none: the kernels run instead.
                    if (v.forward(h, x.data(), vf.data(), 1) == 0) continue;
                    ASSERT_EQ(v.forward(h, x.data(), vp.data(), 0), 1);
                    ASSERT_EQ(v.inverse(h, s.data(), vi.data()), 1);
                    EXPECT_EQ(memcmp(vf.data(), wantF.data(), sizeof(float) * f.size()), 0) << v.name << " " << c;
                    EXPECT_EQ(memcmp(vp.data(), wantP.data(), sizeof(float) * p.size()), 0) << v.name << " " << c;
                    EXPECT_EQ(memcmp(vi.data(), wantI.data(), sizeof(float) * i.size()), 0) << v.name << " " << c;
                }
            }
        }
    }
}

// ---------------------------------------------------------------------------
// One block, several threads. A build with -DKELSC_SANITIZE=thread runs this
// under ThreadSanitizer, which must report no race: transforms only read
// the block.
// ---------------------------------------------------------------------------

TEST(FftThreads, ConcurrentTransformsOnOneBlock) {
    const int order = 12, n = 1 << order;
    Block b(order, kelFftDivInvByN);
    const std::vector<float> x = randomSignal(n, 1200);
    const std::vector<float> wantF = b.fwd(x), wantI = b.inv(wantF);
    constexpr int kThreads = 4;
    int mismatches[kThreads] = {};
    std::vector<std::thread> pool;
    for (int t = 0; t < kThreads; ++t) {
        pool.emplace_back([&, t] {
            Bytes buf(b.bufSize);  // the last thread passes no buffer: its own per call
            Kel8u* given = t == kThreads - 1 ? nullptr : buf.data();
            std::vector<float> y(n + 2), z(n);
            for (int r = 0; r < 40; ++r) {
                if (kelsFFTFwd_RToCCS_32f(x.data(), y.data(), b.spec, given) != kelStatusOk || y != wantF)
                    ++mismatches[t];
                if (kelsFFTInv_CCSToR_32f(y.data(), z.data(), b.spec, given) != kelStatusOk || z != wantI)
                    ++mismatches[t];
            }
        });
    }
    const Bytes before = b.mem;
    for (std::thread& th : pool) th.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
    EXPECT_EQ(b.mem, before) << "a transform wrote to the block";
}

// A 16-byte boundary in buf whose offset within a cache line differs from
// that of p by 16 bytes.
Kel8u* elsewhere(Bytes& buf, const void* p) {
    Kel8u* line = buf.data() + (64 - reinterpret_cast<uintptr_t>(buf.data()) % 64) % 64;
    return line + (reinterpret_cast<uintptr_t>(p) % 64 + 16) % 64;
}

// Blocks hold no pointers: a block copied to another 16-byte boundary (at
// another offset within a cache line) gives the same results.
TEST(Fft, CopiedBlocksWorkTheSame) {
    for (int order : {3, 4, 9}) {
        const int n = 1 << order;
        Block b(order, kelFftDivBySqrtN);
        Bytes copy(b.mem.size() + 128);
        Kel8u* at = elsewhere(copy, b.spec);
        const size_t offset = reinterpret_cast<Kel8u*>(b.spec) - b.mem.data();
        memcpy(at, b.spec, b.mem.size() - offset);
        const auto* moved = reinterpret_cast<const KelFFTSpec_R_32f*>(at);
        const std::vector<float> x = randomSignal(n, 1150 + order), want = b.fwd(x);
        std::vector<float> y(n + 2);
        ASSERT_EQ(kelsFFTFwd_RToCCS_32f(x.data(), y.data(), moved, nullptr), kelStatusOk);
        y.resize(want.size());
        EXPECT_EQ(y, want) << order;

        int specSize = 0, initSize = 0, bufSize = 0;
        ASSERT_EQ(kelsFFTGetSize_R_16s32s(order, kelFftDivBySqrtN, 0, &specSize, &initSize, &bufSize), kelStatusOk);
        Bytes mem16(specSize), init16(initSize + 1), copy16(specSize + 128);
        KelFFTSpec_R_16s32s* spec16 = nullptr;
        ASSERT_EQ(kelsFFTInit_R_16s32s(&spec16, order, kelFftDivBySqrtN, 0, mem16.data(), init16.data()), kelStatusOk);
        Kel8u* at16 = elsewhere(copy16, spec16);
        memcpy(at16, spec16, mem16.size() - (reinterpret_cast<Kel8u*>(spec16) - mem16.data()));
        std::vector<Kel16s> x16(n);
        for (int i = 0; i < n; ++i) x16[i] = static_cast<Kel16s>(x[i] * 20000.0f);
        std::vector<Kel32s> want16(n + 2), got16(n + 2);
        ASSERT_EQ(kelsFFTFwd_RToCCS_16s32s_Sfs(x16.data(), want16.data(), spec16, 0, nullptr), kelStatusOk);
        ASSERT_EQ(kelsFFTFwd_RToCCS_16s32s_Sfs(x16.data(), got16.data(),
                                               reinterpret_cast<const KelFFTSpec_R_16s32s*>(at16), 0, nullptr),
                  kelStatusOk);
        EXPECT_EQ(got16, want16) << order;
    }
}

// ---------------------------------------------------------------------------
// 16-bit forms
// ---------------------------------------------------------------------------

struct Block16 {
    Block16(int order, int flag) : n(1 << order) {
        int specSize = 0, initSize = 0, bufSize = 0;
        EXPECT_EQ(kelsFFTGetSize_R_16s32s(order, flag, 0, &specSize, &initSize, &bufSize), kelStatusOk);
        mem.resize(specSize);
        Bytes init(initSize + 1);
        EXPECT_EQ(kelsFFTInit_R_16s32s(&spec, order, flag, 0, mem.data(), init.data()), kelStatusOk);
        buf.resize(bufSize);
    }
    std::vector<Kel32s> fwd(const std::vector<Kel16s>& x, int sf) {
        std::vector<Kel32s> out(n + 2, 0x5A5A5A5A);
        EXPECT_EQ(kelsFFTFwd_RToCCS_16s32s_Sfs(x.data(), out.data(), spec, sf, buf.data()), kelStatusOk);
        return out;
    }
    std::vector<Kel16s> inv(const std::vector<Kel32s>& s, int sf) {
        std::vector<Kel16s> out(n, 0x5A5A);
        EXPECT_EQ(kelsFFTInv_CCSToR_32s16s_Sfs(s.data(), out.data(), spec, sf, buf.data()), kelStatusOk);
        return out;
    }
    int n;
    Bytes mem, buf;
    KelFFTSpec_R_16s32s* spec = nullptr;
};

// Halves away from zero, then saturation.
double roundAway(double v) { return v < 0 ? -std::floor(-v + 0.5) : std::floor(v + 0.5); }
double clampTo(double v, double lo, double hi) { return v < lo ? lo : (v > hi ? hi : v); }

// An impulse of height v has the flat spectrum v, exact in float: each bin
// is v * 2^-sf rounded halves away from zero and saturated.
TEST(Fft16s, ForwardRoundsHalvesAwayAndSaturates) {
    for (int order : {0, 2, 5}) {
        const int n = 1 << order;
        Block16 b(order, kelFftNoDiv);
        const struct {
            Kel16s v;
            int sf;
        } rows[] = {{3, 1},       {-3, 1},      {5, 2},        {-5, 2},     {-7, 3},     {1, 2},
                    {32767, -16}, {32767, -17}, {-32768, -17}, {-32768, 0}, {12345, 40}, {1, -40}};
        for (const auto& r : rows) {
            std::vector<Kel16s> x(n, 0);
            x[0] = r.v;
            const std::vector<Kel32s> y = b.fwd(x, r.sf);
            const double want =
                clampTo(roundAway(std::ldexp(static_cast<double>(r.v), -r.sf)), -2147483648.0, 2147483647.0);
            for (int k = 0; k <= n / 2; ++k) {
                EXPECT_EQ(y[2 * k], want) << order << " v " << r.v << " sf " << r.sf << " bin " << k;
                EXPECT_EQ(y[2 * k + 1], 0) << order << " bin " << k;
            }
            if (n == 1) {
                EXPECT_EQ(y[2], 0x5A5A5A5A) << "N = 1 writes two values";
            }
        }
    }
}

// A DC-only spectrum X[0] = v gives the constant v (flag 8), exact in float.
TEST(Fft16s, InverseRoundsHalvesAwayAndSaturates) {
    for (int order : {0, 3, 6}) {
        const int n = 1 << order;
        Block16 b(order, kelFftNoDiv);
        const struct {
            Kel32s v;
            int sf;
        } rows[] = {{3, 1}, {-3, 1}, {7, 2}, {-7, 2}, {32767, 0}, {32768, 0}, {-32769, 0}, {1 << 20, 5}, {-5, -13}};
        for (const auto& r : rows) {
            std::vector<Kel32s> s(n + 2, 0);
            s[0] = r.v;
            s[1] = 12345;  // never read
            if (n > 1) s[n + 1] = -999;
            const std::vector<Kel16s> x = b.inv(s, r.sf);
            const double want = clampTo(roundAway(std::ldexp(static_cast<double>(r.v), -r.sf)), -32768.0, 32767.0);
            for (int i = 0; i < n; ++i) EXPECT_EQ(x[i], want) << order << " v " << r.v << " sf " << r.sf;
        }
    }
}

// Random speech-like input: every bin within one unit of the rounded oracle
// (float rounding may move a value across a half), and the inverse with
// flag 2 gives the samples back.
TEST(Fft16s, MatchesOracleAndRoundTrips) {
    for (int order : {1, 4, 8, 11}) {
        const int n = 1 << order;
        Block16 b(order, kelFftDivInvByN);
        Rng rng(1300 + order);
        std::vector<Kel16s> x(n);
        for (Kel16s& v : x) v = static_cast<Kel16s>(rng.s16() / 4);
        const int sf = order / 2;
        const std::vector<Kel32s> y = b.fwd(x, sf);
        std::vector<float> xf(x.begin(), x.end());
        const std::vector<Cd> want = realSpectrum(xf);
        for (int k = 0; k <= n / 2; ++k) {
            EXPECT_NEAR(y[2 * k], roundAway(std::ldexp(want[k].real(), -sf)), 1.0) << order << " " << k;
            EXPECT_NEAR(y[2 * k + 1], roundAway(std::ldexp(want[k].imag(), -sf)), 1.0) << order << " " << k;
        }
        const std::vector<Kel16s> back = b.inv(y, -sf);
        for (int i = 0; i < n; ++i) EXPECT_NEAR(back[i], x[i], 1.0 + (1 << sf) / 2) << order << " " << i;
        // The block's own allocation gives the same samples.
        std::vector<Kel16s> again(n);
        ASSERT_EQ(kelsFFTInv_CCSToR_32s16s_Sfs(y.data(), again.data(), b.spec, -sf, nullptr), kelStatusOk);
        EXPECT_EQ(again, back);
    }
}

}  // namespace
