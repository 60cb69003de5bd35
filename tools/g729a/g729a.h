/*
 * g729a: a complete ITU-T G.729 annex A (8 kbit/s CS-ACELP, reduced
 * complexity) decoder built on the public kelsc header. kelsc offers the
 * codec's signal-processing steps; this library keeps the frame bookkeeping
 * that the Recommendation leaves around them: the unpacking of the serial
 * bits, the pitch parity check and lag decoding, the algebraic code vector,
 * pitch sharpening, the excitation and its overflow rule, the frame-erasure
 * concealment, and the annex A post-filter chain with the post-processing
 * high-pass filter. Bit-exact with the annex A reference decoder (it
 * reproduces the official annex A test sequences).
 *
 * Frames: 10 ms, 80 samples at 8 kHz, from 80 bits or 11 parameter words
 * in the order of the bit stream: L0L1 (8 bits), L2L3 (10), P1 (8), P0 (the
 * parity of P1, 1), C1 (13), S1 (4), GA1GB1 (7), P2 (5), C2 (13), S2 (4),
 * GA2GB2 (7), each right-aligned in a 16-bit word.
 *
 * Serial frames (the ITU test-sequence format): 82 16-bit words, a sync
 * word 0x6B21, a size word (80), then one word per bit, 0x007F for 0 and
 * 0x0081 for 1. A frame whose size word is 0 or which holds a zero bit
 * word is erased.
 *
 * State: a plain structure the caller owns (no pointers, safe to copy),
 * set up by g729a_decoder_init.
 */
#ifndef KELSC_TOOLS_G729A_H
#define KELSC_TOOLS_G729A_H

#include <kelsc.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define G729A_FRAME_SAMPLES 80
#define G729A_FRAME_PARAMS 11
#define G729A_FRAME_BITS 80
#define G729A_SERIAL_WORDS 82

typedef struct g729a_decoder {
    Kel16s exc[154 + 80];  /* past excitation (154 samples), then the frame */
    Kel16s lspOld[10];     /* the previous frame's LSPs, Q15 */
    Kel16s freqPrev[40];   /* MA predictor memory of the LSF decoder */
    Kel16s lsfPrev[10];    /* the last good frame's LSFs, Q13 (erasures) */
    Kel16s maPrev;         /* the last good frame's MA predictor */
    Kel16s synMem[10];     /* the last 10 synthesised samples (1/A(z) memory) */
    Kel16s sharp;          /* pitch sharpening, Q14, 0.2..0.8 */
    Kel16s lagPrev;        /* the integer lag repeated on erasures */
    Kel16s gain[2];        /* pitch gain Q14, fixed-codebook gain Q1 */
    Kel16s pastQEnergy[4]; /* gain predictor memory, Q10 dB */
    Kel16s seed;           /* random generator of erased frames */
    Kel16s res2[154 + 40]; /* post-filter residual history */
    Kel16s pstMem[10];     /* memory of 1/A(z/0.7) */
    Kel16s preMem;         /* tilt (preemphasis) memory */
    Kel16s agcGain;        /* gain control, Q12 */
    Kel32s highPass[8];    /* the post-processing filter's state block */
} g729a_decoder;

/* Sets up a decoder (the reference decoder's initial state). Returns 0, or
   -1 when the library's high-pass state does not fit the structure. */
int g729a_decoder_init(g729a_decoder* st);

/* Decodes one frame of 11 parameter words (each masked to its width). With
   bfi non-zero the frame is erased: params is not read (it may be null)
   and the frame is concealed as annex A does. Returns 0, or the first
   negative status a kelsc call returned. */
int g729a_decode_frame(g729a_decoder* st, const int16_t* params, int bfi, int16_t pcm[G729A_FRAME_SAMPLES]);

/* The 11 parameter words of 80 serial bit words (0x0081 is a 1, any other
   word a 0). */
void g729a_unpack(const int16_t bits[G729A_FRAME_BITS], int16_t params[G729A_FRAME_PARAMS]);

/* Decodes one serial frame of 82 words (see above), erased when its size
   word is 0 or one of its bit words is 0. Returns as g729a_decode_frame. */
int g729a_decode_serial(g729a_decoder* st, const int16_t frame[G729A_SERIAL_WORDS], int16_t pcm[G729A_FRAME_SAMPLES]);

#ifdef __cplusplus
}
#endif

#endif
