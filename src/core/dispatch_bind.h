// Binds each kernel of a list to its best variant once per process; included
// by one <family>_dispatch.cpp per kernel family.
//
// On x86 the binding is a GNU indirect function: the dynamic linker (or the
// static start-up code) calls the resolver once and patches the reference,
// so the choice costs nothing per call and the library keeps no writable
// dispatch state of its own.
#ifndef KELSC_CORE_DISPATCH_BIND_H
#define KELSC_CORE_DISPATCH_BIND_H

#include "dispatch.h"

#if defined(KEL_HAVE_AVX2_VARIANT)
#include <cpuid.h>

// Runs inside ifunc resolvers, before sanitizer run-times are initialised:
// no instrumentation (sanitizers, and the fuzzer's coverage hooks under
// clang), no calls through the PLT.
#if defined(__clang__)
#define KEL_NO_INSTRUMENT __attribute__((no_sanitize("address", "undefined", "coverage")))
#else
#define KEL_NO_INSTRUMENT __attribute__((no_sanitize("address", "undefined")))
#endif
#define KEL_RESOLVER_SAFE KEL_NO_INSTRUMENT __attribute__((always_inline))

// Which of the wider variants the processor and the operating system
// support: 0 none, 1 AVX2, 2 AVX-512 F/BW/VL as well.
// Only the __cpuid macros are used: cpuid.h's helper functions may be left
// out of line, and instrumented, by a coverage build.
static inline KEL_RESOLVER_SAFE int kelCpuLevel() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    __cpuid(0, a, b, c, d);
    const unsigned maxLeaf = a;
    if (maxLeaf < 1) return 0;
    __cpuid(1, a, b, c, d);
    if (!(c & bit_OSXSAVE) || !(c & bit_AVX)) return 0;
    unsigned xcr0 = 0, xcr0hi = 0;
    __asm__ volatile("xgetbv" : "=a"(xcr0), "=d"(xcr0hi) : "c"(0));
    if ((xcr0 & 0x06) != 0x06) return 0;  // XMM and YMM state enabled by the OS
    if (maxLeaf < 7) return 0;
    __cpuid_count(7, 0, a, b, c, d);
    if (!(b & bit_AVX2)) return 0;
    const unsigned avx512 = bit_AVX512F | bit_AVX512BW | bit_AVX512VL;
    if ((b & avx512) != avx512 || (xcr0 & 0xe6) != 0xe6) return 1;  // opmask and ZMM state too
    return 2;
}

// Whether the processor has AVX-512 VNNI (meaningful when kelCpuLevel() is 2).
static inline KEL_RESOLVER_SAFE bool kelCpuHasVnni() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    __cpuid(0, a, b, c, d);
    if (a < 7) return false;
    __cpuid_count(7, 0, a, b, c, d);
    return (c & bit_AVX512VNNI) != 0;
}

#define KEL_RESOLVE_KERNEL(ret, name, params, args)                                               \
    extern "C" __attribute__((used)) KEL_NO_INSTRUMENT ret(*kelResolve_##name()) params {         \
        const int level = kelCpuLevel();                                                          \
        return level == 2 ? kel::avx512::name : (level == 1 ? kel::avx2::name : kel::base::name); \
    }                                                                                             \
    namespace kel::vec {                                                                          \
    ret name params __attribute__((ifunc("kelResolve_" #name)));                                  \
    }
#define KEL_BIND_KERNELS(LIST) LIST(KEL_RESOLVE_KERNEL)

#define KEL_RESOLVE_VNNI_KERNEL(ret, name, params, args)                                    \
    extern "C" __attribute__((used)) KEL_NO_INSTRUMENT ret(*kelResolve_##name()) params {   \
        const int level = kelCpuLevel();                                                    \
        if (level == 2) return kelCpuHasVnni() ? kel::avx512vnni::name : kel::avx512::name; \
        return level == 1 ? kel::avx2::name : kel::base::name;                              \
    }                                                                                       \
    namespace kel::vec {                                                                    \
    ret name params __attribute__((ifunc("kelResolve_" #name)));                            \
    }
#define KEL_BIND_VNNI_KERNELS(LIST) LIST(KEL_RESOLVE_VNNI_KERNEL)

#else

#define KEL_FORWARD_KERNEL(ret, name, params, args) \
    namespace kel::vec {                            \
    ret name params { return base::name args; }     \
    }
#define KEL_BIND_KERNELS(LIST) LIST(KEL_FORWARD_KERNEL)
#define KEL_BIND_VNNI_KERNELS(LIST) LIST(KEL_FORWARD_KERNEL)

#endif

#endif  // KELSC_CORE_DISPATCH_BIND_H
