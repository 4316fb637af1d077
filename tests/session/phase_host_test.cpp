// The phase machine as a host sees it through the shared library: the order of calls, the refusals and the
// checks of the output resolution and the detect file path.

#include <holvane/holvane.h>

#include "common/log_capture.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <vector>

using namespace Holvane::Phase;
using Holvane::Logger::LogLevel;
using HolvaneTest::LogCapture;

namespace {

Holvane::Util::RenderingEngineId const engine = Holvane::Util::RenderingEngineId(7);

void init(int phase)
{
    HvInitPhase(Phase(phase), engine);
}

std::string line(LogLevel level, std::string const& text)
{
    return std::to_string(int(level)) + "|" + text;
}

}  // namespace

TEST(PhaseOrderHost, IdleRefusesEverythingButInit)
{
    init(5);  // an unknown phase resets and leaves no phase chosen, silently
    LogCapture log;
    init(-1);
    EXPECT_TRUE(log.lines.empty());

    EXPECT_THROW(HvPhaseBegin(), std::exception);
    EXPECT_EQ(log.only(), line(Holvane::Logger::TRACE, "[Holvane] begin a phase first.\n"));
    log.clear();

    EXPECT_THROW(HvRenderPhaseRegisterAov(1, "Cd", AOV_VEC3), std::exception);
    EXPECT_EQ(log.only(),
              line(Holvane::Logger::TRACE, "[Holvane] registering aov is only allowed for the render phase.\n"));
    log.clear();

    EXPECT_FALSE(HvPhaseTerminate(TERMINATE_FINALIZE));
    EXPECT_EQ(log.only(), line(Holvane::Logger::WARNING, "[Holvane] begin a phase before terminating it \n"));
    log.clear();

    HvSetBucketSize(16, 16);
    EXPECT_EQ(log.only(), line(Holvane::Logger::ERROR, "[Holvane] Begin a Phase before setting it.\n"));
}

TEST(PhaseOrderHost, ConfiguringAnnouncesThePhaseAndCannotBeTerminated)
{
    LogCapture log;
    init(0);
    EXPECT_EQ(log.only(), line(Holvane::Logger::DEBUG, "[Holvane] setting detect phase.\n"));
    log.clear();

    EXPECT_THROW(HvRenderPhaseRegisterAov(3, "albedo", AOV_VEC3), std::exception);
    EXPECT_EQ(log.only(),
              line(Holvane::Logger::TRACE, "[Holvane] registering aov is only allowed for the render phase.\n"));
    log.clear();

    EXPECT_FALSE(HvPhaseTerminate(TERMINATE_ABORT));
    EXPECT_EQ(log.only(), line(Holvane::Logger::WARNING, "[Holvane] initialize the phase before terminating it\n"));
    log.clear();

    init(1);  // a second init while configuring just starts over
    EXPECT_EQ(log.only(), line(Holvane::Logger::DEBUG, "[Holvane] setting render phase.\n"));
    log.clear();
    HvRenderPhaseRegisterAov(3, "albedo", AOV_VEC3);
    EXPECT_TRUE(log.lines.empty());

    // Without a rendering resolution the begin is refused, and the phase stays in configuration.
    EXPECT_FALSE(HvPhaseBegin());
    EXPECT_EQ(log.only(), line(Holvane::Logger::ERROR, "[Holvane] The rendering resolution is not set \n"));
    log.clear();
    HvSetThreadNumber(2);
    EXPECT_TRUE(log.lines.empty());
}

TEST(OutputResolutionHost, EachCheckRefusesWithItsOwnLines)
{
    init(0);
    LogCapture log;
    struct Case {
        unsigned long long width, height;
        std::vector<std::string> expected;
    };
    std::vector<Case> const cases = {
        {5400, 3600, {}},
        {312, 208, {}},
        {6000, 4000, {}},
        {5400, 3601, {line(Holvane::Logger::ERROR, "[Holvane] Target image ratio should be 3:2.\n")}},
        {4000, 2666, {line(Holvane::Logger::ERROR, "[Holvane] Target image ratio should be 3:2.\n")}},
        {288, 192,
         {line(Holvane::Logger::ERROR,
               "[Holvane] Invalid target image resolution for X: 288. (must be between [312 and 6000]).\n")}},
        {6048, 4032,
         {line(Holvane::Logger::ERROR,
               "[Holvane] Invalid target image resolution for X: 6048. (must be between [312 and 6000]).\n")}},
        // The proposal aligns the height to 16 and is clamped to the limits.
        {6012, 4008,
         {line(Holvane::Logger::ERROR, "[Holvane] Target image resolution must be a multiple of 8.\n"),
          line(Holvane::Logger::WARNING, "[Holvane] consider using 6000x4000 instead of 6012x4008 \n")}},
        {1500, 1000,
         {line(Holvane::Logger::ERROR, "[Holvane] Target image resolution must be a multiple of 8.\n"),
          line(Holvane::Logger::WARNING, "[Holvane] consider using 1488x992 instead of 1500x1000 \n")}},
        {300, 200,
         {line(Holvane::Logger::ERROR, "[Holvane] Target image resolution must be a multiple of 8.\n"),
          line(Holvane::Logger::WARNING, "[Holvane] consider using 312x208 instead of 300x200 \n")}},
    };
    for (Case const& c : cases) {
        log.clear();
        HvSetOutputResolution(c.width, c.height);
        std::vector<std::string> got;
        for (auto const& l : log.lines)
            got.push_back(line(l.level, l.text));
        EXPECT_EQ(got, c.expected) << c.width << "x" << c.height;
    }
}

TEST(DetectFilePathHost, OnlyTheRenderPhaseChecksThatTheFileExists)
{
    LogCapture log;
    init(1);
    log.clear();
    HvSetDetectFilePath("");
    EXPECT_EQ(log.only(), line(Holvane::Logger::ERROR, "[Holvane] the detection file has not been set.\n"));
    log.clear();
    HvSetDetectFilePath("/nonexistent/scene.hlvDetect");
    EXPECT_EQ(log.only(), line(Holvane::Logger::ERROR,
                               "[Holvane] the detection file '/nonexistent/scene.hlvDetect' doesn't exist.\n"));
    log.clear();
    HvSetDetectFilePath("/tmp");  // any path the system knows passes, a directory too
    EXPECT_TRUE(log.lines.empty());

    init(0);
    log.clear();
    HvSetDetectFilePath("/nonexistent/scene.hlvDetect");
    HvSetDetectFilePath("");
    EXPECT_TRUE(log.lines.empty());
}
