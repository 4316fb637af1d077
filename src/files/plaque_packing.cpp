#include "files/plaque_packing.h"

#include "files/digest.h"

#include <cstring>

namespace Holvane {
namespace Internal {

namespace {

constexpr int kXShift = 8;
constexpr int kExtrapolatedBit = 16;
constexpr int kHairBit = 17;
constexpr int kExtraFlagBit = 18;
constexpr int kLevelShift = 19;
constexpr int kTransparentBit = 21;

std::uint32_t bitField(std::uint32_t value, std::uint32_t mask, int shift)
{
    return (value & mask) << shift;
}

std::uint8_t fieldOf(std::uint32_t word, std::uint32_t mask, int shift)
{
    return static_cast<std::uint8_t>((word >> shift) & mask);
}

}  // namespace

PackedPlaque packPlaque(DetectPlaqueInfo const& plaque)
{
    PackedPlaque packed;
    packed.identity = bitField(plaque.cameraIndex, 0xFF, 0) | bitField(plaque.x, 0xFFFF, kXShift);
    packed.pixelAndFlags = bitField(plaque.y, 0xFFFF, 0) | bitField(plaque.isExtrapolated, 1, kExtrapolatedBit) |
                           bitField(plaque.isHair, 1, kHairBit) | bitField(plaque.extraFlag, 1, kExtraFlagBit) |
                           bitField(plaque.level, 3, kLevelShift) | bitField(plaque.isTransparent, 1, kTransparentBit);
    packed.distance = plaque.distance;
    packed.normal = plaque.normal;
    return packed;
}

DetectPlaqueInfo unpackPlaque(PackedPlaque const& packed)
{
    DetectPlaqueInfo plaque;
    plaque.cameraIndex = fieldOf(packed.identity, 0xFF, 0);
    plaque.x = static_cast<std::uint16_t>((packed.identity >> kXShift) & 0xFFFF);
    plaque.y = static_cast<std::uint16_t>(packed.pixelAndFlags & 0xFFFF);
    plaque.isExtrapolated = fieldOf(packed.pixelAndFlags, 1, kExtrapolatedBit);
    plaque.isHair = fieldOf(packed.pixelAndFlags, 1, kHairBit);
    plaque.extraFlag = fieldOf(packed.pixelAndFlags, 1, kExtraFlagBit);
    plaque.level = fieldOf(packed.pixelAndFlags, 3, kLevelShift);
    plaque.isTransparent = fieldOf(packed.pixelAndFlags, 1, kTransparentBit);
    plaque.distance = packed.distance;
    plaque.normal = packed.normal;
    return plaque;
}

std::vector<PackedPlaque> packPlaques(std::vector<DetectPlaqueInfo> const& plaques)
{
    std::vector<PackedPlaque> packed(plaques.size());
    for (std::size_t i = 0; i < plaques.size(); ++i)
        packed[i] = packPlaque(plaques[i]);
    return packed;
}

void unpackPlaques(std::vector<PackedPlaque> const& packed, std::vector<DetectPlaqueInfo>& plaques)
{
    plaques.assign(packed.size(), {});
    for (std::size_t i = 0; i < packed.size(); ++i)
        plaques[i] = unpackPlaque(packed[i]);
}

void digestPlaques(HashSum& hash, DetectPlaqueInfo const* plaques, std::size_t count)
{
    constexpr std::size_t kBatch = 256;
    unsigned char bytes[kBatch * sizeof(DetectPlaqueInfo)];
    while (count > 0) {
        std::size_t batch = count < kBatch ? count : kBatch;
        for (std::size_t i = 0; i < batch; ++i) {
            unsigned char* record = bytes + i * sizeof(DetectPlaqueInfo);
            std::memcpy(record, &plaques[i], sizeof(DetectPlaqueInfo));
            record[offsetof(DetectPlaqueInfo, cameraIndex) + 1] = 0;
            record[offsetof(DetectPlaqueInfo, isTransparent) + 1] = 0;
        }
        digestFeed(hash, bytes, batch * sizeof(DetectPlaqueInfo));
        plaques += batch;
        count -= batch;
    }
}

}  // namespace Internal
}  // namespace Holvane
