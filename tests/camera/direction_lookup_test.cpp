#include <holvane/camera.h>

#include "camera/cube_image.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Holvane::Camera;
using Holvane::Internal::pixelDirection;

TEST(ClosestPixel, FindsThePixelOfADirectionWithAndWithoutTheMap)
{
    std::vector<TavPoint> const map = generateFetchMap(600, 400);
    ASSERT_EQ(map.size(), 240000u);
    TavPoint const entry = pixelDirection(600, 400, 321, 17).direction;
    EXPECT_TRUE(map[321 + 17 * 600].x == entry.x && map[321 + 17 * 600].z == entry.z);

    int const pixels[][2] = {{0, 0}, {599, 399}, {199, 200}, {200, 199}, {321, 17}};
    for (auto const& p : pixels) {
        TavPoint const d = pixelDirection(600, 400, p[0], p[1]).direction;
        TavPoint out = {};
        int x = -1, y = -1;
        ASSERT_TRUE(getClosestCamDirXYWithFetchMap(d, 600, 400, map, out, x, y, 2));
        EXPECT_TRUE(x == p[0] && y == p[1]) << x << "," << y;
        EXPECT_NEAR(out.x * d.x + out.y * d.y + out.z * d.z, 1.0f, 1e-6f);
    }
    // Any direction: both forms agree.
    for (int i = 0; i < 400; ++i) {
        float const t = i * 0.618034f * 6.2831853f, polar = i * 0.0123f;
        TavPoint const d = {std::cos(t) * std::sin(polar), std::cos(polar), std::sin(t) * std::sin(polar)};
        TavPoint a = {}, b = {};
        int ax = 0, ay = 0, bx = 0, by = 0;
        ASSERT_TRUE(getClosestCamDirXYWithFetchMap(d, 600, 400, map, a, ax, ay, 2));
        ASSERT_TRUE(getClosestCamDirXY(d, 600, 400, b, bx, by));
        ASSERT_TRUE(ax == bx && ay == by && a.x == b.x) << i;
    }
}

TEST(ClosestPixel, SkipsRowsClampsColumnsAndKeepsTheFirstOfEqualCandidates)
{
    // No direction at all lands on face 3: in a 6 x 4 image the estimate is (1, 3), the rows tried are 1 to 3
    // and the columns -1 to 3, -1 reading column 0. Every dot product is 0, which beats the start of -1.
    std::vector<TavPoint> map(24, TavPoint{0.0f, 0.0f, 1.0f});
    TavPoint out = {};
    int x = -1, y = -1;
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap({0, 0, 0}, 6, 4, map, out, x, y, 2));
    EXPECT_TRUE(x == 0 && y == 1);
    map[0 + 6] = {0.00005f, -0.00009f, 0.0f};  // unusable entries are passed over
    map[1 + 6] = {0.0f, 0.0f, 0.0f};
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap({0, 0, 0}, 6, 4, map, out, x, y, 2));
    EXPECT_TRUE(x == 2 && y == 1);
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap({0, 0, 0}, 6, 4, map, out, x, y, 0));
    EXPECT_TRUE(x == 1 && y == 3);  // radius 0 tries the estimate only

    // (0, 0, -1) has the same estimate: the later of two equal candidates loses, a better one wins.
    TavPoint const back = {0.0f, 0.0f, -1.0f};
    map[1 + 12] = map[2 + 12] = back;
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap(back, 6, 4, map, out, x, y, 2));
    EXPECT_TRUE(x == 1 && y == 2);
    map[3 + 18] = {0.0f, 0.0f, -2.0f};
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap(back, 6, 4, map, out, x, y, 2));
    EXPECT_TRUE(x == 3 && y == 3 && out.z == -2.0f);

    // Without a usable candidate: false, with the estimate.
    std::vector<TavPoint> const opposite(24, TavPoint{0.0f, 0.0f, 1.0f});  // -1 does not beat the start
    EXPECT_FALSE(getClosestCamDirXYWithFetchMap({0, 0, -1}, 6, 4, opposite, out, x, y, 2));
    EXPECT_TRUE(x == 1 && y == 3 && out.z == 1.0f);
    std::vector<TavPoint> const shortMap(3, TavPoint{0.0f, 0.0f, 1.0f});  // never read past its end
    EXPECT_FALSE(getClosestCamDirXYWithFetchMap({0, 0, 0}, 6, 4, shortMap, out, x, y, 2));
}
