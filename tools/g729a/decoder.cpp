// The G.729 annex A decoder (DEC_LD8A, POSTFILT and POST_PRO of the
// reference) on kelsc: kelsc computes every signal-processing step; this
// file keeps the decoder's memories, decodes the parameter words the
// library does not take as they are, and carries out the annex's frame
// erasure and overflow rules.
#include <string.h>

#include "g729a.h"

namespace {

constexpr int kOrder = 10;     // LP order
constexpr int kFrame = 80;     // samples per frame
constexpr int kSubframe = 40;  // samples per sub-frame
constexpr int kPastExc = 154;  // largest lag 143 + interpolation 11
constexpr int kPitMin = 20;    // lag range of the second sub-frame's code
constexpr int kPitMax = 143;
constexpr int kImpulse = 22;     // truncated impulse response of the tilt (L_H)
constexpr int kSharpMin = 3277;  // pitch sharpening 0.2 .. 0.8, Q14
constexpr int kSharpMax = 13017;
constexpr Kel16s kGammaNum = 18022;  // post-filter numerator A(z/0.55)
constexpr Kel16s kGammaDen = 22938;  // post-filter denominator 1/A(z/0.70)
constexpr Kel16s kMu = 26214;        // tilt factor 0.8, Q15

// Bit widths of the 11 parameter words (the reference's bitsno).
constexpr int kBits[G729A_FRAME_PARAMS] = {8, 10, 8, 1, 13, 4, 7, 5, 13, 4, 7};

// Initial LSPs and the LSF predictor's reset frame (i pi / 11, Q13).
constexpr Kel16s kLspInit[kOrder] = {30000, 26000, 21000, 15000, 8000, 0, -8000, -15000, -21000, -26000};
constexpr Kel16s kFreqReset[kOrder] = {2339, 4679, 7018, 9358, 11698, 14037, 16377, 18717, 21056, 23396};
// G.729 4.2.5 post-processing high-pass filter, 100 Hz: a0, a1, a2, b0, b1, b2 (Q13).
constexpr Kel16s kHighPass100[6] = {8192, 15836, -7667, 7699, -15398, 7699};

// The ITU-T basic operators the bookkeeping needs.
inline Kel16s sat16(int32_t v) { return static_cast<Kel16s>(v > 32767 ? 32767 : (v < -32768 ? -32768 : v)); }
inline int32_t sat32(int64_t v) {
    return static_cast<int32_t>(v > INT32_MAX ? INT32_MAX : (v < INT32_MIN ? INT32_MIN : v));
}
inline int32_t lMult(Kel16s a, Kel16s b) { return sat32(int64_t{2} * a * b); }
inline Kel16s roundFx(int32_t v) { return static_cast<Kel16s>(sat32(int64_t{v} + 0x8000) >> 16); }
inline Kel16s mult(Kel16s a, Kel16s b) { return sat16((int32_t{a} * b) >> 15); }

// div_s for 0 < num <= den: the Q15 quotient, 32767 when they are equal.
inline Kel16s divS(Kel16s num, Kel16s den) {
    return num >= den ? Kel16s{32767} : static_cast<Kel16s>((int32_t{num} << 15) / den);
}

// The reference's pseudo-random generator: seed = seed * 31821 + 13849,
// kept to 16 bits.
inline Kel16s nextRandom(Kel16s* seed) {
    *seed = static_cast<Kel16s>(static_cast<uint16_t>(static_cast<uint32_t>(*seed * 31821 + 13849)));
    return *seed;
}

// G.729 4.1.2: 1 when the parity of the six most significant bits of the
// first lag index (with the constant 1) disagrees with the parity bit.
inline int parityError(Kel16s index, Kel16s parity) {
    int sum = 1;
    for (int i = 2; i <= 7; ++i) sum += (index >> i) & 1;
    return (sum + parity) & 1;
}

// G.729 4.1.3 (Dec_lag3): the delay of the first sub-frame from its 8-bit
// index, that of the second from its 5-bit index relative to the first's
// integer lag (*t0 on input).
void decodeLag(Kel16s index, int subframe, Kel16s* t0, Kel16s* frac) {
    if (subframe == 0) {
        if (index < 197) {
            *t0 = static_cast<Kel16s>((((index + 2) * 10923) >> 15) + 19);
            *frac = static_cast<Kel16s>(index - 3 * *t0 + 58);
        } else {
            *t0 = static_cast<Kel16s>(index - 112);
            *frac = 0;
        }
        return;
    }
    int tMin = *t0 - 5;
    if (tMin < kPitMin) tMin = kPitMin;
    if (tMin + 9 > kPitMax) tMin = kPitMax - 9;
    const int i = (((index + 2) * 10923) >> 15) - 1;
    *t0 = static_cast<Kel16s>(i + tMin);
    *frac = static_cast<Kel16s>(index - 2 - 3 * i);
}

// G.729 4.1.4 (Decod_ACELP): four pulses of +1 (8191) or -1 (-8192), Q13,
// on 5m, 5m + 1, 5m + 2 and 5m + 3 + j from the 13-bit position word and
// the 4-bit sign word.
void decodeCode(Kel16s positions, Kel16s signs, Kel16s code[kSubframe]) {
    memset(code, 0, sizeof(Kel16s) * kSubframe);
    const int pos[4] = {5 * (positions & 7), 5 * ((positions >> 3) & 7) + 1, 5 * ((positions >> 6) & 7) + 2,
                        5 * ((positions >> 10) & 7) + 3 + ((positions >> 9) & 1)};
    for (int k = 0; k < 4; ++k) code[pos[k]] = ((signs >> k) & 1) ? Kel16s{8191} : Kel16s{-8192};
}

// Weight_Az: ap[i] = a[i] gamma^i, each power and product rounded to Q15/Q12.
void weightLpc(const Kel16s a[kOrder + 1], Kel16s gamma, Kel16s ap[kOrder + 1]) {
    ap[0] = a[0];
    Kel16s fac = gamma;
    for (int i = 1; i <= kOrder; ++i) {
        ap[i] = roundFx(lMult(a[i], fac));
        fac = roundFx(lMult(fac, gamma));
    }
}

// Whether the reference's synthesis filter (Syn_filt: L_mult, ten L_msu,
// L_shl by 3, round) saturates somewhere on this sub-frame. y holds the 10
// preceding outputs before the 40 the library wrote; up to the first
// saturation those outputs are the reference's, so the exact 64-bit sums
// show where it first happens.
bool synthesisOverflows(const Kel16s* a, const Kel16s* x, const Kel16s* y) {
    for (int n = 0; n < kSubframe; ++n) {
        int64_t s = int64_t{2} * x[n] * a[0];
        if (s > INT32_MAX) return true;  // -32768 * -32768 only
        for (int k = 1; k <= kOrder; ++k) {
            s -= int64_t{2} * a[k] * y[n - k];
            if (s > INT32_MAX || s < INT32_MIN) return true;
        }
        // L_shl by 3, then the rounding addition.
        if (s > (INT32_MAX >> 3) || s < (INT32_MIN >> 3) || s * 8 + 0x8000 > INT32_MAX) return true;
    }
    return false;
}

// The annex A post-filter of one sub-frame (Post_Filter's loop body):
// residual through A(z/0.55) and the harmonic post-filter, tilt
// compensation from the impulse response of A(z/0.55)/A(z/0.7), 1/A(z/0.7)
// and the adaptive gain control. syn: the sub-frame with 10 samples of
// history; out: the sub-frame's 40 post-filtered samples.
int postFilter(g729a_decoder* st, const Kel16s* lpc, Kel16s lag, const Kel16s* syn, Kel16s* out) {
    Kel16s apNum[kOrder + 1], apDen[kOrder + 1];
    weightLpc(lpc, kGammaNum, apNum);
    weightLpc(lpc, kGammaDen, apDen);

    Kel16s pst[kSubframe];
    int status = kelsLongTermPostFilter_G729A_16s(lag, syn, apNum, st->res2, pst);
    if (status < 0) return status;
    memmove(st->res2, st->res2 + kSubframe, sizeof(Kel16s) * kPastExc);

    // Impulse response of A(z/0.55) / A(z/0.7) from zero memory, 22 samples
    // (the filter runs on 40; the first 22 are the same).
    Kel16s h[kOrder + kSubframe] = {};
    Kel16s impulse[kSubframe] = {};
    memcpy(impulse, apNum, sizeof(apNum));
    status = kelsSynthesisFilter_G729_16s(impulse, apDen, h + kOrder);
    if (status < 0) return status;
    Kel32s r0 = 0, r1 = 0;
    if ((status = kelsDotProd_16s32s_Sfs(h + kOrder, h + kOrder, kImpulse, &r0, -1)) < 0) return status;
    if ((status = kelsDotProd_16s32s_Sfs(h + kOrder, h + kOrder + 1, kImpulse - 1, &r1, -1)) < 0) return status;
    const Kel16s e0 = static_cast<Kel16s>(r0 >> 16), e1 = static_cast<Kel16s>(r1 >> 16);
    const Kel16s tilt = e1 <= 0 ? Kel16s{0} : divS(mult(e1, kMu), e0);
    if ((status = kelsPreemphasize_G729A_16s_I(tilt, pst, kSubframe, &st->preMem)) < 0) return status;

    // 1/A(z/0.7): its memory is the filter's own output, taken before the
    // gain control scales it.
    Kel16s flt[kOrder + kSubframe];
    memcpy(flt, st->pstMem, sizeof(st->pstMem));
    if ((status = kelsShortTermPostFilter_G729A_16s(apDen, pst, flt + kOrder)) < 0) return status;
    memcpy(st->pstMem, flt + kSubframe, sizeof(st->pstMem));
    memcpy(out, flt + kOrder, sizeof(Kel16s) * kSubframe);
    return kelsGainControl_G729A_16s_I(syn, out, &st->agcGain);
}

}  // namespace

int g729a_decoder_init(g729a_decoder* st) {
    memset(st, 0, sizeof(*st));
    memcpy(st->lspOld, kLspInit, sizeof(kLspInit));
    for (int k = 0; k < 4; ++k) memcpy(st->freqPrev + kOrder * k, kFreqReset, sizeof(kFreqReset));
    memcpy(st->lsfPrev, kFreqReset, sizeof(kFreqReset));
    st->sharp = kSharpMin;
    st->lagPrev = 60;
    for (Kel16s& e : st->pastQEnergy) e = -14336;
    st->seed = 21845;
    st->agcGain = 4096;
    Kel32s size = 0;
    if (kelsHighPassFilterSize_G729(&size) != kelStatusOk || size > static_cast<Kel32s>(sizeof(st->highPass)))
        return -1;
    return kelsHighPassFilterInit_G729(kHighPass100, reinterpret_cast<KelG729HighPassState*>(st->highPass));
}

int g729a_decode_frame(g729a_decoder* st, const int16_t* params, int bfi, int16_t pcm[G729A_FRAME_SAMPLES]) {
    Kel16s prm[G729A_FRAME_PARAMS] = {};
    bfi = bfi != 0 || params == nullptr;
    if (!bfi)
        for (int i = 0; i < G729A_FRAME_PARAMS; ++i) prm[i] = static_cast<Kel16s>(params[i] & ((1 << kBits[i]) - 1));
    int status;

    // G.729 4.1.1, 4.4.1: the LSFs, or on erasure the last good ones with
    // the predictor memory updated from them.
    Kel16s lsf[kOrder], lspNew[kOrder], lsp[kOrder];
    if (!bfi) {
        const Kel16s idx[4] = {static_cast<Kel16s>(prm[0] >> 7), static_cast<Kel16s>(prm[0] & 127),
                               static_cast<Kel16s>(prm[1] >> 5), static_cast<Kel16s>(prm[1] & 31)};
        if ((status = kelsLSFDecode_G729_16s(idx, st->freqPrev, lsf)) < 0) return status;
        memcpy(st->lsfPrev, lsf, sizeof(lsf));
        st->maPrev = idx[0];
    } else {
        memcpy(lsf, st->lsfPrev, sizeof(lsf));
        if ((status = kelsLSFDecodeErased_G729_16s(st->maPrev, st->freqPrev, st->lsfPrev)) < 0) return status;
    }
    if ((status = kelsLSFToLSP_G729_16s(lsf, lspNew)) < 0) return status;

    // Interpolated LP filter of the first sub-frame, the frame's own of the second.
    Kel16s lpc[2][kOrder + 1];
    if ((status = kelsInterpolate_G729_16s(lspNew, st->lspOld, lsp, kOrder)) < 0) return status;
    if ((status = kelsLSPToLPC_G729_16s(lsp, lpc[0])) < 0) return status;
    if ((status = kelsLSPToLPC_G729_16s(lspNew, lpc[1])) < 0) return status;
    memcpy(st->lspOld, lspNew, sizeof(lspNew));

    // The synthesis with its 10 samples of history (the 1/A(z) memory and
    // the post-filter's residual history alike).
    Kel16s syn[kOrder + kFrame];
    memcpy(syn, st->synMem, sizeof(st->synMem));
    Kel16s lags[2];
    Kel16s t0 = 0, frac = 0;
    const int badPitch = bfi || parityError(prm[2], prm[3]);

    for (int sf = 0; sf < 2; ++sf) {
        const int at = sf * kSubframe;
        const Kel16s lagIndex = prm[sf == 0 ? 2 : 7];  // P1 (followed by its parity P0) or P2
        const Kel16s* q = prm + (sf == 0 ? 4 : 8);     // C, S, GA GB of the sub-frame

        // Pitch delay; on erasure (or parity error in the first sub-frame)
        // the previous integer lag (144 after a second sub-frame at the top of
        // its range), which then grows by one and is clipped to 143.
        if (sf == 0 ? !badPitch : !bfi) {
            decodeLag(lagIndex, sf, &t0, &frac);
            st->lagPrev = t0;
        } else {
            t0 = st->lagPrev;
            frac = 0;
            st->lagPrev = st->lagPrev >= kPitMax ? Kel16s{kPitMax} : static_cast<Kel16s>(st->lagPrev + 1);
        }
        lags[sf] = t0;
        const Kel16s delay[2] = {t0, frac};
        if ((status = kelsDecodeAdaptiveVector_G729_16s_I(delay, st->exc + at)) < 0) return status;

        // Fixed-codebook vector (random words on erasure) and pitch sharpening.
        Kel16s positions = q[0], signs = q[1];
        if (bfi) {
            positions = static_cast<Kel16s>(nextRandom(&st->seed) & 0x1fff);
            signs = static_cast<Kel16s>(nextRandom(&st->seed) & 0xf);
        }
        Kel16s code[kSubframe];
        decodeCode(positions, signs, code);
        if (t0 < kSubframe)
            if ((status =
                     kelsHarmonicFilter_16s_I(static_cast<Kel16s>(st->sharp << 1), t0, code + t0, kSubframe - t0)) < 0)
                return status;

        // Gains: the prediction's energy is the saturated sum of 2 c[n]^2.
        Kel32s energy = 0;
        if ((status = kelsDotProd_16s32s_Sfs(code, code, kSubframe, &energy, -1)) < 0) return status;
        const Kel16s gidx[2] = {static_cast<Kel16s>(q[2] >> 4), static_cast<Kel16s>(q[2] & 15)};
        if ((status = kelsDecodeGain_G729_16s(energy, st->pastQEnergy, bfi ? nullptr : gidx, st->gain)) < 0)
            return status;
        st->sharp =
            st->gain[0] > kSharpMax ? Kel16s{kSharpMax} : (st->gain[0] < kSharpMin ? Kel16s{kSharpMin} : st->gain[0]);

        // Excitation gp v + gc c, rounded from 2 (gp v + gc c) in Q15.
        Kel16s* exc = st->exc + kPastExc + at;
        for (int n = 0; n < kSubframe; ++n) {
            const int64_t s = int64_t{sat32(int64_t{lMult(exc[n], st->gain[0])} + lMult(code[n], st->gain[1]))};
            exc[n] = roundFx(sat32(s * 2));
        }

        // Synthesis; when the reference's filter would saturate, the whole
        // excitation buffer is divided by 4 and the sub-frame synthesised again.
        if ((status = kelsSynthesisFilter_G729_16s(exc, lpc[sf], syn + kOrder + at)) < 0) return status;
        if (synthesisOverflows(lpc[sf], exc, syn + kOrder + at)) {
            if ((status = kelsRShiftC_16s_I(2, st->exc, kPastExc + kFrame)) < 0) return status;
            if ((status = kelsSynthesisFilter_G729_16s(exc, lpc[sf], syn + kOrder + at)) < 0) return status;
        }
    }
    memmove(st->exc, st->exc + kFrame, sizeof(Kel16s) * kPastExc);

    // Post-filter, then the post-processing high-pass filter (which also
    // doubles the signal).
    Kel16s out[kFrame];
    for (int sf = 0; sf < 2; ++sf)
        if ((status = postFilter(st, lpc[sf], lags[sf], syn + kOrder + sf * kSubframe, out + sf * kSubframe)) < 0)
            return status;
    memcpy(st->synMem, syn + kFrame, sizeof(st->synMem));
    if ((status = kelsHighPassFilter_G729_16s_ISfs(out, kFrame, 13,
                                                   reinterpret_cast<KelG729HighPassState*>(st->highPass))) < 0)
        return status;
    memcpy(pcm, out, sizeof(out));
    return 0;
}

void g729a_unpack(const int16_t bits[G729A_FRAME_BITS], int16_t params[G729A_FRAME_PARAMS]) {
    for (int i = 0; i < G729A_FRAME_PARAMS; ++i) {
        int v = 0;
        for (int b = 0; b < kBits[i]; ++b) v = (v << 1) | (*bits++ == 0x0081);
        params[i] = static_cast<int16_t>(v);
    }
}

int g729a_decode_serial(g729a_decoder* st, const int16_t frame[G729A_SERIAL_WORDS], int16_t pcm[G729A_FRAME_SAMPLES]) {
    int16_t params[G729A_FRAME_PARAMS];
    int bfi = frame[1] == 0;
    for (int i = 2; i < G729A_SERIAL_WORDS; ++i) bfi |= frame[i] == 0;
    g729a_unpack(frame + 2, params);
    return g729a_decode_frame(st, params, bfi, pcm);
}
