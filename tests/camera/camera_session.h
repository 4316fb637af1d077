#ifndef HOLVANE_TESTS_CAMERA_SESSION_H
#define HOLVANE_TESTS_CAMERA_SESSION_H

#include "camera/camera_rig.h"
#include "common/log_capture.h"
#include "session/context.h"

#include <gtest/gtest.h>

namespace HolvaneTest {

constexpr auto same = [](TavPoint const& a, TavPoint const& b) { return a.x == b.x && a.y == b.y && a.z == b.z; };

// A detection session of a 600 x 400 image, filled field by field as HvPhaseBegin would, its log captured.
// buildRig() adds the standard rig of a 1-metre box (cameras on -50..+50) and its tables.
class CameraSession : public ::testing::Test {
protected:
    LogCapture log;

    Holvane::Internal::HolvaneContext& s() { return Holvane::Internal::session(); }
    void SetUp() override
    {
        Holvane::Internal::resetSession();
        auto& c = s();
        c.phase = Holvane::Phase::PHASE_DETECT, c.transparencyMode = Holvane::Phase::ALL;
        c.renderingWidth = c.outputWidth = 600.0, c.renderingHeight = c.outputHeight = 400.0;
        c.renderScale = 1.0f, c.draftMode = false, c.currentBlock = 0ULL;
        c.zovOffsetRight = c.zovOffsetTop = c.zovOffsetBack = 0;
        c.sampleIndexCounters.assign(600 * 400, 0), c.rayCounters.assign(600 * 400, 0);
        c.cameraPixelCoverage.assign(600, std::vector<Holvane::Internal::CoverageSet>(400));
    }
    void TearDown() override { Holvane::Internal::resetSession(); }
    void buildRig()
    {
        s().zovScaling = {1.0f, 1.0f, 1.0f};
        Holvane::Internal::buildCameraRig();
        Holvane::Internal::buildCameraTables();
    }
};

}  // namespace HolvaneTest

#endif
