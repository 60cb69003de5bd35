// `kelscodec demo`: the built-in speech through every codec.
#ifndef KELSCODEC_DEMO_H
#define KELSCODEC_DEMO_H

#include <string>

namespace kelscodec {

// Codes and decodes the built-in speech sample of each codec's sample rate
// with every codec, writes the decoded audio (and the input) as WAV files
// to outDir, and prints per codec the bit rate, the segmental SNR against
// the input and the coding speed. outDir is created if missing; files in it
// are replaced only when it is a folder an earlier demo made (it holds the
// stamp file .kelscodec-demo) or when force is set. Throws
// std::runtime_error on failure.
void runDemo(const std::string& outDir, bool force);

}  // namespace kelscodec

#endif  // KELSCODEC_DEMO_H
