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

// The table conversion gives the bits of the half library's truncating conversion: every sign and exponent,
// the edges of the subnormal, normal and overflow ranges, infinities and NaNs.
TEST(HalfTruncation, MatchesTheHalfLibrary)
{
    std::vector<std::uint32_t> edges = {0x00000000, 0x00000001, 0x32FFFFFF, 0x33000000, 0x33800000, 0x387FFFFF,
                                        0x38800000, 0x3F800000, 0x3F801FFF, 0x477FE000, 0x477FFFFF, 0x47800000,
                                        0x7F7FFFFF, 0x7F800000, 0x7F800001, 0x7F802000, 0x7FC00000, 0x7FFFFFFF};
    for (std::uint32_t edge : std::vector<std::uint32_t>(edges)) {
        edges.push_back(edge | 0x80000000u);
        edges.push_back(edge - 1);
    }
    for (std::uint32_t bits : edges)
        EXPECT_EQ(halfBitsOfFloatBits(bits), libraryHalfBits(bits)) << std::hex << bits;

    int mismatches = 0;
    for (std::uint64_t bits = 0; bits <= 0xFFFFFFFFu; bits += 4093)
        mismatches += halfBitsOfFloatBits(std::uint32_t(bits)) != libraryHalfBits(std::uint32_t(bits));
    EXPECT_EQ(mismatches, 0);
}

TEST(AovBlocks, ElementSizesByType)
{
    std::size_t const blockSizes[] = {1, 4, 2, 6, 8, 6, 4, 0};
    std::size_t const recordSizes[] = {1, 4, 8, 12, 16, 12, 8, 0};
    for (int type = 0; type < 8; ++type) {
        EXPECT_EQ(aovBlockElementSize(AOVType(type)), blockSizes[type]);
        EXPECT_EQ(aovRecordSize(AOVType(type)), recordSizes[type]);
    }
    EXPECT_EQ(aovBlockElementSize(AOVType(-1)), 0u);
}

// Channels of every type go out one block each and come back into a zeroed sample-major array; the writer's
// digest of the compact arrays is the reader's.
TEST(AovBlocks, ChannelsRoundTripWithOneDigest)
{
    std::vector<AOVType> const types = {AOVType(4), AOVType(9), AOVType(2), AOVType(0), AOVType(6), AOVType(1)};
    std::size_t const samples = 1500, stride = types.size();
    std::vector<AOVData> aovs(samples * stride);
    for (std::size_t s = 0; s < samples; ++s) {
        float const values[4] = {float(s) * 0.25f, -1.0f, 1.0f / float(s + 1), 2.0f};
        std::memcpy(aovs[s * stride].bytes, values, sizeof values);
        aovs[s * stride + 1].intValue = 99;
        aovs[s * stride + 2].doubleValue = double(s) / 8.0;
        aovs[s * stride + 3].byteValue = char(s);
        std::memcpy(aovs[s * stride + 4].bytes, values, 8);
        aovs[s * stride + 5].intValue = int(s * 7919);
    }

    std::FILE* file = std::tmpfile();
    HashSum written, digested, read;
    digestStart(written);
    digestStart(digested);
    for (std::size_t a = 0; a < stride; ++a) {
        long before = std::ftell(file);
        writeAovChannelBlock(file, types[a], &aovs[a], samples, stride, &written);
        digestAovChannel(digested, types[a], &aovs[a], samples, stride);
        if (types[a] == AOVType(9)) {
            EXPECT_EQ(std::ftell(file), before);  // no block at all
        }
    }
    std::rewind(file);
    std::vector<AOVData> back(samples * stride);
    digestStart(read);
    for (std::size_t a = 0; a < stride; ++a)
        ASSERT_EQ(readAovChannelBlock(file, types[a], &back[a], samples, stride, read), READER_OK);
    EXPECT_EQ(std::fgetc(file), EOF);
    std::fclose(file);
    for (HashSum* hash : {&written, &digested, &read})
        digestFinish(*hash);
    EXPECT_EQ(std::memcmp(written.digest, read.digest, 32), 0);
    EXPECT_EQ(std::memcmp(digested.digest, read.digest, 32), 0);

    for (std::size_t s : {std::size_t(0), std::size_t(3), std::size_t(1499)}) {
        SCOPED_TRACE(s);
        float color[4];
        std::memcpy(color, back[s * stride].bytes, sizeof color);
        EXPECT_EQ(color[0], float(s) * 0.25f);
        EXPECT_EQ(color[2], float(half_float::half(1.0f / float(s + 1))));
        EXPECT_EQ(back[s * stride + 1].intValue, 0);  // the unknown type's channel stays zero
        EXPECT_EQ(back[s * stride + 2].doubleValue, double(half_float::half(float(double(s) / 8.0))));
        EXPECT_EQ(back[s * stride + 3].byteValue, char(s));
        EXPECT_EQ(back[s * stride + 5].intValue, int(s * 7919));
    }
}

// A block with more elements than the slots hold fills those only; one with fewer leaves the rest.
TEST(AovBlocks, ReadingStaysWithinTheSlots)
{
    std::vector<AOVData> source(10);
    for (int s = 0; s < 10; ++s)
        source[s].intValue = s + 1;
    std::FILE* file = std::tmpfile();
    writeAovChannelBlock(file, AOVType(1), source.data(), 10, 1, nullptr);
    writeAovChannelBlock(file, AOVType(1), source.data(), 3, 1, nullptr);
    std::rewind(file);
    HashSum hash;
    digestStart(hash);
    std::vector<AOVData> fewer(4);
    EXPECT_EQ(readAovChannelBlock(file, AOVType(1), fewer.data(), fewer.size(), 1, hash), READER_OK);
    EXPECT_EQ(fewer[3].intValue, 4);
    std::vector<AOVData> more(5);
    EXPECT_EQ(readAovChannelBlock(file, AOVType(1), more.data(), more.size(), 1, hash), READER_OK);
    EXPECT_EQ(more[2].intValue, 3);
    EXPECT_EQ(more[3].intValue, 0);
    EXPECT_EQ(readAovChannelBlock(file, AOVType(1), more.data(), more.size(), 1, hash), READER_DECOMPRESS_FAILED);
    std::fclose(file);
}
