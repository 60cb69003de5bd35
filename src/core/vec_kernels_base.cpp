// Baseline build of the vector kernels.
#define KEL_VEC_NS base
#include "vec_kernels.h"
