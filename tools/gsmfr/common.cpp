// The blocks the GSM 06.10 encoder and decoder share: LAR decoding and
// interpolation, the APCM exponent and mantissa, and the 33-byte frame.
#include <string.h>

#include "gsmfr_internal.h"

namespace gsmfr {

void decodeLars(const int16_t* larc, int16_t* larpp) {
    for (int i = 0; i < kOrder; ++i) {
        // The addition of MIC restores the sign of LARc; the shifted value
        // is kept as 16 bits.
        const int16_t code = static_cast<int16_t>(larc[i] & ((1 << kLarBits[i]) - 1));
        int16_t t = static_cast<int16_t>(add(code, kMic[i]) * 1024);
        t = sub(t, static_cast<int16_t>(kB[i] * 2));
        t = multR(kInvA[i], t);
        larpp[i] = add(t, t);
    }
}

namespace {

// GSM 06.10 4.2.9.2: LARp to the reflection coefficient rp, by the
// piecewise-linear inverse of 4.2.6's segments.
int16_t larToRc(int16_t lar) {
    const int16_t mag = abs16(lar);
    const int16_t r = mag < 11059 ? static_cast<int16_t>(mag * 2)
                                  : (mag < 20070 ? static_cast<int16_t>(mag + 11059) : add(mag >> 2, 26112));
    return lar < 0 ? static_cast<int16_t>(-r) : r;
}

}  // namespace

void interpolate(const int16_t* prev, const int16_t* cur, Interpolated* out) {
    for (int i = 0; i < kOrder; ++i) {
        const int16_t p = prev[i], c = cur[i];
        // Samples 0..12: 3/4 of the old set and 1/4 of the new; 13..26:
        // half each; 27..39: 1/4 old, 3/4 new; 40..159: the new set.
        out->rp[0][i] = larToRc(add(add(p >> 2, c >> 2), p >> 1));
        out->rp[1][i] = larToRc(add(p >> 1, c >> 1));
        out->rp[2][i] = larToRc(add(add(p >> 2, c >> 2), c >> 1));
        out->rp[3][i] = larToRc(c);
    }
}

void xmaxcToExpMant(int xmaxc, int* exp, int* mant) {
    int e = xmaxc > 15 ? (xmaxc >> 3) - 1 : 0;
    int m = xmaxc - (e << 3);
    if (m == 0) {
        e = -4;
        m = 7;
    } else {
        while (m <= 7) {
            m = m << 1 | 1;
            --e;
        }
        m -= 8;
    }
    *exp = e;
    *mant = m;
}

}  // namespace gsmfr

using namespace gsmfr;

namespace {

// Every parameter's width in frame order (76 values).
struct Widths {
    int bits[GSMFR_FRAME_PARAMS];
    constexpr Widths() : bits() {
        for (int i = 0; i < kOrder; ++i) bits[i] = kLarBits[i];
        for (int j = 0; j < kSubframes; ++j)
            for (int i = 0; i < kSubframeParams; ++i) bits[kOrder + j * kSubframeParams + i] = kSubframeBits[i];
    }
};
constexpr Widths kWidths;
constexpr int kSignature = 0xD;

}  // namespace

void gsmfr_pack(const int16_t params[GSMFR_FRAME_PARAMS], uint8_t frame[GSMFR_FRAME_BYTES]) {
    // 4 + 260 bits, most significant first.
    uint32_t acc = kSignature;
    int bits = 4, at = 0;
    for (int i = 0; i < GSMFR_FRAME_PARAMS; ++i) {
        const int w = kWidths.bits[i];
        acc = acc << w | (static_cast<uint32_t>(params[i]) & ((1u << w) - 1));
        bits += w;
        while (bits >= 8) {
            bits -= 8;
            frame[at++] = static_cast<uint8_t>(acc >> bits);
        }
    }
}

int gsmfr_unpack(const uint8_t frame[GSMFR_FRAME_BYTES], int16_t params[GSMFR_FRAME_PARAMS]) {
    if ((frame[0] >> 4) != kSignature) return -1;
    uint32_t acc = frame[0] & 15u;
    int bits = 4, at = 1;
    for (int i = 0; i < GSMFR_FRAME_PARAMS; ++i) {
        const int w = kWidths.bits[i];
        while (bits < w) {
            acc = acc << 8 | frame[at++];
            bits += 8;
        }
        bits -= w;
        params[i] = static_cast<int16_t>((acc >> bits) & ((1u << w) - 1));
    }
    return 0;
}
