#include "demo.h"

#include <kelsc.h>
#include <stdio.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <stdexcept>
#include <vector>

#include "audio.h"
#include "codecs.h"
#include "quality.h"
#include "samples.h"

namespace kelscodec {
namespace {

namespace fs = std::filesystem;

constexpr const char* kStampName = ".kelscodec-demo";

// Each run of the timed work is repeated for at least this long (and at
// least kMinRuns times); the fastest run counts, as the least disturbed by
// the rest of the machine.
constexpr double kTimingSeconds = 0.2;
constexpr int kMinRuns = 3;

template <typename Work>
double fastestRunSeconds(Work&& work) {
    using Clock = std::chrono::steady_clock;
    double best = std::numeric_limits<double>::infinity();
    const Clock::time_point begin = Clock::now();
    for (int runs = 0;; ++runs) {
        const double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
        if (runs >= kMinRuns && elapsed >= kTimingSeconds) break;
        const Clock::time_point t0 = Clock::now();
        work();
        best = std::min(best, std::chrono::duration<double>(Clock::now() - t0).count());
    }
    return best;
}

// The built-in samples by sample rate.
std::map<int, Audio> loadSamples() {
    std::map<int, Audio> byRate;
    for (size_t i = 0; i < kSpeechSampleCount; ++i) {
        const EmbeddedFile& f = kSpeechSamples[i];
        Audio a = readAudioImage(f.data, f.size, f.name);
        if (a.channels != 1) throw std::runtime_error(std::string(f.name) + ": the built-in sample is not mono");
        byRate[a.sampleRate] = std::move(a);
    }
    return byRate;
}

// Makes outDir ready for the given files: creates it (with the stamp) when
// missing; in an existing folder without the stamp, refuses to replace any
// of them unless force is set.
void prepareFolder(const fs::path& dir, const std::vector<fs::path>& files, bool force) {
    std::error_code ec;
    if (!fs::exists(dir, ec)) {
        if (!fs::create_directories(dir, ec)) {
            throw std::runtime_error(dir.string() + ": cannot create the folder (" + ec.message() + ")");
        }
    } else if (!fs::is_directory(dir, ec)) {
        throw std::runtime_error(dir.string() + ": exists and is not a folder");
    } else if (!fs::exists(dir / kStampName, ec) && !force) {
        for (const fs::path& f : files) {
            if (fs::exists(f, ec)) {
                throw std::runtime_error(f.string() + ": exists in a folder that kelscodec demo did not make; " +
                                         "add --force to overwrite, or choose another folder with --out");
            }
        }
    }
    std::ofstream stamp(dir / kStampName);
    stamp << "Made by kelscodec demo: the next demo run replaces the files in this folder.\n";
    if (!stamp) throw std::runtime_error((dir / kStampName).string() + ": cannot write it");
}

}  // namespace

void runDemo(const std::string& outDir, bool force) {
    const std::map<int, Audio> samples = loadSamples();
    const fs::path dir(outDir);

    // What will be written: each codec's decoded audio, and each input used.
    std::vector<const Codec*> runnable;
    std::vector<fs::path> files;
    std::map<int, fs::path> inputFiles;
    for (const Codec& c : codecs()) {
        if (samples.count(c.sampleRate) == 0) {
            printf("%s: skipped, no built-in sample at %d Hz\n", c.name, c.sampleRate);
            continue;
        }
        runnable.push_back(&c);
        files.push_back(dir / (std::string(c.name) + ".wav"));
        if (inputFiles.count(c.sampleRate) == 0) {
            inputFiles[c.sampleRate] = dir / ("input-" + std::to_string(c.sampleRate) + ".wav");
            files.push_back(inputFiles[c.sampleRate]);
        }
    }
    prepareFolder(dir, files, force);
    for (const auto& [rate, path] : inputFiles) writeAudio(path.string(), samples.at(rate).samples, rate);

    printf("kelscodec demo, libkelscpx %s: \"%s\" (espeak-ng)\n", kelscGetLibVersion()->version, kSpeechText);
    for (const auto& [rate, path] : inputFiles) {
        printf("  input at %d Hz: %.2f s, %s\n", rate, static_cast<double>(samples.at(rate).samples.size()) / rate,
               path.string().c_str());
    }
    printf("  decoded audio: %s/<codec>.wav\n\n", dir.string().c_str());
    printf("%-10s %8s %9s %11s %11s %9s\n", "codec", "bit rate", "seg. SNR", "encode", "decode", "channels");
    printf("%-10s %8s %9s %11s %11s %9s\n", "", "kbit/s", "dB", "x realtime", "x realtime", "per core");

    for (const Codec* c : runnable) {
        const Samples& input = samples.at(c->sampleRate).samples;
        const double seconds = static_cast<double>(input.size()) / c->sampleRate;
        const Bytes stream = c->encode(input);
        const Samples output = c->decode(stream);
        writeAudio((dir / (std::string(c->name) + ".wav")).string(), output, c->sampleRate);
        const SegmentalSnr snr = segmentalSnr(input, output, c->sampleRate, c->delay);

        // One thread; encode and decode timed apart, each from a fresh coder.
        const double encodeTime = fastestRunSeconds([&] { (void)c->encode(input); });
        const double decodeTime = fastestRunSeconds([&] { (void)c->decode(stream); });
        printf("%-10s %8.1f %9.2f %11.0f %11.0f %9.0f\n", c->name, c->bitRate / 1000.0, snr.db, seconds / encodeTime,
               seconds / decodeTime, seconds / (encodeTime + decodeTime));
    }
    printf(
        "\nseg. SNR: mean over 20 ms frames, each limited to -10..35 dB, frames below -50 dBFS left out.\n"
        "x realtime: audio duration / coding time (one thread, fastest of repeated runs);\n"
        "channels per core: full-duplex channels (an encoder and a decoder each) one core keeps up with.\n");
}

}  // namespace kelscodec
