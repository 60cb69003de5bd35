// Real FFT: size queries, block initialisation, argument checks, the
// straight-line kernels of orders 0..3 and the 16-bit forms. Orders >= 4 run
// the dispatched kernels of fft_kernels.h; fft_internal.h describes the
// blocks.
#include <math.h>
#include <stdint.h>
#include <string.h>

#include "check.h"
#include "fft_internal.h"
#include "fft_kernels_decl.h"
#include "kelsc.h"
#include "vec_kernels_decl.h"

using kel::Args;

struct KelFFTSpec_R_32f {
    kel::FftHeader32f header;
};
struct KelFFTSpec_R_16s32s {
    kel::FftHeader16s header;
};

namespace {

using kel::FftHeader16s;
using kel::FftHeader32f;

constexpr int64_t kIntMax = 2147483647;
constexpr double kTwoPi = 6.283185307179586476925286766559;

// ---------------------------------------------------------------------------
// Sizes
// ---------------------------------------------------------------------------

// Bytes of one order, in 64 bits. spec: the block; init: the scratch of
// Init; work: what a transform needs from the start of its buffer's first
// 16-byte boundary (stored in the block); buffer: the work-buffer size the
// caller is told (work plus 16 bytes of alignment slack, 0 when none).
struct Sizes {
    int64_t spec, init, work, buffer;
};

Sizes sizes32f(int order) {
    if (order < kel::kFftSmallOrders) return {96, 0, 0, 0};
    const int64_t n = int64_t{1} << order, m = n / 2;
    // The complex transform of M points: its six radix-4 twiddle arrays in
    // the block, no init scratch, two split buffers of M complex values plus
    // room to reach a 64-byte boundary as work.
    const int64_t complexSpec = 6 * 16 * ((m + 15) / 16), complexWork = 16 * m + 64;
    // The real transform adds its two recombination tables of N/4 complex
    // values and the header with its alignment slack to the block, and the
    // double-precision sine table of N/8 + 1 values to the init scratch.
    return {complexSpec + 32 * ((2 * n + 15) / 16) + 96, ((n + 19) & ~int64_t{15}) + 16, complexWork, complexWork + 16};
}

// The 16-bit forms add a float copy of the data (N + 2 values) to the work.
Sizes sizes16s(int order) {
    const Sizes f = sizes32f(order);
    const int64_t n = int64_t{1} << order;
    return {f.spec + 48, f.init == 0 ? 0 : f.init + 16, f.work + 4 * n + 8, f.buffer + 4 * n + 8 + 16};
}

bool fitsInt(const Sizes& s) { return s.spec <= kIntMax && s.init <= kIntMax && s.buffer <= kIntMax; }

bool orderOk(int order) { return order >= 0 && order <= kel::kFftMaxOrder; }

bool flagOk(int flag) { return flag == 1 || flag == 2 || flag == 4 || flag == 8; }

template <typename T>
T* alignUp(T* p, uintptr_t to) {
    const uintptr_t a = reinterpret_cast<uintptr_t>(p);
    return reinterpret_cast<T*>(a + (to - a % to) % to);
}

// ---------------------------------------------------------------------------
// Tables
// ---------------------------------------------------------------------------

// sin and cos of 2 pi j / N for any j, from the sine table s[0..N/8] of the
// first octant by symmetry (cosines there as sqrt(1 - s^2)), so that the
// table values are exact at the axes and symmetric.
struct SinCos {
    double sin, cos;
};
SinCos sinCosAt(const double* s, int64_t n, int64_t j) {
    const int64_t quarter = n / 4, eighth = n / 8;
    j %= n;
    const int64_t quadrant = j / quarter, r = j % quarter;
    double sn, cs;
    if (r <= eighth) {
        sn = s[r];
        cs = sqrt(1.0 - s[r] * s[r]);
    } else {
        cs = s[quarter - r];
        sn = sqrt(1.0 - cs * cs);
    }
    switch (quadrant) {
        case 0: return {sn, cs};
        case 1: return {cs, -sn};
        case 2: return {-sn, -cs};
        default: return {-cs, sn};
    }
}

// Offsets (floats from the block's table area) of the tables of one order.
struct TableLayout {
    int twStride;
    int64_t tw, recF, recI;
};
TableLayout tableLayout(int order) {
    const int64_t m = int64_t{1} << (order - 1);
    TableLayout t;
    t.twStride = kel::fftTwiddleStride(static_cast<int>(m));
    t.tw = 0;
    t.recF = 6 * int64_t{t.twStride};
    t.recI = t.recF + m;  // M/2 real parts and M/2 imaginary parts each
    return t;
}

float* tableArea(FftHeader32f* h) { return reinterpret_cast<float*>(h + 1); }
const float* tableArea(const FftHeader32f* h) { return reinterpret_cast<const float*>(h + 1); }

void buildTables(FftHeader32f* h, int order, Kel8u* pMemInit) {
    const int64_t n = int64_t{1} << order, m = n / 2;
    double* s = alignUp(reinterpret_cast<double*>(pMemInit), 16);
    for (int64_t j = 0; j <= n / 8; ++j) s[j] = sin(kTwoPi * static_cast<double>(j) / static_cast<double>(n));

    const TableLayout t = tableLayout(order);
    float* area = tableArea(h);
    // Radix-4 twiddles W_M^{jp} = exp(-2 pi i (2 j p) / N), j = 1..3.
    float* tw = area + t.tw;
    for (int j = 0; j < 3; ++j) {
        float* re = tw + (2 * j) * t.twStride;
        float* im = re + t.twStride;
        for (int64_t p = 0; p < t.twStride; ++p) {
            if (p < m / 4) {
                const SinCos w = sinCosAt(s, n, 2 * (j + 1) * p);
                re[p] = static_cast<float>(w.cos);
                im[p] = static_cast<float>(-w.sin);
            } else {
                re[p] = 0.0f;
                im[p] = 0.0f;
            }
        }
    }
    // Recombination constants for k = 1..M/2, theta = 2 pi k / N:
    // forward -i/2 exp(-i theta), inverse i exp(+i theta).
    float* recF = area + t.recF;
    float* recI = area + t.recI;
    for (int64_t k = 1; k <= m / 2; ++k) {
        const SinCos w = sinCosAt(s, n, k);
        recF[k - 1] = static_cast<float>(-0.5 * w.sin);
        recF[m / 2 + k - 1] = static_cast<float>(-0.5 * w.cos);
        recI[k - 1] = static_cast<float>(-w.sin);
        recI[m / 2 + k - 1] = static_cast<float>(w.cos);
    }
}

// Fills a float block at the 16-byte-aligned address h.
void initFloat(FftHeader32f* h, int order, int flag, int hint, Kel8u* pMemInit) {
    const double n = ldexp(1.0, order);
    FftHeader32f hd = {};
    hd.tag = kel::kFftTag32f;
    hd.order = order;
    hd.scaleFwd = flag == 1 || flag == 4;
    hd.scaleInv = flag == 2 || flag == 4;
    hd.scale = flag == 4 ? static_cast<float>(1.0 / sqrt(n)) : (flag == 8 ? 1.0f : static_cast<float>(1.0 / n));
    hd.hint = hint;
    hd.workBytes = static_cast<int32_t>(sizes32f(order).work);
    hd.allocated = 0;
    memcpy(h, &hd, sizeof(hd));
    if (order >= kel::kFftSmallOrders) buildTables(h, order, pMemInit);
}

// ---------------------------------------------------------------------------
// Orders 0..3: straight-line kernels on Perm order
// ---------------------------------------------------------------------------

constexpr float kSqrtHalf = 0.70710678118654752f;
constexpr float kSqrt2 = 1.41421356237309505f;

// x[0..N-1] to Perm X[0..N-1]; x and X may be the same array.
void smallForward(int order, const float* x, float* X) {
    switch (order) {
        case 0: X[0] = x[0]; return;
        case 1: {
            const float a = x[0], b = x[1];
            X[0] = a + b;
            X[1] = a - b;
            return;
        }
        case 2: {
            const float s02 = x[0] + x[2], d02 = x[0] - x[2], s13 = x[1] + x[3], d13 = x[1] - x[3];
            X[0] = s02 + s13;
            X[1] = s02 - s13;
            X[2] = d02;
            X[3] = -d13;
            return;
        }
        default: {
            const float a0 = x[0] + x[4], a1 = x[0] - x[4], a2 = x[2] + x[6], a3 = x[2] - x[6];
            const float b0 = x[1] + x[5], b1 = x[1] - x[5], b2 = x[3] + x[7], b3 = x[3] - x[7];
            const float e = a0 + a2, o = b0 + b2;
            const float r = kSqrtHalf * (b1 - b3), t = kSqrtHalf * (b1 + b3);
            X[0] = e + o;
            X[1] = e - o;
            X[2] = a1 + r;   // Re X[1]
            X[3] = -a3 - t;  // Im X[1]
            X[4] = a0 - a2;  // Re X[2]
            X[5] = b2 - b0;  // Im X[2]
            X[6] = a1 - r;   // Re X[3]
            X[7] = a3 - t;   // Im X[3]
            return;
        }
    }
}

// Perm X[0..N-1] to x[0..N-1] (unnormalised); X and x may be the same array.
void smallInverse(int order, const float* X, float* x) {
    switch (order) {
        case 0: x[0] = X[0]; return;
        case 1: {
            const float a = X[0], b = X[1];
            x[0] = a + b;
            x[1] = a - b;
            return;
        }
        case 2: {
            const float p = X[0] + X[1], q = X[0] - X[1], r = 2.0f * X[2], i = 2.0f * X[3];
            x[0] = p + r;
            x[1] = q - i;
            x[2] = p - r;
            x[3] = q + i;
            return;
        }
        default: {
            const float x0 = X[0], x4 = X[1], r1 = X[2], i1 = X[3], r2 = X[4], i2 = X[5], r3 = X[6], i3 = X[7];
            const float p = x0 + x4, q = x0 - x4;
            const float e0 = p + 2.0f * r2, e1 = q - 2.0f * i2, e2 = p - 2.0f * r2, e3 = q + 2.0f * i2;
            const float o0 = 2.0f * (r1 + r3), o1 = kSqrt2 * ((r1 - i1) - (r3 + i3)), o2 = 2.0f * (i1 - i3),
                        o3 = kSqrt2 * ((r1 + i1) + (i3 - r3));
            x[0] = e0 + o0;
            x[4] = e0 - o0;
            x[1] = e1 + o1;
            x[5] = e1 - o1;
            x[2] = e2 - o2;
            x[6] = e2 + o2;
            x[3] = e3 - o3;
            x[7] = e3 + o3;
            return;
        }
    }
}

void scaleAll(float* x, int n, float f) {
    for (int i = 0; i < n; ++i) x[i] *= f;
}

// ---------------------------------------------------------------------------
// Transforms on a checked float block
// ---------------------------------------------------------------------------

// Orders 4 and 5 (N = 16, 32) have straight-line transforms without work
// area (fft_small.h); asking only for them keeps the other orders free of
// the extra call.
bool straightLine(int order) { return order == 4 || order == 5; }

// The work area of a transform: the caller's buffer, or one allocated for
// the call (released by the destructor). A size beyond what kelsMalloc_8u
// can be asked for cannot be had either.
class Work {
public:
    Work(Kel8u* given, int64_t bytes)
        : mine_(given == nullptr && bytes > 0 && bytes <= kIntMax ? kelsMalloc_8u(static_cast<int>(bytes)) : nullptr),
          base_(given != nullptr ? given : mine_) {}
    ~Work() {
        if (mine_ != nullptr) kelsFree(mine_);
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    // False when the transform needs memory and none could be had.
    bool ok(int64_t bytes) const { return bytes == 0 || base_ != nullptr; }
    Kel8u* at16() const { return alignUp(base_, 16); }

private:
    Kel8u* mine_;
    Kel8u* base_;
};

// Forward transform to Perm (ccs false) or CCS; work is 16-byte aligned.
void forward32f(const FftHeader32f* h, const float* src, float* dst, Kel8u* work, bool ccs) {
    const int order = h->order, n = 1 << order;
    if (straightLine(order) && kel::vec::fftSmallForward_32f(h, src, dst, ccs ? 1 : 0) != 0) return;
    if (order >= kel::kFftSmallOrders) {
        const kel::FftPlan plan = kel::fftPlanOf(h);
        kel::vec::fftForward_32f(&plan, src, dst, reinterpret_cast<float*>(alignUp(work, 64)), ccs ? 1 : 0);
        return;
    }
    float x[8];
    smallForward(order, src, x);
    if (h->scaleFwd) scaleAll(x, n, h->scale);
    if (!ccs) {
        for (int i = 0; i < n; ++i) dst[i] = x[i];
        return;
    }
    // Perm to CCS: element 1 moves to position N, positions 1 and N + 1 hold
    // 0. N = 1 has the one bin x[0], 0.
    dst[0] = x[0];
    dst[1] = 0.0f;
    if (n > 1) {
        for (int i = 2; i < n; ++i) dst[i] = x[i];
        dst[n] = x[1];
        dst[n + 1] = 0.0f;
    }
}

// Inverse transform from CCS; work is 16-byte aligned.
void inverse32f(const FftHeader32f* h, const float* src, float* dst, Kel8u* work) {
    const int order = h->order, n = 1 << order;
    if (straightLine(order) && kel::vec::fftSmallInverse_32f(h, src, dst) != 0) return;
    if (order >= kel::kFftSmallOrders) {
        const kel::FftPlan plan = kel::fftPlanOf(h);
        kel::vec::fftInverse_32f(&plan, src, dst, reinterpret_cast<float*>(alignUp(work, 64)));
        return;
    }
    // CCS to Perm: element N moves to position 1.
    float x[8];
    x[0] = src[0];
    if (n > 1) {
        x[1] = src[n];
        for (int i = 2; i < n; ++i) x[i] = src[i];
    }
    smallInverse(order, x, dst);
    if (h->scaleInv) scaleAll(dst, n, h->scale);
}

const FftHeader32f* header32f(const KelFFTSpec_R_32f* spec) { return &spec->header; }
bool tagged32f(const KelFFTSpec_R_32f* spec) { return spec != nullptr && spec->header.tag == kel::kFftTag32f; }
bool tagged16s(const KelFFTSpec_R_16s32s* spec) { return spec != nullptr && spec->header.tag == kel::kFftTag16s; }

const FftHeader32f* floatBlockOf(const KelFFTSpec_R_16s32s* spec) {
    return reinterpret_cast<const FftHeader32f*>(reinterpret_cast<const Kel8u*>(spec) + spec->header.floatOffset);
}

// The bytes a 16-bit transform allocates for itself: the recorded work and
// room to align its start and the float work inside it to 16 bytes.
int64_t workBytes16s(const KelFFTSpec_R_16s32s* spec) { return int64_t{spec->header.workBytes} + 32; }

// Float forward or inverse with the caller's buffer or one of its own.
template <typename Run>
KelStatus withWork(const FftHeader32f* h, Kel8u* pBuffer, Run run) {
    const int64_t bytes = h->workBytes == 0 ? 0 : int64_t{h->workBytes} + 16;
    Work work(pBuffer, bytes);
    if (!work.ok(bytes)) return kelStatusNoMemory;
    run(work.at16());
    return kelStatusOk;
}

KelStatus getSize(int order, Sizes (*sizes)(int), int* pSpecSize, int* pSpecBufferSize, int* pBufferSize) {
    KEL_CHECK(Args()
                  .require(orderOk(order), kelStatusBadFftOrder)
                  .ptr(pSpecSize, pSpecBufferSize, pBufferSize)
                  .require(!orderOk(order) || fitsInt(sizes(order)), kelStatusNoMemory));
    const Sizes s = sizes(order);
    *pSpecSize = static_cast<int>(s.spec);
    *pSpecBufferSize = static_cast<int>(s.init);
    *pBufferSize = static_cast<int>(s.buffer);
    return kelStatusOk;
}

}  // namespace

// ---------------------------------------------------------------------------
// Exported functions
// ---------------------------------------------------------------------------

KelStatus kelsFFTGetSize_R_32f(int order, int flag, int hint, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize) {
    (void)flag;
    (void)hint;
    return getSize(order, sizes32f, pSpecSize, pSpecBufferSize, pBufferSize);
}

KelStatus kelsFFTGetSize_R_16s32s(int order, int flag, int hint, int* pSpecSize, int* pSpecBufferSize,
                                  int* pBufferSize) {
    (void)flag;
    (void)hint;
    return getSize(order, sizes16s, pSpecSize, pSpecBufferSize, pBufferSize);
}

KelStatus kelsFFTInit_R_32f(KelFFTSpec_R_32f** ppSpec, int order, int flag, int hint, Kel8u* pMemSpec,
                            Kel8u* pMemInit) {
    KEL_CHECK(Args()
                  .ptr(ppSpec)
                  .require(orderOk(order), kelStatusBadFftOrder)
                  .ptr(pMemSpec)
                  .require(flagOk(flag), kelStatusBadFftFlag)
                  .require(order < kel::kFftSmallOrders || pMemInit != nullptr, kelStatusNullPointer)
                  .require(!orderOk(order) || fitsInt(sizes32f(order)), kelStatusNoMemory));
    FftHeader32f* h = reinterpret_cast<FftHeader32f*>(alignUp(pMemSpec, 16));
    initFloat(h, order, flag, hint, pMemInit);
    *ppSpec = reinterpret_cast<KelFFTSpec_R_32f*>(h);
    return kelStatusOk;
}

KelStatus kelsFFTInit_R_16s32s(KelFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint, Kel8u* pMemSpec,
                               Kel8u* pMemInit) {
    // The flag and the scratch are the float init's checks; they run here,
    // in its order, so that nothing is written when one fails.
    KEL_CHECK(Args()
                  .ptr(ppSpec)
                  .require(orderOk(order), kelStatusBadFftOrder)
                  .ptr(pMemSpec)
                  .require(flagOk(flag), kelStatusBadFftFlag)
                  .require(order < kel::kFftSmallOrders || pMemInit != nullptr, kelStatusNullPointer)
                  .require(!orderOk(order) || fitsInt(sizes16s(order)), kelStatusNoMemory));
    // The float block follows the 24-byte header at the next 16-byte
    // boundary.
    Kel8u* at = alignUp(pMemSpec, 16);
    KelFFTSpec_R_32f* inner = nullptr;
    const KelStatus st = kelsFFTInit_R_32f(&inner, order, flag, hint, at + sizeof(FftHeader16s), pMemInit);
    if (st != kelStatusOk) return st;
    FftHeader16s hd = {};
    hd.tag = kel::kFftTag16s;
    hd.order = order;
    hd.hint = hint;
    hd.workBytes = static_cast<int32_t>(sizes16s(order).work);
    hd.allocated = 0;
    hd.floatOffset = static_cast<int32_t>(reinterpret_cast<Kel8u*>(inner) - at);
    memcpy(at, &hd, sizeof(hd));
    *ppSpec = reinterpret_cast<KelFFTSpec_R_16s32s*>(at);
    return kelStatusOk;
}

KelStatus kelsFFTGetBufSize_R_32f(const KelFFTSpec_R_32f* pSpec, int* pSize) {
    KEL_CHECK(Args().ptr(pSpec, pSize).require(tagged32f(pSpec), kelStatusBadContext));
    const int32_t work = header32f(pSpec)->workBytes;
    *pSize = work == 0 ? 0 : work + 16;
    return kelStatusOk;
}

KelStatus kelsFFTFwd_RToCCS_32f(const Kel32f* pSrc, Kel32f* pDst, const KelFFTSpec_R_32f* pSpec, Kel8u* pBuffer) {
    KEL_CHECK(Args().ptr(pSpec).require(tagged32f(pSpec), kelStatusBadContext).ptr(pSrc, pDst));
    const FftHeader32f* h = header32f(pSpec);
    if (straightLine(h->order) && kel::vec::fftSmallForward_32f(h, pSrc, pDst, 1) != 0) return kelStatusOk;
    return withWork(h, pBuffer, [&](Kel8u* work) { forward32f(h, pSrc, pDst, work, true); });
}

KelStatus kelsFFTFwd_RToPerm_32f(const Kel32f* pSrc, Kel32f* pDst, const KelFFTSpec_R_32f* pSpec, Kel8u* pBuffer) {
    KEL_CHECK(Args().ptr(pSpec).require(tagged32f(pSpec), kelStatusBadContext).ptr(pSrc, pDst));
    const FftHeader32f* h = header32f(pSpec);
    if (straightLine(h->order) && kel::vec::fftSmallForward_32f(h, pSrc, pDst, 0) != 0) return kelStatusOk;
    return withWork(h, pBuffer, [&](Kel8u* work) { forward32f(h, pSrc, pDst, work, false); });
}

KelStatus kelsFFTInv_CCSToR_32f(const Kel32f* pSrc, Kel32f* pDst, const KelFFTSpec_R_32f* pSpec, Kel8u* pBuffer) {
    KEL_CHECK(Args().ptr(pSpec).require(tagged32f(pSpec), kelStatusBadContext).ptr(pSrc, pDst));
    const FftHeader32f* h = header32f(pSpec);
    if (straightLine(h->order) && kel::vec::fftSmallInverse_32f(h, pSrc, pDst) != 0) return kelStatusOk;
    return withWork(h, pBuffer, [&](Kel8u* work) { inverse32f(h, pSrc, pDst, work); });
}

// The 16-bit forms: a float copy of the data (N + 2 values) at the start of
// the work area, the float transform's own work after it.
KelStatus kelsFFTFwd_RToCCS_16s32s_Sfs(const Kel16s* pSrc, Kel32s* pDst, const KelFFTSpec_R_16s32s* pSpec,
                                       int scaleFactor, Kel8u* pBuffer) {
    KEL_CHECK(Args().ptr(pSpec).require(tagged16s(pSpec), kelStatusBadContext).ptr(pSrc, pDst));
    const int n = 1 << pSpec->header.order;
    const int64_t bytes = workBytes16s(pSpec);
    Work work(pBuffer, bytes);
    if (!work.ok(bytes)) return kelStatusNoMemory;
    float* copy = reinterpret_cast<float*>(work.at16());
    Kel8u* floatWork = alignUp(reinterpret_cast<Kel8u*>(copy + n + 2), 16);
    kel::vec::conv_16s32f(pSrc, copy, n);
    forward32f(floatBlockOf(pSpec), copy, copy, floatWork, false);
    kelsConvert_32f32s_Sfs(copy, pDst, n, 1, scaleFactor);
    // Perm to CCS in place: elements 2..N-1 are already where CCS wants them.
    if (n > 1) {
        pDst[n] = pDst[1];
        pDst[n + 1] = 0;
    }
    pDst[1] = 0;
    return kelStatusOk;
}

KelStatus kelsFFTInv_CCSToR_32s16s_Sfs(const Kel32s* pSrc, Kel16s* pDst, const KelFFTSpec_R_16s32s* pSpec,
                                       int scaleFactor, Kel8u* pBuffer) {
    KEL_CHECK(Args().ptr(pSpec).require(tagged16s(pSpec), kelStatusBadContext).ptr(pSrc, pDst));
    const int n = 1 << pSpec->header.order;
    const int64_t bytes = workBytes16s(pSpec);
    Work work(pBuffer, bytes);
    if (!work.ok(bytes)) return kelStatusNoMemory;
    float* copy = reinterpret_cast<float*>(work.at16());
    Kel8u* floatWork = alignUp(reinterpret_cast<Kel8u*>(copy + n + 2), 16);
    // The first N + 1 CCS values; the always-zero Im X[N/2] is not read.
    kel::vec::conv_32s32f(pSrc, copy, n + 1);
    inverse32f(floatBlockOf(pSpec), copy, copy, floatWork);
    kelsConvert_32f16s_Sfs(copy, pDst, n, 1, scaleFactor);
    return kelStatusOk;
}

kel::FftPlan kel::fftPlanOf(const FftHeader32f* h) {
    const TableLayout t = tableLayout(h->order);
    const float* area = tableArea(h);
    FftPlan p;
    p.M = 1 << (h->order - 1);
    p.tw = area + t.tw;
    p.twStride = t.twStride;
    p.recF = area + t.recF;
    p.recI = area + t.recI;
    p.scale = h->scale;
    p.scaleFwd = h->scaleFwd != 0;
    p.scaleInv = h->scaleInv != 0;
    return p;
}
