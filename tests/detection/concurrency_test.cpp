// Four render threads send the same samples at once, on the standard rig inside a sphere: the layer maps stay
// exact under their locks, the counters lose nothing, and opaque plaques own their pixels.

#include "detect_session.h"

#include "camera/cube_image.h"

#include <map>
#include <set>
#include <thread>
#include <tuple>

using namespace Holvane::DetectSample;
using namespace HolvaneTest;

namespace {

constexpr unsigned kCentre = 146;
constexpr int kThreads = 4;
constexpr int kSamples = 300;

// Sample k: seen by the centre camera at pixel (37k mod 600, 23k mod 400) on a sphere of radius 300; every
// fifth is glass and every fifth hair.
HvDetectSample sampleNumber(int k)
{
    int const x = 37 * k % 600, y = 23 * k % 400;
    TavPoint const d = Holvane::Internal::pixelDirection(600, 400, x, y).direction;
    HvDetectSample sample = sampleOf(kCentre, x, y, {d.x * 300, d.y * 300, d.z * 300}, {-d.x, -d.y, -d.z});
    sample.isTransparent = k % 5 == 3;
    sample.isHair = k % 5 == 4;
    return sample;
}

using Key = std::tuple<int, int, int>;

Key keyOf(DetectPlaqueInfo const& p)
{
    return {p.cameraIndex, p.x, p.y};
}

// What the samples record: the layers, and the opaque plaques that claimed a pixel.
struct Recorded {
    std::set<Key> layers, claims;
    std::size_t layerPlaques = 0;
};

class ConcurrentSamples : public DetectSession {
protected:
    Scene scene;
    RayTestInterface tracer = scene.tracer();

    ConcurrentSamples() { scene.spheres.push_back({{0, 0, 0}, 300}); }
    void SetUp() override
    {
        DetectSession::SetUp();
        buildRig();
    }
    void send(unsigned long long thread, int first)
    {
        for (int i = 0; i < kSamples; ++i)
            HvProcessDetectSample(&tracer, sampleNumber((first + i) % kSamples), thread);
    }
    Recorded recorded()
    {
        Recorded r;
        for (int t = 0; t < kThreads; ++t) {
            EXPECT_EQ(s().buckets[t].sampleCount, plaques(t).size());
            for (DetectPlaqueInfo const& p : plaques(t)) {
                if (p.isTransparent || p.isHair)
                    r.layers.insert(keyOf(p)), ++r.layerPlaques;
                else if (!p.isExtrapolated)
                    r.claims.insert(keyOf(p));
            }
        }
        return r;
    }
    std::set<Key> coveredBits()
    {
        std::set<Key> bits;
        for (int x = 0; x < 600; ++x)
            for (int y = 0; y < 400; ++y)
                for (int c = 0; c < 256; ++c)
                    if (!s().cameraPixelCoverage[x][y].none() && covered(x, y, c))
                        bits.insert({c, x, y});
        return bits;
    }
};

}  // namespace

TEST_F(ConcurrentSamples, ThreadsSendingTheSameSamplesRecordEachLayerOnceAndCountEveryHit)
{
    send(0, 0);
    std::set<Key> const alone = recorded().layers;
    SetUp();  // a fresh phase

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([this, t] { send(t, 71 * t); });
    for (std::thread& thread : threads)
        thread.join();

    std::map<std::size_t, int> expectedHits;
    for (int k = 0; k < kSamples; ++k) {
        HvDetectSample const sample = sampleNumber(k);
        if (!sample.isTransparent)
            expectedHits[std::size_t(sample.y) * 600 + std::size_t(sample.x)] += kThreads;
    }
    for (auto const& [pixel, count] : expectedHits)
        EXPECT_EQ(s().hitCounters[pixel], count) << pixel;

    // Each layer once over all threads, the same layers as one thread alone finds; every claimed pixel holds
    // a recorded plaque and every recorded opaque plaque its claim.
    Recorded const together = recorded();
    EXPECT_EQ(together.layerPlaques, together.layers.size());
    EXPECT_EQ(together.layers, alone);
    EXPECT_EQ(together.claims, coveredBits());
    EXPECT_GT(together.claims.size(), std::size_t(kSamples / 2));
}
