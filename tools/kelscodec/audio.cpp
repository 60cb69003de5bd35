// Audio through libsndfile, encoded streams as plain bytes.
#include "audio.h"

#include <errno.h>
#include <sndfile.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace kelscodec {
namespace {

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

// The message for a file that cannot be opened for reading: the system's
// reason (e.g. "No such file or directory").
void requireReadable(const std::string& path) {
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) throw std::runtime_error(path + ": is a folder, not a file");
    FILE* f = fopen(path.c_str(), "rb");
    if (f == nullptr) throw std::runtime_error(path + ": " + strerror(errno));
    fclose(f);
}

// Reads every frame of an open libsndfile handle as 16-bit samples and
// closes it.
Audio readAll(SNDFILE* file, const SF_INFO& info, const std::string& name) {
    Audio a;
    a.sampleRate = info.samplerate;
    a.channels = info.channels;
    if (info.channels < 1 || info.frames < 0) {
        sf_close(file);
        throw std::runtime_error(name + ": no audio channels");
    }
    const sf_count_t chunk = 4096 * info.channels;
    Samples buffer(static_cast<size_t>(chunk));
    for (;;) {
        const sf_count_t got = sf_read_short(file, buffer.data(), chunk);
        if (got <= 0) break;
        a.samples.insert(a.samples.end(), buffer.begin(), buffer.begin() + got);
    }
    const int error = sf_error(file);
    const std::string message = sf_strerror(file);
    sf_close(file);
    if (error != SF_ERR_NO_ERROR) throw std::runtime_error(name + ": read error (" + message + ")");
    return a;
}

// A memory image seen through libsndfile's virtual I/O.
struct Image {
    const unsigned char* data;
    sf_count_t size;
    sf_count_t pos;
};

sf_count_t imageLength(void* user) { return static_cast<Image*>(user)->size; }

sf_count_t imageSeek(sf_count_t offset, int whence, void* user) {
    Image* im = static_cast<Image*>(user);
    const sf_count_t base = whence == SEEK_SET ? 0 : (whence == SEEK_CUR ? im->pos : im->size);
    im->pos = std::clamp<sf_count_t>(base + offset, 0, im->size);
    return im->pos;
}

sf_count_t imageRead(void* out, sf_count_t count, void* user) {
    Image* im = static_cast<Image*>(user);
    const sf_count_t n = std::min(count, im->size - im->pos);
    memcpy(out, im->data + im->pos, static_cast<size_t>(n));
    im->pos += n;
    return n;
}

sf_count_t imageWrite(const void*, sf_count_t, void*) { return 0; }

sf_count_t imageTell(void* user) { return static_cast<Image*>(user)->pos; }

}  // namespace

bool isRawAudioName(const std::string& path) {
    const std::string ext = lower(std::filesystem::path(path).extension().string());
    return ext == ".raw" || ext == ".pcm" || ext == ".s16";
}

Audio readAudio(const std::string& path, int rawRate) {
    requireReadable(path);
    SF_INFO info{};
    if (isRawAudioName(path)) {
        info.format = SF_FORMAT_RAW | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE;
        info.samplerate = rawRate;
        info.channels = 1;
    }
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr) {
        throw std::runtime_error(path + ": not an audio file that libsndfile reads (" + sf_strerror(nullptr) + ")");
    }
    return readAll(file, info, path);
}

Audio readAudioImage(const unsigned char* data, size_t size, const std::string& name) {
    SF_VIRTUAL_IO io{imageLength, imageSeek, imageRead, imageWrite, imageTell};
    Image image{data, static_cast<sf_count_t>(size), 0};
    SF_INFO info{};
    SNDFILE* file = sf_open_virtual(&io, SFM_READ, &info, &image);
    if (file == nullptr) throw std::runtime_error(name + ": unreadable audio image (" + sf_strerror(nullptr) + ")");
    return readAll(file, info, name);
}

void writeAudio(const std::string& path, const Samples& samples, int sampleRate) {
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = isRawAudioName(path) ? (SF_FORMAT_RAW | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE)
                                       : (SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (file == nullptr) throw std::runtime_error(path + ": cannot write it (" + sf_strerror(nullptr) + ")");
    const sf_count_t n = static_cast<sf_count_t>(samples.size());
    const sf_count_t written = n == 0 ? 0 : sf_write_short(file, samples.data(), n);
    const std::string message = sf_strerror(file);
    if (sf_close(file) != 0 || written != n) throw std::runtime_error(path + ": write error (" + message + ")");
}

Bytes readBytes(const std::string& path) {
    requireReadable(path);
    std::ifstream in(path, std::ios::binary);
    Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw std::runtime_error(path + ": read error");
    return bytes;
}

void writeBytes(const std::string& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) throw std::runtime_error(path + ": cannot write it (" + strerror(errno) + ")");
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw std::runtime_error(path + ": write error");
}

void checkWritable(const std::string& path, bool force) {
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) throw std::runtime_error(path + ": is a folder, not a file");
    if (!force && std::filesystem::exists(path, ec)) {
        throw std::runtime_error(path + ": exists; add --force to overwrite it");
    }
}

}  // namespace kelscodec
