// Aligned memory of the core library.
#include <ovk/ovkcore.h>

#include <cstdlib>

namespace {
constexpr std::size_t kAlignment = 64;  // one cache line; rows of ovkiMalloc images start on it
}

extern "C" void* ovkMalloc(int length)
{
    if (length < 1) return nullptr;
    // aligned_alloc wants a size that is a multiple of the alignment.
    const std::size_t bytes = (static_cast<std::size_t>(length) + kAlignment - 1) & ~(kAlignment - 1);
    return std::aligned_alloc(kAlignment, bytes);
}

extern "C" void ovkFree(void* ptr)
{
    std::free(ptr);
}
