#ifndef HLVTRACE_DEBUG_IMAGE_H
#define HLVTRACE_DEBUG_IMAGE_H

// The cube image painted with the colours that the library answers for the samples: each pixel keeps the
// first colour painted at it, the hue of the camera that owns the first point any camera saw through that
// pixel. (The mean over all cameras blurs into a rainbow; the first colour shows the scene's shapes.) Each
// pixel belongs to one tile and so to one thread at a time: painting takes no lock.

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
    bool painted(unsigned x, unsigned y) const { return colours[std::size_t(y) * w + x].a > 0.0f; }

    std::vector<std::uint8_t> rgb() const;  // 8 bits per channel, rows from the top
    unsigned width() const { return w; }
    unsigned height() const { return h; }

private:
    unsigned w, h;
    std::vector<TavRGBA> colours;  // alpha 0: not painted yet
};

// Writes an 8-bit RGB picture; false with `problem` set when libpng can't.
bool writePng(std::string const& path, DebugImage const& image, std::string& problem);

}  // namespace hlvtrace

#endif
