// Image memory: the 64-byte step rule, its 32-bit arithmetic and the failure
// cases, for all 35 allocators.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <climits>
#include <cstdint>
#include <cstring>

#include "frame/memory.hpp"

namespace {

using AnyMalloc = void* (*)(int, int, int*);

struct Allocator {
    const char* name;
    AnyMalloc fn;
    int bytesPerPixel;
};

#define OVK_ALLOCATOR(type, layout, bpp) {"ovkiMalloc_" #type "_" #layout, reinterpret_cast<AnyMalloc>(&ovkiMalloc_##type##_##layout), bpp}
#define OVK_ALLOCATORS(type, size)                                                                     \
    OVK_ALLOCATOR(type, C1, size), OVK_ALLOCATOR(type, C2, 2 * size), OVK_ALLOCATOR(type, C3, 3 * size), \
        OVK_ALLOCATOR(type, C4, 4 * size), OVK_ALLOCATOR(type, AC4, 4 * size)

const Allocator kAllocators[] = {
    OVK_ALLOCATORS(8u, 1),  OVK_ALLOCATORS(16u, 2), OVK_ALLOCATORS(16s, 2),  OVK_ALLOCATORS(32s, 4),
    OVK_ALLOCATORS(32f, 4), OVK_ALLOCATORS(32sc, 8), OVK_ALLOCATORS(32fc, 8),
};

TEST(ImageMalloc, StepIsTheRowRoundedUpTo64Bytes)
{
    for (const Allocator& a : kAllocators) {
        SCOPED_TRACE(a.name);
        for (int w : {1, 2, 3, 7, 16, 63, 64, 65, 100, 1000, 1921}) {
            int step = -1;
            void* p = a.fn(w, 3, &step);
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(step % 64, 0);
            EXPECT_GE(step, w * a.bytesPerPixel);
            EXPECT_LT(step - w * a.bytesPerPixel, 64);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u);
            std::memset(p, 0xA5, std::size_t(step) * 3);  // the whole block is usable
            ovkiFree(p);
        }
    }
}

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

TEST(ImageMalloc, EmptySizesGiveNullAndAZeroStep)
{
    for (const Allocator& a : kAllocators) {
        SCOPED_TRACE(a.name);
        for (auto [w, h] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {5, -3}, {0, 0}}) {
            int step = 12345;
            EXPECT_EQ(a.fn(w, h, &step), nullptr);
            EXPECT_EQ(step, 0);
        }
        EXPECT_EQ(a.fn(10, 10, nullptr), nullptr);
    }
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
