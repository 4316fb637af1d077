// The probes as HvProcessDetectSample runs them: which camera takes a point, at which pixel, and where the
// plaque rests.

#include "detect_session.h"
#include "detection/probes.h"

#include "camera/vector_math.h"

#include <exception>
#include <limits>

using namespace Holvane::DetectSample;
using namespace HolvaneTest;
using Holvane::Internal::normalised;

namespace {

TavPoint const kPoint = {0, 0, 200};

// Camera 0 sends the samples but never passes its face mask in a probe: camera 1, at (10, 0, 20) and
// 180.27756 from the point, is the only one that can take it. No narrowing: every ray counted is the walk's.
class Probes : public DetectSession {
protected:
    Scene scene;
    RayTestInterface tracer = scene.tracer();
    int px = 0, py = 0;
    TavPoint u = {};  // the direction of camera 1's pixel

    void SetUp() override
    {
        DetectSession::SetUp();
        useRig({{{-30, 0, 0}, 1, 0}, {{10, 0, 20}, 5}});
        s().renderingContext.tolerance = 0.0;
        ASSERT_TRUE(Holvane::Camera::getClosestCamDirXY(normalised({-10, 0, 180}), u, px, py));
    }
    // The one plaque that a fresh pixel records for the sample.
    DetectPlaqueInfo probeOnce(HvDetectSample const& sample)
    {
        s().buckets[0].plaques.clear(), scene.calls = 0;
        s().layerDistanceSlots = std::make_unique<Holvane::Internal::LayerDistanceSlots>();
        s().cameraPixelCoverage.assign(600, std::vector<Holvane::Internal::CoverageSet>(400));
        HvProcessDetectSample(&tracer, sample, 0);
        EXPECT_EQ(plaques().size(), 1u);
        return plaques().empty() ? DetectPlaqueInfo() : plaques()[0];
    }
    bool atCamera1(DetectPlaqueInfo const& p) { return p.cameraIndex == 1 && p.x == px && p.y == py; }
};

}  // namespace

TEST_F(Probes, APlanelessOrEdgeOnHitStandsWithTheSampleNormalElseThePixelRayHits)
{
    scene.planes.push_back({0, 0, 200, 0, 0, -1});
    float const nan = std::numeric_limits<float>::quiet_NaN();
    // Seen 0.01 from edge-on, with a length of 10 that keeps r . N at 0.1: projected, but the pixel ray's
    // crossing of that plane is taken at the point itself.
    TavPoint const r = normalised({-10, 0, 180}), across = {r.z, 0, -r.x};
    TavPoint const nearlyAlong = {10 * (0.99995f * across.x + 0.01f * r.x), 0, 10 * (0.99995f * across.z + 0.01f * r.z)};
    struct {
        TavPoint normal, stored;
        int rays;
    } const cases[] = {
        {{1e-5f, 0, 0}, {1e-5f, 0, 0}, 1},  // degenerate: stored as it came
        {{nan, 0, 1}, {nan, 0, 1}, 1},
        {{18, 0, 1}, normalised({18, 0, 1}), 1},  // edge-on to camera 1
        {{0.1f, 0, -1}, {0, 0, -1}, 2},           // projected: the pixel ray's hit, with the wall's normal
        {nearlyAlong, {0, 0, -1}, 2},
    };
    for (auto const& c : cases) {
        DetectPlaqueInfo const p = probeOnce(sampleOf(0, 5, 5, kPoint, c.normal));
        EXPECT_TRUE(atCamera1(p) && !p.isExtrapolated && sameBits(p.normal, c.stored) && covered(px, py, 1));
        EXPECT_EQ(scene.calls, c.rays) << c.normal.x;
        EXPECT_NEAR(p.distance, c.rays == 1 ? 180.27756f : 180 / u.z, 1e-3f) << c.normal.x;
    }
}

// The point lies on a speck that camera 1's pixel ray misses; behind it a wall, then nothing at all.
TEST_F(Probes, APixelRayThatMeetsSomethingElseOrNothing)
{
    ASSERT_GT(std::hypot(10 + u.x * 180 / u.z, u.y * 180 / u.z), 0.05f);  // the miss, where the ray crosses z = 200
    scene.spheres.push_back({0, 0, 200.01, 0.01});
    scene.planes.push_back({0, 0, 215, 0, 0, -1});
    HvDetectSample sample = sampleOf(0, 5, 5, kPoint, {0, 0, -1});
    DetectPlaqueInfo const p = probeOnce(sample);  // on the sample's plane, flagged, claiming no pixel
    EXPECT_TRUE(atCamera1(p) && p.isExtrapolated && sameBits(p.normal, {0, 0, -1}) && !covered(px, py, 1));
    EXPECT_NEAR(p.distance, 180 / u.z, 1e-3f);
    HvProcessDetectSample(&tracer, sample, 0);
    EXPECT_EQ(plaques().size(), 2u);

    scene.planes.clear();  // the opaque probe passes camera 1 over
    EXPECT_TRUE(samePlaque(probeOnce(sample), plaqueOf(0, 5, 5, std::sqrt(40900.0f), {0, 0, -1})));
    // Nor does the tracer see the glass: nothing stands before the point, where the transparent plaque rests.
    scene.spheres.clear();
    sample.isTransparent = true;
    DetectPlaqueInfo glass = plaqueOf(1, px, py, std::sqrt(32500.0f), {0, 0, -1});
    glass.isTransparent = 1;
    EXPECT_TRUE(samePlaque(probeOnce(sample), glass));
    sample.normal = glass.normal = {0, 0, 0};  // no plane: at the point too, not on the ray's answer
    EXPECT_TRUE(samePlaque(probeOnce(sample), glass));
}

// Camera 0 faces the wall best (200 / 40000), camera 1 less squarely (200 / 40400) but weighs less, camera 2
// sees it from behind and weighs least: only a camera of the best one's side competes by weight.
TEST_F(Probes, TheToleranceLetsALighterCameraAsWellPlacedTakeThePoint)
{
    useRig({{{0, 0, 0}, 10}, {{20, 0, 0}, 2}, {{0, 0, 400}, 0}});
    ASSERT_TRUE(Holvane::Camera::getClosestCamDirXY(normalised({-20, 0, 200}), u, px, py));
    scene.planes.push_back({0, 0, 200, 0, 0, -1});
    for (double tolerance : {0.0, 0.005, 0.25, 1.0}) {
        s().renderingContext.tolerance = tolerance;
        DetectPlaqueInfo const p = probeOnce(sampleOf(0, 5, 5, kPoint, {0, 0, -1}));
        EXPECT_TRUE(tolerance > 0.01 ? atCamera1(p) : samePlaque(p, plaqueOf(0, 5, 5, 200, {0, 0, -1}))) << tolerance;
    }
}

TEST_F(Probes, HairGoesToTheBestFacingCameraThatSeesItWithoutProjection)
{
    scene.planes.push_back({0, 0, 200, 0, 0, -1});
    s().renderingContext.tolerance = 1.0;  // no part in it: camera 0 would weigh less
    HvDetectSample sample = sampleOf(0, 5, 5, kPoint, {0, 0, -1});
    sample.isHair = true;
    EXPECT_TRUE(sameColour(HvProcessDetectSample(&tracer, sample, 0), {1, float(1 / 60.0), 0, 1}));
    ASSERT_EQ(plaques().size(), 1u);
    DetectPlaqueInfo const& p = plaques()[0];
    EXPECT_TRUE(atCamera1(p) && p.isHair && !p.isTransparent && sameBits(p.normal, {0, 0, -1}));
    EXPECT_TRUE(scene.calls == 1 && !covered(px, py, 1));
    EXPECT_NEAR(p.distance, 180.27756f, 1e-3f);

    log.lines.clear();
    EXPECT_THROW(Holvane::Internal::castHairProbe(tracer, kPoint, {0, 0, -1}, DetectPlaqueInfo()), std::exception);
    EXPECT_EQ(log.only(), "4|processing a sample that is not from hair");
}
