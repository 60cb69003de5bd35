// The kernels built on the 16-bit pairwise multiply-add, the exact sum and
// dot product: part of the vector kernels (vec_kernels.h), and also built on
// their own for processors with AVX-512 VNNI (vec_madd_avx512vnni.cpp), whose
// multiply-accumulate does in one instruction what takes two or more here.
// Included after KEL_VEC_NS is defined.
#ifndef KEL_VEC_NS
#error "define KEL_VEC_NS before including vec_madd_kernels.h"
#endif
#ifndef KELSC_CORE_VEC_MADD_KERNELS_H
#define KELSC_CORE_VEC_MADD_KERNELS_H

#include <stdint.h>

#include "kelsc.h"
#include "simd.h"

namespace kel {
namespace KEL_VEC_NS {

// Exact sum of 16-bit values. Blocks of 65536 values cannot overflow a
// 32-bit lane, which lets the inner loop vectorise without widening.
int64_t sum_16s(const Kel16s* s, int n) {
    int64_t total = 0;
    for (int start = 0; start < n; start += 65536) {
        const int end = n - start > 65536 ? start + 65536 : n;
        int32_t part = 0;
        int i = start;
#if defined(KEL_SIMD)
        // Pairwise sums by multiply-add with ones, accumulated in 32-bit
        // lanes: a block adds at most 65536 / 2 pairs to each lane.
        const VecI ones = set16(1);
        // Eight chains, so that the multiply-adds of consecutive vectors overlap.
        VecI acc[8];
        for (VecI& a : acc) a = zero();
        for (; i + 8 * kLanes16 <= end; i += 8 * kLanes16)
            for (int k = 0; k < 8; ++k) acc[k] = maddAcc16(acc[k], vload(s + i + k * kLanes16), ones);
        VecI acc0 = add32(add32(acc[0], acc[4]), add32(acc[1], acc[5]));
        VecI acc1 = add32(add32(acc[2], acc[6]), add32(acc[3], acc[7]));
        for (; i + kLanes16 <= end; i += kLanes16) acc0 = maddAcc16(acc0, vload(s + i), ones);
#if defined(KEL_MASKED_EDGES)
        if (i < end) acc1 = maddAcc16(acc1, MaskedLoad{(__mmask32{1} << (end - i)) - 1}(s + i), ones);
#endif
        part = hsum32(add32(acc0, acc1));
#endif
#if !defined(KEL_MASKED_EDGES)
        for (; i < end; ++i) part += s[i];
#endif
        total += part;
    }
    return total;
}

#if defined(__AVX512VNNI__)
// Exact dot product of 16-bit vectors in 64 bits, with AVX-512 VNNI.
//
// vpdpwssd adds t = a0 b0 + a1 b1 to a 32-bit lane modulo 2^32: over a block
// the lane sum s is the lane's total modulo 2^32. A second lane sum e of
// (a >> 8) b (arithmetic shift) gives the rest: the total is 256 e + r with
// r the sum of (a & 255) b, and |(a & 255) b| <= 255 * 32768, so over a
// block of 128 vectors |r| < 2^31 and r is s - 256 e read as a signed 32-bit
// value; |e| <= 128 * 2^23 stays inside 32 bits. Four pairs of sums, so that
// consecutive vectors do not wait on the multiply-accumulate latency.
inline void dotStep(__m512i x, __m512i y, __m512i& s, __m512i& e) {
    // Each operand is read once: left to itself the compiler folds the loads
    // into both multiply-accumulates and the shift, doubling the reads, and
    // the loop is bound by reads.
    __asm__("" : "+v"(x), "+v"(y));
    s = _mm512_dpwssd_epi32(s, x, y);
    e = _mm512_dpwssd_epi32(e, _mm512_srai_epi16(x, 8), y);
}

// The sum over the lanes of 256 e + r, in 64 bits.
inline int64_t dotLanes(__m512i e, __m512i r) {
    const auto lane = [](__m512i e, __m512i r, int half) {
        const __m256i eh = half ? _mm512_extracti64x4_epi64(e, 1) : _mm512_castsi512_si256(e);
        const __m256i rh = half ? _mm512_extracti64x4_epi64(r, 1) : _mm512_castsi512_si256(r);
        return _mm512_add_epi64(_mm512_slli_epi64(_mm512_cvtepi32_epi64(eh), 8), _mm512_cvtepi32_epi64(rh));
    };
    return _mm512_reduce_add_epi64(_mm512_add_epi64(lane(e, r, 0), lane(e, r, 1)));
}

int64_t dot_16s(const Kel16s* a, const Kel16s* b, int n) {
    constexpr int kBlock = 128 * kLanes16;
    int64_t total = 0;
    for (int i = 0; i < n;) {
        const int end = n - i > kBlock ? i + kBlock : n;
        __m512i s0 = _mm512_setzero_si512(), s1 = s0, s2 = s0, s3 = s0;
        __m512i e0 = s0, e1 = s0, e2 = s0, e3 = s0;
        for (; i + 4 * kLanes16 <= end; i += 4 * kLanes16) {
            dotStep(vload(a + i), vload(b + i), s0, e0);
            dotStep(vload(a + i + kLanes16), vload(b + i + kLanes16), s1, e1);
            dotStep(vload(a + i + 2 * kLanes16), vload(b + i + 2 * kLanes16), s2, e2);
            dotStep(vload(a + i + 3 * kLanes16), vload(b + i + 3 * kLanes16), s3, e3);
        }
        for (; i + kLanes16 <= end; i += kLanes16) dotStep(vload(a + i), vload(b + i), s0, e0);
        if (i < end) {
            // The last, partial vector: masked lanes read as zero.
            const MaskedLoad load{(__mmask32{1} << (end - i)) - 1};
            dotStep(load(a + i), load(b + i), s1, e1);
            i = end;
        }
        const __m512i s = _mm512_add_epi32(_mm512_add_epi32(s0, s1), _mm512_add_epi32(s2, s3));
        const __m512i e = _mm512_add_epi32(_mm512_add_epi32(e0, e1), _mm512_add_epi32(e2, e3));
        const __m512i r = _mm512_sub_epi32(s, _mm512_slli_epi32(e, 8));
        total += dotLanes(e, r);
    }
    return total;
}
#else
#if defined(KEL_SIMD)
// One vector of pairwise products t into the dot product's two lane sums
// (see dot_16s): s += t, h += (t + offset) >> 16 unsigned.
inline void dotStep(VecI t, VecI offset, VecI& s, VecI& h) {
    h = add32(srl32by16(add32(t, offset)), h);
    s = add32(t, s);
}
#endif

// Exact dot product of 16-bit vectors in 64 bits.
//
// madd16 gives t = a0 b0 + a1 b1 per 32-bit lane, -2147418112 <= t <= 2^31;
// only 2^31 (all four operands -32768) does not fit, and reads back as
// -2^31. Over a block of at most 65536 vectors each lane keeps two 32-bit
// sums: s, the sum of t modulo 2^32 (exact, the wrapped case included), and
// h, the sum of the unsigned (t + 2147418112) >> 16, which is
// floor(t / 65536) + 32767 in 0..65535 for every t (the offset, a multiple
// of 65536, brings the whole range into 0..2^32 - 1). h gives the sum of the
// high parts floor(t / 65536); the sum of the low parts t mod 65536 is below
// 2^32, so s minus the high parts, modulo 2^32, is that sum exactly.
int64_t dot_16s(const Kel16s* a, const Kel16s* b, int n) {
    int64_t total = 0;
    int i = 0;
#if defined(KEL_SIMD)
    const VecI offset = set32(0x7fff0000);
    constexpr int kBlock = 65536 * kLanes16;
#if defined(KEL_MASKED_EDGES)
    const int last = n;  // the masked step takes the remainder
#else
    const int last = n / kLanes16 * kLanes16;
#endif
    while (i < last) {
        const int end = last - i > kBlock ? i + kBlock : last;
        // Two sets of sums, so that consecutive vectors do not wait on each other.
        VecI s0 = zero(), h0 = zero(), s1 = zero(), h1 = zero();
        const int first = i;
        for (; i + 2 * kLanes16 <= end; i += 2 * kLanes16) {
            dotStep(madd16(vload(a + i), vload(b + i)), offset, s0, h0);
            dotStep(madd16(vload(a + i + kLanes16), vload(b + i + kLanes16)), offset, s1, h1);
        }
        VecI s = add32(s0, s1), h = add32(h0, h1);
        if (i + kLanes16 <= end) {
            dotStep(madd16(vload(a + i), vload(b + i)), offset, s, h);
            i += kLanes16;
        }
        uint32_t vectors = static_cast<uint32_t>((i - first) / kLanes16);
#if defined(KEL_MASKED_EDGES)
        if (i < end) {
            const MaskedLoad load{(__mmask32{1} << (end - i)) - 1};
            dotStep(madd16(load(a + i), load(b + i)), offset, s, h);
            ++vectors;
            i = end;
        }
#endif
        // Per lane: high = h - 32767 vectors, low = s - 65536 high (mod 2^32).
        const uint32_t bias = 32767u * vectors;
        const VecI low = add32(sub32(s, sll32by16(h)), set32(static_cast<int32_t>(bias << 16)));
        const int64_t high = static_cast<int64_t>(hsumU32(h)) - int64_t{bias} * kLanes32;
        total += high * 65536 + static_cast<int64_t>(hsumU32(low));
    }
#endif
#if !defined(KEL_MASKED_EDGES)
    for (; i < n; ++i) total += int32_t{a[i]} * b[i];
#endif
    return total;
}
#endif

}  // namespace KEL_VEC_NS
}  // namespace kel

#endif  // KELSC_CORE_VEC_MADD_KERNELS_H
