#include <holvane/plaque.h>

#include "camera_session.h"

#include <algorithm>
#include <limits>

using HolvaneTest::same;

namespace {

constexpr unsigned kCentre = 146;

bool samePlaque(Plaque const& a, Plaque const& b)
{
    return a.cameraIndex == b.cameraIndex && a.x == b.x && a.y == b.y && a.normalIsValid == b.normalIsValid &&
           a.isFrontFacing == b.isFrontFacing && same(a.normal, b.normal) && a.distance == b.distance &&
           a.incidence == b.incidence && a.size == b.size && same(a.center, b.center) &&
           std::equal(a.corners, a.corners + 4, b.corners, same);
}

class PlaqueGeometry : public ::testing::Test {
protected:
    Holvane::Camera::CameraRig rig = Holvane::Internal::buildBoxRig(false);
    RenderingContext context;
    PlaqueGeometry() { context.rig = &rig, context.width = 600, context.height = 400; }
};

}  // namespace

TEST_F(PlaqueGeometry, AFaceOnPlaqueSpansItsPixelOnItsPlane)
{
    TavPoint const d = context.GetCenterDirection(100, 100), normal = {-d.x, -d.y, -d.z};  // almost +X
    Plaque const p = GetPlaqueInfo(context, kCentre, 100, 100, normal, 200.0f, 0, 1.0f);
    EXPECT_TRUE(p.normalIsValid && p.isFrontFacing);
    EXPECT_NEAR(p.incidence, 1.0f, 1e-6f);
    EXPECT_NEAR(p.size, 1.0 / 200.0, 1e-8);
    EXPECT_FLOAT_EQ(p.center.x, d.x * 200.0f);
    for (TavPoint const& c : p.corners)  // on the plane through the centre
        EXPECT_NEAR((c.x - p.center.x) * d.x + (c.y - p.center.y) * d.y + (c.z - p.center.z) * d.z, 0.0f, 1e-4f);
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
    for (TavPoint const& n : {TavPoint{0, 0, 0}, {nan, 1, 0}, {0, inf, 0}, {0.00005f, 0.00008f, 0}}) {
        Plaque const p = GetPlaqueInfo(context, 0, 450, 100, n, 80.0f, 0, 1.0f);
        EXPECT_TRUE(!p.normalIsValid && !p.isFrontFacing && p.incidence == 1.0f);
        EXPECT_TRUE(std::all_of(p.corners, p.corners + 4, [&](TavPoint const& c) { return same(c, p.center); }));
        EXPECT_NEAR(p.size, 1.0 / 80.0, 1e-7);
    }
    EXPECT_TRUE(GetPlaqueInfo(context, 0, 450, 100, {0.0001f, 0, 0}, 80.0f, 0, 1.0f).normalIsValid);  // 1e-8
    // A plane that holds the ray of a corner: that corner stays on the centre instead of running off.
    TavPoint const c = context.GetDirection(upLeftPos, 250, 50), m = context.GetCenterDirection(250, 50);
    TavPoint const normal = {c.y * m.z - c.z * m.y, c.z * m.x - c.x * m.z, c.x * m.y - c.y * m.x};
    Plaque const grazing = GetPlaqueInfo(context, kCentre, 250, 50, normal, 120.0f, 0, 1.0f);
    EXPECT_TRUE(grazing.normalIsValid && same(grazing.corners[upLeftPos], grazing.center));
}

TEST_F(PlaqueGeometry, ALevelIsThePlaqueOfTheReducedImageAndTablesChangeNothing)
{
    context.width = 4000, context.height = 2000;
    RenderingContext reduced = context;
    reduced.width = 1000, reduced.height = 500;
    TavPoint const normal = {0.3f, -0.2f, -0.9f};
    Plaque const coarse = GetPlaqueInfo(context, 17, 100, 60, normal, 55.0f, 2, 1.5f);
    EXPECT_TRUE(samePlaque(coarse, GetPlaqueInfo(reduced, 17, 25, 15, normal, 55.0f, 0, 1.5f)));

    RenderingContext tabled = reduced;
    tabled.InitLookup();
    ASSERT_EQ(tabled.cornerDirections[2].size(), 1000u * 500u);
    for (auto [x, y] : {std::make_pair(0, 0), {999, 499}, {333, 250}, {345, 12}}) {
        EXPECT_TRUE(same(tabled.GetCenterDirection(x, y), reduced.GetCenterDirection(x, y)));
        EXPECT_TRUE(samePlaque(GetPlaqueInfo(tabled, 40, x, y, normal, 33.0f, 0, 1.0f),
                               GetPlaqueInfo(reduced, 40, x, y, normal, 33.0f, 0, 1.0f)));
    }
    tabled.ReleaseLookup();
    EXPECT_TRUE(!tabled.lookupReady && tabled.centerDirections.empty() && tabled.cornerDirections[3].empty());
}

TEST_F(PlaqueGeometry, RecordFormsAndPointFunctionsAgreeWithTheExplicitForm)
{
    TavPoint const normal = {0.5f, -0.25f, -1.0f};  // exact in half precision
    Plaque const p = GetPlaqueInfo(context, 12, 321, 250, normal, 64.5f, 0, 1.25f);
    Holvane::BinIO::DetectPlaqueInfo detect;
    Holvane::BinIO::hlvRenderSample5_t sample;
    Holvane::Binary::tavbin merged;
    detect.cameraIndex = sample.cameraIndex = merged.cameraIndex = 12;
    detect.x = sample.x = merged.x = 321;
    detect.y = sample.y = merged.y = 250;
    detect.distance = sample.depth = 64.5f, merged.distance = 64.5;
    detect.normal = merged.normal = normal;
    sample.normal = {half_float::half(0.5f), half_float::half(-0.25f), half_float::half(-1.0f)};
    auto agrees = [&](auto const& record) {
        return samePlaque(GetPlaqueInfo(context, record, 1.25f), p) && same(GetPlaqueCenter(context, record), p.center);
    };
    EXPECT_EQ((std::vector<bool>{agrees(detect), agrees(sample), agrees(merged)}), std::vector<bool>(3, true));
    std::array<TavPoint, 4> main, corners;  // and the point functions
    std::array<TavPoint, 8> extended;
    GetPlaqueMainPoints(context, 12, 321, 250, normal, 64.5f, 1.25f, 7, 9, main);
    GetPlaqueExtendedPoints(context, 12, 321, 250, normal, 64.5f, 1.25f, corners, extended);
    auto cornersOfP = [&](std::array<TavPoint, 4> const& a) { return std::equal(a.begin(), a.end(), p.corners, same); };
    EXPECT_TRUE(cornersOfP(GetPlaquePoints(context, p, 1.25f)) && cornersOfP(main) && cornersOfP(corners));
    EXPECT_TRUE(std::equal(extended.begin(), extended.end(), GetExtendedPoints(context, p, 1.25f).begin(), same));
}

TEST(PlaqueShape, DegenerationAndPointTables)
{
    std::array<TavPoint, 4> const square = {TavPoint{0, 1, 0}, TavPoint{1, 1, 0}, TavPoint{0, 0, 0}, TavPoint{1, 0, 0}};
    // The edge p2 - p1 is the square's diagonal, at 0.707 to the top edge: a square is flagged at 0.5, not 0.75.
    EXPECT_TRUE(IsDegenerated(square, 0.5f) && !IsDegenerated(square, 0.75f));
    std::array<TavPoint, 4> const line = {TavPoint{0, 0, 0}, TavPoint{1, 0, 0}, TavPoint{2, 0, 0}, TavPoint{3, 0, 0}};
    EXPECT_TRUE(IsDegenerated(line, 0.99f) && !IsDegenerated(line, 1.0f));  // strict: unit edges never exceed 1
    EXPECT_FALSE(IsDegenerated(std::array<TavPoint, 4>{}, 0.0f));  // zero edges stay zero
    EXPECT_EQ(GetMainPointsPos2D()[upLeftPos].y, 0.9998999834060669f);
    EXPECT_EQ(GetExtendedPointsPos2D()[upPos].y, 9.998679161071777e-05f);  // low y here, unlike the main points
}
