#include "files/digest.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

using namespace Holvane::Internal;

namespace {

std::string hexOf(HashSum const& hash)
{
    std::string hex;
    char pair[3];
    for (unsigned char byte : hash.digest) {
        std::snprintf(pair, sizeof pair, "%02x", byte);
        hex += pair;
    }
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

}  // namespace

// The 448-bit vector is 56 bytes: the first length whose padding takes two blocks.
TEST(Digest, KnownSha256VectorsInAnyPieces)
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
}

// The length field keeps the low 32 bits of the bit count: 2^29 more bytes finish to the same digest, where
// true SHA-256 would differ; 64 bytes fewer than that do differ.
TEST(Digest, LengthFieldWrapsAtTwoToTheTwentyNineBytes)
{
    EXPECT_EQ(hexOf(digestOf("abc", 3, 1u << 29)), hexOf(digestOf("abc", 3)));
    EXPECT_NE(hexOf(digestOf("abc", 3, (1u << 29) - 64)), hexOf(digestOf("abc", 3)));
}
