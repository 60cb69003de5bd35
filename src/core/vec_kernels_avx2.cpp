// AVX2 build of the vector kernels (this file is compiled with -mavx2).
#define KEL_VEC_NS avx2
#include "vec_kernels.h"
