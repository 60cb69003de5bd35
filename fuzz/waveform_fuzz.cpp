// Fuzzes the waveform coders: G.726 and G.722 (state blocks at every
// alignment, set up by Init or filled with arbitrary bytes, every rate, law
// and mode and their neighbours, arbitrary code words) and the GSM full-rate
// primitives (arbitrary memories, coefficients and lengths).
#include "fuzz_support.h"

namespace {

using kfuzz::Call;

int rate(Call& c) {
    return c.value({kelSpeechRate16000, kelSpeechRate24000, kelSpeechRate32000, kelSpeechRate40000, 0, 16000});
}

// The G.726 coder: Init with any rate (and law), then one block through the
// state, which is either the one Init made or arbitrary bytes (the coding
// functions do not validate a block: they must still stay inside their
// tables and buffers).
template <class State, class S, class D>
void g726(FuzzedDataProvider& f, const char* name, bool decoder, KelStatus (*code)(State*, const S*, D*, int)) {
    Kel32u size = 0;
    if (decoder)
        kelsDecodeGetStateSize_G726_8u16s(&size);
    else
        kelsEncodeGetStateSize_G726_16s8u(&size);
    Call setup(f, decoder ? "kelsDecodeInit_G726_8u16s" : "kelsEncodeInit_G726_16s8u");
    const bool arbitrary = setup.any<bool>();
    State* state = reinterpret_cast<State*>(setup.state(size, arbitrary));
    if (!arbitrary) {
        const int r = rate(setup);
        const int law = setup.value({kelPcmMuLaw, kelPcmALaw, kelPcmLinear});
        const KelStatus st = decoder ? kelsDecodeInit_G726_8u16s(reinterpret_cast<KelG726DecoderState*>(state), r, law)
                                     : kelsEncodeInit_G726_16s8u(reinterpret_cast<KelG726EncoderState*>(state), r);
        setup.finish(st);
        if (st != kelStatusOk) return;
    }
    for (int block = 0; block < 3; ++block) {
        Call c(f, name);
        const int len = c.length();
        const S* src = c.in<S>(Call::count(len));
        D* dst = c.out<D>(Call::count(len));
        c.finish(code(state, src, dst, len));
    }
}

// The G.722 sub-band coder, as G.726: Init or arbitrary bytes, then blocks.
void g722Encode(FuzzedDataProvider& f) {
    Call setup(f, "kelsSBADPCMEncodeInit_G722_16s");
    Kel32u size = 0;
    kelsSBADPCMEncodeStateSize_G722_16s(&size);
    const bool arbitrary = setup.any<bool>();
    auto* state = reinterpret_cast<KelG722EncoderState*>(setup.state(size, arbitrary));
    if (!arbitrary) setup.finish(kelsSBADPCMEncodeInit_G722_16s(state));
    for (int block = 0; block < 3; ++block) {
        Call c(f, "kelsSBADPCMEncode_G722_16s");
        const int len = c.length();
        const Kel16s* src = c.in<Kel16s>(Call::count(len));
        Kel16u* dst = c.out<Kel16u>(Call::count(len));
        c.finish(kelsSBADPCMEncode_G722_16s(src, dst, len, state));
    }
}

void g722Decode(FuzzedDataProvider& f) {
    Call setup(f, "kelsSBADPCMDecodeInit_G722_16s");
    Kel32u size = 0;
    kelsSBADPCMDecodeStateSize_G722_16s(&size);
    const bool arbitrary = setup.any<bool>();
    auto* state = reinterpret_cast<KelG722DecoderState*>(setup.state(size, arbitrary));
    if (!arbitrary) setup.finish(kelsSBADPCMDecodeInit_G722_16s(state));
    for (int block = 0; block < 3; ++block) {
        Call c(f, "kelsSBADPCMDecode_G722_16s");
        const int len = c.length();
        const Kel16s* src = c.in<Kel16s>(Call::count(len));
        Kel16s* dst = c.out<Kel16s>(Call::count(len));
        const Kel16s mode = static_cast<Kel16s>(c.value({-1, 0, 1, 2, 3, 4, 32767}));
        c.finish(kelsSBADPCMDecode_G722_16s(src, dst, len, mode, state));
    }
}

void qmf(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, Kel16s*, int, Kel16s*)) {
    Call c(f, name);
    const int len = c.length();
    const Kel16s* src = c.in<Kel16s>(Call::count(len));
    Kel16s* dst = c.out<Kel16s>(Call::count(len));
    Kel16s* delay = c.out<Kel16s>(24);
    c.finish(fn(src, dst, len, delay));
}

template <class V>
void sizeQuery(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(V*)) {
    Call c(f, name);
    V* size = c.out<V>(1);
    c.finish(fn(size));
}

template <class M>
void withMemory(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, Kel16s*, int, M*)) {
    Call c(f, name);
    const int len = c.length();
    const Kel16s* src = c.in<Kel16s>(Call::count(len));
    Kel16s* dst = c.out<Kel16s>(Call::count(len));
    M* mem = c.out<M>(1);
    c.finish(fn(src, dst, len, mem));
}

#define SIZE(fn)                                                   \
    {                                                              \
#fn, [](FuzzedDataProvider & f) { sizeQuery(f, #fn, fn); } \
    }

const kfuzz::Entry kTable[] = {
    SIZE(kelsEncodeGetStateSize_G726_16s8u),
    SIZE(kelsDecodeGetStateSize_G726_8u16s),
    {"kelsEncode_G726_16s8u",
     [](FuzzedDataProvider& f) { g726(f, "kelsEncode_G726_16s8u", false, kelsEncode_G726_16s8u); }},
    {"kelsDecode_G726_8u16s",
     [](FuzzedDataProvider& f) { g726(f, "kelsDecode_G726_8u16s", true, kelsDecode_G726_8u16s); }},
    KFUZZ_ENTRY(kelsEncodeInit_G726_16s8u,
                {
                    Kel8u* state = c.out<Kel8u>(88);
                    c.finish(kelsEncodeInit_G726_16s8u(reinterpret_cast<KelG726EncoderState*>(state), rate(c)));
                }),
    KFUZZ_ENTRY(kelsDecodeInit_G726_8u16s,
                {
                    Kel8u* state = c.out<Kel8u>(92);
                    const int r = rate(c);
                    const int law = c.value({kelPcmMuLaw, kelPcmALaw, kelPcmLinear});
                    c.finish(kelsDecodeInit_G726_8u16s(reinterpret_cast<KelG726DecoderState*>(state), r, law));
                }),
    SIZE(kelsSBADPCMEncodeStateSize_G722_16s),
    SIZE(kelsSBADPCMDecodeStateSize_G722_16s),
    KFUZZ_ENTRY(kelsSBADPCMEncodeInit_G722_16s,
                {
                    Kel8u* state = c.out<Kel8u>(144);
                    c.finish(kelsSBADPCMEncodeInit_G722_16s(reinterpret_cast<KelG722EncoderState*>(state)));
                }),
    KFUZZ_ENTRY(kelsSBADPCMDecodeInit_G722_16s,
                {
                    Kel8u* state = c.out<Kel8u>(144);
                    c.finish(kelsSBADPCMDecodeInit_G722_16s(reinterpret_cast<KelG722DecoderState*>(state)));
                }),
    {"kelsSBADPCMEncode_G722_16s", g722Encode},
    {"kelsSBADPCMDecode_G722_16s", g722Decode},
    {"kelsQMFEncode_G722_16s", [](FuzzedDataProvider& f) { qmf(f, "kelsQMFEncode_G722_16s", kelsQMFEncode_G722_16s); }},
    {"kelsQMFDecode_G722_16s", [](FuzzedDataProvider& f) { qmf(f, "kelsQMFDecode_G722_16s", kelsQMFDecode_G722_16s); }},

    KFUZZ_ENTRY(kelsSchur_GSMFR_32s16s,
                {
                    const int order = c.value({-1, 0, 1, 8, 9});
                    const long n = order >= 0 && order < 64 ? order : 0;
                    const Kel32s* r = c.in<Kel32s>(n + 1);
                    Kel16s* rc = c.out<Kel16s>(n);
                    c.finish(kelsSchur_GSMFR_32s16s(r, rc, order));
                }),
    KFUZZ_ENTRY(kelsShortTermAnalysisFilter_GSMFR_16s_I,
                {
                    const int len = c.length();
                    const Kel16s* rc = c.in<Kel16s>(8);
                    Kel16s* sd = c.out<Kel16s>(Call::count(len));
                    Kel16s* mem = c.out<Kel16s>(8);
                    c.finish(kelsShortTermAnalysisFilter_GSMFR_16s_I(rc, sd, len, mem));
                }),
    KFUZZ_ENTRY(kelsWeightingFilter_GSMFR_16s,
                {
                    const int len = c.length();
                    const Kel16s* src = c.in<Kel16s>(Call::count(len) + 10);
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    c.finish(kelsWeightingFilter_GSMFR_16s(src != nullptr ? src + 5 : nullptr, dst, len));
                }),
    {"kelsPreemphasize_GSMFR_16s",
     [](FuzzedDataProvider& f) { withMemory(f, "kelsPreemphasize_GSMFR_16s", kelsPreemphasize_GSMFR_16s); }},
    {"kelsHighPassFilter_GSMFR_16s",
     [](FuzzedDataProvider& f) { withMemory(f, "kelsHighPassFilter_GSMFR_16s", kelsHighPassFilter_GSMFR_16s); }},
    KFUZZ_ENTRY(kelsRPEQuantDecode_GSMFR_16s,
                {
                    const Kel16s* src = c.in<Kel16s>(13);
                    const Kel16s mant = c.any<Kel16s>();
                    const Kel16s exp = static_cast<Kel16s>(c.value({-1, 0, 1, 6, 10, 15, 16, 17, 23, 32767, -32768}));
                    Kel16s* dst = c.out<Kel16s>(13);
                    c.finish(kelsRPEQuantDecode_GSMFR_16s(src, mant, exp, dst));
                }),
    KFUZZ_ENTRY(kelsDeemphasize_GSMFR_16s_I,
                {
                    const int len = c.length();
                    Kel16s* sd = c.out<Kel16s>(Call::count(len));
                    Kel16s* mem = c.out<Kel16s>(1);
                    c.finish(kelsDeemphasize_GSMFR_16s_I(sd, len, mem));
                }),
    KFUZZ_ENTRY(kelsShortTermSynthesisFilter_GSMFR_16s,
                {
                    const int len = c.length();
                    const Kel16s* rc = c.in<Kel16s>(8);
                    const Kel16s* src = c.in<Kel16s>(Call::count(len));
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    Kel16s* mem = c.out<Kel16s>(9);
                    c.finish(kelsShortTermSynthesisFilter_GSMFR_16s(rc, src, dst, len, mem));
                }),
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return kfuzz::dispatch(kTable, data, size); }
