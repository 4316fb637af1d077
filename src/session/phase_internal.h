#ifndef HOLVANE_SESSION_PHASE_INTERNAL_H
#define HOLVANE_SESSION_PHASE_INTERNAL_H

#include <holvane/types.h>

#include <string>

namespace Holvane {
namespace Internal {

// The hlvDetect file the render phase reads: the override when one is given, else the path the host set.
std::string const& detectPathInUse();

// One zero entry per pixel of the rendering image in each of the three per-pixel counter arrays.
void allocatePixelCounters();

// The specular point in the box's frame: the host's offset in metres, scaled by the zone of view into scene
// units (centimetres divided by the render scale), in single precision. Throws when the render scale or the
// offset is unset.
TavPoint specularPointInBox();

// The settings of the phase that has just begun, line by line, at their levels. Reads the required values
// through their checks, so an unset one throws.
void printPhaseSettings();

}  // namespace Internal
}  // namespace Holvane

#endif
