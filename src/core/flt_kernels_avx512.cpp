// AVX-512 (F, BW, VL) build of the correlation and filter kernels; compiled
// with those extensions and 512-bit vectors preferred.
#define KEL_VEC_NS avx512
#include "flt_kernels.h"
