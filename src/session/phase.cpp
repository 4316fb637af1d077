#include <holvane/logger.h>
#include <holvane/phase.h>

#include <holvane/binio.h>

#include "camera/camera_rig.h"
#include "render/finalise.h"
#include "session/context.h"
#include "session/detect_file_read.h"
#include "session/matrix.h"
#include "session/misuse.h"
#include "session/phase_internal.h"

#include <cstdio>

namespace Holvane {

namespace Internal {

std::string const& detectPathInUse()
{
    HolvaneContext const& s = session();
    return s.detectPhaseOverride.empty() ? s.detectFilePath : s.detectPhaseOverride;
}

void allocatePixelCounters()
{
    HolvaneContext& s = session();
    std::size_t const pixels =
        static_cast<std::size_t>(s.renderingWidth.get()) * static_cast<std::size_t>(s.renderingHeight.get());
    s.sampleIndexCounters.assign(pixels, 0);
    s.rayCounters.assign(pixels, 0);
    s.hitCounters.assign(pixels, 0);
}

TavPoint specularPointInBox()
{
    HolvaneContext const& s = session();
    float const inverseScale = 1.0f / s.renderScale.get();
    TavPoint const offset = s.specularPointOffset.get();
    return {offset.x * 100.0f * s.zovScaling.x * inverseScale, offset.y * 100.0f * s.zovScaling.y * inverseScale,
            offset.z * 100.0f * s.zovScaling.z * inverseScale};
}

}  // namespace Internal

namespace Phase {
inline namespace v2_0 {

using Internal::HolvaneContext;
using Internal::session;
using Logger::HvOutputLogCStr;

namespace {

// The library's own channels of the render phase, found by hosts and by the merger under these aliases.
int const aliasRightColour = int(0xF0000001u);
int const aliasTransparency = int(0xF0000002u);
int const aliasVelocity = int(0xF0000003u);
int const aliasCockpit = int(0xF0000004u);

// The parameters without a default. A missing one is an ERROR and a refusal that leaves the session alone.
bool requiredParametersPresent()
{
    HolvaneContext const& s = session();
    if (!s.renderingWidth.isSet) {
        HvOutputLogCStr(Logger::ERROR, "[Holvane] The rendering resolution is not set \n");
        return false;
    }
    if (!s.outputWidth.isSet || !s.outputHeight.isSet) {
        HvOutputLogCStr(Logger::ERROR, "[Holvane] The output resolution is not set \n");
        return false;
    }
    if (!s.bucketWidth.isSet || !s.bucketHeight.isSet) {
        HvOutputLogCStr(Logger::ERROR, "[Holvane] The bucket size is not set \n");
        return false;
    }
    return true;
}

// The optional parameters the host left out, each with a WARNING. They go through the setters, whose guard
// cannot fire here: a phase is chosen and not yet begun.
void applyDefaults()
{
    HolvaneContext& s = session();
    if (!s.renderScale.isSet) {
        HvOutputLogCStr(Logger::WARNING, "[Holvane] The render scale is not set, setting the default value (1.0) \n");
        s.renderScale = 1.0f;
    }
    if (!s.specularPointOffset.isSet) {
        HvOutputLogCStr(Logger::WARNING,
                        "[Holvane] The specularPoint is not set, default to the center of the Zone of View (0.0, 0.0, "
                        "0.0) \n");
        HvSetSpecularPointOffset(TavPoint{0.0f, 0.0f, 0.0f});
    }
    if (!s.sceneUp.isSet) {
        HvOutputLogCStr(Logger::WARNING,
                        "[Holvane] The scene up vector is not set, default to Y is up (0.0, 1.0, 0.0) \n");
        HvSetSceneUpVector(TavPoint{0.0f, 1.0f, 0.0f});
    }
    if (!s.eye.isSet || !s.ipd.isSet) {
        HvOutputLogCStr(Logger::WARNING, "[Holvane] The eye is not set, default to left eye only \n");
        HvSetDeepReflection(RC_Left, 63.5);
    }
    if (s.threadNumber == 0) {
        HvOutputLogCStr(Logger::WARNING,
                        "[Holvane] At least one thread should be declared. Setting HvSetThreadNumber to 1.\n");
        HvSetThreadNumber(1);
    }
}

// The offset is in metres in the box's frame; scene units are centimetres divided by the render scale.
void computeSpecularPoint()
{
    HolvaneContext& s = session();
    TavPoint const local = Internal::specularPointInBox();
    s.specularPointLocal = local;
    s.specularPointWorld = Internal::transformPoint(s.camToWorld, local);
}

void prepareDetectTables()
{
    HolvaneContext& s = session();
    s.cameraPixelCoverage.assign(static_cast<std::size_t>(s.renderingWidth.get()),
                                 std::vector<Internal::CoverageSet>(static_cast<std::size_t>(s.renderingHeight.get())));
    s.layerDistanceSlots = std::make_unique<Internal::LayerDistanceSlots>();
    Internal::buildCameraRig();
    Internal::allocatePixelCounters();
}

void prepareRenderTables()
{
    Internal::readDetectFileForRender();
    Internal::allocatePixelCounters();
}

void openSpoolFile()
{
    HolvaneContext& s = session();
    s.spoolFile = std::tmpfile();  // a null handle is found by the spooling itself
    s.spoolSampleCount = 0;
}

void registerLibraryAovs()
{
    HolvaneContext& s = session();
    BinIO::AovFormat& format = s.aovFormat;
    if (s.eye.get() == RC_LeftAndRight && !format.HasAOV(std::string("Cd_Right")))
        format.registerAov(aliasRightColour, "Cd_Right", AOV_VEC3);
    if (s.transparencyMode.get() != ALL)
        format.registerAov(aliasTransparency, "hlvTransp", AOV_INT);
    if (s.motionVector && !format.HasAOV(std::string("hlvVelocity")))
        format.registerAov(aliasVelocity, "hlvVelocity", AOV_VELOCITY);
    format.registerAov(aliasCockpit, "hlvCockpit", AOV_INT);
}

void createBuckets()
{
    HolvaneContext& s = session();
    s.buckets.clear();
    s.buckets.reserve(s.threadNumber);
    for (unsigned long long i = 0; i < s.threadNumber; ++i)
        s.buckets.emplace_back(s.bucketWidth.get(), s.bucketHeight.get(), s.aovFormat, s.sampleSpoolLimit);
}

void prepareAovsAndBuckets()
{
    HolvaneContext const& s = session();
    if (s.phase == PHASE_DETECT) {
        if (!s.aovFormat.isEmpty())
            Internal::failMisuse("Holvane aovs cannot be registered during the detection phase");
    } else {
        registerLibraryAovs();
    }
    createBuckets();
}

// What a bucket still holds is flushed before the spool becomes the phase's file. The file's own success is
// not the host's business: HvPhaseTerminate answers true all the same.
void finalizePhase()
{
    std::vector<Internal::Bucket> const& buckets = session().buckets;
    for (std::size_t i = 0; i < buckets.size(); ++i) {
        if (buckets[i].sampleCount == 0)
            continue;
        Logger::HvOutputLogString(Logger::WARNING,
                                  "Bucket %d still had data when HvPhaseTerminate was invoked. Flushing bucket "
                                  "before finalizing.",
                                  int(i));
        BinIO::HvProcessBucketFlushToFile(static_cast<unsigned long long>(i));
    }
    Internal::Finalise();
}

}  // namespace

void HvInitPhase(Phase const& phase, Util::RenderingEngineId const& engineId)
{
    if (session().initialized)
        Internal::failMisuse(
            "[Holvane] begin a phase after it's initialization leads to data lost. Use HvPhaseTerminate() first\n");
    Internal::resetSession();
    HolvaneContext& s = session();
    if (phase == PHASE_DETECT) {
        s.phase = PHASE_DETECT;
        HvOutputLogCStr(Logger::DEBUG, "[Holvane] setting detect phase.\n");
    } else if (phase == PHASE_RENDER) {
        s.phase = PHASE_RENDER;
        HvOutputLogCStr(Logger::DEBUG, "[Holvane] setting render phase.\n");
    }
    s.engineId = engineId;
}

void HvRenderPhaseRegisterAov(int const& alias, char const* name, AOVType const& type)
{
    HolvaneContext& s = session();
    if (s.phase != PHASE_RENDER)
        Internal::failMisuse("[Holvane] registering aov is only allowed for the render phase.\n");
    if (s.initialized)
        Internal::failMisuse("[Holvane] Unable to register aov after the initialization.\n");
    s.aovFormat.registerAov(alias, name, type);
}

bool HvPhaseBegin()
{
    HolvaneContext& s = session();
    if (s.phase == PHASE_NONE)
        Internal::failMisuse("[Holvane] begin a phase first.\n");
    if (s.initialized)
        Internal::failMisuse("[Holvane] Terminate the phase first.\n");
    if (!requiredParametersPresent())
        return false;
    applyDefaults();

    computeSpecularPoint();
    if (s.phase == PHASE_DETECT)
        prepareDetectTables();
    else
        prepareRenderTables();
    openSpoolFile();
    Internal::buildCameraTables();
    prepareAovsAndBuckets();
    s.initialized = true;
    Internal::printPhaseSettings();
    return true;
}

bool HvPhaseTerminate(TerminatePhaseOptions const& option)
{
    HolvaneContext& s = session();
    if (s.phase == PHASE_NONE) {
        HvOutputLogCStr(Logger::WARNING, "[Holvane] begin a phase before terminating it \n");
        return false;
    }
    if (!s.initialized) {
        HvOutputLogCStr(Logger::WARNING, "[Holvane] initialize the phase before terminating it\n");
        return false;
    }
    // Aborting leaves the spool file as it is; the next HvInitPhase releases it.
    if (option == TERMINATE_FINALIZE)
        finalizePhase();
    s.phase = PHASE_NONE;
    s.initialized = false;
    return true;
}

}  // namespace v2_0
}  // namespace Phase
}  // namespace Holvane
