#ifndef HLVTRACE_ZONE_OF_VIEW_H
#define HLVTRACE_ZONE_OF_VIEW_H

// Where the zone of view stands in the scene, and how the session's setters see it.

#include "options.h"
#include "scene.h"

#include <holvane/types.h>

namespace hlvtrace {

struct ZoneOfView {
    Vec3 centre;                    // scene units
    Vec3 size;                      // scene units, along x, y, z
    double scale = 100.0;           // centimetres per scene unit
    double distanceToGround = 0.0;  // metres from the centre down to the scene's lowest point

    Vec3 sizeInMetres() const { return size * float(scale / 100.0); }
    // The box's frame to the world: the box is only moved, never turned or scaled.
    Matrix4 boxToWorld() const;
};

// The box of the options, or by default a box of 1 m (at most a third of the scene's smallest side) at
// eye height, 1.6 m above the scene's lowest point (at most two thirds of the way up), in the middle of the scene.
// Throws InputError when the scene is flat and no box size is given, so that the box would hold no space.
ZoneOfView placeZoneOfView(Scene const& scene, Options const& options);

}  // namespace hlvtrace

#endif
