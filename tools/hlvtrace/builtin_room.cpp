#include "scene.h"

namespace hlvtrace {

namespace {

void addTable(Scene& scene, Vec3 corner, Vec3 size, std::uint32_t material)
{
    float const top = 0.04f, leg = 0.06f;
    Vec3 far = corner + size;
    addBox(scene, {corner.x, far.y - top, corner.z}, far, material);
    for (float x : {corner.x, far.x - leg})
        for (float z : {corner.z, far.z - leg})
            addBox(scene, {x, corner.y, z}, {x + leg, far.y - top, z + leg}, material);
}

}  // namespace

Scene builtinRoom()
{
    Scene scene;
    scene.name = "built-in room";
    std::uint32_t plaster = scene.addMaterial("plaster", {0.85f, 0.83f, 0.78f});
    std::uint32_t floor = scene.addMaterial("oak floor", {0.55f, 0.38f, 0.22f});
    std::uint32_t wood = scene.addMaterial("walnut", {0.35f, 0.22f, 0.13f});
    std::uint32_t red = scene.addMaterial("red", {0.80f, 0.15f, 0.12f});
    std::uint32_t blue = scene.addMaterial("blue", {0.15f, 0.30f, 0.80f});
    std::uint32_t green = scene.addMaterial("green", {0.20f, 0.65f, 0.25f});
    std::uint32_t yellow = scene.addMaterial("yellow", {0.90f, 0.80f, 0.20f});
    std::uint32_t steel = scene.addMaterial("steel", {0.60f, 0.62f, 0.65f});

    // The shell: 6 m by 5 m, 3 m high, every face looking inwards.
    Vec3 const lo = {-3.0f, 0.0f, -2.5f}, hi = {3.0f, 3.0f, 2.5f};
    addQuad(scene, {lo.x, lo.y, lo.z}, {lo.x, lo.y, hi.z}, {hi.x, lo.y, hi.z}, {hi.x, lo.y, lo.z}, floor);
    addQuad(scene, {lo.x, hi.y, lo.z}, {hi.x, hi.y, lo.z}, {hi.x, hi.y, hi.z}, {lo.x, hi.y, hi.z}, plaster);
    addQuad(scene, {lo.x, lo.y, lo.z}, {hi.x, lo.y, lo.z}, {hi.x, hi.y, lo.z}, {lo.x, hi.y, lo.z}, plaster);
    addQuad(scene, {lo.x, lo.y, hi.z}, {lo.x, hi.y, hi.z}, {hi.x, hi.y, hi.z}, {hi.x, lo.y, hi.z}, plaster);
    addQuad(scene, {lo.x, lo.y, lo.z}, {lo.x, hi.y, lo.z}, {lo.x, hi.y, hi.z}, {lo.x, lo.y, hi.z}, plaster);
    addQuad(scene, {hi.x, lo.y, lo.z}, {hi.x, lo.y, hi.z}, {hi.x, hi.y, hi.z}, {hi.x, hi.y, lo.z}, plaster);

    addTable(scene, {-2.2f, 0.0f, -1.9f}, {1.6f, 0.75f, 0.9f}, wood);
    addBox(scene, {2.1f, 0.0f, -2.4f}, {2.9f, 1.9f, -1.8f}, wood);  // a cabinet against the far wall
    addBox(scene, {1.2f, 0.0f, 1.4f}, {1.8f, 0.6f, 2.0f}, red);
    addBox(scene, {1.3f, 0.6f, 1.5f}, {1.7f, 0.9f, 1.9f}, yellow);  // stacked on the red box
    addBox(scene, {-2.6f, 0.0f, 1.2f}, {-1.8f, 0.45f, 2.2f}, blue);

    addSphere(scene, {-1.6f, 0.95f, -1.45f}, 0.2f, green);  // on the table
    addSphere(scene, {0.2f, 0.35f, 1.6f}, 0.35f, blue);
    addSphere(scene, {-0.9f, 2.2f, 0.8f}, 0.25f, yellow);  // hanging under the ceiling
    addBox(scene, {-0.905f, 2.45f, 0.795f}, {-0.895f, 3.0f, 0.805f}, steel);  // its wire

    // A thin pole 40 cm from the zone of view's default box (centre (0, 1.6, 0), 1 m on a side).
    addBox(scene, {0.89f, 0.0f, 0.29f}, {0.91f, 3.0f, 0.31f}, steel);
    return scene;
}

}  // namespace hlvtrace
