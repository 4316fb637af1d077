#ifndef HOLVANE_CAMERA_CAMERA_RIG_H
#define HOLVANE_CAMERA_CAMERA_RIG_H

// The rig of 256 cameras on and in the zone of view, the session's camera tables, and the two ray filters
// that the rig's geometry gives: the face masks and the clipping sphere.

#include <holvane/camera.h>
#include <holvane/types.h>

#include <cstddef>
#include <cstdint>

namespace Holvane {
namespace Internal {

using CameraRig = Camera::CameraRig;

// Steps that need no session: the 256 cameras on the box from -50 to +50, their weights with the centre
// camera, and their face masks (all six bits of every camera when allMaskBits).
CameraRig buildBoxRig(bool allMaskBits);

// The session's rig: the box rig scaled by the zone of view and moved by the box offsets, or the single
// centre camera in draft mode. Throws through the Optional checks when draftMode, renderScale or an offset
// is unset.
void buildCameraRig();

// What HvPhaseBegin derives from the cameras: the standard rig when none was given, the world positions,
// the fetch map at the output resolution and the geometry context's image size, scale and tolerance.
void buildCameraTables();

// The cameras that every table of the rig has an entry for: all of them in a rig the library builds or reads.
std::size_t completeCameraCount(CameraRig const& rig);

// Whether a ray along `direction` leaves the box through one of the faces of `mask`.
bool maskAllowsDirection(std::uint32_t mask, TavPoint const& direction);

// Whether the ray from `origin` along the unit `direction` meets the sphere ahead of it or starts inside it.
bool clipSphereHit(TavPoint const& origin, TavPoint const& direction, TavPoint const& centre, float radius);

// Whether the sample filters keep `point` against an enabled sphere: inside a normal sphere, outside an
// inverted one, the squared distances taken in double. The centre is the caller's, in the frame of the point.
bool clipKeepsPoint(TavPoint const& point, TavPoint const& centre, float radius, bool inverted);

}  // namespace Internal
}  // namespace Holvane

#endif
