// Fuzzes the correlation, convolution and LP filter functions: lengths and
// lag counts around their limits, every scale factor, arbitrary
// coefficients, signals and lags (history buffers sized as the caller
// places them before the pointer).
#include "fuzz_support.h"

namespace {

using kfuzz::Call;

int scale(Call& c) { return c.value({-33, -32, -1, 0, 1, 11, 12, 13, 14, 15, 16, 31, 32}); }
// A lag or pitch delay the caller can give history for.
int lag(Call& c) { return c.value({0, 1, 20, 40, 143, 144, 147}) & 1023; }

template <class D>
void autoCorr(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, int, D*, int)) {
    Call c(f, name);
    const int len = c.length();
    const int lags = c.length();
    const Kel16s* src = c.in<Kel16s>(Call::count(len));
    D* dst = c.out<D>(Call::count(lags));
    c.finish(fn(src, len, dst, lags));
}
template <class D>
void autoCorrNorm(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, int, D*, int, int*)) {
    Call c(f, name);
    const int len = c.length();
    const int lags = c.length();
    const Kel16s* src = c.in<Kel16s>(Call::count(len));
    D* dst = c.out<D>(Call::count(lags));
    int* norm = c.out<int>(1);
    c.finish(fn(src, len, dst, lags, norm));
}
template <class T, class M>
void lagMaxFwdOrInv(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const T*, int, int, int, M*, int*),
                    bool inverse, int lagExtra) {
    Call c(f, name);
    const int len = c.length();
    const int lo = lag(c), hi = lag(c);
    const long need = hi + lagExtra > 0 ? hi + lagExtra : 0;
    const T* src = inverse ? c.inAfter<T>(need, Call::count(len)) : c.in<T>(Call::count(len) + need);
    M* mx = c.out<M>(1);
    int* index = c.out<int>(1);
    c.finish(fn(src, len, lo, hi, mx, index));
}
template <class T, class M>
void crossLagMax(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const T*, const T*, int, int, M*, int*)) {
    Call c(f, name);
    const int len = c.length();
    int maxLag = c.value({INT_MIN, -1, 0, 1, 20, 143});
    if (maxLag > 1023) maxLag &= 1023;  // a lag the caller can give samples for
    const T* a = c.in<T>(Call::count(len));
    const T* b = c.in<T>(Call::count(len) + (maxLag > 0 ? maxLag : 0));
    M* mx = c.out<M>(1);
    int* index = c.out<int>(1);
    c.finish(fn(a, b, len, maxLag, mx, index));
}
template <class D>
void conv(FuzzedDataProvider& f, const char* name, KelStatus (*fn)(const Kel16s*, const Kel16s*, D*, int)) {
    Call c(f, name);
    const int len = c.length(1024);
    const Kel16s* a = c.in<Kel16s>(Call::count(len));
    const Kel16s* b = c.in<Kel16s>(Call::count(len));
    D* dst = c.out<D>(Call::count(len));
    c.finish(fn(a, b, dst, len));
}
void synthesisInPlace(FuzzedDataProvider& f, const char* name,
                      KelStatus (*fn)(const Kel16s*, Kel16s*, int, int, const Kel16s*)) {
    Call c(f, name);
    const int len = c.length();
    const Kel16s* lpc = c.in<Kel16s>(11);
    Kel16s* sd = c.out<Kel16s>(Call::count(len));
    const int sf = scale(c);
    const Kel16s* mem = c.optionalIn<Kel16s>(10);
    c.finish(fn(lpc, sd, len, sf, mem));
}

#define SHAPE(fn, shape, ...)                                                 \
    {                                                                         \
#fn, [](FuzzedDataProvider & f) { shape(f, #fn, fn, ##__VA_ARGS__); } \
    }

const kfuzz::Entry kTable[] = {
    SHAPE(kelsAutoCorr_16s32s, autoCorr),
    SHAPE(kelsAutoCorr_NormE_16s32s, autoCorrNorm),
    SHAPE(kelsAutoCorr_NormE_NR_16s, autoCorrNorm),
    KFUZZ_ENTRY(
        kelsCrossCorr_16s32s_Sfs,
        {
            const int len = c.length(1024);
            const Kel16s* a = c.in<Kel16s>(Call::count(len));
            const Kel16s* b = c.in<Kel16s>(Call::count(len));
            Kel32s* dst = c.out<Kel32s>(Call::count(len));
            c.finish(kelsCrossCorr_16s32s_Sfs(a, b, len, dst, c.value({INT_MIN, -33, -32, -1, 0, 1, 31, 32, INT_MAX})));
        }),
    KFUZZ_ENTRY(kelsCrossCorr_NR_16s,
                {
                    const int len = c.length(1024);
                    const int lags = c.length(1024);
                    const Kel16s* a = c.in<Kel16s>(Call::count(len));
                    const Kel16s* b = c.in<Kel16s>(len > 0 && lags > 0 ? Call::count(len) + Call::count(lags) - 1 : 0);
                    Kel16s* dst = c.out<Kel16s>(Call::count(lags));
                    c.finish(kelsCrossCorr_NR_16s(a, b, len, dst, lags));
                }),
    KFUZZ_ENTRY(kelsCrossCorr_NormM_16s,
                {
                    const int len = c.length(1024);
                    const Kel16s* a = c.in<Kel16s>(Call::count(len));
                    const Kel16s* b = c.in<Kel16s>(Call::count(len));
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    c.finish(kelsCrossCorr_NormM_16s(a, b, len, dst));
                }),
    SHAPE(kelsCrossCorrLagMax_16s, crossLagMax),
    SHAPE(kelsCrossCorrLagMax_32f64f, crossLagMax),
    SHAPE(kelsAutoCorrLagMax_Fwd_16s, lagMaxFwdOrInv, false, 0),
    SHAPE(kelsAutoCorrLagMax_Inv_16s, lagMaxFwdOrInv, true, 0),
    SHAPE(kelsAutoCorrLagMax_32f, lagMaxFwdOrInv, true, -1),
    SHAPE(kelsConvPartial_16s32s, conv),
    KFUZZ_ENTRY(kelsConvPartial_16s_Sfs,
                {
                    const int len = c.length(1024);
                    const Kel16s* a = c.in<Kel16s>(Call::count(len));
                    const Kel16s* b = c.in<Kel16s>(Call::count(len));
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    c.finish(kelsConvPartial_16s_Sfs(a, b, dst, len, scale(c)));
                }),
    SHAPE(kelsConvPartial_NR_Low_16s, conv),
    SHAPE(kelsConvPartial_NR_16s, conv),
    SHAPE(kelsSynthesisFilter_NR_16s_ISfs, synthesisInPlace),
    SHAPE(kelsSynthesisFilterLow_NR_16s_ISfs, synthesisInPlace),
    KFUZZ_ENTRY(kelsSynthesisFilter_NR_16s_Sfs,
                {
                    const int len = c.length();
                    const Kel16s* lpc = c.in<Kel16s>(11);
                    const Kel16s* src = c.in<Kel16s>(Call::count(len));
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    const int sf = scale(c);
                    const Kel16s* mem = c.optionalIn<Kel16s>(10);
                    c.finish(kelsSynthesisFilter_NR_16s_Sfs(lpc, src, dst, len, sf, mem));
                }),
    KFUZZ_ENTRY(kelsSynthesisFilterZeroStateResponse_NR_16s,
                {
                    const int len = c.length();
                    const Kel16s* lpc = c.in<Kel16s>(11);
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    c.finish(kelsSynthesisFilterZeroStateResponse_NR_16s(lpc, dst, len, scale(c)));
                }),
    KFUZZ_ENTRY(kelsResidualFilter_Low_16s_Sfs,
                {
                    const int order = c.value({-1, 0, 1, 10, 16, 50});
                    const int len = c.length();
                    const long hist = order > 0 && order < 4096 ? order : 0;
                    const Kel16s* lpc = c.in<Kel16s>(hist + 1);
                    const Kel16s* src = c.inAfter<Kel16s>(hist, Call::count(len));
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    c.finish(kelsResidualFilter_Low_16s_Sfs(lpc, order, src, dst, len, scale(c)));
                }),
    KFUZZ_ENTRY(kelsHarmonicFilter_16s_I,
                {
                    const int len = c.length();
                    const int t = lag(c);
                    const Kel16s val = c.any<Kel16s>();
                    Kel16s* sd = c.outAfter<Kel16s>(t, Call::count(len));
                    c.finish(kelsHarmonicFilter_16s_I(val, t, sd, len));
                }),
    KFUZZ_ENTRY(kelsHarmonicFilter_NR_16s,
                {
                    const int len = c.length();
                    const int t = lag(c);
                    const Kel16s val = c.any<Kel16s>();
                    const Kel16s* src = c.inAfter<Kel16s>(t, Call::count(len));
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    c.finish(kelsHarmonicFilter_NR_16s(val, t, src, dst, len));
                }),
    KFUZZ_ENTRY(kelsHarmonicFilter_32f_I,
                {
                    const int len = c.length();
                    const int t = lag(c);
                    const Kel32f val = c.anyFloat<Kel32f>();
                    Kel32f* sd = c.outAfter<Kel32f>(t, Call::count(len));
                    c.finish(kelsHarmonicFilter_32f_I(val, t, sd, len));
                }),
    KFUZZ_ENTRY(kelsPreemphasize_32f_I,
                {
                    const int len = c.length();
                    const Kel32f val = c.anyFloat<Kel32f>();
                    Kel32f* sd = c.out<Kel32f>(Call::count(len));
                    Kel32f* mem = c.out<Kel32f>(1);
                    c.finish(kelsPreemphasize_32f_I(val, sd, len, mem));
                }),
    KFUZZ_ENTRY(kelsInterpolateC_NR_16s,
                {
                    const int len = c.length();
                    const Kel16s* a = c.in<Kel16s>(Call::count(len));
                    const Kel16s va = c.any<Kel16s>();
                    const int sfa = scale(c);
                    const Kel16s* b = c.in<Kel16s>(Call::count(len));
                    const Kel16s vb = c.any<Kel16s>();
                    const int sfb = scale(c);
                    Kel16s* dst = c.out<Kel16s>(Call::count(len));
                    c.finish(kelsInterpolateC_NR_16s(a, va, sfa, b, vb, sfb, dst, len));
                }),
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return kfuzz::dispatch(kTable, data, size); }
