// Internal multi-vector kernels of the codec families.
#include "vector_internal.h"

#include "basop.h"
#include "vec_kernels_decl.h"

namespace kel {

namespace {

int32_t dotWrap(const Kel16s* a, const Kel16s* b, int len) {
    uint32_t acc = 0;
    for (int i = 0; i < len; ++i) acc += static_cast<uint32_t>(int32_t{a[i]} * b[i]);
    return static_cast<int32_t>(acc);
}

}  // namespace

void _kelsDotProd_16s32s(const Kel16s* a, const Kel16s* b, int len, Kel32s* pResult) { *pResult = dotWrap(a, b, len); }

KelStatus _kelsSumSquare_NS_16s32s_Sfs(const Kel16s* pSrc, int len, int sf, Kel32s* pDst) {
    int64_t acc = 0;
    if (sf < 1) {
        acc = vec::dot_16s(pSrc, pSrc, len);
    } else {
        const int sh = sf > 15 ? 15 : sf;
        for (int i = 0; i < len; ++i) {
            const int32_t x = pSrc[i] >> sh;
            acc += x * x;
        }
    }
    if (acc > kMax32) {
        *pDst = kMax32;
        return kelStatusOverflow;
    }
    *pDst = static_cast<Kel32s>(acc);
    return kelStatusOk;
}

void _kelsSumSquare_D2_16s32s(const Kel16s* pSrc, int count, int step, Kel32s* pDst) {
    for (int r = 0; r < count; ++r) {
        const Kel16s* row = pSrc + r * step;
        pDst[r] = sat32(vec::dot_16s(row, row, step));
    }
}

void _kelsMul_D2D1_16s32s(const Kel16s* pMat, const Kel16s* pVec, int len, int rows, Kel32s* pDst) {
    _kelsMul_D2D1Step_16s32s(pMat, len, pVec, len, rows, pDst);
}

void _kelsMul_D2D1Step_16s32s(const Kel16s* pMat, int step, const Kel16s* pVec, int len, int rows, Kel32s* pDst) {
    for (int r = 0; r < rows; ++r) pDst[r] = dotWrap(pMat + r * step, pVec, len);
}

void _kelsMul_D2_16s32s(const Kel16s* pMat, int step, int len, int rows, Kel32s* pDst) {
    for (int r = 0; r < rows; ++r) *pDst++ = dotWrap(pMat + r * step, pMat + r * step, len);
    for (int r = 1; r < rows; ++r)
        for (int q = 0; q < r; ++q) *pDst++ = dotWrap(pMat + r * step, pMat + q * step, len);
}

void _kelsMaxIndx_32s(const Kel32s* pSrc, int len, Kel32s* pMax, int* pIndex) {
    Kel32s m = kMin32;
    int index = 0;
    for (int i = 0; i < len; ++i) {
        if (pSrc[i] > m || i == 0) {
            m = pSrc[i];
            index = i;
        }
    }
    *pMax = m;
    *pIndex = index;
}

void _kelsMaxIndx_Inv_32s(const Kel32s* pSrc, int len, Kel32s* pMax, int* pIndex) {
    Kel32s m = kMin32;
    int index = 0;
    for (int i = 0; i < len; ++i) {
        if (pSrc[i] >= m) {
            m = pSrc[i];
            index = i;
        }
    }
    *pMax = m;
    *pIndex = index;
}

void _kelsCopy_16s32s(const Kel16s* pSrc, Kel32s* pDst, int len) { vec::conv_16s32s(pSrc, pDst, len); }

void _kelsConvert_NR_32s16s_Sfs(const Kel32s* pSrc, Kel16s* pDst, int len, int sf) {
    if (sf >= 1) {
        const int sh = sf > 31 ? 31 : sf;
        const uint32_t rnd = uint32_t{1} << (sh - 1);
        for (int i = 0; i < len; ++i) pDst[i] = sat16(static_cast<int32_t>(static_cast<uint32_t>(pSrc[i]) + rnd) >> sh);
    } else {
        const int sh = sf < -31 ? 31 : -sf;
        for (int i = 0; i < len; ++i) pDst[i] = sat16(static_cast<int32_t>(static_cast<uint32_t>(pSrc[i]) << sh));
    }
}

}  // namespace kel
