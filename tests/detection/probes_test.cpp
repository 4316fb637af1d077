// The probes as HvProcessDetectSample runs them: which camera takes a point, at which of its pixels, and
// where the plaque rests.

#include "detect_session.h"
#include "detection/probes.h"

#include "camera/vector_math.h"

#include <cmath>
#include <exception>
#include <limits>

using namespace Holvane::DetectSample;
using namespace HolvaneTest;

namespace {

TavPoint const kPoint = {0, 0, 200};

// Camera 0 shoots the samples but never passes its face mask in a probe: camera 1 is the only one that can
// take the point, from (10, 0, 20), 180.27756 away.
class Probes : public DetectSession {
protected:
    Scene scene;
    RayTestInterface tracer = scene.tracer();
    int px = 0, py = 0;
    TavPoint pixelRay = {};

    void SetUp() override
    {
        DetectSession::SetUp();
        useRig({{{-30, 0, 0}, 1, 0}, {{10, 0, 20}, 5}});
        s().renderingContext.tolerance = 0.0;  // no narrowing: each ray counted below is one of the walk
        pixelTowards(1, kPoint, px, py, &pixelRay);
    }

    // The one plaque that a fresh pixel records for this sample.
    DetectPlaqueInfo probeOnce(HvDetectSample const& sample)
    {
        s().buckets[0].plaques.clear();
        s().cameraPixelCoverage.assign(600, std::vector<Holvane::Internal::CoverageSet>(400));
        scene.calls = 0;
        HvProcessDetectSample(&tracer, sample, 0);
        EXPECT_EQ(plaques().size(), 1u);
        return plaques().empty() ? DetectPlaqueInfo() : plaques()[0];
    }
    bool atPixelOfCamera1(DetectPlaqueInfo const& p) { return p.cameraIndex == 1 && p.x == px && p.y == py; }
};

bool sameVector(TavPoint const& a, TavPoint const& b)
{
    return sameBits(a.x, b.x) && sameBits(a.y, b.y) && sameBits(a.z, b.z);
}

}  // namespace

TEST_F(Probes, WithoutAPlaneToProjectOnThePlaqueRestsOnTheHitWithTheSampleNormalElseOnThePixelRaysHit)
{
    scene.planes.push_back({{0, 0, 200}, {0, 0, -1}});
    float const nan = std::numeric_limits<float>::quiet_NaN();
    // A plane seen 0.01 from edge-on along the pixel ray, with a normal of length 10 so that r . N is 0.1:
    // projected, but the point itself stands for where the pixel ray crosses it.
    TavPoint const r = {-10 / 180.27756f, 0, 180 / 180.27756f}, across = {r.z, 0, -r.x};
    TavPoint const nearlyAlong = {10 * (0.99995f * across.x + 0.01f * r.x), 0,
                                  10 * (0.99995f * across.z + 0.01f * r.z)};
    struct {
        TavPoint normal, stored;
        int rays;
    } const cases[] = {
        {{1e-5f, 0, 0}, {1e-5f, 0, 0}, 1},  // degenerate: stored as it came
        {{nan, 0, 1}, {nan, 0, 1}, 1},
        {{18, 0, 1}, Holvane::Internal::normalised({18, 0, 1}), 1},  // camera 1 sees this plane edge-on
        {{0.1f, 0, -1}, {0, 0, -1}, 2},  // projected: the pixel ray's own hit, with the wall's normal
        {nearlyAlong, {0, 0, -1}, 2},
    };
    for (auto const& c : cases) {
        DetectPlaqueInfo const p = probeOnce(sampleOf(0, 5, 5, kPoint, c.normal));
        EXPECT_TRUE(atPixelOfCamera1(p) && !p.isExtrapolated && !p.isTransparent) << c.normal.x;
        EXPECT_TRUE(sameVector(p.normal, c.stored)) << c.normal.x;
        EXPECT_EQ(scene.calls, c.rays) << c.normal.x;
        EXPECT_NEAR(p.distance, c.rays == 1 ? 180.27756f : 180.0f / pixelRay.z, 1e-3f) << c.normal.x;
        EXPECT_TRUE(covered(px, py, 1));
    }
}

// The point lies on a speck that the pixel ray of camera 1 misses. Behind it a wall, then nothing at all.
TEST_F(Probes, APixelRayThatMeetsSomethingElseOrNothing)
{
    TavPoint const offset = {10 + pixelRay.x * 180 / pixelRay.z, pixelRay.y * 180 / pixelRay.z, 0};
    ASSERT_GT(std::hypot(offset.x, offset.y), 0.05f);  // where that ray crosses the speck's plane
    scene.spheres.push_back({{0, 0, 200.01}, 0.01});
    scene.planes.push_back({{0, 0, 215}, {0, 0, -1}});
    HvDetectSample const sample = sampleOf(0, 5, 5, kPoint, {0, 0, -1});

    // On the wall: the plaque is taken on the sample's plane, flagged, and claims no pixel, so it repeats.
    DetectPlaqueInfo const p = probeOnce(sample);
    EXPECT_TRUE(atPixelOfCamera1(p) && p.isExtrapolated && sameVector(p.normal, {0, 0, -1}));
    EXPECT_NEAR(p.distance, 180.0f / pixelRay.z, 1e-3f);
    EXPECT_FALSE(covered(px, py, 1));
    HvProcessDetectSample(&tracer, sample, 0);
    EXPECT_EQ(plaques().size(), 2u);

    // On nothing: the opaque probe passes the camera over and the sample's own plaque stands; the transparent
    // one rests at the point itself.
    scene.planes.clear();
    DetectPlaqueInfo provisional;
    provisional.distance = std::sqrt(40900.0f), provisional.x = 5, provisional.y = 5;
    provisional.normal = {0, 0, -1};
    EXPECT_TRUE(samePlaque(probeOnce(sample), provisional));
    EXPECT_TRUE(covered(5, 5, 0));

    // Nor does the host's tracer see the glass itself: nothing stands before the point all the same.
    scene.spheres.clear();
    HvDetectSample glass = sample;
    glass.isTransparent = true;
    s().layerDistanceSlots = std::make_unique<Holvane::Internal::LayerDistanceSlots>();
    DetectPlaqueInfo const t = probeOnce(glass);
    EXPECT_TRUE(atPixelOfCamera1(t) && t.isTransparent && !t.isExtrapolated);
    EXPECT_TRUE(sameBits(t.distance, std::sqrt(32500.0f)) && sameVector(t.normal, {0, 0, -1}));
}

// Camera 0 faces the wall best, camera 1 a little less squarely but weighs less, camera 2 sees it from behind
// and weighs least. The tolerance says how much worse than the best a camera may face the point and still
// compete by weight, on the best camera's side only.
TEST_F(Probes, TheToleranceLetsALighterCameraOfTheSameSideTakeThePoint)
{
    useRig({{{0, 0, 0}, 10}, {{20, 0, 0}, 2}, {{0, 0, 400}, 0}});
    pixelTowards(1, kPoint, px, py, &pixelRay);
    scene.planes.push_back({{0, 0, 200}, {0, 0, -1}});
    // Camera 1 faces it with 200 / 40400 = 0.00495, camera 0 with 0.005: a tolerance of 0.005 leaves it out.
    struct {
        double tolerance;
        bool camera1;
    } const cases[] = {{0.0, false}, {0.005, false}, {0.25, true}, {1.0, true}};
    for (auto const& c : cases) {
        s().renderingContext.tolerance = c.tolerance;
        DetectPlaqueInfo const p = probeOnce(sampleOf(0, 17, 33, kPoint, {0, 0, -1}));
        if (c.camera1)
            EXPECT_TRUE(atPixelOfCamera1(p) && sameVector(p.normal, {0, 0, -1})) << c.tolerance;
        else
            EXPECT_TRUE(p.cameraIndex == 0 && p.x == 17 && p.y == 33 && p.distance == 200.0f) << c.tolerance;
    }
}

TEST_F(Probes, HairGoesToTheBestFacingCameraThatSeesItAtItsHit)
{
    scene.planes.push_back({{0, 0, 200}, {0, 0, -1}});
    HvDetectSample sample = sampleOf(0, 5, 5, kPoint, {0, 0, -1});
    sample.isHair = true;
    s().renderingContext.tolerance = 1.0;  // no part in it
    s().buckets[0].plaques.clear();
    TavRGBA const colour = HvProcessDetectSample(&tracer, sample, 0);
    EXPECT_TRUE(sameColour(colour, {1, float(1 / 60.0), 0, 1}));
    ASSERT_EQ(plaques().size(), 1u);
    DetectPlaqueInfo const& p = plaques()[0];
    EXPECT_TRUE(atPixelOfCamera1(p) && p.isHair && !p.isTransparent && !p.isExtrapolated);
    EXPECT_TRUE(sameVector(p.normal, {0, 0, -1}));
    EXPECT_NEAR(p.distance, 180.27756f, 1e-3f);
    EXPECT_EQ(scene.calls, 1);  // no projection
    EXPECT_FALSE(covered(px, py, 1));

    DetectPlaqueInfo notHair;
    log.lines.clear();
    EXPECT_THROW(Holvane::Internal::castHairProbe(tracer, kPoint, {0, 0, -1}, notHair), std::exception);
    EXPECT_EQ(log.only(), "4|processing a sample that is not from hair");
}
