#include "files/counted_block.h"

#include "files/digest.h"

#include <blosc.h>
#include <sys/types.h>

#include <climits>
#include <memory>

namespace Holvane {
namespace Internal {

namespace {

constexpr int kCompressionLevel = 9;
constexpr int kByteShuffle = 1;
constexpr char const* kCompressor = "zlib";
constexpr std::size_t kBloscBlockSize = 4096;
constexpr int kOneThread = 1;
// Sizes are 32-bit signed on the way through c-blosc: no block is larger.
constexpr std::uint64_t kLargestBlock = INT_MAX;

void writeWord(std::FILE* file, std::uint32_t word)
{
    std::fwrite(&word, sizeof word, 1, file);
}

bool readWord(std::FILE* file, std::uint32_t& word)
{
    return std::fread(&word, sizeof word, 1, file) == 1;
}

bool readBytes(std::FILE* file, void* target, std::size_t size)
{
    return size == 0 || std::fread(target, 1, size, file) == size;
}

// Bytes between the position and the end of the file; a stream that can't seek gives no bound.
std::uint64_t bytesLeftIn(std::FILE* file)
{
    off_t here = ftello(file);
    if (here < 0 || fseeko(file, 0, SEEK_END) != 0)
        return UINT64_MAX;
    off_t end = ftello(file);
    fseeko(file, here, SEEK_SET);
    return end > here ? static_cast<std::uint64_t>(end - here) : 0;
}

// A chunk whose own header claims more bytes than were read, or another expanded size than the block's, can't
// expand right; checked before the target is allocated and before c-blosc reads the chunk.
bool chunkIsWhole(std::vector<unsigned char> const& chunk, std::size_t expandedSize)
{
    if (chunk.size() < BLOSC_MIN_HEADER_LENGTH)
        return false;
    std::size_t claimedExpanded = 0, claimedPacked = 0, chunkBlockSize = 0;
    blosc_cbuffer_sizes(chunk.data(), &claimedExpanded, &claimedPacked, &chunkBlockSize);
    if (claimedPacked > chunk.size() || claimedExpanded != expandedSize)
        return false;
    return blosc_cbuffer_validate(chunk.data(), claimedPacked, &claimedExpanded) == 0;
}

// Reads the block into the target; false when it can't be read whole or doesn't expand to count x elementSize
// bytes.
bool readBlockPayload(std::FILE* file, std::size_t elementSize, BlockTargetSizer sizeTarget, void* target,
                      unsigned char*& expanded, std::uint64_t& expandedSize)
{
    std::uint32_t count = 0, packedSize = 0;
    if (!readWord(file, count) || !readWord(file, packedSize))
        return false;
    expandedSize = std::uint64_t(count) * elementSize;
    if (count == 0)  // the second word is read and ignored; the target keeps what it held
        return true;
    std::uint64_t payloadSize = packedSize == 0 ? expandedSize : packedSize;
    if (expandedSize > kLargestBlock || payloadSize > kLargestBlock || payloadSize > bytesLeftIn(file))
        return false;

    if (packedSize == 0) {
        expanded = static_cast<unsigned char*>(sizeTarget(target, count));
        return readBytes(file, expanded, expandedSize);
    }
    std::vector<unsigned char> chunk(packedSize);
    if (!readBytes(file, chunk.data(), chunk.size()) || !chunkIsWhole(chunk, expandedSize))
        return false;
    expanded = static_cast<unsigned char*>(sizeTarget(target, count));
    int result = blosc_decompress_ctx(chunk.data(), expanded, expandedSize, kOneThread);
    return result >= 0 && static_cast<std::uint64_t>(result) == expandedSize;
}

}  // namespace

void writeCountedBlock(std::FILE* file, void const* data, std::uint32_t count, std::size_t elementSize)
{
    std::size_t size = static_cast<std::size_t>(count) * elementSize;
    if (size == 0) {
        writeWord(file, 0);
        writeWord(file, 0);
        return;
    }
    std::size_t capacity = size / kBloscBlockSize * kBloscBlockSize + kBloscBlockSize;
    std::unique_ptr<unsigned char[]> packed(new unsigned char[capacity]);
    int packedSize = blosc_compress_ctx(kCompressionLevel, kByteShuffle, elementSize, size, data, packed.get(),
                                        capacity, kCompressor, kBloscBlockSize, kOneThread);
    writeWord(file, count);
    if (packedSize > 0) {
        writeWord(file, static_cast<std::uint32_t>(packedSize));
        std::fwrite(packed.get(), 1, static_cast<std::size_t>(packedSize), file);
    } else {
        writeWord(file, 0);  // c-blosc couldn't shrink it: stored raw
        std::fwrite(data, 1, size, file);
    }
}

HlvReaderError expandCountedBlockInto(std::FILE* file, std::size_t elementSize, BlockTargetSizer sizeTarget,
                                      void* target, HashSum& hash)
{
    unsigned char* expanded = nullptr;
    std::uint64_t expandedSize = 0;
    if (!readBlockPayload(file, elementSize, sizeTarget, target, expanded, expandedSize)) {
        sizeTarget(target, 0);
        return BinIO::READER_DECOMPRESS_FAILED;
    }
    digestFeed(hash, expanded, expandedSize);
    return BinIO::READER_OK;
}

HlvReaderError expandCountedBlock(std::FILE* file, std::size_t elementSize, std::vector<unsigned char>& out,
                                  HashSum& hash)
{
    struct ByteTarget {
        std::vector<unsigned char>* bytes;
        std::size_t elementSize;
    } byteTarget{&out, elementSize};
    BlockTargetSizer sizeTarget = [](void* target, std::uint32_t count) -> void* {
        auto& byteTarget = *static_cast<ByteTarget*>(target);
        byteTarget.bytes->assign(std::size_t(count) * byteTarget.elementSize, {});
        return byteTarget.bytes->data();
    };
    return expandCountedBlockInto(file, elementSize, sizeTarget, &byteTarget, hash);
}

}  // namespace Internal
}  // namespace Holvane
