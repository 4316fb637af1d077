#include "camera/camera_rig.h"

#include <gtest/gtest.h>

#include <bitset>
#include <cmath>
#include <set>
#include <tuple>

using Holvane::Internal::buildBoxRig;
using Holvane::Internal::CameraRig;

namespace {

// The mask a camera must have from where it stands on the box: one bit per face it touches.
std::uint32_t facesTouched(TavPoint const& p)
{
    std::uint32_t mask = 0;
    mask |= p.z == -50.0f ? 1u : 0u;
    mask |= p.x == 50.0f ? 2u : 0u;
    mask |= p.z == 50.0f ? 4u : 0u;
    mask |= p.x == -50.0f ? 8u : 0u;
    mask |= p.y == 50.0f ? 16u : 0u;
    mask |= p.y == -50.0f ? 32u : 0u;
    return mask;
}

}  // namespace

TEST(BoxRig, HasOneCentreCameraAnd255DistinctCamerasOnTheBoxSurface)
{
    CameraRig const rig = buildBoxRig(false);
    ASSERT_EQ(rig.cameras.size(), 256u);
    ASSERT_EQ(rig.cameraWeights.size(), 256u);
    ASSERT_EQ(rig.cameraMasks.size(), 256u);
    EXPECT_TRUE(rig.camerasWorld.empty());

    std::set<std::tuple<float, float, float>> distinct;
    for (std::size_t i = 0; i < rig.cameras.size(); ++i) {
        TavPoint const p = rig.cameras[i];
        distinct.insert({p.x, p.y, p.z});
        if (i == 146) {
            EXPECT_EQ(p.x, 0.0f);
            EXPECT_EQ(p.y, 0.0f);
            EXPECT_EQ(p.z, 0.0f);
            EXPECT_EQ(rig.cameraMasks[i], 63u);
            EXPECT_EQ(rig.cameraWeights[i], 0.0f);
            continue;
        }
        float const extent = std::max(std::fabs(p.x), std::max(std::fabs(p.y), std::fabs(p.z)));
        EXPECT_EQ(extent, 50.0f) << "camera " << i;
        EXPECT_EQ(rig.cameraMasks[i], facesTouched(p)) << "camera " << i;
        EXPECT_GE(rig.cameraWeights[i], 1.0f) << "every other weight grows by one";
    }
    EXPECT_EQ(distinct.size(), 256u);
}

TEST(BoxRig, PlacesCamerasByGridThenRowThenColumn)
{
    CameraRig const rig = buildBoxRig(false);
    // First camera of the first side grid: corner 1 moved a fifth of the way to corner 2.
    EXPECT_FLOAT_EQ(rig.cameras[0].x, -50.0f);
    EXPECT_FLOAT_EQ(rig.cameras[0].y, 30.0f);
    EXPECT_FLOAT_EQ(rig.cameras[0].z, -50.0f);
    EXPECT_EQ(rig.cameraMasks[0], 9u);
    // The next camera steps along i, an eighth of the edge from corner 1 towards corner 0.
    EXPECT_FLOAT_EQ(rig.cameras[1].x, -37.5f);
    EXPECT_FLOAT_EQ(rig.cameras[1].y, 30.0f);
    EXPECT_EQ(rig.cameraMasks[1], 1u);
    // The ninth is the next row j.
    EXPECT_FLOAT_EQ(rig.cameras[8].y, 10.0f);
    // The top grid starts at corner 7, a cube corner with three faces.
    EXPECT_EQ(rig.cameras[128].x, -50.0f);
    EXPECT_EQ(rig.cameras[128].y, 50.0f);
    EXPECT_EQ(rig.cameras[128].z, 50.0f);
    EXPECT_EQ(std::bitset<32>(rig.cameraMasks[128]).count(), 3u);
    // The bottom grid ends at corner 3 + (6 - 2) = (1, -1, 1), i.e. corner 4.
    EXPECT_EQ(rig.cameras[255].x, 50.0f);
    EXPECT_EQ(rig.cameras[255].y, -50.0f);
    EXPECT_EQ(rig.cameras[255].z, 50.0f);
}

TEST(BoxRig, WeightsComeFromTheTablePlusOne)
{
    CameraRig const rig = buildBoxRig(false);
    EXPECT_EQ(rig.cameraWeights[0], 10.0f);
    EXPECT_EQ(rig.cameraWeights[12], 1.0f);     // a zero of the table
    EXPECT_EQ(rig.cameraWeights[170], 35.0f);   // ties with the centre's weight come later and stay
    EXPECT_EQ(rig.cameraWeights[255], 7.0f);
    float sum = 0.0f;
    for (float w : rig.cameraWeights)
        sum += w;
    EXPECT_EQ(sum, 4964.0f - 34.0f + 255.0f);
}

TEST(BoxRig, AllMaskBitsOpensEveryCameraToEveryFace)
{
    CameraRig const rig = buildBoxRig(true);
    for (std::uint32_t mask : rig.cameraMasks)
        EXPECT_EQ(mask, 63u);
    EXPECT_EQ(rig.cameras[0].x, buildBoxRig(false).cameras[0].x);
}
