#ifndef HOLVANE_TYPES_H
#define HOLVANE_TYPES_H

#include <cstdint>

// Plain value types shared by the whole interface. Points are row vectors: a point is transformed as
// x*row0 + y*row1 + z*row2 + row3, using the first three columns only.
struct TavPoint {
    float x, y, z;
};

struct TavPoint2 {
    float x, y;
};

struct TavRGB {
    float r, g, b;
};

struct TavRGBA {
    float r, g, b, a;
};

struct Matrix4 {
    float m[4][4];  // m[row][column]
};

namespace Holvane {
namespace Phase {
inline namespace v2_0 {

// Every enumeration is a 32-bit integer; hosts may pass values outside the named ones.
enum Phase : std::int32_t {
    PHASE_NONE = -1,
    PHASE_DETECT = 0,
    PHASE_RENDER = 1,
};

enum Eye : std::int32_t {
    RC_LeftAndRight = 0,
    RC_Left = 1,
    RC_Right = 2,
};

// Values follow the hosts' public parameter render_hlv_glass_mode.
enum TransparencyRenderingType : std::int32_t {
    ALL = 0,
    OPAQUE = 1,
    TRANSP = 2,
    BOTH = 3,
};

enum TerminatePhaseOptions : std::int32_t {
    TERMINATE_ABORT = 0,
    TERMINATE_FINALIZE = 1,
};

enum AOVType : std::int32_t {
    AOV_BYTE = 0,
    AOV_INT = 1,
    AOV_DOUBLE = 2,
    AOV_VEC3 = 3,
    AOV_VEC4 = 4,
    AOV_VELOCITY = 5,
    AOV_VEC2 = 6,
};

struct HvResolutionParam {
    unsigned long long width;
    unsigned long long height;
    unsigned long long blockCount;  // 1 for detection
    bool valid;                     // false: the other fields are zero
};

}  // namespace v2_0
}  // namespace Phase

namespace Util {
inline namespace v2_0 {

// Which renderer drives the library. Only the number matters: it is stored and written to the files
// modulo 99, so hosts use values below 99.
enum RenderingEngineId : std::int32_t {
    ENGINE_UNKNOWN = 0,
};

}  // namespace v2_0
}  // namespace Util
}  // namespace Holvane

#endif
