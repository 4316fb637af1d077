// Folding of small neighbouring plaques: four plaques of a 2 x 2 cell of one camera, face and layer become one
// plaque of twice the size, up to three times over, so that the render phase shades fewer points.

#include <holvane/fillhole.h>
#include <holvane/logger.h>

#include "camera/cube_image.h"
#include "camera/vector_math.h"
#include "files/redundancies.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

namespace {

using Logger::HvOutputLogString;

constexpr std::uint32_t kNoCandidate = 0x7FFFFFFF;
constexpr float kSmallestDistance = 1.1920929e-7f;

// The records of one camera that may start a quad: from its first record up to, not including, its last.
struct CameraRange {
    std::size_t first;
    std::size_t last;
};

std::array<CameraRange, 256> cameraRanges(std::vector<DetectPlaqueInfo> const& records)
{
    std::array<CameraRange, 256> ranges;
    ranges.fill({records.size(), 0});
    for (std::size_t i = 0; i < records.size(); ++i) {
        CameraRange& range = ranges[records[i].cameraIndex];
        range.first = std::min(range.first, i);
        range.last = std::max(range.last, i);
    }
    return ranges;
}

// width x height, or 0 when the product doesn't fit in 64 bits (no such image can be held).
std::size_t countPixels(unsigned long long width, unsigned long long height)
{
    if (height != 0 && width > std::numeric_limits<unsigned long long>::max() / height)
        return 0;
    return width * height;
}

// One pass over a list at one resolution of the cube image.
class FoldingPass {
public:
    FoldingPass(std::vector<DetectPlaqueInfo>& records, unsigned long long width, unsigned long long height,
                float threshold, bool smallOnly)
        : records(records),
          width(width),
          height(height),
          threshold(threshold),
          smallOnly(smallOnly),
          pixelCount(countPixels(width, height)),
          pixelAngle(std::sin(6.2831854820251465 / static_cast<double>(width))),
          absorbed(records.size(), false),
          promoted(records.size(), false)
    {
    }

    void foldEveryCamera()
    {
        std::array<CameraRange, 256> const ranges = cameraRanges(records);
        for (CameraRange const& range : ranges) {
            if (range.first >= range.last)  // no record, or a single one: nothing can start a quad
                continue;
            if (pixelCount == 0)  // no image to place the records in
                return;
            if (grid.empty()) {
                grid.assign(pixelCount, kNoCandidate);
                below = Internal::nextRowMap(width, height);
            }
            enterCandidates(range);
            foldQuads(range);
            clearCandidates(range);
        }
    }

    // Promoted records go to `isolated`, absorbed ones are dropped, the others stay in order.
    void split(std::vector<DetectPlaqueInfo>& isolated)
    {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < records.size(); ++i) {
            if (promoted[i])
                isolated.push_back(records[i]);
            else if (!absorbed[i])
                records[kept++] = records[i];
        }
        records.resize(kept);
    }

private:
    std::vector<DetectPlaqueInfo>& records;
    unsigned long long const width;
    unsigned long long const height;
    float const threshold;
    bool const smallOnly;
    std::size_t const pixelCount;
    double const pixelAngle;  // sine of one pixel's angle on a circle of `width` pixels
    std::vector<bool> absorbed;
    std::vector<bool> promoted;
    std::vector<std::uint32_t> grid;    // record index per pixel of the current camera, or kNoCandidate
    std::vector<std::uint64_t> below;   // pixel index of the pixel below on the same face, or 0

    // Records of a damaged list may lie outside the image: they never enter the grid nor start a quad.
    bool inImage(DetectPlaqueInfo const& record) const { return record.x < width && record.y < height; }
    std::size_t pixelIndex(DetectPlaqueInfo const& record) const { return record.y * width + record.x; }
    bool marked(std::size_t i) const { return absorbed[i] || promoted[i]; }

    // Small enough when its size on the surface, grown by its tilt to the view, is below the threshold.
    bool isSmall(DetectPlaqueInfo const& record) const
    {
        TavPoint const direction = Internal::pixelDirection(width, height, record.x, record.y).direction;
        float const facing = std::fabs(Internal::dot(direction, record.normal));
        float const distance = std::max(record.distance, kSmallestDistance);
        return threshold > static_cast<double>(distance) / static_cast<double>(facing) * pixelAngle;
    }

    // A later record of a pixel takes the place of an earlier one.
    void enterCandidates(CameraRange const& range)
    {
        for (std::size_t i = range.first; i < range.last; ++i) {
            DetectPlaqueInfo const& record = records[i];
            if (inImage(record) && (!smallOnly || isSmall(record)))
                grid[pixelIndex(record)] = static_cast<std::uint32_t>(i);
        }
    }

    // Puts back the grid as it was, at the cost of this camera's records rather than of the whole image.
    void clearCandidates(CameraRange const& range)
    {
        for (std::size_t i = range.first; i < range.last; ++i)
            if (inImage(records[i]))
                grid[pixelIndex(records[i])] = kNoCandidate;
    }

    bool usable(std::uint32_t candidate) const { return candidate != kNoCandidate && !marked(candidate); }

    // A record at even x and y, itself in the grid or not, with its right, lower and lower right neighbours.
    // An entry 0 of `below` (another face below, or the last row) is not treated apart: the quad test
    // refuses pixels 0 and 1 by their face unless they really are the neighbours.
    bool findQuad(std::size_t i, std::array<std::size_t, 4>& quad) const
    {
        DetectPlaqueInfo const& record = records[i];
        if ((record.x & 1) || (record.y & 1) || marked(i) || !inImage(record))
            return false;
        std::size_t const p = pixelIndex(record);
        // The last pixel of the image has no right neighbour, and the pixel below the last row's right end
        // none either: both would lie beyond the grid.
        if (p + 1 >= grid.size() || !usable(grid[p + 1]))
            return false;
        std::uint64_t const b = below[p];
        if (b + 1 >= grid.size() || !usable(grid[b]) || !usable(grid[b + 1]))
            return false;
        quad = {i, grid[p + 1], grid[b], grid[b + 1]};
        return true;
    }

    // All four on the face of the first, and each depth on the layer of their mean.
    bool quadFolds(std::array<std::size_t, 4> const& quad) const
    {
        DetectPlaqueInfo const& q0 = records[quad[0]];
        for (int k = 1; k < 4; ++k)
            if (!Internal::sameFace(q0.x, q0.y, records[quad[k]].x, records[quad[k]].y, height))
                return false;
        float const mean = meanOf(quad, [](DetectPlaqueInfo const& r) { return r.distance; });
        for (std::size_t index : quad)
            if (!Internal::onSameLayer(mean, records[index].distance, 100.0, width))
                return false;
        return true;
    }

    template <typename Field>
    float meanOf(std::array<std::size_t, 4> const& quad, Field field) const
    {
        return (field(records[quad[0]]) + field(records[quad[1]]) + field(records[quad[2]]) +
                field(records[quad[3]])) *
               0.25f;
    }

    // The first record stands for the four at half the resolution: mean distance, mean normal (not
    // renormalised).
    void fold(std::array<std::size_t, 4> const& quad)
    {
        float const distance = meanOf(quad, [](DetectPlaqueInfo const& r) { return r.distance; });
        TavPoint const normal = {meanOf(quad, [](DetectPlaqueInfo const& r) { return r.normal.x; }),
                                 meanOf(quad, [](DetectPlaqueInfo const& r) { return r.normal.y; }),
                                 meanOf(quad, [](DetectPlaqueInfo const& r) { return r.normal.z; })};
        DetectPlaqueInfo& first = records[quad[0]];
        first.distance = distance;
        first.normal = normal;
        first.x = static_cast<std::uint16_t>(first.x >> 1);
        first.y = static_cast<std::uint16_t>(first.y >> 1);
        promoted[quad[0]] = true;
        for (int k = 1; k < 4; ++k)
            absorbed[quad[k]] = true;
    }

    void foldQuads(CameraRange const& range)
    {
        std::array<std::size_t, 4> quad;
        for (std::size_t i = range.first; i < range.last; ++i)
            if (findQuad(i, quad) && quadFolds(quad))
                fold(quad);
    }
};

void logResult(std::size_t initial, std::size_t remaining, std::size_t isolated)
{
    if (initial == 0) {
        // "remaning" is how the line has always been spelled
        HvOutputLogString(Logger::DEBUG, "Filtering result: %d isolated, %d remaning, (0%% gained)\n", int(isolated),
                          int(remaining));
        return;
    }
    long long const gained = static_cast<long long>(initial) - static_cast<long long>(remaining + isolated);
    float const percent = 100.0f * static_cast<float>(gained) / static_cast<float>(initial);
    HvOutputLogString(Logger::DEBUG, "Filtering result: %d isolated, %d remaning, (%f%% gained)\n", int(isolated),
                      int(remaining), percent);
}

}  // namespace

void filterPlaques(std::vector<DetectPlaqueInfo>& records, unsigned long long width, unsigned long long height,
                   float threshold, bool smallOnly, std::vector<DetectPlaqueInfo>& isolated)
{
    std::size_t const initial = records.size();
    if (smallOnly)
        HvOutputLogString(Logger::DEBUG, "Filtering plaques smaller than %f among %d samples\n", threshold,
                          int(initial));
    else
        HvOutputLogString(Logger::DEBUG, "Filtering similar plaques among %d samples\n", int(initial));
    FoldingPass pass(records, width, height, threshold, smallOnly);
    pass.foldEveryCamera();
    pass.split(isolated);
    logResult(initial, records.size(), isolated.size());
}

void resizePlaques(std::vector<DetectPlaqueInfo>& records, unsigned long long factor)
{
    double const power = std::log2(static_cast<double>(factor));
    double wholePower = 0.0;
    float const fraction = static_cast<float>(std::modf(power, &wholePower));
    if (std::fabs(fraction) > 1.1920929e-7f)
        HvOutputLogString(Logger::WARNING, "Resizing is not a power of 2\n");
    // log2(0) has no whole part: a factor 0 gives level 0 (and coordinates 0).
    auto const level = static_cast<std::uint8_t>(factor == 0 ? 0 : static_cast<unsigned>(wholePower));
    for (DetectPlaqueInfo& record : records) {
        record.level = level;
        record.x = static_cast<std::uint16_t>(record.x * factor);
        record.y = static_cast<std::uint16_t>(record.y * factor);
    }
}

void filterPlaqueLevels(RenderingContext const& context, float threshold, std::vector<DetectPlaqueInfo>& records)
{
    unsigned long long const width = context.width;
    unsigned long long const height = context.height;
    // What a pass leaves in its list couldn't be folded again; what it promotes goes on to the next pass.
    std::vector<DetectPlaqueInfo> halves;
    std::vector<DetectPlaqueInfo> quarters;
    std::vector<DetectPlaqueInfo> eighths;
    filterPlaques(records, width, height, threshold, true, halves);
    if (!halves.empty())
        filterPlaques(halves, width >> 1, height >> 1, threshold, true, quarters);
    if (!quarters.empty())
        filterPlaques(quarters, width >> 2, height >> 2, threshold, true, eighths);
    resizePlaques(halves, 2);
    resizePlaques(quarters, 4);
    resizePlaques(eighths, 8);
    records.insert(records.end(), halves.begin(), halves.end());
    records.insert(records.end(), quarters.begin(), quarters.end());
    records.insert(records.end(), eighths.begin(), eighths.end());
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
