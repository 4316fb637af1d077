#include "files/aov_blocks.h"
#include "files/digest.h"
#include "files/half_truncation.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace Holvane::BinIO;
using namespace Holvane::Internal;
using Holvane::Phase::AOVType;

namespace {

std::uint16_t libraryHalfBits(std::uint32_t floatBits)
{
    float value;
    std::memcpy(&value, &floatBits, sizeof value);
    half_float::half half(value);
    std::uint16_t bits;
    std::memcpy(&bits, &half, sizeof bits);
    return bits;
}

}  // namespace

// The table gives the half library's truncating bits: range edges (and their neighbours, both signs), NaNs,
// and a sweep over all float bit patterns.
TEST(HalfTruncation, MatchesTheHalfLibrary)
{
    for (std::uint32_t edge : {0x00000001u, 0x33000000u, 0x33800000u, 0x38800000u, 0x3F802000u, 0x477FE000u,
                               0x47800000u, 0x7F800000u, 0x7F802000u, 0x7FC00000u})
        for (std::uint32_t bits : {edge, edge - 1, edge | 0x80000000u, (edge - 1) | 0x80000000u})
            EXPECT_EQ(halfBitsOfFloatBits(bits), libraryHalfBits(bits)) << std::hex << bits;
    int mismatches = 0;
    for (std::uint64_t bits = 0; bits <= 0xFFFFFFFFu; bits += 4093)
        mismatches += halfBitsOfFloatBits(std::uint32_t(bits)) != libraryHalfBits(std::uint32_t(bits));
    EXPECT_EQ(mismatches, 0);
}

// Every type's channel goes out as one block and comes back into a zeroed sample-major array; the writer's
// digest of the compact arrays is the reader's. An unknown type has no block and its channel stays zero.
TEST(AovBlocks, ChannelsRoundTripWithOneDigest)
{
    std::vector<AOVType> const types = {AOVType(4), AOVType(9), AOVType(2), AOVType(0), AOVType(6), AOVType(1)};
    std::size_t const samples = 1500, stride = types.size();
    std::vector<AOVData> aovs(samples * stride), back(samples * stride);
    for (std::size_t s = 0; s < samples; ++s) {
        AOVData* slot = &aovs[s * stride];
        slot[0].vec4 = {float(s) * 0.25f, -1.0f, 1.0f / float(s + 1), 2.0f};
        slot[1].intValue = 99;
        slot[2].doubleValue = double(s) / 8.0;
        slot[3].byteValue = char(s);
        slot[4].vec2 = {float(s), 0.5f};
        slot[5].intValue = int(s * 7919);
    }
    std::FILE* file = std::tmpfile();
    HashSum hashes[3];  // written, digested, read
    for (HashSum& hash : hashes)
        digestStart(hash);
    for (std::size_t a = 0; a < stride; ++a) {
        writeAovChannelBlock(file, types[a], &aovs[a], samples, stride, &hashes[0]);
        digestAovChannel(hashes[1], types[a], &aovs[a], samples, stride);
    }
    std::rewind(file);
    for (std::size_t a = 0; a < stride; ++a)
        ASSERT_EQ(readAovChannelBlock(file, types[a], &back[a], samples, stride, hashes[2]), READER_OK);
    EXPECT_EQ(std::fgetc(file), EOF);
    std::fclose(file);
    for (HashSum& hash : hashes)
        digestFinish(hash);
    EXPECT_EQ(std::memcmp(hashes[0].digest, hashes[2].digest, 32), 0);
    EXPECT_EQ(std::memcmp(hashes[1].digest, hashes[2].digest, 32), 0);
    using half = half_float::half;
    for (std::size_t s : {0, 3, 1499}) {
        AOVData const* slot = &back[s * stride];
        EXPECT_EQ(slot[0].vec4.b, float(half(1.0f / float(s + 1))));
        EXPECT_EQ(slot[1].intValue, 0);
        EXPECT_EQ(slot[2].doubleValue, double(half(float(double(s) / 8.0))));
        EXPECT_EQ(slot[3].byteValue, char(s));
        EXPECT_EQ(slot[4].vec2.x, float(half(float(s))));
        EXPECT_EQ(slot[5].intValue, int(s * 7919));
    }
}

// A block with more elements than the slots hold fills those only; one with fewer leaves the rest.
TEST(AovBlocks, ReadingStaysWithinTheSlots)
{
    std::vector<AOVData> source(10), fewer(4), more(5);
    for (int s = 0; s < 10; ++s)
        source[s].intValue = s + 1;
    std::FILE* file = std::tmpfile();
    writeAovChannelBlock(file, AOVType(1), source.data(), 10, 1, nullptr);
    writeAovChannelBlock(file, AOVType(1), source.data(), 3, 1, nullptr);
    std::rewind(file);
    HashSum hash;
    EXPECT_EQ(readAovChannelBlock(file, AOVType(1), fewer.data(), fewer.size(), 1, hash), READER_OK);
    EXPECT_EQ(readAovChannelBlock(file, AOVType(1), more.data(), more.size(), 1, hash), READER_OK);
    std::fclose(file);
    EXPECT_EQ(fewer[3].intValue, 4);
    EXPECT_EQ(more[2].intValue, 3);
    EXPECT_EQ(more[3].intValue, 0);
}
