#ifndef HOLVANE_BLOCK_H
#define HOLVANE_BLOCK_H

#include <holvane/export.h>
#include <holvane/plaque.h>
#include <holvane/records.h>

#include <string>
#include <vector>

namespace Holvane {
namespace Block {
inline namespace v2_0 {

// Blocks needed for the plaques of the detect file at `path` in a width x height image: count / (width *
// height) + 1, so a count that fills the last block exactly gets one more, empty block. 0 when the file
// can't be read. width * height must not be 0.
HV_API unsigned long long HvGetBlockCountFromRenderingResolution(char const* path, unsigned long long const& width,
                                                                 unsigned long long const& height);
// The same for the session's detect file and output resolution.
HV_API unsigned long long HvGetBlockCountFromRenderingResolution();
// The side of a square image holding every plaque of the file at `path`; the block count is not used.
HV_API bool HvGetRenderingResolutionFromBlockCount(char const* path, unsigned long long const& blockCount,
                                                   unsigned long long& width, unsigned long long& height);
// The detect file path as the host set it, whatever override is in place.
HV_API std::string HvGetDetectPhaseFileFromHolvaneContext();
// A detect file read instead of the set one; it may be set at any time.
HV_API void HvSetDetectPhaseOverride(std::string const& path);

// The detection's plaques made ready for the detect file: redundant plaques and plaques that others cover
// removed, small neighbours folded into coarser plaques. Opaque plaques come first, transparent ones after
// them, each group ending in its folded plaques. `context` is that of the detection's image.
HV_API void processFillHoleIndices(RenderingContext const& context, std::vector<BinIO::DetectPlaqueInfo>& records,
                                   float globalScale);

}  // namespace v2_0
}  // namespace Block
}  // namespace Holvane

#endif
