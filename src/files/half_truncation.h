#ifndef HOLVANE_FILES_HALF_TRUNCATION_H
#define HOLVANE_FILES_HALF_TRUNCATION_H

// Float to half by table, without a branch on the value: the mantissa bits that don't fit are dropped, so the
// result is truncated toward zero; 65536 and beyond become infinity, and a NaN stays a quiet NaN. The same
// bits as half_float::half built with HALF_ROUND_STYLE -1, at the cost of three lookups.

#include <cstdint>
#include <cstring>

namespace Holvane {
namespace Internal {

// Indexed by the float's sign and exponent, its top nine bits.
struct HalfTables {
    std::uint16_t base[512];
    std::uint8_t mantissaShift[512];
    std::uint16_t nanQuietBit[512];
};

constexpr HalfTables buildHalfTables()
{
    HalfTables tables{};
    for (int index = 0; index < 512; ++index) {
        std::uint16_t sign = (index & 0x100) ? 0x8000 : 0;
        int exponent = index & 0xFF;
        std::uint16_t base = 0;
        std::uint8_t shift = 24;  // every mantissa bit dropped
        if (exponent >= 103 && exponent <= 112) {  // half subnormals: the implicit bit lands in the mantissa
            base = static_cast<std::uint16_t>(0x400 >> (113 - exponent));
            shift = static_cast<std::uint8_t>(126 - exponent);
        } else if (exponent >= 113 && exponent <= 142) {
            base = static_cast<std::uint16_t>((exponent - 112) << 10);
            shift = 13;
        } else if (exponent >= 143) {  // infinity, and NaN with its top mantissa bits
            base = 0x7C00;
            shift = exponent == 255 ? 13 : 24;
        }
        tables.base[index] = static_cast<std::uint16_t>(sign | base);
        tables.mantissaShift[index] = shift;
        tables.nanQuietBit[index] = exponent == 255 ? 0x200 : 0;
    }
    return tables;
}

inline constexpr HalfTables kHalfTables = buildHalfTables();

inline std::uint16_t halfBitsOfFloatBits(std::uint32_t bits)
{
    std::uint32_t index = bits >> 23;
    std::uint32_t mantissa = bits & 0x7FFFFF;
    std::uint32_t isNan = 0u - static_cast<std::uint32_t>(mantissa != 0);
    return static_cast<std::uint16_t>((kHalfTables.base[index] + (mantissa >> kHalfTables.mantissaShift[index])) |
                                      (kHalfTables.nanQuietBit[index] & isNan));
}

inline std::uint16_t halfBitsOf(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return halfBitsOfFloatBits(bits);
}

}  // namespace Internal
}  // namespace Holvane

#endif
