#ifndef HLVTRACE_RAY_TRACER_H
#define HLVTRACE_RAY_TRACER_H

// The scene in Embree. One committed scene answers closest-hit queries from any number of threads at once.

#include "scene.h"
#include "vec3.h"

#include <embree3/rtcore.h>

namespace hlvtrace {

struct Hit {
    float distance = 0.0f;
    Vec3 position;
    Vec3 normal;  // unit length, turned towards the ray's origin: every surface has two sides
};

class RayTracer {
public:
    explicit RayTracer(Scene const& scene);  // throws std::runtime_error when Embree refuses the scene
    ~RayTracer();
    RayTracer(RayTracer const&) = delete;
    RayTracer& operator=(RayTracer const&) = delete;

    // The first surface along the unit `direction` within `maxDistance`.
    bool trace(Vec3 origin, Vec3 direction, float maxDistance, Hit& hit) const;

private:
    RTCDevice device = nullptr;
    RTCScene scene = nullptr;
};

}  // namespace hlvtrace

#endif
