// Correlation and LP-filter kernels against the same computation written on
// the basic operators, one L_mac (or L_msu) per tap, as the G.729 reference
// routines Syn_filt, Residu, Autocorr and Lag_max are written; built without
// vectorisation.
//
// At start-up every pair is run once on the benchmark data and the results
// are compared; the program stops if any differs (--verify-only stops there).
// Benchmark names are <operation>/<implementation>/<N>, implementation kelsc
// or basop; tools/bench_report.py turns a JSON run into the ratio table.
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <string.h>

#include "basop.h"
#include "kelsc.h"

namespace {

using namespace kel;

#define KEL_BASOP __attribute__((noinline, optimize("no-tree-vectorize")))

constexpr int kOrder = 10;
constexpr int kLagMin = 20, kLagMax = 143;  // the G.729 pitch range
constexpr int kCrossLags = kLagMax - kLagMin;

// A Q12 LP filter of a voiced G.729 speech frame (from the reference's
// Levinson on SPEECH.IN) and speech-like signals: a pitch pulse train of
// period 57 through a resonance, plus noise; small enough that no
// basic-operator sum saturates, so both forms must agree exactly.
const Kel16s kLpc[kOrder + 1] = {4096, -8615, 6335, -2538, 4647, -6044, 3051, -1728, 3182, -2668, 803};

struct Data {
    Kel16s speech[kLagMax + 2 * 160 + kLagMax];  // history, frame, forward reach
    Kel16s excitation[40];
    Kel16s mem[kOrder];
    Kel16s out[240];
    Kel32s r[16];
    Data() {
        uint32_t s = 2024;
        double y1 = 0, y2 = 0;
        for (size_t i = 0; i < sizeof(speech) / sizeof(speech[0]); ++i) {
            s = s * 1664525u + 1013904223u;
            const double pulse = i % 57 == 0 ? 900.0 : 0.0;
            const double noise = static_cast<double>(static_cast<int32_t>(s >> 16) % 400 - 200);
            const double y = pulse + noise + 1.6 * y1 - 0.85 * y2;
            y2 = y1;
            y1 = y;
            speech[i] = static_cast<Kel16s>(y > 1500 ? 1500 : (y < -1500 ? -1500 : y));
        }
        for (int i = 0; i < 40; ++i) excitation[i] = static_cast<Kel16s>(speech[kLagMax + i] / 5);
        memcpy(mem, speech + kLagMax - kOrder, sizeof(mem));
    }
    const Kel16s* frame() const { return speech + kLagMax; }
};

// --- The basic-operator forms -------------------------------------------------

// Syn_filt: s = a[0] x - sum a[j] y[-j] by L_mult / L_msu, L_shl by 3, round.
KEL_BASOP void basopSynFilt(const Kel16s* a, const Kel16s* x, Kel16s* y, int lg, const Kel16s* mem) {
    Kel16s tmp[kOrder + 240];
    memcpy(tmp, mem, kOrder * sizeof(Kel16s));
    Kel16s* yy = tmp + kOrder;
    for (int i = 0; i < lg; ++i) {
        Kel32s s = L_mult(x[i], a[0]);
        for (int j = 1; j <= kOrder; ++j) s = L_msu(s, a[j], yy[i - j]);
        yy[i] = round_fx(L_shl(s, 3));
    }
    memcpy(y, yy, lg * sizeof(Kel16s));
}

// Residu: s = sum a[j] x[-j] by L_mult / L_mac, L_shl by 3, round.
KEL_BASOP void basopResidu(const Kel16s* a, const Kel16s* x, Kel16s* y, int lg) {
    for (int i = 0; i < lg; ++i) {
        Kel32s s = L_mult(x[i], a[0]);
        for (int j = 1; j <= kOrder; ++j) s = L_mac(s, a[j], x[i - j]);
        y[i] = round_fx(L_shl(s, 3));
    }
}

// Autocorr without its overflow loop: r[0] = 1 + sum of L_mac, normalised,
// and the lags by L_mac shifted by the same count.
KEL_BASOP int basopAutocorr(const Kel16s* y, int len, Kel32s* r, int lags) {
    Kel32s sum = 1;
    for (int i = 0; i < len; ++i) sum = L_mac(sum, y[i], y[i]);
    const Kel16s norm = norm_l(sum);
    r[0] = L_shl(sum, norm);
    for (int k = 1; k < lags; ++k) {
        sum = 0;
        for (int j = 0; j < len - k; ++j) sum = L_mac(sum, y[j], y[j + k]);
        r[k] = L_shl(sum, norm);
    }
    return norm;
}

// Lag_max: lags from the top down, ">=" so that ties keep the smaller lag.
KEL_BASOP int basopLagMaxInv(const Kel16s* x, int len, int lagMin, int lagMax, Kel32s* pMax) {
    Kel32s max = kMin32;
    int best = lagMax;
    for (int lag = lagMax; lag >= lagMin; --lag) {
        Kel32s t = 0;
        for (int j = 0; j < len; ++j) t = L_mac(t, x[j], x[j - lag]);
        if (L_sub(t, max) >= 0) {
            max = t;
            best = lag;
        }
    }
    *pMax = max;
    return best;
}

// The forward search, lags ascending, strictly greater.
KEL_BASOP int basopLagMaxFwd(const Kel16s* x, int len, int lagMin, int lagMax, Kel32s* pMax) {
    Kel32s max = kMin32;
    int best = 0;
    for (int lag = lagMin; lag <= lagMax; ++lag) {
        Kel32s t = 0;
        for (int j = 0; j < len; ++j) t = L_mac(t, x[j], x[j + lag]);
        if (t > max) {
            max = t;
            best = lag;
        }
    }
    *pMax = max;
    return best;
}

// The cross search from maxLag down, starting at 0, the doubled L_mac sum
// halved back.
KEL_BASOP int basopCrossLagMax(const Kel16s* x, const Kel16s* y, int len, int maxLag, Kel32s* pMax) {
    Kel32s max = 0;
    int best = maxLag;
    for (int lag = maxLag; lag >= 0; --lag) {
        Kel32s t = 0;
        for (int j = 0; j < len; ++j) t = L_mac(t, x[j], y[j + lag]);
        t = L_shr(t, 1);
        if (t > max) {
            max = t;
            best = lag;
        }
    }
    *pMax = max;
    return best;
}

// --- Start-up verification ------------------------------------------------------

bool verify() {
    Data d;
    bool ok = true;
    const auto check = [&ok](bool same, const char* what) {
        if (!same) fprintf(stderr, "filters_bench: %s differs from its basic-operator form\n", what);
        ok = ok && same;
    };
    Kel16s a[240], b[240];
    check(kelsSynthesisFilter_NR_16s_Sfs(kLpc, d.excitation, a, 40, 12, d.mem) == kelStatusOk, "synthesis status");
    basopSynFilt(kLpc, d.excitation, b, 40, d.mem);
    check(memcmp(a, b, 40 * sizeof(Kel16s)) == 0, "SynthesisFilter_NR_16s_Sfs");
    kelsResidualFilter_Low_16s_Sfs(kLpc, kOrder, d.frame(), a, 40, 12);
    basopResidu(kLpc, d.frame(), b, 40);
    check(memcmp(a, b, 40 * sizeof(Kel16s)) == 0, "ResidualFilter_Low_16s_Sfs");
    Kel32s r1[11], r2[11];
    int norm = 0;
    check(kelsAutoCorr_NormE_16s32s(d.frame(), 240, r1, 11, &norm) == kelStatusOk, "autocorrelation status");
    check(basopAutocorr(d.frame(), 240, r2, 11) == norm && memcmp(r1, r2, sizeof(r1)) == 0, "AutoCorr_NormE_16s32s");
    for (int len : {80, 160}) {
        Kel32s m1 = 0, m2 = 0;
        int i1 = 0;
        kelsAutoCorrLagMax_Inv_16s(d.frame(), len, kLagMin, kLagMax, &m1, &i1);
        check(basopLagMaxInv(d.frame(), len, kLagMin, kLagMax, &m2) == i1 && m1 == m2, "AutoCorrLagMax_Inv_16s");
        kelsAutoCorrLagMax_Fwd_16s(d.frame(), len, kLagMin, kLagMax, &m1, &i1);
        check(basopLagMaxFwd(d.frame(), len, kLagMin, kLagMax, &m2) == i1 && m1 == m2, "AutoCorrLagMax_Fwd_16s");
    }
    Kel32s m1 = 0, m2 = 0;
    int i1 = 0;
    kelsCrossCorrLagMax_16s(d.excitation, d.frame(), 40, kCrossLags, &m1, &i1);
    check(basopCrossLagMax(d.excitation, d.frame(), 40, kCrossLags, &m2) == i1 && m1 == m2, "CrossCorrLagMax_16s");
    return ok;
}

// --- Benchmarks ---------------------------------------------------------------------

#define KEL_BENCH(op, impl, n, expr)                  \
    void op##_##impl##_##n(benchmark::State& state) { \
        Data x;                                       \
        for (auto _ : state) {                        \
            expr;                                     \
            benchmark::DoNotOptimize(x);              \
            benchmark::ClobberMemory();               \
        }                                             \
    }                                                 \
    BENCHMARK(op##_##impl##_##n)->Name(#op "/" #impl "/" #n);

KEL_BENCH(SynthesisFilter_NR_16s_Sfs, kelsc, 40,
          kelsSynthesisFilter_NR_16s_Sfs(kLpc, x.excitation, x.out, 40, 12, x.mem))
KEL_BENCH(SynthesisFilter_NR_16s_Sfs, basop, 40, basopSynFilt(kLpc, x.excitation, x.out, 40, x.mem))
KEL_BENCH(ResidualFilter_Low_16s_Sfs, kelsc, 40, kelsResidualFilter_Low_16s_Sfs(kLpc, kOrder, x.frame(), x.out, 40, 12))
KEL_BENCH(ResidualFilter_Low_16s_Sfs, basop, 40, basopResidu(kLpc, x.frame(), x.out, 40))
KEL_BENCH(AutoCorr_NormE_16s32s, kelsc, 240, kelsAutoCorr_NormE_16s32s(x.frame(), 240, x.r, 11, &x.r[12]))
KEL_BENCH(AutoCorr_NormE_16s32s, basop, 240, x.r[12] = basopAutocorr(x.frame(), 240, x.r, 11))
KEL_BENCH(AutoCorrLagMax_Inv_16s, kelsc, 80, kelsAutoCorrLagMax_Inv_16s(x.frame(), 80, kLagMin, kLagMax, x.r, &x.r[1]))
KEL_BENCH(AutoCorrLagMax_Inv_16s, basop, 80, x.r[1] = basopLagMaxInv(x.frame(), 80, kLagMin, kLagMax, x.r))
KEL_BENCH(AutoCorrLagMax_Inv_16s, kelsc, 160,
          kelsAutoCorrLagMax_Inv_16s(x.frame(), 160, kLagMin, kLagMax, x.r, &x.r[1]))
KEL_BENCH(AutoCorrLagMax_Inv_16s, basop, 160, x.r[1] = basopLagMaxInv(x.frame(), 160, kLagMin, kLagMax, x.r))
KEL_BENCH(AutoCorrLagMax_Fwd_16s, kelsc, 80, kelsAutoCorrLagMax_Fwd_16s(x.frame(), 80, kLagMin, kLagMax, x.r, &x.r[1]))
KEL_BENCH(AutoCorrLagMax_Fwd_16s, basop, 80, x.r[1] = basopLagMaxFwd(x.frame(), 80, kLagMin, kLagMax, x.r))
KEL_BENCH(AutoCorrLagMax_Fwd_16s, kelsc, 160,
          kelsAutoCorrLagMax_Fwd_16s(x.frame(), 160, kLagMin, kLagMax, x.r, &x.r[1]))
KEL_BENCH(AutoCorrLagMax_Fwd_16s, basop, 160, x.r[1] = basopLagMaxFwd(x.frame(), 160, kLagMin, kLagMax, x.r))
KEL_BENCH(CrossCorrLagMax_16s, kelsc, 40,
          kelsCrossCorrLagMax_16s(x.excitation, x.frame(), 40, kCrossLags, x.r, &x.r[1]))
KEL_BENCH(CrossCorrLagMax_16s, basop, 40, x.r[1] = basopCrossLagMax(x.excitation, x.frame(), 40, kCrossLags, x.r))

}  // namespace

int main(int argc, char** argv) {
    if (!verify()) return 1;
    for (int i = 1; i < argc; ++i)
        if (strcmp(argv[i], "--verify-only") == 0) return 0;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
