// The dispatched correlation and filter kernels (see dispatch.h): one
// X-macro row per kernel.
#ifndef KELSC_CORE_FLT_KERNELS_DECL_H
#define KELSC_CORE_FLT_KERNELS_DECL_H

#include <stdint.h>

#include "dispatch.h"
#include "kelsc.h"

// X(return type, name, parameter list, argument list)
#define KEL_FLT_KERNELS(X)                                                                                            \
    X(int32_t, dotWrap_16s, (const Kel16s* a, const Kel16s* b, int n), (a, b, n))                                     \
    X(void, residual_16s, (const Kel16s* a, int order, const Kel16s* x, Kel16s* d, int n, int sf),                    \
      (a, order, x, d, n, sf))                                                                                        \
    X(void, convWrap_16s32s, (const Kel16s* a, const Kel16s* b, Kel32s* d, int start, int count),                     \
      (a, b, d, start, count))                                                                                        \
    X(void, lagCorrWrap_16s, (const Kel16s* x, const Kel16s* y, int n, int lagMin, int lagCount, int dir, Kel32s* d), \
      (x, y, n, lagMin, lagCount, dir, d))

KEL_DECLARE_KERNELS(KEL_FLT_KERNELS)

#endif  // KELSC_CORE_FLT_KERNELS_DECL_H
