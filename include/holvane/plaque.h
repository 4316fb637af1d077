#ifndef HOLVANE_PLAQUE_H
#define HOLVANE_PLAQUE_H

// The geometry of plaques: the context that carries the cameras and the image, and the functions that turn a
// camera, a pixel, a distance and a normal into points in space. These stand outside the versioned
// namespaces: the merge-side functions take a RenderingContext by reference.

#include <holvane/camera.h>
#include <holvane/export.h>
#include <holvane/records.h>
#include <holvane/types.h>

#include <array>
#include <cstdint>
#include <vector>

// A plaque's four corners, as fractions of its pixel, just inside the pixel.
enum PLAQUE_MAIN_POINTS : std::int32_t {
    upLeftPos = 0,
    upRightPos = 1,
    downLeftPos = 2,
    downRightPos = 3,
};

// Eight further points of a pixel. upPos and downPos have y the other way round from the main points.
enum PLAQUE_EXTENDED_POINTS : std::int32_t {
    leftPos = 0,
    rightPos = 1,
    upPos = 2,
    downPos = 3,
    quarterUpLeftPos = 4,
    quarterUpRightPos = 5,
    quarterDownLeftPos = 6,
    quarterDownRightPos = 7,
};

// What the derivation of plaque geometry needs. A copy shares the rig and copies the tables.
struct RenderingContext {
    Holvane::Camera::CameraRig const* rig = nullptr;  // not owned
    unsigned long long width = 4000;
    unsigned long long height = 2000;
    float renderScale = 1.0f;
    float tolerance = 0.25f;
    bool lookupReady = false;
    std::vector<TavPoint> centerDirections;      // pixel centres, index x + y * width
    std::vector<TavPoint> cornerDirections[4];   // by PLAQUE_MAIN_POINTS, same index
    std::vector<TavPoint> fetchMap;              // filled in the session's context only

    HV_API TavPoint GetCenterDirection(unsigned long long x, unsigned long long y) const;
    HV_API TavPoint GetDirection(PLAQUE_MAIN_POINTS const& point, unsigned long long x, unsigned long long y) const;
    HV_API TavPoint GetExtendedDirection(PLAQUE_EXTENDED_POINTS const& point, unsigned long long x,
                                         unsigned long long y) const;
    // Fills and empties the five direction tables; never while another thread reads this context.
    HV_API void InitLookup();
    HV_API void ReleaseLookup();
};

// The derived geometry of one plaque.
struct Plaque {
    std::uint8_t cameraIndex = 0;
    std::uint16_t x = 0;  // pixel column in the context's image
    std::uint16_t y = 0;
    bool normalIsValid : 1;  // finite and not near zero
    bool isFrontFacing : 1;  // the camera sees the side the normal points to
    TavPoint normal = {0.0f, 0.0f, 0.0f};  // as given, not normalised
    float distance = 0.0f;                 // camera to centre
    float incidence = 1.0f;                // |cos| of view direction and normal; 1 with an invalid normal
    double size = 0.0;                     // sampling measure: larger is closer and more face on
    TavPoint center = {0.0f, 0.0f, 0.0f};
    TavPoint corners[4] = {};              // by PLAQUE_MAIN_POINTS

    Plaque() : normalIsValid(false), isFrontFacing(false) {}
};

HV_API std::array<TavPoint2, 4> GetMainPointsPos2D();
HV_API std::array<TavPoint2, 8> GetExtendedPointsPos2D();

HV_API Plaque GetPlaqueInfo(RenderingContext const& context, unsigned int camera, int x, int y,
                            TavPoint const& normal, float distance, unsigned long long level, float scale);
HV_API Plaque GetPlaqueInfo(RenderingContext const& context, Holvane::BinIO::DetectPlaqueInfo const& plaque,
                            float scale);
HV_API Plaque GetPlaqueInfo(RenderingContext const& context, Holvane::BinIO::hlvRenderSample5_t const& sample,
                            float scale);
HV_API Plaque GetPlaqueInfo(RenderingContext const& context, Holvane::Binary::tavbin const& record, float scale);

HV_API TavPoint GetPlaqueCenter(RenderingContext const& context, Holvane::BinIO::DetectPlaqueInfo const& plaque);
HV_API TavPoint GetPlaqueCenter(RenderingContext const& context, Holvane::BinIO::hlvRenderSample5_t const& sample);
HV_API TavPoint GetPlaqueCenter(RenderingContext const& context, Holvane::Binary::tavbin const& record);

HV_API std::array<TavPoint, 4> GetPlaquePoints(RenderingContext const& context, Plaque const& plaque, float scale);
HV_API std::array<TavPoint, 8> GetExtendedPoints(RenderingContext const& context, Plaque const& plaque,
                                                 float scale);

// The two unsigned arguments are kept for the callers' sake and not read.
HV_API void GetPlaqueMainPoints(RenderingContext const& context, unsigned int camera, int x, int y,
                                TavPoint const& normal, float distance, float scale, unsigned long long const& unused1,
                                unsigned long long const& unused2, std::array<TavPoint, 4>& corners);
HV_API void GetPlaqueExtendedPoints(RenderingContext const& context, unsigned int camera, int x, int y,
                                    TavPoint const& normal, float distance, float scale,
                                    std::array<TavPoint, 4>& corners, std::array<TavPoint, 8>& extended);

// True when the four points are no longer roughly a parallelogram seen face on.
HV_API bool IsDegenerated(std::array<TavPoint, 4> const& points, float threshold);

#endif
