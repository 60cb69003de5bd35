// Constant tables of ITU-T G.722 (its sub-band ADPCM blocks and its
// quadrature mirror filters), and the lookup tables the coding loops use,
// derived from them at compile time.
//
// The values of the standard's tables are those of G.722 as the ITU-T G.191
// (STL) reference holds them (src/g722/funcg722.c); the derived tables are
// computed below from those alone, by constant expressions, so no
// initialisation runs when the library loads.
#include "g722_tables.h"

namespace kel::g722 {

constexpr Kel16s table_quant_q6[kLowIntervals] = {
    35,  72,  110, 150,  190,  233,  276,  323,  370,  422,  473,  530,  587,  650,  714,
    786, 858, 940, 1023, 1121, 1219, 1339, 1458, 1612, 1765, 1980, 2195, 2557, 2919, 3200,
};

// Positive differences get the codes 61 down to 32, negative ones 63, 62,
// then 31 down to 4 (the codes 0..3 are never sent).
constexpr Kel16s table_misil[2][32] = {
    {0,  61, 60, 59, 58, 57, 56, 55, 54, 53, 52, 51, 50, 49, 48, 47,
     46, 45, 44, 43, 42, 41, 40, 39, 38, 37, 36, 35, 34, 33, 32, 0},
    {0,  63, 62, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19,
     18, 17, 16, 15, 14, 13, 12, 11, 10, 9,  8,  7,  6,  5,  4,  0},
};

constexpr Kel16s table_misih[2][3] = {
    {0, 3, 2},
    {0, 1, 0},
};

constexpr Kel16s table_quant_oq6[31] = {
    0,   17,  54,  91,  130,  170,  211,  254,  300,  347,  396,  447,  501,  558,  618,  682,
    750, 822, 899, 982, 1072, 1170, 1279, 1399, 1535, 1689, 1873, 2088, 2376, 2738, 3101,
};

constexpr Kel16s table_quant_ril6[64] = {
    1,  1,  1,  1,  30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17, 16, 15, 14, 13,
    12, 11, 10, 9,  8,  7,  6,  5,  4,  3,  30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19,
    18, 17, 16, 15, 14, 13, 12, 11, 10, 9,  8,  7,  6,  5,  4,  3,  2,  1,  2,  1,
};

constexpr Kel16s table_quant_risi6[64] = {
    -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
    -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,
    0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  -1, -1,
};

constexpr Kel16s table_quant_oq5[16] = {
    0, 35, 110, 190, 276, 370, 473, 587, 714, 858, 1023, 1219, 1458, 1765, 2195, 2919,
};

constexpr Kel16s table_quant_ril5[32] = {
    1, 1, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 1,
};

constexpr Kel16s table_quant_risi5[32] = {
    -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -1,
};

constexpr Kel16s table_quant_oq4[8] = {0, 150, 323, 530, 786, 1121, 1612, 2557};

constexpr Kel16s table_quant_ril4[16] = {0, 7, 6, 5, 4, 3, 2, 1, 7, 6, 5, 4, 3, 2, 1, 0};

constexpr Kel16s table_quant_risi4[16] = {0, -1, -1, -1, -1, -1, -1, -1, 0, 0, 0, 0, 0, 0, 0, 0};

constexpr Kel16s table_quant_oq2[3] = {0, 202, 926};

constexpr Kel16s table_quant_ih2[4] = {2, 1, 2, 1};

constexpr Kel16s table_quant_sih[4] = {-1, -1, 0, 0};

constexpr Kel16s table_quant_wl[8] = {-60, -30, 58, 172, 334, 538, 1198, 3042};

constexpr Kel16s table_quant_wh[3] = {0, -214, 798};

constexpr Kel16s table_ila[kIlaSize] = {
    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,    1,
    2,    2,    2,    2,    2,    2,    2,    2,    2,    2,    2,    2,    2,    3,    3,    3,    3,    3,    3,
    3,    3,    3,    3,    3,    4,    4,    4,    4,    4,    4,    4,    4,    5,    5,    5,    5,    5,    5,
    5,    6,    6,    6,    6,    6,    6,    7,    7,    7,    7,    7,    7,    8,    8,    8,    8,    8,    9,
    9,    9,    9,    10,   10,   10,   10,   11,   11,   11,   11,   12,   12,   12,   13,   13,   13,   13,   14,
    14,   15,   15,   15,   16,   16,   16,   17,   17,   18,   18,   18,   19,   19,   20,   20,   21,   21,   22,
    22,   23,   23,   24,   24,   25,   25,   26,   27,   27,   28,   28,   29,   30,   31,   31,   32,   33,   33,
    34,   35,   36,   37,   37,   38,   39,   40,   41,   42,   43,   44,   45,   46,   47,   48,   49,   50,   51,
    52,   54,   55,   56,   57,   58,   60,   61,   63,   64,   65,   67,   68,   70,   71,   73,   75,   76,   78,
    80,   82,   83,   85,   87,   89,   91,   93,   95,   97,   99,   102,  104,  106,  109,  111,  113,  116,  118,
    121,  124,  127,  129,  132,  135,  138,  141,  144,  147,  151,  154,  157,  161,  165,  168,  172,  176,  180,
    184,  188,  192,  196,  200,  205,  209,  214,  219,  223,  228,  233,  238,  244,  249,  255,  260,  266,  272,
    278,  284,  290,  296,  303,  310,  316,  323,  331,  338,  345,  353,  361,  369,  377,  385,  393,  402,  411,
    420,  429,  439,  448,  458,  468,  478,  489,  500,  511,  522,  533,  545,  557,  569,  582,  594,  607,  621,
    634,  648,  663,  677,  692,  707,  723,  739,  755,  771,  788,  806,  823,  841,  860,  879,  898,  918,  938,
    958,  979,  1001, 1023, 1045, 1068, 1092, 1115, 1140, 1165, 1190, 1216, 1243, 1270, 1298, 1327, 1356, 1386, 1416,
    1447, 1479, 1511, 1544, 1578, 1613, 1648, 1684, 1721, 1759, 1797, 1837, 1877, 1918, 1960, 2003, 2047, 2092, 2138,
    2185, 2232, 2281, 2331, 2382, 2434, 2488, 2542, 2598, 2655, 2713, 2773, 2833, 2895, 2959, 3024, 3090, 3157, 3227,
    3297, 3370, 3443, 3519, 3596, 3675, 3755, 3837, 3921, 4007, 4095,
};

constexpr Kel16s TableQMFCoeff[kQmfTaps] = {
    6,    -22,  -22,   106,  24,  -312, 64,   724, -420, -1610, 1902, 7752,
    7752, 1902, -1610, -420, 724, 64,   -312, 24,  106,  -22,   -22,  6,
};

// ---------------------------------------------------------------------------
// Derived tables.
// ---------------------------------------------------------------------------

namespace {

// An inverse-quantizer output as INVQAL, INVQBL and INVQAH form their
// multiplier of DETL or DETH: the level shifted left by 3 (Q12 to Q15),
// negated for a negative code.
constexpr Kel16s signedLevel(Kel16s level, Kel16s sign) {
    const int v = level << 3;
    return static_cast<Kel16s>(sign != 0 ? -v : v);
}

constexpr Table<Kel16u, 32> lowLevelsX16() {
    Table<Kel16u, 32> t{};
    for (int i = 0; i < kLowLevels; ++i) t.v[i] = static_cast<Kel16u>(table_quant_q6[i] * 16);
    return t;
}

constexpr Table<Kel16s, 16> lowDq4() {
    Table<Kel16s, 16> t{};
    for (int c = 0; c < 16; ++c) t.v[c] = signedLevel(table_quant_oq4[table_quant_ril4[c]], table_quant_risi4[c]);
    return t;
}

constexpr Table<Kel16s, 64> lowQuantizedDq() {
    const Table<Kel16s, 16> dq4 = lowDq4();
    Table<Kel16s, 64> t{};
    for (int sign = 0; sign < 2; ++sign) {
        for (int mil = 1; mil <= kLowIntervals; ++mil) t.v[sign * 32 + mil] = dq4.v[table_misil[sign][mil] >> 2];
    }
    return t;
}

constexpr Table<Kel16s, 16> lowW4() {
    Table<Kel16s, 16> t{};
    for (int c = 0; c < 16; ++c) t.v[c] = table_quant_wl[table_quant_ril4[c]];
    return t;
}

// mode 0: 6-bit quantizer; 1: 5-bit; 2: 4-bit.
constexpr Table<Kel16s, 64> lowOutputDq(int mode) {
    Table<Kel16s, 64> t{};
    for (int c = 0; c < 64; ++c) {
        if (mode == 0) {
            t.v[c] = signedLevel(table_quant_oq6[table_quant_ril6[c]], table_quant_risi6[c]);
        } else if (mode == 1) {
            t.v[c] = signedLevel(table_quant_oq5[table_quant_ril5[c >> 1]], table_quant_risi5[c >> 1]);
        } else {
            t.v[c] = signedLevel(table_quant_oq4[table_quant_ril4[c >> 2]], table_quant_risi4[c >> 2]);
        }
    }
    return t;
}

constexpr Table<Kel16s, 4> highDq() {
    Table<Kel16s, 4> t{};
    for (int c = 0; c < 4; ++c) t.v[c] = signedLevel(table_quant_oq2[table_quant_ih2[c]], table_quant_sih[c]);
    return t;
}

constexpr Table<Kel16s, 4> highW() {
    Table<Kel16s, 4> t{};
    for (int c = 0; c < 4; ++c) t.v[c] = table_quant_wh[table_quant_ih2[c]];
    return t;
}

constexpr Table<Kel16s, kIlaSize> scale() {
    Table<Kel16s, kIlaSize> t{};
    for (int i = 0; i < kIlaSize; ++i) t.v[i] = static_cast<Kel16s>((table_ila[i] + 1) << 2);
    return t;
}

}  // namespace

constexpr Table<Kel16u, 32> kLowLevelsX16 = lowLevelsX16();
constexpr Table<Kel16s, 64> kLowQuantizedDq = lowQuantizedDq();
constexpr Table<Kel16s, 16> kLowDq4 = lowDq4();
constexpr Table<Kel16s, 16> kLowW4 = lowW4();
constexpr Table<Kel16s, 64> kLowOutputDq[3] = {lowOutputDq(0), lowOutputDq(1), lowOutputDq(2)};
constexpr Table<Kel16s, 4> kHighDq = highDq();
constexpr Table<Kel16s, 4> kHighW = highW();
constexpr Table<Kel16s, kIlaSize> kScale = scale();

}  // namespace kel::g722
