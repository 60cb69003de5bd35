// Constant tables of ITU-T G.729 LP analysis and LSP quantisation, with the
// annex A root-search grid and the annex B comfort-noise LSF quantiser
// (g729_tables.cpp). Internal to the library. Each table carries the name
// it has in the G.729 reference code (TAB_LD8K.C, TAB_LD8A.C, TAB_DTX.C) and
// its Q format.
#ifndef KELSC_G729_G729_TABLES_H
#define KELSC_G729_G729_TABLES_H

#include "kelsc.h"

namespace kel::g729 {

constexpr int kOrder = 10;          // M: LP order
constexpr int kHalfOrder = 5;       // NC: order of F1(z), F2(z); the split of the second stage
constexpr int kWindow = 240;        // L_WINDOW: LP analysis window
constexpr int kLagCount = 12;       // lags of the lag window (10 for G.729, 12 for G.729B)
constexpr int kMaOrder = 4;         // MA_NP: frames of MA predictor memory
constexpr int kMaModes = 2;         // MODE: switched MA predictors
constexpr int kStage1Size = 128;    // NC0: first-stage vectors (7 bits)
constexpr int kStage2Size = 32;     // NC1: second-stage vectors (5 bits, per half)
constexpr int kGridTables = 2;      // w_eval_60 (G.729), w_eval_50 (G.729A)
constexpr int kCosSegments = 64;    // segments of the cosine and arc-cosine tables
constexpr int kSidStage1Size = 32;  // G.729B: first-stage SID vectors (5 bits)
constexpr int kSidStage2Size = 16;  // G.729B: second-stage SID vectors (4 bits)

// G.729 3.2.1 LP analysis window, 240 points (hamwindow), Q15.
extern const Kel16s kHamWindow[kWindow];

// G.729 3.2.1 lag window for lags 1..12 (lag_h, lag_l of G.729B, whose
// first ten entries are those of G.729), Q31, as one 32-bit word each:
// lag_h << 16 | lag_l << 1.
extern const Kel32s kLagWindow[kLagCount];

// G.729 3.2.3 Chebyshev evaluation grids: cos(pi k / 60), k = 0..60 (grid of
// G.729) and cos(pi k / 50), k = 0..50 (grid of G.729A), Q15, the end values
// held at 32760 and -32760. kGridTable lists them in that order (w_eval_tab).
extern const Kel16s kGrid60[61];
extern const Kel16s kGrid50[51];
extern const Kel16s* const kGridTable[kGridTables];
extern const int kGridPointCount[kGridTables];

// G.729 3.2.4 / 3.2.6 table interpolation of cos and acos on 64 segments:
// cos(pi k / 64) in Q15 (table2; table[0..63]), the slope of acos per
// segment in Q12 (slope_acos; slope) and of cos in Q19 (slope_cos).
extern const Kel16s kCos15[kCosSegments];
extern const Kel16s kAcos12[kCosSegments];
extern const Kel16s kSlopeCos[kCosSegments];

// G.729 3.2.4 LSP quantiser: first-stage codebook L1 (lspcb1, 128 x 10),
// second-stage codebook L2/L3 (lspcb2, 32 x 10, lower five coefficients for
// L2, upper five for L3), Q13.
extern const Kel16s kLspCode1[kStage1Size][kOrder];
extern const Kel16s kLspCode2[kStage2Size][kOrder];

// A set of switched MA predictors: coefficients (Q15, per mode, four past
// frames, ten LSFs), 1 - their sum per LSF (Q15) and its inverse (Q12).
struct MaPredictors {
    Kel16s fg[kMaModes][kMaOrder][kOrder];
    Kel16s fgSum[kMaModes][kOrder];
    Kel16s fgSumInv[kMaModes][kOrder];
};

// G.729 3.2.4 switched MA predictors (fg, fg_sum, fg_sum_inv).
extern const MaPredictors kMaPredictors;

// The first-stage codebook regrouped for the search: for coefficient pair
// p (0..4) and vector i, the pair (lspcb1[i][2p], lspcb1[i][2p + 1]) at
// [p][2 i], [p][2 i + 1]; and the smallest and largest value of each
// coefficient over the 128 vectors.
struct LspCode1Layout {
    Kel16s pairs[kHalfOrder][2 * kStage1Size];
    Kel16s min[kOrder];
    Kel16s max[kOrder];
};
extern const LspCode1Layout kLspCode1Layout;

// G.729B comfort-noise LSF quantiser (TAB_DTX.C): the noise MA predictors
// (noise_fg: predictor 0 is fg[0], predictor 1 the mix 0.6 fg[0] + 0.4 fg[1]
// that Init_lsfq_noise forms; noise_fg_sum, noise_fg_sum_inv); the 32
// first-stage and 2 x 16 second-stage vectors the SID quantiser may use, as
// rows of lspcb1 and lspcb2 (PtrTab_1, PtrTab_2); the per-predictor weights
// of the first-stage error (Mp, Q15).
extern const MaPredictors kNoiseMaPredictors;
extern const Kel16s kSidStage1Map[kSidStage1Size];
extern const Kel16s kSidStage2Map[2][kSidStage2Size];
extern const Kel16s kSidModeWeight[kMaModes];

// ---------------------------------------------------------------------------
// G.729 pitch analysis
// ---------------------------------------------------------------------------

constexpr int kInter3Size = 13;   // FIR_SIZE_ANA: taps of inter_3 (4 per side, step 3)
constexpr int kInter3LSize = 31;  // FIR_SIZE_SYN: taps of inter_3l (10 per side, step 3)

// G.729 3.7 interpolation filter of the normalised correlation (inter_3)
// and of the past excitation (inter_3l), both Q15, sampled at thirds.
extern const Kel16s kInter3[kInter3Size];
extern const Kel16s kInter3L[kInter3LSize];

// ---------------------------------------------------------------------------
// G.729 fixed-codebook search
// ---------------------------------------------------------------------------
constexpr int kSubframe = 40;     // L_SUBFR: samples of a sub-frame
constexpr int kTracks = 5;        // STEP: interleaved pulse tracks
constexpr int kPositions = 8;     // NB_POS: positions of a track
constexpr int kBlockSize = 64;    // MSIZE: one cross block, 8 x 8
constexpr int kMatrixSize = 616;  // DIM_RR: 5 diagonals of 8, 9 cross blocks

// G.729D 6.4 kbit/s codebook (trackTable0, trackTable1, grayEncode): the
// positions of the first pulse (5m + 1, 5m + 3) and of the second (5m,
// 5m + 2, 5m + 4, then 5m + 1), and the Gray code of a position index.
extern const Kel16s kTrack0_G729D[16];
extern const Kel16s kTrack1_G729D[32];
extern const Kel16s kGrayEncode_G729D[32];

// ---------------------------------------------------------------------------
// G.729 gain decoding and post-processing
// ---------------------------------------------------------------------------
// G.729 3.9 conjugate-structure gain codebooks (8 kbit/s): gbk1 (8 rows) and
// gbk2 (16 rows) of {pitch gain Q14, fixed-codebook correction Q13}, and the
// index maps from the transmitted indices to the rows (imap1, imap2).
constexpr int kGainCb1Size = 8, kGainCb2Size = 16;
extern const Kel16s kGainCb1[kGainCb1Size][2];
extern const Kel16s kGainCb2[kGainCb2Size][2];
extern const Kel16s kGainMap1[kGainCb1Size];
extern const Kel16s kGainMap2[kGainCb2Size];
// G.729 3.9.1 MA prediction coefficients of the fixed-codebook energy (Q13).
extern const Kel16s kGainPredictor[4];
// Annex D 6.4 kbit/s gain codebooks (gbk1_6k, gbk2_6k, 8 rows each of
// {pitch gain Q14, correction Q14}) and their index maps.
constexpr int kGainCb6kSize = 8;
extern const Kel16s kGainCb1_6k[kGainCb6kSize][2];
extern const Kel16s kGainCb2_6k[kGainCb6kSize][2];
extern const Kel16s kGainMap1_6k[kGainCb6kSize];
extern const Kel16s kGainMap2_6k[kGainCb6kSize];

}  // namespace kel::g729

#endif  // KELSC_G729_G729_TABLES_H
