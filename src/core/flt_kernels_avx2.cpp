// AVX2 build of the correlation and filter kernels (compiled with -mavx2).
#define KEL_VEC_NS avx2
#include "flt_kernels.h"
