// Audio and encoded files. Audio goes through libsndfile: a file whose name
// ends in .raw, .pcm or .s16 is headerless 16-bit little-endian mono; any
// other name is read as whatever libsndfile recognises and written as 16-bit
// PCM WAV. Every failure throws std::runtime_error with a message that names
// the file.
#ifndef KELSCODEC_AUDIO_H
#define KELSCODEC_AUDIO_H

#include <stddef.h>

#include <string>

#include "codecs.h"

namespace kelscodec {

struct Audio {
    int sampleRate = 0;  // Hz
    int channels = 0;
    Samples samples;  // interleaved when channels > 1
};

// True for the names taken as headerless 16-bit little-endian mono.
bool isRawAudioName(const std::string& path);

// Reads an audio file as 16-bit samples; a raw file is taken at rawRate Hz.
Audio readAudio(const std::string& path, int rawRate);

// Reads a WAV (or any libsndfile format) image held in memory.
Audio readAudioImage(const unsigned char* data, size_t size, const std::string& name);

// Writes mono 16-bit audio, as WAV or raw by the name.
void writeAudio(const std::string& path, const Samples& samples, int sampleRate);

// Encoded files: the bytes as they are.
Bytes readBytes(const std::string& path);
void writeBytes(const std::string& path, const Bytes& bytes);

// Throws unless path can be written: it must not be a folder, and an
// existing file is replaced only when force is set.
void checkWritable(const std::string& path, bool force);

}  // namespace kelscodec

#endif  // KELSCODEC_AUDIO_H
