#ifndef HOLVANE_FILES_COUNTED_BLOCK_H
#define HOLVANE_FILES_COUNTED_BLOCK_H

// The block form of every binary content of a container file: an unsigned 32-bit element count, an unsigned
// 32-bit packed size, then the payload. A packed size of 0 means the payload is count x element size raw
// bytes; otherwise it is one c-blosc chunk of that many bytes. An empty block is two zero words.

#include <holvane/binio.h>


#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace Holvane {
namespace Internal {

using BinIO::HashSum;
using BinIO::HlvReaderError;

// Compresses count elements of elementSize bytes (c-blosc, zlib, level 9, byte shuffle, 4096-byte blocks, one
// thread) and writes the block; data that doesn't shrink is stored raw. Write errors are not looked at.
void writeCountedBlock(std::FILE* file, void const* data, std::uint32_t count, std::size_t elementSize);

// Reads one block at the file's position into `out` (count x elementSize bytes) and feeds the expanded bytes to
// the digest. An empty block (count 0) leaves `out` as it was, leftovers included. A block that can't be read
// whole, that claims more bytes than the file holds or more than 2147483647, or that expands to another size
// answers READER_DECOMPRESS_FAILED with `out` empty and the digest untouched.
HlvReaderError expandCountedBlock(std::FILE* file, std::size_t elementSize, std::vector<unsigned char>& out,
                                  HashSum& hash);

// The same core, with the target sized through `sizeTarget(target, count)`, which answers the array's first byte.
using BlockTargetSizer = void* (*)(void* target, std::uint32_t count);
HlvReaderError expandCountedBlockInto(std::FILE* file, std::size_t elementSize, BlockTargetSizer sizeTarget,
                                      void* target, HashSum& hash);

// A block of records: the element size is the record's size.
template <typename T>
HlvReaderError expandCountedBlock(std::FILE* file, std::vector<T>& out, HashSum& hash)
{
    BlockTargetSizer sizeTarget = [](void* target, std::uint32_t count) -> void* {
        auto& records = *static_cast<std::vector<T>*>(target);
        records.assign(count, {});
        return records.data();
    };
    return expandCountedBlockInto(file, sizeof(T), sizeTarget, &out, hash);
}

// Writes a block of records.
template <typename T>
void writeCountedBlock(std::FILE* file, std::vector<T> const& records)
{
    writeCountedBlock(file, records.data(), static_cast<std::uint32_t>(records.size()), sizeof(T));
}

}  // namespace Internal
}  // namespace Holvane

#endif
