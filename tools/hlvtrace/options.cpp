#include "options.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#ifndef HLVTRACE_VERSION
#define HLVTRACE_VERSION "unknown"
#endif

namespace hlvtrace {

namespace {

char const* const description =
    "hlvtrace: the reference host of Holvane. Ray traces a scene with Embree and drives the library's detection\n"
    "phase: the rig of 256 cameras in the zone of view shoots through every pixel of the cube image, and the\n"
    "plaques that the library keeps are written to DIR/scene.hlvDetect, with DIR/detect-debug.png painted in\n"
    "the colours the library answers. Without --scene it traces a furnished room made in code.";

// The library takes a 3:2 image whose sides are multiples of 8, 312 to 6000 pixels wide.
CLI::Validator const cubeImageWidth(
    [](std::string& text) -> std::string {
        char* end = nullptr;
        unsigned long width = std::strtoul(text.c_str(), &end, 10);
        if (text.empty() || *end != '\0' || width < 312 || width > 6000 || width % 24 != 0)
            return "the width must be a multiple of 24 from 312 to 6000 (the height is two thirds of it)";
        return "";
    },
    "312..6000, multiple of 24");

// Ranges let NaN through, as every comparison with it is false.
CLI::Validator const finite(
    [](std::string& text) -> std::string {
        double value = std::strtod(text.c_str(), nullptr);
        return std::isfinite(value) ? "" : "not a finite number: " + text;
    },
    "");

// Vectors come as X,Y,Z; a size may also be one number for a cube.
Vec3 vectorValue(std::vector<float> const& values, char const* option, bool oneAllowed)
{
    for (float value : values)
        if (!std::isfinite(value))
            throw CLI::ValidationError(option, "expects finite numbers");
    if (values.size() == 3)
        return {values[0], values[1], values[2]};
    if (oneAllowed && values.size() == 1)
        return {values[0], values[0], values[0]};
    throw CLI::ValidationError(option, oneAllowed ? "expects X,Y,Z or one number" : "expects X,Y,Z");
}

void checkBoxSize(Vec3 size)
{
    if (!(size.x > 0.0f && size.y > 0.0f && size.z > 0.0f) || !isFinite(size))
        throw CLI::ValidationError("--box-size", "the box holds no space: every side must be above 0");
}

void addOptions(CLI::App& app, Options& options, std::vector<float>& centre, std::vector<float>& size)
{
    app.add_option("--scene", options.scenePath, "Wavefront OBJ scene (with its MTL colours); default: built-in room")
        ->type_name("FILE.obj");
    app.add_option("--out", options.outDir, "Directory of the output files")->type_name("DIR")->capture_default_str();
    app.add_option("--width", options.width, "Width of the cube image; the height is two thirds of it")
        ->check(cubeImageWidth)
        ->capture_default_str();
    app.add_option("--threads", options.threads, "Worker threads (default: all cores)")
        ->check(CLI::Range(1u, 1024u))
        ->capture_default_str();
    app.add_option("--cameras", options.cameras,
                   "Shoot from this many of the rig's 256 cameras, spread evenly: a quicker, sparser detection "
                   "(the library still gives each point to the best of all 256)")
        ->check(CLI::IsMember({1u, 2u, 4u, 8u, 16u, 32u, 64u, 128u, 256u}))
        ->capture_default_str();
    app.add_option("--box-center", centre, "Centre of the zone of view, scene units (default: eye height, 1.6 m "
                                           "above the ground, in the middle of the scene)")
        ->delimiter(',')
        ->type_name("X,Y,Z");
    app.add_option("--box-size", size, "Sides of the zone of view along x, y, z, scene units (default: 1 m, "
                                       "smaller in a small scene)")
        ->delimiter(',')
        ->type_name("S|X,Y,Z");
    app.add_option("--scale", options.scale, "Centimetres per scene unit (100: the scene is in metres)")
        ->check(finite & CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--tolerance", options.tolerance, "How much worse a camera may face a point and still own it")
        ->check(finite & CLI::Range(0.0, 1.0))
        ->capture_default_str();
    app.add_option("--detect-as-render", options.detectAsRenderPath,
                   "Also write the cleaned detection as a render file, each plaque in its camera's colour")
        ->type_name("FILE");
    app.add_flag("--json", options.json, "Print the summary as one JSON object");
    app.add_flag("--verbose", options.verbose, "Show the library's informational messages");
    app.set_version_flag("--version", std::string("hlvtrace ") + HLVTRACE_VERSION);
}

}  // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options)
{
    options.threads = std::max(1u, std::thread::hardware_concurrency());
    CLI::App app(description, "hlvtrace");
    std::vector<float> centre, size;
    addOptions(app, options, centre, size);
    try {
        app.parse(argc, argv);
        if (!centre.empty())
            options.boxCentre = vectorValue(centre, "--box-center", false);
        if (!size.empty()) {
            options.boxSize = vectorValue(size, "--box-size", true);
            checkBoxSize(*options.boxSize);
        }
    } catch (CLI::ParseError const& error) {
        int status = app.exit(error);
        return status == 0 ? 0 : 2;
    }
    return std::nullopt;
}

}  // namespace hlvtrace
