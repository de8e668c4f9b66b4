// ovkimg: the built-in test image, used when an operation gets no input file.
#pragma once

#include "image.hpp"

namespace ovkimg {

// An 8-bit image of `channels` channels (1, 3 or 4) showing smooth colour
// gradients, concentric rings that fade outwards and a few hard-edged shapes
// (a square, a triangle, a disc, a checkerboard patch and thin lines), so
// arithmetic, filters and geometry show visible effects. One channel is the
// luma of the colour image; the fourth channel is an alpha ramp from opaque
// at the top to half transparent at the bottom. The same arguments always
// give the same pixels.
Image makeTestImage(int width, int height, int channels);

// The second input of two-image operations that get no input file: the test
// image mirrored left to right, so the two differ almost everywhere while
// sharing their layout. Its checkerboard patch lands on the original's dark
// square; the black cells there, like the blue cross's zero red and green,
// are divisors of zero.
Image makeMirroredTestImage(int width, int height, int channels);

}  // namespace ovkimg
