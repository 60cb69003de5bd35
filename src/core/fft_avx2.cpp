// AVX2 build of the real-FFT kernels (this file is compiled with -mavx2).
#define KEL_VEC_NS avx2
#include "fft_kernels.h"
