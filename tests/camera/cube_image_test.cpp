#include "camera/cube_image.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Holvane::Internal;

// The directions and derivatives of every cell are checked through the rays of the detection phase.
TEST(CubeImage, CellsSplitAtAThirdAndAtHalfHeight)
{
    // u = 1/3 gives U = -0.33333331, in the middle column; the float below gives -0.33333337.
    EXPECT_EQ(cubeFace(1.0f / 3, 0.25f), 1);
    EXPECT_EQ(cubeFace(std::nextafter(1.0f / 3, 0.0f), 0.25f), 0);
    EXPECT_EQ(cubeFace(0.5f, 0.5f), 4);
    EXPECT_EQ(cubeFace(0.5f, std::nextafter(0.5f, 0.0f)), 1);
    EXPECT_EQ(cubeFace(1.0f, 1.0f), 5);
}

TEST(CubeImage, InverseAndSnappingReturnToThePixel)
{
    for (int i = 0; i < 60; ++i) {
        for (int j = 0; j < 40; ++j) {
            float const u = (i + 0.5f) / 60.0f, v = (j + 0.5f) / 40.0f;
            TavPoint2 const back = cubeCoordinates(cubeDirection(u, v).direction);
            ASSERT_NEAR(back.x, u, 2e-6f) << i << "," << j;
            ASSERT_NEAR(back.y, v, 2e-6f) << i << "," << j;
        }
    }
    TavPoint2 const zero = cubeCoordinates({0, 0, 0});  // face 3, at U = -2/3, V = 0
    EXPECT_EQ(zero.x, -0.6666667f * 0.5f + 0.5f);
    EXPECT_EQ(zero.y, 0.75f);

    // Rounding, not flooring: 17.8 goes to pixel 18, 321.2 to 321; past the last column clamps to it.
    TavPoint2 const snapped = snapToPixelCentre(cubeDirection(17.8f / 600, 321.2f / 400).direction, 600, 400);
    EXPECT_FLOAT_EQ(snapped.x, 18.5f / 600);
    EXPECT_FLOAT_EQ(snapped.y, 321.5f / 400);
    EXPECT_FLOAT_EQ(snapToPixelCentre(cubeDirection(0.99999f, 0.1f).direction, 600, 400).x, 599.5f / 600);
}

TEST(CubeImage, SameFaceAndNextRowFollowTheCells)
{
    EXPECT_TRUE(sameFace(0, 0, 199, 199, 400));
    EXPECT_FALSE(sameFace(199, 0, 200, 0, 400));
    EXPECT_FALSE(sameFace(0, 199, 0, 200, 400));
    std::vector<std::uint64_t> const below = nextRowMap(6, 4);
    std::vector<std::uint64_t> const expected = {6,  7,  8,  9,  10, 11, 0, 0, 0, 0, 0, 0,
                                                 18, 19, 20, 21, 22, 23, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(below, expected);
    EXPECT_EQ(nextRowMap(3, 1), std::vector<std::uint64_t>(3, 0));
}
