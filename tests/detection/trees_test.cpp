#include <holvane/trees.h>

#include "camera/camera_rig.h"
#include "common/detect_file.h"
#include "common/log_capture.h"
#include "session/context.h"
#include "session/detect_file_read.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <emmintrin.h>
#include <iterator>
#include <limits>
#include <numeric>
#include <random>

namespace {

using Holvane::BinIO::DetectPlaqueInfo;
using kdpl::float3;
using kdpl::KDPointLocation;
using Ids = std::vector<int>;

float const kNaN = std::numeric_limits<float>::quiet_NaN();

Ids sorted(Ids ids)
{
    std::sort(ids.begin(), ids.end());
    return ids;
}

// Point sets that stress the splits: integer grids make many equal coordinates and points exactly at an integer
// radius; the others are duplicates, a line, a plane, one spot, and a cloud.
std::vector<std::vector<float3>> pointSets()
{
    std::mt19937 random(20240611);
    auto grid = [&](int n) { return float(int(random() % unsigned(n)) - n / 2); };
    std::vector<std::vector<float3>> sets(7);
    for (int i = 0; i < 3000; ++i) {
        sets[0].push_back({grid(9), grid(9), grid(9)});
        sets[1].push_back(sets[0][std::size_t(i % 7)]);
        sets[2].push_back({grid(40), 0.0f, 1.0f});  // collinear, once y = 2x below
        sets[3].push_back({grid(30), grid(30), 5.0f});                 // coplanar
        sets[4].push_back({std::ldexp(float(random()), -26), std::ldexp(float(random()), -26), grid(100)});
    }
    for (auto& p : sets[2])
        p.y = 2.0f * p.x;
    sets[5].assign(100, float3{3.0f, 3.0f, 3.0f});
    sets[6] = {{1.0f, 2.0f, 3.0f}};
    return sets;
}

Ids bruteSphere(std::vector<float3> const& points, float3 const& c, float r)
{
    Ids ids;
    for (std::size_t i = 0; i < points.size(); ++i) {
        float const dx = points[i].x - c.x, dy = points[i].y - c.y, dz = points[i].z - c.z;
        if (dx * dx + dy * dy + dz * dz <= r * r)
            ids.push_back(int(i));
    }
    return ids;
}

// The cone formula with the same approximate reciprocal square root as the tree's.
Ids bruteCone(std::vector<float3> const& points, float3 const& apex, float3 const& axis, float cosLimit, float nearL,
              float farL)
{
    Ids ids;
    for (std::size_t i = 0; i < points.size(); ++i) {
        float const vx = points[i].x - apex.x, vy = points[i].y - apex.y, vz = points[i].z - apex.z;
        float const d = vx * axis.x + vy * axis.y + vz * axis.z;
        float const rs = _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(vx * vx + vy * vy + vz * vz)));
        if (d * rs <= cosLimit && d <= farL && nearL <= d)
            ids.push_back(int(i));
    }
    return ids;
}

}  // namespace

TEST(PointLocation, SphereAndConeSearchesFindWhatBruteForceFinds)
{
    for (auto const& points : pointSets()) {
        KDPointLocation tree;
        tree.Init(points.data(), int(points.size()));
        Ids found;
        for (float3 const c : {points[0], float3{0.0f, 0.0f, 0.0f}, float3{1.0f, -2.0f, 5.0f}, float3{0.5f, 0.5f, 0.5f}}) {
            // Radius 0 and integer radii meet grid points exactly on the sphere and on the box's faces.
            for (float r : {0.0f, 1.0f, 2.0f, 3.0f, 0.3f, 1e30f}) {
                tree.Locate(c, r, found);
                ASSERT_EQ(sorted(found), bruteSphere(points, c, r)) << c.x << " " << c.y << " " << c.z << " r " << r;
            }
        }
        // A sphere around everything reaches every leaf; the cone then keeps what its formula keeps, at any
        // distance. Limits taken from points put some exactly on the bounds and on the cosine.
        float3 const apex = {0.25f, -0.5f, 1.0f}, axis = {0.6f, 0.0f, 0.8f};
        auto along = [&](float3 const& p) { return (p.x - apex.x) * axis.x + (p.y - apex.y) * axis.y + (p.z - apex.z) * axis.z; };
        auto exactCosine = [&](float3 const& p) {
            float const vx = p.x - apex.x, vy = p.y - apex.y, vz = p.z - apex.z;
            return along(p) * (1.0f / std::sqrt(vx * vx + vy * vy + vz * vz));
        };
        float3 const p1 = points[1 % points.size()], p2 = points[2 % points.size()];
        float const nearL = std::min(along(p1), along(p2)), farL = std::max(along(p1), along(p2));
        for (float cosLimit : {-0.5f, 0.0f, 0.7f, exactCosine(p1), exactCosine(p2), exactCosine(points.back())}) {
            for (float n : {-3.0f, nearL}) {
                float const f = n == nearL ? farL : 2.5f;
                tree.Locate({0, 0, 0}, 1e30f, apex, axis, cosLimit, n, f, found);
                ASSERT_EQ(sorted(found), bruteCone(points, apex, axis, cosLimit, n, f)) << cosLimit;
            }
        }
        // A small sphere only limits the walk: what it keeps lies in the cone, and covers the cone's part of it.
        tree.Locate({1, 1, 1}, 1.5f, apex, axis, 0.7f, -3.0f, 2.5f, found);
        Ids const cone = bruteCone(points, apex, axis, 0.7f, -3.0f, 2.5f), ball = bruteSphere(points, {1, 1, 1}, 1.5f);
        Ids inBoth;
        std::set_intersection(cone.begin(), cone.end(), ball.begin(), ball.end(), std::back_inserter(inBoth));
        Ids const got = sorted(found);
        EXPECT_TRUE(std::includes(cone.begin(), cone.end(), got.begin(), got.end()));
        EXPECT_TRUE(std::includes(got.begin(), got.end(), inBoth.begin(), inBoth.end()));
    }
}

TEST(PointLocation, SixteenPointsMakeOneLeafInOrderAndSeventeenOrEighteenSplitNineFirst)
{
    auto line = [](int n) {  // x = 0 .. n-1, shuffled; ids 100 + index
        std::vector<kdpl::Point> points;
        for (int i = 0; i < n; ++i)
            points.push_back({{float((i * 7) % n), 0.0f, 0.0f}, 100 + i});
        return points;
    };
    std::vector<kdpl::Point> points = line(16);
    KDPointLocation tree;
    tree.Init(points);
    Ids found = {42};
    tree.Locate({8, 0, 0}, 20.0f, found);
    Ids inInputOrder(16);
    std::iota(inInputOrder.begin(), inInputOrder.end(), 100);
    EXPECT_EQ(found, inInputOrder);  // one leaf, lanes in order, the result cleared first

    // 17 and 18 points on a diagonal with x and y extents tied: split on x at the ninth, whose leaves an
    // all-accepting cone walked from a tiny sphere at either end shows.
    for (int n : {17, 18}) {
        points = line(n);
        for (kdpl::Point& p : points)
            p.position.y = float(((p.id - 100) * 5) % n);
        tree.Init(points);
        for (int k = 0; k < n; ++k)  // reordered in place, the nine smallest x first
            EXPECT_EQ(points[std::size_t(k)].position.x <= 8.0f, k < 9) << n << " " << k;
        Ids left, right;
        for (int i = 0; i < n; ++i)
            ((i * 7) % n <= 8 ? left : right).push_back(100 + i);
        tree.Locate({0, 0, 0}, 0.1f, {-100, 3, 0}, {1, 0, 0}, 2.0f, -1e30f, 1e30f, found);
        EXPECT_EQ(sorted(found), left) << n;
        tree.Locate({float(n - 1), 0, 0}, 0.1f, {-100, 3, 0}, {1, 0, 0}, 2.0f, -1e30f, 1e30f, found);
        EXPECT_EQ(sorted(found), right) << n;
    }
}

TEST(PointLocation, EmptyTreeLeavesTheResultAndHostilePointsDontBreakIt)
{
    KDPointLocation tree;
    Ids found = {7, 8};
    tree.Locate({0, 0, 0}, 1.0f, found);
    tree.Locate({0, 0, 0}, 1.0f, {0, 0, 0}, {1, 0, 0}, 1.0f, -1.0f, 1.0f, found);
    EXPECT_EQ(found, (Ids{7, 8}));
    std::vector<float3> points = {{1, 1, 1}, {kNaN, 0, 0}, {0, kNaN, 2}, {0, 0, 0}};
    points.resize(40, float3{std::numeric_limits<float>::infinity(), 1, kNaN});
    tree.Init(points.data(), int(points.size()));
    tree.Locate({0, 0, 0}, 2.0f, found);
    EXPECT_EQ(sorted(found), (Ids{0, 3}));
    tree.Locate({kNaN, 0, 0}, kNaN, found);  // no crash, nothing compares true
    EXPECT_TRUE(found.empty());
    std::vector<kdpl::Point> none;
    for (int way = 0; way < 3; ++way) {
        tree.Init(points.data(), 2);
        way == 2 ? tree.Init(none) : tree.Init(points.data(), way == 0 ? 0 : -3);  // an earlier tree goes
        found = {5};
        tree.Locate({1, 1, 1}, 1.0f, found);
        EXPECT_EQ(found, Ids{5});
    }
}

namespace {

using Holvane::BinIO::hlvRenderSample5_t;
using Holvane::Binary::tavbin;

DetectPlaqueInfo record(int camera, int x, float distance, TavPoint normal, int y = 100)
{
    DetectPlaqueInfo r;
    r.cameraIndex = std::uint8_t(camera), r.x = std::uint16_t(x), r.y = std::uint16_t(y);
    r.distance = distance, r.normal = normal;
    return r;
}

// Plaques of a 600 x 400 image seen by the standard rig (camera 146 in the middle of a 1-metre box).
class PlaqueTree : public ::testing::Test {
protected:
    Holvane::Camera::CameraRig rig = Holvane::Internal::buildBoxRig(false);
    RenderingContext context;
    TavPoint facing;  // faces the cameras through pixel (100, 100)
    PlaqueTree()
    {
        context.rig = &rig, context.width = 600, context.height = 400;
        TavPoint const d = context.GetCenterDirection(100, 100);
        facing = {-d.x, -d.y, -d.z};
    }
    template <class Records, class... Extra>
    Ids inTree(Records const& records, Extra... extra)
    {
        PlaqueKDTree const tree(context, records, 1.0f, extra...);
        return sorted(tree.GetOverlapList({0, 0, 0}, facing, 1e9f, 0.0f, -1));
    }
};

}  // namespace

TEST_F(PlaqueTree, OverlapListDropsExcludedRemovedTiltedAndFarPlaquesAndSortsBySize)
{
    // Tilted by 60 degrees: still seen well by its camera, too far off the normal asked about at 0.9.
    TavPoint const tilted = {0.5f * facing.x + 0.866f * facing.y, 0.5f * facing.y - 0.866f * facing.x, 0.5f * facing.z};
    TavPoint const backward = {-facing.x, -facing.y, -facing.z};
    std::vector<DetectPlaqueInfo> records = {
        record(146, 100, 100.0f, facing), record(146, 110, 50.0f, facing), record(0, 100, 80.0f, facing),
        record(5, 100, 60.0f, tilted),    record(6, 100, 40.0f, facing),   record(7, 100, 70.0f, {0, 0, 0}),
        record(8, 100, 5000.0f, facing),  record(9, 100, 70.0f, backward)};
    records[4].isExtrapolated = 1;
    PlaqueKDTree tree(context, records, 2.0f);
    ASSERT_EQ(tree.plaques.size(), 8u);
    EXPECT_EQ(tree.removed, std::vector<bool>(8, false));
    for (std::size_t i : {0u, 3u, 5u}) {  // each plaque is its record's, at the given scale
        Plaque const p = GetPlaqueInfo(context, records[i], 2.0f);
        EXPECT_TRUE(p.size == tree.plaques[i].size && p.corners[1].x == tree.plaques[i].corners[1].x) << i;
    }
    EXPECT_EQ(tree.plaques[4].size, 0.0);
    EXPECT_FALSE(tree.plaques[5].normalIsValid);  // kept at its index, never found

    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, facing, 1000.0f, 0.9f, 0), (Ids{1, 7, 0}));
    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, facing, 1e4f, 0.9f, -1), (Ids{1, 7, 2, 0, 6}));
    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, facing, 1000.0f, 0.0f, 146), (Ids{7, 2, 3}));
    tree.removed[1] = true;
    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, facing, 1000.0f, 0.9f, 0), (Ids{7, 0}));
    // The back face search keeps only what faces along the normal it is given.
    EXPECT_EQ(tree.GetBackfaceList({0, 0, 0}, facing, 1000.0f, 0.9f, 0), (Ids{0}));
    EXPECT_EQ(tree.GetBackfaceList({0, 0, 0}, backward, 1000.0f, 0.9f, 0), (Ids{7}));
    EXPECT_TRUE(PlaqueKDTree(context, std::vector<DetectPlaqueInfo>{}, 1.0f).GetOverlapList({0, 0, 0}, facing, 1e9f, 0.0f, -1).empty());
}

TEST_F(PlaqueTree, TranslucentRecordsHaveNoSizeAndIncidenceFromExactlyFivePercentCounts)
{
    std::vector<hlvRenderSample5_t> samples(4);
    float const alphas[4] = {0.951f, 0.949f, 1.049f, 1.051f};  // as halves: 0.9507, 0.9487, 1.0488, 1.0508
    for (std::size_t i = 0; i < 4; ++i) {
        samples[i].depth = 100.0f, samples[i].x = samples[i].y = 100, samples[i].cameraIndex = std::uint8_t(i);
        samples[i].color.w = half_float::half(alphas[i]);
        samples[i].normal = {half_float::half(facing.x), half_float::half(facing.y), half_float::half(facing.z)};
    }
    EXPECT_EQ(inTree(samples), (Ids{0, 2}));
    std::vector<tavbin> merged(2);
    for (tavbin& m : merged)
        m.x = m.y = 100, m.distance = 100.0, m.normal = facing, m.color.a = 1.0f;
    merged[1].color.a = 0.5f;
    EXPECT_EQ(inTree(merged, false), (Ids{0}));
    EXPECT_EQ(inTree(merged, true), (Ids{0, 1}));

    // A normal along y alone, tuned until its incidence is exactly 0.05f, and the float just below it.
    TavPoint const d = context.GetCenterDirection(100, 100);
    float ny = 0.05f / d.y;
    for (int step = 0; std::fabs(d.y * ny) != 0.05f && step < 64; ++step)
        ny = std::nextafter(ny, std::fabs(d.y * ny) < 0.05f ? std::copysign(1e9f, ny) : 0.0f);
    float below = ny;
    while (std::fabs(d.y * below) >= 0.05f)
        below = std::nextafter(below, 0.0f);
    std::vector<DetectPlaqueInfo> records = {record(1, 100, 30.0f, {0, ny, 0}), record(2, 100, 30.0f, {0, below, 0})};
    PlaqueKDTree const tree(context, records, 1.0f);
    ASSERT_EQ(tree.plaques[0].incidence, 0.05f);
    ASSERT_LT(tree.plaques[1].incidence, 0.05f);
    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, {0, 1, 0}, 1e9f, 0.0f, -1), Ids{0});
}

TEST_F(PlaqueTree, HostileRecordsStayOutOfTheTree)
{
    rig.cameras.resize(100);
    context.width = 6, context.height = 4;  // more records than pixels: the lookup tables are used
    std::vector<DetectPlaqueInfo> records(30, record(3, 2, 50.0f, facing, 1));
    records[0].distance = kNaN;
    records[1].cameraIndex = 200;  // the rig has 100 cameras
    records[2].x = 65535, records[2].y = 65535;
    records[3].level = 255;
    records[4].normal = {kNaN, 1.0f, 0.0f};
    records[5].distance = std::numeric_limits<float>::infinity();
    PlaqueKDTree const tree(context, records, 1.0f);
    EXPECT_EQ(tree.plaques[1].size, 0.0);
    Ids const found = sorted(tree.GetOverlapList({0, 0, 0}, facing, 1e9f, 0.0f, -1));
    for (int out : {0, 1, 4, 5})
        EXPECT_EQ(std::count(found.begin(), found.end(), out), 0) << out;
    EXPECT_EQ(std::count_if(found.begin(), found.end(), [](int i) { return i >= 6; }), 24);
    EXPECT_TRUE(tree.context.centerDirections.empty() && !tree.context.lookupReady);
    EXPECT_TRUE(tree.GetOverlapList({kNaN, 0, 0}, facing, kNaN, kNaN, -1).empty());
}

namespace {

class RenderPhasePlaqueTree : public ::testing::Test {
protected:
    HolvaneTest::LogCapture log;
    std::string path = HolvaneTest::tempFile("trees-test");
    void SetUp() override { Holvane::Internal::resetSession(); }
    void TearDown() override
    {
        Holvane::Internal::resetSession();
        std::remove(path.c_str());
    }
};

}  // namespace

TEST_F(RenderPhasePlaqueTree, BuiltFromTheFilesHeaderBeforeClippingUnlessTransparentOnly)
{
    Holvane::Camera::CameraRig const rig = Holvane::Internal::buildBoxRig(false);
    Holvane::BinIO::header_v09 header;
    header.rtype = 1, header.widthDisplay = 300, header.heightDisplay = 200, header.globalScale = 2.0f;
    header.tolerance = 0.125f, header.fillHoleCount = 3;
    header.cameras = {rig.cameras, rig.cameraWeights, rig.cameraMasks};
    Holvane::BinIO::hlvRenderSample5Aovs_t data;
    data.fillHoles = {record(146, 10, 50.0f, {1, 0, 0}), record(0, 20, 60.0f, {0, 1, 0}), record(1, 30, 70.0f, {0, 0, 1})};
    data.completion.assign(3, 1);
    ASSERT_EQ(Holvane::BinIO::hlvWriter_v9(path.c_str(), header, data, Holvane::Util::RenderingEngineId(3)), Holvane::BinIO::READER_OK);

    auto& s = Holvane::Internal::session();
    s.detectFilePath = path;
    s.clipEnabled = true, s.clipCenterLocal = {1e6f, 0, 0}, s.clipRadius = 1.0f;  // drops every plaque
    s.transparencyMode = Holvane::Phase::BOTH;
    Holvane::Internal::readDetectFileForRender();
    EXPECT_TRUE(s.detectPlaques.empty());
    PlaqueKDTree const* tree = s.renderingContext.plaqueTree.get();
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->plaques.size(), 3u);
    EXPECT_TRUE(tree->context.rig == &s.renderingContext.rig && tree->context.width == 300 &&
                tree->context.height == 200 && tree->context.renderScale == 2.0f && tree->context.tolerance == 0.125f);
    Plaque const expected = GetPlaqueInfo(tree->context, data.fillHoles[2], 1.0f);
    EXPECT_TRUE(tree->plaques[2].corners[0].x == expected.corners[0].x && tree->plaques[2].size == expected.size);

    // A copy doesn't carry the tree; a move takes it along, pointed at its new rig.
    Holvane::Internal::SessionRenderingContext copy = s.renderingContext;
    EXPECT_EQ(copy.plaqueTree, nullptr);
    Holvane::Internal::SessionRenderingContext moved = std::move(s.renderingContext);
    EXPECT_TRUE(moved.plaqueTree.get() == tree && tree->context.rig == &moved.rig);

    Holvane::Internal::resetSession();
    s.detectFilePath = path, s.transparencyMode = Holvane::Phase::TRANSP;
    Holvane::Internal::readDetectFileForRender();
    EXPECT_EQ(s.detectPlaques.size(), 3u);
    EXPECT_EQ(s.renderingContext.plaqueTree, nullptr);
}
