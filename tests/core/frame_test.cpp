// Version record and aligned allocator.
#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include "kelsc.h"

namespace {

TEST(Version, RecordIsStaticAndReadsAsReleased) {
    const KelLibraryVersion* v = kelscGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v, kelscGetLibVersion());
    EXPECT_EQ(v->major, 5);
    EXPECT_EQ(v->minor, 1);
    EXPECT_EQ(v->buildMajor, 133);
    EXPECT_EQ(v->build, 245);
    EXPECT_EQ(memcmp(v->cpuTag, "px\0\0", 4), 0);
    EXPECT_STREQ(v->name, "libkelscpx.so.5.1");
    EXPECT_STREQ(v->version, "5.1.1");
    EXPECT_STREQ(v->buildDate, "Jun 17 2006");
}

TEST(Malloc, NonPositiveLengthsGiveNull) {
    EXPECT_EQ(kelsMalloc_8u(0), nullptr);
    EXPECT_EQ(kelsMalloc_8u(-5), nullptr);
    EXPECT_EQ(kelsMalloc_8u(INT32_MIN), nullptr);
    kelsFree(nullptr);
}

// Every size gives a 32-byte aligned block whose whole length is writable
// (the sanitizer build checks the bounds) and that kelsFree takes back.
TEST(Malloc, AlignedAndFullyUsable) {
    for (int len : {1, 2, 3, 4, 5, 7, 8, 31, 32, 33, 63, 64, 100, 4095, 4096, 65537}) {
        Kel8u* p = kelsMalloc_8u(len);
        ASSERT_NE(p, nullptr) << len;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 32, 0u) << len;
        memset(p, 0xA5, static_cast<size_t>(len));
        EXPECT_EQ(p[len - 1], 0xA5);
        kelsFree(p);
    }
}

TEST(Malloc, ManyLiveBlocksAreDistinctAndAligned) {
    Kel8u* blocks[64];
    for (int i = 0; i < 64; ++i) {
        blocks[i] = kelsMalloc_8u(1 + i * 3);
        ASSERT_NE(blocks[i], nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[i]) % 32, 0u);
        memset(blocks[i], i, static_cast<size_t>(1 + i * 3));
    }
    for (int i = 0; i < 64; ++i) {
        EXPECT_EQ(blocks[i][0], i);
        EXPECT_EQ(blocks[i][i * 3], i);
        kelsFree(blocks[i]);
    }
}

}  // namespace
