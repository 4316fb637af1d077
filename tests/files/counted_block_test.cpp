#include "files/counted_block.h"
#include "files/digest.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

using Holvane::BinIO::HashSum;
using Holvane::BinIO::READER_DECOMPRESS_FAILED;
using Holvane::BinIO::READER_OK;
using namespace Holvane::Internal;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes noise(std::size_t size, std::uint32_t seed = 12345)
{
    Bytes bytes(size);
    for (unsigned char& byte : bytes) {
        seed ^= seed << 13;
        seed ^= seed >> 17;
        seed ^= seed << 5;
        byte = static_cast<unsigned char>(seed >> 24);
    }
    return bytes;
}

Bytes ramp(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(i / 7);
    return bytes;
}

Bytes blockBytes(Bytes const& data, std::size_t elementSize)
{
    std::FILE* file = std::tmpfile();
    writeCountedBlock(file, data.data(), static_cast<std::uint32_t>(data.size() / elementSize), elementSize);
    Bytes written(static_cast<std::size_t>(std::ftell(file)));
    std::rewind(file);
    EXPECT_EQ(std::fread(written.data(), 1, written.size(), file), written.size());
    std::fclose(file);
    return written;
}

std::uint32_t wordAt(Bytes const& bytes, std::size_t offset)
{
    std::uint32_t word;
    std::memcpy(&word, bytes.data() + offset, 4);
    return word;
}

struct Expansion {
    Holvane::BinIO::HlvReaderError result;
    Bytes out;
    HashSum hash;
    long position;
};

Expansion expand(Bytes const& fileBytes, std::size_t elementSize)
{
    std::FILE* file = std::tmpfile();
    if (!fileBytes.empty())
        std::fwrite(fileBytes.data(), 1, fileBytes.size(), file);
    std::rewind(file);
    Expansion expansion;
    expansion.out = {1, 2, 3};  // left over from an earlier use
    digestStart(expansion.hash);
    expansion.result = expandCountedBlock(file, elementSize, expansion.out, expansion.hash);
    expansion.position = std::ftell(file);
    std::fclose(file);
    return expansion;
}

HashSum freshDigest()
{
    HashSum hash;
    digestStart(hash);
    return hash;
}

void expectDigestUntouched(HashSum const& hash)
{
    HashSum fresh = freshDigest();
    EXPECT_EQ(hash.totalLength, 0u);
    EXPECT_EQ(hash.pendingLength, 0u);
    EXPECT_EQ(std::memcmp(hash.chaining, fresh.chaining, sizeof fresh.chaining), 0);
}

void expectRoundTrip(Bytes const& data, std::size_t elementSize)
{
    Expansion expansion = expand(blockBytes(data, elementSize), elementSize);
    ASSERT_EQ(expansion.result, READER_OK);
    EXPECT_EQ(expansion.out, data);
    HashSum direct = freshDigest();
    digestFeed(direct, data.data(), data.size());
    EXPECT_EQ(std::memcmp(&direct, &expansion.hash, sizeof direct), 0);
}

}  // namespace

TEST(CountedBlock, EmptyBlockIsTwoZeroWords)
{
    Bytes written = blockBytes({}, 4);
    EXPECT_EQ(written, Bytes(8, 0));

    Bytes secondWordSet = {0, 0, 0, 0, 9, 9, 9, 9};  // the second word of an empty block is ignored
    Expansion expansion = expand(secondWordSet, 4);
    EXPECT_EQ(expansion.result, READER_OK);
    EXPECT_TRUE(expansion.out.empty());
    EXPECT_EQ(expansion.position, 8);
    expectDigestUntouched(expansion.hash);
}

TEST(CountedBlock, SmallBlockIsOneZlibChunkWithTheElementSize)
{
    Bytes data = ramp(400);
    Bytes written = blockBytes(data, 4);
    EXPECT_EQ(wordAt(written, 0), 100u);
    std::uint32_t packedSize = wordAt(written, 4);
    EXPECT_EQ(packedSize, written.size() - 8);
    EXPECT_LT(packedSize, 400u);
    EXPECT_EQ(written[8 + 2] & 0x01, 0x01);  // byte shuffle
    EXPECT_EQ(written[8 + 2] >> 5, 3);       // zlib
    EXPECT_EQ(written[8 + 3], 4);            // typesize
    EXPECT_EQ(wordAt(written, 8 + 4), 400u);
    EXPECT_EQ(wordAt(written, 8 + 12), packedSize);
    expectRoundTrip(data, 4);
}

// The destination is n rounded down to 4096, plus 4096: data that doesn't shrink still fits as a stored chunk
// while 16 bytes of chunk header fit in that room, and is written raw beyond.
TEST(CountedBlock, IncompressibleDataIsStoredRawWhenTheChunkDoesNotFit)
{
    Bytes fits = noise(4080);
    Bytes stored = blockBytes(fits, 1);
    EXPECT_EQ(wordAt(stored, 4), 4096u);

    Bytes tooLarge = noise(4081);
    Bytes raw = blockBytes(tooLarge, 1);
    EXPECT_EQ(wordAt(raw, 0), 4081u);
    EXPECT_EQ(wordAt(raw, 4), 0u);
    EXPECT_EQ(Bytes(raw.begin() + 8, raw.end()), tooLarge);
    expectRoundTrip(tooLarge, 1);
    expectRoundTrip(fits, 1);

    Bytes twoBlocks = noise(8192 + 4095);
    EXPECT_EQ(wordAt(blockBytes(twoBlocks, 1), 4), 0u);
    expectRoundTrip(twoBlocks, 1);
}

TEST(CountedBlock, RoundTripsForEveryElementSize)
{
    for (std::size_t elementSize : {1, 2, 4, 6, 8, 12, 24, 28}) {
        SCOPED_TRACE(elementSize);
        expectRoundTrip(ramp(elementSize * 3001), elementSize);
        expectRoundTrip(noise(elementSize * 5), elementSize);
    }
}

TEST(CountedBlock, TypedRecordsRoundTrip)
{
    struct Record {
        float depth;
        std::uint16_t x, y;
    };
    std::vector<Record> records(700);
    for (std::size_t i = 0; i < records.size(); ++i)
        records[i] = {float(i) * 0.5f, std::uint16_t(i), std::uint16_t(i % 13)};
    std::FILE* file = std::tmpfile();
    writeCountedBlock(file, records);
    writeCountedBlock(file, std::vector<Record>());
    std::rewind(file);
    HashSum hash = freshDigest();
    std::vector<Record> back, empty(3);
    EXPECT_EQ(expandCountedBlock(file, back, hash), READER_OK);
    EXPECT_EQ(expandCountedBlock(file, empty, hash), READER_OK);
    std::fclose(file);
    ASSERT_EQ(back.size(), records.size());
    EXPECT_EQ(std::memcmp(back.data(), records.data(), records.size() * sizeof(Record)), 0);
    EXPECT_TRUE(empty.empty());
}

// Damaged blocks never read past the end nor allocate what the file can't hold; the digest stays untouched.
TEST(CountedBlock, DamagedBlocksFailToDecompress)
{
    auto expectFailure = [](Bytes const& damaged, std::size_t elementSize) {
        Expansion expansion = expand(damaged, elementSize);
        EXPECT_EQ(expansion.result, READER_DECOMPRESS_FAILED);
        EXPECT_TRUE(expansion.out.empty());
        expectDigestUntouched(expansion.hash);
    };
    Bytes packed = blockBytes(ramp(4 * 2000), 4);
    Bytes raw = blockBytes(noise(4081), 1);
    ASSERT_NE(wordAt(packed, 4), 0u);
    for (std::size_t length = 0; length < packed.size(); ++length)
        expectFailure(Bytes(packed.begin(), packed.begin() + length), 4);
    for (std::size_t length = 0; length < raw.size(); length += length < 16 ? 1 : 97)
        expectFailure(Bytes(raw.begin(), raw.begin() + length), 1);
    expectFailure(Bytes(raw.begin(), raw.end() - 1), 1);

    auto withWord = [](Bytes bytes, std::size_t offset, std::uint32_t word) {
        std::memcpy(bytes.data() + offset, &word, 4);
        return bytes;
    };
    expectFailure(withWord(raw, 0, 1000000), 1);                // count beyond the file
    expectFailure(withWord(raw, 0, 0xFFFFFFFFu), 28);           // beyond 2^31 bytes
    expectFailure(withWord(raw, 0, 1u << 29), 4);               // exactly 2^31 bytes
    expectFailure(withWord(packed, 4, wordAt(packed, 4) + 1), 4);  // packed size past the end
    expectFailure(withWord(packed, 4, wordAt(packed, 4) - 1), 4);  // chunk longer than its block
    expectFailure(withWord(packed, 4, 8), 4);                      // shorter than a chunk header
    expectFailure(withWord(packed, 0, 1999), 4);                   // chunk expands to another count
    expectFailure(withWord(packed, 8 + 4, 4 * 2001), 4);           // chunk header claims another size

    Bytes corrupt = packed;
    for (std::size_t i = 40; i < corrupt.size(); i += 3)
        corrupt[i] ^= 0x5A;
    expectFailure(corrupt, 4);
}
