#ifndef HLVTRACE_DEBUG_IMAGE_H
#define HLVTRACE_DEBUG_IMAGE_H

// The cube image painted with the colours that the library answers for the samples, as a renderer shows
// them in its frame buffer: each pixel is the mean of the colours painted at it. Each pixel belongs to one
// tile and so to one thread at a time: painting takes no lock.

#include <holvane/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace hlvtrace {

class DebugImage {
public:
    DebugImage(unsigned width, unsigned height);

    // Colours with alpha 0 (clipped, transparent) and black (refused, already covered) don't paint.
    void paint(unsigned x, unsigned y, TavRGBA const& colour);

    std::vector<std::uint8_t> rgb() const;  // 8 bits per channel, rows from the top
    unsigned width() const { return w; }
    unsigned height() const { return h; }

private:
    struct Sum {
        float r = 0.0f, g = 0.0f, b = 0.0f;
        std::uint32_t count = 0;
    };
    unsigned w, h;
    std::vector<Sum> sums;
};

// Writes an 8-bit RGB picture; false with `problem` set when libpng can't.
bool writePng(std::string const& path, DebugImage const& image, std::string& problem);

}  // namespace hlvtrace

#endif
