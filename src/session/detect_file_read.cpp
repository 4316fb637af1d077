#include <holvane/container.h>
#include <holvane/fileheader.h>
#include <holvane/logger.h>
#include <holvane/trees.h>

#include "camera/camera_rig.h"
#include "camera/cube_image.h"
#include "session/context.h"
#include "session/detect_file_read.h"
#include "session/phase_internal.h"

#include <memory>

namespace Holvane {
namespace Internal {

namespace {

using Logger::HvOutputLogString;

// The render phase shoots from the cameras that the detection used, as its file stored them.
void takeCamerasFrom(BinIO::header_v09 const& header)
{
    CameraRig& rig = session().renderingContext.rig;
    rig.cameras = header.cameras.locations;
    rig.cameraWeights = header.cameras.priorities;
    rig.cameraMasks = header.cameras.directions;
}

// The tree over the file's plaques that the finishing of render pixels asks for overlaps: the plaques as the
// detection saw them, with the file's cameras (already taken over into the session's rig), image size, scale
// and tolerance, at their true size.
void buildPlaqueTree(BinIO::header_v09 const& header)
{
    SessionRenderingContext& rc = session().renderingContext;
    RenderingContext context;
    context.rig = &rc.rig;
    context.width = header.widthDisplay;
    context.height = header.heightDisplay;
    context.renderScale = header.globalScale;
    context.tolerance = header.tolerance;
    rc.plaqueTree = std::make_unique<PlaqueKDTree>(context, session().detectPlaques, 1.0f);
}

// A plaque whose camera ray misses the clipping sphere can't be seen through it and is dropped, keeping the
// order of the rest.
void keepPlaquesInsideClippingSphere(unsigned width, unsigned height)
{
    HolvaneContext& s = session();
    std::vector<TavPoint> const& cameras = s.renderingContext.rig.cameras;
    std::size_t kept = 0;
    for (BinIO::DetectPlaqueInfo const& plaque : s.detectPlaques) {
        bool const seen = plaque.cameraIndex < cameras.size() &&
                          clipSphereHit(cameras[plaque.cameraIndex], pixelDirection(width, height, plaque.x, plaque.y).direction,
                                        s.clipCenterLocal, s.clipRadius);
        if (seen)
            s.detectPlaques[kept++] = plaque;
    }
    s.detectPlaques.resize(kept);
}

}  // namespace

void readDetectFileForRender()
{
    HolvaneContext& s = session();
    std::string const path = detectPathInUse();
    BinIO::header_v09 header;
    BinIO::hlvRenderSample5Aovs_t data;
    int hashSum = 0;
    if (BinIO::hlvReader_v9(path.c_str(), header, data, hashSum) != BinIO::READER_OK) {
        // The phase still begins, without plaques: every render ray is then invalid.
        HvOutputLogString(Logger::ERROR, "[Holvane] cannot read the detection file %s .\n", path.c_str());
        return;
    }
    s.detectPlaques = std::move(data.fillHoles);
    s.detectExtra = std::move(data.completion);
    takeCamerasFrom(header);
    if (s.transparencyMode.get() != Phase::TRANSP)
        buildPlaqueTree(header);
    if (s.clipEnabled && !s.clipInverted)
        keepPlaquesInsideClippingSphere(header.widthDisplay, header.heightDisplay);
    s.outputWidth = double(header.widthDisplay);
    s.outputHeight = double(header.heightDisplay);
    HvOutputLogString(Logger::INFO, "[Holvane] read the detection file %s .\n", path.c_str());
    HvOutputLogString(Logger::DEBUG, "[Holvane] filehole(%d)\n", int(s.detectPlaques.size()));
}

}  // namespace Internal
}  // namespace Holvane
