#ifndef HOLVANE_SESSION_RENDERING_CONTEXT_H
#define HOLVANE_SESSION_RENDERING_CONTEXT_H

namespace Holvane {
namespace Internal {

// The session's rendering context: the tolerance and distance limit set by the host, then the camera rig,
// the plaque lookup and the geometry context that the camera subsystem fills in.
struct SessionRenderingContext {
    double tolerance = 0.25;
    double maxDistance = 3.4028234663852886e+38;
    // The camera rig, the plaque lookup and the RenderingContext proper join here with the camera subsystem.
};

}  // namespace Internal
}  // namespace Holvane

#endif
