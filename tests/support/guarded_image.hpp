// Test images that sit inside a guard band.
//
// A GuardedImage owns a buffer larger than its ROI: guard rows above and below,
// guard elements left of every row and padding right of it, so that the row
// step is an odd number of elements (never a multiple of 16 or 64 bytes). The
// whole buffer is filled with a pattern and can be snapshot, so that a test
// cheaply asserts that nothing outside the ROI changed, that nothing at all was
// written when a check failed, or that the alpha channel of an AC4 image kept
// its value.
#pragma once

#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/types.hpp"

namespace ovktest {

// A generator of element values that covers the whole range of integer types
// and a moderate range of floating types (so that sums and products stay
// finite); complex values take each part from the part's range.
template <class T>
T randomValue(std::mt19937& rng)
{
    if constexpr (ovk::isComplex<T>) {
        using P = ovk::Part<T>;
        return T{randomValue<P>(rng), randomValue<P>(rng)};
    } else if constexpr (std::is_floating_point_v<T>) {
        std::uniform_real_distribution<double> d(-1000.0, 1000.0);
        return static_cast<T>(d(rng));
    } else {
        std::uniform_int_distribution<long long> d(std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max());
        return static_cast<T>(d(rng));
    }
}

class GuardedBuffer {
public:
    // width and height in pixels, channels per pixel, elementBytes per channel.
    GuardedBuffer(int width, int height, int channels, int elementBytes, int guardElements = 7, int guardRows = 2);

    OvkiSize size() const { return {width_, height_}; }
    int step() const { return step_; }
    int channels() const { return channels_; }
    int elementBytes() const { return elementBytes_; }
    unsigned char* roiBytes() { return bytes_.data() + roiOffset_; }
    const unsigned char* roiBytes() const { return bytes_.data() + roiOffset_; }
    unsigned char* pixelBytes(int x, int y) { return roiBytes() + std::int64_t(y) * step_ + std::int64_t(x) * channels_ * elementBytes_; }
    const unsigned char* pixelBytes(int x, int y) const
    {
        return roiBytes() + std::int64_t(y) * step_ + std::int64_t(x) * channels_ * elementBytes_;
    }

    // Fills every byte of the buffer, guard band included, with a
    // pseudo-random pattern, then takes a snapshot.
    void scramble(unsigned seed);
    void snapshot() { saved_ = bytes_; }

    // Assertions against the last snapshot.
    ::testing::AssertionResult unchanged() const;            // no byte anywhere changed
    ::testing::AssertionResult outsideRoiUnchanged() const;  // guard band and row padding intact
    ::testing::AssertionResult channelUnchanged(int channel) const;  // e.g. AC4 alpha (channel 3) inside the ROI

    bool insideRoi(std::size_t byteOffset) const;

private:
    ::testing::AssertionResult compare(bool (GuardedBuffer::*relevant)(std::size_t, int) const, int arg,
                                       const char* what) const;
    bool anyByte(std::size_t, int) const { return true; }
    bool outsideByte(std::size_t off, int) const { return !insideRoi(off); }
    bool channelByte(std::size_t off, int channel) const;

    int width_, height_, channels_, elementBytes_;
    int step_ = 0;
    std::size_t roiOffset_ = 0;
    std::vector<unsigned char> bytes_, saved_;
};

// The typed face of a GuardedBuffer: element access by pixel and channel.
template <class T>
class GuardedImage : public GuardedBuffer {
public:
    GuardedImage(int width, int height, int channels, int guardElements = 7, int guardRows = 2)
        : GuardedBuffer(width, height, channels, sizeof(T), guardElements, guardRows)
    {
    }

    T* roi() { return reinterpret_cast<T*>(roiBytes()); }
    const T* roi() const { return reinterpret_cast<const T*>(roiBytes()); }

    T get(int x, int y, int c) const
    {
        T v;
        std::memcpy(&v, pixelBytes(x, y) + std::size_t(c) * sizeof(T), sizeof(T));
        return v;
    }
    void set(int x, int y, int c, T v) { std::memcpy(pixelBytes(x, y) + std::size_t(c) * sizeof(T), &v, sizeof(T)); }

    // Random element values in the ROI (guard band scrambled too), then a snapshot.
    void fillRandom(unsigned seed)
    {
        scramble(seed);
        std::mt19937 rng(seed * 7919u + 1u);
        for (int y = 0; y < size().height; ++y)
            for (int x = 0; x < size().width; ++x)
                for (int c = 0; c < channels(); ++c) set(x, y, c, randomValue<T>(rng));
        snapshot();
    }

    // Sets every element of the ROI with f(x, y, c), then takes a snapshot.
    template <class F>
    void fill(F&& f)
    {
        for (int y = 0; y < size().height; ++y)
            for (int x = 0; x < size().width; ++x)
                for (int c = 0; c < channels(); ++c) set(x, y, c, static_cast<T>(f(x, y, c)));
        snapshot();
    }
};

// Element equality that treats complex values part by part and floating
// values bit for bit (so that NaN patterns and signed zeros are compared too).
template <class T>
bool sameElement(const T& a, const T& b)
{
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class T>
std::string describe(const T& v)
{
    if constexpr (ovk::isComplex<T>)
        return "(" + describe(v.re) + ", " + describe(v.im) + ")";
    else if constexpr (std::is_floating_point_v<T>)
        return ::testing::PrintToString(v);
    else
        return std::to_string(static_cast<long long>(v));
}

// Compares the processed channels of two images' ROIs element by element.
template <class T>
::testing::AssertionResult roiEqual(const GuardedImage<T>& actual, const GuardedImage<T>& expected, int channels)
{
    const OvkiSize s = actual.size();
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x)
            for (int c = 0; c < channels; ++c)
                if (!sameElement(actual.get(x, y, c), expected.get(x, y, c)))
                    return ::testing::AssertionFailure()
                           << "at x=" << x << " y=" << y << " channel " << c << ": got "
                           << describe(actual.get(x, y, c)) << ", expected " << describe(expected.get(x, y, c));
    return ::testing::AssertionSuccess();
}

}  // namespace ovktest
