#ifndef HLVTRACE_OPTIONS_H
#define HLVTRACE_OPTIONS_H

#include "vec3.h"

#include <optional>
#include <string>

namespace hlvtrace {

struct Options {
    std::string scenePath;  // empty: the built-in room
    std::string outDir = "out";
    unsigned width = 312;   // of the cube image; the height is two thirds of it
    unsigned threads = 1;
    unsigned cameras = 256;  // how many of the rig's cameras shoot, spread evenly; a power of two
    std::optional<Vec3> boxCentre;  // scene units
    std::optional<Vec3> boxSize;    // scene units, along x, y and z
    double scale = 100.0;           // centimetres per scene unit
    double tolerance = 0.25;
    std::string detectAsRenderPath;  // empty: no render file of the detection
    bool json = false;
    bool verbose = false;

    unsigned height() const { return width / 3 * 2; }
};

// Reads the command line. Answers an exit status when the program is to stop here: 0 after --help or
// --version, 2 after a usage error (the message is printed).
std::optional<int> parseOptions(int argc, char** argv, Options& options);

}  // namespace hlvtrace

#endif
