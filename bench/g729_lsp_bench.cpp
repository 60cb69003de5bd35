// The two hot spots of G.729 LP analysis and LSP quantisation against the
// same computation written on the basic operators, one operator per step as
// the G.729 reference writes them (Az_lsp with Chebps_11 / Chebps_10, and
// Lsp_pre_select), built without vectorisation:
//   LPCToLSP_G729, LPCToLSP_G729A: the Chebyshev root search (60 grid
//     intervals and 4 bisections; 50 and 2), over LP vectors of speech
//     frames, and LPCToLSP_G729_Q10 over LP vectors whose Q11 polynomials
//     overflow (the Q10 path);
//   LSPPreselect_G729: the first-stage search of the LSP quantiser (128
//     vectors of 10), over the quantiser targets of speech frames.
// The data are the inputs of the golden vectors in tests/vectors/g729
// (lsp_conv.bin, lsf_quant.bin). At start-up every pair is run on all of
// them (and on random first-stage targets) and the results are compared;
// the program stops if any differs (--verify-only stops there).
// Benchmark names are <operation>/<implementation>/<N>, implementation
// kelsc or basop; tools/bench_report.py turns a JSON run into the ratio table.
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "basop.h"
#include "bench_support.h"
#include "g729/g729_internal.h"
#include "kelsc.h"

namespace {

using namespace kel;

#define KEL_BASOP __attribute__((noinline, optimize("no-tree-vectorize")))

// --- The basic-operator forms -------------------------------------------------

// Chebps_11 (q = 24) and Chebps_10 (q = 23).
KEL_BASOP Kel16s basopChebps(Kel16s x, const Kel16s* f, int q) {
    Kel16s b2h = static_cast<Kel16s>(1 << (q - 16)), b2l = 0, b1h, b1l, b0h, b0l;
    Kel32s t0 = L_mult(x, static_cast<Kel16s>(1 << (q - 15)));
    t0 = L_mac(t0, f[1], 4096);
    L_Extract(t0, &b1h, &b1l);
    for (int i = 2; i < 5; ++i) {
        t0 = Mpy_32_16(b1h, b1l, x);
        t0 = L_shl(t0, 1);
        t0 = L_mac(t0, b2h, -32768);
        t0 = L_msu(t0, b2l, 1);
        t0 = L_mac(t0, f[i], 4096);
        L_Extract(t0, &b0h, &b0l);
        b2l = b1l;
        b2h = b1h;
        b1l = b0l;
        b1h = b0h;
    }
    t0 = Mpy_32_16(b1h, b1l, x);
    t0 = L_mac(t0, b2h, -32768);
    t0 = L_msu(t0, b2l, 1);
    t0 = L_mac(t0, f[5], 2048);
    t0 = L_shl(t0, static_cast<Kel16s>(30 - q));
    return extract_h(t0);
}

// Az_lsp: Q11 polynomials (Q10 after an overflow), grid search, bisection,
// interpolation; the previous LSPs when fewer than 10 roots are found.
KEL_BASOP void basopAzLsp(const Kel16s* a, Kel16s* lsp, const Kel16s* old, const Kel16s* grid, int points,
                          int bisections) {
    Kel16s f1[6], f2[6];
    bool ovf = false;
    f1[0] = f2[0] = 2048;
    for (int i = 0; i < 5; ++i) {
        Kel32s t0 = L_mac(L_mult(a[i + 1], 16384), a[10 - i], 16384);
        Kel16s x = extract_h(t0);
        int32_t v = int32_t{x} - f1[i];
        ovf = ovf || v != sat16(v);
        f1[i + 1] = sub(x, f1[i]);
        t0 = L_msu(L_mult(a[i + 1], 16384), a[10 - i], 16384);
        x = extract_h(t0);
        v = int32_t{x} + f2[i];
        ovf = ovf || v != sat16(v);
        f2[i + 1] = add(x, f2[i]);
    }
    int q = 24;
    if (ovf) {
        q = 23;
        f1[0] = f2[0] = 1024;
        for (int i = 0; i < 5; ++i) {
            f1[i + 1] = sub(extract_h(L_mac(L_mult(a[i + 1], 8192), a[10 - i], 8192)), f1[i]);
            f2[i + 1] = add(extract_h(L_msu(L_mult(a[i + 1], 8192), a[10 - i], 8192)), f2[i]);
        }
    }
    int nf = 0, ip = 0, j = 0;
    const Kel16s* coef = f1;
    Kel16s xlow = grid[0], ylow = basopChebps(xlow, coef, q), xhigh, yhigh, xmid, ymid;
    while (nf < 10 && j < points) {
        j = add(static_cast<Kel16s>(j), 1);
        xhigh = xlow;
        yhigh = ylow;
        xlow = grid[j];
        ylow = basopChebps(xlow, coef, q);
        if (L_mult(ylow, yhigh) <= 0) {
            for (int i = 0; i < bisections; ++i) {
                xmid = add(shr(xlow, 1), shr(xhigh, 1));
                ymid = basopChebps(xmid, coef, q);
                if (L_mult(ylow, ymid) <= 0) {
                    yhigh = ymid;
                    xhigh = xmid;
                } else {
                    ylow = ymid;
                    xlow = xmid;
                }
            }
            Kel16s x = sub(xhigh, xlow), y = sub(yhigh, ylow), xint;
            if (y == 0) {
                xint = xlow;
            } else {
                const Kel16s sign = y;
                y = abs_s(y);
                const Kel16s e = norm_s(y);
                y = shl(y, e);
                y = div_s(16383, y);
                y = extract_l(L_shr(L_mult(x, y), sub(20, e)));
                if (sign < 0) y = negate(y);
                xint = sub(xlow, extract_l(L_shr(L_mult(ylow, y), 11)));
            }
            lsp[nf] = xint;
            xlow = xint;
            nf = add(static_cast<Kel16s>(nf), 1);
            ip = 1 - ip;
            coef = ip ? f2 : f1;
            ylow = basopChebps(xlow, coef, q);
        }
    }
    if (nf < 10)
        for (int i = 0; i < 10; ++i) lsp[i] = old[i];
}

// Lsp_pre_select.
KEL_BASOP int basopPreselect(const Kel16s* rbuf) {
    int cand = 0;
    Kel32s dmin = kMax32;
    for (int i = 0; i < g729::kStage1Size; ++i) {
        Kel32s dist = 0;
        for (int j = 0; j < 10; ++j) {
            const Kel16s t = sub(rbuf[j], g729::kLspCode1[i][j]);
            dist = L_mac(dist, t, t);
        }
        if (L_sub(dist, dmin) < 0) {
            dmin = dist;
            cand = i;
        }
    }
    return cand;
}

// --- Data ----------------------------------------------------------------------

std::vector<int16_t> readWords(const std::string& path) {
    std::vector<int16_t> w;
    FILE* f = fopen(path.c_str(), "rb");
    if (!f) return w;
    int16_t buf[512];
    size_t n;
    while ((n = fread(buf, 2, 512, f)) > 0) w.insert(w.end(), buf, buf + n);
    fclose(f);
    return w;
}

struct Data {
    std::vector<std::vector<Kel16s>> speechLpc, q10Lpc, targets;
    Kel16s oldLsp[10] = {30000, 26000, 21000, 15000, 8000, 0, -8000, -15000, -21000, -26000};

    Data() {
        // lsp_conv.bin rows (132 words) start with a[11], the previous LSPs
        // and the G.729 roots: keep the LP vectors with 10 roots, split by
        // whether their Q11 polynomials overflow.
        const std::vector<int16_t> conv = readWords(std::string(KELSC_G729_VECTORS) + "/lsp_conv.bin");
        for (size_t r = 0; r + 132 <= conv.size(); r += 132) {
            std::vector<Kel16s> a(conv.begin() + r, conv.begin() + r + 11);
            if (std::equal(conv.begin() + r + 11, conv.begin() + r + 21, conv.begin() + r + 21)) continue;
            int32_t p1 = 2048, p2 = 2048;
            bool ovf = false;
            for (int i = 0; i < 5; ++i) {
                p1 = ((a[i + 1] + a[10 - i]) >> 1) - p1;
                p2 = ((a[i + 1] - a[10 - i]) >> 1) + p2;
                ovf = ovf || p1 != sat16(p1) || p2 != sat16(p2);
                p1 = sat16(p1);
                p2 = sat16(p2);
            }
            (ovf ? q10Lpc : speechLpc).push_back(a);
        }
        // lsf_quant.bin rows (124 words): flag, lsp[10], memory[40], lsf[10]:
        // the quantiser targets of both predictors of the speech rows.
        const std::vector<int16_t> quant = readWords(std::string(KELSC_G729_VECTORS) + "/lsf_quant.bin");
        for (size_t r = 0; r + 124 <= quant.size() && r < 100 * 124; r += 124) {
            for (int mode = 0; mode < 2; ++mode) {
                std::vector<Kel16s> t(10);
                ownLSFResidual_G729_16s(&quant[r + 51], mode, &quant[r + 11], g729::kMaPredictors, t.data());
                targets.push_back(t);
            }
        }
    }
    bool ok() const { return !speechLpc.empty() && !q10Lpc.empty() && !targets.empty(); }
};

const Data& data() {
    static const Data d;
    return d;
}

// --- Start-up verification --------------------------------------------------------

bool verify() {
    const Data& d = data();
    if (!d.ok()) {
        fprintf(stderr, "g729_lsp_bench: golden inputs not found in %s\n", KELSC_G729_VECTORS);
        return false;
    }
    kelsc_bench::Agreement agree("g729_lsp_bench", "its basic-operator form");
    const auto check = [&agree](bool same, const char* what, size_t i) { agree.check(same, what, i); };
    std::vector<std::vector<Kel16s>> all = d.speechLpc;
    all.insert(all.end(), d.q10Lpc.begin(), d.q10Lpc.end());
    for (size_t i = 0; i < all.size(); ++i) {
        Kel16s x[10], y[10];
        kelsLPCToLSP_G729_16s(all[i].data(), d.oldLsp, x);
        basopAzLsp(all[i].data(), y, d.oldLsp, g729::kGrid60, 60, 4);
        check(memcmp(x, y, sizeof(x)) == 0, "LPCToLSP_G729_16s", i);
        kelsLPCToLSP_G729A_16s(all[i].data(), d.oldLsp, x);
        basopAzLsp(all[i].data(), y, d.oldLsp, g729::kGrid50, 50, 2);
        check(memcmp(x, y, sizeof(x)) == 0, "LPCToLSP_G729A_16s", i);
    }
    std::vector<std::vector<Kel16s>> targets = d.targets;
    uint32_t s = 729;
    for (int t = 0; t < 20000; ++t) {
        std::vector<Kel16s> v(10);
        for (auto& e : v) {
            s = s * 1664525u + 1013904223u;
            e = static_cast<Kel16s>(t % 2 ? static_cast<int32_t>(s >> 16) : static_cast<int32_t>(s >> 17) % 20000);
        }
        targets.push_back(v);
    }
    for (size_t i = 0; i < targets.size(); ++i)
        check(ownLSPPreselect_G729_16s(targets[i].data()) == basopPreselect(targets[i].data()), "LSP first stage", i);
    return agree.ok();
}

// --- Benchmarks ---------------------------------------------------------------------

// Each iteration handles the next input of the set.
template <typename F>
void run(benchmark::State& state, const std::vector<std::vector<Kel16s>>& set, F f) {
    size_t i = 0;
    for (auto _ : state) {
        f(set[i].data());
        i = i + 1 == set.size() ? 0 : i + 1;
        benchmark::ClobberMemory();
    }
}

#define KEL_BENCH(op, impl, n, set, expr)              \
    void op##_##impl##_##n(benchmark::State& state) {  \
        Kel16s out[10];                                \
        run(state, data().set, [&](const Kel16s* in) { \
            expr;                                      \
            benchmark::DoNotOptimize(out);             \
        });                                            \
    }                                                  \
    BENCHMARK(op##_##impl##_##n)->Name(#op "/" #impl "/" #n);

KEL_BENCH(LPCToLSP_G729, kelsc, 60, speechLpc, kelsLPCToLSP_G729_16s(in, data().oldLsp, out))
KEL_BENCH(LPCToLSP_G729, basop, 60, speechLpc, basopAzLsp(in, out, data().oldLsp, g729::kGrid60, 60, 4))
KEL_BENCH(LPCToLSP_G729A, kelsc, 50, speechLpc, kelsLPCToLSP_G729A_16s(in, data().oldLsp, out))
KEL_BENCH(LPCToLSP_G729A, basop, 50, speechLpc, basopAzLsp(in, out, data().oldLsp, g729::kGrid50, 50, 2))
KEL_BENCH(LPCToLSP_G729_Q10, kelsc, 60, q10Lpc, kelsLPCToLSP_G729_16s(in, data().oldLsp, out))
KEL_BENCH(LPCToLSP_G729_Q10, basop, 60, q10Lpc, basopAzLsp(in, out, data().oldLsp, g729::kGrid60, 60, 4))
KEL_BENCH(LSPPreselect_G729, kelsc, 128, targets, out[0] = static_cast<Kel16s>(ownLSPPreselect_G729_16s(in)))
KEL_BENCH(LSPPreselect_G729, basop, 128, targets, out[0] = static_cast<Kel16s>(basopPreselect(in)))

}  // namespace

int main(int argc, char** argv) { return kelsc_bench::runAfterVerify(argc, argv, verify, "its basic-operator forms"); }
