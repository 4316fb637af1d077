#include "zone_of_view.h"

#include "input_error.h"

#include <algorithm>

namespace hlvtrace {

Matrix4 ZoneOfView::boxToWorld() const
{
    return {{{1.0f, 0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f, 0.0f},
             {centre.x, centre.y, centre.z, 1.0f}}};
}

namespace {

Vec3 defaultSize(Bounds const& bounds, float metre)
{
    Vec3 extent = bounds.size();
    float side = std::min({metre, extent.x / 3.0f, extent.y / 3.0f, extent.z / 3.0f});
    return {side, side, side};
}

Vec3 defaultCentre(Bounds const& bounds, float metre)
{
    Vec3 middle = bounds.centre();
    float eye = std::min(1.6f * metre, bounds.size().y * 2.0f / 3.0f);
    return {middle.x, bounds.min.y + eye, middle.z};
}

}  // namespace

ZoneOfView placeZoneOfView(Scene const& scene, Options const& options)
{
    Bounds bounds = scene.bounds();
    float metre = float(100.0 / options.scale);  // scene units
    ZoneOfView zone;
    zone.scale = options.scale;
    zone.size = options.boxSize ? *options.boxSize : defaultSize(bounds, metre);
    zone.centre = options.boxCentre ? *options.boxCentre : defaultCentre(bounds, metre);
    if (!(zone.size.x > 0.0f && zone.size.y > 0.0f && zone.size.z > 0.0f))
        throw InputError(scene.name, "the scene is flat, so the default zone of view holds no space (give --box-size)");
    zone.distanceToGround = double(zone.centre.y - bounds.min.y) * options.scale / 100.0;
    return zone;
}

}  // namespace hlvtrace
