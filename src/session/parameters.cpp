#include <holvane/logger.h>
#include <holvane/phase.h>

#include "session/context.h"
#include "session/matrix.h"
#include "session/parameters.h"

#include <cmath>
#include <string>
#include <sys/stat.h>

namespace Holvane {

namespace Internal {

bool setterMayStore()
{
    HolvaneContext const& s = session();
    if (s.phase == Phase::PHASE_NONE) {
        Logger::HvOutputLogCStr(Logger::ERROR, "[Holvane] Begin a Phase before setting it.\n");
        return false;
    }
    if (s.initialized) {
        Logger::HvOutputLogCStr(Logger::ERROR, "[Holvane] Unable to set the phase after its initialization\n");
        return false;
    }
    return true;
}

}  // namespace Internal

namespace Phase {
inline namespace v2_0 {

using Internal::session;
using Internal::setterMayStore;

namespace {

// A null path is taken as the empty one rather than read.
std::string pathText(char const* path)
{
    return path ? std::string(path) : std::string();
}

// Only whether the operating system knows the path counts: a directory passes.
bool pathExists(std::string const& path)
{
    struct stat attributes;
    return ::stat(path.c_str(), &attributes) == 0;
}

bool outputRatioIsThreeByTwo(unsigned long long width, unsigned long long height)
{
    double const ratio = static_cast<double>(width) / static_cast<double>(height);
    return !(std::fabs(ratio - 3.0 / 2.0) > 9.999999747378752e-05);
}

// A resolution near the one given that fits the cube layout. It aligns the height to 16, not 8, and is only
// proposed, never applied.
void proposeOutputResolution(unsigned long long width, unsigned long long height)
{
    unsigned long long h = height & ~0xFULL;
    unsigned long long w = static_cast<unsigned long long>(static_cast<double>(h) * 1.5);
    if (w < 312 || h < 208) {
        w = 312;
        h = 208;
    } else if (w > 6000 || h > 4000) {
        w = 6000;
        h = 4000;
    }
    Logger::HvOutputLogString(Logger::ERROR, "[Holvane] Target image resolution must be a multiple of %d.\n", 8);
    Logger::HvOutputLogString(Logger::WARNING, "[Holvane] consider using %dx%d instead of %dx%d \n", int(w), int(h),
                              int(width), int(height));
}

}  // namespace

void HvSetBucketSize(unsigned long long const& width, unsigned long long const& height)
{
    if (!setterMayStore())
        return;
    session().bucketWidth = width;
    session().bucketHeight = height;
}

void HvSetCameraToWorldMatrix(Matrix4 const& camToWorld)
{
    session().camToWorld = camToWorld;
    session().worldToCam = Internal::invertMatrix(camToWorld);
}

void HvSetWorldToCamMatrix(Matrix4 const& worldToCam)
{
    if (!setterMayStore())
        return;
    session().worldToCam = worldToCam;
    session().camToWorld = Internal::invertMatrix(worldToCam);
}

void HvSetClippingSphere(bool enabled, TavPoint const& center, float radius, bool inverted)
{
    Internal::HolvaneContext& s = session();
    s.clipEnabled = enabled;
    s.clipCenterWorld = center;
    s.clipCenterLocal = Internal::transformPoint(s.worldToCam, center);
    s.clipRadius = radius;
    s.clipInverted = inverted;
}

void HvSetCurrentFrame(int const& frame, unsigned long long const& padding)
{
    if (!setterMayStore())
        return;
    session().currentFrame = frame;
    session().framePadding = static_cast<std::uint32_t>(padding);
}

void HvSetDeepReflection(Eye const& eye, double const& ipdMillimetres)
{
    if (!setterMayStore())
        return;
    session().eye = eye;
    session().ipd = static_cast<float>(ipdMillimetres);
}

void HvSetDetectFilePath(char const* path)
{
    if (!setterMayStore())
        return;
    std::string const text = pathText(path);
    // The render phase reads this file; the detection phase writes it and stores the path unchecked.
    if (session().phase == PHASE_RENDER) {
        if (text.empty()) {
            Logger::HvOutputLogCStr(Logger::ERROR, "[Holvane] the detection file has not been set.\n");
            return;
        }
        if (!pathExists(text)) {
            Logger::HvOutputLogString(Logger::ERROR, "[Holvane] the detection file '%s' doesn't exist.\n",
                                      text.c_str());
            return;
        }
    }
    session().detectFilePath = text;
}

void HvSetDistanceToGround(double const& metres)
{
    if (!setterMayStore())
        return;
    session().distanceToGround = static_cast<float>(metres);
}

void HvSetDraft(bool const& draft)
{
    if (!setterMayStore())
        return;
    session().draftMode = draft;
}

void HvSetMaxDistance(double const& distance)
{
    if (!setterMayStore())
        return;
    session().renderingContext.maxDistance = distance;
}

void HvSetMotionVector(bool const& enabled)
{
    if (!setterMayStore())
        return;
    session().motionVector = enabled;
}

void HvSetOutFilePath(char const* path)
{
    if (!setterMayStore())
        return;
    session().outFilePath = pathText(path);
}

void HvSetOutputResolution(unsigned long long const& width, unsigned long long const& height)
{
    if (!setterMayStore())
        return;
    if (!outputRatioIsThreeByTwo(width, height)) {
        Logger::HvOutputLogString(Logger::ERROR, "[Holvane] Target image ratio should be %d:%d.\n", 3, 2);
        return;
    }
    if (width % 8 != 0 || height % 8 != 0) {
        proposeOutputResolution(width, height);
        return;
    }
    if (width < 312 || width > 6000) {
        Logger::HvOutputLogString(
            Logger::ERROR, "[Holvane] Invalid target image resolution for X: %d. (must be between [%d and %d]).\n",
            int(width), 312, 6000);
        return;
    }
    if (height < 208 || height > 4000) {
        Logger::HvOutputLogString(
            Logger::ERROR, "[Holvane] Invalid target image resolution for Y: %d. (must be between [%d and %d]).\n",
            int(height), 208, 4000);
        return;
    }
    Internal::HolvaneContext& s = session();
    s.outputWidth = static_cast<double>(width);
    s.outputHeight = static_cast<double>(height);
    s.outputRatio = static_cast<double>(width) / static_cast<double>(height);
}

void HvSetRenderInsideBox(bool inside)
{
    if (!setterMayStore())
        return;
    session().renderInsideBox = inside;
}

void HvSetRenderScale(double const& scale)
{
    if (!setterMayStore())
        return;
    session().renderScale = static_cast<float>(scale);  // zero is not refused
}

void HvSetRenderTransparencyMode(TransparencyRenderingType const& mode)
{
    if (!setterMayStore())
        return;
    session().transparencyMode = mode;
}

void HvSetSceneUpVector(TavPoint const& up)
{
    if (!setterMayStore())
        return;
    // The length is taken in single precision, its reciprocal in double and then narrowed.
    float const length = std::sqrt(up.x * up.x + up.y * up.y + up.z * up.z);
    TavPoint unit = {0.0f, 0.0f, 0.0f};
    if (length != 0.0f) {
        float const reciprocal = static_cast<float>(1.0 / static_cast<double>(length));
        unit = {up.x * reciprocal, up.y * reciprocal, up.z * reciprocal};
    }
    session().sceneUp = unit;  // a zero vector counts as set
}

void HvSetSpecularPointOffset(TavPoint const& offset)
{
    if (!setterMayStore())
        return;
    session().specularPointOffset = offset;
}

void HvSetThreadNumber(unsigned long long const& threads)
{
    if (!setterMayStore())
        return;
    session().threadNumber = threads;
}

void HvSetTolerance(double const& tolerance)
{
    if (!setterMayStore())
        return;
    session().renderingContext.tolerance = tolerance;
}

void HvSetZovOffset(int const& right, int const& top, int const& back)
{
    if (!setterMayStore())
        return;
    session().zovOffsetRight = right;
    session().zovOffsetTop = top;
    session().zovOffsetBack = back;
}

void HvSetZovScaling(float const& x, float const& y, float const& z)
{
    if (!setterMayStore())
        return;
    session().zovScaling = {x, y, z};
}

}  // namespace v2_0
}  // namespace Phase
}  // namespace Holvane
