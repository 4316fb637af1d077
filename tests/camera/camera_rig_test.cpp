#include "camera_session.h"

#include <bitset>
#include <set>
#include <tuple>

using namespace Holvane::Internal;
using HolvaneTest::same;

TEST(BoxRig, CamerasStandOnTheBoxWithTheMasksOfTheFacesTheyTouch)
{
    CameraRig const rig = buildBoxRig(false);
    ASSERT_EQ(rig.cameras.size(), 256u);
    std::set<std::tuple<float, float, float>> distinct;
    float weightSum = 0.0f;
    for (std::size_t i = 0; i < 256; ++i) {
        TavPoint const p = rig.cameras[i];
        distinct.insert({p.x, p.y, p.z});
        weightSum += rig.cameraWeights[i];
        std::uint32_t const touched = (p.z == -50) * 1 + (p.x == 50) * 2 + (p.z == 50) * 4 + (p.x == -50) * 8 +
                                      (p.y == 50) * 16 + (p.y == -50) * 32;
        EXPECT_TRUE(i == 146 || (touched != 0 && rig.cameraMasks[i] == touched)) << i;
    }
    EXPECT_EQ(distinct.size(), 256u);
    // The first camera of the greatest weight (34, index 146) moves to the centre; the others gain 1.
    EXPECT_TRUE(same(rig.cameras[146], {0, 0, 0}) && rig.cameraMasks[146] == 63 && rig.cameraWeights[146] == 0.0f);
    EXPECT_EQ(rig.cameraWeights[170], 35.0f);  // the next 34 stays where it is
    EXPECT_EQ(weightSum, 4964.0f - 34.0f + 255.0f);
    // Order: by grid, then row j, then column i. Grid 0 starts a fifth of the way from corner 1 to corner 2.
    EXPECT_FLOAT_EQ(rig.cameras[0].y, 30.0f);
    EXPECT_FLOAT_EQ(rig.cameras[1].x, -37.5f);
    EXPECT_FLOAT_EQ(rig.cameras[8].y, 10.0f);
    EXPECT_EQ(std::bitset<32>(rig.cameraMasks[128]).count(), 3u);            // corner 7
    EXPECT_TRUE(rig.cameras[255].x == 50.0f && rig.cameras[255].z == 50.0f);  // corner 4
    EXPECT_EQ(buildBoxRig(true).cameraMasks, std::vector<std::uint32_t>(256, 63u));  // inside the box
}

using SessionRig = HolvaneTest::CameraSession;

TEST_F(SessionRig, ScalesMovesByWholeBoxesCollapsesInDraftAndThrowsOnUnsetFields)
{
    s().zovScaling = {2.0f, 1.0f, 0.5f};
    s().renderScale = 2.0f, s().zovOffsetRight = 1, s().zovOffsetBack = -1;
    buildCameraRig();
    CameraRig const& rig = s().renderingContext.rig;
    // Camera 0 stands at (-50, 30, -50) on the box; per axis f = (1, 0.5, 0.25), moved by f * 100 * offset.
    EXPECT_TRUE(same(rig.cameras[0], {50.0f, 15.0f, -37.5f}) && rig.cameras[146].z == -25.0f);
    s().renderInsideBox = true;
    buildCameraRig();
    EXPECT_EQ(rig.cameraMasks[0], 63u);
    s().draftMode = true;
    buildCameraRig();
    ASSERT_TRUE(rig.cameras.size() == 1 && rig.cameraWeights.size() == 1 && rig.cameraMasks.size() == 1);
    // A draft box has no size: the offset moves nothing.
    EXPECT_TRUE(rig.cameras[0].x == 0.0f && rig.cameraWeights[0] == 10.0f && rig.cameraMasks[0] == 63u);
    SetUp();  // afresh: an unset field throws
    s().zovOffsetTop = Optional<std::int32_t>();
    EXPECT_THROW(buildCameraRig(), std::exception);
    EXPECT_EQ(log.lines.back(), "4|[Holvane] Accessing value that has not been set");
    EXPECT_TRUE(rig.cameras.empty());
    s().zovOffsetTop = 0, s().draftMode = Optional<bool>();
    EXPECT_THROW(buildCameraRig(), std::exception);
}

TEST_F(SessionRig, TablesBuildAMissingRigAndFillTheContextThatKeepsItsOwnRig)
{
    s().camToWorld.m[3][0] = 10.0f, s().camToWorld.m[3][2] = 30.0f;
    s().renderScale = 0.5f, s().renderingContext.tolerance = 0.125;
    s().outputWidth = 312.0, s().outputHeight = 208.0;
    buildCameraTables();
    EXPECT_EQ(log.lines, std::vector<std::string>{"1|Cameras were unitialized at this stage."});
    auto const& rc = s().renderingContext;
    ASSERT_EQ(rc.rig.camerasWorld.size(), 256u);
    EXPECT_TRUE(rc.rig.camerasWorld[146].x == 10.0f && rc.rig.camerasWorld[0].z == rc.rig.cameras[0].z + 30.0f);
    EXPECT_TRUE(rc.context.width == 312 && rc.context.height == 208 && rc.context.fetchMap.size() == 312u * 208u);
    EXPECT_TRUE(rc.context.renderScale == 0.5f && rc.context.tolerance == 0.125f);
    buildCameraTables();
    EXPECT_EQ(log.lines.size(), 1u);  // a rig is there now
    // The context points at its own rig through copies, moves and resets.
    SessionRenderingContext copy = s().renderingContext;
    EXPECT_EQ(copy.context.rig, &copy.rig);
    SessionRenderingContext moved = std::move(copy);
    EXPECT_TRUE(moved.context.rig == &moved.rig && moved.rig.cameras.size() == 256);
    copy = moved;
    EXPECT_EQ(copy.context.rig, &copy.rig);
    s().renderingContext.maxDistance = 5.0;
    resetSession();
    EXPECT_TRUE(rc.context.rig == &rc.rig && rc.rig.cameras.empty() && rc.maxDistance == 3.4028234663852886e+38);
}
