// Fuzzes the library frame and every vector function: lengths around and
// beyond their limits, every scale factor and shift near its clamps,
// arbitrary contents (NaN and infinities for the float forms).
#include "fuzz_support.h"

namespace {

using kfuzz::Call;

int scale(Call& c) { return c.value({-64, -32, -31, -30, -16, -15, -1, 0, 1, 15, 16, 17, 30, 31, 32, 33, 63, 64}); }
int shift(Call& c) { return c.value({-1, 0, 1, 15, 16, 31, 32}); }

// The shapes the vector functions come in; each draws its length first, then
// sizes the buffers from it.
template <class S, class D>
void unary(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, D*, int)) {
    Call c(f, name);
    const int len = c.length();
    const S* src = c.in<S>(Call::count(len));
    D* dst = c.out<D>(Call::count(len));
    c.finish(fn(src, dst, len));
}
template <class S, class D>
void unarySfs(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, D*, int, int)) {
    Call c(f, name);
    const int len = c.length();
    const S* src = c.in<S>(Call::count(len));
    D* dst = c.out<D>(Call::count(len));
    c.finish(fn(src, dst, len, scale(c)));
}
template <class S, class D>
void binary(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, const S*, D*, int)) {
    Call c(f, name);
    const int len = c.length();
    const S* a = c.in<S>(Call::count(len));
    const S* b = c.in<S>(Call::count(len));
    D* dst = c.out<D>(Call::count(len));
    c.finish(fn(a, b, dst, len));
}
template <class S, class D>
void binarySfs(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, const S*, D*, int, int)) {
    Call c(f, name);
    const int len = c.length();
    const S* a = c.in<S>(Call::count(len));
    const S* b = c.in<S>(Call::count(len));
    D* dst = c.out<D>(Call::count(len));
    c.finish(fn(a, b, dst, len, scale(c)));
}
template <class S, class V, class D>
void withConstSfs(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, V, D*, int, int)) {
    Call c(f, name);
    const int len = c.length();
    const S* src = c.in<S>(Call::count(len));
    D* dst = c.out<D>(Call::count(len));
    const V val = c.any<V>();
    c.finish(fn(src, val, dst, len, scale(c)));
}
template <class V, class D>
void constInPlaceSfs(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(V, D*, int, int)) {
    Call c(f, name);
    const int len = c.length();
    D* dst = c.out<D>(Call::count(len));
    const V val = c.any<V>();
    c.finish(fn(val, dst, len, scale(c)));
}
template <class S, class D>
void shifted(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, int, D*, int)) {
    Call c(f, name);
    const int len = c.length();
    const S* src = c.in<S>(Call::count(len));
    D* dst = c.out<D>(Call::count(len));
    c.finish(fn(src, shift(c), dst, len));
}
template <class D>
void shiftedInPlace(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(int, D*, int)) {
    Call c(f, name);
    const int len = c.length();
    D* dst = c.out<D>(Call::count(len));
    c.finish(fn(shift(c), dst, len));
}
template <class D>
void inPlace(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(D*, int)) {
    Call c(f, name);
    const int len = c.length();
    D* dst = c.out<D>(Call::count(len));
    c.finish(fn(dst, len));
}
template <class V, class D>
void set(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(V, D*, int)) {
    Call c(f, name);
    const int len = c.length();
    D* dst = c.out<D>(Call::count(len));
    c.finish(fn(c.any<V>(), dst, len));
}
template <class S, class D>
void reduceSfs(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, int, D*, int)) {
    Call c(f, name);
    const int len = c.length();
    const S* src = c.in<S>(Call::count(len));
    D* dst = c.out<D>(1);
    c.finish(fn(src, len, dst, scale(c)));
}
template <class S, class D>
void extremum(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, int, D*)) {
    Call c(f, name);
    const int len = c.length();
    const S* src = c.in<S>(Call::count(len));
    D* dst = c.out<D>(1);
    c.finish(fn(src, len, dst));
}
template <class S, class D>
void extremumIndex(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, int, D*, int*)) {
    Call c(f, name);
    const int len = c.length();
    const S* src = c.in<S>(Call::count(len));
    D* dst = c.out<D>(1);
    int* index = c.optional<int>(1);
    c.finish(fn(src, len, dst, index));
}
template <class S, class D>
void convertRounded(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, D*, int, int, int)) {
    Call c(f, name);
    const int len = c.length();
    const S* src = c.in<S>(Call::count(len));
    D* dst = c.out<D>(Call::count(len));
    const int round = c.value({0, 1, 2});
    c.finish(fn(src, dst, len, round, scale(c)));
}

#define SHAPE(fn, shape)                                       \
    {                                                          \
#fn, [](FuzzedDataProvider & f) { shape(f, #fn, fn); } \
    }

const kfuzz::Entry kTable[] = {
    KFUZZ_ENTRY(kelscGetLibVersion,
                {
                    const KelLibraryVersion* v = kelscGetLibVersion();
                    if (v == nullptr || v != kelscGetLibVersion())
                        kfuzz::fail("version record", "kelscGetLibVersion", 0);
                }),
    KFUZZ_ENTRY(kelsMalloc_8u,
                {
                    int len = c.value({INT_MIN, -1, 0, 1, 31, 32, 33, 4096});
                    if (len > (1 << 20)) len = 1 << 20;  // keep within the fuzzer's memory limit
                    Kel8u* p = kelsMalloc_8u(len);
                    if (len < 1 && p != nullptr) kfuzz::fail("block for a length below 1", "kelsMalloc_8u", len);
                    if (p != nullptr) {
                        if (reinterpret_cast<uintptr_t>(p) % 32 != 0)
                            kfuzz::fail("misaligned block", "kelsMalloc_8u", len);
                        memset(p, 0x5A, static_cast<size_t>(len));
                    }
                    kelsFree(p);
                    kelsFree(nullptr);
                }),
    SHAPE(kelsAbs_16s, unary),
    SHAPE(kelsAdd_16s, binary),
    SHAPE(kelsAdd_16s_I, unary),
    SHAPE(kelsAdd_32f_I, unary),
    SHAPE(kelsAdd_32s_ISfs, unarySfs),
    SHAPE(kelsSub_16s, binary),
    SHAPE(kelsSub_16s_I, unary),
    SHAPE(kelsSub_32f_I, unary),
    SHAPE(kelsSubCRev_16s_Sfs, withConstSfs),
    SHAPE(kelsMul_32f, binary),
    SHAPE(kelsMul_16s32s_Sfs, binarySfs),
    SHAPE(kelsMulC_16s_ISfs, constInPlaceSfs),
    SHAPE(kelsMul_NR_16s_Sfs, binarySfs),
    SHAPE(kelsMul_NR_16s_ISfs, unarySfs),
    SHAPE(kelsMulC_NR_16s_Sfs, withConstSfs),
    SHAPE(kelsMulC_NR_16s_ISfs, constInPlaceSfs),
    SHAPE(kelsMulPowerC_NR_16s_Sfs, withConstSfs),
    SHAPE(kelsLShiftC_16s, shifted),
    SHAPE(kelsLShiftC_16s_I, shiftedInPlace),
    SHAPE(kelsLShiftC_16u, shifted),
    SHAPE(kelsLShiftC_16u_I, shiftedInPlace),
    SHAPE(kelsLShiftC_32s_I, shiftedInPlace),
    SHAPE(kelsRShiftC_16s, shifted),
    SHAPE(kelsRShiftC_16s_I, shiftedInPlace),
    SHAPE(kelsRShiftC_32s_I, shiftedInPlace),
    SHAPE(kelsSum_16s_Sfs, reduceSfs),
    SHAPE(kelsSum_16s32s_Sfs, reduceSfs),
    SHAPE(kelsSum_32s_Sfs, reduceSfs),
    KFUZZ_ENTRY(kelsDotProd_16s32s_Sfs,
                {
                    const int len = c.length();
                    const Kel16s* a = c.in<Kel16s>(Call::count(len));
                    const Kel16s* b = c.in<Kel16s>(Call::count(len));
                    Kel32s* dp = c.out<Kel32s>(1);
                    c.finish(kelsDotProd_16s32s_Sfs(a, b, len, dp, scale(c)));
                }),
    KFUZZ_ENTRY(kelsDotProdAutoScale_16s32s_Sfs,
                {
                    const int len = c.length(32767);
                    const Kel16s* a = c.in<Kel16s>(Call::count(len));
                    const Kel16s* b = c.in<Kel16s>(Call::count(len));
                    Kel32s* dp = c.out<Kel32s>(1);
                    int* sh = c.out<int>(1);
                    c.finish(kelsDotProdAutoScale_16s32s_Sfs(a, b, len, dp, sh));
                }),
    KFUZZ_ENTRY(kelsAutoScale_16s,
                {
                    const int len = c.length();
                    const Kel16s* src = c.in<Kel16s>(Call::count(len));
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    int* sc = c.outValue<int>(c.value({-1, 0, 1, 15, 16}));
                    c.finish(kelsAutoScale_16s(src, dst, len, sc));
                }),
    KFUZZ_ENTRY(kelsAutoScale_16s_I,
                {
                    const int len = c.length();
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    int* sc = c.out<int>(1);
                    c.finish(kelsAutoScale_16s_I(dst, len, sc));
                }),
    SHAPE(kelsInvSqrt_32s_I, inPlace),
    SHAPE(kelsMagSquared_32sc32s_Sfs, unarySfs),
    SHAPE(kelsMax_16s, extremum),
    SHAPE(kelsMin_16s, extremum),
    SHAPE(kelsMax_32s, extremum),
    SHAPE(kelsMaxIndx_32s, extremumIndex),
    SHAPE(kelsMinIndx_16s, extremumIndex),
    SHAPE(kelsConvert_16s32s, unary),
    SHAPE(kelsConvert_16s32f, unary),
    SHAPE(kelsConvert_32s32f, unary),
    SHAPE(kelsConvert_64f32f, unary),
    SHAPE(kelsConvert_32f16s_Sfs, convertRounded),
    SHAPE(kelsConvert_32f32s_Sfs, convertRounded),
    SHAPE(kelsZero_8u, inPlace),
    SHAPE(kelsZero_16s, inPlace),
    SHAPE(kelsZero_16sc, inPlace),
    SHAPE(kelsZero_32s, inPlace),
    SHAPE(kelsZero_32f, inPlace),
    SHAPE(kelsSet_16s, set),
    SHAPE(kelsSet_32s, set),
    SHAPE(kelsCopy_16s, unary),
    SHAPE(kelsCopy_32f, unary),
    SHAPE(kelsMove_16s, unary),
    SHAPE(kelsMove_32f, unary),
    SHAPE(kelsLinToMuLaw_16s8u, unary),
    SHAPE(kelsLinToALaw_16s8u, unary),
    SHAPE(kelsMuLawToLin_8u16s, unary),
    SHAPE(kelsALawToLin_8u16s, unary),
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return kfuzz::dispatch(kTable, data, size); }
