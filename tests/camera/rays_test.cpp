#include <holvane/camera.h>

#include "camera/cube_image.h"
#include "camera_session.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace Holvane::Camera;
using Holvane::Internal::cubeDirection;

namespace {

constexpr unsigned long long kCentre = 146;  // sees every direction from the box's centre

class Rays : public HolvaneTest::CameraSession {
protected:
    void SetUp() override
    {
        CameraSession::SetUp();
        buildRig();
    }
    void clipTo(TavPoint centre, float radius, bool inverted = false)
    {
        s().clipEnabled = true, s().clipCenterLocal = centre, s().clipRadius = radius, s().clipInverted = inverted;
    }
};

// The cells of the 3 x 2 layout: the axis at the centre and the directions in which U and V move.
struct Cell {
    TavPoint axis, alongU, alongV;
} const kCells[6] = {
    {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}},  {{0, 0, 1}, {-1, 0, 0}, {0, 1, 0}},  {{-1, 0, 0}, {0, 0, -1}, {0, 1, 0}},
    {{0, 0, -1}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 0}, {-1, 0, 0}, {0, 0, -1}}, {{0, -1, 0}, {-1, 0, 0}, {0, 0, 1}},
};

Cell const& cellOf(int x, int y)
{
    return kCells[(y / 200) * 3 + x / 200];
}

// Where pixel (x, y) of a 600 x 400 image looks, from its place inside its 200-pixel cell:
// axis + k * (a * alongU + b * alongV), with a and b in (-1, 1).
TavPoint expectedDirection(int x, int y)
{
    Cell const& c = cellOf(x, y);
    double const a = (x % 200 + 0.5) / 100.0 - 1.0, b = (y % 200 + 0.5) / 100.0 - 1.0, k = 0.9999999;
    double const v[3] = {c.axis.x + k * (a * c.alongU.x + b * c.alongV.x),
                         c.axis.y + k * (a * c.alongU.y + b * c.alongV.y),
                         c.axis.z + k * (a * c.alongU.z + b * c.alongV.z)};
    double const n = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    return {float(v[0] / n), float(v[1] / n), float(v[2] / n)};
}

bool isZeroRay(HvCameraRay const& ray)
{
    HvCameraRay zero = {};
    return !ray.valid && std::memcmp(&ray.origin, &zero.origin, sizeof(TavPoint) * 4) == 0;
}

}  // namespace

TEST_F(Rays, DetectionGoesThroughThePixelCentreOnEveryFace)
{
    int const pixels[][2] = {{13, 150}, {250, 7}, {599, 199}, {0, 399}, {333, 210}, {470, 388}};
    for (auto const& p : pixels) {
        HvCameraRay const ray = HvGetRayDetectPhase(kCentre, p[0] + 0.9, p[1] + 0.1);
        TavPoint const e = expectedDirection(p[0], p[1]);
        EXPECT_TRUE(ray.valid);
        EXPECT_TRUE(std::fabs(ray.direction.x - e.x) < 1e-6f && std::fabs(ray.direction.y - e.y) < 1e-6f &&
                    std::fabs(ray.direction.z - e.z) < 1e-6f) << p[0] << "," << p[1];
        // The derivatives: U spans the cell three times per unit of u, V twice, both with the inset factor.
        Cell const& c = cellOf(p[0], p[1]);
        float const du = 3.0f * 0.9999999f, dv = 2.0f * 0.9999999f;
        EXPECT_TRUE(ray.directionDu.x == c.alongU.x * du && ray.directionDu.y == c.alongU.y * du &&
                    ray.directionDu.z == c.alongU.z * du);
        EXPECT_TRUE(ray.directionDv.x == c.alongV.x * dv && ray.directionDv.y == c.alongV.y * dv &&
                    ray.directionDv.z == c.alongV.z * dv);
    }
    EXPECT_EQ(s().rayCounters[150 * 600 + 13], 1u);
    EXPECT_EQ(HvGetRayDetectPhase(kCentre, 599.75, 10).direction.z, HvGetRayDetectPhase(kCentre, 599, 10).direction.z);
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
    EXPECT_TRUE(isZeroRay(HvGetRayDetectPhase(1, 20.5, 30.5)));
    EXPECT_TRUE(HvGetRayDetectPhase(0, 20.5, 30.5).valid);

    s().renderingHeight = Holvane::Internal::Optional<double>();
    EXPECT_THROW(HvGetRayDetectPhase(0, 1.0, 1.0), std::exception);
}

TEST_F(Rays, MasksAndTheClippingSphereRefuseButFillTheRayAndCountNothing)
{
    // Camera 0 sits on the edge of the -Z and -X faces (mask 9).
    EXPECT_TRUE(HvGetRayDetectPhase(0, 450.0, 100.0).valid);  // face -X
    HvCameraRay const into = HvGetRayDetectPhase(0, 150.0, 100.0);  // face +X, slightly towards +Z
    EXPECT_TRUE(!into.valid && into.direction.x > 0.8f && into.origin.y == 30.0f);
    EXPECT_EQ(s().rayCounters[100 * 600 + 150], 0u);

    clipTo({0.0f, 0.0f, 500.0f}, 10.0f);
    EXPECT_TRUE(HvGetRayDetectPhase(kCentre, 299.5, 99.5).valid);  // towards +Z: ahead
    HvCameraRay const behind = HvGetRayDetectPhase(kCentre, 99.5, 299.5);
    EXPECT_TRUE(!behind.valid && behind.direction.z < -0.9f);
    EXPECT_EQ(s().rayCounters[299 * 600 + 99], 0u);
    clipTo({0.0f, 0.0f, 500.0f}, 10.0f, true);
    EXPECT_TRUE(HvGetRayDetectPhase(kCentre, 99.5, 299.5).valid);
    clipTo({1.0f, 2.0f, 3.0f}, 10.0f);  // around the camera: every direction passes
    for (int x = 0; x < 600; x += 37)
        for (int y = 0; y < 400; y += 41)
            ASSERT_TRUE(HvGetRayDetectPhase(kCentre, x, y).valid) << x << "," << y;

    using Holvane::Internal::clipSphereHit;
    EXPECT_TRUE(clipSphereHit({0, 0, 0}, {0, 0, 1}, {0, 0, -0.5f}, 1.0f));
    EXPECT_FALSE(clipSphereHit({0, 0, 0}, {0, 0, 1}, {0, 0, -5}, 1.0f));
    EXPECT_FALSE(clipSphereHit({0, 0, 0}, {0, 0, 1}, {0, 1, 5}, 1.0f));  // tangent: D = 0 is too small
}

TEST_F(Rays, RenderRaysCrossThePlaqueOfTheBlockAtTheSubPixelFraction)
{
    s().phase = Holvane::Phase::PHASE_RENDER;
    s().renderingWidth = 4.0, s().renderingHeight = 2.0;
    s().rayCounters.assign(8, 0);
    s().detectPlaques.resize(11);
    auto place = [this](int i, unsigned camera, int x, int y, int level) {
        auto& p = s().detectPlaques[i];
        p.cameraIndex = std::uint8_t(camera), p.x = std::uint16_t(x), p.y = std::uint16_t(y);
        p.level = std::uint8_t(level);
    };
    place(0, kCentre, 100, 100, 0);
    place(5, kCentre, 200, 100, 1);
    place(9, 0, 450, 100, 0);

    HvCameraRay const ray = HvGetRayRenderPhase(0.25, 0.75);
    EXPECT_TRUE(ray.valid);
    EXPECT_EQ(ray.direction.x, cubeDirection(float(100.25 / 600), float(100.75 / 400)).direction.x);
    // Level 1: the fractions walk over two output pixels of an image of half the size.
    EXPECT_EQ(HvGetRayRenderPhase(1.5, 1.0).direction.z, cubeDirection(float(100.5 / 300), 0.25f).direction.z);

    s().currentBlock = 1ULL;
    s().rayCounters.assign(8, 0);
    HvCameraRay const fromEdge = HvGetRayRenderPhase(1.0, 0.0);  // plaque 9: no face mask applies
    EXPECT_TRUE(fromEdge.valid && fromEdge.origin.x == -50.0f);
    EXPECT_TRUE(isZeroRay(HvGetRayRenderPhase(3.0, 0.0)));  // index 11, past the last plaque
    EXPECT_TRUE(isZeroRay(HvGetRayRenderPhase(4.0, 0.0)));
    clipTo({0.0f, 0.0f, 500.0f}, 10.0f);
    EXPECT_FALSE(HvGetRayRenderPhase(1.0, 0.0).valid);
    EXPECT_EQ(s().rayCounters, (std::vector<std::uint16_t>{0, 2, 0, 0, 0, 0, 0, 0}));  // by pixel of the block
}

TEST_F(Rays, SpecularRaysStartAtTheSpecularPoint)
{
    s().specularPointOffset = TavPoint{0.5f, -0.25f, 1.0f};
    s().zovScaling = {2.0f, 1.0f, 4.0f}, s().renderScale = 4.0f;
    HvCameraRay const ray = HvGetSpecularRay(1.0, 0.5);
    EXPECT_TRUE(ray.valid && ray.origin.x == 25.0f && ray.origin.y == -6.25f && ray.origin.z == 100.0f);
    EXPECT_EQ(ray.direction.x, cubeDirection(1.0f / 600, 0.5f / 400).direction.x);
}

TEST_F(Rays, ProximityNeedsTenPercentAndOnePixelAngle)
{
    EXPECT_TRUE(HvIsAtProximity(100.0f, 100.0f, 1.0f));
    EXPECT_FALSE(HvIsAtProximity(100.0f, 112.0f, 100.0f));  // more than ten per cent apart
    EXPECT_FALSE(HvIsAtProximity(100.0f, 105.0f, 1.0f));    // seen from 100 units, more than a pixel apart
    EXPECT_TRUE(HvIsAtProximity(100.0f, 105.0f, 100.0f));   // the same seen from 10000
    s().renderingContext.context.renderScale = 0.01f;
    EXPECT_TRUE(HvIsAtProximity(100.0f, 105.0f, 1.0f));
}

TEST_F(Rays, TheSessionLookupUsesTheFetchMapAtTheOutputResolution)
{
    TavPoint const d = Holvane::Internal::pixelDirection(600, 400, 77, 301).direction;
    TavPoint out = {};
    int x = 0, y = 0;
    ASSERT_TRUE(getClosestCamDirXY(d, out, x, y));
    EXPECT_TRUE(x == 77 && y == 301);
    s().outputHeight = Holvane::Internal::Optional<double>();
    EXPECT_THROW(getClosestCamDirXY(d, out, x, y), std::exception);
}

TEST(EyeShift, FadesOutAlongTheSmoothStep)
{
    EXPECT_EQ(getEyeShiftFactor(0.0f, 0.0f), 1.0f);
    EXPECT_EQ(getEyeShiftFactor(5000.0f / 3.1825f * 0.999f, 1.0f), 1.0f);
    EXPECT_EQ(getEyeShiftFactor(5500.0f / 3.1825f, 1.0f), 0.0f);
    EXPECT_NEAR(getEyeShiftFactor(-5250.0f / 3.1825f, -1.0f), 0.5f, 1e-3f);
    EXPECT_EQ(getEyeShiftFactor(1.0f, 0.0f), 0.0f);  // b of 0 becomes the float epsilon
}
