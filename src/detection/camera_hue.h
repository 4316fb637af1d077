#ifndef HOLVANE_DETECTION_CAMERA_HUE_H
#define HOLVANE_DETECTION_CAMERA_HUE_H

#include <holvane/types.h>

namespace Holvane {
namespace Internal {

// The debug colour of a camera that the detection paths answer: its index as a hue in degrees, at full
// saturation and value, alpha 1. An index of 360 or more has hue 0.
TavRGBA cameraHue(unsigned camera);

}  // namespace Internal
}  // namespace Holvane

#endif
