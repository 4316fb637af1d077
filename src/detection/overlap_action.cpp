#include "detection/overlap_action.h"

#include <holvane/overlap.h>

#include "camera/vector_math.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace Holvane {
namespace Internal {

float overlapSearchRadius(RenderingContext const& context, Plaque const& plaque)
{
    float largest = 0.0f;
    for (TavPoint const& corner : plaque.corners) {
        float const d = length(sub(corner, plaque.center));
        if (d > largest)
            largest = d;
    }
    float const byImage = (2.0f * plaque.distance * 3.1415927f / static_cast<float>(context.height)) * 10.0f;
    return std::min(4.0f * largest, byImage);
}

bool pointInTriangle(TavPoint const& p, TavPoint const& a, TavPoint const& b, TavPoint const& c)
{
    TavPoint const ab = sub(b, a);
    TavPoint const ac = sub(c, a);
    TavPoint const ap = sub(p, a);
    TavPoint const normal = {ab.y * ac.z - ab.z * ac.y, ab.z * ac.x - ab.x * ac.z, ab.x * ac.y - ab.y * ac.x};
    double const nx = normal.x, ny = normal.y, nz = normal.z;
    if (nx * nx + ny * ny + nz * nz < 9.99999949475751e-09)
        return length(sub(a, p)) < 0.0002;

    // Work in the plane of the two axes left when the one the normal leans on most is dropped; a tie drops
    // x before y.
    double const ax = std::fabs(nx), ay = std::fabs(ny), az = std::fabs(nz);
    auto const uv = [&](TavPoint const& v) -> std::array<double, 2> {
        if (ax >= ay && ax >= az)
            return {v.y, v.z};
        if (ay >= az)
            return {v.z, v.x};
        return {v.x, v.y};
    };
    std::array<double, 2> const e1 = uv(ab), e2 = uv(ac), d = uv(ap);
    double const det = e1[0] * e2[1] - e1[1] * e2[0];
    double const v = (d[0] * e2[1] - d[1] * e2[0]) / det;
    double const w = (e1[0] * d[1] - e1[1] * d[0]) / det;
    return v >= -0.005 && w >= -0.005 && 1.005 >= v + w;
}

}  // namespace Internal
}  // namespace Holvane

namespace {

using namespace Holvane::Internal;

constexpr int kMainPointCount = 5;  // four corners, then the centre
constexpr int kCentrePoint = 4;
constexpr int kExtendedPointCount = 8;
constexpr float kInnerPointFactor = 0.909f;

float cameraWeight(RenderingContext const& context, unsigned camera)
{
    if (context.rig && camera < context.rig->cameraWeights.size())
        return context.rig->cameraWeights[camera];
    return 0.0f;  // a camera the rig does not have weighs nothing
}

// Main point `index` of a plaque: a corner pulled towards the centre, or the centre itself.
TavPoint mainPoint(Plaque const& plaque, int index)
{
    if (index == kCentrePoint)
        return plaque.center;
    return add(plaque.center, scaled(sub(plaque.corners[index], plaque.center), kInnerPointFactor));
}

bool coversPoint(Plaque const& cover, TavPoint const& p)
{
    TavPoint const* c = cover.corners;
    return pointInTriangle(p, c[0], c[1], c[2]) || pointInTriangle(p, c[2], c[3], c[1]);
}

// The first candidate, in the list's order, that covers point `q` of `plaque` seen along the plaque's normal;
// -1 when none does.
int findCover(std::vector<Plaque> const& plaques, std::vector<int> const& candidates, Plaque const& plaque,
              TavPoint const& q)
{
    TavPoint const start = add(q, scaled(plaque.normal, 10000.0f));
    TavPoint const along = sub(q, start);
    float const offCentre = length(sub(q, plaque.center));
    for (int const index : candidates) {
        if (index < 0 || static_cast<std::size_t>(index) >= plaques.size())
            continue;
        Plaque const& cover = plaques[index];
        float const f = dot(cover.normal, along);
        TavPoint const hit = std::fabs(f) > 1.1920929e-07f
                                 ? add(start, scaled(along, dot(sub(cover.center, start), cover.normal) / f))
                                 : cover.center;
        // Strict: a plaque's centre is not covered by a twin whose centre is the same point.
        if (coversPoint(cover, hit) && length(sub(hit, cover.center)) + offCentre > length(sub(hit, q)))
            return index;
    }
    return -1;
}

// The covers' average size, in float summed in double, against the plaque's own, and their average weight
// against its camera's.
bool coversAreWorse(PlaqueKDTree const& tree, Plaque const& plaque, float sizeSum, float weightSum, int counted)
{
    float const averageSize = sizeSum / static_cast<float>(counted);
    float const averageWeight = weightSum / static_cast<float>(counted);
    if ((1.0 - static_cast<double>(tree.context.tolerance)) * plaque.size > static_cast<double>(averageSize))
        return true;
    return averageWeight > cameraWeight(tree.context, plaque.cameraIndex);
}

bool selected(std::uint16_t pointMask, int bit)
{
    return (pointMask >> bit) & 1u;
}

// Marks what the removal of a plaque leans on: the covers of its corners and extended points. The centre's
// cover is left out on purpose.
void markCovers(std::array<int, kMainPointCount + kExtendedPointCount> const& covers, std::vector<bool>& usedAsCover)
{
    for (std::size_t point = 0; point < covers.size(); ++point) {
        int const cover = covers[point];
        if (point != kCentrePoint && cover >= 0 && static_cast<std::size_t>(cover) < usedAsCover.size())
            usedAsCover[cover] = true;
    }
}

// Whether the selected points of `plaque` all have covers among `candidates`, and whether those covers are
// good enough to remove it now.
OverlapAction coverageVerdict(PlaqueKDTree const& tree, Plaque const& plaque, std::vector<int> const& candidates,
                              std::uint16_t pointMask, bool withQualityCheck, std::vector<bool>& usedAsCover)
{
    std::array<int, kMainPointCount + kExtendedPointCount> covers;
    covers.fill(-1);
    float sizeSum = 0.0f;
    float weightSum = 0.0f;
    int counted = 0;
    for (int point = 0; point < kMainPointCount; ++point) {
        if (!selected(pointMask, point))
            continue;
        int const index = findCover(tree.plaques, candidates, plaque, mainPoint(plaque, point));
        if (index < 0)
            return NoOverlap;
        Plaque const& cover = tree.plaques[index];
        if (plaque.isFrontFacing && !cover.isFrontFacing)
            return NoOverlap;
        sizeSum = static_cast<float>(static_cast<double>(sizeSum) + cover.size);
        weightSum += cameraWeight(tree.context, cover.cameraIndex);
        ++counted;
        covers[point] = index;
    }
    if (withQualityCheck && counted > 0 && coversAreWorse(tree, plaque, sizeSum, weightSum, counted))
        return Deferred;

    std::array<TavPoint, kExtendedPointCount> const extended = GetExtendedPoints(tree.context, plaque, kInnerPointFactor);
    for (int point = 0; point < kExtendedPointCount; ++point) {
        if (!selected(pointMask, kMainPointCount + point))
            continue;
        int const index = findCover(tree.plaques, candidates, plaque, extended[point]);
        if (index < 0)
            return NoOverlap;
        covers[kMainPointCount + point] = index;
    }
    if (!usedAsCover.empty())  // an empty bit list: the caller keeps no record of covers
        markCovers(covers, usedAsCover);
    return Overlapped;
}

}  // namespace

OverlapAction GetOverlapAction(PlaqueKDTree const& tree, Plaque const& plaque, std::uint16_t pointMask,
                               bool withQualityCheck, std::vector<bool>& usedAsCover)
{
    if (isDegenerate(plaque.normal))
        return InvalidPlaque;
    if (!(plaque.incidence > kEdgeOnIncidence))
        return NoOverlap;  // seen nearly edge-on: not judged
    std::vector<int> const candidates = tree.GetOverlapList(
        plaque.center, plaque.normal, overlapSearchRadius(tree.context, plaque), 0.7f, plaque.cameraIndex);
    if (candidates.empty())
        return NoOverlap;
    return coverageVerdict(tree, plaque, candidates, pointMask, withQualityCheck, usedAsCover);
}
