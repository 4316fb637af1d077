#ifndef HOLVANE_FILES_AOV_COMPACTION_H
#define HOLVANE_FILES_AOV_COMPACTION_H

// The way back from a compact AOV element to its slot: halves widen to floats (and on to double for a type 2
// channel); the rest of the slot is left alone.

#include <holvane/binio.h>

#include <cstddef>
#include <cstring>

namespace Holvane {
namespace Internal {

using BinIO::AOVData;
using BinIO::halfvec2;
using BinIO::halfvec3;
using BinIO::halfvec4;

inline void storeFloats(AOVData& slot, float const* values, std::size_t count)
{
    std::memcpy(slot.bytes, values, count * sizeof(float));
}

inline void decompactElement(AOVData& slot, char value)
{
    std::memcpy(slot.bytes, &value, sizeof value);
}

inline void decompactElement(AOVData& slot, int value)
{
    std::memcpy(slot.bytes, &value, sizeof value);
}

inline void decompactElement(AOVData& slot, half_float::half value)
{
    double widened = static_cast<float>(value);
    std::memcpy(slot.bytes, &widened, sizeof widened);
}

inline void decompactElement(AOVData& slot, halfvec2 const& value)
{
    float const values[2] = {value.x, value.y};
    storeFloats(slot, values, 2);
}

inline void decompactElement(AOVData& slot, halfvec3 const& value)
{
    float const values[3] = {value.x, value.y, value.z};
    storeFloats(slot, values, 3);
}

inline void decompactElement(AOVData& slot, halfvec4 const& value)
{
    float const values[4] = {value.x, value.y, value.z, value.w};
    storeFloats(slot, values, 4);
}

// Element i goes to the slot at first + i * stride, for the first `count` elements.
template <typename E>
void decompactChannel(AOVData* first, std::size_t stride, E const* elements, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        decompactElement(first[i * stride], elements[i]);
}

}  // namespace Internal
}  // namespace Holvane

#endif
