// Pieces shared by the comparisons in bench/: the committed speech samples,
// the start-up agreement check and a main() that runs it before timing.
#ifndef KELSC_BENCH_SUPPORT_H
#define KELSC_BENCH_SUPPORT_H

#include <benchmark/benchmark.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <fstream>
#include <iterator>
#include <vector>

namespace kelsc_bench {

// The 16-bit samples of a mono 16-bit PCM WAV file (its "data" chunk);
// empty if the file cannot be read or is of another kind.
inline std::vector<int16_t> readWav16(const char* path) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const auto u32 = [&bytes](size_t at) {
        return static_cast<uint32_t>(bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 | bytes[at + 3] << 24);
    };
    if (bytes.size() < 12 || memcmp(bytes.data(), "RIFF", 4) != 0 || memcmp(bytes.data() + 8, "WAVE", 4) != 0) {
        return {};
    }
    bool mono16 = false;
    for (size_t at = 12; at + 8 <= bytes.size();) {
        const uint32_t size = u32(at + 4);
        const size_t body = at + 8;
        if (body + size > bytes.size()) break;
        if (memcmp(&bytes[at], "fmt ", 4) == 0 && size >= 16) {
            const int format = bytes[body] | bytes[body + 1] << 8;
            const int channels = bytes[body + 2] | bytes[body + 3] << 8;
            const int bits = bytes[body + 14] | bytes[body + 15] << 8;
            mono16 = format == 1 && channels == 1 && bits == 16;
        } else if (memcmp(&bytes[at], "data", 4) == 0 && mono16) {
            std::vector<int16_t> samples(size / 2);
            for (size_t i = 0; i < samples.size(); ++i) {
                samples[i] = static_cast<int16_t>(bytes[body + 2 * i] | bytes[body + 2 * i + 1] << 8);
            }
            return samples;
        }
        at = body + size + (size & 1);  // chunks are padded to an even length
    }
    return {};
}

// Offset of the next block of n values in a signal of `total` values, going
// round to the start when the block would run past the end.
inline size_t advance(size_t& pos, size_t n, size_t total) {
    if (pos + n > total) pos = 0;
    const size_t at = pos;
    pos += n;
    return at;
}

// Tallies the start-up comparisons of kelsc with a reference form: each
// mismatch is reported once, with the input it occurred on.
class Agreement {
public:
    explicit Agreement(const char* program, const char* other) : program_(program), other_(other) {}
    void check(bool same, const char* what, size_t input) {
        if (!same) fprintf(stderr, "%s: %s differs from %s (input %zu)\n", program_, what, other_, input);
        ok_ = ok_ && same;
    }
    bool ok() const { return ok_; }

private:
    const char* program_;
    const char* other_;
    bool ok_ = true;
};

// Runs verify() first and times nothing unless kelsc and the peer agree;
// "--verify-only" stops after the check (the CTest entry of each program).
inline int runAfterVerify(int argc, char** argv, bool (*verify)(), const char* peer) {
    bool verifyOnly = false;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (i > 0 && strcmp(argv[i], "--verify-only") == 0) {
            verifyOnly = true;
        } else {
            args.push_back(argv[i]);
        }
    }
    if (!verify()) {
        fprintf(stderr, "kelsc and %s disagree: no timing\n", peer);
        return 1;
    }
    if (verifyOnly) return 0;
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

}  // namespace kelsc_bench

#endif  // KELSC_BENCH_SUPPORT_H
