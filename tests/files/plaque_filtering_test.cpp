// The clean-up of detection plaques: redundancies, folding of small neighbours, levels.

#include <holvane/fillhole.h>

#include "camera/cube_image.h"
#include "common/log_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

using namespace Holvane::BinIO;
using HolvaneTest::LogCapture;

namespace {

using Lines = std::vector<std::string>;

DetectPlaqueInfo plaqueAt(int camera, int x, int y, float distance, TavPoint normal = {1.0f, 0.0f, 0.0f})
{
    DetectPlaqueInfo p;
    p.cameraIndex = std::uint8_t(camera), p.x = std::uint16_t(x), p.y = std::uint16_t(y);
    p.distance = distance, p.normal = normal;
    return p;
}

// The four records of the 2 x 2 cell at (x, y), in rows.
void addCell(std::vector<DetectPlaqueInfo>& records, int camera, int x, int y, float const distances[4],
             TavPoint normal = {1.0f, 0.0f, 0.0f})
{
    for (int k = 0; k < 4; ++k)
        records.push_back(plaqueAt(camera, x + (k & 1), y + (k >> 1), distances[k], normal));
}

std::vector<std::tuple<int, int, int, int>> cameraPixelLevels(std::vector<DetectPlaqueInfo> const& records)
{
    std::vector<std::tuple<int, int, int, int>> out;
    for (DetectPlaqueInfo const& p : records)
        out.emplace_back(p.cameraIndex, p.x, p.y, p.level);
    return out;
}

constexpr float kOneUp = 1.00000012f;  // 1 + 2^-23: four of them sum to 1 in float, not in double

}  // namespace

// A 9 x 6 image has faces of 3 x 3. The cell at (4, 4) lies in face 4; a fifth record lets the camera's last
// record (never a candidate) be another one.
TEST(FilterPlaques, FoldsACellIntoItsFirstRecordWithFloatMeansAndHalvedPixel)
{
    float const distances[4] = {1.0f, kOneUp, kOneUp, kOneUp};
    std::vector<DetectPlaqueInfo> records;
    addCell(records, 4, 4, 4, distances);
    for (int k = 1; k < 4; ++k)
        records[k].normal = {kOneUp, -0.5f, 0.25f * float(k)};
    records.push_back(plaqueAt(4, 8, 5, 30.0f));
    std::vector<DetectPlaqueInfo> isolated = {plaqueAt(9, 0, 0, 1.0f)};  // already there: counted as isolated
    LogCapture log;
    filterPlaques(records, 9, 6, 0.5f, false, isolated);

    EXPECT_EQ(log.lines, (Lines{"3|Filtering similar plaques among 5 samples\n",
                                "3|Filtering result: 2 isolated, 1 remaning, (40.000000% gained)\n"}));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].x, 8);
    ASSERT_EQ(isolated.size(), 2u);
    DetectPlaqueInfo const& folded = isolated[1];
    EXPECT_EQ(folded.cameraIndex, 4);
    EXPECT_EQ(folded.x, 2);
    EXPECT_EQ(folded.y, 2);
    EXPECT_EQ(folded.level, 0);  // the level is resizePlaques' business
    EXPECT_EQ(folded.distance, 1.0f);
    EXPECT_EQ(folded.normal.x, 1.0f);
    EXPECT_EQ(folded.normal.y, -0.375f);  // not renormalised
    EXPECT_EQ(folded.normal.z, 0.375f);
}

// Each camera holds one cell that must not fold, for one reason each; camera 5 folds, so the pass did run.
TEST(FilterPlaques, LeavesCellsThatStraddleFacesOrLayersOrLackTheirCamerasLastRecord)
{
    float const flat[4] = {15.0f, 15.0f, 15.0f, 15.0f};
    float const step[4] = {10.0f, 10.0f, 10.0f, 15.0f};  // mean 11.25: 15 is more than 10 % away
    std::vector<DetectPlaqueInfo> records;
    addCell(records, 1, 2, 0, flat);  // x = 3 is face 1
    records.push_back(plaqueAt(1, 8, 5, 1.0f));
    addCell(records, 2, 0, 0, step);
    records.push_back(plaqueAt(2, 8, 5, 1.0f));
    addCell(records, 3, 0, 0, flat);  // its last record is (1, 1) itself; camera 2's (1, 1) must not stand in
    addCell(records, 4, 1, 0, flat);  // odd x: (1, 0) can't start it, and (2, 0) has no right neighbour
    records.push_back(plaqueAt(4, 8, 5, 1.0f));
    addCell(records, 5, 0, 0, flat);
    records.push_back(plaqueAt(5, 8, 5, 1.0f));
    std::vector<DetectPlaqueInfo> const before = records;
    std::vector<DetectPlaqueInfo> isolated;
    LogCapture log;
    filterPlaques(records, 9, 6, 0.5f, false, isolated);

    ASSERT_EQ(isolated.size(), 1u);
    EXPECT_EQ(isolated[0].cameraIndex, 5);
    std::vector<DetectPlaqueInfo> expected = before;
    expected.erase(expected.end() - 5, expected.end() - 1);  // camera 5's cell
    EXPECT_EQ(cameraPixelLevels(records), cameraPixelLevels(expected));
}

// A plaque takes part when its size on the surface, distance / |cos| x sin(one pixel's angle), is below the
// threshold. Face on at distance 1 it is 0.643 in a 9-pixel-wide image; tilted to cos 0.5, or twice as far,
// it is 1.286.
TEST(FilterPlaques, SmallOnlyTakesPlaquesSmallerThanTheThresholdOnTheSurface)
{
    float const near[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    float const far[4] = {2.0f, 2.0f, 2.0f, 2.0f};
    std::vector<DetectPlaqueInfo> records;
    for (int camera : {1, 2, 3}) {
        addCell(records, camera, 0, 0, camera == 3 ? far : near);
        records.push_back(plaqueAt(camera, 8, 5, 1.0f));
    }
    for (DetectPlaqueInfo& p : records)  // face on: the normal along the pixel's own direction
        p.normal = Holvane::Internal::pixelDirection(9, 6, p.x, p.y).direction;
    TavPoint& tilted = records[5 + 2].normal;  // camera 2, pixel (0, 1)
    tilted = {tilted.x * 0.5f, tilted.y * 0.5f, tilted.z * 0.5f};
    std::vector<DetectPlaqueInfo> isolated;
    LogCapture log;
    filterPlaques(records, 9, 6, 1.0f, true, isolated);

    ASSERT_EQ(isolated.size(), 1u);
    EXPECT_EQ(isolated[0].cameraIndex, 1);
    EXPECT_EQ(log.lines[0], "3|Filtering plaques smaller than 1.000000 among 15 samples\n");
}

// Records of a damaged list: a cell at the image's right end (in 9 x 6 its lower right neighbour would be
// one past the grid, in 9 x 5 its right neighbour), a pixel far outside, a NaN distance, three records on one
// pixel. Nothing folds and nothing is read outside the grid (the sanitizer build checks that).
TEST(FilterPlaques, DamagedListsStayInsideTheImage)
{
    float const flat[4] = {5.0f, 5.0f, 5.0f, 5.0f};
    for (unsigned long long height : {6ULL, 5ULL}) {
        std::vector<DetectPlaqueInfo> records;
        addCell(records, 0, 8, 3 + int(height == 6), flat);
        for (float d : {std::nanf(""), 5.0f, 5.0f, 5.0f})
            records.push_back(plaqueAt(0, 0, 0, d));
        records.push_back(plaqueAt(0, 65535, 65535, 5.0f));
        records.push_back(plaqueAt(0, 8, 0, 5.0f));
        std::size_t const count = records.size();
        std::vector<DetectPlaqueInfo> isolated;
        LogCapture log;
        filterPlaques(records, 9, height, 1e6f, true, isolated);
        EXPECT_TRUE(records.size() == count && isolated.empty()) << height;
        RenderingContext tiny;
        tiny.width = 1, tiny.height = 1;
        filterPlaqueLevels(tiny, 1e6f, records);
        EXPECT_EQ(records.size(), count);
    }
}

TEST(FilterPlaques, AnEmptyListLogsTheZeroGainForm)
{
    std::vector<DetectPlaqueInfo> records, isolated;
    LogCapture log;
    filterPlaques(records, 9, 6, 0.5f, true, isolated);
    EXPECT_EQ(log.lines, (Lines{"3|Filtering plaques smaller than 0.500000 among 0 samples\n",
                                "3|Filtering result: 0 isolated, 0 remaning, (0% gained)\n"}));
    EXPECT_TRUE(records.empty() && isolated.empty());
}

// 16 x 16 plaques of camera 0 in face 0 of a 48 x 32 image. Each pass leaves out its list's last record,
// so its cell stays at the lower level: four plaques of level 1, three of level 2 and three of level 3 remain,
// covering the 256 pixels between them.
TEST(FilterPlaqueLevels, FoldsUpToThreeTimesAndScalesEachLevelBack)
{
    std::vector<DetectPlaqueInfo> records;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            records.push_back(plaqueAt(0, x, y, 10.0f));
    records.push_back(plaqueAt(0, 20, 20, 10.0f));
    RenderingContext context;
    context.width = 48, context.height = 32;
    LogCapture log;
    filterPlaqueLevels(context, 1e6f, records);

    EXPECT_EQ(cameraPixelLevels(records), (std::vector<std::tuple<int, int, int, int>>{
                                              {0, 20, 20, 0},
                                              {0, 12, 12, 1}, {0, 14, 12, 1}, {0, 12, 14, 1}, {0, 14, 14, 1},
                                              {0, 8, 8, 2}, {0, 12, 8, 2}, {0, 8, 12, 2},
                                              {0, 0, 0, 3}, {0, 8, 0, 3}, {0, 0, 8, 3}}));
    EXPECT_EQ(log.lines.size(), 6u);
    EXPECT_EQ(log.lines[2], "3|Filtering plaques smaller than 1000000.000000 among 64 samples\n");
}

TEST(ResizePlaques, MultipliesIn16BitsAndWarnsOnAFactorThatIsNoPowerOfTwo)
{
    std::vector<DetectPlaqueInfo> records = {plaqueAt(0, 30000, 7, 1.0f)};
    LogCapture log;
    resizePlaques(records, 8);
    EXPECT_TRUE(log.lines.empty());
    EXPECT_EQ(records[0].level, 3);
    EXPECT_EQ(records[0].y, 56);
    resizePlaques(records, 3);
    EXPECT_EQ(log.only(), "1|Resizing is not a power of 2\n");
    EXPECT_EQ(records[0].level, 1);
    EXPECT_EQ(records[0].x, std::uint16_t(30000u * 8u * 3u));
}

// In a 624-pixel-wide image with the tolerance 0.475, depths 100 and 101 lie on one layer, 100 and 102 don't;
// depths 1 and 1.15 lie more than ten per cent apart.
TEST(RemoveRedundancies, KeepsTheNearestOfEachLayerComparedWithTheLastKeptPlaque)
{
    // A damaged NaN distance sorts last and counts as on the kept plaque's layer.
    std::vector<DetectPlaqueInfo> records = {plaqueAt(3, 5, 5, std::nanf("")), plaqueAt(3, 5, 5, 100.5f),
                                             plaqueAt(3, 5, 5, 100.0f)};
    for (float d : {104.0f, 103.0f, 102.0f, 101.0f, 100.0f})  // a run that creeps apart
        records.push_back(plaqueAt(3, 6, 5, d));
    records.push_back(plaqueAt(3, 7, 5, 1.0f));
    records.push_back(plaqueAt(3, 7, 5, 1.15f));
    records.push_back(plaqueAt(3, 8, 5, 50.0f));
    records.push_back(plaqueAt(3, 8, 5, 50.0f));
    records.back().isHair = 1;
    records.push_back(plaqueAt(0, 9, 5, 50.0f));
    records.back().isTransparent = 1;
    RenderingContext context;
    context.width = 624;
    RemoveRedundancies(records, context, 0.475f);

    std::vector<std::pair<int, float>> kept;
    for (DetectPlaqueInfo const& p : records)
        kept.emplace_back(p.x, p.distance);
    ASSERT_EQ(kept.size(), 9u);
    EXPECT_EQ(kept, (std::vector<std::pair<int, float>>{
                        {5, 100.0f}, {6, 100.0f}, {6, 102.0f}, {6, 104.0f}, {7, 1.0f}, {7, 1.15f}, {8, 50.0f},
                        {8, 50.0f}, {9, 50.0f}}));
    EXPECT_EQ(records[7].isHair, 1);  // the hair plaque stays beside its twin
    EXPECT_EQ(records[8].isTransparent, 1);  // transparent plaques after all opaque ones
}
