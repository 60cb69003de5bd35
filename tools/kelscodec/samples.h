// The speech samples built into kelscodec (data/*.wav, turned into C arrays
// by embed.cmake at build time), so that `kelscodec demo` runs from any
// folder with no files beside the program.
#ifndef KELSCODEC_SAMPLES_H
#define KELSCODEC_SAMPLES_H

#include <stddef.h>

namespace kelscodec {

struct EmbeddedFile {
    const char* name;           // file name under data/
    const unsigned char* data;  // the file's bytes
    size_t size;
};

// What the samples say (espeak-ng, voice en-us; see data/README.md).
constexpr const char* kSpeechText = "The quick brown fox jumps over the lazy dog.";

extern const EmbeddedFile kSpeechSamples[];
extern const size_t kSpeechSampleCount;

}  // namespace kelscodec

#endif  // KELSCODEC_SAMPLES_H
