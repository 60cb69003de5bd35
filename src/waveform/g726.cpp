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
// caller's memory at any alignment: each call copies it into registers,
// runs the block and copies it back.
//
// For speed (docs/PERFORMANCE.md): the six zero-section products of the
// predictor are formed at once in 16-bit SIMD lanes (SSE2, on every x86-64
// processor; a plain loop elsewhere), the two pole products apart; the
// choices that follow the signal's sign are made by arithmetic rather than
// by branches the processor would mispredict. The encoder, in which each
// sample waits for the code word of the one before, forms before the code
// word is known what depends on it: DQ for every quantizer interval, and
// the three coefficient sets the predictor can move to; and it quantizes
// by comparing |D| with the decision levels mapped to the linear domain
// (SSE2), instead of taking the logarithm of D.
#include <stddef.h>
#include <string.h>

// The per-sample blocks are inlined into the coding loops whatever the
// compiler's size heuristics say: a call per sample would pass the state
// through memory.
#define KEL_G726_INLINE inline __attribute__((always_inline))

#if defined(__SSE2__)
#include <emmintrin.h>
#define KEL_G726_SSE2 1
#else
#define KEL_G726_SSE2 0
#endif

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

// v limited to lo..hi (lo <= hi), as a minimum and a maximum, which compile
// to conditional moves: the coder's data-dependent choices are made without
// branches, which the processor could not predict on speech.
inline int clamp(int v, int lo, int hi) {
    const int atLeast = v < lo ? lo : v;
    return atLeast > hi ? hi : atLeast;
}

// v, negated when neg is 1 (neg is 0 or 1), without a branch.
inline int negateIf(int v, int neg) { return (v ^ -neg) + neg; }

// G.726 4.2.6 FLOATA / FLOATB: a 15-bit magnitude as a 4-bit exponent (its
// bit length) and a 6-bit mantissa holding the leading one; zero is mantissa
// 32, exponent 0. For a non-zero magnitude the shifted value already has bit
// 5 set, so the OR only supplies zero's mantissa.
inline Kel16s toFloat(int mag) {
    const int e = kel::bitLength(static_cast<uint32_t>(mag));
    return static_cast<Kel16s>((e << 6) | ((mag << 6) >> e) | 32);
}

// G.726 4.2.6 FMULT: a predictor coefficient times a delayed value held in
// the floating format, as a signed product of 15-bit magnitude. The
// coefficient magnitude is taken from An >> 2 modulo 2^13 (so -32768 has
// magnitude 0); the mantissas multiply with rounding, (m1 * m2 + 48) >> 4,
// and the product is scaled by 2^(e1 + e2 - 19), truncated, modulo 2^15.
// The value is given taken apart: exponent 0..15 and mantissa 32..63; the
// coefficient's floating format comes from kCoefFloat.
KEL_G726_INLINE int fmultSplit(int coef, int valueExp, int valueMant, int valueNeg) {
    const int a = coef >> 2;
    const int coefMag = (coef < 0 ? -a : a) & 8191;
    const int coefFloat = kCoefFloat.v[coefMag];
    const int coefExp = coefFloat >> 8;
    const int coefMant = coefFloat & 63;
    const int m = (coefMant * valueMant + 48) >> 4;
    const int mag = static_cast<int>((static_cast<int64_t>(m) << (coefExp + valueExp + 7)) >> 26) & 32767;
    return negateIf(mag, (valueNeg != 0) ^ (coef < 0));
}

// ---------------------------------------------------------------------------
// The zero section of the predictor as lanes 0..5 of eight: coefficients
// B1..B6 (Q14) with the delayed values they multiply, DQ1..DQ6, kept in the
// floating format of FLOATA (exponent bits 6..9, mantissa bits 0..5) with a
// sign as a mask (0 or -1); lanes 6 and 7 are not used.
//
// The pole section, A1 times SR1 and A2 times SR2, is computed apart
// (fmultSplit above). A1 and A2 follow the sign of P = DQ + SEZ, known only once
// the zero section's sum SEZ is, and SR1 is the last value of each sample
// to be known; kept out of the lanes, neither holds up the six products,
// whose coefficients depend only on the sign of DQ and whether it is 0.
//
// With SSE2 (every x86-64 processor) the lanes are 8 x 16-bit registers
// for the whole call, and the coefficients are also kept as the float bits
// from which FMULT's mantissas and exponents are taken (coefTop): the
// encoder forms those of the three coefficient sets the next sample can
// have (DQ > 0, DQ < 0, DQ = 0) before its code word is known, and picks
// one by a load once it is. Elsewhere the lanes are arrays.
// ---------------------------------------------------------------------------

#if KEL_G726_SSE2

// The 16-bit value v in every lane.
inline __m128i broadcast16(int v) {
    return _mm_shuffle_epi32(_mm_cvtsi32_si128(static_cast<int>((static_cast<uint32_t>(v) & 0xFFFF) * 0x10001u)), 0);
}

// FMULT takes a coefficient's magnitude |An >> 2| modulo 2^13 (so -32768
// has magnitude 0) to the floating format: its bit length and a 6-bit
// mantissa holding the leading one. SSE2 has no per-lane leading-zero
// count, so the processor's float format does it, exactly here: an integer
// below 2^24 converts to float exactly, and bits 18 and up of the float
// are E * 32 + the top five fraction bits (E the biased exponent, the bit
// length being E - 126). coefTop returns those bits for eight coefficients;
// predictZeros() takes them apart.
KEL_G726_INLINE __m128i coefTop(__m128i coef) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i a = _mm_srai_epi16(coef, 2);
    const __m128i neg = _mm_srai_epi16(coef, 15);
    const __m128i mag = _mm_and_si128(_mm_sub_epi16(_mm_xor_si128(a, neg), neg), _mm_set1_epi16(8191));
    const __m128i fLo = _mm_castps_si128(_mm_cvtepi32_ps(_mm_unpacklo_epi16(mag, zero)));
    const __m128i fHi = _mm_castps_si128(_mm_cvtepi32_ps(_mm_unpackhi_epi16(mag, zero)));
    return _mm_packs_epi32(_mm_srli_epi32(fLo, 18), _mm_srli_epi32(fHi, 18));
}

struct Lanes {
    __m128i coef;   // B1..B6
    __m128i top;    // coefTop() of them
    __m128i value;  // DQ1..DQ6 in the floating format
    __m128i neg;    // their signs as masks
};

inline Lanes loadLanes(const Codec& c) {
    Lanes l;
    l.coef = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c.coef));
    l.top = coefTop(l.coef);
    l.value = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c.mag));
    // A stored sign is 0 or 1 (1 = negative); any other value counts as negative, as in the scalar form.
    const __m128i zero = _mm_setzero_si128();
    l.neg = _mm_andnot_si128(_mm_cmpeq_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(c.sign)), zero),
                             _mm_set1_epi16(-1));
    return l;
}

// Lanes 6 and 7 of the state are written by the caller afterwards.
inline void storeLanes(const Lanes& l, Codec& c) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(c.coef), l.coef);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(c.mag), l.value);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(c.sign), _mm_srli_epi16(l.neg, 15));
}

// G.726 4.2.6 FMULT for the lanes at once, then the zero section's ACCUM
// (lanes 0..5), as an exact integer.
//
// The mantissas multiply with rounding, (m1 * m2 + 48) >> 4, and the
// product is scaled by 2^(e1 + e2 - 19), truncating, to a 15-bit magnitude
// (bits above 15 are dropped). The scaling is done in the float format,
// where a float times a power of two is an addition to its exponent field,
// the truncating conversion back to an integer giving the floor.
KEL_G726_INLINE int predictZeros(const Lanes& l) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i valueExp = _mm_and_si128(_mm_srli_epi16(l.value, 6), _mm_set1_epi16(15));
    const __m128i valueMant = _mm_and_si128(l.value, _mm_set1_epi16(63));
    // The coefficients' mantissas and bit lengths E - 126 (0 for a zero
    // magnitude, whose E is 0), and signs.
    const __m128i coefMant = _mm_or_si128(_mm_and_si128(l.top, _mm_set1_epi16(31)), _mm_set1_epi16(32));
    const __m128i coefExp = _mm_subs_epu16(_mm_srli_epi16(l.top, 5), _mm_set1_epi16(126));
    const __m128i coefNeg = _mm_srai_epi16(l.coef, 15);

    // Mantissa product (3..251) and the scale 2^(e - 19), e = 0..28.
    const __m128i m = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(coefMant, valueMant), _mm_set1_epi16(48)), 4);
    const __m128i scale = _mm_sub_epi16(_mm_add_epi16(coefExp, valueExp), _mm_set1_epi16(19));

    // m * 2^(e - 19) as float (m >= 3, so the result stays a normal
    // number), truncated, modulo 2^15. The scale enters the exponent field
    // from the top half of a 32-bit lane, shifted into bits 23 and up.
    const __m128i mask15 = _mm_set1_epi32(32767);
    const auto scaled = [&](__m128i m32, __m128i scaleHigh) {
        const __m128i bits = _mm_add_epi32(_mm_castps_si128(_mm_cvtepi32_ps(m32)), _mm_slli_epi32(scaleHigh, 7));
        return _mm_and_si128(_mm_cvttps_epi32(_mm_castsi128_ps(bits)), mask15);
    };
    const __m128i magLo = scaled(_mm_unpacklo_epi16(m, zero), _mm_unpacklo_epi16(zero, scale));
    const __m128i magHi = scaled(_mm_unpackhi_epi16(m, zero), _mm_unpackhi_epi16(zero, scale));
    const __m128i mag = _mm_packs_epi32(magLo, magHi);

    // The product is negative when exactly one factor is.
    const __m128i prodNeg = _mm_xor_si128(l.neg, coefNeg);
    const __m128i prod = _mm_sub_epi16(_mm_xor_si128(mag, prodNeg), prodNeg);

    // Pair sums (lanes 0+1, 2+3, 4+5), then their sum.
    const __m128i pairs = _mm_madd_epi16(prod, _mm_setr_epi16(1, 1, 1, 1, 1, 1, 0, 0));
    const __m128i firstTwo = _mm_add_epi32(pairs, _mm_srli_si128(pairs, 4));
    return _mm_cvtsi128_si32(_mm_add_epi32(firstTwo, _mm_srli_si128(pairs, 8)));
}

// G.726 4.2.6 XOR, UPB for B1..B6: each Bk leaks 2^-leakShift and, unless DQ
// is 0, gains +2^-7 when the signs of DQ and DQk agree, -2^-7 when they
// differ; 16-bit wrap-around as the register. Then the delay line shifts
// by one and DQ enters lane 0.
//
// The three sets the coefficients can become (DQ > 0, DQ < 0, DQ = 0) are
// formed from the previous ones alone and the set is picked by DQ; with
// kFormsAhead their FMULT forms too, so that they are ready before DQ is
// known (the encoder, where DQ is the last thing known), otherwise only the
// chosen set is taken apart (the decoder, which knows DQ early and gains
// nothing by forming three).
template <bool kFormsAhead>
KEL_G726_INLINE void updateLanes(Lanes& l, __m128i leak, bool dqNonZero, int dqNeg, int dqFloat) {
    const __m128i leaked = _mm_sub_epi16(l.coef, _mm_sra_epi16(l.coef, leak));
    // +128 where DQk >= 0, -128 where DQk < 0.
    const __m128i towards = _mm_sub_epi16(_mm_xor_si128(_mm_set1_epi16(128), l.neg), l.neg);
    const int pick = dqNonZero ? dqNeg : 2;
    if (kFormsAhead) {
        __m128i sets[3][2];
        sets[0][0] = _mm_add_epi16(leaked, towards);
        sets[1][0] = _mm_sub_epi16(leaked, towards);
        sets[2][0] = leaked;
        for (auto& set : sets) set[1] = coefTop(set[0]);
        l.coef = sets[pick][0];
        l.top = sets[pick][1];
    } else {
        __m128i sets[3];
        sets[0] = _mm_add_epi16(leaked, towards);
        sets[1] = _mm_sub_epi16(leaked, towards);
        sets[2] = leaked;
        l.coef = sets[pick];
        l.top = coefTop(l.coef);
    }
    l.value = _mm_insert_epi16(_mm_slli_si128(l.value, 2), dqFloat, 0);
    l.neg = _mm_insert_epi16(_mm_slli_si128(l.neg, 2), -dqNeg, 0);
}

inline void clearCoefficients(Lanes& l) {
    l.coef = _mm_setzero_si128();
    l.top = coefTop(l.coef);
}

#else  // portable form of the same lanes

struct Lanes {
    int coef[6];
    int value[6];
    int neg[6];
};

inline Lanes loadLanes(const Codec& c) {
    Lanes l;
    for (int k = 0; k < 6; ++k) {
        l.coef[k] = c.coef[k];
        l.value[k] = c.mag[k];
        l.neg[k] = c.sign[k] != 0 ? -1 : 0;
    }
    return l;
}

// Lanes 6 and 7 of the state are written by the caller afterwards.
inline void storeLanes(const Lanes& l, Codec& c) {
    for (int k = 0; k < 6; ++k) {
        c.coef[k] = static_cast<Kel16s>(l.coef[k]);
        c.mag[k] = static_cast<Kel16s>(l.value[k]);
        c.sign[k] = static_cast<Kel16s>(l.neg[k] & 1);
    }
}

// ACCUM: the zero section's sum.
KEL_G726_INLINE int predictZeros(const Lanes& l) {
    int zeros = 0;
    // The values in the floating format: exponent bits 6..9, mantissa bits 0..5.
    for (int k = 0; k < 6; ++k) zeros += fmultSplit(l.coef[k], (l.value[k] >> 6) & 15, l.value[k] & 63, l.neg[k]);
    return zeros;
}

// G.726 4.2.6 XOR, UPB and the shift of the delay line; see the SSE2 form.
template <bool kFormsAhead>
KEL_G726_INLINE void updateLanes(Lanes& l, int leak, bool dqNonZero, int dqNeg, int dqFloat) {
    for (int k = 0; k < 6; ++k) {
        const int b = l.coef[k];
        int bt = b - (b >> leak);
        if (dqNonZero) bt += (dqNeg != 0) != (l.neg[k] != 0) ? -128 : 128;
        l.coef[k] = wrap16(bt);
    }
    for (int k = 5; k > 0; --k) {
        l.value[k] = l.value[k - 1];
        l.neg[k] = l.neg[k - 1];
    }
    l.value[0] = dqFloat;
    l.neg[0] = -dqNeg;
}

inline void clearCoefficients(Lanes& l) {
    for (int& coef : l.coef) coef = 0;
}

#endif

// ---------------------------------------------------------------------------
// The coder
// ---------------------------------------------------------------------------

// The state of one call, in registers: the delayed variables of Codec.
// The sign of P of the current sample (PK0) equals PK1 once a sample is
// coded, so it is not carried.
struct Work {
    int pk1, pk2;  // signs of P (1 = negative): previous sample, the one before
    int yu;        // YU, Q9
    int ap;        // AP, Q8
    int yl;        // YL, Q15 (19 bits)
    int dms, dml;  // short- and long-term averages of F(I)
    int td;        // tone flag
    int sez;       // SEZ of the last sample
    int a1, a2;    // A1, A2
    // SR1 and SR2 in the floating format of FLOATB taken apart (exponent,
    // mantissa), and their signs (1 = negative).
    int sr1Exp, sr1Mant, sr1Neg;
    int sr2Exp, sr2Mant, sr2Neg;
    Lanes lanes;  // B1..B6 and DQ1..DQ6
};

Work loadWork(const Codec& c) {
    Work w;
    w.pk1 = c.pk1;
    w.pk2 = c.pk2;
    w.yu = c.yu;
    w.ap = c.ap;
    w.yl = c.yl;
    w.dms = c.dms;
    w.dml = c.dml;
    w.td = c.td;
    w.sez = c.sez;
    w.a1 = c.coef[6];
    w.a2 = c.coef[7];
    w.sr1Exp = (c.mag[6] >> 6) & 15;
    w.sr1Mant = c.mag[6] & 63;
    w.sr1Neg = c.sign[6] != 0;
    w.sr2Exp = (c.mag[7] >> 6) & 15;
    w.sr2Mant = c.mag[7] & 63;
    w.sr2Neg = c.sign[7] != 0;
    w.lanes = loadLanes(c);
    return w;
}

// After len >= 1 coded samples. SR1 and SR2 are kept taken apart, which
// drops bits of a stored value outside the format; after one sample SR2 is
// the SR1 the call began with, stored back as it was.
void storeWork(const Work& w, Codec& c, int len) {
    const Kel16s sr1Before = c.mag[6];
    c.pk0 = static_cast<Kel16s>(w.pk1);
    c.pk1 = static_cast<Kel16s>(w.pk1);
    c.pk2 = static_cast<Kel16s>(w.pk2);
    c.yu = static_cast<Kel16s>(w.yu);
    c.ap = static_cast<Kel16s>(w.ap);
    c.yl = w.yl;
    c.dms = static_cast<Kel16s>(w.dms);
    c.dml = static_cast<Kel16s>(w.dml);
    c.td = static_cast<Kel16s>(w.td);
    c.sez = static_cast<Kel16s>(w.sez);
    storeLanes(w.lanes, c);
    c.coef[6] = static_cast<Kel16s>(w.a1);
    c.coef[7] = static_cast<Kel16s>(w.a2);
    c.mag[6] = static_cast<Kel16s>((w.sr1Exp << 6) | w.sr1Mant);
    c.sign[6] = static_cast<Kel16s>(w.sr1Neg);
    c.mag[7] = len == 1 ? sr1Before : static_cast<Kel16s>((w.sr2Exp << 6) | w.sr2Mant);
    c.sign[7] = static_cast<Kel16s>(w.sr2Neg);
}

// What a call needs of its rate, prepared once per call.
struct Rate {
    const RateTable* t;
    const Kel8u* codes[2];  // QUAN code words by interval, for D >= 0 and D < 0
#if KEL_G726_SSE2
    __m128i below[2];  // QUAN decision levels minus one; unused lanes 32767, never below a DLN
    __m128i leak;      // the UPB leak shift as a shift count
#else
    int leak;
#endif
};

KEL_G726_INLINE Rate prepareRate(const RateTable& t) {
    Rate r;
    r.t = &t;
    r.codes[0] = t.codePositive;
    r.codes[1] = t.codeNegative;
#if KEL_G726_SSE2
    Kel16s below[16];
    for (int k = 0; k < 16; ++k) below[k] = k < t.levelCount ? static_cast<Kel16s>(t.levels[k] - 1) : kMax16;
    r.below[0] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(below));
    r.below[1] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(below + 8));
    r.leak = _mm_cvtsi32_si128(t.leakShift);
#else
    r.leak = t.leakShift;
#endif
    return r;
}

// Compile-time facts of a rate, from its number of decision levels (1, 3, 7
// or 15 at 16, 24, 32, 40 kbit/s): code-word bits and the rate index.
template <int kLevels>
struct RateShape {
    static constexpr int kBits = kLevels == 1 ? 2 : (kLevels == 3 ? 3 : (kLevels == 7 ? 4 : 5));
    static constexpr int kIndex = kBits - 2;
};

// G.726 4.2.2 QUAN: the interval of DLN, i.e. the number of the rate's
// kLevels decision levels at or below it, counted without a data-dependent
// branch. With SSE2 all levels are compared at once: the levels ascend, so
// those at or below DLN form a prefix, their byte mask is 2^(2n) - 1 and n
// is half the number of trailing zeros of mask + 1.
template <int kLevels>
KEL_G726_INLINE int interval(const Rate& r, int dln) {
#if KEL_G726_SSE2
    const __m128i d = broadcast16(dln);
    uint32_t mask = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpgt_epi16(d, r.below[0])));
    if (kLevels > 7) mask |= static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpgt_epi16(d, r.below[1]))) << 16;
    return __builtin_ctz(mask + 1) >> 1;
#else
    int n = 0;
    for (int k = 0; k < kLevels; ++k) n += dln >= r.t->levels[k];
    return n;
#endif
}

// What each sample needs before its code word is known.
struct Estimate {
    int y;    // quantizer scale factor Y (4.2.4 MIX), log2 in Q9, 13 bits
    int se;   // signal estimate SE, 15-bit signed
    int sez;  // partial signal estimate SEZ (zero section), 15-bit signed
};

// G.726 4.2.5 LIMA, 4.2.4 MIX and 4.2.6 FMULT / ACCUM.
KEL_G726_INLINE Estimate estimate(const Work& w) {
    Estimate e;
    // Y = (1 - AL) * YL + AL * YU with AL = AP / 4 limited to 1 (Q6): the
    // difference YU - YL/64 in sign-magnitude, its magnitude multiplied.
    const int al = (w.ap < 256 ? w.ap : 256) >> 2;
    const int ylInt = (w.yl & 0x7FFFF) >> 6;
    const int dif = w.yu - ylInt;
    const int prod = ((dif < 0 ? -dif : dif) * al) >> 6;
    e.y = (ylInt + (dif < 0 ? -prod : prod)) & 8191;

    const int zeros = predictZeros(w.lanes);
    const int pole1 = fmultSplit(w.a1, w.sr1Exp, w.sr1Mant, w.sr1Neg);
    const int pole2 = fmultSplit(w.a2, w.sr2Exp, w.sr2Mant, w.sr2Neg);
    // The sums wrap at 16 bits and are halved into 15-bit estimates.
    e.sez = wrap16(zeros) >> 1;
    e.se = wrap16(zeros + pole2 + pole1) >> 1;
    return e;
}

// G.726 4.2.2 LOG, SUBTB and QUAN: the code word for difference d at scale
// factor y. The decoder's synchronous coding adjustment (4.2.8) re-quantizes
// its own output with the same routine.
template <int kLevels>
KEL_G726_INLINE int quantize(const Rate& r, Kel16s d, int y) {
    // |D| limited to 15 bits; magnitudes 0 and 1 both have exponent 0.
    const int mag = clamp(d < 0 ? -d : d, 0, kMax16);
    const int e = kel::bitLength(static_cast<uint32_t>(mag | 1)) - 1;
    const int dl = (e << 7) + (((mag << 7) >> e) & 127);  // log2 |D|, Q7
    const int n = interval<kLevels>(r, dl - (y >> 2));    // DLN: normalised by Y
    return r.codes[d < 0][n];
}

// What the adaptation needs of a code word I: its sign bit, W(I) and F(I)
// (4.2.4 FUNCTW, 4.2.5 FUNCTF).
struct Code {
    int sign;
    int w;
    int f;
};

template <int kLevels>
KEL_G726_INLINE Code codeOf(const RateTable& t, int i) {
    Code c;
    c.sign = (i >> (RateShape<kLevels>::kBits - 1)) & 1;
    c.w = t.w[i];
    c.f = t.f[i];
    return c;
}

// |DQ| of a code word, and the same in the floating format of FLOATA when
// the caller forms it (adapt's kFloatGiven; otherwise adapt forms it where
// it is needed).
struct Reconstructed {
    int mag;
    int floatForm;
};

// G.726 4.2.3 RECONST, ADDA, ANTILOG: |DQ| for code word i at scale factor
// y. Log values whose 12-bit sum is negative reconstruct as 0. The exponent
// stays <= 14 from any state Init can lead to; the limit only keeps a
// corrupted state from shifting by a negative count.
KEL_G726_INLINE Reconstructed reconstruct(const RateTable& t, int i, int y) {
    const int dql = (t.dqln[i] + (y >> 2)) & 4095;
    const int dqExp = (dql >> 7) < 14 ? (dql >> 7) : 14;
    Reconstructed rec;
    rec.mag = ((((dql & 127) + 128) << 7) >> (14 - dqExp)) & -static_cast<int>(dql < 2048);
    rec.floatForm = 0;  // not formed here: adapt() forms it
    return rec;
}

// The pole coefficients A1, A2 (Q14) after an update.
struct PoleUpdate {
    int a1;
    int a2;
};

// G.726 4.2.6 UPA2, LIMC, UPA1, LIMD. A2 gains 2^-7 * (+-1 -+ f(A1)), the
// signs by the agreement of P with P two samples back and with the previous
// P, where f(A1) = 4 * A1 limited to +-1/2; it leaks 2^-7. A1 gains +-3/256
// and leaks 2^-8. With P = 0 (moving false) both only leak. Then
// |A2| <= 0.75 and |A1| <= 1 - 2^-4 - A2. differs1 and differs2 are 1 when
// P's sign differs from the previous P's and from the one two samples back.
// The signs follow the signal, which the processor cannot predict, so the
// gains are formed arithmetically and masked instead of branched on.
KEL_G726_INLINE PoleUpdate updatePoles(int a1, int a2, bool moving, int differs1, int differs2) {
    const int fa1 = 4 * clamp(a1, -8191, 8191);
    const int a2Gain = (16384 - 32768 * differs2 + negateIf(fa1, 1 - differs1)) >> 7;
    const int a1Gain = 192 - 384 * differs1;
    const int active = -static_cast<int>(moving);
    const int a2t = a2 - (a2 >> 7) + (a2Gain & active);
    const int a1t = a1 - (a1 >> 8) + (a1Gain & active);
    PoleUpdate u;
    u.a2 = clamp(wrap16(a2t), -12288, 12288);
    u.a1 = clamp(wrap16(a1t), u.a2 - 15360, 15360 - u.a2);
    return u;
}

// inverse quantizer, scale factor and speed adaptation, predictor update,
// tone and transition detection, and the shift of the delay lines. Returns
// the reconstructed signal SR (16-bit two's complement).
template <int kLevels, bool kFloatGiven, bool kFormsAhead>
KEL_G726_INLINE Kel16s adapt(Work& w, const Rate& r, const Code& code, const Estimate& est, Reconstructed rec) {
    const int dqMag = rec.mag;
    const int dqSign = code.sign;
    const int dq = negateIf(dqMag, dqSign);

    // 4.2.4 FUNCTW, FILTD, LIMB: YU moves 1/32 of the way to W(I), limited
    // to 1.06..10.00. FILTE: YL moves 1/64 of the way to YU; the standard
    // forms YL/64 as -((-YL) >> 6), rounding it up.
    const int yl = w.yl & 0x7FFFF;
    const int yut = (est.y + ((code.w * 32 - est.y) >> 5)) & 8191;
    const int yu = clamp(yut, 544, 5120);
    const int ylNew = (yl + yu - ((yl + 63) >> 6)) & 0x7FFFF;

    // 4.2.7 TRANS: a transition when the tone flag was set and |DQ| exceeds
    // 24 * 2^YL, the power formed from the integer part of YL and its top
    // five fraction bits, and saturating once the integer part exceeds 9.
    // The flag is set on tones only, so the test is rarely taken.
    bool tr = false;
    if (w.td == 1) {
        const int ylInt = yl >> 15;
        const int thr = ylInt > 9 ? 31744 : (((yl >> 10) & 31) + 32) << ylInt;
        tr = dqMag > (thr + (thr >> 1)) >> 1;
    }

    // 4.2.6 ADDB, ADDC: reconstructed signal and partial reconstructed
    // signal P = DQ + SEZ, with its sign PK0 and zero flag SIGPK.
    const Kel16s sr = wrap16(dq + est.se);
    const Kel16s p = wrap16(dq + est.sez);

    // 4.2.6 UPA2, LIMC, UPA1, LIMD: the pole coefficients follow P.
    const int pk0 = p < 0;
    const PoleUpdate poles = updatePoles(w.a1, w.a2, p != 0, pk0 ^ w.pk1, pk0 ^ w.pk2);
    const int a1p = poles.a1;
    const int a2p = poles.a2;

    // 4.2.7 TONE: a partial-band signal (A2 < -0.71875) sets TD.
    const int tdp = a2p < -11776;

    // 4.2.5 FUNCTF, FILTA, FILTB: averages of F(I) with time constants 2^-5
    // and 2^-7. SUBTC, FILTC: AP moves 2^-4 of the way to 2 when the
    // averages differ, when Y is small (< 3) or on a tone, else towards 0.
    const int fi = code.f * 512;
    const int dms = (w.dms + ((fi - w.dms) >> 5)) & 4095;
    const int dml = (w.dml + ((4 * fi - w.dml) >> 7)) & 16383;
    const int dmDif = 4 * dms - dml;
    const bool steady = (est.y >= 1536) & ((dmDif < 0 ? -dmDif : dmDif) < (dml >> 3)) & !tdp;
    // Both candidates are formed before the choice: the choice waits for Y
    // and the averages, the candidates only for the previous AP.
    const int apDown = (w.ap + ((-w.ap) >> 4)) & 1023;
    const int apUp = (w.ap + ((512 - w.ap) >> 4)) & 1023;
    const int ap = steady ? apDown : apUp;

    // 4.2.6 XOR, UPB, and the delay lines: DQ enters DQ1, SR enters SR1
    // (FLOATA, FLOATB; the magnitude of SR is taken modulo 2^15, so -32768
    // is a negative zero).
    updateLanes<kFormsAhead>(w.lanes, r.leak, dqMag != 0, dqSign, kFloatGiven ? rec.floatForm : toFloat(dqMag));
    w.sr2Exp = w.sr1Exp;
    w.sr2Mant = w.sr1Mant;
    w.sr2Neg = w.sr1Neg;
    w.sr1Neg = sr < 0;
    const int srMag = w.sr1Neg ? -sr & 32767 : sr;
    w.sr1Exp = kel::bitLength(static_cast<uint32_t>(srMag));
    w.sr1Mant = ((srMag << 6) >> w.sr1Exp) | 32;
    w.td = tdp;
    w.ap = ap;
    w.a1 = a1p;
    w.a2 = a2p;

    // 4.2.6 TRIGB, 4.2.5 TRIGA: a transition clears all eight coefficients
    // and the tone flag, and sets AP to 1 for fast adaptation.
    if (tr) {
        clearCoefficients(w.lanes);
        w.a1 = 0;
        w.a2 = 0;
        w.td = 0;
        w.ap = 256;
    }

    w.pk2 = w.pk1;
    w.pk1 = pk0;
    w.sez = est.sez;
    w.yu = yu;
    w.yl = ylNew;
    w.dms = dms;
    w.dml = dml;
    return sr;
}

// G.726 4.2.8 COMPRESS: SR to a G.711 code word with the library's G.711
// compressor. SR is limited to the 14-bit range and scaled to 16 bits. The
// compressor rounds negative values one step differently from COMPRESS
// (it works on the one's complement), which the decrement by one corrects
// for mu-law. A wrapped SR of -32768 is taken as 0 for mu-law and -2 for
// A-law (this library's rule; the STL reference compresses it as the
// negative zero, which differs for mu-law only).
KEL_G726_INLINE Kel8u compress(int law, Kel16s sr) {
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
template <int kLevels>
KEL_G726_INLINE Kel16s output(int law, const Rate& r, int i, Kel16s sr, const Estimate& est) {
    if (law != kelPcmMuLaw && law != kelPcmALaw) return static_cast<Kel16s>(clamp(sr, -8192, 8191));
    const bool mu = law == kelPcmMuLaw;
    Kel8u code = compress(law, sr);
    const int slx = (mu ? kMuLawToLinear[code] : kALawToLinear[code]) >> 2;
    const int id = quantize<kLevels>(r, static_cast<Kel16s>(slx - est.se), est.y);
    // Code words compared in the order of the values they stand for: flipping
    // the sign bit puts the negative codes below the positive ones.
    const int signBit = 1 << (RateShape<kLevels>::kBits - 1);
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

#if KEL_G726_SSE2

// The encoder's quantizer in the linear domain, with the reconstruction of
// every interval formed before the interval is known (SSE2).
//
// The decision DLN >= L of 4.2.2 QUAN, with DLN = DL - Y/4 and DL the
// log of |D| by LOG (exponent e and 7 fraction bits), is DL >= T with
// T = L + Y/4. DL is the floor of a continuous increasing function of |D|
// that equals T = 128 e + f (0 <= f < 128) at |D| = (128 + f) 2^(e - 7); so
// for |D| >= 1, DL >= T exactly when |D| >= (128 + f) 2^(e - 7). That
// number is the float whose bits are (T << 16) + (127 << 23) (exponent e,
// fraction f / 128), formed from Y by one integer addition per four levels;
// for T <= 0 it is at most 1, so |D| = 0, whose DL is that of 1, is taken
// as 1. The count of levels passed is then a compare of floats.
//
// ANTILOG of 4.2.3 is the same float read the other way: with DQL = DQLN +
// Y/4 = 128 e + f, |DQ| = floor((128 + f) 2^(e - 7)), the truncating
// conversion of the float with bits (DQL << 16) + (127 << 23).
template <int kLevels>
struct Intervals {
    static constexpr int kRegs = (kLevels + 4) / 4;    // 4-lane registers for kLevels + 1 intervals
    static constexpr int kRegs16 = (kLevels + 8) / 8;  // the same in 8-lane registers
    __m128i levelBits[kRegs];  // (L << 16) + (127 << 23) per decision level; past the last, unreachable
    __m128i dqln[kRegs16];     // DQLN of each interval's code word (16-bit)
    // W(I) and F(I) of each interval's code word, the same for both signs of
    // D, and the sign bits of the code words by interval (bit n) for D >= 0
    // and D < 0: the adaptation does not wait for the code word.
    int w[4 * kRegs];
    int f[4 * kRegs];
    uint32_t signs[2];
};

template <int kLevels>
KEL_G726_INLINE Intervals<kLevels> prepareIntervals(const RateTable& t) {
    constexpr int kLanes = 4 * Intervals<kLevels>::kRegs;
    alignas(16) int32_t bits[kLanes];
    alignas(16) Kel16s dqln[8 * Intervals<kLevels>::kRegs16];
    for (int k = 0; k < kLanes; ++k) {
        // Past the last level 2^15, above any |D|; with Y/4 (at most 2047, 16
        // exponent steps) added it stays below 2^31, which the conversion to
        // an integer needs.
        bits[k] = k < kLevels ? t.levels[k] * 65536 + (127 << 23) : (142 << 23);
    }
    for (int k = 0; k < 8 * Intervals<kLevels>::kRegs16; ++k) dqln[k] = k <= kLevels ? t.dqln[t.codePositive[k]] : 0;
    Intervals<kLevels> iv;
    iv.signs[0] = 0;
    iv.signs[1] = 0;
    for (int k = 0; k < kLanes; ++k) {
        const int code = k <= kLevels ? t.codePositive[k] : 0;
        iv.w[k] = t.w[code];
        iv.f[k] = t.f[code];
        if (k <= kLevels) {
            iv.signs[0] |= static_cast<uint32_t>((t.codePositive[k] >> (t.bits - 1)) & 1) << k;
            iv.signs[1] |= static_cast<uint32_t>((t.codeNegative[k] >> (t.bits - 1)) & 1) << k;
        }
    }
    for (int k = 0; k < Intervals<kLevels>::kRegs; ++k)
        iv.levelBits[k] = _mm_load_si128(reinterpret_cast<const __m128i*>(bits + 4 * k));
    for (int k = 0; k < Intervals<kLevels>::kRegs16; ++k)
        iv.dqln[k] = _mm_load_si128(reinterpret_cast<const __m128i*>(dqln + 8 * k));
    return iv;
}

// |DQ| and its floating form (FLOATA) for every interval, Y/4 given in
// every 16-bit lane, stored by interval. The exponent limit of
// reconstruct() is kept: a DQL of 1920..2047 (exponent 15, from a corrupted
// state only) loses 128.
template <int kLevels>
KEL_G726_INLINE void reconstructAll(const Intervals<kLevels>& iv, __m128i y4, Kel16s* mag, Kel16s* floatForm) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i bias = _mm_set1_epi32(127 << 23);
    for (int k = 0; k < Intervals<kLevels>::kRegs16; ++k) {
        __m128i dql = _mm_and_si128(_mm_add_epi16(iv.dqln[k], y4), _mm_set1_epi16(4095));
        const __m128i valid = _mm_cmplt_epi16(dql, _mm_set1_epi16(2048));
        const __m128i over = _mm_and_si128(_mm_cmpgt_epi16(dql, _mm_set1_epi16(1919)), valid);
        dql = _mm_sub_epi16(dql, _mm_and_si128(over, _mm_set1_epi16(128)));
        // DQL << 16 in 32-bit lanes is DQL in their top halves.
        const __m128i mLo = _mm_cvttps_epi32(_mm_castsi128_ps(_mm_add_epi32(_mm_unpacklo_epi16(zero, dql), bias)));
        const __m128i mHi = _mm_cvttps_epi32(_mm_castsi128_ps(_mm_add_epi32(_mm_unpackhi_epi16(zero, dql), bias)));
        // FLOATA from the float of |DQ|: bits >> 18 is t = (127 + e) * 32 + the
        // five fraction bits below the leading one, and the format is
        // (e + 1) * 64 + 32 + those bits, i.e. 2t - (t & 31) - 126 * 64 + 32;
        // zero is 32. Lanes that are not valid are masked at the end.
        const __m128i tLo = _mm_srli_epi32(_mm_castps_si128(_mm_cvtepi32_ps(mLo)), 18);
        const __m128i tHi = _mm_srli_epi32(_mm_castps_si128(_mm_cvtepi32_ps(mHi)), 18);
        const __m128i tt = _mm_packs_epi32(tLo, tHi);
        const __m128i form = _mm_sub_epi16(_mm_sub_epi16(_mm_slli_epi16(tt, 1), _mm_and_si128(tt, _mm_set1_epi16(31))),
                                           _mm_set1_epi16(126 * 64));
        _mm_store_si128(reinterpret_cast<__m128i*>(mag + 8 * k), _mm_and_si128(_mm_packs_epi32(mLo, mHi), valid));
        _mm_store_si128(reinterpret_cast<__m128i*>(floatForm + 8 * k),
                        _mm_add_epi16(_mm_and_si128(form, valid), _mm_set1_epi16(32)));
    }
}

// The thresholds of the decision levels at scale factor y (Y/4 in the top
// half of every 32-bit lane) as integers t, |D| >= threshold exactly when
// |D| > t: t is the threshold rounded up, less one, which is the threshold
// less 2^-8 rounded down. A threshold (128 + f) 2^(e - 7) is a multiple of
// 2^-7 (e >= 0) or lies in 0.5..1 (T < 0), and below 2^16 the float holds
// it less 2^-8 exactly; from 2^15 on the result saturates to 32767 in the
// packing. Lanes past the last level hold 32767, which no |D| (at most
// 32767) passes.
template <int kLevels>
KEL_G726_INLINE void thresholds(const Intervals<kLevels>& iv, __m128i yBits, __m128i* t16) {
    __m128i t[Intervals<kLevels>::kRegs];
    const __m128 below = _mm_set1_ps(1.0f / 256);
    for (int k = 0; k < Intervals<kLevels>::kRegs; ++k) {
        const __m128 thr = _mm_castsi128_ps(_mm_add_epi32(iv.levelBits[k], yBits));
        t[k] = _mm_cvttps_epi32(_mm_sub_ps(thr, below));
    }
    for (int k = 0; k < Intervals<kLevels>::kRegs16; ++k)
        t16[k] = _mm_packs_epi32(t[(2 * k) % Intervals<kLevels>::kRegs], t[(2 * k + 1) % Intervals<kLevels>::kRegs]);
}

// The interval of D: the number of decision levels whose threshold |D|
// reaches (mag is |D| limited to 1..32767). The thresholds ascend, so those
// reached are a prefix, of 2 mask bits per level.
template <int kLevels>
KEL_G726_INLINE int intervalLinear(const __m128i* t16, int mag) {
    const __m128i m = _mm_set1_epi16(static_cast<Kel16s>(mag));
    if (Intervals<kLevels>::kRegs16 == 1)
        return __builtin_ctz(~static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpgt_epi16(m, t16[0])))) >> 1;
    const uint32_t lo = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpgt_epi16(m, t16[0])));
    const uint32_t hi =
        static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpgt_epi16(m, t16[1 % Intervals<kLevels>::kRegs16])));
    return __builtin_ctz(~(lo | (hi << 16))) >> 1;
}

#endif

template <int kLevels>
void encodeBlock(Codec& c, const Kel16s* pSrc, Kel8u* pDst, int len) {
    const Rate r = prepareRate(kRateTables[RateShape<kLevels>::kIndex]);
#if KEL_G726_SSE2
    const Intervals<kLevels> iv = prepareIntervals<kLevels>(*r.t);
    alignas(16) Kel16s dqMag[8 * Intervals<kLevels>::kRegs16];
    alignas(16) Kel16s dqFloat[8 * Intervals<kLevels>::kRegs16];
#endif
    Work w = loadWork(c);
    for (int j = 0; j < len; ++j) {
        const Estimate est = estimate(w);
        // 4.2.1 SUBTA: D = SL - SE, 16-bit two's complement.
        const Kel16s d = wrap16(pSrc[j] - est.se);
#if KEL_G726_SSE2
        const __m128i y4 = _mm_set1_epi16(static_cast<Kel16s>(est.y >> 2));
        reconstructAll<kLevels>(iv, y4, dqMag, dqFloat);
        __m128i t16[Intervals<kLevels>::kRegs16];
        thresholds<kLevels>(iv, _mm_slli_epi32(y4, 16), t16);
        const int n = intervalLinear<kLevels>(t16, clamp(d < 0 ? -d : d, 1, kMax16));
        const int neg = d < 0;
        const int i = r.codes[neg][n];
        Code code;
        code.sign = static_cast<int>((iv.signs[neg] >> n) & 1);
        code.w = iv.w[n];
        code.f = iv.f[n];
        const Reconstructed rec = {dqMag[n], dqFloat[n]};
#else
        const int i = quantize<kLevels>(r, d, est.y);
        const Code code = codeOf<kLevels>(*r.t, i);
        const Reconstructed rec = reconstruct(*r.t, i, est.y);
#endif
        pDst[j] = static_cast<Kel8u>(i);
        adapt<kLevels, KEL_G726_SSE2 != 0, true>(w, r, code, est, rec);
    }
    storeWork(w, c, len);
}

// kLaw is the output law (kelPcmMuLaw, kelPcmALaw, or anything else for
// linear), fixed per instantiation so that the loop does not test it.
template <int kLevels, int kLaw>
void decodeBlock(Codec& c, const Kel8u* pSrc, Kel16s* pDst, int len) {
    const Rate r = prepareRate(kRateTables[RateShape<kLevels>::kIndex]);
    const int mask = (1 << RateShape<kLevels>::kBits) - 1;
    Work w = loadWork(c);
    for (int j = 0; j < len; ++j) {
        const Estimate est = estimate(w);
        // Only the code word's n bits are used, so any byte indexes inside
        // the rate's tables.
        const int i = pSrc[j] & mask;
        const Kel16s sr =
            adapt<kLevels, false, false>(w, r, codeOf<kLevels>(*r.t, i), est, reconstruct(*r.t, i, est.y));
        pDst[j] = output<kLevels>(kLaw, r, i, sr, est);
    }
    storeWork(w, c, len);
}

// The coder for the state's rate, with its number of decision levels fixed;
// the rate index is masked so that a corrupted block cannot select a table
// outside kRateTables.
void ownEncode_G726(Codec& c, const Kel16s* pSrc, Kel8u* pDst, int len) {
    switch (c.rate & (kRateCount - 1)) {
        case 0: encodeBlock<1>(c, pSrc, pDst, len); break;
        case 1: encodeBlock<3>(c, pSrc, pDst, len); break;
        case 2: encodeBlock<7>(c, pSrc, pDst, len); break;
        default: encodeBlock<15>(c, pSrc, pDst, len); break;
    }
}

template <int kLaw>
void decodeAtRate(Codec& c, const Kel8u* pSrc, Kel16s* pDst, int len) {
    switch (c.rate & (kRateCount - 1)) {
        case 0: decodeBlock<1, kLaw>(c, pSrc, pDst, len); break;
        case 1: decodeBlock<3, kLaw>(c, pSrc, pDst, len); break;
        case 2: decodeBlock<7, kLaw>(c, pSrc, pDst, len); break;
        default: decodeBlock<15, kLaw>(c, pSrc, pDst, len); break;
    }
}

void ownDecode_G726(Codec& c, int law, const Kel8u* pSrc, Kel16s* pDst, int len) {
    if (law == kelPcmMuLaw) {
        decodeAtRate<kelPcmMuLaw>(c, pSrc, pDst, len);
    } else if (law == kelPcmALaw) {
        decodeAtRate<kelPcmALaw>(c, pSrc, pDst, len);
    } else {
        decodeAtRate<kelPcmLinear>(c, pSrc, pDst, len);
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
