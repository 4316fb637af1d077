#include <holvane/camera.h>

#include "camera/cube_image.h"
#include "camera_session.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace Holvane::Camera;
using HolvaneTest::CameraSession;

namespace {

constexpr unsigned long long kCentre = 146;  // sees every direction from the box's centre

class DetectRays : public CameraSession {
protected:
    void SetUp() override
    {
        CameraSession::SetUp();
        buildRig();
    }
};

// Where pixel (x, y) of a 600 x 400 image looks, from its position inside its 200-pixel cell:
// axis + k * (a * alongU + b * alongV) with a, b in (-1, 1).
TavPoint expectedDirection(int x, int y)
{
    struct Cell {
        TavPoint axis, alongU, alongV;
    };
    Cell const cells[6] = {
        {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}},  {{0, 0, 1}, {-1, 0, 0}, {0, 1, 0}},  {{-1, 0, 0}, {0, 0, -1}, {0, 1, 0}},
        {{0, 0, -1}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 0}, {-1, 0, 0}, {0, 0, -1}}, {{0, -1, 0}, {-1, 0, 0}, {0, 0, 1}},
    };
    Cell const& c = cells[(y / 200) * 3 + x / 200];
    double const a = (x % 200 + 0.5) / 100.0 - 1.0;
    double const b = (y % 200 + 0.5) / 100.0 - 1.0;
    double const k = 0.9999999;
    double const v[3] = {c.axis.x + k * (a * c.alongU.x + b * c.alongV.x),
                         c.axis.y + k * (a * c.alongU.y + b * c.alongV.y),
                         c.axis.z + k * (a * c.alongU.z + b * c.alongV.z)};
    double const length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    return {float(v[0] / length), float(v[1] / length), float(v[2] / length)};
}

void expectZeroRay(HvCameraRay const& ray)
{
    HvCameraRay zero = {};
    EXPECT_FALSE(ray.valid);
    EXPECT_EQ(std::memcmp(&ray.origin, &zero.origin, sizeof(TavPoint) * 4), 0);
}

}  // namespace

TEST_F(DetectRays, GoThroughThePixelCentreOfEveryFace)
{
    int const pixels[][2] = {{13, 150}, {250, 7}, {599, 199}, {0, 399}, {333, 210}, {470, 388}, {100, 100}};
    for (auto const& p : pixels) {
        SCOPED_TRACE(testing::Message() << p[0] << "," << p[1]);
        HvCameraRay const ray = HvGetRayDetectPhase(kCentre, p[0] + 0.9, p[1] + 0.1);
        TavPoint const expected = expectedDirection(p[0], p[1]);
        EXPECT_TRUE(ray.valid);
        EXPECT_NEAR(ray.direction.x, expected.x, 1e-6);
        EXPECT_NEAR(ray.direction.y, expected.y, 1e-6);
        EXPECT_NEAR(ray.direction.z, expected.z, 1e-6);
        EXPECT_EQ(ray.origin.x, 0.0f);
        float const du = std::fabs(ray.directionDu.x) + std::fabs(ray.directionDu.y) + std::fabs(ray.directionDu.z);
        float const dv = std::fabs(ray.directionDv.x) + std::fabs(ray.directionDv.y) + std::fabs(ray.directionDv.z);
        EXPECT_EQ(du, 3.0f * 0.9999999f);
        EXPECT_EQ(dv, 2.0f * 0.9999999f);
    }
    EXPECT_EQ(s().rayCounters[150 * 600 + 13], 1u);
}

TEST_F(DetectRays, OutsideTheImageOrTheRigGiveTheZeroRay)
{
    expectZeroRay(HvGetRayDetectPhase(kCentre, 600.0, 10.0));
    expectZeroRay(HvGetRayDetectPhase(kCentre, 10.0, 400.0));
    expectZeroRay(HvGetRayDetectPhase(kCentre, -0.25, 10.0));
    expectZeroRay(HvGetRayDetectPhase(kCentre, std::nan(""), 10.0));
    expectZeroRay(HvGetRayDetectPhase(256, 10.0, 10.0));
    s().renderingContext.rig.cameraWeights[5] = -1.0f;
    expectZeroRay(HvGetRayDetectPhase(5, 10.0, 10.0));

    HvCameraRay const last = HvGetRayDetectPhase(kCentre, 599.75, 10.0);
    HvCameraRay const centre = HvGetRayDetectPhase(kCentre, 599.0, 10.0);
    EXPECT_TRUE(last.valid);
    EXPECT_EQ(last.direction.x, centre.direction.x);
    EXPECT_EQ(last.direction.z, centre.direction.z);

    s().renderingHeight = Holvane::Internal::Optional<double>();
    EXPECT_THROW(HvGetRayDetectPhase(kCentre, 1.0, 1.0), std::exception);
}

TEST_F(DetectRays, AFaceMaskRefusesButFillsTheRayAndCountsNothing)
{
    // Camera 0 sits on the edge of the -Z and -X faces (mask 9).
    HvCameraRay const away = HvGetRayDetectPhase(0, 450.0, 100.0);  // face -X
    EXPECT_TRUE(away.valid);
    EXPECT_FLOAT_EQ(away.origin.x, -50.0f);
    EXPECT_FLOAT_EQ(away.origin.y, 30.0f);

    HvCameraRay const into = HvGetRayDetectPhase(0, 150.0, 100.0);  // face +X, towards +Z
    EXPECT_FALSE(into.valid);
    EXPECT_GT(into.direction.x, 0.8f);
    EXPECT_FLOAT_EQ(into.origin.z, -50.0f);
    EXPECT_EQ(s().rayCounters[100 * 600 + 150], 0u);
    EXPECT_EQ(s().rayCounters[100 * 600 + 450], 1u);
}

TEST_F(DetectRays, DraftModeAndFinishedCamerasGiveTheZeroRay)
{
    s().cameraPixelCoverage[20][30].set(kCentre);
    expectZeroRay(HvGetRayDetectPhase(kCentre, 20.5, 30.5));
    s().transparencyMode = Holvane::Phase::TRANSP;  // transparent passes shoot again
    EXPECT_TRUE(HvGetRayDetectPhase(kCentre, 20.5, 30.5).valid);
    s().transparencyMode = Holvane::Phase::BOTH;
    EXPECT_TRUE(HvGetRayDetectPhase(kCentre, 20.5, 30.5).valid);

    s().draftMode = true;
    buildRig();
    expectZeroRay(HvGetRayDetectPhase(1, 20.5, 30.5));
    HvCameraRay const only = HvGetRayDetectPhase(0, 20.5, 30.5);
    EXPECT_TRUE(only.valid);
    EXPECT_EQ(only.origin.x, 0.0f);
}

TEST_F(DetectRays, TheClippingSphereDropsRaysThatMissItUnlessInverted)
{
    s().clipEnabled = true;
    s().clipCenterLocal = {0.0f, 0.0f, 500.0f};
    s().clipRadius = 10.0f;
    EXPECT_TRUE(HvGetRayDetectPhase(kCentre, 299.5, 99.5).valid);   // towards +Z, ahead
    HvCameraRay const behind = HvGetRayDetectPhase(kCentre, 99.5, 299.5);  // towards -Z
    EXPECT_FALSE(behind.valid);
    EXPECT_LT(behind.direction.z, -0.9f);
    EXPECT_EQ(s().rayCounters[299 * 600 + 99], 0u);

    s().clipInverted = true;
    EXPECT_TRUE(HvGetRayDetectPhase(kCentre, 99.5, 299.5).valid);

    // A sphere around the camera keeps every direction.
    s().clipInverted = false;
    s().clipCenterLocal = {1.0f, 2.0f, 3.0f};
    for (int x = 0; x < 600; x += 37)
        for (int y = 0; y < 400; y += 41)
            ASSERT_TRUE(HvGetRayDetectPhase(kCentre, x, y).valid) << x << "," << y;
}

TEST(ClipSphere, HitsAheadAndAroundButNotBehind)
{
    using Holvane::Internal::clipSphereHit;
    TavPoint const origin = {0, 0, 0};
    TavPoint const forward = {0, 0, 1};
    EXPECT_TRUE(clipSphereHit(origin, forward, {0, 0, 5}, 1.0f));
    EXPECT_FALSE(clipSphereHit(origin, forward, {0, 0, -5}, 1.0f));
    EXPECT_TRUE(clipSphereHit(origin, forward, {0, 0, -0.5f}, 1.0f));  // the origin is inside
    EXPECT_FALSE(clipSphereHit(origin, forward, {0, 1.0f, 5}, 1.0f));  // tangent: D = 0 is below the limit
    EXPECT_FALSE(clipSphereHit(origin, forward, {0, 2.0f, 5}, 1.0f));
}

namespace {

class RenderRays : public CameraSession {
protected:
    void SetUp() override
    {
        CameraSession::SetUp();
        buildRig();
        s().phase = Holvane::Phase::PHASE_RENDER;
        s().renderingWidth = 4.0;
        s().renderingHeight = 2.0;
        s().rayCounters.assign(8, 0);
        s().detectPlaques.resize(11);
        place(0, kCentre, 100, 100, 0);
        place(5, kCentre, 200, 100, 1);
        place(9, 0, 450, 100, 0);
    }

    void place(int i, unsigned camera, int x, int y, int level)
    {
        Holvane::BinIO::DetectPlaqueInfo& p = s().detectPlaques[i];
        p.cameraIndex = std::uint8_t(camera);
        p.x = std::uint16_t(x);
        p.y = std::uint16_t(y);
        p.level = std::uint8_t(level);
    }
};

}  // namespace

TEST_F(RenderRays, CrossThePlaqueAtTheSubPixelFraction)
{
    HvCameraRay const ray = HvGetRayRenderPhase(0.25, 0.75);
    TavPoint const expected =
        Holvane::Internal::cubeDirection(float(100.25 / 600.0), float(100.75 / 400.0)).direction;
    EXPECT_TRUE(ray.valid);
    EXPECT_EQ(ray.direction.x, expected.x);
    EXPECT_EQ(ray.direction.y, expected.y);
    EXPECT_EQ(ray.direction.z, expected.z);
    EXPECT_EQ(s().rayCounters[0], 1u);

    // Level 1: the fractions walk over two output pixels, in an image of half the size.
    HvCameraRay const coarse = HvGetRayRenderPhase(1.5, 1.0);
    TavPoint const wide = Holvane::Internal::cubeDirection(float(100.5 / 300.0), float(50.0 / 200.0)).direction;
    EXPECT_EQ(coarse.direction.x, wide.x);
    EXPECT_EQ(coarse.direction.z, wide.z);
}

TEST_F(RenderRays, UseTheBlockOffsetAndNoFaceMaskAndCountPerBlock)
{
    s().currentBlock = 1ULL;
    // Plaque 9 is pixel (1, 0) of block 1; camera 0 could not shoot this way, but no mask applies here.
    HvCameraRay const ray = HvGetRayRenderPhase(1.0, 0.0);
    EXPECT_TRUE(ray.valid);
    EXPECT_FLOAT_EQ(ray.origin.x, -50.0f);
    EXPECT_EQ(s().rayCounters[1], 1u);

    // Pixel (3, 0) of block 1 is index 11: past the last plaque.
    expectZeroRay(HvGetRayRenderPhase(3.0, 0.0));
    EXPECT_EQ(s().rayCounters[3], 0u);
    expectZeroRay(HvGetRayRenderPhase(4.0, 0.0));

    s().clipEnabled = true;
    s().clipCenterLocal = {0.0f, 0.0f, 500.0f};
    s().clipRadius = 10.0f;
    EXPECT_FALSE(HvGetRayRenderPhase(1.0, 0.0).valid);
    EXPECT_EQ(s().rayCounters[1], 2u);  // counted all the same
}

TEST_F(RenderRays, SpecularRaysStartAtTheSpecularPoint)
{
    s().specularPointOffset = TavPoint{0.5f, -0.25f, 1.0f};
    s().zovScaling = {2.0f, 1.0f, 4.0f};
    s().renderScale = 4.0f;
    HvCameraRay const ray = HvGetSpecularRay(1.0, 0.5);
    EXPECT_TRUE(ray.valid);
    EXPECT_EQ(ray.origin.x, 25.0f);
    EXPECT_EQ(ray.origin.y, -6.25f);
    EXPECT_EQ(ray.origin.z, 100.0f);
    TavPoint const expected = Holvane::Internal::cubeDirection(0.25f, 0.25f).direction;
    EXPECT_EQ(ray.direction.x, expected.x);
    EXPECT_EQ(ray.direction.z, expected.z);
    EXPECT_EQ(s().rayCounters[0], 0u);
}

TEST_F(DetectRays, ProximityNeedsTenPercentAndOnePixelAngle)
{
    EXPECT_TRUE(HvIsAtProximity(100.0f, 100.0f, 1.0f));
    EXPECT_FALSE(HvIsAtProximity(100.0f, 112.0f, 100.0f));  // more than ten per cent apart
    EXPECT_FALSE(HvIsAtProximity(100.0f, 105.0f, 1.0f));    // close, but seen from 100 units apart
    EXPECT_TRUE(HvIsAtProximity(100.0f, 105.0f, 100.0f));   // the same seen from 10000
    s().renderingContext.context.renderScale = 0.01f;       // both depths shrink to 1 and 1.05
    EXPECT_TRUE(HvIsAtProximity(100.0f, 105.0f, 1.0f));
}

TEST(EyeShift, FadesOutAlongTheSmoothStep)
{
    EXPECT_EQ(getEyeShiftFactor(0.0f, 0.0f), 1.0f);
    EXPECT_EQ(getEyeShiftFactor(5000.0f / 3.1825f * 0.999f, 1.0f), 1.0f);
    EXPECT_EQ(getEyeShiftFactor(5500.0f / 3.1825f, 1.0f), 0.0f);
    EXPECT_NEAR(getEyeShiftFactor(5250.0f / 3.1825f, 1.0f), 0.5f, 1e-3f);
    EXPECT_NEAR(getEyeShiftFactor(-5250.0f / 3.1825f, -1.0f), 0.5f, 1e-3f);
    EXPECT_EQ(getEyeShiftFactor(1.0f, 0.0f), 0.0f);  // b of 0 becomes the float epsilon
}
