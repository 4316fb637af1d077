#include "files/digest.h"
#include "files/plaque_packing.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace Holvane::Internal;

namespace {

DetectPlaqueInfo fullPlaque()
{
    DetectPlaqueInfo plaque;
    plaque.cameraIndex = 255;
    plaque.x = 65535;
    plaque.y = 0xABCD;
    plaque.isExtrapolated = plaque.extraFlag = plaque.isTransparent = 1;
    plaque.level = 3;
    plaque.distance = 12.5f;
    plaque.normal = {0.0f, -1.0f, 0.25f};
    return plaque;
}

// The bytes of a plaque's memory form with zero padding, written out field by field.
std::vector<unsigned char> memoryBytes(DetectPlaqueInfo const& p)
{
    std::vector<unsigned char> bytes = {p.cameraIndex, 0, std::uint8_t(p.x), std::uint8_t(p.x >> 8),
                                        std::uint8_t(p.y), std::uint8_t(p.y >> 8), p.isExtrapolated, p.isHair,
                                        p.extraFlag, p.level, p.isTransparent, 0};
    bytes.resize(28);
    std::memcpy(&bytes[12], &p.distance, 4);
    std::memcpy(&bytes[16], &p.normal, 12);
    return bytes;
}

}  // namespace

TEST(PlaquePacking, PackedBytesMaskingAndRoundTrip)
{
    PackedPlaque packed = packPlaque(fullPlaque());
    unsigned char bytes[24];
    std::memcpy(bytes, &packed, sizeof bytes);
    unsigned char const head[8] = {0xFF, 0xFF, 0xFF, 0x00, 0xCD, 0xAB, 0x3D, 0x00};
    EXPECT_EQ(std::memcmp(bytes, head, 8), 0);
    EXPECT_EQ(std::memcmp(bytes + 8, memoryBytes(fullPlaque()).data() + 12, 16), 0);
    EXPECT_EQ(memoryBytes(unpackPlaque(packed)), memoryBytes(fullPlaque()));

    DetectPlaqueInfo wide = fullPlaque();  // flags keep their low bit, the level its two
    wide.level = 7;
    wide.extraFlag = 3;
    wide.isHair = 1;
    EXPECT_EQ(packPlaque(wide).pixelAndFlags, 0x003FABCDu);
    packed.identity |= 0xFF000000u;  // spare bits are ignored
    packed.pixelAndFlags |= 0xFFC00000u;
    EXPECT_EQ(memoryBytes(unpackPlaque(packed)), memoryBytes(fullPlaque()));
}

// The digest sees the 28-byte memory form with both padding bytes zero, whatever the memory held there.
TEST(PlaquePacking, DigestOfPlaquesZeroesThePadding)
{
    std::vector<DetectPlaqueInfo> plaques(300, fullPlaque());  // more than one batch
    std::vector<unsigned char> expected;
    for (std::size_t i = 0; i < plaques.size(); ++i) {
        plaques[i].x = static_cast<std::uint16_t>(i * 211);
        auto* raw = reinterpret_cast<unsigned char*>(&plaques[i]);
        raw[1] = raw[11] = 0xEE;
        std::vector<unsigned char> record = memoryBytes(plaques[i]);
        expected.insert(expected.end(), record.begin(), record.end());
    }
    HashSum viaPlaques, viaBytes;
    digestStart(viaPlaques);
    digestPlaques(viaPlaques, plaques.data(), plaques.size());
    digestFinish(viaPlaques);
    digestStart(viaBytes);
    digestFeed(viaBytes, expected.data(), expected.size());
    digestFinish(viaBytes);
    EXPECT_EQ(std::memcmp(viaPlaques.digest, viaBytes.digest, 32), 0);
}
