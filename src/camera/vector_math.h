#ifndef HOLVANE_CAMERA_VECTOR_MATH_H
#define HOLVANE_CAMERA_VECTOR_MATH_H

#include <holvane/types.h>

#include <cmath>

namespace Holvane {
namespace Internal {

// Single-precision vector arithmetic, each operation in the order written.
inline TavPoint add(TavPoint const& a, TavPoint const& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline TavPoint sub(TavPoint const& a, TavPoint const& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline TavPoint scaled(TavPoint const& a, float s)
{
    return {a.x * s, a.y * s, a.z * s};
}

inline float dot(TavPoint const& a, TavPoint const& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline float length(TavPoint const& a)
{
    return std::sqrt(dot(a, a));
}

// A vector with no usable direction: a component that is NaN or infinite, or a squared length below 1e-8.
inline bool isDegenerate(TavPoint const& a)
{
    constexpr float kSmallestSquaredLength = 9.99999905104687e-09f;
    return !std::isfinite(a.x) || !std::isfinite(a.y) || !std::isfinite(a.z) || dot(a, a) < kSmallestSquaredLength;
}

// The library's normaliser: a float length, its reciprocal taken in double and rounded to float; a zero
// vector stays as it is.
inline TavPoint normalised(TavPoint const& a)
{
    float length = std::sqrt(dot(a, a));
    if (length == 0.0f)
        return a;
    return scaled(a, static_cast<float>(1.0 / static_cast<double>(length)));
}

}  // namespace Internal
}  // namespace Holvane

#endif
