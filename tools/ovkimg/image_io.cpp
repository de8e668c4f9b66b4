#include "image_io.hpp"

#include <png.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

namespace ovkimg {
namespace {

// ---------------------------------------------------------------------------
// Files and formats
// ---------------------------------------------------------------------------

[[noreturn]] void fail(const std::string& path, const std::string& problem) {
    throw std::runtime_error("'" + path + "': " + problem);
}

// The image for a file's pixels; a size the library cannot hold names the file.
Image imageFor(const std::string& path, SampleType type, int channels, int width, int height) {
    try {
        return Image(type, channels, width, height);
    } catch (const std::runtime_error& e) {
        fail(path, e.what());
    }
}

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

FilePtr openFile(const std::string& path, const char* mode) {
    FilePtr file(std::fopen(path.c_str(), mode));
    if (!file) throw std::runtime_error("cannot open '" + path + "': " + std::strerror(errno));
    return file;
}

enum class Format { Png, Pgm, Ppm, Pnm };

std::string lowercaseExtension(const std::string& path) {
    const auto slash = path.find_last_of('/');
    const auto dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string ext = path.substr(dot);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext;
}

Format outputFormat(const std::string& path) {
    const std::string ext = lowercaseExtension(path);
    if (ext == ".png") return Format::Png;
    if (ext == ".pgm") return Format::Pgm;
    if (ext == ".ppm") return Format::Ppm;
    if (ext == ".pnm") return Format::Pnm;
    fail(path, (ext.empty() ? std::string("no file extension") : "unsupported output format '" + ext + "'") +
                   " (use .png, .pgm, .ppm or .pnm)");
}

// Names formats the tool recognises but does not read, for a clear message.
const char* knownOtherFormat(const unsigned char* magic, std::size_t n) {
    auto starts = [&](const char* sig, std::size_t len) { return n >= len && std::memcmp(magic, sig, len) == 0; };
    if (starts("\xFF\xD8\xFF", 3)) return "JPEG";
    if (starts("GIF8", 4)) return "GIF";
    if (starts("BM", 2)) return "BMP";
    if (starts("II*\0", 4) || starts("MM\0*", 4)) return "TIFF";
    if (starts("RIFF", 4)) return "RIFF (WebP?)";
    if (starts("\x76\x2F\x31\x01", 4)) return "OpenEXR";
    if (starts("P1", 2) || starts("P4", 2)) return "PBM (bitmap)";
    if (starts("P2", 2) || starts("P3", 2)) return "plain-text PGM/PPM (P2/P3)";
    if (starts("P7", 2)) return "PAM (P7)";
    return nullptr;
}

// ---------------------------------------------------------------------------
// PNG through libpng
//
// libpng reports errors by longjmp to the point its caller set with setjmp.
// Each function below that sets one keeps no object with a destructor in the
// scope the jump crosses; the callers turn a failure into an exception.
// ---------------------------------------------------------------------------

struct PngContext {
    char message[200] = "unknown libpng error";
};

[[noreturn]] void onPngError(png_structp png, png_const_charp message) {
    auto* context = static_cast<PngContext*>(png_get_error_ptr(png));
    std::snprintf(context->message, sizeof context->message, "%s", message);
    png_longjmp(png, 1);
}

void onPngWarning(png_structp, png_const_charp) {}  // e.g. about ancillary chunks: not our business

[[noreturn]] void failCorruptPng(const std::string& path, const PngContext& context) {
    fail(path, std::string("corrupt or truncated PNG (libpng: ") + context.message + ")");
}

struct PngReader {
    PngContext context;
    png_structp png = nullptr;
    png_infop info = nullptr;

    PngReader() {
        png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &context, onPngError, onPngWarning);
        if (png) info = png_create_info_struct(png);
        if (!png || !info) throw std::runtime_error("cannot set up the PNG reader");
    }
    ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
};

struct PngLayout {
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    int channels = 0;
    int bitDepth = 0;
};

// Reads the header and sets the transformations that give 8 or 16-bit gray,
// RGB or RGBA; `layout` receives the result.
bool pngReadHeader(PngReader& r, std::FILE* file, PngLayout& layout) {
    if (setjmp(png_jmpbuf(r.png))) return false;
    png_init_io(r.png, file);
    png_read_info(r.png, r.info);

    const int colorType = png_get_color_type(r.png, r.info);
    const int bitDepth = png_get_bit_depth(r.png, r.info);
    const bool hasTrns = png_get_valid(r.png, r.info, PNG_INFO_tRNS) != 0;
    const bool isGray = (colorType & PNG_COLOR_MASK_COLOR) == 0;
    const bool hasAlpha = (colorType & PNG_COLOR_MASK_ALPHA) != 0 || hasTrns;

    if (colorType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(r.png);
    if (isGray && bitDepth < 8) png_set_expand_gray_1_2_4_to_8(r.png);
    if (hasTrns) png_set_tRNS_to_alpha(r.png);
    if (isGray && hasAlpha) png_set_gray_to_rgb(r.png);  // gray + alpha is read as RGBA
    if (bitDepth == 16 && std::endian::native == std::endian::little) png_set_swap(r.png);
    png_set_interlace_handling(r.png);
    png_read_update_info(r.png, r.info);

    layout.width = png_get_image_width(r.png, r.info);
    layout.height = png_get_image_height(r.png, r.info);
    layout.channels = png_get_channels(r.png, r.info);
    layout.bitDepth = png_get_bit_depth(r.png, r.info);
    return true;
}

bool pngReadRows(PngReader& r, png_bytepp rows) {
    if (setjmp(png_jmpbuf(r.png))) return false;
    png_read_image(r.png, rows);
    png_read_end(r.png, nullptr);
    return true;
}

Image readPng(std::FILE* file, const std::string& path) {
    PngReader reader;
    PngLayout layout;
    if (!pngReadHeader(reader, file, layout)) failCorruptPng(path, reader.context);
    if (layout.channels == 2 || layout.channels > 4 || (layout.bitDepth != 8 && layout.bitDepth != 16)) {
        fail(path, "unsupported PNG layout: " + std::to_string(layout.channels) + " channels of " +
                       std::to_string(layout.bitDepth) + " bits");
    }
    if (layout.width > png_uint_32(INT32_MAX) || layout.height > png_uint_32(INT32_MAX)) {
        fail(path, "PNG too large");
    }
    Image image = imageFor(path, layout.bitDepth == 16 ? SampleType::U16 : SampleType::U8, layout.channels,
                           int(layout.width), int(layout.height));
    std::vector<png_bytep> rows(image.height());
    for (int y = 0; y < image.height(); ++y) rows[y] = image.row<png_byte>(y);
    if (!pngReadRows(reader, rows.data())) failCorruptPng(path, reader.context);
    return image;
}

struct PngWriter {
    PngContext context;
    png_structp png = nullptr;
    png_infop info = nullptr;

    PngWriter() {
        png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &context, onPngError, onPngWarning);
        if (png) info = png_create_info_struct(png);
        if (!png || !info) throw std::runtime_error("cannot set up the PNG writer");
    }
    ~PngWriter() { png_destroy_write_struct(&png, &info); }
};

bool pngWriteAll(PngWriter& w, std::FILE* file, const Image& image, png_bytepp rows) {
    if (setjmp(png_jmpbuf(w.png))) return false;
    const int colorType = image.channels() == 1   ? PNG_COLOR_TYPE_GRAY
                          : image.channels() == 3 ? PNG_COLOR_TYPE_RGB
                                                  : PNG_COLOR_TYPE_RGBA;
    const int bitDepth = image.type() == SampleType::U16 ? 16 : 8;
    png_init_io(w.png, file);
    png_set_IHDR(w.png, w.info, png_uint_32(image.width()), png_uint_32(image.height()), bitDepth, colorType,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(w.png, w.info);
    if (bitDepth == 16 && std::endian::native == std::endian::little) png_set_swap(w.png);
    png_write_image(w.png, rows);
    png_write_end(w.png, nullptr);
    return true;
}

void writePng(const Image& image, std::FILE* file, const std::string& path) {
    PngWriter writer;
    std::vector<png_bytep> rows(image.height());
    for (int y = 0; y < image.height(); ++y) rows[y] = const_cast<png_bytep>(image.row<png_byte>(y));
    if (!pngWriteAll(writer, file, image, rows.data())) {
        fail(path, std::string("cannot write PNG: ") + writer.context.message);
    }
}

// ---------------------------------------------------------------------------
// Binary PGM (P5) and PPM (P6)
// ---------------------------------------------------------------------------

// Skips whitespace and comments, then reads a decimal number followed by
// one whitespace character (or the start of a comment). False when there is
// none or it is absurdly large.
bool readPnmNumber(std::FILE* file, long& value) {
    int c = std::getc(file);
    while (c == '#' || std::isspace(c)) {
        if (c == '#') {
            while (c != '\n' && c != EOF) c = std::getc(file);
        }
        c = std::getc(file);
    }
    if (c < '0' || c > '9') return false;
    value = 0;
    while (c >= '0' && c <= '9') {
        value = value * 10 + (c - '0');
        if (value > 1'000'000'000) return false;
        c = std::getc(file);
    }
    if (c == '#') return std::ungetc(c, file) != EOF;
    return std::isspace(c);
}

Image readPnm(std::FILE* file, const std::string& path) {
    char magic[2];
    if (std::fread(magic, 1, 2, file) != 2) fail(path, "truncated PNM header");
    const int channels = magic[1] == '5' ? 1 : 3;
    long width = 0, height = 0, maxval = 0;
    if (!readPnmNumber(file, width) || !readPnmNumber(file, height) || !readPnmNumber(file, maxval)) {
        fail(path, "corrupt PNM header");
    }
    if (width < 1 || height < 1 || width > INT32_MAX || height > INT32_MAX) {
        fail(path, "corrupt PNM header: size " + std::to_string(width) + "x" + std::to_string(height));
    }
    if (maxval < 1 || maxval > 65535) fail(path, "corrupt PNM header: maxval " + std::to_string(maxval));

    Image image = imageFor(path, maxval > 255 ? SampleType::U16 : SampleType::U8, channels, int(width), int(height));
    for (int y = 0; y < image.height(); ++y) {
        unsigned char* row = image.row<unsigned char>(y);
        if (std::fread(row, 1, image.rowBytes(), file) != image.rowBytes()) {
            fail(path, "truncated PNM pixel data (row " + std::to_string(y) + " of " +
                           std::to_string(image.height()) + ")");
        }
        if (image.type() == SampleType::U16) {  // stored most significant byte first
            Ovk16u* samples = image.row<Ovk16u>(y);
            for (std::size_t i = 0; i < image.rowBytes() / 2; ++i) {
                samples[i] = Ovk16u(row[2 * i] << 8 | row[2 * i + 1]);
            }
        }
    }
    return image;
}

void writePnm(const Image& image, std::FILE* file) {
    const int channels = image.channels();
    const bool wide = image.type() == SampleType::U16;
    std::fprintf(file, "P%c\n%d %d\n%d\n", channels == 1 ? '5' : '6', image.width(), image.height(),
                 wide ? 65535 : 255);
    std::vector<unsigned char> bigEndian(wide ? image.rowBytes() : 0);
    for (int y = 0; y < image.height(); ++y) {
        const unsigned char* bytes = image.row<unsigned char>(y);
        if (wide) {
            const Ovk16u* samples = image.row<Ovk16u>(y);
            for (std::size_t i = 0; i < image.rowBytes() / 2; ++i) {
                bigEndian[2 * i] = static_cast<unsigned char>(samples[i] >> 8);
                bigEndian[2 * i + 1] = static_cast<unsigned char>(samples[i] & 0xFF);
            }
            bytes = bigEndian.data();
        }
        if (std::fwrite(bytes, 1, image.rowBytes(), file) != image.rowBytes()) break;  // reported at close
    }
}

// Throws when the format cannot hold the image's channels.
void checkChannels(const Image& image, Format format, const std::string& path) {
    const int channels = image.channels();
    const std::string has = ", the image has " + std::to_string(channels);
    const char* dropAlpha = " (write PNG to keep the alpha, or convert with --channels 3)";
    switch (format) {
    case Format::Png:
        if (channels != 1 && channels != 3 && channels != 4) fail(path, "PNG holds 1, 3 or 4 channels" + has);
        break;
    case Format::Pgm:
        if (channels != 1) fail(path, "PGM holds 1 channel" + has + " (convert with --channels 1)");
        break;
    case Format::Ppm:
        if (channels != 3) {
            fail(path, "PPM holds 3 channels" + has + (channels == 4 ? dropAlpha : " (convert with --channels 3)"));
        }
        break;
    case Format::Pnm:
        if (channels != 1 && channels != 3) fail(path, "PNM holds 1 or 3 channels" + has + dropAlpha);
        break;
    }
}

}  // namespace

// ---------------------------------------------------------------------------

Image readImage(const std::string& path) {
    FilePtr file = openFile(path, "rb");
    unsigned char magic[8] = {};
    const std::size_t n = std::fread(magic, 1, sizeof magic, file.get());
    if (std::ferror(file.get())) throw std::runtime_error("cannot read '" + path + "': " + std::strerror(errno));
    if (n == 0) fail(path, "empty file");
    std::rewind(file.get());

    if (n == sizeof magic && png_sig_cmp(magic, 0, sizeof magic) == 0) return readPng(file.get(), path);
    if (n >= 2 && magic[0] == 'P' && (magic[1] == '5' || magic[1] == '6')) return readPnm(file.get(), path);
    if (const char* other = knownOtherFormat(magic, n)) {
        fail(path, std::string("unsupported format ") + other + "; ovkimg reads PNG and binary PGM/PPM");
    }
    fail(path, "unsupported or unrecognised format; ovkimg reads PNG and binary PGM/PPM");
}

void checkOutputPath(const std::string& path) { outputFormat(path); }

void writeImage(const Image& image, const std::string& path) {
    const Format format = outputFormat(path);
    checkChannels(image, format, path);
    FilePtr file = openFile(path, "wb");
    try {
        if (format == Format::Png) {
            writePng(image, file.get(), path);
        } else {
            writePnm(image, file.get());
        }
        const bool writeError = std::ferror(file.get()) != 0;
        const int closeResult = std::fclose(file.release());
        if (writeError || closeResult != 0) {
            throw std::runtime_error("cannot write '" + path + "': " + std::strerror(errno));
        }
    } catch (...) {
        file.reset();
        std::remove(path.c_str());  // no half-written file
        throw;
    }
}

}  // namespace ovkimg
