// Cost of one detection sample on the opaque path, whose probe asks a host that answers at once (every ray hits
// its target), and of a sample whose pixel is already covered. Each thread sends its own pixels under its own
// thread index.
#include <holvane/detectsample.h>
#include <holvane/logger.h>

#include "camera/camera_rig.h"
#include "camera/cube_image.h"
#include "session/context.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace {

using namespace Holvane;

constexpr int kWidth = 600;
constexpr int kHeight = 400;
constexpr unsigned kCentre = 146;  // sees every direction
constexpr int kSamplesPerThread = 100000;

// Hits at the end of every ray, the target the library aimed at, facing the ray.
bool hitAtTarget(TavPoint const* origin, TavPoint const* direction, double maxDistance, TavPoint* hit, void*)
{
    float const t = static_cast<float>(maxDistance / 1.2);
    hit[0] = {origin->x + direction->x * t, origin->y + direction->y * t, origin->z + direction->z * t};
    hit[1] = {-direction->x, -direction->y, -direction->z};
    return true;
}

void prepareSession(unsigned long long threads)
{
    Logger::HvSetConsoleLogLevel(Logger::LogLevel(-1));
    Internal::resetSession();
    auto& s = Internal::session();
    s.phase = Phase::PHASE_DETECT;
    s.renderingWidth = s.outputWidth = double(kWidth);
    s.renderingHeight = s.outputHeight = double(kHeight);
    s.renderScale = 1.0f;
    s.draftMode = false;
    s.zovOffsetRight = s.zovOffsetTop = s.zovOffsetBack = 0;
    s.transparencyMode = Phase::ALL;
    s.zovScaling = {1.0f, 1.0f, 1.0f};
    s.rayCounters.assign(kWidth * kHeight, 0);
    s.hitCounters.assign(kWidth * kHeight, 0);
    s.cameraPixelCoverage.assign(kWidth, std::vector<Internal::CoverageSet>(kHeight));
    s.layerDistanceSlots = std::make_unique<Internal::LayerDistanceSlots>();
    s.threadNumber = threads;
    s.buckets.assign(threads, Internal::Bucket(64, 64, s.aovFormat, 0));  // room for every plaque of a run
    Internal::buildCameraRig();
    Internal::buildCameraTables();
    s.initialized = true;
}

// Sample i of a thread: the centre camera's hit at 300 units through pixel i * threads + thread, facing it.
DetectSample::HvDetectSample sampleFor(int i, int thread, int threads)
{
    int const pixel = (i * threads + thread) % (kWidth * kHeight);
    DetectSample::HvDetectSample sample = {};
    sample.cameraIndex = kCentre;
    sample.x = pixel % kWidth;
    sample.y = pixel / kWidth;
    TavPoint const d = Internal::pixelDirection(kWidth, kHeight, sample.x, sample.y).direction;
    sample.position = {d.x * 300.0f, d.y * 300.0f, d.z * 300.0f};
    sample.normal = {-d.x, -d.y, -d.z};
    return sample;
}

void run(benchmark::State& state, bool covered)
{
    int const threads = state.threads();
    int const thread = state.thread_index();
    if (thread == 0) {
        prepareSession(static_cast<unsigned long long>(threads));
        if (covered)
            for (auto& column : Internal::session().cameraPixelCoverage)
                for (auto& bits : column)
                    bits.set(kCentre);
    }
    DetectSample::RayTestInterface tracer = {nullptr, hitAtTarget};
    unsigned long long const threadIndex = static_cast<unsigned long long>(thread);
    std::vector<DetectSample::HvDetectSample> samples;
    for (int i = 0; i < kSamplesPerThread; ++i)
        samples.push_back(sampleFor(i, thread, threads));
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(DetectSample::HvProcessDetectSample(&tracer, samples[i++], threadIndex));
}

void OpaqueSample(benchmark::State& state)
{
    run(state, false);
}
BENCHMARK(OpaqueSample)->Iterations(kSamplesPerThread)->Threads(1)->Threads(2)->UseRealTime();

void CoveredPixelSample(benchmark::State& state)
{
    run(state, true);
}
BENCHMARK(CoveredPixelSample)->Iterations(kSamplesPerThread)->Threads(1)->Threads(2)->UseRealTime();

}  // namespace
