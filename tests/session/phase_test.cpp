// HvPhaseBegin and HvPhaseTerminate from inside: the rendering resolution is put into the session directly,
// as the resolution functions would, so that a phase can begin.

#include <holvane/phase.h>

#include "common/log_capture.h"
#include "session/context.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

using namespace Holvane::Phase;
using Holvane::Internal::session;
using HolvaneTest::LogCapture;

namespace {

std::string line(int level, std::string const& text)
{
    return std::to_string(level) + "|" + text;
}

std::vector<std::string> captured(LogCapture const& log)
{
    std::vector<std::string> out;
    for (auto const& l : log.lines)
        out.push_back(line(l.level, l.text));
    return out;
}

// The lines of `expected` appear in `lines` in this order (others may lie between).
::testing::AssertionResult appearInOrder(std::vector<std::string> const& lines, std::vector<std::string> const& expected)
{
    std::size_t at = 0;
    for (std::string const& wanted : expected) {
        while (at < lines.size() && lines[at] != wanted)
            ++at;
        if (at == lines.size())
            return ::testing::AssertionFailure() << "missing or out of order: " << wanted;
        ++at;
    }
    return ::testing::AssertionSuccess();
}

Matrix4 translation(float x, float y, float z)
{
    return Matrix4{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {x, y, z, 1}}};
}

class PhaseTest : public ::testing::Test {
protected:
    // A host that has set everything the checks require, and the values the rig build and the print read.
    void configure(Phase phase)
    {
        HvInitPhase(phase, Holvane::Util::RenderingEngineId(3));
        session().renderingWidth = 4.0;
        session().renderingHeight = 3.0;
        if (phase == PHASE_RENDER) {
            session().blockCount = 2ULL;
            session().currentBlock = 1ULL;
        }
        HvSetOutputResolution(312, 208);
        HvSetBucketSize(32, 16);
        HvSetDraft(false);
        HvSetCurrentFrame(12, 4);
        HvSetZovOffset(1, -2, 3);
        HvSetRenderTransparencyMode(ALL);
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
    HvInitPhase(PHASE_DETECT, Holvane::Util::RenderingEngineId(3));
    HvSetDraft(false);
    HvSetCurrentFrame(1, 0);
    HvSetZovOffset(0, 0, 0);
    HvSetRenderTransparencyMode(ALL);
    LogCapture log;

    EXPECT_FALSE(HvPhaseBegin());
    session().renderingWidth = 4.0;
    session().renderingHeight = 3.0;
    EXPECT_FALSE(HvPhaseBegin());
    HvSetOutputResolution(312, 208);
    EXPECT_FALSE(HvPhaseBegin());
    EXPECT_EQ(captured(log), (std::vector<std::string>{
                                 line(0, "[Holvane] The rendering resolution is not set \n"),
                                 line(0, "[Holvane] The output resolution is not set \n"),
                                 line(0, "[Holvane] The bucket size is not set \n"),
                             }));
    EXPECT_FALSE(session().initialized);
    EXPECT_FALSE(session().renderScale.isSet);
    EXPECT_EQ(session().spoolFile, nullptr);

    log.clear();
    HvSetBucketSize(8, 8);
    ASSERT_TRUE(HvPhaseBegin());
    std::vector<std::string> lines = captured(log);
    lines.resize(5);
    EXPECT_EQ(lines, (std::vector<std::string>{
                         line(1, "[Holvane] The render scale is not set, setting the default value (1.0) \n"),
                         line(1, "[Holvane] The specularPoint is not set, default to the center of the Zone of View "
                                 "(0.0, 0.0, 0.0) \n"),
                         line(1, "[Holvane] The scene up vector is not set, default to Y is up (0.0, 1.0, 0.0) \n"),
                         line(1, "[Holvane] The eye is not set, default to left eye only \n"),
                         line(1, "[Holvane] At least one thread should be declared. Setting HvSetThreadNumber to "
                                 "1.\n"),
                     }));
    auto const& s = session();
    EXPECT_TRUE(s.initialized);
    EXPECT_EQ(s.renderScale.get(), 1.0f);
    EXPECT_EQ(s.sceneUp.get().y, 1.0f);
    EXPECT_EQ(s.eye.get(), RC_Left);
    EXPECT_EQ(s.ipd.get(), 63.5f);
    EXPECT_EQ(s.threadNumber, 1u);
    EXPECT_EQ(s.specularPointLocal.get().x, 0.0f);
}

TEST_F(PhaseTest, DetectionPrintsItsSettingsLineByLine)
{
    configure(PHASE_DETECT);
    HvSetDraft(true);
    HvSetOutFilePath("/tmp/out.hlvDetect");
    HvSetZovScaling(2.0f, 0.5f, 1.0f);
    HvSetRenderScale(2.0);
    HvSetDistanceToGround(1.5);
    HvSetRenderInsideBox(true);
    HvSetRenderTransparencyMode(BOTH);
    HvSetSceneUpVector(TavPoint{0.0f, 3.0f, 4.0f});
    HvSetSpecularPointOffset(TavPoint{0.5f, 1.0f, -0.25f});
    HvSetCameraToWorldMatrix(translation(10.0f, 20.0f, 30.0f));
    HvSetDeepReflection(RC_Right, 60.0);
    HvSetThreadNumber(3);

    LogCapture log;
    ASSERT_TRUE(HvPhaseBegin());
    std::vector<std::string> lines = captured(log);
    ASSERT_EQ(lines.size(), 20u);
    // The number of buckets joins with the buckets themselves; only the thread count is checked here.
    EXPECT_EQ(lines[15].rfind("3|[Holvane] bucket Number ", 0), 0u) << lines[15];
    EXPECT_EQ(lines[15].substr(lines[15].size() - 4), "/3 \n");
    lines.erase(lines.begin() + 15);
    EXPECT_EQ(lines, (std::vector<std::string>{
        line(2, "[Holvane] Detection Phase.\n"),
        line(3, "[Holvane] Rendering resolution 4x3.\n"),
        line(2, "[Holvane] Output detection file path /tmp/out.hlvDetect.\n"),
        line(2, "[Holvane] output resolution 312x208.\n"),
        line(2, "[Holvane] draft_mode : On."),
        line(2, "[Holvane] view_scale Length 2.000000 Height 0.500000 Width 1.000000 meters."),
        line(2, "[Holvane] render_scale 2.000000."),
        line(2, "[Holvane] Distance to ground 1.500000\n"),
        line(2, "[Holvane] rendering inside zone of view enabled\n"),
        line(2, "[Holvane] multibox_offset : right 1 top -2 back 3."),
        line(2, "[Holvane] render_holvane_glass_mode 3 : 'opaques and transp' Combine in one pass the opaques and "
                "the tranparencies"),
        line(3, "[Holvane] scene vecteur up 0.000000 0.600000 0.800000"),
        line(3, "[Holvane] rendering frame 12   padding 4   separator \".\".\n"),
        // offset in metres x 100 x box size / render scale, then through camToWorld
        line(3, "[Holvane] specular point world 60.000000 45.000000 17.500000\n"),
        line(3, "[Holvane] specular point local 50.000000 25.000000 -12.500000\n"),
        line(3, "[Holvane] bucket Region size 32/32\n"),
        line(3, "[Holvane] registered Aovs 0 \n"),
        line(3, "[Holvane] worldToCam= { {1.000000 , 0.000000 , 0.000000 , 0.000000},{0.000000 , 1.000000 , 0.000000 "
                ", 0.000000},{0.000000 , 0.000000 , 1.000000 , 0.000000},{-10.000000 , -20.000000 , -30.000000 , "
                "1.000000}}\n "),
        line(3, "[Holvane] camToWorld= { {1.000000 , 0.000000 , 0.000000 , 0.000000},{0.000000 , 1.000000 , 0.000000 "
                ", 0.000000},{0.000000 , 0.000000 , 1.000000 , 0.000000},{10.000000 , 20.000000 , 30.000000 , "
                "1.000000}}\n "),
    }));
}

TEST_F(PhaseTest, RenderPrintsItsPathsEyesAndChannels)
{
    configure(PHASE_RENDER);
    HvSetDetectFilePath("/tmp");
    session().detectPhaseOverride = "/tmp/override.hlvDetect";
    HvSetOutFilePath("/tmp/out.hlvRender");
    HvSetDeepReflection(RC_LeftAndRight, 64.0);
    HvSetMotionVector(false);
    HvSetRenderTransparencyMode(OPAQUE);
    HvSetSpecularPointOffset(TavPoint{0.5f, 1.0f, -0.25f});
    HvRenderPhaseRegisterAov(5, "albedo", AOV_VEC4);

    LogCapture log;
    ASSERT_TRUE(HvPhaseBegin());
    EXPECT_TRUE(appearInOrder(captured(log), {
        line(2, "[Holvane] Render Phase.\n"),
        line(2, "[Holvane] Input detection file path /tmp/override.hlvDetect.\n"),
        line(2, "[Holvane] Rendering block 1/2.\n"),
        line(2, "[Holvane] Input rendering resolution 312x208.\n"),
        line(2, "[Holvane] output render image path /tmp/out.hlvRender.\n"),
        line(2, "[Holvane] output resolution 312x208.\n"),
        line(2, "[Holvane] draft_mode : Off."),
        line(2, "[Holvane] rendering inside zone of view disabled\n"),
        line(2, "[Holvane] Rendering Left and Right eyes. IPD 64.000000.\n"),
        line(2, "[Holvane] Motion vectors are turned off on demand.\n"),
        line(2, "[Holvane] specular_point_offset : right 0.500000 top 1.000000 back -0.250000."),
        line(2, "[Holvane] multibox_offset : right 1 top -2 back 3."),
        line(2, "[Holvane] render_holvane_glass_mode 1 : 'opaques' Render paththrough hlv_* tagged surfaces ( or "
                "surfaces with BRDFHlvGlass applied in standalone )"),
        line(3, "[Holvane] registered Aovs 4 \n"),
        // one line per alias, in the aliases' order: the reserved ones are negative as ints
        line(3, "[Holvane] \tAOVAlias(-268435455)  name(Cd_Right) index(1) type(3) \n"),
        line(3, "[Holvane] \tAOVAlias(-268435454)  name(hlvTransp) index(2) type(1) \n"),
        line(3, "[Holvane] \tAOVAlias(-268435452)  name(hlvCockpit) index(3) type(1) \n"),
        line(3, "[Holvane] \tAOVAlias(5)  name(albedo) index(0) type(4) \n"),
    }));
}

TEST_F(PhaseTest, GlassModesAndEyesPrintAtTheirLevels)
{
    struct Case {
        int mode;
        int eye;
        std::vector<std::string> expected;
    };
    std::vector<Case> const cases = {
        {0, 1, {line(2, "[Holvane] Rendering Left eye. IPD 63.500000.\n"),
                line(2, "[Holvane] render_holvane_glass_mode 0 :  hlv_* tags are ignored.")}},
        {2, 2, {line(2, "[Holvane] Rendering Right eye. IPD 63.500000.\n"),
                line(2, "[Holvane] render_holvane_glass_mode 2 : 'transp' Render only hlv_* tagged surfaces ( or "
                        "surfaces with BRDFHlvGlass applied in standalone )")}},
        {9, 5, {line(0, "[Holvane] unknown specular rendering.\n"),
                line(1, "[Holvane] Unknown transparency pass\n")}},
    };
    for (Case const& c : cases) {
        configure(PHASE_RENDER);
        HvSetRenderTransparencyMode(TransparencyRenderingType(c.mode));
        HvSetDeepReflection(Eye(c.eye), 63.5);
        LogCapture log;
        ASSERT_TRUE(HvPhaseBegin());
        EXPECT_TRUE(appearInOrder(captured(log), c.expected)) << "mode " << c.mode;
        HvPhaseTerminate(TERMINATE_ABORT);
    }
}

TEST_F(PhaseTest, RunningRefusesReorderingAndTerminateEndsIt)
{
    configure(PHASE_RENDER);
    ASSERT_TRUE(HvPhaseBegin());
    LogCapture log;
    EXPECT_THROW(HvInitPhase(PHASE_DETECT, Holvane::Util::RenderingEngineId(0)), std::exception);
    EXPECT_THROW(HvPhaseBegin(), std::exception);
    EXPECT_THROW(HvRenderPhaseRegisterAov(1, "late", AOV_INT), std::exception);
    EXPECT_EQ(captured(log), (std::vector<std::string>{
        line(4, "[Holvane] begin a phase after it's initialization leads to data lost. Use HvPhaseTerminate() "
                "first\n"),
        line(4, "[Holvane] Terminate the phase first.\n"),
        line(4, "[Holvane] Unable to register aov after the initialization.\n"),
    }));
    EXPECT_TRUE(session().initialized);

    log.clear();
    std::FILE* const spool = session().spoolFile;
    ASSERT_NE(spool, nullptr);
    EXPECT_TRUE(HvPhaseTerminate(TERMINATE_ABORT));
    EXPECT_EQ(session().spoolFile, spool);  // aborting leaves the spool alone
    EXPECT_EQ(session().phase, PHASE_NONE);
    EXPECT_FALSE(session().initialized);
    EXPECT_EQ(session().outputWidth.get(), 312.0);  // the phase's data stays until the next init
    EXPECT_FALSE(HvPhaseTerminate(TERMINATE_FINALIZE));
    EXPECT_EQ(log.only(), line(1, "[Holvane] begin a phase before terminating it \n"));
}

TEST_F(PhaseTest, FinalizeTakesTheSpoolOnceAndWarnsWhenItIsGone)
{
    configure(PHASE_DETECT);
    ASSERT_TRUE(HvPhaseBegin());
    LogCapture log;
    EXPECT_TRUE(HvPhaseTerminate(TERMINATE_FINALIZE));
    EXPECT_EQ(session().spoolFile, nullptr);
    EXPECT_TRUE(log.lines.empty());

    configure(PHASE_DETECT);
    ASSERT_TRUE(HvPhaseBegin());
    std::fclose(session().spoolFile);  // taken by someone else
    session().spoolFile = nullptr;
    log.clear();
    EXPECT_TRUE(HvPhaseTerminate(TERMINATE_FINALIZE));
    EXPECT_EQ(log.only(),
              line(1, "Processing temporary file samples while samples have already been processed."));
    EXPECT_EQ(session().phase, PHASE_NONE);
}

TEST_F(PhaseTest, DetectionBuildsItsPerPixelTablesAndRefusesChannels)
{
    configure(PHASE_DETECT);
    session().spoolSampleCount = 5;
    ASSERT_TRUE(HvPhaseBegin());
    auto const& s = session();
    EXPECT_EQ(s.hitCounters, std::vector<std::uint16_t>(12, 0));
    EXPECT_EQ(s.rayCounters.size(), 12u);
    EXPECT_EQ(s.sampleIndexCounters.size(), 12u);
    ASSERT_EQ(s.cameraPixelCoverage.size(), 4u);
    EXPECT_EQ(s.cameraPixelCoverage[3].size(), 3u);
    EXPECT_NE(s.spoolFile, nullptr);
    EXPECT_EQ(s.spoolSampleCount, 0u);
    HvPhaseTerminate(TERMINATE_ABORT);

    // Not reachable through HvRenderPhaseRegisterAov, which refuses the detection phase itself.
    configure(PHASE_DETECT);
    session().aovFormat.registerAov(1, "stray", AOV_INT);
    LogCapture log;
    EXPECT_THROW(HvPhaseBegin(), std::exception);
    EXPECT_EQ(log.lines.back().text, "Holvane aovs cannot be registered during the detection phase");
    EXPECT_EQ(log.lines.back().level, Holvane::Logger::TRACE);
}

TEST_F(PhaseTest, RenderAddsOnlyTheLibraryChannelsItLacks)
{
    int const right = int(0xF0000001u), transp = int(0xF0000002u), velocity = int(0xF0000003u),
              cockpit = int(0xF0000004u);

    configure(PHASE_RENDER);
    HvRenderPhaseRegisterAov(12, "hlvVelocity", AOV_VELOCITY);
    HvRenderPhaseRegisterAov(13, "Cd_Right", AOV_VEC3);
    HvSetDeepReflection(RC_LeftAndRight, 63.5);
    ASSERT_TRUE(HvPhaseBegin());
    auto const& host = session().aovFormat;
    EXPECT_EQ(host.count, 3u);
    EXPECT_EQ(host.getIndex(velocity), 0u);
    EXPECT_EQ(host.getIndex(right), 1u);
    EXPECT_EQ(host.getIndex(cockpit), 2u);
    EXPECT_FALSE(host.HasAOV(transp));
    HvPhaseTerminate(TERMINATE_ABORT);

    configure(PHASE_RENDER);
    HvSetRenderTransparencyMode(TRANSP);
    ASSERT_TRUE(HvPhaseBegin());
    auto const& own = session().aovFormat;
    EXPECT_EQ(own.names, (std::vector<std::string>{"hlvTransp", "hlvVelocity", "hlvCockpit"}));
    EXPECT_EQ(own.types, (std::vector<AOVType>{AOV_INT, AOV_VELOCITY, AOV_INT}));
    EXPECT_FALSE(own.HasAOV(right));
    EXPECT_EQ(own.sampleSize, 4u + 12 + 4);
}
