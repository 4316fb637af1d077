// The clean-up of a detection's plaques before the detect file is written, on the raw plaques of a room seen
// from the box rig: about 250 000 plaques at 624 x 416, and four times as many at twice the resolution, where
// each plaque is four times smaller, as a detection at that resolution gives them.

#include <holvane/block.h>
#include <holvane/logger.h>

#include "camera/camera_rig.h"
#include "camera/cube_image.h"
#include "session/context.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>

namespace {

using namespace Holvane;
using BinIO::DetectPlaqueInfo;

constexpr float kRoomHalfSize = 300.0f;      // walls around the box of the rig, which spans -50 to 50
constexpr std::uint32_t kOneIn = 266;        // of all camera pixels, the share that records a plaque

// Where the ray from `origin` along `direction` leaves the room, and the wall's inward normal.
DetectPlaqueInfo wallPlaque(TavPoint const& origin, TavPoint const& direction)
{
    float const o[3] = {origin.x, origin.y, origin.z}, d[3] = {direction.x, direction.y, direction.z};
    float nearest = 3.0e38f;
    int axis = 0;
    for (int a = 0; a < 3; ++a) {
        if (d[a] == 0.0f)
            continue;
        float const t = ((d[a] > 0.0f ? kRoomHalfSize : -kRoomHalfSize) - o[a]) / d[a];
        if (t < nearest)
            nearest = t, axis = a;
    }
    DetectPlaqueInfo plaque;
    plaque.distance = nearest;
    float n[3] = {0.0f, 0.0f, 0.0f};
    n[axis] = d[axis] > 0.0f ? -1.0f : 1.0f;
    plaque.normal = {n[0], n[1], n[2]};
    return plaque;
}

// A well-spread choice of one camera pixel in kOneIn.
bool recorded(std::uint32_t camera, std::uint32_t x, std::uint32_t y)
{
    std::uint32_t h = camera * 73856093u ^ x * 19349663u ^ y * 83492791u;
    h ^= h >> 15, h *= 0x2C1B3C6Du, h ^= h >> 12;
    return h % kOneIn == 0;
}

std::vector<DetectPlaqueInfo> roomPlaques(Camera::CameraRig const& rig, unsigned width, unsigned height)
{
    std::vector<DetectPlaqueInfo> plaques;
    for (std::uint32_t camera = 0; camera < rig.cameras.size(); ++camera)
        for (std::uint32_t y = 0; y < height; ++y)
            for (std::uint32_t x = 0; x < width; ++x) {
                if (!recorded(camera, x, y))
                    continue;
                TavPoint const direction = Internal::pixelDirection(width, height, x, y).direction;
                DetectPlaqueInfo plaque = wallPlaque(rig.cameras[camera], direction);
                plaque.cameraIndex = std::uint8_t(camera), plaque.x = std::uint16_t(x), plaque.y = std::uint16_t(y);
                plaques.push_back(plaque);
            }
    return plaques;
}

void ProcessFillHoleIndices(benchmark::State& state)
{
    Logger::HvSetConsoleLogLevel(Logger::LogLevel(-1));
    Internal::resetSession();
    unsigned const scale = unsigned(state.range(0));
    Camera::CameraRig const rig = Internal::buildBoxRig(false);
    RenderingContext context;
    context.rig = &rig, context.width = 624 * scale, context.height = 416 * scale;
    std::vector<DetectPlaqueInfo> const raw = roomPlaques(rig, unsigned(context.width), unsigned(context.height));
    std::vector<DetectPlaqueInfo> plaques;
    for (auto _ : state) {
        state.PauseTiming();
        plaques = raw;
        state.ResumeTiming();
        Block::processFillHoleIndices(context, plaques, 1.0f);
    }
    state.counters["plaques"] = double(raw.size());
    state.counters["kept"] = double(plaques.size());
}
BENCHMARK(ProcessFillHoleIndices)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
