#ifndef HOLVANE_SESSION_CONTEXT_H
#define HOLVANE_SESSION_CONTEXT_H

#include <holvane/records.h>
#include <holvane/types.h>

#include "render/bucket.h"
#include "session/optional.h"
#include "session/relaxed.h"
#include "session/session_rendering_context.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Holvane {
namespace Internal {

using Phase::Eye;
using Phase::TransparencyRenderingType;
using Util::RenderingEngineId;

// The distances of the transparent and hair layers already recorded for each pixel of one camera, under that
// camera's own lock. Key: y * 65536 + x.
struct LayerDistanceSlot {
    std::mutex lock;
    std::map<std::uint32_t, std::vector<float>> distances;
};
using LayerDistanceSlots = std::array<LayerDistanceSlot, 256>;

// The one process-wide session. There is no handle and no lock: one host thread configures it while no
// render thread is inside the library, and render threads only read it (apart from the per-pixel counters).
//
// Fields of subsystems that are not built yet join here, in the order of the session's table, together with
// their line in resetSession().
struct HolvaneContext {
    Phase::Phase phase = Phase::PHASE_NONE;
    bool initialized = false;
    RenderingEngineId engineId = RenderingEngineId(0);
    Optional<bool> draftMode;
    TavPoint zovScaling = {1.0f, 0.5f, 1.0f};
    Optional<float> renderScale = Optional<float>(1.0f);
    Matrix4 camToWorld = identityMatrix();
    Matrix4 worldToCam = identityMatrix();
    float distanceToGround = 1.6f;
    bool renderInsideBox = false;
    Optional<std::int32_t> currentFrame = Optional<std::int32_t>(-1);
    std::uint32_t framePadding = 0;  // only HvSetCurrentFrame gives it a value
    char frameSeparator = '.';
    Optional<float> ipd = Optional<float>(63.5f);
    Optional<Eye> eye = Optional<Eye>(Eye(0));
    Optional<TavPoint> specularPointOffset;
    Optional<TavPoint> specularPointWorld;
    Optional<TavPoint> specularPointLocal;
    Optional<TavPoint> sceneUp;
    float deepAngle = 0.5235988f;
    float deepCosine = 0.8660254f;
    float deepStrength = 1.0f;
    std::string detectFilePath;
    std::string detectPhaseOverride;
    std::string outFilePath;
    Optional<double> renderingWidth;
    Optional<double> renderingHeight;
    double renderingRatio = 0.0;
    Optional<unsigned long long> bucketWidth;
    Optional<unsigned long long> bucketHeight;
    unsigned long long threadNumber = 0;
    unsigned long long sampleSpoolLimit = 0;  // no setter exists
    Optional<TransparencyRenderingType> transparencyMode =
        Optional<TransparencyRenderingType>(TransparencyRenderingType(0));
    bool motionVector = true;
    SessionRenderingContext renderingContext;
    std::vector<std::uint16_t> sampleIndexCounters;
    std::vector<std::uint16_t> rayCounters;
    std::vector<std::uint16_t> hitCounters;
    std::vector<std::vector<CoverageSet>> cameraPixelCoverage;  // [x][y], bit c: camera c done
    // The twin of layerDistanceSlots that nothing but the reset touches, kept for the session's shape.
    std::vector<std::map<std::uint32_t, std::vector<float>>> reservedLayerSlots;
    std::unique_ptr<LayerDistanceSlots> layerDistanceSlots;  // detection: made when the phase begins
    std::vector<BinIO::DetectPlaqueInfo> detectPlaques;  // render phase: the detect file's plaques, by pixel
    std::vector<unsigned char> detectExtra;  // render phase: the detect file's completion flags, carried over
    std::vector<Bucket> buckets;  // one per declared thread, made when the phase begins
    BinIO::AovFormat aovFormat;
    Optional<std::int32_t> zovOffsetRight;
    Optional<std::int32_t> zovOffsetTop;
    Optional<std::int32_t> zovOffsetBack;
    Optional<double> outputWidth;
    Optional<double> outputHeight;
    double outputRatio = 0.0;
    Optional<unsigned long long> blockCount;
    Optional<unsigned long long> currentBlock;
    std::FILE* spoolFile = nullptr;
    unsigned long long spoolSampleCount = 0;
    bool clipEnabled = false;
    TavPoint clipCenterWorld = {0.0f, 0.0f, 0.0f};
    TavPoint clipCenterLocal = {0.0f, 0.0f, 0.0f};
    float clipRadius = 0.0f;
    bool clipInverted = false;

    static Matrix4 identityMatrix()
    {
        return Matrix4{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    }
};

// The session itself, alive from load to unload.
HolvaneContext& session();

// Rebuilds every field to its default and frees what the session holds. Only HvInitPhase calls it.
void resetSession();

}  // namespace Internal
}  // namespace Holvane

#endif
