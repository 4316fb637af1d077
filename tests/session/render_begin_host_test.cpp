// A render phase begins as a host drives it: from a detect file written by the library's own writer.

#include <holvane/holvane.h>

#include "common/detect_file.h"
#include "common/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

using namespace Holvane;
using HolvaneTest::LogCapture;

BinIO::DetectPlaqueInfo plaque(std::uint8_t camera, std::uint16_t x, std::uint16_t y)
{
    BinIO::DetectPlaqueInfo p;
    p.cameraIndex = camera;
    p.x = x;
    p.y = y;
    return p;
}

class RenderBegin : public ::testing::Test {
protected:
    // Two cameras: one at the origin, one far out on +X. Three plaques detected at 624 x 416: the far camera
    // looking along +X, the near one, the far camera looking back along -X.
    void SetUp() override
    {
        BinIO::HeaderCameras cameras;
        cameras.locations = {TavPoint{0, 0, 0}, TavPoint{1000, 0, 0}};
        cameras.priorities = {1.0f, 2.0f};
        cameras.directions = {63u, 2u};
        HolvaneTest::writeDetectFile(path, {plaque(1, 100, 100), plaque(0, 300, 100), plaque(1, 520, 100)}, 624, 416,
                                     cameras);
        Phase::HvInitPhase(Phase::PHASE_RENDER, Util::RenderingEngineId(3));
        Phase::HvSetDetectFilePath(path.c_str());
        Phase::HvSetOutputResolution(312, 208);
        Phase::HvSetBucketSize(16, 16);
        Phase::HvSetDraft(false);
        Phase::HvSetCurrentFrame(1, 4);
        Phase::HvSetZovOffset(0, 0, 0);
        Phase::HvSetRenderTransparencyMode(Phase::ALL);
        ASSERT_TRUE(Phase::HvSetRenderingResolutionParameters(Phase::HvResolutionParam{2, 2, 1, true}));
    }
    void TearDown() override
    {
        Phase::HvPhaseTerminate(Phase::TERMINATE_ABORT);
        Phase::HvInitPhase(Phase::PHASE_NONE, Util::RenderingEngineId(0));
        std::remove(path.c_str());
    }

    bool logged(std::string const& line) const
    {
        return std::find(log.lines.begin(), log.lines.end(), line) != log.lines.end();
    }

    std::string const path = HolvaneTest::tempFile("hv-render-begin");
    LogCapture log;
};

TEST_F(RenderBegin, PlaquesOutsideTheClippingSphereLeaveAndTheFileCamerasShoot)
{
    // The near camera stands inside the sphere; the far one sees it only when looking back along -X.
    Phase::HvSetClippingSphere(true, TavPoint{0, 0, 0}, 100.0f, false);
    ASSERT_TRUE(Phase::HvPhaseBegin());
    EXPECT_TRUE(logged("2|[Holvane] read the detection file " + path + " .\n"));
    EXPECT_TRUE(logged("3|[Holvane] filehole(2)\n"));
    EXPECT_TRUE(logged("2|[Holvane] output resolution 624x416.\n"));  // the detection's resolution

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
    EXPECT_TRUE(logged("3|[Holvane] filehole(3)\n"));
    Camera::HvCameraRay const far = Camera::HvGetRayRenderPhase(0.5, 0.5);
    EXPECT_TRUE(far.valid && far.origin.x == 1000.0f && far.direction.x > 0.9f);
}

TEST_F(RenderBegin, UnreadableDetectFileBeginsWithoutPlaquesOnTheStandardRig)
{
    HolvaneTest::markVersionTooNew(path);
    ASSERT_TRUE(Phase::HvPhaseBegin());
    EXPECT_TRUE(logged("0|[Holvane] cannot read the detection file " + path + " .\n"));
    EXPECT_TRUE(logged("1|Cameras were unitialized at this stage."));
    EXPECT_TRUE(logged("2|[Holvane] output resolution 312x208.\n"));  // the host's resolution stays
    EXPECT_FALSE(Camera::HvGetRayRenderPhase(0.5, 0.5).valid);
}

}  // namespace
