// What the setters store.

#include <holvane/phase.h>

#include "common/log_capture.h"
#include "session/context.h"
#include "session/matrix.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Holvane::Phase;
using Holvane::Internal::invertMatrix;
using Holvane::Internal::session;

namespace {

void init(Phase phase)
{
    HvInitPhase(phase, Holvane::Util::RenderingEngineId(0));
}

void expectMatrix(Matrix4 const& got, Matrix4 const& expected)
{
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(got.m[i / 4][i % 4], expected.m[i / 4][i % 4]) << "[" << i / 4 << "][" << i % 4 << "]";
}

}  // namespace

TEST(Parameters, NarrowingNormalisationAndRefusedValues)
{
    init(PHASE_RENDER);
    HvSetCurrentFrame(-4, 0x100000005ULL);  // the padding keeps its low 32 bits
    HvSetDeepReflection(RC_LeftAndRight, 63.7), HvSetMaxDistance(1e300), HvSetTolerance(0.125);
    HvSetOutputResolution(5400, 3600);
    auto const& s = session();
    EXPECT_TRUE(s.ipd.get() == static_cast<float>(63.7) && s.framePadding == 5u);
    EXPECT_TRUE(s.renderingContext.maxDistance == 1e300 && s.renderingContext.tolerance == 0.125);
    EXPECT_TRUE(s.outputWidth.get() == 5400.0 && s.outputHeight.get() == 3600.0 && s.outputRatio == 1.5);
    {
        HolvaneTest::LogCapture quiet;
        HvSetOutputResolution(5400, 3601);
        HvSetDetectFilePath("/nonexistent");
    }
    EXPECT_EQ(s.outputHeight.get(), 3600.0);
    EXPECT_TRUE(s.detectFilePath.empty());

    HvSetSceneUpVector(TavPoint{0.0f, 3.0f, 4.0f});
    EXPECT_TRUE(s.sceneUp.get().x == 0.0f && s.sceneUp.get().y == 0.6f && s.sceneUp.get().z == 0.8f);
    HvSetSceneUpVector(TavPoint{0.0f, 0.0f, 0.0f});  // set, at zero, not NaN
    EXPECT_TRUE(s.sceneUp.isSet && s.sceneUp.get().y == 0.0f);
}

TEST(MatrixInverse, CofactorsTransposedOverTheDeterminant)
{
    // A row-vector affine matrix: the linear part inverts to [[-2, 1], [1.5, -0.5]], the translation to
    // -t * inverse(linear).
    Matrix4 const m = {{{1, 2, 0, 0}, {3, 4, 0, 0}, {0, 0, 1, 0}, {5, 6, 7, 1}}};
    expectMatrix(invertMatrix(m), Matrix4{{{-2, 1, 0, 0}, {1.5f, -0.5f, 0, 0}, {0, 0, 1, 0}, {1, -2, -7, 1}}});
    init(PHASE_DETECT);
    HvSetWorldToCamMatrix(m);
    expectMatrix(session().camToWorld, invertMatrix(m));

    Matrix4 const third = invertMatrix(Matrix4{{{3, 0, 0, 0}, {0, 3, 0, 0}, {0, 0, 3, 0}, {0, 0, 0, 1}}});
    EXPECT_EQ(third.m[1][1], static_cast<float>(1.0 / 3.0));  // in double, narrowed once
    EXPECT_FALSE(std::signbit(third.m[0][1]));
    // The fourth column takes part like any other.
    EXPECT_EQ(invertMatrix(Matrix4{{{1, 0, 0, 2}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}).m[0][3], -2.0f);
    // No singularity test: the zero determinant's reciprocal spreads through the result.
    Matrix4 const singular = invertMatrix(Matrix4{{{1, 2, 3, 0}, {2, 4, 6, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}});
    EXPECT_FALSE(std::isfinite(singular.m[0][0]) || std::isfinite(singular.m[3][3]));
}
