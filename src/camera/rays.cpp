#include <holvane/camera.h>

#include "camera/camera_rig.h"
#include "camera/cube_image.h"
#include "camera/sampling.h"
#include "camera/vector_math.h"
#include "session/context.h"
#include "session/phase_internal.h"
#include "session/pixel_coverage.h"
#include "session/relaxed.h"

#include <cmath>

namespace Holvane {
namespace Camera {
inline namespace v2_0 {

namespace {

HvCameraRay zeroRay()
{
    HvCameraRay ray = {};
    ray.valid = false;
    return ray;
}

HvCameraRay rayAlong(Internal::CubeDirection const& cube, TavPoint const& origin)
{
    HvCameraRay ray;
    ray.valid = true;
    ray.origin = origin;
    ray.direction = cube.direction;
    ray.directionDu = cube.du;
    ray.directionDv = cube.dv;
    return ray;
}

// Inside [0, width) x [0, height); a coordinate that is no number is outside.
bool insideImage(double x, double y, double width, double height)
{
    return x >= 0.0 && y >= 0.0 && x < width && y < height;
}

bool clipsAway(Internal::HolvaneContext const& s, HvCameraRay const& ray)
{
    return s.clipEnabled && !s.clipInverted &&
           !Internal::clipSphereHit(ray.origin, ray.direction, s.clipCenterLocal, s.clipRadius);
}

}  // namespace

HvCameraRay HvGetRayDetectPhase(unsigned long long const& sampleIndex, double const& x, double const& y)
{
    Internal::HolvaneContext& s = Internal::session();
    double const width = s.renderingWidth.get();
    double const height = s.renderingHeight.get();
    if (!insideImage(x, y, width, height))
        return zeroRay();

    Internal::CameraRig const& rig = s.renderingContext.rig;
    unsigned long long const camera = sampleIndex;
    if (camera >= rig.cameras.size() || camera >= rig.cameraWeights.size() || rig.cameraWeights[camera] < 0.0f)
        return zeroRay();
    if (camera != 0 && s.draftMode.get())
        return zeroRay();

    auto const xi = static_cast<std::int32_t>(std::floor(x));
    auto const yi = static_cast<std::int32_t>(std::floor(y));
    Phase::TransparencyRenderingType const mode = s.transparencyMode.get();
    if (mode != Phase::TRANSP && mode != Phase::BOTH && Internal::cameraDoneAtPixel(s, camera, xi, yi))
        return zeroRay();

    // Every sample of a pixel goes through the pixel's centre, whatever its fraction.
    HvCameraRay ray = rayAlong(Internal::pixelDirection(static_cast<unsigned long long>(width),
                                                        static_cast<unsigned long long>(height),
                                                        static_cast<unsigned long long>(xi),
                                                        static_cast<unsigned long long>(yi)),
                               rig.cameras[camera]);
    std::uint32_t const mask = camera < rig.cameraMasks.size() ? rig.cameraMasks[camera] : 0u;
    ray.valid = Internal::maskAllowsDirection(mask, ray.direction);
    if (ray.valid && clipsAway(s, ray)) {
        ray.valid = false;
        return ray;
    }
    if (ray.valid)
        Internal::countAt(s.rayCounters, Internal::truncateToInt32(yi * width + xi));
    return ray;
}

HvCameraRay HvGetRayRenderPhase(double const& x, double const& y)
{
    Internal::HolvaneContext& s = Internal::session();
    double const width = s.renderingWidth.get();
    double const height = s.renderingHeight.get();
    unsigned long long const block = s.currentBlock.get();
    double const outputWidth = s.outputWidth.get();
    double const outputHeight = s.outputHeight.get();
    if (!insideImage(x, y, width, height))
        return zeroRay();

    double const wholeX = std::floor(x);
    double const wholeY = std::floor(y);
    double const fx = x - wholeX;
    double const fy = y - wholeY;
    // The rendering image is the list of plaques folded into rows, the blocks one after the other.
    auto const pixel = static_cast<unsigned long long>(wholeY * width + wholeX);
    unsigned long long const index =
        block * static_cast<unsigned long long>(width) * static_cast<unsigned long long>(height) + pixel;
    if (index >= s.detectPlaques.size())
        return zeroRay();  // the end of the last block holds no plaques

    BinIO::DetectPlaqueInfo const& plaque = s.detectPlaques[index];
    Internal::CameraRig const& rig = s.renderingContext.rig;
    if (plaque.cameraIndex >= rig.cameras.size())
        return zeroRay();
    // A plaque of level L covers 2^L x 2^L output pixels, and the fractions walk across that square.
    double const factor = std::ldexp(1.0, plaque.level);
    double const reducedWidth = outputWidth / factor;
    double const reducedHeight = outputHeight / factor;
    float const u = static_cast<float>((plaque.x / factor + fx) / reducedWidth);
    float const v = static_cast<float>((plaque.y / factor + fy) / reducedHeight);

    HvCameraRay ray = rayAlong(Internal::cubeDirection(u, v), rig.cameras[plaque.cameraIndex]);
    if (clipsAway(s, ray))
        ray.valid = false;
    // Counted by the pixel inside the block: the counters start again with every block.
    Internal::countAt(s.rayCounters, pixel <= INT32_MAX ? static_cast<std::int32_t>(pixel) : -1);
    return ray;
}

HvCameraRay HvGetSpecularRay(double const& x, double const& y)
{
    Internal::HolvaneContext const& s = Internal::session();
    double const width = s.renderingWidth.get();
    double const height = s.renderingHeight.get();
    // A sample position, not a pixel index: no half-pixel shift.
    float const u = static_cast<float>(x / width);
    float const v = static_cast<float>(y / height);
    Internal::CubeDirection const cube = Internal::cubeDirection(u, v);
    return rayAlong(cube, Internal::specularPointInBox());
}

bool HvIsAtProximity(float a, float b, float c)
{
    RenderingContext const& context = Internal::session().renderingContext.context;
    float const scaledA = a * context.renderScale;
    float const scaledB = b * context.renderScale;
    float const scaledC = c * 100.0f;
    float const width = static_cast<float>(context.width);
    // Ten per cent of the larger depth, then one pixel's angle of the cube image seen from across c.
    double const larger = std::fmax(std::fabs(static_cast<double>(scaledA)), std::fabs(static_cast<double>(scaledB)));
    if (std::fabs(static_cast<double>(scaledA) - static_cast<double>(scaledB)) > 0.1 * larger)
        return false;
    // The scaled depths are floats, but their quotients, the angles and their difference are taken in double.
    double const angleB = std::atan(static_cast<double>(scaledB) / static_cast<double>(scaledC));
    double const angleA = std::atan(static_cast<double>(scaledA) / static_cast<double>(scaledC));
    float const pixelAngle = 3.1415927f / width;
    return !(std::fabs(angleB - angleA) > pixelAngle);
}

float getEyeShiftFactor(float a, float b)
{
    constexpr float kTiny = 1.1920929e-07f;
    if (std::fabs(b) <= kTiny)
        b = kTiny;
    float const t = (std::fabs(a * 3.1825f / b) - 5000.0f) / 500.0f;
    if (t < 0.0f)
        return 1.0f;
    if (t > 1.0f)
        return 0.0f;
    return 1.0f - (3.0f - 2.0f * t) * t * t;
}

}  // namespace v2_0
}  // namespace Camera
}  // namespace Holvane
