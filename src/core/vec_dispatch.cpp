// Binds the vector kernels to their best variant (see dispatch_bind.h).
#include "dispatch_bind.h"
#include "vec_kernels_decl.h"

#if defined(KEL_HAVE_AVX2_VARIANT)
namespace kel {
bool cpuHasAvx2() { return kelCpuLevel() >= 1; }
bool cpuHasAvx512() { return kelCpuLevel() >= 2; }
bool cpuHasAvx512Vnni() { return kelCpuLevel() >= 2 && kelCpuHasVnni(); }
}  // namespace kel
#endif

KEL_BIND_KERNELS(KEL_VEC_KERNELS)
KEL_BIND_VNNI_KERNELS(KEL_VEC_VNNI_KERNELS)
