// HvProcessDetectSample in a begun detection phase: its checks and filters in order, the three paths with their
// coverage and layer bookkeeping, the debug colours; and HvMatchSampleIndex.

#include "detect_session.h"
#include "detection/camera_hue.h"

#include <exception>
#include <string>

using namespace Holvane::DetectSample;
using namespace HolvaneTest;
using Holvane::Internal::Optional;

namespace {

constexpr TavRGBA kNoColour = {0, 0, 0, 0}, kBlack = {0, 0, 0, 1}, kRed = {1, 0, 0, 1};

// A wall across z = 200 before camera 0 at the origin; camera 1 beside it faces the wall a little less squarely.
// Tolerance 0: the best facing camera that sees the point owns it, here the sample's own.
class DetectSamples : public DetectSession {
protected:
    Scene scene;
    RayTestInterface tracer = scene.tracer();

    void SetUp() override
    {
        DetectSession::SetUp();
        useRig({{{0, 0, 0}, 10}, {{20, 0, 0}, 2}});
        scene.planes.push_back({0, 0, 200, 0, 0, -1});
        s().renderingContext.tolerance = 0.0;
    }
    TavRGBA process(HvDetectSample const& sample, unsigned long long thread = 0)
    {
        return HvProcessDetectSample(&tracer, sample, thread);
    }
    HvDetectSample onWall(float z = 200, bool transparent = false, bool hair = false)
    {
        HvDetectSample sample = sampleOf(0, 17, 33, {0, 0, z}, {0, 0, -1});
        sample.isTransparent = transparent, sample.isHair = hair;
        return sample;
    }
};

}  // namespace

TEST_F(DetectSamples, MisuseFailsInTheOrderOfItsChecks)
{
    auto fails = [&](unsigned long long thread, std::string const& message) {
        log.lines.clear();
        EXPECT_THROW(process(onWall(), thread), std::exception);
        EXPECT_EQ(log.only(), "4|[Holvane] " + message);
    };
    s().initialized = false, s().phase = Holvane::Phase::PHASE_RENDER;
    fails(4, "You are trying to write to thread while only threads are declared with HvSetThreadNumber().");
    fails(3, "Probecasting can only be invoked once Holvane is initialized.");
    s().initialized = true;
    fails(3, "ProbeCasting is only designed for the detection phase.");
    s().phase = Holvane::Phase::PHASE_DETECT;
    s().transparencyMode = Optional<Holvane::Phase::TransparencyRenderingType>();
    fails(0, "Accessing value that has not been set");
    EXPECT_TRUE(sameColour(process(onWall(200, true)), kNoColour));  // glass reads the unset mode as stored, 0
    EXPECT_EQ(plaques().size(), 1u);
    s().transparencyMode = Holvane::Phase::ALL, s().renderScale = Optional<float>(1.0f);
    fails(0, "Accessing value that has not been set");  // the probe's, after the hit was counted
    EXPECT_TRUE(hits(17, 33) == 1 && plaques().size() == 1 && !covered(17, 33, 0));
}

// Camera 2 is one past the rig: such a sample answers black once it has counted, which shows each filter.
TEST_F(DetectSamples, ClippingComesBeforeCountingAndTheCameraFilterAfter)
{
    auto& c = s();
    auto answers = [&](TavRGBA colour, float z, unsigned camera = 2, int x = 10) {
        EXPECT_TRUE(sameColour(process(sampleOf(camera, x, 10, {0, 0, z}, {0, 0, -1})), colour)) << z;
    };
    c.clipEnabled = true, c.clipRadius = 5, c.clipCenterWorld = {0, 0, 200}, c.clipCenterLocal = {0, 0, -200};
    answers(kNoColour, 206), answers(kNoColour, 205), answers(kBlack, 203);  // on the sphere is outside
    c.clipInverted = true;
    answers(kNoColour, 203), answers(kNoColour, 205), answers(kBlack, 206);
    EXPECT_EQ(hits(10, 10), 2u);
    // d² = 1.0000000216 in double but 1 in float: outside the inverted unit sphere only in double.
    c.clipCenterWorld = {0, 0, 0}, c.clipRadius = 1;
    EXPECT_TRUE(sameColour(process(sampleOf(2, 10, 10, {0.38061854243278503f, 0.9247321486473083f, 0}, {})), kBlack));
    c.clipEnabled = false;
    c.renderingContext.rig.cameraWeights[1] = -1.0f;
    answers(kBlack, 200, 1);  // a switched-off camera
    EXPECT_EQ(hits(10, 10), 4u);
    // Glass and the transparent pass don't count; the index is y * width + x as it stands.
    HvDetectSample glass = sampleOf(2, 10, 10, {0, 0, 200}, {});
    glass.isTransparent = true;
    process(glass);
    c.transparencyMode = Holvane::Phase::TRANSP;
    answers(kBlack, 200);
    c.transparencyMode = Holvane::Phase::OPAQUE;
    answers(kBlack, 200, 2, 600), answers(kBlack, 200, 2, -6001);
    EXPECT_TRUE(hits(10, 10) == 4 && hits(0, 11) == 1 && scene.calls == 0);
}

// The box turned a quarter about x and moved: the plaque keeps the sample's pixel, its distance is taken in
// world space and its normal turned into the box's frame. A second sample for the pixel costs no ray.
TEST_F(DetectSamples, TheOwnCameraKeepsTheSamplesPlaqueAndCoversItsPixel)
{
    s().camToWorld = Matrix4{{{1, 0, 0, 0}, {0, 0, 1, 0}, {0, -1, 0, 0}, {0, 0, 50, 1}}};
    s().worldToCam = Matrix4{{{1, 0, 0, 0}, {0, 0, -1, 0}, {0, 1, 0, 0}, {0, -50, 0, 1}}};
    useRig({{{0, 0, 0}, 10}, {{20, 0, 0}, 2}});
    scene.planes = {{0, -200, 0, 0, 1, 0}};  // box z = 200
    HvDetectSample const sample = sampleOf(0, 17, 33, {0, -200, 50}, {0, 2, 0});
    EXPECT_TRUE(sameColour(process(sample), kRed));
    ASSERT_EQ(plaques().size(), 1u);
    EXPECT_TRUE(samePlaque(plaques()[0], plaqueOf(0, 17, 33, 200, {0, 0, -1})));
    EXPECT_TRUE(covered(17, 33, 0) && scene.calls == 1);
    EXPECT_TRUE(sameColour(process(sample, 1), kBlack));
    EXPECT_TRUE(scene.calls == 1 && plaques(1).empty() && s().buckets[0].sampleCount == 1 && hits(17, 33) == 2);
}

TEST_F(DetectSamples, ALayerIsRecordedOnceWhateverThreadSendsItAndOnlyHairPaints)
{
    s().transparencyMode = Holvane::Phase::TRANSP;  // an opaque sample takes the transparent path
    EXPECT_TRUE(sameColour(process(onWall()), kNoColour) && sameColour(process(onWall(), 1), kNoColour));
    DetectPlaqueInfo glass = plaqueOf(0, 17, 33, 200, {0, 0, -1});
    glass.isTransparent = 1;
    ASSERT_TRUE(plaques().size() == 1 && plaques(1).empty());
    EXPECT_TRUE(samePlaque(plaques()[0], glass));
    EXPECT_TRUE(!covered(17, 33, 0) && hits(17, 33) == 0);
    // About the same depth is the known layer; behind the wall is another, known in its turn against the
    // second distance. Every camera has the wall before it, so the sample's own plaque stands.
    s().transparencyMode = Holvane::Phase::ALL;
    for (float z : {201.0f, 300.0f, 300.5f, 200.5f})
        process(onWall(z, true), 2);
    ASSERT_EQ(plaques(2).size(), 1u);
    EXPECT_TRUE(plaques(2)[0].distance == 300 && s().buckets[2].sampleCount == 1);

    s().layerDistanceSlots = std::make_unique<Holvane::Internal::LayerDistanceSlots>();
    scene.calls = 0;
    EXPECT_TRUE(sameColour(process(onWall(200, false, true), 3), kRed));
    EXPECT_TRUE(sameColour(process(onWall(200, false, true), 3), kRed));  // known, painted all the same
    DetectPlaqueInfo hair = plaqueOf(0, 17, 33, 200, {0, 0, -1});
    hair.isHair = 1;
    ASSERT_EQ(plaques(3).size(), 1u);
    EXPECT_TRUE(samePlaque(plaques(3)[0], hair));
    EXPECT_TRUE(scene.calls == 0 && !covered(17, 33, 0) && hits(17, 33) == 2);  // the own camera: no ray
}

TEST(CameraHue, EachSextantFromItsBoundary)
{
    std::pair<unsigned, TavRGBA> const table[] = {
        {0, {1, 0, 0, 1}},   {59, {1, 0.98333335f, 0, 1}}, {60, {1, 1, 0, 1}},  {120, {0, 1, 0, 1}},
        {180, {0, 1, 1, 1}}, {240, {0, 0, 1, 1}},          {255, {0.25f, 0, 1, 1}}, {300, {1, 0, 1, 1}},
        {359, {1, 0, 0.016666889f, 1}},  // 359/60 rounded to float first: not 1/60
        {360, {1, 0, 0, 1}},
    };
    for (auto const& [camera, colour] : table)
        EXPECT_TRUE(sameColour(Holvane::Internal::cameraHue(camera), colour)) << camera;
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
