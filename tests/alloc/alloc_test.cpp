// kelsMalloc_8u and kelsFree against the system allocator: this program
// replaces malloc and free to see exactly what the library asks of them.
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdlib.h>

#include "kelsc.h"

extern "C" void* __libc_malloc(size_t);
extern "C" void __libc_free(void*);

namespace {
// Only the test's own thread allocates while these are watched.
struct Watch {
    bool on = false;
    int mallocs = 0;
    size_t lastSize = 0;
    void* lastBlock = nullptr;
    void* lastFreed = nullptr;
};
Watch watch;
}  // namespace

extern "C" void* malloc(size_t n) {
    void* p = __libc_malloc(n);
    if (watch.on) {
        ++watch.mallocs;
        watch.lastSize = n;
        watch.lastBlock = p;
    }
    return p;
}

extern "C" void free(void* p) {
    if (watch.on && p != nullptr) watch.lastFreed = p;
    __libc_free(p);
}

namespace {

TEST(AllocatorContract, NoSystemCallForNonPositiveLength) {
    watch = Watch{};
    watch.on = true;
    EXPECT_EQ(kelsMalloc_8u(0), nullptr);
    EXPECT_EQ(kelsMalloc_8u(-5), nullptr);
    kelsFree(nullptr);
    watch.on = false;
    EXPECT_EQ(watch.mallocs, 0);
    EXPECT_EQ(watch.lastFreed, nullptr);
}

TEST(AllocatorContract, FreeReleasesTheSystemBlock) {
    for (int len : {1, 17, 32, 1000}) {
        watch = Watch{};
        watch.on = true;
        Kel8u* p = kelsMalloc_8u(len);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(watch.mallocs, 1);
        // The request covers the length, the alignment gap and the stored
        // pointer: len + 36 with 4-byte pointers.
        EXPECT_EQ(watch.lastSize, static_cast<size_t>(len) + 32 + sizeof(void*));
        const uintptr_t raw = reinterpret_cast<uintptr_t>(watch.lastBlock);
        const uintptr_t got = reinterpret_cast<uintptr_t>(p);
        EXPECT_EQ(got % 32, 0u);
        EXPECT_GE(got, raw + sizeof(void*));
        EXPECT_LE(got + static_cast<size_t>(len), raw + watch.lastSize);
        kelsFree(p);
        watch.on = false;
        EXPECT_EQ(watch.lastFreed, watch.lastBlock);
    }
}

}  // namespace
