#ifndef HLVTRACE_PIXEL_SAMPLER_H
#define HLVTRACE_PIXEL_SAMPLER_H

// One worker thread's part of the detection: for each pixel, every camera's ray through it, traced in
// Embree and handed back to the library, which may trace more through the worker's rayTest.

#include "debug_image.h"
#include "ray_tracer.h"
#include "thread_stats.h"

#include <holvane/detectsample.h>

namespace hlvtrace {

struct alignas(64) Worker {
    Worker(RayTracer const& tracer, Matrix4 const& boxToWorld, unsigned cameraStride, unsigned long long index);
    Worker(Worker const&) = delete;
    Worker& operator=(Worker const&) = delete;

    RayTracer const& tracer;
    Matrix4 const boxToWorld;
    unsigned const cameraStride;  // cameras whose index is a multiple of it shoot
    unsigned long long const index;  // the thread's bucket
    Holvane::DetectSample::RayTestInterface rayTest;  // traces with this worker's tracer and counts here
    ThreadStats stats;
};

void samplePixel(Worker& worker, int x, int y, DebugImage& image);

}  // namespace hlvtrace

#endif
