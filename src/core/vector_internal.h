// Internal multi-vector kernels that the codec families call. No checks and
// no status unless stated: callers pass valid pointers and lengths.
#ifndef KELSC_CORE_VECTOR_INTERNAL_H
#define KELSC_CORE_VECTOR_INTERNAL_H

#include "kelsc.h"

namespace kel {

// *pResult = sum a[i] * b[i] with plain 32-bit wrap-around.
void _kelsDotProd_16s32s(const Kel16s* a, const Kel16s* b, int len, Kel32s* pResult);

// *pDst = sum (x >> sf)^2 in 64 bits (no pre-shift for sf < 1). Above
// 2147483647 stores 2147483647 and returns kelStatusOverflow, else 0.
KelStatus _kelsSumSquare_NS_16s32s_Sfs(const Kel16s* pSrc, int len, int sf, Kel32s* pDst);

// pDst[r] = sum of squares of row r, for count rows of step samples
// (64-bit sums saturated to 32 bits).
void _kelsSumSquare_D2_16s32s(const Kel16s* pSrc, int count, int step, Kel32s* pDst);

// pDst[r] = dot product of row r of a row-major matrix (rows of len
// samples, stored contiguously) with pVec, wrapping 32-bit sums.
void _kelsMul_D2D1_16s32s(const Kel16s* pMat, const Kel16s* pVec, int len, int rows, Kel32s* pDst);

// As _kelsMul_D2D1_16s32s with rows step samples apart (step >= len).
void _kelsMul_D2D1Step_16s32s(const Kel16s* pMat, int step, const Kel16s* pVec, int len, int rows, Kel32s* pDst);

// The energies of rows 0..rows-1 (rows of len samples, step apart),
// followed, for r = 1..rows-1, by the cross products of row r with rows
// 0..r-1: rows + rows*(rows-1)/2 consecutive results, wrapping sums.
void _kelsMul_D2_16s32s(const Kel16s* pMat, int step, int len, int rows, Kel32s* pDst);

// First (_kelsMaxIndx_32s) or last (_Inv) index of the maximum. A length
// < 1 gives -2147483648 and index 0.
void _kelsMaxIndx_32s(const Kel32s* pSrc, int len, Kel32s* pMax, int* pIndex);
void _kelsMaxIndx_Inv_32s(const Kel32s* pSrc, int len, Kel32s* pMax, int* pIndex);

// Sign-extending copy.
void _kelsCopy_16s32s(const Kel16s* pSrc, Kel32s* pDst, int len);

// Narrowing: sf >= 1 stores (x + 2^(sf-1)) >> sf with a wrapping addition,
// sf <= 0 stores x << -sf wrapping; each then saturated to 16 bits.
void _kelsConvert_NR_32s16s_Sfs(const Kel32s* pSrc, Kel16s* pDst, int len, int sf);

}  // namespace kel

#endif  // KELSC_CORE_VECTOR_INTERNAL_H
