#include <holvane/camera.h>

#include "camera/cube_image.h"
#include "camera_session.h"

#include <cmath>
#include <cstring>

using namespace Holvane::Camera;
using Holvane::Internal::cubeDirection;
using HolvaneTest::same;

namespace {

constexpr unsigned long long kCentre = 146;  // sees every direction from the box's centre

class Rays : public HolvaneTest::CameraSession {
protected:
    void SetUp() override
    {
        CameraSession::SetUp();
        buildRig();
    }
};

bool isZeroRay(HvCameraRay const& ray)
{
    HvCameraRay const zero = {};
    return !ray.valid && std::memcmp(&ray.origin, &zero.origin, sizeof(TavPoint) * 4) == 0;
}

}  // namespace

// Each 200-pixel cell of the 3 x 2 layout: its axis and the directions in which U and V move. A pixel looks
// along axis + k * (a * U + b * V), a and b in (-1, 1) from its place in the cell; U spans the cell three times
// per unit of u, V twice, both inset by k.
TEST_F(Rays, DetectionGoesThroughThePixelCentreOnEveryFace)
{
    TavPoint const cells[6][3] = {
        {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}},  {{0, 0, 1}, {-1, 0, 0}, {0, 1, 0}},  {{-1, 0, 0}, {0, 0, -1}, {0, 1, 0}},
        {{0, 0, -1}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 0}, {-1, 0, 0}, {0, 0, -1}}, {{0, -1, 0}, {-1, 0, 0}, {0, 0, 1}}};
    int const pixels[][2] = {{13, 150}, {250, 7}, {599, 199}, {0, 399}, {333, 210}, {470, 388}};
    for (auto const& p : pixels) {
        TavPoint const* c = cells[(p[1] / 200) * 3 + p[0] / 200];
        double const a = (p[0] % 200 + 0.5) / 100.0 - 1.0, b = (p[1] % 200 + 0.5) / 100.0 - 1.0;
        auto at = [&](float TavPoint::*f) { return c[0].*f + 0.9999999 * (a * c[1].*f + b * c[2].*f); };
        double const x = at(&TavPoint::x), y = at(&TavPoint::y), z = at(&TavPoint::z), n = std::hypot(x, y, z);
        HvCameraRay const ray = HvGetRayDetectPhase(kCentre, p[0] + 0.9, p[1] + 0.1);  // floored to the pixel
        EXPECT_LT(std::hypot(ray.direction.x - x / n, ray.direction.y - y / n, ray.direction.z - z / n), 1e-6) << p[0];
        float const du = 3.0f * 0.9999999f, dv = 2.0f * 0.9999999f;
        EXPECT_TRUE(ray.valid && same(ray.directionDu, {c[1].x * du, c[1].y * du, c[1].z * du}));
        EXPECT_TRUE(same(ray.directionDv, {c[2].x * dv, c[2].y * dv, c[2].z * dv}));
    }
    EXPECT_EQ(s().rayCounters[150 * 600 + 13], 1u);
}

TEST_F(Rays, DetectionRefusesOutsideTheImageTheRigDraftAndFinishedCameras)
{
    double const outside[][3] = {
        {kCentre, 600, 10}, {kCentre, 10, 400}, {kCentre, -0.25, 10}, {kCentre, NAN, 1}, {256, 1, 1}};
    for (auto const& o : outside)
        EXPECT_TRUE(isZeroRay(HvGetRayDetectPhase((unsigned long long)o[0], o[1], o[2]))) << o[0] << " " << o[1];
    s().renderingContext.rig.cameraWeights[5] = -1.0f;
    EXPECT_TRUE(isZeroRay(HvGetRayDetectPhase(5, 10.0, 10.0)));
    s().cameraPixelCoverage[20][30].set(kCentre);
    EXPECT_TRUE(isZeroRay(HvGetRayDetectPhase(kCentre, 20.5, 30.5)));
    s().transparencyMode = Holvane::Phase::BOTH;  // transparent passes shoot again
    EXPECT_TRUE(HvGetRayDetectPhase(kCentre, 20.5, 30.5).valid);
    s().draftMode = true;
    buildRig();
    EXPECT_TRUE(isZeroRay(HvGetRayDetectPhase(1, 20.5, 30.5)) && HvGetRayDetectPhase(0, 20.5, 30.5).valid);
    s().renderingHeight = Holvane::Internal::Optional<double>();
    EXPECT_THROW(HvGetRayDetectPhase(0, 1.0, 1.0), std::exception);
}

TEST_F(Rays, MasksAndTheClippingSphereRefuseButFillTheRayAndCountNothing)
{
    // Camera 0 sits on the edge of the -Z and -X faces (mask 9): face -X is open, +X (slightly towards +Z) not.
    EXPECT_TRUE(HvGetRayDetectPhase(0, 450.0, 100.0).valid);
    HvCameraRay const into = HvGetRayDetectPhase(0, 150.0, 100.0);
    EXPECT_TRUE(!into.valid && into.direction.x > 0.8f && into.origin.y == 30.0f);
    s().clipEnabled = true, s().clipCenterLocal = {0, 0, 500}, s().clipRadius = 10.0f;
    EXPECT_TRUE(HvGetRayDetectPhase(kCentre, 299.5, 99.5).valid);  // towards +Z: ahead
    HvCameraRay const behind = HvGetRayDetectPhase(kCentre, 99.5, 299.5);
    EXPECT_TRUE(!behind.valid && behind.direction.z < -0.9f);
    EXPECT_TRUE(s().rayCounters[100 * 600 + 150] == 0 && s().rayCounters[299 * 600 + 99] == 0);
    s().clipInverted = true;
    EXPECT_TRUE(HvGetRayDetectPhase(kCentre, 99.5, 299.5).valid);
    s().clipInverted = false, s().clipCenterLocal = {1, 2, 3};  // around the camera: all pass
    for (int i = 0; i < 170; ++i)
        ASSERT_TRUE(HvGetRayDetectPhase(kCentre, i % 17 * 37, i / 17 * 41).valid) << i;
    EXPECT_FALSE(Holvane::Internal::clipSphereHit({0, 0, 0}, {0, 0, 1}, {0, 1, 5}, 1.0f));  // a tangent: D = 0 misses
}

TEST_F(Rays, RenderRaysCrossThePlaqueOfTheBlockAtTheSubPixelFraction)
{
    s().phase = Holvane::Phase::PHASE_RENDER, s().renderingWidth = 4.0, s().renderingHeight = 2.0;
    s().rayCounters.assign(8, 0), s().detectPlaques.resize(11);
    s().detectPlaques[0] = {kCentre, 100, 100};  // camera, x, y, three flags, then the level
    s().detectPlaques[5] = {kCentre, 200, 100, 0, 0, 0, 1};
    s().detectPlaques[9] = {0, 450, 100};
    HvCameraRay const ray = HvGetRayRenderPhase(0.25, 0.75);
    EXPECT_TRUE(ray.valid && ray.direction.x == cubeDirection(float(100.25 / 600), float(100.75 / 400)).direction.x);
    // Level 1: the fractions walk over two output pixels of an image of half the size.
    EXPECT_EQ(HvGetRayRenderPhase(1.5, 1.0).direction.z, cubeDirection(float(100.5 / 300), 0.25f).direction.z);
    s().currentBlock = 1ULL;  // plaques 8 to 15
    HvCameraRay const fromEdge = HvGetRayRenderPhase(1.0, 0.0);  // plaque 9: no face mask applies
    EXPECT_TRUE(fromEdge.valid && fromEdge.origin.x == -50.0f);
    EXPECT_TRUE(isZeroRay(HvGetRayRenderPhase(3.0, 0.0)));  // index 11, past the last plaque
    EXPECT_TRUE(isZeroRay(HvGetRayRenderPhase(4.0, 0.0)));  // past the block's width
    s().clipEnabled = true, s().clipCenterLocal = {0, 0, 500}, s().clipRadius = 10.0f;
    EXPECT_FALSE(HvGetRayRenderPhase(1.0, 0.0).valid);
    EXPECT_EQ(s().rayCounters, (std::vector<std::uint16_t>{1, 2, 0, 0, 0, 1, 0, 0}));  // by pixel of the block
}

TEST_F(Rays, SpecularRaysAndTheClosestPixelReadTheSessionScaleAndOutputSize)
{
    s().specularPointOffset = TavPoint{0.5f, -0.25f, 1.0f};
    s().zovScaling = {2.0f, 1.0f, 4.0f}, s().renderScale = 4.0f;
    HvCameraRay const ray = HvGetSpecularRay(1.0, 0.5);
    EXPECT_TRUE(ray.valid && same(ray.origin, {25.0f, -6.25f, 100.0f}));
    EXPECT_EQ(ray.direction.x, cubeDirection(1.0f / 600, 0.5f / 400).direction.x);
    // The closest pixel of a direction, in the output image of the session; none without its height.
    TavPoint const d = Holvane::Internal::pixelDirection(600, 400, 77, 301).direction;
    TavPoint out = {};
    int x = 0, y = 0;
    EXPECT_TRUE(getClosestCamDirXY(d, out, x, y) && x == 77 && y == 301);
    s().outputHeight = Holvane::Internal::Optional<double>();
    EXPECT_THROW(getClosestCamDirXY(d, out, x, y), std::exception);
}

TEST_F(Rays, ProximityNeedsTenPercentAndAPixelAngleAndTheEyeShiftFadesAlongTheSmoothStep)
{
    EXPECT_TRUE(HvIsAtProximity(100.0f, 100.0f, 1.0f));
    EXPECT_FALSE(HvIsAtProximity(100.0f, 112.0f, 100.0f));  // more than ten per cent apart
    EXPECT_FALSE(HvIsAtProximity(100.0f, 105.0f, 1.0f));    // seen from 100 units, more than a pixel apart
    EXPECT_TRUE(HvIsAtProximity(100.0f, 105.0f, 100.0f));   // the same seen from 10000
    // 1.2e-9 inside one pixel's angle (pi / 600) with the depth quotients in double; float quotients fall outside.
    EXPECT_TRUE(HvIsAtProximity(100.000015f, 101.052734f, 1.0f));
    s().renderingContext.context.renderScale = 0.01f;
    EXPECT_TRUE(HvIsAtProximity(100.0f, 105.0f, 1.0f));
    EXPECT_EQ(getEyeShiftFactor(0.0f, 0.0f), 1.0f);
    EXPECT_EQ(getEyeShiftFactor(5000.0f / 3.1825f * 0.999f, 1.0f), 1.0f);
    EXPECT_EQ(getEyeShiftFactor(5500.0f / 3.1825f, 1.0f), 0.0f);
    EXPECT_NEAR(getEyeShiftFactor(-5250.0f / 3.1825f, -1.0f), 0.5f, 1e-3f);
    EXPECT_EQ(getEyeShiftFactor(1.0f, 0.0f), 0.0f);  // b of 0 becomes the float epsilon
}
