#include <holvane/camera.h>
#include <holvane/detectsample.h>

#include "camera/camera_rig.h"
#include "camera/sampling.h"
#include "camera/vector_math.h"
#include "detection/camera_hue.h"
#include "detection/plaque_builder.h"
#include "detection/probes.h"
#include "session/context.h"
#include "session/misuse.h"
#include "session/pixel_coverage.h"
#include "session/relaxed.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <mutex>

namespace Holvane {
namespace DetectSample {
inline namespace v2_0 {

namespace {

using BinIO::DetectPlaqueInfo;
using Internal::Bucket;
using Internal::HolvaneContext;

constexpr TavRGBA kNoColour = {0.0f, 0.0f, 0.0f, 0.0f};
constexpr TavRGBA kBlack = {0.0f, 0.0f, 0.0f, 1.0f};

char const* const kBadThread =
    "[Holvane] You are trying to write to thread while only threads are declared with HvSetThreadNumber().";

void checkCaller(HolvaneContext const& s, unsigned long long threadIndex)
{
    if (threadIndex >= s.threadNumber)
        Internal::failMisuse(kBadThread);
    if (!s.initialized)
        Internal::failMisuse("[Holvane] Probecasting can only be invoked once Holvane is initialized.");
    if (s.phase != Phase::PHASE_DETECT)
        Internal::failMisuse("[Holvane] ProbeCasting is only designed for the detection phase.");
    // A begun phase has one bucket per declared thread; this only keeps a session made otherwise in bounds.
    if (threadIndex >= s.buckets.size())
        Internal::failMisuse(kBadThread);
}

bool keptByClipSphere(HolvaneContext const& s, TavPoint const& position)
{
    // The sample is in world space, so the sphere's centre is the one the host gave.
    return !s.clipEnabled || Internal::clipKeepsPoint(position, s.clipCenterWorld, s.clipRadius, s.clipInverted);
}

// Every hit but a transparent one counts at its pixel, outside the transparent pass, so that a flush can tell
// the pixels whose every ray found something.
void countHit(HolvaneContext& s, HvDetectSample const& sample)
{
    if (sample.isTransparent || s.transparencyMode.get() == Phase::TRANSP)
        return;
    double const width = s.renderingWidth.get();
    // hitCounters has the length of rayCounters, the bound that the pixel index is checked against.
    Internal::countAt(s.hitCounters, Internal::truncateToInt32(sample.y * width + sample.x));
}

bool cameraSwitchedOn(HolvaneContext const& s, unsigned long long camera)
{
    Internal::CameraRig const& rig = s.renderingContext.rig;
    return camera < Internal::completeCameraCount(rig) && !(rig.cameraWeights[camera] < 0.0f);
}

void record(Bucket& bucket, DetectPlaqueInfo const& plaque)
{
    bucket.plaques.push_back(plaque);
    ++bucket.sampleCount;
}

// Claims the plaque's camera at its pixel; false when the camera already owns an opaque plaque there. The
// bit is tested and set in one relaxed step, so two threads that found one pixel at once can't both claim
// it. A pixel outside the coverage grid has no bit and is taken as free, with nothing to mark.
bool claimPixel(HolvaneContext& s, DetectPlaqueInfo const& plaque)
{
    Internal::CoverageSet* const bits = Internal::coverageAt(s, plaque.x, plaque.y);
    return !bits || !bits->testAndSet(plaque.cameraIndex);
}

// Whether the plaque is a layer not yet recorded at its camera's pixel: no stored distance of that pixel is
// at about its own. The camera's lock is held for the lookup and the insertion only.
bool acceptLayer(HolvaneContext& s, DetectPlaqueInfo const& plaque)
{
    Internal::LayerDistanceSlot& slot = (*s.layerDistanceSlots)[plaque.cameraIndex];
    std::uint32_t const key = std::uint32_t(plaque.y) * 65536u + plaque.x;
    std::lock_guard<std::mutex> const hold(slot.lock);
    auto const found = slot.distances.find(key);
    if (found == slot.distances.end()) {
        slot.distances.emplace(key, std::vector<float>(1, plaque.distance));
        return true;
    }
    std::vector<float>& layers = found->second;
    bool const known = std::any_of(layers.begin(), layers.end(), [&](float stored) {
        return Camera::HvIsAtProximity(stored, plaque.distance, 1.0f);
    });
    if (!known)
        layers.push_back(plaque.distance);
    return !known;
}

DetectPlaqueInfo provisionalPlaque(HvDetectSample const& sample, bool transparent)
{
    return Internal::buildPlaque(sample.cameraIndex, sample.x, sample.y, sample.position, sample.normal,
                                 transparent);
}

TavRGBA processOpaque(HolvaneContext& s, RayTestInterface const& tracer, HvDetectSample const& sample,
                      Bucket& bucket)
{
    // A covered pixel costs this one bit test and no ray.
    if (Internal::cameraDoneAtPixel(s, sample.cameraIndex, sample.x, sample.y))
        return kBlack;
    DetectPlaqueInfo const provisional = provisionalPlaque(sample, false);
    DetectPlaqueInfo const plaque = Internal::castOpaqueProbe(tracer, sample.position, sample.normal, provisional);
    if (provisional.isTransparent || plaque.isTransparent)
        Internal::failMisuse("opaque probe should not have transparent flag");
    // An extrapolated plaque stands on the sample's plane, not on a hit: it claims no pixel.
    if (plaque.isExtrapolated || claimPixel(s, plaque))
        record(bucket, plaque);
    return Internal::cameraHue(plaque.cameraIndex);
}

TavRGBA processTransparent(HolvaneContext& s, RayTestInterface const& tracer, HvDetectSample const& sample,
                           Bucket& bucket)
{
    DetectPlaqueInfo const provisional = provisionalPlaque(sample, true);
    DetectPlaqueInfo const plaque =
        Internal::castTransparentProbe(tracer, sample.position, sample.normal, provisional);
    if (!provisional.isTransparent || !plaque.isTransparent)
        Internal::failMisuse("transparent probe should have transparent flag");
    if (acceptLayer(s, plaque))
        record(bucket, plaque);
    return kNoColour;  // transparent layers never paint
}

TavRGBA processHair(HolvaneContext& s, RayTestInterface const& tracer, HvDetectSample const& sample, Bucket& bucket)
{
    DetectPlaqueInfo provisional = provisionalPlaque(sample, false);
    provisional.isHair = 1;
    DetectPlaqueInfo const plaque = Internal::castHairProbe(tracer, sample.position, sample.normal, provisional);
    if (acceptLayer(s, plaque))
        record(bucket, plaque);
    return Internal::cameraHue(plaque.cameraIndex);  // painted even when the layer was known
}

}  // namespace

void HvMatchSampleIndex(HvDetectSample& sample, TavPoint const& point)
{
    Internal::CameraRig const& rig = Internal::session().renderingContext.rig;
    std::size_t const cameras = std::min(rig.cameras.size(), rig.camerasWorld.size());
    double nearestDistance = std::numeric_limits<double>::max();
    unsigned long long nearest = 0;
    for (std::size_t c = 0; c < cameras; ++c) {
        TavPoint const offset = Internal::sub(rig.camerasWorld[c], point);
        double const squaredDistance = Internal::dot(offset, offset);
        if (squaredDistance < nearestDistance) {  // strict: the lowest index wins a tie
            nearestDistance = squaredDistance;
            nearest = c;
        }
    }
    sample.cameraIndex = nearest;
}

TavRGBA HvProcessDetectSample(RayTestInterface* rayTest, HvDetectSample const& sample,
                              unsigned long long const& threadIndex)
{
    HolvaneContext& s = Internal::session();
    checkCaller(s, threadIndex);
    if (!keptByClipSphere(s, sample.position))
        return kNoColour;
    countHit(s, sample);
    if (!cameraSwitchedOn(s, sample.cameraIndex))
        return kBlack;
    if (!rayTest || !rayTest->rayTest)
        Internal::failMisuse("[Holvane] HvProcessDetectSample needs the host's ray test interface.");
    Bucket& bucket = s.buckets[threadIndex];
    // The mode is read as stored, without its check: a transparent or hair sample of a session that never set
    // it takes the default.
    bool const transparentPass = s.transparencyMode.value == Phase::TRANSP;
    if (sample.isHair)
        return processHair(s, *rayTest, sample, bucket);
    if (!sample.isTransparent && !transparentPass)
        return processOpaque(s, *rayTest, sample, bucket);
    return processTransparent(s, *rayTest, sample, bucket);
}

}  // namespace v2_0
}  // namespace DetectSample
}  // namespace Holvane
