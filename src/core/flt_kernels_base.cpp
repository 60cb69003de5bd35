// Baseline build of the correlation and filter kernels.
#define KEL_VEC_NS base
#include "flt_kernels.h"
