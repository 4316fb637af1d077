#ifndef HOLVANE_FILES_AOV_BLOCKS_H
#define HOLVANE_FILES_AOV_BLOCKS_H

// One AOV channel of a container file: the channel of every sample, compacted by its type and stored as one
// counted block. A type above 6 has no block.

#include <holvane/binio.h>

#include <cstddef>
#include <cstdio>

namespace Holvane {
namespace Internal {

using BinIO::AOVData;
using BinIO::HashSum;
using BinIO::HlvReaderError;

// Bytes of one element of a channel's block: 1, 4, 2, 6, 8, 6, 4 for types 0 to 6; 0 for any other type.
std::size_t aovBlockElementSize(Phase::AOVType type);

// Bytes of one channel in a sample's tight record: 1, 4, 8, 12, 16, 12, 8 for types 0 to 6; 0 for any other.
std::size_t aovRecordSize(Phase::AOVType type);

// Compacts the channel of `count` samples (slot i at first + i * stride) and writes its block; the compact
// array is fed to the digest when one is given. A type above 6 writes and feeds nothing.
void writeAovChannelBlock(std::FILE* file, Phase::AOVType type, AOVData const* first, std::size_t count,
                          std::size_t stride, HashSum* digestOrNull);

// Feeds the compact array of the channel to the digest, as writeAovChannelBlock would write it.
void digestAovChannel(HashSum& hash, Phase::AOVType type, AOVData const* first, std::size_t count,
                      std::size_t stride);

// Expands the channel's block (feeding the digest) and writes its elements back to the slots at first + i *
// stride. `sampleCount` is the number of samples the slots hold: a block with more elements fills those and
// drops the rest, one with fewer leaves the later slots alone. A type above 6 reads nothing and answers
// READER_OK.
HlvReaderError readAovChannelBlock(std::FILE* file, Phase::AOVType type, AOVData* first, std::size_t sampleCount,
                                   std::size_t stride, HashSum& hash);

}  // namespace Internal
}  // namespace Holvane

#endif
