#ifndef HOLVANE_DETECTION_RAY_HELPERS_H
#define HOLVANE_DETECTION_RAY_HELPERS_H

// The probes' questions to the host's ray tracer. Each shoots one ray from `from` towards `to`, both in
// world space, along the float direction between them and no farther than 1.2 times their distance.

#include <holvane/detectsample.h>
#include <holvane/types.h>

namespace Holvane {
namespace Internal {

using DetectSample::RayTestInterface;

// One answer of the host: whether something was hit, and where, in world space (the normal not assumed unit).
struct RayHit {
    bool hit = false;
    TavPoint position = {0.0f, 0.0f, 0.0f};
    TavPoint normal = {0.0f, 0.0f, 0.0f};
};

// The host's answer as it is. The session's distance limit is not applied: no probe asks for it.
RayHit traceTo(RayTestInterface const& tracer, TavPoint const& from, TavPoint const& to);

// Whether the first thing on the ray is the target itself: a hit at about the target's distance.
bool isVisibleThrough(RayTestInterface const& tracer, TavPoint const& from, TavPoint const& to, RayHit& hit);

// Whether something stands clearly in front of the target: a hit not beyond it and not at about its distance.
// A miss, or a hit beyond the target, is no occlusion.
bool isOccludedOnRay(RayTestInterface const& tracer, TavPoint const& from, TavPoint const& to, RayHit& hit);

}  // namespace Internal
}  // namespace Holvane

#endif
