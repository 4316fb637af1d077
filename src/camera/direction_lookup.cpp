#include <holvane/camera.h>

#include "camera/cube_image.h"
#include "camera/vector_math.h"
#include "session/context.h"

#include <algorithm>
#include <cmath>

namespace Holvane {
namespace Camera {
inline namespace v2_0 {

namespace {

constexpr float kUnusable = 0.0001f;

bool isUsable(TavPoint const& e)
{
    return !(std::fabs(e.x) < kUnusable && std::fabs(e.y) < kUnusable && std::fabs(e.z) < kUnusable);
}

// The search around the estimate (x0, y0): rows outside the image are skipped, columns are clamped to it.
// The first candidate of the best dot product wins, in row-major order. `candidate(x, y, out)` gives the
// direction of a pixel and answers false when it has none.
template <typename Candidate>
bool searchAround(TavPoint const& direction, long long width, long long height, long long x0, long long y0,
                  long long radius, Candidate const& candidate, TavPoint& outDirection, int& outX, int& outY)
{
    float best = -1.0f;
    bool found = false;
    for (long long dy = -radius; dy <= radius; ++dy) {
        long long const y = y0 + dy;
        if (y < 0 || y >= height)
            continue;
        for (long long dx = -radius; dx <= radius; ++dx) {
            long long const x = std::min(std::max(x0 + dx, 0LL), width - 1);
            TavPoint e;
            if (!candidate(x, y, e) || !isUsable(e))
                continue;
            float const d = Internal::dot(direction, e);
            if (d > best) {
                best = d;
                found = true;
                outX = static_cast<int>(x);
                outY = static_cast<int>(y);
                outDirection = e;
            }
        }
    }
    return found;
}

}  // namespace

std::vector<TavPoint> generateFetchMap(unsigned long long width, unsigned long long height)
{
    std::vector<TavPoint> map(width * height);
    for (unsigned long long y = 0; y < height; ++y) {
        for (unsigned long long x = 0; x < width; ++x)
            map[x + y * width] = Internal::pixelDirection(width, height, x, y).direction;
    }
    return map;
}

bool getClosestCamDirXYWithFetchMap(TavPoint const& direction, unsigned long long width, unsigned long long height,
                                    std::vector<TavPoint> const& fetchMap, TavPoint& outDirection, int& outX,
                                    int& outY, unsigned long long radius)
{
    // A factor just below 1 keeps u = 1 and v = 1 inside the image.
    constexpr double kInside = 0.9999998807907104;
    if (width == 0 || height == 0)  // an empty image has no pixel to offer
        return false;
    TavPoint2 const uv = Internal::snapToPixelCentre(direction, width, height);
    auto const x0 = static_cast<long long>(std::floor(uv.x * static_cast<double>(width) * kInside));
    auto const y0 = static_cast<long long>(std::floor(uv.y * static_cast<double>(height) * kInside));
    auto const w = static_cast<long long>(width);
    // The map is the caller's: an entry it does not have counts as unusable.
    auto const entry = [&](long long x, long long y, TavPoint& e) {
        auto const index = static_cast<unsigned long long>(x + y * w);
        if (x < 0 || y < 0 || index >= fetchMap.size())
            return false;
        e = fetchMap[index];
        return true;
    };
    outX = static_cast<int>(x0);
    outY = static_cast<int>(y0);
    TavPoint start = {0.0f, 0.0f, 0.0f};
    entry(x0, y0, start);
    outDirection = start;
    return searchAround(direction, w, static_cast<long long>(height), x0, y0, static_cast<long long>(radius), entry,
                        outDirection, outX, outY);
}

bool getClosestCamDirXY(TavPoint const& direction, unsigned long long width, unsigned long long height,
                        TavPoint& outDirection, int& outX, int& outY)
{
    if (width == 0 || height == 0)  // an empty image has no pixel to offer
        return false;
    TavPoint2 const uv = Internal::snapToPixelCentre(direction, width, height);
    auto const x0 = static_cast<long long>(std::floor(uv.x * static_cast<double>(width)));
    auto const y0 = static_cast<long long>(std::floor(uv.y * static_cast<double>(height)));
    auto const computed = [&](long long x, long long y, TavPoint& e) {
        e = Internal::pixelDirection(width, height, static_cast<unsigned long long>(x),
                                     static_cast<unsigned long long>(y))
                .direction;
        return true;
    };
    outX = static_cast<int>(x0);
    outY = static_cast<int>(y0);
    return searchAround(direction, static_cast<long long>(width), static_cast<long long>(height), x0, y0, 2,
                        computed, outDirection, outX, outY);
}

bool getClosestCamDirXY(TavPoint const& direction, TavPoint& outDirection, int& outX, int& outY)
{
    Internal::HolvaneContext const& s = Internal::session();
    auto const width = static_cast<unsigned long long>(s.outputWidth.get());
    auto const height = static_cast<unsigned long long>(s.outputHeight.get());
    return getClosestCamDirXYWithFetchMap(direction, width, height, s.renderingContext.context.fetchMap,
                                          outDirection, outX, outY, 2);
}

}  // namespace v2_0
}  // namespace Camera
}  // namespace Holvane
