// ReadSamplesAndAOV: the samples block, the AOV channel blocks and the completion block of a container.

#include <holvane/container.h>

#include "files/aov_blocks.h"
#include "files/container_format.h"
#include "files/counted_block.h"

namespace Holvane {
namespace Internal {
namespace {

using BinIO::AOVData;
using BinIO::HlvReaderError;

template <typename Data>
HlvReaderError readSamplesAndAovs(std::FILE* file, BinIO::header_v07 const& header, Data& data, HashSum& hash)
{
    HlvReaderError result = expandCountedBlock(file, data.samples, hash);
    if (result != BinIO::READER_OK)
        return result;
    std::vector<Phase::AOVType> const& types = header.AOVTypes;
    if (!types.empty()) {
        data.aovs.assign(data.samples.size() * types.size(), {});
        for (std::size_t a = 0; a < types.size() && result == BinIO::READER_OK; ++a)
            result = readAovChannelBlock(file, types[a], channelStart(data.aovs, a), data.samples.size(),
                                         types.size(), hash);
        if (result != BinIO::READER_OK)
            return result;  // the completion block stays unread
    }
    // An error of the last block is not reported.
    expandCountedBlock(file, data.completion, hash);
    return BinIO::READER_OK;
}

}  // namespace
}  // namespace Internal

namespace BinIO {
inline namespace v2_0 {

HlvReaderError ReadSamplesAndAOV(FILE* file, header_v07 const& header, hlvRenderSample4Aovs_t& data,
                                 HashSum& hash)
{
    return Internal::readSamplesAndAovs(file, header, data, hash);
}

HlvReaderError ReadSamplesAndAOV(FILE* file, header_v07 const& header, hlvRenderSample5Aovs_t& data,
                                 HashSum& hash)
{
    return Internal::readSamplesAndAovs(file, header, data, hash);
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
