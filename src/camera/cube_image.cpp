#include "camera/cube_image.h"

#include "camera/vector_math.h"

#include <algorithm>
#include <cmath>

namespace Holvane {
namespace Internal {

namespace {

// Pulls every face a hair inside its edges, so that neighbouring faces never share a direction.
constexpr float kInset = 0.9999999f;
constexpr float kThird = 0.33333334f;
constexpr float kTwoThirds = 0.6666667f;
constexpr float kEpsilon = 1.1920929e-07f;

int faceOfUV(float U, float V)
{
    int column = U < -kThird ? 0 : (U < kThird ? 1 : 2);
    return (V < 0.0f ? 0 : 3) + column;
}

}  // namespace

int cubeFace(float u, float v)
{
    return faceOfUV(2.0f * u - 1.0f, 2.0f * v - 1.0f);
}

CubeDirection cubeDirection(float u, float v)
{
    float const U = 2.0f * u - 1.0f;
    float const V = 2.0f * v - 1.0f;
    float const k = kInset;
    float const two = 2.0f * k;
    float const three = 3.0f * k;
    CubeDirection out;
    switch (faceOfUV(U, V)) {
    case 0:  // +X
        out = {{1.0f, (2.0f * V + 1.0f) * k, (3.0f * U + 2.0f) * k}, {0.0f, 0.0f, three}, {0.0f, two, 0.0f}};
        break;
    case 1:  // +Z
        out = {{-3.0f * U * k, (2.0f * V + 1.0f) * k, 1.0f}, {-three, 0.0f, 0.0f}, {0.0f, two, 0.0f}};
        break;
    case 2:  // -X
        out = {{-1.0f, (2.0f * V + 1.0f) * k, (2.0f - 3.0f * U) * k}, {0.0f, 0.0f, -three}, {0.0f, two, 0.0f}};
        break;
    case 3:  // -Z
        out = {{(3.0f * U + 2.0f) * k, (2.0f * V - 1.0f) * k, -1.0f}, {three, 0.0f, 0.0f}, {0.0f, two, 0.0f}};
        break;
    case 4:  // +Y
        out = {{-3.0f * U * k, 1.0f, (1.0f - 2.0f * V) * k}, {-three, 0.0f, 0.0f}, {0.0f, 0.0f, -two}};
        break;
    default:  // -Y
        out = {{(2.0f - 3.0f * U) * k, -1.0f, (2.0f * V - 1.0f) * k}, {-three, 0.0f, 0.0f}, {0.0f, 0.0f, two}};
        break;
    }
    out.direction = normalised(out.direction);
    return out;
}

TavPoint2 cubeCoordinates(TavPoint const& d)
{
    float const ax = std::fabs(d.x);
    float const ay = std::fabs(d.y);
    float const az = std::fabs(d.z);
    float U;
    float V;
    if (ax > ay && ax > az) {
        if (d.x > 0.0f) {
            U = d.z / (ax + kEpsilon) / 3.0f - kTwoThirds;
        } else {
            U = kTwoThirds - d.z / (ax + kEpsilon) / 3.0f;
        }
        V = d.y / (ax + kEpsilon) * 0.5f - 0.5f;
    } else if (ay > ax && ay > az) {
        if (d.y > 0.0f) {
            U = d.x / (ay + kEpsilon) / -3.0f;
            V = 0.5f - d.z / (ay + kEpsilon) * 0.5f;
        } else {
            U = kTwoThirds - d.x / (ay + kEpsilon) / 3.0f;
            V = d.z / (ay + kEpsilon) * 0.5f + 0.5f;
        }
    } else if (d.z > 0.0f) {
        U = d.x / (az + kEpsilon) / -3.0f;
        V = d.y / (az + kEpsilon) * 0.5f - 0.5f;
    } else {
        U = d.x / (az + kEpsilon) / 3.0f - kTwoThirds;
        V = d.y / (az + kEpsilon) * 0.5f + 0.5f;
    }
    return {U * 0.5f + 0.5f, V * 0.5f + 0.5f};
}

CubeDirection pixelDirection(unsigned long long width, unsigned long long height, unsigned long long x,
                             unsigned long long y)
{
    float const u = static_cast<float>((static_cast<double>(x) + 0.5) / static_cast<double>(width));
    float const v = static_cast<float>((static_cast<double>(y) + 0.5) / static_cast<double>(height));
    return cubeDirection(u, v);
}

namespace {

double snappedCentre(float coordinate, unsigned long long size)
{
    double const last = size > 0 ? static_cast<double>(size - 1) : 0.0;
    double pixel = std::round(static_cast<double>(coordinate) * static_cast<double>(size));
    if (!(pixel >= 0.0))  // below the image, or no number at all
        pixel = 0.0;
    if (pixel > last)
        pixel = last;
    return (pixel + 0.5) / static_cast<double>(size);
}

}  // namespace

TavPoint2 snapToPixelCentre(TavPoint const& direction, unsigned long long width, unsigned long long height)
{
    TavPoint2 const uv = cubeCoordinates(direction);
    return {static_cast<float>(snappedCentre(uv.x, width)), static_cast<float>(snappedCentre(uv.y, height))};
}

bool sameFace(unsigned long long x1, unsigned long long y1, unsigned long long x2, unsigned long long y2,
              unsigned long long height)
{
    unsigned long long const cell = height / 2;
    if (cell == 0)  // an image of one row has a single cell
        return true;
    return (y1 / cell) * 3 + x1 / cell == (y2 / cell) * 3 + x2 / cell;
}

std::vector<std::uint64_t> nextRowMap(unsigned long long width, unsigned long long height)
{
    std::vector<std::uint64_t> below(width * height, 0);
    auto coordinate = [](unsigned long long i, unsigned long long size) {
        return static_cast<float>(2.0 * static_cast<double>(i) / static_cast<double>(size) - 1.0);
    };
    for (unsigned long long y = 0; y + 1 < height; ++y) {
        float const V = coordinate(y, height);
        float const nextV = coordinate(y + 1, height);
        for (unsigned long long x = 0; x < width; ++x) {
            float const U = coordinate(x, width);
            if (faceOfUV(U, V) == faceOfUV(U, nextV))
                below[y * width + x] = (y + 1) * width + x;
        }
    }
    return below;
}

}  // namespace Internal
}  // namespace Holvane
