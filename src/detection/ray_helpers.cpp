#include "detection/ray_helpers.h"

#include <holvane/camera.h>

#include "camera/vector_math.h"

#include <cmath>

namespace Holvane {
namespace Internal {

namespace {

double distanceInDouble(TavPoint const& a, TavPoint const& b)
{
    double const dx = static_cast<double>(b.x) - static_cast<double>(a.x);
    double const dy = static_cast<double>(b.y) - static_cast<double>(a.y);
    double const dz = static_cast<double>(b.z) - static_cast<double>(a.z);
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// One ray and the distance of its target, in double.
struct Shot {
    RayHit answer;
    double targetDistance;
};

Shot shoot(RayTestInterface const& tracer, TavPoint const& from, TavPoint const& to)
{
    Shot shot;
    shot.targetDistance = distanceInDouble(from, to);
    TavPoint const direction = normalised(sub(to, from));  // a zero length leaves a zero direction
    TavPoint found[2] = {{0.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 0.0f}};  // position, then normal
    shot.answer.hit = tracer.rayTest(&from, &direction, 1.2 * shot.targetDistance, found, tracer.userData);
    shot.answer.position = found[0];
    shot.answer.normal = found[1];
    return shot;
}

bool atTargetDistance(double hitDistance, double targetDistance)
{
    return Camera::HvIsAtProximity(static_cast<float>(hitDistance), static_cast<float>(targetDistance), 1.0f);
}

}  // namespace

RayHit traceTo(RayTestInterface const& tracer, TavPoint const& from, TavPoint const& to)
{
    return shoot(tracer, from, to).answer;
}

bool isVisibleThrough(RayTestInterface const& tracer, TavPoint const& from, TavPoint const& to, RayHit& hit)
{
    Shot const shot = shoot(tracer, from, to);
    hit = shot.answer;
    return hit.hit && atTargetDistance(distanceInDouble(from, hit.position), shot.targetDistance);
}

bool isOccludedOnRay(RayTestInterface const& tracer, TavPoint const& from, TavPoint const& to, RayHit& hit)
{
    Shot const shot = shoot(tracer, from, to);
    hit = shot.answer;
    if (!hit.hit)
        return false;
    double const hitDistance = distanceInDouble(from, hit.position);
    return hitDistance <= shot.targetDistance && !atTargetDistance(hitDistance, shot.targetDistance);
}

}  // namespace Internal
}  // namespace Holvane
