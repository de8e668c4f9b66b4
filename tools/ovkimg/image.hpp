// ovkimg: an image in memory, allocated by the library.
#pragma once

#include <ovk/ovkimx.h>

#include <cstddef>
#include <string>

namespace ovkimg {

// Sample types the tool reads and writes.
enum class SampleType { U8, U16 };

// Bytes of one sample of the type.
int bytesPerSample(SampleType type);

// "8u" or "16u", as in the library's function names.
const char* typeName(SampleType type);

// An image whose pixels live in a buffer from ovkiMalloc_<type>_C<channels>,
// released with ovkiFree. Channels are interleaved; rows are `step` bytes
// apart. Move-only.
class Image {
public:
    Image() = default;
    // Allocates an uninitialised image; throws when the library cannot.
    Image(SampleType type, int channels, int width, int height);
    ~Image();

    Image(Image&& other) noexcept;
    Image& operator=(Image&& other) noexcept;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    bool empty() const { return data_ == nullptr; }
    SampleType type() const { return type_; }
    int channels() const { return channels_; }
    int width() const { return width_; }
    int height() const { return height_; }
    int step() const { return step_; }
    OvkiSize size() const { return {width_, height_}; }

    // Bytes of pixel data in one row (without the padding up to step).
    std::size_t rowBytes() const;

    // Pointer to the first pixel, as the library's functions take it.
    template <class T> T* data() { return reinterpret_cast<T*>(data_); }
    template <class T> const T* data() const { return reinterpret_cast<const T*>(data_); }

    // Pointer to the first sample of row y.
    template <class T> T* row(int y) { return reinterpret_cast<T*>(data_ + std::size_t(y) * step_); }
    template <class T> const T* row(int y) const {
        return reinterpret_cast<const T*>(data_ + std::size_t(y) * step_);
    }

    // "512x512 8u C3"
    std::string describe() const;

private:
    unsigned char* data_ = nullptr;
    SampleType type_ = SampleType::U8;
    int channels_ = 0;
    int width_ = 0;
    int height_ = 0;
    int step_ = 0;
};

// A copy of the image with `channels` channels (1, 3 or 4): gray is
// replicated to RGB, RGB is reduced to gray by luma weights
// (0.299, 0.587, 0.114), an opaque alpha is added or the alpha dropped.
Image convertChannels(const Image& src, int channels);

// A copy of the image with samples of `type`: 8 to 16 bits multiplies by
// 257 (255 becomes 65535), 16 to 8 bits divides by 257 with rounding, so
// 8 -> 16 -> 8 gives the original back.
Image convertType(const Image& src, SampleType type);

}  // namespace ovkimg
