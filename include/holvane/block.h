#ifndef HOLVANE_BLOCK_H
#define HOLVANE_BLOCK_H

#include <holvane/export.h>

#include <string>

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

}  // namespace v2_0
}  // namespace Block
}  // namespace Holvane

#endif
