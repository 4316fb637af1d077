#ifndef HLVTRACE_VEC3_H
#define HLVTRACE_VEC3_H

// The host's small vector type. Points are row vectors, as everywhere in the library's interface.

#include <holvane/types.h>

#include <cmath>

namespace hlvtrace {

struct Vec3 {
    float x = 0.0f, y = 0.0f, z = 0.0f;
};

inline Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator*(Vec3 a, float s) { return {a.x * s, a.y * s, a.z * s}; }
inline float dot(Vec3 a, Vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 cross(Vec3 a, Vec3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
inline float length(Vec3 a) { return std::sqrt(dot(a, a)); }
inline Vec3 normalized(Vec3 a)
{
    float l = length(a);
    return l > 0.0f ? a * (1.0f / l) : a;
}
inline bool isFinite(Vec3 a) { return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z); }

inline TavPoint toTav(Vec3 a) { return {a.x, a.y, a.z}; }
inline Vec3 fromTav(TavPoint const& a) { return {a.x, a.y, a.z}; }

// p * m with the translation row: the point form of the row-vector convention.
inline Vec3 transformPoint(Matrix4 const& m, Vec3 p)
{
    return {p.x * m.m[0][0] + p.y * m.m[1][0] + p.z * m.m[2][0] + m.m[3][0],
            p.x * m.m[0][1] + p.y * m.m[1][1] + p.z * m.m[2][1] + m.m[3][1],
            p.x * m.m[0][2] + p.y * m.m[1][2] + p.z * m.m[2][2] + m.m[3][2]};
}

// d * m without the translation row: directions and normals (the matrices here carry no shear).
inline Vec3 transformDirection(Matrix4 const& m, Vec3 d)
{
    return {d.x * m.m[0][0] + d.y * m.m[1][0] + d.z * m.m[2][0],
            d.x * m.m[0][1] + d.y * m.m[1][1] + d.z * m.m[2][1],
            d.x * m.m[0][2] + d.y * m.m[1][2] + d.z * m.m[2][2]};
}

}  // namespace hlvtrace

#endif
