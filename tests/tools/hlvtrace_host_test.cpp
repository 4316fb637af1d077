// hlvtrace, run as a user runs it: its files, its summary, its refusals.

#include "files/container_fixtures.h"
#include "tools/scene_distance.h"

#include "obj_scene.h"
#include "scene.h"

#include <holvane/holvane.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <unistd.h>

#ifndef HLVTRACE_PATH
#define HLVTRACE_PATH ""  // the tool is not part of this build: the tests skip
#endif

using namespace HolvaneTest;
using namespace Holvane::BinIO;
namespace fs = std::filesystem;

namespace {

struct TempDir {
    fs::path path;
    TempDir()
    {
        char name[] = "/tmp/hlvtrace-test-XXXXXX";
        path = mkdtemp(name);
    }
    ~TempDir() { fs::remove_all(path); }
    std::string operator/(std::string const& name) const { return (path / name).string(); }
};

ToolRun runHlvtrace(TempDir const& dir, std::string const& arguments)
{
    return runTool(HLVTRACE_PATH, arguments, dir / "run");
}

// The number after "key": in the one-line JSON summary.
double jsonNumber(std::string const& json, std::string const& key)
{
    std::size_t at = json.find("\"" + key + "\": ");
    return at == std::string::npos ? -1.0 : std::atof(json.c_str() + at + key.size() + 4);
}

std::ptrdiff_t filesIn(std::string const& dir)
{
    return fs::is_directory(dir) ? std::distance(fs::directory_iterator(dir), fs::directory_iterator()) : 0;
}

// The plaque's point in the world: from its camera (box frame) along the centre of its pixel, at its
// level's resolution, as far as its distance; the header's matrix takes box coordinates to centimetres.
Point3 plaquePoint(header_v09 const& header, DetectPlaqueInfo const& plaque,
                   std::vector<std::vector<TavPoint>> const& directionsByLevel)
{
    unsigned level = plaque.level;
    unsigned long long levelWidth = header.widthDisplay >> level;
    TavPoint d = directionsByLevel[level][(plaque.y >> level) * levelWidth + (plaque.x >> level)];
    TavPoint c = header.cameras.locations[plaque.cameraIndex];
    Point3 box = {c.x + double(d.x) * plaque.distance, c.y + double(d.y) * plaque.distance,
                  c.z + double(d.z) * plaque.distance};
    auto m = [&](int row, int column) { return double(header.CamToWorld[row * 4 + column]) / header.globalScale; };
    return {box.x * m(0, 0) + box.y * m(1, 0) + box.z * m(2, 0) + m(3, 0),
            box.x * m(0, 1) + box.y * m(1, 1) + box.z * m(2, 1) + m(3, 1),
            box.x * m(0, 2) + box.y * m(1, 2) + box.z * m(2, 2) + m(3, 2)};
}

// Every opaque plaque that rests on a real hit lies on a triangle of the scene, to within its own footprint:
// a pixel at the face centre spans 4/H radians, and a plaque of level L spans 2^L pixels.
void expectPlaquesOnScene(Read9 const& file, hlvtrace::Scene const& scene)
{
    header_v09 const& header = file.header;
    std::vector<std::vector<TavPoint>> directions;
    for (unsigned level = 0; level < 4; ++level)
        directions.push_back(Holvane::Camera::generateFetchMap(header.widthDisplay >> level,
                                                               header.heightDisplay >> level));
    double const pixelAngle = 4.0 / header.heightDisplay;
    SceneDistance near(scene, 0.1, 0.25);
    std::size_t checked = 0, off = 0, extrapolated = 0;
    for (DetectPlaqueInfo const& plaque : file.data.fillHoles) {
        if (plaque.isTransparent)
            continue;
        if (plaque.isExtrapolated) {  // it rests on the plane of a neighbouring hit, not on a hit
            ++extrapolated;
            continue;
        }
        double tolerance = 1e-4 + plaque.distance * pixelAngle * double(1u << plaque.level);
        double distance = near.distance(plaquePoint(header, plaque, directions));
        ++checked;
        if (distance > tolerance && ++off <= 5)
            ADD_FAILURE() << "plaque of camera " << int(plaque.cameraIndex) << " at (" << plaque.x << ", " << plaque.y
                          << ") level " << int(plaque.level) << " lies " << distance << " from the scene";
    }
    EXPECT_EQ(off, 0u) << "of " << checked << " plaques";
    EXPECT_GT(checked, file.data.fillHoles.size() / 2) << extrapolated << " extrapolated";
}

// A PNG file whose header gives the size, in big-endian words.
bool isPng(std::string const& path, std::uint32_t width, std::uint32_t height)
{
    std::string const bytes = readBytes(path);
    std::string size;
    for (std::uint32_t value : {width, height})
        for (int shift = 24; shift >= 0; shift -= 8)
            size += char(value >> shift);
    return bytes.size() > 24 && bytes.compare(0, 8, "\x89PNG\r\n\x1a\n") == 0 && bytes.compare(16, 8, size) == 0;
}

#define SKIP_WITHOUT_HLVTRACE()                                         \
    if (!*HLVTRACE_PATH)                                                \
    GTEST_SKIP() << "hlvtrace is not part of this build"

}  // namespace

// The built-in room at the smallest cube image: a detect file that reads back whole, made with the rig in
// the default box (1 m at 1.6 m above the floor, in the middle of the room), its plaques on the room's
// surfaces, the count that the summary gives, and the debug picture.
TEST(Hlvtrace, BuiltInRoomGivesADetectFileWhosePlaquesLieOnTheScene)
{
    SKIP_WITHOUT_HLVTRACE();
    TempDir dir;
    ToolRun run = runHlvtrace(dir, "--json --cameras 8 --threads 2 --out " + dir / "out" + " --detect-as-render " +
                                       dir / "view.hlvRender");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(filesIn(dir / "out"), 2);
    Read9 file = read9(dir / "out/scene.hlvDetect");
    ASSERT_EQ(file.answer, READER_OK);
    header_v09 const& header = file.header;
    EXPECT_TRUE(header.rtype && header.widthDisplay == 312 && header.heightDisplay == 208);
    EXPECT_EQ(header.globalScale, 100.0f);
    EXPECT_FLOAT_EQ(header.boxScaleX, 1.0f);
    EXPECT_FLOAT_EQ(header.zov_distance_to_ground, 1.6f);
    EXPECT_FLOAT_EQ(header.CamToWorld[13] / header.globalScale, 1.6f);  // the box's centre, in its row
    ASSERT_EQ(header.cameras.locations.size(), 256u);
    float reach = 0.0f;  // the rig stands on the 1 m box, in scene units (metres), around its centre camera
    for (TavPoint const& c : header.cameras.locations)
        reach = std::max({reach, std::fabs(c.x), std::fabs(c.y), std::fabs(c.z)});
    EXPECT_FLOAT_EQ(reach, 0.5f);
    EXPECT_EQ(header.cameras.locations[146].x, 0.0f);
    EXPECT_EQ(header.fillHoleCount, file.data.fillHoles.size());
    EXPECT_GT(file.data.fillHoles.size(), 312u * 208u);
    EXPECT_EQ(jsonNumber(run.out, "plaques"), double(file.data.fillHoles.size()));
    EXPECT_GT(jsonNumber(run.out, "plaquesRecorded"), jsonNumber(run.out, "plaques"));  // cleaning took some
    EXPECT_LE(jsonNumber(run.out, "hits"), jsonNumber(run.out, "primaryRays"));
    EXPECT_GT(jsonNumber(run.out, "probeRays"), 0.0);
    EXPECT_TRUE(isPng(dir / "out/detect-debug.png", 312, 208));
    expectPlaquesOnScene(file, hlvtrace::builtinRoom());

    // The same plaques as a render file, one sample each, in order.
    Read9 const view = read9(dir / "view.hlvRender");
    ASSERT_EQ(view.answer, READER_OK);
    ASSERT_EQ(view.data.samples.size(), file.data.fillHoles.size());
    EXPECT_TRUE(view.data.fillHoles.empty());
    for (std::size_t i = 0; i < view.data.samples.size(); i += 97) {
        EXPECT_EQ(view.data.samples[i].cameraIndex, file.data.fillHoles[i].cameraIndex);
        EXPECT_EQ(view.data.samples[i].x, file.data.fillHoles[i].x);
        EXPECT_EQ(view.data.samples[i].level, file.data.fillHoles[i].level);
    }
}

// With one thread the work runs in one order, so the file comes out byte for byte the same.
TEST(Hlvtrace, OneThreadWritesTheSameBytesTwice)
{
    SKIP_WITHOUT_HLVTRACE();
    TempDir dir;
    ASSERT_EQ(runHlvtrace(dir, "--cameras 2 --threads 1 --out " + dir / "a").status, 0);
    ASSERT_EQ(runHlvtrace(dir, "--cameras 2 --threads 1 --out " + dir / "b").status, 0);
    std::string a = readBytes(dir / "a/scene.hlvDetect"), b = readBytes(dir / "b/scene.hlvDetect");
    EXPECT_GT(a.size(), 1000u);
    EXPECT_TRUE(a == b);
}

char const* const cubeInARoom =
    "mtllib room.mtl\n"
    "# a 4 m room, 3 m high, its walls as quads\n"
    "v -2 0 -2\nv 2 0 -2\nv 2 0 2\nv -2 0 2\nv -2 3 -2\nv 2 3 -2\nv 2 3 2\nv -2 3 2\n"
    "o room\nusemtl wall\n"
    "f 1 2 3 4\nf 5 8 7 6\nf 1 5 6 2\nf 2 6 7 3\nf 3 7 8 4\nf 4 8 5 1\n"
    "# a 60 cm cube on the floor; its top has no material\n"
    "v 0.5 0 0.5\nv 1.1 0 0.5\nv 1.1 0 1.1\nv 0.5 0 1.1\nv 0.5 0.6 0.5\nv 1.1 0.6 0.5\nv 1.1 0.6 1.1\nv 0.5 0.6 1.1\n"
    "o cube\nusemtl red\n"
    "f 9 10 11 12\nf 9 13 14 10\nf 10 14 15 11\nf 11 15 16 12\nf 12 16 13 9\n"
    "usemtl nowhere\nf 13 16 15 14\n";

// An OBJ scene with its MTL colours: the default box, 1 m on a side, stands in the middle of the room at eye
// height, and the plaques lie on the room and the cube.
TEST(Hlvtrace, ObjCubeInARoom)
{
    SKIP_WITHOUT_HLVTRACE();
    TempDir dir;
    writeBytes(dir / "room.obj", cubeInARoom);
    writeBytes(dir / "room.mtl", "newmtl wall\nKd 0.8 0.8 0.7\nnewmtl red\nKd 0.9 0.1 0.1\n");
    ToolRun run = runHlvtrace(dir, "--json --cameras 8 --scene " + dir / "room.obj" + " --out " + dir / "out");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("\"boxCenter\": [0, 1.6, 0], \"boxSize\": [1, 1, 1]"), std::string::npos) << run.out;
    EXPECT_EQ(jsonNumber(run.out, "triangles"), 24.0);

    std::vector<std::string> warnings;
    hlvtrace::Scene scene = hlvtrace::loadObjScene(dir / "room.obj", warnings);
    ASSERT_EQ(scene.materials.size(), 3u);  // wall, red, and the grey of faces without a known material
    EXPECT_FLOAT_EQ(scene.materials[scene.triangleMaterials.back()].diffuse.x, hlvtrace::defaultGrey.x);
    EXPECT_FLOAT_EQ(scene.materials[scene.triangleMaterials[12]].diffuse.x, 0.9f);
    Read9 file = read9(dir / "out/scene.hlvDetect");
    ASSERT_EQ(file.answer, READER_OK);
    expectPlaquesOnScene(file, scene);
}

// A scene or an output directory that can't be used: one line on standard error naming the file and the
// problem, status 1, and nothing in the output directory.
TEST(Hlvtrace, RefusesInputsItCannotUse)
{
    SKIP_WITHOUT_HLVTRACE();
    TempDir dir;
    writeBytes(dir / "far.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n");
    writeBytes(dir / "points.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\n");
    writeBytes(dir / "flat.obj", "v 0 0 0\nv 1 0 0\nv 0 0 1\nf 1 2 3\n");
    fs::create_directory(dir / "folder.obj");
    struct Case {
        std::string file, problem;
    } const cases[] = {
        {dir / "missing.obj", "cannot be opened (No such file or directory)"},
        {dir / "far.obj", "a face refers to vertex 9 but the file has 3"},
        {dir / "points.obj", "holds no triangle"},
        {dir / "flat.obj", "the scene is flat, so the default zone of view holds no space (give --box-size)"},
        {dir / "folder.obj", "cannot be read (is it a directory?)"},
    };
    for (Case const& c : cases) {
        ToolRun run = runHlvtrace(dir, "--scene " + c.file + " --out " + dir / "out");
        EXPECT_EQ(run.status, 1) << c.file;
        EXPECT_EQ(run.err, "hlvtrace: " + c.file + ": " + c.problem + "\n");
        EXPECT_EQ(filesIn(dir / "out"), 0) << c.file;
    }
    writeBytes(dir / "taken", "");
    ToolRun run = runHlvtrace(dir, "--cameras 1 --out " + dir / "taken");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "hlvtrace: " + dir / "taken" + ": cannot be created (Not a directory)\n");
    run = runHlvtrace(dir, "--cameras 1 --out " + dir / "out" + " --detect-as-render " + dir / "no/view.hlvRender");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "hlvtrace: " + dir / "no/view.hlvRender" + ": cannot be written (its directory doesn't exist)\n");
}

// Bad options are usage errors: status 2, a message that names the option, and no work done.
TEST(Hlvtrace, RefusesBadOptions)
{
    SKIP_WITHOUT_HLVTRACE();
    TempDir dir;
    struct Case {
        std::string arguments, says;
    } const cases[] = {
        {"--width 288", "multiple of 24 from 312 to 6000"},
        {"--width 320", "multiple of 24 from 312 to 6000"},
        {"--width 6024", "multiple of 24 from 312 to 6000"},
        {"--width wide", "multiple of 24 from 312 to 6000"},
        {"--threads 0", "--threads"},
        {"--cameras 12", "--cameras"},
        {"--box-size 0", "the box holds no space"},
        {"--box-size 1,-1,1", "the box holds no space"},
        {"--box-size 1,2", "expects X,Y,Z or one number"},
        {"--box-center 1,2", "expects X,Y,Z"},
        {"--scale 0", "--scale"},
        {"--scale nan", "--scale"},
        {"--box-center 1,nan,2", "expects finite numbers"},
        {"--tolerance 1.5", "--tolerance"},
        {"--frobnicate", "--frobnicate"},
    };
    for (Case const& c : cases) {
        ToolRun run = runHlvtrace(dir, c.arguments + " --out " + dir / "out");
        EXPECT_EQ(run.status, 2) << c.arguments;
        EXPECT_NE(run.err.find(c.says), std::string::npos) << c.arguments << ": " << run.err;
        EXPECT_FALSE(fs::exists(dir / "out")) << c.arguments;
    }
    ToolRun help = runHlvtrace(dir, "--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("--box-center"), std::string::npos);
    ToolRun version = runHlvtrace(dir, "--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.rfind("hlvtrace ", 0), 0u) << version.out;
}
