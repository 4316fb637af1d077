// Overlap detection on small sets of plaques of the standard rig (weights all 10) in a 600 x 400 image.

#include <holvane/overlap.h>

#include "camera/camera_rig.h"
#include "camera/cube_image.h"
#include "camera/vector_math.h"
#include "detection/overlap_action.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

using Holvane::BinIO::DetectPlaqueInfo;
using Holvane::Binary::tavbin;
using namespace Holvane::Internal;
using Bits = std::vector<bool>;

namespace {

class Overlap : public ::testing::Test {
protected:
    Holvane::Camera::CameraRig rig = buildBoxRig(false);
    RenderingContext context;
    // Cameras of the front face (z = -50) and of the back face (z = +50).
    unsigned a = cameraAt({0, 10, -50}), b = cameraAt({25, 10, -50}), backA = cameraAt({0, 10, 50}),
             backB = cameraAt({25, 10, 50});

    Overlap() { context.rig = &rig, context.width = 600, context.height = 400, rig.cameraWeights.assign(256, 10); }
    unsigned cameraAt(TavPoint const& p) const
    {
        unsigned i = 0;
        while (i < rig.cameras.size() && length(sub(rig.cameras[i], p)) > 0.01f)
            ++i;
        return i;
    }
    // The record of `camera`'s pixel at `level` that sees `point`, resting on the plane of `normal` there.
    DetectPlaqueInfo seeing(unsigned camera, TavPoint const& point, int level = 0, TavPoint normal = {0, 0, 1}) const
    {
        TavPoint2 const uv = cubeCoordinates(sub(point, rig.cameras[camera]));
        RenderingContext reduced = context;
        reduced.width >>= level, reduced.height >>= level;
        auto const x = static_cast<int>(uv.x * reduced.width), y = static_cast<int>(uv.y * reduced.height);
        DetectPlaqueInfo r;
        r.cameraIndex = static_cast<std::uint8_t>(camera), r.level = static_cast<std::uint8_t>(level);
        r.x = static_cast<std::uint16_t>(x << level), r.y = static_cast<std::uint16_t>(y << level), r.normal = normal;
        r.distance = dot(sub(point, rig.cameras[camera]), normal) / dot(reduced.GetCenterDirection(x, y), normal);
        return r;
    }
    TavPoint centreOf(DetectPlaqueInfo const& r) const { return GetPlaqueInfo(context, r, 1.0f).center; }
    // On the plane z = -200: a plaque of camera a on the middle of a plaque of camera b four pixels wide.
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

OverlapAction judge(PlaqueKDTree const& tree, Plaque const& p, Bits& used, std::uint16_t mask = 65535)
{
    return GetOverlapAction(tree, p, mask, true, used);
}

}  // namespace

TEST_F(Overlap, ALargerPlaqueOfAnotherCameraCoversAndIsMarkedButNotForTheCentre)
{
    auto records = coveredPair();
    PlaqueKDTree tree(context, records, 1.0f);
    Bits used(2), centreOnly(2), none;
    EXPECT_EQ(judge(tree, tree.plaques[0], used), Overlapped);
    EXPECT_EQ(judge(tree, tree.plaques[0], centreOnly, 1 << 4), Overlapped);
    EXPECT_EQ(judge(tree, tree.plaques[0], none), Overlapped);
    EXPECT_TRUE(used == Bits({false, true}) && centreOnly == Bits(2) && none.empty());
    EXPECT_EQ(judge(tree, tree.plaques[1], used), NoOverlap);

    DebugOverlapCounters counters;
    counters.deferredCount = counters.backFaces = 7;  // a given record starts from zero
    DectectOverlapsWithQualityCheck(tree, records, &counters);
    EXPECT_EQ(tree.removed, Bits({true, false}));
    EXPECT_TRUE(counters.totalIndices == 2 && counters.firstPassRemoved == 1 && counters.deferredCount == 0 &&
                counters.backFaces == 0 && counters.laterPassRemoved == 0);
    std::vector<Holvane::BinIO::hlvRenderSample5_t> samples(2);  // the same pair as shaded samples
    for (int i = 0; i < 2; ++i) {
        samples[i].depth = records[i].distance, samples[i].x = records[i].x, samples[i].y = records[i].y;
        samples[i].cameraIndex = records[i].cameraIndex, samples[i].level = records[i].level;
        samples[i].color.w = samples[i].normal.z = half_float::half(1.0f);
    }
    PlaqueKDTree sampleTree(context, samples, 1.0f);
    DectectOverlapSamplesWithQualityCheck(sampleTree, samples, nullptr);
    EXPECT_EQ(sampleTree.removed, Bits({true, false}));

    // A back face may go under a front face, never a front face under a back face.
    records[1].normal = {0, 0, -1};
    EXPECT_EQ(judge(PlaqueKDTree(context, records, 1.0f), GetPlaqueInfo(context, records[0], 1.0f), used), NoOverlap);
    std::swap(records[0].normal, records[1].normal);
    EXPECT_EQ(judge(PlaqueKDTree(context, records, 1.0f), GetPlaqueInfo(context, records[0], 1.0f), used), Overlapped);
}

TEST_F(Overlap, WorseCoversDeferUnderTheQualityCheckOnly)
{
    auto const records = coveredPair();
    PlaqueKDTree tree(context, records, 1.0f);
    Plaque p = tree.plaques[0];
    Bits used(2);
    p.size = 1.0 / 128;
    // Five covers of 0.75 of the size are not strictly smaller; summed in float, 1e-12 less is still 0.75.
    for (double size : {0.75 / 128, 0.75 / 128 - 1e-12, 0.6 / 128}) {
        tree.plaques[1].size = size;
        tree.context.tolerance = size > 0.7 / 128 ? 0.25f : 0.5f;
        EXPECT_EQ(judge(tree, p, used), Overlapped) << size;
    }
    tree.context.tolerance = 0.25f, tree.plaques[1].size = std::nextafter(0.75f / 128, 0.0f);
    EXPECT_EQ(judge(tree, p, used), Deferred);
    EXPECT_EQ(GetOverlapAction(tree, p, 65535, false, used), Overlapped);

    rig.cameraWeights[b] = 10.5f;  // the covers' camera weighs more than the plaque's own
    PlaqueKDTree fresh(context, records, 1.0f);
    DebugOverlapCounters counters;
    DectectOverlapsWithQualityCheck(fresh, records, &counters);
    EXPECT_TRUE(fresh.removed == Bits(2) && counters.deferredCount == 1);  // put off once, not once a round
    auto const tavbins = merged(records);
    PlaqueKDTree mergedTree(context, tavbins, 1.0f, false);
    DectectOverlapTavbinWithQualityCheck(mergedTree, tavbins, nullptr);
    EXPECT_EQ(mergedTree.removed, Bits(2));

    auto estimated = records;  // an estimated fill hole goes first, without the check; its cover then waits
    estimated[0].isExtrapolated = 1;
    PlaqueKDTree fillHoles(context, estimated, 1.0f);
    DectectOverlapsWithQualityCheck(fillHoles, estimated, &counters);
    EXPECT_EQ(fillHoles.removed, Bits({true, false}));
    EXPECT_TRUE(counters.firstPassRemoved == 1 && counters.estimatedFillHoles == 1 && counters.deferredCount == 1);
}

TEST_F(Overlap, ACoverThatARemovalLeansOnWaitsForTheNextRound)
{
    // On the plane z = -100: p (50 away, 1 pixel) lies on c (150 away), which lies on d (150 away, 4 pixels).
    // Sizes set by hand walk p, d, c: p goes leaning on c, the largest of its candidates; c is held back,
    // then goes in the second round under d, whose size passes at half tolerance.
    DetectPlaqueInfo const d = seeing(backB, {10, 10, -100}, 2), c = seeing(backA, centreOf(d));
    std::vector<DetectPlaqueInfo> const records = {seeing(a, centreOf(c)), c, d};
    context.tolerance = 0.5f;
    PlaqueKDTree tree(context, records, 1.0f);
    tree.plaques[0].size = 1, tree.plaques[1].size = 3, tree.plaques[2].size = 2;
    DebugOverlapCounters counters;
    DectectOverlapsWithQualityCheck(tree, records, &counters);
    EXPECT_EQ(tree.removed, Bits({true, true, false}));
    EXPECT_TRUE(counters.firstPassRemoved == 1 && counters.deferredCount == 1 && counters.laterPassRemoved == 1);
}

TEST_F(Overlap, TwinsEdgeOnAndInvalidPlaquesStay)
{
    // Two identical plaques of two cameras at one place both stay, though one might expect the first walked to
    // go under its twin: the centre of one lies on the other's centre, which never counts as covered.
    TavPoint const bAt = rig.cameras[b];
    rig.cameras[b] = rig.cameras[a];
    std::vector<DetectPlaqueInfo> twins(2, seeing(a, {10, 10, -200}));
    twins[1].cameraIndex = static_cast<std::uint8_t>(b);
    PlaqueKDTree pair(context, twins, 1.0f);
    DectectOverlapsWithQualityCheck(pair, twins, nullptr);
    EXPECT_EQ(pair.removed, Bits(2));

    rig.cameras[b] = bAt;
    PlaqueKDTree tree(context, coveredPair(), 1.0f);
    Bits used(2);
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
    TavPoint const a = {0, 0, 5}, b = {200, 0, 5}, c = {0, 200, 5}, o = {};
    EXPECT_TRUE(pointInTriangle({-1, 50, 0}, a, b, c) && pointInTriangle({201, 0, 5}, a, b, c));  // -0.005, 1.005
    EXPECT_FALSE(pointInTriangle({-1.0001f, 50, 0}, a, b, c) || pointInTriangle({100, 101.01f, 5}, a, b, c));
    EXPECT_TRUE(pointInTriangle({50, 900, 50}, {0, 5, 0}, {0, 5, 200}, {200, 5, 0}));  // seen along y
    // No area: only what lies within 0.0002 of the first corner.
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
    TavPoint const at = centreOf(front);
    for (float offset : {0.0f, 1.2f}) {  // 1.2 away lies beyond a quarter of the search radius
        auto const records = merged({front, seeing(a, {at.x + offset, at.y, at.z}, 0, {0, 0, -1})});
        PlaqueKDTree tree(context, records, 1.0f, false);
        DebugOverlapCounters counters;
        counters.nullNormals = 3;
        DectectBackfaceTavbin(tree, records, &counters);
        EXPECT_EQ(tree.removed, Bits({offset == 0.0f, false}));
        EXPECT_EQ(counters.nullNormals, 3u);  // touches no counter
    }
    auto const records = merged({front, seeing(a, at, 0, {0, 0, -1})});
    PlaqueKDTree exact(context, records, 1.0f, false);
    exact.plaques[0].size = 1.0 / 64, exact.plaques[1].size = 2.0 / 64;  // twice as large: not more
    DectectBackfaceTavbin(exact, records, nullptr);
    EXPECT_EQ(exact.removed, Bits(2));
    exact.plaques[1].size = 2.0 / 64 * (1 + 0x1p-20);
    DectectBackfaceTavbin(exact, records, nullptr);
    EXPECT_EQ(exact.removed, Bits({true, false}));
}

TEST(OverlapRemoval, KeepsClearRecordsWithTheirAovsIgnoresOtherLengthsAndReports)
{
    std::vector<DetectPlaqueInfo> records(3);
    std::vector<Holvane::BinIO::hlvRenderSample5_t> samples(3);
    std::vector<Holvane::RenderSample::AOVData> aovs(6);
    for (int i = 0; i < 6; ++i)
        aovs[i].intValue = i, records[i / 2].x = samples[i / 2].x = static_cast<std::uint16_t>(i / 2);
    Bits const middle = {false, true, false};
    RemoveOverlapList(records, {true, false});
    RemoveOverlapSample5List(samples, aovs, 3, middle);  // 3 AOVs a sample need 9 slots: left alone
    ASSERT_TRUE(records.size() == 3 && samples.size() == 3 && aovs.size() == 6);
    RemoveOverlapList(records, middle);
    RemoveOverlapSample5List(samples, aovs, 2, middle);
    ASSERT_TRUE(records.size() == 2 && samples.size() == 2 && aovs.size() == 4);
    EXPECT_TRUE(records[1].x == 2 && samples[1].x == 2 && aovs[1].intValue == 1 && aovs[2].intValue == 4);

    DebugOverlapCounters c;
    c.totalIndices = 3, c.nullNormals = 4, c.firstPassRemoved = 1, c.laterPassRemoved = 1;
    c.estimatedFillHoles = 5, c.backFaces = 6, c.hyperTangents = 7, c.deferredCount = 8;
    std::string const path = ::testing::TempDir() + "overlap_counters.txt";
    WriteDebugCounters(path, c);
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
    std::vector<DetectPlaqueInfo> records(6, seeing(0, {10, 10, -200}));  // all at one point
    for (std::uint8_t i = 0; i < 6; ++i)
        records[i].cameraIndex = i == 5 ? 200 : i;  // 200: beyond the rig
    for (TavPoint const n : {TavPoint{0, 1, 0}, {std::nanf(""), 0, 1}, {0, 0, 0}})  // edge-on, invalid twice
        records.push_back(records[0]), records.back().normal = n;
    records.push_back(records[0]), records.back().distance = std::nanf("");
    records.push_back(records[0]), records.back().level = 255, records.back().x = 65535;
    for (std::size_t n : {std::size_t(0), std::size_t(1), records.size()}) {
        std::vector<DetectPlaqueInfo> const list(records.begin(), records.begin() + n);
        PlaqueKDTree tree(context, list, 1.0f);
        DebugOverlapCounters counters;
        DectectOverlapsWithQualityCheck(tree, list, &counters);
        EXPECT_EQ(tree.removed, Bits(n));
        EXPECT_TRUE(counters.totalIndices == n && counters.nullNormals == (n > 1 ? 2u : 0u) &&
                    counters.hyperTangents == (n > 1 ? 1u : 0u));
        auto tavbins = merged(list);
        PlaqueKDTree mergedTree(context, tavbins, 1.0f, false);
        DectectBackfaceTavbin(mergedTree, tavbins, nullptr);
        tavbins.emplace_back();
        DectectOverlapTavbinWithQualityCheck(mergedTree, tavbins, &counters);  // not the tree's list
        EXPECT_EQ(counters.totalIndices, 0u);
    }
}
