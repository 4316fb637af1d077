#ifndef HLVTRACE_SUMMARY_H
#define HLVTRACE_SUMMARY_H

// What a run reports at its end: readable lines, or one JSON object for scripts.

#include "detect_driver.h"
#include "zone_of_view.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace hlvtrace {

struct RunReport {
    std::string scene;
    std::size_t triangles = 0;
    unsigned width = 0, height = 0, threads = 0, cameras = 256;
    ZoneOfView zone;
    DetectionResult detection;
    std::uint64_t plaques = 0;  // as the written file counts them
    std::string detectFile, pictureFile;
    std::string renderFile;  // the detection as a render file, when asked for

    double raysPerSecond() const;
    // Shares of the threads' busy time: inside Embree, inside the library, and the host's own work.
    double embreeShare() const;
    double libraryShare() const;
};

void printSummary(std::FILE* out, RunReport const& report);
void printJson(std::FILE* out, RunReport const& report);

}  // namespace hlvtrace

#endif
