// Throughput of the detection phase's way out: a bucket of a million plaques flushed to the spool (directly,
// and through a memory buffer), and the finalisation of a spool of a million plaques into a detect file, next
// to a plain fwrite of the same bytes to a temporary file.
#include <holvane/binio.h>
#include <holvane/container.h>
#include <holvane/logger.h>

#include "camera/camera_rig.h"
#include "render/finalise.h"
#include "render/spool.h"
#include "session/context.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

using namespace Holvane;
using BinIO::DetectPlaqueInfo;

constexpr std::size_t kPlaques = 1000000;
constexpr int kWidth = 1200;
constexpr int kHeight = 800;
constexpr int kRegion = 64;

std::vector<DetectPlaqueInfo> const& plaques()
{
    static std::vector<DetectPlaqueInfo> const all = [] {
        std::vector<DetectPlaqueInfo> made(kPlaques);
        for (std::size_t i = 0; i < made.size(); ++i) {
            made[i].cameraIndex = std::uint8_t(i % 256);
            made[i].x = std::uint16_t(i % kWidth);
            made[i].y = std::uint16_t(i / kWidth % kHeight);
            made[i].level = std::uint8_t(i % 4);
            made[i].distance = 10.0f + float(i % 1000);
            made[i].normal = {0.0f, 0.6f, -0.8f};
        }
        return made;
    }();
    return all;
}

// A running detection phase with one bucket and an open spool, ready to be finalised into `out`.
void prepareDetection(std::string const& out)
{
    Logger::HvSetConsoleLogLevel(Logger::LogLevel(-1));
    Internal::resetSession();
    auto& s = Internal::session();
    s.phase = Phase::PHASE_DETECT, s.initialized = true;
    s.renderingWidth = s.outputWidth = double(kWidth), s.renderingHeight = s.outputHeight = double(kHeight);
    s.renderScale = 1.0f, s.draftMode = false, s.currentFrame = 1, s.eye = Phase::RC_Left, s.ipd = 63.5f;
    s.zovOffsetRight = s.zovOffsetTop = s.zovOffsetBack = 0, s.transparencyMode = Phase::ALL;
    s.rayCounters.assign(std::size_t(kWidth) * kHeight, 4), s.hitCounters.assign(std::size_t(kWidth) * kHeight, 4);
    Internal::buildCameraRig();
    s.spoolFile = std::tmpfile(), s.spoolSampleCount = 0;
    s.buckets.emplace_back(kRegion, kRegion, s.aovFormat, 0);
    s.outFilePath = out;
}

// The bucket of thread 0 on one region, holding every plaque; the spool starts over.
void refillBucket()
{
    auto& s = Internal::session();
    std::rewind(s.spoolFile);
    s.spoolSampleCount = 0;
    BinIO::HvInitBucket(0, 0, 0, kRegion, kRegion);
    s.buckets[0].plaques = plaques();
    s.buckets[0].sampleCount = kPlaques;
}

void reportBytes(benchmark::State& state)
{
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(kPlaques * sizeof(DetectPlaqueInfo)));
}

void FwriteToTmpfile(benchmark::State& state)
{
    std::FILE* file = std::tmpfile();
    for (auto _ : state) {
        std::rewind(file);
        std::fwrite(plaques().data(), sizeof(DetectPlaqueInfo), kPlaques, file);
        std::fflush(file);
    }
    std::fclose(file);
    reportBytes(state);
}
BENCHMARK(FwriteToTmpfile)->Unit(benchmark::kMillisecond);

void SpoolFlushToFile(benchmark::State& state)
{
    prepareDetection("/dev/null");
    for (auto _ : state) {
        state.PauseTiming();
        refillBucket();
        state.ResumeTiming();
        BinIO::HvProcessBucketFlushToFile(0ULL);
        std::fflush(Internal::session().spoolFile);
    }
    reportBytes(state);
    Internal::resetSession();
}
BENCHMARK(SpoolFlushToFile)->Unit(benchmark::kMillisecond);

void SpoolFlushThroughMemory(benchmark::State& state)
{
    prepareDetection("/dev/null");
    std::vector<unsigned char> buffer;
    for (auto _ : state) {
        state.PauseTiming();
        refillBucket();
        state.ResumeTiming();
        buffer.resize(std::size_t(BinIO::HvProcessBucketGetBufferSize(0ULL)));
        BinIO::HvBucketFlushToMemory(buffer.data(), buffer.size(), 0, 0, kRegion, kRegion);
        BinIO::HvFlushMemoryBufferToFile(buffer.data(), buffer.size());
        std::fflush(Internal::session().spoolFile);
    }
    reportBytes(state);
    Internal::resetSession();
}
BENCHMARK(SpoolFlushThroughMemory)->Unit(benchmark::kMillisecond);

void DetectFinalisation(benchmark::State& state)
{
    std::string path = "/tmp/hv-bench-spool-XXXXXX";
    close(mkstemp(&path[0]));
    prepareDetection(path);
    for (auto _ : state) {
        state.PauseTiming();
        auto& s = Internal::session();
        s.spoolFile = std::tmpfile(), s.spoolSampleCount = 0;
        Internal::spoolPlaques(plaques().data(), kPlaques);
        state.ResumeTiming();
        Internal::Finalise();
    }
    reportBytes(state);
    Internal::resetSession();
    std::remove(path.c_str());
}
BENCHMARK(DetectFinalisation)->Unit(benchmark::kMillisecond);

// The container writer's share of the finalisation: the same plaques and flags, written alone.
void DetectFileWriteOnly(benchmark::State& state)
{
    std::string path = "/tmp/hv-bench-spool-XXXXXX";
    close(mkstemp(&path[0]));
    BinIO::header_v09 header;
    header.rtype = true, header.fillHoleCount = kPlaques;
    BinIO::hlvRenderSample5Aovs_t data;
    data.fillHoles = plaques();
    data.completion.assign(std::size_t(kWidth) * kHeight, 1);
    for (auto _ : state)
        BinIO::hlvWriter_v9(path.c_str(), header, data, Util::RenderingEngineId(1));
    reportBytes(state);
    std::remove(path.c_str());
}
BENCHMARK(DetectFileWriteOnly)->Unit(benchmark::kMillisecond);

}  // namespace
