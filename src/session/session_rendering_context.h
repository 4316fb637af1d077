#ifndef HOLVANE_SESSION_RENDERING_CONTEXT_H
#define HOLVANE_SESSION_RENDERING_CONTEXT_H

#include <holvane/camera.h>
#include <holvane/plaque.h>
#include <holvane/trees.h>

#include <memory>
#include <utility>

namespace Holvane {
namespace Internal {

// The session's rendering context: the tolerance and distance limit set by the host, the camera rig, the
// plaque tree of the render phase and the geometry context whose `rig` points at the rig beside it. Copies and
// moves point their context at their own rig, so that pointer never dangles.
//
// The plaque tree is owned here, built once by the render phase's begin and deleted only by the session's
// reset. A copy doesn't carry it: the tree is large, belongs to the one session, and its context's `rig`
// points at the rig of the session it was built in. A move takes it along and points it at the new rig.
struct SessionRenderingContext {
    double tolerance = 0.25;
    double maxDistance = 3.4028234663852886e+38;
    Camera::CameraRig rig;
    std::unique_ptr<PlaqueKDTree> plaqueTree;  // null until the render phase builds one
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
          plaqueTree(std::move(other.plaqueTree)),
          context(std::move(other.context))
    {
        pointAtOwnRig(other);
    }
    SessionRenderingContext& operator=(SessionRenderingContext const& other)
    {
        if (this != &other) {
            tolerance = other.tolerance;
            maxDistance = other.maxDistance;
            rig = other.rig;
            plaqueTree.reset();
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
            plaqueTree = std::move(other.plaqueTree);
            context = std::move(other.context);
            pointAtOwnRig(other);
        }
        return *this;
    }

private:
    // After a move from `other`, what pointed at its rig points at this one.
    void pointAtOwnRig(SessionRenderingContext& other)
    {
        context.rig = &rig;
        other.context.rig = &other.rig;
        if (plaqueTree && plaqueTree->context.rig == &other.rig)
            plaqueTree->context.rig = &rig;
    }
};

}  // namespace Internal
}  // namespace Holvane

#endif
