// Image memory: rows padded to 64 bytes, blocks from the core allocator.
#pragma once

#include <ovk/ovkcore.h>
#include <ovk/ovkdefs.h>

#include <cstdint>

namespace ovk::frame {

// The row step is the row length rounded up to a multiple of 64 bytes. All
// arithmetic is 32-bit on purpose: a request whose total size exceeds 32 bits
// wraps, and the allocator is asked for the wrapped size (a negative one
// gives null). Callers ask for images that fit.
template <class T, int Channels>
T* mallocImage(int widthPixels, int heightPixels, int* pStepBytes)
{
    if (pStepBytes == nullptr) return nullptr;
    if (widthPixels < 1 || heightPixels < 1) {
        *pStepBytes = 0;
        return nullptr;
    }
    constexpr std::uint32_t bytesPerPixel = sizeof(T) * Channels;
    const std::uint32_t step = (static_cast<std::uint32_t>(widthPixels) * bytesPerPixel + 63u) & ~63u;
    *pStepBytes = static_cast<int>(step);
    const std::uint32_t total = step * static_cast<std::uint32_t>(heightPixels);
    return static_cast<T*>(ovkMalloc(static_cast<int>(total)));
}

inline void freeImage(void* ptr) { ovkFree(ptr); }

// Work memory of a call, from the core allocator and released when the call
// returns: `count` elements, none (empty()) when the allocator has no block
// that large. Functions return ovkStatusNoMemory then.
template <class T>
class Scratch {
public:
    explicit Scratch(std::int64_t count)
        : data_(count > 0 && count * std::int64_t(sizeof(T)) <= 0x7fffffff ? static_cast<T*>(ovkMalloc(int(count * sizeof(T))))
                                                                            : nullptr)
    {
    }
    ~Scratch() { ovkFree(data_); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    bool empty() const { return data_ == nullptr; }
    T* data() const { return data_; }
    T& operator[](std::int64_t i) const { return data_[i]; }

private:
    T* data_;
};

}  // namespace ovk::frame

// Internal one-dimensional allocators (not exported) behind the library's own
// init-and-allocate functions: null for a length < 1.
extern "C" {
Ovk8u* ovksMalloc_8u(int len);
Ovk8s* ovksMalloc_8s(int len);
Ovk16u* ovksMalloc_16u(int len);
Ovk16s* ovksMalloc_16s(int len);
Ovk16sc* ovksMalloc_16sc(int len);
Ovk32u* ovksMalloc_32u(int len);
Ovk32s* ovksMalloc_32s(int len);
Ovk32sc* ovksMalloc_32sc(int len);
Ovk32f* ovksMalloc_32f(int len);
Ovk32fc* ovksMalloc_32fc(int len);
Ovk64f* ovksMalloc_64f(int len);
void ovksFree(void* ptr);
}
