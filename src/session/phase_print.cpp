#include <holvane/logger.h>
#include <holvane/txt.h>

#include "session/context.h"
#include "session/phase_internal.h"

namespace Holvane {
namespace Internal {

using Logger::HvOutputLogCStr;
using Logger::HvOutputLogString;
using TXT::Core;

namespace {

void printDetectionPaths()
{
    HolvaneContext const& s = session();
    HvOutputLogCStr(Logger::INFO, "[Holvane] Detection Phase.\n");
    HvOutputLogString(Logger::DEBUG, "[Holvane] Rendering resolution %dx%d.\n", int(s.renderingWidth.get()),
                      int(s.renderingHeight.get()));
    HvOutputLogString(Logger::INFO, "[Holvane] Output detection file path %s.\n", s.outFilePath.c_str());
}

void printRenderPaths()
{
    HolvaneContext const& s = session();
    HvOutputLogCStr(Logger::INFO, "[Holvane] Render Phase.\n");
    HvOutputLogString(Logger::INFO, "[Holvane] Input detection file path %s.\n", detectPathInUse().c_str());
    HvOutputLogString(Logger::INFO, "[Holvane] Rendering block %d/%d.\n", int(s.currentBlock.get()),
                      int(s.blockCount.get()));
    // Hosts read the output resolution under this label, not the rendering one.
    HvOutputLogString(Logger::INFO, "[Holvane] Input rendering resolution %dx%d.\n", int(s.outputWidth.get()),
                      int(s.outputHeight.get()));
    HvOutputLogString(Logger::INFO, "[Holvane] output render image path %s.\n", s.outFilePath.c_str());
}

void printEye()
{
    HolvaneContext const& s = session();
    double const ipd = s.ipd.get();
    switch (s.eye.get()) {
    case Phase::RC_Left:
        HvOutputLogString(Logger::INFO, "[Holvane] Rendering Left eye. IPD %f.\n", ipd);
        break;
    case Phase::RC_Right:
        HvOutputLogString(Logger::INFO, "[Holvane] Rendering Right eye. IPD %f.\n", ipd);
        break;
    case Phase::RC_LeftAndRight:
        HvOutputLogString(Logger::INFO, "[Holvane] Rendering Left and Right eyes. IPD %f.\n", ipd);
        break;
    default:
        HvOutputLogCStr(Logger::ERROR, "[Holvane] unknown specular rendering.\n");
        break;
    }
}

void printGlassMode()
{
    int const mode = session().transparencyMode.get();
    switch (mode) {
    case Phase::ALL:
        HvOutputLogString(Logger::INFO, Core::info_glassMode0_param, mode);
        break;
    case Phase::OPAQUE:
        HvOutputLogString(Logger::INFO, Core::info_glassMode1_param, mode);
        break;
    case Phase::TRANSP:
        // This line goes out at the level whose number is the mode's, unlike its neighbours; it is INFO all the same.
        HvOutputLogString(Logger::LogLevel(mode), Core::info_glassMode2_param, mode);
        break;
    case Phase::BOTH:
        HvOutputLogString(Logger::INFO, Core::info_glassMode3_param, mode);
        break;
    default:
        HvOutputLogCStr(Logger::WARNING, "[Holvane] Unknown transparency pass\n");
        break;
    }
}

void printAovs()
{
    BinIO::AovFormat const& format = session().aovFormat;
    HvOutputLogString(Logger::DEBUG, "[Holvane] registered Aovs %d \n", int(format.count));
    // One line per alias, so a channel with a reserved alias shows twice.
    for (auto const& entry : format.aliases)
        HvOutputLogString(Logger::DEBUG, "[Holvane] \tAOVAlias(%d)  name(%s) index(%d) type(%d) \n", entry.first,
                          format.names[entry.second].c_str(), int(entry.second), int(format.types[entry.second]));
}

void printMatrix(char const* format, Matrix4 const& m)
{
    HvOutputLogString(Logger::DEBUG, format, m.m[0][0], m.m[0][1], m.m[0][2], m.m[0][3], m.m[1][0], m.m[1][1],
                      m.m[1][2], m.m[1][3], m.m[2][0], m.m[2][1], m.m[2][2], m.m[2][3], m.m[3][0], m.m[3][1],
                      m.m[3][2], m.m[3][3]);
}

void printSceneAndBuckets()
{
    HolvaneContext const& s = session();
    TavPoint const up = s.sceneUp.get();
    HvOutputLogString(Logger::DEBUG, "[Holvane] scene vecteur up %f %f %f", up.x, up.y, up.z);
    HvOutputLogString(Logger::DEBUG, "[Holvane] rendering frame %d   padding %d   separator \"%c\".\n",
                      s.currentFrame.get(), int(s.framePadding), s.frameSeparator);
    TavPoint const world = s.specularPointWorld.get();
    HvOutputLogString(Logger::DEBUG, "[Holvane] specular point world %f %f %f\n", world.x, world.y, world.z);
    TavPoint const local = s.specularPointLocal.get();
    HvOutputLogString(Logger::DEBUG, "[Holvane] specular point local %f %f %f\n", local.x, local.y, local.z);
    HvOutputLogString(Logger::DEBUG, "[Holvane] bucket Number %d/%d \n", int(s.buckets.size()), int(s.threadNumber));
    // Both numbers are the width: hosts' log readers expect the line this way.
    HvOutputLogString(Logger::DEBUG, "[Holvane] bucket Region size %d/%d\n", int(s.bucketWidth.get()),
                      int(s.bucketWidth.get()));
}

}  // namespace

void printPhaseSettings()
{
    HolvaneContext const& s = session();
    bool const render = s.phase == Phase::PHASE_RENDER;
    if (render)
        printRenderPaths();
    else
        printDetectionPaths();

    HvOutputLogString(Logger::INFO, "[Holvane] output resolution %dx%d.\n", int(s.outputWidth.get()),
                      int(s.outputHeight.get()));
    HvOutputLogString(Logger::INFO, Core::info_draft_param, s.draftMode.get() ? Core::ON : Core::OFF);
    HvOutputLogString(Logger::INFO, Core::info_viewScaleZov_param, s.zovScaling.x, s.zovScaling.y, s.zovScaling.z);
    HvOutputLogString(Logger::INFO, Core::info_renderScale_param, s.renderScale.get());
    HvOutputLogString(Logger::INFO, "[Holvane] Distance to ground %f\n", s.distanceToGround);
    HvOutputLogString(Logger::INFO, "[Holvane] rendering inside zone of view %s\n",
                      s.renderInsideBox ? "enabled" : "disabled");
    if (render) {
        printEye();
        if (!s.motionVector)
            HvOutputLogCStr(Logger::INFO, "[Holvane] Motion vectors are turned off on demand.\n");
        TavPoint const offset = s.specularPointOffset.get();
        HvOutputLogString(Logger::INFO, Core::info_specOffsetBack_param, offset.x, offset.y, offset.z);
    }
    HvOutputLogString(Logger::INFO, Core::info_boxOffset_param, s.zovOffsetRight.get(), s.zovOffsetTop.get(),
                      s.zovOffsetBack.get());
    printGlassMode();
    printSceneAndBuckets();
    printAovs();
    printMatrix("[Holvane] worldToCam= { {%f , %f , %f , %f},{%f , %f , %f , %f},{%f , %f , %f , %f},{%f , %f , %f , "
                "%f}}\n ",
                s.worldToCam);
    printMatrix("[Holvane] camToWorld= { {%f , %f , %f , %f},{%f , %f , %f , %f},{%f , %f , %f , %f},{%f , %f , %f , "
                "%f}}\n ",
                s.camToWorld);
}

}  // namespace Internal
}  // namespace Holvane
