#include "files/digest.h"
#include "files/plaque_packing.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace Holvane::Internal;

namespace {

std::string hexOf(HashSum const& hash)
{
    std::string hex;
    for (unsigned char byte : hash.digest)
        hex += "0123456789abcdef"[byte >> 4], hex += "0123456789abcdef"[byte & 15];
    return hex;
}

// Feeds the message in pieces, and may pretend that extraBytes came before the last piece.
HashSum digestOf(std::string const& message, std::size_t piece, std::uint32_t extraBytes = 0)
{
    HashSum hash;
    digestStart(hash);
    for (std::size_t at = 0; at < message.size(); at += piece)
        digestFeed(hash, message.data() + at, std::min(piece, message.size() - at));
    hash.totalLength += extraBytes;
    digestFinish(hash);
    return hash;
}

DetectPlaqueInfo fullPlaque()
{
    DetectPlaqueInfo p;
    p.cameraIndex = 255, p.x = 65535, p.y = 0xABCD, p.level = 3, p.distance = 12.5f, p.normal = {0.0f, -1.0f, 0.25f};
    p.isExtrapolated = p.extraFlag = p.isTransparent = 1;
    return p;
}

// The bytes of a plaque's memory form with zero padding, written out field by field.
std::string memoryBytes(DetectPlaqueInfo const& p)
{
    std::string bytes = {char(p.cameraIndex), 0, char(p.x), char(p.x >> 8), char(p.y), char(p.y >> 8),
                         char(p.isExtrapolated), char(p.isHair), char(p.extraFlag), char(p.level),
                         char(p.isTransparent), 0};
    bytes.append(reinterpret_cast<char const*>(&p.distance), 4);
    return bytes.append(reinterpret_cast<char const*>(&p.normal), 12);
}

}  // namespace

// The 448-bit vector is 56 bytes: the first length whose padding takes two blocks. The length field keeps the
// low 32 bits of the bit count: 2^29 more bytes finish to the same digest, where true SHA-256 would differ; 64
// bytes fewer than that do differ.
TEST(Digest, KnownVectorsInAnyPiecesAndALengthFieldThatWraps)
{
    for (std::size_t piece : {1, 7, 64, 1000}) {
        SCOPED_TRACE(piece);
        EXPECT_EQ(hexOf(digestOf("", piece)), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
        EXPECT_EQ(hexOf(digestOf("abc", piece)), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
        EXPECT_EQ(hexOf(digestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", piece)),
                  "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    }
    EXPECT_EQ(hexOf(digestOf(std::string(1000000, 'a'), 4099)),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
    EXPECT_EQ(hashSumOf(digestOf("", 1)), 4399);  // the byte sum of SHA-256 of nothing
    EXPECT_EQ(hexOf(digestOf("abc", 3, 1u << 29)), hexOf(digestOf("abc", 3)));
    EXPECT_NE(hexOf(digestOf("abc", 3, (1u << 29) - 64)), hexOf(digestOf("abc", 3)));
}

TEST(PlaquePacking, PackedBytesMaskingAndRoundTrip)
{
    PackedPlaque packed = packPlaque(fullPlaque());
    std::string bytes(reinterpret_cast<char const*>(&packed), 24);
    EXPECT_EQ(bytes.substr(0, 8), std::string("\xFF\xFF\xFF\x00\xCD\xAB\x3D\x00", 8));
    EXPECT_EQ(bytes.substr(8), memoryBytes(fullPlaque()).substr(12));
    EXPECT_EQ(memoryBytes(unpackPlaque(packed)), memoryBytes(fullPlaque()));
    DetectPlaqueInfo wide = fullPlaque();  // flags keep their low bit, the level its two
    wide.level = 7, wide.extraFlag = 3, wide.isHair = 1;
    EXPECT_EQ(packPlaque(wide).pixelAndFlags, 0x003FABCDu);
    packed.identity |= 0xFF000000u;  // spare bits are ignored
    packed.pixelAndFlags |= 0xFFC00000u;
    EXPECT_EQ(memoryBytes(unpackPlaque(packed)), memoryBytes(fullPlaque()));
}

// The digest sees the 28-byte memory form with both padding bytes zero, whatever the memory held there; 300
// plaques are more than one batch.
TEST(PlaquePacking, DigestOfPlaquesZeroesThePadding)
{
    std::vector<DetectPlaqueInfo> plaques(300, fullPlaque());
    std::string expected;
    for (std::size_t i = 0; i < plaques.size(); ++i) {
        plaques[i].x = static_cast<std::uint16_t>(i * 211);
        auto* raw = reinterpret_cast<unsigned char*>(&plaques[i]);
        raw[1] = raw[11] = 0xEE;
        expected += memoryBytes(plaques[i]);
    }
    HashSum viaPlaques;
    digestStart(viaPlaques);
    digestPlaques(viaPlaques, plaques.data(), plaques.size());
    digestFinish(viaPlaques);
    EXPECT_EQ(hexOf(viaPlaques), hexOf(digestOf(expected, expected.size())));
}
