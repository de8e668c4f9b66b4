// Calls to any export, driven by the machine-readable API description that
// apigen.py writes from the registry (api.json).
//
// An Invocation prepares everything one call of one export needs: an image
// in a guard band for every image parameter (sized by the region, the
// layout and the function's traits), a valid value for every other parameter
// (from its role and its declared domain), and a libffi call frame. Tests
// then break arguments one at a time, call, and ask whether any byte outside
// a region (or anything at all) changed. Nothing here knows a family: what
// differs between families is data in the description.
#pragma once

#include <ovk/ovkimx.h>

#include "apicall/apicall.hpp"

#include <cstdint>
#include <optional>
#include <set>
#include <map>
#include <string>
#include <vector>

namespace ovktest::api {

using namespace ovk::apicall;

// Image memory. With guard pages on (the fuzz target), every block ends
// where an inaccessible page begins, so an overrun past the guard band faults
// at once; off, it is plain heap memory. Set once, before any image exists.
void useGuardPages(bool on);
struct ImageAllocator {
    using value_type = std::uint8_t;
    template <class U>
    struct rebind {
        using other = ImageAllocator;
    };
    std::uint8_t* allocate(std::size_t n);
    void deallocate(std::uint8_t* p, std::size_t n);
    bool operator==(const ImageAllocator&) const { return true; }
    bool operator!=(const ImageAllocator&) const { return false; }
};
using Bytes = std::vector<std::uint8_t, ImageAllocator>;

// Pixels of a region with one byte string per image row; a guard band
// around it and padding after each row. Tight images have no padding.
struct Image {
    std::string param;
    int width = 0, height = 0, channels = 0, elem = 0;
    int step = 0, roiOffset = 0;
    bool output = false, keepsAlpha = false;
    Bytes bytes, saved;
    std::uint8_t* roi() { return bytes.data() + roiOffset; }
    std::uint8_t* at(int x, int y) { return roi() + std::int64_t(y) * step + std::int64_t(x) * channels * elem; }
    bool inside(std::size_t offset) const;
};

struct CallSetup {
    OvkiSize roi{19, 3};
    bool tight = false;  // rows without padding
    unsigned seed = 1;
    int scale = 1;       // scaleFactor
    bool bottomUp = false;  // negative steps: the first ROI row is the last in memory
    int lead = -1;          // elements before the ROI (the guard band); -1 for the default
    int padding = -1;       // elements after each row; -1 for a random odd count (0 when tight)
    // Values of integer parameters instead of their first valid one: they are
    // set before the images are made, so traits that hold for some values
    // (a mirror's diagonals transpose) shape the destination.
    std::map<std::string, long long> values = {};
};

class Invocation {
public:
    Invocation(const Function& f, const CallSetup& s);
    Invocation(const Invocation&) = delete;

    OvkStatus call();

    // Argument breakers for the check-order tests.
    void setNull(const std::string& param, int plane = -1);
    void setSize(const std::string& param, OvkiSize size);
    void setInt(const std::string& param, int value, int element = 0);
    // Element k of a non-image argument of an element type, as that type.
    void setNumber(const std::string& param, int element, long double v);
    // Any bytes for element k of a non-image argument (NaN, extremes).
    void setRaw(const std::string& param, int element, const void* bytes, int count);
    OvkiSize size(const std::string& param) const;
    // Whether a pointer argument (or, for planes, the array or any plane) is null.
    bool isNull(const std::string& param) const;
    // Whether a check runs with the present arguments (its condition holds).
    bool runs(const Check& c) const;
    // An out-of-domain value for the parameter's check (variant 0, 1, ...);
    // false when there are no more variants.
    bool breakParam(const std::string& param, int variant);

    // Copies the initial content of `other`'s image (param `from`) at (x0, y0)
    // into this invocation's image `to`, and every non-image argument of the same name.
    void copyImage(const Invocation& other, const std::string& from, const std::string& to, int x0 = 0, int y0 = 0);
    void copyScalars(const Invocation& other);

    // Nothing changed in any image (after a rejected call).
    std::string unchanged() const;
    // Only output regions changed, and AC4 alpha stayed (after a call that succeeded).
    std::string writeDiscipline() const;
    // The processed channels of the region of an image, row by row.
    std::vector<std::uint8_t> region(const std::string& param, int x0 = 0, int y0 = 0, int w = -1, int h = -1) const;
    Image* image(const std::string& param);
    // The image a step parameter belongs to (the first plane of planar ones).
    Image* imageOf(const Param& step);

    // Typed element access for oracles: the value of one part of element c
    // of pixel (x, y) (part 1 is the imaginary part of a complex element), and
    // of element k of a non-image argument. set() changes the initial content.
    long double get(const std::string& param, int x, int y, int c, int part = 0) const;
    void set(const std::string& param, int x, int y, int c, int part, long double v);
    long double arg(const std::string& param, int k = 0, int part = 0) const;
    // The names of the images (planes as "pDst#1"), or of those the call may write.
    std::vector<std::string> images(bool outputsOnly = false) const;
    const Function& function() const { return f_; }
    OvkiSize roi() const { return roi_; }

private:
    struct Arg {
        alignas(16) std::uint8_t bytes[16] = {};
        std::vector<std::uint8_t> array;  // constants and orders behind a pointer
        std::vector<void*> planes;        // plane pointer arrays
        void* target = nullptr;           // what a pointer argument points to
    };
    void makeImage(const Param& p, int index);
    void fillValue(const Param& p, Arg& a);
    void pointAt(Arg& a, void* where);

    const Function& f_;
    CallSetup setup_;
    OvkiSize roi_;
    std::vector<Arg> args_;
    std::vector<Image> images_;  // each owns its bytes: argument pointers stay valid as this grows
    std::uint32_t rng_;
    std::uint32_t next();
};

}  // namespace ovktest::api
