// ovkimg: reading and writing image files.
//
// Formats: PNG and binary PGM (P5) / PPM (P6), 8 or 16 bits per sample.
// Reading picks the format from the file's first bytes, writing from the
// file name's extension (.png, .pgm, .ppm, .pnm; any letter case).
//
// What a read gives:
//   PNG gray            1 channel
//   PNG gray + alpha    4 channels (RGBA: the gray is replicated, the alpha kept)
//   PNG RGB             3 channels
//   PNG RGBA            4 channels
//   PNG palette         3 channels, or 4 when the palette has transparency
//   PNG with a tRNS colour key: an alpha channel is added (RGBA)
//   PNG 1, 2 or 4-bit gray: scaled to 8 bits
//   PGM / PPM           1 / 3 channels; 16 bits when maxval > 255. Samples
//                       are kept as stored, not rescaled to the full range.
// Writing takes 1, 3 or 4 channels for PNG, 1 for PGM, 3 for PPM, 1 or 3
// for PNM (written as PGM or PPM). Errors are thrown as std::runtime_error
// whose message names the file and the problem.
#pragma once

#include "image.hpp"

#include <string>

namespace ovkimg {

Image readImage(const std::string& path);

void writeImage(const Image& image, const std::string& path);

// Throws when the extension of `path` names no format the tool writes.
void checkOutputPath(const std::string& path);

}  // namespace ovkimg
