// One sample's AOV slots to and from a tight uncompressed record, for the spool.

#include "files/aov_blocks.h"

#include <holvane/binio.h>

#include <cstring>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

namespace {

// WriteAovsToMem moves a type 6 channel as one byte, where every other function moves 8.
std::size_t memoryWriteSize(Phase::AOVType type)
{
    return type == Phase::AOV_VEC2 ? 1 : Internal::aovRecordSize(type);
}

}  // namespace

void WriteAovsToFile(std::FILE* file, std::vector<Phase::AOVType> const& types, AOVData const* aovs)
{
    for (Phase::AOVType type : types) {
        std::size_t size = Internal::aovRecordSize(type);
        if (size > 0)
            std::fwrite(aovs->bytes, size, 1, file);
        ++aovs;
    }
}

void ReadAovsFromFile(std::FILE* file, std::vector<Phase::AOVType> const& types, AOVData* aovs)
{
    for (Phase::AOVType type : types) {
        std::size_t size = Internal::aovRecordSize(type);
        if (size > 0 && std::fread(aovs->bytes, size, 1, file) != 1)
            return;
        ++aovs;
    }
}

void WriteAovsToMem(void* buffer, std::vector<Phase::AOVType> const& types, AOVData const* aovs)
{
    auto* target = static_cast<unsigned char*>(buffer);
    for (Phase::AOVType type : types) {
        std::size_t size = memoryWriteSize(type);
        if (size > 0)
            std::memcpy(target, aovs->bytes, size);
        target += size;
        ++aovs;
    }
}

void ReadAovsFromMem(void const* buffer, std::vector<Phase::AOVType> const& types, AOVData* aovs)
{
    auto const* source = static_cast<unsigned char const*>(buffer);
    for (Phase::AOVType type : types) {
        std::size_t size = Internal::aovRecordSize(type);
        if (size > 0)
            std::memcpy(aovs->bytes, source, size);
        source += size;
        ++aovs;
    }
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
