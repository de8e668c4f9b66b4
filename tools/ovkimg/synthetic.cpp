#include "synthetic.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace ovkimg {
namespace {

struct Rgb {
    double r, g, b;
};

// Background: red grows to the right, green downwards, blue along the
// other diagonal.
Rgb gradient(double u, double v) { return {255 * u, 255 * v, 255 * (1 - u) * (1 - v) + 64 * u * v}; }

// Rings around the centre, strongest near it: a multiplier around 1.
double rings(double u, double v) {
    const double dx = u - 0.5, dy = v - 0.5;
    const double radius = std::sqrt(dx * dx + dy * dy);
    const double fade = std::max(0.0, 1 - radius / 0.45);
    return 1 + 0.45 * fade * std::cos(2 * std::numbers::pi * radius * 24);
}

bool inTriangle(double u, double v) {  // apex (0.78, 0.58), base from (0.62, 0.88) to (0.94, 0.88)
    if (v < 0.58 || v > 0.88) return false;
    const double halfWidth = (v - 0.58) / 0.30 * 0.16;
    return std::abs(u - 0.78) <= halfWidth;
}

// Hard-edged shapes drawn over the background; false where there is none.
// (u, v) is pixel (x, y) in [0, 1).
bool shape(double u, double v, int x, int y, int width, Rgb& colour) {
    const double du = u - 0.25, dv = v - 0.75;
    if (du * du + dv * dv < 0.12 * 0.12) {
        colour = {250, 250, 40};  // disc
    } else if (u >= 0.08 && u < 0.30 && v >= 0.08 && v < 0.30) {
        colour = {20, 20, 20};  // square
    } else if (inTriangle(u, v)) {
        colour = {255, 255, 255};
    } else if (u >= 0.70 && u < 0.92 && v >= 0.08 && v < 0.30) {
        const int cell = std::max(1, width / 128);  // checkerboard of small square cells
        const bool odd = (x / cell + y / cell) % 2 != 0;
        colour = odd ? Rgb{0, 0, 0} : Rgb{255, 255, 255};
    } else if (std::abs(v - 0.5) < 0.003 || std::abs(u - 0.5) < 0.003) {
        colour = {0, 0, 255};  // thin cross through the centre
    } else {
        return false;
    }
    return true;
}

Ovk8u toByte(double x) { return Ovk8u(std::clamp(std::lround(x), 0L, 255L)); }

}  // namespace

Image makeTestImage(int width, int height, int channels) {
    if (channels != 1 && channels != 3 && channels != 4) {
        throw std::invalid_argument("the test image has 1, 3 or 4 channels");
    }
    Image image(SampleType::U8, channels, width, height);
    for (int y = 0; y < height; ++y) {
        Ovk8u* px = image.row<Ovk8u>(y);
        const double v = (y + 0.5) / height;
        for (int x = 0; x < width; ++x, px += channels) {
            const double u = (x + 0.5) / width;
            Rgb c;
            if (!shape(u, v, x, y, width, c)) {
                c = gradient(u, v);
                const double k = rings(u, v);
                c = {c.r * k, c.g * k, c.b * k};
            }
            if (channels == 1) {
                px[0] = toByte(0.299 * c.r + 0.587 * c.g + 0.114 * c.b);
                continue;
            }
            px[0] = toByte(c.r);
            px[1] = toByte(c.g);
            px[2] = toByte(c.b);
            if (channels == 4) px[3] = toByte(255 - 127.0 * y / std::max(1, height - 1));
        }
    }
    return image;
}

Image makeMirroredTestImage(int width, int height, int channels) {
    const Image original = makeTestImage(width, height, channels);
    Image image(SampleType::U8, channels, width, height);
    for (int y = 0; y < height; ++y) {
        const Ovk8u* src = original.row<Ovk8u>(y);
        Ovk8u* dst = image.row<Ovk8u>(y);
        for (int x = 0; x < width; ++x) {
            std::copy_n(src + std::size_t(width - 1 - x) * channels, channels, dst + std::size_t(x) * channels);
        }
    }
    return image;
}

}  // namespace ovkimg
