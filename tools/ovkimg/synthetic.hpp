// ovkimg: the built-in test image, used when an operation gets no input file.
#pragma once

#include "image.hpp"

namespace ovkimg {

// An 8-bit image of `channels` channels (1, 3 or 4) made by the library's
// generators, so arithmetic, filters and geometry show visible effects:
//   red    a ramp from 0 at the left edge to 255 at the right one;
//   green  the concentric zone plate of ovkiImageJaehne: rings around the
//          centre whose frequency grows outwards, from 0 to 255;
//   blue   a ramp from 255 along the top and left edges down to 0 in the
//          bottom right corner (255 - 255 * x * y / ((W-1) * (H-1)));
//   alpha  (4 channels) a ramp from 255 (opaque) in the top row to 128 in the
//          bottom one.
// One channel is the zone plate multiplied by the red ramp (ovkiMulScale): the
// rings fade in from black at the left edge. No channel is symmetric left to
// right except green; at the built-in size every one but the alpha reaches
// 0 and 255.
// The same arguments always give the same pixels.
Image makeTestImage(int width, int height, int channels);

// The second input of two-image operations that get no input file: the test
// image mirrored left to right by ovkiMirror (about the vertical axis), so the
// two differ almost everywhere while sharing their layout. Its red ramp and
// the corner of its blue one are 0 where the test image's are not: divisors
// of zero. Needs a width of 2 or more.
Image makeMirroredTestImage(int width, int height, int channels);

}  // namespace ovkimg
