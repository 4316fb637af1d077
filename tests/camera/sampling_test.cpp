#include <holvane/camera.h>

#include "camera/mersenne_twister.h"
#include "camera/sampling.h"
#include "camera_session.h"

#include <random>

using namespace Holvane::Camera;

namespace {

using Sampling = HolvaneTest::CameraSession;

unsigned long long referenceSeed(unsigned camera, unsigned x, unsigned y)
{
    std::mt19937 twister((x + 1u) * (y + 1u) + (camera + 1u) * 654u);
    twister.discard(camera % 7 + x % 13 + y % 17 + 20);
    unsigned long long const a = twister(), b = twister(), c = twister();
    return (((a << 16) ^ b) << 16) ^ c;
}

}  // namespace

TEST_F(Sampling, IndexCountsPerPixelStopsAt255InDetectionAndRefusesOtherPixels)
{
    unsigned long long count = 999;
    for (unsigned long long expected = 0; expected < 258; ++expected)  // 255 is a camera too
        ASSERT_TRUE(HvGetCurrentSampleIndexCount(7, 3, count) && count == std::min(expected, 255ULL)) << count;
    s().phase = Holvane::Phase::PHASE_RENDER;  // no stop in the render phase
    ASSERT_TRUE(HvGetCurrentSampleIndexCount(7, 3, count));
    EXPECT_EQ(s().sampleIndexCounters[3 * 600 + 7], 256u);
    count = 42;  // other pixels are refused and leave the count alone
    EXPECT_FALSE(HvGetCurrentSampleIndexCount(0, 400, count) || HvGetCurrentSampleIndexCount(-1, 0, count) ||
                 HvGetCurrentSampleIndexCount(0, 2000000000, count));  // the last past 32 bits
    EXPECT_EQ(count, 42u);
    s().renderingWidth = Holvane::Internal::Optional<double>();
    EXPECT_THROW(HvGetCurrentSampleIndexCount(0, 0, count), std::exception);
}

TEST(SamplingPosition, IsTheRadicalInverseInBasesThreeAndFive)
{
    EXPECT_TRUE(HvGetSamplingPos(0, 0).x == 0.0f && HvGetSamplingPos(0, 0).y == 0.0f);
    EXPECT_TRUE(HvGetSamplingPos(1, 0).x == 0.33333334f && HvGetSamplingPos(1, 0).y == 0.2f);
    TavPoint2 const p = HvGetSamplingPos(3, 4);  // n = 7: 21 in base 3, 12 in base 5
    EXPECT_EQ(p.x, 1.0f * 0.33333334f + 2.0f * (0.33333334f * 0.33333334f));
    EXPECT_EQ(p.y, 2.0f * 0.2f + 1.0f * (0.2f * 0.2f));
}

TEST_F(Sampling, SeedsMatchTheStandardMersenneTwisterByPixelOrByThePlaqueOfTheBlock)
{
    unsigned const cases[][3] = {{0, 0, 0}, {1, 2, 3}, {146, 5999, 3999}, {255, 12, 16}, {7, 4294967295u, 1}};
    for (auto const& c : cases)
        EXPECT_EQ(GetSeed(c[0], c[1], c[2]), referenceSeed(c[0], c[1], c[2])) << c[0] << " " << c[1];
    Holvane::BinIO::DetectPlaqueInfo plaque;
    plaque.cameraIndex = 33, plaque.x = 1200, plaque.y = 801;
    EXPECT_EQ(GetSeed(plaque), referenceSeed(33, 1200, 801));
    Holvane::Internal::MersenneTwister32 own(5489u);  // past its first block of 624 words too
    std::mt19937 reference(5489u);
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(own.next(), reference()) << i;
    EXPECT_EQ(HvGetSeed(10.7, 3.2), referenceSeed(0, 10, 3));  // detection: camera 0 and the pixel
    s().phase = Holvane::Phase::PHASE_RENDER, s().renderingWidth = 4.0, s().renderingHeight = 2.0;
    s().currentBlock = 1ULL, s().detectPlaques.resize(12), s().detectPlaques[10] = {9, 300, 77};
    // Block 1 starts at plaque 8: (2, 0) is plaque 10, and (2, 1) would be 14, past the plaques.
    EXPECT_EQ(HvGetSeed(2.9, 0.5), referenceSeed(9, 300, 77));
    EXPECT_EQ(HvGetSeed(2.0, 1.0), referenceSeed(0, 2, 1));
}

TEST(IndexedSpheres, HoldRingsOfUnitVectorsFromPoleToPole)
{
    using namespace Holvane::Internal;
    IndexedSphere const& first = indexedSphere255();
    EXPECT_TRUE(first.count == 255 && indexedSphere124().count == 124);
    EXPECT_TRUE(first.points[0].y == -1.0f && first.points[254].y == 1.0f);
    // Ring 7 of 15 is the equator: rings 0-6 hold 1, 6, 12, 18, 22, 26, 28 points; it starts at phi = pi/2.
    EXPECT_NEAR(first.points[113].z, 1.0f, 1e-6f);
}
