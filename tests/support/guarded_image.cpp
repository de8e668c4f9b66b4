#include "support/guarded_image.hpp"

namespace ovktest {

GuardedBuffer::GuardedBuffer(int width, int height, int channels, int elementBytes, int guardElements, int guardRows)
    : width_(width), height_(height), channels_(channels), elementBytes_(elementBytes)
{
    const int w = width > 0 ? width : 0, h = height > 0 ? height : 0;
    // An odd number of elements per row: the step is never a multiple of a
    // vector width, and rows start at every possible alignment.
    int rowElements = guardElements + w * channels + 3;
    if (rowElements % 2 == 0) ++rowElements;
    step_ = rowElements * elementBytes;
    bytes_.assign(std::size_t(step_) * std::size_t(h + 2 * guardRows) + std::size_t(step_), 0);
    roiOffset_ = std::size_t(guardRows) * step_ + std::size_t(guardElements) * elementBytes;
    saved_ = bytes_;
}

void GuardedBuffer::scramble(unsigned seed)
{
    std::mt19937 rng(seed);
    for (auto& b : bytes_) b = static_cast<unsigned char>(rng() >> 24);
    snapshot();
}

bool GuardedBuffer::insideRoi(std::size_t off) const
{
    if (off < roiOffset_) return false;
    const std::size_t rel = off - roiOffset_;
    const std::size_t y = rel / step_, xByte = rel % step_;
    return y < std::size_t(height_ > 0 ? height_ : 0) &&
           xByte < std::size_t(width_ > 0 ? width_ : 0) * channels_ * elementBytes_;
}

bool GuardedBuffer::channelByte(std::size_t off, int channel) const
{
    if (!insideRoi(off)) return false;
    const std::size_t xByte = (off - roiOffset_) % step_;
    return int(xByte / elementBytes_ % channels_) == channel;
}

::testing::AssertionResult GuardedBuffer::compare(bool (GuardedBuffer::*relevant)(std::size_t, int) const, int arg,
                                                  const char* what) const
{
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (bytes_[i] != saved_[i] && (this->*relevant)(i, arg)) {
            const long long rel = static_cast<long long>(i) - static_cast<long long>(roiOffset_);
            const long long row = rel >= 0 ? rel / step_ : -((-rel + step_ - 1) / step_);
            return ::testing::AssertionFailure()
                   << what << ": byte at buffer offset " << i << " (ROI row " << row << ", byte "
                   << (rel - row * step_) << " of the row) changed from " << int(saved_[i]) << " to " << int(bytes_[i]);
        }
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult GuardedBuffer::unchanged() const
{
    return compare(&GuardedBuffer::anyByte, 0, "image written");
}

::testing::AssertionResult GuardedBuffer::outsideRoiUnchanged() const
{
    return compare(&GuardedBuffer::outsideByte, 0, "written outside the ROI");
}

::testing::AssertionResult GuardedBuffer::channelUnchanged(int channel) const
{
    return compare(&GuardedBuffer::channelByte, channel, "channel written");
}

}  // namespace ovktest
