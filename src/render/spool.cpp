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

// The open spool, or null after a WARNING (once per phase kind) when it has already been taken.
std::FILE* openSpoolOrWarn()
{
    HolvaneContext const& s = session();
    if (!s.spoolFile) {
        std::atomic<bool>& warned = s.phase == Phase::PHASE_DETECT ? g_lateDetectFlushWarned : g_lateRenderFlushWarned;
        if (!warned.exchange(true))
            Logger::HvOutputLogCStr(Logger::WARNING,
                                    "Flushing temporary file samples while samples have already been processed.");
    }
    return s.spoolFile;
}

}  // namespace

std::mutex& spoolLock()
{
    return g_spoolLock;
}

void spoolPlaques(void const* plaques, std::size_t count)
{
    std::lock_guard<std::mutex> lock(g_spoolLock);
    std::FILE* const spool = openSpoolOrWarn();
    if (!spool || count == 0)
        return;
    std::fwrite(plaques, sizeof(BinIO::DetectPlaqueInfo), count, spool);  // one write for the whole group
    session().spoolSampleCount += count;
}

void spoolFinishedSamples(std::vector<FinishedSample> const& samples)
{
    std::lock_guard<std::mutex> lock(g_spoolLock);
    std::FILE* const spool = openSpoolOrWarn();
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
