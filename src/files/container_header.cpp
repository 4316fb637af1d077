// HLVRender_header: the prefix and header text of a container file, and the in-memory header they give.

#include "files/closing_file.h"
#include "files/container_format.h"
#include "files/header_json.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>

namespace Holvane {
namespace Internal {
namespace {

bool readExactly(std::FILE* file, void* target, std::size_t size)
{
    return std::fread(target, 1, size, file) == size;
}

// Bytes from the current position to the end, or -1 when the stream can't tell.
long bytesLeft(std::FILE* file)
{
    long here = std::ftell(file);
    if (here < 0 || std::fseek(file, 0, SEEK_END) != 0)
        return -1;
    long end = std::ftell(file);
    if (std::fseek(file, here, SEEK_SET) != 0 || end < here)
        return -1;
    return end - here;
}

// The header text of a file: a length that reaches past the end is refused before anything is allocated.
bool readHeaderText(std::FILE* file, std::string& text)
{
    std::uint32_t length = 0;
    if (!readExactly(file, &length, sizeof length))
        return false;
    long left = bytesLeft(file);
    if (left < 0 || static_cast<unsigned long>(left) < length)
        return false;
    text.resize(length);
    return length == 0 || readExactly(file, &text[0], length);
}

// The file format's JSON is that of these two classes: their output and their parsing define the header text.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::string writeJsonText(Json::Value const& json)
{
    Json::FastWriter writer;
    return writer.write(json);
}

bool parseJsonText(std::string const& text, Json::Value& json)
{
    Json::Reader reader;
    return reader.parse(text, json, false);
}
#pragma GCC diagnostic pop

}  // namespace

HlvReaderError ContainerHeaderAccess::load(char const* path, HLVRender_header& header)
{
    ClosingFile input(path ? std::fopen(path, "rb") : nullptr);
    if (!input.file)
        return BinIO::READER_OPEN_FAILED;
    unsigned char magic[containerMagicSize];
    if (!readExactly(input.file, magic, sizeof magic) || std::memcmp(magic, containerMagic, sizeof magic) != 0)
        return BinIO::READER_BAD_MAGIC;
    unsigned char versionBytes[2];
    std::string text;
    Json::Value json;
    // A file that ends inside the prefix or the text has no header text to parse.
    if (!readExactly(input.file, versionBytes, sizeof versionBytes) || !readHeaderText(input.file, text) ||
        !parseJsonText(text, json))
        return BinIO::READER_BAD_JSON;
    std::memcpy(header.magic, magic, sizeof magic);
    header.version = versionBytes[0];
    header.subversion = versionBytes[1];
    *header.json = std::move(json);
    return BinIO::READER_OK;
}

void ContainerHeaderAccess::write(std::FILE* file, HLVRender_header const& header)
{
    std::string text = writeJsonText(*header.json);
    std::uint32_t length = static_cast<std::uint32_t>(text.size());
    std::fwrite(header.magic, 1, sizeof header.magic, file);
    std::fwrite(&header.version, 1, 1, file);
    std::fwrite(&header.subversion, 1, 1, file);
    std::fwrite(&length, sizeof length, 1, file);
    std::fwrite(text.data(), 1, text.size(), file);
}

Json::Value const& ContainerHeaderAccess::json(HLVRender_header const& header)
{
    return *header.json;
}

Json::Value& ContainerHeaderAccess::json(HLVRender_header& header)
{
    return *header.json;
}

std::FILE* openAtFirstBlock(char const* path)
{
    std::FILE* file = std::fopen(path, "rb");
    if (!file)
        return nullptr;
    std::uint32_t length = 0;
    if (std::fseek(file, jsonLengthOffset, SEEK_SET) == 0 && readExactly(file, &length, sizeof length))
        std::fseek(file, static_cast<long>(length), SEEK_CUR);
    else
        std::fseek(file, 0, SEEK_END);
    return file;
}

}  // namespace Internal

namespace BinIO {
inline namespace v2_0 {

using Internal::ContainerHeaderAccess;

HLVRender_header::HLVRender_header() : version(0), subversion(0), json(new Json::Value())
{
    std::memcpy(magic, Internal::blankMagic, sizeof magic);
}

HLVRender_header::HLVRender_header(header_v09 const& header)
    : version(Internal::writtenVersion),
      subversion(Internal::writtenSubversion),
      json(new Json::Value(Internal::headerToJson(header)))
{
    std::memcpy(magic, Internal::containerMagic, sizeof magic);
}

HLVRender_header::HLVRender_header(char const* path) : HLVRender_header()
{
    ContainerHeaderAccess::load(path, *this);
}

HLVRender_header::HLVRender_header(HLVRender_header const& other)
    : version(other.version), subversion(other.subversion), json(new Json::Value(*other.json))
{
    std::memcpy(magic, other.magic, sizeof magic);
}

HLVRender_header& HLVRender_header::operator=(HLVRender_header const& other)
{
    std::memcpy(magic, other.magic, sizeof magic);
    version = other.version;
    subversion = other.subversion;
    *json = *other.json;
    return *this;
}

HLVRender_header::~HLVRender_header() = default;

HlvReaderError HLVRender_header::getVersion(unsigned char& versionOut, unsigned char& subversionOut) const
{
    versionOut = version;
    subversionOut = subversion;
    if (std::memcmp(magic, Internal::containerMagic, sizeof magic) != 0) {
        versionOut = 0;
        subversionOut = 0;
        return READER_BAD_MAGIC;
    }
    return READER_OK;
}

HlvReaderError HLVRender_header::getHeaderData(header_v09& header) const
{
    if (version > 9)
        return READER_VERSION_TOO_NEW;
    HlvReaderError const keys = Internal::readVersion7Keys(*json, header);
    if (keys != READER_OK)
        return keys;
    if (version == 7) {
        // Version 7 has none of these keys; eye and ipd keep what the caller's header had.
        header.fillHoleCount = 0;
        header.tolerance = 0.0f;
        std::fill(std::begin(header.CamToWorld), std::end(header.CamToWorld), 0.0f);
        for (int i = 0; i < 4; ++i)
            header.CamToWorld[i * 5] = 1.0f;
    } else {
        Internal::readVersion8Keys(*json, header);
    }
    if (version < 9 || subversion == 0) {
        // Files before the cameras key was introduced were all made with the default rig.
        header.cameras = Internal::defaultRigInBox(header);
    } else {
        Internal::readCameras(*json, header.cameras);
    }
    return READER_OK;
}

int header_v07::getVectorAovIndexByType(Phase::AOVType const& /*type*/, std::string const& name) const
{
    auto lower = [](std::string text) {
        for (char& c : text)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return text;
    };
    std::string wanted = lower(name);
    for (std::size_t i = 0; i < AOVNames.size(); ++i)
        if (lower(AOVNames[i]) == wanted)
            return static_cast<int>(i);
    return -1;
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
