// Binds the real-FFT kernels to their best variant (see dispatch_bind.h).
#include "dispatch_bind.h"
#include "fft_kernels_decl.h"

KEL_BIND_KERNELS(KEL_FFT_KERNELS)
