// Binds the correlation and filter kernels to their best variant (see
// dispatch_bind.h).
#include "dispatch_bind.h"
#include "flt_kernels_decl.h"

KEL_BIND_KERNELS(KEL_FLT_KERNELS)
