// Run-time dispatch of kernels built once per instruction set.
//
// A kernel family keeps one X-macro list of its kernels,
//     #define KEL_FOO_KERNELS(X) X(return type, name, (parameters), (arguments)) ...
// writes their bodies once in a header that is compiled by three
// translation units (<family>_base.cpp, <family>_avx2.cpp, <family>_avx512.cpp,
// each defining KEL_VEC_NS as base, avx2 or avx512 before including it; the
// build compiles *_avx2.cpp and *_avx512.cpp with those extensions), declares
// them with KEL_DECLARE_KERNELS(KEL_FOO_KERNELS) and binds them in one
// <family>_dispatch.cpp with KEL_BIND_KERNELS(KEL_FOO_KERNELS) (see
// dispatch_bind.h). Callers use kel::vec::name; tests may call each variant.
//
// A kernel that gains from AVX-512 VNNI (the 16-bit multiply-accumulate of
// Ice Lake and later) keeps a second list: its fourth variant, in
// namespace avx512vnni, is built by <family>_..._avx512vnni.cpp, declared
// with KEL_DECLARE_VNNI_VARIANTS and bound with KEL_BIND_VNNI_KERNELS.
#ifndef KELSC_CORE_DISPATCH_H
#define KELSC_CORE_DISPATCH_H

#include <stdint.h>

#include "kelsc.h"

#define KEL_DECLARE_KERNEL(ret, name, params, args) ret name params;

#if defined(__i386__) || defined(__x86_64__)
#define KEL_HAVE_AVX2_VARIANT 1
#define KEL_DECLARE_WIDE_VARIANTS(LIST) \
    namespace avx2 {                    \
    LIST(KEL_DECLARE_KERNEL)            \
    }                                   \
    namespace avx512 {                  \
    LIST(KEL_DECLARE_KERNEL)            \
    }
#define KEL_DECLARE_VNNI_VARIANTS(LIST) \
    namespace kel::avx512vnni {         \
    LIST(KEL_DECLARE_KERNEL)            \
    }
#else
#define KEL_DECLARE_WIDE_VARIANTS(LIST)
#define KEL_DECLARE_VNNI_VARIANTS(LIST)
#endif

// Declares base::, avx2::, avx512:: (x86) and the dispatched vec:: kernels.
#define KEL_DECLARE_KERNELS(LIST)   \
    namespace kel {                 \
    namespace base {                \
    LIST(KEL_DECLARE_KERNEL)        \
    }                               \
    KEL_DECLARE_WIDE_VARIANTS(LIST) \
    namespace vec {                 \
    LIST(KEL_DECLARE_KERNEL)        \
    }                               \
    }

namespace kel {
#if defined(KEL_HAVE_AVX2_VARIANT)
// True when the processor and the operating system support AVX2, and
// AVX-512 F/BW/VL with the 512-bit register state.
bool cpuHasAvx2();
bool cpuHasAvx512();
// True when AVX-512 (as above) comes with VNNI.
bool cpuHasAvx512Vnni();
#endif
}  // namespace kel

#endif  // KELSC_CORE_DISPATCH_H
