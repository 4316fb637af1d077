#include "render/bucket.h"

#include "session/misuse.h"
#include "session/relaxed.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace Holvane {
namespace Internal {

namespace {

constexpr std::size_t kFlagOffset = offsetof(FinishedSampleHead, isBackFacing);

}  // namespace

void writeHeadImage(FinishedSampleHead const& head, unsigned char* image)
{
    std::memcpy(image, &head, sizeof head);
}

FinishedSampleHead readHeadImage(unsigned char const* image)
{
    FinishedSampleHead head;
    std::memcpy(static_cast<void*>(&head), image, kFlagOffset);  // numbers only: every bit pattern is a value
    head.isBackFacing = image[kFlagOffset] != 0;
    return head;
}

RenderSample::AOVData const* aovSlots(FinishedSample const& sample, std::size_t count,
                                      std::vector<RenderSample::AOVData>& padding)
{
    if (sample.aovs.size() >= count)
        return sample.aovs.data();
    padding = sample.aovs;
    padding.resize(count);
    return padding.data();
}

Bucket::Bucket(unsigned long long capacityX, unsigned long long capacityY, BinIO::AovFormat const&, unsigned long long)
    : xMin(0), yMin(0), xMax(capacityX), yMax(capacityY), capacityX(capacityX), capacityY(capacityY)
{
    plaques.reserve(capacityX * capacityY * 32);
    pixels.assign(capacityX, std::vector<PixelSamples>(capacityY));
}

void Bucket::clear()
{
    // A region larger than the grid has no pixels beyond it: pixel() refuses them.
    unsigned long long const columns = std::min(regionWidth(), capacityX);
    unsigned long long const rows = std::min(regionHeight(), capacityY);
    for (unsigned long long column = 0; column < columns; ++column)
        for (unsigned long long row = 0; row < rows; ++row)
            pixels[column][row].clear();
    finishedSamples.clear();
    plaques.clear();
    sampleCount = 0;
}

void Bucket::reset()
{
    clear();
    relaxedStore(active, false);
}

void Bucket::setRegion(unsigned long long newXMin, unsigned long long newYMin, unsigned long long newXMax,
                       unsigned long long newYMax)
{
    relaxedStore(xMin, newXMin);
    relaxedStore(yMin, newYMin);
    relaxedStore(xMax, newXMax);
    relaxedStore(yMax, newYMax);
    relaxedStore(active, true);
}

bool Bucket::holdsRegion(unsigned long long x0, unsigned long long y0, unsigned long long x1,
                         unsigned long long y1) const
{
    return relaxedLoad(active) && relaxedLoad(xMin) == x0 && relaxedLoad(yMin) == y0 && relaxedLoad(xMax) == x1 &&
           relaxedLoad(yMax) == y1;
}

PixelSamples& Bucket::pixel(unsigned long long x, unsigned long long y)
{
    bool const inRegion = xMin <= x && x < xMax && yMin <= y && y < yMax;
    if (!inRegion || x - xMin >= capacityX || y - yMin >= capacityY)
        failMisuseFormat("Registering a pixel at %d %d that is outside the bucket bounds ([%d,%d] [%d,%d])].", int(x),
                         int(y), int(xMin), int(xMax), int(yMin), int(yMax));
    return pixels[x - xMin][y - yMin];
}

}  // namespace Internal
}  // namespace Holvane
