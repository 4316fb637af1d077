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

float floatAt(AOVData const& slot, int index)
{
    float value;
    std::memcpy(&value, slot.bytes + 4 * index, sizeof value);
    return value;
}

}  // namespace

// Seven samples of three channels: channel 1 is taken a stride of 3 slots apart, four per turn, then the tail.
TEST(AovCompaction, FloatsBecomeTruncatedHalvesWithTheStride)
{
    float const justBelowNextHalf = std::nextafter(1.0009765625f, 0.0f);  // the half after 1.0 is 1 + 2^-10
    std::vector<AOVData> slots(7 * 3);
    for (int s = 0; s < 7; ++s)
        slots[s * 3 + 1].vec4 = {justBelowNextHalf * float(s + 1), -0.1f * float(s), 70000.0f, float(s)};
    std::vector<halfvec4> colors(2);
    CompactAOVS(&slots[1], 7, 3, colors);
    ASSERT_EQ(colors.size(), 7u);
    EXPECT_EQ(bitsOf(colors[0].x), 0x3C00);  // 1.0: truncated, not rounded
    EXPECT_EQ(bitsOf(colors[1].y), 0xAE66);  // toward zero for a negative value too
    EXPECT_EQ(bitsOf(colors[6].z), 0x7C00);  // beyond the range
    for (int s = 0; s < 7; ++s) {
        EXPECT_EQ(bitsOf(colors[s].x), bitsOf(half_float::half(justBelowNextHalf * float(s + 1))));
        EXPECT_EQ(static_cast<float>(colors[s].w), float(s));
    }

    std::vector<AOVData> back(4);
    std::memset(static_cast<void*>(back.data()), 0xAB, back.size() * sizeof(AOVData));
    std::vector<halfvec2> velocities = {{colors[0].x, colors[1].y}, {colors[6].z, colors[3].w}};
    DecompactAOVs(back.data(), 2, velocities);
    EXPECT_EQ(floatAt(back[0], 0), 1.0f);
    EXPECT_EQ(floatAt(back[0], 1), -0.0999755859375f);
    EXPECT_EQ(floatAt(back[2], 0), INFINITY);
    EXPECT_EQ(back[0].bytes[8], 0xAB);  // the rest of the slot, the slots between and beyond are left alone
    EXPECT_EQ(back[1].bytes[0], 0xAB);
    EXPECT_EQ(back[3].bytes[0], 0xAB);
}

TEST(AovCompaction, DoubleBytesAndBitsRoundTrip)
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
    EXPECT_EQ(std::memcmp(back[0].bytes, &nanWithPayload, 4), 0);  // the bits, also of a float
    EXPECT_EQ(back[1].floatValue, -0.1f);
    EXPECT_EQ(back[2].byteValue, char(-5));
}

// A tight record moves 1, 4, 8, 12, 16, 12 and 8 bytes for types 0 to 6 and skips the slot of a type above;
// the memory writer alone moves a type 6 channel as one byte, so the memory reader goes wrong after it.
TEST(AovRecords, TightRecordSizesAndTheTypeSixAsymmetry)
{
    std::vector<AOVType> const types = {AOVType(0), AOVType(1), AOVType(9), AOVType(2), AOVType(3),
                                        AOVType(4), AOVType(5), AOVType(6), AOVType(0)};
    std::vector<AOVData> slots(types.size()), fromFile(types.size()), fromMem(types.size());
    for (std::size_t a = 0; a < slots.size(); ++a)
        for (int b = 0; b < 16; ++b)
            slots[a].bytes[b] = static_cast<unsigned char>(a * 16 + b + 1);

    std::FILE* file = std::tmpfile();
    WriteAovsToFile(file, types, slots.data());
    EXPECT_EQ(std::ftell(file), 62);
    std::rewind(file);
    ReadAovsFromFile(file, types, fromFile.data());
    std::fclose(file);
    std::size_t const moved[] = {1, 4, 0, 8, 12, 16, 12, 8, 1};
    for (std::size_t a = 0; a < types.size(); ++a) {
        EXPECT_EQ(std::memcmp(fromFile[a].bytes, slots[a].bytes, moved[a]), 0) << a;
        EXPECT_EQ(fromFile[a].bytes[moved[a] % 16], moved[a] == 16 ? slots[a].bytes[0] : 0) << a;
    }

    std::vector<unsigned char> buffer(62, 0xEE);  // sized as AovFormat's sampleSize
    WriteAovsToMem(buffer.data(), types, slots.data());
    EXPECT_EQ(buffer[53], slots[7].bytes[0]);
    EXPECT_EQ(buffer[54], slots[8].bytes[0]);
    EXPECT_EQ(buffer[55], 0xEE);
    ReadAovsFromMem(buffer.data(), types, fromMem.data());
    EXPECT_EQ(std::memcmp(fromMem[6].bytes, slots[6].bytes, 12), 0);
    EXPECT_EQ(fromMem[7].bytes[1], slots[8].bytes[0]);
    EXPECT_EQ(fromMem[8].bytes[0], 0xEE);  // read from offset 61
}
