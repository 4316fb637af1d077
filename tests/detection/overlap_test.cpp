// Overlap detection on small sets of plaques of the standard rig, seen on the plane z = -200 (normal +z) of a
// 600 x 400 image: which plaques go, which stay, what the counters and the report say.

#include <holvane/overlap.h>

#include "camera/camera_rig.h"
#include "camera/cube_image.h"
#include "camera/vector_math.h"
#include "detection/overlap_action.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>

using Holvane::BinIO::DetectPlaqueInfo;
using Holvane::Binary::tavbin;
using namespace Holvane::Internal;

namespace {

TavPoint const kUp = {0, 0, 1};
std::vector<bool> const kNone;

class Overlap : public ::testing::Test {
protected:
    Holvane::Camera::CameraRig rig = buildBoxRig(false);
    RenderingContext context;
    // Cameras of the front face (z = -50) and of the back face (z = +50), all of weight 10.
    unsigned a = cameraAt({0, 10, -50}), b = cameraAt({25, 10, -50}), backA = cameraAt({0, 10, 50}),
             backB = cameraAt({25, 10, 50});

    Overlap()
    {
        context.rig = &rig, context.width = 600, context.height = 400;
        rig.cameraWeights.assign(rig.cameras.size(), 10.0f);
    }
    unsigned cameraAt(TavPoint const& p) const
    {
        for (unsigned i = 0; i < rig.cameras.size(); ++i)
            if (length(sub(rig.cameras[i], p)) < 0.01f)
                return i;
        ADD_FAILURE() << "no camera there";
        return 0;
    }
    // The record of `camera`'s pixel at `level` that sees `point`, resting on the plane of `normal` there.
    DetectPlaqueInfo seeing(unsigned camera, TavPoint const& point, int level = 0, TavPoint normal = kUp) const
    {
        RenderingContext reduced = context;
        reduced.width >>= level, reduced.height >>= level;
        TavPoint2 const uv = cubeCoordinates(sub(point, rig.cameras[camera]));
        auto const x = static_cast<std::uint16_t>(uv.x * reduced.width), y = static_cast<std::uint16_t>(uv.y * reduced.height);
        TavPoint const d = reduced.GetCenterDirection(x, y);
        DetectPlaqueInfo r;
        r.cameraIndex = static_cast<std::uint8_t>(camera), r.level = static_cast<std::uint8_t>(level);
        r.x = static_cast<std::uint16_t>(x << level), r.y = static_cast<std::uint16_t>(y << level);
        r.distance = dot(sub(point, rig.cameras[camera]), normal) / dot(d, normal), r.normal = normal;
        return r;
    }
    TavPoint centreOf(DetectPlaqueInfo const& r) const { return GetPlaqueInfo(context, r, 1.0f).center; }
    // A small plaque of camera a on the middle of a plaque of camera b four pixels wide.
    std::vector<DetectPlaqueInfo> coveredPair() const
    {
        DetectPlaqueInfo const cover = seeing(b, {10, 10, -200}, 2);
        return {seeing(a, centreOf(cover)), cover};
    }
    static std::vector<tavbin> merged(std::vector<DetectPlaqueInfo> const& records)
    {
        std::vector<tavbin> out(records.size());
        for (std::size_t i = 0; i < records.size(); ++i) {
            auto const& r = records[i];
            out[i].color.a = 1, out[i].x = r.x, out[i].y = r.y, out[i].distance = r.distance;
            out[i].cameraIndex = r.cameraIndex, out[i].normal = r.normal, out[i].level = r.level;
        }
        return out;
    }
};

OverlapAction judge(PlaqueKDTree const& tree, Plaque const& p, std::vector<bool>& used, std::uint16_t mask = 65535)
{
    return GetOverlapAction(tree, p, mask, true, used);
}

}  // namespace

TEST_F(Overlap, ALargerPlaqueOfAnotherCameraCoversAndIsMarkedButNotForTheCentre)
{
    auto records = coveredPair();
    PlaqueKDTree tree(context, records, 1.0f);
    std::vector<bool> used(2);
    EXPECT_EQ(judge(tree, tree.plaques[0], used), Overlapped);
    EXPECT_EQ(used, (std::vector<bool>{false, true}));
    std::vector<bool> none(2), empty;
    EXPECT_EQ(judge(tree, tree.plaques[0], none, 1 << 4), Overlapped);  // the centre only: its cover stays free
    EXPECT_EQ(judge(tree, tree.plaques[0], empty), Overlapped);
    EXPECT_TRUE(none == std::vector<bool>(2) && empty.empty());
    EXPECT_EQ(judge(tree, tree.plaques[1], used), NoOverlap);  // the smaller one covers only part of it

    DebugOverlapCounters counters;
    counters.deferredCount = counters.backFaces = 7;  // a given record starts from zero
    DectectOverlapsWithQualityCheck(tree, records, &counters);
    EXPECT_EQ(tree.removed, (std::vector<bool>{true, false}));
    EXPECT_TRUE(counters.totalIndices == 2 && counters.firstPassRemoved == 1 && counters.deferredCount == 0 &&
                counters.backFaces == 0 && counters.laterPassRemoved == 0 && counters.hyperTangents == 0);

    // A back face may go under a front face, never a front face under a back face.
    records[1].normal = {0, 0, -1};
    PlaqueKDTree backCover(context, records, 1.0f);
    EXPECT_EQ(judge(backCover, backCover.plaques[0], used), NoOverlap);
    std::swap(records[0].normal, records[1].normal);
    PlaqueKDTree backCovered(context, records, 1.0f);
    EXPECT_EQ(judge(backCovered, backCovered.plaques[0], used), Overlapped);
}

TEST_F(Overlap, WorseCoversDeferUnderTheQualityCheckOnly)
{
    auto const records = coveredPair();
    PlaqueKDTree tree(context, records, 1.0f);
    Plaque p = tree.plaques[0];
    std::vector<bool> used(2);
    p.size = 1.0 / 128;
    // Five covers of 0.75 of the size: not strictly smaller. Summed in float, 1e-12 less is still 0.75.
    for (double size : {0.75 / 128, 0.75 / 128 - 1e-12}) {
        tree.plaques[1].size = size;
        EXPECT_EQ(judge(tree, p, used), Overlapped) << size;
    }
    tree.plaques[1].size = std::nextafter(0.75f / 128, 0.0f);
    EXPECT_EQ(judge(tree, p, used), Deferred);
    EXPECT_EQ(GetOverlapAction(tree, p, 65535, false, used), Overlapped);
    tree.context.tolerance = 0.5f;
    tree.plaques[1].size = 0.6 / 128;
    EXPECT_EQ(judge(tree, p, used), Overlapped);

    rig.cameraWeights[b] = 10.5f;  // a cover of a better camera on average than the plaque's own
    EXPECT_EQ(judge(tree, p, used), Deferred);
    PlaqueKDTree fresh(context, records, 1.0f);
    DebugOverlapCounters counters;
    DectectOverlapsWithQualityCheck(fresh, records, &counters);
    EXPECT_EQ(fresh.removed, std::vector<bool>(2));
    EXPECT_TRUE(counters.deferredCount == 1 && counters.laterPassRemoved == 0);  // put off once, not per round
    auto const tavbins = merged(records);
    PlaqueKDTree mergedTree(context, tavbins, 1.0f, false);
    DectectOverlapTavbinWithQualityCheck(mergedTree, tavbins, nullptr);
    EXPECT_EQ(mergedTree.removed, std::vector<bool>(2));

    auto estimated = records;  // an estimated fill hole goes without the check
    estimated[0].isExtrapolated = 1;
    PlaqueKDTree fillHoles(context, estimated, 1.0f);
    DectectOverlapsWithQualityCheck(fillHoles, estimated, &counters);
    EXPECT_EQ(fillHoles.removed, (std::vector<bool>{true, false}));
    EXPECT_TRUE(counters.firstPassRemoved == 1 && counters.estimatedFillHoles == 1 && counters.deferredCount == 0);
}

TEST_F(Overlap, ACoverThatARemovalLeansOnWaitsForTheNextRound)
{
    // p (far, 1 pixel) lies on c (near, 8 pixels), which lies on d (far, 16 pixels). p goes first, the
    // smallest size; c is then held back, and goes in the second round once the half tolerance lets d cover it.
    DetectPlaqueInfo const d = seeing(backB, {10, 10, -200}, 4), c = seeing(b, centreOf(d), 3);
    std::vector<DetectPlaqueInfo> const records = {seeing(backA, centreOf(c)), c, d};
    context.tolerance = 0.5f;
    PlaqueKDTree tree(context, records, 1.0f);
    DebugOverlapCounters counters;
    DectectOverlapsWithQualityCheck(tree, records, &counters);
    EXPECT_EQ(tree.removed, (std::vector<bool>{true, true, false}));
    EXPECT_TRUE(counters.firstPassRemoved == 1 && counters.deferredCount == 1 && counters.laterPassRemoved == 1);
    PlaqueKDTree again(context, records, 1.0f);
    DectectOverlapsWithQualityCheck(again, records, nullptr);
    EXPECT_EQ(again.removed, tree.removed);
}

TEST_F(Overlap, TwinsEdgeOnAndInvalidPlaquesStay)
{
    // Two identical plaques of two cameras at one place: both stay, although a case listed with the
    // algorithm expects the first to go. The centre of one lies on the other's centre and is never covered.
    TavPoint const bAt = rig.cameras[b];
    rig.cameras[b] = rig.cameras[a];
    std::vector<DetectPlaqueInfo> twins = {seeing(a, {10, 10, -200}), seeing(a, {10, 10, -200})};
    twins[1].cameraIndex = static_cast<std::uint8_t>(b);
    PlaqueKDTree pair(context, twins, 1.0f);
    DebugOverlapCounters counters;
    DectectOverlapsWithQualityCheck(pair, twins, &counters);
    EXPECT_EQ(pair.removed, std::vector<bool>(2));
    EXPECT_EQ(counters.deferredCount, 0u);

    rig.cameras[b] = bAt;
    PlaqueKDTree tree(context, coveredPair(), 1.0f);
    std::vector<bool> used(2);
    Plaque p = tree.plaques[0];
    p.incidence = 0.05f;  // not above 0.05: not judged, although covered
    EXPECT_EQ(judge(tree, p, used), NoOverlap);
    tree.plaques[1].incidence = 0.05f;  // but it still covers
    EXPECT_EQ(judge(tree, tree.plaques[0], used), Overlapped);
    for (TavPoint const n : {TavPoint{0, 0, 0}, {std::nanf(""), 0, 1}, {0, INFINITY, 0}}) {
        p.normal = n;
        EXPECT_EQ(judge(tree, p, used), InvalidPlaque);
    }
}

TEST(OverlapGeometry, TriangleMarginsDegenerateTrianglesAndSearchRadius)
{
    TavPoint const a = {0, 0, 5}, b = {200, 0, 5}, c = {0, 200, 5};
    EXPECT_TRUE(pointInTriangle({-1, 50, 0}, a, b, c));  // v = -0.005
    EXPECT_FALSE(pointInTriangle({-1.0001f, 50, 0}, a, b, c));
    EXPECT_TRUE(pointInTriangle({201, 0, 5}, a, b, c));  // v + w = 1.005
    EXPECT_FALSE(pointInTriangle({100, 101.01f, 5}, a, b, c));
    EXPECT_TRUE(pointInTriangle({50, 900, 50}, {0, 5, 0}, {0, 5, 200}, {200, 5, 0}));  // seen along y
    TavPoint const o = {};  // no area: only what lies within 0.0002 of the first corner
    EXPECT_TRUE(pointInTriangle({0.00019f, 0, 0}, o, o, b));
    EXPECT_FALSE(pointInTriangle({0.00021f, 0, 0}, o, o, b) || pointInTriangle(b, o, o, b));

    Plaque p;
    p.corners[1] = {0, 2, 0}, p.corners[3] = {1, 1, 0}, p.distance = 1000;
    EXPECT_EQ(overlapSearchRadius(RenderingContext(), p), 8.0f);  // 4 x the farthest corner
    p.distance = 200;  // (2 x 200 x pi / 2000) x 10, by the image's height
    EXPECT_EQ(overlapSearchRadius(RenderingContext(), p), 2.0f * 200.0f * 3.1415927f / 2000.0f * 10.0f);
}

TEST_F(Overlap, APlaqueInFrontOfAMuchLargerOppositeFaceGoes)
{
    // A wall at z = -30: its front seen from 80 away, its back (normal -z) from 20 away, four times the size.
    DetectPlaqueInfo const front = seeing(backA, {10, 10, -30});
    auto const records = merged({front, seeing(a, centreOf(front), 0, {0, 0, -1})});
    PlaqueKDTree tree(context, records, 1.0f, false);
    DebugOverlapCounters counters;
    counters.nullNormals = 3;
    DectectBackfaceTavbin(tree, records, &counters);
    EXPECT_EQ(tree.removed, (std::vector<bool>{true, false}));
    EXPECT_EQ(counters.nullNormals, 3u);  // touches no counter

    PlaqueKDTree exact(context, records, 1.0f, false);
    exact.plaques[0].size = 1.0 / 64, exact.plaques[1].size = 2.0 / 64;  // twice as large: not more
    DectectBackfaceTavbin(exact, records, nullptr);
    EXPECT_EQ(exact.removed, std::vector<bool>(2));
    exact.plaques[1].size = 2.0 / 64 * (1 + 0x1p-20);
    DectectBackfaceTavbin(exact, records, nullptr);
    EXPECT_EQ(exact.removed, (std::vector<bool>{true, false}));
}

TEST(OverlapRemoval, KeepsClearRecordsWithTheirAovsAndIgnoresOtherLengths)
{
    std::vector<DetectPlaqueInfo> records(3);
    std::vector<Holvane::BinIO::hlvRenderSample5_t> samples(3);
    std::vector<Holvane::RenderSample::AOVData> aovs(6);
    for (int i = 0; i < 6; ++i)
        aovs[i].intValue = i, records[i / 2].x = samples[i / 2].x = static_cast<std::uint16_t>(i / 2);
    std::vector<bool> const middle = {false, true, false};
    RemoveOverlapList(records, {true, false});
    RemoveOverlapSample5List(samples, aovs, 3, middle);  // 3 AOVs a sample need 9 slots: left alone
    ASSERT_TRUE(records.size() == 3 && samples.size() == 3 && aovs.size() == 6);
    RemoveOverlapList(records, middle);
    RemoveOverlapSample5List(samples, aovs, 2, middle);
    ASSERT_TRUE(records.size() == 2 && samples.size() == 2 && aovs.size() == 4);
    EXPECT_TRUE(records[1].x == 2 && samples[1].x == 2);
    EXPECT_TRUE(aovs[0].intValue == 0 && aovs[1].intValue == 1 && aovs[2].intValue == 4 && aovs[3].intValue == 5);
}

TEST(OverlapReport, WritesTheCountersLineByLine)
{
    DebugOverlapCounters counters;
    counters.totalIndices = 3, counters.nullNormals = 4, counters.firstPassRemoved = 1, counters.laterPassRemoved = 1;
    counters.estimatedFillHoles = 5, counters.backFaces = 6, counters.hyperTangents = 7, counters.deferredCount = 8;
    std::string const path = ::testing::TempDir() + "overlap_counters.txt";
    WriteDebugCounters(path, counters);
    std::stringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    std::remove(path.c_str());
    EXPECT_EQ(text.str(), "Total indices: 3\n\n# of samples with null/inf normals: 4\n\n# identified in the first pass: 1\n"
                          "# estimated fill holes: 5\n# back faces: 6\n# hyper tangents (0.05): 7\n\n"
                          "Total removed: 2 (66.6667%)\n\nFinal count: 1\n");
}

TEST_F(Overlap, DamagedListsNeverBreakTheWalks)
{
    rig.cameras.assign(8, rig.cameras[a]), rig.cameraWeights.resize(8);
    float const nan = std::nanf("");
    std::vector<DetectPlaqueInfo> records(6, seeing(0, {10, 10, -200}));  // all at one point
    for (std::uint8_t i = 0; i < 6; ++i)
        records[i].cameraIndex = static_cast<std::uint8_t>(i == 5 ? 200 : i);  // 200: beyond the rig
    records.push_back(records[0]), records.back().distance = nan;
    records.push_back(records[0]), records.back().normal = {nan, 0, 1};
    records.push_back(records[0]), records.back().normal = {0, 0, 0};
    records.push_back(records[0]), records.back().level = 255, records.back().x = 65535;
    for (std::size_t n : {std::size_t(0), std::size_t(1), records.size()}) {
        std::vector<DetectPlaqueInfo> const list(records.begin(), records.begin() + n);
        PlaqueKDTree tree(context, list, 1.0f);
        DebugOverlapCounters counters;
        DectectOverlapsWithQualityCheck(tree, list, &counters);
        EXPECT_EQ(tree.removed, std::vector<bool>(n));
        EXPECT_EQ(counters.totalIndices, n);
        EXPECT_EQ(counters.nullNormals, n > 1 ? 2u : 0u);
        auto const tavbins = merged(list);
        PlaqueKDTree mergedTree(context, tavbins, 1.0f, false);
        DectectBackfaceTavbin(mergedTree, tavbins, nullptr);
        auto longer = tavbins;
        longer.emplace_back();
        DectectOverlapTavbinWithQualityCheck(mergedTree, longer, &counters);  // not the tree's list
        EXPECT_EQ(counters.totalIndices, 0u);
    }
}
