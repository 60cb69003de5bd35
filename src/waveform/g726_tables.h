// Constant tables of ITU-T G.726 ADPCM and of the G.711 laws its decoder
// writes (g726_tables.cpp). Internal to the library.
#ifndef KELSC_WAVEFORM_G726_TABLES_H
#define KELSC_WAVEFORM_G726_TABLES_H

#include "kelsc.h"

namespace kel::g726 {

constexpr int kRateCount = 4;   // 16, 24, 32, 40 kbit/s: rate index 0..3
constexpr int kMaxCodes = 32;   // 2^5 code words at 40 kbit/s
constexpr int kMaxLevels = 15;  // decision levels of the 40 kbit/s quantizer

// Everything that depends on the bit rate. Per-code tables are indexed
// directly by the code word I (bits 0..n-1, sign in bit n-1), so both signs
// are present; entries past 2^n are unused and zero.
struct RateTable {
    int bits;       // n, bits per code word
    int leakShift;  // G.726 4.2.6 UPB: leak of the zero-section coefficients, 2^-8 (2^-9 at 40 kbit/s)

    // G.726 4.2.3 RECONST: DQLN(I), log2 of |DQ| / Y, Q7 (7 fraction bits) as
    // a signed 12-bit value; -2048 marks the intervals reconstructed as DQ = 0.
    Kel16s dqln[kMaxCodes];

    // G.726 4.2.4 FUNCTW: scale factor multiplier W(I) times 32 (12-bit
    // two's complement in the standard, 4 fraction bits, here Q9).
    Kel32s w[kMaxCodes];

    // G.726 4.2.5 FUNCTF: F(I) times 512, the transition measure fed to the
    // short- and long-term averages DMS and DML.
    Kel16s f[kMaxCodes];

    // G.726 4.2.2 QUAN: decision levels of DLN = log2|D| - Y/4 (Q7, signed),
    // ascending. The interval n is the number of levels <= DLN.
    int levelCount;
    Kel16s levels[kMaxLevels];

    // G.726 4.2.2 QUAN: code word I for interval n, for D >= 0 and D < 0.
    Kel8u codePositive[kMaxLevels + 1];
    Kel8u codeNegative[kMaxLevels + 1];
};

extern const RateTable kRateTables[kRateCount];

// G.711 expansion (Tables 1a and 2a of G.711, as the ITU-T G.191 expanders):
// code word to 16-bit linear (14-bit mu-law and 13-bit A-law values,
// left-justified).
extern const Kel16s kMuLawToLinear[256];
extern const Kel16s kALawToLinear[256];

// G.726 4.2.8 SYNC: the code word of the next greater and of the next smaller
// PCM output value, per G.711 law (saturating at the ends of the scale).
extern const Kel8u kMuLawNextGreater[256];
extern const Kel8u kMuLawNextSmaller[256];
extern const Kel8u kALawNextGreater[256];
extern const Kel8u kALawNextSmaller[256];

// G.726 4.2.6 FMULT: a coefficient's magnitude |An >> 2| (13 bits) in the
// floating format, its exponent (bit length) in bits 8..11 and its 6-bit
// mantissa (with the leading one) in bits 0..5; zero has exponent 0 and
// mantissa 32. Formed at compile time (g726_tables.cpp).
struct CoefFloatTable {
    Kel16s v[8192];
};
extern const CoefFloatTable kCoefFloat;

}  // namespace kel::g726

#endif  // KELSC_WAVEFORM_G726_TABLES_H
