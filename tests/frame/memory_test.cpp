// Image memory: known steps and the 32-bit arithmetic of the image
// allocators (the hostile-input test sweeps all of them: the step rule,
// alignment, empty requests), and the vector and core allocators.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <climits>
#include <cstdint>
#include <cstring>

#include "frame/memory.hpp"

namespace {

TEST(ImageMalloc, KnownSteps)
{
    int step = 0;
    void* p = ovkiMalloc_8u_C1(1, 1, &step);
    EXPECT_EQ(step, 64);
    ovkiFree(p);
    p = ovkiMalloc_8u_C1(64, 1, &step);
    EXPECT_EQ(step, 64);
    ovkiFree(p);
    p = ovkiMalloc_8u_C1(65, 1, &step);
    EXPECT_EQ(step, 128);
    ovkiFree(p);
    p = ovkiMalloc_32fc_C3(3, 2, &step);  // 72 bytes of row
    EXPECT_EQ(step, 128);
    ovkiFree(p);
    p = ovkiMalloc_32s_AC4(1, 1, &step);  // AC4 stores four channels
    EXPECT_EQ(step, 64);
    ovkiFree(p);
    p = ovkiMalloc_16u_C3(11, 1, &step);  // 66 bytes
    EXPECT_EQ(step, 128);
    ovkiFree(p);
}

TEST(ImageMalloc, TotalSizeIsFormedIn32Bits)
{
    int step = 0;
    // 64 * (2^26 + 1) = 2^32 + 64 wraps to 64 bytes: the allocator is asked
    // for the wrapped size and succeeds.
    void* p = ovkiMalloc_8u_C1(64, (1 << 26) + 1, &step);
    EXPECT_EQ(step, 64);
    ASSERT_NE(p, nullptr);
    std::memset(p, 0, 64);
    ovkiFree(p);
    // 64 * 2^25 = 2^31 wraps to a negative size, which the allocator refuses.
    EXPECT_EQ(ovkiMalloc_8u_C1(64, 1 << 25, &step), nullptr);
    EXPECT_EQ(step, 64);
}

TEST(ImageMalloc, FreeAcceptsNull)
{
    ovkiFree(nullptr);
}

TEST(CoreMemory, AlignedAndRefusesEmptyRequests)
{
    for (int n : {1, 3, 64, 65, 4096, 1 << 20}) {
        void* p = ovkMalloc(n);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u);
        std::memset(p, 1, std::size_t(n));
        ovkFree(p);
    }
    EXPECT_EQ(ovkMalloc(0), nullptr);
    EXPECT_EQ(ovkMalloc(-5), nullptr);
    ovkFree(nullptr);
}

// The internal vector allocators: null below one element, else an aligned
// block of the length times the element width (a sanitizer build sees any
// shortfall).
template <class T>
void checkVectorMalloc(T* (*allocate)(int))
{
    for (int n : {0, -1, -100}) EXPECT_EQ(allocate(n), nullptr);
    for (int n : {1, 5}) {
        T* p = allocate(n);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u);
        std::memset(static_cast<void*>(p), 0, n * sizeof(T));
        ovksFree(p);
    }
}

TEST(VectorMalloc, LengthTimesElementWidth)
{
    checkVectorMalloc(ovksMalloc_8u);
    checkVectorMalloc(ovksMalloc_8s);
    checkVectorMalloc(ovksMalloc_16u);
    checkVectorMalloc(ovksMalloc_16s);
    checkVectorMalloc(ovksMalloc_16sc);
    checkVectorMalloc(ovksMalloc_32u);
    checkVectorMalloc(ovksMalloc_32s);
    checkVectorMalloc(ovksMalloc_32sc);
    checkVectorMalloc(ovksMalloc_32f);
    checkVectorMalloc(ovksMalloc_32fc);
    checkVectorMalloc(ovksMalloc_64f);
    ovksFree(nullptr);
    // A block the allocator's int cannot hold gives null, not a wrapped one (8 bytes for 2^29 + 1).
    EXPECT_EQ(ovksMalloc_64f((1 << 29) + 1), nullptr);
    EXPECT_EQ(ovksMalloc_32fc(INT_MAX), nullptr);
}

}  // namespace
