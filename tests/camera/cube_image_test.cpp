#include <holvane/camera.h>

#include "camera/cube_image.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Holvane::Camera;
using namespace Holvane::Internal;

// The directions and derivatives of every cell are checked through the rays of the detection phase.
TEST(CubeImage, CellsSplitAtAThirdAndAtHalfHeightForFacesAndRows)
{
    // u = 1/3 gives U = -0.33333331, in the middle column; the float below gives -0.33333337.
    float const belowThird = std::nextafter(1.0f / 3, 0.0f), belowHalf = std::nextafter(0.5f, 0.0f);
    EXPECT_EQ((std::vector<int>{cubeFace(1.0f / 3, 0.25f), cubeFace(belowThird, 0.25f), cubeFace(0.5f, 0.5f),
                                cubeFace(0.5f, belowHalf), cubeFace(1.0f, 1.0f)}), (std::vector<int>{1, 0, 4, 1, 5}));
    EXPECT_TRUE(sameFace(0, 0, 199, 199, 400) && !sameFace(199, 0, 200, 0, 400) && !sameFace(0, 199, 0, 200, 400));
    std::vector<std::uint64_t> const below = {6, 7, 8, 9, 10, 11, 0, 0, 0, 0, 0, 0,  // 0: a cell's last row has none
                                              18, 19, 20, 21, 22, 23, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(nextRowMap(6, 4), below);
    EXPECT_EQ(nextRowMap(3, 1), std::vector<std::uint64_t>(3, 0));
}

TEST(CubeImage, InverseAndSnappingReturnToThePixel)
{
    for (int i = 0; i < 2400; ++i) {  // the centres of a 60 x 40 image
        float const u = (i % 60 + 0.5f) / 60.0f, v = (i / 60 + 0.5f) / 40.0f;
        TavPoint2 const back = cubeCoordinates(cubeDirection(u, v).direction);
        ASSERT_TRUE(std::fabs(back.x - u) <= 2e-6f && std::fabs(back.y - v) <= 2e-6f) << u << "," << v;
    }
    TavPoint2 const zero = cubeCoordinates({0, 0, 0});  // face 3, at U = -2/3, V = 0
    EXPECT_TRUE(zero.x == -0.6666667f * 0.5f + 0.5f && zero.y == 0.75f);
    // Rounding, not flooring: 17.8 goes to pixel 18, 321.2 to 321; past the last column clamps to it.
    TavPoint2 const snapped = snapToPixelCentre(cubeDirection(17.8f / 600, 321.2f / 400).direction, 600, 400);
    EXPECT_FLOAT_EQ(snapped.x, 18.5f / 600);
    EXPECT_FLOAT_EQ(snapped.y, 321.5f / 400);
    EXPECT_FLOAT_EQ(snapToPixelCentre(cubeDirection(0.99999f, 0.1f).direction, 600, 400).x, 599.5f / 600);
}

TEST(ClosestPixel, FindsThePixelOfADirectionWithAndWithoutTheMap)
{
    std::vector<TavPoint> const map = generateFetchMap(600, 400);
    ASSERT_EQ(map.size(), 240000u);
    TavPoint out = {}, other = {};
    int x = -1, y = -1, otherX = -1, otherY = -1;
    for (auto const& p : {std::make_pair(0, 0), {599, 399}, {199, 200}, {200, 199}, {321, 17}}) {
        TavPoint const d = pixelDirection(600, 400, p.first, p.second).direction;
        EXPECT_TRUE(map[p.first + p.second * 600].x == d.x && map[p.first + p.second * 600].z == d.z);
        ASSERT_TRUE(getClosestCamDirXYWithFetchMap(d, 600, 400, map, out, x, y, 2));
        EXPECT_TRUE(x == p.first && y == p.second) << x << "," << y;
        EXPECT_NEAR(out.x * d.x + out.y * d.y + out.z * d.z, 1.0f, 1e-6f);
    }
    for (int i = 0; i < 400; ++i) {  // any direction: both forms agree
        float const t = i * 0.618034f * 6.2831853f, polar = i * 0.0123f;
        TavPoint const d = {std::cos(t) * std::sin(polar), std::cos(polar), std::sin(t) * std::sin(polar)};
        ASSERT_TRUE(getClosestCamDirXYWithFetchMap(d, 600, 400, map, out, x, y, 2));
        ASSERT_TRUE(getClosestCamDirXY(d, 600, 400, other, otherX, otherY));
        ASSERT_TRUE(x == otherX && y == otherY && out.x == other.x) << i;
    }
}

TEST(ClosestPixel, SkipsRowsClampsColumnsAndKeepsTheFirstOfEqualCandidates)
{
    // No direction at all lands on face 3: in a 6 x 4 image the estimate is (1, 3), the rows tried are 1 to 3
    // and the columns -1 to 3, -1 reading column 0. Every dot product is 0, which beats the start of -1.
    std::vector<TavPoint> map(24, TavPoint{0.0f, 0.0f, 1.0f});
    TavPoint out = {};
    int x = -1, y = -1;
    auto find = [&](TavPoint d, int radius) { return getClosestCamDirXYWithFetchMap(d, 6, 4, map, out, x, y, radius); };
    EXPECT_TRUE(find({0, 0, 0}, 2) && x == 0 && y == 1);
    map[0 + 6] = {0.00005f, -0.00009f, 0.0f};  // unusable entries are passed over
    map[1 + 6] = {0.0f, 0.0f, 0.0f};
    EXPECT_TRUE(find({0, 0, 0}, 2) && x == 2 && y == 1);
    EXPECT_TRUE(find({0, 0, 0}, 0) && x == 1 && y == 3);  // radius 0 tries the estimate only
    // (0, 0, -1) has the same estimate: the later of two equal candidates loses, a better one wins.
    map[1 + 12] = map[2 + 12] = {0.0f, 0.0f, -1.0f};
    EXPECT_TRUE(find({0, 0, -1}, 2) && x == 1 && y == 2);
    map[3 + 18] = {0.0f, 0.0f, -2.0f};
    EXPECT_TRUE(find({0, 0, -1}, 2) && x == 3 && y == 3 && out.z == -2.0f);
    // No usable candidate: false, with the estimate (-1 does not beat the start); a short map is not overrun.
    map.assign(24, TavPoint{0.0f, 0.0f, 1.0f});
    EXPECT_TRUE(!find({0, 0, -1}, 2) && x == 1 && y == 3 && out.z == 1.0f);
    map.assign(3, TavPoint{0.0f, 0.0f, 1.0f});
    EXPECT_FALSE(find({0, 0, 0}, 2));
}
