#include "files/aov_blocks.h"

#include "files/aov_compaction.h"
#include "files/counted_block.h"
#include "files/digest.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace Holvane {
namespace Internal {

namespace {

constexpr std::size_t kTypeCount = 7;
constexpr std::size_t kBlockElementSizes[kTypeCount] = {1, 4, 2, 6, 8, 6, 4};
constexpr std::size_t kRecordSizes[kTypeCount] = {1, 4, 8, 12, 16, 12, 8};

std::size_t sizeFromTable(std::size_t const (&table)[kTypeCount], Phase::AOVType type)
{
    auto index = static_cast<std::uint32_t>(type);
    return index < kTypeCount ? table[index] : 0;
}

// Compacts the channel into the element type of its AOV type and hands the array to `use(data, count, size)`.
template <typename Use>
void withCompactChannel(Phase::AOVType type, AOVData const* first, std::size_t count, std::size_t stride, Use use)
{
    auto compactAs = [&](auto element) {
        std::vector<decltype(element)> compact;
        BinIO::CompactAOVS(first, count, stride, compact);
        use(static_cast<void const*>(compact.data()), compact.size(), sizeof(element));
    };
    switch (type) {
    case Phase::AOV_BYTE: compactAs(char()); break;
    case Phase::AOV_INT: compactAs(int()); break;
    case Phase::AOV_DOUBLE: compactAs(half_float::half()); break;
    case Phase::AOV_VEC3:
    case Phase::AOV_VELOCITY: compactAs(halfvec3()); break;
    case Phase::AOV_VEC4: compactAs(halfvec4()); break;
    case Phase::AOV_VEC2: compactAs(halfvec2()); break;
    default: break;  // no block for an unknown type
    }
}

template <typename E>
HlvReaderError readChannelAs(std::FILE* file, AOVData* first, std::size_t sampleCount, std::size_t stride,
                             HashSum& hash)
{
    std::vector<E> compact;
    HlvReaderError result = expandCountedBlock(file, compact, hash);
    decompactChannel(first, stride, compact.data(), std::min(compact.size(), sampleCount));
    return result;
}

}  // namespace

std::size_t aovBlockElementSize(Phase::AOVType type)
{
    return sizeFromTable(kBlockElementSizes, type);
}

std::size_t aovRecordSize(Phase::AOVType type)
{
    return sizeFromTable(kRecordSizes, type);
}

void writeAovChannelBlock(std::FILE* file, Phase::AOVType type, AOVData const* first, std::size_t count,
                          std::size_t stride, HashSum* digestOrNull)
{
    withCompactChannel(type, first, count, stride, [&](void const* data, std::size_t size, std::size_t elementSize) {
        if (digestOrNull != nullptr)
            digestFeed(*digestOrNull, data, size * elementSize);
        writeCountedBlock(file, data, static_cast<std::uint32_t>(size), elementSize);
    });
}

void digestAovChannel(HashSum& hash, Phase::AOVType type, AOVData const* first, std::size_t count,
                      std::size_t stride)
{
    withCompactChannel(type, first, count, stride, [&](void const* data, std::size_t size, std::size_t elementSize) {
        digestFeed(hash, data, size * elementSize);
    });
}

HlvReaderError readAovChannelBlock(std::FILE* file, Phase::AOVType type, AOVData* first, std::size_t sampleCount,
                                   std::size_t stride, HashSum& hash)
{
    switch (type) {
    case Phase::AOV_BYTE: return readChannelAs<char>(file, first, sampleCount, stride, hash);
    case Phase::AOV_INT: return readChannelAs<int>(file, first, sampleCount, stride, hash);
    case Phase::AOV_DOUBLE: return readChannelAs<half_float::half>(file, first, sampleCount, stride, hash);
    case Phase::AOV_VEC3:
    case Phase::AOV_VELOCITY: return readChannelAs<halfvec3>(file, first, sampleCount, stride, hash);
    case Phase::AOV_VEC4: return readChannelAs<halfvec4>(file, first, sampleCount, stride, hash);
    case Phase::AOV_VEC2: return readChannelAs<halfvec2>(file, first, sampleCount, stride, hash);
    default: return BinIO::READER_OK;  // an unknown type has no block
    }
}

}  // namespace Internal
}  // namespace Holvane
