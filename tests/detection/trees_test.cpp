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

// Integer grids give many equal coordinates and points exactly at integer radii and on the query box's faces;
// then duplicates, a line, a plane, a cloud, one spot a hundred times, a single point.
std::vector<std::vector<float3>> pointSets()
{
    std::mt19937 random(20240611);
    auto grid = [&](int n) { return float(int(random() % unsigned(n)) - n / 2); };
    std::vector<std::vector<float3>> sets(7);
    for (int i = 0; i < 3000; ++i) {
        float const x = grid(40);
        sets[0].push_back({grid(9), grid(9), grid(9)});
        sets[1].push_back(sets[0][std::size_t(i % 7)]);
        sets[2].push_back({x, 2.0f * x, 1.0f});
        sets[3].push_back({grid(30), grid(30), 5.0f});
        sets[4].push_back({std::ldexp(float(random()), -26), std::ldexp(float(random()), -26), grid(100)});
    }
    sets[5].assign(100, float3{3.0f, 3.0f, 3.0f});
    sets[6] = {{1.0f, 2.0f, 3.0f}};
    return sets;
}

template <class Keep>
Ids bruteForce(std::vector<float3> const& points, Keep keep)
{
    Ids ids;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (keep(points[i].x, points[i].y, points[i].z))
            ids.push_back(int(i));
    return ids;
}

}  // namespace

TEST(PointLocation, SphereAndConeSearchesFindWhatBruteForceFinds)
{
    for (auto const& points : pointSets()) {
        KDPointLocation tree;
        tree.Init(points.data(), int(points.size()));
        Ids found;
        for (float3 const c : {points[0], float3{0, 0, 0}, float3{1, -2, 5}, float3{0.5f, 0.5f, 0.5f}}) {
            for (float r : {0.0f, 1.0f, 2.0f, 3.0f, 0.3f, 1e30f}) {  // 1e30 squares to infinity
                tree.Locate(c, r, found);
                ASSERT_EQ(sorted(found), bruteForce(points, [&](float x, float y, float z) {
                              return (x - c.x) * (x - c.x) + (y - c.y) * (y - c.y) + (z - c.z) * (z - c.z) <= r * r;
                          })) << c.x << " " << c.y << " " << c.z << " r " << r;
            }
        }
        // A sphere around everything reaches every leaf: the cone keeps what its formula keeps, with the same
        // approximate reciprocal square root. Limits taken from points lie exactly on the bounds and the cosine.
        float3 const a = {0.25f, -0.5f, 1.0f}, axis = {0.6f, 0.0f, 0.8f};
        auto along = [&](float3 p) { return (p.x - a.x) * axis.x + (p.y - a.y) * axis.y + (p.z - a.z) * axis.z; };
        auto cosine = [&](float3 p) {
            float const vx = p.x - a.x, vy = p.y - a.y, vz = p.z - a.z;
            return along(p) * (1.0f / std::sqrt(vx * vx + vy * vy + vz * vz));
        };
        float3 const p1 = points[1 % points.size()], p2 = points[2 % points.size()];
        float const nearL = std::min(along(p1), along(p2)), farL = std::max(along(p1), along(p2));
        for (float cosLimit : {-0.5f, 0.0f, 0.7f, cosine(p1), cosine(p2), cosine(points.back())}) {
            for (auto [n, f] : {std::pair{-3.0f, 2.5f}, std::pair{nearL, farL}}) {
                tree.Locate({0, 0, 0}, 1e30f, a, axis, cosLimit, n, f, found);
                ASSERT_EQ(sorted(found), bruteForce(points, [&](float x, float y, float z) {
                              float const vx = x - a.x, vy = y - a.y, vz = z - a.z;
                              float const d = vx * axis.x + vy * axis.y + vz * axis.z;
                              float const rs = _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(vx * vx + vy * vy + vz * vz)));
                              return d * rs <= cosLimit && d <= f && n <= d;
                          })) << cosLimit;
            }
        }
    }
}

TEST(PointLocation, SixteenPointsMakeOneLeafInOrderAndSeventeenOrEighteenSplitNineFirst)
{
    auto line = [](int n) {  // x and y run 0 .. n-1 in two shuffled orders; ids 100 + index
        std::vector<kdpl::Point> points;
        for (int i = 0; i < n; ++i)
            points.push_back({{float((i * 7) % n), float((i * 5) % n), 0.0f}, 100 + i});
        return points;
    };
    std::vector<kdpl::Point> points = line(16);
    KDPointLocation tree;
    tree.Init(points);
    Ids found = {42}, inInputOrder(16);
    tree.Locate({8, 8, 0}, 20.0f, found);
    std::iota(inInputOrder.begin(), inInputOrder.end(), 100);
    EXPECT_EQ(found, inInputOrder);  // one leaf, lanes in order, the result cleared first

    // x and y extents tie: the split is on x, at the ninth point. An all-accepting cone walked from a tiny
    // sphere at either end shows each leaf whole.
    for (int n : {17, 18}) {
        points = line(n);
        tree.Init(points);
        Ids left, right;
        for (int i = 0; i < n; ++i) {
            ((i * 7) % n <= 8 ? left : right).push_back(100 + i);
            EXPECT_EQ(points[std::size_t(i)].position.x <= 8.0f, i < 9) << n << " " << i;  // reordered in place
        }
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
    tree.Locate({kNaN, 0, 0}, kNaN, found);
    EXPECT_TRUE(found.empty());
    std::vector<kdpl::Point> none;
    for (int way = 0; way < 3; ++way) {  // each empties a built tree
        tree.Init(points.data(), 2);
        way == 2 ? tree.Init(none) : tree.Init(points.data(), way == 0 ? 0 : -3);
        found = {5};
        tree.Locate({1, 1, 1}, 1.0f, found);
        EXPECT_EQ(found, Ids{5});
    }
}

namespace {

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
    EXPECT_EQ(tree.removed, std::vector<bool>(8, false));
    for (std::size_t i : {0u, 3u, 5u}) {  // each plaque is its record's, at the given scale
        Plaque const p = GetPlaqueInfo(context, records[i], 2.0f);
        EXPECT_TRUE(p.size == tree.plaques[i].size && p.corners[1].x == tree.plaques[i].corners[1].x) << i;
    }
    EXPECT_TRUE(tree.plaques[4].size == 0.0 && !tree.plaques[5].normalIsValid);  // kept at their index

    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, facing, 1000.0f, 0.9f, 0), (Ids{1, 7, 0}));
    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, facing, 1e4f, 0.9f, -1), (Ids{1, 7, 2, 0, 6}));
    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, facing, 1000.0f, 0.0f, 146), (Ids{7, 2, 3}));
    tree.removed[1] = true;
    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, facing, 1000.0f, 0.9f, 0), (Ids{7, 0}));
    EXPECT_EQ(tree.GetBackfaceList({0, 0, 0}, facing, 1000.0f, 0.9f, 0), (Ids{0}));  // faces along the normal
    EXPECT_EQ(tree.GetBackfaceList({0, 0, 0}, backward, 1000.0f, 0.9f, 0), (Ids{7}));
    EXPECT_EQ(inTree(std::vector<DetectPlaqueInfo>{}), Ids{});
}

TEST_F(PlaqueTree, TranslucentRecordsHaveNoSizeAndIncidenceFromExactlyFivePercentCounts)
{
    std::vector<Holvane::BinIO::hlvRenderSample5_t> samples(4);
    float const alphas[4] = {0.951f, 0.949f, 1.049f, 1.051f};  // as halves: 0.9507, 0.9487, 1.0488, 1.0508
    for (std::size_t i = 0; i < 4; ++i) {
        samples[i].depth = 100.0f, samples[i].x = samples[i].y = 100, samples[i].cameraIndex = std::uint8_t(i);
        samples[i].color.w = half_float::half(alphas[i]);
        samples[i].normal = {half_float::half(facing.x), half_float::half(facing.y), half_float::half(facing.z)};
    }
    EXPECT_EQ(inTree(samples), (Ids{0, 2}));
    std::vector<Holvane::Binary::tavbin> merged(2);
    for (auto& m : merged)
        m.x = m.y = 100, m.distance = 100.0, m.normal = facing, m.color.a = 1.0f;
    merged[1].color.a = 0.5f;
    EXPECT_EQ(inTree(merged, false), (Ids{0}));
    EXPECT_EQ(inTree(merged, true), (Ids{0, 1}));

    // A normal along y alone, tuned until its incidence is exactly 0.05f, and the nearest float below.
    TavPoint const d = context.GetCenterDirection(100, 100);
    float ny = 0.05f / d.y;
    for (int step = 0; std::fabs(d.y * ny) != 0.05f && step < 64; ++step)
        ny = std::nextafter(ny, std::fabs(d.y * ny) < 0.05f ? std::copysign(1e9f, ny) : 0.0f);
    float below = ny;
    while (std::fabs(d.y * below) >= 0.05f)
        below = std::nextafter(below, 0.0f);
    PlaqueKDTree const tree(context, {record(1, 100, 30.0f, {0, ny, 0}), record(2, 100, 30.0f, {0, below, 0})}, 1.0f);
    ASSERT_TRUE(tree.plaques[0].incidence == 0.05f && tree.plaques[1].incidence < 0.05f);
    EXPECT_EQ(tree.GetOverlapList({0, 0, 0}, {0, 1, 0}, 1e9f, 0.0f, -1), Ids{0});
}

TEST_F(PlaqueTree, HostileRecordsStayOutOfTheTree)
{
    rig.cameras.resize(100);
    context.width = 6, context.height = 4;  // more records than pixels: the lookup tables are used
    std::vector<DetectPlaqueInfo> records(30, record(3, 2, 50.0f, facing, 1));
    records[0].distance = kNaN, records[1].cameraIndex = 200, records[2].x = records[2].y = 65535;
    records[3].level = 255, records[4].normal = {kNaN, 1, 0}, records[5].distance = 1e30f * 1e30f;
    PlaqueKDTree const tree(context, records, 1.0f);
    EXPECT_EQ(tree.plaques[1].size, 0.0);  // a camera the rig doesn't have
    Ids const found = tree.GetOverlapList({0, 0, 0}, facing, 1e9f, 0.0f, -1);
    for (int out : {0, 1, 4, 5})
        EXPECT_EQ(std::count(found.begin(), found.end(), out), 0) << out;
    EXPECT_EQ(std::count_if(found.begin(), found.end(), [](int i) { return i >= 6; }), 24);
    EXPECT_TRUE(tree.context.centerDirections.empty() && !tree.context.lookupReady);
    EXPECT_TRUE(tree.GetOverlapList({kNaN, 0, 0}, facing, kNaN, kNaN, -1).empty());
}

TEST(RenderPhasePlaqueTree, BuiltFromTheFilesHeaderBeforeClippingUnlessTransparentOnly)
{
    HolvaneTest::LogCapture log;
    std::string const path = HolvaneTest::tempFile("trees-test");
    Holvane::Camera::CameraRig const rig = Holvane::Internal::buildBoxRig(false);
    Holvane::BinIO::header_v09 header;
    header.rtype = 1, header.widthDisplay = 300, header.heightDisplay = 200, header.globalScale = 2.0f;
    header.tolerance = 0.125f, header.fillHoleCount = 3;
    header.cameras = {rig.cameras, rig.cameraWeights, rig.cameraMasks};
    Holvane::BinIO::hlvRenderSample5Aovs_t data;
    data.fillHoles = {record(146, 10, 50, {1, 0, 0}), record(0, 20, 60, {0, 1, 0}), record(1, 30, 70, {0, 0, 1})};
    data.completion.assign(3, 1);
    ASSERT_EQ(Holvane::BinIO::hlvWriter_v9(path.c_str(), header, data, Holvane::Util::RenderingEngineId(3)),
              Holvane::BinIO::READER_OK);

    auto& s = Holvane::Internal::session();
    Holvane::Internal::resetSession();
    s.detectFilePath = path, s.transparencyMode = Holvane::Phase::BOTH;
    s.clipEnabled = true, s.clipCenterLocal = {1e6f, 0, 0}, s.clipRadius = 1.0f;  // drops every plaque
    Holvane::Internal::readDetectFileForRender();
    EXPECT_TRUE(s.detectPlaques.empty());
    PlaqueKDTree const* tree = s.renderingContext.plaqueTree.get();
    ASSERT_TRUE(tree && tree->plaques.size() == 3);
    EXPECT_TRUE(tree->context.rig == &s.renderingContext.rig && tree->context.width == 300 &&
                tree->context.height == 200 && tree->context.renderScale == 2.0f && tree->context.tolerance == 0.125f);
    Plaque const expected = GetPlaqueInfo(tree->context, data.fillHoles[2], 1.0f);
    EXPECT_TRUE(tree->plaques[2].corners[0].x == expected.corners[0].x && tree->plaques[2].size == expected.size);

    // A copy doesn't carry the tree; a move takes it along, pointed at its new rig.
    Holvane::Internal::SessionRenderingContext const copy = s.renderingContext;
    Holvane::Internal::SessionRenderingContext const moved = std::move(s.renderingContext);
    EXPECT_TRUE(!copy.plaqueTree && moved.plaqueTree.get() == tree && tree->context.rig == &moved.rig);

    Holvane::Internal::resetSession();
    s.detectFilePath = path, s.transparencyMode = Holvane::Phase::TRANSP;
    Holvane::Internal::readDetectFileForRender();
    EXPECT_TRUE(s.detectPlaques.size() == 3 && !s.renderingContext.plaqueTree);
    Holvane::Internal::resetSession();
    std::remove(path.c_str());
}
