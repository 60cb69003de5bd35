// Fuzzes the G.729 family: arbitrary signals, autocorrelations, LP
// vectors, LSPs and LSFs (unordered, negative, saturated), arbitrary
// predictor memories and index words, every order and length near its
// limits, high-pass filter states at every alignment, set up by Init or
// filled with arbitrary bytes.
#include "fuzz_support.h"

namespace {

using kfuzz::Call;

// LSP or LSF vector converters: 10 values in, 10 or 11 out.
void convert(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, Kel16s*), long outLen) {
    Call c(f, name);
    const Kel16s* src = c.in<Kel16s>(10);
    Kel16s* dst = c.out<Kel16s>(outLen);
    c.finish(fn(src, dst));
}

void lpcToLsp(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, const Kel16s*, Kel16s*)) {
    Call c(f, name);
    const Kel16s* lpc = c.in<Kel16s>(11);
    const Kel16s* prev = c.in<Kel16s>(10);
    Kel16s* dst = c.out<Kel16s>(10);
    c.finish(fn(lpc, prev, dst));
}

// Quantisers: a source vector, the predictor memory, the quantised vector
// and nIdx index words.
void quantise(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, Kel16s*, Kel16s*, Kel16s*),
              long nIdx) {
    Call c(f, name);
    const Kel16s* src = c.in<Kel16s>(10);
    Kel16s* mem = c.out<Kel16s>(40);
    Kel16s* q = c.out<Kel16s>(10);
    Kel16s* idx = c.out<Kel16s>(nIdx);
    c.finish(fn(src, mem, q, idx));
}

void decode(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, Kel16s*, Kel16s*), long nIdx) {
    Call c(f, name);
    const Kel16s* idx = c.in<Kel16s>(nIdx);
    Kel16s* mem = c.out<Kel16s>(40);
    Kel16s* q = c.out<Kel16s>(10);
    c.finish(fn(idx, mem, q));
}

#define CONVERT(fn, n)                                              \
    {                                                               \
#fn, [](FuzzedDataProvider & f) { convert(f, #fn, fn, n); } \
    }
#define QUANT(fn, n)                                                 \
    {                                                                \
#fn, [](FuzzedDataProvider & f) { quantise(f, #fn, fn, n); } \
    }
#define DECODE(fn, n)                                              \
    {                                                              \
#fn, [](FuzzedDataProvider & f) { decode(f, #fn, fn, n); } \
    }

const kfuzz::Entry kTable[] = {
    KFUZZ_ENTRY(kelsAutoCorr_G729B,
                {
                    const Kel16s* src = c.in<Kel16s>(240);
                    Kel16s* norm = c.out<Kel16s>(1);
                    Kel32s* r = c.out<Kel32s>(13);
                    c.finish(kelsAutoCorr_G729B(src, norm, r));
                }),
    KFUZZ_ENTRY(kelsLagWindow_G729_32s_I,
                {
                    const int len = c.length(12);
                    Kel32s* r = c.out<Kel32s>(Call::count(len));
                    c.finish(kelsLagWindow_G729_32s_I(r, len));
                }),
    KFUZZ_ENTRY(kelsLevinsonDurbin_G729_32s16s,
                {
                    const int order = c.value({-1, 0, 1, 2, 10, 12, 30, 31});
                    const long n = order > 0 && order <= 64 ? order : 0;
                    const Kel32s* r = c.in<Kel32s>(n + 1);
                    Kel16s* lpc = c.out<Kel16s>(n + 1);
                    Kel16s* rc = c.out<Kel16s>(n);
                    Kel16s* err = c.out<Kel16s>(1);
                    c.finish(kelsLevinsonDurbin_G729_32s16s(r, order, lpc, rc, err));
                }),
    KFUZZ_ENTRY(kelsLevinsonDurbin_G729B,
                {
                    const Kel32s* r = c.in<Kel32s>(11);
                    Kel16s* lpc = c.out<Kel16s>(11);
                    Kel16s* rc = c.out<Kel16s>(2);
                    Kel16s* err = c.out<Kel16s>(1);
                    c.finish(kelsLevinsonDurbin_G729B(r, lpc, rc, err));
                }),
    {"kelsLPCToLSP_G729_16s",
     [](FuzzedDataProvider& f) { lpcToLsp(f, "kelsLPCToLSP_G729_16s", kelsLPCToLSP_G729_16s); }},
    {"kelsLPCToLSP_G729A_16s",
     [](FuzzedDataProvider& f) { lpcToLsp(f, "kelsLPCToLSP_G729A_16s", kelsLPCToLSP_G729A_16s); }},
    CONVERT(kelsLSPToLPC_G729_16s, 11),
    CONVERT(kelsLSPToLSF_G729_16s, 10),
    CONVERT(kelsLSPToLSF_Norm_G729_16s, 10),
    KFUZZ_ENTRY(kelsLSFToLSP_G729_16s,
                {
                    // A negative LSF stops the conversion after the elements before it.
                    const Kel16s* src = c.in<Kel16s>(10);
                    Kel16s* dst = c.out<Kel16s>(10);
                    c.finish(kelsLSFToLSP_G729_16s(src, dst), true, kelStatusNegativeLsf);
                }),
    QUANT(kelsLSFQuant_G729_16s, 4),
    QUANT(kelsLSPQuant_G729_16s, 2),
    QUANT(kelsLSFQuant_G729B_16s, 3),
    DECODE(kelsLSFDecode_G729_16s, 4),
    DECODE(kelsLSFDecode_G729B_16s, 3),
    KFUZZ_ENTRY(kelsLSFDecodeErased_G729_16s,
                {
                    const Kel16s ma = static_cast<Kel16s>(c.value({-1, 0, 1, 2, 3, 4}));
                    Kel16s* mem = c.out<Kel16s>(40);
                    const Kel16s* lsf = c.in<Kel16s>(10);
                    c.finish(kelsLSFDecodeErased_G729_16s(ma, mem, lsf));
                }),
    KFUZZ_ENTRY(kelsLSPQuant_G729E_16s,
                {
                    const Kel16s* lsp = c.in<Kel16s>(10);
                    const Kel16s* mem = c.in<Kel16s>(40);
                    Kel16s* q = c.out<Kel16s>(10);
                    Kel16s* idx = c.out<Kel16s>(2);
                    Kel16s* cur = c.out<Kel16s>(10);
                    c.finish(kelsLSPQuant_G729E_16s(lsp, mem, q, idx, cur));
                }),
    KFUZZ_ENTRY(kelsLSFDecode_G729E_16s,
                {
                    const Kel16s* idx = c.optionalIn<Kel16s>(2);
                    Kel16s* mem = c.out<Kel16s>(40);
                    Kel16s* prevLsf = c.out<Kel16s>(10);
                    Kel16s* prevMa = c.out<Kel16s>(1);
                    Kel16s* q = c.out<Kel16s>(10);
                    c.finish(kelsLSFDecode_G729E_16s(idx, mem, prevLsf, prevMa, q));
                }),
    KFUZZ_ENTRY(kelsInterpolate_G729_16s,
                {
                    const int len = c.length();
                    const Kel16s* a = c.in<Kel16s>(Call::count(len));
                    const Kel16s* b = c.in<Kel16s>(Call::count(len));
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    c.finish(kelsInterpolate_G729_16s(a, b, dst, len));
                }),
    KFUZZ_ENTRY(kelsHighPassFilterSize_G729,
                {
                    Kel32s* size = c.out<Kel32s>(1);
                    c.finish(kelsHighPassFilterSize_G729(size));
                }),
    KFUZZ_ENTRY(kelsHighPassFilterInit_G729,
                {
                    const Kel16s* coeff = c.in<Kel16s>(6);
                    Kel8u* state = c.out<Kel8u>(24);
                    c.finish(kelsHighPassFilterInit_G729(coeff, reinterpret_cast<KelG729HighPassState*>(state)));
                }),
    KFUZZ_ENTRY(kelsHighPassFilter_G729_16s_ISfs,
                {
                    // The block holds plain numbers: any bytes are a state a caller may
                    // pass, at any alignment.
                    Kel32s size = 0;
                    kelsHighPassFilterSize_G729(&size);
                    auto* state = reinterpret_cast<KelG729HighPassState*>(c.state(size, true));
                    for (int block = 0; block < 3; ++block) {
                        Call b(fdp, "kelsHighPassFilter_G729_16s_ISfs");
                        const int len = b.length();
                        Kel16s* sd = b.out<Kel16s>(Call::count(len));
                        const int sf = b.value({11, 12, 13, 14});
                        b.finish(kelsHighPassFilter_G729_16s_ISfs(sd, len, sf, state));
                    }
                }),
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return kfuzz::dispatch(kTable, data, size); }
