// AVX-512 build of the real-FFT kernels; compiled with AVX-512 F/BW/VL and
// 512-bit vectors preferred.
#define KEL_VEC_NS avx512
#include "fft_kernels.h"
