#ifndef HOLVANE_RENDERSAMPLE_H
#define HOLVANE_RENDERSAMPLE_H

// What the host hands back for each shading result of the render phase.

#include <holvane/export.h>
#include <holvane/records.h>
#include <holvane/types.h>

#include <vector>

namespace Holvane {
namespace RenderSample {
inline namespace v2_0 {

// One shading result. The library copies it, AOV slots included.
struct HvRenderSample {
    TavPoint position;        // camera space, scene units
    TavPoint normal;          // camera space, not renormalised
    TavRGBA color;
    float posX;               // fractional part of the sample's image x
    float posY;
    double z;                 // depth along the ray, as the host measures it
    std::vector<AOVData> aovs;  // one slot per registered AOV, in the session's order
};

}  // namespace v2_0
}  // namespace RenderSample
}  // namespace Holvane

#endif
