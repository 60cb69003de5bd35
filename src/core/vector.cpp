// Generic vector arithmetic: checked entry points over the vector kernels.
#include <float.h>
#include <math.h>
#include <string.h>

#include "basop.h"
#include "check.h"
#include "scale.h"
#include "vec_kernels_decl.h"
#include "vector_internal.h"

using kel::Args;
namespace vec = kel::vec;

// ---------------------------------------------------------------------------
// Add, subtract, multiply
// ---------------------------------------------------------------------------

KelStatus kelsAbs_16s(const Kel16s* pSrc, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    vec::abs_16s(pSrc, pDst, len);
    return kelStatusOk;
}

KelStatus kelsAdd_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    vec::add_16s(pSrc1, pSrc2, pDst, len);
    return kelStatusOk;
}

KelStatus kelsAdd_16s_I(const Kel16s* pSrc, Kel16s* pSrcDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pSrcDst).len(len));
    vec::add_16s(pSrcDst, pSrc, pSrcDst, len);
    return kelStatusOk;
}

KelStatus kelsAdd_32f_I(const Kel32f* pSrc, Kel32f* pSrcDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pSrcDst).len(len));
    vec::add_32f(pSrcDst, pSrc, pSrcDst, len);
    return kelStatusOk;
}

KelStatus kelsAdd_32s_ISfs(const Kel32s* pSrc, Kel32s* pSrcDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pSrcDst).len(len));
    if (kel::scaleMode(scaleFactor, 32, 30) == kel::ScaleMode::Zero) return kelsZero_32s(pSrcDst, len);
    for (int i = 0; i < len; ++i) pSrcDst[i] = kel::scaleTo<Kel32s>(int64_t{pSrcDst[i]} + pSrc[i], scaleFactor, 30);
    return kelStatusOk;
}

KelStatus kelsSub_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    vec::sub_16s(pSrc1, pSrc2, pDst, len);
    return kelStatusOk;
}

KelStatus kelsSub_16s_I(const Kel16s* pSrc, Kel16s* pSrcDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pSrcDst).len(len));
    vec::sub_16s(pSrc, pSrcDst, pSrcDst, len);
    return kelStatusOk;
}

KelStatus kelsSub_32f_I(const Kel32f* pSrc, Kel32f* pSrcDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pSrcDst).len(len));
    vec::sub_32f(pSrc, pSrcDst, pSrcDst, len);
    return kelStatusOk;
}

KelStatus kelsSubCRev_16s_Sfs(const Kel16s* pSrc, Kel16s val, Kel16s* pDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    if (kel::scaleMode(scaleFactor, 16, 15) == kel::ScaleMode::Zero) return kelsZero_16s(pDst, len);
    for (int i = 0; i < len; ++i) pDst[i] = kel::scaleTo<Kel16s>(int32_t{val} - pSrc[i], scaleFactor, 15);
    return kelStatusOk;
}

KelStatus kelsMul_32f(const Kel32f* pSrc1, const Kel32f* pSrc2, Kel32f* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    vec::mul_32f(pSrc1, pSrc2, pDst, len);
    return kelStatusOk;
}

KelStatus kelsMul_16s32s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel32s* pDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    switch (kel::scaleMode(scaleFactor, 30, 30)) {
        case kel::ScaleMode::Zero: return kelsZero_32s(pDst, len);
        case kel::ScaleMode::Sign:
            for (int i = 0; i < len; ++i) pDst[i] = kel::signSatTo<Kel32s>(int32_t{pSrc1[i]} * pSrc2[i]);
            return kelStatusOk;
        default: vec::mul_16s32s(pSrc1, pSrc2, pDst, len, scaleFactor); return kelStatusOk;
    }
}

KelStatus kelsMulC_16s_ISfs(Kel16s val, Kel16s* pSrcDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrcDst).len(len));
    if (val == 0) return kelsZero_16s(pSrcDst, len);
    switch (kel::scaleMode(scaleFactor, 30, 15)) {
        case kel::ScaleMode::Zero: return kelsZero_16s(pSrcDst, len);
        case kel::ScaleMode::Sign:
            for (int i = 0; i < len; ++i) pSrcDst[i] = kel::signSatTo<Kel16s>(int32_t{pSrcDst[i]} * val);
            return kelStatusOk;
        default: vec::mulC_16s(val, pSrcDst, pSrcDst, len, scaleFactor); return kelStatusOk;
    }
}

KelStatus kelsMul_NR_16s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len).scale(scaleFactor >= 0));
    vec::mulNR_16s(pSrc1, pSrc2, pDst, len, scaleFactor);
    return kelStatusOk;
}

KelStatus kelsMul_NR_16s_ISfs(const Kel16s* pSrc, Kel16s* pSrcDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pSrcDst).len(len).scale(scaleFactor >= 0));
    vec::mulNR_16s(pSrc, pSrcDst, pSrcDst, len, scaleFactor);
    return kelStatusOk;
}

KelStatus kelsMulC_NR_16s_Sfs(const Kel16s* pSrc, Kel16s val, Kel16s* pDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len).scale(scaleFactor >= 0));
    vec::mulCNR_16s(pSrc, val, pDst, len, scaleFactor);
    return kelStatusOk;
}

KelStatus kelsMulC_NR_16s_ISfs(Kel16s val, Kel16s* pSrcDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrcDst).len(len).scale(scaleFactor >= 0));
    vec::mulCNR_16s(pSrcDst, val, pSrcDst, len, scaleFactor);
    return kelStatusOk;
}

KelStatus kelsMulPowerC_NR_16s_Sfs(const Kel16s* pSrc, Kel16s val, Kel16s* pDst, int len, int scaleFactor) {
    // The one vector member that checks its scale factor before its length.
    KEL_CHECK(Args().ptr(pSrc, pDst).scale(scaleFactor >= 0).len(len));
    // Round half up; products are saturated to 32 bits before the shift
    // (only sf = 31 can reach the limit). Counts above 62 shift as 62.
    const int sh = scaleFactor > 62 ? 62 : scaleFactor;
    const int64_t rnd = sh > 0 ? int64_t{1} << (sh - 1) : 0;
    const auto scaled = [sh, rnd](int32_t a, int32_t b) -> int64_t {
        return int64_t{kel::sat32(int64_t{a} * b + rnd)} >> sh;
    };
    pDst[0] = pSrc[0];
    Kel16s p = val;
    for (int i = 1; i < len; ++i) {
        pDst[i] = kel::sat16(scaled(pSrc[i], p));
        p = static_cast<Kel16s>(scaled(p, val));  // the running power keeps 16 bits
    }
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// Shifts
// ---------------------------------------------------------------------------

KelStatus kelsLShiftC_16u(const Kel16u* pSrc, int val, Kel16u* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len).shift(val));
    if (val > 15) return kelsZero_16s(reinterpret_cast<Kel16s*>(pDst), len);
    vec::lshift_16u(pSrc, val, pDst, len);
    return kelStatusOk;
}

KelStatus kelsLShiftC_16u_I(int val, Kel16u* pSrcDst, int len) {
    // An over-wide count zero-fills before any other check.
    if (val > 15) return kelsZero_16s(reinterpret_cast<Kel16s*>(pSrcDst), len);
    return kelsLShiftC_16u(pSrcDst, val, pSrcDst, len);
}

KelStatus kelsLShiftC_16s(const Kel16s* pSrc, int val, Kel16s* pDst, int len) {
    return kelsLShiftC_16u(reinterpret_cast<const Kel16u*>(pSrc), val, reinterpret_cast<Kel16u*>(pDst), len);
}

KelStatus kelsLShiftC_16s_I(int val, Kel16s* pSrcDst, int len) {
    return kelsLShiftC_16u(reinterpret_cast<const Kel16u*>(pSrcDst), val, reinterpret_cast<Kel16u*>(pSrcDst), len);
}

KelStatus kelsLShiftC_32s_I(int val, Kel32s* pSrcDst, int len) {
    // An over-wide count zero-fills before any other check.
    if (val > 31) return kelsZero_32s(pSrcDst, len);
    KEL_CHECK(Args().ptr(pSrcDst).len(len).shift(val));
    vec::lshift_32s(pSrcDst, val, pSrcDst, len);
    return kelStatusOk;
}

KelStatus kelsRShiftC_16s(const Kel16s* pSrc, int val, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len).shift(val));
    vec::rshift_16s(pSrc, val > 15 ? 15 : val, pDst, len);
    return kelStatusOk;
}

KelStatus kelsRShiftC_16s_I(int val, Kel16s* pSrcDst, int len) { return kelsRShiftC_16s(pSrcDst, val, pSrcDst, len); }

KelStatus kelsRShiftC_32s_I(int val, Kel32s* pSrcDst, int len) {
    KEL_CHECK(Args().ptr(pSrcDst).len(len).shift(val));
    vec::rshift_32s(pSrcDst, val > 31 ? 31 : val, pSrcDst, len);
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// Sums and dot products (64-bit exact, then the scale rule with clamping)
// ---------------------------------------------------------------------------

KelStatus kelsSum_16s32s_Sfs(const Kel16s* pSrc, int len, Kel32s* pSum, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pSum).len(len));
    *pSum = kel::scaleTo<Kel32s>(vec::sum_16s(pSrc, len), kel::clampScale(scaleFactor, -31, 63), 31);
    return kelStatusOk;
}

KelStatus kelsSum_16s_Sfs(const Kel16s* pSrc, int len, Kel16s* pSum, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pSum).len(len));
    const Kel32s sum = kel::scaleTo<Kel32s>(vec::sum_16s(pSrc, len), kel::clampScale(scaleFactor, -31, 63), 31);
    *pSum = kel::sat16(sum);
    return kelStatusOk;
}

KelStatus kelsSum_32s_Sfs(const Kel32s* pSrc, int len, Kel32s* pSum, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pSum).len(len));
    *pSum = kel::scaleTo<Kel32s>(vec::sum_32s(pSrc, len), kel::clampScale(scaleFactor, -31, 63), 31);
    return kelStatusOk;
}

KelStatus kelsDotProd_16s32s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDp, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDp).len(len));
    *pDp = kel::scaleTo<Kel32s>(vec::dot_16s(pSrc1, pSrc2, len), kel::clampScale(scaleFactor, -31, 31), 31);
    return kelStatusOk;
}

KelStatus kelsDotProdAutoScale_16s32s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDp, int* pShift) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDp, pShift).len(len));
    int shift[2] = {0, 0};  // shifts of the first and second input
    int next = 1;           // the second input is shifted first
    for (;;) {
        const int s1 = shift[0], s2 = shift[1];
        // The first product is deliberately not doubled, unlike the others.
        int64_t sum = int64_t{pSrc1[0] >> s1} * (pSrc2[0] >> s2);
        int64_t rest = 0;
        for (int i = 1; i < len; ++i) rest += int32_t{pSrc1[i] >> s1} * (pSrc2[i] >> s2);
        sum += 2 * rest;
        if (sum >= kel::kMin32 && sum <= kel::kMax32) {
            *pDp = static_cast<Kel32s>(sum);
            *pShift = s1 + s2;
            return kelStatusOk;
        }
        shift[next] += 1;
        next ^= 1;
    }
}

// ---------------------------------------------------------------------------
// Block scaling, inverse square root, magnitude
// ---------------------------------------------------------------------------

KelStatus kelsAutoScale_16s(const Kel16s* pSrc, Kel16s* pDst, int len, int* pScale) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pScale).len(len));
    KEL_CHECK(Args().scale(*pScale >= 0));
    const int headroom = *pScale;
    const Kel16s m = vec::maxAbs_16s(pSrc, len);
    if (m == 0) {
        kelsZero_16s(pDst, len);
        *pScale = 16 - headroom;
        return kelStatusOk;
    }
    const int up = kel::norm_s(m);
    const int down = headroom > 31 ? 31 : headroom;
    for (int i = 0; i < len; ++i) pDst[i] = static_cast<Kel16s>((int32_t{pSrc[i]} * (1 << up)) >> down);
    *pScale = up - headroom;
    return kelStatusOk;
}

KelStatus kelsAutoScale_16s_I(Kel16s* pSrcDst, int len, int* pScale) {
    return kelsAutoScale_16s(pSrcDst, pSrcDst, len, pScale);
}

KelStatus kelsInvSqrt_32s_I(Kel32s* pSrcDst, int len) {
    KEL_CHECK(Args().ptr(pSrcDst).len(len));
    for (int i = 0; i < len; ++i) pSrcDst[i] = kel::Inv_sqrt(pSrcDst[i]);
    return kelStatusOk;
}

KelStatus kelsMagSquared_32sc32s_Sfs(const Kel32sc* pSrc, Kel32s* pDst, int len, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    if (scaleFactor > 63) return kelsZero_32s(pDst, len);
    const uint64_t max = kel::kMax32;
    for (int i = 0; i < len; ++i) {
        const int64_t re = pSrc[i].re, im = pSrc[i].im;
        uint64_t v = static_cast<uint64_t>(re * re) + static_cast<uint64_t>(im * im);
        if (scaleFactor > 0) {
            v >>= scaleFactor;
        } else if (scaleFactor < -30) {
            v = v != 0 ? max : 0;
        } else if (scaleFactor < 0) {
            v = v > (max >> -scaleFactor) ? max : v << -scaleFactor;
        }
        pDst[i] = static_cast<Kel32s>(v > max ? max : v);
    }
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// Extrema
// ---------------------------------------------------------------------------

KelStatus kelsMax_16s(const Kel16s* pSrc, int len, Kel16s* pMax) {
    KEL_CHECK(Args().ptr(pSrc, pMax).len(len));
    *pMax = vec::max_16s(pSrc, len);
    return kelStatusOk;
}

KelStatus kelsMin_16s(const Kel16s* pSrc, int len, Kel16s* pMin) {
    KEL_CHECK(Args().ptr(pSrc, pMin).len(len));
    *pMin = vec::min_16s(pSrc, len);
    return kelStatusOk;
}

KelStatus kelsMax_32s(const Kel32s* pSrc, int len, Kel32s* pMax) {
    KEL_CHECK(Args().ptr(pSrc, pMax).len(len));
    *pMax = vec::max_32s(pSrc, len);
    return kelStatusOk;
}

// The index forms find the extremum with the vector kernel, then the first
// position that holds it: the same answer as a plain first-wins scan.
KelStatus kelsMaxIndx_32s(const Kel32s* pSrc, int len, Kel32s* pMax, int* pIndex) {
    KEL_CHECK(Args().ptr(pSrc, pMax).len(len));
    const Kel32s m = vec::max_32s(pSrc, len);
    *pMax = m;
    if (pIndex != nullptr) {
        int i = 0;
        while (pSrc[i] != m) ++i;
        *pIndex = i;
    }
    return kelStatusOk;
}

KelStatus kelsMinIndx_16s(const Kel16s* pSrc, int len, Kel16s* pMin, int* pIndex) {
    KEL_CHECK(Args().ptr(pSrc, pMin).len(len));
    const Kel16s m = vec::min_16s(pSrc, len);
    *pMin = m;
    if (pIndex != nullptr) *pIndex = vec::findFirst_16s(pSrc, len, m);
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// Conversions
// ---------------------------------------------------------------------------

KelStatus kelsConvert_16s32s(const Kel16s* pSrc, Kel32s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    vec::conv_16s32s(pSrc, pDst, len);
    return kelStatusOk;
}

KelStatus kelsConvert_16s32f(const Kel16s* pSrc, Kel32f* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    vec::conv_16s32f(pSrc, pDst, len);
    return kelStatusOk;
}

KelStatus kelsConvert_32s32f(const Kel32s* pSrc, Kel32f* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    vec::conv_32s32f(pSrc, pDst, len);
    return kelStatusOk;
}

KelStatus kelsConvert_64f32f(const Kel64f* pSrc, Kel32f* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    for (int i = 0; i < len; ++i) {
        const Kel64f x = pSrc[i];
        // Written so that NaN fails the first test and lands on the minimum.
        if (x >= -static_cast<Kel64f>(FLT_MAX)) {
            pDst[i] = x > static_cast<Kel64f>(FLT_MAX) ? FLT_MAX : static_cast<Kel32f>(x);
        } else {
            pDst[i] = -FLT_MAX;
        }
    }
    return kelStatusOk;
}

namespace {

// x * 2^-sf with the factor built by repeated halving or doubling in single
// precision, saturated to [lo, hi] (NaN below lo), then rounded halves away
// from zero (roundMode 1) or truncated toward zero.
template <typename T>
void convertFloat(const Kel32f* src, T* dst, int len, int roundMode, int sf, double lo, double hi) {
    Kel32f factor = 1.0f;
    for (int k = 0; k < sf && factor != 0.0f; ++k) factor *= 0.5f;
    for (int k = 0; k > sf && factor <= FLT_MAX; --k) factor *= 2.0f;
    for (int i = 0; i < len; ++i) {
        const double x = static_cast<double>(src[i] * factor);
        if (!(x >= lo)) {
            dst[i] = static_cast<T>(lo);
        } else if (x >= hi) {
            dst[i] = static_cast<T>(hi);
        } else {
            const double r = roundMode == 1 ? (x < 0 ? x - 0.5 : x + 0.5) : x;
            dst[i] = static_cast<T>(r < lo ? lo : (r > hi ? hi : trunc(r)));
        }
    }
}

}  // namespace

KelStatus kelsConvert_32f16s_Sfs(const Kel32f* pSrc, Kel16s* pDst, int len, int roundMode, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    convertFloat(pSrc, pDst, len, roundMode, scaleFactor, kel::kMin16, kel::kMax16);
    return kelStatusOk;
}

KelStatus kelsConvert_32f32s_Sfs(const Kel32f* pSrc, Kel32s* pDst, int len, int roundMode, int scaleFactor) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    convertFloat(pSrc, pDst, len, roundMode, scaleFactor, kel::kMin32, kel::kMax32);
    return kelStatusOk;
}

// ---------------------------------------------------------------------------
// Fill, copy, move
// ---------------------------------------------------------------------------

namespace {

KelStatus zeroBytes(void* pDst, int len, size_t elementSize) {
    KEL_CHECK(Args().ptr(pDst).len(len));
    memset(pDst, 0, static_cast<size_t>(len) * elementSize);
    return kelStatusOk;
}

KelStatus copyBytes(const void* pSrc, void* pDst, int len, size_t elementSize) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    memcpy(pDst, pSrc, static_cast<size_t>(len) * elementSize);
    return kelStatusOk;
}

// memmove copies upward when the source lies above the destination and
// downward otherwise, and equal pointers are a no-op in effect.
KelStatus moveBytes(const void* pSrc, void* pDst, int len, size_t elementSize) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    if (pSrc != pDst) memmove(pDst, pSrc, static_cast<size_t>(len) * elementSize);
    return kelStatusOk;
}

}  // namespace

KelStatus kelsZero_8u(Kel8u* pDst, int len) { return zeroBytes(pDst, len, sizeof(Kel8u)); }
KelStatus kelsZero_16s(Kel16s* pDst, int len) { return zeroBytes(pDst, len, sizeof(Kel16s)); }
KelStatus kelsZero_16sc(Kel16sc* pDst, int len) { return zeroBytes(pDst, len, sizeof(Kel16sc)); }
KelStatus kelsZero_32s(Kel32s* pDst, int len) { return zeroBytes(pDst, len, sizeof(Kel32s)); }
KelStatus kelsZero_32f(Kel32f* pDst, int len) { return zeroBytes(pDst, len, sizeof(Kel32f)); }

KelStatus kelsSet_16s(Kel16s val, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pDst).len(len));
    vec::set_16s(val, pDst, len);
    return kelStatusOk;
}

KelStatus kelsSet_32s(Kel32s val, Kel32s* pDst, int len) {
    KEL_CHECK(Args().ptr(pDst).len(len));
    vec::set_32s(val, pDst, len);
    return kelStatusOk;
}

KelStatus kelsCopy_16s(const Kel16s* pSrc, Kel16s* pDst, int len) { return copyBytes(pSrc, pDst, len, sizeof(Kel16s)); }
KelStatus kelsCopy_32f(const Kel32f* pSrc, Kel32f* pDst, int len) { return copyBytes(pSrc, pDst, len, sizeof(Kel32f)); }
KelStatus kelsMove_16s(const Kel16s* pSrc, Kel16s* pDst, int len) { return moveBytes(pSrc, pDst, len, sizeof(Kel16s)); }
KelStatus kelsMove_32f(const Kel32f* pSrc, Kel32f* pDst, int len) { return moveBytes(pSrc, pDst, len, sizeof(Kel32f)); }
