// The GSM 06.10 encoder (section 4.2): kelsc's primitives for the signal
// processing, the frame bookkeeping here.
#include <string.h>

#include "gsmfr_internal.h"

using namespace gsmfr;

namespace {

// First non-zero status of a sequence of kelsc calls.
struct Status {
    int first = 0;
    void operator()(KelStatus s) {
        if (first == 0) first = s;
    }
};

// GSM 06.10 4.2.4: autocorrelation of the frame with dynamic scaling. The
// frame is scaled down so that its maximum fits 12 bits (with rounding),
// and afterwards scaled up again: the LPC analysis hands the short-term
// filter this rounded signal, not the original one (the reference's
// Autocorrelation works on its array in place).
void autocorrelation(int16_t* s, int32_t* acf, Status& status) {
    const int16_t smax = maxAbs(s, GSMFR_FRAME_SAMPLES);
    const int scale = smax == 0 ? 0 : 4 - norm16(smax);
    if (scale > 0) {
        const int16_t factor = static_cast<int16_t>(16384 >> (scale - 1));
        for (int k = 0; k < GSMFR_FRAME_SAMPLES; ++k) s[k] = multR(s[k], factor);
    }
    // Twice the sums of products (L_mult): at most 160 * 2 * 2048^2 < 2^31.
    status(kelsAutoCorr_16s32s(s, GSMFR_FRAME_SAMPLES, acf, kOrder + 1));
    for (int k = 0; k <= kOrder; ++k) acf[k] *= 2;
    if (scale > 0) {
        for (int k = 0; k < GSMFR_FRAME_SAMPLES; ++k) s[k] = static_cast<int16_t>(s[k] * (1 << scale));
    }
}

// GSM 06.10 4.2.6 and 4.2.7: reflection coefficients to log-area ratios
// (piecewise linear) and their quantisation and coding (Table 4.1).
void codeLars(const int16_t* r, int16_t* larc) {
    for (int i = 0; i < kOrder; ++i) {
        int16_t mag = abs16(r[i]);
        if (mag < 22118) {
            mag = static_cast<int16_t>(mag >> 1);
        } else if (mag < 31130) {
            mag = static_cast<int16_t>(mag - 11059);
        } else {
            mag = static_cast<int16_t>((mag - 26112) * 4);
        }
        const int16_t lar = r[i] < 0 ? static_cast<int16_t>(-mag) : mag;
        int16_t t = mult(kA[i], lar);
        t = add(t, kB[i]);
        t = add(t, 256);
        t = static_cast<int16_t>(t >> 9);
        larc[i] = static_cast<int16_t>(t > kMac[i] ? kMac[i] - kMic[i] : (t < kMic[i] ? 0 : t - kMic[i]));
    }
}

// GSM 06.10 4.2.11: LTP lag Nc (40..120) and coded gain bc (0..3) of the
// sub-segment d from the past reconstructed residual (dp[-120..-1] at
// past[0..119]).
void ltpParameters(const int16_t* d, const int16_t* past, int16_t* nc, int16_t* bc, Status& status) {
    // d scaled so that its maximum fits 9 bits: the correlations then stay
    // below 40 * 2^9 * 2^15 < 2^31.
    const int16_t dmax = maxAbs(d, kSubframe);
    const int t = dmax == 0 ? 0 : norm16(dmax);
    const int scal = t > 6 ? 0 : 6 - t;
    int16_t wt[kSubframe];
    for (int k = 0; k < kSubframe; ++k) wt[k] = static_cast<int16_t>(d[k] >> scal);

    // The maximum cross-correlation over lags lambda = 40..120, the first
    // (smallest) lag winning ties and lag 40 when none is positive. The
    // library's search runs its lag from maxLag down with the largest lag
    // winning ties, so lambda = 120 - lag: lag 80 is lambda 40.
    int32_t lmax = 0;
    int index = 0;
    status(kelsCrossCorrLagMax_16s(wt, past, kSubframe, kMaxLag - kMinLag, &lmax, &index));
    const int lag = kMaxLag - index;
    *nc = static_cast<int16_t>(lag);

    lmax = (lmax * 2) >> (6 - scal);
    // Power of the reconstructed residual at that lag.
    int32_t power = 0;
    for (int k = 0; k < kSubframe; ++k) {
        const int32_t v = past[kHistory - lag + k] >> 3;
        power += v * v;
    }
    power *= 2;

    if (lmax <= 0) {
        *bc = 0;
        return;
    }
    if (lmax >= power) {
        *bc = 3;
        return;
    }
    // Table 4.3a on the normalised ratio.
    const int n = norm32(power);
    const int16_t R = static_cast<int16_t>((lmax << n) >> 16);
    const int16_t S = static_cast<int16_t>((power << n) >> 16);
    int b = 0;
    while (b <= 2 && R > mult(S, kDlb[b])) ++b;
    *bc = static_cast<int16_t>(b);
}

// GSM 06.10 4.2.14: the RPE grid (one of four decimations by 3) of the most
// energy, and its 13 samples.
int gridSelection(const int16_t* x, int16_t* xM) {
    int best = 0;
    int32_t em = 0;
    for (int m = 0; m < 4; ++m) {
        int32_t e = 0;
        for (int i = 0; i < kPulses; ++i) {
            const int32_t v = x[m + 3 * i] >> 2;
            e += v * v;
        }
        e *= 2;
        if (m == 0 || e > em) {
            em = e;
            best = m;
        }
    }
    for (int i = 0; i < kPulses; ++i) xM[i] = x[best + 3 * i];
    return best;
}

// GSM 06.10 4.2.15: APCM quantisation: the block maximum xmax coded on a
// logarithmic scale (xmaxc), then each sample normalised by it and coded on
// 3 bits (xMc). Returns xmaxc; exp and mant are its exponent and mantissa.
int16_t apcmQuantization(const int16_t* xM, int16_t* xMc, int* exp, int* mant) {
    const int16_t xmax = maxAbs(xM, kPulses);
    int e = 0;
    int16_t t = static_cast<int16_t>(xmax >> 9);
    bool stop = false;
    for (int i = 0; i <= 5; ++i) {
        stop = stop || t <= 0;
        t = static_cast<int16_t>(t >> 1);
        if (!stop) ++e;
    }
    const int16_t xmaxc = add(static_cast<int16_t>(xmax >> (e + 5)), static_cast<int16_t>(e << 3));

    xmaxcToExpMant(xmaxc, exp, mant);
    // Normalisation by the exponent, then multiplication by the inverse
    // mantissa (Table 4.5); + 4 makes the codes 0..7.
    const int shift = 6 - *exp;
    const int16_t inverse = kNrFac[*mant];
    for (int i = 0; i < kPulses; ++i) {
        const int16_t v = static_cast<int16_t>(xM[i] * (1 << shift));
        xMc[i] = static_cast<int16_t>((mult(v, inverse) >> 12) + 4);
    }
    return xmaxc;
}

}  // namespace

void gsmfr_encoder_init(gsmfr_encoder* st) { memset(st, 0, sizeof *st); }

int gsmfr_encode_frame(gsmfr_encoder* st, const int16_t pcm[GSMFR_FRAME_SAMPLES], int16_t params[GSMFR_FRAME_PARAMS]) {
    Status status;
    int16_t s[GSMFR_FRAME_SAMPLES];

    // 4.2.1 to 4.2.3: downscaling, offset compensation, pre-emphasis.
    status(kelsHighPassFilter_GSMFR_16s(pcm, s, GSMFR_FRAME_SAMPLES, &st->offset));
    status(kelsPreemphasize_GSMFR_16s(s, s, GSMFR_FRAME_SAMPLES, &st->preemphasis));

    // 4.2.4 to 4.2.7: LPC analysis and coding of the LARs.
    int32_t acf[kOrder + 1];
    int16_t r[kOrder];
    autocorrelation(s, acf, status);
    status(kelsSchur_GSMFR_32s16s(acf, r, kOrder));
    int16_t* larc = params;
    codeLars(r, larc);

    // 4.2.8 to 4.2.10: short-term analysis filtering with the decoded,
    // interpolated coefficients, in place: s becomes the residual d.
    int16_t larpp[kOrder];
    decodeLars(larc, larpp);
    Interpolated coefficients;
    interpolate(st->larpp, larpp, &coefficients);
    memcpy(st->larpp, larpp, sizeof larpp);
    for (int part = 0, at = 0; part < 4; at += kPartLength[part++]) {
        status(kelsShortTermAnalysisFilter_GSMFR_16s_I(coefficients.rp[part], s + at, kPartLength[part], st->lattice));
    }

    // 4.2.11 to 4.2.18 per sub-segment. dp holds the past reconstructed
    // residual and then this frame's, sub-segment by sub-segment.
    int16_t dp[kHistory + GSMFR_FRAME_SAMPLES];
    memcpy(dp, st->history, sizeof st->history);
    int16_t e[5 + kSubframe + 5] = {0};  // the weighting filter reads 5 zeros each side
    for (int j = 0; j < kSubframes; ++j) {
        int16_t* sub = params + kOrder + j * kSubframeParams;
        const int16_t* d = s + j * kSubframe;
        const int16_t* past = dp + j * kSubframe;  // dp[-120..-1] of this sub-segment
        int16_t* rec = dp + kHistory + j * kSubframe;

        // 4.2.11, 4.2.12: long-term prediction; e = d - b * dp[k - Nc].
        ltpParameters(d, past, &sub[kNc], &sub[kBc], status);
        const int16_t gain = kQlb[sub[kBc]];
        int16_t dpp[kSubframe];
        for (int k = 0; k < kSubframe; ++k) {
            dpp[k] = multR(gain, past[kHistory - sub[kNc] + k]);
            e[5 + k] = gsmfr::sub(d[k], dpp[k]);
        }

        // 4.2.13 to 4.2.15: weighting, grid selection, APCM quantisation.
        int16_t x[kSubframe], xM[kPulses], xMp[kPulses];
        status(kelsWeightingFilter_GSMFR_16s(e + 5, x, kSubframe));
        sub[kMc] = static_cast<int16_t>(gridSelection(x, xM));
        int exp = 0, mant = 0;
        sub[kXmaxc] = apcmQuantization(xM, sub + kXmc, &exp, &mant);

        // 4.2.16 to 4.2.18: the local decoder: inverse quantisation, grid
        // positioning and the reconstructed residual dp = ep + dpp.
        status(kelsRPEQuantDecode_GSMFR_16s(sub + kXmc, kFac[mant], static_cast<Kel16s>(6 - exp), xMp));
        int16_t ep[kSubframe] = {0};
        for (int i = 0; i < kPulses; ++i) ep[sub[kMc] + 3 * i] = xMp[i];
        for (int k = 0; k < kSubframe; ++k) rec[k] = add(ep[k], dpp[k]);
    }
    memcpy(st->history, dp + GSMFR_FRAME_SAMPLES, sizeof st->history);
    return status.first;
}
