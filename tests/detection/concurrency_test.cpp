// Four threads send the same samples at once, on the standard rig inside a sphere: the layers stay exact under
// their locks, no hit count is lost, and every claimed pixel holds its plaque.

#include "detect_session.h"

#include "camera/cube_image.h"

#include <map>
#include <set>
#include <thread>

using namespace Holvane::DetectSample;
using namespace HolvaneTest;

namespace {

constexpr int kThreads = 4, kSamples = 300;

// Sample k: the centre camera's hit at 300 units through pixel (37k mod 600, 23k mod 400); every fifth is
// glass and every fifth hair.
HvDetectSample sampleNumber(int k)
{
    int const x = 37 * k % 600, y = 23 * k % 400;
    TavPoint const d = Holvane::Internal::pixelDirection(600, 400, x, y).direction;
    HvDetectSample sample = sampleOf(146, x, y, {d.x * 300, d.y * 300, d.z * 300}, {-d.x, -d.y, -d.z});
    sample.isTransparent = k % 5 == 3, sample.isHair = k % 5 == 4;
    return sample;
}

class ConcurrentSamples : public DetectSession {
protected:
    Scene scene;
    RayTestInterface tracer = scene.tracer();
    using Keys = std::set<std::tuple<int, int, int>>;

    ConcurrentSamples() { scene.spheres.push_back({0, 0, 0, 300}); }
    void SetUp() override { DetectSession::SetUp(), buildRig(); }
    void send(unsigned long long thread, int first)
    {
        for (int i = 0; i < kSamples; ++i)
            HvProcessDetectSample(&tracer, sampleNumber((first + i) % kSamples), thread);
    }
    // The layer plaques (counting repeats) and the claims of opaque plaques, over all buckets.
    std::size_t recorded(Keys& layers, Keys& claims)
    {
        std::size_t layerPlaques = 0;
        for (int t = 0; t < kThreads; ++t) {
            EXPECT_EQ(s().buckets[t].sampleCount, plaques(t).size());
            for (DetectPlaqueInfo const& p : plaques(t)) {
                bool const layer = p.isTransparent || p.isHair;
                layerPlaques += layer;
                if (layer || !p.isExtrapolated)
                    (layer ? layers : claims).insert({p.cameraIndex, p.x, p.y});
            }
        }
        return layerPlaques;
    }
};

}  // namespace

TEST_F(ConcurrentSamples, ThreadsSendingTheSameSamplesRecordEachLayerOnceAndCountEveryHit)
{
    Keys alone, together, claims, bits;
    send(0, 0);
    recorded(alone, claims);
    SetUp();  // a fresh phase
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([this, t] { send(t, 71 * t); });
    for (std::thread& thread : threads)
        thread.join();

    std::map<std::size_t, int> expectedHits;
    for (int k = 0; k < kSamples; ++k)
        if (!sampleNumber(k).isTransparent)
            expectedHits[std::size_t(sampleNumber(k).y) * 600 + std::size_t(sampleNumber(k).x)] += kThreads;
    for (auto const& [pixel, count] : expectedHits)
        EXPECT_EQ(s().hitCounters[pixel], count) << pixel;

    claims.clear();
    std::size_t const layerPlaques = recorded(together, claims);
    EXPECT_EQ(layerPlaques, together.size());  // each layer once over all threads
    EXPECT_EQ(together, alone);
    for (int x = 0; x < 600; ++x)
        for (int y = 0; y < 400; ++y)
            for (unsigned c = 0; c < 256 && !s().cameraPixelCoverage[x][y].none(); ++c)
                if (covered(x, y, c))
                    bits.insert({int(c), x, y});
    EXPECT_EQ(claims, bits);
    EXPECT_GT(claims.size(), std::size_t(kSamples / 2));
}
