// What the setters store, and the guard they share.

#include <holvane/phase.h>

#include "common/log_capture.h"
#include "session/context.h"
#include "session/matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

using namespace Holvane::Phase;
using Holvane::Internal::invertMatrix;
using Holvane::Internal::session;
using HolvaneTest::LogCapture;

namespace {

void init(Phase phase)
{
    HvInitPhase(phase, Holvane::Util::RenderingEngineId(0));
}

// Every guarded setter, each with a value that differs from the session's default.
std::vector<std::function<void()>> const guardedSetters = {
    [] { HvSetBucketSize(8, 8); },
    [] { HvSetWorldToCamMatrix(Matrix4{{{2, 0, 0, 0}, {0, 2, 0, 0}, {0, 0, 2, 0}, {0, 0, 0, 1}}}); },
    [] { HvSetCurrentFrame(3, 2); },
    [] { HvSetDeepReflection(RC_Right, 60.0); },
    [] { HvSetDetectFilePath("/tmp"); },
    [] { HvSetDistanceToGround(2.0); },
    [] { HvSetDraft(true); },
    [] { HvSetMaxDistance(10.0); },
    [] { HvSetMotionVector(false); },
    [] { HvSetOutFilePath("/tmp/x"); },
    [] { HvSetOutputResolution(624, 416); },
    [] { HvSetRenderInsideBox(true); },
    [] { HvSetRenderScale(3.0); },
    [] { HvSetRenderTransparencyMode(BOTH); },
    [] { HvSetSceneUpVector(TavPoint{0, 0, 1}); },
    [] { HvSetSpecularPointOffset(TavPoint{1, 1, 1}); },
    [] { HvSetThreadNumber(4); },
    [] { HvSetTolerance(0.5); },
    [] { HvSetZovOffset(1, 1, 1); },
    [] { HvSetZovScaling(3, 3, 3); },
};

// The fields the guarded setters write, as one text.
std::string storedParameters()
{
    auto const& s = session();
    std::ostringstream out;
    out << s.bucketWidth.isSet << s.worldToCam.m[0][0] << s.camToWorld.m[0][0] << s.currentFrame.isSet
        << s.framePadding << s.eye.isSet << s.ipd.isSet << s.detectFilePath << s.distanceToGround
        << s.draftMode.isSet << s.renderingContext.maxDistance << s.motionVector << s.outFilePath
        << s.outputWidth.isSet << s.renderInsideBox << s.renderScale.isSet << s.transparencyMode.isSet
        << s.sceneUp.isSet << s.specularPointOffset.isSet << s.threadNumber << s.renderingContext.tolerance
        << s.zovOffsetRight.isSet << s.zovScaling.x;
    return out.str();
}

void expectEveryGuardedSetterRefused(std::string const& message)
{
    std::string const before = storedParameters();
    LogCapture log;
    for (std::size_t i = 0; i < guardedSetters.size(); ++i) {
        log.clear();
        guardedSetters[i]();
        EXPECT_EQ(log.only(), "0|" + message) << "setter " << i;
    }
    EXPECT_EQ(storedParameters(), before);
}

void expectMatrix(Matrix4 const& got, Matrix4 const& expected)
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            EXPECT_EQ(got.m[i][j], expected.m[i][j]) << "[" << i << "][" << j << "]";
}

}  // namespace

TEST(ParameterGuard, IdleAndRunningRefuseEveryGuardedSetter)
{
    init(PHASE_NONE);
    expectEveryGuardedSetterRefused("[Holvane] Begin a Phase before setting it.\n");

    init(PHASE_DETECT);
    session().renderingWidth = 2.0;
    session().renderingHeight = 2.0;
    HvSetOutputResolution(312, 208);
    HvSetBucketSize(4, 4);
    HvSetDraft(false);
    HvSetCurrentFrame(0, 0);
    HvSetZovOffset(0, 0, 0);
    HvSetRenderTransparencyMode(ALL);
    {
        LogCapture quiet;
        ASSERT_TRUE(HvPhaseBegin());
    }
    expectEveryGuardedSetterRefused("[Holvane] Unable to set the phase after its initialization\n");

    // The camera matrix and the clipping sphere are not guarded: hosts may move them during a phase.
    HvSetCameraToWorldMatrix(Matrix4{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {10, 20, 30, 1}}});
    HvSetClippingSphere(true, TavPoint{11, 22, 33}, 5.0f, true);
    EXPECT_EQ(session().worldToCam.m[3][2], -30.0f);
    EXPECT_EQ(session().clipCenterLocal.x, 1.0f);
    EXPECT_EQ(session().clipCenterLocal.y, 2.0f);
    EXPECT_EQ(session().clipCenterLocal.z, 3.0f);
    EXPECT_EQ(session().clipCenterWorld.z, 33.0f);
    EXPECT_TRUE(session().clipInverted);
    HvPhaseTerminate(TERMINATE_ABORT);
    init(PHASE_NONE);
}

TEST(Parameters, StoreNarrowedAndWhereTheSessionReadsThem)
{
    init(PHASE_RENDER);
    HvSetDeepReflection(RC_LeftAndRight, 63.7);
    HvSetCurrentFrame(-4, 0x100000005ULL);  // the padding keeps its low 32 bits
    HvSetMaxDistance(1e300);
    HvSetTolerance(0.125);
    HvSetRenderScale(0.1);
    HvSetOutputResolution(5400, 3600);
    auto const& s = session();
    EXPECT_EQ(s.ipd.get(), static_cast<float>(63.7));
    EXPECT_EQ(s.eye.get(), RC_LeftAndRight);
    EXPECT_EQ(s.currentFrame.get(), -4);
    EXPECT_EQ(s.framePadding, 5u);
    EXPECT_EQ(s.renderingContext.maxDistance, 1e300);
    EXPECT_EQ(s.renderingContext.tolerance, 0.125);
    EXPECT_EQ(s.renderScale.get(), 0.1f);
    EXPECT_EQ(s.outputWidth.get(), 5400.0);
    EXPECT_EQ(s.outputHeight.get(), 3600.0);
    EXPECT_EQ(s.outputRatio, 1.5);

    LogCapture quiet;
    HvSetOutputResolution(5400, 3601);
    EXPECT_EQ(s.outputHeight.get(), 3600.0);
    HvSetDetectFilePath("/nonexistent");
    EXPECT_TRUE(s.detectFilePath.empty());
}

TEST(Parameters, SceneUpIsNormalisedAndZeroStaysSetAtZero)
{
    init(PHASE_DETECT);
    HvSetSceneUpVector(TavPoint{0.0f, 3.0f, 4.0f});
    EXPECT_EQ(session().sceneUp.get().x, 0.0f);
    EXPECT_EQ(session().sceneUp.get().y, 0.6f);
    EXPECT_EQ(session().sceneUp.get().z, 0.8f);
    HvSetSceneUpVector(TavPoint{-2.0f, 0.0f, 0.0f});
    EXPECT_EQ(session().sceneUp.get().x, -1.0f);
    HvSetSceneUpVector(TavPoint{1.0f, 1.0f, 1.0f});
    EXPECT_EQ(session().sceneUp.get().z, static_cast<float>(1.0 / static_cast<double>(std::sqrt(3.0f))));

    HvSetSceneUpVector(TavPoint{0.0f, 0.0f, 0.0f});
    EXPECT_TRUE(session().sceneUp.isSet);
    EXPECT_EQ(session().sceneUp.get().y, 0.0f);
    EXPECT_FALSE(std::isnan(session().sceneUp.get().y));
}

TEST(MatrixInverse, CofactorsTransposedOverTheDeterminant)
{
    // A row-vector affine matrix: the linear part inverts to [[-2, 1], [1.5, -0.5]], the translation to
    // -t * inverse(linear).
    Matrix4 const m = {{{1, 2, 0, 0}, {3, 4, 0, 0}, {0, 0, 1, 0}, {5, 6, 7, 1}}};
    expectMatrix(invertMatrix(m), Matrix4{{{-2, 1, 0, 0}, {1.5f, -0.5f, 0, 0}, {0, 0, 1, 0}, {1, -2, -7, 1}}});

    // Computed in double, narrowed once.
    Matrix4 const third = invertMatrix(Matrix4{{{3, 0, 0, 0}, {0, 3, 0, 0}, {0, 0, 3, 0}, {0, 0, 0, 1}}});
    EXPECT_EQ(third.m[1][1], static_cast<float>(1.0 / 3.0));
    EXPECT_FALSE(std::signbit(third.m[0][1]));

    // The fourth column takes part like any other.
    Matrix4 const projective = invertMatrix(Matrix4{{{1, 0, 0, 2}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}});
    EXPECT_EQ(projective.m[0][3], -2.0f);

    // No singularity test: the zero determinant's reciprocal spreads through the result.
    Matrix4 const singular = invertMatrix(Matrix4{{{1, 2, 3, 0}, {2, 4, 6, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}});
    EXPECT_FALSE(std::isfinite(singular.m[0][0]));
    EXPECT_FALSE(std::isfinite(singular.m[3][3]));

    init(PHASE_DETECT);
    HvSetWorldToCamMatrix(m);
    expectMatrix(session().camToWorld, invertMatrix(m));
    expectMatrix(session().worldToCam, m);
}
