// The readers of the render container, and the tests that tell a container from other files.

#include "files/closing_file.h"
#include "files/container_format.h"
#include "files/counted_block.h"
#include "files/digest.h"
#include "files/header_json.h"
#include "files/numeric_locale.h"
#include "files/plaque_packing.h"

#include <cstring>
#include <vector>

namespace Holvane {
namespace Internal {
namespace {

using BinIO::header_v09;

// A header that fails to load is not an error here: the blank header stands in, reads as zeros, and the
// blocks are read all the same. A missing file thus ends in READER_OK with nothing read.
HLVRender_header loadedOrBlank(char const* path)
{
    HLVRender_header header;
    ContainerHeaderAccess::load(path, header);
    return header;
}

template <typename Data>
HlvReaderError readContainer(char const* path, header_v09& header, Data& data, int& hashSum)
{
    NumericLocaleGuard locale;
    HashSum hash;
    digestStart(hash);
    HlvReaderError result = loadedOrBlank(path).getHeaderData(header);
    if (result != BinIO::READER_OK)
        return result;
    ClosingFile input(path ? openAtFirstBlock(path) : nullptr);
    if (!input.file)
        return BinIO::READER_OK;

    result = expandCountedBlock(input.file, data.coordinates, hash);
    if (result != BinIO::READER_OK)
        return result;
    std::vector<PackedPlaque> packed;
    result = expandCountedBlock(input.file, packed, hash);
    unpackPlaques(packed, data.fillHoles);
    if (result != BinIO::READER_OK)
        return result;
    // The sum is stored even when a later block fails.
    result = BinIO::ReadSamplesAndAOV(input.file, header, data, hash);
    digestFinish(hash);
    hashSum = hashSumOf(hash);
    return result;
}

}  // namespace
}  // namespace Internal

namespace BinIO {
inline namespace v2_0 {

using Internal::ClosingFile;

HlvReaderError hlvReader_v9(char const* path, header_v09& header)
{
    Internal::NumericLocaleGuard locale;
    return Internal::loadedOrBlank(path).getHeaderData(header);
}

HlvReaderError hlvReader_v9(char const* path, header_v09& header, hlvRenderSample5Aovs_t& data, int& hashSum)
{
    return Internal::readContainer(path, header, data, hashSum);
}

HlvReaderError hlvReader_v8(char const* path, header_v09& header, hlvRenderSample4Aovs_t& data, int& hashSum)
{
    return Internal::readContainer(path, header, data, hashSum);
}

// Version 7: no fill-hole block, and the header's version 7 keys only (no version test, no default rig). The
// sum is stored only when every block reads.
HlvReaderError hlvReader_v7(char const* path, header_v09& header, hlvRenderSample4Aovs_t& data, int& hashSum)
{
    Internal::NumericLocaleGuard locale;
    HashSum hash;
    Internal::digestStart(hash);
    HlvReaderError const keys =
        Internal::readVersion7Keys(Internal::ContainerHeaderAccess::json(Internal::loadedOrBlank(path)), header);
    if (keys != READER_OK)
        return keys;
    ClosingFile input(path ? Internal::openAtFirstBlock(path) : nullptr);
    if (!input.file)
        return READER_OK;
    HlvReaderError result = Internal::expandCountedBlock(input.file, data.coordinates, hash);
    if (result != READER_OK)
        return result;
    result = ReadSamplesAndAOV(input.file, header, data, hash);
    if (result == READER_OK) {
        Internal::digestFinish(hash);
        hashSum = Internal::hashSumOf(hash);
    }
    return result;
}

bool isHlvRender(char const* path)
{
    ClosingFile input(path ? std::fopen(path, "rb") : nullptr);
    unsigned char magic[Internal::containerMagicSize];
    return input.file && std::fread(magic, 1, sizeof magic, input.file) == sizeof magic &&
           std::memcmp(magic, Internal::containerMagic, sizeof magic) == 0;
}

// A file of the old form starts with "Version" and its version byte, and is left just behind that byte; any
// other file, a container included, is version 0 and goes back to its start.
unsigned char getHlvVersionReader(FILE* file)
{
    static char const prefix[] = "Version";
    char word[sizeof prefix - 1];
    if (std::fread(word, 1, sizeof word, file) != sizeof word || std::memcmp(word, prefix, sizeof word) != 0) {
        std::fseek(file, 0, SEEK_SET);
        return 0;
    }
    unsigned char version = 0;
    if (std::fread(&version, 1, 1, file) != 1)
        return 0;
    return version;
}

unsigned char getHlvVersionReader(char const* path)
{
    ClosingFile input(path ? std::fopen(path, "rb") : nullptr);
    if (!input.file) {
        std::printf("\t[HOLVANE] ERROR: cannot open file: %s\n", path ? path : "");
        return 0;
    }
    return getHlvVersionReader(input.file);
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
