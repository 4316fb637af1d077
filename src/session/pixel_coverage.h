#ifndef HOLVANE_SESSION_PIXEL_COVERAGE_H
#define HOLVANE_SESSION_PIXEL_COVERAGE_H

#include "session/context.h"

#include <cstdint>

namespace Holvane {
namespace Internal {

// The coverage bits of pixel (x, y) of the detection image, or null for a pixel outside the grid: a
// negative coordinate or one beyond the rendering resolution has no bits and counts as not covered.
CoverageSet* coverageAt(HolvaneContext& s, std::int32_t x, std::int32_t y);

// Whether `camera` already owns an opaque plaque at pixel (x, y). A camera of 256 or more throws the
// standard range error, whatever the pixel. Read without a lock: a bit set meanwhile by another thread
// costs one ray or one probe, no more.
bool cameraDoneAtPixel(HolvaneContext& s, unsigned long long camera, std::int32_t x, std::int32_t y);

}  // namespace Internal
}  // namespace Holvane

#endif
