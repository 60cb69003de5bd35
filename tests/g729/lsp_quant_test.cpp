// G.729 LSP quantisation against the reference routines (golden data in
// tests/vectors/g729): Lsp_qua_cs and Qua_lsp with speech-driven and far
// predictor memories, Lsp_iqua_cs with its erasure path, the annex B SID
// quantiser and decoder, the annex E quantiser and decoder; the
// pre-processing and post-processing high-pass filters; the vector form of
// the first-stage search against its exact form.
#include <gtest/gtest.h>
#include <string.h>

#include "basop.h"
#include "g729/g729_golden.h"
#include "g729/g729_internal.h"

namespace {

using namespace kelsc_test;

// The four indices of the two G.729 parameter words, as the decoder reads them.
V16 splitWords(Kel16s w0, Kel16s w1) {
    return {static_cast<Kel16s>((w0 >> 7) & 1), static_cast<Kel16s>(w0 & 127), static_cast<Kel16s>((w1 >> 5) & 31),
            static_cast<Kel16s>(w1 & 31)};
}

// lsf_quant.bin (124 words): LSP valid flag, lsp[10], freq_prev[40], lsf[10]
// (Lsp_lsf2 of the LSPs, or arbitrary LSFs when the flag is 0); Lsp_qua_cs:
// code[2], lsf_q[10]; Lsf_lsp2 of lsf_q[10]; freq_prev after[40]; the
// stability warnings. Rows from the G.729 encoder over SPEECH.IN (every 25th
// frame of 2500) and stress rows with far memories and arbitrary LSFs.
TEST(LspQuantGolden, QuantiserMatchesReference) {
    const auto rows = g729Rows("lsf_quant.bin", 124);
    int warned[4] = {0};
    for (size_t n = 0; n < rows.size(); ++n) {
        Fields f(rows[n]);
        const bool lspValid = f.one() != 0;
        const V16 lsp = f.take(10), prev = f.take(40), lsf = f.take(10), code = f.take(2);
        const V16 lsfq = f.take(10), lspq = f.take(10), prevAfter = f.take(40);
        const int bits = f.one();
        ++warned[bits];

        V16 mem = prev, q(10), idx(4);
        EXPECT_EQ(kelsLSFQuant_G729_16s(lsf.data(), mem.data(), q.data(), idx.data()), clampStatus(bits)) << n;
        EXPECT_EQ(idx, splitWords(code[0], code[1])) << "row " << n;
        EXPECT_EQ(q, lsfq) << "row " << n;
        EXPECT_EQ(mem, prevAfter) << "row " << n;
        if (!lspValid) continue;

        mem = prev;
        V16 words(2);
        EXPECT_EQ(kelsLSPQuant_G729_16s(lsp.data(), mem.data(), q.data(), words.data()), kelStatusOk);
        EXPECT_EQ(words, code) << "row " << n;
        EXPECT_EQ(q, lspq) << "row " << n;
        EXPECT_EQ(mem, prevAfter) << "row " << n;
        q = lsp;  // in place
        mem = prev;
        EXPECT_EQ(kelsLSPQuant_G729_16s(q.data(), mem.data(), q.data(), words.data()), kelStatusOk);
        EXPECT_EQ(q, lspq);
    }
    for (int b = 0; b < 4; ++b) EXPECT_GE(warned[b], 3) << "warning " << b;
}

// lsf_decode.bin (105 words): prm[2], erase flag, prev_ma, prev_lsp[10],
// freq_prev[40]; Lsp_iqua_cs: lsf_q[10], freq_prev after[40], warnings.
// Random parameter words (the decoder masks them), varied memories.
TEST(LspQuantGolden, DecoderMatchesReference) {
    const auto rows = g729Rows("lsf_decode.bin", 105);
    int erased = 0, warned[4] = {0};
    for (size_t n = 0; n < rows.size(); ++n) {
        Fields f(rows[n]);
        const V16 prm = f.take(2);
        const bool erase = f.one() != 0;
        const Kel16s prevMa = f.one();
        const V16 prevLsp = f.take(10), prev = f.take(40), lsfq = f.take(10), prevAfter = f.take(40);
        const int bits = f.one();
        V16 mem = prev, q(10);
        if (erase) {
            ++erased;
            EXPECT_EQ(kelsLSFDecodeErased_G729_16s(prevMa, mem.data(), prevLsp.data()), kelStatusOk);
            EXPECT_EQ(mem, prevAfter) << "row " << n;
            EXPECT_EQ(lsfq, prevLsp);  // the reference repeats the LSFs
            mem = prev;                // predictor 2 or 3 acts as 0 or 1
            EXPECT_EQ(kelsLSFDecodeErased_G729_16s(static_cast<Kel16s>(prevMa + 2), mem.data(), prevLsp.data()),
                      kelStatusOk);
            EXPECT_EQ(mem, prevAfter);
            continue;
        }
        ++warned[bits];
        V16 idx = splitWords(prm[0], prm[1]);
        EXPECT_EQ(kelsLSFDecode_G729_16s(idx.data(), mem.data(), q.data()), clampStatus(bits)) << "row " << n;
        EXPECT_EQ(q, lsfq) << "row " << n;
        EXPECT_EQ(mem, prevAfter) << "row " << n;
        // Unmasked indices read inside the codebooks: the fields' low bits.
        idx[0] = static_cast<Kel16s>(idx[0] + 2);
        idx[1] = static_cast<Kel16s>(idx[1] | (prm[0] & ~127));
        idx[2] = static_cast<Kel16s>(idx[2] - 32 * (n % 5));
        idx[3] = static_cast<Kel16s>(prm[1]);
        mem = prev;
        EXPECT_EQ(kelsLSFDecode_G729_16s(idx.data(), mem.data(), q.data()), clampStatus(bits));
        EXPECT_EQ(q, lsfq) << "row " << n;
        EXPECT_EQ(mem, prevAfter);
    }
    EXPECT_GE(erased, 10);
    for (int b = 0; b < 4; ++b) EXPECT_GE(warned[b], 3) << "warning " << b;
}

// sid_lsf.bin (158 words): lsp[10], freq_prev[40]; lsfq_noise: ana[3],
// lspq[10], freq_prev after[40], warnings; then sid_lsfq_decode of random
// indices on the same memory: idx[3], lspq[10], freq_prev after[40],
// warnings. The library works on LSFs: the LSPs go through the G.729
// conversions, as lsfq_noise and sid_lsfq_decode do inside.
TEST(LspQuantGolden, AnnexBSidQuantiserAndDecoder) {
    const auto rows = g729Rows("sid_lsf.bin", 158);
    for (size_t n = 0; n < rows.size(); ++n) {
        Fields f(rows[n]);
        const V16 lsp = f.take(10), prev = f.take(40), ana = f.take(3), lspq = f.take(10), prevAfter = f.take(40);
        const int bits = f.one();
        const V16 didx = f.take(3), dlspq = f.take(10), dprevAfter = f.take(40);
        const int dbits = f.one();

        V16 lsf(10), mem = prev, q(10), idx(3), out(10);
        ASSERT_EQ(kelsLSPToLSF_G729_16s(lsp.data(), lsf.data()), kelStatusOk);
        const V16 lsfIn = lsf;
        EXPECT_EQ(kelsLSFQuant_G729B_16s(lsf.data(), mem.data(), q.data(), idx.data()), clampStatus(bits)) << n;
        EXPECT_EQ(lsf, lsfIn) << "the input is not modified";
        EXPECT_EQ(idx, ana) << "row " << n;
        ASSERT_EQ(kelsLSFToLSP_G729_16s(q.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, lspq) << "row " << n;
        EXPECT_EQ(mem, prevAfter) << "row " << n;

        mem = prev;
        EXPECT_EQ(kelsLSFDecode_G729B_16s(didx.data(), mem.data(), q.data()), clampStatus(dbits)) << n;
        ASSERT_EQ(kelsLSFToLSP_G729_16s(q.data(), out.data()), kelStatusOk);
        EXPECT_EQ(out, dlspq) << "row " << n;
        EXPECT_EQ(mem, dprevAfter) << "row " << n;
    }
}

// lspe.bin (188 words): lsp[10], freq_prev[40]; Qua_lspe: code[2], lsp_q[10],
// freq_cur[10]; then Lsp_iqua_cse: prm[2], erase flag, prev_ma, prev_lsp[10],
// freq_prev[40] in; lsf_q[10], freq_prev[40], prev_lsp[10], prev_ma out,
// warnings.
TEST(LspQuantGolden, AnnexEQuantiserAndDecoder) {
    const auto rows = g729Rows("lspe.bin", 188);
    int erased = 0;
    for (size_t n = 0; n < rows.size(); ++n) {
        Fields f(rows[n]);
        const V16 lsp = f.take(10), prev = f.take(40), code = f.take(2), lspq = f.take(10), cur = f.take(10);
        const V16 prm = f.take(2);
        const bool erase = f.one() != 0;
        const Kel16s prevMa = f.one();
        const V16 prevLsp = f.take(10), dprev = f.take(40), lsfq = f.take(10), dprevAfter = f.take(40);
        const V16 prevLspAfter = f.take(10);
        const Kel16s prevMaAfter = f.one();
        const int bits = f.one();

        V16 q(10), words(2), fc(10);
        EXPECT_EQ(kelsLSPQuant_G729E_16s(lsp.data(), prev.data(), q.data(), words.data(), fc.data()), kelStatusOk);
        EXPECT_EQ(words, code) << "row " << n;
        EXPECT_EQ(q, lspq) << "row " << n;
        EXPECT_EQ(fc, cur) << "row " << n;

        V16 mem = dprev, pl = prevLsp;
        Kel16s pm = prevMa;
        erased += erase;
        EXPECT_EQ(kelsLSFDecode_G729E_16s(erase ? nullptr : prm.data(), mem.data(), pl.data(), &pm, q.data()),
                  clampStatus(bits))
            << "row " << n;
        EXPECT_EQ(q, lsfq) << "row " << n;
        EXPECT_EQ(mem, dprevAfter) << "row " << n;
        EXPECT_EQ(pl, prevLspAfter) << "row " << n;
        EXPECT_EQ(pm, prevMaAfter) << "row " << n;
    }
    EXPECT_GE(erased, 5);
}

// Quantising with the annex E form and then shifting its output into the
// memory is the G.729 quantiser.
TEST(LspQuant, AnnexEWithCallerUpdateIsG729) {
    const auto rows = g729Rows("lsf_quant.bin", 124);
    for (const V16& row : rows) {
        if (row[0] == 0) continue;
        const V16 lsp(row.begin() + 1, row.begin() + 11), prev(row.begin() + 11, row.begin() + 51);
        V16 mem = prev, q1(10), w1(2), q2(10), w2(2), cur(10);
        kelsLSPQuant_G729_16s(lsp.data(), mem.data(), q1.data(), w1.data());
        EXPECT_EQ(kelsLSPQuant_G729E_16s(lsp.data(), prev.data(), q2.data(), w2.data(), cur.data()), kelStatusOk);
        EXPECT_EQ(q1, q2);
        EXPECT_EQ(w1, w2);
        V16 shifted(cur);
        shifted.insert(shifted.end(), prev.begin(), prev.begin() + 30);
        EXPECT_EQ(mem, shifted);
    }
}

// The vector first-stage search picks the same index as the exact search on
// speech targets, ties (targets on codebook vectors), far targets whose
// sums all saturate, and targets just inside and outside its bound.
TEST(LspQuant, FirstStageVectorFormMatchesExact) {
    Rng rng(1507);
    int zero = 0;
    for (int t = 0; t < 60000; ++t) {
        Kel16s target[10];
        const int kind = t % 6;
        const int row = static_cast<int>(rng.next() % 128);
        for (int j = 0; j < 10; ++j) {
            const Kel16s c = kel::g729::kLspCode1[row][j];
            switch (kind) {
                case 0: target[j] = c; break;  // a tie at 0
                case 1: target[j] = static_cast<Kel16s>(c + static_cast<int>(rng.next() % 801) - 400); break;
                case 2: target[j] = static_cast<Kel16s>(static_cast<int>(rng.next() % 30000) - 2000); break;
                case 3: target[j] = rng.s16(); break;
                case 4: target[j] = static_cast<Kel16s>(c + (static_cast<int>(rng.next() % 2) ? 15000 : -15000)); break;
                default: target[j] = static_cast<Kel16s>(j % 2 ? 32767 : -32768); break;
            }
        }
        const int exact = kel::_kelsLSPPreselect_Exact_G729_16s(target);
        ASSERT_EQ(kel::ownLSPPreselect_G729_16s(target), exact) << "kind " << kind << " t " << t;
        if (kind == 0) {
            ASSERT_EQ(kel::g729::kLspCode1[exact][0], target[0]);
        }
        zero += exact == 0;
    }
    EXPECT_GT(zero, 10000);  // no sum below saturation: index 0
}

// --- High-pass filter ---------------------------------------------------------------

const Kel16s kPreCoeff[6] = {4096, 7807, -3733, 1899, -3798, 1899};     // G.729 3.1 (140 Hz)
const Kel16s kPostCoeff[6] = {8192, 15836, -7667, 7699, -15398, 7699};  // G.729 4.2.5 (100 Hz)

// highpass.bin (240 words): 80 input samples, Pre_Process of them,
// Post_Process of them, each filter's state carried from row to row
// (60 rows of SPEECH.IN, then full-scale square waves, alternation, DC,
// silence and sparse full-scale impulses).
TEST(HighPassGolden, PreAndPostProcessing) {
    const auto rows = g729Rows("highpass.bin", 240);
    Kel32s size = 0;
    ASSERT_EQ(kelsHighPassFilterSize_G729(&size), kelStatusOk);
    ASSERT_EQ(size, 24);
    // State blocks at an odd address: the block may have any alignment.
    alignas(8) Kel8u mem[2 * 24 + 2];
    auto* pre = reinterpret_cast<KelG729HighPassState*>(mem + 1);
    auto* post = reinterpret_cast<KelG729HighPassState*>(mem + 26);
    ASSERT_EQ(kelsHighPassFilterInit_G729(kPreCoeff, pre), kelStatusOk);
    ASSERT_EQ(kelsHighPassFilterInit_G729(kPostCoeff, post), kelStatusOk);
    int cut = 1;
    for (size_t n = 0; n < rows.size(); ++n) {
        const V16 in(rows[n].begin(), rows[n].begin() + 80);
        V16 a = in, b = in;
        // Blocks of varying length: the result does not depend on the cut.
        for (int at = 0; at < 80;) {
            const int len = at + cut > 80 ? 80 - at : cut;
            ASSERT_EQ(kelsHighPassFilter_G729_16s_ISfs(a.data() + at, len, 12, pre), kelStatusOk);
            ASSERT_EQ(kelsHighPassFilter_G729_16s_ISfs(b.data() + at, len, 13, post), kelStatusOk);
            at += len;
            cut = cut % 37 + 1;
        }
        EXPECT_EQ(a, V16(rows[n].begin() + 80, rows[n].begin() + 160)) << "row " << n;
        EXPECT_EQ(b, V16(rows[n].begin() + 160, rows[n].begin() + 240)) << "row " << n;
    }
}

TEST(HighPass, SaturatedSumKeepsTheMaximum) {
    const Kel16s coeff[6] = {4096, 0, 0, 16384, 0, 0};
    kel::HighPassState s;
    ASSERT_EQ(kelsHighPassFilterInit_G729(coeff, reinterpret_cast<KelG729HighPassState*>(&s)), kelStatusOk);
    Kel16s x[2] = {32767, 16384};  // 2 * 16384 * 16384 = 2^29 exactly on the second sample
    ASSERT_EQ(kelsHighPassFilter_G729_16s_ISfs(x, 2, 12, reinterpret_cast<KelG729HighPassState*>(&s)), kelStatusOk);
    EXPECT_EQ(x[0], 32767);
    EXPECT_EQ(x[1], 32767);
    EXPECT_EQ(s.y1, 0x7FFFFFFF);
    EXPECT_EQ(s.y2, 0x7FFFFFFF);
    EXPECT_EQ(s.x1, 16384);
    EXPECT_EQ(s.x2, 32767);
    EXPECT_EQ(s.coeff[3], 16384);
}

// --- Decoder edge cases -----------------------------------------------------------

TEST(LspQuant, AnnexEErasedFrameRepeatsTheLastGoodFrame) {
    V16 mem = resetMemory(), prevLsf(mem.begin(), mem.begin() + 10), q(10), good(10);
    Kel16s prevMa = 0;
    const Kel16s words[2] = {static_cast<Kel16s>(1 << 7 | 33), static_cast<Kel16s>(7 << 5 | 21)};
    ASSERT_GE(kelsLSFDecode_G729E_16s(words, mem.data(), prevLsf.data(), &prevMa, good.data()), kelStatusOk);
    EXPECT_EQ(prevMa, 1);
    EXPECT_EQ(prevLsf, good);
    const V16 before = mem;
    ASSERT_EQ(kelsLSFDecode_G729E_16s(nullptr, mem.data(), prevLsf.data(), &prevMa, q.data()), kelStatusOk);
    EXPECT_EQ(q, good);
    V16 expect = before;
    ASSERT_EQ(kelsLSFDecodeErased_G729_16s(1, expect.data(), good.data()), kelStatusOk);
    EXPECT_EQ(mem, expect);
}

}  // namespace
