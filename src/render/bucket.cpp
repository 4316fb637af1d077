#include "render/bucket.h"

namespace Holvane {
namespace Internal {

Bucket::Bucket(unsigned long long capacityX, unsigned long long capacityY, BinIO::AovFormat const&,
               unsigned long long)
    : xMin(0), yMin(0), xMax(capacityX), yMax(capacityY), capacityX(capacityX), capacityY(capacityY)
{
    plaques.reserve(capacityX * capacityY * 32);
    pixels.assign(capacityX, std::vector<PixelSamples>(capacityY));
}

}  // namespace Internal
}  // namespace Holvane
