// HvProcessDetectSample from the host's side of a begun detection phase: its checks and filters in their order,
// the three paths with the coverage and layer bookkeeping, the debug colours, and HvMatchSampleIndex.

#include "detect_session.h"
#include "detection/camera_hue.h"

#include <exception>
#include <limits>
#include <string>
#include <tuple>

using namespace Holvane::DetectSample;
using namespace HolvaneTest;
using Holvane::Internal::Optional;

namespace {

constexpr TavRGBA kNoColour = {0, 0, 0, 0}, kBlack = {0, 0, 0, 1}, kRed = {1, 0, 0, 1};

// A wall across +z at 200 in front of camera 0 at the origin; camera 1 beside it sees the wall a little less
// squarely but weighs less. Tolerance 0: the best facing camera that sees the point owns it.
class DetectSamples : public DetectSession {
protected:
    Scene scene;
    RayTestInterface tracer = scene.tracer();
    TavPoint const onWall = {0, 0, 200};

    void SetUp() override
    {
        DetectSession::SetUp();
        useRig({{{0, 0, 0}, 10}, {{20, 0, 0}, 2}});
        scene.planes.push_back({{0, 0, 200}, {0, 0, -1}});
        s().renderingContext.tolerance = 0.0;
    }
    TavRGBA process(HvDetectSample const& sample, unsigned long long thread = 0)
    {
        return HvProcessDetectSample(&tracer, sample, thread);
    }
};

DetectPlaqueInfo plaqueOf(unsigned camera, int x, int y, float distance, TavPoint normal)
{
    DetectPlaqueInfo p;
    p.cameraIndex = std::uint8_t(camera), p.x = std::uint16_t(x), p.y = std::uint16_t(y);
    p.distance = distance, p.normal = normal;
    return p;
}

}  // namespace

TEST_F(DetectSamples, MisuseFailsInTheOrderOfItsChecksBeforeAnythingIsCounted)
{
    HvDetectSample const sample = sampleOf(0, 5, 5, onWall, {0, 0, -1});
    auto fails = [&](unsigned long long thread, std::string const& message) {
        log.lines.clear();
        EXPECT_THROW(process(sample, thread), std::exception);
        EXPECT_EQ(log.only(), "4|" + message);
    };
    s().initialized = false, s().phase = Holvane::Phase::PHASE_RENDER;
    fails(4, "[Holvane] You are trying to write to thread while only threads are declared with HvSetThreadNumber().");
    fails(3, "[Holvane] Probecasting can only be invoked once Holvane is initialized.");
    s().initialized = true;
    fails(3, "[Holvane] ProbeCasting is only designed for the detection phase.");
    s().phase = Holvane::Phase::PHASE_DETECT;
    s().transparencyMode = Optional<Holvane::Phase::TransparencyRenderingType>();
    fails(0, "[Holvane] Accessing value that has not been set");
    EXPECT_EQ(hits(5, 5), 0u);

    // A transparent sample reads the unset mode as stored, 0, and goes its way.
    HvDetectSample glass = sample;
    glass.isTransparent = true;
    EXPECT_TRUE(sameColour(process(glass), kNoColour));
    EXPECT_EQ(plaques().size(), 1u);

    // The probe needs the render scale; the hit was counted before it.
    s().transparencyMode = Holvane::Phase::ALL;
    s().renderScale = Optional<float>(1.0f);
    fails(0, "[Holvane] Accessing value that has not been set");
    EXPECT_EQ(hits(5, 5), 1u);
    EXPECT_EQ(plaques().size(), 1u);
    EXPECT_FALSE(covered(5, 5, 0));
}

// Camera index 2 is one past the rig: such a sample answers black after it has counted, which shows each filter.
TEST_F(DetectSamples, ClippingComesBeforeCountingAndTheCameraFilterAfter)
{
    auto& c = s();
    c.clipEnabled = true, c.clipRadius = 5.0f;
    c.clipCenterWorld = {0, 0, 200}, c.clipCenterLocal = {0, 0, -200};  // the sample is tested in world space
    for (float z : {206.0f, 205.0f, 195.0f})  // outside, on the sphere (strict), on it again
        EXPECT_TRUE(sameColour(process(sampleOf(2, 10, 10, {0, 0, z}, {})), kNoColour)) << z;
    EXPECT_EQ(hits(10, 10), 0u);
    EXPECT_TRUE(sameColour(process(sampleOf(2, 10, 10, {0, 0, 203}, {})), kBlack));
    EXPECT_EQ(hits(10, 10), 1u);

    c.clipInverted = true;
    for (float z : {203.0f, 205.0f})
        EXPECT_TRUE(sameColour(process(sampleOf(2, 10, 10, {0, 0, z}, {})), kNoColour)) << z;
    EXPECT_TRUE(sameColour(process(sampleOf(2, 10, 10, {0, 0, 206}, {})), kBlack));
    EXPECT_EQ(hits(10, 10), 2u);
    // d² = 1.0000000216 in double, exactly 1 in float: outside an inverted unit sphere only in double.
    c.clipCenterWorld = {0, 0, 0}, c.clipRadius = 1.0f;
    EXPECT_TRUE(sameColour(process(sampleOf(2, 10, 10, {0.38061854243278503f, 0.9247321486473083f, 0}, {})), kBlack));
    EXPECT_EQ(hits(10, 10), 3u);
    c.clipEnabled = false;

    // A switched-off camera answers black too, counted.
    c.renderingContext.rig.cameraWeights[1] = -1.0f;
    EXPECT_TRUE(sameColour(process(sampleOf(1, 10, 10, onWall, {0, 0, -1})), kBlack));
    EXPECT_EQ(hits(10, 10), 4u);
    // Transparent samples and the transparent pass don't count; the pixel index is y * width + x as it stands.
    HvDetectSample glass = sampleOf(2, 10, 10, onWall, {});
    glass.isTransparent = true;
    process(glass);
    c.transparencyMode = Holvane::Phase::TRANSP;
    process(sampleOf(2, 10, 10, onWall, {}));
    EXPECT_EQ(hits(10, 10), 4u);
    c.transparencyMode = Holvane::Phase::OPAQUE;
    process(sampleOf(2, 600, 9, onWall, {}));  // x = width lands on the next row's first pixel
    process(sampleOf(2, -1, 0, onWall, {}));   // a negative index counts nowhere
    process(sampleOf(2, 0, 400, onWall, {}));  // past the last pixel
    EXPECT_EQ(hits(0, 10), 1u);
    EXPECT_EQ(hits(599, 399) + hits(0, 0), 0);
    EXPECT_TRUE(plaques().empty() && scene.calls == 0);
}

// The box turned a quarter about x and moved: the plaque keeps the sample's pixel, its distance is taken in
// world space and its normal is turned into the box's frame.
TEST_F(DetectSamples, TheOwnCameraKeepsItsPlaqueAndItsPixelThenNoRayIsShotForIt)
{
    auto& c = s();
    c.camToWorld = Matrix4{{{1, 0, 0, 0}, {0, 0, 1, 0}, {0, -1, 0, 0}, {0, 0, 50, 1}}};
    c.worldToCam = Matrix4{{{1, 0, 0, 0}, {0, 0, -1, 0}, {0, 1, 0, 0}, {0, -50, 0, 1}}};
    useRig({{{0, 0, 0}, 10}, {{20, 0, 0}, 2}});
    scene.planes = {{{0, -200, 0}, {0, 1, 0}}};  // the wall at box z = 200
    HvDetectSample const sample = sampleOf(0, 17, 33, {0, -200, 50}, {0, 2, 0});

    EXPECT_TRUE(sameColour(process(sample), kRed));
    ASSERT_EQ(plaques().size(), 1u);
    EXPECT_TRUE(samePlaque(plaques()[0], plaqueOf(0, 17, 33, 200.0f, {0, 0, -1})));
    EXPECT_TRUE(covered(17, 33, 0));
    EXPECT_EQ(scene.calls, 1);  // camera 0's view of the point, nothing else

    EXPECT_TRUE(sameColour(process(sample, 1), kBlack));
    EXPECT_EQ(scene.calls, 1);
    EXPECT_TRUE(plaques(1).empty() && s().buckets[0].sampleCount == 1u);
    EXPECT_EQ(hits(17, 33), 2u);
}

TEST_F(DetectSamples, ATransparentLayerIsRecordedOnceWhateverThreadSendsIt)
{
    s().transparencyMode = Holvane::Phase::TRANSP;  // an opaque sample takes the transparent path
    HvDetectSample const sample = sampleOf(0, 17, 33, onWall, {0, 0, -1});
    EXPECT_TRUE(sameColour(process(sample), kNoColour));
    ASSERT_EQ(plaques().size(), 1u);
    DetectPlaqueInfo expected = plaqueOf(0, 17, 33, 200.0f, {0, 0, -1});
    expected.isTransparent = 1;
    EXPECT_TRUE(samePlaque(plaques()[0], expected));
    EXPECT_FALSE(covered(17, 33, 0));
    EXPECT_EQ(hits(17, 33), 0u);

    EXPECT_TRUE(sameColour(process(sample, 1), kNoColour));
    EXPECT_TRUE(plaques(1).empty());

    // At the same pixel, a layer at about the same depth is the known one; one behind the wall is another,
    // then known in its turn. Every camera has the wall before that one, so the sample's own plaque stands.
    s().transparencyMode = Holvane::Phase::ALL;
    for (float z : {201.0f, 300.0f, 300.5f, 200.5f}) {
        HvDetectSample glass = sampleOf(0, 17, 33, {0, 0, z}, {0, 0, -1});
        glass.isTransparent = true;
        process(glass, 2);
    }
    ASSERT_EQ(plaques(2).size(), 1u);
    EXPECT_EQ(plaques(2)[0].distance, 300.0f);
    EXPECT_EQ(s().buckets[2].sampleCount, 1u);
}

TEST_F(DetectSamples, AKnownHairLayerStillPaintsAndHairClaimsNoPixel)
{
    HvDetectSample sample = sampleOf(0, 17, 33, onWall, {0, 0, -1});
    sample.isHair = true;
    EXPECT_TRUE(sameColour(process(sample), kRed));
    EXPECT_TRUE(sameColour(process(sample, 1), kRed));
    EXPECT_EQ(scene.calls, 0);  // the sample's own camera faces the point best and is taken without a ray
    ASSERT_EQ(plaques().size(), 1u);
    EXPECT_TRUE(plaques(1).empty());
    DetectPlaqueInfo expected = plaqueOf(0, 17, 33, 200.0f, {0, 0, -1});
    expected.isHair = 1;
    EXPECT_TRUE(samePlaque(plaques()[0], expected));
    EXPECT_FALSE(covered(17, 33, 0));
    EXPECT_EQ(hits(17, 33), 2u);
}

TEST(CameraHue, EachSextantFromItsBoundary)
{
    struct {
        unsigned camera;
        TavRGBA colour;
    } const table[] = {
        {0, {1, 0, 0, 1}},   {59, {1, 0.98333335f, 0, 1}}, {60, {1, 1, 0, 1}},  {120, {0, 1, 0, 1}},
        {180, {0, 1, 1, 1}}, {240, {0, 0, 1, 1}},          {255, {0.25f, 0, 1, 1}}, {300, {1, 0, 1, 1}},
        // The sixth is rounded to float first: 5.983333 - 5 leaves 0.9833331, not 0.98333333.
        {359, {1, 0, 0.016666889f, 1}}, {360, {1, 0, 0, 1}}, {1000, {1, 0, 0, 1}},
    };
    for (auto const& row : table)
        EXPECT_TRUE(sameColour(Holvane::Internal::cameraHue(row.camera), row.colour)) << row.camera;
}

TEST_F(DetectSession, MatchSampleIndexTakesTheNearestWorldCameraAndTheLowerIndexOnATie)
{
    HvDetectSample sample = sampleOf(7, 0, 0, {}, {});
    HvMatchSampleIndex(sample, {0, 0, 0});
    EXPECT_EQ(sample.cameraIndex, 0u);  // no camera at all
    s().camToWorld = Matrix4{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {100, 0, 0, 1}}};
    useRig({{{-10, 0, 0}, 1}, {{10, 0, 0}, 1}, {{0, 0, 11}, 1}});
    for (auto [x, z, camera] : {std::make_tuple(100.0f, 0.0f, 0u), {101.0f, 0.0f, 1u}, {100.0f, 5.0f, 2u}}) {
        HvMatchSampleIndex(sample, {x, 0, z});
        EXPECT_EQ(sample.cameraIndex, camera) << x << " " << z;
    }
}
