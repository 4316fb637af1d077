#ifndef HOLVANE_TESTS_DETECT_SESSION_H
#define HOLVANE_TESTS_DETECT_SESSION_H

#include <holvane/detectsample.h>

#include "camera/camera_session.h"
#include "common/detect_file.h"

#include <array>
#include <atomic>
#include <cmath>
#include <vector>

namespace HolvaneTest {

using Holvane::BinIO::DetectPlaqueInfo;
using Holvane::DetectSample::HvDetectSample;
using Holvane::DetectSample::RayTestInterface;

// Planes (point, unit normal) and spheres (centre, radius), intersected exactly in double; the normal faces the
// ray. Counts its calls; any number of threads may trace it at once.
struct Scene {
    std::vector<std::array<double, 6>> planes;
    std::vector<std::array<double, 4>> spheres;
    std::atomic<int> calls{0};

    RayTestInterface tracer() { return {this, &Scene::trace}; }

    static bool trace(TavPoint const* o, TavPoint const* d, double maxDistance, TavPoint* hit, void* self)
    {
        auto& scene = *static_cast<Scene*>(self);
        ++scene.calls;
        double const dir[3] = {d->x, d->y, d->z}, p[3] = {o->x, o->y, o->z};
        auto dot = [](double const* a, double const* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };
        double best = maxDistance, n[3] = {};
        bool found = false;
        auto consider = [&](double t, double x, double y, double z) {
            if (t > 1e-6 && t <= best)
                best = t, found = true, n[0] = x, n[1] = y, n[2] = z;
        };
        for (auto const& q : scene.planes) {
            double const w[3] = {q[0] - p[0], q[1] - p[1], q[2] - p[2]};
            consider(dot(w, &q[3]) / dot(&q[3], dir), q[3], q[4], q[5]);
        }
        for (auto const& s : scene.spheres) {
            double const w[3] = {p[0] - s[0], p[1] - s[1], p[2] - s[2]}, b = dot(w, dir);
            double const disc = b * b - (dot(w, w) - s[3] * s[3]);
            for (double t : {-b - std::sqrt(disc), -b + std::sqrt(disc)})
                if (disc >= 0)
                    consider(t, w[0] + t * dir[0], w[1] + t * dir[1], w[2] + t * dir[2]);
        }
        if (!found)
            return false;
        double const side = dot(n, dir) > 0 ? -1.0 / std::sqrt(dot(n, n)) : 1.0 / std::sqrt(dot(n, n));
        hit[0] = {float(p[0] + best * dir[0]), float(p[1] + best * dir[1]), float(p[2] + best * dir[2])};
        hit[1] = {float(n[0] * side), float(n[1] * side), float(n[2] * side)};
        return true;
    }
};

inline DetectPlaqueInfo plaqueOf(unsigned camera, int x, int y, float distance, TavPoint normal)
{
    DetectPlaqueInfo p;
    p.cameraIndex = std::uint8_t(camera), p.x = std::uint16_t(x), p.y = std::uint16_t(y);
    p.distance = distance, p.normal = normal;
    return p;
}

inline bool sameColour(TavRGBA const& a, TavRGBA const& b)
{
    return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
}

inline HvDetectSample sampleOf(unsigned long long camera, int x, int y, TavPoint position, TavPoint normal)
{
    HvDetectSample sample = {};
    sample.cameraIndex = camera, sample.x = x, sample.y = y, sample.position = position, sample.normal = normal;
    return sample;
}

// A begun detection phase of a 600 x 400 image with four threads, their buckets and the layer slots, on the rig
// each test chooses: cameras in the box's frame, seeing all directions unless their mask says otherwise.
class DetectSession : public CameraSession {
protected:
    struct RigCamera {
        TavPoint position;
        float weight;
        std::uint32_t mask = 63;
    };

    void SetUp() override
    {
        CameraSession::SetUp();
        auto& c = s();
        c.initialized = true, c.threadNumber = 4;
        c.hitCounters.assign(600 * 400, 0);
        c.layerDistanceSlots = std::make_unique<Holvane::Internal::LayerDistanceSlots>();
        if (c.buckets.size() < 4)  // until the phase start makes them
            c.buckets.assign(4, Holvane::Internal::Bucket(1, 1, c.aovFormat, 0));
    }
    void useRig(std::vector<RigCamera> const& cameras)
    {
        auto& rig = s().renderingContext.rig;
        rig = {};
        for (RigCamera const& c : cameras)
            rig.cameras.push_back(c.position), rig.cameraWeights.push_back(c.weight), rig.cameraMasks.push_back(c.mask);
        Holvane::Internal::buildCameraTables();  // the world positions through camToWorld
    }
    std::vector<DetectPlaqueInfo> const& plaques(std::size_t thread = 0) { return s().buckets[thread].plaques; }
    std::uint16_t hits(int x, int y) { return s().hitCounters[std::size_t(y) * 600 + std::size_t(x)]; }
    bool covered(int x, int y, unsigned camera) { return s().cameraPixelCoverage[x][y].test(camera); }
};

}  // namespace HolvaneTest

#endif
