// G.711 companding kernels with the results of the ITU-T G.191 reference
// coder, shared by the exported G.711 functions and the codecs that convert
// to and from log PCM (G.726).
#ifndef KELSC_CORE_G711_H
#define KELSC_CORE_G711_H

#include "basop.h"

namespace kel {

// Bit length of v (0 for 0), written without a branch on v.
inline int bitLength(uint32_t v) { return 31 - kel::clz32((v << 1) | 1u); }

// u-law: magnitude from the top 14 bits (one's complement for negatives),
// biased by 33 and limited to 8191; segment s is one more than the bit
// length of magnitude >> 6; the code carries 8 - s and the inverted
// mantissa, plus 128 for non-negative input.
inline Kel8u linToMuLaw(Kel16s x) {
    const int32_t v = x >= 0 ? x : ~int32_t{x};
    int32_t mag = (v >> 2) + 33;
    mag = mag > 8191 ? 8191 : mag;
    const int s = 1 + bitLength(static_cast<uint32_t>(mag >> 6));
    const int code = ((8 - s) << 4) | (15 - ((mag >> s) & 15));
    return static_cast<Kel8u>(x >= 0 ? code | 128 : code);
}

// A-law: top 13 bits (one's complement for negatives), segment by the
// segment ends 31, 63, ..., 4095; segments 0 and 1 keep bits 1..4, higher
// segments bits s..s+3; even bits inverted by the XOR with 0x55/0xD5.
inline Kel8u linToALaw(Kel16s x) {
    const int32_t v = (x >= 0 ? x : ~int32_t{x}) >> 3;
    const int len = bitLength(static_cast<uint32_t>(v));
    const int seg = len > 5 ? len - 5 : 0;
    const int mantissa = (v >> (seg < 2 ? 1 : seg)) & 15;
    const int code = (seg << 4) | mantissa;
    return static_cast<Kel8u>(code ^ (x >= 0 ? 0xD5 : 0x55));
}

// Expanders: the decision interval's midpoint, 14-bit (u-law) or 13-bit
// (A-law) left-justified in 16 bits.
inline Kel16s muLawToLin(Kel8u code) {
    const int c = ~code & 0xFF;
    const int seg = (c >> 4) & 7;
    const int mag = ((((c & 15) << 1) + 33) << seg) - 33;  // 14-bit magnitude
    return static_cast<Kel16s>((c & 0x80 ? -mag : mag) * 4);
}

inline Kel16s aLawToLin(Kel8u code) {
    const int c = code ^ 0x55;
    const int seg = (c >> 4) & 7;
    int mag = ((c & 15) << 1) + 1;  // 13-bit magnitude, in units of 1/2 of the 12-bit step
    if (seg > 0) mag = (mag + 32) << (seg - 1);
    return static_cast<Kel16s>((c & 0x80 ? mag : -mag) * 8);
}

}  // namespace kel

#endif  // KELSC_CORE_G711_H
