#include <holvane/holvane.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace Holvane::BinIO;
using Holvane::Phase::AOVType;

namespace {

std::uint16_t bitsOf(half_float::half value)
{
    std::uint16_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

void setFloats(AOVData& slot, std::vector<float> const& values)
{
    std::memcpy(slot.bytes, values.data(), values.size() * sizeof(float));
}

float floatAt(AOVData const& slot, int index)
{
    float value;
    std::memcpy(&value, slot.bytes + 4 * index, sizeof value);
    return value;
}

float const justBelowNextHalf = std::nextafter(1.0009765625f, 0.0f);  // the half after 1.0 is 1 + 2^-10

}  // namespace

// Seven samples of three channels: compaction walks channel 1 a stride of 3 slots apart, four samples per turn
// and then the tail.
TEST(AovCompaction, FloatsBecomeTruncatedHalvesWithTheStride)
{
    std::vector<AOVData> slots(7 * 3);
    for (int s = 0; s < 7; ++s)
        setFloats(slots[s * 3 + 1], {justBelowNextHalf * float(s + 1), -0.1f * float(s), 70000.0f, float(s)});
    std::vector<halfvec4> colors(2);
    CompactAOVS(&slots[1], 7, 3, colors);
    ASSERT_EQ(colors.size(), 7u);
    EXPECT_EQ(bitsOf(colors[0].x), 0x3C00);  // truncation, not rounding, to 1.0
    EXPECT_EQ(bitsOf(colors[1].y), 0xAE66);  // -0.1f truncated toward zero
    EXPECT_EQ(bitsOf(colors[6].z), 0x7C00);  // beyond the range
    for (int s = 0; s < 7; ++s) {
        SCOPED_TRACE(s);
        EXPECT_EQ(bitsOf(colors[s].x), bitsOf(half_float::half(justBelowNextHalf * float(s + 1))));
        EXPECT_EQ(static_cast<float>(colors[s].w), float(s));
    }

    std::vector<halfvec3> normals;
    std::vector<halfvec2> velocities;
    CompactAOVS(&slots[1], 5, 3, normals);
    CompactAOVS(&slots[1], 0, 3, velocities);
    EXPECT_EQ(bitsOf(normals[4].y), bitsOf(half_float::half(-0.4f)));
    EXPECT_TRUE(velocities.empty());
}

TEST(AovCompaction, DecompactionWidensAndLeavesTheRestOfTheSlot)
{
    std::vector<AOVData> slots(4);
    for (AOVData& slot : slots)
        std::memset(slot.bytes, 0xAB, sizeof slot.bytes);
    std::vector<halfvec2> velocities = {{half_float::half(0.5f), half_float::half(-2.0f)},
                                        {half_float::half(0.1f), half_float::half(3.0f)}};
    DecompactAOVs(&slots[0], 2, velocities);
    EXPECT_EQ(floatAt(slots[0], 0), 0.5f);
    EXPECT_EQ(floatAt(slots[0], 1), -2.0f);
    EXPECT_EQ(floatAt(slots[2], 0), 0.0999755859375f);
    EXPECT_EQ(slots[0].bytes[8], 0xAB);
    EXPECT_EQ(slots[1].bytes[0], 0xAB);  // between the strided slots
    EXPECT_EQ(slots[3].bytes[0], 0xAB);  // beyond the elements
}

TEST(AovCompaction, ExactChannelsRoundTrip)
{
    std::vector<AOVData> slots(3), back(3);
    slots[0].doubleValue = 0.5;
    slots[1].doubleValue = 0.1;
    slots[2].doubleValue = 1.0 + 1e-12;
    std::vector<half_float::half> halves;
    CompactAOVS(slots.data(), 3, 1, halves);
    DecompactAOVs(back.data(), 1, halves);
    EXPECT_EQ(back[0].doubleValue, 0.5);
    EXPECT_EQ(back[1].doubleValue, 0.0999755859375);  // through float, then truncated
    EXPECT_EQ(back[2].doubleValue, 1.0);

    std::uint32_t const nanWithPayload = 0x7FA12345;
    std::memcpy(slots[0].bytes, &nanWithPayload, 4);
    slots[1].floatValue = -0.1f;
    slots[2].byteValue = char(-5);
    std::vector<int> words;
    std::vector<char> bytes;
    CompactAOVS(slots.data(), 2, 1, words);
    CompactAOVS(&slots[2], 1, 1, bytes);
    DecompactAOVs(back.data(), 1, words);
    DecompactAOVs(&back[2], 1, bytes);
    EXPECT_EQ(std::memcmp(back[0].bytes, &nanWithPayload, 4), 0);  // bits unchanged, also for a float
    EXPECT_EQ(back[1].floatValue, -0.1f);
    EXPECT_EQ(back[2].byteValue, char(-5));
}

// A tight record moves 1, 4, 8, 12, 16, 12 and 8 bytes for types 0 to 6 and nothing for a type above.
TEST(AovRecords, TightRecordSizesAndTheTypeSixAsymmetry)
{
    std::vector<AOVType> const types = {AOVType(0), AOVType(1), AOVType(9), AOVType(2), AOVType(3),
                                        AOVType(4), AOVType(5), AOVType(6)};
    std::vector<AOVData> slots(types.size());
    for (std::size_t a = 0; a < slots.size(); ++a)
        for (int b = 0; b < 16; ++b)
            slots[a].bytes[b] = static_cast<unsigned char>(a * 16 + b);

    std::FILE* file = std::tmpfile();
    WriteAovsToFile(file, types, slots.data());
    EXPECT_EQ(std::ftell(file), 61);
    std::rewind(file);
    std::vector<AOVData> fromFile(types.size());
    ReadAovsFromFile(file, types, fromFile.data());
    std::fclose(file);
    EXPECT_EQ(fromFile[0].bytes[0], 0);
    EXPECT_EQ(fromFile[0].bytes[1], 0);
    EXPECT_EQ(fromFile[2].bytes[0], 0);  // the unknown type's slot is skipped on both sides
    EXPECT_EQ(std::memcmp(fromFile[3].bytes, slots[3].bytes, 8), 0);
    EXPECT_EQ(std::memcmp(fromFile[5].bytes, slots[5].bytes, 16), 0);
    EXPECT_EQ(std::memcmp(fromFile[7].bytes, slots[7].bytes, 8), 0);
    EXPECT_EQ(fromFile[7].bytes[8], 0);

    // The memory writer takes a type 6 channel as one byte, its reader as eight.
    std::vector<AOVType> const vecThenByte = {AOVType(6), AOVType(0)};
    std::vector<AOVData> const vecAndByte = {slots[7], slots[1]};
    std::vector<unsigned char> buffer(9, 0xEE);  // sized as AovFormat's sampleSize
    WriteAovsToMem(buffer.data(), vecThenByte, vecAndByte.data());
    EXPECT_EQ(buffer[0], 7 * 16);
    EXPECT_EQ(buffer[1], 16);  // the byte channel, right after one byte
    EXPECT_EQ(buffer[2], 0xEE);
    std::vector<AOVData> fromMem(2);
    ReadAovsFromMem(buffer.data(), vecThenByte, fromMem.data());
    EXPECT_EQ(fromMem[0].bytes[1], 16);
    EXPECT_EQ(fromMem[1].bytes[0], 0xEE);  // read from offset 8: wrong from that channel on

    std::vector<unsigned char> tight(61);
    WriteAovsToMem(tight.data(), {types.begin(), types.end() - 1}, slots.data());
    std::vector<AOVData> back(types.size());
    ReadAovsFromMem(tight.data(), {types.begin(), types.end() - 1}, back.data());
    EXPECT_EQ(std::memcmp(back[6].bytes, slots[6].bytes, 12), 0);
}
