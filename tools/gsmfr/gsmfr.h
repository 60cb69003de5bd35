/*
 * gsmfr: a complete GSM 06.10 full-rate (RPE-LTP) encoder and decoder built
 * on the public kelsc header. kelsc offers the codec's signal-processing
 * steps; this library keeps the frame bookkeeping that GSM 06.10 leaves
 * around them: LAR coding, decoding and interpolation, long-term
 * prediction, RPE grid selection and APCM quantisation, and the packing of
 * the parameters into 33-byte frames. Bit-exact with the Recommendation's
 * reference (it reproduces the ETSI test sequences).
 *
 * Frames: 160 samples (20 ms at 8 kHz) to 76 parameters, in the order of
 * GSM 06.10 Table 1.1: LARc[1..8], then per 40-sample sub-segment Nc, bc,
 * Mc, xmaxc and xMc[0..12] (17 values). Parameters are right-aligned in
 * 16-bit words of 6, 6, 5, 5, 4, 4, 3, 3 bits (LARc) and 7, 2, 2, 6 and
 * 3 bits (per sub-segment).
 *
 * Samples: 16-bit linear PCM whose top 13 bits are the codec's input; the
 * decoder's output has its three lowest bits zero.
 *
 * States: plain structures the caller owns (no pointers, safe to copy),
 * set up by the init functions.
 */
#ifndef KELSC_TOOLS_GSMFR_H
#define KELSC_TOOLS_GSMFR_H

#include <kelsc.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define GSMFR_FRAME_SAMPLES 160
#define GSMFR_FRAME_PARAMS 76
#define GSMFR_FRAME_BYTES 33

typedef struct gsmfr_encoder {
    KelHighPassMem_GSMFR offset; /* 4.2.2 offset compensation */
    Kel16s preemphasis;          /* 4.2.3: the last offset-compensated sample */
    Kel16s lattice[8];           /* 4.2.10: u[0..7] of the short-term analysis lattice */
    Kel16s larpp[8];             /* 4.2.9: the previous frame's decoded LARs, LARpp(j-1) */
    Kel16s history[120];         /* 4.2.11: the reconstructed short-term residual dp[-120..-1] */
} gsmfr_encoder;

typedef struct gsmfr_decoder {
    Kel16s lattice[9];   /* 4.3.4: v[0..8] of the short-term synthesis lattice */
    Kel16s larpp[8];     /* the previous frame's decoded LARs */
    Kel16s history[120]; /* 4.3.2: the reconstructed short-term residual drp[-120..-1] */
    Kel16s lag;          /* 4.3.2: the last valid LTP lag nrp (40 initially) */
    Kel16s deemphasis;   /* 4.3.5: msr */
} gsmfr_decoder;

/* Sets up an encoder (the Recommendation's initial state: all zero). */
void gsmfr_encoder_init(gsmfr_encoder* st);

/* Encodes one frame. Returns 0, or the first non-zero status a kelsc call
   returned (then params are not valid). */
int gsmfr_encode_frame(gsmfr_encoder* st, const int16_t pcm[GSMFR_FRAME_SAMPLES], int16_t params[GSMFR_FRAME_PARAMS]);

/* Sets up a decoder (all zero, nrp = 40). */
void gsmfr_decoder_init(gsmfr_decoder* st);

/* Decodes one frame. Each parameter is first masked to its bit width (as a
   33-byte frame would carry it), so any 16-bit values are safe; an LTP lag
   outside 40..120 repeats the last valid one, as GSM 06.10 4.3.2 requires.
   Returns 0, or the first non-zero status a kelsc call returned. */
int gsmfr_decode_frame(gsmfr_decoder* st, const int16_t params[GSMFR_FRAME_PARAMS], int16_t pcm[GSMFR_FRAME_SAMPLES]);

/* The 33-byte frame of the usual GSM 06.10 file format (libgsm's, RFC 3551):
   the signature 0xD in the high nibble of the first byte, then the 260
   parameter bits in Table 1.1 order, most significant bit first; each
   parameter masked to its width. */
void gsmfr_pack(const int16_t params[GSMFR_FRAME_PARAMS], uint8_t frame[GSMFR_FRAME_BYTES]);

/* The parameters of a 33-byte frame. Returns 0, or -1 (params untouched)
   when the signature nibble is not 0xD. */
int gsmfr_unpack(const uint8_t frame[GSMFR_FRAME_BYTES], int16_t params[GSMFR_FRAME_PARAMS]);

#ifdef __cplusplus
}
#endif

#endif /* KELSC_TOOLS_GSMFR_H */
