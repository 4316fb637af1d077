#include "detect_driver.h"

#include "library_log.h"
#include "pixel_sampler.h"

#include <holvane/binio.h>
#include <holvane/phase.h>

#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <chrono>
#include <memory>
#include <stdexcept>

namespace hlvtrace {

using namespace Holvane;

std::vector<Tile> cutIntoTiles(unsigned width, unsigned height, unsigned side)
{
    std::vector<Tile> tiles;
    for (unsigned y = 0; y < height; y += side)
        for (unsigned x = 0; x < width; x += side)
            tiles.push_back({int(x), int(y), int(std::min(x + side, width)), int(std::min(y + side, height))});
    return tiles;
}

namespace {

// A bucket's memory image is a 20-byte head, one mask byte per pixel and 28 bytes per plaque: its size tells how
// many plaques the library kept for the tile.
std::uint64_t plaquesInBucket(unsigned index, Tile const& tile)
{
    long long const size = BinIO::HvProcessBucketGetBufferSize(index);
    long long const pixels = (long long)(tile.xMax - tile.xMin) * (tile.yMax - tile.yMin);
    return size > 20 + pixels ? std::uint64_t(size - 20 - pixels) / 28 : 0;
}

void renderTile(Worker& worker, Tile const& tile, DebugImage& image, Progress& progress)
{
    Clock::time_point start = Clock::now();
    BinIO::HvInitBucket(worker.index, tile.xMin, tile.yMin, tile.xMax, tile.yMax);
    for (int y = tile.yMin; y < tile.yMax; ++y)
        for (int x = tile.xMin; x < tile.xMax; ++x)
            samplePixel(worker, x, y, image);
    Clock::time_point flush = Clock::now();
    worker.stats.plaquesRecorded += plaquesInBucket(worker.index, tile);
    BinIO::HvProcessBucketFlushToFile(worker.index);
    worker.stats.libraryNs += nanosecondsSince(flush);
    worker.stats.busyNs += nanosecondsSince(start);
    progress.advance(std::uint64_t(tile.xMax - tile.xMin) * std::uint64_t(tile.yMax - tile.yMin));
}

// Each thread of the arena has its own slot, so its own worker and bucket.
void renderTiles(std::vector<std::unique_ptr<Worker>>& workers, std::vector<Tile> const& tiles, DebugImage& image,
                 Progress& progress)
{
    int threads = int(workers.size());
    tbb::global_control allowed(tbb::global_control::max_allowed_parallelism, std::size_t(threads));
    tbb::task_arena arena(threads);
    arena.execute([&] {
        tbb::parallel_for(
            tbb::blocked_range<std::size_t>(0, tiles.size(), 1),
            [&](tbb::blocked_range<std::size_t> const& range) {
                Worker& worker = *workers[std::size_t(tbb::this_task_arena::current_thread_index())];
                for (std::size_t t = range.begin(); t != range.end(); ++t)
                    renderTile(worker, tiles[t], image, progress);
            },
            tbb::simple_partitioner());
    });
}

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// The library throws a bare exception after a TRACE line that says why.
std::runtime_error libraryStopped(LibraryLog const& log, char const* what)
{
    std::string said = log.lastTrace();
    return std::runtime_error(std::string("the library stopped ") + what + (said.empty() ? "" : ": " + said));
}

}  // namespace

DetectionResult runDetection(RayTracer const& tracer, DetectSetup const& setup, LibraryLog const& log,
                             DebugImage& image, Progress& progress)
{
    beginDetection(setup, log);
    std::vector<std::unique_ptr<Worker>> workers;
    for (unsigned i = 0; i < setup.threads; ++i)
        workers.push_back(std::make_unique<Worker>(tracer, setup.zone.boxToWorld(), setup.cameraStride, i));

    DetectionResult result;
    Clock::time_point start = Clock::now();
    try {
        renderTiles(workers, cutIntoTiles(setup.width, setup.height, setup.tileSide), image, progress);
    } catch (std::exception const&) {
        Phase::HvPhaseTerminate(Phase::TERMINATE_ABORT);
        throw libraryStopped(log, "the detection");
    }
    result.tracingSeconds = secondsSince(start);
    progress.finish();

    start = Clock::now();
    try {
        Phase::HvPhaseTerminate(Phase::TERMINATE_FINALIZE);
    } catch (std::exception const&) {
        throw libraryStopped(log, "writing the detect file");
    }
    result.finalisingSeconds = secondsSince(start);
    for (auto const& worker : workers)
        result.totals.add(worker->stats);
    return result;
}

}  // namespace hlvtrace
