#include "session/pixel_coverage.h"

#include <stdexcept>

namespace Holvane {
namespace Internal {

CoverageSet* coverageAt(HolvaneContext& s, std::int32_t x, std::int32_t y)
{
    if (x < 0 || y < 0)
        return nullptr;
    auto const column = static_cast<std::size_t>(x);
    auto const row = static_cast<std::size_t>(y);
    if (column >= s.cameraPixelCoverage.size() || row >= s.cameraPixelCoverage[column].size())
        return nullptr;
    return &s.cameraPixelCoverage[column][row];
}

bool cameraDoneAtPixel(HolvaneContext& s, unsigned long long camera, std::int32_t x, std::int32_t y)
{
    if (camera >= CoverageSet::kBits)  // the text that hosts have always received, not the standard library's own
        throw std::out_of_range("invalid bitset<N> position");
    CoverageSet const* const bits = coverageAt(s, x, y);
    return bits && bits->test(static_cast<std::size_t>(camera));
}

}  // namespace Internal
}  // namespace Holvane
