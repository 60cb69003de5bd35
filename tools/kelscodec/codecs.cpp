// The codec table and the adapters between whole signals and the library's
// functions. Encoded streams are raw code words, one byte per sample (see
// `kelscodec --help`).
#include "codecs.h"

#include <kelsc.h>
#include <limits.h>

#include <stdexcept>
#include <string>

namespace kelscodec {
namespace {

void check(KelStatus status, const char* function) {
    if (status != kelStatusOk) {
        throw std::runtime_error(std::string(function) + " returned status " + std::to_string(status));
    }
}

// The library takes lengths as int.
int lengthOf(size_t n) {
    if (n > static_cast<size_t>(INT_MAX)) throw std::runtime_error("the signal is too long to code in one call");
    return static_cast<int>(n);
}

// --- G.711: 16-bit samples to 8-bit code words and back --------------------

template <KelStatus (*kCompress)(const Kel16s*, Kel8u*, int)>
Bytes g711Encode(const Samples& audio) {
    Bytes codes(audio.size());
    if (!audio.empty()) check(kCompress(audio.data(), codes.data(), lengthOf(audio.size())), "G.711 compressor");
    return codes;
}

template <KelStatus (*kExpand)(const Kel8u*, Kel16s*, int)>
Samples g711Decode(const Bytes& codes) {
    Samples audio(codes.size());
    if (!codes.empty()) check(kExpand(codes.data(), audio.data(), lengthOf(codes.size())), "G.711 expander");
    return audio;
}

// --- G.726: 14-bit samples to n-bit code words and back ----------------------

// The library's G.726 coder works on 14-bit samples: 16-bit input is shifted
// right by 2 (dropping the two lowest bits) and the 14-bit output shifted
// left by 2.
template <int kRate>
Bytes g726Encode(const Samples& audio) {
    Kel32u size = 0;
    check(kelsEncodeGetStateSize_G726_16s8u(&size), "kelsEncodeGetStateSize_G726_16s8u");
    std::vector<Kel8u> block(size);
    KelG726EncoderState* state = reinterpret_cast<KelG726EncoderState*>(block.data());
    check(kelsEncodeInit_G726_16s8u(state, kRate), "kelsEncodeInit_G726_16s8u");

    Samples pcm14(audio.size());
    for (size_t i = 0; i < audio.size(); ++i) pcm14[i] = static_cast<int16_t>(audio[i] >> 2);
    Bytes codes(audio.size());
    if (!audio.empty()) {
        check(kelsEncode_G726_16s8u(state, pcm14.data(), codes.data(), lengthOf(audio.size())),
              "kelsEncode_G726_16s8u");
    }
    return codes;
}

template <int kRate, int kBits>
Samples g726Decode(const Bytes& codes) {
    // The library would use the low bits of any byte; a byte with higher bits
    // set is not this codec's code word, most likely a stream written by
    // another codec, which is worth saying instead of decoding noise.
    for (size_t i = 0; i < codes.size(); ++i) {
        if (codes[i] >> kBits) {
            throw std::runtime_error("byte " + std::to_string(i) + " is " + std::to_string(codes[i]) + ", not a " +
                                     std::to_string(kBits) +
                                     "-bit code word (was the file encoded with another codec?)");
        }
    }
    Kel32u size = 0;
    check(kelsDecodeGetStateSize_G726_8u16s(&size), "kelsDecodeGetStateSize_G726_8u16s");
    std::vector<Kel8u> block(size);
    KelG726DecoderState* state = reinterpret_cast<KelG726DecoderState*>(block.data());
    check(kelsDecodeInit_G726_8u16s(state, kRate, kelPcmLinear), "kelsDecodeInit_G726_8u16s");

    Samples audio(codes.size());
    if (!codes.empty()) {
        check(kelsDecode_G726_8u16s(state, codes.data(), audio.data(), lengthOf(codes.size())),
              "kelsDecode_G726_8u16s");
    }
    for (int16_t& s : audio) s = static_cast<int16_t>(s * 4);
    return audio;
}

}  // namespace

const std::vector<Codec>& codecs() {
    static const std::vector<Codec> table = {
        {"g711-alaw", "G.711 A-law log PCM", 8000, 64000, 0, g711Encode<kelsLinToALaw_16s8u>,
         g711Decode<kelsALawToLin_8u16s>},
        {"g711-ulaw", "G.711 mu-law log PCM", 8000, 64000, 0, g711Encode<kelsLinToMuLaw_16s8u>,
         g711Decode<kelsMuLawToLin_8u16s>},
        {"g726-16", "G.726 ADPCM, 2-bit code words", 8000, 16000, 0, g726Encode<kelSpeechRate16000>,
         g726Decode<kelSpeechRate16000, 2>},
        {"g726-24", "G.726 ADPCM, 3-bit code words", 8000, 24000, 0, g726Encode<kelSpeechRate24000>,
         g726Decode<kelSpeechRate24000, 3>},
        {"g726-32", "G.726 ADPCM, 4-bit code words", 8000, 32000, 0, g726Encode<kelSpeechRate32000>,
         g726Decode<kelSpeechRate32000, 4>},
        {"g726-40", "G.726 ADPCM, 5-bit code words", 8000, 40000, 0, g726Encode<kelSpeechRate40000>,
         g726Decode<kelSpeechRate40000, 5>},
    };
    return table;
}

const Codec* findCodec(const std::string& name) {
    for (const Codec& c : codecs()) {
        if (name == c.name) return &c;
    }
    return nullptr;
}

}  // namespace kelscodec
