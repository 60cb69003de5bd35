// G.711 companding: the exported encoders and expanders.
#include "g711.h"

#include "check.h"

using kel::Args;

KelStatus kelsLinToMuLaw_16s8u(const Kel16s* pSrc, Kel8u* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    for (int i = 0; i < len; ++i) pDst[i] = kel::linToMuLaw(pSrc[i]);
    return kelStatusOk;
}

KelStatus kelsLinToALaw_16s8u(const Kel16s* pSrc, Kel8u* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    for (int i = 0; i < len; ++i) pDst[i] = kel::linToALaw(pSrc[i]);
    return kelStatusOk;
}

KelStatus kelsMuLawToLin_8u16s(const Kel8u* pSrc, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    for (int i = 0; i < len; ++i) pDst[i] = kel::muLawToLin(pSrc[i]);
    return kelStatusOk;
}

KelStatus kelsALawToLin_8u16s(const Kel8u* pSrc, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pSrc, pDst).len(len));
    for (int i = 0; i < len; ++i) pDst[i] = kel::aLawToLin(pSrc[i]);
    return kelStatusOk;
}
