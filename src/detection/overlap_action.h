#ifndef HOLVANE_DETECTION_OVERLAP_ACTION_H
#define HOLVANE_DETECTION_OVERLAP_ACTION_H

// The geometry behind GetOverlapAction that the passes share with it.

#include <holvane/plaque.h>
#include <holvane/types.h>

namespace Holvane {
namespace Internal {

// A plaque whose incidence is not above this is seen nearly edge-on: it is not judged, and the report
// counts the plaques below it.
constexpr float kEdgeOnIncidence = 0.05f;

// How far around a plaque's centre its covers are looked for: four times its largest centre-corner
// distance, at most ten times the angle of one row of the image at the plaque's distance.
float overlapSearchRadius(RenderingContext const& context, Plaque const& plaque);

// Whether `p`, taken on the triangle's plane, lies in triangle (a, b, c), with a margin of 0.005 in the
// barycentric coordinates. A triangle without area holds only the points within 0.0002 of `a`.
bool pointInTriangle(TavPoint const& p, TavPoint const& a, TavPoint const& b, TavPoint const& c);

}  // namespace Internal
}  // namespace Holvane

#endif
