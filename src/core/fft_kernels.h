// Real-FFT kernels for orders >= 4, written once and compiled once per
// instruction set (fft_base.cpp, fft_avx2.cpp, fft_avx512.cpp; see
// dispatch.h and the layout notes in fft_internal.h).
//
// The arithmetic is fixed by the transform size alone: a radix-4 Stockham
// decimation-in-frequency transform of M = N / 2 complex points (a final
// radix-2 pass for odd powers of two), then the split of the half-length
// spectrum into the real spectrum. Every pass is vectorised across
// independent butterflies, in packs of 16, 8, 4, 2 or 1 lanes (fft_simd.h)
// chosen by how many butterflies the pass has, so each value goes through
// the same operations in the same order in every variant and the results
// are identical bit for bit. Where the strides allow, two passes run as one
// (radix-16 or radix-8 blocks in registers): that saves trips through
// memory and changes no operation. The exported functions run N = 16 and
// 32 as straight-line transforms with these operations (fft_small.h).
//
// Pass with stride s over n = M / s points (m = n / 4 butterfly groups):
//     for p < m, q < s:  a..d = x[q + s (p + k m)], k = 0..3
//                        y[q + s (4 p + k)] = W_n^{k p} * (4-point DFT)_k
// The inputs of one k are contiguous over i = q + s p, and W_n^{kp} is
// entry s p of the first pass's table. Vectors run along q when s covers a
// whole pack; for s = 1 (the first pass) and s = 4 with 8 or 16 lanes they
// run along i, and the outputs are interleaved with transposes.
#ifndef KEL_VEC_NS
#error "define KEL_VEC_NS before including fft_kernels.h"
#endif

#include <stdint.h>

#include "fft_kernels_decl.h"
#include "fft_simd.h"
#include "fft_small.h"

namespace kel {
namespace KEL_VEC_NS {
namespace {

using namespace fftsimd;

// The passes are inlined into the transform of each size, so that for the
// small sizes, which are compiled with M known, every loop unrolls.
#define KEL_FFT_INLINE __attribute__((always_inline)) inline

template <typename P>
struct Cx {
    P re, im;
};

template <typename P>
inline Cx<P> cadd(Cx<P> a, Cx<P> b) {
    return {add(a.re, b.re), add(a.im, b.im)};
}
template <typename P>
inline Cx<P> csub(Cx<P> a, Cx<P> b) {
    return {sub(a.re, b.re), sub(a.im, b.im)};
}
// a * (wr + i wi).
template <typename P>
inline Cx<P> cmul(Cx<P> a, P wr, P wi) {
    return {sub(mul(a.re, wr), mul(a.im, wi)), add(mul(a.re, wi), mul(a.im, wr))};
}
template <typename P>
inline Cx<P> scaled(Cx<P> a, P f) {
    return {mul(a.re, f), mul(a.im, f)};
}

struct Split {
    float* re;
    float* im;
};

// Radix-4 DIF butterfly in place: a..d become outputs k = 0..3, outputs 1..3
// multiplied by the twiddles w = (Re, Im) of W^p, W^2p, W^3p when kTwiddle.
template <typename P, bool kTwiddle>
inline void butterfly4(Cx<P>& a, Cx<P>& b, Cx<P>& c, Cx<P>& d, const P* w) {
    const Cx<P> apc = cadd(a, c), amc = csub(a, c), bpd = cadd(b, d), bmd = csub(b, d);
    const Cx<P> t1 = {add(amc.re, bmd.im), sub(amc.im, bmd.re)};  // (a - c) - i (b - d)
    const Cx<P> t2 = csub(apc, bpd);
    const Cx<P> t3 = {sub(amc.re, bmd.im), add(amc.im, bmd.re)};  // (a - c) + i (b - d)
    a = cadd(apc, bpd);
    if (kTwiddle) {
        b = cmul(t1, w[0], w[1]);
        c = cmul(t2, w[2], w[3]);
        d = cmul(t3, w[4], w[5]);
    } else {
        b = t1;
        c = t2;
        d = t3;
    }
}

// Each pass below runs with the pack it is given when it has at least a
// full pack of independent butterflies, else with the next narrower pack.

// The twiddles of a pass with stride s, for one group p (broadcast).
template <typename P>
inline void twiddlesAt(const float* tw, int ts, int index, P* w) {
    for (int j = 0; j < 6; ++j) w[j] = P::set1(tw[j * ts + index]);
}

// First pass (stride 1, n = M): vectors run along p. The input is the
// joined real signal (even samples real, odd imaginary) or a split buffer.
template <typename P, bool kJoinedIn>
KEL_FFT_INLINE void firstPass(const float* in, Split out, int M, const float* tw, int ts) {
    const int m = M / 4;
    if constexpr (P::kLanes > 1) {
        if (m < P::kLanes) return firstPass<typename Narrower<P>::type, kJoinedIn>(in, out, M, tw, ts);
    }
    constexpr int L = P::kLanes;
    for (int p = 0; p < m; p += L) {
        Cx<P> x[4];
        for (int k = 0; k < 4; ++k) {
            const int i = p + k * m;
            if (kJoinedIn) {
                loadSplit(in + 2 * i, x[k].re, x[k].im);
            } else {
                x[k].re = P::load(in + i);
                x[k].im = P::load(in + M + i);
            }
        }
        P w[6];
        for (int j = 0; j < 6; ++j) w[j] = P::load(tw + j * ts + p);
        butterfly4<P, true>(x[0], x[1], x[2], x[3], w);
        transpose4(x[0].re, x[1].re, x[2].re, x[3].re);
        chunkTranspose4(x[0].re, x[1].re, x[2].re, x[3].re);
        transpose4(x[0].im, x[1].im, x[2].im, x[3].im);
        chunkTranspose4(x[0].im, x[1].im, x[2].im, x[3].im);
        for (int k = 0; k < 4; ++k) {
            store(out.re + 4 * p + k * L, x[k].re);
            store(out.im + 4 * p + k * L, x[k].im);
        }
    }
}

// A twiddled pass with stride 4 and packs wider than 4: vectors run along
// i = q + 4p, each group's twiddle spread over its four lanes.
template <typename P>
KEL_FFT_INLINE void passStride4(Split in, Split out, int M, const float* tw, int ts) {
    constexpr int L = P::kLanes;
    const int m4 = M / 4;
    for (int i = 0; i < m4; i += L) {
        Cx<P> x[4];
        for (int k = 0; k < 4; ++k) {
            x[k].re = P::load(in.re + i + k * m4);
            x[k].im = P::load(in.im + i + k * m4);
        }
        P w[6];
        for (int j = 0; j < 6; ++j) w[j] = spread4(P::load(tw + j * ts + i));
        butterfly4<P, true>(x[0], x[1], x[2], x[3], w);
        chunkTranspose4(x[0].re, x[1].re, x[2].re, x[3].re);
        chunkTranspose4(x[0].im, x[1].im, x[2].im, x[3].im);
        for (int k = 0; k < 4; ++k) {
            store(out.re + 4 * i + k * L, x[k].re);
            store(out.im + 4 * i + k * L, x[k].im);
        }
    }
}

// A radix-4 pass with stride s >= lanes: vectors run along q.
template <typename P, bool kTwiddle>
KEL_FFT_INLINE void passWide(Split in, Split out, int M, int s, const float* tw, int ts) {
    constexpr int L = P::kLanes;
    const int m4 = M / 4, m = m4 / s;
    for (int p = 0; p < m; ++p) {
        P w[6];
        if (kTwiddle) twiddlesAt(tw, ts, s * p, w);
        const int iIn = s * p, iOut = 4 * s * p;
        for (int q = 0; q < s; q += L) {
            Cx<P> x[4];
            for (int k = 0; k < 4; ++k) {
                x[k].re = P::load(in.re + iIn + q + k * m4);
                x[k].im = P::load(in.im + iIn + q + k * m4);
            }
            butterfly4<P, kTwiddle>(x[0], x[1], x[2], x[3], w);
            for (int k = 0; k < 4; ++k) {
                store(out.re + iOut + q + k * s, x[k].re);
                store(out.im + iOut + q + k * s, x[k].im);
            }
        }
    }
}

// A twiddled radix-4 pass with stride s (n = M / s >= 8).
template <typename P>
KEL_FFT_INLINE void pass4(Split in, Split out, int M, int s, const float* tw, int ts) {
    if constexpr (P::kLanes > 1) {
        if (M / 4 < P::kLanes) return pass4<typename Narrower<P>::type>(in, out, M, s, tw, ts);
    }
    // Strides are powers of 4 from 4 up: only packs of 8 or 16 can be
    // wider than the stride.
    if constexpr (P::kLanes >= 8) {
        if (s < P::kLanes) return passStride4<P>(in, out, M, tw, ts);
    }
    passWide<P, true>(in, out, M, s, tw, ts);
}

// Where the last pass of a transform puts its result: a split buffer, or
// the joined real signal of the inverse, conjugated (the inverse runs the
// forward transform on conjugates) and scaled when kScale.
struct ToSplit {
    Split out;
    template <typename P>
    void put(int i, Cx<P> y) const {
        store(out.re + i, y.re);
        store(out.im + i, y.im);
    }
};
template <bool kScale>
struct ToJoinedConj {
    float* out;
    float scale;
    template <typename P>
    void put(int i, Cx<P> y) const {
        if (kScale) y = scaled(y, P::set1(scale));
        storeJoined(out + 2 * i, y.re, neg(y.im));
    }
};

// Last radix-4 pass (n = 4, stride M / 4, no twiddles).
template <typename P, typename Out>
KEL_FFT_INLINE void lastPass4(Split in, const Out& out, int M) {
    const int s = M / 4;
    if constexpr (P::kLanes > 1) {
        if (s < P::kLanes) return lastPass4<typename Narrower<P>::type>(in, out, M);
    }
    for (int q = 0; q < s; q += P::kLanes) {
        Cx<P> x[4];
        for (int k = 0; k < 4; ++k) {
            x[k].re = P::load(in.re + q + k * s);
            x[k].im = P::load(in.im + q + k * s);
        }
        butterfly4<P, false>(x[0], x[1], x[2], x[3], nullptr);
        for (int k = 0; k < 4; ++k) out.put(q + k * s, x[k]);
    }
}

// Last radix-2 pass (n = 2, stride M / 2). No wider than the passes
// before it: a load wider than the stores that just wrote its data would
// wait for them to reach the cache.
template <typename P, typename Out>
KEL_FFT_INLINE void lastPass2(Split in, const Out& out, int M) {
    const int s = M / 2;
    if constexpr (P::kLanes > 1) {
        if (M / 4 < P::kLanes) return lastPass2<typename Narrower<P>::type>(in, out, M);
    }
    for (int q = 0; q < s; q += P::kLanes) {
        const Cx<P> a = {P::load(in.re + q), P::load(in.im + q)};
        const Cx<P> b = {P::load(in.re + q + s), P::load(in.im + q + s)};
        out.put(q, cadd(a, b));
        out.put(q + s, csub(a, b));
    }
}

// Lanes of the packs the passes after the first use for M points.
constexpr int passLanes(int M) { return M / 4 < Widest::kLanes ? M / 4 : Widest::kLanes; }

// Two radix-4 passes in one, the second reading what the first wrote, as
// in-register radix-16 blocks: the first with stride s (twiddled), the
// second with stride 4s (twiddled unless it is the transform's last, n = 4).
// Group p2 of the second pass and its lanes q + s kk take output kk of the
// first pass's groups p2 + j m2, j = 0..3. Both strides cover whole packs.
template <typename P, bool kTwiddle2, typename Out>
KEL_FFT_INLINE void passPair(Split in, const Out& out, int M, int s, const float* tw, int ts) {
    if constexpr (P::kLanes > 1) {
        if (M / 4 < P::kLanes) return passPair<typename Narrower<P>::type, kTwiddle2>(in, out, M, s, tw, ts);
    }
    constexpr int L = P::kLanes;
    const int m4 = M / 4, m2 = m4 / s / 4;
    for (int p2 = 0; p2 < m2; ++p2) {
        for (int q = 0; q < s; q += L) {
            Cx<P> y[4][4];
            for (int j = 0; j < 4; ++j) {
                const int base = q + s * (p2 + j * m2);
                for (int i = 0; i < 4; ++i) y[j][i] = {P::load(in.re + base + i * m4), P::load(in.im + base + i * m4)};
                P w[6];
                twiddlesAt(tw, ts, s * (p2 + j * m2), w);
                butterfly4<P, true>(y[j][0], y[j][1], y[j][2], y[j][3], w);
            }
            P w2[6];
            if (kTwiddle2) twiddlesAt(tw, ts, 4 * s * p2, w2);
            for (int kk = 0; kk < 4; ++kk) {
                butterfly4<P, kTwiddle2>(y[0][kk], y[1][kk], y[2][kk], y[3][kk], w2);
                for (int k2 = 0; k2 < 4; ++k2) out.put(q + s * kk + 16 * s * p2 + 4 * s * k2, y[k2][kk]);
            }
        }
    }
}

// The last twiddled radix-4 pass (n = 8, stride s = M / 8) and the radix-2
// pass after it in one: output k of group 0 pairs with output k of group 1.
template <typename P, typename Out>
KEL_FFT_INLINE void lastPass8(Split in, const Out& out, int M, const float* tw, int ts) {
    if constexpr (P::kLanes > 1) {
        if (M / 4 < P::kLanes) return lastPass8<typename Narrower<P>::type>(in, out, M, tw, ts);
    }
    const int s = M / 8;
    for (int q = 0; q < s; q += P::kLanes) {
        Cx<P> y[2][4];
        for (int p = 0; p < 2; ++p) {
            for (int i = 0; i < 4; ++i) {
                const int at = q + s * (p + 2 * i);
                y[p][i] = {P::load(in.re + at), P::load(in.im + at)};
            }
            P w[6];
            twiddlesAt(tw, ts, s * p, w);
            butterfly4<P, true>(y[p][0], y[p][1], y[p][2], y[p][3], w);
        }
        for (int k = 0; k < 4; ++k) {
            out.put(q + s * k, cadd(y[0][k], y[1][k]));
            out.put(q + s * k + 4 * s, csub(y[0][k], y[1][k]));
        }
    }
}

// The passes after the first of the complex transform of M points, from
// split buffer b[cur], alternating between b[0] and b[1]; the last pass
// writes to lastFor(the buffer not read by it). Passes whose strides cover
// whole packs run two at a time.
template <typename LastFor>
KEL_FFT_INLINE void complexPasses(Split b[2], int M, const float* tw, int ts, int cur, LastFor lastFor) {
    const int lanes = passLanes(M);
    int s = 4, n = M / 4;
    while (n >= 8) {
        if (s < lanes) {
            pass4<Widest>(b[cur], b[cur ^ 1], M, s, tw, ts);
            s *= 4, n /= 4, cur ^= 1;
        } else if (n >= 32) {
            passPair<Widest, true>(b[cur], ToSplit{b[cur ^ 1]}, M, s, tw, ts);
            s *= 16, n /= 16, cur ^= 1;
        } else if (n == 16) {
            return passPair<Widest, false>(b[cur], lastFor(cur ^ 1), M, s, tw, ts);
        } else {  // n == 8
            return lastPass8<Widest>(b[cur], lastFor(cur ^ 1), M, tw, ts);
        }
    }
    if (n == 4) return lastPass4<Widest>(b[cur], lastFor(cur ^ 1), M);
    lastPass2<Widest>(b[cur], lastFor(cur ^ 1), M);
}

// Forward recombination of the half-length spectrum Z (split) into the real
// spectrum X, for k and M - k, k = 1..M/2:
//     s = Z[k] + conj Z[M-k],  d = Z[k] - conj Z[M-k],  u = c_k d,
//     X[k] = s/2 + u,  X[M-k] = conj(s/2 - u),  c_k = -i/2 exp(-2 pi i k/N)
// in packs no wider than M/4 (which divides M/2, so there is no tail). Z is
// read in aligned packs, as the last pass wrote it, so that small
// transforms take it straight from the store buffer, and X is written in
// aligned packs: the results for k..k+L-1 go out one element late, carried
// into the next pack, starting from the first two values (carry0, in the
// last lane) and ending in the first lane of the mirrored pack of k = M/2
// (the middle bin, which pairs with itself, takes the first formula).
template <typename P, bool kScale>
KEL_FFT_INLINE void recombineFwdIn(Split z, float* dst, int M, const float* rec, float scale, F1 carry0Re,
                                   F1 carry0Im) {
    constexpr int L = P::kLanes;
    const P half = P::set1(0.5f), f = P::set1(scale);
    Cx<P> carry = {P::set1(carry0Re.v), P::set1(carry0Im.v)};
    for (int k = 1; k <= M / 2; k += L) {
        const int kb = M - k - (L - 1);  // lanes of the mirrored block, reversed
        const Cx<P> a = {shift1(P::load(z.re + k - 1), P::load(z.re + k - 1 + L)),
                         shift1(P::load(z.im + k - 1), P::load(z.im + k - 1 + L))};
        const Cx<P> b = {reverse(P::load(z.re + kb)), reverse(P::load(z.im + kb))};
        const Cx<P> hs = {mul(add(a.re, b.re), half), mul(sub(a.im, b.im), half)};
        const Cx<P> d = {sub(a.re, b.re), add(a.im, b.im)};
        const Cx<P> u = cmul(d, P::load(rec + k - 1), P::load(rec + M / 2 + k - 1));
        Cx<P> x1 = cadd(hs, u);
        Cx<P> x2 = {sub(hs.re, u.re), sub(u.im, hs.im)};
        if (kScale) {
            x1 = scaled(x1, f);
            x2 = scaled(x2, f);
        }
        storeJoined(dst + 2 * (k - 1), shiftBack1(carry.re, x1.re), shiftBack1(carry.im, x1.im));
        carry = x1;
        Cx<P> back = {reverse(x2.re), reverse(x2.im)};
        if (k + L > M / 2) back = {withFirst(back.re, carry.re), withFirst(back.im, carry.im)};
        storeJoined(dst + 2 * kb, back.re, back.im);
    }
}

template <typename P, bool kScale>
KEL_FFT_INLINE void recombineFwd(Split z, float* dst, int M, const float* rec, float scale, F1 carry0Re, F1 carry0Im) {
    if constexpr (P::kLanes > 1) {
        if (M / 4 < P::kLanes) {
            return recombineFwd<typename Narrower<P>::type, kScale>(z, dst, M, rec, scale, carry0Re, carry0Im);
        }
    }
    recombineFwdIn<P, kScale>(z, dst, M, rec, scale, carry0Re, carry0Im);
}

// Inverse recombination of the real spectrum X (joined CCS) into the
// conjugate of 2 Z, Z the half-length spectrum, for k and M - k, k = 1..M/2:
//     s = X[k] + conj X[M-k],  d = X[k] - conj X[M-k],  u = c_k d,
//     2 Z[k] = s + u,  2 Z[M-k] = conj(s - u),  c_k = i exp(+2 pi i k/N)
// Packs as in recombineFwd. Every store is an aligned pack, as the first
// pass reads them: the results for k..k+L-1 go out one element late,
// carried into the next pack, starting from 2 Z[0] (carry0, in the last
// lane) and ending in the first lane of the mirrored pack of k = M/2.
template <typename P>
KEL_FFT_INLINE void recombineInvIn(const float* src, Split z, int M, const float* rec, F1 carry0Re, F1 carry0Im) {
    constexpr int L = P::kLanes;
    Cx<P> carry = {P::set1(carry0Re.v), P::set1(carry0Im.v)};
    for (int k = 1; k <= M / 2; k += L) {
        const int kb = M - k - (L - 1);
        Cx<P> a, b;
        loadSplit(src + 2 * k, a.re, a.im);
        loadSplit(src + 2 * kb, b.re, b.im);
        b = {reverse(b.re), reverse(b.im)};
        const Cx<P> s = {add(a.re, b.re), sub(a.im, b.im)};
        const Cx<P> d = {sub(a.re, b.re), add(a.im, b.im)};
        const Cx<P> u = cmul(d, P::load(rec + k - 1), P::load(rec + M / 2 + k - 1));
        const Cx<P> front = {add(s.re, u.re), neg(add(s.im, u.im))};
        Cx<P> back = {reverse(sub(s.re, u.re)), reverse(sub(s.im, u.im))};
        store(z.re + k - 1, shiftBack1(carry.re, front.re));
        store(z.im + k - 1, shiftBack1(carry.im, front.im));
        carry = front;
        if (k + L > M / 2) back = {withFirst(back.re, carry.re), withFirst(back.im, carry.im)};
        store(z.re + kb, back.re);
        store(z.im + kb, back.im);
    }
}

template <typename P>
KEL_FFT_INLINE void recombineInv(const float* src, Split z, int M, const float* rec, F1 carry0Re, F1 carry0Im) {
    if constexpr (P::kLanes > 1) {
        if (M / 4 < P::kLanes) return recombineInv<typename Narrower<P>::type>(src, z, M, rec, carry0Re, carry0Im);
    }
    recombineInvIn<P>(src, z, M, rec, carry0Re, carry0Im);
}

template <bool kScale, int kM>
void forward(const FftPlan& pl, const float* src, float* dst, float* work, bool ccs) {
    const int M = kM != 0 ? kM : pl.M, ts = pl.twStride;
    Split b[2] = {{work, work + M}, {work + 2 * M, work + 3 * M}};
    firstPass<Widest, true>(src, b[0], M, pl.tw, ts);
    Split z = b[0];
    complexPasses(b, M, pl.tw, ts, 0, [&](int i) {
        z = b[i];
        return ToSplit{b[i]};
    });
    // DC and Nyquist from Z[0]; they lead the first pack of the
    // recombination (Perm), or DC does and Nyquist goes last (CCS).
    const F1 f = F1::set1(pl.scale);
    F1 dc = add(F1::load(z.re), F1::load(z.im)), ny = sub(F1::load(z.re), F1::load(z.im));
    if (kScale) {
        dc = mul(dc, f);
        ny = mul(ny, f);
    }
    if (ccs) {
        recombineFwd<Widest, kScale>(z, dst, M, pl.recF, pl.scale, dc, F1::set1(0.0f));
        store(dst + 2 * M, ny);
        dst[2 * M + 1] = 0.0f;
    } else {
        recombineFwd<Widest, kScale>(z, dst, M, pl.recF, pl.scale, dc, ny);
    }
}

template <bool kScale, int kM>
void inverse(const FftPlan& pl, const float* src, float* dst, float* work) {
    const int M = kM != 0 ? kM : pl.M, ts = pl.twStride;
    Split b[2] = {{work, work + M}, {work + 2 * M, work + 3 * M}};
    // 2 Z[0] from the DC and Nyquist bins, conjugated.
    const F1 x0 = F1::load(src), xm = F1::load(src + 2 * M);
    recombineInv<Widest>(src, b[0], M, pl.recI, add(x0, xm), neg(sub(x0, xm)));
    firstPass<Widest, false>(b[0].re, b[1], M, pl.tw, ts);
    complexPasses(b, M, pl.tw, ts, 1, [&](int) { return ToJoinedConj<kScale>{dst, pl.scale}; });
}

template <bool kScale>
void forwardAnySize(const FftPlan& pl, const float* src, float* dst, float* work, bool ccs) {
    switch (pl.M) {
        case 8: return forward<kScale, 8>(pl, src, dst, work, ccs);
        case 16: return forward<kScale, 16>(pl, src, dst, work, ccs);
        case 32: return forward<kScale, 32>(pl, src, dst, work, ccs);
        default: return forward<kScale, 0>(pl, src, dst, work, ccs);
    }
}

template <bool kScale>
void inverseAnySize(const FftPlan& pl, const float* src, float* dst, float* work) {
    switch (pl.M) {
        case 8: return inverse<kScale, 8>(pl, src, dst, work);
        case 16: return inverse<kScale, 16>(pl, src, dst, work);
        case 32: return inverse<kScale, 32>(pl, src, dst, work);
        default: return inverse<kScale, 0>(pl, src, dst, work);
    }
}

}  // namespace

void fftForward_32f(const FftPlan* plan, const Kel32f* src, Kel32f* dst, Kel32f* work, int ccs) {
    if (plan->scaleFwd) {
        forwardAnySize<true>(*plan, src, dst, work, ccs != 0);
    } else {
        forwardAnySize<false>(*plan, src, dst, work, ccs != 0);
    }
}

void fftInverse_32f(const FftPlan* plan, const Kel32f* src, Kel32f* dst, Kel32f* work) {
    if (plan->scaleInv) {
        inverseAnySize<true>(*plan, src, dst, work);
    } else {
        inverseAnySize<false>(*plan, src, dst, work);
    }
}

#undef KEL_FFT_INLINE

}  // namespace KEL_VEC_NS
}  // namespace kel
