// Segmental signal-to-noise ratio of a decoded signal against its input.
#ifndef KELSCODEC_QUALITY_H
#define KELSCODEC_QUALITY_H

#include "codecs.h"

namespace kelscodec {

struct SegmentalSnr {
    double db = 0;   // mean of the per-frame SNRs, dB
    int frames = 0;  // frames that counted
    int silent = 0;  // frames left out as silence
};

// Frame length and limits of the measure.
constexpr int kSnrFrameMs = 20;
constexpr double kSnrFloorDb = -10;
constexpr double kSnrCeilingDb = 35;
constexpr double kSilenceDbfs = -50;

// The standard segmental SNR: the signals are cut into consecutive,
// non-overlapping 20 ms frames (a partial last frame is dropped); for each
// frame, 10 log10(sum ref^2 / sum (ref - test)^2), limited to -10..35 dB
// (an error-free frame counts 35 dB); the result is the mean over the
// frames. Frames whose reference RMS is below -50 dBFS (about 104 in 16-bit
// units) are left out as silence. test[i + delay] is compared with ref[i],
// over the length both have.
SegmentalSnr segmentalSnr(const Samples& ref, const Samples& test, int sampleRate, int delay = 0);

}  // namespace kelscodec

#endif  // KELSCODEC_QUALITY_H
