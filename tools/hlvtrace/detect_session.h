#ifndef HLVTRACE_DETECT_SESSION_H
#define HLVTRACE_DETECT_SESSION_H

// The library's session for one detection phase: what a renderer plug-in sets before the first ray.

#include "zone_of_view.h"

#include <holvane/types.h>

#include <string>

namespace hlvtrace {

// hlvtrace's number among the render engines that write Holvane files.
constexpr Holvane::Util::RenderingEngineId hlvtraceEngine = Holvane::Util::RenderingEngineId(77);

struct DetectSetup {
    unsigned width = 312, height = 208;  // the cube image
    unsigned threads = 1;                // one bucket each
    unsigned tileSide = 32;              // buckets are tiles of this side
    unsigned cameraStride = 1;           // cameras whose index is a multiple of it shoot
    ZoneOfView zone;
    double tolerance = 0.25;
    std::string outFile;  // where HvPhaseTerminate writes the hlvDetect file
};

class LibraryLog;

// HvInitPhase, every setter, HvPhaseBegin. Throws std::runtime_error with the library's last error when the
// phase doesn't begin.
void beginDetection(DetectSetup const& setup, LibraryLog const& log);

}  // namespace hlvtrace

#endif
