// The G.729 fixed-codebook searches against the same searches written on
// the basic operators, one operator per step as the G.729 reference writes
// them (D4i40_17 of ACELP_CO.C, D4i40_17_fast of ACELP_CA.C, Cor_h_D with
// D2i40_11 of the annex D ACELPCOD.C, ACELP_10i40_35bits and
// ACELP_12i40_44bits of the annex E ACELP_E.C), built without
// vectorisation:
//   ToeplizMatrix_G729: the 16-bit correlation matrix of h (Cor_h);
//   FixedCodebookSearch_G729: sign choice, threshold, sign-modified matrix
//     and the budgeted four-loop search, from a 16-bit matrix;
//   FixedCodebookSearch_G729A: the depth-first search, from the same;
//   FixedCodebookSearch_G729D: correlations of h and the two-pulse search;
//   FixedCodebookSearch_G729E_35, _44: the whole annex E search.
// The inputs are the encoder sub-frames of the golden vectors in
// tests/vectors/g729/fixed_codebook (speech rows only for the timing). At
// start-up every pair is run on all golden rows and on random inputs and
// the results (code vectors, index words, budgets, matrices left behind)
// are compared; the program stops if any differs (--verify-only stops
// there). Benchmark names are <operation>/<implementation>/<N>,
// implementation kelsc or basop; tools/bench_report.py turns a JSON run
// into the ratio table.
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <string.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "basop.h"
#include "bench_support.h"
#include "g729/g729_internal.h"
#include "kelsc.h"

namespace {

using namespace kel;

#define KEL_BASOP __attribute__((noinline, optimize("no-tree-vectorize")))

constexpr int L = 40, NB = 8, M = 64, DIM = 616;

// Offsets of the 616-value layout: diagonals, then the cross blocks.
constexpr int R00 = 0, R11 = 8, R22 = 16, R33 = 24, R44 = 32, R01 = 40, R02 = 104, R03 = 168, R04 = 232, R12 = 296,
              R13 = 360, R14 = 424, R23 = 488, R24 = 552;

// Common tail of D4i40_17 and D4i40_17_fast: code vector and index words.
KEL_BASOP void basopCode4(const Kel16s* sign, int ip0, int ip1, int ip2, int ip3, Kel16s* cod, Kel16s* idx) {
    const Kel16s s0 = sign[ip0], s1 = sign[ip1], s2 = sign[ip2], s3 = sign[ip3];
    for (int i = 0; i < L; i++) cod[i] = 0;
    cod[ip0] = shr(s0, 2);
    cod[ip1] = shr(s1, 2);
    cod[ip2] = shr(s2, 2);
    cod[ip3] = shr(s3, 2);
    Kel16s i = 0;
    if (s0 > 0) i = add(i, 1);
    if (s1 > 0) i = add(i, 2);
    if (s2 > 0) i = add(i, 4);
    if (s3 > 0) i = add(i, 8);
    idx[0] = i;
    const Kel16s p0 = mult(static_cast<Kel16s>(ip0), 6554);
    const Kel16s p1 = mult(static_cast<Kel16s>(ip1), 6554);
    const Kel16s p2 = mult(static_cast<Kel16s>(ip2), 6554);
    i = mult(static_cast<Kel16s>(ip3), 6554);
    Kel16s j = add(i, shl(i, 2));
    j = sub(static_cast<Kel16s>(ip3), add(j, 3));
    const Kel16s p3 = add(shl(i, 1), j);
    i = add(p0, shl(p1, 3));
    i = add(i, shl(p2, 6));
    idx[1] = add(i, shl(p3, 9));
}

// --- G.729 (D4i40_17) ---------------------------------------------------------------

KEL_BASOP void basopSearch729(const Kel16s* dnIn, Kel16s* rr, Kel16s* cod, Kel16s* idx, Kel16s* extra, bool first) {
    Kel16s dn[L], sign[L];
    if (first) *extra = 30;
    for (int i = 0; i < L; i++) {
        if (dnIn[i] >= 0) {
            sign[i] = 0x7fff;
            dn[i] = dnIn[i];
        } else {
            sign[i] = -32768;
            dn[i] = negate(dnIn[i]);
        }
    }
    Kel16s max0 = dn[0], max1 = dn[1], max2 = dn[2];
    for (int i = 5; i < L; i += 5) {
        if (sub(dn[i], max0) > 0) max0 = dn[i];
        if (sub(dn[i + 1], max1) > 0) max1 = dn[i + 1];
        if (sub(dn[i + 2], max2) > 0) max2 = dn[i + 2];
    }
    max0 = add(max0, max1);
    max0 = add(max0, max2);
    Kel32s l32 = 0;
    for (int i = 0; i < L; i += 5) {
        l32 = L_mac(l32, dn[i], 1);
        l32 = L_mac(l32, dn[i + 1], 1);
        l32 = L_mac(l32, dn[i + 2], 1);
    }
    const Kel16s average = extract_l(L_shr(l32, 4));
    Kel16s thres = sub(max0, average);
    thres = mult(thres, 13107);
    thres = add(thres, average);

    const int blocks[9][3] = {{R01, 0, 1}, {R02, 0, 2}, {R03, 0, 3}, {R04, 0, 4}, {R12, 1, 2},
                              {R13, 1, 3}, {R14, 1, 4}, {R23, 2, 3}, {R24, 2, 4}};
    for (const auto& b : blocks)
        for (int x = 0; x < NB; x++)
            for (int y = 0; y < NB; y++) {
                Kel16s& r = rr[b[0] + 8 * x + y];
                r = mult(r, mult(sign[5 * x + b[1]], sign[5 * y + b[2]]));
            }

    int ip0 = 0, ip1 = 1, ip2 = 2, ip3 = 3;
    Kel16s psc = 0, alpha = kMax16;
    Kel16s time = add(75, *extra);
    for (int m0 = 0; m0 < NB; m0++) {
        const Kel16s ps0 = dn[5 * m0];
        const Kel16s alp0 = rr[R00 + m0];
        for (int m1 = 0; m1 < NB; m1++) {
            const Kel16s ps1 = add(ps0, dn[5 * m1 + 1]);
            Kel32s alp1 = L_mult(alp0, 1);
            alp1 = L_mac(alp1, rr[R11 + m1], 1);
            alp1 = L_mac(alp1, rr[R01 + 8 * m0 + m1], 2);
            for (int m2 = 0; m2 < NB; m2++) {
                const Kel16s ps2 = add(ps1, dn[5 * m2 + 2]);
                Kel32s alp2 = L_mac(alp1, rr[R22 + m2], 1);
                alp2 = L_mac(alp2, rr[R02 + 8 * m0 + m2], 2);
                alp2 = L_mac(alp2, rr[R12 + 8 * m1 + m2], 2);
                if (sub(ps2, thres) <= 0) continue;
                for (int t = 3; t < 5; t++) {
                    const int d = t == 3 ? R33 : R44, c0 = t == 3 ? R03 : R04, c1 = t == 3 ? R13 : R14,
                              c2 = t == 3 ? R23 : R24;
                    for (int m3 = 0; m3 < NB; m3++) {
                        const Kel16s ps3 = add(ps2, dn[5 * m3 + t]);
                        Kel32s alp3 = L_mac(alp2, rr[d + m3], 1);
                        alp3 = L_mac(alp3, rr[c0 + 8 * m0 + m3], 2);
                        alp3 = L_mac(alp3, rr[c1 + 8 * m1 + m3], 2);
                        alp3 = L_mac(alp3, rr[c2 + 8 * m2 + m3], 2);
                        const Kel16s alp = extract_l(L_shr(alp3, 5));
                        const Kel16s ps3c = mult(ps3, ps3);
                        Kel32s tmp = L_mult(ps3c, alpha);
                        tmp = L_msu(tmp, psc, alp);
                        if (tmp > 0) {
                            psc = ps3c;
                            alpha = alp;
                            ip0 = 5 * m0;
                            ip1 = 5 * m1 + 1;
                            ip2 = 5 * m2 + 2;
                            ip3 = 5 * m3 + t;
                        }
                    }
                }
                time = sub(time, 1);
                if (time <= 0) goto end;
            }
        }
    }
end:
    *extra = time;
    basopCode4(sign, ip0, ip1, ip2, ip3, cod, idx);
}

// --- G.729A (D4i40_17_fast) ------------------------------------------------------------

KEL_BASOP void basopSearch729A(const Kel16s* dnIn, Kel16s* rr, Kel16s* cod, Kel16s* idx) {
    Kel16s dn[L], sign[L], inv[L];
    for (int i = 0; i < L; i++) {
        if (dnIn[i] >= 0) {
            sign[i] = kMax16;
            inv[i] = kMin16;
            dn[i] = dnIn[i];
        } else {
            sign[i] = kMin16;
            inv[i] = kMax16;
            dn[i] = negate(dnIn[i]);
        }
    }
    const int blocks[9][3] = {{R01, 0, 1}, {R02, 0, 2}, {R03, 0, 3}, {R04, 0, 4}, {R12, 1, 2},
                              {R13, 1, 3}, {R14, 1, 4}, {R23, 2, 3}, {R24, 2, 4}};
    for (const auto& b : blocks)
        for (int x = 0; x < NB; x++) {
            const Kel16s* ps = sign[5 * x + b[1]] < 0 ? inv : sign;
            for (int y = 0; y < NB; y++) {
                Kel16s& r = rr[b[0] + 8 * x + y];
                r = mult(r, ps[5 * y + b[2]]);
            }
        }

    Kel16s psk = -1, alpk = 1, ps = 0;
    int ip0 = 0, ip1 = 1, ip2 = 2, ip3 = 3, ix = 0, iy = 0, i0 = 0, i1 = 0;
    Kel16s tmp[NB];
    for (int track = 3; track < 5; track++) {
        const int r0t = track == 3 ? R03 : R04, r1t = track == 3 ? R13 : R14, r2t = track == 3 ? R23 : R24,
                  rtt = track == 3 ? R33 : R44;
        // Search 3, phase A.
        Kel16s sq = -1, alp = 1;
        int prev = -1;
        for (int t = 0; t < 2; t++) {
            Kel16s max = -1;
            for (int j = 2; j < L; j += 5)
                if (sub(dn[j], max) > 0 && prev != j) {
                    max = dn[j];
                    i0 = j;
                }
            prev = i0;
            const Kel16s j = mult(static_cast<Kel16s>(i0), 6554);
            const Kel16s ps1 = dn[i0];
            const Kel32s alp1 = L_mult(rr[R22 + j], 8192);
            for (int k = 0; k < NB; k++) {
                const int q = 5 * k + track;
                const Kel16s ps2 = add(ps1, dn[q]);
                Kel32s alp2 = L_mac(alp1, rr[r2t + 8 * j + k], 16384);
                alp2 = L_mac(alp2, rr[rtt + k], 8192);
                const Kel16s sq2 = mult(ps2, ps2);
                const Kel16s a16 = round_fx(alp2);
                const Kel32s s = L_msu(L_mult(alp, sq2), sq, a16);
                if (s > 0) {
                    sq = sq2;
                    ps = ps2;
                    alp = a16;
                    ix = i0;
                    iy = q;
                }
            }
        }
        i0 = ix;
        i1 = iy;
        // Search 3, phase B.
        Kel16s ps0 = ps;
        Kel32s alp0 = L_mult(alp, 8192);
        sq = -1;
        alp = 1;
        const Kel16s a = mult(static_cast<Kel16s>(i0), 6554), b = mult(static_cast<Kel16s>(i1), 6554);
        for (int k = 0; k < NB; k++) {
            Kel32s s = L_mult(rr[R12 + 8 * k + a], 8192);
            s = L_mac(s, rr[r1t + 8 * k + b], 8192);
            s = L_mac(s, rr[R11 + k], 4096);
            tmp[k] = round_fx(s);
        }
        for (int m = 0; m < NB; m++) {
            const Kel16s ps1 = add(ps0, dn[5 * m]);
            Kel32s alp1 = L_mac(alp0, rr[R02 + 8 * m + a], 4096);
            alp1 = L_mac(alp1, rr[r0t + 8 * m + b], 4096);
            alp1 = L_mac(alp1, rr[R00 + m], 2048);
            for (int k = 0; k < NB; k++) {
                const Kel16s ps2 = add(ps1, dn[5 * k + 1]);
                Kel32s alp2 = L_mac(alp1, rr[R01 + 8 * m + k], 4096);
                alp2 = L_mac(alp2, tmp[k], 16384);
                const Kel16s sq2 = mult(ps2, ps2);
                const Kel16s a16 = round_fx(alp2);
                const Kel32s s = L_msu(L_mult(alp, sq2), sq, a16);
                if (s > 0) {
                    sq = sq2;
                    alp = a16;
                    ix = 5 * m;
                    iy = 5 * k + 1;
                }
            }
        }
        if (L_msu(L_mult(alpk, sq), psk, alp) > 0) {
            psk = sq;
            alpk = alp;
            ip2 = i0;
            ip3 = i1;
            ip0 = ix;
            ip1 = iy;
        }
        // Search 4, phase A.
        sq = -1;
        alp = 1;
        prev = -1;
        for (int t = 0; t < 2; t++) {
            Kel16s max = -1;
            for (int j = track; j < L; j += 5)
                if (sub(dn[j], max) > 0 && prev != j) {
                    max = dn[j];
                    i0 = j;
                }
            prev = i0;
            const Kel16s j = mult(static_cast<Kel16s>(i0), 6554);
            const Kel16s ps1 = dn[i0];
            const Kel32s alp1 = L_mult(rr[rtt + j], 8192);
            for (int m = 0; m < NB; m++) {
                const Kel16s ps2 = add(ps1, dn[5 * m]);
                Kel32s alp2 = L_mac(alp1, rr[r0t + 8 * m + j], 16384);
                alp2 = L_mac(alp2, rr[R00 + m], 8192);
                const Kel16s sq2 = mult(ps2, ps2);
                const Kel16s a16 = round_fx(alp2);
                const Kel32s s = L_msu(L_mult(alp, sq2), sq, a16);
                if (s > 0) {
                    sq = sq2;
                    ps = ps2;
                    alp = a16;
                    ix = i0;
                    iy = 5 * m;
                }
            }
        }
        i0 = ix;
        i1 = iy;
        // Search 4, phase B.
        ps0 = ps;
        alp0 = L_mult(alp, 8192);
        sq = -1;
        alp = 1;
        const Kel16s c = mult(static_cast<Kel16s>(i0), 6554), off = shl(mult(static_cast<Kel16s>(i1), 6554), 3);
        for (int k = 0; k < NB; k++) {
            Kel32s s = L_mult(rr[r2t + 8 * k + c], 8192);
            s = L_mac(s, rr[R02 + off + k], 8192);
            s = L_mac(s, rr[R22 + k], 4096);
            tmp[k] = round_fx(s);
        }
        for (int m = 0; m < NB; m++) {
            const Kel16s ps1 = add(ps0, dn[5 * m + 1]);
            Kel32s alp1 = L_mac(alp0, rr[r1t + 8 * m + c], 4096);
            alp1 = L_mac(alp1, rr[R01 + off + m], 4096);
            alp1 = L_mac(alp1, rr[R11 + m], 2048);
            for (int k = 0; k < NB; k++) {
                const Kel16s ps2 = add(ps1, dn[5 * k + 2]);
                Kel32s alp2 = L_mac(alp1, rr[R12 + 8 * m + k], 4096);
                alp2 = L_mac(alp2, tmp[k], 16384);
                const Kel16s sq2 = mult(ps2, ps2);
                const Kel16s a16 = round_fx(alp2);
                const Kel32s s = L_msu(L_mult(alp, sq2), sq, a16);
                if (s > 0) {
                    sq = sq2;
                    alp = a16;
                    ix = 5 * m + 1;
                    iy = 5 * k + 2;
                }
            }
        }
        if (L_msu(L_mult(alpk, sq), psk, alp) > 0) {
            psk = sq;
            alpk = alp;
            ip3 = i0;
            ip0 = i1;
            ip1 = ix;
            ip2 = iy;
        }
    }
    basopCode4(sign, ip0, ip1, ip2, ip3, cod, idx);
}

// --- G.729D (Cor_h_D, D2i40_11) --------------------------------------------------------

// The 16-bit correlations rr[p][q], p <= q, of h scaled as Cor_h scales it
// (zeroed below 2^15 of energy), as running L_mac sums from the end.
KEL_BASOP void basopCorrelations(const Kel16s* H, Kel16s (*rr)[L]) {
    Kel16s h[L];
    Kel32s cor = 0;
    for (int i = 0; i < L; i++) cor = L_mac(cor, H[i], H[i]);
    if (extract_h(cor) == 0) {
        for (int i = 0; i < L; i++) h[i] = 0;
    } else if (sub(extract_h(cor), 32000) > 0) {
        for (int i = 0; i < L; i++) h[i] = shr(H[i], 1);
    } else {
        const Kel16s k = shr(norm_l(cor), 1);
        for (int i = 0; i < L; i++) h[i] = shl(H[i], k);
    }
    for (int d = 0; d < L; d++) {
        cor = 0;
        for (int n = 0; n + d < L; n++) {
            cor = L_mac(cor, h[n], h[n + d]);
            rr[39 - n - d][39 - n] = extract_h(cor);
        }
    }
}

// Cor_h: the same scaling and running sums, stored in the 616-value layout.
KEL_BASOP void basopCorH(const Kel16s* H, Kel16s* out) {
    Kel16s rr[L][L];
    basopCorrelations(H, rr);
    static const int blocks[9][2] = {{0, 1}, {0, 2}, {0, 3}, {0, 4}, {1, 2}, {1, 3}, {1, 4}, {2, 3}, {2, 4}};
    for (int t = 0; t < 5; t++)
        for (int m = 0; m < NB; m++) out[8 * t + m] = rr[5 * m + t][5 * m + t];
    for (int k = 0; k < 9; k++)
        for (int x = 0; x < NB; x++)
            for (int y = 0; y < NB; y++) {
                const int p = 5 * x + blocks[k][0], q = 5 * y + blocks[k][1];
                out[40 + 64 * k + 8 * x + y] = p <= q ? rr[p][q] : rr[q][p];
            }
}

KEL_BASOP Kel16s basopSearchD(const Kel16s* dnIn, const Kel16s* H, Kel16s* code, Kel16s* y, Kel16s* signOut) {
    Kel16s rr[L][L];
    basopCorrelations(H, rr);
    Kel16s dn[L], sign[L];
    for (int i = 0; i < L; i++) {
        if (dnIn[i] >= 0) {
            sign[i] = 0x7fff;
            dn[i] = dnIn[i];
        } else {
            sign[i] = -32768;
            dn[i] = negate(dnIn[i]);
        }
    }
    // Sign-modified cross terms of the eight sub-track pairs.
    const int pairs[8][3] = {{0, 1, 0}, {1, 1, 1}, {0, 3, 0}, {3, 4, 1}, {1, 2, 1}, {1, 3, 0}, {1, 4, 1}, {2, 3, 0}};
    Kel16s cross[8][M];
    for (int p = 0; p < 8; p++)
        for (int x = 0; x < NB; x++)
            for (int yy = 0; yy < NB; yy++) {
                const int a = 5 * x + pairs[p][0], b = 5 * yy + pairs[p][1];
                const Kel16s r = a <= b ? rr[a][b] : rr[b][a];
                cross[p][8 * x + yy] = mult(r, mult(sign[a], sign[b]));
            }
    int ip0 = 1, ip1 = 0;
    Kel16s psc = 0, alpha = kMax16;
    for (int p = 0; p < 8; p++) {
        for (int x = 0; x < NB; x++) {
            const int i0 = 5 * x + pairs[p][0];
            const Kel16s ps0 = dn[i0];
            const Kel16s alp0 = rr[i0][i0];
            for (int yy = 0; yy < NB; yy++) {
                const int i1 = 5 * yy + pairs[p][1];
                const Kel16s ps1 = add(ps0, dn[i1]);
                Kel32s alp1 = L_mult(alp0, 1);
                alp1 = L_mac(alp1, rr[i1][i1], 1);
                alp1 = L_mac(alp1, cross[p][8 * x + yy], 2);
                const Kel16s alp = extract_l(L_shr(alp1, 5));
                const Kel16s ps1c = mult(ps1, ps1);
                Kel32s t = L_mult(ps1c, alpha);
                t = L_msu(t, psc, alp);
                if (t > 0) {
                    psc = ps1c;
                    alpha = alp;
                    ip0 = pairs[p][2] ? i0 : i1;
                    ip1 = pairs[p][2] ? i1 : i0;
                }
            }
        }
    }
    int n0 = 0, n1 = 0;
    while (n0 < 15 && g729::kTrack0_G729D[n0] != ip0) n0++;
    while (n1 < 31 && g729::kTrack1_G729D[n1] != ip1) n1++;
    const Kel16s s0 = sign[ip0] > 0 ? 1 : 0, s1 = sign[ip1] > 0 ? 1 : 0;
    for (int i = 0; i < L; i++) code[i] = 0;
    code[ip0] = shr(sign[ip0], 2);
    code[ip1] = add(code[ip1], shr(sign[ip1], 2));
    *signOut = add(add(s1, s1), s0);
    for (int i = 0; i < L; i++) y[i] = 0;
    for (int i = ip0, j = 0; i < L; i++, j++) y[i] = s0 == 0 ? negate(H[j]) : H[j];
    for (int i = ip1, j = 0; i < L; i++, j++) y[i] = s1 == 0 ? sub(y[i], H[j]) : add(y[i], H[j]);
    return add(g729::kGrayEncode_G729D[n0], shl(g729::kGrayEncode_G729D[n1], 4));
}

// --- G.729E (ACELP_10i40_35bits, ACELP_12i40_44bits) -----------------------------------

struct BasopE {
    Kel16s dn[L], sign[L], inv[L], posMax[5];
    Kel32s corr[5];
    Kel16s hbuf[4 * L];  // zeros, h, zeros, -h
    Kel16s rrixix[5][NB], rrixiy[5][M];
    Kel16s* h() { return hbuf + L; }
    Kel16s* hInv() { return hbuf + 3 * L; }
};

KEL_BASOP void basopCorHX(const Kel16s* h, const Kel16s* x, Kel16s* dn) {
    Kel32s y32[L], tot = 5;
    for (int k = 0; k < 5; k++) {
        Kel32s max = 0;
        for (int i = k; i < L; i += 5) {
            Kel32s s = 0;
            for (int j = i; j < L; j++) s = L_mac(s, x[j], h[j - i]);
            y32[i] = s;
            s = L_abs(s);
            if (L_sub(s, max) > 0) max = s;
        }
        tot = L_add(tot, L_shr(max, 1));
    }
    const Kel16s j = sub(norm_l(tot), 2);
    for (int i = 0; i < L; i++) dn[i] = round_fx(L_shl(y32[i], j));
}

KEL_BASOP void basopSetSign(const Kel16s* cn, BasopE& e) {
    Kel32s s = 0;
    for (int i = 0; i < L; i++) s = L_mac(s, cn[i], cn[i]);
    if (s < 512) s = 512;
    s = Inv_sqrt(s);
    Kel16s kcn = extract_h(L_shl(s, 5));
    kcn = mult(kcn, 32767);
    s = 0;
    for (int i = 0; i < L; i++) s = L_mac(s, e.dn[i], e.dn[i]);
    if (s < 512) s = 512;
    s = Inv_sqrt(s);
    const Kel16s kdn = extract_h(L_shl(s, 5));
    for (int k = 0; k < 5; k++) {
        Kel32s max = -1;
        int pos = k;
        for (int i = k; i < L; i += 5) {
            Kel16s val = e.dn[i];
            s = L_mac(L_mult(kcn, cn[i]), kdn, val);
            if (s >= 0) {
                e.sign[i] = 32767;
                e.inv[i] = -32768;
            } else {
                e.sign[i] = -32768;
                e.inv[i] = 32767;
                val = negate(val);
            }
            e.dn[i] = val;
            s = L_abs(s);
            if (s > max) {
                max = s;
                pos = i;
            }
        }
        e.posMax[k] = static_cast<Kel16s>(pos);
        e.corr[k] = max;
    }
}

KEL_BASOP void basopCorHE(const Kel16s* H, BasopE& e) {
    Kel16s* h = e.h();
    Kel16s* hInv = e.hInv();
    Kel32s cor = 0;
    for (int i = 0; i < L; i++) cor = L_mac(cor, H[i], H[i]);
    Kel16s k = shr(norm_l(cor), 1);
    for (int i = 0; i < L; i++) h[i] = shl(H[i], k);
    cor = L_shl(cor, add(k, k));
    cor = L_shr(cor, 12);
    k = extract_h(L_shl(Inv_sqrt(cor), 8));
    for (int i = 0; i < L; i++) {
        h[i] = mult(h[i], k);
        hInv[i] = negate(h[i]);
    }
    cor = 0x10000;
    for (int n = 0; n < L; n++) {
        cor = L_mac(cor, h[n], h[n]);
        e.rrixix[(39 - n) % 5][(39 - n) / 5] = extract_h(cor);
    }
    for (int t = 0; t < 5; t++)
        for (int m = 0; m < NB; m++) e.rrixix[t][m] = shr(e.rrixix[t][m], 1);
    for (int d = 1; d < L; d++) {
        if (d % 5 != 1 && d % 5 != 4) continue;
        cor = 0x8000;
        for (int n = 0; n + d < L; n++) {
            cor = L_mac(cor, h[n], h[n + d]);
            const int p = 39 - n - d, q = 39 - n;
            if (q % 5 == (p % 5 + 1) % 5)
                e.rrixiy[p % 5][8 * (p / 5) + q / 5] = extract_h(cor);
            else
                e.rrixiy[q % 5][8 * (q / 5) + p / 5] = extract_h(cor);
        }
    }
    for (int t = 0; t < 5; t++)
        for (int x = 0; x < NB; x++) {
            const Kel16s* ps = e.sign[5 * x + t] < 0 ? e.inv : e.sign;
            for (int yy = 0; yy < NB; yy++) {
                Kel16s& r = e.rrixiy[t][8 * x + yy];
                r = mult(r, ps[5 * yy + (t + 1) % 5]);
            }
        }
}

KEL_BASOP void basopCorHVec(BasopE& e, const Kel16s* vec, int track, Kel16s* cor) {
    const Kel16s* h = e.h();
    for (int m = 0; m < NB; m++) {
        const int pos = 5 * m + track;
        Kel32s s = 0;
        for (int j = pos; j < L; j++) s = L_mac(s, h[j - pos], vec[j]);
        cor[m] = add(mult(round_fx(s), e.sign[pos]), e.rrixix[track][m]);
    }
}

KEL_BASOP void basopSearchIxIy(BasopE& e, int tx, const Kel16s* cx, const Kel16s* cy, Kel16s* ps, Kel16s* alp, int* ix,
                               int* iy) {
    const int ty = (tx + 1) % 5;
    Kel16s sqk = -1, alpk = 1;
    for (int m = 0; m < NB; m++) {
        const int x = 5 * m + tx;
        const Kel16s ps1 = add(*ps, e.dn[x]);
        const Kel16s alp1 = add(*alp, cx[m]);
        int pos = -1;
        for (int n = 0; n < NB; n++) {
            const int y = 5 * n + ty;
            const Kel16s ps2 = add(ps1, e.dn[y]);
            const Kel16s alp2 = add(alp1, add(cy[n], e.rrixiy[tx][8 * m + n]));
            const Kel16s sq = mult(ps2, ps2);
            if (L_msu(L_mult(alpk, sq), sqk, alp2) > 0) {
                sqk = sq;
                alpk = alp2;
                pos = y;
            }
        }
        if (pos >= 0) {
            *ix = x;
            *iy = pos;
        }
    }
    *ps = add(*ps, add(e.dn[*ix], e.dn[*iy]));
    *alp = alpk;
}

KEL_BASOP void basopBuildCode(const int* codvec, const Kel16s* sign, const Kel16s* H, Kel16s* code, Kel16s* y,
                              Kel16s* indx) {
    for (int i = 0; i < L; i++) code[i] = y[i] = 0;
    for (int i = 0; i < 5; i++) indx[i] = -1;
    for (int k = 0; k < 10; k++) {
        const int i = codvec[k];
        Kel16s index = mult(static_cast<Kel16s>(i), 6554);
        const Kel16s track = sub(static_cast<Kel16s>(i), extract_l(L_shr(L_mult(index, 5), 1)));
        if (sign[i] > 0) {
            code[i] = add(code[i], 4096);
            for (int n = i, j = 0; n < L; n++, j++) y[n] = add(y[n], H[j]);
        } else {
            code[i] = sub(code[i], 4096);
            index = add(index, 8);
            for (int n = i, j = 0; n < L; n++, j++) y[n] = sub(y[n], H[j]);
        }
        if (indx[track] < 0) {
            indx[track] = index;
        } else if (((index ^ indx[track]) & 8) == 0) {
            indx[track] = sub(indx[track], index) <= 0 ? static_cast<Kel16s>(add(shl(indx[track], 4), index) | 256)
                                                       : static_cast<Kel16s>(add(shl(index, 4), indx[track]) | 256);
        } else {
            indx[track] = sub(static_cast<Kel16s>(indx[track] & 7), static_cast<Kel16s>(index & 7)) <= 0
                              ? static_cast<Kel16s>(add(shl(index, 4), indx[track]) | 256)
                              : static_cast<Kel16s>(add(shl(indx[track], 4), index) | 256);
        }
    }
}

KEL_BASOP Kel16s basopPack3(Kel16s a, Kel16s b, Kel16s c) {
    Kel16s t;
    if ((a & 7) > (b & 7)) t = a, a = b, b = t;
    if ((a & 7) > (c & 7)) t = a, a = c, c = t;
    if ((b & 7) > (c & 7)) t = b, b = c, c = t;
    const Kel16s k = add(add(static_cast<Kel16s>(shr(a, 1) & 4), static_cast<Kel16s>(shr(b, 2) & 2)),
                         static_cast<Kel16s>(shr(c, 3) & 1));
    switch (k) {
        case 0:
        case 7: return add(add(shl(static_cast<Kel16s>(a & 7), 7), shl(static_cast<Kel16s>(b & 7), 4)), c);
        case 1:
        case 6: return add(add(shl(static_cast<Kel16s>(c & 7), 7), shl(static_cast<Kel16s>(a & 7), 4)), b);
        case 2:
        case 5: return add(add(shl(static_cast<Kel16s>(b & 7), 7), shl(static_cast<Kel16s>(a & 7), 4)), c);
        default: return add(add(shl(static_cast<Kel16s>(b & 7), 7), shl(static_cast<Kel16s>(c & 7), 4)), a);
    }
}

KEL_BASOP void basopSearchE(int mode, const Kel16s* x, const Kel16s* cn, const Kel16s* Hin, Kel16s* code, Kel16s* y,
                            Kel16s* indx) {
    BasopE e;
    for (Kel16s& v : e.hbuf) v = 0;
    basopCorHX(Hin, x, e.dn);
    basopSetSign(cn, e);
    basopCorHE(Hin, e);
    const int stages = mode == 0 ? 4 : 5, pulses = 2 + 2 * stages;
    Kel32s corr[5];
    const Kel32s s0 = L_add(e.corr[4], e.corr[0]);
    for (int k = 0; k < 4; k++) corr[k] = L_add(e.corr[k], e.corr[k + 1]);
    corr[4] = s0;
    int itrk[3];
    for (int k = 0; k < 3; k++) {
        Kel32s s = corr[0];
        int track = 0;
        for (int i = 1; i < 5; i++)
            if (L_sub(corr[i], s) > 0) {
                s = corr[i];
                track = i;
            }
        corr[track] = -1;
        itrk[k] = track;
    }
    Kel16s psk = -1, alpk = 1;
    int codvec[12];
    for (int i = 0; i < pulses; i++) codvec[i] = i;
    for (int pos = 0; pos < 3; pos++) {
        const int k = itrk[pos];
        int ix = e.posMax[k % 5], iy = e.posMax[(k + 1) % 5];
        Kel16s ps = add(e.dn[ix], e.dn[iy]);
        const Kel16s i = mult(static_cast<Kel16s>(ix), 6554), j = mult(static_cast<Kel16s>(iy), 6554);
        Kel16s alp = add(e.rrixix[k % 5][i], e.rrixix[(k + 1) % 5][j]);
        alp = add(alp, e.rrixiy[k % 5][add(shl(i, 3), j)]);
        int ip[12] = {ix, iy};
        Kel16s vec[L] = {};
        for (int jj = 2; jj < pulses; jj += 2) {
            const Kel16s* p0 = (e.sign[ix] < 0 ? e.hInv() : e.h()) - ix;
            const Kel16s* p1 = (e.sign[iy] < 0 ? e.hInv() : e.h()) - iy;
            for (int n = 0; n < L; n++) vec[n] = add(vec[n], add(p0[n], p1[n]));
            Kel16s cx[NB], cy[NB];
            basopCorHVec(e, vec, (k + jj) % 5, cx);
            basopCorHVec(e, vec, (k + jj + 1) % 5, cy);
            basopSearchIxIy(e, (k + jj) % 5, cx, cy, &ps, &alp, &ix, &iy);
            ip[jj] = ix;
            ip[jj + 1] = iy;
        }
        ps = mult(ps, ps);
        if (L_msu(L_mult(alpk, ps), psk, alp) > 0) {
            psk = ps;
            alpk = alp;
            for (int n = 0; n < pulses; n++) codvec[n] = ip[n];
        }
    }
    Kel16s H[L];
    for (int n = 0; n < L; n++) H[n] = shr(Hin[n], 1);
    if (mode == 0) {
        basopBuildCode(codvec, e.sign, H, code, y, indx);
        for (int n = 0; n < 5; n++) indx[n] = static_cast<Kel16s>(indx[n] & 127);
        return;
    }
    Kel16s idx[5];
    basopBuildCode(codvec + 2, e.sign, H, code, y, idx);
    Kel16s track = 0;
    for (int k = 0; k < 2; k++) {
        const int pos = codvec[k];
        Kel16s index = mult(static_cast<Kel16s>(pos), 6554);
        track = sub(static_cast<Kel16s>(pos), extract_l(L_shr(L_mult(index, 5), 1)));
        if (e.sign[pos] > 0) {
            code[pos] = add(code[pos], 4096);
            for (int n = pos, j = 0; n < L; n++, j++) y[n] = add(y[n], H[j]);
        } else {
            code[pos] = sub(code[pos], 4096);
            for (int n = pos, j = 0; n < L; n++, j++) y[n] = sub(y[n], H[j]);
            index = add(index, 8);
        }
        const Kel16s a = static_cast<Kel16s>(shr(idx[track], 4) & 15), b = static_cast<Kel16s>(idx[track] & 15);
        index = basopPack3(a, b, index);
        if (k == 0) index = add(shl(track, 10), index);
        indx[k] = index;
    }
    for (int k = 2; k < 5; k++) {
        track = add(track, 1);
        if (track >= 5) track = 0;
        indx[k] = static_cast<Kel16s>(idx[track] & 127);
    }
}

// --- Data ----------------------------------------------------------------------------------

std::vector<Kel16s> readWords(const std::string& name) {
    std::ifstream in(std::string(KELSC_G729_VECTORS) + "/fixed_codebook/" + name, std::ios::binary);
    const std::vector<char> b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<Kel16s> w(b.size() / 2);
    for (size_t i = 0; i < w.size(); ++i)
        w[i] = static_cast<Kel16s>(static_cast<uint8_t>(b[2 * i]) | static_cast<uint8_t>(b[2 * i + 1]) << 8);
    return w;
}

// One search input: Dn and the 16-bit matrix (G.729, G.729A), with the
// budget state; or Dn and h (G.729D); or the annex E inputs.
struct Sub {
    std::vector<Kel16s> dn, rr, h, x, cn;
    Kel16s budget = 0, subFrame = 0, mode = 0;
};

struct Data {
    std::vector<Sub> acelp, acelpSpeech, annexD, annexDSpeech, annexE35, annexE44, annexESpeech35, annexESpeech44;
    Data() {
        const std::vector<Kel16s> s = readWords("subframes.bin");
        for (size_t r = 0; r + 2631 <= s.size(); r += 2631) {
            Sub sub;
            sub.h.assign(s.begin() + r, s.begin() + r + 40);
            for (int i = 0; i < DIM; ++i) sub.rr.push_back(s[r + 40 + 2 * i + 1]);  // high word of the sum
            sub.dn.assign(s.begin() + r + 1272, s.begin() + r + 1312);
            sub.budget = s[r + 1312];
            sub.subFrame = s[r + 1313];
            acelp.push_back(sub);
            if (acelp.size() <= 23) acelpSpeech.push_back(sub);  // the encoder rows come first
        }
        const std::vector<Kel16s> m = readWords("matrices.bin");
        for (size_t r = 0; r + 1975 <= m.size(); r += 1975) {
            Sub sub;
            sub.rr.assign(m.begin() + r, m.begin() + r + DIM);
            sub.dn.assign(m.begin() + r + DIM, m.begin() + r + DIM + 40);
            sub.budget = m[r + 656];
            sub.subFrame = m[r + 657];
            acelp.push_back(sub);
        }
        const std::vector<Kel16s> d = readWords("annex_d.bin");
        for (size_t r = 0; r + 162 <= d.size(); r += 162) {
            Sub sub;
            sub.dn.assign(d.begin() + r, d.begin() + r + 40);
            sub.h.assign(d.begin() + r + 40, d.begin() + r + 80);
            annexD.push_back(sub);
            if (annexD.size() <= 56) annexDSpeech.push_back(sub);
        }
        const std::vector<Kel16s> e = readWords("annex_e.bin");
        for (size_t r = 0; r + 206 <= e.size(); r += 206) {
            Sub sub;
            sub.mode = e[r];
            sub.x.assign(e.begin() + r + 1, e.begin() + r + 41);
            sub.cn.assign(e.begin() + r + 41, e.begin() + r + 81);
            sub.h.assign(e.begin() + r + 81, e.begin() + r + 121);
            const bool speech = r / 206 < 44;
            (sub.mode == 0 ? annexE35 : annexE44).push_back(sub);
            if (speech) (sub.mode == 0 ? annexESpeech35 : annexESpeech44).push_back(sub);
        }
    }
    bool ok() const {
        return !acelpSpeech.empty() && !annexDSpeech.empty() && !annexESpeech35.empty() && !annexESpeech44.empty();
    }
};

const Data& data() {
    static const Data d;
    return d;
}

// --- Start-up verification --------------------------------------------------------

bool verify() {
    const Data& d = data();
    if (!d.ok()) {
        fprintf(stderr, "g729_fixed_codebook_bench: golden inputs not found in %s\n", KELSC_G729_VECTORS);
        return false;
    }
    kelsc_bench::Agreement agree("g729_fixed_codebook_bench", "its basic-operator form");
    const auto check = [&agree](bool same, const char* what, size_t i) { agree.check(same, what, i); };
    std::vector<Sub> acelp = d.acelp, annexD = d.annexD, annexE = d.annexE35;
    annexE.insert(annexE.end(), d.annexE44.begin(), d.annexE44.end());
    uint32_t s = 729;
    const auto rnd = [&s](int kind) {
        s = s * 1664525u + 1013904223u;
        const Kel16s v = static_cast<Kel16s>(s >> 16);
        return kind == 0 ? v : kind == 1 ? static_cast<Kel16s>(v >> 3) : static_cast<Kel16s>(v & 1 ? 32767 : -32768);
    };
    for (int t = 0; t < 600; ++t) {
        Sub a;
        for (int i = 0; i < 40; ++i) a.dn.push_back(rnd(t % 3));
        for (int i = 0; i < DIM; ++i) a.rr.push_back(rnd((t / 3) % 3));
        a.budget = rnd(0);
        a.subFrame = static_cast<Kel16s>(t & 1);
        acelp.push_back(a);
        Sub b;
        for (int i = 0; i < 40; ++i) {
            b.dn.push_back(rnd(t % 3));
            b.h.push_back(rnd((t / 3) % 3));
            b.x.push_back(rnd(t % 2));
            b.cn.push_back(rnd((t / 2) % 3));
        }
        b.mode = static_cast<Kel16s>(t & 1);
        annexD.push_back(b);
        annexE.push_back(b);
    }
    for (size_t i = 0; i < annexD.size(); ++i) {
        Kel16s m1[DIM], m2[DIM];
        kelsToeplizMatrix_G729_16s(annexD[i].h.data(), m1);
        basopCorH(annexD[i].h.data(), m2);
        check(memcmp(m1, m2, sizeof(m1)) == 0, "ToeplizMatrix_G729", i);
    }
    for (size_t i = 0; i < acelp.size(); ++i) {
        const Sub& a = acelp[i];
        std::vector<Kel16s> r1 = a.rr, r2 = a.rr, c1(40), c2(40), w1(2), w2(2);
        Kel16s b1 = a.budget, b2 = a.budget;
        kelsFixedCodebookSearch_G729_16s(a.dn.data(), r1.data(), c1.data(), w1.data(), &b1, a.subFrame);
        basopSearch729(a.dn.data(), r2.data(), c2.data(), w2.data(), &b2, a.subFrame == 0);
        check(r1 == r2 && c1 == c2 && w1 == w2 && b1 == b2, "FixedCodebookSearch_G729", i);
        r1 = a.rr;
        r2 = a.rr;
        kelsFixedCodebookSearch_G729A_16s(a.dn.data(), r1.data(), c1.data(), w1.data());
        basopSearch729A(a.dn.data(), r2.data(), c2.data(), w2.data());
        check(r1 == r2 && c1 == c2 && w1 == w2, "FixedCodebookSearch_G729A", i);
    }
    for (size_t i = 0; i < annexD.size(); ++i) {
        const Sub& a = annexD[i];
        std::vector<Kel16s> c1(40), c2(40), y1(40), y2(40);
        Kel16s s1, s2, i1, i2;
        kelsFixedCodebookSearch_G729D_16s(a.dn.data(), a.h.data(), c1.data(), y1.data(), &s1, &i1);
        i2 = basopSearchD(a.dn.data(), a.h.data(), c2.data(), y2.data(), &s2);
        check(c1 == c2 && y1 == y2 && s1 == s2 && i1 == i2, "FixedCodebookSearch_G729D", i);
    }
    for (size_t i = 0; i < annexE.size(); ++i) {
        const Sub& a = annexE[i];
        std::vector<Kel16s> c1(40), c2(40), y1(40), y2(40), w1(5), w2(5);
        kelsFixedCodebookSearch_G729E_16s(a.mode, a.x.data(), a.cn.data(), a.h.data(), c1.data(), y1.data(), w1.data());
        basopSearchE(a.mode, a.x.data(), a.cn.data(), a.h.data(), c2.data(), y2.data(), w2.data());
        check(c1 == c2 && y1 == y2 && w1 == w2, "FixedCodebookSearch_G729E", i);
    }
    return agree.ok();
}

// --- Benchmarks ---------------------------------------------------------------------

// Each iteration handles the next input of the set.
template <typename F>
void run(benchmark::State& state, const std::vector<Sub>& set, F f) {
    size_t i = 0;
    Kel16s out[40], y[40], w[5], rr[DIM];
    for (auto _ : state) {
        f(set[i], rr, out, y, w);
        benchmark::DoNotOptimize(out);
        benchmark::DoNotOptimize(y);
        benchmark::DoNotOptimize(w);
        i = i + 1 == set.size() ? 0 : i + 1;
        benchmark::ClobberMemory();
    }
}

#define KEL_BENCH(op, impl, n, set, expr)                                                        \
    void op##_##impl##_##n(benchmark::State& state) {                                            \
        run(state, data().set, [](const Sub& s, Kel16s* rr, Kel16s* out, Kel16s* y, Kel16s* w) { \
            (void)rr;                                                                            \
            (void)y, (void)out, (void)w;                                                         \
            expr;                                                                                \
        });                                                                                      \
    }                                                                                            \
    BENCHMARK(op##_##impl##_##n)->Name(#op "/" #impl "/" #n);

#define COPY_RR memcpy(rr, s.rr.data(), sizeof(Kel16s) * DIM)

KEL_BENCH(ToeplizMatrix_G729, kelsc, 616, acelpSpeech, kelsToeplizMatrix_G729_16s(s.h.data(), rr))
KEL_BENCH(ToeplizMatrix_G729, basop, 616, acelpSpeech, basopCorH(s.h.data(), rr))
KEL_BENCH(FixedCodebookSearch_G729, kelsc, 40, acelpSpeech, {
    COPY_RR;
    Kel16s b = s.budget;
    kelsFixedCodebookSearch_G729_16s(s.dn.data(), rr, out, w, &b, s.subFrame);
})
KEL_BENCH(FixedCodebookSearch_G729, basop, 40, acelpSpeech, {
    COPY_RR;
    Kel16s b = s.budget;
    basopSearch729(s.dn.data(), rr, out, w, &b, s.subFrame == 0);
})
KEL_BENCH(FixedCodebookSearch_G729A, kelsc, 40, acelpSpeech, {
    COPY_RR;
    kelsFixedCodebookSearch_G729A_16s(s.dn.data(), rr, out, w);
})
KEL_BENCH(FixedCodebookSearch_G729A, basop, 40, acelpSpeech, {
    COPY_RR;
    basopSearch729A(s.dn.data(), rr, out, w);
})
KEL_BENCH(FixedCodebookSearch_G729D, kelsc, 40, annexDSpeech,
          kelsFixedCodebookSearch_G729D_16s(s.dn.data(), s.h.data(), out, y, w, w + 1))
KEL_BENCH(FixedCodebookSearch_G729D, basop, 40, annexDSpeech, w[1] = basopSearchD(s.dn.data(), s.h.data(), out, y, w))
KEL_BENCH(FixedCodebookSearch_G729E_35, kelsc, 40, annexESpeech35,
          kelsFixedCodebookSearch_G729E_16s(0, s.x.data(), s.cn.data(), s.h.data(), out, y, w))
KEL_BENCH(FixedCodebookSearch_G729E_35, basop, 40, annexESpeech35,
          basopSearchE(0, s.x.data(), s.cn.data(), s.h.data(), out, y, w))
KEL_BENCH(FixedCodebookSearch_G729E_44, kelsc, 40, annexESpeech44,
          kelsFixedCodebookSearch_G729E_16s(1, s.x.data(), s.cn.data(), s.h.data(), out, y, w))
KEL_BENCH(FixedCodebookSearch_G729E_44, basop, 40, annexESpeech44,
          basopSearchE(1, s.x.data(), s.cn.data(), s.h.data(), out, y, w))

}  // namespace

int main(int argc, char** argv) { return kelsc_bench::runAfterVerify(argc, argv, verify, "its basic-operator forms"); }
