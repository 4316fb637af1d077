// The writers of the render container: hlvWriter_v9 (28-byte samples) and hlvWriter_v8 (24-byte samples).

#include "files/aov_blocks.h"
#include "files/closing_file.h"
#include "files/container_format.h"
#include "files/counted_block.h"
#include "files/digest.h"
#include "files/numeric_locale.h"
#include "files/plaque_packing.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace Holvane {
namespace Internal {
namespace {

using BinIO::AOVData;
using BinIO::header_v09;

template <typename T>
void feedRecords(HashSum& hash, std::vector<T> const& records)
{
    digestFeed(hash, records.data(), records.size() * sizeof(T));
}

// What the writer digests: the fill holes enter in their 28-byte memory form while a reader digests the packed
// 24-byte form it expands, so the two sums agree only for a file without fill holes. Nothing compares them.
template <typename Data>
int writtenHashSum(Data const& data, std::vector<Phase::AOVType> const& types, std::vector<AOVData> const& slots)
{
    HashSum hash;
    digestStart(hash);
    feedRecords(hash, data.coordinates);
    digestPlaques(hash, data.fillHoles.data(), data.fillHoles.size());
    feedRecords(hash, data.samples);
    if (!data.samples.empty())
        for (std::size_t a = 0; a < types.size(); ++a)
            digestAovChannel(hash, types[a], channelStart(slots, a), data.samples.size(), types.size());
    feedRecords(hash, data.completion);
    digestFinish(hash);
    return hashSumOf(hash);
}

// Hides the engine's number: fileCode + hashSum is the engine plus a multiple of 99.
int makeFileCode(int hashSum, Util::RenderingEngineId engine)
{
    return (hashSum / 99 + std::rand() % 100) * 99 - hashSum + static_cast<int>(engine) + 99;
}

// The AOV slots of every sample, padded with zero slots when the caller's array is short of
// samples x channels, so that compaction never reads past it.
template <typename Data>
std::vector<AOVData> const* paddedSlots(Data const& data, std::size_t channelCount, std::vector<AOVData>& padded)
{
    std::size_t needed = data.samples.size() * channelCount;
    if (data.aovs.size() >= needed)
        return &data.aovs;
    padded = std::vector<AOVData>(needed);
    std::copy(data.aovs.begin(), data.aovs.end(), padded.begin());
    return &padded;
}

template <typename Data>
HlvReaderError writeContainer(char const* path, header_v09 const& header, Data const& data,
                              Util::RenderingEngineId engine)
{
    NumericLocaleGuard locale;
    ClosingFile output(path ? std::fopen(path, "wb") : nullptr);
    if (!output.file)
        return BinIO::READER_OPEN_FAILED;

    std::vector<AOVData> padded;
    std::vector<Phase::AOVType> const& types = header.AOVTypes;
    std::vector<AOVData> const* slots = paddedSlots(data, types.size(), padded);
    // The file's "fileCode" replaces the caller's in the written header only.
    HLVRender_header written(header);
    int hashSum = writtenHashSum(data, types, *slots);
    ContainerHeaderAccess::json(written)["fileCode"] = makeFileCode(hashSum, engine);

    ContainerHeaderAccess::write(output.file, written);
    writeCountedBlock(output.file, data.coordinates);
    writeCountedBlock(output.file, packPlaques(data.fillHoles));
    writeCountedBlock(output.file, data.samples);
    for (std::size_t a = 0; a < types.size(); ++a)
        writeAovChannelBlock(output.file, types[a], channelStart(*slots, a), data.samples.size(), types.size(),
                             nullptr);
    writeCountedBlock(output.file, data.completion);
    return BinIO::READER_OK;
}

}  // namespace
}  // namespace Internal

namespace BinIO {
inline namespace v2_0 {

HlvReaderError hlvWriter_v9(char const* path, header_v09 const& header, hlvRenderSample5Aovs_t const& data,
                            Util::RenderingEngineId const& engine)
{
    return Internal::writeContainer(path, header, data, engine);
}

// The version bytes are those of every writer (9, subversion 1), although the samples are 24 bytes: a reader
// has to know from elsewhere that such a file holds version 8 samples.
HlvReaderError hlvWriter_v8(char const* path, header_v09 const& header, hlvRenderSample4Aovs_t const& data,
                            Util::RenderingEngineId const& engine)
{
    return Internal::writeContainer(path, header, data, engine);
}

Util::RenderingEngineId getRenderEngineId(int const& fileCode, int const& hashSum)
{
    // Summed in 64 bits: a damaged fileCode must not overflow; the remainder keeps the sign of the sum.
    long long sum = static_cast<long long>(fileCode) + hashSum;
    return static_cast<Util::RenderingEngineId>(sum % 99);
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
