#ifndef HOLVANE_DETECTION_PLAQUE_BUILDER_H
#define HOLVANE_DETECTION_PLAQUE_BUILDER_H

#include <holvane/records.h>
#include <holvane/types.h>

#include <cstdint>

namespace Holvane {
namespace Internal {

// The plaque of rig camera `camera` at pixel (x, y) for a point at `position` with `normal`, both in world
// space: the low byte of the camera and the low 16 bits of the pixel, the float distance from the camera's
// world position, and the normal made unit and turned into the box's frame (a degenerate one is kept as it
// came). Every other field is zero. The camera must be one of the rig's.
BinIO::DetectPlaqueInfo buildPlaque(unsigned long long camera, std::int32_t x, std::int32_t y,
                                    TavPoint const& position, TavPoint const& normal, bool transparent);

}  // namespace Internal
}  // namespace Holvane

#endif
