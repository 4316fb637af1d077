#ifndef HLVTRACE_SCENE_H
#define HLVTRACE_SCENE_H

// A scene as hlvtrace holds it: one triangle soup with a diffuse colour per triangle. Built in code
// (the furnished room) or read from a Wavefront OBJ file.

#include "vec3.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace hlvtrace {

struct Material {
    std::string name;
    Vec3 diffuse;
};

struct Bounds {
    Vec3 min, max;
    Vec3 size() const { return max - min; }
    Vec3 centre() const { return (min + max) * 0.5f; }
};

struct Scene {
    std::string name;  // shown in the summary: the file's path, or "built-in room"
    std::vector<Vec3> vertices;
    std::vector<std::array<std::uint32_t, 3>> triangles;
    std::vector<std::uint32_t> triangleMaterials;  // index into materials, one per triangle
    std::vector<Material> materials;

    std::uint32_t addMaterial(std::string const& name, Vec3 diffuse);
    void addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t material);
    Bounds bounds() const;  // of the vertices that triangles use
};

// The colour of a triangle without a material.
constexpr Vec3 defaultGrey = {0.6f, 0.6f, 0.6f};

// Shapes for scenes made in code. A quad a b c d faces the side from which it turns counter-clockwise
// (`flip` turns it round). Faces of a box look outwards; a box made with `inward` looks into itself.
void addQuad(Scene& scene, Vec3 a, Vec3 b, Vec3 c, Vec3 d, std::uint32_t material, bool flip = false);
void addBox(Scene& scene, Vec3 min, Vec3 max, std::uint32_t material, bool inward = false);
void addSphere(Scene& scene, Vec3 centre, float radius, std::uint32_t material, int rings = 16);

// The furnished room: floor, walls and ceiling, a table, boxes and spheres of different colours, and a thin
// pole close to the zone of view. Metres, Y up, the floor at y = 0.
Scene builtinRoom();

}  // namespace hlvtrace

#endif
