// The GSM 06.10 decoder (section 4.3): kelsc's primitives for the signal
// processing, the frame bookkeeping here.
#include <string.h>

#include "gsmfr_internal.h"

using namespace gsmfr;

void gsmfr_decoder_init(gsmfr_decoder* st) {
    memset(st, 0, sizeof *st);
    st->lag = kMinLag;
}

int gsmfr_decode_frame(gsmfr_decoder* st, const int16_t params[GSMFR_FRAME_PARAMS], int16_t pcm[GSMFR_FRAME_SAMPLES]) {
    int first = 0;
    const auto status = [&first](KelStatus s) {
        if (first == 0) first = s;
    };

    // drp: the past reconstructed residual, then this frame's.
    int16_t drp[kHistory + GSMFR_FRAME_SAMPLES];
    memcpy(drp, st->history, sizeof st->history);
    for (int j = 0; j < kSubframes; ++j) {
        const int16_t* sub = params + kOrder + j * kSubframeParams;
        // Every parameter masked to its width, as a 33-byte frame carries it:
        // the tables below are then never indexed outside.
        const int nc = sub[kNc] & 127;
        const int bc = sub[kBc] & 3;
        const int mc = sub[kMc] & 3;
        const int xmaxc = sub[kXmaxc] & 63;
        int16_t xMc[kPulses], xMp[kPulses];
        for (int i = 0; i < kPulses; ++i) xMc[i] = static_cast<int16_t>(sub[kXmc + i] & 7);

        // 4.3.1 (4.2.15, 4.2.16, 4.2.17): RPE decoding.
        int exp = 0, mant = 0;
        xmaxcToExpMant(xmaxc, &exp, &mant);
        status(kelsRPEQuantDecode_GSMFR_16s(xMc, kFac[mant], static_cast<Kel16s>(6 - exp), xMp));
        int16_t erp[kSubframe] = {0};
        for (int i = 0; i < kPulses; ++i) erp[mc + 3 * i] = xMp[i];

        // 4.3.2: long-term synthesis. A lag outside 40..120 (a transmission
        // error) repeats the last valid one.
        const int lag = (nc < kMinLag || nc > kMaxLag) ? st->lag : nc;
        st->lag = static_cast<int16_t>(lag);
        const int16_t gain = kQlb[bc];
        int16_t* out = drp + kHistory + j * kSubframe;
        for (int k = 0; k < kSubframe; ++k) out[k] = add(erp[k], multR(gain, out[k - lag]));
    }
    memcpy(st->history, drp + GSMFR_FRAME_SAMPLES, sizeof st->history);

    // 4.3.3, 4.3.4: short-term synthesis with the decoded, interpolated
    // coefficients.
    int16_t larpp[kOrder];
    decodeLars(params, larpp);
    Interpolated coefficients;
    interpolate(st->larpp, larpp, &coefficients);
    memcpy(st->larpp, larpp, sizeof larpp);
    const int16_t* wt = drp + kHistory;
    for (int part = 0, at = 0; part < 4; at += kPartLength[part++]) {
        status(kelsShortTermSynthesisFilter_GSMFR_16s(coefficients.rp[part], wt + at, pcm + at, kPartLength[part],
                                                      st->lattice));
    }

    // 4.3.5: de-emphasis, up-scaling and output truncation.
    status(kelsDeemphasize_GSMFR_16s_I(pcm, GSMFR_FRAME_SAMPLES, &st->deemphasis));
    return first;
}
