#ifndef HLVTRACE_DETECT_DRIVER_H
#define HLVTRACE_DETECT_DRIVER_H

// The detection phase from begin to end: the cube image cut into tiles, the tiles shared among the worker
// threads, each tile a region of its thread's bucket, then the finalisation that writes the hlvDetect file.

#include "debug_image.h"
#include "detect_session.h"
#include "progress.h"
#include "ray_tracer.h"
#include "thread_stats.h"

#include <vector>

namespace hlvtrace {

struct Tile {
    int xMin, yMin, xMax, yMax;  // the maxima exclusive
};

// Tiles of `side` pixels, row after row; the last column and row may be narrower.
std::vector<Tile> cutIntoTiles(unsigned width, unsigned height, unsigned side);

struct DetectionResult {
    ThreadStats totals;
    double tracingSeconds = 0.0;     // wall time of the tiles
    double finalisingSeconds = 0.0;  // wall time of HvPhaseTerminate
};

// Runs the phase. Throws std::runtime_error, with the library's last word, when the library stops it; the
// phase is then aborted and no file written.
DetectionResult runDetection(RayTracer const& tracer, DetectSetup const& setup, LibraryLog const& log,
                             DebugImage& image, Progress& progress);

}  // namespace hlvtrace

#endif
