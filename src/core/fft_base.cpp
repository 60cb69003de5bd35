// Baseline build of the real-FFT kernels (SSE2 on x86-64, scalar on i386).
#define KEL_VEC_NS base
#include "fft_kernels.h"
