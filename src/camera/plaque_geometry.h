#ifndef HOLVANE_CAMERA_PLAQUE_GEOMETRY_H
#define HOLVANE_CAMERA_PLAQUE_GEOMETRY_H

#include <holvane/types.h>

namespace Holvane {
namespace Internal {

// Where the line from `origin` along `direction` meets the plane through `planePoint`; a line that runs
// along the plane gives `planePoint` itself.
TavPoint projectToPlane(TavPoint const& planePoint, TavPoint const& normal, TavPoint const& origin,
                        TavPoint const& direction);

// How densely a camera samples a plaque: 1/distance, times |cos| of the view and the normal when the normal is
// valid. Distances beyond 1e12 count as 1 and tiny ones as 1e-8.
double plaqueSizeMeasure(TavPoint const& camera, TavPoint const& center, TavPoint const& normal, bool normalIsValid);

}  // namespace Internal
}  // namespace Holvane

#endif
