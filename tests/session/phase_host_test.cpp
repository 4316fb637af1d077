// The order of calls and the setters' checks as a host sees them through the shared library.

#include <holvane/holvane.h>

#include "common/log_capture.h"

#include <gtest/gtest.h>

#include <exception>

using namespace Holvane::Phase;
using HolvaneTest::Lines;

namespace {
void init(int phase)
{
    HvInitPhase(Phase(phase), Holvane::Util::RenderingEngineId(7));
}
}  // namespace

TEST(PhaseOrderHost, IdleAndConfiguringRefuseWhatComesLater)
{
    HolvaneTest::LogCapture log;
    init(5);  // an unknown phase resets and leaves no phase chosen, silently
    EXPECT_THROW(HvPhaseBegin(), std::exception);
    EXPECT_THROW(HvRenderPhaseRegisterAov(1, "Cd", AOV_VEC3), std::exception);
    EXPECT_FALSE(HvPhaseTerminate(TERMINATE_FINALIZE));
    HvSetBucketSize(16, 16);
    init(0);
    EXPECT_THROW(HvRenderPhaseRegisterAov(1, "Cd", AOV_VEC3), std::exception);
    EXPECT_FALSE(HvPhaseTerminate(TERMINATE_ABORT));
    init(1);  // a second init while configuring starts over
    HvRenderPhaseRegisterAov(3, "albedo", AOV_VEC3);
    EXPECT_FALSE(HvPhaseBegin());
    EXPECT_EQ(log.lines, (Lines{
                             "4|[Holvane] begin a phase first.\n",
                             "4|[Holvane] registering aov is only allowed for the render phase.\n",
                             "1|[Holvane] begin a phase before terminating it \n",
                             "0|[Holvane] Begin a Phase before setting it.\n",
                             "3|[Holvane] setting detect phase.\n",
                             "4|[Holvane] registering aov is only allowed for the render phase.\n",
                             "1|[Holvane] initialize the phase before terminating it\n",
                             "3|[Holvane] setting render phase.\n",
                             "0|[Holvane] The rendering resolution is not set \n",
                         }));
}

TEST(ParametersHost, OutputResolutionAndDetectPathChecks)
{
    HolvaneTest::LogCapture log;
    init(1);
    for (auto size : {std::make_pair(5400, 3600), {312, 208}, {6000, 4000}, {5400, 3601}, {4000, 2666}, {288, 192},
                      {6048, 4032}, {6012, 4008}, {1500, 1000}, {300, 200}})
        HvSetOutputResolution(size.first, size.second);
    HvSetDetectFilePath("");
    HvSetDetectFilePath("/nonexistent/a.hlvDetect");
    HvSetDetectFilePath("/tmp");  // any path the system knows passes, a directory too
    init(0);
    HvSetDetectFilePath("/nonexistent/a.hlvDetect");  // the file to write: not checked
    char const* const multiple = "0|[Holvane] Target image resolution must be a multiple of 8.\n";
    EXPECT_EQ(log.lines, (Lines{
        "3|[Holvane] setting render phase.\n",
        "0|[Holvane] Target image ratio should be 3:2.\n",
        "0|[Holvane] Target image ratio should be 3:2.\n",
        "0|[Holvane] Invalid target image resolution for X: 288. (must be between [312 and 6000]).\n",
        "0|[Holvane] Invalid target image resolution for X: 6048. (must be between [312 and 6000]).\n",
        multiple, "1|[Holvane] consider using 6000x4000 instead of 6012x4008 \n",  // clamped
        multiple, "1|[Holvane] consider using 1488x992 instead of 1500x1000 \n",   // height aligned to 16
        multiple, "1|[Holvane] consider using 312x208 instead of 300x200 \n",
        "0|[Holvane] the detection file has not been set.\n",
        "0|[Holvane] the detection file '/nonexistent/a.hlvDetect' doesn't exist.\n",
        "3|[Holvane] setting detect phase.\n",
    }));
}
