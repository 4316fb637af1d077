#include "ray_tracer.h"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

namespace hlvtrace {

namespace {

void throwOnError(RTCDevice device, char const* what)
{
    RTCError error = rtcGetDeviceError(device);
    if (error != RTC_ERROR_NONE)
        throw std::runtime_error(std::string("Embree failed to ") + what + " (error " + std::to_string(error) + ")");
}

RTCGeometry makeTriangleMesh(RTCDevice device, Scene const& scene)
{
    RTCGeometry mesh = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    auto* vertices = static_cast<float*>(rtcSetNewGeometryBuffer(mesh, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                                                 3 * sizeof(float), scene.vertices.size()));
    auto* indices = static_cast<unsigned*>(rtcSetNewGeometryBuffer(mesh, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                                                   3 * sizeof(unsigned), scene.triangles.size()));
    throwOnError(device, "allocate the scene's buffers");
    for (std::size_t i = 0; i < scene.vertices.size(); ++i) {
        vertices[3 * i] = scene.vertices[i].x;
        vertices[3 * i + 1] = scene.vertices[i].y;
        vertices[3 * i + 2] = scene.vertices[i].z;
    }
    std::memcpy(indices, scene.triangles.data(), scene.triangles.size() * 3 * sizeof(unsigned));
    rtcCommitGeometry(mesh);
    return mesh;
}

}  // namespace

RayTracer::RayTracer(Scene const& input)
{
    device = rtcNewDevice(nullptr);
    if (!device)
        throw std::runtime_error("Embree failed to create a device (error " +
                                 std::to_string(rtcGetDeviceError(nullptr)) + ")");
    scene = rtcNewScene(device);
    rtcSetSceneBuildQuality(scene, RTC_BUILD_QUALITY_HIGH);
    RTCGeometry mesh = makeTriangleMesh(device, input);
    rtcAttachGeometry(scene, mesh);
    rtcReleaseGeometry(mesh);
    rtcCommitScene(scene);
    throwOnError(device, "build the scene");
}

RayTracer::~RayTracer()
{
    rtcReleaseScene(scene);
    rtcReleaseDevice(device);
}

bool RayTracer::trace(Vec3 origin, Vec3 direction, float maxDistance, Hit& hit) const
{
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit query;
    query.ray.org_x = origin.x;
    query.ray.org_y = origin.y;
    query.ray.org_z = origin.z;
    query.ray.dir_x = direction.x;
    query.ray.dir_y = direction.y;
    query.ray.dir_z = direction.z;
    query.ray.tnear = 0.0f;
    query.ray.tfar = maxDistance;
    query.ray.time = 0.0f;
    query.ray.mask = std::numeric_limits<unsigned>::max();
    query.ray.id = 0;
    query.ray.flags = 0;
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(scene, &context, &query);
    if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID)
        return false;
    Vec3 normal = normalized({query.hit.Ng_x, query.hit.Ng_y, query.hit.Ng_z});
    hit.distance = query.ray.tfar;
    hit.position = origin + direction * query.ray.tfar;
    hit.normal = dot(normal, direction) > 0.0f ? normal * -1.0f : normal;
    return true;
}

}  // namespace hlvtrace
