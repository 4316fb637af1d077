#ifndef HOLVANE_TESTS_CAMERA_SESSION_H
#define HOLVANE_TESTS_CAMERA_SESSION_H

#include "camera/camera_rig.h"
#include "session/context.h"

#include <holvane/logger.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace HolvaneTest {

// A detection session of a 600 x 400 image with the standard rig, filled field by field as HvPhaseBegin
// would; the log goes to `logged` only.
class CameraSession : public ::testing::Test {
protected:
    std::vector<std::string> logged;

    static void collect(Holvane::Logger::LogLevel const&, char const* text, void* user)
    {
        static_cast<std::vector<std::string>*>(user)->push_back(text);
    }

    Holvane::Internal::HolvaneContext& s() { return Holvane::Internal::session(); }

    void SetUp() override
    {
        using namespace Holvane;
        Logger::HvSetConsoleLogLevel(Logger::LogLevel(-1));
        Logger::HvSetCallBackLogLevel(Logger::TRACE, collect, &logged);
        Logger::HvSetLogLevelHeader(false);
        Internal::resetSession();
        auto& session = s();
        session.phase = Phase::PHASE_DETECT;
        session.renderingWidth = 600.0;
        session.renderingHeight = 400.0;
        session.outputWidth = 600.0;
        session.outputHeight = 400.0;
        session.renderScale = 1.0f;
        session.draftMode = false;
        session.zovOffsetRight = 0;
        session.zovOffsetTop = 0;
        session.zovOffsetBack = 0;
        session.transparencyMode = Phase::ALL;
        session.currentBlock = 0ULL;
        session.sampleIndexCounters.assign(600 * 400, 0);
        session.rayCounters.assign(600 * 400, 0);
        session.cameraPixelCoverage.assign(600, std::vector<std::bitset<256>>(400));
    }

    // The rig and its tables, at a box of 1 x 1 x 1 metre so that the rig stays on -50..+50.
    void buildRig()
    {
        s().zovScaling = {1.0f, 1.0f, 1.0f};
        Holvane::Internal::buildCameraRig();
        Holvane::Internal::buildCameraTables();
    }

    void TearDown() override
    {
        using namespace Holvane;
        Internal::resetSession();
        Logger::HvSetCallBackLogLevel(Logger::LogLevel(-1), nullptr, nullptr);
        Logger::HvSetConsoleLogLevel(Logger::TRACE);
        Logger::HvSetLogLevelHeader(true);
    }
};

}  // namespace HolvaneTest

#endif
