#include "files/digest.h"
#include "files/plaque_packing.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using Holvane::BinIO::DetectPlaqueInfo;
using Holvane::BinIO::HashSum;
using namespace Holvane::Internal;

namespace {

DetectPlaqueInfo fullPlaque()
{
    DetectPlaqueInfo plaque;
    plaque.cameraIndex = 255;
    plaque.x = 65535;
    plaque.y = 0xABCD;
    plaque.isExtrapolated = 1;
    plaque.isHair = 0;
    plaque.extraFlag = 1;
    plaque.level = 3;
    plaque.isTransparent = 1;
    plaque.distance = 12.5f;
    plaque.normal = {0.0f, -1.0f, 0.25f};
    return plaque;
}

void expectSamePlaque(DetectPlaqueInfo const& a, DetectPlaqueInfo const& b)
{
    EXPECT_EQ(a.cameraIndex, b.cameraIndex);
    EXPECT_EQ(a.x, b.x);
    EXPECT_EQ(a.y, b.y);
    EXPECT_EQ(a.isExtrapolated, b.isExtrapolated);
    EXPECT_EQ(a.isHair, b.isHair);
    EXPECT_EQ(a.extraFlag, b.extraFlag);
    EXPECT_EQ(a.level, b.level);
    EXPECT_EQ(a.isTransparent, b.isTransparent);
    EXPECT_EQ(a.distance, b.distance);
    EXPECT_EQ(std::memcmp(&a.normal, &b.normal, sizeof a.normal), 0);
}

}  // namespace

TEST(PlaquePacking, PackedBytesAndRoundTrip)
{
    DetectPlaqueInfo plaque = fullPlaque();
    PackedPlaque packed = packPlaque(plaque);
    EXPECT_EQ(packed.identity, 0x00FFFFFFu);
    EXPECT_EQ(packed.pixelAndFlags, 0x003DABCDu);
    unsigned char bytes[24];
    std::memcpy(bytes, &packed, sizeof bytes);
    unsigned char const head[8] = {0xFF, 0xFF, 0xFF, 0x00, 0xCD, 0xAB, 0x3D, 0x00};
    EXPECT_EQ(std::memcmp(bytes, head, 8), 0);
    EXPECT_EQ(std::memcmp(bytes + 8, &plaque.distance, 4), 0);
    EXPECT_EQ(std::memcmp(bytes + 12, &plaque.normal, 12), 0);
    expectSamePlaque(unpackPlaque(packed), plaque);

    plaque.isHair = 1;
    plaque.isExtrapolated = plaque.extraFlag = plaque.isTransparent = 0;
    EXPECT_EQ(packPlaque(plaque).pixelAndFlags, 0x001AABCDu);
    expectSamePlaque(unpackPlaque(packPlaque(plaque)), plaque);
}

TEST(PlaquePacking, FlagsAreMaskedAndSpareBitsIgnored)
{
    DetectPlaqueInfo wide = fullPlaque();
    wide.isHair = 2;  // only bit 0 of each flag and bits 0-1 of the level are kept
    wide.level = 7;
    wide.extraFlag = 3;
    EXPECT_EQ(packPlaque(wide).pixelAndFlags, 0x003DABCDu);

    PackedPlaque packed = packPlaque(fullPlaque());
    packed.identity |= 0xFF000000u;
    packed.pixelAndFlags |= 0xFFC00000u;
    expectSamePlaque(unpackPlaque(packed), fullPlaque());

    std::vector<DetectPlaqueInfo> plaques(3, fullPlaque()), back;
    plaques[1].x = 7;
    unpackPlaques(packPlaques(plaques), back);
    ASSERT_EQ(back.size(), 3u);
    EXPECT_EQ(back[1].x, 7);
}

// The digest sees the 28-byte memory form, its two padding bytes as zero whatever the memory held.
TEST(PlaquePacking, DigestOfPlaquesIgnoresPadding)
{
    std::size_t const count = 300;  // more than one batch
    std::vector<DetectPlaqueInfo> plaques(count, fullPlaque());
    std::vector<unsigned char> expected;
    for (std::size_t i = 0; i < count; ++i) {
        plaques[i].x = static_cast<std::uint16_t>(i);
        auto* padded = reinterpret_cast<unsigned char*>(&plaques[i]);
        padded[1] = padded[11] = 0xEE;
        unsigned char record[28] = {255, 0, static_cast<unsigned char>(i), static_cast<unsigned char>(i >> 8),
                                    0xCD, 0xAB, 1, 0, 1, 3, 1, 0};
        std::memcpy(record + 12, &plaques[i].distance, 4);
        std::memcpy(record + 16, &plaques[i].normal, 12);
        expected.insert(expected.end(), record, record + 28);
    }
    HashSum viaPlaques, viaBytes;
    digestStart(viaPlaques);
    digestPlaques(viaPlaques, plaques.data(), count);
    digestFinish(viaPlaques);
    digestStart(viaBytes);
    digestFeed(viaBytes, expected.data(), expected.size());
    digestFinish(viaBytes);
    EXPECT_EQ(std::memcmp(viaPlaques.digest, viaBytes.digest, 32), 0);
}
