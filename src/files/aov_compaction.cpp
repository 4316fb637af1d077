// Compaction of one AOV channel, walked a slot stride apart over all samples, into a typed array, and back.

#include "files/aov_compaction.h"

#include "files/half_truncation.h"

#include <holvane/binio.h>

#include <cstdint>
#include <cstring>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

namespace {

// A slot's first Count floats as halves, side by side in the element at `target`.
template <std::size_t Count>
void compactFloats(AOVData const& slot, unsigned char* target)
{
    std::uint32_t bits[Count];
    std::memcpy(bits, slot.bytes, sizeof bits);
    std::uint16_t halves[Count];
    for (std::size_t i = 0; i < Count; ++i)
        halves[i] = Internal::halfBitsOfFloatBits(bits[i]);
    std::memcpy(target, halves, sizeof halves);
}

// The double of a type 2 slot goes through float on its way to half.
void compactDouble(AOVData const& slot, unsigned char* target)
{
    double value;
    std::memcpy(&value, slot.bytes, sizeof value);
    std::uint16_t half = Internal::halfBitsOf(static_cast<float>(value));
    std::memcpy(target, &half, sizeof half);
}

// The leading bytes of the slot as they stand: the byte of type 0, the 32 bits of type 1.
template <std::size_t Size>
void compactBytes(AOVData const& slot, unsigned char* target)
{
    std::memcpy(target, slot.bytes, Size);
}

using CompactSlot = void (*)(AOVData const& slot, unsigned char* target);

// One allocation, the output; four samples per turn of the loop while the count allows.
template <CompactSlot compactSlot, typename E>
void compactChannel(AOVData const* first, std::size_t count, std::size_t stride, std::vector<E>& out)
{
    out.assign(count, {});
    auto* target = reinterpret_cast<unsigned char*>(out.data());
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        compactSlot(first[i * stride], target + i * sizeof(E));
        compactSlot(first[(i + 1) * stride], target + (i + 1) * sizeof(E));
        compactSlot(first[(i + 2) * stride], target + (i + 2) * sizeof(E));
        compactSlot(first[(i + 3) * stride], target + (i + 3) * sizeof(E));
    }
    for (; i < count; ++i)
        compactSlot(first[i * stride], target + i * sizeof(E));
}

}  // namespace

void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<char>& out)
{
    compactChannel<compactBytes<1>>(first, count, stride, out);
}

void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<int>& out)
{
    compactChannel<compactBytes<4>>(first, count, stride, out);
}

void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<half_float::half>& out)
{
    compactChannel<compactDouble>(first, count, stride, out);
}

void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<halfvec2>& out)
{
    compactChannel<compactFloats<2>>(first, count, stride, out);
}

void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<halfvec3>& out)
{
    compactChannel<compactFloats<3>>(first, count, stride, out);
}

void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<halfvec4>& out)
{
    compactChannel<compactFloats<4>>(first, count, stride, out);
}

void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<char> const& in)
{
    Internal::decompactChannel(first, stride, in.data(), in.size());
}

void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<int> const& in)
{
    Internal::decompactChannel(first, stride, in.data(), in.size());
}

void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<half_float::half> const& in)
{
    Internal::decompactChannel(first, stride, in.data(), in.size());
}

void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<halfvec2> const& in)
{
    Internal::decompactChannel(first, stride, in.data(), in.size());
}

void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<halfvec3> const& in)
{
    Internal::decompactChannel(first, stride, in.data(), in.size());
}

void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<halfvec4> const& in)
{
    Internal::decompactChannel(first, stride, in.data(), in.size());
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
