#include "quality.h"

#include <math.h>

#include <algorithm>

namespace kelscodec {

SegmentalSnr segmentalSnr(const Samples& ref, const Samples& test, int sampleRate, int delay) {
    SegmentalSnr r;
    const size_t frame = static_cast<size_t>(sampleRate) * kSnrFrameMs / 1000;
    const size_t shift = static_cast<size_t>(std::max(delay, 0));
    if (frame == 0 || test.size() <= shift) return r;
    const size_t common = std::min(ref.size(), test.size() - shift);
    // Mean square of a frame at the silence threshold (full scale 32768).
    const double silence = pow(32768.0 * pow(10.0, kSilenceDbfs / 20), 2);
    double sum = 0;
    for (size_t start = 0; start + frame <= common; start += frame) {
        double signal = 0, noise = 0;
        for (size_t i = start; i < start + frame; ++i) {
            const double x = ref[i];
            const double e = x - test[i + shift];
            signal += x * x;
            noise += e * e;
        }
        if (signal / static_cast<double>(frame) < silence) {
            ++r.silent;
            continue;
        }
        const double db = noise == 0 ? kSnrCeilingDb : 10 * log10(signal / noise);
        sum += std::clamp(db, kSnrFloorDb, kSnrCeilingDb);
        ++r.frames;
    }
    r.db = r.frames > 0 ? sum / r.frames : 0;
    return r;
}

}  // namespace kelscodec
