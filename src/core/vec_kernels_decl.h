// The dispatched vector kernels (see dispatch.h): one X-macro row per kernel.
#ifndef KELSC_CORE_VEC_KERNELS_DECL_H
#define KELSC_CORE_VEC_KERNELS_DECL_H

#include <stdint.h>

#include "dispatch.h"
#include "kelsc.h"

// X(return type, name, parameter list, argument list)
#define KEL_VEC_KERNELS(X)                                                                              \
    X(void, add_16s, (const Kel16s* a, const Kel16s* b, Kel16s* d, int n), (a, b, d, n))                \
    X(void, sub_16s, (const Kel16s* a, const Kel16s* b, Kel16s* d, int n), (a, b, d, n))                \
    X(void, abs_16s, (const Kel16s* s, Kel16s* d, int n), (s, d, n))                                    \
    X(void, add_32f, (const Kel32f* a, const Kel32f* b, Kel32f* d, int n), (a, b, d, n))                \
    X(void, sub_32f, (const Kel32f* a, const Kel32f* b, Kel32f* d, int n), (a, b, d, n))                \
    X(void, mul_32f, (const Kel32f* a, const Kel32f* b, Kel32f* d, int n), (a, b, d, n))                \
    X(void, mulNR_16s, (const Kel16s* a, const Kel16s* b, Kel16s* d, int n, int sf), (a, b, d, n, sf))  \
    X(void, mulCNR_16s, (const Kel16s* a, Kel16s v, Kel16s* d, int n, int sf), (a, v, d, n, sf))        \
    X(void, mul_16s32s, (const Kel16s* a, const Kel16s* b, Kel32s* d, int n, int sf), (a, b, d, n, sf)) \
    X(void, mulC_16s, (Kel16s v, const Kel16s* s, Kel16s* d, int n, int sf), (v, s, d, n, sf))          \
    X(void, lshift_16u, (const Kel16u* s, int sh, Kel16u* d, int n), (s, sh, d, n))                     \
    X(void, rshift_16s, (const Kel16s* s, int sh, Kel16s* d, int n), (s, sh, d, n))                     \
    X(void, lshift_32s, (const Kel32s* s, int sh, Kel32s* d, int n), (s, sh, d, n))                     \
    X(void, rshift_32s, (const Kel32s* s, int sh, Kel32s* d, int n), (s, sh, d, n))                     \
    X(int64_t, sum_32s, (const Kel32s* s, int n), (s, n))                                               \
    X(Kel16s, max_16s, (const Kel16s* s, int n), (s, n))                                                \
    X(Kel16s, min_16s, (const Kel16s* s, int n), (s, n))                                                \
    X(Kel32s, max_32s, (const Kel32s* s, int n), (s, n))                                                \
    X(Kel16s, maxAbs_16s, (const Kel16s* s, int n), (s, n))                                             \
    X(int, findFirst_16s, (const Kel16s* s, int n, Kel16s v), (s, n, v))                                \
    X(void, conv_16s32s, (const Kel16s* s, Kel32s* d, int n), (s, d, n))                                \
    X(void, conv_16s32f, (const Kel16s* s, Kel32f* d, int n), (s, d, n))                                \
    X(void, conv_32s32f, (const Kel32s* s, Kel32f* d, int n), (s, d, n))                                \
    X(void, set_16s, (Kel16s v, Kel16s * d, int n), (v, d, n))                                          \
    X(void, set_32s, (Kel32s v, Kel32s * d, int n), (v, d, n))

KEL_DECLARE_KERNELS(KEL_VEC_KERNELS)

// Kernels with a fourth variant for AVX-512 with VNNI (see dispatch.h).
#define KEL_VEC_VNNI_KERNELS(X)                           \
    X(int64_t, sum_16s, (const Kel16s* s, int n), (s, n)) \
    X(int64_t, dot_16s, (const Kel16s* a, const Kel16s* b, int n), (a, b, n))

KEL_DECLARE_KERNELS(KEL_VEC_VNNI_KERNELS)
KEL_DECLARE_VNNI_VARIANTS(KEL_VEC_VNNI_KERNELS)

#endif  // KELSC_CORE_VEC_KERNELS_DECL_H
