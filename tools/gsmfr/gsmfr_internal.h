// What the GSM 06.10 encoder and decoder share: the Recommendation's
// 16-bit operators as far as the frame bookkeeping needs them, its tables
// (section 4.4), the parameter layout, the decoding and interpolation of
// the LARs and the APCM exponent and mantissa of xmaxc.
#ifndef KELSC_TOOLS_GSMFR_INTERNAL_H
#define KELSC_TOOLS_GSMFR_INTERNAL_H

#include <stdint.h>

#include "gsmfr.h"

namespace gsmfr {

constexpr int kOrder = 8;            // LARs, reflection coefficients
constexpr int kSubframe = 40;        // samples of an RPE-LTP sub-segment
constexpr int kSubframes = 4;        // per frame
constexpr int kPulses = 13;          // RPE pulses per sub-segment
constexpr int kSubframeParams = 17;  // Nc, bc, Mc, xmaxc, xMc[13]
constexpr int kHistory = 120;        // past reconstructed residual samples
constexpr int kMinLag = 40;          // LTP lags 40..120
constexpr int kMaxLag = 120;

// Parameter positions inside a sub-segment's 17 values.
constexpr int kNc = 0, kBc = 1, kMc = 2, kXmaxc = 3, kXmc = 4;

// Bit widths of the parameters (GSM 06.10 Table 1.1).
constexpr int kLarBits[kOrder] = {6, 6, 5, 5, 4, 4, 3, 3};
constexpr int kSubframeBits[kSubframeParams] = {7, 2, 2, 6, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3};

// Table 4.1: quantisation of the LARs: A = integer(real_A * 1024),
// B = integer(real_B * 512), and the range MIC..MAC of each LARc.
constexpr int16_t kA[kOrder] = {20480, 20480, 20480, 20480, 13964, 15360, 8534, 9036};
constexpr int16_t kB[kOrder] = {0, 0, 2048, -2560, 94, -1792, -341, -1144};
constexpr int16_t kMic[kOrder] = {-32, -32, -16, -16, -8, -8, -4, -4};
constexpr int16_t kMac[kOrder] = {31, 31, 15, 15, 7, 7, 3, 3};
// Table 4.2: INVA[i] = integer(32768 * 8 / A[i]).
constexpr int16_t kInvA[kOrder] = {13107, 13107, 13107, 13107, 19223, 17476, 31454, 29708};
// Table 4.3a, 4.3b: decision and quantisation levels of the LTP gain.
constexpr int16_t kDlb[4] = {6554, 16384, 26214, 32767};
constexpr int16_t kQlb[4] = {3277, 11469, 21299, 32767};
// Table 4.5, 4.6: normalised inverse and direct mantissas of xmax.
constexpr int16_t kNrFac[8] = {29128, 26215, 23832, 21846, 20165, 18725, 17476, 16384};
constexpr int16_t kFac[8] = {18431, 20479, 22527, 24575, 26623, 28671, 30719, 32767};

// ---------------------------------------------------------------------------
// GSM 06.10 operators (section 4.1), the few the bookkeeping uses.
// ---------------------------------------------------------------------------

inline int16_t sat16(int32_t v) { return static_cast<int16_t>(v > 32767 ? 32767 : (v < -32768 ? -32768 : v)); }
inline int16_t add(int16_t a, int16_t b) { return sat16(int32_t{a} + b); }
inline int16_t sub(int16_t a, int16_t b) { return sat16(int32_t{a} - b); }
inline int16_t abs16(int16_t a) { return a == -32768 ? 32767 : static_cast<int16_t>(a < 0 ? -a : a); }
// mult and mult_r where no operand pair is -32768 * -32768 (all uses here
// multiply by a positive constant): the product's bits as 16 bits.
inline int16_t mult(int16_t a, int16_t b) { return static_cast<int16_t>((int32_t{a} * b) >> 15); }
inline int16_t multR(int16_t a, int16_t b) { return static_cast<int16_t>((int32_t{a} * b + 16384) >> 15); }
// The largest |x[k]| (GSM_ABS: |-32768| is 32767), as a maximum and a
// minimum that the compiler turns into vector reductions.
inline int16_t maxAbs(const int16_t* x, int n) {
    int16_t hi = 0, lo = 0;
    for (int k = 0; k < n; ++k) {
        hi = x[k] > hi ? x[k] : hi;
        lo = x[k] < lo ? x[k] : lo;
    }
    const int16_t loMag = abs16(lo);
    return loMag > hi ? loMag : hi;
}
// Left shifts that normalise a positive 16-bit or 32-bit value (norm).
inline int norm16(int16_t a) { return __builtin_clz(static_cast<uint32_t>(a)) - 17; }
inline int norm32(int32_t a) { return __builtin_clz(static_cast<uint32_t>(a)) - 1; }

// ---------------------------------------------------------------------------
// Shared blocks
// ---------------------------------------------------------------------------

// GSM 06.10 4.2.8: decoding of the coded LARs (LARc masked to its width).
void decodeLars(const int16_t* larc, int16_t* larpp);

// GSM 06.10 4.2.9: the reflection coefficients of the four parts of a
// frame (samples 0..12, 13..26, 27..39, 40..159), interpolated from the
// previous and the current decoded LARs (4.2.9.1) and converted (4.2.9.2).
struct Interpolated {
    int16_t rp[4][kOrder];
};
constexpr int kPartLength[4] = {13, 14, 13, 120};
void interpolate(const int16_t* larppPrev, const int16_t* larpp, Interpolated* out);

// GSM 06.10 4.2.15: exponent (-4..6) and mantissa (0..7) of xmaxc (0..63).
void xmaxcToExpMant(int xmaxc, int* exp, int* mant);

}  // namespace gsmfr

#endif  // KELSC_TOOLS_GSMFR_INTERNAL_H
