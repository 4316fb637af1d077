#ifndef HOLVANE_FILES_PLAQUE_PACKING_H
#define HOLVANE_FILES_PLAQUE_PACKING_H

// The 24-byte form in which files hold a DetectPlaqueInfo, and the plaques' share of the writer's digest.

#include <holvane/binio.h>
#include <holvane/records.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Holvane {
namespace Internal {

using BinIO::DetectPlaqueInfo;
using BinIO::HashSum;

struct PackedPlaque {
    std::uint32_t identity = 0;       // bits 0-7 cameraIndex, bits 8-23 x
    std::uint32_t pixelAndFlags = 0;  // bits 0-15 y, 16 isExtrapolated, 17 isHair, 18 extraFlag,
                                      // 19-20 level, 21 isTransparent
    float distance = 0.0f;
    TavPoint normal = {0.0f, 0.0f, 0.0f};
};
static_assert(sizeof(PackedPlaque) == 24, "a packed plaque is 24 bytes in a file");

// Each flag is masked to its width; the bits left over are zero.
PackedPlaque packPlaque(DetectPlaqueInfo const& plaque);
DetectPlaqueInfo unpackPlaque(PackedPlaque const& packed);

std::vector<PackedPlaque> packPlaques(std::vector<DetectPlaqueInfo> const& plaques);
void unpackPlaques(std::vector<PackedPlaque> const& packed, std::vector<DetectPlaqueInfo>& plaques);

// Feeds the plaques in their 28-byte memory form, with the two padding bytes (offsets 1 and 11) as zero so that
// the digest doesn't depend on what the padding happens to hold.
void digestPlaques(HashSum& hash, DetectPlaqueInfo const* plaques, std::size_t count);

}  // namespace Internal
}  // namespace Holvane

#endif
