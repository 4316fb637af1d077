#include "pixel_sampler.h"

#include <holvane/camera.h>

#include <limits>

namespace hlvtrace {

using Holvane::Camera::HvCameraRay;
using Holvane::DetectSample::HvDetectSample;

namespace {

// The library's probes: from a camera or a point towards another, in world space.
bool traceForLibrary(TavPoint const* origin, TavPoint const* direction, double maxDistance, TavPoint* hit, void* userData)
{
    Worker& worker = *static_cast<Worker*>(userData);
    Vec3 unit = fromTav(*direction);
    if (!(dot(unit, unit) > 0.0f) || !(maxDistance > 0.0))
        return false;
    float reach = maxDistance < double(std::numeric_limits<float>::max()) ? float(maxDistance)
                                                                          : std::numeric_limits<float>::infinity();
    Hit found;
    Clock::time_point start = Clock::now();
    bool any = worker.tracer.trace(fromTav(*origin), unit, reach, found);
    worker.stats.embreeNs += nanosecondsSince(start);
    worker.stats.probeRays += 1;
    if (any) {
        hit[0] = toTav(found.position);
        hit[1] = toTav(found.normal);
    }
    return any;
}

// The camera's ray, turned from the box's frame to the world, traced; a hit goes back to the library.
void traceCameraRay(Worker& worker, int x, int y, unsigned long long camera, HvCameraRay const& ray,
                    DebugImage& image)
{
    Vec3 origin = transformPoint(worker.boxToWorld, fromTav(ray.origin));
    Vec3 direction = normalized(transformDirection(worker.boxToWorld, fromTav(ray.direction)));
    Hit hit;
    Clock::time_point start = Clock::now();
    bool any = worker.tracer.trace(origin, direction, std::numeric_limits<float>::infinity(), hit);
    worker.stats.embreeNs += nanosecondsSince(start);
    worker.stats.primaryRays += 1;
    if (!any)
        return;
    worker.stats.hits += 1;
    HvDetectSample sample{false, x, y, camera, false, toTav(hit.normal), toTav(hit.position)};
    std::int64_t embreeBefore = worker.stats.embreeNs;
    start = Clock::now();
    TavRGBA colour = Holvane::DetectSample::HvProcessDetectSample(&worker.rayTest, sample, worker.index);
    worker.stats.libraryNs += nanosecondsSince(start) - (worker.stats.embreeNs - embreeBefore);
    image.paint(unsigned(x), unsigned(y), colour);
}

}  // namespace

Worker::Worker(RayTracer const& rayTracer, Matrix4 const& toWorld, unsigned stride, unsigned long long threadIndex)
    : tracer(rayTracer), boxToWorld(toWorld), cameraStride(stride), index(threadIndex), rayTest{this, traceForLibrary}
{
}

// The sample index of a detection pixel is a camera; the library stops counting at the last one, 255.
// Cameras left out by the stride take their index and shoot nothing.
void samplePixel(Worker& worker, int x, int y, DebugImage& image)
{
    for (;;) {
        unsigned long long camera = 0;
        Clock::time_point start = Clock::now();
        bool more = Holvane::Camera::HvGetCurrentSampleIndexCount(x, y, camera);
        bool shoots = more && camera % worker.cameraStride == 0;
        HvCameraRay ray = shoots ? Holvane::Camera::HvGetRayDetectPhase(camera, x + 0.5, y + 0.5) : HvCameraRay{};
        worker.stats.libraryNs += nanosecondsSince(start);
        if (!more)
            return;
        if (ray.valid)
            traceCameraRay(worker, x, y, camera, ray, image);
        if (camera >= 255)
            return;
    }
}

}  // namespace hlvtrace
