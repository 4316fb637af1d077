#include "camera/camera_rig.h"

#include "camera/vector_math.h"
#include "session/context.h"
#include "session/matrix.h"

#include <holvane/logger.h>

#include <algorithm>
#include <cmath>

namespace Holvane {
namespace Internal {

namespace {

constexpr int kCameraCount = 256;
constexpr std::uint32_t kAllFaces = 63;

// How well each camera of the rig sees, by camera index. The weights travel with the rig into the files.
constexpr unsigned char kWeights[kCameraCount] = {
    9, 18, 27, 23, 13, 22, 27, 18, 7, 13, 25, 17, 0, 11, 25, 13,
    10, 16, 28, 20, 8, 14, 26, 16, 9, 18, 27, 25, 13, 22, 27, 18,
    9, 21, 29, 22, 13, 23, 27, 18, 7, 19, 26, 11, 0, 14, 25, 13,
    10, 22, 28, 17, 8, 20, 28, 16, 9, 21, 30, 22, 13, 25, 27, 18,
    9, 21, 30, 22, 13, 23, 27, 18, 7, 19, 26, 11, 0, 17, 25, 13,
    10, 22, 29, 14, 8, 20, 28, 16, 9, 21, 30, 22, 13, 25, 27, 18,
    9, 21, 30, 22, 13, 23, 30, 21, 7, 19, 26, 11, 0, 14, 29, 19,
    10, 22, 31, 17, 8, 20, 31, 22, 9, 21, 30, 22, 13, 25, 30, 21,
    6, 12, 28, 7, 10, 25, 12, 6, 15, 24, 33, 16, 19, 31, 24, 15,
    25, 31, 34, 20, 23, 32, 31, 25, 7, 16, 29, 0, 8, 17, 16, 7,
    10, 19, 32, 11, 14, 26, 19, 10, 28, 33, 34, 34, 34, 33, 30, 28,
    12, 24, 32, 16, 19, 31, 24, 12, 6, 15, 28, 7, 10, 25, 15, 6,
    6, 12, 29, 7, 10, 28, 12, 6, 15, 24, 33, 16, 19, 31, 24, 15,
    28, 32, 34, 20, 23, 33, 31, 28, 7, 16, 29, 0, 8, 17, 16, 7,
    10, 19, 32, 11, 14, 26, 19, 10, 31, 34, 34, 34, 33, 33, 31, 31,
    12, 24, 33, 16, 19, 32, 24, 12, 6, 15, 31, 7, 10, 28, 15, 6,
};

constexpr TavPoint kCorners[8] = {{1, 1, -1}, {-1, 1, -1}, {-1, -1, -1}, {1, -1, -1},
                                  {1, -1, 1}, {1, 1, 1},   {-1, -1, 1},  {-1, 1, 1}};

// A grid of cameras on one face of the unit cube: camera (i, j) at A + (B-A)*i/n + (C-A)*j/m.
struct FaceGrid {
    int a, b, c;
    int iFirst, iLast, jFirst, jLast;
    float n, m;
};

// The side grids leave out their top and bottom rows and their last column: the neighbouring grids hold them.
constexpr FaceGrid kGrids[6] = {
    {1, 0, 2, 0, 7, 1, 4, 8, 5}, {0, 5, 3, 0, 7, 1, 4, 8, 5}, {5, 7, 4, 0, 7, 1, 4, 8, 5},
    {7, 1, 6, 0, 7, 1, 4, 8, 5}, {7, 5, 1, 0, 7, 0, 7, 7, 7}, {2, 3, 6, 0, 7, 0, 7, 7, 7},
};

// Outward normals of the box's faces, in mask bit order.
constexpr TavPoint kFaceNormals[6] = {{0, 0, -1}, {1, 0, 0}, {0, 0, 1}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}};

constexpr float kMaskMargin = 0.0001f;

std::uint32_t faceMask(TavPoint const& onUnitCube)
{
    std::uint32_t mask = 0;
    for (int bit = 0; bit < 6; ++bit) {
        if (std::fabs(dot(onUnitCube, kFaceNormals[bit]) - 1.0f) < kMaskMargin)
            mask |= 1u << bit;
    }
    return mask;
}

TavPoint divided(TavPoint const& p, float d)
{
    return {p.x / d, p.y / d, p.z / d};
}

std::vector<TavPoint> unitCubeCameras()
{
    std::vector<TavPoint> cameras(kCameraCount);
    std::size_t next = 0;
    for (FaceGrid const& grid : kGrids) {
        TavPoint const a = kCorners[grid.a];
        TavPoint const alongI = sub(kCorners[grid.b], a);
        TavPoint const alongJ = sub(kCorners[grid.c], a);
        for (int j = grid.jFirst; j <= grid.jLast; ++j) {
            for (int i = grid.iFirst; i <= grid.iLast; ++i) {
                TavPoint const di = divided(scaled(alongI, float(i)), grid.n);
                TavPoint const dj = divided(scaled(alongJ, float(j)), grid.m);
                cameras[next++] = add(add(a, di), dj);
            }
        }
    }
    return cameras;
}

// From the cube of side 2 around the origin onto the box from -50 to +50.
TavPoint ontoBox(TavPoint const& p)
{
    auto axis = [](float c) { return (c * 0.5f + 0.5f) * 100.0f - 50.0f; };
    return {axis(p.x), axis(p.y), axis(p.z)};
}

// The first camera of the greatest weight moves to the centre of the box and sees in every direction.
void placeCentreCamera(CameraRig& rig)
{
    auto const best = std::max_element(rig.cameraWeights.begin(), rig.cameraWeights.end());
    std::size_t const centre = static_cast<std::size_t>(best - rig.cameraWeights.begin());
    for (float& weight : rig.cameraWeights)
        weight += 1.0f;
    rig.cameras[centre] = {0.0f, 0.0f, 0.0f};
    rig.cameraWeights[centre] = 0.0f;
    rig.cameraMasks[centre] = kAllFaces;
}

}  // namespace

CameraRig buildBoxRig(bool allMaskBits)
{
    CameraRig rig;
    std::vector<TavPoint> const unit = unitCubeCameras();
    rig.cameras.resize(unit.size());
    rig.cameraWeights.resize(unit.size());
    rig.cameraMasks.resize(unit.size());
    for (std::size_t i = 0; i < unit.size(); ++i) {
        rig.cameras[i] = ontoBox(unit[i]);
        rig.cameraWeights[i] = static_cast<float>(kWeights[i]);
        rig.cameraMasks[i] = allMaskBits ? kAllFaces : faceMask(unit[i]);
    }
    placeCentreCamera(rig);
    return rig;
}

void buildCameraRig()
{
    HolvaneContext& s = session();
    bool const draft = s.draftMode.get();
    CameraRig rig = buildBoxRig(s.renderInsideBox || draft);

    // A draft rig collapses to the box centre, whatever the box's size.
    TavPoint const size = draft ? TavPoint{0.0f, 0.0f, 0.0f} : s.zovScaling;
    float const renderScale = s.renderScale.get();
    TavPoint const f = {size.x / renderScale, size.y / renderScale, size.z / renderScale};
    TavPoint const offset = {static_cast<float>(s.zovOffsetRight.get()), static_cast<float>(s.zovOffsetTop.get()),
                             static_cast<float>(s.zovOffsetBack.get())};
    for (TavPoint& p : rig.cameras) {
        p = {f.x * p.x + f.x * 100.0f * offset.x, f.y * p.y + f.y * 100.0f * offset.y,
             f.z * p.z + f.z * 100.0f * offset.z};
    }
    if (draft) {
        rig.cameras.assign(1, TavPoint{0.0f, 0.0f, 0.0f});
        rig.cameraWeights = std::vector<float>{10.0f};
        rig.cameraMasks = std::vector<std::uint32_t>{kAllFaces};
    }
    s.renderingContext.rig = std::move(rig);
}

void buildCameraTables()
{
    HolvaneContext& s = session();
    CameraRig& rig = s.renderingContext.rig;
    if (rig.cameras.empty()) {
        // No newline: the text is kept as the hosts have always received it.
        Logger::HvOutputLogCStr(Logger::WARNING, "Cameras were unitialized at this stage.");
        buildCameraRig();
    }
    rig.camerasWorld.resize(rig.cameras.size());
    for (std::size_t i = 0; i < rig.cameras.size(); ++i)
        rig.camerasWorld[i] = transformPoint(s.camToWorld, rig.cameras[i]);

    RenderingContext& context = s.renderingContext.context;
    auto const width = static_cast<unsigned long long>(s.outputWidth.get());
    auto const height = static_cast<unsigned long long>(s.outputHeight.get());
    context.fetchMap = Camera::generateFetchMap(width, height);
    context.width = width;
    context.height = height;
    context.renderScale = s.renderScale.get();
    context.tolerance = static_cast<float>(s.renderingContext.tolerance);
}

std::size_t completeCameraCount(CameraRig const& rig)
{
    return std::min({rig.cameras.size(), rig.cameraWeights.size(), rig.cameraMasks.size(), rig.camerasWorld.size()});
}

bool maskAllowsDirection(std::uint32_t mask, TavPoint const& d)
{
    std::uint32_t passing = 0;
    passing |= (d.z - kMaskMargin < 0.0f) ? 1u : 0u;
    passing |= (d.x + kMaskMargin >= 0.0f) ? 2u : 0u;
    passing |= (d.z + kMaskMargin >= 0.0f) ? 4u : 0u;
    passing |= (d.x - kMaskMargin < 0.0f) ? 8u : 0u;
    passing |= (d.y + kMaskMargin >= 0.0f) ? 16u : 0u;
    passing |= (d.y - kMaskMargin < 0.0f) ? 32u : 0u;
    return (mask & passing) != 0;
}

bool clipSphereHit(TavPoint const& origin, TavPoint const& direction, TavPoint const& centre, float radius)
{
    TavPoint const w = sub(origin, centre);
    float const b = dot(w, direction);
    float const discriminant = b * b - (dot(w, w) - radius * radius);
    if (discriminant < 1.1920929e-07f)
        return false;
    float const s = std::sqrt(discriminant);
    // The far hit ahead is enough: the origin may sit inside the sphere. Behind the origin there is no hit.
    return -b - s >= 0.0f || s - b >= 0.0f;
}

bool clipKeepsPoint(TavPoint const& point, TavPoint const& centre, float radius, bool inverted)
{
    double const dx = static_cast<double>(point.x) - static_cast<double>(centre.x);
    double const dy = static_cast<double>(point.y) - static_cast<double>(centre.y);
    double const dz = static_cast<double>(point.z) - static_cast<double>(centre.z);
    double const squaredDistance = dx * dx + dy * dy + dz * dz;
    double const squaredRadius = static_cast<double>(radius) * static_cast<double>(radius);
    // Both strict: a point on the sphere itself is kept by neither kind.
    return inverted ? squaredDistance > squaredRadius : squaredRadius > squaredDistance;
}

}  // namespace Internal
}  // namespace Holvane
