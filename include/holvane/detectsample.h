#ifndef HOLVANE_DETECTSAMPLE_H
#define HOLVANE_DETECTSAMPLE_H

// The detection phase's way back from the host: each hit of a detection ray is handed in as a HvDetectSample,
// the library finds the rig camera that sees the point best (asking the host's ray tracer through a
// RayTestInterface), records the plaque in the calling thread's bucket and answers a debug colour.

#include <holvane/export.h>
#include <holvane/types.h>

#include <cstdint>

namespace Holvane {
namespace DetectSample {
inline namespace v2_0 {

// One hit of a detection ray, filled by the host.
struct HvDetectSample {
    bool isHair;                    // hair or fur: the hair path
    std::int32_t x;                 // pixel of the ray, as asked of HvGetRayDetectPhase
    std::int32_t y;
    unsigned long long cameraIndex;  // the rig camera that shot the ray
    bool isTransparent;             // tagged glass: the transparent path
    TavPoint normal;                // world space; need not be unit, may be degenerate
    TavPoint position;              // world space
};

// The host's ray tracer. `rayTest` traces from `origin` along the unit `direction` up to `maxDistance`; on a
// hit it writes the position then the normal (world space) to `hit[0]` and `hit[1]` and answers true. It is
// called from all the host's threads at once, and never kept beyond the call that received it.
struct RayTestInterface {
    void* userData;
    bool (*rayTest)(TavPoint const* origin, TavPoint const* direction, double maxDistance, TavPoint* hit,
                    void* userData);
};

// Sets the sample's camera to the rig camera nearest to `point` (world space); the lowest index wins a tie.
HV_API void HvMatchSampleIndex(HvDetectSample& sample, TavPoint const& point);

// Filters the hit, finds its best camera, records the plaque in the bucket of `threadIndex` and answers the
// debug colour: the camera's hue when an opaque or hair plaque was painted, (0, 0, 0, 1) for a refused camera
// or an already covered pixel, (0, 0, 0, 0) for a clipped sample and on the transparent path. Throws after a
// TRACE line on a bad thread index or outside a running detection phase.
HV_API TavRGBA HvProcessDetectSample(RayTestInterface* rayTest, HvDetectSample const& sample,
                                     unsigned long long const& threadIndex);

}  // namespace v2_0
}  // namespace DetectSample
}  // namespace Holvane

#endif
