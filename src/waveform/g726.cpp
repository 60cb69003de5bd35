// ITU-T G.726 adaptive differential PCM at 16, 24, 32 and 40 kbit/s: the
// complete encoder and decoder of clause 4, sample by sample, with the
// results of the fixed-point block description of G.726 4.2 as the ITU-T
// G.191 (STL) reference computes it.
//
// The blocks are written here with signed integers instead of the
// standard's unsigned register images; every register width of 4.2 that can
// matter is kept: the predictor coefficients, the signal estimates and the
// reconstructed signal wrap at 16 bits, Y at 13 bits, YL at 19 bits, DMS,
// DML and AP at 12, 14 and 10 bits.
//
// Both directions run one adaptation routine (4.2.3 to 4.2.7), so encoder
// and decoder hold the same state machine. The state block lives in the
// caller's memory at any alignment: each call copies it in, runs the block
// and copies it back.
#include <stddef.h>
#include <string.h>

#include "basop.h"
#include "check.h"
#include "g711.h"
#include "g726_tables.h"

namespace kel::g726 {
namespace {

// The standard's delayed variables (one sample of delay), in the order of
// the state block after its 16 reserved bytes.
struct Codec {
    Kel16s pk0;      // sign of the partial reconstructed signal P of the current sample (1 = negative)
    Kel16s pk1;      // ... of the previous sample
    Kel16s pk2;      // ... of the sample before
    Kel16s rate;     // rate index 0..3 (16, 24, 32, 40 kbit/s)
    Kel16s yu;       // fast (unlocked) quantizer scale factor YU, log2 in Q9, 544..5120
    Kel16s ap;       // speed control parameter AP, 0..1023 (Q8)
    Kel32s yl;       // slow (locked) quantizer scale factor YL, log2 in Q15, 19 bits
    Kel16s dms;      // short-term average of F(I), 12 bits (Q9)
    Kel16s dml;      // long-term average of F(I), 14 bits (Q11)
    Kel16s td;       // tone detect flag TD
    Kel16s sez;      // partial (zero-section) signal estimate SEZ of the current sample
    Kel16s coef[8];  // B1..B6 (Q14), A1, A2 (Q14): predictor coefficients
    Kel16s mag[8];   // DQ1..DQ6, SR1, SR2 in the floating format: exponent bits 6..9, mantissa bits 0..5
    Kel16s sign[8];  // the signs of DQ1..DQ6, SR1, SR2 (1 = negative)
};

constexpr size_t kReserved = 16;  // leading bytes of a state block that no function touches

struct EncoderState {
    Kel8u reserved[kReserved];
    Codec codec;
};

struct DecoderState {
    Kel8u reserved[kReserved];
    Codec codec;
    Kel16s law;     // output law: kelPcmMuLaw, kelPcmALaw or kelPcmLinear
    Kel16s unused;  // pads the block to a multiple of 4 bytes; Init zeroes it
};

static_assert(sizeof(EncoderState) == 88, "G.726 encoder state block is 88 bytes");
static_assert(sizeof(DecoderState) == 92, "G.726 decoder state block is 92 bytes");
static_assert(offsetof(EncoderState, codec) == 16 && offsetof(Codec, rate) == 6 && offsetof(Codec, yl) == 12 &&
                  offsetof(Codec, coef) == 24 && offsetof(Codec, mag) == 40 && offsetof(Codec, sign) == 56,
              "G.726 state fields at their documented offsets");
static_assert(offsetof(DecoderState, law) == 88, "the decoder's output law follows the shared fields");

constexpr size_t kCodecBegin = offsetof(EncoderState, codec);

// Rate code of the public interface to the rate index kept in the state.
int rateIndex(int rate) {
    switch (rate) {
        case kelSpeechRate16000: return 0;
        case kelSpeechRate24000: return 1;
        case kelSpeechRate32000: return 2;
        case kelSpeechRate40000: return 3;
        default: return -1;
    }
}

inline Kel16s wrap16(int32_t v) { return static_cast<Kel16s>(static_cast<uint16_t>(static_cast<uint32_t>(v))); }

inline int clamp(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

// Number of significant bits of a magnitude 0..32767 (0 for 0).
inline int bitLength(int mag) { return mag == 0 ? 0 : 15 - norm_s(static_cast<Kel16s>(mag)); }

// G.726 4.2.6 FLOATA / FLOATB: a 15-bit magnitude as a 4-bit exponent and a
// 6-bit mantissa holding the leading one; zero is mantissa 32, exponent 0.
inline Kel16s toFloat(int mag) {
    const int e = bitLength(mag);
    const int m = mag == 0 ? 32 : (mag << 6) >> e;
    return static_cast<Kel16s>((e << 6) | m);
}

// G.726 4.2.6 FMULT: a predictor coefficient times a delayed value held in
// the floating format, as a 16-bit two's complement product. The coefficient
// magnitude is taken from An >> 2 (so -32768 has magnitude 0).
inline int fmult(Kel16s coef, Kel16s value, Kel16s valueSign) {
    const int coefMag = coef >= 0 ? coef >> 2 : -(coef >> 2) & 8191;
    const int c = toFloat(coefMag);
    const int e = (c >> 6) + ((value >> 6) & 15);
    const int m = ((c & 63) * (value & 63) + 48) >> 4;
    const int mag = e <= 26 ? (m << 7) >> (26 - e) : ((m << 7) << (e - 26)) & 32767;
    return ((valueSign != 0) != (coef < 0)) ? -mag : mag;
}

// What each sample needs before its code word is known.
struct Estimate {
    int y;    // quantizer scale factor Y (4.2.4 MIX), log2 in Q9, 13 bits
    int se;   // signal estimate SE, 15-bit signed
    int sez;  // partial signal estimate SEZ (zero section), 15-bit signed
};

// G.726 4.2.5 LIMA, 4.2.4 MIX and 4.2.6 FMULT / ACCUM.
inline Estimate estimate(const Codec& c) {
    Estimate e;
    // Y = (1 - AL) * YL + AL * YU with AL = AP / 4 limited to 1 (Q6): the
    // difference YU - YL/64 in sign-magnitude, its magnitude multiplied.
    const int al = c.ap >= 256 ? 64 : c.ap >> 2;
    const int ylInt = (c.yl & 0x7FFFF) >> 6;
    const int dif = c.yu - ylInt;
    const int prod = ((dif < 0 ? -dif : dif) * al) >> 6;
    e.y = (ylInt + (dif < 0 ? -prod : prod)) & 8191;

    int zeros = 0;
    for (int k = 0; k < 6; ++k) zeros += fmult(c.coef[k], c.mag[k], c.sign[k]);
    const int poles = fmult(c.coef[6], c.mag[6], c.sign[6]) + fmult(c.coef[7], c.mag[7], c.sign[7]);
    // The sums wrap at 16 bits and are halved into 15-bit estimates.
    e.sez = wrap16(zeros) >> 1;
    e.se = wrap16(zeros + poles) >> 1;
    return e;
}

// G.726 4.2.2 LOG, SUBTB and QUAN: the code word for difference d at scale
// factor y. The decoder's synchronous coding adjustment (4.2.8) re-quantizes
// its own output with the same routine.
inline int quantize(const RateTable& t, Kel16s d, int y) {
    const int mag = abs_s(d);
    const int e = mag < 2 ? 0 : bitLength(mag) - 1;
    const int dl = (e << 7) + (((mag << 7) >> e) & 127);  // log2 |D|, Q7
    const int dln = dl - (y >> 2);                        // normalised by Y, within the 12-bit range
    int n = 0;
    while (n < t.levelCount && dln >= t.levels[n]) ++n;
    return d < 0 ? t.codeNegative[n] : t.codePositive[n];
}

// G.726 4.2.3 to 4.2.7, everything that follows once code word i is known:
// inverse quantizer, scale factor and speed adaptation, predictor update,
// tone and transition detection, and the shift of the delay lines. Returns
// the reconstructed signal SR (16-bit two's complement).
inline Kel16s adapt(Codec& c, const RateTable& t, int i, const Estimate& est) {
    // 4.2.3 RECONST, ADDA, ANTILOG: DQ in sign-magnitude. Log values whose
    // 12-bit sum is negative reconstruct as 0. The exponent stays <= 14 from
    // any state Init can lead to; the limit only keeps a corrupted state from
    // shifting by a negative count.
    const int dql = (t.dqln[i] + (est.y >> 2)) & 4095;
    const int dqExp = (dql >> 7) < 14 ? (dql >> 7) : 14;
    const int dqMag = dql >= 2048 ? 0 : (((dql & 127) + 128) << 7) >> (14 - dqExp);
    const int dqSign = (i >> (t.bits - 1)) & 1;
    const int dq = dqSign ? -dqMag : dqMag;

    // 4.2.4 FUNCTW, FILTD, LIMB: YU moves 1/32 of the way to W(I), limited
    // to 1.06..10.00. FILTE: YL moves 1/64 of the way to YU; the standard
    // forms YL/64 as -((-YL) >> 6), rounding it up.
    const int yl = c.yl & 0x7FFFF;
    const int yut = (est.y + ((t.w[i] * 32 - est.y) >> 5)) & 8191;
    const int yu = clamp(yut, 544, 5120);
    const int ylNew = (yl + yu - ((yl + 63) >> 6)) & 0x7FFFF;

    // 4.2.7 TRANS: a transition when the tone flag was set and |DQ| exceeds
    // 24 * 2^YL, the power formed from the integer part of YL and its top
    // five fraction bits, and saturating once the integer part exceeds 9.
    const int ylInt = yl >> 15;
    const int thr = ylInt > 9 ? 31744 : (((yl >> 10) & 31) + 32) << ylInt;
    const bool tr = c.td == 1 && dqMag > (thr + (thr >> 1)) >> 1;

    // 4.2.6 ADDB, ADDC: reconstructed signal and partial reconstructed
    // signal P = DQ + SEZ, with its sign PK0 and zero flag SIGPK.
    const Kel16s sr = wrap16(dq + est.se);
    const Kel16s p = wrap16(dq + est.sez);
    const int pk0 = p < 0;

    // 4.2.6 UPA2, LIMC: A2 gains 2^-7 * (+-1 -+ f(A1)), the signs by the
    // agreement of P with P two samples back and with the previous P, where
    // f(A1) = 4 * A1 limited to +-1/2; it leaks 2^-7. UPA1, LIMD: A1 gains
    // +-3/256 and leaks 2^-8. With P = 0 both only leak. Then |A2| <= 0.75
    // and |A1| <= 1 - 2^-4 - A2 (coefficients in Q14).
    const int a1 = c.coef[6];
    const int a2 = c.coef[7];
    int a2t = a2 - (a2 >> 7);
    int a1t = a1 - (a1 >> 8);
    if (p != 0) {
        const int fa1 = a1 > 8191 ? 32764 : (a1 < -8191 ? -32764 : 4 * a1);
        a2t += ((pk0 == c.pk2 ? 16384 : -16384) + (pk0 == c.pk1 ? -fa1 : fa1)) >> 7;
        a1t += pk0 == c.pk1 ? 192 : -192;
    }
    const int a2p = clamp(wrap16(a2t), -12288, 12288);
    const int a1p = clamp(wrap16(a1t), a2p - 15360, 15360 - a2p);

    // 4.2.7 TONE: a partial-band signal (A2 < -0.71875) sets TD.
    const int tdp = a2p < -11776;

    // 4.2.5 FUNCTF, FILTA, FILTB: averages of F(I) with time constants 2^-5
    // and 2^-7. SUBTC, FILTC: AP moves 2^-4 of the way to 2 when the
    // averages differ, when Y is small (< 3) or on a tone, else towards 0.
    const int fi = t.f[i] * 512;
    const int dms = (c.dms + ((fi - c.dms) >> 5)) & 4095;
    const int dml = (c.dml + ((4 * fi - c.dml) >> 7)) & 16383;
    const int dmDif = 4 * dms - dml;
    const bool steady = est.y >= 1536 && (dmDif < 0 ? -dmDif : dmDif) < (dml >> 3) && !tdp;
    const int ap = (c.ap + (((steady ? 0 : 512) - c.ap) >> 4)) & 1023;

    // 4.2.6 XOR, UPB: each Bk gains +-2^-7 by the sign agreement of DQ with
    // DQk (not when DQ is 0) and leaks 2^-8 (2^-9 at 40 kbit/s).
    for (int k = 0; k < 6; ++k) {
        const int b = c.coef[k];
        int bt = b - (b >> t.leakShift);
        if (dqMag != 0) bt += (dqSign != (c.sign[k] != 0)) ? -128 : 128;
        c.coef[k] = wrap16(bt);
    }
    c.coef[6] = static_cast<Kel16s>(a1p);
    c.coef[7] = static_cast<Kel16s>(a2p);
    c.td = static_cast<Kel16s>(tdp);
    c.ap = static_cast<Kel16s>(ap);

    // 4.2.6 TRIGB, 4.2.5 TRIGA: a transition clears all eight coefficients
    // and the tone flag, and sets AP to 1 for fast adaptation.
    if (tr) {
        for (Kel16s& coef : c.coef) coef = 0;
        c.td = 0;
        c.ap = 256;
    }

    // Delay lines: DQ enters DQ1, SR enters SR1 (FLOATA, FLOATB; the
    // magnitude of SR is taken modulo 2^15, so -32768 is a negative zero).
    for (int k = 5; k > 0; --k) {
        c.mag[k] = c.mag[k - 1];
        c.sign[k] = c.sign[k - 1];
    }
    c.mag[0] = toFloat(dqMag);
    c.sign[0] = static_cast<Kel16s>(dqSign);
    c.mag[7] = c.mag[6];
    c.sign[7] = c.sign[6];
    c.mag[6] = toFloat(sr < 0 ? -sr & 32767 : sr);
    c.sign[6] = static_cast<Kel16s>(sr < 0);

    c.pk2 = c.pk1;
    c.pk1 = static_cast<Kel16s>(pk0);
    c.pk0 = static_cast<Kel16s>(pk0);
    c.sez = static_cast<Kel16s>(est.sez);
    c.yu = static_cast<Kel16s>(yu);
    c.yl = ylNew;
    c.dms = static_cast<Kel16s>(dms);
    c.dml = static_cast<Kel16s>(dml);
    return sr;
}

// G.726 4.2.8 COMPRESS: SR to a G.711 code word with the library's G.711
// compressor. SR is limited to the 14-bit range and scaled to 16 bits. The
// compressor rounds negative values one step differently from COMPRESS
// (it works on the one's complement), which the decrement by one corrects
// for mu-law. A wrapped SR of -32768 is taken as 0 for mu-law and -2 for
// A-law (this library's rule; the STL reference compresses it as the
// negative zero, which differs for mu-law only).
inline Kel8u compress(int law, Kel16s sr) {
    Kel16s x;
    if (sr == kMin16) {
        x = static_cast<Kel16s>(law == kelPcmMuLaw ? 0 : -8);  // 0 (mu-law) or -2 (A-law), times 4
    } else {
        x = static_cast<Kel16s>(clamp(sr, -8192, 8191) * 4);
        if (law == kelPcmMuLaw && x < 0 && x != kMin16) --x;
    }
    return law == kelPcmMuLaw ? linToMuLaw(x) : linToALaw(x);
}

// G.726 4.2.8: output PCM format conversion and synchronous coding
// adjustment. The log output is expanded again (EXPAND, SUBTA) and
// re-quantized; when that does not give back the received code word i, the
// output moves one PCM level towards it, so that tandem ADPCM - PCM - ADPCM
// codings do not accumulate distortion.
inline Kel16s output(int law, const RateTable& t, int i, Kel16s sr, const Estimate& est) {
    if (law != kelPcmMuLaw && law != kelPcmALaw) return static_cast<Kel16s>(clamp(sr, -8192, 8191));
    const bool mu = law == kelPcmMuLaw;
    Kel8u code = compress(law, sr);
    const int slx = (mu ? kMuLawToLinear[code] : kALawToLinear[code]) >> 2;
    const int id = quantize(t, static_cast<Kel16s>(slx - est.se), est.y);
    // Code words compared in the order of the values they stand for: flipping
    // the sign bit puts the negative codes below the positive ones.
    const int signBit = 1 << (t.bits - 1);
    const int requantized = id ^ signBit;
    const int received = i ^ signBit;
    if (requantized < received) code = mu ? kMuLawNextGreater[code] : kALawNextGreater[code];
    if (requantized > received) code = mu ? kMuLawNextSmaller[code] : kALawNextSmaller[code];
    return code;
}

Codec initialCodec(int rateIdx) {
    Codec c{};
    c.rate = static_cast<Kel16s>(rateIdx);
    c.yu = 544;
    c.yl = 34816;
    for (Kel16s& m : c.mag) m = 32;
    return c;
}

// The rate index of a state block, kept in range so that a corrupted block
// cannot select a table outside kRateTables.
inline const RateTable& tableOf(const Codec& c) { return kRateTables[c.rate & (kRateCount - 1)]; }

void ownEncode_G726(Codec& c, const Kel16s* pSrc, Kel8u* pDst, int len) {
    const RateTable& t = tableOf(c);
    for (int j = 0; j < len; ++j) {
        const Estimate est = estimate(c);
        // 4.2.1 SUBTA: D = SL - SE, 16-bit two's complement.
        const int i = quantize(t, wrap16(pSrc[j] - est.se), est.y);
        pDst[j] = static_cast<Kel8u>(i);
        adapt(c, t, i, est);
    }
}

void ownDecode_G726(Codec& c, int law, const Kel8u* pSrc, Kel16s* pDst, int len) {
    const RateTable& t = tableOf(c);
    const int mask = (1 << t.bits) - 1;
    for (int j = 0; j < len; ++j) {
        const Estimate est = estimate(c);
        // Only the code word's n bits are used, so any byte indexes inside
        // the rate's tables.
        const int i = pSrc[j] & mask;
        const Kel16s sr = adapt(c, t, i, est);
        pDst[j] = output(law, t, i, sr, est);
    }
}

}  // namespace
}  // namespace kel::g726

using kel::Args;
using namespace kel::g726;

KelStatus kelsEncodeGetStateSize_G726_16s8u(Kel32u* pSize) {
    KEL_CHECK(Args().ptr(pSize));
    *pSize = sizeof(EncoderState);
    return kelStatusOk;
}

KelStatus kelsEncodeInit_G726_16s8u(KelG726EncoderState* pEncState, int rate) {
    KEL_CHECK(Args().ptr(pEncState).require(rateIndex(rate) >= 0, kelStatusOutOfRange));
    const Codec c = initialCodec(rateIndex(rate));
    memcpy(reinterpret_cast<Kel8u*>(pEncState) + kCodecBegin, &c, sizeof c);
    return kelStatusOk;
}

// A negative length is not an error: nothing is processed and the status is
// kelStatusOk; only a zero length is rejected.
KelStatus kelsEncode_G726_16s8u(KelG726EncoderState* pEncState, const Kel16s* pSrc, Kel8u* pDst, int len) {
    KEL_CHECK(Args().ptr(pEncState, pSrc, pDst).require(len != 0, kelStatusBadSize));
    if (len < 0) return kelStatusOk;
    Kel8u* const mem = reinterpret_cast<Kel8u*>(pEncState) + kCodecBegin;
    Codec c;
    memcpy(&c, mem, sizeof c);
    ownEncode_G726(c, pSrc, pDst, len);
    memcpy(mem, &c, sizeof c);
    return kelStatusOk;
}

KelStatus kelsDecodeGetStateSize_G726_8u16s(Kel32u* pSize) {
    KEL_CHECK(Args().ptr(pSize));
    *pSize = sizeof(DecoderState);
    return kelStatusOk;
}

KelStatus kelsDecodeInit_G726_8u16s(KelG726DecoderState* pDecState, int rate, int law) {
    KEL_CHECK(Args()
                  .ptr(pDecState)
                  .require(rateIndex(rate) >= 0, kelStatusOutOfRange)
                  .require(law == kelPcmMuLaw || law == kelPcmALaw || law == kelPcmLinear, kelStatusOutOfRange));
    DecoderState s{};
    s.codec = initialCodec(rateIndex(rate));
    s.law = static_cast<Kel16s>(law);
    s.unused = 0;
    memcpy(reinterpret_cast<Kel8u*>(pDecState) + kCodecBegin, reinterpret_cast<const Kel8u*>(&s) + kCodecBegin,
           sizeof s - kCodecBegin);
    return kelStatusOk;
}

// A negative length is not an error, as for the encoder.
KelStatus kelsDecode_G726_8u16s(KelG726DecoderState* pDecState, const Kel8u* pSrc, Kel16s* pDst, int len) {
    KEL_CHECK(Args().ptr(pDecState, pSrc, pDst).require(len != 0, kelStatusBadSize));
    if (len < 0) return kelStatusOk;
    Kel8u* const mem = reinterpret_cast<Kel8u*>(pDecState);
    Codec c;
    Kel16s law;
    memcpy(&c, mem + kCodecBegin, sizeof c);
    memcpy(&law, mem + offsetof(DecoderState, law), sizeof law);
    ownDecode_G726(c, law, pSrc, pDst, len);
    memcpy(mem + kCodecBegin, &c, sizeof c);
    return kelStatusOk;
}
