#ifndef HOLVANE_CAMERA_H
#define HOLVANE_CAMERA_H

// The camera rig, the per-pixel sample index, sampling positions and seeds, the rays of both phases and the
// inverse lookup from a direction to a pixel of the cube image.

#include <holvane/export.h>
#include <holvane/records.h>
#include <holvane/types.h>

#include <cstdint>
#include <vector>

namespace Holvane {
namespace Camera {
inline namespace v2_0 {

// A ray handed to the host, in the box's own frame. A ray refused for being out of range is all zeros.
struct HvCameraRay {
    bool valid;
    TavPoint origin;
    TavPoint direction;    // unit length
    TavPoint directionDu;  // derivative of the unnormalised cube direction along U
    TavPoint directionDv;  // the same along V
};

// The cameras of a zone of view. All arrays have one entry per camera.
struct CameraRig {
    std::vector<TavPoint> cameras;            // positions in the box's frame, scene units
    std::vector<float> cameraWeights;         // a negative weight switches a camera off
    std::vector<std::uint32_t> cameraMasks;   // bits 0-5: the box faces the camera looks out of
    std::vector<TavPoint> camerasWorld;       // the same positions through camToWorld
};

HV_API bool HvGetCurrentSampleIndexCount(int const& x, int const& y, unsigned long long& count);
HV_API TavPoint2 HvGetSamplingPos(unsigned long long index, unsigned long long offset);
HV_API unsigned long long GetSeed(unsigned int camera, unsigned int x, unsigned int y);
HV_API unsigned long long GetSeed(BinIO::DetectPlaqueInfo const& plaque);
HV_API unsigned long long HvGetSeed(double const& x, double const& y);

HV_API HvCameraRay HvGetRayDetectPhase(unsigned long long const& sampleIndex, double const& x, double const& y);
HV_API HvCameraRay HvGetRayRenderPhase(double const& x, double const& y);
HV_API HvCameraRay HvGetSpecularRay(double const& x, double const& y);
HV_API bool HvIsAtProximity(float a, float b, float c);
HV_API float getEyeShiftFactor(float a, float b);

HV_API std::vector<TavPoint> generateFetchMap(unsigned long long width, unsigned long long height);
HV_API bool getClosestCamDirXY(TavPoint const& direction, TavPoint& outDirection, int& outX, int& outY);
HV_API bool getClosestCamDirXY(TavPoint const& direction, unsigned long long width, unsigned long long height,
                               TavPoint& outDirection, int& outX, int& outY);
HV_API bool getClosestCamDirXYWithFetchMap(TavPoint const& direction, unsigned long long width,
                                           unsigned long long height, std::vector<TavPoint> const& fetchMap,
                                           TavPoint& outDirection, int& outX, int& outY,
                                           unsigned long long radius);

}  // namespace v2_0
}  // namespace Camera
}  // namespace Holvane

#endif
