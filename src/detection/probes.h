#ifndef HOLVANE_DETECTION_PROBES_H
#define HOLVANE_DETECTION_PROBES_H

// The probes: given the hit of a detection sample, find the rig camera that should own it (the best placed
// one that really sees the point) and the pixel of that camera that looks at it. Each takes the hit's position
// and normal in world space and the provisional plaque built from the sample itself, and answers the plaque to
// record: the provisional one when no other camera works out. They run on the caller's thread, keep their
// state on its stack and take no lock; `tracer` is called for every ray.

#include <holvane/detectsample.h>
#include <holvane/records.h>
#include <holvane/types.h>

namespace Holvane {
namespace Internal {

using BinIO::DetectPlaqueInfo;
using DetectSample::RayTestInterface;

// The camera with the point in plain view, preferring the smallest weight among those about as well placed
// as the best one that sees it. Its plaque rests on the hit of its own pixel's ray, or on the sample's plane
// (flagged extrapolated) when that ray meets something else.
DetectPlaqueInfo castOpaqueProbe(RayTestInterface const& tracer, TavPoint const& position, TavPoint const& normal,
                                 DetectPlaqueInfo const& provisional);

// The same for a transparent surface: what counts is that nothing stands before the point. Its plaques are
// transparent.
DetectPlaqueInfo castTransparentProbe(RayTestInterface const& tracer, TavPoint const& position,
                                      TavPoint const& normal, DetectPlaqueInfo const& provisional);

// The best facing camera that sees a hair point, at the hit of its probe ray; no plane projection. The
// provisional plaque must be a hair plaque: anything else is a misuse.
DetectPlaqueInfo castHairProbe(RayTestInterface const& tracer, TavPoint const& position, TavPoint const& normal,
                               DetectPlaqueInfo const& provisional);

}  // namespace Internal
}  // namespace Holvane

#endif
