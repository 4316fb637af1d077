#include "camera/camera_rig.h"
#include "camera_session.h"

#include <gtest/gtest.h>

#include <bitset>
#include <cmath>
#include <set>
#include <tuple>

using Holvane::Internal::buildBoxRig;
using Holvane::Internal::CameraRig;

namespace {

// The mask a camera must have from where it stands on the box: one bit per face it touches.
std::uint32_t facesTouched(TavPoint const& p)
{
    std::uint32_t mask = 0;
    mask |= p.z == -50.0f ? 1u : 0u;
    mask |= p.x == 50.0f ? 2u : 0u;
    mask |= p.z == 50.0f ? 4u : 0u;
    mask |= p.x == -50.0f ? 8u : 0u;
    mask |= p.y == 50.0f ? 16u : 0u;
    mask |= p.y == -50.0f ? 32u : 0u;
    return mask;
}

}  // namespace

TEST(BoxRig, HasOneCentreCameraAnd255DistinctCamerasOnTheBoxSurface)
{
    CameraRig const rig = buildBoxRig(false);
    ASSERT_EQ(rig.cameras.size(), 256u);
    ASSERT_EQ(rig.cameraWeights.size(), 256u);
    ASSERT_EQ(rig.cameraMasks.size(), 256u);
    EXPECT_TRUE(rig.camerasWorld.empty());

    std::set<std::tuple<float, float, float>> distinct;
    for (std::size_t i = 0; i < rig.cameras.size(); ++i) {
        TavPoint const p = rig.cameras[i];
        distinct.insert({p.x, p.y, p.z});
        if (i == 146) {
            EXPECT_EQ(p.x, 0.0f);
            EXPECT_EQ(p.y, 0.0f);
            EXPECT_EQ(p.z, 0.0f);
            EXPECT_EQ(rig.cameraMasks[i], 63u);
            EXPECT_EQ(rig.cameraWeights[i], 0.0f);
            continue;
        }
        float const extent = std::max(std::fabs(p.x), std::max(std::fabs(p.y), std::fabs(p.z)));
        EXPECT_EQ(extent, 50.0f) << "camera " << i;
        EXPECT_EQ(rig.cameraMasks[i], facesTouched(p)) << "camera " << i;
        EXPECT_GE(rig.cameraWeights[i], 1.0f) << "every other weight grows by one";
    }
    EXPECT_EQ(distinct.size(), 256u);
}

TEST(BoxRig, PlacesCamerasByGridThenRowThenColumn)
{
    CameraRig const rig = buildBoxRig(false);
    // First camera of the first side grid: corner 1 moved a fifth of the way to corner 2.
    EXPECT_FLOAT_EQ(rig.cameras[0].x, -50.0f);
    EXPECT_FLOAT_EQ(rig.cameras[0].y, 30.0f);
    EXPECT_FLOAT_EQ(rig.cameras[0].z, -50.0f);
    EXPECT_EQ(rig.cameraMasks[0], 9u);
    // The next camera steps along i, an eighth of the edge from corner 1 towards corner 0.
    EXPECT_FLOAT_EQ(rig.cameras[1].x, -37.5f);
    EXPECT_FLOAT_EQ(rig.cameras[1].y, 30.0f);
    EXPECT_EQ(rig.cameraMasks[1], 1u);
    // The ninth is the next row j.
    EXPECT_FLOAT_EQ(rig.cameras[8].y, 10.0f);
    // The top grid starts at corner 7, a cube corner with three faces.
    EXPECT_EQ(rig.cameras[128].x, -50.0f);
    EXPECT_EQ(rig.cameras[128].y, 50.0f);
    EXPECT_EQ(rig.cameras[128].z, 50.0f);
    EXPECT_EQ(std::bitset<32>(rig.cameraMasks[128]).count(), 3u);
    // The bottom grid ends at corner 3 + (6 - 2) = (1, -1, 1), i.e. corner 4.
    EXPECT_EQ(rig.cameras[255].x, 50.0f);
    EXPECT_EQ(rig.cameras[255].y, -50.0f);
    EXPECT_EQ(rig.cameras[255].z, 50.0f);
}

TEST(BoxRig, WeightsComeFromTheTablePlusOne)
{
    CameraRig const rig = buildBoxRig(false);
    EXPECT_EQ(rig.cameraWeights[0], 10.0f);
    EXPECT_EQ(rig.cameraWeights[12], 1.0f);     // a zero of the table
    EXPECT_EQ(rig.cameraWeights[170], 35.0f);   // ties with the centre's weight come later and stay
    EXPECT_EQ(rig.cameraWeights[255], 7.0f);
    float sum = 0.0f;
    for (float w : rig.cameraWeights)
        sum += w;
    EXPECT_EQ(sum, 4964.0f - 34.0f + 255.0f);
}

TEST(BoxRig, AllMaskBitsOpensEveryCameraToEveryFace)
{
    CameraRig const rig = buildBoxRig(true);
    for (std::uint32_t mask : rig.cameraMasks)
        EXPECT_EQ(mask, 63u);
    EXPECT_EQ(rig.cameras[0].x, buildBoxRig(false).cameras[0].x);
}

namespace {

using HolvaneTest::CameraSession;
using Holvane::Internal::buildCameraRig;
using Holvane::Internal::buildCameraTables;

class SessionRig : public CameraSession {};

}  // namespace

TEST_F(SessionRig, ScalesByTheBoxSizeOverTheRenderScaleAndMovesByWholeBoxes)
{
    s().zovScaling = {2.0f, 1.0f, 0.5f};
    s().renderScale = 2.0f;
    s().zovOffsetRight = 1;
    s().zovOffsetBack = -1;
    buildCameraRig();
    CameraRig const& rig = s().renderingContext.rig;
    ASSERT_EQ(rig.cameras.size(), 256u);
    // Camera 0 stands at (-50, 30, -50) on the box; per axis f = (1, 0.5, 0.25).
    EXPECT_FLOAT_EQ(rig.cameras[0].x, -50.0f + 100.0f);
    EXPECT_FLOAT_EQ(rig.cameras[0].y, 15.0f);
    EXPECT_FLOAT_EQ(rig.cameras[0].z, -12.5f - 25.0f);
    EXPECT_EQ(rig.cameras[146].x, 100.0f);
    EXPECT_EQ(rig.cameras[146].z, -25.0f);
    EXPECT_EQ(rig.cameraMasks[0], 9u);
}

TEST_F(SessionRig, InsideViewOpensAllFacesAndDraftKeepsOneCentreCamera)
{
    s().renderInsideBox = true;
    buildCameraRig();
    for (std::uint32_t mask : s().renderingContext.rig.cameraMasks)
        ASSERT_EQ(mask, 63u);

    s().renderInsideBox = false;
    s().draftMode = true;
    s().zovOffsetRight = 3;  // a draft box has no size, so the offset moves nothing
    buildCameraRig();
    CameraRig const& rig = s().renderingContext.rig;
    ASSERT_EQ(rig.cameras.size(), 1u);
    ASSERT_EQ(rig.cameraWeights.size(), 1u);
    ASSERT_EQ(rig.cameraMasks.size(), 1u);
    EXPECT_EQ(rig.cameras[0].x, 0.0f);
    EXPECT_EQ(rig.cameraWeights[0], 10.0f);
    EXPECT_EQ(rig.cameraMasks[0], 63u);
}

TEST_F(SessionRig, AnUnsetOffsetOrDraftFlagThrowsAndLeavesTheRigAlone)
{
    s().zovOffsetTop = Holvane::Internal::Optional<std::int32_t>();
    EXPECT_THROW(buildCameraRig(), std::exception);
    ASSERT_FALSE(logged.empty());
    EXPECT_EQ(logged.back(), "[Holvane] Accessing value that has not been set");
    EXPECT_TRUE(s().renderingContext.rig.cameras.empty());

    s().zovOffsetTop = 0;
    s().draftMode = Holvane::Internal::Optional<bool>();
    EXPECT_THROW(buildCameraRig(), std::exception);
}

TEST_F(SessionRig, TablesBuildAMissingRigAndFillTheContext)
{
    s().camToWorld.m[3][0] = 10.0f;
    s().camToWorld.m[3][1] = 20.0f;
    s().camToWorld.m[3][2] = 30.0f;
    s().renderScale = 0.5f;
    s().renderingContext.tolerance = 0.125;
    s().outputWidth = 312.0;
    s().outputHeight = 208.0;
    buildCameraTables();
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0], "Cameras were unitialized at this stage.");

    auto const& rc = s().renderingContext;
    ASSERT_EQ(rc.rig.camerasWorld.size(), 256u);
    EXPECT_EQ(rc.rig.camerasWorld[146].x, rc.rig.cameras[146].x + 10.0f);
    EXPECT_EQ(rc.rig.camerasWorld[0].y, rc.rig.cameras[0].y + 20.0f);
    EXPECT_EQ(rc.rig.camerasWorld[0].z, rc.rig.cameras[0].z + 30.0f);
    EXPECT_EQ(rc.context.rig, &rc.rig);
    EXPECT_EQ(rc.context.width, 312u);
    EXPECT_EQ(rc.context.height, 208u);
    EXPECT_EQ(rc.context.renderScale, 0.5f);
    EXPECT_EQ(rc.context.tolerance, 0.125f);
    EXPECT_EQ(rc.context.fetchMap.size(), 312u * 208u);

    logged.clear();
    buildCameraTables();  // a rig is there now: no warning
    EXPECT_TRUE(logged.empty());
}

TEST_F(SessionRig, TheContextPointsAtItsOwnRigThroughCopiesMovesAndResets)
{
    buildRig();
    Holvane::Internal::SessionRenderingContext copy = s().renderingContext;
    EXPECT_EQ(copy.context.rig, &copy.rig);
    EXPECT_EQ(copy.rig.cameras.size(), 256u);
    Holvane::Internal::SessionRenderingContext moved = std::move(copy);
    EXPECT_EQ(moved.context.rig, &moved.rig);
    copy = moved;
    EXPECT_EQ(copy.context.rig, &copy.rig);

    s().renderingContext.maxDistance = 5.0;
    Holvane::Internal::resetSession();
    EXPECT_EQ(s().renderingContext.context.rig, &s().renderingContext.rig);
    EXPECT_TRUE(s().renderingContext.rig.cameras.empty());
    EXPECT_EQ(s().renderingContext.maxDistance, 3.4028234663852886e+38);
}
