// The codec table and the adapters between whole signals and the library's
// functions. Encoded streams are raw code words, one byte per sample (G.722:
// per pair of samples), or GSM 06.10 frames of 33 bytes (see
// `kelscodec --help`).
#include "codecs.h"

#include <kelsc.h>
#include <limits.h>
#include <string.h>

#include <stdexcept>
#include <string>

#include "gsmfr.h"

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

// --- GSM 06.10 full rate: 160-sample frames to 33-byte frames and back ------

// tools/gsmfr codes whole frames: the last one is completed with silence,
// so the decoded audio is up to 159 samples longer than the input.
Bytes gsmfrEncode(const Samples& audio) {
    gsmfr_encoder enc;
    gsmfr_encoder_init(&enc);
    const size_t frames = (audio.size() + GSMFR_FRAME_SAMPLES - 1) / GSMFR_FRAME_SAMPLES;
    Bytes stream(frames * GSMFR_FRAME_BYTES);
    for (size_t f = 0; f < frames; ++f) {
        int16_t pcm[GSMFR_FRAME_SAMPLES] = {0};
        const size_t at = f * GSMFR_FRAME_SAMPLES;
        const size_t n = audio.size() - at < GSMFR_FRAME_SAMPLES ? audio.size() - at : GSMFR_FRAME_SAMPLES;
        memcpy(pcm, audio.data() + at, n * sizeof pcm[0]);
        int16_t params[GSMFR_FRAME_PARAMS];
        check(gsmfr_encode_frame(&enc, pcm, params), "gsmfr_encode_frame");
        gsmfr_pack(params, stream.data() + f * GSMFR_FRAME_BYTES);
    }
    return stream;
}

Samples gsmfrDecode(const Bytes& stream) {
    if (stream.size() % GSMFR_FRAME_BYTES != 0) {
        throw std::runtime_error(std::to_string(stream.size()) + " bytes are no whole number of " +
                                 std::to_string(GSMFR_FRAME_BYTES) +
                                 "-byte GSM 06.10 frames (was the file encoded with another codec?)");
    }
    gsmfr_decoder dec;
    gsmfr_decoder_init(&dec);
    const size_t frames = stream.size() / GSMFR_FRAME_BYTES;
    Samples audio(frames * GSMFR_FRAME_SAMPLES);
    for (size_t f = 0; f < frames; ++f) {
        int16_t params[GSMFR_FRAME_PARAMS];
        if (gsmfr_unpack(stream.data() + f * GSMFR_FRAME_BYTES, params) != 0) {
            throw std::runtime_error("frame " + std::to_string(f) +
                                     " lacks the GSM 06.10 signature 0xD (was the file encoded with another codec?)");
        }
        check(gsmfr_decode_frame(&dec, params, audio.data() + f * GSMFR_FRAME_SAMPLES), "gsmfr_decode_frame");
    }
    return audio;
}

// --- G.722: 16 kHz samples to 64 kbit/s octets and back ---------------------

// The G.722 chain works on pairs of 16 kHz samples, one octet IH << 6 | ILR
// per pair: an odd last sample is completed with a zero. 56 and 48 kbit/s
// use the same octets (the encoder does not depend on the mode); only the
// decoder's lower-band inverse quantizer differs (mode 2 or 3).
Bytes g722Encode(const Samples& audio) {
    Kel32u size = 0;
    check(kelsSBADPCMEncodeStateSize_G722_16s(&size), "kelsSBADPCMEncodeStateSize_G722_16s");
    std::vector<Kel8u> block(size);
    KelG722EncoderState* state = reinterpret_cast<KelG722EncoderState*>(block.data());
    check(kelsSBADPCMEncodeInit_G722_16s(state), "kelsSBADPCMEncodeInit_G722_16s");

    Samples pcm(audio);
    if (pcm.size() % 2 != 0) pcm.push_back(0);
    Bytes octets(pcm.size() / 2);
    if (pcm.empty()) return octets;
    Kel16s delay[24] = {};
    Samples bands(pcm.size());
    std::vector<Kel16u> codes(pcm.size());
    const int n = lengthOf(pcm.size());
    check(kelsQMFEncode_G722_16s(pcm.data(), bands.data(), n, delay), "kelsQMFEncode_G722_16s");
    check(kelsSBADPCMEncode_G722_16s(bands.data(), codes.data(), n, state), "kelsSBADPCMEncode_G722_16s");
    for (size_t k = 0; k < octets.size(); ++k) octets[k] = static_cast<uint8_t>(codes[2 * k + 1] << 6 | codes[2 * k]);
    return octets;
}

// Every byte is a G.722 octet, so any stream decodes.
template <Kel16s kMode>
Samples g722Decode(const Bytes& octets) {
    Kel32u size = 0;
    check(kelsSBADPCMDecodeStateSize_G722_16s(&size), "kelsSBADPCMDecodeStateSize_G722_16s");
    std::vector<Kel8u> block(size);
    KelG722DecoderState* state = reinterpret_cast<KelG722DecoderState*>(block.data());
    check(kelsSBADPCMDecodeInit_G722_16s(state), "kelsSBADPCMDecodeInit_G722_16s");

    Samples codes(2 * octets.size());
    for (size_t k = 0; k < octets.size(); ++k) {
        codes[2 * k] = static_cast<int16_t>(octets[k] & 63);
        codes[2 * k + 1] = static_cast<int16_t>(octets[k] >> 6);
    }
    Samples audio(codes.size());
    if (codes.empty()) return audio;
    Kel16s delay[24] = {};
    Samples bands(codes.size());
    const int n = lengthOf(codes.size());
    check(kelsSBADPCMDecode_G722_16s(codes.data(), bands.data(), n, kMode, state), "kelsSBADPCMDecode_G722_16s");
    check(kelsQMFDecode_G722_16s(bands.data(), audio.data(), n, delay), "kelsQMFDecode_G722_16s");
    return audio;
}

// The QMF pair delays the decoded audio by 22 samples.
constexpr int kG722Delay = 22;

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
        {"gsm-fr", "GSM 06.10 full rate (RPE-LTP), 33-byte frames", 8000, 13000, 0, gsmfrEncode, gsmfrDecode},
        {"g722-64", "G.722 sub-band ADPCM, 7 kHz audio", 16000, 64000, kG722Delay, g722Encode, g722Decode<1>},
        {"g722-56", "G.722 sub-band ADPCM, 56 kbit/s decoding of the octets", 16000, 56000, kG722Delay, g722Encode,
         g722Decode<2>},
        {"g722-48", "G.722 sub-band ADPCM, 48 kbit/s decoding of the octets", 16000, 48000, kG722Delay, g722Encode,
         g722Decode<3>},
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
