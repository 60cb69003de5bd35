// Fuzzes the G.729 excitation and post-processing functions: pitch
// searches, adaptive-vector decoding and gains, correlation matrices and
// fixed-codebook searches, gain decoding, post-filters and tilt
// compensation. Delays, sub-frame numbers, modes and budgets range over
// their valid values, their neighbours and arbitrary integers; signals,
// impulse responses, correlations, matrices, LP vectors and excitation
// histories are arbitrary (saturated ones included); histories before a
// pointer are sized as the caller keeps them.
#include "fuzz_support.h"

namespace {

using kfuzz::Call;

constexpr long kSubFrame = 40;
constexpr long kExcitation = 194;  // 154 past samples, then the sub-frame
constexpr long kMatrix = 616;

Kel16s delay(Call& c) { return static_cast<Kel16s>(c.value({17, 18, 19, 20, 84, 85, 143, 144, 145, 146})); }
Kel16s subFrame(Call& c) { return static_cast<Kel16s>(c.value({-1, 0, 1, 2})); }

// A decoded delay (integer part, fraction): mostly around the valid range
// (T 18..144, fraction -1..1), sometimes arbitrary.
const Kel16s* adaptiveDelay(Call& c) {
    const Kel16s t = static_cast<Kel16s>(c.value({17, 18, 19, 39, 40, 143, 144, 145}));
    const Kel16s frac = static_cast<Kel16s>(c.value({-2, -1, 0, 1, 2}));
    return c.inValues<Kel16s>({t, frac});
}

void openLoop(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, Kel16s*)) {
    Call c(f, name);
    const Kel16s* src = c.inAfter<Kel16s>(143, 80);
    Kel16s* lag = c.out<Kel16s>(1);
    c.finish(fn(src, lag));
}

void closedLoop(FuzzedDataProvider& f, const char* name,
                KelStatus (*fn)(Kel16s, const Kel16s*, const Kel16s*, Kel16s*, Kel16s*, Kel16s*, Kel16s)) {
    Call c(f, name);
    const Kel16s open = delay(c);
    const Kel16s* x = c.in<Kel16s>(kSubFrame);
    const Kel16s* h = c.in<Kel16s>(kSubFrame);
    Kel16s* exc = c.out<Kel16s>(kExcitation);
    Kel16s* d = c.out<Kel16s>(2);
    Kel16s* v = c.out<Kel16s>(kSubFrame);
    c.finish(fn(open, x, h, exc, d, v, subFrame(c)));
}

template <class M>
void fixedSearch(FuzzedDataProvider& f, const char* name,
                 KelStatus (*fn)(const Kel16s*, M*, Kel16s*, Kel16s*, Kel16s*, int)) {
    Call c(f, name);
    const Kel16s* dn = c.in<Kel16s>(kSubFrame);
    M* rr = c.out<M>(kMatrix);
    Kel16s* code = c.out<Kel16s>(kSubFrame);
    Kel16s* idx = c.out<Kel16s>(2);
    Kel16s* budget = c.outValue<Kel16s>(static_cast<Kel16s>(c.value({-1, 0, 1, 75, 105, 32767})));
    c.finish(fn(dn, rr, code, idx, budget, c.value({-1, 0, 1, 2})));
}

template <class M>
void fixedSearchA(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, M*, Kel16s*, Kel16s*)) {
    Call c(f, name);
    const Kel16s* dn = c.in<Kel16s>(kSubFrame);
    M* rr = c.out<M>(kMatrix);
    Kel16s* code = c.out<Kel16s>(kSubFrame);
    Kel16s* idx = c.out<Kel16s>(2);
    c.finish(fn(dn, rr, code, idx));
}

template <class M>
void toeplitz(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, M*)) {
    Call c(f, name);
    const Kel16s* h = c.in<Kel16s>(kSubFrame);
    M* rr = c.out<M>(kMatrix);
    c.finish(fn(h, rr));
}

void preemphasis(FuzzedDataProvider& f, bool inPlace) {
    Call c(f, inPlace ? "kelsPreemphasize_G729A_16s_I" : "kelsPreemphasize_G729A_16s");
    const Kel16s gamma = c.any<Kel16s>();
    const int len = c.length();
    const Kel16s* src = inPlace ? nullptr : c.in<Kel16s>(Call::count(len));
    Kel16s* dst = c.out<Kel16s>(Call::count(len));
    Kel16s* mem = c.out<Kel16s>(1);
    c.finish(inPlace ? kelsPreemphasize_G729A_16s_I(gamma, dst, len, mem)
                     : kelsPreemphasize_G729A_16s(gamma, src, dst, len, mem));
}

// The G.729 and annex A/E synthesis-type filters: 40 samples out, with the
// 10 previous outputs stored before pDst.
void synthesis(FuzzedDataProvider& f, bool postFilter) {
    Call c(f, postFilter ? "kelsShortTermPostFilter_G729A_16s" : "kelsSynthesisFilter_G729_16s");
    const Kel16s* lpc = c.in<Kel16s>(11);
    const Kel16s* src = c.in<Kel16s>(kSubFrame);
    Kel16s* dst = c.outAfter<Kel16s>(10, kSubFrame);
    c.finish(postFilter ? kelsShortTermPostFilter_G729A_16s(lpc, src, dst)
                        : kelsSynthesisFilter_G729_16s(src, lpc, dst));
}

#define OPEN(fn)                                                  \
    {                                                             \
#fn, [](FuzzedDataProvider & f) { openLoop(f, #fn, fn); } \
    }
#define CLOSED(fn)                                                  \
    {                                                               \
#fn, [](FuzzedDataProvider & f) { closedLoop(f, #fn, fn); } \
    }
#define SEARCH(fn, shape)                                      \
    {                                                          \
#fn, [](FuzzedDataProvider & f) { shape(f, #fn, fn); } \
    }

const kfuzz::Entry kTable[] = {
    OPEN(kelsOpenLoopPitchSearch_G729_16s),
    OPEN(kelsOpenLoopPitchSearch_G729A_16s),
    CLOSED(kelsAdaptiveCodebookSearch_G729_16s),
    CLOSED(kelsAdaptiveCodebookSearch_G729A_16s),
    KFUZZ_ENTRY(kelsAdaptiveCodebookSearch_G729D_16s,
                {
                    const Kel16s open = delay(c);
                    const Kel16s* x = c.in<Kel16s>(kSubFrame);
                    const Kel16s* h = c.in<Kel16s>(kSubFrame);
                    const Kel16s* exc = c.in<Kel16s>(kExcitation);
                    const Kel16s sf = subFrame(c);
                    Kel16s* d = c.out<Kel16s>(2);
                    c.finish(kelsAdaptiveCodebookSearch_G729D_16s(open, x, h, exc, sf, d));
                }),
    KFUZZ_ENTRY(kelsDecodeAdaptiveVector_G729_16s_I,
                {
                    const Kel16s* d = adaptiveDelay(c);
                    Kel16s* exc = c.out<Kel16s>(kExcitation);
                    c.finish(kelsDecodeAdaptiveVector_G729_16s_I(d, exc));
                }),
    KFUZZ_ENTRY(kelsDecodeAdaptiveVector_G729_16s,
                {
                    const Kel16s* d = adaptiveDelay(c);
                    Kel16s* exc = c.out<Kel16s>(kExcitation);
                    Kel16s* v = c.out<Kel16s>(kSubFrame);
                    c.finish(kelsDecodeAdaptiveVector_G729_16s(d, exc, v));
                }),
    KFUZZ_ENTRY(kelsAdaptiveCodebookGain_G729_16s,
                {
                    const Kel16s* x = c.in<Kel16s>(kSubFrame);
                    const Kel16s* h = c.in<Kel16s>(kSubFrame);
                    const Kel16s* v = c.in<Kel16s>(kSubFrame);
                    Kel16s* y = c.out<Kel16s>(kSubFrame);
                    Kel16s* g = c.out<Kel16s>(1);
                    c.finish(kelsAdaptiveCodebookGain_G729_16s(x, h, v, y, g));
                }),
    KFUZZ_ENTRY(kelsAdaptiveCodebookGain_G729A_16s,
                {
                    const Kel16s* x = c.in<Kel16s>(kSubFrame);
                    const Kel16s* lpc = c.in<Kel16s>(11);
                    const Kel16s* v = c.in<Kel16s>(kSubFrame);
                    Kel16s* y = c.out<Kel16s>(kSubFrame);
                    Kel16s* g = c.out<Kel16s>(1);
                    c.finish(kelsAdaptiveCodebookGain_G729A_16s(x, lpc, v, y, g));
                }),
    KFUZZ_ENTRY(kelsAdaptiveCodebookContribution_G729_16s,
                {
                    const Kel16s gain = c.any<Kel16s>();
                    const Kel16s* y = c.in<Kel16s>(kSubFrame);
                    const Kel16s* x = c.in<Kel16s>(kSubFrame);
                    Kel16s* dst = c.out<Kel16s>(kSubFrame);
                    c.finish(kelsAdaptiveCodebookContribution_G729_16s(gain, y, x, dst));
                }),

    SEARCH(kelsToeplizMatrix_G729_16s32s, toeplitz),
    SEARCH(kelsToeplizMatrix_G729_16s, toeplitz),
    SEARCH(kelsFixedCodebookSearch_G729_32s16s, fixedSearch),
    SEARCH(kelsFixedCodebookSearch_G729_16s, fixedSearch),
    SEARCH(kelsFixedCodebookSearch_G729A_32s16s, fixedSearchA),
    SEARCH(kelsFixedCodebookSearch_G729A_16s, fixedSearchA),
    KFUZZ_ENTRY(kelsFixedCodebookSearch_G729D_16s,
                {
                    const Kel16s* dn = c.in<Kel16s>(kSubFrame);
                    const Kel16s* h = c.in<Kel16s>(kSubFrame);
                    Kel16s* code = c.out<Kel16s>(kSubFrame);
                    Kel16s* y = c.out<Kel16s>(kSubFrame);
                    Kel16s* sign = c.out<Kel16s>(1);
                    Kel16s* index = c.out<Kel16s>(1);
                    c.finish(kelsFixedCodebookSearch_G729D_16s(dn, h, code, y, sign, index));
                }),
    KFUZZ_ENTRY(kelsFixedCodebookSearch_G729E_16s,
                {
                    const Kel16s mode = static_cast<Kel16s>(c.value({-1, 0, 1, 2}));
                    const Kel16s* x = c.in<Kel16s>(kSubFrame);
                    const Kel16s* res = c.in<Kel16s>(kSubFrame);
                    const Kel16s* h = c.in<Kel16s>(kSubFrame);
                    Kel16s* code = c.out<Kel16s>(kSubFrame);
                    Kel16s* y = c.out<Kel16s>(kSubFrame);
                    Kel16s* idx = c.out<Kel16s>(5);
                    c.finish(kelsFixedCodebookSearch_G729E_16s(mode, x, res, h, code, y, idx));
                }),

    KFUZZ_ENTRY(kelsDecodeGain_G729_16s,
                {
                    const Kel32s energy = c.any<Kel32s>();
                    Kel16s* past = c.out<Kel16s>(4);
                    const Kel16s* idx = c.optionalIn<Kel16s>(2);
                    Kel16s* gain = c.out<Kel16s>(2);
                    c.finish(kelsDecodeGain_G729_16s(energy, past, idx, gain));
                }),
    KFUZZ_ENTRY(kelsDecodeGain_G729I_16s,
                {
                    const Kel32s energy = c.any<Kel32s>();
                    const Kel16s att = c.any<Kel16s>();
                    Kel16s* past = c.out<Kel16s>(4);
                    const Kel16s* idx = c.optionalIn<Kel16s>(2);
                    Kel16s* gain = c.out<Kel16s>(2);
                    c.finish(kelsDecodeGain_G729I_16s(energy, att, past, idx, gain));
                }),
    KFUZZ_ENTRY(kelsGainControl_G729A_16s_I,
                {
                    const Kel16s* src = c.in<Kel16s>(kSubFrame);
                    Kel16s* sd = c.out<Kel16s>(kSubFrame);
                    Kel16s* prev = c.out<Kel16s>(1);
                    c.finish(kelsGainControl_G729A_16s_I(src, sd, prev));
                }),
    KFUZZ_ENTRY(kelsLongTermPostFilter_G729A_16s,
                {
                    const Kel16s t = delay(c);
                    const Kel16s* speech = c.inAfter<Kel16s>(10, kSubFrame);
                    const Kel16s* lpc = c.in<Kel16s>(11);
                    Kel16s* res = c.out<Kel16s>(kExcitation);
                    Kel16s* dst = c.out<Kel16s>(kSubFrame);
                    c.finish(kelsLongTermPostFilter_G729A_16s(t, speech, lpc, res, dst));
                }),
    {"kelsShortTermPostFilter_G729A_16s", [](FuzzedDataProvider& f) { synthesis(f, true); }},
    {"kelsSynthesisFilter_G729_16s", [](FuzzedDataProvider& f) { synthesis(f, false); }},
    KFUZZ_ENTRY(kelsResidualFilter_G729_16s,
                {
                    const Kel16s* src = c.inAfter<Kel16s>(10, kSubFrame);
                    const Kel16s* lpc = c.in<Kel16s>(11);
                    Kel16s* dst = c.out<Kel16s>(kSubFrame);
                    c.finish(kelsResidualFilter_G729_16s(src, lpc, dst));
                }),
    KFUZZ_ENTRY(kelsTiltCompensation_G729_16s,
                {
                    const Kel16s* h = c.in<Kel16s>(20);
                    Kel16s* sd = c.outAfter<Kel16s>(1, kSubFrame);
                    c.finish(kelsTiltCompensation_G729_16s(h, sd));
                }),
    KFUZZ_ENTRY(kelsTiltCompensation_G729E_16s,
                {
                    const Kel16s tilt = c.any<Kel16s>();
                    const Kel16s* src = c.in<Kel16s>(kSubFrame + 1);
                    Kel16s* dst = c.out<Kel16s>(kSubFrame);
                    c.finish(kelsTiltCompensation_G729E_16s(tilt, src, dst));
                }),
    {"kelsPreemphasize_G729A_16s", [](FuzzedDataProvider& f) { preemphasis(f, false); }},
    {"kelsPreemphasize_G729A_16s_I", [](FuzzedDataProvider& f) { preemphasis(f, true); }},
    KFUZZ_ENTRY(kelsPhaseDispersionGetStateSize_G729D_16s,
                {
                    Kel32s* size = c.out<Kel32s>(1);
                    c.finish(kelsPhaseDispersionGetStateSize_G729D_16s(size));
                }),
    KFUZZ_ENTRY(kelsPhaseDispersionInit_G729D_16s,
                {
                    Kel32s size = 0;
                    kelsPhaseDispersionGetStateSize_G729D_16s(&size);
                    Kel8u* state = c.out<Kel8u>(size);
                    c.finish(kelsPhaseDispersionInit_G729D_16s(reinterpret_cast<KelG729DPhaseDispersionState*>(state)));
                }),
    KFUZZ_ENTRY(kelsPhaseDispersionUpdate_G729D_16s,
                {
                    // The block holds plain numbers: any bytes, at any alignment.
                    Kel32s size = 0;
                    kelsPhaseDispersionGetStateSize_G729D_16s(&size);
                    auto* state = reinterpret_cast<KelG729DPhaseDispersionState*>(c.state(size, true));
                    for (int sub = 0; sub < 4; ++sub) {
                        Call u(fdp, "kelsPhaseDispersionUpdate_G729D_16s");
                        const Kel16s gp = u.any<Kel16s>(), gc = u.any<Kel16s>();
                        u.finish(kelsPhaseDispersionUpdate_G729D_16s(gp, gc, state));
                    }
                }),
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return kfuzz::dispatch(kTable, data, size); }
