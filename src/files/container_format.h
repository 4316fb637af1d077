#ifndef HOLVANE_FILES_CONTAINER_FORMAT_H
#define HOLVANE_FILES_CONTAINER_FORMAT_H

// Fixed bytes of the render container and the library's private access to HLVRender_header.

#include <holvane/container.h>

#include <json/value.h>

#include <cstddef>
#include <cstdio>
#include <string>

namespace Holvane {
namespace Internal {

using BinIO::HlvReaderError;
using BinIO::HLVRender_header;

constexpr std::size_t containerMagicSize = 14;
constexpr unsigned char containerMagic[containerMagicSize] = {0x82, 'H', 'L', 'V', 'R', 'e', 'n', 'd',
                                                               'e',  'r', '=', 0x0A, 0x24, 0x0A};
// The blank header's magic: not the real one, so that a header that failed to load never passes for a file.
constexpr unsigned char blankMagic[containerMagicSize] = {0x82, 'H', 'L', 'V', '_', '_', '_', '_',
                                                           '_',  '_', '=', 0x0A, 0x24, 0x0A};
constexpr unsigned char writtenVersion = 9;
constexpr unsigned char writtenSubversion = 1;
constexpr long jsonLengthOffset = 16;  // after the magic, the version and the subversion

struct ContainerHeaderAccess {
    // Loads prefix and text of a file into `header`; on failure `header` is left as it was.
    static HlvReaderError load(char const* path, HLVRender_header& header);
    // Writes the 16 prefix bytes, the text's length and the text.
    static void write(std::FILE* file, HLVRender_header const& header);
    static Json::Value const& json(HLVRender_header const& header);
    static Json::Value& json(HLVRender_header& header);
};

// The first slot of AOV channel `channel` in a sample-major slot array, or null when the array holds no sample.
template <typename Slots>
auto channelStart(Slots& slots, std::size_t channel) -> decltype(slots.data())
{
    return channel < slots.size() ? slots.data() + channel : nullptr;
}

// Opens `path` for binary reading and places the stream just after the header text, where the first block
// starts. Null when the file can't be opened. A file too short for the length word is left at its end.
std::FILE* openAtFirstBlock(char const* path);

}  // namespace Internal
}  // namespace Holvane

#endif
