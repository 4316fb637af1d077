#ifndef HOLVANE_RENDER_BUCKET_H
#define HOLVANE_RENDER_BUCKET_H

#include <holvane/binio.h>
#include <holvane/records.h>
#include <holvane/rendersample.h>

#include <cstdint>
#include <map>
#include <vector>

namespace Holvane {
namespace Internal {

// The head of a finished pixel result as the spool file and the render memory buffer hold it: 56 bytes,
// padding included (zero here). The file's 28-byte sample record is made from it at finalisation.
struct FinishedSampleHead {
    double z = 0.0;
    TavPoint normal = {0.0f, 0.0f, 0.0f};
    TavRGBA color = {0.0f, 0.0f, 0.0f, 0.0f};
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::uint32_t cameraIndex = 0;
    std::uint32_t level = 0;
    bool isBackFacing = false;
    std::uint8_t padding[3] = {0, 0, 0};
};
static_assert(sizeof(FinishedSampleHead) == 56, "the 56-byte image of a finished sample");

// The 56-byte image and back. Reading takes bytes from anywhere (a host's memory buffer): the flag byte
// becomes a clean bool and the padding comes back zero.
void writeHeadImage(FinishedSampleHead const& head, unsigned char* image);
FinishedSampleHead readHeadImage(unsigned char const* image);

struct FinishedSample {
    FinishedSampleHead head;
    std::vector<RenderSample::AOVData> aovs;  // one slot per registered AOV
};

// The sample's first `count` AOV slots. A shorter slot array is copied into `padding` and filled up with zero
// slots, so that a record of the registered AOVs never reads past it.
RenderSample::AOVData const* aovSlots(FinishedSample const& sample, std::size_t count,
                                      std::vector<RenderSample::AOVData>& padding);

// The render samples of one pixel, grouped by the host's sample key.
using PixelSamples = std::map<unsigned long long, std::vector<RenderSample::HvRenderSample>>;

// What one render thread collects for its current region, without a lock. Other threads may search the
// buckets by region at any time: the region and `active` change only through setRegion() and reset(), with
// relaxed atomic stores.
struct Bucket {
    std::vector<BinIO::DetectPlaqueInfo> plaques;               // detection
    std::vector<FinishedSample> finishedSamples;                // render
    unsigned long long xMin = 0, yMin = 0, xMax = 0, yMax = 0;  // maxima exclusive
    unsigned long long capacityX = 0, capacityY = 0;
    unsigned long long sampleCount = 0;
    bool active = false;
    std::vector<std::vector<PixelSamples>> pixels;  // [x - xMin][y - yMin], capacityX by capacityY

    // The spool limit is handed over at creation and not used.
    Bucket(unsigned long long capacityX, unsigned long long capacityY, BinIO::AovFormat const& format,
           unsigned long long spoolLimit);

    // Pixels of the current region, 0 when a maximum doesn't exceed its minimum.
    unsigned long long regionWidth() const { return xMax > xMin ? xMax - xMin : 0; }
    unsigned long long regionHeight() const { return yMax > yMin ? yMax - yMin : 0; }
    unsigned long long regionPixelCount() const { return regionWidth() * regionHeight(); }

    // Empties the pixels of the current region (freeing their samples), the finished samples and the plaques
    // (keeping their room), and zeroes the sample count. Reset also ends the region.
    void clear();
    void reset();

    // Starts a region: the four bounds, then `active`.
    void setRegion(unsigned long long xMin, unsigned long long yMin, unsigned long long xMax, unsigned long long yMax);
    // Whether the bucket is active on exactly this region, read as a searching thread may.
    bool holdsRegion(unsigned long long xMin, unsigned long long yMin, unsigned long long xMax,
                     unsigned long long yMax) const;

    // The samples of pixel (x, y) of the image. Throws after a TRACE line when the pixel lies outside the
    // region, or outside the grid of capacityX x capacityY that the region was promised to fit.
    PixelSamples& pixel(unsigned long long x, unsigned long long y);
};

}  // namespace Internal
}  // namespace Holvane

#endif
