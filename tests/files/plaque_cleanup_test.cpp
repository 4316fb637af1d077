// The clean-up of detection plaques: redundancies, folding of small neighbours, levels, and the whole of it
// at the end of a detection.

#include <holvane/block.h>
#include <holvane/fillhole.h>

#include "camera/cube_image.h"
#include "common/log_capture.h"
#include "session/context.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

using namespace Holvane::BinIO;
using HolvaneTest::LogCapture;

namespace {

using Lines = std::vector<std::string>;
using Rows = std::vector<std::tuple<int, int, int, int>>;  // camera, x, y, level
using Plaques = std::vector<DetectPlaqueInfo>;

DetectPlaqueInfo at(int camera, int x, int y, float distance, bool transparent = false)
{
    DetectPlaqueInfo p;
    p.cameraIndex = std::uint8_t(camera), p.x = std::uint16_t(x), p.y = std::uint16_t(y), p.distance = distance;
    p.normal = {1.0f, 0.0f, 0.0f}, p.isTransparent = transparent;
    return p;
}

// The 2 x 2 cell at (x, y), in rows, all at `d` but the last at `last`; then, unless `alone`, a record of the
// camera after it, since a camera's last record is never a candidate.
void addCell(Plaques& list, int camera, int x, int y, float d, float last, bool alone = false)
{
    for (int k = 0; k < 4; ++k)
        list.push_back(at(camera, x + (k & 1), y + (k >> 1), k == 3 ? last : d));
    if (!alone)
        list.push_back(at(camera, 8, 5, 1.0f));
}

Rows rows(Plaques const& list)
{
    Rows out;
    for (DetectPlaqueInfo const& p : list)
        out.emplace_back(p.cameraIndex, p.x, p.y, p.level);
    return out;
}

constexpr float kOneUp = 1.00000012f;  // 1 + 2^-23: four of them sum to 1 in float, not in double

}  // namespace

// A 9 x 6 image has faces of 3 x 3; the cell at (4, 4) lies in face 4. A record already in the output list
// counts among the isolated ones.
TEST(FilterPlaques, FoldsACellIntoItsFirstRecordWithFloatMeansAndHalvedPixel)
{
    Plaques list, isolated = {at(9, 0, 0, 1.0f)};
    addCell(list, 4, 4, 4, kOneUp, kOneUp);
    list[0].distance = 1.0f;
    for (int k = 1; k < 4; ++k)
        list[k].normal = {kOneUp, -0.5f, 0.25f * float(k)};
    LogCapture log;
    filterPlaques(list, 9, 6, 0.5f, false, isolated);
    EXPECT_EQ(log.lines, (Lines{"3|Filtering similar plaques among 5 samples\n",
                                "3|Filtering result: 2 isolated, 1 remaning, (40.000000% gained)\n"}));
    EXPECT_EQ(rows(list), (Rows{{4, 8, 5, 0}}));
    ASSERT_EQ(rows(isolated), (Rows{{9, 0, 0, 0}, {4, 2, 2, 0}}));
    DetectPlaqueInfo const& folded = isolated[1];
    EXPECT_TRUE(folded.distance == 1.0f && folded.normal.x == 1.0f);
    EXPECT_TRUE(folded.normal.y == -0.375f && folded.normal.z == 0.375f);  // not renormalised

    list.clear(), isolated.clear(), log.lines.clear();
    filterPlaques(list, 9, 6, 0.5f, true, isolated);
    EXPECT_EQ(log.lines, (Lines{"3|Filtering plaques smaller than 0.500000 among 0 samples\n",
                                "3|Filtering result: 0 isolated, 0 remaning, (0% gained)\n"}));
}

// One cell per camera that must not fold, and camera 5's that does. Camera 3's cell has no record after it,
// and camera 2's (1, 1) at 15 must not stand in for its missing one.
TEST(FilterPlaques, LeavesCellsThatStraddleFacesOrLayersOrLackTheirCamerasLastRecord)
{
    Plaques list, isolated;
    addCell(list, 1, 2, 0, 15.0f, 15.0f);         // x = 3 is face 1
    addCell(list, 2, 0, 0, 10.0f, 15.0f);         // mean 11.25: 15 is more than 10 % away
    addCell(list, 3, 0, 0, 15.0f, 15.0f, true);
    addCell(list, 4, 1, 0, 15.0f, 15.0f);         // odd x can't start; (2, 0) has no right neighbour
    addCell(list, 5, 0, 0, 15.0f, 15.0f);
    Plaques expected(list.begin(), list.end() - 5);
    expected.push_back(list.back());
    LogCapture log;
    filterPlaques(list, 9, 6, 0.5f, false, isolated);
    EXPECT_EQ(rows(isolated), (Rows{{5, 0, 0, 0}}));
    EXPECT_EQ(rows(list), rows(expected));
}

// Size on the surface: distance / |cos| x sin(one pixel's angle). Face on at distance 1 it is 0.643 in a
// 9-pixel-wide image; tilted to cos 0.5 (camera 2's (0, 1)) or twice as far (camera 3) it is 1.286.
TEST(FilterPlaques, SmallOnlyTakesPlaquesSmallerThanTheThresholdOnTheSurface)
{
    Plaques list, isolated;
    for (int camera : {1, 2, 3})
        addCell(list, camera, 0, 0, camera == 3 ? 2.0f : 1.0f, camera == 3 ? 2.0f : 1.0f);
    for (DetectPlaqueInfo& p : list)
        p.normal = Holvane::Internal::pixelDirection(9, 6, p.x, p.y).direction;
    TavPoint& tilted = list[7].normal;
    tilted = {tilted.x * 0.5f, tilted.y * 0.5f, tilted.z * 0.5f};
    LogCapture log;
    filterPlaques(list, 9, 6, 1.0f, true, isolated);
    EXPECT_EQ(rows(isolated), (Rows{{1, 0, 0, 0}}));
}

// A damaged list: a cell at the image's right end (in 9 x 6 its lower right neighbour would lie one past the
// grid, its right neighbour (0, 5) being there; in 9 x 5 its right neighbour would), a pixel far outside,
// NaN, records on one pixel. Nothing folds and
// nothing is read outside the grid (the sanitizer build checks that).
TEST(FilterPlaques, DamagedListsStayInsideTheImage)
{
    for (unsigned long long height : {6ULL, 5ULL}) {
        Plaques list, isolated;
        addCell(list, 0, 8, 3 + int(height == 6), 5.0f, 5.0f, true);
        for (float d : {std::nanf(""), 5.0f, 5.0f, 5.0f})
            list.push_back(at(0, 0, 0, d));
        list.push_back(at(0, 65535, 65535, 5.0f)), list.push_back(at(0, 0, 5, 5.0f)), list.push_back(at(0, 8, 0, 5.0f));
        std::size_t const count = list.size();
        LogCapture log;
        filterPlaques(list, 9, height, 1e6f, true, isolated);
        EXPECT_TRUE(list.size() == count && isolated.empty()) << height;
        RenderingContext tiny;
        tiny.width = 1, tiny.height = 1;
        filterPlaqueLevels(tiny, 1e6f, list);
        EXPECT_EQ(list.size(), count);
    }
}

// 16 x 16 plaques of camera 0 in face 0 of a 48 x 32 image. Each pass leaves out its list's last record, so
// that record's cell stays at the lower level: 4 plaques of level 1, 3 of level 2 and 3 of level 3 remain.
TEST(FilterPlaqueLevels, FoldsUpToThreeTimesAndScalesEachLevelBack)
{
    Plaques list;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            list.push_back(at(0, x, y, 10.0f));
    list.push_back(at(0, 20, 20, 10.0f));
    RenderingContext context;
    context.width = 48, context.height = 32;
    LogCapture log;
    filterPlaqueLevels(context, 1e6f, list);
    EXPECT_EQ(rows(list), (Rows{{0, 20, 20, 0}, {0, 12, 12, 1}, {0, 14, 12, 1}, {0, 12, 14, 1}, {0, 14, 14, 1},
                                {0, 8, 8, 2}, {0, 12, 8, 2}, {0, 8, 12, 2}, {0, 0, 0, 3}, {0, 8, 0, 3}, {0, 0, 8, 3}}));
    ASSERT_EQ(log.lines.size(), 6u);
    EXPECT_EQ(log.lines[2], "3|Filtering plaques smaller than 1000000.000000 among 64 samples\n");

    log.lines.clear();
    resizePlaques(list, 3);
    EXPECT_EQ(log.only(), "1|Resizing is not a power of 2\n");
    EXPECT_EQ(rows(list)[1], std::make_tuple(0, 36, 36, 1));
    list = {at(0, 30000, 7, 1.0f)};
    resizePlaques(list, 8);
    EXPECT_EQ(rows(list)[0], std::make_tuple(0, std::uint16_t(240000), 56, 3));  // 16 bits
    EXPECT_EQ(log.lines.size(), 1u);
}

// In a 624-pixel-wide image with the tolerance 0.475, depths 100 and 101 lie on one layer, 100 and 102 don't;
// 1 and 1.15 lie more than ten per cent apart. A NaN sorts last and counts as on the kept plaque's layer.
TEST(RemoveRedundancies, KeepsTheNearestOfEachLayerComparedWithTheLastKeptPlaque)
{
    Plaques list = {at(3, 5, 5, std::nanf("")), at(3, 5, 5, 100.5f), at(3, 5, 5, 100.0f)};
    for (float d : {104.0f, 103.0f, 102.0f, 101.0f, 100.0f})  // a run that creeps apart
        list.push_back(at(3, 6, 5, d));
    for (DetectPlaqueInfo p : {at(3, 7, 5, 1.0f), at(3, 7, 5, 1.15f), at(3, 8, 5, 50.0f), at(3, 8, 5, 50.0f)})
        list.push_back(p);
    list.back().isHair = 1;
    list.push_back(at(0, 9, 5, 50.0f));
    list.back().isTransparent = 1;  // after every opaque plaque
    RenderingContext context;
    context.width = 624;
    RemoveRedundancies(list, context, 0.475f);
    std::vector<std::tuple<int, float, int, int>> kept;
    for (DetectPlaqueInfo const& p : list)
        kept.emplace_back(p.x, p.distance, p.isHair, p.isTransparent);
    EXPECT_EQ(kept, (std::vector<std::tuple<int, float, int, int>>{
                        {5, 100.0f, 0, 0}, {6, 100.0f, 0, 0}, {6, 102.0f, 0, 0}, {6, 104.0f, 0, 0}, {7, 1.0f, 0, 0},
                        {7, 1.15f, 0, 0}, {8, 50.0f, 0, 0}, {8, 50.0f, 1, 0}, {9, 50.0f, 0, 1}}));
}

namespace {

// A 624 x 416 image seen by four cameras. Plaques at distance 1, face on, are 0.01 across on the surface:
// below the threshold 0.1 / (2 x renderScale) = 0.05.
class FillHoleIndices : public ::testing::Test {
protected:
    LogCapture log;
    Holvane::Camera::CameraRig rig;
    RenderingContext context;

    void SetUp() override
    {
        Holvane::Internal::resetSession();
        rig.cameras = {{0, 0, 0}, {40, 0, 0}, {0, 40, 0}, {0, 0, 40}};
        rig.cameraWeights.assign(4, 1.0f), rig.cameraMasks.assign(4, 63u), rig.camerasWorld = rig.cameras;
        context.rig = &rig, context.width = 624, context.height = 416;
    }
    void TearDown() override { Holvane::Internal::resetSession(); }

    // Face on, with a stale level that the cleaning clears.
    static DetectPlaqueInfo faceOn(int camera, int x, int y, float distance, bool transparent = false)
    {
        DetectPlaqueInfo p = at(camera, x, y, distance, transparent);
        p.normal = Holvane::Internal::pixelDirection(624, 416, p.x, p.y).direction, p.level = 3;
        return p;
    }

    // Transparent camera 0 and opaque camera 1 each have a foldable cell at (2, 2) and a plaque after it;
    // camera 1 repeats (2, 2) on its layer; camera 2 has 10 and 10.4, one layer apart only with the narrower
    // tolerance.
    static Plaques records()
    {
        Plaques r;
        for (int camera : {0, 1}) {
            for (int k = 0; k < 4; ++k)
                r.push_back(faceOn(camera, 2 + (k & 1), 2 + (k >> 1), 1.0f, camera == 0));
            r.push_back(faceOn(camera, 10, 10, 1.0f, camera == 0));
        }
        for (DetectPlaqueInfo p : {faceOn(1, 2, 2, 1.0001f), faceOn(2, 100, 100, 10.4f), faceOn(2, 100, 100, 10.0f)})
            r.push_back(p);
        return r;
    }
};

}  // namespace

// Opaque plaques first, then transparent ones, each group ending in its folded plaques (level 1).
TEST_F(FillHoleIndices, OpaqueThenTransparentEachEndingInItsFoldedPlaques)
{
    Plaques list;
    Holvane::Block::processFillHoleIndices(context, list, 1.0f);
    EXPECT_TRUE(list.empty());
    list = records();
    Holvane::Block::processFillHoleIndices(context, list, 1.0f);
    EXPECT_EQ(rows(list), (Rows{{1, 10, 10, 0}, {2, 100, 100, 0}, {2, 100, 100, 0}, {1, 2, 2, 1}, {0, 10, 10, 0},
                                {0, 2, 2, 1}}));
    EXPECT_TRUE(list[1].distance == 10.0f && !list[3].isTransparent && list[4].isTransparent);

    Holvane::Internal::session().transparencyMode = Holvane::Phase::TRANSP;  // the wider tolerance
    list = records();
    Holvane::Block::processFillHoleIndices(context, list, 1.0f);
    EXPECT_EQ(rows(list), (Rows{{1, 10, 10, 0}, {2, 100, 100, 0}, {1, 2, 2, 1}, {0, 10, 10, 0}, {0, 2, 2, 1}}));
}

// Cameras the rig doesn't have, pixels outside the image, NaN distances and normals, records on one point:
// cleaned without reading outside anything (the sanitizer build checks that).
TEST_F(FillHoleIndices, DamagedListIsCleanedWithoutReachingOutside)
{
    Plaques list;
    for (int k = 0; k < 6; ++k) {
        list.push_back(faceOn(200 + k % 2, 65535, 65535, 1.0f, k % 3 == 0));
        list.push_back(faceOn(k % 2, 2, 2, std::nanf(""), k % 3 == 0));
        list.push_back(faceOn(1, 4, 4, 1.0f + 0.5f * float(k)));
        list.back().normal = {std::nanf(""), 0.0f, 1.0f};
    }
    list.push_back(faceOn(3, 623, 415, 1.0f));
    Holvane::Block::processFillHoleIndices(context, list, 1.0f);
    EXPECT_LE(list.size(), 19u);
    list = {faceOn(255, 623, 415, 1.0f)};
    Holvane::Block::processFillHoleIndices(context, list, 1.0f);
    EXPECT_EQ(list.size(), 1u);
}
