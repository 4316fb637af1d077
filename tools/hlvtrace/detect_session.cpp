#include "detect_session.h"

#include "library_log.h"

#include <holvane/phase.h>

#include <stdexcept>

namespace hlvtrace {

using namespace Holvane::Phase;

namespace {

// What the resolution check needs first: draft mode, frame, box offset, output resolution, glass mode.
void setImage(DetectSetup const& setup)
{
    HvSetDraft(false);
    HvSetCurrentFrame(0, 4);
    HvSetZovOffset(0, 0, 0);
    HvSetOutputResolution(setup.width, setup.height);
    HvSetRenderTransparencyMode(ALL);
    HvSetRenderingResolutionParameters(HvComputeRenderingResolutionParameters(setup.width, setup.height));
    HvSetBucketSize(setup.tileSide, setup.tileSide);
    HvSetThreadNumber(setup.threads);
    HvSetOutFilePath(setup.outFile.c_str());
}

void setZoneOfView(ZoneOfView const& zone, double tolerance)
{
    Vec3 metres = zone.sizeInMetres();
    HvSetZovScaling(metres.x, metres.y, metres.z);
    HvSetRenderScale(zone.scale);
    HvSetCameraToWorldMatrix(zone.boxToWorld());
    HvSetDistanceToGround(zone.distanceToGround);
    HvSetTolerance(tolerance);
    // Said out loud, so that the phase begins without a warning about its defaults.
    HvSetSceneUpVector({0.0f, 1.0f, 0.0f});
    HvSetSpecularPointOffset({0.0f, 0.0f, 0.0f});
    HvSetDeepReflection(RC_Left, 63.5);
}

}  // namespace

void beginDetection(DetectSetup const& setup, LibraryLog const& log)
{
    HvInitPhase(PHASE_DETECT, hlvtraceEngine);
    setImage(setup);
    setZoneOfView(setup.zone, setup.tolerance);
    if (!HvPhaseBegin())
        throw std::runtime_error("the library refused to begin the detection phase: " + log.lastError());
}

}  // namespace hlvtrace
