#ifndef HOLVANE_SESSION_PHASE_INTERNAL_H
#define HOLVANE_SESSION_PHASE_INTERNAL_H

#include <string>

namespace Holvane {
namespace Internal {

// The hlvDetect file the render phase reads: the override when one is given, else the path the host set.
std::string const& detectPathInUse();

// One zero entry per pixel of the rendering image in each of the three per-pixel counter arrays.
void allocatePixelCounters();

// The settings of the phase that has just begun, line by line, at their levels. Reads the required values
// through their checks, so an unset one throws.
void printPhaseSettings();

}  // namespace Internal
}  // namespace Holvane

#endif
