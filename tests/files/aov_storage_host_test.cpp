#include <holvane/holvane.h>

#include "common/log_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace Holvane::BinIO;
using namespace Holvane::Phase;

namespace {

// The bits of a half; a float from a slot's bytes.
std::uint16_t bitsOf(half_float::half value)
{
    std::uint16_t bits;
    return std::memcpy(&bits, &value, 2), bits;
}

float floatAt(AOVData const& slot, int index)
{
    float value;
    return std::memcpy(&value, slot.bytes + 4 * index, 4), value;
}

float const justBelowNextHalf = std::nextafter(1.0009765625f, 0.0f);  // the half after 1.0 is 1 + 2^-10

}  // namespace

// A host that includes the library's headers gets the same truncating half as the library itself.
TEST(HalfConversion, TruncatesTowardZeroAndOverflowsToInfinity)
{
    for (auto [from, to] : {std::pair{justBelowNextHalf, 1.0f}, {-justBelowNextHalf, -1.0f},
                            {1.0009765625f, 1.0009765625f}, {1.0e6f, INFINITY}, {-1.0e6f, -INFINITY}})
        EXPECT_EQ(static_cast<float>(half_float::half(from)), to) << from;
}

// Seven samples of three channels: channel 1 is taken a stride of 3 slots apart, four per turn, then the tail.
TEST(AovCompaction, FloatsBecomeTruncatedHalvesWithTheStride)
{
    std::vector<AOVData> slots(7 * 3);
    for (int s = 0; s < 7; ++s)
        slots[s * 3 + 1].vec4 = {justBelowNextHalf * float(s + 1), -0.1f * float(s), 70000.0f, float(s)};
    std::vector<halfvec4> colors(2);
    CompactAOVS(&slots[1], 7, 3, colors);
    ASSERT_EQ(colors.size(), 7u);
    EXPECT_EQ(bitsOf(colors[0].x), 0x3C00);  // 1.0: truncated, not rounded
    EXPECT_EQ(bitsOf(colors[1].y), 0xAE66);  // toward zero for a negative value too
    EXPECT_EQ(bitsOf(colors[6].z), 0x7C00);  // beyond the range
    for (int s = 0; s < 7; ++s)  // each from its own slot, in order
        EXPECT_EQ(static_cast<float>(colors[s].w), float(s));
    std::vector<AOVData> back(4);
    std::memset(static_cast<void*>(back.data()), 0xAB, back.size() * sizeof(AOVData));
    std::vector<halfvec2> velocities = {{colors[0].x, colors[1].y}, {colors[6].z, colors[3].w}};
    DecompactAOVs(back.data(), 2, velocities);
    EXPECT_EQ(floatAt(back[0], 0), 1.0f);
    EXPECT_EQ(floatAt(back[0], 1), -0.0999755859375f);
    EXPECT_EQ(floatAt(back[2], 0), INFINITY);
    // The rest of the slot, the slots between and beyond are left alone.
    EXPECT_TRUE(back[0].bytes[8] == 0xAB && back[1].bytes[0] == 0xAB && back[3].bytes[0] == 0xAB);
}

// Doubles go through float and a truncated half; words and bytes keep their bits, a NaN's payload too.
TEST(AovCompaction, DoubleBytesAndBitsRoundTrip)
{
    std::vector<AOVData> slots(3), back(3);
    slots[0].doubleValue = 0.5, slots[1].doubleValue = 0.1, slots[2].doubleValue = 1.0 + 1e-12;
    std::vector<half_float::half> halves;
    CompactAOVS(slots.data(), 3, 1, halves);
    DecompactAOVs(back.data(), 1, halves);
    EXPECT_EQ(back[0].doubleValue, 0.5);
    EXPECT_EQ(back[1].doubleValue, 0.0999755859375);
    EXPECT_EQ(back[2].doubleValue, 1.0);
    std::uint32_t const nanWithPayload = 0x7FA12345;
    std::memcpy(slots[0].bytes, &nanWithPayload, 4);
    slots[1].floatValue = -0.1f, slots[2].byteValue = char(-5);
    std::vector<int> words;
    std::vector<char> bytes;
    CompactAOVS(slots.data(), 2, 1, words);
    CompactAOVS(&slots[2], 1, 1, bytes);
    DecompactAOVs(back.data(), 1, words);
    DecompactAOVs(&back[2], 1, bytes);
    EXPECT_EQ(std::memcmp(back[0].bytes, &nanWithPayload, 4), 0);
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
    EXPECT_TRUE(buffer[53] == slots[7].bytes[0] && buffer[54] == slots[8].bytes[0] && buffer[55] == 0xEE);
    ReadAovsFromMem(buffer.data(), types, fromMem.data());
    EXPECT_EQ(std::memcmp(fromMem[6].bytes, slots[6].bytes, 12), 0);
    EXPECT_EQ(fromMem[7].bytes[1], slots[8].bytes[0]);
    EXPECT_EQ(fromMem[8].bytes[0], 0xEE);  // read from offset 61
}

TEST(AovFormat, ReservedNamesAreAlsoFoundUnderTheirFixedAlias)
{
    AovFormat format;
    format.registerAov(7, "Cd_Right", AOV_VEC3);
    format.registerAov(int(0xF0000003u), "hlvVelocity", AOV_VELOCITY);
    format.registerAov(9, "hlvTransp", AOV_INT);
    format.registerAov(11, "cd_right", AOV_VEC3);  // names compare exactly: no reserved alias
    for (auto [alias, index] : {std::pair{7u, 0u}, {0xF0000001u, 0u}, {0xF0000003u, 1u}, {0xF0000002u, 2u}})
        EXPECT_EQ(format.getIndex(int(alias)), index) << std::hex << alias;
    EXPECT_EQ(format.aliases.size(), 6u);
    EXPECT_TRUE(format.HasAOV(std::string("cd_right")));
    EXPECT_FALSE(format.HasAOV(std::string("CD_RIGHT")));
}

TEST(AovFormat, SizesAndMisusesLogWithoutBreakingTheRegistry)
{
    HolvaneTest::LogCapture log;
    AovFormat format;
    for (int type = 0; type <= 7; ++type)
        format.registerAov(type, "c" + std::to_string(type), AOVType(type));
    format.registerAov(4, "again", AOV_DOUBLE);
    EXPECT_EQ(format.getIndex(-5), 0u);
    EXPECT_EQ(log.lines, (std::vector<std::string>{
        "0|Unknown AOV type\n", "1|Adding twice the same AOV alias (while trying to register again as 4\n",
        "0|Trying to access AOV with alias -5 while it hasn't been registered\n"}));
    EXPECT_EQ(format.count, 8u);  // the unknown type is registered, the second alias 4 is not
    EXPECT_EQ(format.sampleSize, 1u + 4 + 8 + 12 + 16 + 12 + 8);
    EXPECT_EQ(format.getIndex(7), 7u);
    format.clear();
    EXPECT_TRUE(format.isEmpty() && format.names.empty() && format.types.empty() && !format.HasAOV(4));
    EXPECT_EQ(format.sampleSize, 0u);
    format.registerAov(4, "again", AOV_DOUBLE);
    EXPECT_EQ(format.getIndex(4), 0u);
}
