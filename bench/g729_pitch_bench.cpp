// The per-sub-frame hot loops of G.729 pitch analysis against the same
// computation written on the basic operators, one operator per step as the
// G.729 reference writes them (Pitch_fr3 with Norm_Corr and Interpol_3,
// and Pred_lt_3), built without vectorisation:
//   AdaptiveCodebookSearch_G729: the closed-loop search with the vector it
//     builds (kelsAdaptiveCodebookSearch_G729_16s);
//   NormCorr_G729: the normalised correlation alone, over the 15 or 18
//     lags of a sub-frame's search;
//   DecodeAdaptiveVector_G729: the 1/3-sample interpolation of 40 samples
//     (kelsDecodeAdaptiveVector_G729_16s_I).
// The data are the encoder sub-frames of tests/vectors/g729/pitch
// (acs_g729.bin and decvec.bin, rows taken from the ITU speech files). At
// start-up every pair is run on all of them and the results are compared;
// the program stops if any differs (--verify-only stops there).
// Benchmark names are <operation>/<implementation>/<N>, implementation
// kelsc or basop; tools/bench_report.py turns a JSON run into the ratio table.
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "basop.h"
#include "bench_support.h"
#include "g729/g729_internal.h"
#include "kelsc.h"

namespace {

using namespace kel;

#define KEL_BASOP __attribute__((noinline, optimize("no-tree-vectorize")))

constexpr int kSub = 40, kExc = 194;

// --- The basic-operator forms -------------------------------------------------

// Convolve of FILTER.C.
KEL_BASOP void basopConvolve(const Kel16s* x, const Kel16s* h, Kel16s* y) {
    for (int n = 0; n < kSub; ++n) {
        Kel32s s = 0;
        for (int i = 0; i <= n; ++i) s = L_mac(s, x[i], h[n - i]);
        s = L_shl(s, 3);
        y[n] = extract_h(s);
    }
}

// Norm_Corr: corr[t - tMin] for t = tMin..tMax; exc at the sub-frame.
KEL_BASOP void basopNormCorr(const Kel16s* exc, const Kel16s* xn, const Kel16s* h, int tMin, int tMax, Kel16s* corr) {
    Kel16s excf[kSub], scaled[kSub];
    int k = -tMin;
    basopConvolve(&exc[k], h, excf);
    for (int j = 0; j < kSub; ++j) scaled[j] = shr(excf[j], 2);
    Kel32s s = 0;
    for (int j = 0; j < kSub; ++j) s = L_mac(s, excf[j], excf[j]);
    Kel16s* sExcf;
    Kel16s hFac, scaling;
    if (L_sub(s, 67108864L) <= 0) {
        sExcf = excf;
        hFac = 3;
        scaling = 0;
    } else {
        sExcf = scaled;
        hFac = 1;
        scaling = 2;
    }
    for (int i = tMin; i <= tMax; ++i) {
        s = 0;
        for (int j = 0; j < kSub; ++j) s = L_mac(s, sExcf[j], sExcf[j]);
        s = Inv_sqrt(s);
        Kel16s nh, nl, ch, cl;
        L_Extract(s, &nh, &nl);
        s = 0;
        for (int j = 0; j < kSub; ++j) s = L_mac(s, xn[j], sExcf[j]);
        L_Extract(s, &ch, &cl);
        s = Mpy_32(ch, cl, nh, nl);
        corr[i - tMin] = extract_h(L_shl(s, 16));
        if (i != tMax) {
            k = k - 1;
            for (int j = kSub - 1; j > 0; --j) {
                s = L_mult(exc[k], h[j]);
                s = L_shl(s, hFac);
                sExcf[j] = add(extract_h(s), sExcf[j - 1]);
            }
            sExcf[0] = shr(exc[k], scaling);
        }
    }
}

// Interpol_3 with inter_3.
KEL_BASOP Kel16s basopInterpol3(const Kel16s* x, int frac) {
    if (frac < 0) {
        frac = add(static_cast<Kel16s>(frac), 3);
        x--;
    }
    Kel32s s = 0;
    for (int i = 0, k = 0; i < 4; ++i, k += 3) {
        s = L_mac(s, x[-i], g729::kInter3[frac + k]);
        s = L_mac(s, x[1 + i], g729::kInter3[3 - frac + k]);
    }
    return round_fx(s);
}

// Pred_lt_3 with inter_3l; exc at the sub-frame.
KEL_BASOP void basopPredLt3(Kel16s* exc, int t0, int frac) {
    const Kel16s* x0 = &exc[-t0];
    frac = -frac;
    if (frac < 0) {
        frac = add(static_cast<Kel16s>(frac), 3);
        x0--;
    }
    for (int j = 0; j < kSub; ++j) {
        const Kel16s* x1 = x0++;
        const Kel16s* x2 = x0;
        const Kel16s* c1 = &g729::kInter3L[frac];
        const Kel16s* c2 = &g729::kInter3L[sub(3, static_cast<Kel16s>(frac))];
        Kel32s s = 0;
        for (int i = 0, k = 0; i < 10; ++i, k += 3) {
            s = L_mac(s, x1[-i], c1[k]);
            s = L_mac(s, x2[i], c2[k]);
        }
        exc[j] = round_fx(s);
    }
}

// Pitch_fr3 for the range of valOpenDelay, then Pred_lt_3 of the result.
KEL_BASOP void basopSearch(int val, int subFrame, const Kel16s* xn, const Kel16s* h, Kel16s* excBuf, Kel16s* delay) {
    int t0Min, t0Max;
    ownPitchSearchRange_G729(val, subFrame, &t0Min, &t0Max);
    Kel16s* exc = excBuf + 154;
    Kel16s corrV[40];
    const int tMin = t0Min - 4, tMax = t0Max + 4;
    basopNormCorr(exc, xn, h, tMin, tMax, corrV);
    const Kel16s* corr = corrV - tMin;
    Kel16s max = corr[t0Min];
    int lag = t0Min;
    for (int i = t0Min + 1; i <= t0Max; ++i)
        if (sub(corr[i], max) >= 0) max = corr[i], lag = i;
    int frac = 0;
    if (!(subFrame == 0 && sub(static_cast<Kel16s>(lag), 84) > 0)) {
        max = basopInterpol3(&corr[lag], -2);
        frac = -2;
        for (int i = -1; i <= 2; ++i) {
            const Kel16s c = basopInterpol3(&corr[lag], i);
            if (sub(c, max) > 0) max = c, frac = i;
        }
        if (frac == -2) frac = 1, lag = sub(static_cast<Kel16s>(lag), 1);
        if (frac == 2) frac = -1, lag = add(static_cast<Kel16s>(lag), 1);
    }
    delay[0] = static_cast<Kel16s>(lag);
    delay[1] = static_cast<Kel16s>(frac);
    basopPredLt3(exc, lag, frac);
}

// --- Data -----------------------------------------------------------------------

struct SubFrame {
    Kel16s val, sub;
    std::vector<Kel16s> x, h, exc;
};
struct Delayed {
    Kel16s delay[2];
    std::vector<Kel16s> exc;
};

struct Data {
    std::vector<SubFrame> frames;
    std::vector<Delayed> vectors;
    Data() {
        const std::string dir = KELSC_G729_VECTORS;
        // acs_g729.bin rows (358 words): val, sub, x[40], h[40], exc[194], ...;
        // the first 37 rows come from the speech files.
        const std::vector<int16_t> acs = readWords(dir + "/pitch/acs_g729.bin");
        for (size_t r = 0; r + 358 <= acs.size() && r < 37 * 358; r += 358) {
            const Kel16s* p = &acs[r];
            frames.push_back({p[0], p[1], {p + 2, p + 42}, {p + 42, p + 82}, {p + 82, p + 276}});
        }
        // decvec.bin rows (276 words): T, frac, exc[194], ...; the first
        // 37 from the speech files.
        const std::vector<int16_t> dec = readWords(dir + "/pitch/decvec.bin");
        for (size_t r = 0; r + 276 <= dec.size() && r < 37 * 276; r += 276) {
            const Kel16s* p = &dec[r];
            vectors.push_back({{p[0], p[1]}, {p + 2, p + 196}});
        }
    }
    static std::vector<int16_t> readWords(const std::string& path) {
        std::vector<int16_t> w;
        FILE* f = fopen(path.c_str(), "rb");
        if (!f) return w;
        int16_t buf[4096];
        size_t n;
        while ((n = fread(buf, 2, 4096, f)) > 0) w.insert(w.end(), buf, buf + n);
        fclose(f);
        return w;
    }
    bool ok() const { return !frames.empty() && !vectors.empty(); }
};

const Data& data() {
    static const Data d;
    return d;
}

// --- Start-up verification --------------------------------------------------------

bool verify() {
    const Data& d = data();
    if (!d.ok()) {
        fprintf(stderr, "g729_pitch_bench: golden inputs not found in %s\n", KELSC_G729_VECTORS);
        return false;
    }
    kelsc_bench::Agreement agree("g729_pitch_bench", "its basic-operator form");
    const auto check = [&agree](bool same, const char* what, size_t i) { agree.check(same, what, i); };
    for (size_t i = 0; i < d.frames.size(); ++i) {
        const SubFrame& f = d.frames[i];
        std::vector<Kel16s> a(f.exc), b(f.exc);
        Kel16s da[2], db[2], v[kSub];
        kelsAdaptiveCodebookSearch_G729_16s(f.val, f.x.data(), f.h.data(), a.data(), da, v, f.sub);
        basopSearch(f.val, f.sub, f.x.data(), f.h.data(), b.data(), db);
        check(a == b && da[0] == db[0] && da[1] == db[1], "AdaptiveCodebookSearch_G729_16s", i);
        int t0Min, t0Max;
        ownPitchSearchRange_G729(f.val, f.sub, &t0Min, &t0Max);
        Kel16s ca[18], cb[18];
        ownNormCorr_G729_16s(f.exc.data() + 154, f.x.data(), f.h.data(), t0Min - 4, t0Max + 4, ca);
        basopNormCorr(f.exc.data() + 154, f.x.data(), f.h.data(), t0Min - 4, t0Max + 4, cb);
        check(memcmp(ca, cb, sizeof(Kel16s) * (t0Max - t0Min + 9)) == 0, "normalised correlation", i);
    }
    for (size_t i = 0; i < d.vectors.size(); ++i) {
        std::vector<Kel16s> a(d.vectors[i].exc), b(d.vectors[i].exc);
        kelsDecodeAdaptiveVector_G729_16s_I(d.vectors[i].delay, a.data());
        basopPredLt3(b.data() + 154, d.vectors[i].delay[0], d.vectors[i].delay[1]);
        check(a == b, "DecodeAdaptiveVector_G729_16s_I", i);
    }
    return agree.ok();
}

// --- Benchmarks ---------------------------------------------------------------------

// Each iteration takes the next sub-frame, on a fresh copy of its buffer.
template <typename Set, typename F>
void run(benchmark::State& state, const Set& set, F f) {
    size_t i = 0;
    Kel16s buf[kExc];
    for (auto _ : state) {
        memcpy(buf, set[i].exc.data(), sizeof(buf));
        f(set[i], buf);
        benchmark::DoNotOptimize(buf);
        i = i + 1 == set.size() ? 0 : i + 1;
        benchmark::ClobberMemory();
    }
}

void Search_kelsc(benchmark::State& state) {
    run(state, data().frames, [](const SubFrame& f, Kel16s* buf) {
        Kel16s d[2], v[kSub];
        kelsAdaptiveCodebookSearch_G729_16s(f.val, f.x.data(), f.h.data(), buf, d, v, f.sub);
        benchmark::DoNotOptimize(d);
    });
}
void Search_basop(benchmark::State& state) {
    run(state, data().frames, [](const SubFrame& f, Kel16s* buf) {
        Kel16s d[2];
        basopSearch(f.val, f.sub, f.x.data(), f.h.data(), buf, d);
        benchmark::DoNotOptimize(d);
    });
}
void NormCorr_kelsc(benchmark::State& state) {
    run(state, data().frames, [](const SubFrame& f, Kel16s* buf) {
        int lo, hi;
        ownPitchSearchRange_G729(f.val, f.sub, &lo, &hi);
        Kel16s c[18];
        ownNormCorr_G729_16s(buf + 154, f.x.data(), f.h.data(), lo - 4, hi + 4, c);
        benchmark::DoNotOptimize(c);
    });
}
void NormCorr_basop(benchmark::State& state) {
    run(state, data().frames, [](const SubFrame& f, Kel16s* buf) {
        int lo, hi;
        ownPitchSearchRange_G729(f.val, f.sub, &lo, &hi);
        Kel16s c[18];
        basopNormCorr(buf + 154, f.x.data(), f.h.data(), lo - 4, hi + 4, c);
        benchmark::DoNotOptimize(c);
    });
}
void Decode_kelsc(benchmark::State& state) {
    run(state, data().vectors,
        [](const Delayed& v, Kel16s* buf) { kelsDecodeAdaptiveVector_G729_16s_I(v.delay, buf); });
}
void Decode_basop(benchmark::State& state) {
    run(state, data().vectors, [](const Delayed& v, Kel16s* buf) { basopPredLt3(buf + 154, v.delay[0], v.delay[1]); });
}

BENCHMARK(Search_kelsc)->Name("AdaptiveCodebookSearch_G729/kelsc/40");
BENCHMARK(Search_basop)->Name("AdaptiveCodebookSearch_G729/basop/40");
BENCHMARK(NormCorr_kelsc)->Name("NormCorr_G729/kelsc/40");
BENCHMARK(NormCorr_basop)->Name("NormCorr_G729/basop/40");
BENCHMARK(Decode_kelsc)->Name("DecodeAdaptiveVector_G729/kelsc/40");
BENCHMARK(Decode_basop)->Name("DecodeAdaptiveVector_G729/basop/40");

}  // namespace

int main(int argc, char** argv) { return kelsc_bench::runAfterVerify(argc, argv, verify, "its basic-operator forms"); }
