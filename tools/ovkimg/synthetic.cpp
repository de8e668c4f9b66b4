#include "synthetic.hpp"

#include "library.hpp"
#include "status.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace ovkimg {
namespace {

// The library's calls here cannot fail for images the Image class allocates;
// a status other than success is a bug worth a clear message.
void expectOk(OvkStatus status, const char* call) {
    if (status != ovkStatusOk) {
        throw std::runtime_error(std::string("test image: ") + call + " returned " + statusName(status));
    }
}

// One-channel planes of the test image.
Image horizontalRamp(OvkiSize size) {  // 0 at the left edge, 255 at the right one
    Image plane(SampleType::U8, 1, size.width, size.height);
    const float slope = 255.0f / float(std::max(1, size.width - 1));
    expectOk(ovkiImageRamp_8u_C1R(plane.data<Ovk8u>(), plane.step(), size, 0.0f, slope, 0), "ovkiImageRamp_8u_C1R");
    return plane;
}

Image zonePlate(OvkiSize size) {
    Image plane(SampleType::U8, 1, size.width, size.height);
    expectOk(ovkiImageJaehne_8u_C1R(plane.data<Ovk8u>(), plane.step(), size), "ovkiImageJaehne_8u_C1R");
    return plane;
}

Image cornerRamp(OvkiSize size) {  // 255 - 255 * x * y / ((W-1) * (H-1))
    Image plane(SampleType::U8, 1, size.width, size.height);
    const float slope = -255.0f / (float(std::max(1, size.width - 1)) * float(std::max(1, size.height - 1)));
    expectOk(ovkiImageRamp_8u_C1R(plane.data<Ovk8u>(), plane.step(), size, 255.0f, slope, 2), "ovkiImageRamp_8u_C1R");
    return plane;
}

Image alphaRamp(OvkiSize size) {  // 255 in the top row, 128 in the bottom one
    Image plane(SampleType::U8, 1, size.width, size.height);
    const float slope = -127.0f / float(std::max(1, size.height - 1));
    expectOk(ovkiImageRamp_8u_C1R(plane.data<Ovk8u>(), plane.step(), size, 255.0f, slope, 1), "ovkiImageRamp_8u_C1R");
    return plane;
}

// Copies a one-channel plane into channel `channel` of `image`.
void insertChannel(const Image& plane, Image& image, int channel) {
    Ovk8u* dst = image.data<Ovk8u>() + channel;
    if (image.channels() == 3) {
        expectOk(ovkiCopy_8u_C1C3R(plane.data<Ovk8u>(), plane.step(), dst, image.step(), image.size()),
                 "ovkiCopy_8u_C1C3R");
    } else {
        expectOk(ovkiCopy_8u_C1C4R(plane.data<Ovk8u>(), plane.step(), dst, image.step(), image.size()),
                 "ovkiCopy_8u_C1C4R");
    }
}

}  // namespace

Image makeTestImage(int width, int height, int channels) {
    if (channels != 1 && channels != 3 && channels != 4) {
        throw std::invalid_argument("the test image has 1, 3 or 4 channels");
    }
    Image image(SampleType::U8, channels, width, height);
    const OvkiSize size = image.size();
    if (channels == 1) {
        const Image rings = zonePlate(size);
        const Image ramp = horizontalRamp(size);
        expectOk(ovkiMulScale_8u_C1R(rings.data<Ovk8u>(), rings.step(), ramp.data<Ovk8u>(), ramp.step(),
                                     image.data<Ovk8u>(), image.step(), size),
                 "ovkiMulScale_8u_C1R");
        return image;
    }
    insertChannel(horizontalRamp(size), image, 0);
    insertChannel(zonePlate(size), image, 1);
    insertChannel(cornerRamp(size), image, 2);
    if (channels == 4) insertChannel(alphaRamp(size), image, 3);
    return image;
}

Image makeMirroredTestImage(int width, int height, int channels) {
    const Image original = makeTestImage(width, height, channels);
    Image image(SampleType::U8, channels, width, height);
    const Function& mirror = *member("Mirror", "8u", channels == 1 ? "C1" : channels == 3 ? "C3" : "C4");
    expectOk(invoke(mirror, {original.data<void>(), original.step(), image.data<void>(), image.step(), image.size(), int(ovkAxsVertical)}),
             mirror.name.c_str());
    return image;
}

}  // namespace ovkimg
