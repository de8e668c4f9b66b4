#include "image.hpp"

#include <climits>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace ovkimg {

int bytesPerSample(SampleType type) { return type == SampleType::U8 ? 1 : 2; }

const char* typeName(SampleType type) { return type == SampleType::U8 ? "8u" : "16u"; }

namespace {

void* allocate(SampleType type, int channels, int width, int height, int* step) {
    if (type == SampleType::U8) {
        switch (channels) {
        case 1: return ovkiMalloc_8u_C1(width, height, step);
        case 3: return ovkiMalloc_8u_C3(width, height, step);
        case 4: return ovkiMalloc_8u_C4(width, height, step);
        }
    } else {
        switch (channels) {
        case 1: return ovkiMalloc_16u_C1(width, height, step);
        case 3: return ovkiMalloc_16u_C3(width, height, step);
        case 4: return ovkiMalloc_16u_C4(width, height, step);
        }
    }
    throw std::invalid_argument("unsupported channel count " + std::to_string(channels));
}

}  // namespace

Image::Image(SampleType type, int channels, int width, int height)
    : type_(type), channels_(channels), width_(width), height_(height) {
    // The library computes the block size in 32 bits and expects callers to
    // ask only for images that fit.
    const std::uint64_t step = (std::uint64_t(width) * channels * bytesPerSample(type) + 63) & ~63ull;
    if (width < 1 || height < 1 || step * std::uint64_t(height) > std::uint64_t(INT_MAX)) {
        throw std::runtime_error("unsupported image size " + describe());
    }
    data_ = static_cast<unsigned char*>(allocate(type, channels, width, height, &step_));
    if (data_ == nullptr) {
        throw std::runtime_error("cannot allocate a " + describe() + " image");
    }
}

Image::~Image() { ovkiFree(data_); }

Image::Image(Image&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      type_(other.type_),
      channels_(std::exchange(other.channels_, 0)),
      width_(std::exchange(other.width_, 0)),
      height_(std::exchange(other.height_, 0)),
      step_(std::exchange(other.step_, 0)) {}

Image& Image::operator=(Image&& other) noexcept {
    if (this != &other) {
        ovkiFree(data_);
        data_ = std::exchange(other.data_, nullptr);
        type_ = other.type_;
        channels_ = std::exchange(other.channels_, 0);
        width_ = std::exchange(other.width_, 0);
        height_ = std::exchange(other.height_, 0);
        step_ = std::exchange(other.step_, 0);
    }
    return *this;
}

std::size_t Image::rowBytes() const {
    return std::size_t(width_) * channels_ * bytesPerSample(type_);
}

std::string Image::describe() const {
    return std::to_string(width_) + "x" + std::to_string(height_) + " " + typeName(type_) + " C" +
           std::to_string(channels_);
}

namespace {

template <class T>
void convertChannelsOf(const Image& src, Image& dst) {
    constexpr unsigned opaque = T(~T(0));
    const int sc = src.channels();
    const int dc = dst.channels();
    for (int y = 0; y < src.height(); ++y) {
        const T* s = src.row<T>(y);
        T* d = dst.row<T>(y);
        for (int x = 0; x < src.width(); ++x, s += sc, d += dc) {
            if (sc == 1) {
                d[0] = s[0];
                if (dc >= 3) d[1] = d[2] = s[0];
            } else if (dc == 1) {
                d[0] = T((299u * s[0] + 587u * s[1] + 114u * s[2] + 500u) / 1000u);
            } else {
                d[0] = s[0];
                d[1] = s[1];
                d[2] = s[2];
            }
            if (dc == 4) d[3] = sc == 4 ? s[3] : T(opaque);
        }
    }
}

}  // namespace

Image convertChannels(const Image& src, int channels) {
    Image dst(src.type(), channels, src.width(), src.height());
    if (channels == src.channels()) {
        for (int y = 0; y < src.height(); ++y) {
            std::memcpy(dst.row<unsigned char>(y), src.row<unsigned char>(y), src.rowBytes());
        }
    } else if (src.type() == SampleType::U8) {
        convertChannelsOf<Ovk8u>(src, dst);
    } else {
        convertChannelsOf<Ovk16u>(src, dst);
    }
    return dst;
}

Image convertType(const Image& src, SampleType type) {
    Image dst(type, src.channels(), src.width(), src.height());
    const int n = src.width() * src.channels();
    for (int y = 0; y < src.height(); ++y) {
        if (src.type() == type) {
            std::memcpy(dst.row<unsigned char>(y), src.row<unsigned char>(y), src.rowBytes());
        } else if (type == SampleType::U16) {
            const Ovk8u* s = src.row<Ovk8u>(y);
            Ovk16u* d = dst.row<Ovk16u>(y);
            for (int i = 0; i < n; ++i) d[i] = Ovk16u(s[i] * 257u);
        } else {
            const Ovk16u* s = src.row<Ovk16u>(y);
            Ovk8u* d = dst.row<Ovk8u>(y);
            for (int i = 0; i < n; ++i) d[i] = Ovk8u((s[i] * 255u + 32767u) / 65535u);
        }
    }
    return dst;
}

}  // namespace ovkimg
