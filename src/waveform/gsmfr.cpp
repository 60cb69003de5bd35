// GSM 06.10 full-rate (RPE-LTP) speech coding: the signal-processing steps
// of the encoder (4.2) and decoder (4.3) in the Recommendation's 16-bit
// fixed-point arithmetic, with the results of the ITU-T STL reference
// (rpeltp): offset compensation and pre-emphasis, the Schur recursion, the
// short-term analysis and synthesis lattices, the RPE weighting filter, the
// APCM inverse quantisation and the decoder's de-emphasis.
//
// GSM 06.10 writes its arithmetic with operators of its own: mult_r (a
// rounded Q15 product), add and sub (saturating). Where the reference forms
// a product with its GSM_MULT_R macro, which keeps the low 16 bits of
// (a * b + 16384) >> 15 (so -32768 * -32768 gives -32768), so do we
// (multRound16 below); where it calls the saturating gsm_mult_r, we use
// kel::mult_r. The two differ for that one pair of operands only.
//
// The one deliberate difference from the reference: the offset
// compensation's two 32-bit additions wrap instead of saturating. Whatever
// the signal and the memory, their sums stay inside the 32-bit range (4.2.2
// below), so the results agree.
#include "basop.h"
#include "check.h"
#include "gsmfr_tables.h"

// The per-sample steps are inlined into the filter loops.
#define KEL_GSMFR_INLINE inline __attribute__((always_inline))

namespace kel::gsmfr {
namespace {

// (a * b + 16384) >> 15 kept as 16 bits: the reference's GSM_MULT_R.
KEL_GSMFR_INLINE Kel16s multRound16(Kel16s a, Kel16s b) { return static_cast<Kel16s>((int32_t{a} * b + 16384) >> 15); }

// Saturating 16-bit addition and subtraction (GSM's add and sub) as the
// processor's overflow test, which a branch predicts well: the lattices'
// sums saturate rarely, and a conditional move on every one would lengthen
// the chain of additions that each sample waits for.
KEL_GSMFR_INLINE Kel16s addSat(Kel16s a, Kel16s b) {
    Kel16s r;
    if (__builtin_expect(__builtin_add_overflow(a, b, &r), 0)) return a < 0 ? kMin16 : kMax16;
    return r;
}

KEL_GSMFR_INLINE Kel16s subSat(Kel16s a, Kel16s b) {
    Kel16s r;
    if (__builtin_expect(__builtin_sub_overflow(a, b, &r), 0)) return a < 0 ? kMin16 : kMax16;
    return r;
}

// Bits 15..30 of x as a signed 16-bit value (the reference's word of
// SASR(x, 15)).
inline Kel16s bits15(uint32_t x) { return static_cast<Kel16s>(static_cast<uint16_t>(x >> 15)); }

// ---------------------------------------------------------------------------
// GSM 06.10 4.2.5: Schur recursion
// ---------------------------------------------------------------------------

// GSM 06.10's div (the basic operators' div_s) for 0 <= num <= den: the 15
// quotient bits of its restoring division are those of one integer
// division; num = den gives 32767, num = 0 gives 0 (also for den = 0).
inline Kel16s divide(Kel16s num, Kel16s den) {
    if (num >= den) return num == 0 ? Kel16s{0} : kMax16;
    return static_cast<Kel16s>((int32_t{num} << 15) / den);
}

// The recursion for a fixed order, so that its loops unroll and the arrays
// stay in registers. The reference runs order 8; a lower order is the same
// recursion on fewer values (and gives the first coefficients of order 8).
template <int kOrder>
void ownSchur(const Kel32s* R, Kel16s* r) {
    if (R[0] == 0) {
        for (int i = 0; i < kOrder; ++i) r[i] = 0;
        return;
    }
    // Normalisation by the left shift that normalises R[0]; the upper 16
    // bits of each shifted autocorrelation are kept (bits shifted out of a
    // larger |R[i]| are lost, as in the reference).
    const int shift = norm_l(R[0]);
    Kel16s P[kOrder + 1];
    Kel16s K[kOrder + 1];
    for (int i = 0; i <= kOrder; ++i) {
        P[i] = static_cast<Kel16s>((static_cast<uint32_t>(R[i]) << shift) >> 16);
        K[i] = P[i];
    }
    for (int n = 1; n <= kOrder; ++n) {
        const Kel16s mag = abs_s(P[1]);
        if (P[0] < mag) {
            // The recursion has left its range (always so for R[0] < 0): the
            // remaining coefficients are 0.
            for (int i = n - 1; i < kOrder; ++i) r[i] = 0;
            return;
        }
        // 0 <= mag <= P[0]: the quotient is in 0..32767.
        Kel16s rn = divide(mag, P[0]);
        if (P[1] > 0) rn = static_cast<Kel16s>(-rn);
        r[n - 1] = rn;
        if (n == kOrder) return;
        // rn is never -32768, so the products cannot saturate.
        P[0] = add(P[0], mult_r(P[1], rn));
        for (int m = 1; m <= kOrder - n; ++m) {
            P[m] = add(P[m + 1], mult_r(K[m], rn));
            K[m] = add(K[m], mult_r(P[m + 1], rn));
        }
    }
}

void ownSchurAnyOrder(const Kel32s* R, Kel16s* r, int order) {
    switch (order) {
        case 1: ownSchur<1>(R, r); break;
        case 2: ownSchur<2>(R, r); break;
        case 3: ownSchur<3>(R, r); break;
        case 4: ownSchur<4>(R, r); break;
        case 5: ownSchur<5>(R, r); break;
        case 6: ownSchur<6>(R, r); break;
        case 7: ownSchur<7>(R, r); break;
        default: ownSchur<8>(R, r); break;
    }
}

// ---------------------------------------------------------------------------
// GSM 06.10 4.2.10: short-term analysis lattice
// ---------------------------------------------------------------------------

void ownShortTermAnalysis(const Kel16s* rc, Kel16s* s, int len, Kel16s* mem) {
    Kel16s r[kLatticeOrder], u[kLatticeOrder];
    for (int i = 0; i < kLatticeOrder; ++i) {
        r[i] = rc[i];
        u[i] = mem[i];
    }
    for (int k = 0; k < len; ++k) {
        Kel16s d = s[k];
        Kel16s sav = d;
        for (int i = 0; i < kLatticeOrder; ++i) {
            const Kel16s t = u[i];
            u[i] = sav;
            sav = addSat(t, multRound16(r[i], d));
            d = addSat(d, multRound16(r[i], t));
        }
        s[k] = d;
    }
    for (int i = 0; i < kLatticeOrder; ++i) mem[i] = u[i];
}

// ---------------------------------------------------------------------------
// GSM 06.10 4.3.4: short-term synthesis lattice
// ---------------------------------------------------------------------------

// mult_r of the synthesis lattice: saturating (the reference spells out
// gsm_mult_r here), which matters only for -32768 * -32768; kMinCoef says
// whether a coefficient is -32768 at all.
template <bool kMinCoef>
KEL_GSMFR_INLINE Kel16s synthesisProduct(Kel16s r, Kel16s v) {
    return kMinCoef ? mult_r(r, v) : multRound16(r, v);
}

template <bool kMinCoef>
void synthesisLattice(const Kel16s* rc, const Kel16s* x, Kel16s* y, int len, Kel16s* mem) {
    Kel16s r[kLatticeOrder], v[kLatticeOrder + 1];
    for (int i = 0; i < kLatticeOrder; ++i) r[i] = rc[i];
    for (int i = 0; i <= kLatticeOrder; ++i) v[i] = mem[i];
    for (int k = 0; k < len; ++k) {
        Kel16s sri = x[k];
        for (int i = kLatticeOrder - 1; i >= 0; --i) {
            sri = subSat(sri, synthesisProduct<kMinCoef>(r[i], v[i]));
            v[i + 1] = addSat(v[i], synthesisProduct<kMinCoef>(r[i], sri));
        }
        v[0] = sri;
        y[k] = sri;
    }
    for (int i = 0; i <= kLatticeOrder; ++i) mem[i] = v[i];
}

void ownShortTermSynthesis(const Kel16s* rc, const Kel16s* x, Kel16s* y, int len, Kel16s* mem) {
    bool minCoef = false;
    for (int i = 0; i < kLatticeOrder; ++i) minCoef |= rc[i] == kMin16;
    if (minCoef) {
        synthesisLattice<true>(rc, x, y, len, mem);
    } else {
        synthesisLattice<false>(rc, x, y, len, mem);
    }
}

// ---------------------------------------------------------------------------
// GSM 06.10 4.2.13: weighting filter
// ---------------------------------------------------------------------------

// The sum of eleven 16 x Q13 products stays below 2^31 in magnitude
// (32768 * 24798), so plain 32-bit arithmetic is exact.
void ownWeighting(const Kel16s* x, Kel16s* y, int len) {
    for (int k = 0; k < len; ++k) {
        const Kel16s* w = x + k - kWeightingHalf;
        int32_t acc = 4096;
        for (int j = 0; j < kWeightingTaps; ++j) acc += int32_t{w[j]} * kWeightingFilter[j];
        y[k] = sat16(acc >> 13);
    }
}

// ---------------------------------------------------------------------------
// GSM 06.10 4.2.3: pre-emphasis; 4.3.5: de-emphasis and up-scaling
// ---------------------------------------------------------------------------

void ownPreemphasis(const Kel16s* x, Kel16s* y, int len, Kel16s* mem) {
    Kel16s prev = *mem;
    for (int k = 0; k < len; ++k) {
        const Kel16s cur = x[k];  // read before y[k] is written (x may be y)
        y[k] = addSat(cur, multRound16(prev, static_cast<Kel16s>(-kEmphasis)));
        prev = cur;
    }
    *mem = prev;
}

void ownDeemphasis(Kel16s* x, int len, Kel16s* mem) {
    Kel16s msr = *mem;
    for (int k = 0; k < len; ++k) {
        msr = addSat(x[k], multRound16(msr, kEmphasis));
        x[k] = static_cast<Kel16s>(addSat(msr, msr) & ~7);
    }
    *mem = msr;
}

// ---------------------------------------------------------------------------
// GSM 06.10 4.2.1, 4.2.2: downscaling and offset compensation
// ---------------------------------------------------------------------------

// The recursive part carries about 2^15 times its output in L_z2. Its two
// 32-bit additions wrap, deliberately, where the reference saturates; they
// cannot leave the range anyway: msp * 32735 + s1 * 2^15 + (at most 32735)
// + 16384 lies within -2146402304..2146385919 for any 16-bit msp and s1,
// so the results are the reference's for any signal and any memory.
void ownOffsetCompensation(const Kel16s* x, Kel16s* y, int len, KelHighPassMem_GSMFR* mem) {
    uint32_t lz2 = static_cast<uint32_t>(mem->lz2);
    Kel16s z1 = mem->z1;
    for (int k = 0; k < len; ++k) {
        // 4.2.1: the 13-bit sample, scaled to S.S.v...v.0.0.
        const Kel16s so = static_cast<Kel16s>((x[k] >> 3) * 4);
        const Kel16s s1 = static_cast<Kel16s>(so - z1);
        z1 = so;
        // A 31 x 16-bit product: L_z2 * alpha, from its upper part msp
        // (bits 15..30) and its lower 15 bits lsp.
        const Kel16s msp = bits15(lz2);
        const int32_t lsp = static_cast<int32_t>(lz2 & 32767);
        const uint32_t ls2 = static_cast<uint32_t>(int32_t{s1} * 32768 + ((lsp * kOffsetPole + 16384) >> 15));
        lz2 = static_cast<uint32_t>(int32_t{msp} * kOffsetPole) + ls2;
        y[k] = bits15(lz2 + 16384);
    }
    mem->lz2 = static_cast<Kel32s>(lz2);
    mem->z1 = z1;
}

// ---------------------------------------------------------------------------
// GSM 06.10 4.2.16: APCM inverse quantisation
// ---------------------------------------------------------------------------

// exp >= 0. The reference's operators: the rounding term is gsm_asl(1,
// exp - 1), 0 for a count of -1 or of 16 and more, and the final shift
// gsm_asr(v, exp), the sign alone for a count of 16 and more.
void ownRpeInverseQuant(const Kel16s* xMc, Kel16s mantFactor, int exp, Kel16s* xMp) {
    const Kel16s round = (exp >= 1 && exp <= 16) ? static_cast<Kel16s>(1 << (exp - 1)) : Kel16s{0};
    for (int i = 0; i < kRpePulses; ++i) {
        // The 3-bit code to a signed value -7..7 and on to 16 bits, Q12
        // (kept as 16 bits for codes outside 0..7).
        const Kel16s level = static_cast<Kel16s>(xMc[i] * 2 - 7);
        const Kel16s scaled = static_cast<Kel16s>(level * 4096);
        const Kel16s v = add(multRound16(mantFactor, scaled), round);
        xMp[i] = exp >= 16 ? static_cast<Kel16s>(v < 0 ? -1 : 0) : static_cast<Kel16s>(v >> exp);
    }
}

}  // namespace
}  // namespace kel::gsmfr

using kel::Args;
using namespace kel::gsmfr;

KelStatus kelsSchur_GSMFR_32s16s(const Kel32s* pSrcAutoCorr, Kel16s* pDstRC, int order) {
    KEL_CHECK(Args().ptr(pSrcAutoCorr, pDstRC).require(order >= 1 && order <= kLatticeOrder, kelStatusBadSize));
    ownSchurAnyOrder(pSrcAutoCorr, pDstRC, order);
    return kelStatusOk;
}

KelStatus kelsShortTermAnalysisFilter_GSMFR_16s_I(const Kel16s* pRC, Kel16s* pSrcDst, int len, Kel16s* pMem) {
    KEL_CHECK(Args().ptr(pRC, pSrcDst, pMem).len(len));
    ownShortTermAnalysis(pRC, pSrcDst, len, pMem);
    return kelStatusOk;
}

KelStatus kelsWeightingFilter_GSMFR_16s(const Kel16s* pSrc, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    ownWeighting(pSrc, pDst, len);
    return kelStatusOk;
}

KelStatus kelsPreemphasize_GSMFR_16s(const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pMem) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pMem).len(len));
    ownPreemphasis(pSrc, pDst, len, pMem);
    return kelStatusOk;
}

KelStatus kelsHighPassFilter_GSMFR_16s(const Kel16s* pSrc, Kel16s* pDst, int len, KelHighPassMem_GSMFR* pMem) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pMem).len(len));
    ownOffsetCompensation(pSrc, pDst, len, pMem);
    return kelStatusOk;
}

KelStatus kelsRPEQuantDecode_GSMFR_16s(const Kel16s* pSrc, Kel16s mantFactor, Kel16s exp, Kel16s* pDst) {
    KEL_CHECK(Args().ptr(pSrc, pDst).scale(exp >= 0));
    ownRpeInverseQuant(pSrc, mantFactor, exp, pDst);
    return kelStatusOk;
}

KelStatus kelsDeemphasize_GSMFR_16s_I(Kel16s* pSrcDst, int len, Kel16s* pMem) {
    KEL_CHECK(Args().ptr(pSrcDst, pMem).len(len));
    ownDeemphasis(pSrcDst, len, pMem);
    return kelStatusOk;
}

KelStatus kelsShortTermSynthesisFilter_GSMFR_16s(const Kel16s* pRC, const Kel16s* pSrc, Kel16s* pDst, int len,
                                                 Kel16s* pMem) {
    KEL_CHECK(Args().ptr(pRC, pSrc, pDst, pMem).len(len));
    ownShortTermSynthesis(pRC, pSrc, pDst, len, pMem);
    return kelStatusOk;
}
