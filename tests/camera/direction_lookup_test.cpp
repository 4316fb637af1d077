#include <holvane/camera.h>

#include "camera/cube_image.h"
#include "camera_session.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Holvane::Camera;
using Holvane::Internal::pixelDirection;

namespace {

TavPoint spiralDirection(int i)
{
    float const t = i * 0.618034f;
    return {std::cos(t * 6.2831853f) * std::sin(i * 0.0123f), std::cos(i * 0.0123f),
            std::sin(t * 6.2831853f) * std::sin(i * 0.0123f)};
}

}  // namespace

TEST(FetchMap, HoldsThePixelCentresInRowOrder)
{
    std::vector<TavPoint> const map = generateFetchMap(12, 8);
    ASSERT_EQ(map.size(), 96u);
    for (unsigned long long y = 0; y < 8; ++y) {
        for (unsigned long long x = 0; x < 12; ++x) {
            TavPoint const expected = pixelDirection(12, 8, x, y).direction;
            ASSERT_EQ(map[x + y * 12].x, expected.x);
            ASSERT_EQ(map[x + y * 12].y, expected.y);
            ASSERT_EQ(map[x + y * 12].z, expected.z);
        }
    }
}

TEST(ClosestPixel, APixelCentreFindsItsOwnPixelWithAndWithoutTheMap)
{
    std::vector<TavPoint> const map = generateFetchMap(600, 400);
    int const pixels[][2] = {{0, 0}, {599, 399}, {199, 200}, {200, 199}, {321, 17}, {450, 333}};
    for (auto const& p : pixels) {
        TavPoint const d = pixelDirection(600, 400, p[0], p[1]).direction;
        TavPoint out = {};
        int x = -1, y = -1;
        ASSERT_TRUE(getClosestCamDirXYWithFetchMap(d, 600, 400, map, out, x, y, 2));
        EXPECT_EQ(x, p[0]);
        EXPECT_EQ(y, p[1]);
        EXPECT_NEAR(out.x * d.x + out.y * d.y + out.z * d.z, 1.0f, 1e-6f);
        ASSERT_TRUE(getClosestCamDirXY(d, 600, 400, out, x, y));
        EXPECT_EQ(x, p[0]);
        EXPECT_EQ(y, p[1]);
    }
    // Any direction: both forms agree, and the answer is a best pixel among its neighbours.
    for (int i = 0; i < 400; ++i) {
        TavPoint const d = spiralDirection(i);
        TavPoint a = {}, b = {};
        int ax = 0, ay = 0, bx = 0, by = 0;
        ASSERT_TRUE(getClosestCamDirXYWithFetchMap(d, 600, 400, map, a, ax, ay, 2));
        ASSERT_TRUE(getClosestCamDirXY(d, 600, 400, b, bx, by));
        EXPECT_EQ(ax, bx) << i;
        EXPECT_EQ(ay, by) << i;
        EXPECT_EQ(a.x, b.x) << i;
    }
}

TEST(ClosestPixel, RowsOutsideAreSkippedColumnsClampedAndTheFirstTieWins)
{
    // No direction at all lands on face 3: in a 6 x 4 image the estimate is (1, 3), so the rows tried are 1 to
    // 3 and the columns -1 to 3, where -1 reads column 0.
    std::vector<TavPoint> map(24, TavPoint{0.0f, 0.0f, 1.0f});
    TavPoint out = {};
    int x = -1, y = -1;
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap({0, 0, 0}, 6, 4, map, out, x, y, 2));
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 1);

    map[0 + 6] = {0.00005f, -0.00009f, 0.0f};  // unusable entries are passed over
    map[1 + 6] = {0.0f, 0.0f, 0.0f};
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap({0, 0, 0}, 6, 4, map, out, x, y, 2));
    EXPECT_EQ(x, 2);
    EXPECT_EQ(y, 1);

    // (0, 0, -1) has the same estimate. The later of two equal best candidates never wins; a better one does.
    TavPoint const back = {0.0f, 0.0f, -1.0f};
    map[1 + 12] = back;
    map[2 + 12] = back;
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap(back, 6, 4, map, out, x, y, 2));
    EXPECT_EQ(x, 1);
    EXPECT_EQ(y, 2);
    map[3 + 18] = {0.0f, 0.0f, -2.0f};
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap(back, 6, 4, map, out, x, y, 2));
    EXPECT_EQ(x, 3);
    EXPECT_EQ(y, 3);
    EXPECT_EQ(out.z, -2.0f);
    // A dot product of exactly -1 does not beat the starting value.
    std::vector<TavPoint> const opposite(24, TavPoint{0.0f, 0.0f, 1.0f});
    EXPECT_FALSE(getClosestCamDirXYWithFetchMap(back, 6, 4, opposite, out, x, y, 2));

    // Radius 0 tries the estimate only.
    ASSERT_TRUE(getClosestCamDirXYWithFetchMap({0, 0, 0}, 6, 4, map, out, x, y, 0));
    EXPECT_EQ(x, 1);
    EXPECT_EQ(y, 3);
}

TEST(ClosestPixel, WithoutUsableCandidatesAnswersFalseWithTheEstimate)
{
    std::vector<TavPoint> map(24, TavPoint{0.0f, 0.0f, 0.0f});
    map[1 + 18] = {0.0f, 0.00001f, 0.0f};
    TavPoint out = {9, 9, 9};
    int x = -1, y = -1;
    EXPECT_FALSE(getClosestCamDirXYWithFetchMap({0, 0, 0}, 6, 4, map, out, x, y, 2));
    EXPECT_EQ(x, 1);
    EXPECT_EQ(y, 3);
    EXPECT_EQ(out.y, 0.00001f);
    // A map smaller than the image is not read past its end.
    std::vector<TavPoint> const shortMap(3, TavPoint{0.0f, 0.0f, 1.0f});
    EXPECT_FALSE(getClosestCamDirXYWithFetchMap({0, 0, 0}, 6, 4, shortMap, out, x, y, 2));
}

namespace {

class SessionLookup : public HolvaneTest::CameraSession {};

}  // namespace

TEST_F(SessionLookup, UsesTheSessionFetchMapAtTheOutputResolution)
{
    buildRig();
    TavPoint const d = pixelDirection(600, 400, 77, 301).direction;
    TavPoint out = {};
    int x = 0, y = 0;
    ASSERT_TRUE(getClosestCamDirXY(d, out, x, y));
    EXPECT_EQ(x, 77);
    EXPECT_EQ(y, 301);

    s().outputHeight = Holvane::Internal::Optional<double>();
    EXPECT_THROW(getClosestCamDirXY(d, out, x, y), std::exception);
}
