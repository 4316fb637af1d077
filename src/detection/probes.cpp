#include "detection/probes.h"

#include <holvane/camera.h>

#include "camera/camera_rig.h"
#include "camera/vector_math.h"
#include "detection/plaque_builder.h"
#include "detection/ray_helpers.h"
#include "session/context.h"
#include "session/matrix.h"
#include "session/misuse.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace Holvane {
namespace Internal {

namespace {

constexpr float kFloatEpsilon = 1.1920929e-07f;

// One rig camera in a probe's list: how squarely it faces the point, and a packed word of bit 0 front-facing,
// bits 1 to 8 the weight and bits 9 to 16 the camera index.
struct CameraCandidate {
    float metric;
    std::uint32_t packed;
};

bool isFrontFacing(CameraCandidate const& c)
{
    return (c.packed & 1u) != 0;
}

std::uint32_t weightOf(CameraCandidate const& c)
{
    return (c.packed >> 1) & 0xFFu;
}

unsigned cameraOf(CameraCandidate const& c)
{
    return (c.packed >> 9) & 0xFFu;
}

// The integer part of the weight, cut to its low byte: a switched-off camera (-1) becomes 255 and stays a
// candidate on purpose, ranked last by weight.
CameraCandidate packCandidate(unsigned camera, float weight, float metric, bool frontFacing)
{
    std::uint32_t const weightByte = static_cast<std::uint32_t>(static_cast<std::int32_t>(weight)) & 0xFFu;
    return {metric, (frontFacing ? 1u : 0u) | (weightByte << 1) | ((camera & 0xFFu) << 9)};
}

// `toPoint`: from the camera to the point, in the box's frame, like the normal `n`.
CameraCandidate makeCandidate(unsigned camera, float weight, TavPoint const& toPoint, TavPoint const& n,
                              bool degenerateNormal)
{
    float const squaredDistance = dot(toPoint, toPoint);
    if (degenerateNormal)  // a normal without direction faces every camera
        return packCandidate(camera, weight, 1.0f / squaredDistance, true);
    float const d = dot(toPoint, n);
    return packCandidate(camera, weight, std::fabs(d) / squaredDistance, d < 0.0f);
}

// The two orders as integer keys, the best candidate having the largest key. The low byte is the candidate's
// slot, which makes keys unique.
// Facing order: the front-facing side first, then the larger absolute metric. The bits of a non-negative float
// order as its value does.
std::uint32_t metricBits(CameraCandidate const& c)
{
    std::uint32_t bits;
    float const absolute = std::fabs(c.metric);
    std::memcpy(&bits, &absolute, sizeof bits);
    return bits;
}

std::uint64_t facingKey(CameraCandidate const& c, unsigned slot)
{
    return (std::uint64_t(isFrontFacing(c)) << 40) | (std::uint64_t(metricBits(c)) << 8) | slot;
}

// Weight order: the smaller weight first. Many cameras share a weight: among them the one that faces the
// point best goes first.
std::uint64_t weightKey(CameraCandidate const& c, unsigned slot)
{
    return (std::uint64_t(0xFFu - weightOf(c)) << 40) | (std::uint64_t(metricBits(c)) << 8) | slot;
}

// The rig's cameras, popped best first in facing order, or in weight order once narrowed. A walk mostly ends
// after a few pops, so the first pops scan for the best key; a long walk turns the rest into a heap.
class CandidateList {
public:
    CandidateList(CameraRig const& rig, TavPoint const& point, TavPoint const& n)
    {
        bool const degenerateNormal = isDegenerate(n);
        count = std::min(completeCameraCount(rig), items.size());
        for (std::size_t c = 0; c < count; ++c) {
            items[c] = makeCandidate(static_cast<unsigned>(c), rig.cameraWeights[c], sub(point, rig.cameras[c]), n,
                                     degenerateNormal);
            keys[c] = facingKey(items[c], static_cast<unsigned>(c));
        }
    }

    bool empty() const { return count == 0; }

    // The best candidate left.
    CameraCandidate pop()
    {
        if (scansLeft > 0) {
            --scansLeft;
            std::swap(keys[bestKeyPosition()], keys[count - 1]);
        } else {
            if (scansLeft == 0) {
                std::make_heap(keys.begin(), keys.begin() + count);
                scansLeft = -1;
            }
            std::pop_heap(keys.begin(), keys.begin() + count);
        }
        return items[keys[--count] & 0xFFu];
    }

    // Keeps the cameras about as well placed as the anchor, the first one that `sees` the point, in weight
    // order. The candidates popped before the anchor are dropped although they ranked above it; when no camera
    // sees the point, the anchor is the last one popped. A tolerance below the float epsilon leaves the list
    // as it is, in facing order.
    template <typename Sees>
    void narrow(float tolerance, Sees const& sees)
    {
        if (tolerance < kFloatEpsilon || empty())
            return;
        CameraCandidate anchor = pop();
        while (!sees(cameraOf(anchor)) && !empty())
            anchor = pop();
        // The anchor's key lies just past the rest: keep it with them. A metric widened to double is compared
        // with a float threshold, on the signed values; the anchor itself always passes.
        float const threshold = (1.0f - tolerance) * anchor.metric;
        std::size_t kept = 0;
        for (std::size_t i = 0; i <= count; ++i) {
            unsigned const slot = keys[i] & 0xFFu;
            CameraCandidate const& c = items[slot];
            if (isFrontFacing(c) == isFrontFacing(anchor) &&
                !(static_cast<double>(c.metric) < static_cast<double>(threshold)))
                keys[kept++] = weightKey(c, slot);
        }
        count = kept;
        scansLeft = kScans;
    }

private:
    static constexpr int kScans = 12;  // pops by scanning before the rest becomes a heap

    std::array<CameraCandidate, 256> items;  // by slot; a plaque's camera index is one byte
    std::array<std::uint64_t, 256> keys;     // the candidates left, in [0, count)
    std::size_t count = 0;
    int scansLeft = kScans;  // -1: the keys are a heap

    std::size_t bestKeyPosition() const
    {
        std::size_t best = 0;
        for (std::size_t i = 1; i < count; ++i)
            best = keys[i] > keys[best] ? i : best;
        return best;
    }
};

// What a probe knows of its sample: the hit P with its normal N in world space, P in the box's frame, and the
// provisional plaque, whose normal n is in the box's frame.
struct ProbeInput {
    RayTestInterface const& tracer;
    CameraRig const& rig;
    TavPoint const& position;
    TavPoint const& normal;
    DetectPlaqueInfo const& provisional;
    TavPoint pointInBox;
    bool transparent;

    ProbeInput(RayTestInterface const& tracer, TavPoint const& position, TavPoint const& normal,
               DetectPlaqueInfo const& provisional, bool transparent)
        : tracer(tracer),
          rig(session().renderingContext.rig),
          position(position),
          normal(normal),
          provisional(provisional),
          pointInBox(transformPoint(session().worldToCam, position)),
          transparent(transparent)
    {
    }

    TavPoint const& planeNormal() const { return provisional.normal; }
    TavPoint const& worldPosition(unsigned camera) const { return rig.camerasWorld[camera]; }
    DetectPlaqueInfo plaque(unsigned camera, int x, int y, TavPoint const& at, TavPoint const& n) const
    {
        return buildPlaque(camera, x, y, at, n, transparent);
    }
};

// The probes need the render scale the phase began with: an unset one is a misuse, as everywhere else.
void requireRenderScale()
{
    static_cast<void>(session().renderScale.get());
}

bool faceMaskAllows(ProbeInput const& probe, unsigned camera)
{
    return maskAllowsDirection(probe.rig.cameraMasks[camera], sub(probe.pointInBox, probe.rig.cameras[camera]));
}

// Whether the camera has the point in view: through its face mask, and then plainly visible for an opaque
// probe, or with nothing standing before it for a transparent one.
bool seesPoint(ProbeInput const& probe, unsigned camera, RayHit& hit)
{
    if (!faceMaskAllows(probe, camera))
        return false;
    TavPoint const& from = probe.worldPosition(camera);
    if (probe.transparent)
        return !isOccludedOnRay(probe.tracer, from, probe.position, hit);
    return isVisibleThrough(probe.tracer, from, probe.position, hit);
}

// The pixel of `camera` whose direction is nearest to the point's, and that pixel's exact direction.
struct Pixel {
    int x = 0;
    int y = 0;
    TavPoint direction = {0.0f, 0.0f, 0.0f};
};

bool closestPixel(ProbeInput const& probe, unsigned camera, Pixel& pixel)
{
    TavPoint const towardsPoint = normalised(sub(probe.pointInBox, probe.rig.cameras[camera]));
    return Camera::getClosestCamDirXY(towardsPoint, pixel.direction, pixel.x, pixel.y);
}

double dotInDouble(TavPoint const& a, TavPoint const& b)
{
    return static_cast<double>(a.x) * static_cast<double>(b.x) + static_cast<double>(a.y) * static_cast<double>(b.y) +
           static_cast<double>(a.z) * static_cast<double>(b.z);
}

// Where the ray of the camera's pixel (direction u, box frame) meets the sample's plane, in world space; the
// point itself when the ray runs nearly along the plane.
TavPoint projectOnPlane(ProbeInput const& probe, TavPoint const& u, unsigned camera)
{
    TavPoint const& n = probe.planeNormal();
    TavPoint const& origin = probe.rig.cameras[camera];
    TavPoint onPlane = probe.pointInBox;
    if (!(std::fabs(static_cast<double>(dot(u, n))) < 0.05)) {
        double const q = dotInDouble(u, n);
        if (std::fabs(q) > 2.220446049250313e-16) {
            float const t = static_cast<float>(dotInDouble(sub(probe.pointInBox, origin), n) / q);
            onPlane = add(origin, scaled(u, t));
        }
    }
    return transformPoint(session().camToWorld, onPlane);
}

// How the ray of the candidate's pixel stands to the sample: its pixel, the distance d to the point, and for a
// projected aim the point R on the sample's plane, its distance dR and the target T at dR along the pixel ray.
enum class Aim { refused, unprojected, projected };

struct PixelAim {
    Pixel pixel;
    float distance = 0.0f;
    TavPoint onPlane = {0.0f, 0.0f, 0.0f};
    float planeDistance = 0.0f;
    TavPoint target = {0.0f, 0.0f, 0.0f};
};

Aim aimAtPixel(ProbeInput const& probe, unsigned camera, PixelAim& aim)
{
    if (!closestPixel(probe, camera, aim.pixel))
        return Aim::refused;
    TavPoint const& from = probe.worldPosition(camera);
    TavPoint const toPoint = sub(probe.position, from);
    aim.distance = length(toPoint);
    TavPoint const r = {toPoint.x / aim.distance, toPoint.y / aim.distance, toPoint.z / aim.distance};
    // No plane to project on, a point too far away, or a surface seen edge-on: the hit stands as it is.
    if (isDegenerate(probe.planeNormal()) || aim.distance > 1e12 || std::fabs(dot(r, probe.normal)) < 0.05)
        return Aim::unprojected;
    aim.onPlane = projectOnPlane(probe, aim.pixel.direction, camera);
    aim.planeDistance = length(sub(aim.onPlane, from));
    // The pixel's own ray meets the sample's plane too far away to stand for this point.
    if (!Camera::HvIsAtProximity(aim.planeDistance, aim.distance, 0.5f))
        return Aim::refused;
    TavPoint const pixelRay = transformDirection(session().camToWorld, aim.pixel.direction);  // not made unit
    aim.target = add(from, scaled(pixelRay, aim.planeDistance));
    return Aim::projected;
}

bool hitsTheSamePlane(PixelAim const& aim, RayHit const& hit, TavPoint const& from)
{
    return Camera::HvIsAtProximity(aim.planeDistance, length(sub(hit.position, from)), 0.5f);
}

DetectPlaqueInfo extrapolatedPlaque(ProbeInput const& probe, unsigned camera, PixelAim const& aim)
{
    DetectPlaqueInfo plaque = probe.plaque(camera, aim.pixel.x, aim.pixel.y, aim.onPlane, probe.normal);
    plaque.isExtrapolated = 1;
    return plaque;
}

// The opaque probe's plaque along the pixel's ray: on its hit when it meets the same surface, else on the
// sample's plane.
bool finishOpaque(ProbeInput const& probe, unsigned camera, PixelAim const& aim, DetectPlaqueInfo& found)
{
    TavPoint const& from = probe.worldPosition(camera);
    RayHit const second = traceTo(probe.tracer, from, aim.target);
    if (!second.hit)
        return false;
    if (hitsTheSamePlane(aim, second, from))
        found = probe.plaque(camera, aim.pixel.x, aim.pixel.y, second.position, second.normal);
    else
        found = extrapolatedPlaque(probe, camera, aim);
    return true;
}

// The transparent probe's: on the pixel ray's hit, or at the point when the ray meets nothing; behind an
// occluder on the same surface the camera is passed over, behind another one the plaque rests on the plane.
bool finishTransparent(ProbeInput const& probe, unsigned camera, PixelAim const& aim, DetectPlaqueInfo& found)
{
    TavPoint const& from = probe.worldPosition(camera);
    RayHit second;
    if (!isOccludedOnRay(probe.tracer, from, aim.target, second)) {
        found = second.hit ? probe.plaque(camera, aim.pixel.x, aim.pixel.y, second.position, second.normal)
                           : probe.plaque(camera, aim.pixel.x, aim.pixel.y, probe.position, probe.normal);
        return true;
    }
    if (hitsTheSamePlane(aim, second, from))
        return false;
    found = extrapolatedPlaque(probe, camera, aim);
    return true;
}

// One candidate of the opaque or transparent walk: true with the plaque when the camera works out.
bool tryCamera(ProbeInput const& probe, unsigned camera, DetectPlaqueInfo& found)
{
    RayHit hit;
    if (!seesPoint(probe, camera, hit))
        return false;
    if (camera == probe.provisional.cameraIndex) {
        found = probe.provisional;
        return true;
    }
    PixelAim aim;
    switch (aimAtPixel(probe, camera, aim)) {
    case Aim::refused:
        return false;
    case Aim::unprojected:
        found = probe.plaque(camera, aim.pixel.x, aim.pixel.y, probe.transparent ? probe.position : hit.position,
                             probe.normal);
        return true;
    case Aim::projected:
        break;
    }
    return probe.transparent ? finishTransparent(probe, camera, aim, found) : finishOpaque(probe, camera, aim, found);
}

DetectPlaqueInfo castSurfaceProbe(ProbeInput const& probe)
{
    requireRenderScale();
    CandidateList candidates(probe.rig, probe.pointInBox, probe.planeNormal());
    RayHit unused;
    candidates.narrow(static_cast<float>(session().renderingContext.tolerance),
                      [&](unsigned camera) { return seesPoint(probe, camera, unused); });
    DetectPlaqueInfo found;
    while (!candidates.empty()) {
        if (tryCamera(probe, cameraOf(candidates.pop()), found))
            return found;
    }
    return probe.provisional;
}

}  // namespace

DetectPlaqueInfo castOpaqueProbe(RayTestInterface const& tracer, TavPoint const& position, TavPoint const& normal,
                                 DetectPlaqueInfo const& provisional)
{
    return castSurfaceProbe(ProbeInput(tracer, position, normal, provisional, false));
}

DetectPlaqueInfo castTransparentProbe(RayTestInterface const& tracer, TavPoint const& position,
                                      TavPoint const& normal, DetectPlaqueInfo const& provisional)
{
    return castSurfaceProbe(ProbeInput(tracer, position, normal, provisional, true));
}

DetectPlaqueInfo castHairProbe(RayTestInterface const& tracer, TavPoint const& position, TavPoint const& normal,
                               DetectPlaqueInfo const& provisional)
{
    if (!provisional.isHair)
        failMisuse("processing a sample that is not from hair");
    requireRenderScale();
    ProbeInput const probe(tracer, position, normal, provisional, false);
    // No narrowing: the tolerance plays no part, and the walk goes in facing order.
    CandidateList candidates(probe.rig, probe.pointInBox, probe.planeNormal());
    while (!candidates.empty()) {
        unsigned const camera = cameraOf(candidates.pop());
        if (camera == provisional.cameraIndex)
            return provisional;  // no ray is shot for the sample's own camera
        RayHit hit;
        Pixel pixel;
        if (!seesPoint(probe, camera, hit) || !closestPixel(probe, camera, pixel))
            continue;
        DetectPlaqueInfo plaque = probe.plaque(camera, pixel.x, pixel.y, hit.position, normal);
        plaque.isHair = 1;
        return plaque;
    }
    return provisional;
}

}  // namespace Internal
}  // namespace Holvane
