// Constant tables of ITU-T G.722 sub-band ADPCM and its QMF
// (g722_tables.cpp): the Recommendation's tables under the names the library
// gives them, and lookup tables derived from them for the coding loops.
// Internal to the library.
#ifndef KELSC_WAVEFORM_G722_TABLES_H
#define KELSC_WAVEFORM_G722_TABLES_H

#include "kelsc.h"

namespace kel::g722 {

constexpr int kQmfTaps = 24;          // QMF filter length (both directions)
constexpr int kLowIntervals = 30;     // intervals of the 6-bit quantizer per sign
constexpr int kLowLevels = 29;        // finite decision levels between them
constexpr int kIlaSize = 353;         // entries of the inverse log table ILA
constexpr int kLowNablaMax = 18432;   // limit of NBL (block 3L LOGSCL)
constexpr int kHighNablaMax = 22528;  // limit of NBH (block 3H LOGSCH)

// ---------------------------------------------------------------------------
// The standard's tables (values of G.722 and of the ITU-T G.191 reference).
// ---------------------------------------------------------------------------

// G.722 block 1L QUANTL: the 30 positive decision levels of the
// lower-band quantizer, times 2^12 / DETL (Q12 multipliers of DETL). The
// last, 3200, closes the table; the quantizer's top interval is open, so it
// never decides.
extern const Kel16s table_quant_q6[kLowIntervals];

// Block 1L QUANTL: the 6-bit code ILR for sign (0 positive, 1 negative)
// and interval MIL 1..30 (entries 0 and 31 unused).
extern const Kel16s table_misil[2][32];

// Block 1H QUANTH: the 2-bit code IH for sign (0 positive, 1 negative) and
// interval MIH 1..2 (entry 0 unused).
extern const Kel16s table_misih[2][3];

// Blocks 2L INVQAL / 5L INVQBL: inverse-quantizer outputs of the
// 6-bit (31), 5-bit (16) and 4-bit (8) quantizers, Q12 multipliers of DETL
// (shifted left by 3 they become Q15), and for every code word the output
// index (ril) and the sign (risi: -1 negative, 0 positive). Codes 0..3 of
// the 6-bit quantizer and 0, 1, 31 of the 5-bit one are not produced by an
// encoder; they decode as the tables say.
extern const Kel16s table_quant_oq6[31];
extern const Kel16s table_quant_ril6[64];
extern const Kel16s table_quant_risi6[64];
extern const Kel16s table_quant_oq5[16];
extern const Kel16s table_quant_ril5[32];
extern const Kel16s table_quant_risi5[32];
extern const Kel16s table_quant_oq4[8];
extern const Kel16s table_quant_ril4[16];
extern const Kel16s table_quant_risi4[16];

// Block 2H INVQAH: the 2-bit inverse-quantizer outputs (Q12
// multipliers of DETH), the output index and the sign of each code IH.
extern const Kel16s table_quant_oq2[3];
extern const Kel16s table_quant_ih2[4];
extern const Kel16s table_quant_sih[4];

// Blocks 3L LOGSCL, 3H LOGSCH: the log scale-factor
// multipliers WL (by 4-bit output index) and WH (by 2-bit output index).
extern const Kel16s table_quant_wl[8];
extern const Kel16s table_quant_wh[3];

// Blocks 3L SCALEL, 3H SCALEH: the inverse log table ILA, 353 entries,
// ILA[i] about 2^(i / 32 + 1) - 1.
extern const Kel16s table_ila[kIlaSize];

// The G.722 transmit and receive QMF: the 24 coefficients h0..h23, doubled
// (the Recommendation's values times 2, so that products are Q15 sums).
extern const Kel16s TableQMFCoeff[kQmfTaps];

// ---------------------------------------------------------------------------
// Lookup tables derived from the above at compile time (g722_tables.cpp), so
// that each step of the coding loops is one load.
// ---------------------------------------------------------------------------

// A table as a value: what a constant expression can compute.
template <typename T, int N>
struct Table {
    T v[N];
};

// Lower-band quantizer decision levels q6 * 16 as unsigned 16-bit values
// (so that a 16 x 16-bit high product with DETL gives (q6 * DETL) >> 12, as
// QUANTL compares): the 29 finite levels, then three zero lanes.
extern const Table<Kel16u, 32> kLowLevelsX16;

// Block 1L QUANTL followed by block 2L INVQAL, by sign * 32 + interval MIL:
// the signed Q15 multiplier of DETL that the encoder's local decoder
// reconstructs from the code of that interval (its 4-bit code ILR >> 2);
// 0 for the unused entries.
extern const Table<Kel16s, 64> kLowQuantizedDq;

// Blocks 2L INVQAL and 3L LOGSCL by 4-bit code IL4 = ILR >> 2: the signed
// Q15 multiplier of DETL, and WL.
extern const Table<Kel16s, 16> kLowDq4;
extern const Table<Kel16s, 16> kLowW4;

// Block 5L INVQBL by 6-bit code ILR, for the decoder's output: the signed
// Q15 multiplier of DETL of the 6-bit (index 0, mode 1), 5-bit (index 1,
// mode 2: the code's last bit dropped) and 4-bit (index 2, mode 3: the last
// two bits dropped) inverse quantizer.
extern const Table<Kel16s, 64> kLowOutputDq[3];

// Blocks 2H INVQAH and 3H LOGSCH by code IH: the signed Q15 multiplier of
// DETH, and WH.
extern const Table<Kel16s, 4> kHighDq;
extern const Table<Kel16s, 4> kHighW;

// Blocks 3L SCALEL and 3H SCALEH: the scale factor (ILA[i] + 1) << 2. The
// lower band reads entry (NBL >> 6) + 64, the higher band entry NBH >> 6.
extern const Table<Kel16s, kIlaSize> kScale;

}  // namespace kel::g722

#endif  // KELSC_WAVEFORM_G722_TABLES_H
