// G.729 LP analysis (clauses 3.2.1 to 3.2.3 and 3.2.6): windowed
// autocorrelation, lag window, Levinson-Durbin recursion, LP to LSP by
// Chebyshev root search, LSP to LP, and the sub-frame LSP interpolation.
// The arithmetic is that of LPC.C and LPCFUNC.C of the G.729 Release 2
// reference, on the library's basic operators.
//
// For speed (docs/PERFORMANCE.md) the root search evaluates its Chebyshev
// series in plain 64-bit arithmetic: the double-precision (hi, lo) products
// of the reference are exact products of the 32-bit word without its lowest
// bit, so only the saturations of the basic operators can make a difference.
// A bound on the recursion's values rules them out; an evaluation that
// leaves the bound is redone in the basic-operator form.
#include "basop.h"
#include "check.h"
#include "g729/g729_internal.h"

using kel::Args;
namespace g729 = kel::g729;

namespace {

using namespace kel;

// ---------------------------------------------------------------------------
// Chebyshev series of the root search
// ---------------------------------------------------------------------------

// The reference form: Chebps_11 (evalQ 24, fShift 13), Chebps_10 (23, 13),
// the GSM-AMR Chebps (24, 14), one basic operator per step.
Kel16s chebBasop(Kel16s x, const Kel16s* f, int evalQ, int fShift) {
    const Kel16s fScale = static_cast<Kel16s>(1 << (fShift - 1));   // f << fShift by L_mac
    Kel16s b2h = static_cast<Kel16s>(1 << (evalQ - 16)), b2l = 0;   // b2 = 1.0
    Kel32s t0 = L_mult(x, static_cast<Kel16s>(1 << (evalQ - 15)));  // 2x
    t0 = L_mac(t0, f[1], fScale);                                   // b1 = 2x + f[1]
    Kel16s b1h = 0, b1l = 0;
    L_Extract(t0, &b1h, &b1l);
    for (int i = 2; i < g729::kHalfOrder; ++i) {
        t0 = Mpy_32_16(b1h, b1l, x);  // b0 = 2x b1 - b2 + f[i]
        t0 = L_shl(t0, 1);
        t0 = L_mac(t0, b2h, kMin16);
        t0 = L_msu(t0, b2l, 1);
        t0 = L_mac(t0, f[i], fScale);
        b2h = b1h;
        b2l = b1l;
        L_Extract(t0, &b1h, &b1l);
    }
    t0 = Mpy_32_16(b1h, b1l, x);  // x b1 - b2 + f[5] / 2
    t0 = L_mac(t0, b2h, kMin16);
    t0 = L_msu(t0, b2l, 1);
    t0 = L_mac(t0, f[g729::kHalfOrder], static_cast<Kel16s>(fScale >> 1));
    return extract_h(L_shl(t0, static_cast<Kel16s>(30 - evalQ)));  // Q14, saturated
}

// The same series in 64-bit arithmetic. With b the 32-bit word of a
// recursion value, the reference's Mpy_32_16 of its (hi, lo) halves is
// exactly 2 ((b >> 1) x >> 15), and L_Extract keeps b without its lowest
// bit. While every |b| stays within kBound, no partial sum of a step reaches
// 2^31 (2 |b1| + |b2| + |f << 14| + 2^16 < 2^31): no basic operator
// saturates and the plain sums are the reference's. Otherwise, and for
// x = -32768 (where L_mult saturates), the basic-operator form decides.
template <int evalQ, int fShift>
inline Kel16s cheb(Kel16s x, const Kel16s* f) {
    constexpr int64_t kBound = (int64_t{1} << 29) - (int64_t{1} << 16);
    constexpr int64_t kX = int64_t{1} << (evalQ - 14), kF = int64_t{1} << fShift;  // scales of 2x and of f
    int64_t b2 = int64_t{1} << evalQ;                                              // 1.0
    int64_t b1 = int64_t{x} * kX + int64_t{f[1]} * kF;
    bool inRange = x != kMin16 && static_cast<uint64_t>(b1 + kBound) <= static_cast<uint64_t>(2 * kBound);
    for (int i = 2; i < g729::kHalfOrder; ++i) {
        const int64_t b0 = 4 * (((b1 >> 1) * x) >> 15) - (b2 & ~int64_t{1}) + int64_t{f[i]} * kF;
        inRange &= static_cast<uint64_t>(b0 + kBound) <= static_cast<uint64_t>(2 * kBound);
        b2 = b1;
        b1 = b0;
    }
    if (!inRange) return chebBasop(x, f, evalQ, fShift);
    const int64_t t = 2 * (((b1 >> 1) * x) >> 15) - (b2 & ~int64_t{1}) + int64_t{f[g729::kHalfOrder]} * (kF / 2);
    return extract_h(L_shlSat(static_cast<Kel32s>(t), 30 - evalQ));
}

// ---------------------------------------------------------------------------
// Root search
// ---------------------------------------------------------------------------

// F1(z) / (1 + z^-1) and F2(z) / (1 - z^-1) from a[0..10]: f[0] = 1.0 and
// f1[i+1] = ((a[i+1] + a[10-i]) >> shift) - f1[i], f2[i+1] = ((a[i+1] -
// a[10-i]) >> shift) + f2[i], saturated to 16 bits (the sums themselves are
// exact in the reference's 32-bit L_mac). Returns false when a coefficient
// was saturated.
bool polynomials(const Kel16s* a, int shift, Kel16s* f1, Kel16s* f2) {
    f1[0] = f2[0] = static_cast<Kel16s>(4096 >> shift);
    bool fits = true;
    for (int i = 0; i < g729::kHalfOrder; ++i) {
        const int32_t sum = (int32_t{a[i + 1]} + a[g729::kOrder - i]) >> shift;
        const int32_t diff = (int32_t{a[i + 1]} - a[g729::kOrder - i]) >> shift;
        const int32_t v1 = sum - f1[i], v2 = diff + f2[i];
        fits = fits && v1 == sat16(v1) && v2 == sat16(v2);
        f1[i + 1] = sat16(v1);
        f2[i + 1] = sat16(v2);
    }
    return fits;
}

// Linear interpolation of the root in [xlow, xhigh]:
// xint = xlow - ylow (xhigh - xlow) / (yhigh - ylow), the quotient in Q11
// from a normalised 16-bit division, as Az_lsp computes it.
Kel16s interpolateRoot(Kel16s xlow, Kel16s ylow, Kel16s xhigh, Kel16s yhigh) {
    const Kel16s x = sub(xhigh, xlow);
    Kel16s y = sub(yhigh, ylow);
    if (y == 0) return xlow;
    const Kel16s sign = y;
    y = abs_s(y);
    const Kel16s e = norm_s(y);
    y = shl(y, e);
    y = div_s(16383, y);
    y = extract_l(L_shr(L_mult(x, y), sub(20, e)));  // (xhigh - xlow) / (yhigh - ylow), Q11
    if (sign < 0) y = negate(y);
    return sub(xlow, extract_l(L_shr(L_mult(ylow, y), 11)));
}

// The search of Az_lsp: grid points from cos 0 towards cos pi, F1 and F2
// alternately, each sign change (product <= 0) bisected, then interpolated.
template <int evalQ, int fShift>
int searchRoots(const Kel16s* f1, const Kel16s* f2, const Kel16s* grid, int gridPoints, int bisections, Kel16s* lsp) {
    const Kel16s* coef = f1;
    int found = 0;
    Kel16s xlow = grid[0];
    Kel16s ylow = cheb<evalQ, fShift>(xlow, coef);
    for (int j = 1; j <= gridPoints && found < g729::kOrder; ++j) {
        Kel16s xhigh = xlow, yhigh = ylow;
        xlow = grid[j];
        ylow = cheb<evalQ, fShift>(xlow, coef);
        if (int32_t{ylow} * yhigh > 0) continue;
        for (int i = 0; i < bisections; ++i) {
            const Kel16s xmid = static_cast<Kel16s>((xlow >> 1) + (xhigh >> 1));
            const Kel16s ymid = cheb<evalQ, fShift>(xmid, coef);
            if (int32_t{ylow} * ymid <= 0) {
                yhigh = ymid;
                xhigh = xmid;
            } else {
                ylow = ymid;
                xlow = xmid;
            }
        }
        xlow = interpolateRoot(xlow, ylow, xhigh, yhigh);
        lsp[found++] = xlow;
        coef = coef == f1 ? f2 : f1;
        ylow = cheb<evalQ, fShift>(xlow, coef);
    }
    return found;
}

// Copies n 16-bit values (the regions may be the same).
void copy16(const Kel16s* src, Kel16s* dst, int n) {
    for (int i = 0; i < n; ++i) dst[i] = src[i];
}

}  // namespace

Kel16s kel::_kelsChebyshev_G729_16s(Kel16s x, const Kel16s* f, int evalQ, int fShift, bool exact) {
    if (exact) return chebBasop(x, f, evalQ, fShift);
    if (evalQ == 23) return cheb<23, 13>(x, f);
    return fShift == 13 ? cheb<24, 13>(x, f) : cheb<24, 14>(x, f);
}

int kel::ownLPCToLSP_G729_16s(const Kel16s* pLpc, const Kel16s* pPrevLsp, Kel16s* pLsp, int gridPoints, int bisections,
                              int gridTable, int scale) {
    Kel16s f1[g729::kHalfOrder + 1], f2[g729::kHalfOrder + 1], lsp[g729::kOrder];
    const Kel16s* grid = g729::kGridTable[gridTable];
    int found;
    if (scale == 13) {
        polynomials(pLpc, 2, f1, f2);
        found = searchRoots<24, 14>(f1, f2, grid, gridPoints, bisections, lsp);
    } else if (polynomials(pLpc, 1, f1, f2)) {
        found = searchRoots<24, 13>(f1, f2, grid, gridPoints, bisections, lsp);
    } else {
        polynomials(pLpc, 2, f1, f2);  // Q11 overflowed: Q10, evaluated in Q23
        found = searchRoots<23, 13>(f1, f2, grid, gridPoints, bisections, lsp);
    }
    copy16(found == g729::kOrder ? lsp : pPrevLsp, pLsp, g729::kOrder);
    return found;
}

bool kel::ownLevinsonDurbin_G729_32s16s(const Kel32s* pAutoCorr, int order, Kel16s* pLpc, Kel16s* pRc, int rcLen,
                                        Kel16s* pEnergy) {
    constexpr int kMax = 31;
    Kel16s rh[kMax], rl[kMax];
    for (int i = 0; i <= order; ++i) L_Extract(pAutoCorr[i], &rh[i], &rl[i]);
    Kel16s ah[kMax], al[kMax], anh[kMax], anl[kMax];  // A in Q27, double precision
    Kel16s kh = 0, kl = 0, hi = 0, lo = 0, alpH = 0, alpL = 0;

    // K = A[1] = -R[1] / R[0]
    Kel32s t1 = L_Comp(rh[1], rl[1]);
    Kel32s t0 = Div_32(L_abs(t1), rh[0], rl[0]);
    if (t1 > 0) t0 = L_negate(t0);
    L_Extract(t0, &kh, &kl);
    if (rcLen > 0) pRc[0] = kh;
    L_Extract(L_shr(t0, 4), &ah[1], &al[1]);

    // Alpha = R[0] (1 - K^2), normalised
    t0 = L_sub(kMax32, L_abs(Mpy_32(kh, kl, kh, kl)));
    L_Extract(t0, &hi, &lo);
    t0 = Mpy_32(rh[0], rl[0], hi, lo);
    Kel16s alpExp = norm_l(t0);
    L_Extract(L_shl(t0, alpExp), &alpH, &alpL);

    for (int i = 2; i <= order; ++i) {
        // S = sum over j = 1..i-1 of R[j] A[i-j], + R[i]
        t0 = 0;
        for (int j = 1; j < i; ++j) t0 = L_add(t0, Mpy_32(rh[j], rl[j], ah[i - j], al[i - j]));
        t0 = L_add(L_shl(t0, 4), L_Comp(rh[i], rl[i]));

        // K = -S / Alpha
        t1 = L_abs(t0);
        Kel32s t2 = Div_32(t1, alpH, alpL);
        if (t0 > 0) t2 = L_negate(t2);
        t2 = L_shl(t2, alpExp);
        L_Extract(t2, &kh, &kl);
        if (i - 1 < rcLen) pRc[i - 1] = kh;
        if (abs_s(kh) > 32750) return false;  // unstable filter

        // An[j] = A[j] + K A[i-j], An[i] = K
        for (int j = 1; j < i; ++j) {
            t0 = L_add(Mpy_32(kh, kl, ah[i - j], al[i - j]), L_Comp(ah[j], al[j]));
            L_Extract(t0, &anh[j], &anl[j]);
        }
        L_Extract(L_shr(t2, 4), &anh[i], &anl[i]);

        // Alpha = Alpha (1 - K^2), normalised
        t0 = L_sub(kMax32, L_abs(Mpy_32(kh, kl, kh, kl)));
        L_Extract(t0, &hi, &lo);
        t0 = Mpy_32(alpH, alpL, hi, lo);
        const Kel16s n = norm_l(t0);
        L_Extract(L_shl(t0, n), &alpH, &alpL);
        alpExp = add(alpExp, n);

        for (int j = 1; j <= i; ++j) {
            ah[j] = anh[j];
            al[j] = anl[j];
        }
    }

    *pEnergy = shr(alpH, alpExp);
    pLpc[0] = 4096;
    for (int i = 1; i <= order; ++i) pLpc[i] = round_fx(L_shl(L_Comp(ah[i], al[i]), 1));  // Q27 to Q12
    return true;
}

// ---------------------------------------------------------------------------
// Exported functions
// ---------------------------------------------------------------------------

KelStatus kelsAutoCorr_G729B(const Kel16s* pSrc, Kel16s* pNormOut, Kel32s* pDst) {
    KEL_CHECK(Args().ptr(pSrc, pNormOut, pDst));
    Kel16s y[g729::kWindow];
    for (int i = 0; i < g729::kWindow; ++i) y[i] = mult_r(pSrc[i], g729::kHamWindow[i]);
    // G.729 Autocorr: while r[0] overflows, divide the windowed signal by 4
    // (the exponent of annex B grows by 4 each time).
    int exponent = 1, norm = 0;
    while (kelsAutoCorr_NormE_16s32s(y, g729::kWindow, pDst, g729::kLagCount + 1, &norm) == kelStatusOverflow) {
        for (Kel16s& v : y) v = static_cast<Kel16s>(v >> 2);
        exponent += 4;
    }
    *pNormOut = static_cast<Kel16s>(exponent - norm);
    return kelStatusOk;
}

KelStatus kelsLagWindow_G729_32s_I(Kel32s* pSrcDst, int len) {
    KEL_CHECK(Args().ptr(pSrcDst).len(len).require(len <= g729::kLagCount, kelStatusOutOfRange));
    for (int i = 0; i < len; ++i) {
        Kel16s rh = 0, rl = 0, wh = 0, wl = 0;
        L_Extract(pSrcDst[i], &rh, &rl);
        L_Extract(g729::kLagWindow[i], &wh, &wl);
        pSrcDst[i] = Mpy_32(rh, rl, wh, wl);
    }
    return kelStatusOk;
}

namespace {

// The recursion's warning: r[0] too small to divide by (its high half would
// be 0), or an unstable filter.
KelStatus levinson(const Kel32s* pSrcAutoCorr, int order, Kel16s* pDstLpc, Kel16s* pDstRc, int rcLen, Kel16s* pEnergy) {
    if (pSrcAutoCorr[0] > -65536 && pSrcAutoCorr[0] < 65536) return kelStatusOverflow;
    return kel::ownLevinsonDurbin_G729_32s16s(pSrcAutoCorr, order, pDstLpc, pDstRc, rcLen, pEnergy) ? kelStatusOk
                                                                                                    : kelStatusOverflow;
}

}  // namespace

KelStatus kelsLevinsonDurbin_G729_32s16s(const Kel32s* pSrcAutoCorr, int order, Kel16s* pDstLpc, Kel16s* pDstRc,
                                         Kel16s* pResultResidualEnergy) {
    KEL_CHECK(Args()
                  .ptr(pSrcAutoCorr, pDstLpc, pDstRc, pResultResidualEnergy)
                  .require(order >= 1 && order <= 30, kelStatusOutOfRange));
    return levinson(pSrcAutoCorr, order, pDstLpc, pDstRc, order, pResultResidualEnergy);
}

KelStatus kelsLevinsonDurbin_G729B(const Kel32s* pSrcAutoCorr, Kel16s* pDstLpc, Kel16s* pDstRc,
                                   Kel16s* pResultResidualEnergy) {
    KEL_CHECK(Args().ptr(pSrcAutoCorr, pDstLpc, pDstRc, pResultResidualEnergy));
    return levinson(pSrcAutoCorr, g729::kOrder, pDstLpc, pDstRc, 2, pResultResidualEnergy);
}

KelStatus kelsLPCToLSP_G729_16s(const Kel16s* pSrcLpc, const Kel16s* pSrcPrevLsp, Kel16s* pDstLsp) {
    KEL_CHECK(Args().ptr(pSrcLpc, pSrcPrevLsp, pDstLsp));
    kel::ownLPCToLSP_G729_16s(pSrcLpc, pSrcPrevLsp, pDstLsp, 60, 4, 0, 12);
    return kelStatusOk;
}

KelStatus kelsLPCToLSP_G729A_16s(const Kel16s* pSrcLpc, const Kel16s* pSrcPrevLsp, Kel16s* pDstLsp) {
    KEL_CHECK(Args().ptr(pSrcLpc, pSrcPrevLsp, pDstLsp));
    kel::ownLPCToLSP_G729_16s(pSrcLpc, pSrcPrevLsp, pDstLsp, 50, 2, 1, 12);
    return kelStatusOk;
}

namespace {

// Get_lsp_pol: the coefficients f[0..5] (Q24) of the fifth-degree
// polynomial whose roots are the LSPs q[0], q[2], ... (stride 2):
// f[0] = 1.0, f[1] = -2 q[0], and for each further LSP q,
// f[k] = f[k] + f[k-2] - 2 q f[k-1] for k = i..2 (downwards, so that f[k-1]
// is still the previous step's) and f[1] -= 2 q.
void lspPolynomial(const Kel16s* q, Kel32s* f) {
    f[0] = L_mult(4096, 2048);
    f[1] = L_msu(0, q[0], 512);
    for (int i = 2; i <= g729::kHalfOrder; ++i) {
        const Kel16s lsp = q[2 * (i - 1)];
        f[i] = f[i - 2];
        for (int k = i; k >= 2; --k) {
            Kel16s hi = 0, lo = 0;
            L_Extract(f[k - 1], &hi, &lo);
            const Kel32s t0 = L_shl(Mpy_32_16(hi, lo, lsp), 1);
            f[k] = L_sub(L_add(f[k], f[k - 2]), t0);
        }
        f[1] = L_msu(f[1], lsp, 512);
    }
}

}  // namespace

KelStatus kelsLSPToLPC_G729_16s(const Kel16s* pSrcLsp, Kel16s* pDstLpc) {
    KEL_CHECK(Args().ptr(pSrcLsp, pDstLpc));
    Kel32s f1[g729::kHalfOrder + 1], f2[g729::kHalfOrder + 1];
    lspPolynomial(pSrcLsp, f1);
    lspPolynomial(pSrcLsp + 1, f2);
    for (int i = g729::kHalfOrder; i > 0; --i) {
        f1[i] = L_add(f1[i], f1[i - 1]);  // F1(z) (1 + z^-1)
        f2[i] = L_sub(f2[i], f2[i - 1]);  // F2(z) (1 - z^-1)
    }
    pDstLpc[0] = 4096;
    for (int i = 1; i <= g729::kHalfOrder; ++i) {
        // Q24 to Q12 with the halving, rounded; saturated to 16 bits (the
        // reference keeps the low half instead, which differs only for LSPs
        // so disordered that a coefficient reaches 8.0).
        pDstLpc[i] = sat16(L_shr_r(L_add(f1[i], f2[i]), 13));
        pDstLpc[g729::kOrder + 1 - i] = sat16(L_shr_r(L_sub(f1[i], f2[i]), 13));
    }
    return kelStatusOk;
}

KelStatus kelsInterpolate_G729_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc1, pSrc2, pDst).len(len));
    for (int i = 0; i < len; ++i) pDst[i] = static_cast<Kel16s>((pSrc1[i] >> 1) + (pSrc2[i] >> 1));
    return kelStatusOk;
}
