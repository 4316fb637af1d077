// The exported geometry helpers, through the shared library as a caller links them.

#include <holvane/utils.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

using namespace Holvane::Utils;

namespace {

void expectPoint(TavPoint const& p, float x, float y, float z)
{
    EXPECT_EQ(p.x, x);
    EXPECT_EQ(p.y, y);
    EXPECT_EQ(p.z, z);
}

}  // namespace

TEST(PlaneFromPoints, RefusesFewOrCollinearPointsAndWritesTheCentroidOnlyWhenThereAreThree)
{
    TavPoint normal = {7.0f, 7.0f, 7.0f}, centroid = {7.0f, 7.0f, 7.0f};
    EXPECT_FALSE(plane_from_points({{0, 0, 0}, {1, 1, 1}}, normal, centroid));
    expectPoint(centroid, 7.0f, 7.0f, 7.0f);

    EXPECT_FALSE(plane_from_points({{0, 0, 0}, {1, 2, 3}, {2, 4, 6}}, normal, centroid));
    expectPoint(centroid, 1.0f, 2.0f, 3.0f);
    expectPoint(normal, 7.0f, 7.0f, 7.0f);
}

TEST(PlaneFromPoints, GivesTheUnnormalisedNormalOfTheDominantAxisAndBreaksTiesTowardsX)
{
    TavPoint normal, centroid;
    // z = 0.5x + 0.25y + 1 on a grid: the z axis dominates and its component is 1.
    std::vector<TavPoint> grid;
    for (int x = 0; x < 3; ++x)
        for (int y = 0; y < 3; ++y)
            grid.push_back({float(x), float(y), 0.5f * x + 0.25f * y + 1.0f});
    ASSERT_TRUE(plane_from_points(grid, normal, centroid));
    expectPoint(centroid, 1.0f, 1.0f, 1.75f);
    expectPoint(normal, -0.5f, -0.25f, 1.0f);
    // z = 2x + 3y: now y dominates, and its component is the one that is 1.
    for (TavPoint& p : grid)
        p.z = 2.0f * p.x + 3.0f * p.y;
    ASSERT_TRUE(plane_from_points(grid, normal, centroid));
    EXPECT_EQ(normal.y, 1.0f);
    EXPECT_FLOAT_EQ(normal.x, 2.0f / 3.0f);

    // On the plane x = y the x and y determinants are equal: x wins, giving (1, -1, 0) and not (-1, 1, 0).
    ASSERT_TRUE(plane_from_points({{0, 0, 0}, {1, 1, 0}, {0, 0, 1}, {1, 1, 1}}, normal, centroid));
    expectPoint(normal, 1.0f, -1.0f, 0.0f);
}

TEST(LinePlaneIntersection, KeepsTheDirectionsLengthAndRefusesParallelLines)
{
    TavPoint out = {9.0f, 9.0f, 9.0f};
    EXPECT_FALSE(intersectPlaneLine(out, {0, 0, 0}, {1, 0, 0}, {0, 0, 5}, {0, 0, 1}));
    expectPoint(out, 9.0f, 9.0f, 9.0f);
    ASSERT_TRUE(intersectPlaneLine(out, {1, 2, 0}, {0, 1, 2}, {0, 0, 5}, {0, 0, 2}));
    expectPoint(out, 1.0f, 4.5f, 5.0f);

    expectPoint(vectorIntersectPlane({0, 0, 5}, {0, 0, 3}, {1, 2, 0}, {0, 0, 2}), 1.0f, 2.0f, 5.0f);
    TavPoint const parallel = vectorIntersectPlane({0, 0, 5}, {0, 0, 1}, {0, 0, 0}, {1, 0, 0});
    EXPECT_FALSE(std::isfinite(parallel.x));
}

TEST(FacesForTesting, SelectsTheFacesAPointIsInFrontOfInIndexOrder)
{
    // The six faces of the box [-1, 1]^3, planes facing inwards.
    faceinformations_t const faces[6] = {{{}, 1, 0, 0, 1}, {{}, -1, 0, 0, 1}, {{}, 0, 1, 0, 1},
                                         {{}, 0, -1, 0, 1}, {{}, 0, 0, 1, 1}, {{}, 0, 0, -1, 1}};
    std::vector<int> selected = {42};
    getFacesForTesting(2.0f, 0.0f, 1.0f, faces, selected);  // on the z face counts as in front
    EXPECT_EQ(selected, (std::vector<int>{0, 2, 3, 4, 5}));
    getFacesForTesting(std::nanf(""), 0.0f, 0.0f, faces, selected);
    EXPECT_TRUE(selected.empty());

    std::vector<faceinformations_t> seven(faces, faces + 6);
    seven.push_back(faces[1]);
    std::vector<unsigned char> small = {42};
    getFacesForTesting(-2.0f, 0.0f, 0.0f, seven, small);
    EXPECT_EQ(small, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
    getFacesForTesting(0.0f, 0.0f, 0.0f, std::vector<faceinformations_t>(), small);
    EXPECT_TRUE(small.empty());
}

TEST(SphericalUv, TakesUAtThePixelCentreAndVAtItsEdge)
{
    auto uv = [](int column, int row, bool spherical) {
        float u, v, scale;
        getSphericalUvalVvalTEST(column, row, 4, 2, spherical, u, v, scale);
        return std::make_tuple(u, v, scale);
    };
    EXPECT_EQ(uv(0, 1, false), std::make_tuple(0.125f, 0.5f, 1.0f));
    float const sine = std::sin(0.5f * 3.1415927f);
    EXPECT_EQ(uv(1, 1, true), std::make_tuple(0.375f / sine, 0.5f, sine));
    EXPECT_EQ(uv(1, 2, true), std::make_tuple(0.375f, 0.0f, 0.0f));  // at row == height, sin 0 is 0: u stays undivided
}

TEST(ZTooHuge, ComparesWithATenthOfTheFloatPi)
{
    // atan(0.32491970136) lies between a tenth of the double pi and a tenth of the float pi.
    EXPECT_FALSE(isZTooHuge(0.0, 0.3249197013638926, 1.0));
    EXPECT_TRUE(isZTooHuge(0.0, 0.3249198, 1.0));
    EXPECT_TRUE(isZTooHuge(0.0, -3.249198, 10.0));
}

TEST(QualityDerivative, GivesEachAxisWithItsOwnOffsetsAndTheDifferenceOfTwoCameras)
{
    double const point[3] = {1, 2, 3}, normal[3] = {0.6, 0, 0.8};
    double const first[3] = {4, 6, 8}, second[3] = {-2, 5, 1};
    expectPoint(qualityDerivativeVectorOneCam(point, normal, first), -0.14268727600574493f, -1.3793103694915771f,
                -0.5350772738456726f);
    expectPoint(qualityDerivativeVectorDifference(point, normal, first, second), 0.7655246257781982f,
                -0.38539552688598633f, 0.18905651569366455f);
}
