// hlvtrace: the reference host of the Holvane library. It ray traces a scene with Embree and drives the
// detection phase exactly as a renderer plug-in does, then writes the hlvDetect file and a debug picture.
//
//   hlvtrace [--scene FILE.obj] [--out DIR] [--width W] [--threads N] [--box-center X,Y,Z]
//            [--box-size S|X,Y,Z] [--scale CM] [--tolerance T] [--detect-as-render FILE] [--json] [--verbose]
//
// Exit status: 0 on success, 1 when an input can't be used or the run fails (one line on standard error),
// 2 on a usage error.

#include "debug_image.h"
#include "detect_driver.h"
#include "input_error.h"
#include "library_log.h"
#include "obj_scene.h"
#include "options.h"
#include "output_files.h"
#include "summary.h"

#include <holvane/container.h>
#include <holvane/holvane.h>

#include <cstdio>
#include <exception>
#include <optional>

namespace hlvtrace {

namespace {

Scene loadScene(Options const& options)
{
    if (options.scenePath.empty())
        return builtinRoom();
    std::vector<std::string> warnings;
    Scene scene = loadObjScene(options.scenePath, warnings);
    for (std::string const& warning : warnings)
        std::fprintf(stderr, "hlvtrace: warning: %s\n", warning.c_str());
    return scene;
}

// The plaque count of the file the library wrote; the file must be there and its header must read back (the
// reader takes a missing file for an empty one).
std::uint64_t readBackPlaques(std::string const& path, std::string const& finalPath, LibraryLog const& log)
{
    Holvane::BinIO::header_v09 header;
    if (!Holvane::BinIO::isHlvRender(path.c_str()) ||
        Holvane::BinIO::hlvReader_v9(path.c_str(), header) != Holvane::BinIO::READER_OK) {
        std::string said = log.lastError();
        throw InputError(finalPath, "the library did not write it" + (said.empty() ? "" : ": " + said));
    }
    return header.fillHoleCount;
}

// The detection written as a render file, each plaque in its camera's colour, to look at in a viewer.
void writeDetectAsRender(std::string const& detectPath, std::string const& path, std::string const& finalPath)
{
    Holvane::BinIO::header_v09 header;
    Holvane::BinIO::hlvRenderSample5Aovs_t data;
    int hashSum = 0;
    if (Holvane::BinIO::hlvReader_v9(detectPath.c_str(), header, data, hashSum) != Holvane::BinIO::READER_OK)
        throw InputError(finalPath, "cannot be made: the detect file does not read back");
    Holvane::BinIO::HlvWriteDetectAsRender(path, header, data.fillHoles, nullptr);  // no shader: camera colours
    if (!Holvane::BinIO::isHlvRender(path.c_str()))
        throw InputError(finalPath, "the library did not write it");
}

int run(Options const& options)
{
    LibraryLog log(options.verbose);
    Scene scene = loadScene(options);
    DetectSetup setup;
    setup.width = options.width;
    setup.height = options.height();
    setup.threads = options.threads;
    setup.cameraStride = 256 / options.cameras;
    setup.tolerance = options.tolerance;
    setup.zone = placeZoneOfView(scene, options);
    OutputFiles files(options.outDir);
    setup.outFile = files.pendingDetectFile();
    std::optional<std::size_t> asRender;
    if (!options.detectAsRenderPath.empty())
        asRender = files.add(options.detectAsRenderPath);

    RayTracer tracer(scene);
    DebugImage image(setup.width, setup.height);
    Progress progress(std::uint64_t(setup.width) * setup.height);
    RunReport report;
    report.detection = runDetection(tracer, setup, log, image, progress);
    report.plaques = readBackPlaques(files.pendingDetectFile(), files.detectFile(), log);
    if (asRender)
        writeDetectAsRender(files.pendingDetectFile(), files.pendingFile(*asRender), files.finalFile(*asRender));
    std::string problem;
    if (!writePng(files.pendingPictureFile(), image, problem))
        throw InputError(files.pictureFile(), "cannot be written (" + problem + ")");
    files.commit();

    report.scene = scene.name;
    report.triangles = scene.triangles.size();
    report.width = setup.width;
    report.height = setup.height;
    report.threads = setup.threads;
    report.cameras = options.cameras;
    report.zone = setup.zone;
    report.detectFile = files.detectFile();
    report.pictureFile = files.pictureFile();
    if (asRender)
        report.renderFile = files.finalFile(*asRender);
    (options.json ? printJson : printSummary)(stdout, report);
    return 0;
}

}  // namespace

}  // namespace hlvtrace

int main(int argc, char** argv)
{
    hlvtrace::Options options;
    if (auto status = hlvtrace::parseOptions(argc, argv, options))
        return *status;
    try {
        return hlvtrace::run(options);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "hlvtrace: %s\n", error.what());
        return 1;
    }
}
