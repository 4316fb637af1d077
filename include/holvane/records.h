#ifndef HOLVANE_RECORDS_H
#define HOLVANE_RECORDS_H

// The records that cross the library's subsystems and fill the blocks of its files: plaques, shaded samples,
// AOV slots and their registry, and the merged plaque record of the merger.

#include <holvane/export.h>
#include <holvane/types.h>

#include <half.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

// Two, three and four halves side by side, with no other member: their bytes are the file's bytes.
struct halfvec2 {
    half_float::half x, y;
};
struct halfvec3 {
    half_float::half x, y, z;
};
struct halfvec4 {
    half_float::half x, y, z, w;
};

static_assert(sizeof(half_float::half) == 2, "a half is two bytes");
static_assert(sizeof(halfvec2) == 4 && sizeof(halfvec3) == 6 && sizeof(halfvec4) == 8, "halves side by side");

// One visible patch found by the detection phase, in its memory form (files hold a packed 24-byte form).
struct DetectPlaqueInfo {
    std::uint8_t cameraIndex = 0;     // rig camera, 0 to 255
    std::uint16_t x = 0;              // pixel column in the camera's image, at full resolution
    std::uint16_t y = 0;              // pixel row
    std::uint8_t isExtrapolated = 0;  // 1: position taken on the sample's plane, not a real hit
    std::uint8_t isHair = 0;          // 1: the normal has no meaning
    std::uint8_t extraFlag = 0;       // carried by every copy and by the packed form
    std::uint8_t level = 0;           // 0 to 3: the plaque stands for 2^level pixels on a side
    std::uint8_t isTransparent = 0;
    float distance = 0.0f;            // from the camera to the hit
    TavPoint normal = {0.0f, 0.0f, 0.0f};  // in zone of view coordinates
};

static_assert(offsetof(DetectPlaqueInfo, x) == 2 && offsetof(DetectPlaqueInfo, y) == 4, "plaque layout");
static_assert(offsetof(DetectPlaqueInfo, isExtrapolated) == 6 && offsetof(DetectPlaqueInfo, isTransparent) == 10,
              "plaque layout");
static_assert(offsetof(DetectPlaqueInfo, distance) == 12 && offsetof(DetectPlaqueInfo, normal) == 16,
              "plaque layout");
static_assert(sizeof(DetectPlaqueInfo) == 28, "the memory form, padding included, enters the writer's digest");

// Twelve bytes that the library carries from file to file without reading them.
struct coordinates_t {
    std::uint32_t words[3] = {0, 0, 0};
};
static_assert(sizeof(coordinates_t) == 12, "coordinates record");

// One shaded plaque of a version 9 file. The memory form is the file form.
struct hlvRenderSample5_t {
    float depth = 0.0f;
    halfvec4 color;   // red, green, blue, alpha
    halfvec3 normal;
    std::uint16_t x = 0;
    std::uint16_t y = 0;
    std::uint8_t cameraIndex = 0;
    std::uint8_t reserved0 = 0;
    std::uint8_t level = 0;
    std::uint8_t reserved1[3] = {0, 0, 0};
};

static_assert(offsetof(hlvRenderSample5_t, color) == 4 && offsetof(hlvRenderSample5_t, normal) == 12,
              "sample layout");
static_assert(offsetof(hlvRenderSample5_t, x) == 18 && offsetof(hlvRenderSample5_t, y) == 20, "sample layout");
static_assert(offsetof(hlvRenderSample5_t, cameraIndex) == 22 && offsetof(hlvRenderSample5_t, level) == 24,
              "sample layout");
static_assert(sizeof(hlvRenderSample5_t) == 28, "a version 9 sample is 28 bytes in a file");

// One shaded plaque of a version 7 or 8 file: the version 9 record without its level.
struct hlvRenderSample4_t {
    float depth = 0.0f;
    halfvec4 color;
    halfvec3 normal;
    std::uint16_t x = 0;
    std::uint16_t y = 0;
    std::uint8_t cameraIndex = 0;
    std::uint8_t reserved0 = 0;
};

static_assert(offsetof(hlvRenderSample4_t, x) == 18 && offsetof(hlvRenderSample4_t, cameraIndex) == 22,
              "sample layout");
static_assert(sizeof(hlvRenderSample4_t) == 24, "a version 7 or 8 sample is 24 bytes in a file");

}  // namespace v2_0
}  // namespace BinIO

namespace RenderSample {
inline namespace v2_0 {

// One AOV value of one sample. Which member is live follows from the channel's AOVType:
// 0 byteValue, 1 intValue (the 32 bits also when the channel is a float), 2 doubleValue, 3 and 5 vec3,
// 4 vec4, 6 vec2.
union AOVData {
    unsigned char bytes[16] = {};
    char byteValue;
    std::int32_t intValue;
    float floatValue;
    double doubleValue;
    TavPoint2 vec2;
    TavPoint vec3;
    TavRGBA vec4;
};

static_assert(sizeof(AOVData) == 16, "an AOV slot is 16 bytes");

}  // namespace v2_0
}  // namespace RenderSample

namespace BinIO {
inline namespace v2_0 {

using RenderSample::AOVData;

// What a reader fills and a writer takes. `aovs` is sample-major: the slot of AOV a of sample s is at
// s * (number of AOVs) + a.
struct hlvRenderSample5Aovs_t {
    std::vector<coordinates_t> coordinates;
    std::vector<DetectPlaqueInfo> fillHoles;
    std::vector<hlvRenderSample5_t> samples;
    std::vector<AOVData> aovs;
    std::vector<unsigned char> completion;
};

struct hlvRenderSample4Aovs_t {
    std::vector<coordinates_t> coordinates;
    std::vector<DetectPlaqueInfo> fillHoles;
    std::vector<hlvRenderSample4_t> samples;
    std::vector<AOVData> aovs;
    std::vector<unsigned char> completion;
};

// The registry of a session's AOV channels: their types and names in registration order, and the aliases
// by which hosts find them.
struct AovFormat {
    std::vector<Phase::AOVType> types;
    std::vector<std::string> names;
    unsigned long long count = 0;
    unsigned long long sampleSize = 0;  // bytes of one sample's tight AOV record
    std::map<int, unsigned long long> aliases;

    HV_API void registerAov(int const& alias, std::string const& name, Phase::AOVType const& type);
    HV_API bool HasAOV(int const& alias) const;
    HV_API bool HasAOV(std::string const& name) const;
    HV_API std::size_t getIndex(int const& alias) const;
    HV_API bool isEmpty() const;
    HV_API void clear();
};

}  // namespace v2_0
}  // namespace BinIO

namespace Binary {
inline namespace v2_0 {

// The merged plaque record of the merger's side. Its members follow each other with no alignment gap; the
// reserved bytes have no meaning here and are copied with the rest.
struct tavbin {
    TavRGBA color = {0.0f, 0.0f, 0.0f, 0.0f};  // left or only colour
    TavRGB rightColor = {0.0f, 0.0f, 0.0f};    // the right eye's colour
    std::uint16_t x = 0;
    std::uint16_t y = 0;
    double distance = 0.0;                     // from the camera
    std::uint8_t cameraIndex = 0;
    std::uint8_t reserved0[3] = {0, 0, 0};
    TavPoint normal = {0.0f, 0.0f, 0.0f};
    TavPoint position = {0.0f, 0.0f, 0.0f};    // the plaque's centre
    std::uint8_t level = 0;
    std::uint8_t reserved1[3] = {0, 0, 0};
    unsigned long long pixelKey = 0;           // equal for two records of one pixel cell
};

static_assert(offsetof(tavbin, rightColor) == 16 && offsetof(tavbin, x) == 28 && offsetof(tavbin, y) == 30,
              "merged record layout");
static_assert(offsetof(tavbin, distance) == 32 && offsetof(tavbin, cameraIndex) == 40, "merged record layout");
static_assert(offsetof(tavbin, normal) == 44 && offsetof(tavbin, position) == 56, "merged record layout");
static_assert(offsetof(tavbin, level) == 68 && offsetof(tavbin, pixelKey) == 72, "merged record layout");
static_assert(sizeof(tavbin) == 80, "no gap between the members, none after the last");

}  // namespace v2_0
}  // namespace Binary
}  // namespace Holvane

#endif
