#ifndef HOLVANE_SESSION_RENDERING_CONTEXT_H
#define HOLVANE_SESSION_RENDERING_CONTEXT_H

#include <holvane/camera.h>
#include <holvane/plaque.h>

#include <utility>

namespace Holvane {
namespace Internal {

// The session's rendering context: the tolerance and distance limit set by the host, the camera rig, the
// plaque lookup and the geometry context whose `rig` points at the rig beside it. Copies and moves point
// their context at their own rig, so that pointer never dangles.
struct SessionRenderingContext {
    double tolerance = 0.25;
    double maxDistance = 3.4028234663852886e+38;
    Camera::CameraRig rig;
    // plaqueTree: the owned PlaqueKDTree pointer (null until the render phase builds one) joins here.
    RenderingContext context;

    SessionRenderingContext() { context.rig = &rig; }
    SessionRenderingContext(SessionRenderingContext const& other)
        : tolerance(other.tolerance), maxDistance(other.maxDistance), rig(other.rig), context(other.context)
    {
        context.rig = &rig;
    }
    SessionRenderingContext(SessionRenderingContext&& other) noexcept
        : tolerance(other.tolerance),
          maxDistance(other.maxDistance),
          rig(std::move(other.rig)),
          context(std::move(other.context))
    {
        context.rig = &rig;
        other.context.rig = &other.rig;
    }
    SessionRenderingContext& operator=(SessionRenderingContext const& other)
    {
        if (this != &other) {
            tolerance = other.tolerance;
            maxDistance = other.maxDistance;
            rig = other.rig;
            context = other.context;
            context.rig = &rig;
        }
        return *this;
    }
    SessionRenderingContext& operator=(SessionRenderingContext&& other) noexcept
    {
        if (this != &other) {
            tolerance = other.tolerance;
            maxDistance = other.maxDistance;
            rig = std::move(other.rig);
            context = std::move(other.context);
            context.rig = &rig;
            other.context.rig = &other.rig;
        }
        return *this;
    }
};

}  // namespace Internal
}  // namespace Holvane

#endif
