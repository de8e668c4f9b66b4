#include "frame/memory.hpp"

#include <cstdint>
#include <limits>

namespace {

// The byte count is formed in 64 bits: a length whose block would not fit the
// allocator's int gets null, never a wrapped, smaller block.
template <class T>
T* vectorMalloc(int len)
{
    if (len < 1) return nullptr;
    const std::int64_t bytes = std::int64_t(len) * std::int64_t(sizeof(T));
    if (bytes > std::numeric_limits<int>::max()) return nullptr;
    return static_cast<T*>(ovkMalloc(static_cast<int>(bytes)));
}

}  // namespace

#define OVK_VECTOR_MALLOC(code, T) \
    extern "C" T* ovksMalloc_##code(int len) { return vectorMalloc<T>(len); }

OVK_VECTOR_MALLOC(8u, Ovk8u)
OVK_VECTOR_MALLOC(8s, Ovk8s)
OVK_VECTOR_MALLOC(16u, Ovk16u)
OVK_VECTOR_MALLOC(16s, Ovk16s)
OVK_VECTOR_MALLOC(16sc, Ovk16sc)
OVK_VECTOR_MALLOC(32u, Ovk32u)
OVK_VECTOR_MALLOC(32s, Ovk32s)
OVK_VECTOR_MALLOC(32sc, Ovk32sc)
OVK_VECTOR_MALLOC(32f, Ovk32f)
OVK_VECTOR_MALLOC(32fc, Ovk32fc)
OVK_VECTOR_MALLOC(64f, Ovk64f)

extern "C" void ovksFree(void* ptr) { ovkFree(ptr); }
