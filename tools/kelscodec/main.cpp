// kelscodec: encodes and decodes audio files with the speech codecs of
// libkelscpx, measures decoded audio against its input, and demonstrates
// every codec on a built-in speech sample. It uses only the public header.
#include <stdio.h>
#include <string.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "audio.h"
#include "codecs.h"
#include "demo.h"
#include "quality.h"

namespace {

using namespace kelscodec;

const char* const kUsage =
    "Usage:\n"
    "  kelscodec list\n"
    "  kelscodec encode --codec NAME [--force] IN OUT\n"
    "  kelscodec decode --codec NAME [--force] IN OUT\n"
    "  kelscodec compare [--rate HZ] [--codec NAME] REFERENCE DECODED\n"
    "  kelscodec demo [--out DIR] [--force]\n"
    "  kelscodec --help\n";

const char* const kHelp =
    "\n"
    "Commands:\n"
    "  list     the codecs: name, sample rate, bit rate, description\n"
    "  encode   codes the audio file IN into the encoded file OUT\n"
    "  decode   decodes the encoded file IN into the audio file OUT\n"
    "  compare  segmental SNR of DECODED against REFERENCE (mono, same rate);\n"
    "           with --codec, DECODED is taken to lag by that codec's delay\n"
    "           (G.722: 22 samples)\n"
    "  demo     codes the built-in speech sample with every codec, writes the\n"
    "           decoded audio to DIR (default kelscodec-demo) and prints bit\n"
    "           rate, segmental SNR and speed per codec\n"
    "\n"
    "Options:\n"
    "  --codec NAME  the codec, from `kelscodec list`\n"
    "  --force       replace OUT if it exists (demo: replace files in a DIR\n"
    "                that an earlier demo did not make)\n"
    "  --out DIR     the demo's output folder\n"
    "  --rate HZ     compare: sample rate of raw files (default 8000)\n"
    "\n"
    "Audio files (libsndfile):\n"
    "  A name ending in .raw, .pcm or .s16 is headerless 16-bit little-endian\n"
    "  mono at the codec's sample rate. Other names are read as any format\n"
    "  libsndfile knows (WAV, AIFF, FLAC, ...) and written as 16-bit PCM WAV.\n"
    "  Input must be mono at the codec's sample rate; convert it first, e.g.\n"
    "  `sox in.wav -r 8000 -c 1 -b 16 out.wav`. Samples are read as 16-bit.\n"
    "\n"
    "Encoded files:\n"
    "  No header. G.711, G.726: raw code words, one byte per audio sample, so\n"
    "  the file size is the number of samples. G.711: the 8-bit code word as\n"
    "  transmitted.\n"
    "  G.726: the n-bit code word (n = 2, 3, 4, 5 at 16, 24, 32, 40 kbit/s)\n"
    "  in the low bits, the upper bits zero. A file does not name its codec:\n"
    "  decode with the --codec that encoded it (a byte that is no code word\n"
    "  of that codec is an error). G.726 codes 14-bit samples: 16-bit input\n"
    "  is shifted right by 2 before encoding, decoded samples left by 2.\n"
    "  GSM 06.10 (gsm-fr): 33-byte frames, one per 160 samples (20 ms), as\n"
    "  libgsm and sox write .gsm files: the signature 0xD in the top 4 bits,\n"
    "  then the 76 parameters (260 bits) in GSM 06.10 Table 1.1 order, most\n"
    "  significant bit first. The codec uses the top 13 bits of each sample;\n"
    "  the last frame is completed with silence, so decoded audio is a whole\n"
    "  number of frames long.\n"
    "  G.722 (g722-64, g722-56, g722-48): 16 kHz audio, one byte per pair of\n"
    "  samples (an odd last sample is completed with a zero): the octet\n"
    "  IH << 6 | ILR of G.722, the 2-bit higher-band code above the 6-bit\n"
    "  lower-band code, as transmitted at 64 kbit/s. The three write the same\n"
    "  octets; they differ in the decoder only, which at 56 and 48 kbit/s\n"
    "  (modes 2 and 3) ignores the lowest 1 or 2 bits, where such a channel\n"
    "  carries auxiliary data. Every byte is a valid octet. The samples are\n"
    "  coded as they are (16-bit), and the decoded audio lags by 22 samples.\n"
    "\n"
    "Segmental SNR:\n"
    "  The mean over consecutive 20 ms frames of 10 log10(input energy /\n"
    "  error energy), each frame limited to -10..35 dB; frames whose input\n"
    "  RMS is below -50 dBFS are left out as silence.\n"
    "\n"
    "Speed (demo):\n"
    "  Encoding and decoding of the whole sample are timed apart on one\n"
    "  thread, each repeated for at least 0.2 s; the fastest run counts.\n"
    "  x realtime is the audio duration over the coding time; channels per\n"
    "  core, the full-duplex channels (an encoder and a decoder each) that\n"
    "  one core keeps up with.\n"
    "\n"
    "Exit status: 0 success, 1 error, 2 wrong command line.\n";

// A command-line mistake: usage is printed with it, exit status 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct CommandLine {
    std::string command;
    std::string codec;
    std::string outDir = "kelscodec-demo";
    int rate = 8000;
    bool force = false;
    std::vector<std::string> files;
};

CommandLine parse(int argc, char** argv) {
    CommandLine cl;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        // --name VALUE or --name=VALUE.
        const auto value = [&](const char* name) {
            const std::string prefix = std::string(name) + "=";
            if (arg.compare(0, prefix.size(), prefix) == 0) return arg.substr(prefix.size());
            if (i + 1 >= argc) throw UsageError(std::string(name) + " needs a value");
            return std::string(argv[++i]);
        };
        const auto is = [&](const char* name) {
            return arg == name || arg.compare(0, strlen(name) + 1, std::string(name) + "=") == 0;
        };
        if (arg == "--help" || arg == "-h") {
            cl.command = "help";
            return cl;
        } else if (arg == "--force") {
            cl.force = true;
        } else if (is("--codec")) {
            cl.codec = value("--codec");
        } else if (is("--out")) {
            cl.outDir = value("--out");
        } else if (is("--rate")) {
            const std::string v = value("--rate");
            try {
                cl.rate = std::stoi(v);
            } catch (const std::exception&) {
                cl.rate = 0;
            }
            if (cl.rate <= 0) throw UsageError("--rate takes a sample rate in Hz, not '" + v + "'");
        } else if (arg.size() > 1 && arg[0] == '-') {
            throw UsageError("unknown option " + arg);
        } else if (cl.command.empty()) {
            cl.command = arg;
        } else {
            cl.files.push_back(arg);
        }
    }
    return cl;
}

void requireFiles(const CommandLine& cl, size_t n) {
    if (cl.files.size() != n) {
        throw UsageError(cl.command + " takes " + std::to_string(n) + " file names, not " +
                         std::to_string(cl.files.size()));
    }
}

std::string codecNames() {
    std::string names;
    for (const Codec& c : codecs()) names += (names.empty() ? "" : ", ") + std::string(c.name);
    return names;
}

const Codec& requireCodec(const CommandLine& cl) {
    if (cl.codec.empty()) throw UsageError(cl.command + " needs --codec NAME (one of " + codecNames() + ")");
    const Codec* c = findCodec(cl.codec);
    if (c == nullptr) {
        throw std::runtime_error("unknown codec '" + cl.codec + "'; the codecs are " + codecNames() +
                                 " (see `kelscodec list`)");
    }
    return *c;
}

void list() {
    printf("%-10s %9s %9s  %s\n", "codec", "rate Hz", "kbit/s", "description");
    for (const Codec& c : codecs()) {
        printf("%-10s %9d %9.1f  %s\n", c.name, c.sampleRate, c.bitRate / 1000.0, c.description);
    }
}

// Mono audio at the codec's rate, or an error that says how it differs.
Samples readInput(const std::string& path, const Codec& codec) {
    const Audio a = readAudio(path, codec.sampleRate);
    if (a.channels != 1) {
        throw std::runtime_error(path + ": " + std::to_string(a.channels) + " channels; " + codec.name +
                                 " codes mono audio (mix it down first, e.g. sox IN -c 1 OUT)");
    }
    if (a.sampleRate != codec.sampleRate) {
        throw std::runtime_error(path + ": sample rate " + std::to_string(a.sampleRate) + " Hz; " + codec.name +
                                 " codes " + std::to_string(codec.sampleRate) +
                                 " Hz audio (resample it first, e.g. sox IN -r " + std::to_string(codec.sampleRate) +
                                 " OUT)");
    }
    return a.samples;
}

void encode(const CommandLine& cl) {
    const Codec& codec = requireCodec(cl);
    requireFiles(cl, 2);
    checkWritable(cl.files[1], cl.force);
    const Samples audio = readInput(cl.files[0], codec);
    writeBytes(cl.files[1], codec.encode(audio));
}

void decode(const CommandLine& cl) {
    const Codec& codec = requireCodec(cl);
    requireFiles(cl, 2);
    checkWritable(cl.files[1], cl.force);
    const Bytes stream = readBytes(cl.files[0]);
    Samples audio;
    try {
        audio = codec.decode(stream);
    } catch (const std::runtime_error& e) {
        throw std::runtime_error(cl.files[0] + ": " + e.what());
    }
    writeAudio(cl.files[1], audio, codec.sampleRate);
}

void compare(const CommandLine& cl) {
    requireFiles(cl, 2);
    const Audio ref = readAudio(cl.files[0], cl.rate);
    const Audio test = readAudio(cl.files[1], cl.rate);
    for (const Audio* a : {&ref, &test}) {
        const std::string& name = cl.files[a == &ref ? 0 : 1];
        if (a->channels != 1)
            throw std::runtime_error(name + ": " + std::to_string(a->channels) + " channels, not mono");
    }
    if (ref.sampleRate != test.sampleRate) {
        throw std::runtime_error("the files' sample rates differ: " + std::to_string(ref.sampleRate) + " and " +
                                 std::to_string(test.sampleRate) + " Hz");
    }
    const int delay = cl.codec.empty() ? 0 : requireCodec(cl).delay;
    const SegmentalSnr snr = segmentalSnr(ref.samples, test.samples, ref.sampleRate, delay);
    if (snr.frames == 0) throw std::runtime_error(cl.files[0] + ": no frame above the silence threshold");
    printf("segmental SNR: %.2f dB (%d frames of 20 ms, %d silent frames left out)\n", snr.db, snr.frames, snr.silent);
}

int run(int argc, char** argv) {
    const CommandLine cl = parse(argc, argv);
    if (cl.command == "help") {
        printf("%s%s", kUsage, kHelp);
    } else if (cl.command == "list") {
        requireFiles(cl, 0);
        list();
    } else if (cl.command == "encode") {
        encode(cl);
    } else if (cl.command == "decode") {
        decode(cl);
    } else if (cl.command == "compare") {
        compare(cl);
    } else if (cl.command == "demo") {
        requireFiles(cl, 0);
        runDemo(cl.outDir, cl.force);
    } else if (cl.command.empty()) {
        throw UsageError("no command");
    } else {
        throw UsageError("unknown command '" + cl.command + "'");
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const UsageError& e) {
        fprintf(stderr, "kelscodec: %s\n%s(kelscodec --help explains more)\n", e.what(), kUsage);
        return 2;
    } catch (const std::exception& e) {
        fprintf(stderr, "kelscodec: %s\n", e.what());
        return 1;
    }
}
