// The second-order high-pass filter of G.729 pre-processing (3.1, 140 Hz,
// Pre_Process of PRE_PROC.C) and post-processing (4.2.5, 100 Hz,
// Post_Process of POST_PRO.C), with the caller's coefficients.
//
// The state block is the caller's 24 bytes at any alignment: each call
// copies it into locals and back.
#include <stddef.h>
#include <string.h>

#include "basop.h"
#include "check.h"
#include "g729/g729_internal.h"

using kel::Args;

static_assert(sizeof(kel::HighPassState) == 24 && offsetof(kel::HighPassState, x1) == 8 &&
                  offsetof(kel::HighPassState, coeff) == 12,
              "the G.729 high-pass state block is y1, y2, x1, x2, six coefficients: 24 bytes");

void kel::ownHighPassFilter_G729_16s(Kel16s* pSrcDst, int len, int sf, HighPassState* pState) {
    const Kel16s a1 = pState->coeff[1], a2 = pState->coeff[2];
    const Kel16s b0 = pState->coeff[3], b1 = pState->coeff[4], b2 = pState->coeff[5];
    Kel32s y1 = pState->y1, y2 = pState->y2;
    Kel16s x1 = pState->x1, x2 = pState->x2;
    const Kel16s outShift = static_cast<Kel16s>(15 - sf);  // Q28 (sf 12) or Q29 (sf 13) to Q31
    for (int n = 0; n < len; ++n) {
        const Kel16s x0 = pSrcDst[n];
        // y = b0 x + b1 x1 + b2 x2 (b halved, doubled by L_mac) + a1 y1 + a2 y2,
        // the a terms from the (hi, lo) halves of the 32-bit outputs.
        Kel16s hi = 0, lo = 0;
        L_Extract(y1, &hi, &lo);
        Kel32s acc = Mpy_32_16(hi, lo, a1);
        L_Extract(y2, &hi, &lo);
        acc = L_add(acc, Mpy_32_16(hi, lo, a2));
        acc = L_mac(acc, x0, b0);
        acc = L_mac(acc, x1, b1);
        acc = L_mac(acc, x2, b2);
        acc = L_shl(acc, outShift);
        // The post-processing doubles its output with saturation.
        pSrcDst[n] = round_fx(sf == 13 ? L_shl(acc, 1) : acc);
        y2 = y1;
        y1 = acc;
        x2 = x1;
        x1 = x0;
    }
    pState->y1 = y1;
    pState->y2 = y2;
    pState->x1 = x1;
    pState->x2 = x2;
}

KelStatus kelsHighPassFilterSize_G729(Kel32s* pSize) {
    KEL_CHECK(Args().ptr(pSize));
    *pSize = static_cast<Kel32s>(sizeof(kel::HighPassState));
    return kelStatusOk;
}

KelStatus kelsHighPassFilterInit_G729(const Kel16s* pCoeff, KelG729HighPassState* pState) {
    KEL_CHECK(Args().ptr(pCoeff, pState));
    kel::HighPassState s = {};
    memcpy(s.coeff, pCoeff, sizeof(s.coeff));
    memcpy(static_cast<void*>(pState), &s, sizeof(s));
    return kelStatusOk;
}

KelStatus kelsHighPassFilter_G729_16s_ISfs(Kel16s* pSrcDst, int len, int scaleFactor, KelG729HighPassState* pState) {
    KEL_CHECK(Args().ptr(pSrcDst, pState).len(len).scale(scaleFactor == 12 || scaleFactor == 13));
    kel::HighPassState s;
    memcpy(&s, static_cast<const void*>(pState), sizeof(s));
    kel::ownHighPassFilter_G729_16s(pSrcDst, len, scaleFactor, &s);
    memcpy(static_cast<void*>(pState), &s, sizeof(s));
    return kelStatusOk;
}
