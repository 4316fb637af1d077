#include "camera/sampling.h"

#include <holvane/camera.h>

#include "camera/mersenne_twister.h"
#include "camera/vector_math.h"
#include "session/context.h"

#include <cmath>
#include <cstdio>

namespace Holvane {
namespace Internal {

std::int32_t truncateToInt32(double value)
{
    if (!(std::fabs(value) < 9.2e18))
        return INT32_MIN;
    return static_cast<std::int32_t>(static_cast<std::int64_t>(value));
}

namespace {

// Ring r of `rings` lies at the polar angle ((rings-1-r)/(rings-1))*pi and holds trunc(sin(angle)*perRing)
// points, or one at the poles. Only the first table reports an overflow of its capacity.
IndexedSphere makeIndexedSphere(int rings, int perRing, int capacity, bool reportOverflow)
{
    constexpr double kPi = 3.14159265358979323846;
    IndexedSphere sphere = {};
    int index = 0;
    for (int r = 0; r < rings; ++r) {
        double const polar = (static_cast<double>(rings - 1 - r) / (rings - 1)) * kPi;
        int points = static_cast<int>(std::sin(polar) * perRing);
        if (points == 0)
            points = 1;
        for (int j = 0; j < points; ++j, ++index) {
            double const t = static_cast<double>(j) / points;
            double const phi = (2.0 * t + 0.5) * kPi;
            TavPoint const p = {static_cast<float>(std::cos(phi) * std::sin(polar)),
                                static_cast<float>(std::cos(polar)),
                                static_cast<float>(std::sin(phi) * std::sin(polar))};
            if (index >= capacity) {
                if (reportOverflow)  // spelling, trailing blank and no newline: the text hosts have always seen
                    std::fputs("error nb samplees for indexed sphere is >255 ", stdout);
                continue;
            }
            sphere.points[index] = normalised(p);
        }
    }
    sphere.count = index < capacity ? index : capacity;
    return sphere;
}

IndexedSphere const g_sphere255 = makeIndexedSphere(15, 29, 256, true);
IndexedSphere const g_sphere124 = makeIndexedSphere(10, 22, 124, false);

}  // namespace

IndexedSphere const& indexedSphere255()
{
    return g_sphere255;
}

IndexedSphere const& indexedSphere124()
{
    return g_sphere124;
}

}  // namespace Internal

namespace Camera {
inline namespace v2_0 {

bool HvGetCurrentSampleIndexCount(int const& x, int const& y, unsigned long long& count)
{
    Internal::HolvaneContext& s = Internal::session();
    double const width = s.renderingWidth.get();
    std::int32_t const i = Internal::truncateToInt32(static_cast<double>(y) * width + x);
    if (i < 0 || static_cast<std::size_t>(i) >= s.sampleIndexCounters.size())
        return false;
    std::uint16_t& counter = s.sampleIndexCounters[static_cast<std::size_t>(i)];
    count = Internal::relaxedLoad(counter);
    // In detection the index is a camera: it stops at 255, itself a valid camera.
    if (s.phase == Phase::PHASE_DETECT && count >= 255)
        return true;
    Internal::relaxedIncrement(counter);
    return true;
}

TavPoint2 HvGetSamplingPos(unsigned long long index, unsigned long long offset)
{
    auto radicalInverse = [](unsigned long long n, unsigned long long base, float step) {
        float f = step;
        float sum = 0.0f;
        while (n > 0) {
            sum += static_cast<float>(n % base) * f;
            f *= step;
            n /= base;
        }
        return sum;
    };
    unsigned long long const n = index + offset;
    return {radicalInverse(n, 3, 0.33333334f), radicalInverse(n, 5, 0.2f)};
}

unsigned long long GetSeed(unsigned int camera, unsigned int x, unsigned int y)
{
    std::uint32_t const seed = (x + 1u) * (y + 1u) + (camera + 1u) * 654u;
    Internal::MersenneTwister32 twister(seed);
    twister.discard(camera % 7 + x % 13 + y % 17 + 20);
    unsigned long long const a = twister.next();
    unsigned long long const b = twister.next();
    unsigned long long const c = twister.next();
    return (((a << 16) ^ b) << 16) ^ c;
}

unsigned long long GetSeed(BinIO::DetectPlaqueInfo const& plaque)
{
    return GetSeed(plaque.cameraIndex, plaque.x, plaque.y);
}

unsigned long long HvGetSeed(double const& x, double const& y)
{
    Internal::HolvaneContext const& s = Internal::session();
    double const wholeX = std::trunc(x);
    double const wholeY = std::trunc(y);
    if (s.phase == Phase::PHASE_RENDER) {
        double const width = s.renderingWidth.get();
        double const height = s.renderingHeight.get();
        double const block = static_cast<double>(s.currentBlock.get());
        std::int32_t const i = Internal::truncateToInt32(wholeY * width + wholeX + block * width * height);
        if (i >= 0 && static_cast<std::size_t>(i) < s.detectPlaques.size())
            return GetSeed(s.detectPlaques[static_cast<std::size_t>(i)]);
    }
    return GetSeed(0, static_cast<unsigned int>(Internal::truncateToInt32(wholeX)),
                   static_cast<unsigned int>(Internal::truncateToInt32(wholeY)));
}

}  // namespace v2_0
}  // namespace Camera
}  // namespace Holvane
