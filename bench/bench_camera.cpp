// Cost of the per-sample camera calls: the rays of both phases, the seed, and plaque geometry with and
// without the direction tables.
#include <holvane/camera.h>
#include <holvane/logger.h>
#include <holvane/plaque.h>

#include "camera/camera_rig.h"
#include "session/context.h"

#include <benchmark/benchmark.h>

namespace {

using namespace Holvane;

constexpr int kWidth = 1200;
constexpr int kHeight = 800;

void prepareSession(Phase::Phase phase)
{
    Logger::HvSetConsoleLogLevel(Logger::LogLevel(-1));
    Internal::resetSession();
    auto& s = Internal::session();
    s.phase = phase;
    s.renderingWidth = double(kWidth);
    s.renderingHeight = double(kHeight);
    s.outputWidth = double(kWidth);
    s.outputHeight = double(kHeight);
    s.renderScale = 1.0f;
    s.draftMode = false;
    s.zovOffsetRight = 0;
    s.zovOffsetTop = 0;
    s.zovOffsetBack = 0;
    s.transparencyMode = Phase::ALL;
    s.currentBlock = 0ULL;
    s.rayCounters.assign(kWidth * kHeight, 0);
    s.cameraPixelCoverage.assign(kWidth, std::vector<Holvane::Internal::CoverageSet>(kHeight));
    Internal::buildCameraRig();
    Internal::buildCameraTables();
}

void DetectRay(benchmark::State& state)
{
    prepareSession(Phase::PHASE_DETECT);
    unsigned long long camera = 0;
    int x = 0, y = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Camera::HvGetRayDetectPhase(camera, x + 0.5, y + 0.5));
        camera = (camera + 1) & 255;
        x = (x + 7) % kWidth;
        y = (y + 3) % kHeight;
    }
}
BENCHMARK(DetectRay);

void RenderRay(benchmark::State& state)
{
    prepareSession(Phase::PHASE_RENDER);
    auto& plaques = Internal::session().detectPlaques;
    plaques.resize(kWidth * kHeight);
    for (std::size_t i = 0; i < plaques.size(); ++i) {
        plaques[i].cameraIndex = std::uint8_t(i % 256);
        plaques[i].x = std::uint16_t(i % kWidth);
        plaques[i].y = std::uint16_t(i / kWidth);
    }
    int x = 0, y = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Camera::HvGetRayRenderPhase(x + 0.25, y + 0.75));
        x = (x + 7) % kWidth;
        y = (y + 3) % kHeight;
    }
}
BENCHMARK(RenderRay);

void Seed(benchmark::State& state)
{
    unsigned x = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Camera::GetSeed(x & 255, x % 6000, x % 4000));
        ++x;
    }
}
BENCHMARK(Seed);

void PlaqueInfo(benchmark::State& state)
{
    Camera::CameraRig const rig = Internal::buildBoxRig(false);
    RenderingContext context;
    context.rig = &rig;
    context.width = kWidth;
    context.height = kHeight;
    if (state.range(0))
        context.InitLookup();
    TavPoint const normal = {0.3f, -0.2f, -0.9f};
    int x = 0, y = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(GetPlaqueInfo(context, unsigned(x & 255), x, y, normal, 100.0f, 0, 1.0f));
        // Plaques in file order: along the rows.
        if (++x == kWidth) {
            x = 0;
            y = (y + 1) % kHeight;
        }
    }
    state.SetLabel(state.range(0) ? "with lookup tables" : "computed");
}
BENCHMARK(PlaqueInfo)->Arg(0)->Arg(1);

}  // namespace
