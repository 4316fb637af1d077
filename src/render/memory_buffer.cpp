// A bucket into a host's memory buffer, and a filled buffer into the spool.

#include <holvane/binio.h>
#include <holvane/logger.h>

#include "render/bucket_flush.h"
#include "render/memory_buffer.h"
#include "render/spool.h"
#include "session/context.h"
#include "session/relaxed.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace Holvane {
namespace Internal {

namespace {

using BinIO::DetectPlaqueInfo;
using Logger::HvOutputLogCStr;
using Logger::HvOutputLogString;
using RenderSample::AOVData;

constexpr std::size_t kHeadSize = sizeof(FinishedSampleHead);
constexpr std::size_t kPlaqueSize = sizeof(DetectPlaqueInfo);

void put16(unsigned char* at, std::uint16_t value)
{
    at[0] = static_cast<unsigned char>(value);
    at[1] = static_cast<unsigned char>(value >> 8);
}

void put32(unsigned char* at, std::uint32_t value)
{
    put16(at, static_cast<std::uint16_t>(value));
    put16(at + 2, static_cast<std::uint16_t>(value >> 16));
}

std::uint16_t get16(unsigned char const* at)
{
    return static_cast<std::uint16_t>(at[0] | (at[1] << 8));
}

std::uint32_t get32(unsigned char const* at)
{
    return get16(at) | (std::uint32_t(get16(at + 2)) << 16);
}

// The pixels that have both a ray and a hit counter: a mask pixel beyond them has no counters to read or set.
std::size_t pixelCounterCount()
{
    HolvaneContext const& s = session();
    return std::min(s.hitCounters.size(), s.rayCounters.size());
}

// ---- Writing a bucket --------------------------------------------------------------------------------------

// Each finished sample: its head, then its AOV record of sampleSize bytes (WriteAovsToMem may fill less).
void writeRenderPayload(Bucket const& bucket, unsigned char* payload)
{
    BinIO::AovFormat const& format = session().aovFormat;
    std::vector<AOVData> padding;
    for (FinishedSample const& sample : bucket.finishedSamples) {
        writeHeadImage(sample.head, payload);
        if (format.sampleSize != 0)
            BinIO::WriteAovsToMem(payload + kHeadSize, format.types, aovSlots(sample, format.types.size(), padding));
        payload += kHeadSize + format.sampleSize;
    }
}

// The plaques, then a byte per pixel of the region, row after row: 1 when every ray shot there reported back.
void writeDetectPayload(Bucket const& bucket, unsigned char* payload)
{
    HolvaneContext const& s = session();
    if (!bucket.plaques.empty())
        std::memcpy(payload, bucket.plaques.data(), bucket.plaques.size() * kPlaqueSize);
    unsigned char* mask = payload + bucket.plaques.size() * kPlaqueSize;
    if (bucket.regionPixelCount() == 0)
        return;
    double const width = s.renderingWidth.get();
    for (unsigned long long y = bucket.yMin; y < bucket.yMax; ++y)
        for (unsigned long long x = bucket.xMin; x < bucket.xMax; ++x) {
            std::size_t i = 0;
            bool const complete = counterIndex(double(x), double(y), width, pixelCounterCount(), i) &&
                                  relaxedLoad(s.hitCounters[i]) == relaxedLoad(s.rayCounters[i]);
            *mask++ = complete ? 1 : 0;
        }
}

// ---- Reading a buffer -------------------------------------------------------------------------------------

// The bytes of payload that a footer announces before itself, in the form of the running phase.
unsigned long long announcedPayload(MemoryFooter const& footer)
{
    HolvaneContext const& s = session();
    if (s.phase == Phase::PHASE_RENDER)
        return footer.itemCount * (kHeadSize + s.aovFormat.sampleSize);
    return footer.itemCount * kPlaqueSize + (footer.hasPixelMask ? footer.regionPixelCount() : 0);
}

bool refuseAsTooSmall()
{
    HvOutputLogCStr(Logger::ERROR, "[Holvane] Memory buffer is too small for its content.\n");
    return false;
}

void spoolRenderPayload(unsigned char const* payload, std::uint32_t itemCount)
{
    BinIO::AovFormat const& format = session().aovFormat;
    std::vector<FinishedSample> samples(itemCount);
    for (FinishedSample& sample : samples) {
        sample.head = readHeadImage(payload);
        sample.aovs.assign(format.types.size(), AOVData());
        if (format.sampleSize != 0)
            BinIO::ReadAovsFromMem(payload + kHeadSize, format.types, sample.aovs.data());
        payload += kHeadSize + format.sampleSize;
    }
    spoolFinishedSamples(samples);
}

// The mask overwrites the counters: a pixel of the region counts one ray, and one hit when it was complete.
void applyPixelMask(MemoryFooter const& footer, unsigned char const* mask)
{
    HolvaneContext& s = session();
    double const width = s.renderingWidth.get();
    for (unsigned y = footer.yMin; y < footer.yMax; ++y)
        for (unsigned x = footer.xMin; x < footer.xMax; ++x) {
            unsigned char const byte = *mask++;
            std::size_t i = 0;
            if (!counterIndex(x, y, width, pixelCounterCount(), i))
                continue;
            relaxedStore(s.rayCounters[i], 1);
            relaxedStore(s.hitCounters[i], byte == 1 ? 1 : 0);
        }
}

void spoolDetectPayload(unsigned char const* payload, MemoryFooter const& footer)
{
    if (footer.itemCount > 0)
        spoolPlaques(payload, footer.itemCount);  // the records go to the spool as they lie
    if (footer.hasPixelMask && footer.regionPixelCount() > 0)
        applyPixelMask(footer, payload + std::size_t(footer.itemCount) * kPlaqueSize);
}

}  // namespace

void writeFooter(MemoryFooter const& footer, unsigned char* at)
{
    std::memset(at, 0, kFooterSize);
    put16(at, footer.version);
    put32(at + 4, footer.itemCount);
    put16(at + 8, footer.xMin);
    put16(at + 10, footer.xMax);
    put16(at + 12, footer.yMin);
    put16(at + 14, footer.yMax);
    at[16] = footer.hasPixelMask ? 1 : 0;
}

MemoryFooter readFooter(unsigned char const* at)
{
    MemoryFooter footer;
    footer.version = get16(at);
    footer.itemCount = get32(at + 4);
    footer.xMin = get16(at + 8);
    footer.xMax = get16(at + 10);
    footer.yMin = get16(at + 12);
    footer.yMax = get16(at + 14);
    footer.hasPixelMask = at[16] != 0;
    return footer;
}

bool counterIndex(double x, double y, double width, std::size_t counterCount, std::size_t& index)
{
    double const at = y * width + x;
    double const limit = counterCount < std::size_t(INT_MAX) ? double(counterCount) : double(INT_MAX);
    if (!(at >= 0.0 && at < limit))
        return false;
    index = static_cast<std::size_t>(int(at));
    return true;
}

}  // namespace Internal

namespace BinIO {
inline namespace v2_0 {

using Internal::Bucket;
using Internal::HolvaneContext;
using Internal::MemoryFooter;
using Internal::session;
using Logger::HvOutputLogString;

bool HvBucketFlushToMemory(void* buffer, unsigned long long const& size, int const& xMin, int const& yMin,
                           int const& xMax, int const& yMax)
{
    long long const index = Internal::findBucketByRegionOrSay(
        Logger::ERROR, "[Holvane] HvBucketFlushToMemory Failed to get a bucket with coordinates %d %d %d %d.\n", xMin,
        yMin, xMax, yMax);
    if (index < 0)
        return false;
    Internal::requireRunningPhase();
    HolvaneContext& s = session();
    if (static_cast<unsigned long long>(index) >= s.buckets.size()) {
        HvOutputLogString(Logger::ERROR, "[Holvane] there's no bucket for this thread %d.\n", int(index));
        return false;
    }
    Bucket& bucket = s.buckets[std::size_t(index)];
    unsigned long long const needed = Internal::memoryBufferSize(bucket);
    unsigned long long const given = buffer ? size : 0;
    if (given < needed) {
        // The payload would land in front of the host's buffer.
        HvOutputLogString(Logger::ERROR,
                          "[Holvane] HvBucketFlushToMemory buffer of %llu bytes is too small, %llu needed.\n", given,
                          needed);
        return false;
    }

    bool const detect = s.phase == Phase::PHASE_DETECT;
    std::size_t const items = detect ? bucket.plaques.size() : bucket.finishedSamples.size();
    MemoryFooter footer;
    footer.itemCount = static_cast<std::uint32_t>(items);
    footer.xMin = static_cast<std::uint16_t>(bucket.xMin);
    footer.xMax = static_cast<std::uint16_t>(bucket.xMax);
    footer.yMin = static_cast<std::uint16_t>(bucket.yMin);
    footer.yMax = static_cast<std::uint16_t>(bucket.yMax);
    footer.hasPixelMask = detect;

    unsigned char* const end = static_cast<unsigned char*>(buffer) + size - Internal::kFooterSize;
    unsigned char* const payload = end - (needed - Internal::kFooterSize);
    if (detect) {
        Internal::writeDetectPayload(bucket, payload);
    } else {
        HvOutputLogString(Logger::DEBUG, "%02d write to memory => hlvsize(%d), items(%d) vraybufsize(%d) \n",
                          int(index), int(needed), int(items), int(size));
        Internal::writeRenderPayload(bucket, payload);
    }
    Internal::writeFooter(footer, end);
    bucket.reset();
    return true;
}

bool HvFlushMemoryBufferToFile(void const* buffer, unsigned long long const& size)
{
    if (!buffer || size < Internal::kFooterSize)
        return Internal::refuseAsTooSmall();
    unsigned char const* const end = static_cast<unsigned char const*>(buffer) + size - Internal::kFooterSize;
    MemoryFooter const footer = Internal::readFooter(end);
    if (footer.version != Internal::kMemoryBufferVersion) {
        HvOutputLogString(Logger::ERROR, "[Holvane] Memory buffer version mismatch.\n");
        return false;
    }
    Phase::Phase const phase = session().phase;
    if ((phase != Phase::PHASE_RENDER && phase != Phase::PHASE_DETECT) ||
        (phase == Phase::PHASE_RENDER && footer.itemCount == 0))
        return true;
    unsigned long long const length = Internal::announcedPayload(footer);
    if (length > size - Internal::kFooterSize)
        return Internal::refuseAsTooSmall();
    if (phase == Phase::PHASE_RENDER)
        Internal::spoolRenderPayload(end - length, footer.itemCount);
    else
        Internal::spoolDetectPayload(end - length, footer);
    return true;
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
