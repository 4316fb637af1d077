#include "camera/cube_image.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Holvane::Internal;

namespace {

constexpr float k = 0.9999999f;

struct FaceCase {
    int face;
    float u, v;           // the centre of the face's cell
    TavPoint axis;        // where that centre looks
    TavPoint du, dv;      // unnormalised derivatives, before the inset factor
};

// The six cells of the 3 x 2 layout, lower row first.
FaceCase const kFaces[6] = {
    {0, 1.0f / 6, 0.25f, {1, 0, 0}, {0, 0, 3}, {0, 2, 0}},  {1, 0.5f, 0.25f, {0, 0, 1}, {-3, 0, 0}, {0, 2, 0}},
    {2, 5.0f / 6, 0.25f, {-1, 0, 0}, {0, 0, -3}, {0, 2, 0}}, {3, 1.0f / 6, 0.75f, {0, 0, -1}, {3, 0, 0}, {0, 2, 0}},
    {4, 0.5f, 0.75f, {0, 1, 0}, {-3, 0, 0}, {0, 0, -2}},     {5, 5.0f / 6, 0.75f, {0, -1, 0}, {-3, 0, 0}, {0, 0, 2}},
};

void expectNear(TavPoint const& a, TavPoint const& b, float tolerance)
{
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

}  // namespace

TEST(CubeImage, EachCellLooksAlongItsAxisWithItsDerivatives)
{
    for (FaceCase const& f : kFaces) {
        SCOPED_TRACE(f.face);
        EXPECT_EQ(cubeFace(f.u, f.v), f.face);
        CubeDirection const d = cubeDirection(f.u, f.v);
        expectNear(d.direction, f.axis, 2e-7f);
        EXPECT_EQ(d.du.x, f.du.x * k);
        EXPECT_EQ(d.du.y, f.du.y * k);
        EXPECT_EQ(d.du.z, f.du.z * k);
        EXPECT_EQ(d.dv.x, f.dv.x * k);
        EXPECT_EQ(d.dv.y, f.dv.y * k);
        EXPECT_EQ(d.dv.z, f.dv.z * k);
    }
}

TEST(CubeImage, CellBoundariesBelongToTheRightAndUpperCells)
{
    // u = 1/3 gives U = -0.33333331, inside the middle column; the float below gives U = -0.33333337.
    float const third = 1.0f / 3.0f;
    EXPECT_EQ(cubeFace(third, 0.25f), 1);
    EXPECT_EQ(cubeFace(std::nextafter(third, 0.0f), 0.25f), 0);
    EXPECT_EQ(cubeFace(0.5f, 0.5f), 4);
    EXPECT_EQ(cubeFace(0.5f, std::nextafter(0.5f, 0.0f)), 1);
    EXPECT_EQ(cubeFace(1.0f, 1.0f), 5);
}

TEST(CubeImage, InverseReturnsTheCoordinatesOfEveryFace)
{
    for (int i = 0; i < 60; ++i) {
        for (int j = 0; j < 40; ++j) {
            float const u = (i + 0.5f) / 60.0f;
            float const v = (j + 0.5f) / 40.0f;
            TavPoint2 const back = cubeCoordinates(cubeDirection(u, v).direction);
            EXPECT_NEAR(back.x, u, 2e-6f) << i << "," << j;
            EXPECT_NEAR(back.y, v, 2e-6f) << i << "," << j;
        }
    }
    // No direction at all falls on face 3, at its U = -2/3, V = 0 (with its +0.5 shift).
    TavPoint2 const zero = cubeCoordinates({0, 0, 0});
    EXPECT_EQ(zero.x, -0.6666667f * 0.5f + 0.5f);
    EXPECT_EQ(zero.y, 0.75f);
}

TEST(CubeImage, PixelCentresAndTheirSnapping)
{
    CubeDirection const centre = pixelDirection(600, 400, 17, 321);
    CubeDirection const expected = cubeDirection(17.5f / 600.0f, 321.5f / 400.0f);
    EXPECT_EQ(centre.direction.x, expected.direction.x);
    EXPECT_EQ(centre.direction.y, expected.direction.y);
    EXPECT_EQ(centre.direction.z, expected.direction.z);

    // Rounding, not flooring: 17.8 goes to pixel 18, 321.2 to pixel 321.
    TavPoint2 const snapped = snapToPixelCentre(cubeDirection(17.8f / 600.0f, 321.2f / 400.0f).direction, 600, 400);
    EXPECT_FLOAT_EQ(snapped.x, 18.5f / 600.0f);
    EXPECT_FLOAT_EQ(snapped.y, 321.5f / 400.0f);
    // Past the last column the pixel is clamped to it.
    TavPoint2 const edge = snapToPixelCentre(cubeDirection(0.99999f, 0.1f).direction, 600, 400);
    EXPECT_FLOAT_EQ(edge.x, 599.5f / 600.0f);
}

TEST(CubeImage, SameFaceAndNextRowFollowTheCells)
{
    EXPECT_TRUE(sameFace(0, 0, 199, 199, 400));
    EXPECT_FALSE(sameFace(199, 0, 200, 0, 400));
    EXPECT_FALSE(sameFace(0, 199, 0, 200, 400));
    EXPECT_TRUE(sameFace(599, 399, 400, 200, 400));

    std::vector<std::uint64_t> const below = nextRowMap(6, 4);
    ASSERT_EQ(below.size(), 24u);
    EXPECT_EQ(below[0], 6u);       // (0, 0) -> (0, 1), same cell
    EXPECT_EQ(below[5], 11u);
    EXPECT_EQ(below[6 + 3], 0u);   // (3, 1) -> (3, 2) crosses into the upper row
    EXPECT_EQ(below[12 + 4], 22u);
    for (int x = 0; x < 6; ++x)
        EXPECT_EQ(below[18 + x], 0u);  // the last row has nothing below
    EXPECT_EQ(nextRowMap(3, 1), std::vector<std::uint64_t>(3, 0));
}
