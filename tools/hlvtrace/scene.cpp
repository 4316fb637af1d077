#include "scene.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace hlvtrace {

std::uint32_t Scene::addMaterial(std::string const& materialName, Vec3 diffuse)
{
    materials.push_back({materialName, diffuse});
    return static_cast<std::uint32_t>(materials.size() - 1);
}

void Scene::addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t material)
{
    triangles.push_back({a, b, c});
    triangleMaterials.push_back(material);
}

Bounds Scene::bounds() const
{
    float const inf = std::numeric_limits<float>::infinity();
    Bounds box{{inf, inf, inf}, {-inf, -inf, -inf}};
    for (auto const& triangle : triangles)
        for (std::uint32_t index : triangle) {
            Vec3 v = vertices[index];
            box.min = {std::min(box.min.x, v.x), std::min(box.min.y, v.y), std::min(box.min.z, v.z)};
            box.max = {std::max(box.max.x, v.x), std::max(box.max.y, v.y), std::max(box.max.z, v.z)};
        }
    return box;
}

namespace {

std::uint32_t addVertex(Scene& scene, Vec3 v)
{
    scene.vertices.push_back(v);
    return static_cast<std::uint32_t>(scene.vertices.size() - 1);
}

}  // namespace

void addQuad(Scene& scene, Vec3 a, Vec3 b, Vec3 c, Vec3 d, std::uint32_t material, bool flip)
{
    std::uint32_t ia = addVertex(scene, a), ib = addVertex(scene, b), ic = addVertex(scene, c),
                  id = addVertex(scene, d);
    if (flip)
        std::swap(ib, id);
    scene.addTriangle(ia, ib, ic, material);
    scene.addTriangle(ia, ic, id, material);
}

void addBox(Scene& scene, Vec3 lo, Vec3 hi, std::uint32_t material, bool inward)
{
    Vec3 const c[8] = {{lo.x, lo.y, lo.z}, {hi.x, lo.y, lo.z}, {hi.x, hi.y, lo.z}, {lo.x, hi.y, lo.z},
                       {lo.x, lo.y, hi.z}, {hi.x, lo.y, hi.z}, {hi.x, hi.y, hi.z}, {lo.x, hi.y, hi.z}};
    int const faces[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 4, 7, 3}, {1, 2, 6, 5}, {0, 1, 5, 4}, {3, 7, 6, 2}};
    for (auto const& f : faces)
        addQuad(scene, c[f[0]], c[f[1]], c[f[2]], c[f[3]], material, inward);
}

void addSphere(Scene& scene, Vec3 centre, float radius, std::uint32_t material, int rings)
{
    int const segments = 2 * rings;
    float const pi = 3.14159265f;
    auto point = [&](int ring, int segment) {
        float theta = pi * float(ring) / float(rings), phi = 2.0f * pi * float(segment) / float(segments);
        return centre + Vec3{std::sin(theta) * std::cos(phi), std::cos(theta), std::sin(theta) * std::sin(phi)} *
                            radius;
    };
    std::uint32_t first = static_cast<std::uint32_t>(scene.vertices.size());
    for (int ring = 0; ring <= rings; ++ring)
        for (int segment = 0; segment <= segments; ++segment)
            scene.vertices.push_back(point(ring, segment));
    auto at = [&](int ring, int segment) { return first + std::uint32_t(ring * (segments + 1) + segment); };
    for (int ring = 0; ring < rings; ++ring)
        for (int segment = 0; segment < segments; ++segment) {
            if (ring > 0)
                scene.addTriangle(at(ring, segment), at(ring, segment + 1), at(ring + 1, segment), material);
            if (ring < rings - 1)
                scene.addTriangle(at(ring, segment + 1), at(ring + 1, segment + 1), at(ring + 1, segment), material);
        }
}

}  // namespace hlvtrace
