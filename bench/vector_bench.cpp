// Vector kernels against a plain scalar loop of the same operation (built
// without vectorisation, one basic operator per element, as reference code
// is written), against memcpy of the bytes one operand streams, against
// reading the operation's source bytes and nothing else (the floor the
// processor's load bandwidth sets), and, for the two-source kernels, against
// their loads and stores with no arithmetic (the floor of the memory
// traffic itself).
//
// Benchmark names are <operation>/<implementation>/<N>, with implementation
// one of kelsc, scalar, memcpy, read and traffic; tools/bench_report.py
// turns a JSON run into the ratio table of docs/PERFORMANCE.md.
#include <benchmark/benchmark.h>
#include <string.h>

#include "basop.h"
#include "kelsc.h"

namespace {

#define KEL_SCALAR __attribute__((noinline, optimize("no-tree-vectorize")))

// Buffers from one arena, staggered so that no two start at the same
// offset within a 4 KiB page (which would make loads alias stores); each
// starts on a cache line, as memcpy aligns its own stores.
struct Data {
    explicit Data(int n) : arena(kelsMalloc_8u(16 * n + 65536)) {
        Kel8u* p = arena + (64 - reinterpret_cast<uintptr_t>(arena) % 64) % 64;  // cache-line aligned
        const auto take = [&p, n](size_t bytes) {
            Kel8u* out = p;
            p += (bytes * static_cast<size_t>(n) + 4095) / 4096 * 4096 + 4096 + 320;
            return out;
        };
        a = reinterpret_cast<Kel16s*>(take(2));
        b = reinterpret_cast<Kel16s*>(take(2));
        d16 = reinterpret_cast<Kel16s*>(take(2));
        d32 = reinterpret_cast<Kel32s*>(take(4));
        f = reinterpret_cast<Kel32f*>(take(4));
        uint32_t s = 12345;
        for (int i = 0; i < n; ++i) {
            s = s * 1664525u + 1013904223u;
            a[i] = static_cast<Kel16s>(s >> 16);
            b[i] = static_cast<Kel16s>(s >> 3);
        }
    }
    ~Data() { kelsFree(arena); }
    Data(const Data&) = delete;
    Data& operator=(const Data&) = delete;
    Kel8u* arena;
    Kel16s *a, *b, *d16;
    Kel32s* d32;
    Kel32f* f;
};

// --- Plain scalar loops ------------------------------------------------------

KEL_SCALAR void scalarAdd(const Kel16s* a, const Kel16s* b, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = kel::add(a[i], b[i]);
}
KEL_SCALAR void scalarSub(const Kel16s* a, const Kel16s* b, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = kel::sub(b[i], a[i]);
}
KEL_SCALAR void scalarMulNR(const Kel16s* a, const Kel16s* b, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = kel::mult_r(a[i], b[i]);
}
KEL_SCALAR void scalarMul32(const Kel16s* a, const Kel16s* b, Kel32s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = kel::L_mult(a[i], b[i]) >> 1;
}
KEL_SCALAR void scalarRShift(const Kel16s* a, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = kel::shr(a[i], 3);
}
KEL_SCALAR void scalarLShift(const Kel16s* a, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<Kel16s>(a[i] << 3);
}
KEL_SCALAR void scalarAbs(const Kel16s* a, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = kel::abs_s(a[i]);
}
KEL_SCALAR Kel32s scalarSum(const Kel16s* a, int n) {
    Kel32s s = 0;
    for (int i = 0; i < n; ++i) s = kel::L_add(s, a[i]);
    return s;
}
KEL_SCALAR Kel32s scalarDot(const Kel16s* a, const Kel16s* b, int n) {
    Kel32s s = 0;
    for (int i = 0; i < n; ++i) s = kel::L_mac(s, a[i], b[i]);
    return s;
}
KEL_SCALAR Kel16s scalarMax(const Kel16s* a, int n) {
    Kel16s m = a[0];
    for (int i = 1; i < n; ++i)
        if (a[i] > m) m = a[i];
    return m;
}
KEL_SCALAR int scalarMinIndx(const Kel16s* a, int n) {
    int k = 0;
    for (int i = 1; i < n; ++i)
        if (a[i] < a[k]) k = i;
    return k;
}
KEL_SCALAR void scalarConvert32(const Kel16s* a, Kel32s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i];
}
KEL_SCALAR void scalarConvertF(const Kel16s* a, Kel32f* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i];
}
KEL_SCALAR void scalarCopy(const Kel16s* a, Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i];
}
KEL_SCALAR void scalarZero(Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = 0;
}
KEL_SCALAR void scalarSet(Kel16s* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = 77;
}

// --- Reading the source bytes only -------------------------------------------

// OR of every 64-bit word of one or two buffers of the same size, two
// 64-byte blocks to one three-input OR (one instruction with AVX-512), in
// independent chains, so that the loads are the only limit; one clone per
// instruction set, picked at load time, so that it reads as widely as the
// kernels do.
typedef uint64_t Block __attribute__((vector_size(64)));

__attribute__((always_inline)) inline void orBlocks(Block& v, const Kel8u* p, const Kel8u* q) {
    Block w, x;
    memcpy(&w, p, sizeof(w));
    memcpy(&x, q, sizeof(x));
    v |= w | x;
}

__attribute__((always_inline)) inline uint64_t orWords(const Kel8u* p, size_t from, size_t bytes) {
    uint64_t r = 0;
    for (size_t i = from; i + 8 <= bytes; i += 8) {
        uint64_t w;
        memcpy(&w, p + i, sizeof(w));
        r |= w;
    }
    return r;
}

__attribute__((always_inline)) inline uint64_t orLanes(Block v) {
    return v[0] | v[1] | v[2] | v[3] | v[4] | v[5] | v[6] | v[7];
}

__attribute__((target_clones("avx512f", "avx2", "default"), noinline)) uint64_t readOne(const void* p, size_t bytes) {
    const Kel8u* a = static_cast<const Kel8u*>(p);
    Block a0 = {}, a1 = {};
    size_t i = 0;
    for (; i + 256 <= bytes; i += 256) orBlocks(a0, a + i, a + i + 64), orBlocks(a1, a + i + 128, a + i + 192);
    return orLanes(a0 | a1) | orWords(a, i, bytes);
}

__attribute__((target_clones("avx512f", "avx2", "default"), noinline)) uint64_t readTwo(const void* p, const void* q,
                                                                                        size_t bytes) {
    const Kel8u* a = static_cast<const Kel8u*>(p);
    const Kel8u* b = static_cast<const Kel8u*>(q);
    Block v0 = {}, v1 = {};
    size_t i = 0;
    for (; i + 128 <= bytes; i += 128) orBlocks(v0, a + i, b + i), orBlocks(v1, a + i + 64, b + i + 64);
    return orLanes(v0 | v1) | orWords(a, i, bytes) | orWords(b, i, bytes);
}

// --- Loads and stores only ----------------------------------------------------

#if defined(__x86_64__)
#include <immintrin.h>
// The memory traffic of a two-source 16-bit kernel, 64 bytes at a time with
// AVX-512: both sources read, the first stored to the destination, no
// arithmetic (the second source's loads are kept by the empty asm).
// haveTraffic() is false when the processor lacks AVX-512, and the benchmark
// then reports a skip.
__attribute__((target("avx512f"), noinline)) void trafficTwo(const Kel16s* a, const Kel16s* b, Kel16s* d, int n) {
    int i = 0;
    for (; i + 128 <= n; i += 128) {
        for (int k = 0; k < 128; k += 32) {
            __m512i y = _mm512_loadu_si512(b + i + k);
            __asm__ volatile("" : "+v"(y));
            _mm512_storeu_si512(d + i + k, _mm512_loadu_si512(a + i + k));
        }
    }
    for (; i < n; ++i) d[i] = a[i];
}
bool haveTraffic() { return __builtin_cpu_supports("avx512f"); }
#else
void trafficTwo(const Kel16s*, const Kel16s*, Kel16s*, int) {}
bool haveTraffic() { return false; }
#endif

// --- One benchmark per (operation, implementation) ----------------------------

template <typename F>
void run(benchmark::State& state, F&& body) {
    const int n = static_cast<int>(state.range(0));
    Data d(n);
    for (auto _ : state) {
        body(d, n);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

#define KEL_BENCH(op, impl, bytesPerElement, expr) \
    void op##_##impl(benchmark::State& state) {    \
        run(state, [](Data& x, int n) {            \
            (void)n;                               \
            expr;                                  \
            benchmark::DoNotOptimize(x);           \
        });                                        \
    }                                              \
    BENCHMARK(op##_##impl)->Name(#op "/" #impl)->Arg(40)->Arg(160)->Arg(1024)->Arg(4096);

// The source bytes read, with no arithmetic and no store.
#define KEL_READ(op, twoSources)                                                                    \
    KEL_BENCH(op, read, 2,                                                                          \
              benchmark::DoNotOptimize((twoSources) ? readTwo(x.a, x.b, static_cast<size_t>(n) * 2) \
                                                    : readOne(x.a, static_cast<size_t>(n) * 2)))

// The loads and stores of a two-source 16-bit operation, nothing else.
#define KEL_TRAFFIC(op)                                                  \
    void op##_traffic(benchmark::State& state) {                         \
        if (!haveTraffic()) return state.SkipWithError("needs AVX-512"); \
        run(state, [](Data& x, int n) {                                  \
            trafficTwo(x.a, x.b, x.d16, n);                              \
            benchmark::DoNotOptimize(x);                                 \
        });                                                              \
    }                                                                    \
    BENCHMARK(op##_traffic)->Name(#op "/traffic")->Arg(40)->Arg(160)->Arg(1024)->Arg(4096);

// memcpy of the bytes the operation writes (or, for reductions, reads
// from one operand), into the operation's own destination.
#define KEL_MEMCPY(op, bytesPerElement)                                                                   \
    KEL_BENCH(op, memcpy, bytesPerElement,                                                                \
              memcpy((bytesPerElement) == 2 ? static_cast<void*>(x.d16) : static_cast<void*>(x.d32), x.a, \
                     static_cast<size_t>(n) * (bytesPerElement)))

KEL_BENCH(Add_16s, kelsc, 2, kelsAdd_16s(x.a, x.b, x.d16, n))
KEL_BENCH(Add_16s, scalar, 2, scalarAdd(x.a, x.b, x.d16, n))
KEL_MEMCPY(Add_16s, 2)
KEL_READ(Add_16s, true)
KEL_TRAFFIC(Add_16s)
KEL_BENCH(Sub_16s, kelsc, 2, kelsSub_16s(x.a, x.b, x.d16, n))
KEL_BENCH(Sub_16s, scalar, 2, scalarSub(x.a, x.b, x.d16, n))
KEL_MEMCPY(Sub_16s, 2)
KEL_READ(Sub_16s, true)
KEL_TRAFFIC(Sub_16s)
KEL_BENCH(Mul_NR_16s_Sfs, kelsc, 2, kelsMul_NR_16s_Sfs(x.a, x.b, x.d16, n, 15))
KEL_BENCH(Mul_NR_16s_Sfs, scalar, 2, scalarMulNR(x.a, x.b, x.d16, n))
KEL_MEMCPY(Mul_NR_16s_Sfs, 2)
KEL_READ(Mul_NR_16s_Sfs, true)
KEL_TRAFFIC(Mul_NR_16s_Sfs)
KEL_BENCH(Mul_16s32s_Sfs, kelsc, 4, kelsMul_16s32s_Sfs(x.a, x.b, x.d32, n, 0))
KEL_BENCH(Mul_16s32s_Sfs, scalar, 4, scalarMul32(x.a, x.b, x.d32, n))
KEL_MEMCPY(Mul_16s32s_Sfs, 4)
KEL_READ(Mul_16s32s_Sfs, true)
KEL_BENCH(RShiftC_16s, kelsc, 2, kelsRShiftC_16s(x.a, 3, x.d16, n))
KEL_BENCH(RShiftC_16s, scalar, 2, scalarRShift(x.a, x.d16, n))
KEL_MEMCPY(RShiftC_16s, 2)
KEL_READ(RShiftC_16s, false)
KEL_BENCH(LShiftC_16s, kelsc, 2, kelsLShiftC_16s(x.a, 3, x.d16, n))
KEL_BENCH(LShiftC_16s, scalar, 2, scalarLShift(x.a, x.d16, n))
KEL_MEMCPY(LShiftC_16s, 2)
KEL_READ(LShiftC_16s, false)
KEL_BENCH(Abs_16s, kelsc, 2, kelsAbs_16s(x.a, x.d16, n))
KEL_BENCH(Abs_16s, scalar, 2, scalarAbs(x.a, x.d16, n))
KEL_MEMCPY(Abs_16s, 2)
KEL_READ(Abs_16s, false)
KEL_BENCH(Sum_16s32s_Sfs, kelsc, 2, kelsSum_16s32s_Sfs(x.a, n, x.d32, 0))
KEL_BENCH(Sum_16s32s_Sfs, scalar, 2, x.d32[0] = scalarSum(x.a, n))
KEL_MEMCPY(Sum_16s32s_Sfs, 2)
KEL_READ(Sum_16s32s_Sfs, false)
KEL_BENCH(DotProd_16s32s_Sfs, kelsc, 2, kelsDotProd_16s32s_Sfs(x.a, x.b, n, x.d32, 0))
KEL_BENCH(DotProd_16s32s_Sfs, scalar, 2, x.d32[0] = scalarDot(x.a, x.b, n))
KEL_MEMCPY(DotProd_16s32s_Sfs, 2)
KEL_READ(DotProd_16s32s_Sfs, true)
KEL_BENCH(Max_16s, kelsc, 2, kelsMax_16s(x.a, n, x.d16))
KEL_BENCH(Max_16s, scalar, 2, x.d16[0] = scalarMax(x.a, n))
KEL_MEMCPY(Max_16s, 2)
KEL_READ(Max_16s, false)
KEL_BENCH(MinIndx_16s, kelsc, 2, kelsMinIndx_16s(x.a, n, x.d16, &x.d32[0]))
KEL_BENCH(MinIndx_16s, scalar, 2, x.d32[0] = scalarMinIndx(x.a, n))
KEL_MEMCPY(MinIndx_16s, 2)
KEL_READ(MinIndx_16s, false)
KEL_BENCH(Convert_16s32s, kelsc, 4, kelsConvert_16s32s(x.a, x.d32, n))
KEL_BENCH(Convert_16s32s, scalar, 4, scalarConvert32(x.a, x.d32, n))
KEL_MEMCPY(Convert_16s32s, 4)
KEL_READ(Convert_16s32s, false)
KEL_BENCH(Convert_16s32f, kelsc, 4, kelsConvert_16s32f(x.a, x.f, n))
KEL_BENCH(Convert_16s32f, scalar, 4, scalarConvertF(x.a, x.f, n))
KEL_MEMCPY(Convert_16s32f, 4)
KEL_READ(Convert_16s32f, false)
KEL_BENCH(Copy_16s, kelsc, 2, kelsCopy_16s(x.a, x.d16, n))
KEL_BENCH(Copy_16s, scalar, 2, scalarCopy(x.a, x.d16, n))
KEL_MEMCPY(Copy_16s, 2)
KEL_READ(Copy_16s, false)
KEL_BENCH(Zero_16s, kelsc, 2, kelsZero_16s(x.d16, n))
KEL_BENCH(Zero_16s, scalar, 2, scalarZero(x.d16, n))
KEL_MEMCPY(Zero_16s, 2)
KEL_BENCH(Set_16s, kelsc, 2, kelsSet_16s(77, x.d16, n))
KEL_BENCH(Set_16s, scalar, 2, scalarSet(x.d16, n))
KEL_MEMCPY(Set_16s, 2)

}  // namespace

BENCHMARK_MAIN();
