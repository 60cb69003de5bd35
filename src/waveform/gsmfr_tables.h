// Constant tables and constants of the GSM 06.10 full-rate (RPE-LTP)
// primitives (gsmfr_tables.cpp). Internal to the library.
#ifndef KELSC_WAVEFORM_GSMFR_TABLES_H
#define KELSC_WAVEFORM_GSMFR_TABLES_H

#include "kelsc.h"

namespace kel::gsmfr {

// GSM 06.10 4.2.13: taps of the RPE weighting filter, centred on tap 5.
constexpr int kWeightingTaps = 11;
constexpr int kWeightingHalf = 5;  // samples read before and after each output's own

// GSM 06.10 Table 4.4: weighting filter coefficients H[0..10], Q13
// (integer(real_H * 8192)).
extern const Kel16s kWeightingFilter[kWeightingTaps];

// GSM 06.10 4.2.2: pole of the offset-compensation filter, alpha = 32735 / 2^15.
constexpr Kel16s kOffsetPole = 32735;

// GSM 06.10 4.2.3 and 4.3.5: pre-emphasis and de-emphasis coefficient
// beta = 28180 / 2^15.
constexpr Kel16s kEmphasis = 28180;

// GSM 06.10 4.2.10, 4.3.4: stages of the short-term lattices.
constexpr int kLatticeOrder = 8;

// GSM 06.10 4.2.16: pulses of one RPE sub-segment.
constexpr int kRpePulses = 13;

}  // namespace kel::gsmfr

#endif  // KELSC_WAVEFORM_GSMFR_TABLES_H
