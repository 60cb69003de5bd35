// The codecs kelscodec offers, as one table: each entry names a codec,
// describes it and gives the two functions that code a whole signal with the
// library. A new codec family adds its entries to the table in codecs.cpp;
// `list`, `encode`, `decode` and `demo` pick them up from there.
#ifndef KELSCODEC_CODECS_H
#define KELSCODEC_CODECS_H

#include <stdint.h>

#include <string>
#include <vector>

namespace kelscodec {

using Samples = std::vector<int16_t>;  // 16-bit linear audio, mono
using Bytes = std::vector<uint8_t>;    // an encoded stream

struct Codec {
    const char* name;         // on the command line, e.g. "g726-32"
    const char* description;  // one line for `kelscodec list`
    int sampleRate;           // Hz, of the audio it codes
    int bitRate;              // bit/s of the coded stream (as transmitted)
    int delay;                // samples by which the decoded audio lags the input
    // Codes a whole signal, starting from a freshly initialised coder.
    // encode takes 16-bit samples at sampleRate and returns the stream as
    // written to an encoded file; decode takes such a stream and returns
    // 16-bit samples. Both throw std::runtime_error on a library error or a
    // stream that the codec could not have written.
    Bytes (*encode)(const Samples& audio);
    Samples (*decode)(const Bytes& stream);
};

// Every codec, in the order `list` and `demo` show them.
const std::vector<Codec>& codecs();

// The codec of that name, or null.
const Codec* findCodec(const std::string& name);

}  // namespace kelscodec

#endif  // KELSCODEC_CODECS_H
