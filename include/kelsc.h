/*
 * kelsc: speech-coding primitives (libkelscpx).
 *
 * The one public header: element types, status codes, the version record,
 * the speech bit-rate codes and every exported function, grouped by family.
 *
 * Conventions that hold for every function declared here:
 *  - Lengths are element counts (not bytes) and must be >= 1 unless stated.
 *  - Arguments are checked in one order: required pointers
 *    (kelStatusNullPointer), then lengths (kelStatusBadSize), then value
 *    arguments in argument order, then a state block's identity tag, then
 *    allocation. The first failure is returned and nothing is written.
 *    Exceptions are documented with the function.
 *  - "_Sfs" functions multiply the exact result by 2^-sf, rounding to nearest
 *    with ties to even (sf > 0) or shifting left with saturation (sf < 0),
 *    then saturate to the destination type. "_NR" functions round halves up
 *    and reject sf < 0 with kelStatusBadScale.
 *  - 16-bit fractions are Q15 unless a parameter says otherwise.
 *  - No function keeps state between calls; every function is re-entrant.
 */
#ifndef KELSC_H
#define KELSC_H

#include <stdint.h>

#if defined(KELSC_BUILDING_LIBRARY) && defined(__GNUC__)
#define KELSC_API __attribute__((visibility("default")))
#else
#define KELSC_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------ */
/* Element types (little-endian; complex pairs hold the real part first).   */
/* ------------------------------------------------------------------------ */

typedef uint8_t Kel8u;
typedef int16_t Kel16s;
typedef uint16_t Kel16u;
typedef int32_t Kel32s;
typedef uint32_t Kel32u;
typedef float Kel32f;
typedef double Kel64f;

typedef struct Kel16sc {
    Kel16s re;
    Kel16s im;
} Kel16sc;

typedef struct Kel32sc {
    Kel32s re;
    Kel32s im;
} Kel32sc;

typedef struct Kel32fc {
    Kel32f re;
    Kel32f im;
} Kel32fc;

/* ------------------------------------------------------------------------ */
/* Status codes. 0 is success, negative an error (nothing written), positive */
/* a warning (all outputs written, something was limited).                  */
/* ------------------------------------------------------------------------ */

typedef int KelStatus;

enum {
    kelStatusOk = 0,
    /* A value overflowed its range (saturating filter or dot product,
       normalised autocorrelation energy too large, late Levinson breakdown). */
    kelStatusOverflow = 12,
    /* G.729 LSF decoders: first LSF raised to its lower bound (also the
       G.723.1 LSF decoder when its stabilisation loop gives up). */
    kelStatusLsfLowClamped = 13,
    /* G.729 LSF decoders: last LSF lowered to its upper bound. */
    kelStatusLsfHighClamped = 14,
    /* G.729 LSF decoders: both bounds applied. */
    kelStatusLsfBothClamped = 15,
    /* A primitive built on another exported primitive got a non-zero status. */
    kelStatusInnerError = -2,
    /* A structural argument (size combination, power of two...) is not allowed. */
    kelStatusBadArgument = -5,
    /* A length is < 1 or below the function's minimum. */
    kelStatusBadSize = -6,
    /* A value argument (rate, mode, lag...) lies outside its range. */
    kelStatusOutOfRange = -7,
    /* A required pointer is null. */
    kelStatusNullPointer = -8,
    /* A work buffer the function allocates itself could not be allocated. */
    kelStatusNoMemory = -9,
    /* A coded index or lag taken from the bit stream is out of range. */
    kelStatusBadIndex = -11,
    /* A negative LSF was given to an LSF-to-LSP conversion. */
    kelStatusNegativeLsf = -12,
    /* A scale factor is outside the function's range. */
    kelStatusBadScale = -13,
    /* An FFT order outside 0..30. */
    kelStatusBadFftOrder = -15,
    /* An FFT normalisation flag that is not allowed. */
    kelStatusBadFftFlag = -16,
    /* A state block whose identity tag does not match the function's kind. */
    kelStatusBadContext = -17,
    /* A shift count < 0. */
    kelStatusBadShift = -32,
    /* G.728 Levinson-Durbin broke down before order 11. */
    kelStatusIllConditioned = -117,
    /* An echo-canceller sub-band count or block size outside 1..4097. */
    kelStatusBadBandCount = -119
};

/* ------------------------------------------------------------------------ */
/* Speech bit-rate codes, numbered in increasing bit rate. Each function    */
/* accepts only the codes of its own codec (kelStatusOutOfRange otherwise). */
/* ------------------------------------------------------------------------ */

enum {
    kelSpeechRate4750 = 0,   /* GSM-AMR MR475 */
    kelSpeechRate5150 = 1,   /* GSM-AMR MR515 */
    kelSpeechRate5300 = 2,   /* G.723.1 low rate */
    kelSpeechRate5900 = 3,   /* GSM-AMR MR59 */
    kelSpeechRate6300 = 4,   /* G.723.1 high rate */
    kelSpeechRate6600 = 5,   /* AMR-WB 6.60 */
    kelSpeechRate6700 = 6,   /* GSM-AMR MR67 */
    kelSpeechRate7400 = 7,   /* GSM-AMR MR74 */
    kelSpeechRate7950 = 8,   /* GSM-AMR MR795 */
    kelSpeechRate8850 = 9,   /* AMR-WB 8.85 */
    kelSpeechRate9600 = 10,  /* G.728 */
    kelSpeechRate10200 = 11, /* GSM-AMR MR102 */
    kelSpeechRate12200 = 12, /* GSM-AMR MR122 */
    kelSpeechRate12650 = 13, /* AMR-WB 12.65 */
    kelSpeechRate12800 = 14, /* G.728 */
    kelSpeechRate14250 = 15, /* AMR-WB 14.25 */
    kelSpeechRate15850 = 16, /* AMR-WB 15.85 */
    kelSpeechRate16000 = 17, /* G.728, G.726 */
    kelSpeechRate18250 = 18, /* AMR-WB 18.25 */
    kelSpeechRate19850 = 19, /* AMR-WB 19.85 */
    kelSpeechRate23050 = 20, /* AMR-WB 23.05 */
    kelSpeechRate23850 = 21, /* AMR-WB 23.85 */
    kelSpeechRate24000 = 22, /* G.726 */
    kelSpeechRate32000 = 23, /* G.726 */
    kelSpeechRate40000 = 24, /* G.726 */
    kelSpeechRateDTX = 25    /* GSM-AMR MRDTX: silence descriptor */
};

/* ------------------------------------------------------------------------ */
/* Library frame: version record and aligned memory                         */
/* ------------------------------------------------------------------------ */

typedef struct KelLibraryVersion {
    int major;             /* 5 */
    int minor;             /* 1 */
    int buildMajor;        /* 133 */
    int build;             /* 245 */
    char cpuTag[4];        /* "px": generic-processor variant */
    const char* name;      /* file name of the shared object */
    const char* version;   /* "5.1.1" */
    const char* buildDate; /* "Jun 17 2006" */
} KelLibraryVersion;

/* The static, read-only version record; the same pointer on every call. */
KELSC_API const KelLibraryVersion* kelscGetLibVersion(void);

/* At least len bytes aligned to 32 bytes, or null (also for len < 1).
   Release with kelsFree only. */
KELSC_API Kel8u* kelsMalloc_8u(int len);

/* Releases a block from kelsMalloc_8u; null is ignored. */
KELSC_API void kelsFree(void* ptr);

/* ------------------------------------------------------------------------ */
/* Vector arithmetic. Unless stated, source and destination may be the same */
/* array but must not otherwise overlap.                                    */
/* ------------------------------------------------------------------------ */

/* pDst[i] = |pSrc[i]| with -32768 -> 32767. pSrc, pDst: [len]. */
KELSC_API KelStatus kelsAbs_16s(const Kel16s* pSrc, Kel16s* pDst, int len);

/* pDst[i] = sat16(pSrc1[i] + pSrc2[i]). All [len]. */
KELSC_API KelStatus kelsAdd_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len);
/* pSrcDst[i] = sat16(pSrcDst[i] + pSrc[i]). */
KELSC_API KelStatus kelsAdd_16s_I(const Kel16s* pSrc, Kel16s* pSrcDst, int len);
/* pSrcDst[i] += pSrc[i] (float). */
KELSC_API KelStatus kelsAdd_32f_I(const Kel32f* pSrc, Kel32f* pSrcDst, int len);
/* pSrcDst[i] = (pSrcDst[i] + pSrc[i]) * 2^-sf: 64-bit sum, ties to even,
   saturated; sf > 32 writes zeros, sf < -30 keeps only the sign. */
KELSC_API KelStatus kelsAdd_32s_ISfs(const Kel32s* pSrc, Kel32s* pSrcDst, int len, int scaleFactor);

/* pDst[i] = sat16(pSrc2[i] - pSrc1[i]): second operand minus first. */
KELSC_API KelStatus kelsSub_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len);
/* pSrcDst[i] = sat16(pSrcDst[i] - pSrc[i]). */
KELSC_API KelStatus kelsSub_16s_I(const Kel16s* pSrc, Kel16s* pSrcDst, int len);
/* pSrcDst[i] -= pSrc[i] (float). */
KELSC_API KelStatus kelsSub_32f_I(const Kel32f* pSrc, Kel32f* pSrcDst, int len);
/* pDst[i] = (val - pSrc[i]) * 2^-sf, ties to even, saturated to 16 bits;
   sf > 16 writes zeros, sf < -15 keeps only the sign. */
KELSC_API KelStatus kelsSubCRev_16s_Sfs(const Kel16s* pSrc, Kel16s val, Kel16s* pDst, int len, int scaleFactor);

/* pDst[i] = pSrc1[i] * pSrc2[i] (float). */
KELSC_API KelStatus kelsMul_32f(const Kel32f* pSrc1, const Kel32f* pSrc2, Kel32f* pDst, int len);
/* pDst[i] = pSrc1[i] * pSrc2[i] * 2^-sf (32-bit result), ties to even,
   saturated; sf > 30 writes zeros, sf < -30 keeps only the sign. */
KELSC_API KelStatus kelsMul_16s32s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel32s* pDst, int len,
                                       int scaleFactor);
/* pSrcDst[i] = val * pSrcDst[i] * 2^-sf, ties to even, saturated to 16 bits.
   val = 0 writes zeros; sf > 30 writes zeros; for -15 <= sf < 0 the product
   is saturated to 16 bits before the saturating left shift; sf < -15 keeps
   only the sign. */
KELSC_API KelStatus kelsMulC_16s_ISfs(Kel16s val, Kel16s* pSrcDst, int len, int scaleFactor);
/* pDst[i] = sat16((pSrc1[i] * pSrc2[i] + 2^(sf-1)) >> sf); sf >= 0. */
KELSC_API KelStatus kelsMul_NR_16s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len,
                                       int scaleFactor);
/* pSrcDst[i] = sat16((pSrc[i] * pSrcDst[i] + 2^(sf-1)) >> sf); sf >= 0. */
KELSC_API KelStatus kelsMul_NR_16s_ISfs(const Kel16s* pSrc, Kel16s* pSrcDst, int len, int scaleFactor);
/* pDst[i] = sat16((pSrc[i] * val + 2^(sf-1)) >> sf); sf >= 0. */
KELSC_API KelStatus kelsMulC_NR_16s_Sfs(const Kel16s* pSrc, Kel16s val, Kel16s* pDst, int len, int scaleFactor);
/* pSrcDst[i] = sat16((pSrcDst[i] * val + 2^(sf-1)) >> sf); sf >= 0. */
KELSC_API KelStatus kelsMulC_NR_16s_ISfs(Kel16s val, Kel16s* pSrcDst, int len, int scaleFactor);
/* Bandwidth expansion pDst[i] = pSrc[i] * val^i: pDst[0] = pSrc[0]; then
   with p = val, pDst[i] = (pSrc[i] * p + 2^(sf-1)) >> sf and
   p = (p * val + 2^(sf-1)) >> sf (16 bits). Typical: Q12 LP coefficients,
   val a Q15 factor, sf 15. Checks sf < 0 (kelStatusBadScale) before
   len < 1 (kelStatusBadSize). */
KELSC_API KelStatus kelsMulPowerC_NR_16s_Sfs(const Kel16s* pSrc, Kel16s val, Kel16s* pDst, int len, int scaleFactor);

/* Logical left shift by val, dropping the bits shifted out. */
KELSC_API KelStatus kelsLShiftC_16s(const Kel16s* pSrc, int val, Kel16s* pDst, int len);
KELSC_API KelStatus kelsLShiftC_16s_I(int val, Kel16s* pSrcDst, int len);
KELSC_API KelStatus kelsLShiftC_16u(const Kel16u* pSrc, int val, Kel16u* pDst, int len);
/* val > 15 zero-fills the vector before any other check (as kelsZero_16s). */
KELSC_API KelStatus kelsLShiftC_16u_I(int val, Kel16u* pSrcDst, int len);
/* val > 31 zero-fills the vector before any other check (as kelsZero_32s). */
KELSC_API KelStatus kelsLShiftC_32s_I(int val, Kel32s* pSrcDst, int len);
/* Arithmetic right shift by val; val above 15 (31) leaves the sign (0/-1). */
KELSC_API KelStatus kelsRShiftC_16s(const Kel16s* pSrc, int val, Kel16s* pDst, int len);
KELSC_API KelStatus kelsRShiftC_16s_I(int val, Kel16s* pSrcDst, int len);
KELSC_API KelStatus kelsRShiftC_32s_I(int val, Kel32s* pSrcDst, int len);

/* *pSum = sum(pSrc[0..len-1]) * 2^-sf, 64-bit sum, ties to even, saturated
   to 16 bits (the 32-bit result of kelsSum_16s32s_Sfs, saturated). */
KELSC_API KelStatus kelsSum_16s_Sfs(const Kel16s* pSrc, int len, Kel16s* pSum, int scaleFactor);
/* As above with a 32-bit result; sf is clamped to -31..63. */
KELSC_API KelStatus kelsSum_16s32s_Sfs(const Kel16s* pSrc, int len, Kel32s* pSum, int scaleFactor);
/* Sum of 32-bit values in 64 bits; sf clamped to -31..63. */
KELSC_API KelStatus kelsSum_32s_Sfs(const Kel32s* pSrc, int len, Kel32s* pSum, int scaleFactor);

/* *pDp = sum(pSrc1[i] * pSrc2[i]) * 2^-sf, 64-bit accumulation, sf clamped
   to -31..31, ties to even, saturated to 32 bits. */
KELSC_API KelStatus kelsDotProd_16s32s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDp,
                                           int scaleFactor);
/* Self-scaling dot product: *pDp = (pSrc1[0] >> s1) * (pSrc2[0] >> s2)
   + sum over i >= 1 of 2 * (pSrc1[i] >> s1) * (pSrc2[i] >> s2), with the
   shifts raised (second input first, alternating) until it fits 32 bits;
   *pShift = s1 + s2. The first term is not doubled. len <= 32767. */
KELSC_API KelStatus kelsDotProdAutoScale_16s32s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDp,
                                                    int* pShift);

/* Block normalisation. *pScale in: the headroom h >= 0 (kelStatusBadScale
   if negative). Out: n - h, where n left shifts bring the largest magnitude
   to at least 16384; each output is (x << n) >> h. All-zero input gives
   zeros and 16 - h. */
KELSC_API KelStatus kelsAutoScale_16s(const Kel16s* pSrc, Kel16s* pDst, int len, int* pScale);
KELSC_API KelStatus kelsAutoScale_16s_I(Kel16s* pSrcDst, int len, int* pScale);

/* 1/sqrt(x) by 48-segment table interpolation (the G.729 Inv_sqrt):
   x in Q0..Q31 as the basic operator takes it; x <= 0 gives 1073741823. */
KELSC_API KelStatus kelsInvSqrt_32s_I(Kel32s* pSrcDst, int len);

/* pDst[i] = (re^2 + im^2) * 2^-sf as an unsigned 64-bit value, truncated
   (sf > 0), saturated to 2147483647; never negative. */
KELSC_API KelStatus kelsMagSquared_32sc32s_Sfs(const Kel32sc* pSrc, Kel32s* pDst, int len, int scaleFactor);

/* Extrema. */
KELSC_API KelStatus kelsMax_16s(const Kel16s* pSrc, int len, Kel16s* pMax);
KELSC_API KelStatus kelsMin_16s(const Kel16s* pSrc, int len, Kel16s* pMin);
KELSC_API KelStatus kelsMax_32s(const Kel32s* pSrc, int len, Kel32s* pMax);
/* Maximum and the index of its first occurrence; pIndex may be null. */
KELSC_API KelStatus kelsMaxIndx_32s(const Kel32s* pSrc, int len, Kel32s* pMax, int* pIndex);
/* Minimum and the index of its first occurrence; pIndex may be null. */
KELSC_API KelStatus kelsMinIndx_16s(const Kel16s* pSrc, int len, Kel16s* pMin, int* pIndex);

/* Conversions. */
KELSC_API KelStatus kelsConvert_16s32s(const Kel16s* pSrc, Kel32s* pDst, int len);
KELSC_API KelStatus kelsConvert_16s32f(const Kel16s* pSrc, Kel32f* pDst, int len);
KELSC_API KelStatus kelsConvert_32s32f(const Kel32s* pSrc, Kel32f* pDst, int len);
/* Saturates to +-3.4028235e38; NaN becomes -3.4028235e38. */
KELSC_API KelStatus kelsConvert_64f32f(const Kel64f* pSrc, Kel32f* pDst, int len);
/* pDst[i] = pSrc[i] * 2^-sf saturated (NaN counts as below the minimum);
   roundMode 1 rounds halves away from zero, any other value truncates. */
KELSC_API KelStatus kelsConvert_32f16s_Sfs(const Kel32f* pSrc, Kel16s* pDst, int len, int roundMode, int scaleFactor);
KELSC_API KelStatus kelsConvert_32f32s_Sfs(const Kel32f* pSrc, Kel32s* pDst, int len, int roundMode, int scaleFactor);

/* Fill and copy. */
KELSC_API KelStatus kelsZero_8u(Kel8u* pDst, int len);
KELSC_API KelStatus kelsZero_16s(Kel16s* pDst, int len);
KELSC_API KelStatus kelsZero_16sc(Kel16sc* pDst, int len);
KELSC_API KelStatus kelsZero_32s(Kel32s* pDst, int len);
KELSC_API KelStatus kelsZero_32f(Kel32f* pDst, int len);
KELSC_API KelStatus kelsSet_16s(Kel16s val, Kel16s* pDst, int len);
KELSC_API KelStatus kelsSet_32s(Kel32s val, Kel32s* pDst, int len);
/* Copy: pSrc and pDst must not overlap. */
KELSC_API KelStatus kelsCopy_16s(const Kel16s* pSrc, Kel16s* pDst, int len);
KELSC_API KelStatus kelsCopy_32f(const Kel32f* pSrc, Kel32f* pDst, int len);
/* Move: pSrc and pDst may overlap. */
KELSC_API KelStatus kelsMove_16s(const Kel16s* pSrc, Kel16s* pDst, int len);
KELSC_API KelStatus kelsMove_32f(const Kel32f* pSrc, Kel32f* pDst, int len);

/* G.711 companding, as the ITU-T G.191 reference coder. The encoders take
   full 16-bit linear samples (u-law uses the top 14 bits, A-law the top 13);
   the expanders return 16-bit linear samples. Codes are one per byte. */
KELSC_API KelStatus kelsLinToMuLaw_16s8u(const Kel16s* pSrc, Kel8u* pDst, int len);
KELSC_API KelStatus kelsLinToALaw_16s8u(const Kel16s* pSrc, Kel8u* pDst, int len);
KELSC_API KelStatus kelsMuLawToLin_8u16s(const Kel8u* pSrc, Kel16s* pDst, int len);
KELSC_API KelStatus kelsALawToLin_8u16s(const Kel8u* pSrc, Kel16s* pDst, int len);

/* ------------------------------------------------------------------------ */
/* Correlation, convolution and LP filters. Sums are formed in the word     */
/* each function names: "wrapping" (32-bit two's complement, no             */
/* saturation), "64-bit" (exact, limited once at the end) or "stepwise"     */
/* (saturated after every product, as L_mac). "History": samples the        */
/* function reads before the pointer it is given (only read, never          */
/* written); the caller places them there. Sources and destinations must    */
/* not overlap unless the function works in place.                          */
/* ------------------------------------------------------------------------ */

/* r[k] = sum over i < len - k of x[i] * x[i + k], wrapping, k < lagCount
   (0 when len - k <= 0). pSrc: [len], pDst: [lagCount]. */
KELSC_API KelStatus kelsAutoCorr_16s32s(const Kel16s* pSrc, int len, Kel32s* pDst, int lagCount);
/* Normalised autocorrelation for LP analysis. E = sum of x[i]^2 in 64 bits,
   saturated to 32 bits. E > 1073741823 returns kelStatusOverflow with
   nothing written (scale the input down and call again). Else r0 = 2E + 1,
   n = left shifts normalising r0, pDst[0] = r0 << n, *pNorm = n (0..30), and
   for k >= 1 pDst[k] = (sum over i < len - k of x[i] * x[i + k], wrapping)
   shifted left by n + 1 with 32-bit saturation. The G.729 Autocorr on a
   windowed frame. pSrc: [len], pDst: [lagCount]. */
KELSC_API KelStatus kelsAutoCorr_NormE_16s32s(const Kel16s* pSrc, int len, Kel32s* pDst, int lagCount, int* pNorm);
/* As above with 16-bit results: E (64 bits) saturated to 2147483647,
   r0 = 2E (2147483647 when E >= 2^30; no + 1), n normalises r0 (0 for
   r0 = 0), *pNorm = n, pDst[0] = round(r0 << n); for k >= 1 the 64-bit lag
   sum shifted left by n + 1, saturated to 32 bits and rounded. round(v) is
   32767 for v >= 2147450880, else (v + 32768) >> 16. Never an overflow. */
KELSC_API KelStatus kelsAutoCorr_NormE_NR_16s(const Kel16s* pSrc, int len, Kel16s* pDst, int lagCount, int* pNorm);

/* c[k] = sum over i < len - k of pSrc1[i] * pSrc2[i + k], wrapping,
   k = 0..len-1; stored as c >> sf (arithmetic, truncating; sf > 31 acts as
   31) for sf >= 0 and c << -sf (wrapping; -sf > 31 gives 0) for sf < 0.
   Any sf is accepted. All [len]. */
KELSC_API KelStatus kelsCrossCorr_16s32s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel32s* pDst,
                                             int scaleFactor);
/* c[k] = sum over i < len of pSrc1[i] * pSrc2[i + k], wrapping, k < lagCount;
   pDst[k] = (c + 16384) >> 15 (wrapping addition) stored as 16 bits without
   saturation. pSrc1: [len], pSrc2: [len + lagCount - 1], pDst: [lagCount]. */
KELSC_API KelStatus kelsCrossCorr_NR_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel16s* pDst, int lagCount);
/* c[k] = 2 * (sum over i < len - k of pSrc1[i] * pSrc2[i + k]), wrapping,
   k = 0..len-1; m = the largest |c[k]| (|-2^31| counts as 2147483647),
   n = its normalising shift limited to 16 (0 for m = 0);
   pDst[k] = c[k] >> (18 - n) as 16 bits: the peak lands just below 2^13
   (G.729 Cor_h_X with pSrc1 the impulse response). All [len]. */
KELSC_API KelStatus kelsCrossCorr_NormM_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, int len, Kel16s* pDst);

/* Lag search, lags maxLag down to 0: c = sum over i < len of
   pSrc[i] * pSrc2[i + lag] in 64 bits saturated to 32 bits (as
   kelsDotProd_16s32s_Sfs with sf 0). *pMax starts at 0 and *pIndex at
   maxLag; a lag replaces the best only if strictly greater, so among equal
   maxima the largest lag wins and with no positive correlation the result
   is 0 at maxLag. maxLag < 0: kelStatusOutOfRange. pSrc: [len],
   pSrc2: [len + maxLag]. */
KELSC_API KelStatus kelsCrossCorrLagMax_16s(const Kel16s* pSrc, const Kel16s* pSrc2, int len, int maxLag, Kel32s* pMax,
                                            int* pIndex);
/* Lag search, lags lagMin..lagMax ascending (both included): s = sum over
   i < len of x[i] * x[i + lag], wrapping; the first lag with the strictly
   largest s wins (ties keep the smaller lag); *pMax = 2s with saturated
   doubling. lagMin > lagMax gives *pMax = -2147483648 and *pIndex = 0.
   pSrc: [len + lagMax]. Lags are not checked. */
KELSC_API KelStatus kelsAutoCorrLagMax_Fwd_16s(const Kel16s* pSrc, int len, int lagMin, int lagMax, Kel32s* pMax,
                                               int* pIndex);
/* As kelsAutoCorrLagMax_Fwd_16s with s = sum over i < len of
   x[i] * x[i - lag] (the G.729 open-loop pitch search Lag_max).
   History: lagMax samples before pSrc. */
KELSC_API KelStatus kelsAutoCorrLagMax_Inv_16s(const Kel16s* pSrc, int len, int lagMin, int lagMax, Kel32s* pMax,
                                               int* pIndex);
/* Float lag search, lags lagMin..lagMax-1 (upper bound excluded): s = sum
   over i < len of x[i] * x[i - lag] in double precision; strictly greater
   replaces (ties keep the smaller lag); *pMax = (float)s. lagMin >= lagMax
   gives *pMax = -3.4028235e38 and *pIndex = 0. History: lagMax - 1 samples
   before pSrc. */
KELSC_API KelStatus kelsAutoCorrLagMax_32f(const Kel32f* pSrc, int len, int lagMin, int lagMax, Kel32f* pMax,
                                           int* pIndex);
/* Float lag search, lags maxLag down to 0: s = sum over i < len of
   pSrc[i] * pSrc2[i + lag] in double precision; the best starts at
   -3.4028234663852886e38 with index 0; strictly greater replaces, so ties
   keep the larger lag. maxLag < 0: kelStatusOutOfRange. pSrc2: [len + maxLag]. */
KELSC_API KelStatus kelsCrossCorrLagMax_32f64f(const Kel32f* pSrc, const Kel32f* pSrc2, int len, int maxLag,
                                               Kel64f* pMax, int* pIndex);

/* Partial convolution y[n] = sum over k = 0..n of pSrc1[k] * pSrc2[n - k],
   wrapping, n < len. All [len]. */
KELSC_API KelStatus kelsConvPartial_16s32s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel32s* pDst, int len);
/* The same sum >> sf (arithmetic; sf > 31 acts as 31) stored as 16 bits
   without rounding or saturation (G.729 Convolve with sf 12 and a Q12
   impulse response, where that does not saturate). Checks pointers, then
   sf < 0 as kelStatusBadArgument, then len < 1: a deliberate exception to
   the common order and code. */
KELSC_API KelStatus kelsConvPartial_16s_Sfs(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len,
                                            int scaleFactor);
/* (sum + 16384) >> 15 of the wrapping sum (wrapping addition), stored as 16
   bits without saturation. */
KELSC_API KelStatus kelsConvPartial_NR_Low_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len);
/* Stepwise: acc = L_mac(acc, pSrc1[k], pSrc2[n - k]) for k = 0..n (doubled
   products, saturated after each step), then round(acc) as
   kelsAutoCorr_NormE_NR_16s rounds. */
KELSC_API KelStatus kelsConvPartial_NR_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len);

/* 10th-order LP synthesis 1/A(z). pLPC: a[0..10] (a[0] multiplies the input;
   4096 for Q12 coefficients with sf 12). sf must be 12 or 13
   (kelStatusBadScale otherwise). y[n] = (a[0] * x[n] - sum over k = 1..10
   of a[k] * y[n - k] + 2^(sf-1)) >> sf, wrapping sums. pMem: the 10 past
   outputs, oldest first (pMem[9] = y[-1]); only read, never updated, so
   the caller keeps the last 10 outputs itself. pMem null means zero history;
   then each output is stored as 16 bits without saturation and the status
   is 0. With pMem, each output is saturated to 16 bits and
   kelStatusOverflow is returned if any was. In place: pSrcDst [len]. */
KELSC_API KelStatus kelsSynthesisFilter_NR_16s_ISfs(const Kel16s* pLPC, Kel16s* pSrcDst, int len, int scaleFactor,
                                                    const Kel16s* pMem);
/* As kelsSynthesisFilter_NR_16s_ISfs out of place (pSrc may equal pDst). */
KELSC_API KelStatus kelsSynthesisFilter_NR_16s_Sfs(const Kel16s* pLPC, const Kel16s* pSrc, Kel16s* pDst, int len,
                                                   int scaleFactor, const Kel16s* pMem);
/* As kelsSynthesisFilter_NR_16s_ISfs without saturation (outputs stored as
   16 bits), always returning 0. */
KELSC_API KelStatus kelsSynthesisFilterLow_NR_16s_ISfs(const Kel16s* pLPC, Kel16s* pSrcDst, int len, int scaleFactor,
                                                       const Kel16s* pMem);
/* Impulse response of 1/A(z) from zero state: h[0] = a[0] (unshifted),
   h[n] = (-sum over k = 1..min(n, 10) of a[k] * h[n - k] + 2^(sf-1)) >> sf,
   wrapping, stored as 16 bits without saturation. sf 12 or 13. pDst: [len]. */
KELSC_API KelStatus kelsSynthesisFilterZeroStateResponse_NR_16s(const Kel16s* pLPC, Kel16s* pDst, int len,
                                                                int scaleFactor);

/* LP residual A(z): e[n] = (sum over k = 0..order of a[k] * x[n - k]
   + 2^(sf-1)) >> sf (no rounding term for sf 0), with a wrapping 32-bit sum
   and rounding addition, then saturated to 16 bits. pLPC: [order + 1];
   history: order samples before pSrc. Checks: order < 1, len < 1 or
   len < order (kelStatusBadSize); sf outside 0..15 (kelStatusBadScale).
   pSrc and pDst must not overlap. */
KELSC_API KelStatus kelsResidualFilter_Low_16s_Sfs(const Kel16s* pLPC, int order, const Kel16s* pSrc, Kel16s* pDst,
                                                   int len, int scaleFactor);

/* Harmonic (pitch) comb, in place and in order: pSrcDst[n] +=
   (pSrcDst[n - T] * val) >> 15, stored as 16 bits without saturation. From
   n = T on the term reads an already filtered sample (recursive); before
   that it reads the T samples of history before pSrcDst. val: Q15 gain.
   T is not checked. */
KELSC_API KelStatus kelsHarmonicFilter_16s_I(Kel16s val, int T, Kel16s* pSrcDst, int len);
/* pDst[n] = (pSrc[n - T] * val + pSrc[n] * 32768 + 16384) >> 15 (wrapping
   32-bit sum), stored as 16 bits; non-recursive. History: T samples before
   pSrc. */
KELSC_API KelStatus kelsHarmonicFilter_NR_16s(Kel16s val, int T, const Kel16s* pSrc, Kel16s* pDst, int len);
/* pSrcDst[n] = pSrcDst[n] + val * pSrcDst[n - T], in place and in order
   (recursive like the 16-bit form). History: T samples before pSrcDst. */
KELSC_API KelStatus kelsHarmonicFilter_32f_I(Kel32f val, int T, Kel32f* pSrcDst, int len);

/* Pre-emphasis y[n] = x[n] - val * x[n - 1] in place, with x[-1] = *pMem;
 *pMem is then set to the last input sample x[len - 1]. */
KELSC_API KelStatus kelsPreemphasize_32f_I(Kel32f val, Kel32f* pSrcDst, int len, Kel32f* pMem);

/* Weighted sum pDst[i] = sat16((t1 + t2 + r) >> (16 - s)), s = min(sf1, sf2):
   t = pSrc[i] * val, the term with the larger scale shifted left by
   |sf1 - sf2|; r = 2^(15 - s). A scale sf means that val carries the
   factor 2^(sf - 16) (Q(16 - sf)); for s >= 16 the exact sum is multiplied
   by 2^(s - 16) with saturation. Exact (64-bit) arithmetic. sf1 < 0 or
   sf2 < 0: kelStatusBadScale. All [len]. */
KELSC_API KelStatus kelsInterpolateC_NR_16s(const Kel16s* pSrc1, Kel16s val1, int sf1, const Kel16s* pSrc2, Kel16s val2,
                                            int sf2, Kel16s* pDst, int len);

/* ------------------------------------------------------------------------ */
/* Real FFT                                                                 */
/* ------------------------------------------------------------------------ */
/* Real-input FFT of N = 2^order samples, order 0..30, in single precision,
 * and 16-bit/32-bit forms that convert around the float transform.
 *
 * Scaling: forward X[k] = f * sum over n of x[n] exp(-2 pi i n k / N);
 * inverse x[n] = g * sum over the full Hermitian spectrum of
 * X[k] exp(+2 pi i n k / N), with f and g set by the flag given at Init:
 *     kelFftDivFwdByN  (1): f = 1/N,       g = 1
 *     kelFftDivInvByN  (2): f = 1,         g = 1/N
 *     kelFftDivBySqrtN (4): f = 1/sqrt(N), g = 1/sqrt(N)
 *     kelFftNoDiv      (8): f = 1,         g = 1
 * Flags 1, 2 and 4 make forward-then-inverse the identity (within float
 * rounding); flag 8 returns N times the input. Any other value is refused
 * with kelStatusBadFftFlag.
 *
 * Packing (X[0] and X[N/2] of real input are real):
 *  - CCS, N + 2 values: Re X[0], 0, Re X[1], Im X[1], ..., Re X[N/2], 0.
 *    N = 1: the two values x[0], 0.
 *  - Perm, N values: Re X[0], Re X[N/2], Re X[1], Im X[1], ...,
 *    Re X[N/2 - 1], Im X[N/2 - 1]. N = 1: x[0].
 *  The inverse reads neither Im X[0] nor Im X[N/2] (pSrc[1], pSrc[N + 1]).
 *
 * FFT blocks (KelFFTSpec_...): GetSize gives three sizes in bytes (block, init
 * scratch, work buffer); the caller allocates the block and, for orders
 * >= 4, the init scratch (at any alignment), and Init builds the block at
 * the first 16-byte boundary of pMemSpec and returns that address in
 * *ppSpec. The scratch may be freed after Init; the block needs no release
 * of its own. A block holds no pointers (a copy at another 16-byte boundary
 * works the same). Transforms only read the block, so one block may serve
 * several threads at once, each with its own work buffer (or a null one).
 * Float blocks carry the identity tag 6, 16-bit blocks 1280136039; a
 * transform given the other kind returns kelStatusBadContext.
 *
 * Sizes in bytes, N = 2^order, M = N / 2:
 *   float block:    96 for order < 4, else
 *                   96 * ceil(M / 16) + 32 * ceil(2N / 16) + 96
 *   float scratch:  0 for order < 4, else ((N + 19) & ~15) + 16
 *   float work:     0 for order < 4, else 8N + 80
 *   16-bit block:   float block + 48
 *   16-bit scratch: float scratch, plus 16 when not 0
 *   16-bit work:    float work + 4N + 24
 * Orders 28..30 need more than an int can count: their size queries and
 * inits return kelStatusNoMemory (after every other check).
 *
 * Work buffers: a buffer of the reported size, at any alignment (used from
 * its first 16-byte boundary), serves one call at a time. pBuffer may be
 * null: the transform then allocates its work buffer with kelsMalloc_8u and
 * frees it before returning (kelStatusNoMemory when that fails); the float
 * transforms of orders < 4 need none.
 *
 * Aliasing: the float transforms work in place when pSrc == pDst; otherwise
 * source and destination must not overlap. The 16-bit forms read all of
 * pSrc before writing pDst, so any overlap is allowed. Data need no
 * particular alignment.
 *
 * Argument checks, first failure returned, nothing written on failure: the
 * size queries check the order (kelStatusBadFftOrder) before their
 * pointers; the transforms check pSpec (kelStatusNullPointer) and its tag
 * (kelStatusBadContext) before pSrc and pDst, then the allocation of a work
 * buffer (kelStatusNoMemory). */

/* Opaque FFT blocks: tables and settings of one order and flag. */
typedef struct KelFFTSpec_R_32f KelFFTSpec_R_32f;
typedef struct KelFFTSpec_R_16s32s KelFFTSpec_R_16s32s;

/* Normalisation flags. */
enum {
    kelFftDivFwdByN = 1,  /* forward times 1/N */
    kelFftDivInvByN = 2,  /* inverse times 1/N */
    kelFftDivBySqrtN = 4, /* both times 1/sqrt(N) */
    kelFftNoDiv = 8       /* neither scaled */
};

/* Sizes for a float block of the given order (formulas above).
   order: 0..30, checked before the pointers (kelStatusBadFftOrder).
   flag, hint: not checked; the sizes do not depend on them.
   pSpecSize: out, bytes of the block.
   pSpecBufferSize: out, bytes of the init scratch (0: none needed).
   pBufferSize: out, bytes of a transform's work buffer (0: none needed). */
KELSC_API KelStatus kelsFFTGetSize_R_32f(int order, int flag, int hint, int* pSpecSize, int* pSpecBufferSize,
                                         int* pBufferSize);
/* As kelsFFTGetSize_R_32f for a 16-bit block. */
KELSC_API KelStatus kelsFFTGetSize_R_16s32s(int order, int flag, int hint, int* pSpecSize, int* pSpecBufferSize,
                                            int* pBufferSize);

/* Builds a float block.
   ppSpec: out, the block (the first 16-byte boundary of pMemSpec).
   order: 0..30 (kelStatusBadFftOrder).
   flag: kelFftDivFwdByN, kelFftDivInvByN, kelFftDivBySqrtN or kelFftNoDiv
         (kelStatusBadFftFlag).
   hint: stored in the block, not used (pass 0).
   pMemSpec: the block's memory, of the reported size, any alignment.
   pMemInit: scratch of the reported size, any alignment; required for
             order >= 4 (kelStatusNullPointer), not read below.
   Checks ppSpec, order, pMemSpec, flag, pMemInit in that order. */
KELSC_API KelStatus kelsFFTInit_R_32f(KelFFTSpec_R_32f** ppSpec, int order, int flag, int hint, Kel8u* pMemSpec,
                                      Kel8u* pMemInit);
/* As kelsFFTInit_R_32f for the 16-bit transforms (a 24-byte header and a
   float block of the same order and flag). */
KELSC_API KelStatus kelsFFTInit_R_16s32s(KelFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint, Kel8u* pMemSpec,
                                         Kel8u* pMemInit);

/* *pSize = the work-buffer bytes of the float transforms with this block
   (0: none needed), the value kelsFFTGetSize_R_32f reports.
   Checks pSpec and pSize (kelStatusNullPointer), then the tag. */
KELSC_API KelStatus kelsFFTGetBufSize_R_32f(const KelFFTSpec_R_32f* pSpec, int* pSize);

/* Forward transform of N real samples to CCS.
   pSrc: in, [N]. pDst: out, [N + 2] (2 for N = 1). pSpec: a float block.
   pBuffer: work buffer or null (see above). pSrc may equal pDst. */
KELSC_API KelStatus kelsFFTFwd_RToCCS_32f(const Kel32f* pSrc, Kel32f* pDst, const KelFFTSpec_R_32f* pSpec,
                                          Kel8u* pBuffer);
/* Forward transform of N real samples to Perm. pSrc: in, [N]. pDst: out, [N]. */
KELSC_API KelStatus kelsFFTFwd_RToPerm_32f(const Kel32f* pSrc, Kel32f* pDst, const KelFFTSpec_R_32f* pSpec,
                                           Kel8u* pBuffer);
/* Inverse transform of a CCS spectrum to N real samples.
   pSrc: in, [N + 2] CCS (pSrc[1] and pSrc[N + 1] not read). pDst: out, [N]. */
KELSC_API KelStatus kelsFFTInv_CCSToR_32f(const Kel32f* pSrc, Kel32f* pDst, const KelFFTSpec_R_32f* pSpec,
                                          Kel8u* pBuffer);

/* Forward transform of N 16-bit samples to a 32-bit CCS spectrum: the float
   Perm transform of the samples, each result times 2^-scaleFactor, rounded
   to nearest with halves away from zero and saturated to 32 bits (as
   kelsConvert_32f32s_Sfs with roundMode 1), then packed as CCS.
   pSrc: in, [N]. pDst: out, [N + 2] (2 for N = 1). pSpec: a 16-bit block. */
KELSC_API KelStatus kelsFFTFwd_RToCCS_16s32s_Sfs(const Kel16s* pSrc, Kel32s* pDst, const KelFFTSpec_R_16s32s* pSpec,
                                                 int scaleFactor, Kel8u* pBuffer);
/* Inverse transform of a 32-bit CCS spectrum to N 16-bit samples: the
   first N + 1 values converted to float, the float inverse, each result
   times 2^-scaleFactor, rounded halves away from zero and saturated to 16
   bits (as kelsConvert_32f16s_Sfs with roundMode 1).
   pSrc: in, [N + 1] used of the N + 2 CCS values. pDst: out, [N]. */
KELSC_API KelStatus kelsFFTInv_CCSToR_32s16s_Sfs(const Kel32s* pSrc, Kel16s* pDst, const KelFFTSpec_R_16s32s* pSpec,
                                                 int scaleFactor, Kel8u* pBuffer);

/* ------------------------------------------------------------------------ */
/* G.726 ADPCM                                                              */
/* ------------------------------------------------------------------------ */
/* The complete ITU-T G.726 coder at 16, 24, 32 and 40 kbit/s, sample by
 * sample, bit-exact with the fixed-point description of the Recommendation
 * (as the ITU-T G.191 reference computes it).
 *
 * Rates: kelSpeechRate16000, kelSpeechRate24000, kelSpeechRate32000 and
 * kelSpeechRate40000, with 2, 3, 4 and 5 bits per code word.
 * Code words: one per byte, right-aligned (bits 0..n-1 for an n-bit rate, the
 * sign in bit n-1); the bits above n-1 are zero. Packing several code words
 * into a byte is the caller's business.
 * Linear samples: 14-bit uniform PCM in a Kel16s, -8192..8191 (not scaled to
 * 16 bits).
 *
 * State blocks live in caller memory of the size the GetStateSize functions
 * report (88 bytes for the encoder, 92 for the decoder), at any alignment,
 * and are set up by the Init functions; they hold no pointers and may be
 * copied byte for byte. The first 16 bytes of each are reserved: no function
 * reads or writes them. The coding functions do not validate a state block.
 * Calling order: GetStateSize, allocate, Init, then Encode or Decode on
 * consecutive blocks of any length; the output does not depend on how the
 * signal is cut into blocks. A new rate or law needs a new Init.
 *
 * Encode and Decode reject a zero length with kelStatusBadSize but return
 * kelStatusOk for a negative length, without processing anything or touching
 * the state. */

/* Opaque state blocks. */
typedef struct KelG726EncoderState KelG726EncoderState;
typedef struct KelG726DecoderState KelG726DecoderState;

/* Decoder output law. */
enum {
    kelPcmMuLaw = 0, /* G.711 mu-law code words */
    kelPcmALaw = 1,  /* G.711 A-law code words */
    kelPcmLinear = 2 /* 14-bit uniform PCM */
};

/* *pSize = 88, the size in bytes of an encoder state block.
   pSize: out, one Kel32u. */
KELSC_API KelStatus kelsEncodeGetStateSize_G726_16s8u(Kel32u* pSize);

/* Resets an encoder state block to the standard's initial state for the
   given rate.
   pEncState: out, a state block of the reported size (any alignment).
   rate: kelSpeechRate16000, 24000, 32000 or 40000; any other value gives
         kelStatusOutOfRange and leaves the block untouched. */
KELSC_API KelStatus kelsEncodeInit_G726_16s8u(KelG726EncoderState* pEncState, int rate);

/* Encodes len samples into len code words and updates the state.
   pEncState: in/out, a state block set up by kelsEncodeInit_G726_16s8u.
   pSrc: in, [len] 14-bit uniform PCM samples (-8192..8191); a caller with
         G.711 input expands it first (the library's expanders give 16-bit
         values: shift them right by 2).
   pDst: out, [len] code words, one per byte, right-aligned.
   len: number of samples; 0 gives kelStatusBadSize, a negative value
        returns kelStatusOk and processes nothing. */
KELSC_API KelStatus kelsEncode_G726_16s8u(KelG726EncoderState* pEncState, const Kel16s* pSrc, Kel8u* pDst, int len);

/* *pSize = 92, the size in bytes of a decoder state block.
   pSize: out, one Kel32u. */
KELSC_API KelStatus kelsDecodeGetStateSize_G726_8u16s(Kel32u* pSize);

/* Resets a decoder state block to the standard's initial state for the
   given rate and output law.
   pDecState: out, a state block of the reported size (any alignment).
   rate: kelSpeechRate16000, 24000, 32000 or 40000 (else kelStatusOutOfRange).
   law: kelPcmMuLaw, kelPcmALaw or kelPcmLinear (else kelStatusOutOfRange).
        The rate is checked first; on failure the block is left untouched. */
KELSC_API KelStatus kelsDecodeInit_G726_8u16s(KelG726DecoderState* pDecState, int rate, int law);

/* Decodes len code words into len samples and updates the state.
   pDecState: in/out, a state block set up by kelsDecodeInit_G726_8u16s.
   pSrc: in, [len] code words, one per byte, right-aligned. The decoder masks
         off the bits above the rate's code-word width, so any byte value is
         safe: it never reads outside its tables.
   pDst: out, [len] samples. kelPcmLinear: 14-bit uniform PCM, -8192..8191.
         kelPcmMuLaw, kelPcmALaw: the G.711 code word (0..255) in the low
         byte, after the synchronous coding adjustment of G.726 4.2.8: a
         G.726 encoder fed with these samples gives back the same code
         words (synchronous tandem coding).
   len: number of code words; 0 gives kelStatusBadSize, a negative value
        returns kelStatusOk and processes nothing. */
KELSC_API KelStatus kelsDecode_G726_8u16s(KelG726DecoderState* pDecState, const Kel8u* pSrc, Kel16s* pDst, int len);

/* ------------------------------------------------------------------------ */
/* G.722 sub-band ADPCM and QMF                                             */
/* ------------------------------------------------------------------------ */
/* ITU-T G.722 7 kHz audio coding at 64, 56 and 48 kbit/s as two separable
 * stages, bit-exact with the fixed-point description of the Recommendation
 * (as the ITU-T G.191 reference computes it): the 24-tap quadrature mirror
 * filter pair, which splits 16 kHz audio into a lower and a higher band at
 * 8 kHz and joins them again, and the sub-band ADPCM coder of the two bands
 * (quantizers, inverse quantizers, scale-factor adaptation and the adaptive
 * two-pole, six-zero predictor of each band).
 *   Encoder: kelsQMFEncode_G722_16s, then kelsSBADPCMEncode_G722_16s.
 *   Decoder: kelsSBADPCMDecode_G722_16s, then kelsQMFDecode_G722_16s.
 * The mode-dependent framing of the 64 kbit/s octets (auxiliary data in the
 * low bits at 56 and 48 kbit/s) is the caller's business.
 *
 * Lengths: len counts Kel16s elements, two per 8 kHz instant, and must be
 * >= 1 and even (else kelStatusBadSize, nothing written). Blocks of any even
 * length may follow each other: the result does not depend on the cut.
 * Band signals: interleaved, element 2k the lower-band sample (XL, RL) and
 * element 2k + 1 the higher-band sample (XH, RH) of instant k; 15-bit
 * values, -16384..16383.
 * Code words: interleaved, element 2k the 6-bit lower-band code ILR (0..63;
 * at 56 and 48 kbit/s its upper 5 and 4 bits carry the band) and element
 * 2k + 1 the 2-bit higher-band code IH (0..3), one per element,
 * right-aligned. The transmitted octet is IH << 6 | ILR. The decoder uses
 * ILR & 63 and IH & 3 only, so any value is safe: it never reads outside its
 * tables.
 *
 * QMF delay lines: a caller-owned array of 24 Kel16s per direction (one for
 * the encoder, one for the decoder), zeroed before the first call, holding
 * the G.722 filter's delay line: positions 2..23 the last eleven input
 * pairs, newest first (the encoder's second input sample of a pair before
 * its first; the decoder's RL - RH before RL + RH), positions 0 and 1 a copy
 * of the newest pair.
 *
 * ADPCM state blocks: caller memory of the size the StateSize functions
 * report (144 bytes), at any alignment. Every function places the state at
 * the first 16-byte boundary inside the block and uses 128 bytes from there
 * (so the size includes 16 bytes of slack). The state holds no pointers; a
 * byte copy carries on the stream only at the same address modulo 16. There
 * is no identity tag and the coding functions do not validate the block. */

/* Opaque state blocks. */
typedef struct KelG722EncoderState KelG722EncoderState;
typedef struct KelG722DecoderState KelG722DecoderState;

/* Transmit QMF: splits 16 kHz samples into interleaved band samples.
   pSrc: in, [len] 16-bit samples at 16 kHz; pair k = pSrc[2k], pSrc[2k + 1].
   pDst: out, [len] interleaved XL, XH (15-bit) at 8 kHz, one pair per input
         pair. May be pSrc itself; must not otherwise overlap it.
   len: even, >= 2.
   pDelay: in/out, [24] the encoder's QMF delay line (zeroed before the
           first call). */
KELSC_API KelStatus kelsQMFEncode_G722_16s(const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pDelay);

/* Receive QMF: joins interleaved reconstructed band samples into 16 kHz
   samples (RL + RH and RL - RH enter the filter saturated to 16 bits; each
   output is saturated to 16 bits).
   pSrc: in, [len] interleaved RL, RH (15-bit).
   pDst: out, [len] 16-bit samples at 16 kHz, two per input pair. May be
         pSrc itself; must not otherwise overlap it.
   len: even, >= 2.
   pDelay: in/out, [24] the decoder's QMF delay line (zeroed before the
           first call). */
KELSC_API KelStatus kelsQMFDecode_G722_16s(const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pDelay);

/* *pSize = 144, the size in bytes of an encoder state block.
   pSize: out, one Kel32u. */
KELSC_API KelStatus kelsSBADPCMEncodeStateSize_G722_16s(Kel32u* pSize);

/* *pSize = 144, the size in bytes of a decoder state block.
   pSize: out, one Kel32u. */
KELSC_API KelStatus kelsSBADPCMDecodeStateSize_G722_16s(Kel32u* pSize);

/* Resets an encoder state block: DETL = 32, DETH = 8, all other variables 0.
   pEncState: out, a block of the reported size (any alignment). */
KELSC_API KelStatus kelsSBADPCMEncodeInit_G722_16s(KelG722EncoderState* pEncState);

/* Resets a decoder state block, as the encoder's.
   pDecState: out, a block of the reported size (any alignment). */
KELSC_API KelStatus kelsSBADPCMDecodeInit_G722_16s(KelG722DecoderState* pDecState);

/* Sub-band ADPCM encoder: codes len / 2 instants.
   pSrc: in, [len] interleaved XL, XH (15-bit, -16384..16383).
   pDst: out, [len] interleaved code words ILR (0..63), IH (0..3).
   len: even, >= 2.
   pEncState: in/out, a block set up by kelsSBADPCMEncodeInit_G722_16s. */
KELSC_API KelStatus kelsSBADPCMEncode_G722_16s(const Kel16s* pSrc, Kel16u* pDst, int len,
                                               KelG722EncoderState* pEncState);

/* Sub-band ADPCM decoder: decodes len / 2 instants. The predictors and the
   scale factors always run on the 4-bit code ILR >> 2 and IH, as G.722
   requires, so the state evolves alike in every mode; the mode chooses the
   lower band's output inverse quantizer only.
   pSrc: in, [len] interleaved code words ILR, IH (masked to 6 and 2 bits).
   pDst: out, [len] interleaved RL, RH (15-bit).
   len: even, >= 2.
   mode: 1 = 64 kbit/s (6-bit ILR), 2 = 56 kbit/s (ILR >> 1), any other
         value = 48 kbit/s (ILR >> 2); not checked.
   pDecState: in/out, a block set up by kelsSBADPCMDecodeInit_G722_16s. */
KELSC_API KelStatus kelsSBADPCMDecode_G722_16s(const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s mode,
                                               KelG722DecoderState* pDecState);

/* ------------------------------------------------------------------------ */
/* GSM full rate (GSM 06.10 RPE-LTP)                                        */
/* ------------------------------------------------------------------------ */
/* The signal-processing steps of the GSM 06.10 full-rate speech codec in
 * its 16-bit fixed-point arithmetic, bit-exact with the Recommendation's
 * reference (apart from the wrapping additions of the offset compensation,
 * see there). Rounded products are mult_r(a, b) = (a * b + 16384) >> 15 and
 * 16-bit additions saturate, as GSM 06.10 defines them.
 *
 * The frame bookkeeping is the caller's: LAR coding, decoding and
 * interpolation, long-term prediction, RPE grid selection and APCM
 * quantisation, parameter packing. A GSM 06.10 coder calls, per 160-sample
 * frame:
 *   encoder: kelsHighPassFilter_GSMFR_16s, kelsPreemphasize_GSMFR_16s, the
 *            autocorrelation (kelsAutoCorr_16s32s, doubled),
 *            kelsSchur_GSMFR_32s16s, kelsShortTermAnalysisFilter_GSMFR_16s_I
 *            once per interpolated coefficient set (13, 14, 13, 120
 *            samples); per 40-sample sub-segment the LTP lag search
 *            (kelsCrossCorrLagMax_16s with maxLag 80 over the 120 past
 *            samples, lag 120 - index), kelsWeightingFilter_GSMFR_16s and,
 *            for the local decoder, kelsRPEQuantDecode_GSMFR_16s;
 *   decoder: kelsRPEQuantDecode_GSMFR_16s per sub-segment,
 *            kelsShortTermSynthesisFilter_GSMFR_16s per coefficient set,
 *            kelsDeemphasize_GSMFR_16s_I.
 *
 * Memories are small caller-owned arrays, zeroed at the start of a stream
 * and passed to every call; the output does not depend on how a signal is
 * cut into calls. Reflection coefficients are Q15. Unless stated, a source
 * may be its destination but must not otherwise overlap it. */

/* Memory of the offset compensation (kelsHighPassFilter_GSMFR_16s); zero
   both fields at the start of a stream. */
typedef struct KelHighPassMem_GSMFR {
    Kel32s lz2; /* L_z2: the recursive part's 32-bit state (about 2^15 times the last output) */
    Kel16s z1;  /* z1: the last scaled input sample */
} KelHighPassMem_GSMFR;

/* GSM 06.10 4.2.5: reflection coefficients from autocorrelations by the
   Schur recursion in 16-bit arithmetic. R[0] = 0 gives order zeros.
   Otherwise R[0..order] are normalised by the left shift that normalises
   R[0] (the upper 16 bits of each shifted value are kept) and the
   recursion runs; when at step i |P[1]| exceeds P[0], coefficients
   i..order-1 are set to 0. The first k coefficients of any order are those
   of order k.
   pSrcAutoCorr: in, [order + 1] autocorrelations R[0..order] (GSM 06.10
                 4.2.4's L_ACF: twice the sums of products).
   pDstRC: out, [order] reflection coefficients r[1..order], Q15, each in
           -32767..32767.
   order: 1..8 (0, negative or above 8: kelStatusBadSize). */
KELSC_API KelStatus kelsSchur_GSMFR_32s16s(const Kel32s* pSrcAutoCorr, Kel16s* pDstRC, int order);

/* GSM 06.10 4.2.10: short-term analysis (lattice) filter, in place. Per
   sample: d = sav = s; for i = 0..7: t = u[i]; u[i] = sav;
   sav = t + mult_r(r[i], d); d = d + mult_r(r[i], t); the sample becomes d.
   The products are stored as 16 bits without saturation (the reference's
   GSM_MULT_R: r[i] = u[i] = -32768 gives -32768).
   pRC: in, [8] reflection coefficients r[1..8], Q15.
   pSrcDst: in/out, [len] the signal s, replaced by the residual d.
   len: samples.
   pMem: in/out, [8] the lattice memory u[0..7]. */
KELSC_API KelStatus kelsShortTermAnalysisFilter_GSMFR_16s_I(const Kel16s* pRC, Kel16s* pSrcDst, int len, Kel16s* pMem);

/* GSM 06.10 4.2.13: RPE weighting (block) filter, no memory:
   y[k] = sat16((4096 + sum over j = 0..10 of H[j] * x[k - 5 + j]) >> 13),
   H = (-134, -374, 0, 2054, 5741, 8192, 5741, 2054, 0, -374, -134) (Q13).
   pSrc: in, [len] plus 5 readable samples before pSrc[0] and 5 after
         pSrc[len - 1] (GSM 06.10 zeroes e[-5..-1] and e[40..44]).
   pDst: out, [len]; must not overlap pSrc[-5 .. len + 4].
   len: samples (40 per RPE sub-segment). */
KELSC_API KelStatus kelsWeightingFilter_GSMFR_16s(const Kel16s* pSrc, Kel16s* pDst, int len);

/* GSM 06.10 4.2.3: pre-emphasis, y[k] = sat16(x[k] + mult_r(x[k - 1], -28180)).
   pSrc: in, [len]. pDst: out, [len] (may be pSrc).
   pMem: in/out, one Kel16s: x[-1] before the call, the last input x[len - 1]
         after it. */
KELSC_API KelStatus kelsPreemphasize_GSMFR_16s(const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pMem);

/* GSM 06.10 4.2.1 and 4.2.2: downscaling of the 13-bit input and offset
   compensation (high-pass filter), per sample: so = (x >> 3) << 2;
   s1 = so - z1 (as 16 bits); z1 = so; msp = bits 15..30 of L_z2 (as a
   signed 16-bit value), lsp = L_z2 & 32767;
   L_s2 = s1 * 2^15 + ((lsp * 32735 + 16384) >> 15); L_z2 = msp * 32735 + L_s2;
   y = bits 15..30 of L_z2 + 16384 (as a signed 16-bit value). The two 32-bit
   additions wrap where the reference saturates, deliberately; for 16-bit
   msp and s1 the sums never leave the 32-bit range, so the two agree for
   any signal and memory.
   pSrc: in, [len] 16-bit samples whose top 13 bits are the input (the lower
         3 bits are ignored). pDst: out, [len] (may be pSrc).
   pMem: in/out, the filter memory. */
KELSC_API KelStatus kelsHighPassFilter_GSMFR_16s(const Kel16s* pSrc, Kel16s* pDst, int len, KelHighPassMem_GSMFR* pMem);

/* GSM 06.10 4.2.16: APCM inverse quantisation of the 13 RPE pulses:
   xMp[i] = ((mult_r(mantFactor, (2 * xMc[i] - 7) << 12) + round) as a
   saturated 16-bit value) >> exp, with round = 2^(exp - 1) for exp 1..15
   (-32768 for exp 16), 0 for exp 0 and above 16, and shifts of 16 or more
   leaving the sign (0 or -1). For codes 0..7 this is
   (((2 * xMc[i] - 7) * mantFactor + 4) >> 3 + round) >> exp. Codes outside
   0..7 are not refused: (2 * xMc[i] - 7) << 12 is taken as 16 bits, as in
   the reference; no table is indexed by them.
   pSrc: in, [13] pulse codes xMc (0..7). pDst: out, [13] pulses xMp (may be
         pSrc).
   mantFactor: GSM 06.10 Table 4.6 FAC[mant] (Q15) of the block maximum's
               mantissa mant, which the caller looks up.
   exp: 6 - the exponent of the block maximum (0..10 from a valid xmaxc);
        negative: kelStatusBadScale. */
KELSC_API KelStatus kelsRPEQuantDecode_GSMFR_16s(const Kel16s* pSrc, Kel16s mantFactor, Kel16s exp, Kel16s* pDst);

/* GSM 06.10 4.3.5: de-emphasis with up-scaling, in place:
   msr = sat16(x + mult_r(msr, 28180)); the output is sat16(2 * msr) with
   its three least significant bits cleared (always a multiple of 8).
   pSrcDst: in/out, [len].
   pMem: in/out, one Kel16s: msr, the last de-emphasised sample before
         up-scaling. */
KELSC_API KelStatus kelsDeemphasize_GSMFR_16s_I(Kel16s* pSrcDst, int len, Kel16s* pMem);

/* GSM 06.10 4.3.4: short-term synthesis (lattice) filter. Per sample:
   sri = input; for i = 7 down to 0: sri = sri - mult_r(r[i], v[i]);
   v[i + 1] = v[i] + mult_r(r[i], sri); then v[0] = sri is the output. The
   products saturate (-32768 * -32768 gives 32767), as the reference's.
   pRC: in, [8] reflection coefficients r[1..8], Q15.
   pSrc: in, [len] the reconstructed short-term residual.
   pDst: out, [len] the synthesised signal (may be pSrc).
   len: samples.
   pMem: in/out, [9] the lattice memory v[0..8]. */
KELSC_API KelStatus kelsShortTermSynthesisFilter_GSMFR_16s(const Kel16s* pRC, const Kel16s* pSrc, Kel16s* pDst, int len,
                                                           Kel16s* pMem);

/* ------------------------------------------------------------------------ */
/* G.729 LP analysis and LSP quantisation                                   */
/* ------------------------------------------------------------------------ */
/* ITU-T G.729 clauses 3.2.1 to 3.2.6 (encoder LP analysis and LSP
 * quantisation), 4.1.1 and 4.4.1 (LSP decoding and its frame-erasure
 * path), with the annex A root search, the annex B comfort-noise (SID) LSF
 * quantiser and the annex E forward-mode quantiser, bit-exact with the
 * fixed-point reference code of G.729 Release 2, and the pre-processing
 * high-pass filter of 3.1 (also the post-processing filter of 4.2.5).
 *
 * Encoder frame (80 samples, LP window of 240 samples ending 40 samples
 * after the frame): kelsHighPassFilter_G729_16s_ISfs (scale 12) on the new
 * samples; kelsAutoCorr_G729B on the window (r[0..10] used);
 * kelsLagWindow_G729_32s_I on r[1..10]; kelsLevinsonDurbin_G729B (on
 * warning 12 keep the previous LP vector); kelsLPCToLSP_G729_16s with the
 * previous frame's LSPs; kelsLSPQuant_G729_16s. Decoder:
 * kelsLSFDecode_G729_16s (or kelsLSFDecodeErased_G729_16s), then
 * kelsLSFToLSP_G729_16s, kelsInterpolate_G729_16s and kelsLSPToLPC_G729_16s.
 *
 * Formats: LP coefficients a[0..order] Q12 (a[0] = 4096); reflection
 * coefficients Q15; LSPs the cosines of the line spectral frequencies, Q15,
 * decreasing; LSFs the frequencies in radians, Q13 (0..pi), increasing;
 * autocorrelations 32-bit words normalised so that r[0] lies in
 * 2^30..2^31-1.
 *
 * MA predictor memory (pPrevFreq): the caller's array of 40 Kel16s, the
 * quantiser outputs (residuals, Q13) of the last four frames, newest first:
 * frame k (k = 0 newest) at [10 k .. 10 k + 9]. The library never resets it:
 * set each of the four frames to 2339, 4679, 7018, 9358, 11698, 14037,
 * 16377, 18717, 21056, 23396 (i pi / 11, i = 1..10, Q13) when an encoder or
 * decoder starts, and pass the same array to every call.
 *
 * Quantiser indices: L0 the MA predictor (1 bit), L1 the first stage
 * (7 bits), L2 and L3 the second stage for the lower and upper five LSFs
 * (5 bits each). The G.729 parameter words are (L0 << 7) | L1 and
 * (L2 << 5) | L3.
 *
 * Statuses: kelStatusOverflow (+12) from the Levinson-Durbin recursion
 * (see there). The LSF decoders' stability step returns
 * kelStatusLsfLowClamped (+13) when it raised the first LSF to 40 (0.005),
 * kelStatusLsfHighClamped (+14) when it lowered the last to 25681 (3.135),
 * kelStatusLsfBothClamped (+15) for both; the clamped LSFs are written. A
 * predictor index outside 0..3 gives kelStatusBadIndex (-11) with nothing
 * touched; 2 and 3 select predictors 0 and 1 (its low bit, as in the 8-bit
 * parameter word). Every other index is masked to its field width, so that
 * any value reads inside the codebooks. */

/* Windowed autocorrelation (G.729 3.2.1; G.729B order 12). The 240 samples
   are windowed (x[n] * hamwindow[n], rounded Q15 product), then
   r = kelsAutoCorr_NormE_16s32s of the windowed signal, 13 lags; while that
   reports an overflow the windowed signal is divided by 4 (arithmetic shift
   by 2) and the energy exponent, which starts at 1, grows by 4.
   pSrc: in, [240] the LP analysis window of the (pre-processed) speech.
   pNormOut: out, one Kel16s: the energy exponent minus the normalisation
             shift of r[0] (the G.729B exp_R0).
   pDst: out, [13] r[0..12], normalised. */
KELSC_API KelStatus kelsAutoCorr_G729B(const Kel16s* pSrc, Kel16s* pNormOut, Kel32s* pDst);

/* Lag window (G.729 3.2.1): r[i] = r[i] * wlag[i] for i < len, the product
   of the two 32-bit words formed from their 16-bit high and 15-bit low
   halves as G.729 does (hi*hi + (hi*lo >> 15) + (lo*hi >> 15)) * 2; wlag
   is the 60 Hz Gaussian window of lags 1..12 (Q31, first entry 0x7FD85D00).
   pSrcDst: in/out, [len] the autocorrelation from lag 1 (r[0] is not
            windowed: pass &r[1]).
   len: 1..12 (10 for G.729, 12 for G.729B); above 12: kelStatusOutOfRange. */
KELSC_API KelStatus kelsLagWindow_G729_32s_I(Kel32s* pSrcDst, int len);

/* Levinson-Durbin recursion (G.729 3.2.2) in the reference's double
   precision, for order 1..30 (else kelStatusOutOfRange).
   pSrcAutoCorr: in, [order + 1] normalised (lag-windowed) autocorrelations.
   order: LP order.
   pDstLpc: out, [order + 1] Q12, a[0] = 4096.
   pDstRc: out, [order] reflection coefficients, Q15.
   pResultResidualEnergy: out, one Kel16s: the final prediction error
                          shifted right by 16 + its normalisation.
   Returns kelStatusOverflow (+12) when |r[0]| < 65536 (nothing written) or
   when a reflection coefficient of order 2 or more exceeds 32750 in
   magnitude: the recursion stops there, pDstRc holds the coefficients up
   to that one, and pDstLpc and the energy are left as they were, so that
   the caller keeps its previous LP vector (G.729 3.2.2). */
KELSC_API KelStatus kelsLevinsonDurbin_G729_32s16s(const Kel32s* pSrcAutoCorr, int order, Kel16s* pDstLpc,
                                                   Kel16s* pDstRc, Kel16s* pResultResidualEnergy);
/* As kelsLevinsonDurbin_G729_32s16s with order 10 and pDstRc of 2 values
   (the first two reflection coefficients, which G.729B and annex E use). */
KELSC_API KelStatus kelsLevinsonDurbin_G729B(const Kel32s* pSrcAutoCorr, Kel16s* pDstLpc, Kel16s* pDstRc,
                                             Kel16s* pResultResidualEnergy);

/* LP to LSP (G.729 3.2.3): the roots of the sum and difference polynomials
   by Chebyshev evaluation on a grid of cosines from cos 0 to cos pi, F1 and
   F2 alternately; each sign change is bisected 4 times (grid of 60
   intervals) and interpolated linearly. The polynomial coefficients are
   formed in Q11, or in Q10 when one of them leaves 16 bits in Q11 (the
   overflow-safe form). If fewer than 10 roots are found, pSrcPrevLsp is
   copied to pDstLsp; the status is still kelStatusOk.
   pSrcLpc: in, [11] Q12.
   pSrcPrevLsp: in, [10] Q15, the previous frame's LSPs.
   pDstLsp: out, [10] Q15 (may be pSrcPrevLsp). */
KELSC_API KelStatus kelsLPCToLSP_G729_16s(const Kel16s* pSrcLpc, const Kel16s* pSrcPrevLsp, Kel16s* pDstLsp);
/* As kelsLPCToLSP_G729_16s with the G.729A search: 50 grid intervals, 2
   bisections. */
KELSC_API KelStatus kelsLPCToLSP_G729A_16s(const Kel16s* pSrcLpc, const Kel16s* pSrcPrevLsp, Kel16s* pDstLsp);

/* LSP to LP (G.729 3.2.6): F1(z) and F2(z) from the even- and odd-numbered
   LSPs in 32-bit (Q24) double precision, multiplied by (1 + z^-1) and
   (1 - z^-1); a[i] = (f1[i] + f2[i] + 4096) >> 13 and
   a[11 - i] = (f1[i] - f2[i] + 4096) >> 13 for i = 1..5, saturated to 16
   bits.
   pSrcLsp: in, [10] Q15.
   pDstLpc: out, [11] Q12, a[0] = 4096. */
KELSC_API KelStatus kelsLSPToLPC_G729_16s(const Kel16s* pSrcLsp, Kel16s* pDstLpc);

/* LSP to LSF by table interpolation of acos on 64 segments, walking the
   LSPs from the tenth to the first with one segment index that only
   decreases (so the LSPs must be in decreasing order).
   pSrcLsp: in, [10] Q15.
   pDstLsf: out, [10] Q13 radians (may be pSrcLsp). */
KELSC_API KelStatus kelsLSPToLSF_G729_16s(const Kel16s* pSrcLsp, Kel16s* pDstLsf);
/* As kelsLSPToLSF_G729_16s with the normalised frequency as result:
   pDstLsf: out, [10] Q15, 0..0.5 (0.5 = pi); may be pSrcLsp. */
KELSC_API KelStatus kelsLSPToLSF_Norm_G729_16s(const Kel16s* pSrcLsp, Kel16s* pDstLsf);
/* LSF to LSP by table interpolation of cos on 64 segments (frequencies past
   the last segment use it).
   pSrcLsf: in, [10] Q13 radians.
   pDstLsp: out, [10] Q15 (may be pSrcLsf).
   A negative LSF stops the conversion with kelStatusNegativeLsf (-12); the
   elements before it are written. */
KELSC_API KelStatus kelsLSFToLSP_G729_16s(const Kel16s* pSrcLsf, Kel16s* pDstLsp);

/* Two-stage switched-MA-predictive LSF quantiser (G.729 3.2.4): for both
   predictors, the first stage by unweighted full search, the second stage
   by weighted search of each half, the predictor of smaller weighted
   distortion kept (predictor 0 on a tie; the lowest index wins every tie);
   then the decoding of kelsLSFDecode_G729_16s with the chosen indices.
   pSrcLsf: in, [10] Q13.
   pPrevFreq: in/out, [40] MA predictor memory (see above).
   pQLsf: out, [10] Q13, the quantised LSFs (may be pSrcLsf).
   pIdx: out, [4] L0, L1, L2, L3.
   Returns the decoder's status (0, +13, +14, +15). */
KELSC_API KelStatus kelsLSFQuant_G729_16s(const Kel16s* pSrcLsf, Kel16s* pPrevFreq, Kel16s* pQLsf, Kel16s* pIdx);
/* The G.729 LSP quantiser (Qua_lsp): LSP to LSF, kelsLSFQuant_G729_16s, LSF
   to LSP. The stability warnings are not passed on.
   pSrcLsp: in, [10] Q15.
   pPrevFreq: in/out, [40] MA predictor memory.
   pQLsp: out, [10] Q15, the quantised LSPs (may be pSrcLsp).
   pIdx: out, [2] the parameter words (L0 << 7) | L1 and (L2 << 5) | L3. */
KELSC_API KelStatus kelsLSPQuant_G729_16s(const Kel16s* pSrcLsp, Kel16s* pPrevFreq, Kel16s* pQLsp, Kel16s* pIdx);
/* LSF decoder (G.729 3.2.4, 4.1.1): residual = first-stage vector L1 with
   the lower half of second-stage vector L2 and the upper half of L3, spread
   to gaps of 10 then 5 (Q13); lsf = MA prediction + fg_sum x residual; the
   memory shifted (the residual becomes the newest frame); then the
   stability step (one pass of adjacent swaps, the first LSF at least 40,
   each next at least 321 above its predecessor, the last at most 25681).
   pIdx: in, [4] L0 (0..3, else kelStatusBadIndex; 2 and 3 act as 0 and 1),
         L1, L2, L3 (masked with 127, 31, 31: never read outside the
         codebooks).
   pPrevFreq: in/out, [40] MA predictor memory.
   pQLsf: out, [10] Q13. */
KELSC_API KelStatus kelsLSFDecode_G729_16s(const Kel16s* pIdx, Kel16s* pPrevFreq, Kel16s* pQLsf);
/* Frame-erasure path of the LSF decoder (G.729 4.4.1): the caller repeats
   the last good frame's LSFs; this derives the residual those LSFs have
   under predictor maIndex and shifts it into the memory as the decoder
   does. The LSFs are not changed.
   maIndex: L0 of the last good frame (0..3, else kelStatusBadIndex; 2 and 3
            act as 0 and 1).
   pPrevFreq: in/out, [40] MA predictor memory.
   pSrcLsf: in, [10] Q13, the repeated LSFs. */
KELSC_API KelStatus kelsLSFDecodeErased_G729_16s(Kel16s maIndex, Kel16s* pPrevFreq, const Kel16s* pSrcLsf);

/* G.729B comfort-noise (SID) LSF quantiser (lsfq_noise): the LSFs spaced to
   at least 642 (about 100 Hz) within 40..25681, weighted as in G.729; four
   first-stage candidates over both noise predictors from the 32 SID rows
   of the first-stage codebook, then the best of 16 second-stage row pairs;
   then the decoding of kelsLSFDecode_G729B_16s with the chosen indices.
   pSrcLsf: in, [10] Q13 (not modified).
   pPrevFreq: in/out, [40] MA predictor memory (the encoder's, shared with
              kelsLSPQuant_G729_16s).
   pQLsf: out, [10] Q13 (may be pSrcLsf).
   pIdx: out, [3] noise predictor (0..1), first-stage index (0..31),
         second-stage index (0..15).
   Returns the decoder's status (0, +13, +14, +15). */
KELSC_API KelStatus kelsLSFQuant_G729B_16s(const Kel16s* pSrcLsf, Kel16s* pPrevFreq, Kel16s* pQLsf, Kel16s* pIdx);
/* G.729B SID LSF decoder (sid_lsfq_decode up to the LSFs): residual from
   the indexed SID rows, spread to a gap of 10, the noise MA prediction
   (predictor 1 is 0.6 fg[0] + 0.4 fg[1]), memory shift and the G.729
   stability step.
   pIdx: in, [3] noise predictor (0..3, else kelStatusBadIndex; 2 and 3 act
         as 0 and 1), first-stage index (masked with 31), second-stage
         index (masked with 15).
   pPrevFreq: in/out, [40] MA predictor memory.
   pQLsf: out, [10] Q13. */
KELSC_API KelStatus kelsLSFDecode_G729B_16s(const Kel16s* pIdx, Kel16s* pPrevFreq, Kel16s* pQLsf);

/* G.729E LSP quantiser (Qua_lspe): kelsLSPQuant_G729_16s without the memory
   update, which annex E makes only when the frame is coded in forward mode:
   the caller then shifts pFreqCur into pPrevFreq (frames 0..2 move to 1..3,
   pFreqCur becomes frame 0).
   pSrcLsp: in, [10] Q15.
   pPrevFreq: in, [40] MA predictor memory (not modified).
   pQLsp: out, [10] Q15 (may be pSrcLsp).
   pIdx: out, [2] the parameter words (L0 << 7) | L1 and (L2 << 5) | L3.
   pFreqCur: out, [10] Q13, this frame's quantiser output (residual).
   Returns the status of the final LSF-to-LSP conversion. */
KELSC_API KelStatus kelsLSPQuant_G729E_16s(const Kel16s* pSrcLsp, const Kel16s* pPrevFreq, Kel16s* pQLsp, Kel16s* pIdx,
                                           Kel16s* pFreqCur);
/* G.729E LSF decoder for a forward-mode frame (Lsp_iqua_cse), with its own
   erasure handling: a good frame decodes as kelsLSFDecode_G729_16s from the
   two parameter words and remembers the LSFs and the predictor; an erased
   frame (pIdx null) repeats the remembered LSFs and shifts their residual
   under the remembered predictor into the memory.
   pIdx: in, [2] the parameter words (fields masked: L0 bit 7 of the first,
         L1 its bits 0..6, L2 bits 5..9 and L3 bits 0..4 of the second), or
         null for an erased frame.
   pPrevFreq: in/out, [40] MA predictor memory.
   pPrevLsf: in/out, [10] Q13, the last good frame's quantised LSFs (reset
             to the same i pi / 11 values as the memory).
   pPrevMa: in/out, one Kel16s: the last good frame's predictor (reset to
            0; its low bit is used).
   pQLsf: out, [10] Q13.
   Returns the stability step's status for a good frame, 0 for an erased one. */
KELSC_API KelStatus kelsLSFDecode_G729E_16s(const Kel16s* pIdx, Kel16s* pPrevFreq, Kel16s* pPrevLsf, Kel16s* pPrevMa,
                                            Kel16s* pQLsf);

/* Sub-frame LSP interpolation (G.729 3.2.5): pDst[i] = (pSrc1[i] >> 1) +
   (pSrc2[i] >> 1), arithmetic shifts, no rounding or saturation (the first
   sub-frame's LSPs are the interpolation of the previous and the current).
   All [len]; pDst may be either source. */
KELSC_API KelStatus kelsInterpolate_G729_16s(const Kel16s* pSrc1, const Kel16s* pSrc2, Kel16s* pDst, int len);

/* G.729 second-order high-pass filter: the encoder's pre-processing (3.1,
   140 Hz: scale 12, b = 1899, -3798, 1899 (halved, Q12), a = 4096, 7807,
   -3733 (Q12)) or the decoder's post-processing (4.2.5, 100 Hz: scale 13,
   b = 7699, -15398, 7699, a = 8192, 15836, -7667 (Q13)). Per sample,
   s = a1 y1 + a2 y2 + 2 (b0 x + b1 x1 + b2 x2), the a terms from the 16-bit
   high and 15-bit low halves of the 32-bit past outputs, each step
   saturated; s is shifted left by 15 - scale with saturation and kept as
   the new y1; the output sample is the rounded high half of s (scale 12)
   or of 2 s saturated (scale 13).
   State block: the caller's memory of the reported size (24 bytes) at any
   alignment: y1, y2 (Kel32s), x1, x2 (Kel16s), a0, a1, a2, b0, b1, b2
   (Kel16s; a0 is kept and not used). It holds no pointers. */
typedef struct KelG729HighPassState KelG729HighPassState;

/* *pSize = 24, the size in bytes of a high-pass filter state block.
   pSize: out, one Kel32s. */
KELSC_API KelStatus kelsHighPassFilterSize_G729(Kel32s* pSize);
/* Zeroes the filter memories and stores the coefficients.
   pCoeff: in, [6] a0, a1, a2, b0, b1, b2.
   pState: out, a block of the reported size. */
KELSC_API KelStatus kelsHighPassFilterInit_G729(const Kel16s* pCoeff, KelG729HighPassState* pState);
/* Filters len samples in place, the state carried over between calls.
   pSrcDst: in/out, [len].
   scaleFactor: 12 or 13 (else kelStatusBadScale).
   pState: in/out, a block set up by kelsHighPassFilterInit_G729. */
KELSC_API KelStatus kelsHighPassFilter_G729_16s_ISfs(Kel16s* pSrcDst, int len, int scaleFactor,
                                                     KelG729HighPassState* pState);

/* ------------------------------------------------------------------------ */
/* G.729 pitch analysis                                                     */
/* ------------------------------------------------------------------------ */
/* The long-term (pitch) predictor of ITU-T G.729 and its annexes A and D:
   the open-loop lag per 10 ms frame (G.729 3.4, A.3.4), the closed-loop
   adaptive-codebook search per 5 ms sub-frame with 1/3-sample resolution
   (3.7, A.3.7, and the 6.4 kbit/s second sub-frame of annex D), the
   fractional-delay interpolation that builds the adaptive vector (3.7.1),
   the adaptive-codebook gain (3.7.3) and the target update that feeds the
   fixed-codebook search. Nothing is kept between calls.

   Excitation buffer (pSrcDstPrevExcitation, 194 Kel16s): the 154 past
   excitation samples (indices 0..153, the oldest first) followed by the 40
   samples of the current sub-frame (154..193). The searches read the
   current sub-frame's samples as the reference encoder leaves them there
   (its LP residual) for the shortest lags, and the vector builders write
   the adaptive vector into 154..193. After each sub-frame the caller adds
   the fixed-codebook contribution and shifts the buffer by 40.
   Delay (pDstDelay, pSrcDelay: 2 Kel16s): [0] the integer lag T, [1] the
   fraction in thirds of a sample, -1, 0 or 1 (the delay is T + fraction/3:
   a fraction of -1 means T - 1/3).
   Search range from valOpenDelay (the open-loop lag in sub-frame 0, the
   integer lag chosen in sub-frame 0 for sub-frame 1): sub-frame 0 t_min =
   valOpenDelay - 3, sub-frame 1 t_min = valOpenDelay - 5, raised to 20;
   t_max = t_min + 6 (sub-frame 0) or + 9; where t_max exceeds 143 it
   becomes 143 and t_min 137 or 134.
   Overflow behaviour beyond the reference: the interpolation sums without
   saturation when |x[n] + x[n + 1]| of its two central samples is below
   9656, the gains filter without saturation and the target update wraps;
   these agree with the reference wherever its sums do not saturate. */

/* G.729 open-loop lag (3.4): the signal's energy over all 223 samples
   chooses a working copy shifted right by 3 (undoubled energy at least
   2^30), left by 3 (below 2^19) or unchanged; in each of the lag sections
   80..143, 40..79, 20..39 the lag of the largest correlation over the 80
   frame samples (the smallest lag on a tie) is normalised by its energy;
   a later section wins when the kept maximum times 0.85 is below its own.
   pSrc: in, the weighted speech: 143 samples before the pointer (read) and
         the 80 of the frame from it.
   pDstLag: out, one Kel16s, 20..143. */
KELSC_API KelStatus kelsOpenLoopPitchSearch_G729_16s(const Kel16s* pSrc, Kel16s* pDstLag);
/* G.729A open-loop lag (A.3.4): every correlation and energy over every
   second sample; sections 20..39, 40..79 and the even lags of 80..142
   (then its winner's neighbours +1 and -1); smallest lag on a tie; a
   section's maximum gains a quarter (0.2 for the first) of the next one's
   when its double or triple lag lies near the next winner.
   pSrc, pDstLag: as kelsOpenLoopPitchSearch_G729_16s. */
KELSC_API KelStatus kelsOpenLoopPitchSearch_G729A_16s(const Kel16s* pSrc, Kel16s* pDstLag);

/* G.729 closed-loop search (3.7): the normalised correlation of the target
   with the past excitation filtered by h at every lag of t_min - 4 ..
   t_max + 4; the integer lag of t_min..t_max (the largest on a tie); in
   sub-frame 0 a lag of 85 or more is final, otherwise the 1/3-sample
   interpolated correlation at -2/3 .. +2/3 (a result of -2/3 becomes
   lag - 1 with fraction +1, +2/3 lag + 1 with fraction -1). The adaptive
   vector of the chosen delay is built in pSrcDstPrevExcitation[154..193]
   (as kelsDecodeAdaptiveVector_G729_16s_I) and copied to pDstAdptVector.
   valOpenDelay: 18..145, else kelStatusOutOfRange.
   pSrcAdptTarget: in, [40] the target x(n).
   pSrcImpulseResponse: in, [40] h(n) of the weighted synthesis filter, Q12.
   pSrcDstPrevExcitation: in/out, [194] the excitation buffer.
   pDstDelay: out, [2] (T, fraction); T 19..144.
   pDstAdptVector: out, [40] v(n).
   subFrame: 0 or 1, else kelStatusOutOfRange. */
KELSC_API KelStatus kelsAdaptiveCodebookSearch_G729_16s(Kel16s valOpenDelay, const Kel16s* pSrcAdptTarget,
                                                        const Kel16s* pSrcImpulseResponse,
                                                        Kel16s* pSrcDstPrevExcitation, Kel16s* pDstDelay,
                                                        Kel16s* pDstAdptVector, Kel16s subFrame);
/* G.729A closed-loop search (A.3.7): the target correlated backwards with
   h (kelsCrossCorr_NormM_16s), then with the past excitation at each lag
   of t_min..t_max (the smallest lag on a tie); in sub-frame 0 a lag of 85
   or more is final with fraction 0; otherwise the vectors of fractions 0,
   -1 and +1 are built in turn and one replaces the kept one only when it
   correlates strictly better. The winner's vector is left in
   pSrcDstPrevExcitation[154..193] and copied to pDstAdptVector; T 20..143.
   Arguments and checks as kelsAdaptiveCodebookSearch_G729_16s. */
KELSC_API KelStatus kelsAdaptiveCodebookSearch_G729A_16s(Kel16s valOpenDelay, const Kel16s* pSrcAdptTarget,
                                                         const Kel16s* pSrcImpulseResponse,
                                                         Kel16s* pSrcDstPrevExcitation, Kel16s* pDstDelay,
                                                         Kel16s* pDstAdptVector, Kel16s subFrame);
/* G.729D closed-loop search at 6.4 kbit/s: the G.729 search without the
   vector; in sub-frame 1 (the 4-bit code) with d = lag - (t_max - 4) the
   fractions tested are -2..2 for d = -1 or 0, 0..2 for d = -2, -2..0 for
   d = 1 and none (fraction 0) otherwise. pSrcDstPrevExcitation is only
   read. Checks as kelsAdaptiveCodebookSearch_G729_16s. */
KELSC_API KelStatus kelsAdaptiveCodebookSearch_G729D_16s(Kel16s valOpenDelay, const Kel16s* pSrcAdptTarget,
                                                         const Kel16s* pSrcImpulseResponse,
                                                         const Kel16s* pSrcDstPrevExcitation, Kel16s subFrame,
                                                         Kel16s* pDstDelay);

/* G.729 adaptive vector (3.7.1): v(n) = sum over i = 0..9 of
   u(n - T - i) inter_3l(f + 3i) + u(n - T + 1 + i) inter_3l(3 - f + 3i)
   (the fraction's sign folded into f and T), doubled products, rounded to
   16 bits; written to pSrcDstPrevExcitation[154..193] in order, so that for
   T below 50 later samples read earlier ones.
   pSrcDelay: in, [2] T 18..144 and fraction -1..1, else kelStatusBadIndex.
   pSrcDstPrevExcitation: in/out, [194] the excitation buffer. */
KELSC_API KelStatus kelsDecodeAdaptiveVector_G729_16s_I(const Kel16s* pSrcDelay, Kel16s* pSrcDstPrevExcitation);
/* As kelsDecodeAdaptiveVector_G729_16s_I (which also writes the buffer),
   then copies the 40 samples to pDstAdptVector ([40], out). */
KELSC_API KelStatus kelsDecodeAdaptiveVector_G729_16s(const Kel16s* pSrcDelay, Kel16s* pSrcDstPrevExcitation,
                                                      Kel16s* pDstAdptVector);

/* G.729 adaptive-codebook gain (3.7.3): y = v convolved with h (each
   wrapping sum shifted right by 12), then g = <x, y> / <y, y> in Q14 with
   the reference's normalisations, 0 when <x, y> is not positive, at most
   19661 (1.2).
   pSrcAdptTarget: in, [40] x(n).
   pSrcImpulseResponse: in, [40] h(n), Q12.
   pSrcAdptVector: in, [40] v(n).
   pDstFltAdptVector: out, [40] y(n).
   pResultAdptGain: out, one Kel16s, Q14, 0..19661. */
KELSC_API KelStatus kelsAdaptiveCodebookGain_G729_16s(const Kel16s* pSrcAdptTarget, const Kel16s* pSrcImpulseResponse,
                                                      const Kel16s* pSrcAdptVector, Kel16s* pDstFltAdptVector,
                                                      Kel16s* pResultAdptGain);
/* G.729A adaptive-codebook gain: as kelsAdaptiveCodebookGain_G729_16s with
   y = v filtered by 1/A(z) from zero memory (rounded at scale 12, stored
   without saturation).
   pSrcLpc: in, [11] a(0..10) of the weighted synthesis filter, Q12. */
KELSC_API KelStatus kelsAdaptiveCodebookGain_G729A_16s(const Kel16s* pSrcAdptTarget, const Kel16s* pSrcLpc,
                                                       const Kel16s* pSrcAdptVector, Kel16s* pDstFltAdptVector,
                                                       Kel16s* pResultAdptGain);
/* Target update for the fixed-codebook search: pDstAdptTarget[n] =
   pSrcAdptTarget[n] - ((pFltAdptVector[n] * gain) >> 14), in 16-bit
   arithmetic without saturation.
   gain: Q14. pFltAdptVector: in, [40] y(n). pSrcAdptTarget: in, [40] x(n).
   pDstAdptTarget: out, [40] (may be pSrcAdptTarget). */
KELSC_API KelStatus kelsAdaptiveCodebookContribution_G729_16s(Kel16s gain, const Kel16s* pFltAdptVector,
                                                              const Kel16s* pSrcAdptTarget, Kel16s* pDstAdptTarget);

/* ------------------------------------------------------------------------ */
/* G.729 fixed-codebook search                                              */
/* ------------------------------------------------------------------------ */
/* The algebraic (ACELP) fixed-codebook searches of G.729 (3.8: four pulses
   of amplitude +-1 in a 40-sample sub-frame, 17 bits), annex A (A.3.8, the
   depth-first search), annex D (6.4 kbit/s: two pulses, 11 bits) and annex
   E (11.8 kbit/s: 35 or 44 bits), and the correlation matrix of the
   impulse response that the G.729 and G.729A searches consume. The caller
   applies pitch sharpening to the impulse response h (Q12) and computes the
   correlation Dn of the target with h before the G.729, G.729A and G.729D
   searches; the G.729E search computes its own.

   Correlation matrix, 616 values in the G.729 layout: the five diagonals of
   the tracks, rr[5m + t][5m + t] at 8 t + m (t = 0..4, m = 0..7), then the
   nine cross blocks (0,1), (0,2), (0,3), (0,4), (1,2), (1,3), (1,4), (2,3),
   (2,4) of 8 x 8, block k at 40 + 64 k, holding rr[5x + a][5y + b] at
   8 x + y for the tracks (a, b). Tracks: pulse 0 on positions 5m, pulse 1 on
   5m + 1, pulse 2 on 5m + 2, pulse 3 on 5m + 3 or 5m + 4.

   Code vectors of G.729, G.729A and G.729D hold pulses of 8191 (positive)
   or -8192 (negative), Q13, zero elsewhere. Index words of G.729 and
   G.729A: [0] the signs (bit k set when pulse k is positive), [1] the
   positions (i0 / 5) + ((i1 / 5) << 3) + ((i2 / 5) << 6) +
   ((2 (i3 / 5) + j) << 9), j = 1 when pulse 3 lies on 5m + 4 (13 bits). */

/* G.729 3.8.1 correlation matrix. E is the energy of h (plain sum of
   squares). When E >> 15 is 0 the matrix is all zero; when it exceeds 32000
   h is halved, otherwise it is shifted left by (norm(E) - 1) >> 1. Each
   entry is the sum of products of the scaled h along the entry's diagonal,
   h[n] h[n + d] for n = 0 .. 39 - max(i, j), accumulated as the reference's
   saturating doubled products and halved: entry >> 15 is the G.729
   reference's 16-bit correlation.
   pSrcImpulseResponse: in, [40] Q12.
   pDstMatrix: out, [616] Kel32s in the layout above. */
KELSC_API KelStatus kelsToeplizMatrix_G729_16s32s(const Kel16s* pSrcImpulseResponse, Kel32s* pDstMatrix);
/* The same matrix as 16-bit values: each 32-bit entry shifted right by 15
   (the G.729 reference's Cor_h).
   pSrcImpulseResponse: in, [40] Q12.
   pDstMatrix: out, [616] Kel16s. */
KELSC_API KelStatus kelsToeplizMatrix_G729_16s(const Kel16s* pSrcImpulseResponse, Kel16s* pDstMatrix);

/* G.729 3.8 search (D4i40_17): pulse signs from Dn, threshold of the three
   first pulses (mean + 0.4 (max - mean)), four nested loops, the fourth
   entered only above the threshold and at most as often as the budget
   allows. The budget: 30 when subFrame is 0, else the value in
   *pSrcDstSearchTimes, plus 75 (saturating), stored at once; each entry
   into the fourth loop takes one, and the search stops when it falls below
   1. *pSrcDstSearchTimes keeps the remainder for the next sub-frame.
   pSrcFixedCorr: in, [40] Dn (not modified).
   pSrcDstMatrix: in/out, [616] Kel32s, from kelsToeplizMatrix_G729_16s32s;
                  every value is shifted right by 15 (saturated to 16 bits)
                  and the cross terms are multiplied by the pulse signs as
                  the reference does (mult(rr, mult(sign_i, sign_j))) in
                  place. Rebuild it for every sub-frame.
   pDstFixedVector: out, [40] Q13 code vector.
   pDstFixedIndex: out, [2] sign word, position word.
   pSrcDstSearchTimes: in/out, one Kel16s, the budget.
   subFrame: 0 for the first sub-frame of a frame, any positive value for
             the second (below 0: kelStatusOutOfRange). */
KELSC_API KelStatus kelsFixedCodebookSearch_G729_32s16s(const Kel16s* pSrcFixedCorr, Kel32s* pSrcDstMatrix,
                                                        Kel16s* pDstFixedVector, Kel16s* pDstFixedIndex,
                                                        Kel16s* pSrcDstSearchTimes, int subFrame);
/* The same search on the 16-bit matrix of kelsToeplizMatrix_G729_16s,
   whose cross terms are multiplied by the signs in place.
   subFrame: 0 or 1 (else kelStatusOutOfRange). */
KELSC_API KelStatus kelsFixedCodebookSearch_G729_16s(const Kel16s* pSrcFixedCorr, Kel16s* pSrcDstMatrix,
                                                     Kel16s* pDstFixedVector, Kel16s* pDstFixedIndex,
                                                     Kel16s* pSrcDstSearchTimes, int subFrame);
/* G.729A A.3.8 depth-first search (D4i40_17_fast): for the fourth pulse on
   track 3, then on track 4, two passes of two pulse pairs each, starting
   from the two largest |Dn| of a track; no budget. The cross terms of the
   matrix are multiplied by the signs in place as annex A does
   (mult(rr, +-1 in Q15)); the _32s16s form first shifts all 616 values
   right by 15 (saturated to 16 bits). When no candidate of a pass improves
   on its start value (degenerate correlations, such as all-extreme
   matrices) the search keeps the positions of an earlier pass, as annex A
   does, so pulses may then coincide or lie off their tracks.
   pSrcFixedCorr: in, [40] Dn (not modified).
   pSrcDstMatrix: in/out, [616].
   pDstFixedVector: out, [40] Q13.
   pDstFixedIndex: out, [2] sign word, position word. */
KELSC_API KelStatus kelsFixedCodebookSearch_G729A_32s16s(const Kel16s* pSrcFixedCorr, Kel32s* pSrcDstMatrix,
                                                         Kel16s* pDstFixedVector, Kel16s* pDstFixedIndex);
KELSC_API KelStatus kelsFixedCodebookSearch_G729A_16s(const Kel16s* pSrcFixedCorr, Kel16s* pSrcDstMatrix,
                                                      Kel16s* pDstFixedVector, Kel16s* pDstFixedIndex);
/* G.729D 11-bit search (D2i40_11): the first pulse on positions 5m + 1 or
   5m + 3 (16), the second on 5m, 5m + 2, 5m + 4 or 5m + 1 (32); the matrix
   is built internally (as kelsToeplizMatrix_G729_16s, with the annex's
   cross terms of the second track with itself and of 5m + 3 with 5m + 4)
   and the eight pairs of sub-tracks are searched in the annex's order, the
   earliest best pair winning.
   pSrcFixedCorr: in, [40] Dn.
   pSrcImpulseResponse: in, [40] Q12.
   pDstFixedVector: out, [40] Q13 (the two pulses add when they coincide).
   pDstFltFixedVector: out, [40] Q12, the code vector filtered by h.
   pDstSign: out, one Kel16s: bit 0 set when the first pulse is positive,
             bit 1 for the second.
   pDstIndex: out, one Kel16s: the Gray-coded position of the first pulse
              (4 bits) + the Gray-coded position of the second << 4. */
KELSC_API KelStatus kelsFixedCodebookSearch_G729D_16s(const Kel16s* pSrcFixedCorr, const Kel16s* pSrcImpulseResponse,
                                                      Kel16s* pDstFixedVector, Kel16s* pDstFltFixedVector,
                                                      Kel16s* pDstSign, Kel16s* pDstIndex);
/* G.729E 11.8 kbit/s search (ACELP_10i40_35bits, ACELP_12i40_44bits):
   mode 0, forward-adaptive frames: ten pulses, two per track, 35 bits;
   otherwise, backward-adaptive frames: twelve pulses, 44 bits. Dn is the
   target correlated with h and normalised; the signs come from Dn and the
   long-term-prediction residual; the matrix is that of the normalised h
   scaled by the inverse square root of its energy; the depth-first search
   starts from the tracks with the largest correlations.
   pSrcFixedTarget: in, [40] target.
   pSrcLtpResidual: in, [40] residual after long-term prediction.
   pSrcImpulseResponse: in, [40] Q12, pitch-sharpened (not modified).
   pDstFixedVector: out, [40] Q12 code vector (pulses of +-4096, summed).
   pDstFltFixedVector: out, [40] Q11, the code vector filtered by h.
   pDstIndex: out, [5] index words, in both modes: 35 bits as 7 + 7 + 7 +
              7 + 7 (one word per track: two positions and a sign), 44 bits
              as 13 + 10 + 7 + 7 + 7 (the first word adds the track of the
              two extra pulses).
   When no starting pair improves on the initial score (only with
   saturated energies) the annex leaves the positions undefined; this
   search then places the pulses at positions 0..9 (35 bits) or 0..11. */
KELSC_API KelStatus kelsFixedCodebookSearch_G729E_16s(Kel16s mode, const Kel16s* pSrcFixedTarget,
                                                      const Kel16s* pSrcLtpResidual, const Kel16s* pSrcImpulseResponse,
                                                      Kel16s* pDstFixedVector, Kel16s* pDstFltFixedVector,
                                                      Kel16s* pDstIndex);

/* ------------------------------------------------------------------------ */
/* G.729 gain decoding and post-processing                                  */
/* ------------------------------------------------------------------------ */
/* The primitives around the G.729 excitation in the decoder: the decoding
   of the conjugate-structure gain codebook with its moving-average
   prediction of the fixed-codebook gain and its frame-erasure path (G.729
   3.9.1, 4.1.5, 4.4.2; the 6.4 kbit/s codebook of annex D in the annex I
   form), the residual and synthesis filters of a 40-sample sub-frame, the
   annex A post-filter (harmonic post-filter, short-term post-filter,
   preemphasis and adaptive gain control), the tilt compensation of G.729
   4.2.3 and annex E, and the annex D phase-dispersion state. Memories live
   in caller arrays kept between sub-frames: the gain pair and the four
   past quantised prediction errors, the ten past outputs stored before a
   synthesis output, the residual history of the long-term post-filter, the
   gain-control gain and the preemphasis sample. Overflow saturates and
   returns no status. */

/* G.729 gain decoding for one sub-frame (Dec_gain).
   energy: the fixed-codebook energy, the saturating sum over the 40 Q13
           code samples of 2 c[n]^2 (L_mac), which the prediction uses.
   pPastQEnergy: in/out, [4] past quantised prediction errors, Q10 dB,
                 newest first (reset: four times -14336, -14 dB); shifted
                 and the new error inserted.
   pIdx: in, [2] the first (3 bits, masked with 7) and second (4 bits,
         masked with 15) gain indices; null for an erased sub-frame: the
         pitch gain becomes 0.9 of the previous one, at most 29491, the
         fixed-codebook gain 0.98 of the
         previous one, and the memory takes the mean of its four errors
         less 4 dB, at least -14 dB.
   pGain: in/out, [2] pitch gain (Q14) and fixed-codebook gain (Q1): the
          previous sub-frame's on input (read by the erasure path), this
          sub-frame's on output. */
KELSC_API KelStatus kelsDecodeGain_G729_16s(Kel32s energy, Kel16s* pPastQEnergy, const Kel16s* pIdx, Kel16s* pGain);
/* The same with the annex D 6.4 kbit/s codebooks (3-bit indices, masked
   with 7 only to stay inside the tables); the fixed-codebook gain keeps the
   low 16 bits of the predicted gain times the correction, without
   saturation. On erasure (pIdx null) both gains are multiplied by
   attenuation (Q15), with no ceiling.
   attenuation: Q15 factor of the erasure path. */
KELSC_API KelStatus kelsDecodeGain_G729I_16s(Kel32s energy, Kel16s attenuation, Kel16s* pPastQEnergy,
                                             const Kel16s* pIdx, Kel16s* pGain);

/* Annex A adaptive gain control (agc): E_out, E_in = the saturated doubled
   sums of squares of the samples shifted right by 2 of pSrcDst and pSrc;
   g0 = 0.1 sqrt(E_in / E_out) (Q12); per sample g = 0.9 g + g0 from the
   stored gain, sample = sat16(sample g >> 12). A silent pSrcDst sets the
   stored gain to 0 and is left as is.
   pSrc: in, [40] the signal before post-filtering.
   pSrcDst: in/out, [40] the post-filtered signal, scaled in place.
   pGainPrev: in/out, one Kel16s, Q12 (reset 4096, 1.0). */
KELSC_API KelStatus kelsGainControl_G729A_16s_I(const Kel16s* pSrc, Kel16s* pSrcDst, Kel16s* pGainPrev);
/* Annex A long-term (harmonic) post-filter: the residual of the sub-frame
   through pSrcLpc (as kelsResidualFilter_G729_16s) is written to
   pSrcDstResidual[154..193]; then the delay of largest correlation of the
   residual divided by 4 within valDelay - 3 .. valDelay + 3 (moved down to
   end at 143) is taken, and the post-filter (1 + g z^-T) / (1 + g),
   g = 0.5 min(pitch gain, 1), is applied when the prediction gain is at
   least 3 dB (else the residual is copied).
   valDelay: the decoded integer pitch delay, 18..145 (else
             kelStatusOutOfRange).
   pSrcSpch: in, [40] synthesised speech with 10 history samples before it.
   pSrcLpc: in, [11] Q12, the numerator A(z/0.55).
   pSrcDstResidual: in/out, [194]: [0..153] the residual of the preceding
                    sub-frames (the last 143 are read), [154..193] written.
                    The caller moves [40..193] down to [0..153] before the
                    next sub-frame.
   pDst: out, [40]. */
KELSC_API KelStatus kelsLongTermPostFilter_G729A_16s(Kel16s valDelay, const Kel16s* pSrcSpch, const Kel16s* pSrcLpc,
                                                     Kel16s* pSrcDstResidual, Kel16s* pDst);
/* Annex A short-term post-filter 1 / A(z/0.7): the synthesis filter below.
   pSrcLpc: in, [11] Q12.
   pSrc: in, [40].
   pDst: out, [40], with the 10 previous outputs stored before it (read as
         the filter memory; pDst may be pSrc).
   Returns kelStatusOverflow (+12) when an output was saturated. */
KELSC_API KelStatus kelsShortTermPostFilter_G729A_16s(const Kel16s* pSrcLpc, const Kel16s* pSrc, Kel16s* pDst);
/* G.729 synthesis filter 1 / A(z): y[n] = sat16((4096 x[n] - sum over
   k = 1..10 of a[k] y[n - k] + 2048) >> 12) with a wrapping 32-bit sum
   (a[0] taken as given), over 40 samples.
   pSrc: in, [40].
   pSrcLpc: in, [11] Q12.
   pDst: out, [40], with the 10 previous outputs stored before it (the
         memory; the caller keeps the last 10 outputs there).
   Returns kelStatusOverflow (+12) when an output was saturated: the
   decoder's cue to scale the excitation down and synthesise again
   (G.729 4.1.6). The reference also reacts when a partial sum saturates
   although the output does not; a decoder that must follow it there
   checks the sums itself. */
KELSC_API KelStatus kelsSynthesisFilter_G729_16s(const Kel16s* pSrc, const Kel16s* pSrcLpc, Kel16s* pDst);
/* G.729 residual (analysis) filter A(z): dst[n] = (sum over i = 0..10 of
   a[i] src[n - i] + 2048) >> 12, the 32-bit sum wrapping, the result kept
   to its low 16 bits.
   pSrc: in, [40] with 10 history samples before it.
   pSrcLpc: in, [11] Q12.
   pDst: out, [40] (must not overlap pSrc's history). */
KELSC_API KelStatus kelsResidualFilter_G729_16s(const Kel16s* pSrc, const Kel16s* pSrcLpc, Kel16s* pDst);
/* G.729 tilt compensation (4.2.3): k = -r1 / r0 (Q15, 0 when r0 < |r1|)
   from the normalised autocorrelation of the impulse response, then
   kelsTiltCompensation_G729E_16s with tilt k, in place.
   pSrcImpulseResponse: in, [20] the truncated impulse response of
                        A(z/g2) / A(z/g1).
   pSrcDst: in/out, [40], with the sample preceding the sub-frame stored
            before it (read). */
KELSC_API KelStatus kelsTiltCompensation_G729_16s(const Kel16s* pSrcImpulseResponse, Kel16s* pSrcDst);
/* Annex E tilt compensation (1 + mu z^-1) / (1 - |mu|): mu = 0.2 tilt for
   tilt > 0, else 0.9 tilt (Q15, rounded); g = 2^29 or 2^26 / (32768 -
   |mu|); dst[n] = sat16(((src[n + 1] + ((src[n] (mu >> 1) + 8192) >> 14))
   2 g + 2^(s - 1)) >> s), s = 15 or 12.
   tilt: Q15 first reflection coefficient.
   pSrc: in, [41], the sample before the sub-frame first.
   pDst: out, [40] (must not overlap pSrc). */
KELSC_API KelStatus kelsTiltCompensation_G729E_16s(Kel16s tilt, const Kel16s* pSrc, Kel16s* pDst);

/* Annex A preemphasis 1 - gamma z^-1 (the tilt step of its post-filter and
   of the GSM-AMR post-filter): dst[n] = sub(src[n], mult(gamma, src[n - 1]))
   with src[-1] = *pMem, which becomes src[len - 1].
   gamma: Q15 coefficient.
   pSrc: in, [len]; pDst: out, [len] (pDst == pSrc allowed).
   len: at least 1 (else kelStatusBadSize).
   pMem: in/out, one Kel16s (reset 0). */
KELSC_API KelStatus kelsPreemphasize_G729A_16s(Kel16s gamma, const Kel16s* pSrc, Kel16s* pDst, int len, Kel16s* pMem);
/* The same in place. pSrcDst: in/out, [len]. */
KELSC_API KelStatus kelsPreemphasize_G729A_16s_I(Kel16s gamma, Kel16s* pSrcDst, int len, Kel16s* pMem);

/* Annex D phase-dispersion state: the caller's memory of the reported size
   (20 bytes) at any alignment, no pointers: six past pitch gains (Kel16s,
   Q14, newest first), the dispersion counter, the previous fixed-codebook
   gain (Q1), the onset flag and a spare word (Kel16s each). */
typedef struct KelG729DPhaseDispersionState KelG729DPhaseDispersionState;

/* *pSize = 20. pSize: out, one Kel32s. */
KELSC_API KelStatus kelsPhaseDispersionGetStateSize_G729D_16s(Kel32s* pSize);
/* Zeroes the 20 bytes. pState: out. */
KELSC_API KelStatus kelsPhaseDispersionInit_G729D_16s(KelG729DPhaseDispersionState* pState);
/* After a sub-frame decoded without dispersion (Update64): the pitch gains
   shift by one with valPitchGain (Q14) newest, the counter becomes 2,
   valCodebookGain (Q1) is remembered and the onset flag cleared.
   pState: in/out. */
KELSC_API KelStatus kelsPhaseDispersionUpdate_G729D_16s(Kel16s valPitchGain, Kel16s valCodebookGain,
                                                        KelG729DPhaseDispersionState* pState);

#ifdef __cplusplus
}
#endif

#endif /* KELSC_H */
