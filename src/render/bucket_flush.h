#ifndef HOLVANE_RENDER_BUCKET_FLUSH_H
#define HOLVANE_RENDER_BUCKET_FLUSH_H

#include <holvane/logger.h>

// What the exported bucket functions share: the phase guard, the search by region, the finishing of a
// bucket and the size of its memory buffer.

#include "render/bucket.h"

namespace Holvane {
namespace Internal {

// Throws after a TRACE line unless a phase has begun.
void requireRunningPhase();

// The first active bucket, in index order, whose region is exactly this one; -1 when there is none.
long long findBucketByRegion(int xMin, int yMin, int xMax, int yMax);
// The same; when there is none, logs `format` with the four coordinates at `level` before answering -1.
long long findBucketByRegionOrSay(Logger::LogLevel level, char const* format, int xMin, int yMin, int xMax, int yMax);

// Render phase: the pixel finish of every sample group, pixel by pixel in row order. Nothing in the detection
// phase. The groups stay, so a second finish would finish them again.
void finishBucket(Bucket& bucket);

// Bytes of the memory buffer of a finished bucket: its payload and the 20-byte footer.
unsigned long long memoryBufferSize(Bucket const& bucket);

}  // namespace Internal
}  // namespace Holvane

#endif
