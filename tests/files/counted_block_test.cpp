#include "files/counted_block.h"
#include "files/digest.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace Holvane::Internal;
using Holvane::BinIO::READER_DECOMPRESS_FAILED;
using Holvane::BinIO::READER_OK;

namespace {

using Bytes = std::vector<unsigned char>;

// Incompressible bytes, or a slow ramp that packs well.
Bytes noise(std::size_t size, bool ramp = false)
{
    Bytes bytes(size);
    std::uint32_t state = 12345;
    for (std::size_t i = 0; i < size; ++i) {
        state ^= state << 13, state ^= state >> 17, state ^= state << 5;
        bytes[i] = static_cast<unsigned char>(ramp ? i / 7 : state >> 24);
    }
    return bytes;
}

Bytes ramp(std::size_t size) { return noise(size, true); }

Bytes blockOf(Bytes const& data, std::size_t elementSize)
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
    std::memcpy(&word, &bytes[offset], 4);
    return word;
}

Bytes withWord(Bytes bytes, std::size_t offset, std::uint32_t word)
{
    std::memcpy(&bytes[offset], &word, 4);
    return bytes;
}

// Expands a file of these bytes into `out`, which holds leftovers, and gives the digest of what was fed.
Holvane::BinIO::HlvReaderError expand(Bytes const& fileBytes, std::size_t elementSize, Bytes& out, HashSum& hash)
{
    std::FILE* file = std::tmpfile();
    if (!fileBytes.empty())
        std::fwrite(fileBytes.data(), 1, fileBytes.size(), file);
    std::rewind(file);
    out = {1, 2, 3};
    digestStart(hash);
    auto result = expandCountedBlock(file, elementSize, out, hash);
    EXPECT_TRUE(std::fgetc(file) == EOF || result != READER_OK);  // a block that reads is read whole
    std::fclose(file);
    return result;
}

// The block reads back, and what was fed to the digest is the data.
void expectRoundTrip(Bytes const& data, std::size_t elementSize)
{
    Bytes out;
    HashSum read, direct;
    ASSERT_EQ(expand(blockOf(data, elementSize), elementSize, out, read), READER_OK);
    EXPECT_EQ(out, data);
    digestStart(direct);
    digestFeed(direct, data.data(), data.size());
    EXPECT_EQ(std::memcmp(&direct, &read, sizeof direct), 0);
}

}  // namespace

// Empty, small and incompressible blocks are laid out as below; blocks of every element size read back.
TEST(CountedBlock, LayoutAndRoundTrips)
{
    EXPECT_EQ(blockOf({}, 4), Bytes(8, 0));
    Bytes out;
    HashSum hash;
    // An empty block's second word is ignored, and the target keeps its leftovers.
    EXPECT_EQ(expand({0, 0, 0, 0, 9, 9, 9, 9}, 4, out, hash), READER_OK);
    EXPECT_EQ(out, (Bytes{1, 2, 3}));
    Bytes small = blockOf(ramp(400), 4);  // one zlib chunk (format 3), byte-shuffled, typesize 4
    EXPECT_EQ(wordAt(small, 0), 100u);
    EXPECT_EQ(wordAt(small, 4), small.size() - 8);
    EXPECT_EQ(wordAt(small, 8 + 12), small.size() - 8);
    EXPECT_LT(small.size(), 400u);
    EXPECT_EQ(small[8 + 2] & 0xE1, 0x61);
    EXPECT_EQ(small[8 + 3], 4);
    // The destination is n rounded down to 4096, plus 4096: incompressible data is a stored chunk while its
    // 16-byte chunk header fits in that room, and raw beyond.
    for (auto [size, packed] : {std::pair<std::size_t, std::uint32_t>{4080, 4096}, {8192 + 4080, 8192 + 4096},
                                {8192 + 4095, 0}, {4081, 0}}) {
        Bytes block = blockOf(noise(size), 1);
        EXPECT_EQ(wordAt(block, 0), size);
        EXPECT_EQ(wordAt(block, 4), packed) << size;
        EXPECT_TRUE(packed != 0 || Bytes(block.begin() + 8, block.end()) == noise(size));  // raw: the data as is
        expectRoundTrip(noise(size), 1);
    }
    for (std::size_t elementSize : {1, 2, 4, 6, 8, 12, 24, 28}) {
        SCOPED_TRACE(elementSize);
        expectRoundTrip(ramp(elementSize * 3001), elementSize);
        expectRoundTrip(noise(elementSize * 5), elementSize);
    }
}

// Damaged blocks never read past the end nor allocate more than the file holds; the digest stays untouched.
TEST(CountedBlock, DamagedBlocksFailToDecompress)
{
    HashSum fresh;
    digestStart(fresh);
    auto expectFailure = [&](Bytes const& damaged, std::size_t elementSize) {
        Bytes out;
        HashSum hash;
        EXPECT_EQ(expand(damaged, elementSize, out, hash), READER_DECOMPRESS_FAILED);
        EXPECT_TRUE(out.empty());
        EXPECT_EQ(std::memcmp(&hash, &fresh, sizeof fresh), 0);
    };
    Bytes packed = blockOf(ramp(4 * 2000), 4), raw = blockOf(noise(4081), 1);
    for (std::size_t length = 0; length < packed.size(); ++length)
        expectFailure(Bytes(packed.begin(), packed.begin() + length), 4);
    for (std::size_t length = 0; length < raw.size(); length += length < 16 ? 1 : 97)
        expectFailure(Bytes(raw.begin(), raw.begin() + length), 1);
    expectFailure(Bytes(raw.begin(), raw.end() - 1), 1);
    expectFailure(withWord(raw, 0, 1000000), 1);                   // count beyond the file
    expectFailure(withWord(raw, 0, 0xFFFFFFFFu), 28);              // beyond 2^31 bytes
    expectFailure(withWord(raw, 0, 1u << 29), 4);                  // exactly 2^31 bytes
    expectFailure(withWord(packed, 4, wordAt(packed, 4) + 1), 4);  // packed size past the end
    expectFailure(withWord(packed, 4, wordAt(packed, 4) - 1), 4);  // chunk longer than its block
    expectFailure(withWord(packed, 4, 8), 4);                      // shorter than a chunk header
    expectFailure(withWord(packed, 0, 1999), 4);                   // expands to another count
    expectFailure(withWord(packed, 8 + 4, 4 * 2001), 4);           // chunk header claims another size
    for (std::size_t i = 40; i < packed.size(); i += 3)
        packed[i] ^= 0x5A;
    expectFailure(packed, 4);
}
