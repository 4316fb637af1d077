#include "camera/camera_rig.h"
#include "camera_session.h"

#include <gtest/gtest.h>

#include <bitset>
#include <cmath>
#include <set>
#include <tuple>

using namespace Holvane::Internal;

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
        if (i == 146)
            continue;
        std::uint32_t const touched = (p.z == -50) * 1 + (p.x == 50) * 2 + (p.z == 50) * 4 + (p.x == -50) * 8 +
                                      (p.y == 50) * 16 + (p.y == -50) * 32;
        EXPECT_NE(touched, 0u) << i;
        EXPECT_EQ(rig.cameraMasks[i], touched) << i;
    }
    EXPECT_EQ(distinct.size(), 256u);
    // The first camera of the greatest weight (34, index 146) moves to the centre; the others gain 1.
    EXPECT_TRUE(rig.cameras[146].x == 0 && rig.cameras[146].y == 0 && rig.cameras[146].z == 0);
    EXPECT_TRUE(rig.cameraMasks[146] == 63 && rig.cameraWeights[146] == 0.0f);
    EXPECT_EQ(rig.cameraWeights[170], 35.0f);  // the next 34 stays where it is
    EXPECT_EQ(weightSum, 4964.0f - 34.0f + 255.0f);

    // Order: by grid, then row j, then column i. Grid 0 starts a fifth of the way from corner 1 to corner 2.
    EXPECT_FLOAT_EQ(rig.cameras[0].y, 30.0f);
    EXPECT_FLOAT_EQ(rig.cameras[1].x, -37.5f);
    EXPECT_FLOAT_EQ(rig.cameras[8].y, 10.0f);
    EXPECT_EQ(std::bitset<32>(rig.cameraMasks[128]).count(), 3u);        // corner 7
    EXPECT_TRUE(rig.cameras[255].x == 50.0f && rig.cameras[255].z == 50.0f);  // corner 4

    for (std::uint32_t mask : buildBoxRig(true).cameraMasks)
        ASSERT_EQ(mask, 63u);
}

namespace {

class SessionRig : public HolvaneTest::CameraSession {};

}  // namespace

TEST_F(SessionRig, ScalesMovesByWholeBoxesAndCollapsesInDraft)
{
    s().zovScaling = {2.0f, 1.0f, 0.5f};
    s().renderScale = 2.0f;
    s().zovOffsetRight = 1;
    s().zovOffsetBack = -1;
    buildCameraRig();
    CameraRig const& rig = s().renderingContext.rig;
    // Camera 0 stands at (-50, 30, -50) on the box; per axis f = (1, 0.5, 0.25), moved by f * 100 * offset.
    EXPECT_TRUE(rig.cameras[0].x == 50.0f && rig.cameras[0].y == 15.0f && rig.cameras[0].z == -37.5f);
    EXPECT_EQ(rig.cameras[146].z, -25.0f);

    s().renderInsideBox = true;
    buildCameraRig();
    EXPECT_EQ(s().renderingContext.rig.cameraMasks[0], 63u);

    s().draftMode = true;
    buildCameraRig();
    ASSERT_TRUE(rig.cameras.size() == 1 && rig.cameraWeights.size() == 1 && rig.cameraMasks.size() == 1);
    // A draft box has no size: the offset moves nothing.
    EXPECT_TRUE(rig.cameras[0].x == 0.0f && rig.cameraWeights[0] == 10.0f && rig.cameraMasks[0] == 63u);
}

TEST_F(SessionRig, AnUnsetOffsetOrDraftFlagThrows)
{
    s().zovOffsetTop = Optional<std::int32_t>();
    EXPECT_THROW(buildCameraRig(), std::exception);
    EXPECT_EQ(logged.back(), "[Holvane] Accessing value that has not been set");
    EXPECT_TRUE(s().renderingContext.rig.cameras.empty());
    s().zovOffsetTop = 0;
    s().draftMode = Optional<bool>();
    EXPECT_THROW(buildCameraRig(), std::exception);
}

TEST_F(SessionRig, TablesBuildAMissingRigAndFillTheContext)
{
    s().camToWorld.m[3][0] = 10.0f;
    s().camToWorld.m[3][2] = 30.0f;
    s().renderScale = 0.5f;
    s().renderingContext.tolerance = 0.125;
    s().outputWidth = 312.0;
    s().outputHeight = 208.0;
    buildCameraTables();
    EXPECT_EQ(logged, std::vector<std::string>{"Cameras were unitialized at this stage."});
    auto const& rc = s().renderingContext;
    ASSERT_EQ(rc.rig.camerasWorld.size(), 256u);
    EXPECT_EQ(rc.rig.camerasWorld[146].x, 10.0f);
    EXPECT_EQ(rc.rig.camerasWorld[0].z, rc.rig.cameras[0].z + 30.0f);
    EXPECT_TRUE(rc.context.width == 312 && rc.context.height == 208);
    EXPECT_TRUE(rc.context.renderScale == 0.5f && rc.context.tolerance == 0.125f);
    EXPECT_EQ(rc.context.fetchMap.size(), 312u * 208u);
    buildCameraTables();
    EXPECT_EQ(logged.size(), 1u);  // a rig is there now
}

TEST_F(SessionRig, TheContextPointsAtItsOwnRigThroughCopiesMovesAndResets)
{
    buildRig();
    SessionRenderingContext copy = s().renderingContext;
    EXPECT_EQ(copy.context.rig, &copy.rig);
    SessionRenderingContext moved = std::move(copy);
    EXPECT_TRUE(moved.context.rig == &moved.rig && moved.rig.cameras.size() == 256);
    copy = moved;
    EXPECT_EQ(copy.context.rig, &copy.rig);
    s().renderingContext.maxDistance = 5.0;
    resetSession();
    EXPECT_EQ(s().renderingContext.context.rig, &s().renderingContext.rig);
    EXPECT_TRUE(s().renderingContext.rig.cameras.empty());
    EXPECT_EQ(s().renderingContext.maxDistance, 3.4028234663852886e+38);
}
