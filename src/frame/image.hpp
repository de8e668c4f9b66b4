// Image views and row iteration. An image is a pointer to the first ROI pixel
// and a signed step in bytes; rows are addressed with 64-bit offsets so that
// images beyond 2 GiB work.
#pragma once

#include <ovk/ovkdefs.h>

#include <cstdint>
#include <type_traits>

namespace ovk {

template <class T>
class Image {
public:
    constexpr Image(T* first, int stepBytes) : first_(first), step_(stepBytes) {}

    T* row(int y) const
    {
        using Byte = std::conditional_t<std::is_const_v<T>, const unsigned char, unsigned char>;
        return reinterpret_cast<T*>(reinterpret_cast<Byte*>(first_) + static_cast<std::int64_t>(y) * step_);
    }
    T* at(int x, int y, int channels = 1) const { return row(y) + static_cast<std::int64_t>(x) * channels; }
    T* data() const { return first_; }

    // A writable image is also a readable one.
    operator Image<const T>() const
        requires(!std::is_const_v<T>)
    {
        return Image<const T>(first_, step_);
    }
    int step() const { return step_; }

private:
    T* first_;
    int step_;
};

template <class T>
constexpr Image<T> image(T* first, int stepBytes) { return Image<T>(first, stepBytes); }

// Calls f(row0, row1, ...) for every row of the ROI, each image advanced by its
// own step.
template <class F, class... T>
inline void forEachRow(OvkiSize roi, F&& f, Image<T>... images)
{
    for (int y = 0; y < roi.height; ++y) f(images.row(y)...);
}

// As forEachRow, for row functions that return a status: the first non-zero
// status is kept (warnings such as a division by zero are reported once all
// rows are done) and returned.
template <class F, class... T>
inline OvkStatus forEachRowStatus(OvkiSize roi, F&& f, Image<T>... images)
{
    OvkStatus kept = ovkStatusOk;
    for (int y = 0; y < roi.height; ++y) {
        const OvkStatus s = f(images.row(y)...);
        if (kept == ovkStatusOk) kept = s;
    }
    return kept;
}

}  // namespace ovk
