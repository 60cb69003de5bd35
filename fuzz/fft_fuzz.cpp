// Fuzzes the real FFT: size queries and Init on every order (valid, near
// the limits, out of range) and flag, blocks and work buffers at arbitrary
// alignments, then one transform of arbitrary data (NaN and infinities
// included) with a caller or a self-allocated work buffer, and blocks of the
// wrong kind.
#include "fuzz_support.h"

namespace {

using kfuzz::Call;

// Orders the harness builds blocks for; larger valid orders only go through
// the size queries and the argument checks.
constexpr int kMaxOrder = 12;

int order(Call& c) { return c.value({-1, 0, 1, 2, 3, 4, 5, 8, kMaxOrder, 28, 30, 31}); }
int flag(Call& c) { return c.value({kelFftDivFwdByN, kelFftDivInvByN, kelFftDivBySqrtN, kelFftNoDiv, 0, 3, 16}); }
int scale(Call& c) { return c.value({INT_MIN, -40, -1, 0, 1, 15, 31, 40, INT_MAX}); }

void sizes(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(int, int, int, int*, int*, int*)) {
    Call c(f, name);
    const int o = order(c), fl = flag(c), hint = c.any<int>();
    int* spec = c.out<int>(1);
    int* init = c.out<int>(1);
    int* work = c.out<int>(1);
    c.finish(fn(o, fl, hint, spec, init, work), false);
}

// Init with any order and flag, checked in the documented order (ppSpec,
// order, pMemSpec, flag, pMemInit); memory sized as GetSize says.
template <class Spec>
void initAny(FuzzedDataProvider& f, const char* name, KelStatus (*getSize)(int, int, int, int*, int*, int*),
             KelStatus (*init)(Spec**, int, int, int, Kel8u*, Kel8u*)) {
    Call c(f, name);
    const int o = order(c), fl = flag(c);
    int specSize = 64, initSize = 64, work = 0;
    if (o >= 0 && o <= 27) {
        if (o > 16) return;  // valid, but too large to build here
        getSize(o, fl, 0, &specSize, &initSize, &work);
    }
    Spec** pp = c.out<Spec*>(1);
    Kel8u* mem = c.out<Kel8u>(specSize);
    Kel8u* scratch = c.optional<Kel8u>(initSize);
    const KelStatus st = init(pp, o, fl, 0, mem, scratch);
    c.finish(st, st != kelStatusBadFftOrder && st != kelStatusBadFftFlag);
}

// Builds a block of a fuzzer-chosen order and flag (checking Init on the
// way); returns it, or null when the choice is not one to transform with.
// The storage lives in the Call.
template <class Spec>
Spec* build(Call& c, KelStatus (*getSize)(int, int, int, int*, int*, int*),
            KelStatus (*init)(Spec**, int, int, int, Kel8u*, Kel8u*), int* pOrder, int* pWork) {
    const int o = c.value({0, 1, 2, 3, 4, 5, 6, 8, 10, kMaxOrder}) & 15;
    const int fl = flag(c);
    int specSize = 0, initSize = 0;
    if (o > kMaxOrder || getSize(o, kelFftNoDiv, 0, &specSize, &initSize, pWork) != kelStatusOk) return nullptr;
    Spec** pp = c.outNonNull<Spec*>(1);
    Kel8u* mem = c.state(specSize, true);
    Kel8u* scratch = c.state(initSize, true);
    const KelStatus st = init(pp, o, fl, c.any<int>(), mem, scratch);
    c.finish(st);
    if (st != kelStatusOk) return nullptr;
    *pOrder = o;
    return *pp;
}

template <class Spec, class S, class D>
void transform(FuzzedDataProvider& f, const char* name, KelStatus (*getSize)(int, int, int, int*, int*, int*),
               KelStatus (*init)(Spec**, int, int, int, Kel8u*, Kel8u*),
               KelStatus (*fn)(const S*, D*, const Spec*, Kel8u*), long srcExtra, long dstExtra) {
    int o = 0, work = 0;
    Call setup(f, "setup");
    Spec* spec = build(setup, getSize, init, &o, &work);
    if (spec == nullptr) return;
    Call c(f, name);
    const long n = 1L << o;
    const S* src = c.in<S>(n + srcExtra);
    D* dst = c.out<D>(n + dstExtra);
    Kel8u* buffer = c.any<bool>() ? c.state(work, true) : nullptr;
    c.finish(fn(src, dst, spec, buffer));
}

template <class Spec, class S, class D>
void transformSfs(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const S*, D*, const Spec*, int, Kel8u*),
                  long srcExtra, long dstExtra) {
    int o = 0, work = 0;
    Call setup(f, "setup");
    Spec* spec = build(setup, kelsFFTGetSize_R_16s32s, kelsFFTInit_R_16s32s, &o, &work);
    if (spec == nullptr) return;
    Call c(f, name);
    const long n = 1L << o;
    const S* src = c.in<S>(n + srcExtra);
    D* dst = c.out<D>(n + dstExtra);
    const int sf = scale(c);
    Kel8u* buffer = c.any<bool>() ? c.state(work, true) : nullptr;
    c.finish(fn(src, dst, spec, sf, buffer));
}

const kfuzz::Entry kTable[] = {
    {"kelsFFTGetSize_R_32f", [](FuzzedDataProvider& f) { sizes(f, "kelsFFTGetSize_R_32f", kelsFFTGetSize_R_32f); }},
    {"kelsFFTGetSize_R_16s32s",
     [](FuzzedDataProvider& f) { sizes(f, "kelsFFTGetSize_R_16s32s", kelsFFTGetSize_R_16s32s); }},
    {"kelsFFTInit_R_32f",
     [](FuzzedDataProvider& f) { initAny(f, "kelsFFTInit_R_32f", kelsFFTGetSize_R_32f, kelsFFTInit_R_32f); }},
    {"kelsFFTInit_R_16s32s",
     [](FuzzedDataProvider& f) { initAny(f, "kelsFFTInit_R_16s32s", kelsFFTGetSize_R_16s32s, kelsFFTInit_R_16s32s); }},
    KFUZZ_ENTRY(kelsFFTGetBufSize_R_32f,
                {
                    int o = 0, work = 0;
                    Call setup(fdp, "setup");
                    KelFFTSpec_R_32f* spec = build(setup, kelsFFTGetSize_R_32f, kelsFFTInit_R_32f, &o, &work);
                    int* size = c.out<int>(1);
                    const KelStatus st = kelsFFTGetBufSize_R_32f(spec, size);
                    c.finish(st);
                    if (spec == nullptr && st != kelStatusNullPointer)
                        kfuzz::fail("null block", "kelsFFTGetBufSize_R_32f", st);
                    if (spec != nullptr && size != nullptr && *size != work)
                        kfuzz::fail("buffer size", "kelsFFTGetBufSize_R_32f", 0);
                }),
    {"kelsFFTFwd_RToCCS_32f",
     [](FuzzedDataProvider& f) {
         transform(f, "kelsFFTFwd_RToCCS_32f", kelsFFTGetSize_R_32f, kelsFFTInit_R_32f, kelsFFTFwd_RToCCS_32f, 0, 2);
     }},
    {"kelsFFTFwd_RToPerm_32f",
     [](FuzzedDataProvider& f) {
         transform(f, "kelsFFTFwd_RToPerm_32f", kelsFFTGetSize_R_32f, kelsFFTInit_R_32f, kelsFFTFwd_RToPerm_32f, 0, 0);
     }},
    {"kelsFFTInv_CCSToR_32f",
     [](FuzzedDataProvider& f) {
         transform(f, "kelsFFTInv_CCSToR_32f", kelsFFTGetSize_R_32f, kelsFFTInit_R_32f, kelsFFTInv_CCSToR_32f, 2, 0);
     }},
    {"kelsFFTFwd_RToCCS_16s32s_Sfs",
     [](FuzzedDataProvider& f) {
         transformSfs(f, "kelsFFTFwd_RToCCS_16s32s_Sfs", kelsFFTFwd_RToCCS_16s32s_Sfs, 0, 2);
     }},
    {"kelsFFTInv_CCSToR_32s16s_Sfs",
     [](FuzzedDataProvider& f) {
         transformSfs(f, "kelsFFTInv_CCSToR_32s16s_Sfs", kelsFFTInv_CCSToR_32s16s_Sfs, 2, 0);
     }},
    KFUZZ_ENTRY(wrongKind,
                {
                    // A float block given to a 16-bit transform and the other way round.
                    int o = 0, work = 0;
                    Call setup(fdp, "setup");
                    KelFFTSpec_R_32f* spec = build(setup, kelsFFTGetSize_R_32f, kelsFFTInit_R_32f, &o, &work);
                    if (spec == nullptr) return;
                    const long n = 1L << o;
                    const Kel16s* src = c.in<Kel16s>(n);
                    Kel32s* dst = c.out<Kel32s>(n + 2);
                    const KelStatus st = kelsFFTFwd_RToCCS_16s32s_Sfs(
                        src, dst, reinterpret_cast<const KelFFTSpec_R_16s32s*>(spec), 0, nullptr);
                    c.finish(st, false);
                    if (st != kelStatusBadContext)
                        kfuzz::fail("wrong kind of block accepted", "kelsFFTFwd_RToCCS_16s32s_Sfs", st);
                }),
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return kfuzz::dispatch(kTable, data, size); }
