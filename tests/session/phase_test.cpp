// HvPhaseBegin and HvPhaseTerminate from inside: the rendering resolution and the blocks are put into the
// session directly, as the resolution functions would.

#include <holvane/phase.h>

#include "common/detect_file.h"
#include "common/log_capture.h"
#include "session/context.h"

#include <gtest/gtest.h>

#include <exception>
#include <sstream>

using namespace Holvane::Phase;
using Holvane::Internal::session;
using HolvaneTest::LogCapture;
using HolvaneTest::Lines;

namespace {

// The lines of `expected` appear in `lines` in this order, others possibly between.
::testing::AssertionResult appearInOrder(Lines const& lines, Lines const& expected)
{
    std::size_t at = 0;
    for (std::string const& wanted : expected) {
        while (at < lines.size() && lines[at] != wanted)
            ++at;
        if (at++ == lines.size())
            return ::testing::AssertionFailure() << "missing or out of order: " << wanted;
    }
    return ::testing::AssertionSuccess();
}

// Calls every guarded setter with a value unlike the defaults; expects each one refused with `message` and
// nothing stored. The refusals are taken out of `log`.
void expectEveryGuardedSetterRefused(LogCapture& log, std::string const& message)
{
    auto stored = [] {
        auto const& s = session();
        std::ostringstream out;
        out << s.bucketWidth.isSet << s.camToWorld.m[0][0] << s.currentFrame.isSet << s.eye.isSet << s.detectFilePath
            << s.distanceToGround << s.draftMode.isSet << s.renderingContext.maxDistance << s.motionVector
            << s.outFilePath << s.outputWidth.isSet << s.renderInsideBox << s.renderScale.isSet
            << s.transparencyMode.isSet << s.sceneUp.isSet << s.specularPointOffset.isSet << s.threadNumber
            << s.renderingContext.tolerance << s.zovOffsetRight.isSet << s.zovScaling.x;
        return out.str();
    };
    std::string const before = stored();
    std::size_t const earlier = log.lines.size();
    HvSetBucketSize(8, 8), HvSetCurrentFrame(3, 2), HvSetDeepReflection(RC_Right, 60.0), HvSetDraft(true);
    HvSetWorldToCamMatrix(Matrix4{{{2, 0, 0, 0}, {0, 2, 0, 0}, {0, 0, 2, 0}, {0, 0, 0, 1}}});
    HvSetDetectFilePath("/tmp"), HvSetOutFilePath("/tmp/x"), HvSetDistanceToGround(2.0), HvSetMaxDistance(10.0);
    HvSetMotionVector(false), HvSetOutputResolution(624, 416), HvSetRenderInsideBox(true), HvSetRenderScale(3.0);
    HvSetRenderTransparencyMode(BOTH), HvSetSceneUpVector(TavPoint{0, 0, 1}), HvSetThreadNumber(4);
    HvSetSpecularPointOffset(TavPoint{1, 1, 1}), HvSetTolerance(0.5), HvSetZovOffset(1, 1, 1);
    HvSetZovScaling(3, 3, 3);
    EXPECT_EQ(Lines(log.lines.begin() + earlier, log.lines.end()), Lines(20, "0|" + message));
    log.lines.resize(earlier);
    EXPECT_EQ(stored(), before);
}

// A detect file of three plaques detected at 624 x 416, at a fixed path that the print shows.
char const* const overridePath = "/tmp/hv-phase-test-override.hlvDetect";

class PhaseTest : public ::testing::Test {
protected:
    // A host that has set what the checks require and what the print reads.
    void configure(Phase phase)
    {
        HvInitPhase(phase, Holvane::Util::RenderingEngineId(3));
        session().renderingWidth = 4.0, session().renderingHeight = 3.0;
        session().blockCount = 2ULL, session().currentBlock = 1ULL;
        HvSetOutputResolution(312, 208), HvSetBucketSize(32, 16), HvSetDraft(false), HvSetCurrentFrame(12, 4);
        HvSetZovOffset(1, -2, 3), HvSetRenderTransparencyMode(ALL);
    }
    void TearDown() override
    {
        if (session().initialized)
            HvPhaseTerminate(TERMINATE_ABORT);
        HvInitPhase(PHASE_NONE, Holvane::Util::RenderingEngineId(0));  // releases the spool file
    }
};

}  // namespace

TEST_F(PhaseTest, MissingRequirementsRefuseInOrderThenDefaultsApplyWithWarnings)
{
    configure(PHASE_DETECT);
    session().renderingWidth = decltype(session().renderingWidth)();
    session().outputWidth = decltype(session().outputWidth)();
    session().bucketHeight = decltype(session().bucketHeight)();
    LogCapture log;
    EXPECT_FALSE(HvPhaseBegin());
    session().renderingWidth = 4.0;
    EXPECT_FALSE(HvPhaseBegin());
    HvSetOutputResolution(312, 208);
    EXPECT_FALSE(HvPhaseBegin());
    EXPECT_FALSE(session().initialized || session().renderScale.isSet || session().spoolFile);
    HvSetBucketSize(8, 8);
    ASSERT_TRUE(HvPhaseBegin());
    log.lines.resize(8);
    EXPECT_EQ(log.lines, (Lines{
        "0|[Holvane] The rendering resolution is not set \n",
        "0|[Holvane] The output resolution is not set \n",
        "0|[Holvane] The bucket size is not set \n",
        "1|[Holvane] The render scale is not set, setting the default value (1.0) \n",
        "1|[Holvane] The specularPoint is not set, default to the center of the Zone of View (0.0, 0.0, 0.0) \n",
        "1|[Holvane] The scene up vector is not set, default to Y is up (0.0, 1.0, 0.0) \n",
        "1|[Holvane] The eye is not set, default to left eye only \n",
        "1|[Holvane] At least one thread should be declared. Setting HvSetThreadNumber to 1.\n",
    }));
    auto const& s = session();
    EXPECT_TRUE(s.renderScale.get() == 1.0f && s.sceneUp.get().y == 1.0f && s.threadNumber == 1u);
    EXPECT_TRUE(s.eye.get() == RC_Left && s.ipd.get() == 63.5f);
    EXPECT_EQ(s.hitCounters, std::vector<std::uint16_t>(12, 0));
    EXPECT_EQ(s.rayCounters.size() + s.sampleIndexCounters.size(), 24u);
    ASSERT_EQ(s.cameraPixelCoverage.size(), 4u);
    EXPECT_EQ(s.cameraPixelCoverage[3].size(), 3u);
    EXPECT_TRUE(s.layerDistanceSlots);
}

TEST_F(PhaseTest, DetectionPrintsItsSettingsLineByLine)
{
    configure(PHASE_DETECT);
    HvSetDraft(true), HvSetOutFilePath("/tmp/out.hlvDetect"), HvSetZovScaling(2.0f, 0.5f, 1.0f);
    HvSetRenderScale(2.0), HvSetDistanceToGround(1.5), HvSetRenderInsideBox(true), HvSetRenderTransparencyMode(BOTH);
    HvSetSceneUpVector(TavPoint{0.0f, 3.0f, 4.0f}), HvSetSpecularPointOffset(TavPoint{0.5f, 1.0f, -0.25f});
    HvSetCameraToWorldMatrix(Matrix4{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {10, 20, 30, 1}}});
    HvSetDeepReflection(RC_Right, 60.0), HvSetThreadNumber(3);
    LogCapture log;
    ASSERT_TRUE(HvPhaseBegin());
    ASSERT_EQ(log.lines.size(), 20u);
    char const* const unit = "{1.000000 , 0.000000 , 0.000000 , 0.000000},{0.000000 , 1.000000 , 0.000000 , "
                             "0.000000},{0.000000 , 0.000000 , 1.000000 , 0.000000},";
    EXPECT_EQ(log.lines, (Lines{
        "2|[Holvane] Detection Phase.\n",
        "3|[Holvane] Rendering resolution 4x3.\n",
        "2|[Holvane] Output detection file path /tmp/out.hlvDetect.\n",
        "2|[Holvane] output resolution 312x208.\n",
        "2|[Holvane] draft_mode : On.",
        "2|[Holvane] view_scale Length 2.000000 Height 0.500000 Width 1.000000 meters.",
        "2|[Holvane] render_scale 2.000000.",
        "2|[Holvane] Distance to ground 1.500000\n",
        "2|[Holvane] rendering inside zone of view enabled\n",
        "2|[Holvane] multibox_offset : right 1 top -2 back 3.",
        "2|[Holvane] render_holvane_glass_mode 3 : 'opaques and transp' Combine in one pass the opaques and the "
        "tranparencies",
        "3|[Holvane] scene vecteur up 0.000000 0.600000 0.800000",
        "3|[Holvane] rendering frame 12   padding 4   separator \".\".\n",
        // metres x 100 x box size / render scale, then through camToWorld
        "3|[Holvane] specular point world 60.000000 45.000000 17.500000\n",
        "3|[Holvane] specular point local 50.000000 25.000000 -12.500000\n",
        "3|[Holvane] bucket Number 3/3 \n",
        "3|[Holvane] bucket Region size 32/32\n",
        "3|[Holvane] registered Aovs 0 \n",
        "3|[Holvane] worldToCam= { " + std::string(unit) + "{-10.000000 , -20.000000 , -30.000000 , 1.000000}}\n ",
        "3|[Holvane] camToWorld= { " + std::string(unit) + "{10.000000 , 20.000000 , 30.000000 , 1.000000}}\n ",
    }));
}

TEST_F(PhaseTest, RenderPrintsItsPathsEyesModesAndChannels)
{
    configure(PHASE_RENDER);
    HvSetDetectFilePath("/tmp"), HvSetOutFilePath("/tmp/out.hlvRender"), HvSetMotionVector(false);
    HolvaneTest::writeDetectFile(overridePath, std::vector<Holvane::BinIO::DetectPlaqueInfo>(3));
    session().detectPhaseOverride = overridePath;
    HvSetDeepReflection(RC_LeftAndRight, 64.0), HvSetRenderTransparencyMode(TRANSP);
    HvSetSpecularPointOffset(TavPoint{0.5f, 1.0f, -0.25f}), HvRenderPhaseRegisterAov(5, "albedo", AOV_VEC4);
    LogCapture log;
    ASSERT_TRUE(HvPhaseBegin());
    EXPECT_TRUE(appearInOrder(log.lines, {
        "2|[Holvane] Render Phase.\n",
        "2|[Holvane] Input detection file path /tmp/hv-phase-test-override.hlvDetect.\n",
        "2|[Holvane] Rendering block 1/2.\n",
        // the output resolution is the one the plaques were detected at
        "2|[Holvane] Input rendering resolution 624x416.\n",
        "2|[Holvane] output render image path /tmp/out.hlvRender.\n",
        "2|[Holvane] output resolution 624x416.\n",
        "2|[Holvane] draft_mode : Off.",
        "2|[Holvane] rendering inside zone of view disabled\n",
        "2|[Holvane] Rendering Left and Right eyes. IPD 64.000000.\n",
        "2|[Holvane] Motion vectors are turned off on demand.\n",
        "2|[Holvane] specular_point_offset : right 0.500000 top 1.000000 back -0.250000.",
        "2|[Holvane] render_holvane_glass_mode 2 : 'transp' Render only hlv_* tagged surfaces ( or surfaces with "
        "BRDFHlvGlass applied in standalone )",
        "3|[Holvane] registered Aovs 4 \n",
        // one line per alias in the aliases' order: the reserved ones are negative as ints
        "3|[Holvane] \tAOVAlias(-268435455)  name(Cd_Right) index(1) type(3) \n",
        "3|[Holvane] \tAOVAlias(-268435454)  name(hlvTransp) index(2) type(1) \n",
        "3|[Holvane] \tAOVAlias(-268435452)  name(hlvCockpit) index(3) type(1) \n",
        "3|[Holvane] \tAOVAlias(5)  name(albedo) index(0) type(4) \n",
    }));
    HvPhaseTerminate(TERMINATE_ABORT);
    std::remove(overridePath);

    configure(PHASE_RENDER);
    HvSetRenderTransparencyMode(TransparencyRenderingType(9));
    HvSetDeepReflection(Eye(5), 63.5);
    HvRenderPhaseRegisterAov(12, "hlvVelocity", AOV_VELOCITY);
    log.lines.clear();
    ASSERT_TRUE(HvPhaseBegin());
    EXPECT_TRUE(appearInOrder(log.lines, {"0|[Holvane] unknown specular rendering.\n",
                                          "1|[Holvane] Unknown transparency pass\n"}));
    // An unknown mode is not ALL: hlvTransp joins; the host's velocity channel is kept.
    EXPECT_EQ(session().aovFormat.names, (Lines{"hlvVelocity", "hlvTransp", "hlvCockpit"}));
    EXPECT_EQ(session().aovFormat.getIndex(int(0xF0000003u)), 0u);
}

TEST_F(PhaseTest, RunningRefusesReorderingAndSettersAndTerminateEndsIt)
{
    configure(PHASE_RENDER);
    ASSERT_TRUE(HvPhaseBegin());
    std::FILE* const spool = session().spoolFile;
    ASSERT_NE(spool, nullptr);
    LogCapture log;
    EXPECT_THROW(HvInitPhase(PHASE_DETECT, Holvane::Util::RenderingEngineId(0)), std::exception);
    EXPECT_THROW(HvPhaseBegin(), std::exception);
    EXPECT_THROW(HvRenderPhaseRegisterAov(1, "late", AOV_INT), std::exception);
    EXPECT_TRUE(session().initialized);
    expectEveryGuardedSetterRefused(log, "[Holvane] Unable to set the phase after its initialization\n");
    // The camera matrix and the clipping sphere are not guarded: hosts may move them during a phase.
    HvSetCameraToWorldMatrix(Matrix4{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {10, 20, 30, 1}}});
    HvSetClippingSphere(true, TavPoint{11, 22, 33}, 5.0f, true);
    auto const& s = session();
    EXPECT_TRUE(s.clipCenterLocal.x == 1.0f && s.clipCenterLocal.y == 2.0f && s.clipCenterLocal.z == 3.0f);
    EXPECT_TRUE(s.clipEnabled && s.clipInverted && s.clipCenterWorld.z == 33.0f && s.clipRadius == 5.0f);
    EXPECT_TRUE(HvPhaseTerminate(TERMINATE_ABORT));
    EXPECT_EQ(session().spoolFile, spool);  // aborting leaves the spool alone
    EXPECT_EQ(session().bucketWidth.get(), 32u);  // and the phase's data stays until the next init
    EXPECT_FALSE(HvPhaseTerminate(TERMINATE_FINALIZE));
    expectEveryGuardedSetterRefused(log, "[Holvane] Begin a Phase before setting it.\n");
    EXPECT_EQ(log.lines, (Lines{
        "4|[Holvane] begin a phase after it's initialization leads to data lost. Use HvPhaseTerminate() first\n",
        "4|[Holvane] Terminate the phase first.\n",
        "4|[Holvane] Unable to register aov after the initialization.\n",
        "1|[Holvane] begin a phase before terminating it \n",
    }));

    configure(PHASE_DETECT);
    ASSERT_TRUE(HvPhaseBegin());
    EXPECT_TRUE(HvPhaseTerminate(TERMINATE_FINALIZE));
    EXPECT_EQ(session().spoolFile, nullptr);  // taken once
    configure(PHASE_DETECT);
    ASSERT_TRUE(HvPhaseBegin());
    std::fclose(session().spoolFile);  // taken elsewhere
    session().spoolFile = nullptr;
    log.lines.clear();
    EXPECT_TRUE(HvPhaseTerminate(TERMINATE_FINALIZE));
    EXPECT_EQ(session().phase, PHASE_NONE);
    session().aovFormat.registerAov(1, "stray", AOV_INT);  // not reachable through HvRenderPhaseRegisterAov
    session().phase = PHASE_DETECT;
    EXPECT_THROW(HvPhaseBegin(), std::exception);
    EXPECT_EQ(log.lines, (Lines{"1|Processing temporary file samples while samples have already been processed.",
                                "4|Holvane aovs cannot be registered during the detection phase"}));
}
