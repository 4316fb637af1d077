#include "camera/plaque_geometry.h"

#include <holvane/plaque.h>

#include "camera/cube_image.h"
#include "camera/vector_math.h"

#include <algorithm>
#include <cmath>

namespace Holvane {
namespace Internal {

TavPoint projectToPlane(TavPoint const& planePoint, TavPoint const& normal, TavPoint const& origin,
                        TavPoint const& direction)
{
    auto dotDouble = [](TavPoint const& a, TavPoint const& b) {
        return static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y + static_cast<double>(a.z) * b.z;
    };
    double const denominator = dotDouble(normal, direction);
    if (!(std::fabs(denominator) > 9.999999747378752e-05))
        return planePoint;  // the line runs along the plane
    double const t = dotDouble(sub(planePoint, origin), normal) / denominator;
    return {static_cast<float>(origin.x + direction.x * t), static_cast<float>(origin.y + direction.y * t),
            static_cast<float>(origin.z + direction.z * t)};
}

double plaqueSizeMeasure(TavPoint const& camera, TavPoint const& center, TavPoint const& normal, bool normalIsValid)
{
    double const dx = static_cast<double>(camera.x) - center.x;
    double const dy = static_cast<double>(camera.y) - center.y;
    double const dz = static_cast<double>(camera.z) - center.z;
    double d = std::sqrt(dx * dx + dy * dy + dz * dz);
    if (d > 999999995904.0)
        d = 1.0;
    d = std::max(d, 9.99999905104687e-09);
    if (!normalIsValid)
        return 1.0 / d;
    float const cosine = dot(normalised(normal), normalised(sub(center, camera)));
    return std::fabs(cosine) / d;
}

}  // namespace Internal
}  // namespace Holvane

namespace {

using Holvane::Internal::add;
using Holvane::Internal::projectToPlane;
using Holvane::Internal::scaled;
using Holvane::Internal::sub;

TavPoint cameraPosition(RenderingContext const& context, unsigned int camera)
{
    if (context.rig && camera < context.rig->cameras.size())
        return context.rig->cameras[camera];
    return {0.0f, 0.0f, 0.0f};  // a camera the rig does not have stands at the origin
}

bool isValidNormal(TavPoint const& n)
{
    return !Holvane::Internal::isDegenerate(n);
}

// A point of the plaque: where the ray through that point of the pixel meets the plaque's plane, moved
// towards or away from the centre by `scale`.
TavPoint pointOnPlaque(TavPoint const& center, TavPoint const& normal, TavPoint const& camera,
                       TavPoint const& direction, float scale)
{
    TavPoint const hit = projectToPlane(center, normal, camera, direction);
    return add(center, scaled(sub(hit, center), scale));
}

// The centre at the pixel's computed centre direction, the image size taken as floats.
TavPoint centerOf(RenderingContext const& context, unsigned int camera, int x, int y, float distance)
{
    float const u = (static_cast<float>(x) + 0.5f) / static_cast<float>(context.width);
    float const v = (static_cast<float>(y) + 0.5f) / static_cast<float>(context.height);
    TavPoint const direction = Holvane::Internal::cubeDirection(u, v).direction;
    return add(cameraPosition(context, camera), scaled(direction, distance));
}

std::array<TavPoint, 4> mainPoints(RenderingContext const& context, TavPoint const& center, TavPoint const& normal,
                                   unsigned int camera, int x, int y, float scale)
{
    TavPoint const origin = cameraPosition(context, camera);
    std::array<TavPoint, 4> points;
    for (int p = 0; p < 4; ++p) {
        TavPoint const direction = context.GetDirection(PLAQUE_MAIN_POINTS(p), static_cast<unsigned long long>(x),
                                                        static_cast<unsigned long long>(y));
        points[p] = pointOnPlaque(center, normal, origin, direction, scale);
    }
    return points;
}

std::array<TavPoint, 8> extendedPoints(RenderingContext const& context, TavPoint const& center,
                                       TavPoint const& normal, unsigned int camera, int x, int y, float scale)
{
    TavPoint const origin = cameraPosition(context, camera);
    std::array<TavPoint, 8> points;
    for (int p = 0; p < 8; ++p) {
        TavPoint const direction = context.GetExtendedDirection(
            PLAQUE_EXTENDED_POINTS(p), static_cast<unsigned long long>(x), static_cast<unsigned long long>(y));
        points[p] = pointOnPlaque(center, normal, origin, direction, scale);
    }
    return points;
}

Plaque plaqueAtFullResolution(RenderingContext const& context, unsigned int camera, int x, int y,
                              TavPoint const& normal, float distance, float scale)
{
    Plaque plaque;
    TavPoint const origin = cameraPosition(context, camera);
    TavPoint const direction =
        context.GetCenterDirection(static_cast<unsigned long long>(x), static_cast<unsigned long long>(y));
    plaque.center = add(origin, scaled(direction, distance));
    plaque.normalIsValid = isValidNormal(normal);
    if (plaque.normalIsValid) {
        float const cosine = Holvane::Internal::dot(direction, normal);
        plaque.incidence = std::fabs(cosine);
        plaque.isFrontFacing = cosine < 0.0f;
        std::array<TavPoint, 4> const corners = mainPoints(context, plaque.center, normal, camera, x, y, scale);
        std::copy(corners.begin(), corners.end(), plaque.corners);
    } else {
        plaque.incidence = 1.0f;
        plaque.isFrontFacing = false;
        std::fill(plaque.corners, plaque.corners + 4, plaque.center);
    }
    plaque.size = Holvane::Internal::plaqueSizeMeasure(origin, plaque.center, normal, plaque.normalIsValid);
    plaque.cameraIndex = static_cast<std::uint8_t>(camera);
    plaque.x = static_cast<std::uint16_t>(x);
    plaque.y = static_cast<std::uint16_t>(y);
    plaque.normal = normal;
    plaque.distance = distance;
    return plaque;
}

}  // namespace

Plaque GetPlaqueInfo(RenderingContext const& context, unsigned int camera, int x, int y, TavPoint const& normal,
                     float distance, unsigned long long level, float scale)
{
    if (level == 0)
        return plaqueAtFullResolution(context, camera, x, y, normal, distance, scale);
    // A plaque of level L stands for 2^L x 2^L pixels: it is the plaque of one pixel of the reduced image.
    // The reduced context shares the cameras and has no tables.
    long long const factor = level < 62 ? (1LL << level) : (1LL << 62);
    RenderingContext reduced;
    reduced.rig = context.rig;
    reduced.width = context.width / static_cast<unsigned long long>(factor);
    reduced.height = context.height / static_cast<unsigned long long>(factor);
    reduced.renderScale = context.renderScale;
    reduced.tolerance = context.tolerance;
    return plaqueAtFullResolution(reduced, camera, static_cast<int>(x / factor), static_cast<int>(y / factor),
                                  normal, distance, scale);
}

Plaque GetPlaqueInfo(RenderingContext const& context, Holvane::BinIO::DetectPlaqueInfo const& plaque, float scale)
{
    return GetPlaqueInfo(context, plaque.cameraIndex, plaque.x, plaque.y, plaque.normal, plaque.distance,
                         plaque.level, scale);
}

Plaque GetPlaqueInfo(RenderingContext const& context, Holvane::BinIO::hlvRenderSample5_t const& sample, float scale)
{
    TavPoint const normal = {static_cast<float>(sample.normal.x), static_cast<float>(sample.normal.y),
                             static_cast<float>(sample.normal.z)};
    return GetPlaqueInfo(context, sample.cameraIndex, sample.x, sample.y, normal, sample.depth, sample.level, scale);
}

Plaque GetPlaqueInfo(RenderingContext const& context, Holvane::Binary::tavbin const& record, float scale)
{
    return GetPlaqueInfo(context, record.cameraIndex, record.x, record.y, record.normal,
                         static_cast<float>(record.distance), record.level, scale);
}

TavPoint GetPlaqueCenter(RenderingContext const& context, Holvane::BinIO::DetectPlaqueInfo const& plaque)
{
    return centerOf(context, plaque.cameraIndex, plaque.x, plaque.y, plaque.distance);
}

TavPoint GetPlaqueCenter(RenderingContext const& context, Holvane::BinIO::hlvRenderSample5_t const& sample)
{
    return centerOf(context, sample.cameraIndex, sample.x, sample.y, sample.depth);
}

TavPoint GetPlaqueCenter(RenderingContext const& context, Holvane::Binary::tavbin const& record)
{
    return centerOf(context, record.cameraIndex, record.x, record.y, static_cast<float>(record.distance));
}

std::array<TavPoint, 4> GetPlaquePoints(RenderingContext const& context, Plaque const& plaque, float scale)
{
    return mainPoints(context, plaque.center, plaque.normal, plaque.cameraIndex, plaque.x, plaque.y, scale);
}

std::array<TavPoint, 8> GetExtendedPoints(RenderingContext const& context, Plaque const& plaque, float scale)
{
    return extendedPoints(context, plaque.center, plaque.normal, plaque.cameraIndex, plaque.x, plaque.y, scale);
}

void GetPlaqueMainPoints(RenderingContext const& context, unsigned int camera, int x, int y, TavPoint const& normal,
                         float distance, float scale, unsigned long long const&, unsigned long long const&,
                         std::array<TavPoint, 4>& corners)
{
    corners = mainPoints(context, centerOf(context, camera, x, y, distance), normal, camera, x, y, scale);
}

void GetPlaqueExtendedPoints(RenderingContext const& context, unsigned int camera, int x, int y,
                             TavPoint const& normal, float distance, float scale, std::array<TavPoint, 4>& corners,
                             std::array<TavPoint, 8>& extended)
{
    TavPoint const center = centerOf(context, camera, x, y, distance);
    corners = mainPoints(context, center, normal, camera, x, y, scale);
    extended = extendedPoints(context, center, normal, camera, x, y, scale);
}

bool IsDegenerated(std::array<TavPoint, 4> const& p, float threshold)
{
    using Holvane::Internal::dot;
    using Holvane::Internal::normalised;
    TavPoint const a = normalised(sub(p[0], p[1]));
    TavPoint const b = normalised(sub(p[2], p[3]));
    TavPoint const c = normalised(sub(p[1], p[3]));
    TavPoint const d = normalised(sub(p[2], p[1]));  // a diagonal: a square is flagged from 0.5 down
    return std::fabs(dot(a, c)) > threshold || std::fabs(dot(a, d)) > threshold ||
           std::fabs(dot(b, d)) > threshold || std::fabs(dot(b, c)) > threshold;
}
