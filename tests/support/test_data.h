// Readers for test data: committed golden vectors and the official vectors
// beside the project.
#ifndef KELSC_TESTS_TEST_DATA_H
#define KELSC_TESTS_TEST_DATA_H

#include <stdint.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace kelsc_test {

inline std::string goldenPath(const std::string& name) { return std::string(KELSC_VECTORS_DIR) + "/" + name; }
inline std::string officialPath(const std::string& name) { return std::string(KELSC_SHARED_VECTORS_DIR) + "/" + name; }

// Whole file as bytes; empty when it cannot be read.
inline std::vector<uint8_t> readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Little-endian 16-bit words.
inline std::vector<int16_t> readWords(const std::string& path) {
    const std::vector<uint8_t> b = readBytes(path);
    std::vector<int16_t> w(b.size() / 2);
    for (size_t i = 0; i < w.size(); ++i) w[i] = static_cast<int16_t>(b[2 * i] | (b[2 * i + 1] << 8));
    return w;
}

// Rows of signed integers from a text vector file ('#' lines skipped).
inline std::vector<std::vector<int64_t>> readRows(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::vector<int64_t>> rows;
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::vector<int64_t> row;
        int64_t v = 0;
        while (fields >> v) row.push_back(v);
        rows.push_back(row);
    }
    return rows;
}

// Deterministic generator for random test operands (splitmix64).
class Rng {
public:
    explicit Rng(uint64_t seed) : s_(seed) {}
    uint64_t next() {
        uint64_t z = (s_ += 0x9e3779b97f4a7c15ull);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        return z ^ (z >> 31);
    }
    // A 16-bit value, half of them of random bit length, with the extremes
    // over-represented.
    int16_t s16() {
        const uint64_t r = next();
        switch (r & 15) {
            case 0: return -32768;
            case 1: return 32767;
            case 2: return 0;
            case 3:
            case 4:
            case 5: {
                const int bits = static_cast<int>((r >> 8) % 16);
                const int32_t v = static_cast<int32_t>((r >> 16) & ((1u << bits) - 1));
                return static_cast<int16_t>((r >> 40) & 1 ? -v : v);
            }
            default: return static_cast<int16_t>(r >> 16);
        }
    }
    int32_t s32() {
        const uint64_t r = next();
        switch (r & 15) {
            case 0: return INT32_MIN;
            case 1: return INT32_MAX;
            case 2: return 0;
            case 3:
            case 4:
            case 5: {
                const int bits = static_cast<int>((r >> 8) % 32);
                const int64_t v = static_cast<int64_t>((r >> 16) & ((1ull << bits) - 1));
                return static_cast<int32_t>((r >> 60) & 1 ? -v : v);
            }
            default: return static_cast<int32_t>(r >> 16);
        }
    }
    std::vector<int16_t> vec16(size_t n) {
        std::vector<int16_t> v(n);
        for (auto& x : v) x = s16();
        return v;
    }
    std::vector<int32_t> vec32(size_t n) {
        std::vector<int32_t> v(n);
        for (auto& x : v) x = s32();
        return v;
    }

private:
    uint64_t s_;
};

}  // namespace kelsc_test

#endif  // KELSC_TESTS_TEST_DATA_H
