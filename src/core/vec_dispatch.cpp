// Binds each dispatched vector kernel to its best variant once per process.
//
// On x86 the binding is a GNU indirect function: the dynamic linker (or the
// static start-up code) calls the resolver once and patches the reference,
// so the choice costs nothing per call and the library keeps no writable
// dispatch state of its own.
#include "vec_kernels_decl.h"

#if defined(KEL_HAVE_AVX2_VARIANT)
#include <cpuid.h>

// Runs inside ifunc resolvers, before sanitizer run-times are initialised:
// no instrumentation, no calls through the PLT.
#define KEL_RESOLVER_SAFE __attribute__((no_sanitize("address", "undefined"), always_inline))

static inline KEL_RESOLVER_SAFE bool detectAvx2() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
    if (!(c & bit_OSXSAVE) || !(c & bit_AVX)) return false;
    unsigned lo = 0, hi = 0;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    if ((lo & 6) != 6) return false;  // XMM and YMM state enabled by the OS
    if (__get_cpuid_max(0, nullptr) < 7) return false;
    __cpuid_count(7, 0, a, b, c, d);
    return (b & bit_AVX2) != 0;
}

namespace kel {
bool cpuHasAvx2() { return detectAvx2(); }
}  // namespace kel

#define KEL_VEC_RESOLVE(ret, name, params, args)                                                             \
    extern "C" __attribute__((used, no_sanitize("address", "undefined"))) ret(*kelResolve_##name()) params { \
        return detectAvx2() ? kel::avx2::name : kel::base::name;                                             \
    }                                                                                                        \
    namespace kel::vec {                                                                                     \
    ret name params __attribute__((ifunc("kelResolve_" #name)));                                             \
    }
KEL_VEC_KERNELS(KEL_VEC_RESOLVE)

#else

#define KEL_VEC_FORWARD(ret, name, params, args) \
    namespace kel::vec {                         \
    ret name params { return base::name args; }  \
    }
KEL_VEC_KERNELS(KEL_VEC_FORWARD)

#endif
