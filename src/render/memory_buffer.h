#ifndef HOLVANE_RENDER_MEMORY_BUFFER_H
#define HOLVANE_RENDER_MEMORY_BUFFER_H

// The flat memory form of a flushed bucket, which a host may carry to another process. The buffer is filled
// from its end: a 20-byte little-endian footer in the last bytes, the payload right before it.
//   render:    itemCount records of the 56-byte head followed by the AOV record (sampleSize bytes)
//   detection: itemCount 28-byte plaques, then one mask byte per pixel of the region, y outer, x inner

#include <cstddef>
#include <cstdint>

namespace Holvane {
namespace Internal {

constexpr std::size_t kFooterSize = 20;
constexpr std::uint16_t kMemoryBufferVersion = 668;

struct MemoryFooter {
    std::uint16_t version = kMemoryBufferVersion;
    std::uint32_t itemCount = 0;
    std::uint16_t xMin = 0, xMax = 0, yMin = 0, yMax = 0;
    bool hasPixelMask = false;

    std::uint64_t regionPixelCount() const
    {
        return xMax > xMin && yMax > yMin ? std::uint64_t(xMax - xMin) * std::uint64_t(yMax - yMin) : 0;
    }
};

// Byte by byte: version at 0, itemCount at 4, xMin, xMax, yMin, yMax at 8 to 14, the mask flag at 16; the
// padding bytes are written as zero.
void writeFooter(MemoryFooter const& footer, unsigned char* at);
MemoryFooter readFooter(unsigned char const* at);

// The counter index of image pixel (x, y), int(y * width + x) computed in double; false when it lies
// outside `counterCount` counters.
bool counterIndex(double x, double y, double width, std::size_t counterCount, std::size_t& index);

}  // namespace Internal
}  // namespace Holvane

#endif
