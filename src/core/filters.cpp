// Convolution, LP synthesis and residual filters, harmonic filters,
// pre-emphasis and the weighted sum of two vectors.
#include "basop.h"
#include "check.h"
#include "filter_internal.h"
#include "flt_kernels_decl.h"

using kel::Args;
namespace vec = kel::vec;

namespace {

// Wrapping partial convolutions y[n] = sum over k = 0..n of a[k] * b[n - k],
// handed to store(n, y) in blocks of the kernel's 32-bit outputs.
template <typename Store>
void convWrap(const Kel16s* a, const Kel16s* b, int len, Store store) {
    constexpr int kBlock = 64;
    Kel32s y[kBlock];
    for (int start = 0; start < len; start += kBlock) {
        const int count = len - start < kBlock ? len - start : kBlock;
        vec::convWrap_16s32s(a, b, y, start, count);
        for (int j = 0; j < count; ++j) store(start + j, y[j]);
    }
}

}  // namespace

// ---------------------------------------------------------------------------
// Convolution
// ---------------------------------------------------------------------------

KelStatus kelsConvPartial_16s32s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel32s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    vec::convWrap_16s32s(pSrc1, pSrc2, pDst, 0, len);
    return kelStatusOk;
}

KelStatus kelsConvPartial_16s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len, int scaleFactor) {
    // Deliberately out of the common order and code: a negative scale factor
    // is a bad argument, reported before the length.
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).require(scaleFactor >= 0, kelStatusBadArgument).len(len));
    const int sh = scaleFactor > 31 ? 31 : scaleFactor;
    convWrap(pSrc1, pSrc2, len, [=](int n, int32_t y) { pDst[n] = static_cast<Kel16s>(y >> sh); });
    return kelStatusOk;
}

KelStatus kelsConvPartial_NR_Low_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    convWrap(pSrc1, pSrc2, len, [=](int n, int32_t y) {
        pDst[n] = static_cast<Kel16s>(static_cast<int32_t>(static_cast<uint32_t>(y) + 16384) >> 15);
    });
    return kelStatusOk;
}

KelStatus kelsConvPartial_NR_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    // Saturation at every step, in the order of G.729 Convolve (k = 0..n),
    // so the result depends on the order; then rounded to 16 bits.
    for (int n = 0; n < len; ++n) {
        Kel32s acc = 0;
        for (int k = 0; k <= n; ++k) acc = kel::L_mac(acc, pSrc1[k], pSrc2[n - k]);
        pDst[n] = kel::round_fx(acc);
    }
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// 10th-order LP synthesis
// ---------------------------------------------------------------------------

namespace {

constexpr int kOrder = 10;

// The recursion with the last ten outputs held in registers: the taps
// 2..10 and the input term are summed before y[n - 1] is known (the empty
// asm keeps the compiler from re-associating that sum behind the a[1] term),
// so the dependency from one output to the next is one product, one
// subtraction, the shift and a rarely taken saturation branch. input(n)
// gives a[0] * x[n] (wrapping). kShift is the scale factor when it is known
// at compile time (12 and 13, the only ones the exported filters take), or
// 0 to use sf.
template <bool kSaturate, int kShift, typename Input>
bool synthesize(const Kel16s* a, Input input, Kel16s* y, int len, int sf, const Kel16s* mem) {
    if (kShift != 0) sf = kShift;
    int32_t h[kOrder];  // h[k - 1] = y[n - k]
    for (int k = 0; k < kOrder; ++k) h[k] = mem != nullptr ? mem[kOrder - 1 - k] : 0;
    int32_t c[kOrder + 1];
    for (int k = 0; k <= kOrder; ++k) c[k] = a[k];
    const uint32_t rnd = uint32_t{1} << (sf - 1);
    bool saturated = false;
    for (int n = 0; n < len; ++n) {
        uint32_t part = input(n) + rnd;
        for (int k = 2; k <= kOrder; ++k) part -= static_cast<uint32_t>(c[k] * h[k - 1]);
#if defined(__GNUC__)
        __asm__("" : "+r"(part));
#endif
        int32_t v = static_cast<int32_t>(part - static_cast<uint32_t>(c[1] * h[0])) >> sf;
        if (kSaturate) {
            if (__builtin_expect(static_cast<uint32_t>(v + 32768) > 65535u, 0)) {
                v = v < 0 ? kel::kMin16 : kel::kMax16;
                saturated = true;
            }
        } else {
            v = static_cast<Kel16s>(v);
        }
        y[n] = static_cast<Kel16s>(v);
        for (int k = kOrder - 1; k > 0; --k) h[k] = h[k - 1];
        h[0] = v;
    }
    return saturated;
}

template <bool kSaturate, typename Input>
bool synthesize(const Kel16s* a, Input input, Kel16s* y, int len, int sf, const Kel16s* mem) {
    switch (sf) {
        case 12: return synthesize<kSaturate, 12>(a, input, y, len, sf, mem);
        case 13: return synthesize<kSaturate, 13>(a, input, y, len, sf, mem);
        default: return synthesize<kSaturate, 0>(a, input, y, len, sf, mem);
    }
}

}  // namespace

bool kel::ownSynthesisFilter_NR_16s(const Kel16s* pLPC, const Kel16s* pSrc, Kel16s* pDst, int len, int sf,
                                    const Kel16s* pMem, bool saturate) {
    const int32_t a0 = pLPC[0];
    const auto input = [=](int n) { return static_cast<uint32_t>(a0 * pSrc[n]); };
    return saturate ? synthesize<true>(pLPC, input, pDst, len, sf, pMem)
                    : synthesize<false>(pLPC, input, pDst, len, sf, pMem);
}

KelStatus kelsSynthesisFilter_NR_16s_ISfs(const Kel16s* pLPC, Kel16s* pSrcDst, int len, int scaleFactor,
                                          const Kel16s* pMem) {
    KEL_CHECK(Args().ptr(pLPC, pSrcDst).len(len).scale(scaleFactor == 12 || scaleFactor == 13));
    // Without a memory the history is zero and nothing saturates.
    const bool saturated =
        kel::ownSynthesisFilter_NR_16s(pLPC, pSrcDst, pSrcDst, len, scaleFactor, pMem, pMem != nullptr);
    return saturated ? kelStatusOverflow : kelStatusOk;
}

KelStatus kelsSynthesisFilter_NR_16s_Sfs(const Kel16s* pLPC, const Kel16s* pSrc, Kel16s* pDst, int len, int scaleFactor,
                                         const Kel16s* pMem) {
    KEL_CHECK(Args().ptr(pLPC, pSrc, pDst).len(len).scale(scaleFactor == 12 || scaleFactor == 13));
    const bool saturated = kel::ownSynthesisFilter_NR_16s(pLPC, pSrc, pDst, len, scaleFactor, pMem, pMem != nullptr);
    return saturated ? kelStatusOverflow : kelStatusOk;
}

KelStatus kelsSynthesisFilterLow_NR_16s_ISfs(const Kel16s* pLPC, Kel16s* pSrcDst, int len, int scaleFactor,
                                             const Kel16s* pMem) {
    KEL_CHECK(Args().ptr(pLPC, pSrcDst).len(len).scale(scaleFactor == 12 || scaleFactor == 13));
    kel::ownSynthesisFilter_NR_16s(pLPC, pSrcDst, pSrcDst, len, scaleFactor, pMem, false);
    return kelStatusOk;
}

KelStatus kelsSynthesisFilterZeroStateResponse_NR_16s(const Kel16s* pLPC, Kel16s* pDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pLPC, pDst).len(len).scale(scaleFactor == 12 || scaleFactor == 13));
    // h[0] = a[0] is stored unshifted; the recursion then runs on zero input
    // with h[0] as the first past output.
    pDst[0] = pLPC[0];
    Kel16s mem[kOrder] = {};
    mem[kOrder - 1] = pLPC[0];
    synthesize<false>(
        pLPC, [](int) { return uint32_t{0}; }, pDst + 1, len - 1, scaleFactor, mem);
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// Residual (analysis) filter
// ---------------------------------------------------------------------------

void kel::ownResidualFilter_16s(const Kel16s* pLPC, int order, const Kel16s* pSrc, Kel16s* pDst, int len, int sf) {
    vec::residual_16s(pLPC, order, pSrc, pDst, len, sf);
}

KelStatus kelsResidualFilter_Low_16s_Sfs(const Kel16s* pLPC, int order, const Kel16s* pSrc, Kel16s* pDst, int len,
                                         int scaleFactor) {
    KEL_CHECK(
        Args().ptr(pLPC, pSrc, pDst).len(order).len(len).len(len, order).scale(scaleFactor >= 0 && scaleFactor <= 15));
    vec::residual_16s(pLPC, order, pSrc, pDst, len, scaleFactor);
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// Harmonic (pitch) filters
// ---------------------------------------------------------------------------

KelStatus kelsHarmonicFilter_16s_I(Kel16s val, int T, Kel16s* pSrcDst, int len) {
    KEL_CHECK(Args().ptr(pSrcDst).len(len));
    // In order and in place: from n = T on, the term reads an output already
    // filtered (a recursive comb); before that, the caller's history.
    for (int n = 0; n < len; ++n) {
        const int32_t t = (int32_t{pSrcDst[n - T]} * val) >> 15;
        pSrcDst[n] = static_cast<Kel16s>(pSrcDst[n] + t);
    }
    return kelStatusOk;
}

KelStatus kelsHarmonicFilter_NR_16s(Kel16s val, int T, const Kel16s* pSrc, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    for (int n = 0; n < len; ++n) {
        const uint32_t s =
            static_cast<uint32_t>(int32_t{pSrc[n - T]} * val) + static_cast<uint32_t>(int32_t{pSrc[n]} * 32768) + 16384;
        pDst[n] = static_cast<Kel16s>(static_cast<int32_t>(s) >> 15);
    }
    return kelStatusOk;
}

KelStatus kelsHarmonicFilter_32f_I(Kel32f val, int T, Kel32f* pSrcDst, int len) {
    KEL_CHECK(Args().ptr(pSrcDst).len(len));
    for (int n = 0; n < len; ++n) pSrcDst[n] = pSrcDst[n] + val * pSrcDst[n - T];
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// Pre-emphasis
// ---------------------------------------------------------------------------

KelStatus kelsPreemphasize_32f_I(Kel32f val, Kel32f* pSrcDst, int len, Kel32f* pMem) {
    KEL_CHECK(Args().ptr(pSrcDst, pMem).len(len));
    // From the end, so that each step still reads an unfiltered x[n - 1].
    const Kel32f last = pSrcDst[len - 1];
    for (int n = len - 1; n > 0; --n) pSrcDst[n] = pSrcDst[n] - val * pSrcDst[n - 1];
    pSrcDst[0] = pSrcDst[0] - val * *pMem;
    *pMem = last;
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// Weighted sum of two vectors
// ---------------------------------------------------------------------------

KelStatus kelsInterpolateC_NR_16s(const Kel16s* pSrc1, Kel16s val1, int sf1, const Kel16s* pSrc2, Kel16s val2, int sf2,
                                  Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len).scale(sf1 >= 0 && sf2 >= 0));
    // The term with the larger scale is aligned to the other by a left
    // shift; the sum is exact (64 bits). Beyond 32 the aligned term, when
    // non-zero, decides the saturated result alone, so the shift is limited.
    const int s = sf1 < sf2 ? sf1 : sf2;
    const int gap = sf1 > sf2 ? sf1 - sf2 : sf2 - sf1;
    const int d = gap > 32 ? 32 : gap;
    const int d1 = sf1 > sf2 ? d : 0, d2 = sf2 > sf1 ? d : 0;
    for (int i = 0; i < len; ++i) {
        const int64_t t =
            (int64_t{pSrc1[i]} * val1) * (int64_t{1} << d1) + (int64_t{pSrc2[i]} * val2) * (int64_t{1} << d2);
        int64_t v;
        if (s < 16) {
            v = (t + (int64_t{1} << (15 - s))) >> (16 - s);
        } else {
            // A common scale above 16 multiplies the sum by 2^(s - 16).
            v = t > kel::kMax16 ? kel::kMax16 : (t < kel::kMin16 ? kel::kMin16 : t);
            v *= int64_t{1} << (s - 16 > 16 ? 16 : s - 16);
        }
        pDst[i] = kel::sat16(v);
    }
    return kelStatusOk;
}
