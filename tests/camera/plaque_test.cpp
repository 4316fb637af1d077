#include <holvane/plaque.h>

#include "camera/camera_rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr unsigned kCentre = 146;

// How far `a` lies from the plane through `b` with normal n.
float offPlane(TavPoint const& a, TavPoint const& b, TavPoint const& n)
{
    return (a.x - b.x) * n.x + (a.y - b.y) * n.y + (a.z - b.z) * n.z;
}

bool same(TavPoint const& a, TavPoint const& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

void expectSamePlaque(Plaque const& a, Plaque const& b)
{
    EXPECT_TRUE(a.cameraIndex == b.cameraIndex && a.x == b.x && a.y == b.y);
    EXPECT_TRUE(a.normalIsValid == b.normalIsValid && a.isFrontFacing == b.isFrontFacing);
    EXPECT_TRUE(a.incidence == b.incidence && a.size == b.size && same(a.center, b.center));
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(same(a.corners[i], b.corners[i])) << i;
}

class PlaqueGeometry : public ::testing::Test {
protected:
    Holvane::Camera::CameraRig rig = Holvane::Internal::buildBoxRig(false);
    RenderingContext context;

    void SetUp() override { context.rig = &rig, context.width = 600, context.height = 400; }
};

}  // namespace

TEST_F(PlaqueGeometry, AFaceOnPlaqueSpansItsPixelOnItsPlane)
{
    TavPoint const d = context.GetCenterDirection(100, 100);  // almost +X
    TavPoint const normal = {-d.x, -d.y, -d.z};
    Plaque const p = GetPlaqueInfo(context, kCentre, 100, 100, normal, 200.0f, 0, 1.0f);
    EXPECT_TRUE(p.normalIsValid && p.isFrontFacing);
    EXPECT_NEAR(p.incidence, 1.0f, 1e-6f);
    EXPECT_NEAR(p.size, 1.0 / 200.0, 1e-8);
    EXPECT_FLOAT_EQ(p.center.x, d.x * 200.0f);
    for (TavPoint const& c : p.corners)
        EXPECT_NEAR(offPlane(c, p.center, normal), 0.0f, 1e-4f);
    // A pixel of a 200-pixel face seen from 200 units is about 2 units wide; y grows upwards, z along U.
    EXPECT_NEAR(p.corners[upRightPos].z - p.corners[upLeftPos].z, 2.0f * 0.9998f, 2e-3f);
    EXPECT_NEAR(p.corners[upLeftPos].y - p.corners[downLeftPos].y, 2.0f * 0.9998f, 2e-3f);

    Plaque const doubled = GetPlaqueInfo(context, kCentre, 100, 100, normal, 200.0f, 0, 2.0f);
    EXPECT_NEAR(doubled.corners[downRightPos].z - p.center.z, 2.0f * (p.corners[downRightPos].z - p.center.z), 1e-4f);
    EXPECT_FALSE(GetPlaqueInfo(context, kCentre, 100, 100, d, 200.0f, 0, 1.0f).isFrontFacing);
}

TEST_F(PlaqueGeometry, InvalidAndGrazingNormalsKeepCornersOnTheCentre)
{
    float const nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    TavPoint const normals[] = {{0, 0, 0}, {nan, 1, 0}, {0, inf, 0}, {0.00005f, 0.00008f, 0}};
    for (TavPoint const& n : normals) {
        Plaque const p = GetPlaqueInfo(context, 0, 450, 100, n, 80.0f, 0, 1.0f);
        EXPECT_TRUE(!p.normalIsValid && !p.isFrontFacing && p.incidence == 1.0f);
        for (TavPoint const& c : p.corners)
            EXPECT_TRUE(same(c, p.center));
        EXPECT_NEAR(p.size, 1.0 / 80.0, 1e-7);
    }
    EXPECT_TRUE(GetPlaqueInfo(context, 0, 450, 100, {0.0001f, 0, 0}, 80.0f, 0, 1.0f).normalIsValid);  // 1e-8

    // A plane that holds the ray of a corner: that corner stays on the centre instead of running off.
    TavPoint const c = context.GetDirection(upLeftPos, 250, 50), m = context.GetCenterDirection(250, 50);
    TavPoint const normal = {c.y * m.z - c.z * m.y, c.z * m.x - c.x * m.z, c.x * m.y - c.y * m.x};
    Plaque const grazing = GetPlaqueInfo(context, kCentre, 250, 50, normal, 120.0f, 0, 1.0f);
    ASSERT_TRUE(grazing.normalIsValid);
    EXPECT_TRUE(same(grazing.corners[upLeftPos], grazing.center));
}

TEST_F(PlaqueGeometry, ALevelIsThePlaqueOfTheReducedImageAndTablesChangeNothing)
{
    context.width = 4000;
    context.height = 2000;
    RenderingContext reduced = context;
    reduced.width = 1000;
    reduced.height = 500;
    TavPoint const normal = {0.3f, -0.2f, -0.9f};
    Plaque const coarse = GetPlaqueInfo(context, 17, 100, 60, normal, 55.0f, 2, 1.5f);
    EXPECT_TRUE(coarse.x == 25 && coarse.y == 15);
    expectSamePlaque(coarse, GetPlaqueInfo(reduced, 17, 25, 15, normal, 55.0f, 0, 1.5f));

    RenderingContext tabled = reduced;
    tabled.InitLookup();
    ASSERT_EQ(tabled.cornerDirections[2].size(), 1000u * 500u);
    int const pixels[][2] = {{0, 0}, {999, 499}, {333, 250}, {345, 12}};
    for (auto const& px : pixels) {
        EXPECT_TRUE(same(tabled.GetCenterDirection(px[0], px[1]), reduced.GetCenterDirection(px[0], px[1])));
        expectSamePlaque(GetPlaqueInfo(tabled, 40, px[0], px[1], normal, 33.0f, 0, 1.0f),
                         GetPlaqueInfo(reduced, 40, px[0], px[1], normal, 33.0f, 0, 1.0f));
    }
    tabled.ReleaseLookup();
    EXPECT_TRUE(!tabled.lookupReady && tabled.centerDirections.empty() && tabled.cornerDirections[3].empty());
}

TEST_F(PlaqueGeometry, RecordFormsAndPointFunctionsAgreeWithTheExplicitForm)
{
    TavPoint const normal = {0.5f, -0.25f, -1.0f};  // exact in half precision
    Plaque const p = GetPlaqueInfo(context, 12, 321, 250, normal, 64.5f, 0, 1.25f);
    auto identify = [](auto& record) -> auto& {
        record.cameraIndex = 12;
        record.x = 321;
        record.y = 250;
        return record;
    };
    Holvane::BinIO::DetectPlaqueInfo detect;
    Holvane::BinIO::hlvRenderSample5_t sample;
    Holvane::Binary::tavbin merged;
    identify(detect).distance = 64.5f;
    identify(sample).depth = 64.5f;
    identify(merged).distance = 64.5;
    detect.normal = merged.normal = normal;
    sample.normal = {half_float::half(0.5f), half_float::half(-0.25f), half_float::half(-1.0f)};
    expectSamePlaque(GetPlaqueInfo(context, detect, 1.25f), p);
    expectSamePlaque(GetPlaqueInfo(context, sample, 1.25f), p);
    expectSamePlaque(GetPlaqueInfo(context, merged, 1.25f), p);
    EXPECT_TRUE(same(GetPlaqueCenter(context, detect), p.center) && same(GetPlaqueCenter(context, sample), p.center) &&
                same(GetPlaqueCenter(context, merged), p.center));

    std::array<TavPoint, 4> const points = GetPlaquePoints(context, p, 1.25f);
    std::array<TavPoint, 4> main, corners;
    std::array<TavPoint, 8> extended;
    GetPlaqueMainPoints(context, 12, 321, 250, normal, 64.5f, 1.25f, 7, 9, main);
    GetPlaqueExtendedPoints(context, 12, 321, 250, normal, 64.5f, 1.25f, corners, extended);
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(same(points[i], p.corners[i]) && same(main[i], p.corners[i]) && same(corners[i], p.corners[i]));
    std::array<TavPoint, 8> const again = GetExtendedPoints(context, p, 1.25f);
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(same(again[i], extended[i]));
}

TEST(PlaqueShape, DegenerationAndPointTables)
{
    std::array<TavPoint, 4> const square = {TavPoint{0, 1, 0}, TavPoint{1, 1, 0}, TavPoint{0, 0, 0}, TavPoint{1, 0, 0}};
    // The edge p2 - p1 is the square's diagonal, at 0.707 to the top edge: a square is flagged at 0.5, not 0.75.
    EXPECT_TRUE(IsDegenerated(square, 0.5f));
    EXPECT_FALSE(IsDegenerated(square, 0.75f));
    std::array<TavPoint, 4> const line = {TavPoint{0, 0, 0}, TavPoint{1, 0, 0}, TavPoint{2, 0, 0}, TavPoint{3, 0, 0}};
    EXPECT_TRUE(IsDegenerated(line, 0.99f));
    EXPECT_FALSE(IsDegenerated(line, 1.0f));                     // strict: unit edges never exceed 1
    EXPECT_FALSE(IsDegenerated(std::array<TavPoint, 4>{}, 0.0f));  // zero edges stay zero

    EXPECT_EQ(GetMainPointsPos2D()[upLeftPos].y, 0.9998999834060669f);
    EXPECT_EQ(GetExtendedPointsPos2D()[upPos].y, 9.998679161071777e-05f);  // low y here, unlike the main points
}
