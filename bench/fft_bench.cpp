// Real FFT against FFTW (fftwf_plan_dft_r2c_1d / c2r, FFTW_MEASURE) and
// kissfft (kiss_fftr / kiss_fftri), whichever of the two the build found.
//
// Benchmark names are <operation>/<implementation>/<N>: operation FFTFwd_R
// (N real samples to N/2 + 1 bins) or FFTInv_R (back), implementation kelsc,
// fftw or kissfft; none of them normalises (kelsc runs with kelFftNoDiv).
// Each caller keeps its plan or block and its buffers outside the timing.
// tools/bench_report.py turns a JSON run into the table of
// docs/PERFORMANCE.md.
//
// --verify-only: instead of timing, checks that kelsc's spectra and signals
// agree with every peer's to within single-precision rounding (at least
// 120 dB signal-to-difference) for N = 16..65536, and exits non-zero if not.
#include <benchmark/benchmark.h>
#include <string.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "kelsc.h"

#if defined(KELSC_HAVE_FFTW)
#include <fftw3.h>
#endif
#if defined(KELSC_HAVE_KISSFFT)
#include <kiss_fftr.h>
#endif

namespace {

constexpr int kMinOrder = 4, kMaxOrder = 16;

// An N-sample test signal, uniform in [-1, 1).
std::vector<float> signal(int n) {
    std::vector<float> x(n);
    uint32_t s = 12345;
    for (float& v : x) {
        s = s * 1664525u + 1013904223u;
        v = static_cast<float>(static_cast<int32_t>(s) >> 8) * (1.0f / 8388608.0f);
    }
    return x;
}

// 32-byte aligned float storage from the library's allocator.
struct Floats {
    explicit Floats(int n) : p(reinterpret_cast<float*>(kelsMalloc_8u(4 * n))) {}
    ~Floats() { kelsFree(p); }
    Floats(const Floats&) = delete;
    Floats& operator=(const Floats&) = delete;
    float* p;
};

class Kelsc {
public:
    explicit Kelsc(int order) {
        int spec = 0, init = 0, buf = 0;
        kelsFFTGetSize_R_32f(order, kelFftNoDiv, 0, &spec, &init, &buf);
        mem_ = kelsMalloc_8u(spec);
        Kel8u* scratch = kelsMalloc_8u(init > 0 ? init : 1);
        kelsFFTInit_R_32f(&spec_, order, kelFftNoDiv, 0, mem_, scratch);
        kelsFree(scratch);
        buf_ = kelsMalloc_8u(buf > 0 ? buf : 1);
    }
    ~Kelsc() {
        kelsFree(mem_);
        kelsFree(buf_);
    }
    Kelsc(const Kelsc&) = delete;
    Kelsc& operator=(const Kelsc&) = delete;
    void forward(const float* x, float* ccs) const { kelsFFTFwd_RToCCS_32f(x, ccs, spec_, buf_); }
    void inverse(const float* ccs, float* x) const { kelsFFTInv_CCSToR_32f(ccs, x, spec_, buf_); }

private:
    Kel8u* mem_ = nullptr;
    Kel8u* buf_ = nullptr;
    KelFFTSpec_R_32f* spec_ = nullptr;
};

#if defined(KELSC_HAVE_FFTW)
// FFTW's complex output is interleaved re, im: the CCS layout.
class Fftw {
public:
    explicit Fftw(int order) : n_(1 << order) {
        in_ = fftwf_alloc_real(n_);
        out_ = fftwf_alloc_complex(n_ / 2 + 1);
        fwd_ = fftwf_plan_dft_r2c_1d(n_, in_, out_, FFTW_MEASURE);
        inv_ = fftwf_plan_dft_c2r_1d(n_, out_, in_, FFTW_MEASURE);
    }
    ~Fftw() {
        fftwf_destroy_plan(fwd_);
        fftwf_destroy_plan(inv_);
        fftwf_free(in_);
        fftwf_free(out_);
    }
    Fftw(const Fftw&) = delete;
    Fftw& operator=(const Fftw&) = delete;
    float* real() { return in_; }
    float* ccs() { return reinterpret_cast<float*>(out_); }
    void forward() { fftwf_execute(fwd_); }
    void inverse() { fftwf_execute(inv_); }  // overwrites the spectrum

private:
    int n_;
    float* in_;
    fftwf_complex* out_;
    fftwf_plan fwd_, inv_;
};
#endif

#if defined(KELSC_HAVE_KISSFFT)
class Kiss {
public:
    explicit Kiss(int order)
        : fwd_(kiss_fftr_alloc(1 << order, 0, nullptr, nullptr)),
          inv_(kiss_fftr_alloc(1 << order, 1, nullptr, nullptr)) {}
    ~Kiss() {
        kiss_fftr_free(fwd_);
        kiss_fftr_free(inv_);
    }
    Kiss(const Kiss&) = delete;
    Kiss& operator=(const Kiss&) = delete;
    void forward(const float* x, float* ccs) { kiss_fftr(fwd_, x, reinterpret_cast<kiss_fft_cpx*>(ccs)); }
    void inverse(const float* ccs, float* x) { kiss_fftri(inv_, reinterpret_cast<const kiss_fft_cpx*>(ccs), x); }

private:
    kiss_fftr_cfg fwd_, inv_;
};
#endif

int orderOf(int n) {
    int order = 0;
    while ((1 << order) < n) ++order;
    return order;
}

void setItems(benchmark::State& state, int n) { state.SetItemsProcessed(state.iterations() * int64_t{n}); }

// --- Timed loops --------------------------------------------------------------

void fwdKelsc(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    Kelsc k(orderOf(n));
    Floats x(n), y(n + 2);
    const std::vector<float> s = signal(n);
    memcpy(x.p, s.data(), sizeof(float) * n);
    for (auto _ : state) {
        k.forward(x.p, y.p);
        benchmark::DoNotOptimize(y.p);
        benchmark::ClobberMemory();
    }
    setItems(state, n);
}
void invKelsc(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    Kelsc k(orderOf(n));
    Floats x(n), y(n + 2);
    const std::vector<float> s = signal(n);
    memcpy(x.p, s.data(), sizeof(float) * n);
    k.forward(x.p, y.p);
    for (auto _ : state) {
        k.inverse(y.p, x.p);
        benchmark::DoNotOptimize(x.p);
        benchmark::ClobberMemory();
    }
    setItems(state, n);
}

#if defined(KELSC_HAVE_FFTW)
void fwdFftw(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    Fftw f(orderOf(n));
    const std::vector<float> s = signal(n);
    memcpy(f.real(), s.data(), sizeof(float) * n);
    for (auto _ : state) {
        f.forward();
        benchmark::ClobberMemory();
    }
    setItems(state, n);
}
void invFftw(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    Fftw f(orderOf(n));
    const std::vector<float> s = signal(n);
    memcpy(f.real(), s.data(), sizeof(float) * n);
    f.forward();
    for (auto _ : state) {
        f.inverse();
        benchmark::ClobberMemory();
    }
    setItems(state, n);
}
#endif

#if defined(KELSC_HAVE_KISSFFT)
void fwdKiss(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    Kiss k(orderOf(n));
    Floats x(n), y(n + 2);
    const std::vector<float> s = signal(n);
    memcpy(x.p, s.data(), sizeof(float) * n);
    for (auto _ : state) {
        k.forward(x.p, y.p);
        benchmark::DoNotOptimize(y.p);
        benchmark::ClobberMemory();
    }
    setItems(state, n);
}
void invKiss(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    Kiss k(orderOf(n));
    Floats x(n), y(n + 2);
    const std::vector<float> s = signal(n);
    memcpy(x.p, s.data(), sizeof(float) * n);
    k.forward(x.p, y.p);
    for (auto _ : state) {
        k.inverse(y.p, x.p);
        benchmark::DoNotOptimize(x.p);
        benchmark::ClobberMemory();
    }
    setItems(state, n);
}
#endif

// Size by size, each peer next to kelsc, so that the ratios of one size
// are measured close together in time.
void registerAll() {
    using Fn = void (*)(benchmark::State&);
    struct Row {
        const char* name;
        Fn fn;
    };
    const Row forward[] = {
        {"FFTFwd_R/kelsc", fwdKelsc},
#if defined(KELSC_HAVE_FFTW)
        {"FFTFwd_R/fftw", fwdFftw},
#endif
#if defined(KELSC_HAVE_KISSFFT)
        {"FFTFwd_R/kissfft", fwdKiss},
#endif
    };
    const Row inverse[] = {
        {"FFTInv_R/kelsc", invKelsc},
#if defined(KELSC_HAVE_FFTW)
        {"FFTInv_R/fftw", invFftw},
#endif
#if defined(KELSC_HAVE_KISSFFT)
        {"FFTInv_R/kissfft", invKiss},
#endif
    };
    for (int order = kMinOrder; order <= kMaxOrder; ++order) {
        for (const Row& r : forward) benchmark::RegisterBenchmark(r.name, r.fn)->Arg(1 << order);
    }
    for (int order = kMinOrder; order <= kMaxOrder; ++order) {
        for (const Row& r : inverse) benchmark::RegisterBenchmark(r.name, r.fn)->Arg(1 << order);
    }
}

// --- Agreement with the peers -------------------------------------------------

[[maybe_unused]] double agreementDb(const float* want, const float* got, int count) {
    double sig = 0, err = 0;
    for (int i = 0; i < count; ++i) {
        sig += static_cast<double>(want[i]) * want[i];
        err += (static_cast<double>(want[i]) - got[i]) * (static_cast<double>(want[i]) - got[i]);
    }
    return err == 0 ? 999.0 : 10.0 * std::log10(sig / err);
}

int verify() {
    int failures = 0;
    const auto report = [&failures](const char* what, const char* peer, int n, double db) {
        if (db < 120.0) {
            std::printf("%s differs from %s at N = %d: %.1f dB\n", what, peer, n, db);
            ++failures;
        }
    };
    (void)report;  // unused when the build found no peer
    int peers = 0;
    for (int order = kMinOrder; order <= kMaxOrder; ++order) {
        const int n = 1 << order;
        const std::vector<float> x = signal(n);
        Kelsc k(order);
        std::vector<float> spectrum(n + 2), back(n);
        k.forward(x.data(), spectrum.data());
        k.inverse(spectrum.data(), back.data());
#if defined(KELSC_HAVE_FFTW)
        {
            Fftw f(order);
            memcpy(f.real(), x.data(), sizeof(float) * n);
            f.forward();
            report("forward", "fftw", n, agreementDb(f.ccs(), spectrum.data(), n + 2));
            f.inverse();
            report("inverse", "fftw", n, agreementDb(f.real(), back.data(), n));
            peers |= 1;
        }
#endif
#if defined(KELSC_HAVE_KISSFFT)
        {
            Kiss q(order);
            std::vector<float> s(n + 2), b(n);
            q.forward(x.data(), s.data());
            report("forward", "kissfft", n, agreementDb(s.data(), spectrum.data(), n + 2));
            q.inverse(spectrum.data(), b.data());
            report("inverse", "kissfft", n, agreementDb(b.data(), back.data(), n));
            peers |= 2;
        }
#endif
    }
    std::printf("kelsc against %s%s%s: %s\n", peers & 1 ? "fftw" : "", peers == 3 ? " and " : "",
                peers & 2 ? "kissfft" : (peers == 0 ? "no peer" : ""), failures == 0 ? "agree" : "DIFFER");
    return failures == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--verify-only") == 0) return verify();
    }
    registerAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
