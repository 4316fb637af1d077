// Whole detection phases driven through the shared library as a renderer plug-in drives them.

#include "common/detect_file.h"
#include "common/detection_host.h"
#include "common/log_capture.h"
#include "common/plaque_cover.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <sys/wait.h>
#include <tuple>

using namespace HolvaneTest;
using Holvane::BinIO::DetectPlaqueInfo;

#ifndef HLVINFO_PATH
#define HLVINFO_PATH ""
#endif

namespace {

struct DetectFile {
    Holvane::BinIO::header_v09 header;
    Holvane::BinIO::hlvRenderSample5Aovs_t data;
};

DetectFile readBack(std::string const& path)
{
    DetectFile file;
    int hashSum = 0;
    EXPECT_EQ(Holvane::BinIO::hlvReader_v9(path.c_str(), file.header, file.data, hashSum), Holvane::BinIO::READER_OK);
    return file;
}

// Where the plaque's camera, pixel centre and distance put its point, and how far along the pixel's ray the
// scene's first surface lies.
struct PlaqueCheck {
    double surfaceGap;    // from the point to the nearest surface
    double firstHitGap;   // first hit along the pixel ray minus the plaque's distance
};

PlaqueCheck checkPlaque(DetectionHost const& host, DetectFile const& file, DetectPlaqueInfo const& plaque)
{
    Holvane::Camera::CameraRig rig;
    rig.cameras = file.header.cameras.locations;
    RenderingContext context;
    context.rig = &rig;
    context.width = file.header.widthDisplay;
    context.height = file.header.heightDisplay;
    TavPoint const camera = file.header.cameras.locations[plaque.cameraIndex];
    TavPoint const direction = context.GetCenterDirection(plaque.x, plaque.y);
    TavPoint const origin = DetectionHost::toWorld(camera, true), along = DetectionHost::toWorld(direction, false);
    double const point[3] = {origin.x + double(plaque.distance) * along.x, origin.y + double(plaque.distance) * along.y,
                             origin.z + double(plaque.distance) * along.z};
    double const o[3] = {origin.x, origin.y, origin.z}, d[3] = {along.x, along.y, along.z};
    AnalyticScene::Hit hit;
    host.scene.intersect(o, d, 1e30, hit);
    return {host.scene.distanceToSurface(point), hit.t - plaque.distance};
}

// The points of the plaques that the buckets received that no plaque of the file covers. Extrapolated plaques
// rest on a sample's plane rather than on a surface and are not asked about.
std::size_t pointsLeftUncovered(DetectFile const& file, std::vector<DetectPlaqueInfo> const& recorded)
{
    std::size_t const cameras = file.header.cameras.locations.size();
    Holvane::Camera::CameraRig rig;
    rig.cameras = rig.camerasWorld = file.header.cameras.locations;
    rig.cameraWeights.assign(cameras, 1.0f);
    rig.cameraMasks.assign(cameras, 0u);
    RenderingContext context;
    context.rig = &rig;
    context.width = file.header.widthDisplay;
    context.height = file.header.heightDisplay;
    PlaqueCover const cover(context, file.data.fillHoles, 4.0f);
    std::size_t uncovered = 0;
    for (DetectPlaqueInfo const& plaque : recorded)
        if (!plaque.isExtrapolated && !cover.covers(GetPlaqueInfo(context, plaque, 1.0f).center))
            ++uncovered;
    return uncovered;
}

class DetectionPhase : public ::testing::Test {
protected:
    LogCapture log;  // keeps the phase's lines off the console
    std::string path = tempFile("detect");
    void TearDown() override { std::remove(path.c_str()); }
};

}  // namespace

// Four threads at once: the file holds what the buckets received, cleaned of repeated and covered plaques, no
// camera pixel twice, and each plaque's camera, pixel and distance lead back to a surface that the camera
// really sees there.
TEST_F(DetectionPhase, FourThreadsRecordEachVisiblePatchOnceUnderTheCameraThatSeesIt)
{
    DetectionHost host;
    host.camerasPerPixel = 24;
    ASSERT_TRUE(host.run(path));
    DetectFile const file = readBack(path);
    std::vector<DetectPlaqueInfo> const& plaques = file.data.fillHoles;

    EXPECT_TRUE(file.header.rtype);
    EXPECT_EQ(file.header.fillHoleCount, plaques.size());
    // The cleaning drops repeats on one layer and plaques that others cover: a small share in this scene.
    EXPECT_LE(plaques.size(), host.plaquesFlushed.load());
    EXPECT_GT(plaques.size(), host.plaquesFlushed.load() * 98 / 100);
    EXPECT_EQ(file.data.completion.size(), host.width * host.height);
    ASSERT_GT(plaques.size(), 10000u);

    std::set<std::tuple<int, int, int, int>> seen;  // camera, pixel and level: a folded plaque keeps a pixel
    std::size_t off = 0, extrapolated = 0;
    for (DetectPlaqueInfo const& plaque : plaques) {
        EXPECT_EQ(plaque.isTransparent, 0);
        if (plaque.isExtrapolated) {  // rests on the sample's plane and claims no pixel: it may repeat
            ++extrapolated;
            continue;
        }
        EXPECT_TRUE(seen.insert({plaque.cameraIndex, plaque.x, plaque.y, plaque.level}).second)
            << "camera " << int(plaque.cameraIndex) << " pixel " << plaque.x << "," << plaque.y << " twice";
        PlaqueCheck const check = checkPlaque(host, file, plaque);
        if (check.surfaceGap > 0.01 + 1e-4 * plaque.distance || std::fabs(check.firstHitGap) > 0.01 + 1e-4 * plaque.distance)
            ++off;
    }
    // Samples on grazing surfaces keep the hit of the ray towards the point rather than the pixel's own ray.
    EXPECT_LT(off, plaques.size() / 1000) << off << " of " << plaques.size() << " plaques off their surface";
    EXPECT_LT(extrapolated, plaques.size() / 50);
}

// The memory-buffer route (as a host carrying buffers between processes uses it) gives the file the same
// content as the spool route, and the file is what hlvinfo shows.
TEST_F(DetectionPhase, SpoolAndMemoryBufferRoutesWriteTheSameContent)
{
    DetectionHost spool, memory;
    spool.concurrent = memory.concurrent = false;
    spool.camerasPerPixel = memory.camerasPerPixel = 6;
    memory.route = DetectionHost::MEMORY_BUFFER;
    std::string const memoryPath = tempFile("detect-memory");
    ASSERT_TRUE(spool.run(path));
    ASSERT_TRUE(memory.run(memoryPath));
    DetectFile const a = readBack(path), b = readBack(memoryPath);
    std::remove(memoryPath.c_str());

    ASSERT_EQ(a.data.fillHoles.size(), b.data.fillHoles.size());
    ASSERT_GT(a.data.fillHoles.size(), 0u);
    EXPECT_EQ(std::memcmp(a.data.fillHoles.data(), b.data.fillHoles.data(), a.data.fillHoles.size() * 28), 0);
    EXPECT_EQ(a.data.completion, b.data.completion);
    EXPECT_EQ(a.header.fillHoleCount, b.header.fillHoleCount);
    // Cleaning takes away repeats and covered plaques, never the only plaque that sees a piece of surface.
    EXPECT_EQ(memory.recorded.size(), memory.plaquesFlushed.load());
    EXPECT_LT(b.data.fillHoles.size(), memory.recorded.size());
    EXPECT_EQ(pointsLeftUncovered(b, memory.recorded), 0u) << "of " << memory.recorded.size();

    if (!*HLVINFO_PATH)
        GTEST_SKIP() << "the tool's path is not known to this build";
    std::string const out = tempFile("hlvinfo");
    int const status = std::system((std::string(HLVINFO_PATH) + " --json " + path + " >" + out).c_str());
    std::FILE* file = std::fopen(out.c_str(), "rb");
    std::string text(1 << 16, '\0');
    text.resize(std::fread(&text[0], 1, text.size(), file));
    std::fclose(file);
    std::remove(out.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_NE(text.find("{\"name\":\"fillHoles\",\"count\":" + std::to_string(a.data.fillHoles.size()) + ","),
              std::string::npos)
        << text.substr(0, 600);
}
