// Removal of the plaques that repeat a kept plaque of the same camera and pixel on the same layer.

#include <holvane/fillhole.h>

#include "files/redundancies.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Holvane {
namespace Internal {

bool onSameLayer(double a, double b, double base, unsigned long long width)
{
    if (std::fabs(a - b) > 0.1 * std::max(std::fabs(a), std::fabs(b)))
        return false;
    float const pixelAngle = 3.1415927f / static_cast<float>(width);
    return !(std::fabs(std::atan(b / base) - std::atan(a / base)) > pixelAngle);
}

}  // namespace Internal

namespace BinIO {
inline namespace v2_0 {

namespace {

// Ascending, with NaN after every number, so that a damaged distance can't break the sort's ordering.
bool nearer(float a, float b)
{
    return !std::isnan(a) && (std::isnan(b) || a < b);
}

// Transparency, camera, x and y in one number, in that order of weight.
std::uint64_t pixelKey(DetectPlaqueInfo const& p)
{
    return std::uint64_t(p.isTransparent) << 48 | std::uint64_t(p.cameraIndex) << 32 | std::uint64_t(p.x) << 16 |
           std::uint64_t(p.y);
}

bool sameIdentity(DetectPlaqueInfo const& a, DetectPlaqueInfo const& b)
{
    return a.cameraIndex == b.cameraIndex && a.x == b.x && a.y == b.y && a.isExtrapolated == b.isExtrapolated &&
           a.isTransparent == b.isTransparent && a.isHair == b.isHair;
}

}  // namespace

void RemoveRedundancies(std::vector<DetectPlaqueInfo>& records, RenderingContext const& context, float tolerance)
{
    // Opaque before transparent, then by camera, pixel and distance. Stable, so that records equal in every
    // key keep the order in which they came.
    std::stable_sort(records.begin(), records.end(), [](DetectPlaqueInfo const& a, DetectPlaqueInfo const& b) {
        std::uint64_t const keyA = pixelKey(a), keyB = pixelKey(b);
        return keyA != keyB ? keyA < keyB : nearer(a.distance, b.distance);
    });
    double const scale = context.renderScale;
    double const base = static_cast<double>(tolerance) * 100.0;
    DetectPlaqueInfo reference;  // matches no record of a real image: column 0xFFFF
    reference.x = 0xFFFF;
    std::size_t kept = 0;
    for (DetectPlaqueInfo const& record : records) {
        // Each record is compared with the last one kept, so a run that creeps apart is cut into steps.
        if (sameIdentity(record, reference) &&
            Internal::onSameLayer(scale * reference.distance, scale * record.distance, base, context.width))
            continue;
        reference = record;
        records[kept++] = record;
    }
    records.resize(kept);
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
