#ifndef HOLVANE_TESTS_CAMERA_SESSION_H
#define HOLVANE_TESTS_CAMERA_SESSION_H

#include "camera/camera_rig.h"
#include "session/context.h"

#include <holvane/logger.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace HolvaneTest {

// A detection session of a 600 x 400 image, filled field by field as HvPhaseBegin would; the log goes to
// `logged` only. buildRig() adds the standard rig of a 1-metre box (cameras on -50..+50) and its tables.
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
        session.renderingWidth = session.outputWidth = 600.0;
        session.renderingHeight = session.outputHeight = 400.0;
        session.renderScale = 1.0f;
        session.draftMode = false;
        session.zovOffsetRight = session.zovOffsetTop = session.zovOffsetBack = 0;
        session.transparencyMode = Phase::ALL;
        session.currentBlock = 0ULL;
        session.sampleIndexCounters.assign(600 * 400, 0);
        session.rayCounters.assign(600 * 400, 0);
        session.cameraPixelCoverage.assign(600, std::vector<std::bitset<256>>(400));
    }
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
