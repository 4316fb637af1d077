// The per-thread buckets: their preparation for a region, their size as a memory buffer, and their flush to
// the spool.

#include <holvane/binio.h>
#include <holvane/logger.h>

#include "render/bucket_flush.h"
#include "render/memory_buffer.h"
#include "render/spool.h"
#include "session/context.h"
#include "session/misuse.h"

#include <algorithm>

namespace Holvane {
namespace Internal {

namespace {

// The finished content of a bucket goes to the spool in the form of the phase.
void spoolBucket(Bucket const& bucket)
{
    if (session().phase == Phase::PHASE_DETECT)
        spoolPlaques(bucket.plaques.data(), bucket.plaques.size());
    else
        spoolFinishedSamples(bucket.finishedSamples);
}

void finishSpoolAndReset(Bucket& bucket)
{
    finishBucket(bucket);
    spoolBucket(bucket);
    bucket.reset();
}

}  // namespace

void requireRunningPhase()
{
    HolvaneContext const& s = session();
    if (s.phase == Phase::PHASE_NONE || !s.initialized)
        failMisuse("[Holvane] a phase must be initialized to use this function");
}

long long findBucketByRegion(int xMin, int yMin, int xMax, int yMax)
{
    std::vector<Bucket> const& buckets = session().buckets;
    for (std::size_t i = 0; i < buckets.size(); ++i) {
        // Negative coordinates widen to the same values that HvInitBucket stored.
        if (buckets[i].holdsRegion(static_cast<unsigned long long>(xMin), static_cast<unsigned long long>(yMin),
                                   static_cast<unsigned long long>(xMax), static_cast<unsigned long long>(yMax)))
            return static_cast<long long>(i);
    }
    return -1;
}

long long findBucketByRegionOrSay(Logger::LogLevel level, char const* format, int xMin, int yMin, int xMax, int yMax)
{
    long long const index = findBucketByRegion(xMin, yMin, xMax, yMax);
    if (index < 0)
        HvOutputLogString(level, format, xMin, yMin, xMax, yMax);
    return index;
}

void finishBucket(Bucket& bucket)
{
    if (session().phase == Phase::PHASE_DETECT)
        return;
    unsigned long long const columns = std::min(bucket.regionWidth(), bucket.capacityX);
    unsigned long long const rows = std::min(bucket.regionHeight(), bucket.capacityY);
    for (unsigned long long row = 0; row < rows; ++row)
        for (unsigned long long column = 0; column < columns; ++column)
            for ([[maybe_unused]] auto const& group : bucket.pixels[column][row]) {
                // joins here: the pixel finish of (xMin + column, yMin + row, group.second, finishedSamples)
            }
}

unsigned long long memoryBufferSize(Bucket const& bucket)
{
    HolvaneContext const& s = session();
    if (s.phase == Phase::PHASE_DETECT)
        return bucket.plaques.size() * sizeof(BinIO::DetectPlaqueInfo) + bucket.regionPixelCount() + kFooterSize;
    return (s.aovFormat.sampleSize + sizeof(FinishedSampleHead)) * bucket.finishedSamples.size() + kFooterSize;
}

}  // namespace Internal

namespace BinIO {
inline namespace v2_0 {

using Internal::Bucket;
using Internal::HolvaneContext;
using Internal::session;
using Logger::HvOutputLogString;

void HvInitBucket(unsigned long long const& threadId, int const& xMin, int const& yMin, int const& xMax,
                  int const& yMax)
{
    std::vector<Bucket>& buckets = session().buckets;
    if (threadId >= buckets.size())
        Internal::failMisuseFormat("[Holvane] cannot get bucket for this thread %d. Only %d buckets are available\n",
                                   int(threadId), int(buckets.size()));
    Bucket& bucket = buckets[threadId];
    if (bucket.sampleCount != 0)
        Internal::failMisuseFormat(
            "There was still samples in the bucket when the bucket was initialized. %d samples lost.\n",
            int(bucket.sampleCount));
    bucket.clear();
    bucket.setRegion(static_cast<unsigned long long>(xMin), static_cast<unsigned long long>(yMin),
                     static_cast<unsigned long long>(xMax), static_cast<unsigned long long>(yMax));
}

int HvProcessBucketGetBufferSize(unsigned long long const& threadId)
{
    Internal::requireRunningPhase();
    HolvaneContext& s = session();
    if (threadId >= s.buckets.size()) {
        HvOutputLogString(Logger::ERROR, "[Holvane] there's no bucket for this thread %d.\n", int(threadId));
        return -1;
    }
    Bucket& bucket = s.buckets[threadId];
    Internal::finishBucket(bucket);
    unsigned long long const size = Internal::memoryBufferSize(bucket);
    if (s.phase != Phase::PHASE_DETECT)
        HvOutputLogString(Logger::DEBUG, "process bucket get size %02d => hlvsize(%d) , items(%d) \n", int(threadId),
                          int(size), int(bucket.finishedSamples.size()));
    return int(size);
}

int HvProcessBucketGetBufferSize(int const& xMin, int const& yMin, int const& xMax, int const& yMax)
{
    long long const index = Internal::findBucketByRegionOrSay(
        Logger::ERROR, "[Holvane] HvProcessBucketGetBufferSize Failed to get a bucket with coordinates %d %d %d %d.\n",
        xMin, yMin, xMax, yMax);
    if (index < 0)
        return -1;
    return HvProcessBucketGetBufferSize(static_cast<unsigned long long>(index));
}

bool HvProcessBucketFlushToFile(unsigned long long const& threadId)
{
    Internal::requireRunningPhase();
    std::vector<Bucket>& buckets = session().buckets;
    if (threadId >= buckets.size())
        return false;
    Internal::finishSpoolAndReset(buckets[threadId]);
    return true;
}

bool HvProcessBucketFlushToFile(int const& xMin, int const& yMin, int const& xMax, int const& yMax)
{
    Internal::requireRunningPhase();
    // two blanks after the bracket, as hosts have always matched it
    long long const index = Internal::findBucketByRegionOrSay(
        Logger::WARNING, "[Holvane]  HvProcessBucketFlushToFile Failed to get a bucket with coordinates %d %d %d %d.\n",
        xMin, yMin, xMax, yMax);
    if (index < 0)
        return false;
    return HvProcessBucketFlushToFile(static_cast<unsigned long long>(index));
}

void HvProcessAllBucketsToFile()
{
    for (Bucket& bucket : session().buckets) {
        if (bucket.sampleCount == 0)
            continue;
        Internal::requireRunningPhase();  // only when there is something to flush
        Internal::finishSpoolAndReset(bucket);
    }
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
