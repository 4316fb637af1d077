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
// Cameras left out by the stride take their index and shoot nothing. The index and ray calls are too short
// to time one by one: their share is the pixel's time less what was timed within it (hlvtrace's few own
// operations per hit count with them).
void samplePixel(Worker& worker, int x, int y, DebugImage& image)
{
    Clock::time_point start = Clock::now();
    std::int64_t timedBefore = worker.stats.embreeNs + worker.stats.libraryNs;
    for (;;) {
        unsigned long long camera = 0;
        if (!Holvane::Camera::HvGetCurrentSampleIndexCount(x, y, camera))
            break;
        if (camera % worker.cameraStride == 0) {
            HvCameraRay ray = Holvane::Camera::HvGetRayDetectPhase(camera, x + 0.5, y + 0.5);
            if (ray.valid)
                traceCameraRay(worker, x, y, camera, ray, image);
        }
        if (camera >= 255)
            break;
    }
    std::int64_t timedWithin = worker.stats.embreeNs + worker.stats.libraryNs - timedBefore;
    worker.stats.libraryNs += nanosecondsSince(start) - timedWithin;
}

}  // namespace hlvtrace
