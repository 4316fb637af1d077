#include "detection/plaque_builder.h"

#include "camera/vector_math.h"
#include "session/context.h"
#include "session/matrix.h"

namespace Holvane {
namespace Internal {

BinIO::DetectPlaqueInfo buildPlaque(unsigned long long camera, std::int32_t x, std::int32_t y,
                                    TavPoint const& position, TavPoint const& normal, bool transparent)
{
    HolvaneContext const& s = session();
    BinIO::DetectPlaqueInfo plaque;
    plaque.cameraIndex = static_cast<std::uint8_t>(camera);
    plaque.x = static_cast<std::uint16_t>(x);
    plaque.y = static_cast<std::uint16_t>(y);
    plaque.isTransparent = transparent ? 1 : 0;
    plaque.distance = length(sub(position, s.renderingContext.rig.camerasWorld[camera]));
    plaque.normal = isDegenerate(normal) ? normal : transformDirection(s.worldToCam, normalised(normal));
    return plaque;
}

}  // namespace Internal
}  // namespace Holvane
