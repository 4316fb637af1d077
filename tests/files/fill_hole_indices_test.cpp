// The detection's plaque list made ready for the detect file.

#include <holvane/block.h>
#include <holvane/fillhole.h>

#include "camera/cube_image.h"
#include "common/log_capture.h"
#include "session/context.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

using Holvane::BinIO::DetectPlaqueInfo;
using Holvane::Block::processFillHoleIndices;

namespace {

// A 624 x 416 image seen by four cameras. Plaques at distance 1, face on, are 0.01 across on the surface:
// below the threshold 0.1 / (2 x renderScale) = 0.05.
class FillHoleIndices : public ::testing::Test {
protected:
    HolvaneTest::LogCapture log;
    Holvane::Camera::CameraRig rig;
    RenderingContext context;

    void SetUp() override
    {
        Holvane::Internal::resetSession();
        rig.cameras = {{0, 0, 0}, {40, 0, 0}, {0, 40, 0}, {0, 0, 40}};
        rig.cameraWeights.assign(4, 1.0f), rig.cameraMasks.assign(4, 63u), rig.camerasWorld = rig.cameras;
        context.rig = &rig, context.width = 624, context.height = 416;
    }
    void TearDown() override { Holvane::Internal::resetSession(); }

    static DetectPlaqueInfo plaque(int camera, int x, int y, float distance, bool transparent = false)
    {
        DetectPlaqueInfo p;
        p.cameraIndex = std::uint8_t(camera), p.x = std::uint16_t(x), p.y = std::uint16_t(y);
        p.distance = distance, p.isTransparent = transparent, p.level = 3;  // a stale level, cleared
        p.normal = Holvane::Internal::pixelDirection(624, 416, p.x, p.y).direction;
        return p;
    }

    // A foldable cell at (2, 2), a plaque after it, and for opaque plaques a repeat of the cell's first one
    // on its layer and two plaques of camera 2 at 10 and 10.4, one layer apart only with the narrower
    // tolerance.
    std::vector<DetectPlaqueInfo> records() const
    {
        std::vector<DetectPlaqueInfo> r;
        for (int camera : {0, 1}) {
            bool const transparent = camera == 0;
            for (int k = 0; k < 4; ++k)
                r.push_back(plaque(camera, 2 + (k & 1), 2 + (k >> 1), 1.0f, transparent));
            r.push_back(plaque(camera, 10, 10, 1.0f, transparent));
        }
        r.push_back(plaque(1, 2, 2, 1.0001f));
        r.push_back(plaque(2, 100, 100, 10.4f));
        r.push_back(plaque(2, 100, 100, 10.0f));
        return r;
    }

    static std::vector<std::tuple<int, int, int, int, int>> summary(std::vector<DetectPlaqueInfo> const& records)
    {
        std::vector<std::tuple<int, int, int, int, int>> out;
        for (DetectPlaqueInfo const& p : records)
            out.emplace_back(p.isTransparent, p.cameraIndex, p.x, p.y, p.level);
        return out;
    }
};

}  // namespace

TEST_F(FillHoleIndices, EmptyListPassesThrough)
{
    std::vector<DetectPlaqueInfo> none;
    processFillHoleIndices(context, none, 1.0f);
    EXPECT_TRUE(none.empty());
}

// Opaque plaques first, then transparent ones, each group ending in its folded plaques (level 1).
TEST_F(FillHoleIndices, OpaqueThenTransparentEachEndingInItsFoldedPlaques)
{
    std::vector<DetectPlaqueInfo> list = records();
    processFillHoleIndices(context, list, 1.0f);
    using Row = std::tuple<int, int, int, int, int>;
    EXPECT_EQ(summary(list), (std::vector<Row>{{0, 1, 10, 10, 0}, {0, 2, 100, 100, 0}, {0, 2, 100, 100, 0},
                                               {0, 1, 2, 2, 1}, {1, 0, 10, 10, 0}, {1, 0, 2, 2, 1}}));
    EXPECT_EQ(list[1].distance, 10.0f);

    // Only transparent surfaces rendered: the wider tolerance puts 10 and 10.4 on one layer.
    Holvane::Internal::session().transparencyMode = Holvane::Phase::TRANSP;
    list = records();
    processFillHoleIndices(context, list, 1.0f);
    EXPECT_EQ(list.size(), 5u);
    EXPECT_EQ(list[1].distance, 10.0f);
}

// A damaged list: cameras the rig doesn't have, pixels outside the image, NaN distances and normals, many
// records on one point. It is cleaned without reading outside anything (the sanitizer build checks that).
TEST_F(FillHoleIndices, DamagedListIsCleanedWithoutReachingOutside)
{
    std::vector<DetectPlaqueInfo> list;
    for (int k = 0; k < 6; ++k) {
        list.push_back(plaque(200 + k % 2, 65535, 65535, 1.0f, k % 3 == 0));
        list.push_back(plaque(k % 2, 2, 2, std::nanf(""), k % 3 == 0));
        list.push_back(plaque(1, 4, 4, 1.0f + 0.5f * float(k)));
        list.back().normal = {std::nanf(""), 0.0f, 1.0f};
    }
    list.push_back(plaque(3, 623, 415, 1.0f));
    processFillHoleIndices(context, list, 1.0f);
    EXPECT_LE(list.size(), 19u);
    std::vector<DetectPlaqueInfo> one = {plaque(255, 623, 415, 1.0f)};
    processFillHoleIndices(context, one, 1.0f);
    EXPECT_EQ(one.size(), 1u);
}
