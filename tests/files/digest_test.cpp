#include "files/digest.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

using Holvane::BinIO::HashSum;
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

HashSum digestOf(std::string const& message, std::size_t pieceSize)
{
    HashSum hash;
    digestStart(hash);
    for (std::size_t at = 0; at < message.size(); at += pieceSize)
        digestFeed(hash, message.data() + at, std::min(pieceSize, message.size() - at));
    digestFinish(hash);
    return hash;
}

}  // namespace

// Below 2^29 bytes the digest is SHA-256; the pieces it is fed in don't matter.
TEST(Digest, KnownSha256Vectors)
{
    std::string const twoBlocks = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
    for (std::size_t piece : {std::size_t(1), std::size_t(7), std::size_t(64), std::size_t(1000)}) {
        SCOPED_TRACE(piece);
        EXPECT_EQ(hexOf(digestOf("", piece)), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
        EXPECT_EQ(hexOf(digestOf("abc", piece)), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
        EXPECT_EQ(hexOf(digestOf(twoBlocks, piece)),
                  "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    }
    EXPECT_EQ(hexOf(digestOf(std::string(1000000, 'a'), 4096 + 3)),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
    // 55 and 56 bytes: the last length that fits one padding block and the first that needs two.
    EXPECT_EQ(hexOf(digestOf(std::string(55, 'a'), 55)),
              "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318");
    EXPECT_EQ(hexOf(digestOf(std::string(56, 'a'), 56)),
              "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a");
}

TEST(Digest, HashSumIsTheByteSumOfTheDigest)
{
    EXPECT_EQ(hashSumOf(digestOf("", 1)), 4399);  // the bytes of SHA-256 of nothing
    HashSum allOnes;
    for (unsigned char& byte : allOnes.digest)
        byte = 0xFF;
    EXPECT_EQ(hashSumOf(allOnes), 8160);
}

// The length field keeps only the low 32 bits of the bit count: a message 2^29 bytes longer, with the same
// chaining state and pending bytes, finishes to the same digest, where true SHA-256 would differ.
TEST(Digest, LengthFieldWrapsAtTwoToTheTwentyNineBytes)
{
    HashSum hash;
    digestStart(hash);
    digestFeed(hash, "abc", 3);
    hash.totalLength += 1u << 29;
    digestFinish(hash);
    EXPECT_EQ(hexOf(hash), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");

    HashSum justBelow;
    digestStart(justBelow);
    digestFeed(justBelow, "abc", 3);
    justBelow.totalLength += (1u << 29) - 64;
    digestFinish(justBelow);
    EXPECT_NE(hexOf(justBelow), hexOf(hash));
}
