#ifndef HOLVANE_CONTAINER_H
#define HOLVANE_CONTAINER_H

// The render container: the one file kind of the library, written as a hlvDetect file by the detection phase
// and as a hlvRender file by the render phase. A 16-byte prefix (magic, version, subversion), the length of
// the JSON header text, the text, then counted blocks: coordinates, fill holes (from version 8 on), samples,
// one block per AOV channel, completion flags.

#include <holvane/binio.h>
#include <holvane/export.h>
#include <holvane/fileheader.h>
#include <holvane/records.h>
#include <holvane/types.h>

#include <cstdio>
#include <memory>

namespace Json {
class Value;
}

namespace Holvane {
namespace Internal {
struct ContainerHeaderAccess;
}

namespace BinIO {
inline namespace v2_0 {

// A file's prefix and header text as an object. The JSON value stays inside the library, so that hosts
// don't need the JSON library's headers.
class HLVRender_header {
public:
    // A blank header: a magic that deliberately differs from the real one, so that getVersion refuses it.
    HV_API HLVRender_header();
    // The prefix of a file written now (version 9, subversion 1) and the JSON value of every key.
    HV_API explicit HLVRender_header(header_v09 const& header);
    // Prefix and text of a file; any failure leaves the blank header, and shows only through getVersion.
    HV_API explicit HLVRender_header(char const* path);
    HV_API HLVRender_header(HLVRender_header const& other);
    HV_API HLVRender_header& operator=(HLVRender_header const& other);
    HV_API ~HLVRender_header();

    // Stores bytes 14 and 15, then checks the magic; a mismatch sets both to 0 and answers READER_BAD_MAGIC.
    HV_API HlvReaderError getVersion(unsigned char& version, unsigned char& subversion) const;
    HV_API HlvReaderError getHeaderData(header_v09& header) const;

private:
    friend struct Holvane::Internal::ContainerHeaderAccess;

    unsigned char magic[14];
    unsigned char version;
    unsigned char subversion;
    std::unique_ptr<Json::Value> json;
};

HV_API HlvReaderError hlvWriter_v9(char const* path, header_v09 const& header, hlvRenderSample5Aovs_t const& data,
                                   Util::RenderingEngineId const& engine);
// Writes 24-byte samples under the same version bytes (9, subversion 1) as hlvWriter_v9.
HV_API HlvReaderError hlvWriter_v8(char const* path, header_v09 const& header, hlvRenderSample4Aovs_t const& data,
                                   Util::RenderingEngineId const& engine);

// Header only, no block.
HV_API HlvReaderError hlvReader_v9(char const* path, header_v09& header);
HV_API HlvReaderError hlvReader_v9(char const* path, header_v09& header, hlvRenderSample5Aovs_t& data,
                                   int& hashSum);
HV_API HlvReaderError hlvReader_v8(char const* path, header_v09& header, hlvRenderSample4Aovs_t& data,
                                   int& hashSum);
HV_API HlvReaderError hlvReader_v7(char const* path, header_v09& header, hlvRenderSample4Aovs_t& data,
                                   int& hashSum);

// The samples block, one block per AOV channel of `header`, and the completion block, from the file's
// current position.
HV_API HlvReaderError ReadSamplesAndAOV(FILE* file, header_v07 const& header, hlvRenderSample4Aovs_t& data,
                                        HashSum& hash);
HV_API HlvReaderError ReadSamplesAndAOV(FILE* file, header_v07 const& header, hlvRenderSample5Aovs_t& data,
                                        HashSum& hash);

// True when the file opens and its first 14 bytes are the container's magic.
HV_API bool isHlvRender(char const* path);

// The version of a file of the old form, which starts with "Version" and a version byte; 0 for anything
// else, a container included.
HV_API unsigned char getHlvVersionReader(char const* path);
HV_API unsigned char getHlvVersionReader(FILE* file);

// The render engine's number hidden in "fileCode": (fileCode + hashSum) modulo 99.
HV_API Util::RenderingEngineId getRenderEngineId(int const& fileCode, int const& hashSum);

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane

#endif
