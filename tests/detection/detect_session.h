#ifndef HOLVANE_TESTS_DETECT_SESSION_H
#define HOLVANE_TESTS_DETECT_SESSION_H

#include <holvane/detectsample.h>

#include "camera/camera_session.h"
#include "render/bucket.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <vector>

namespace HolvaneTest {

using Holvane::BinIO::DetectPlaqueInfo;
using Holvane::DetectSample::HvDetectSample;
using Holvane::DetectSample::RayTestInterface;

// A scene of planes and spheres, intersected exactly in double; the normal it answers faces the ray. It counts
// its calls and may be traced from any number of threads at once.
struct Scene {
    struct Plane {
        double point[3], normal[3];
    };
    struct Sphere {
        double centre[3], radius;
    };
    std::vector<Plane> planes;
    std::vector<Sphere> spheres;
    std::atomic<int> calls{0};

    RayTestInterface tracer() { return {this, &Scene::trace}; }

    static bool trace(TavPoint const* origin, TavPoint const* direction, double maxDistance, TavPoint* hit, void* self)
    {
        Scene& scene = *static_cast<Scene*>(self);
        ++scene.calls;
        double const o[3] = {origin->x, origin->y, origin->z}, d[3] = {direction->x, direction->y, direction->z};
        auto dot = [](double const* a, double const* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };
        double best = maxDistance, normal[3] = {0, 0, 0};
        bool found = false;
        auto consider = [&](double t, double const* n) {
            if (t > 1e-6 && t <= best)
                best = t, found = true, std::memcpy(normal, n, sizeof normal);
        };
        for (Plane const& p : scene.planes) {
            double const w[3] = {p.point[0] - o[0], p.point[1] - o[1], p.point[2] - o[2]};
            if (std::fabs(dot(p.normal, d)) > 1e-12)
                consider(dot(w, p.normal) / dot(p.normal, d), p.normal);
        }
        for (Sphere const& s : scene.spheres) {
            double const w[3] = {o[0] - s.centre[0], o[1] - s.centre[1], o[2] - s.centre[2]};
            double const b = dot(w, d), disc = b * b - (dot(w, w) - s.radius * s.radius);
            for (double t : {-b - std::sqrt(disc), -b + std::sqrt(disc)}) {
                double const n[3] = {(w[0] + t * d[0]) / s.radius, (w[1] + t * d[1]) / s.radius,
                                     (w[2] + t * d[2]) / s.radius};
                if (disc >= 0.0)
                    consider(t, n);
            }
        }
        if (!found)
            return false;
        double const facing = dot(normal, d) > 0.0 ? -1.0 : 1.0;
        hit[0] = {float(o[0] + best * d[0]), float(o[1] + best * d[1]), float(o[2] + best * d[2])};
        hit[1] = {float(normal[0] * facing), float(normal[1] * facing), float(normal[2] * facing)};
        return true;
    }
};

inline bool sameBits(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

inline ::testing::AssertionResult samePlaque(DetectPlaqueInfo const& a, DetectPlaqueInfo const& b)
{
    if (a.cameraIndex == b.cameraIndex && a.x == b.x && a.y == b.y && a.isExtrapolated == b.isExtrapolated &&
        a.isHair == b.isHair && a.extraFlag == b.extraFlag && a.level == b.level &&
        a.isTransparent == b.isTransparent && sameBits(a.distance, b.distance) &&
        sameBits(a.normal.x, b.normal.x) && sameBits(a.normal.y, b.normal.y) && sameBits(a.normal.z, b.normal.z))
        return ::testing::AssertionSuccess();
    auto show = [](DetectPlaqueInfo const& p) {
        return "{cam " + std::to_string(p.cameraIndex) + " (" + std::to_string(p.x) + "," + std::to_string(p.y) +
               ") ext " + std::to_string(p.isExtrapolated) + " hair " + std::to_string(p.isHair) + " transp " +
               std::to_string(p.isTransparent) + " d " + std::to_string(p.distance) + " n " +
               std::to_string(p.normal.x) + "," + std::to_string(p.normal.y) + "," + std::to_string(p.normal.z) + "}";
    };
    return ::testing::AssertionFailure() << show(a) << " != " << show(b);
}

inline bool sameColour(TavRGBA const& a, TavRGBA const& b)
{
    return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
}

// A begun detection phase of a 600 x 400 image with four threads, their buckets and the layer slots, on a rig
// that each test chooses. Cameras of a test rig see all directions unless their mask says otherwise.
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
        c.initialized = true;
        c.threadNumber = 4;
        c.hitCounters.assign(600 * 400, 0);
        c.layerDistanceSlots = std::make_unique<Holvane::Internal::LayerDistanceSlots>();
        if (c.buckets.size() < 4)
            c.buckets.assign(4, Holvane::Internal::Bucket(1, 1, c.aovFormat, 0));
    }

    // Cameras in the box's frame; their world positions follow camToWorld as the phase would derive them.
    void useRig(std::initializer_list<RigCamera> cameras)
    {
        auto& rig = s().renderingContext.rig;
        rig = {};
        for (RigCamera const& c : cameras) {
            rig.cameras.push_back(c.position);
            rig.cameraWeights.push_back(c.weight);
            rig.cameraMasks.push_back(c.mask);
        }
        Holvane::Internal::buildCameraTables();
    }

    std::vector<DetectPlaqueInfo> const& plaques(std::size_t thread = 0) { return s().buckets[thread].plaques; }
    std::uint16_t hits(int x, int y) { return s().hitCounters[std::size_t(y) * 600 + std::size_t(x)]; }
    bool covered(int x, int y, unsigned camera) { return s().cameraPixelCoverage[x][y].test(camera); }

    // The pixel of `camera` that looks nearest to `point` (box frame), and its exact direction.
    void pixelTowards(unsigned camera, TavPoint const& point, int& x, int& y, TavPoint* direction = nullptr)
    {
        TavPoint const c = s().renderingContext.rig.cameras[camera];
        TavPoint v = {point.x - c.x, point.y - c.y, point.z - c.z}, u;
        float const n = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
        v = {v.x / n, v.y / n, v.z / n};
        ASSERT_TRUE(Holvane::Camera::getClosestCamDirXY(v, u, x, y));
        if (direction)
            *direction = u;
    }
};

inline HvDetectSample sampleOf(unsigned long long camera, int x, int y, TavPoint position, TavPoint normal)
{
    HvDetectSample sample = {};
    sample.cameraIndex = camera, sample.x = x, sample.y = y, sample.position = position, sample.normal = normal;
    return sample;
}

}  // namespace HolvaneTest

#endif
