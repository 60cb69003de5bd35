// AVX-512 (F, BW, VL) build of the multiply-add kernels with VNNI; compiled
// with those extensions and 512-bit vectors preferred.
#define KEL_VEC_NS avx512vnni
#include "vec_madd_kernels.h"
