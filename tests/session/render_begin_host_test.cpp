// A render phase begins as a host drives it: from a detect file written by the library's own writer.

#include <holvane/holvane.h>

#include "common/detect_file.h"
#include "common/log_capture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using namespace Holvane;
using HolvaneTest::LogCapture;

class RenderBegin : public ::testing::Test {
protected:
    // Two cameras: one at the origin, one far out on +X. Three plaques detected at 624 x 416: the far camera
    // looking along +X, the near one, the far camera looking back along -X.
    void SetUp() override
    {
        BinIO::HeaderCameras const cameras = {{{0, 0, 0}, {1000, 0, 0}}, {1.0f, 2.0f}, {63u, 2u}};
        HolvaneTest::writeDetectFile(path, {{1, 100, 100}, {0, 300, 100}, {1, 520, 100}}, 624, 416, cameras);
        using namespace Phase;
        HvInitPhase(PHASE_RENDER, Util::RenderingEngineId(3));
        HvSetDetectFilePath(path.c_str()), HvSetOutputResolution(312, 208), HvSetBucketSize(16, 16);
        HvSetDraft(false), HvSetCurrentFrame(1, 4), HvSetZovOffset(0, 0, 0), HvSetRenderTransparencyMode(ALL);
        ASSERT_TRUE(Phase::HvSetRenderingResolutionParameters(Phase::HvResolutionParam{2, 2, 1, true}));
    }
    void TearDown() override
    {
        Phase::HvPhaseTerminate(Phase::TERMINATE_ABORT);
        Phase::HvInitPhase(Phase::PHASE_NONE, Util::RenderingEngineId(0));
        std::remove(path.c_str());
    }

    std::string const path = HolvaneTest::tempFile("hv-render-begin");
    LogCapture log;
};

TEST_F(RenderBegin, PlaquesOutsideTheClippingSphereLeaveAndTheFileCamerasShoot)
{
    // The near camera stands inside the sphere; the far one sees it only when looking back along -X.
    Phase::HvSetClippingSphere(true, TavPoint{0, 0, 0}, 100.0f, false);
    ASSERT_TRUE(Phase::HvPhaseBegin());
    EXPECT_TRUE(log.has("2|[Holvane] read the detection file " + path + " .\n"));
    EXPECT_TRUE(log.has("3|[Holvane] filehole(2)\n"));
    EXPECT_TRUE(log.has("2|[Holvane] output resolution 624x416.\n"));  // the detection's resolution

    Camera::HvCameraRay const near = Camera::HvGetRayRenderPhase(0.5, 0.5);
    EXPECT_TRUE(near.valid && near.origin.x == 0.0f);
    Camera::HvCameraRay const back = Camera::HvGetRayRenderPhase(1.5, 0.5);
    EXPECT_TRUE(back.valid && back.origin.x == 1000.0f && back.direction.x < -0.9f);
    EXPECT_FALSE(Camera::HvGetRayRenderPhase(0.5, 1.5).valid);  // past the last plaque
}

TEST_F(RenderBegin, InvertedSphereKeepsEveryPlaque)
{
    Phase::HvSetClippingSphere(true, TavPoint{0, 0, 0}, 100.0f, true);
    ASSERT_TRUE(Phase::HvPhaseBegin());
    EXPECT_TRUE(log.has("3|[Holvane] filehole(3)\n"));
    Camera::HvCameraRay const far = Camera::HvGetRayRenderPhase(0.5, 0.5);
    EXPECT_TRUE(far.valid && far.origin.x == 1000.0f && far.direction.x > 0.9f);
}

TEST_F(RenderBegin, UnreadableDetectFileBeginsWithoutPlaquesOnTheStandardRig)
{
    HolvaneTest::markVersionTooNew(path);
    ASSERT_TRUE(Phase::HvPhaseBegin());
    EXPECT_TRUE(log.has("0|[Holvane] cannot read the detection file " + path + " .\n"));
    EXPECT_TRUE(log.has("1|Cameras were unitialized at this stage."));
    EXPECT_TRUE(log.has("2|[Holvane] output resolution 312x208.\n"));  // the host's resolution stays
    EXPECT_FALSE(Camera::HvGetRayRenderPhase(0.5, 0.5).valid);
}

}  // namespace
