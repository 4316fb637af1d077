#include "render/spool.h"

#include <holvane/logger.h>

#include "session/context.h"

#include <atomic>
#include <cstdio>

namespace Holvane {
namespace Internal {

namespace {

std::mutex g_spoolLock;

// One flag per phase kind, never reset: a straggler may flush many times after the spool is gone.
std::atomic<bool> g_lateDetectFlushWarned{false};
std::atomic<bool> g_lateRenderFlushWarned{false};

// The open spool, or null when it has already been taken: the first time for each kind of data, with a WARNING.
std::FILE* openSpoolOrWarn(std::atomic<bool>& warned)
{
    std::FILE* const spool = session().spoolFile;
    if (!spool && !warned.exchange(true))
        Logger::HvOutputLogCStr(Logger::WARNING,
                                "Flushing temporary file samples while samples have already been processed.");
    return spool;
}

}  // namespace

std::mutex& spoolLock()
{
    return g_spoolLock;
}

void spoolPlaques(void const* plaques, std::size_t count)
{
    std::lock_guard<std::mutex> lock(g_spoolLock);
    std::FILE* const spool = openSpoolOrWarn(g_lateDetectFlushWarned);
    if (!spool || count == 0)
        return;
    std::fwrite(plaques, sizeof(BinIO::DetectPlaqueInfo), count, spool);  // one write for the whole group
    session().spoolSampleCount += count;
}

void spoolFinishedSamples(std::vector<FinishedSample> const& samples)
{
    std::lock_guard<std::mutex> lock(g_spoolLock);
    std::FILE* const spool = openSpoolOrWarn(g_lateRenderFlushWarned);
    if (!spool)
        return;
    HolvaneContext& s = session();
    std::vector<Phase::AOVType> const& types = s.aovFormat.types;
    std::vector<RenderSample::AOVData> padding;
    unsigned char image[sizeof(FinishedSampleHead)];
    for (FinishedSample const& sample : samples) {
        writeHeadImage(sample.head, image);
        std::fwrite(image, sizeof image, 1, spool);
        if (!s.aovFormat.isEmpty())
            BinIO::WriteAovsToFile(spool, types, aovSlots(sample, types.size(), padding));
        ++s.spoolSampleCount;
    }
}

}  // namespace Internal
}  // namespace Holvane
