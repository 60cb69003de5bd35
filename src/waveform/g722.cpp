// ITU-T G.722 7 kHz audio coding at 64, 56 and 48 kbit/s, as two separable
// stages: the 24-tap transmit and receive quadrature mirror filters, on
// caller-held delay lines, and the sub-band ADPCM encoder and decoder
// (blocks 1L to 5L and 1H to 5H of G.722) with their state blocks. Every result is that of the fixed-point description
// as the ITU-T G.191 (STL) reference computes it with the basic operators.
//
// The blocks are written with plain integer arithmetic where a basic
// operator cannot saturate from any state that Init and coding lead to
// (every such place says so), and with the operators' saturation where it
// can. A state block is not validated: a block that no call could have
// produced still never makes a table index leave its table.
//
// For speed (docs/PERFORMANCE.md): the QMF forms four output pairs at a time
// as 16 x 16-bit multiply-adds of sample pairs (SSE2, on every x86-64
// processor; a plain loop elsewhere); the six-tap zero predictor of each
// band runs in 16-bit SIMD lanes; the 6-bit quantizer compares the
// difference with its 29 decision levels at once; the choices that follow
// the signal's sign are made by arithmetic and conditional moves rather than
// branches, which the processor could not predict on speech.
#include <stddef.h>
#include <string.h>

// The per-instant blocks are inlined into the coding loops whatever the
// compiler's size heuristics say: a call per instant would pass the state
// through memory.
#define KEL_G722_INLINE inline __attribute__((always_inline))

#if defined(__SSE2__)
#include <emmintrin.h>
#define KEL_G722_SSE2 1
#else
#define KEL_G722_SSE2 0
#endif

#include "basop.h"
#include "check.h"
#include "g722_tables.h"

namespace kel::g722 {
namespace {

inline int clamp(int v, int lo, int hi) {
    const int atLeast = v < lo ? lo : v;
    return atLeast > hi ? hi : atLeast;
}

// G.722 block 4L/4H LIMIT and the 15-bit band signals of the QMF.
inline int limit15(int v) { return clamp(v, -16384, 16383); }

// ===========================================================================
// QMF (the G.722 transmit and receive quadrature mirror filters)
// ===========================================================================
//
// Both directions run the same 24-tap filter over a window of the last
// twelve sample pairs. Here the pairs are kept oldest first, as one
// interleaved array w: the pair of output k sits at w[2k + 22] (the value
// the delay line holds at position 1) and w[2k + 23] (position 0), and
// position j of the G.722 delay line is w[2k + 23 - j]. The two phase sums
// of G.722 are then
//     A = sum over odd m of h[23 - m] * w[2k + m]    (delay positions 0, 2, ...)
//     B = sum over even m of h[23 - m] * w[2k + m]   (delay positions 1, 3, ...)
// with h = TableQMFCoeff; the filter forms S = A + B and E = A - B, which
// are exact in 32 bits (at most 2^15 * 25928 in magnitude).
//
// The caller's delay line keeps the G.722 layout: after a call, positions
// 2..23 hold the last eleven pairs, newest first (position 2 is the last
// pair's position-0 value), and positions 0 and 1 repeat the last pair, as
// the reference leaves them.

constexpr int kDelayLength = kQmfTaps;  // caller's delay line, Kel16s
constexpr int kHistory = kQmfTaps - 2;  // past values a window needs before its pair
constexpr int kChunkPairs = 256;        // pairs per pass through the work buffer

struct QmfSums {
    Kel32s s;  // A + B
    Kel32s e;  // A - B
};

inline QmfSums qmfSums(const Kel16s* w) {
    Kel32s a = 0, b = 0;
    for (int m = 0; m < kQmfTaps; m += 2) {
        b += Kel32s{TableQMFCoeff[kQmfTaps - 1 - m]} * w[m];
        a += Kel32s{TableQMFCoeff[kQmfTaps - 2 - m]} * w[m + 1];
    }
    return {a + b, a - b};
}

// Transmit QMF: XL = (A + B) >> 15 and XH = (A - B) >> 15, each
// limited to 15 bits (the reference doubles the 32-bit sums and keeps the
// upper half; they are too small to saturate when doubled).
struct Analysis {
    static void one(const QmfSums& q, Kel16s* out) {
        out[0] = static_cast<Kel16s>(limit15(q.s >> 15));
        out[1] = static_cast<Kel16s>(limit15(q.e >> 15));
    }
#if KEL_G722_SSE2
    static void four(__m128i s, __m128i e, Kel16s* out) {
        const __m128i lo = _mm_srai_epi32(s, 15);
        const __m128i hi = _mm_srai_epi32(e, 15);
        __m128i x = _mm_packs_epi32(_mm_unpacklo_epi32(lo, hi), _mm_unpackhi_epi32(lo, hi));
        x = _mm_min_epi16(_mm_max_epi16(x, _mm_set1_epi16(-16384)), _mm_set1_epi16(16383));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), x);
    }
#endif
};

// Receive QMF: the two output samples are A >> 12 and B >> 12,
// saturated to 16 bits (the reference shifts the sums left by 4, saturating,
// and keeps the upper half). A = (S + E) / 2 and B = (S - E) / 2 exactly.
struct Synthesis {
    static void one(const QmfSums& q, Kel16s* out) {
        out[0] = sat16((q.s + q.e) >> 13);
        out[1] = sat16((q.s - q.e) >> 13);
    }
#if KEL_G722_SSE2
    static void four(__m128i s, __m128i e, Kel16s* out) {
        const __m128i a = _mm_srai_epi32(_mm_add_epi32(s, e), 13);
        const __m128i b = _mm_srai_epi32(_mm_sub_epi32(s, e), 13);
        const __m128i x = _mm_packs_epi32(_mm_unpacklo_epi32(a, b), _mm_unpackhi_epi32(a, b));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), x);
    }
#endif
};

// The filter over `pairs` consecutive windows of w, two outputs per pair.
// With SSE2, four pairs at a time: a 32-bit lane holds one sample pair
// (w[2n], w[2n + 1]), so one multiply-add of twelve such loads with the
// coefficient pairs (h[23 - 2p], h[22 - 2p]) forms S for four outputs, and
// with (-h[23 - 2p], h[22 - 2p]) forms E.
template <typename Out>
void qmfFilter(const Kel16s* w, int pairs, Kel16s* out) {
    int k = 0;
#if KEL_G722_SSE2
    __m128i cs[kQmfTaps / 2], ce[kQmfTaps / 2];
    for (int p = 0; p < kQmfTaps / 2; ++p) {
        const uint32_t even = static_cast<uint16_t>(TableQMFCoeff[kQmfTaps - 1 - 2 * p]);
        const uint32_t odd = static_cast<uint16_t>(TableQMFCoeff[kQmfTaps - 2 - 2 * p]);
        const uint32_t evenNeg = static_cast<uint16_t>(-TableQMFCoeff[kQmfTaps - 1 - 2 * p]);
        cs[p] = _mm_set1_epi32(static_cast<int>(even | odd << 16));
        ce[p] = _mm_set1_epi32(static_cast<int>(evenNeg | odd << 16));
    }
    for (; k + 4 <= pairs; k += 4) {
        const Kel16s* x = w + 2 * k;
        __m128i s = _mm_setzero_si128(), e = _mm_setzero_si128();
        for (int p = 0; p < kQmfTaps / 2; ++p) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 2 * p));
            s = _mm_add_epi32(s, _mm_madd_epi16(v, cs[p]));
            e = _mm_add_epi32(e, _mm_madd_epi16(v, ce[p]));
        }
        Out::four(s, e, out + 2 * k);
    }
#endif
    for (; k < pairs; ++k) Out::one(qmfSums(w + 2 * k), out + 2 * k);
}

// Encoder input as the window takes it: the pairs as they come.
struct CopyPairs {
    static void fill(const Kel16s* src, int n, Kel16s* w) { memcpy(w, src, sizeof(Kel16s) * static_cast<size_t>(n)); }
};

// Decoder input: the receive QMF forms RL + RH (delay position 1) and RL - RH
// (position 0) of each band pair, saturated to 16 bits (add and sub; 15-bit
// RL and RH never saturate).
struct SumDifference {
    static void fill(const Kel16s* src, int n, Kel16s* w) {
        for (int i = 0; i < n; i += 2) {
            w[i] = kel::add(src[i], src[i + 1]);
            w[i + 1] = kel::sub(src[i], src[i + 1]);
        }
    }
};

// Runs the filter over len values of src (len even), chunk by chunk through
// a work buffer that carries the last kHistory values from one chunk to the
// next, and leaves the delay line in the G.722 layout.
template <typename In, typename Out>
void ownQMF_G722(const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pDelay) {
    Kel16s w[kHistory + 2 * kChunkPairs];
    for (int i = 0; i < kHistory; ++i) w[i] = pDelay[kDelayLength - 1 - i];
    int done = 0;
    int filled = kHistory;  // values in w
    while (done < len) {
        const int n = len - done < 2 * kChunkPairs ? len - done : 2 * kChunkPairs;
        In::fill(pSrc + done, n, w + kHistory);
        qmfFilter<Out>(w, n / 2, pDst + done);
        filled = kHistory + n;
        done += n;
        if (done < len) memmove(w, w + n, sizeof(Kel16s) * kHistory);
    }
    for (int j = 2; j < kDelayLength; ++j) pDelay[j] = w[filled + 1 - j];
    pDelay[0] = pDelay[2];
    pDelay[1] = pDelay[3];
}

// ===========================================================================
// Sub-band ADPCM (G.722 blocks 1L to 5L, 1H to 5H)
// ===========================================================================

// One band's delayed variables (the lower band's names; the higher band has
// the same with H), 64 bytes.
struct Band {
    Kel16s b[8];    // zero-predictor coefficients BL1..BL6; lanes 6 and 7 zero
    Kel16s d[8];    // quantized differences DLT1..DLT6 of the last six instants; lanes 6 and 7 zero
    Kel16s a1, a2;  // pole-predictor coefficients AL1, AL2
    Kel16s p1, p2;  // partially reconstructed signals PLT1, PLT2 (only their signs are used)
    Kel16s r1;      // reconstructed signal RLT1 of the last instant
    Kel16s nb;      // logarithmic scale factor NBL
    Kel16s det;     // quantizer scale factor DETL
    Kel16s s;       // signal estimate SL
    Kel16s sz;      // zero-section signal estimate SZL
    Kel16s unused[7];
};

// The used part of a state block (encoder and decoder alike): 128 bytes at
// the first 16-byte boundary of the caller's 144.
struct State {
    Band low;
    Band high;
};

constexpr size_t kStateBlockSize = 144;
constexpr size_t kAlignment = 16;

static_assert(sizeof(Band) == 64 && offsetof(Band, a1) == 32, "G.722 band variables take 64 bytes");
static_assert(sizeof(State) + kAlignment == kStateBlockSize, "G.722 state blocks are 128 bytes plus slack");

// The state's place in the caller's memory: the first 16-byte boundary.
inline Kel8u* placeState(void* block) {
    const uintptr_t at = reinterpret_cast<uintptr_t>(block);
    return static_cast<Kel8u*>(block) + ((kAlignment - at % kAlignment) % kAlignment);
}

// ---------------------------------------------------------------------------
// Blocks 2L/2H and 3L/3H, per band in scalar registers: the inverse
// quantizer's DLT (DH) of the 4-bit (2-bit) code, and LOGSCL, SCALEL
// (LOGSCH, SCALEH).
// ---------------------------------------------------------------------------

struct Scale {
    int nb;   // NBL, NBH
    int det;  // DETL, DETH
};

// LOGSCL, LOGSCH: NB leaks by 127/128 (mult by 32512, which never
// saturates) and moves by W; the result is limited to 0..limit, so the
// scale table's index stays inside it whatever NB was.
inline int logScale(int nb, int w, int limit) { return clamp(((nb * 32512) >> 15) + w, 0, limit); }

// Lower band: INVQAL (DETL * level >> 15; DETL > 0, no saturation), then
// LOGSCL and SCALEL on the 4-bit code. Returns DLT.
KEL_G722_INLINE int lowStep(Scale& sc, int il4) {
    const int dlt = (sc.det * kLowDq4.v[il4]) >> 15;
    sc.nb = logScale(sc.nb, kLowW4.v[il4], kLowNablaMax);
    sc.det = kScale.v[(sc.nb >> 6) + 64];
    return dlt;
}

// Higher band: INVQAH, LOGSCH, SCALEH. Returns DH.
KEL_G722_INLINE int highStep(Scale& sc, int ih) {
    const int dh = (sc.det * kHighDq.v[ih]) >> 15;
    sc.nb = logScale(sc.nb, kHighW.v[ih], kHighNablaMax);
    sc.det = kScale.v[sc.nb >> 6];
    return dh;
}

// Block 1L QUANTL: the 6-bit code of a difference of sign `sign` (1
// negative) in interval mil.
inline int lowCode(int sign, int mil) { return table_misil[sign][mil]; }

// Block 1H QUANTH: one decision level, (564 * DETH) >> 12.
inline int highCode(int sign, int magnitude, int det) {
    return table_misih[sign][1 + (magnitude >= ((564 * det) >> 12))];
}

#if KEL_G722_SSE2

// ---------------------------------------------------------------------------
// Block 4L/4H with SSE2. The two bands run the same predictor blocks, so
// their variables share registers: lane 0 the lower band, lane 1 the higher
// band (the other lanes are not used), and each zero section's B1..B6 and
// DLT1..DLT6 are lanes 0..5 of a register of its own. Saturating 16-bit
// lanes give the basic operators' saturation for nothing.
// ---------------------------------------------------------------------------

struct Predictors {
    __m128i bl, dl, bh, dh;  // zero sections: BL1..6, DLT1..6, BH1..6, DH1..6
    __m128i s, sz;           // SL, SH and SZL, SZH
    __m128i a1, a2;          // AL1, AH1 and AL2, AH2
    __m128i p1, p2;          // PLT1, PH1 and PLT2, PH2
    __m128i r1;              // RLT1, RH1
};

// Two 16-bit values in lanes 0 and 1.
inline __m128i pair16(int lo, int hi) {
    return _mm_cvtsi32_si128(static_cast<int>((static_cast<uint32_t>(lo) & 0xFFFF) | static_cast<uint32_t>(hi) << 16));
}

inline __m128i load16x8(const Kel16s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Lane kLane (0 or 1) of v in all eight lanes.
template <int kLane>
inline __m128i spread(__m128i v) {
    return _mm_shuffle_epi32(_mm_shufflelo_epi16(v, kLane * 0x55), 0);
}

Predictors loadPredictors(const State& st) {
    const Band& l = st.low;
    const Band& h = st.high;
    return {load16x8(l.b),      load16x8(l.d),      load16x8(h.b),      load16x8(h.d),
            pair16(l.s, h.s),   pair16(l.sz, h.sz), pair16(l.a1, h.a1), pair16(l.a2, h.a2),
            pair16(l.p1, h.p1), pair16(l.p2, h.p2), pair16(l.r1, h.r1)};
}

void storePredictors(const Predictors& q, State& st) {
    // DLT6 of the last instant drifts into lane 6; the block keeps 0 there.
    const __m128i used = _mm_setr_epi16(-1, -1, -1, -1, -1, -1, 0, 0);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(st.low.b), q.bl);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(st.low.d), _mm_and_si128(q.dl, used));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(st.high.b), q.bh);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(st.high.d), _mm_and_si128(q.dh, used));
    const auto put = [&st](__m128i v, Kel16s Band::*field) {
        const uint32_t both = static_cast<uint32_t>(_mm_cvtsi128_si32(v));
        st.low.*field = static_cast<Kel16s>(both & 0xFFFF);
        st.high.*field = static_cast<Kel16s>(both >> 16);
    };
    put(q.s, &Band::s);
    put(q.sz, &Band::sz);
    put(q.a1, &Band::a1);
    put(q.a2, &Band::a2);
    put(q.p1, &Band::p1);
    put(q.p2, &Band::p2);
    put(q.r1, &Band::r1);
}

// UPZERO for one band: each Bi leaks by 1 - 2^-8 (mult by 32640) and gains
// +-128 as the signs of DLT and of DLTi agree or not (0 when DLT = 0); DLT
// (in every lane of dq) enters the delay line. Returns FILTEZ's terms
// mult(DLTi + DLTi, Bi), lanes 0..5.
KEL_G722_INLINE __m128i zeroTerms(__m128i& b, __m128i& d, __m128i dq) {
    const __m128i zero = _mm_setzero_si128();
    // +-128 in lanes 0..5 (0 in lanes 6, 7, which stay zero): -128 where the
    // signs differ, i.e. where DLT ^ DLTi is negative.
    const __m128i step = _mm_setr_epi16(128, 128, 128, 128, 128, 128, 0, 0);
    const __m128i differ = _mm_srai_epi16(_mm_xor_si128(d, dq), 15);
    const __m128i gain =
        _mm_andnot_si128(_mm_cmpeq_epi16(dq, zero), _mm_sub_epi16(_mm_xor_si128(step, differ), differ));
    // mult(Bi, 32640) = floor(Bi * 255 / 256) = Bi - ceil(Bi / 256), formed
    // as Bi - (Bi >> 8) - (1 unless the low byte of Bi is zero).
    const __m128i roundUp =
        _mm_andnot_si128(_mm_cmpeq_epi16(_mm_and_si128(b, _mm_set1_epi16(255)), zero), _mm_set1_epi16(1));
    b = _mm_add_epi16(_mm_sub_epi16(_mm_sub_epi16(b, _mm_srai_epi16(b, 8)), roundUp), gain);
    d = _mm_or_si128(_mm_slli_si128(d, 2), _mm_and_si128(dq, _mm_setr_epi16(-1, 0, 0, 0, 0, 0, 0, 0)));
    // mult(DLTi + DLTi, Bi) = (2 DLTi * Bi) >> 15 from the 32-bit product's
    // two halves. (Its one saturating case, -32768 * -32768, needs
    // |DLTi| >= 16384, which no inverse quantizer output reaches.)
    const __m128i d2 = _mm_adds_epi16(d, d);
    return _mm_or_si128(_mm_slli_epi16(_mm_mulhi_epi16(d2, b), 1), _mm_srli_epi16(_mm_mullo_epi16(d2, b), 15));
}

// The ordered saturating sums of FILTEZ, term 6 first, for the rare instants
// whose terms are too large for a plain sum to be sure of.
__attribute__((noinline, cold)) __m128i saturatingSums(__m128i tl, __m128i th) {
    alignas(16) Kel16s l[8], h[8];
    _mm_store_si128(reinterpret_cast<__m128i*>(l), tl);
    _mm_store_si128(reinterpret_cast<__m128i*>(h), th);
    Kel16s sl = 0, sh = 0;
    for (int i = 5; i >= 0; --i) {
        sl = kel::add(sl, l[i]);
        sh = kel::add(sh, h[i]);
    }
    return pair16(sl, sh);
}

// FILTEZ: both bands' sums of their six terms, in lanes 0 and 1. With every
// term within +-5461 no partial sum of six leaves 16 bits, so the reference's
// saturating sum is the plain one.
KEL_G722_INLINE __m128i zeroSums(__m128i tl, __m128i th) {
    const __m128i offset = _mm_set1_epi16(5461), width = _mm_set1_epi16(10922);
    const __m128i outside = _mm_or_si128(_mm_subs_epu16(_mm_add_epi16(tl, offset), width),
                                         _mm_subs_epu16(_mm_add_epi16(th, offset), width));
    if (__builtin_expect(_mm_movemask_epi8(_mm_cmpeq_epi16(outside, _mm_setzero_si128())) != 0xFFFF, 0)) {
        return saturatingSums(tl, th);
    }
    // Lane pairs (lower, higher), added down to one pair.
    __m128i sum = _mm_add_epi16(_mm_unpacklo_epi16(tl, th), _mm_unpackhi_epi16(tl, th));
    sum = _mm_add_epi16(sum, _mm_srli_si128(sum, 8));
    return _mm_add_epi16(sum, _mm_srli_si128(sum, 4));
}

// mult(x, 32640) = floor(x * 255 / 256) = x - ceil(x / 256).
inline __m128i leak255(__m128i x) {
    const __m128i lowZero = _mm_cmpeq_epi16(_mm_and_si128(x, _mm_set1_epi16(255)), _mm_setzero_si128());
    return _mm_sub_epi16(_mm_sub_epi16(x, _mm_srai_epi16(x, 8)), _mm_andnot_si128(lowZero, _mm_set1_epi16(1)));
}

// Block 4L and 4H after the inverse quantizers, both bands at once: PARREC,
// RECONS, UPZERO, UPPOL2, UPPOL1, FILTEZ, FILTEP, PREDIC and the delays.
// dq holds DLT and DH in lanes 0 and 1.
KEL_G722_INLINE void adapt(Predictors& q, __m128i dq) {
    // PARREC: P = DQ + SZ (only its sign is used); RECONS: R = S + DQ.
    const __m128i p = _mm_adds_epi16(dq, q.sz);
    const __m128i r = _mm_adds_epi16(q.s, dq);

    const __m128i sz = zeroSums(zeroTerms(q.bl, q.dl, spread<0>(dq)), zeroTerms(q.bh, q.dh, spread<1>(dq)));

    // UPPOL2: A2 gains (-+ 4 A1 by the agreement of P with P1) >> 7 and
    // -+128 by the agreement with P2, and leaks by 127/128: mult(A2, 32512),
    // formed as the high half of 2 A2 * 32512 (|A2| <= 12288); limited to
    // +-12288. 4 A1 saturates (shl), and so does its negation.
    const __m128i differ1 = _mm_srai_epi16(_mm_xor_si128(p, q.p1), 15);  // -1 where the signs differ
    const __m128i differ2 = _mm_srai_epi16(_mm_xor_si128(p, q.p2), 15);
    const __m128i twice = _mm_adds_epi16(q.a1, q.a1);
    const __m128i f = _mm_adds_epi16(twice, twice);
    const __m128i fNeg = _mm_subs_epi16(_mm_setzero_si128(), f);
    const __m128i wd2 = _mm_srai_epi16(_mm_xor_si128(fNeg, _mm_and_si128(_mm_xor_si128(f, fNeg), differ1)), 7);
    const __m128i wd3 = _mm_sub_epi16(_mm_xor_si128(_mm_set1_epi16(128), differ2), differ2);
    const __m128i leak2 = _mm_mulhi_epi16(_mm_add_epi16(q.a2, q.a2), _mm_set1_epi16(32512));
    const __m128i a2 = _mm_max_epi16(
        _mm_min_epi16(_mm_add_epi16(_mm_add_epi16(wd2, wd3), leak2), _mm_set1_epi16(12288)), _mm_set1_epi16(-12288));

    // UPPOL1: A1 gains +-192 by the agreement of P with P1 and leaks by
    // 255/256 (mult by 32640); limited to +-(15360 - A2). (|A1| <= 27648,
    // so the sum cannot saturate.)
    const __m128i wd1 = _mm_sub_epi16(_mm_xor_si128(_mm_set1_epi16(192), differ1), differ1);
    const __m128i limit = _mm_sub_epi16(_mm_set1_epi16(15360), a2);
    const __m128i a1 = _mm_max_epi16(_mm_min_epi16(_mm_add_epi16(wd1, leak255(q.a1)), limit),
                                     _mm_sub_epi16(a2, _mm_set1_epi16(15360)));

    // FILTEP: SP = mult(A1, R + R) + mult(A2, R1 + R1), the doublings and
    // the sum saturating: the four products exact in 32 bits (A1, A1 of the
    // higher band, A2, A2 of the higher band against the doubled signals),
    // each shifted right by 15, the pairs added and packed with saturation.
    const __m128i coef = _mm_unpacklo_epi32(a1, a2);
    const __m128i sig = _mm_unpacklo_epi32(_mm_adds_epi16(r, r), _mm_adds_epi16(q.r1, q.r1));
    const __m128i prod = _mm_srai_epi32(_mm_unpacklo_epi16(_mm_mullo_epi16(coef, sig), _mm_mulhi_epi16(coef, sig)), 15);
    const __m128i sp32 = _mm_add_epi32(prod, _mm_shuffle_epi32(prod, _MM_SHUFFLE(3, 2, 3, 2)));
    const __m128i sp = _mm_packs_epi32(sp32, sp32);

    // PREDIC: S = SP + SZ, saturated.
    q.s = _mm_adds_epi16(sp, sz);
    q.sz = sz;
    q.a1 = a1;
    q.a2 = a2;
    q.p2 = q.p1;
    q.p1 = p;
    q.r1 = r;
}

// Two adjacent 16-bit values as one 32-bit load or store.
inline __m128i load2(const void* p) {
    int v;
    memcpy(&v, p, sizeof v);
    return _mm_cvtsi32_si128(v);
}

inline void store2(void* p, __m128i x) {
    const int v = _mm_cvtsi128_si32(x);
    memcpy(p, &v, sizeof v);
}

// Block 1L QUANTL: the 29 decision levels scaled by DETL, (q6 * DETL) >> 12
// as the high half of (16 q6) * DETL, formed before the difference is known.
// A level is 0 in lanes 29..31, which therefore never count.
struct LowLevels {
    __m128i v[4];
};

KEL_G722_INLINE LowLevels lowLevels(int det) {
    const __m128i d = _mm_set1_epi16(static_cast<short>(det));
    const __m128i* q = reinterpret_cast<const __m128i*>(kLowLevelsX16.v);
    return {{_mm_mulhi_epu16(_mm_loadu_si128(q), d), _mm_mulhi_epu16(_mm_loadu_si128(q + 1), d),
             _mm_mulhi_epu16(_mm_loadu_si128(q + 2), d), _mm_mulhi_epu16(_mm_loadu_si128(q + 3), d)}};
}

// The interval MIL (1..30): the first level that exceeds the magnitude
// (given in every lane), or 30.
KEL_G722_INLINE int lowInterval(const LowLevels& l, __m128i magnitude) {
    const uint32_t lo = static_cast<uint32_t>(
        _mm_movemask_epi8(_mm_packs_epi16(_mm_cmpgt_epi16(l.v[0], magnitude), _mm_cmpgt_epi16(l.v[1], magnitude))));
    const uint32_t hi = static_cast<uint32_t>(
        _mm_movemask_epi8(_mm_packs_epi16(_mm_cmpgt_epi16(l.v[2], magnitude), _mm_cmpgt_epi16(l.v[3], magnitude))));
    return 1 + __builtin_ctz(lo | hi << 16 | 1u << kLowLevels);
}

// Encoder, one instant: block 1L/1H (SUBTRA, QUANTL, QUANTH) on the pair
// (XL, XH) at x, the codes ILR and IH written to out, then blocks 2 to 4 of
// both bands.
KEL_G722_INLINE void encodeInstant(Predictors& q, Scale& low, Scale& high, const Kel16s* x, Kel16u* out) {
    const LowLevels levels = lowLevels(low.det);
    // SUBTRA: E = X - S, saturated; the quantizers compare E for E >= 0
    // and -E - 1 for E < 0.
    const __m128i e = _mm_subs_epi16(load2(x), q.s);
    const __m128i magnitude = _mm_xor_si128(e, _mm_srai_epi16(e, 15));
    const uint32_t signs = static_cast<uint32_t>(_mm_cvtsi128_si32(e));
    const uint32_t magnitudes = static_cast<uint32_t>(_mm_cvtsi128_si32(magnitude));
    const int signL = (signs >> 15) & 1;
    const int mil = lowInterval(levels, spread<0>(magnitude));
    const int il = lowCode(signL, mil);
    const int ih = highCode(static_cast<int>(signs >> 31), static_cast<int>(magnitudes >> 16), high.det);
    out[0] = static_cast<Kel16u>(il);
    out[1] = static_cast<Kel16u>(ih);
    // INVQAL, reading the interval's multiplier directly rather than the
    // code's: one load less between the quantizer and the predictor.
    const int dlt = (low.det * kLowQuantizedDq.v[signL * 32 + mil]) >> 15;
    low.nb = logScale(low.nb, kLowW4.v[il >> 2], kLowNablaMax);
    low.det = kScale.v[(low.nb >> 6) + 64];
    adapt(q, pair16(dlt, highStep(high, ih)));
}

// Decoder, one instant: block 5L (INVQBL with the mode's inverse quantizer,
// RECONS, LIMIT) gives RL = SL + DL, and the higher band's output is its
// reconstructed signal RH = SH + DH, limited; the pair is written to out.
// Then blocks 2 to 4 of both bands on ILR >> 2 and IH.
KEL_G722_INLINE void decodeInstant(Predictors& q, Scale& low, Scale& high, int ilr, int ih, const Kel16s* outputDq,
                                   Kel16s* out) {
    const int dl = (low.det * outputDq[ilr]) >> 15;
    const int dlt = lowStep(low, ilr >> 2);
    const int dh = highStep(high, ih);
    const __m128i rec = _mm_adds_epi16(q.s, pair16(dl, dh));
    store2(out, _mm_max_epi16(_mm_min_epi16(rec, _mm_set1_epi16(16383)), _mm_set1_epi16(-16384)));
    adapt(q, pair16(dlt, dh));
}

#else

// ---------------------------------------------------------------------------
// Block 4L/4H without SSE2: one band at a time, in scalar registers.
// ---------------------------------------------------------------------------

struct BandPredictor {
    int b[6], d[6];  // B1..B6, DLT1..DLT6
    int a1, a2;
    int p1, p2;  // PLT1, PLT2 as exact (unsaturated) sums: only their signs are used
    int r1;
    int s, sz;
};

struct Predictors {
    BandPredictor low, high;
};

BandPredictor loadBand(const Band& band) {
    BandPredictor w;
    for (int i = 0; i < 6; ++i) {
        w.b[i] = band.b[i];
        w.d[i] = band.d[i];
    }
    w.a1 = band.a1;
    w.a2 = band.a2;
    w.p1 = band.p1;
    w.p2 = band.p2;
    w.r1 = band.r1;
    w.s = band.s;
    w.sz = band.sz;
    return w;
}

void storeBand(const BandPredictor& w, Band& band) {
    for (int i = 0; i < 6; ++i) {
        band.b[i] = static_cast<Kel16s>(w.b[i]);
        band.d[i] = static_cast<Kel16s>(w.d[i]);
    }
    band.a1 = static_cast<Kel16s>(w.a1);
    band.a2 = static_cast<Kel16s>(w.a2);
    band.p1 = sat16(w.p1);  // the saturated PARREC output has the sum's sign
    band.p2 = sat16(w.p2);
    band.r1 = static_cast<Kel16s>(w.r1);
    band.s = static_cast<Kel16s>(w.s);
    band.sz = static_cast<Kel16s>(w.sz);
}

Predictors loadPredictors(const State& st) { return {loadBand(st.low), loadBand(st.high)}; }

void storePredictors(const Predictors& q, State& st) {
    storeBand(q.low, st.low);
    storeBand(q.high, st.high);
}

// Block 4L/4H after the inverse quantizer, as adapt() above for one band.
// Returns the reconstructed signal R (RLT, RH).
inline int adaptBand(BandPredictor& w, int dq) {
    const int p = dq + w.sz;
    const int r = sat16(w.s + dq);

    // UPZERO, then FILTEZ in its order, term 6 first, saturating.
    const int gain = dq == 0 ? 0 : 128;
    Kel16s sz = 0;
    for (int i = 5; i >= 0; --i) {
        w.b[i] = ((dq ^ w.d[i]) < 0 ? -gain : gain) + kel::mult(static_cast<Kel16s>(w.b[i]), 32640);
        w.d[i] = i > 0 ? w.d[i - 1] : dq;
        sz = kel::add(sz, kel::mult(sat16(2 * w.d[i]), static_cast<Kel16s>(w.b[i])));
    }

    // UPPOL2, UPPOL1.
    const bool differ1 = (p ^ w.p1) < 0;
    const bool differ2 = (p ^ w.p2) < 0;
    const int f = clamp(4 * w.a1, -32768, 32767);
    const int fNeg = f == -32768 ? 32767 : -f;
    const int a2 = clamp(((differ1 ? f : fNeg) >> 7) + (differ2 ? -128 : 128) + ((w.a2 * 32512) >> 15), -12288, 12288);
    const int a1Limit = 15360 - a2;
    const int a1 = clamp((differ1 ? -192 : 192) + ((w.a1 * 32640) >> 15), -a1Limit, a1Limit);

    // FILTEP, PREDIC.
    const int sp = sat16(((a1 * sat16(2 * r)) >> 15) + ((a2 * sat16(2 * w.r1)) >> 15));
    w.s = sat16(sp + sz);
    w.sz = sz;
    w.a1 = a1;
    w.a2 = a2;
    w.p2 = w.p1;
    w.p1 = p;
    w.r1 = r;
    return r;
}

inline int lowInterval(int det, int magnitude) {
    int mil = 1;
    while (mil < kLowIntervals && ((kLowLevelsX16.v[mil - 1] * det) >> 16) <= magnitude) ++mil;
    return mil;
}

inline void encodeInstant(Predictors& q, Scale& low, Scale& high, const Kel16s* x, Kel16u* out) {
    const int el = sat16(x[0] - q.low.s);
    const int eh = sat16(x[1] - q.high.s);
    const int signL = el < 0;
    const int mil = lowInterval(low.det, el ^ (el >> 31));
    const int il = lowCode(signL, mil);
    const int ih = highCode(eh < 0, eh ^ (eh >> 31), high.det);
    out[0] = static_cast<Kel16u>(il);
    out[1] = static_cast<Kel16u>(ih);
    adaptBand(q.low, lowStep(low, il >> 2));
    adaptBand(q.high, highStep(high, ih));
}

inline void decodeInstant(Predictors& q, Scale& low, Scale& high, int ilr, int ih, const Kel16s* outputDq,
                          Kel16s* out) {
    out[0] = static_cast<Kel16s>(limit15(sat16(q.low.s + ((low.det * outputDq[ilr]) >> 15))));
    adaptBand(q.low, lowStep(low, ilr >> 2));
    out[1] = static_cast<Kel16s>(limit15(adaptBand(q.high, highStep(high, ih))));
}

#endif

void ownSBADPCMEncode_G722(State& st, const Kel16s* pSrc, Kel16u* pDst, int len) {
    Predictors q = loadPredictors(st);
    Scale low{st.low.nb, st.low.det}, high{st.high.nb, st.high.det};
    for (int k = 0; k < len; k += 2) encodeInstant(q, low, high, pSrc + k, pDst + k);
    storePredictors(q, st);
    st.low.nb = static_cast<Kel16s>(low.nb);
    st.low.det = static_cast<Kel16s>(low.det);
    st.high.nb = static_cast<Kel16s>(high.nb);
    st.high.det = static_cast<Kel16s>(high.det);
}

// Mode 1: 6-bit, 2: 5-bit, any other value: 4-bit output inverse quantizer.
// The codes are masked to 6 and 2 bits, so every value indexes inside the
// tables.
void ownSBADPCMDecode_G722(State& st, const Kel16s* pSrc, Kel16s* pDst, int len, int mode) {
    const Kel16s* outputDq = kLowOutputDq[mode == 1 ? 0 : (mode == 2 ? 1 : 2)].v;
    Predictors q = loadPredictors(st);
    Scale low{st.low.nb, st.low.det}, high{st.high.nb, st.high.det};
    for (int k = 0; k < len; k += 2) decodeInstant(q, low, high, pSrc[k] & 63, pSrc[k + 1] & 3, outputDq, pDst + k);
    storePredictors(q, st);
    st.low.nb = static_cast<Kel16s>(low.nb);
    st.low.det = static_cast<Kel16s>(low.det);
    st.high.nb = static_cast<Kel16s>(high.nb);
    st.high.det = static_cast<Kel16s>(high.det);
}

// Init: DETL = 32, DETH = 8, everything else 0.
State initialState() {
    State s;
    memset(&s, 0, sizeof s);
    s.low.det = 32;
    s.high.det = 8;
    return s;
}

// Copies the state out of the caller's block, runs the kernel, copies it
// back.
template <typename Kernel>
void withState(void* block, Kernel&& kernel) {
    Kel8u* const mem = placeState(block);
    State st;
    memcpy(&st, mem, sizeof st);
    kernel(st);
    memcpy(mem, &st, sizeof st);
}

}  // namespace
}  // namespace kel::g722

using kel::Args;
using namespace kel::g722;

KelStatus kelsQMFEncode_G722_16s(const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pDelay) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pDelay).len(len).require(len % 2 == 0, kelStatusBadSize));
    ownQMF_G722<CopyPairs, Analysis>(pSrc, pDst, len, pDelay);
    return kelStatusOk;
}

KelStatus kelsQMFDecode_G722_16s(const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pDelay) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pDelay).len(len).require(len % 2 == 0, kelStatusBadSize));
    ownQMF_G722<SumDifference, Synthesis>(pSrc, pDst, len, pDelay);
    return kelStatusOk;
}

KelStatus kelsSBADPCMEncodeStateSize_G722_16s(Kel32u* pSize) {
    KEL_CHECK(Args().ptr(pSize));
    *pSize = kStateBlockSize;
    return kelStatusOk;
}

KelStatus kelsSBADPCMDecodeStateSize_G722_16s(Kel32u* pSize) {
    KEL_CHECK(Args().ptr(pSize));
    *pSize = kStateBlockSize;
    return kelStatusOk;
}

KelStatus kelsSBADPCMEncodeInit_G722_16s(KelG722EncoderState* pEncState) {
    KEL_CHECK(Args().ptr(pEncState));
    const State s = initialState();
    memcpy(placeState(pEncState), &s, sizeof s);
    return kelStatusOk;
}

KelStatus kelsSBADPCMDecodeInit_G722_16s(KelG722DecoderState* pDecState) {
    KEL_CHECK(Args().ptr(pDecState));
    const State s = initialState();
    memcpy(placeState(pDecState), &s, sizeof s);
    return kelStatusOk;
}

KelStatus kelsSBADPCMEncode_G722_16s(const Kel16s* pSrc, Kel16u* pDst, int len, KelG722EncoderState* pEncState) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pEncState).len(len).require(len % 2 == 0, kelStatusBadSize));
    withState(pEncState, [&](State& st) { ownSBADPCMEncode_G722(st, pSrc, pDst, len); });
    return kelStatusOk;
}

KelStatus kelsSBADPCMDecode_G722_16s(const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s mode,
                                     KelG722DecoderState* pDecState) {
    KEL_CHECK(Args().ptr(pSrc, pDst, pDecState).len(len).require(len % 2 == 0, kelStatusBadSize));
    withState(pDecState, [&](State& st) { ownSBADPCMDecode_G722(st, pSrc, pDst, len, mode); });
    return kelStatusOk;
}
