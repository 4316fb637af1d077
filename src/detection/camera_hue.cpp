#include "detection/camera_hue.h"

namespace Holvane {
namespace Internal {

TavRGBA cameraHue(unsigned camera)
{
    double const hue = camera >= 360 ? 0.0 : static_cast<double>(camera);
    // The sixth of the circle is rounded to float before its whole part and fraction are taken.
    float const sixths = static_cast<float>(hue / 60.0);
    int const sextant = static_cast<int>(sixths);
    float const f = sixths - static_cast<float>(sextant);
    float const q = 1.0f - f;
    switch (sextant) {
    case 0:
        return {1.0f, f, 0.0f, 1.0f};
    case 1:
        return {q, 1.0f, 0.0f, 1.0f};
    case 2:
        return {0.0f, 1.0f, f, 1.0f};
    case 3:
        return {0.0f, q, 1.0f, 1.0f};
    case 4:
        return {f, 0.0f, 1.0f, 1.0f};
    default:
        return {1.0f, 0.0f, q, 1.0f};
    }
}

}  // namespace Internal
}  // namespace Holvane
