// G.729 fixed-codebook search against the reference routines (golden data in
// tests/vectors/g729/fixed_codebook): the correlation matrix (Cor_h, its
// 32-bit sums captured), the G.729 search (D4i40_17) with its budget and
// the annex A search (D4i40_17_fast), both forms of each, the matrix left
// behind by each; the budget and index-word rules; the zero-matrix rule.
#include <gtest/gtest.h>
#include <string.h>

#include <vector>

#include "g729/g729_golden.h"
#include "kelsc.h"
#include "support/test_data.h"

namespace {

using namespace kelsc_test;
using V32 = std::vector<Kel32s>;

constexpr int kMatrix = 616;

// One sub-frame of the golden files, with the outputs of both searches.
struct Case {
    V16 h;    // empty for an arbitrary matrix
    V32 cor;  // the reference's 32-bit L_mac sums behind each entry (with h)
    V16 rr, dn;
    Kel16s budget, subFrame;
    V16 code, words, rrAfter;  // G.729: code[40], sign and position words, matrix after
    Kel16s budgetAfter;
    V16 codeA, wordsA, rrAfterA;  // G.729A
};

void readSearches(Fields& f, Case& c) {
    c.dn = f.take(40);
    c.budget = f.one();
    c.subFrame = f.one();
    c.code = f.take(40);
    c.words = f.take(2);
    c.budgetAfter = f.one();
    c.rrAfter = f.take(kMatrix);
    c.codeA = f.take(40);
    c.wordsA = f.take(2);
    c.rrAfterA = f.take(kMatrix);
}

// subframes.bin (2631 words a row): h[40], the 616 32-bit sums (low, high
// word), Dn[40], budget in, sub-frame flag, G.729 code[40], sign word,
// position word, budget out, matrix after[616], G.729A code[40], sign word,
// position word, matrix after[616]. matrices.bin (1975 words): the 16-bit
// matrix[616] in place of h and the sums, then the same fields.
std::vector<Case> cases() {
    std::vector<Case> all;
    for (const V16& row : g729Rows("fixed_codebook/subframes.bin", 2631)) {
        Fields f(row);
        Case c;
        c.h = f.take(40);
        for (int i = 0; i < kMatrix; ++i) c.cor.push_back(f.word32());
        for (Kel32s v : c.cor) c.rr.push_back(static_cast<Kel16s>(v >> 16));
        readSearches(f, c);
        all.push_back(c);
    }
    for (const V16& row : g729Rows("fixed_codebook/matrices.bin", 1975)) {
        Fields f(row);
        Case c;
        c.rr = f.take(kMatrix);
        readSearches(f, c);
        all.push_back(c);
    }
    return all;
}

const std::vector<Case>& golden() {
    static const std::vector<Case> c = cases();
    return c;
}

int64_t energy(const V16& h) {
    int64_t e = 0;
    for (Kel16s v : h) e += int32_t{v} * v;
    return e;
}

TEST(FixedCodebookGolden, MatrixMatchesReference) {
    int rows = 0, saturated = 0;
    for (size_t n = 0; n < golden().size(); ++n) {
        const Case& c = golden()[n];
        if (c.h.empty()) continue;
        V32 m32(kMatrix);
        V16 m16(kMatrix);
        ASSERT_EQ(kelsToeplizMatrix_G729_16s32s(c.h.data(), m32.data()), kelStatusOk);
        ASSERT_EQ(kelsToeplizMatrix_G729_16s(c.h.data(), m16.data()), kelStatusOk);
        V32 want32(kMatrix);
        V16 want16 = c.rr;
        if ((energy(c.h) >> 15) == 0) {
            want16.assign(kMatrix, 0);  // the zero-matrix rule, not the reference's normalisation
        } else {
            for (int i = 0; i < kMatrix; ++i) want32[i] = c.cor[i] >> 1;
        }
        EXPECT_EQ(m32, want32) << "row " << n;
        EXPECT_EQ(m16, want16) << "row " << n;
        for (Kel32s v : c.cor) saturated += v == 2147483647 || v == -2147483647 - 1;
        ++rows;
    }
    EXPECT_GE(rows, 30);
    EXPECT_GT(saturated, 0) << "no row exercises the saturating sums";
}

// Both forms of each search on every golden row: outputs, remaining budget
// and the sign-modified matrix left in the caller's array.
TEST(FixedCodebookGolden, SearchesMatchReference) {
    int exhausted = 0;
    for (size_t n = 0; n < golden().size(); ++n) {
        const Case& c = golden()[n];
        V32 wide(kMatrix), wantWide(kMatrix), wantWideA(kMatrix);
        for (int i = 0; i < kMatrix; ++i) {
            wide[i] = c.cor.empty() ? c.rr[i] * 32768 : c.cor[i] >> 1;
            wantWide[i] = c.rrAfter[i];
            wantWideA[i] = c.rrAfterA[i];
        }
        V16 code(40), words(2);

        V16 rr = c.rr;
        Kel16s budget = c.budget;
        ASSERT_EQ(
            kelsFixedCodebookSearch_G729_16s(c.dn.data(), rr.data(), code.data(), words.data(), &budget, c.subFrame),
            kelStatusOk);
        EXPECT_EQ(code, c.code) << "row " << n;
        EXPECT_EQ(words, c.words) << "row " << n;
        EXPECT_EQ(budget, c.budgetAfter) << "row " << n;
        EXPECT_EQ(rr, c.rrAfter) << "row " << n;
        exhausted += c.budgetAfter <= 0;

        V32 m = wide;
        budget = c.budget;
        code.assign(40, 1);
        ASSERT_EQ(kelsFixedCodebookSearch_G729_32s16s(c.dn.data(), m.data(), code.data(), words.data(), &budget,
                                                      c.subFrame ? 7 : 0),
                  kelStatusOk);
        EXPECT_EQ(code, c.code) << "row " << n;
        EXPECT_EQ(words, c.words) << "row " << n;
        EXPECT_EQ(budget, c.budgetAfter) << "row " << n;
        EXPECT_EQ(m, wantWide) << "row " << n;

        rr = c.rr;
        code.assign(40, 1);
        ASSERT_EQ(kelsFixedCodebookSearch_G729A_16s(c.dn.data(), rr.data(), code.data(), words.data()), kelStatusOk);
        EXPECT_EQ(code, c.codeA) << "row " << n;
        EXPECT_EQ(words, c.wordsA) << "row " << n;
        EXPECT_EQ(rr, c.rrAfterA) << "row " << n;

        m = wide;
        code.assign(40, 1);
        ASSERT_EQ(kelsFixedCodebookSearch_G729A_32s16s(c.dn.data(), m.data(), code.data(), words.data()), kelStatusOk);
        EXPECT_EQ(code, c.codeA) << "row " << n;
        EXPECT_EQ(words, c.wordsA) << "row " << n;
        EXPECT_EQ(m, wantWideA) << "row " << n;
    }
    EXPECT_GE(exhausted, 4) << "rows where the budget runs out";
}

// The matrix of a golden speech row and its Dn, for the rule tests below.
struct Subframe {
    V16 rr, dn;
};

Subframe speechRow() {
    const Case& c = golden()[0];
    return {c.rr, c.dn};
}

// The budget: a first sub-frame starts from 30 + 75 whatever is stored, a
// second from the stored value + 75. With |Dn| = 1000 except at positions
// 0, 1, 2 the threshold is 2625 + 0.4 (3000 - 2625) = 2775 and 343 of the
// 512 triples pass it, so the search takes exactly the budget.
TEST(FixedCodebookRules, BudgetPerSubframe) {
    V16 dn(40);
    for (int i = 0; i < 40; ++i) dn[i] = static_cast<Kel16s>(i < 3 ? 0 : (i % 2 ? -1000 : 1000));
    const Subframe s = speechRow();
    struct Row {
        int subFrame;
        Kel16s stored, left;
    } rows[] = {{0, 0, 0}, {0, -500, 0}, {0, 32767, 0}, {1, 0, 0}, {1, -74, 0}, {1, -80, -6}};
    for (const Row& r : rows) {
        V16 rr = s.rr, code(40), words(2);
        Kel16s budget = r.stored;
        ASSERT_EQ(
            kelsFixedCodebookSearch_G729_16s(dn.data(), rr.data(), code.data(), words.data(), &budget, r.subFrame),
            kelStatusOk);
        EXPECT_EQ(budget, r.left) << r.subFrame << " " << r.stored;
    }
    // A flat Dn never passes the threshold (mean + 0.4 (3 max - mean) = 3 max):
    // the whole budget is left.
    dn.assign(40, 500);
    V16 rr = s.rr, code(40), words(2);
    Kel16s budget = 3;
    ASSERT_EQ(kelsFixedCodebookSearch_G729_16s(dn.data(), rr.data(), code.data(), words.data(), &budget, 0),
              kelStatusOk);
    EXPECT_EQ(budget, 105);
    EXPECT_EQ(words[1], 0 + (0 << 3) + (0 << 6) + (0 << 9)) << "default pulses 0, 1, 2, 3";
    budget = 0;
    rr = s.rr;
    ASSERT_EQ(kelsFixedCodebookSearch_G729_16s(dn.data(), rr.data(), code.data(), words.data(), &budget, 1),
              kelStatusOk);
    EXPECT_EQ(budget, 75);
}

// Index words: one large positive or negative Dn per track pins the pulses;
// the code vector carries 8191 / -8192 there and zeros elsewhere.
TEST(FixedCodebookRules, SignAndPositionWords) {
    struct Row {
        int p0, p1, p2, p3;
        bool neg0, neg1, neg2, neg3;
    } rows[] = {
        {35, 31, 37, 39, false, true, false, true},
        {0, 1, 2, 3, true, false, true, false},
        {20, 6, 12, 24, false, false, false, false},
        {5, 36, 27, 38, true, true, true, true},
    };
    // Identity-like energies: the search maximises the correlation.
    V16 rr(kMatrix, 0);
    for (int i = 0; i < 40; ++i) rr[i] = 8192;
    for (const Row& r : rows) {
        V16 dn(40, 10);
        const int pos[4] = {r.p0, r.p1, r.p2, r.p3};
        const bool neg[4] = {r.neg0, r.neg1, r.neg2, r.neg3};
        for (int k = 0; k < 4; ++k) dn[pos[k]] = static_cast<Kel16s>(neg[k] ? -6000 : 6000);
        V16 want(40, 0);
        int sign = 0;
        for (int k = 0; k < 4; ++k) {
            want[pos[k]] = static_cast<Kel16s>(neg[k] ? -8192 : 8191);
            sign |= neg[k] ? 0 : 1 << k;
        }
        const int j = r.p3 % 5 == 4;
        const int position = r.p0 / 5 + (r.p1 / 5 << 3) + (r.p2 / 5 << 6) + ((2 * (r.p3 / 5) + j) << 9);
        for (bool annexA : {false, true}) {
            V16 m = rr, code(40), words(2);
            Kel16s budget = 0;
            const KelStatus st =
                annexA ? kelsFixedCodebookSearch_G729A_16s(dn.data(), m.data(), code.data(), words.data())
                       : kelsFixedCodebookSearch_G729_16s(dn.data(), m.data(), code.data(), words.data(), &budget, 0);
            ASSERT_EQ(st, kelStatusOk);
            EXPECT_EQ(code, want) << r.p0 << " A=" << annexA;
            EXPECT_EQ(words[0], sign) << r.p0 << " A=" << annexA;
            EXPECT_EQ(words[1], position) << r.p0 << " A=" << annexA;
        }
    }
}

// A response of negligible energy (E >> 15 = 0) gives the zero matrix in
// both forms; one just above keeps a non-zero matrix.
TEST(FixedCodebookRules, ZeroMatrix) {
    struct Row {
        Kel16s value;
        int count;
        bool zero;
    } rows[] = {{0, 40, true}, {1, 40, true}, {181, 1, true}, {-28, 40, true}, {182, 1, false}, {-29, 40, false}};
    for (const Row& r : rows) {
        V16 h(40, 0);
        for (int i = 0; i < r.count; ++i) h[i] = r.value;
        V32 m32(kMatrix, 77);
        V16 m16(kMatrix, 77);
        ASSERT_EQ(kelsToeplizMatrix_G729_16s32s(h.data(), m32.data()), kelStatusOk);
        ASSERT_EQ(kelsToeplizMatrix_G729_16s(h.data(), m16.data()), kelStatusOk);
        EXPECT_EQ(m32 == V32(kMatrix, 0), r.zero) << r.value;
        EXPECT_EQ(m16 == V16(kMatrix, 0), r.zero) << r.value;
    }
}

// The _32s16s search accepts any sub-frame number above 0 as the second
// sub-frame; the _16s search only 0 and 1.
TEST(FixedCodebookRules, SubframeNumbers) {
    const Subframe s = speechRow();
    V16 code(40), words(2);
    for (int sub : {1, 2, 40, 1000}) {
        V32 m(kMatrix);
        for (int i = 0; i < kMatrix; ++i) m[i] = s.rr[i] * 32768;
        Kel16s budget = 9;
        ASSERT_EQ(kelsFixedCodebookSearch_G729_32s16s(s.dn.data(), m.data(), code.data(), words.data(), &budget, sub),
                  kelStatusOk);
        V16 rr = s.rr;
        V16 code1(40), words1(2);
        Kel16s budget1 = 9;
        ASSERT_EQ(kelsFixedCodebookSearch_G729_16s(s.dn.data(), rr.data(), code1.data(), words1.data(), &budget1, 1),
                  kelStatusOk);
        EXPECT_EQ(code, code1);
        EXPECT_EQ(words, words1);
        EXPECT_EQ(budget, budget1);
    }
}

}  // namespace

namespace {

using namespace kelsc_test;

// Arbitrary Dn and matrices (random, all extreme, mixed extremes) in heap
// arrays of exactly the stated sizes (out-of-bounds accesses show under the
// address sanitizer): the G.729 search returns four pulses on their tracks
// with valid index words. The annex A search, like its reference, keeps
// positions of an earlier pass when no pair improves on the start values
// (all-extreme correlations), so its pulses may coincide or sit off their
// tracks: it only has to stay within its arrays and write pulse values.
TEST(FixedCodebookRobustness, ArbitraryCorrelations) {
    Rng rng(2931);
    for (int t = 0; t < 400; ++t) {
        const int kind = t % 5;
        auto value = [&](int i) -> Kel16s {
            switch (kind) {
                case 0: return static_cast<Kel16s>(rng.next());
                case 1: return -32768;
                case 2: return 32767;
                case 3: return (rng.next() & 1) ? -32768 : 32767;
                default: return static_cast<Kel16s>(i % 3 ? 0 : static_cast<Kel16s>(rng.next()));
            }
        };
        std::vector<Kel16s> dn(40), rr(616), code(40), idx(2);
        std::vector<Kel32s> rr32(616);
        std::vector<Kel16s> times(1, static_cast<Kel16s>(rng.next()));
        for (int i = 0; i < 40; ++i) dn[i] = value(i);
        for (int i = 0; i < 616; ++i) {
            rr[i] = value(i);
            rr32[i] = static_cast<Kel32s>(rng.next());
        }
        for (int form = 0; form < 4; ++form) {
            std::vector<Kel16s> m16 = rr;
            std::vector<Kel32s> m32 = rr32;
            KelStatus st = kelStatusOk;
            switch (form) {
                case 0:
                    st = kelsFixedCodebookSearch_G729_16s(dn.data(), m16.data(), code.data(), idx.data(), times.data(),
                                                          t & 1);
                    break;
                case 1:
                    st = kelsFixedCodebookSearch_G729_32s16s(dn.data(), m32.data(), code.data(), idx.data(),
                                                             times.data(), t & 3);
                    break;
                case 2: st = kelsFixedCodebookSearch_G729A_16s(dn.data(), m16.data(), code.data(), idx.data()); break;
                default:
                    st = kelsFixedCodebookSearch_G729A_32s16s(dn.data(), m32.data(), code.data(), idx.data());
                    break;
            }
            ASSERT_EQ(st, kelStatusOk);
            int pulses = 0, sign = 0;
            for (int i = 0; i < 40; ++i) {
                if (code[i] == 0) continue;
                ASSERT_TRUE(code[i] == 8191 || code[i] == -8192) << code[i];
                ++pulses;
                if (form >= 2) continue;
                const int k = i % 5 < 4 ? i % 5 : 3;
                sign |= code[i] > 0 ? 1 << k : 0;
            }
            if (form >= 2) {
                EXPECT_TRUE(pulses >= 1 && pulses <= 4) << t << " " << form;
                continue;
            }
            EXPECT_EQ(pulses, 4) << t << " " << form;
            EXPECT_EQ(idx[0], sign) << t << " " << form;
            EXPECT_TRUE(idx[1] >= 0 && idx[1] < 8192) << idx[1];
        }
    }
}

}  // namespace
