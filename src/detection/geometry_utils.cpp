// Geometry helpers exported for the library's callers. The precision of each step (float sums, double
// accumulators, the order of the tests) is what callers compare against, so it is spelled out here.

#include <holvane/utils.h>

#include <cmath>

namespace Holvane {
namespace Utils {
inline namespace v2_0 {

namespace {

float dotf(TavPoint const& a, TavPoint const& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

TavPoint minus(TavPoint const& a, TavPoint const& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

// Scales to unit length with a float length whose reciprocal is taken in double; a zero vector stays zero.
TavPoint normalised(TavPoint const& v)
{
    float const length = std::sqrt(dotf(v, v));
    float const inverse = length != 0.0f ? static_cast<float>(1.0 / static_cast<double>(length)) : 0.0f;
    return {v.x * inverse, v.y * inverse, v.z * inverse};
}

TavPoint centroidOf(std::vector<TavPoint> const& points, int count)
{
    float sx = 0.0f, sy = 0.0f, sz = 0.0f;
    for (TavPoint const& p : points) {
        sx += p.x;
        sy += p.y;
        sz += p.z;
    }
    float const inverse = 1.0f / static_cast<float>(count);
    return {sx * inverse, sy * inverse, sz * inverse};
}

struct Covariance {
    double xx = 0.0, xy = 0.0, xz = 0.0, yy = 0.0, yz = 0.0, zz = 0.0;
};

Covariance covarianceAbout(std::vector<TavPoint> const& points, TavPoint const& centroid)
{
    Covariance c;
    for (TavPoint const& p : points) {
        TavPoint const d = minus(p, centroid);
        c.xx += static_cast<double>(d.x * d.x);
        c.xy += static_cast<double>(d.x * d.y);
        c.xz += static_cast<double>(d.x * d.z);
        c.yy += static_cast<double>(d.y * d.y);
        c.yz += static_cast<double>(d.y * d.z);
        c.zz += static_cast<double>(d.z * d.z);
    }
    return c;
}

// One axis of the derivative: p, c, n and E are that axis' point, camera, normal and projection term, and
// squares the sum of the camera coordinate's and the two other offsets' squares.
float derivativeComponent(double p, double c, double n, double e, double squares)
{
    double const a = n * p;
    double const b = a - e;
    return static_cast<float>((a * p - 2.0 * e * p + 2.0 * c * e - squares * n) / (std::fabs(b) * b));
}

}  // namespace

bool plane_from_points(std::vector<TavPoint> const& points, TavPoint& normal, TavPoint& centroid)
{
    int const count = static_cast<int>(points.size());
    if (count < 3)
        return false;
    centroid = centroidOf(points, count);
    Covariance const c = covarianceAbout(points, centroid);
    double const detX = c.yy * c.zz - c.yz * c.yz;
    double const detY = c.xx * c.zz - c.xz * c.xz;
    double const detZ = c.xx * c.yy - c.xy * c.xy;
    double const largest = std::fmax(std::fmax(detX, detY), detZ);
    if (!(largest > 0.0))
        return false;  // collinear or coincident points
    if (largest == detX) {
        normal = {1.0f, static_cast<float>((c.yz * c.xz - c.zz * c.xy) / detX),
                  static_cast<float>((c.yz * c.xy - c.yy * c.xz) / detX)};
    } else if (largest == detY) {
        normal = {static_cast<float>((c.yz * c.xz - c.zz * c.xy) / detY), 1.0f,
                  static_cast<float>((c.xz * c.xy - c.yz * c.xx) / detY)};
    } else {
        normal = {static_cast<float>((c.yz * c.xy - c.yy * c.xz) / detZ),
                  static_cast<float>((c.xz * c.xy - c.yz * c.xx) / detZ), 1.0f};
    }
    return true;
}

bool intersectPlaneLine(TavPoint& point, TavPoint linePoint, TavPoint lineDirection, TavPoint planePoint,
                        TavPoint planeNormal)
{
    float const facing = dotf(planeNormal, lineDirection);
    if (static_cast<double>(facing) == 0.0)
        return false;
    float const t = static_cast<float>(static_cast<double>(dotf(minus(planePoint, linePoint), planeNormal)) /
                                       static_cast<double>(facing));
    point = {linePoint.x + t * lineDirection.x, linePoint.y + t * lineDirection.y, linePoint.z + t * lineDirection.z};
    return true;
}

TavPoint vectorIntersectPlane(TavPoint const& planePoint, TavPoint const& planeNormal, TavPoint const& linePoint,
                              TavPoint const& lineDirection)
{
    TavPoint const n = normalised(planeNormal);
    TavPoint const m = normalised(lineDirection);
    TavPoint const& q = linePoint;
    // No test for a line along the plane: the division then gives infinities or NaN, as callers expect.
    double const t = (static_cast<double>(dotf(n, planePoint)) - static_cast<double>(n.x * q.x) -
                      static_cast<double>(n.y * q.y) - static_cast<double>(n.z * q.z)) /
                     static_cast<double>(dotf(m, n));
    return {static_cast<float>(static_cast<double>(m.x) * t + static_cast<double>(q.x)),
            static_cast<float>(static_cast<double>(m.y) * t + static_cast<double>(q.y)),
            static_cast<float>(static_cast<double>(m.z) * t + static_cast<double>(q.z))};
}

namespace {

bool isInFrontOf(faceinformations_t const& face, float x, float y, float z)
{
    return face.a * x + face.b * y + face.c * z + face.d >= 0.0f;  // NaN is never in front
}

}  // namespace

void getFacesForTesting(float x, float y, float z, faceinformations_t const faces[6], std::vector<int>& selected)
{
    selected.clear();
    for (int face = 0; face < 6; ++face) {
        if (isInFrontOf(faces[face], x, y, z))
            selected.push_back(face);
    }
}

void getFacesForTesting(float x, float y, float z, std::vector<faceinformations_t> faces,
                        std::vector<unsigned char>& selected)
{
    selected.clear();
    for (std::size_t face = 0; face < faces.size(); ++face) {
        if (isInFrontOf(faces[face], x, y, z))
            selected.push_back(static_cast<unsigned char>(face));
    }
    std::vector<faceinformations_t>().swap(faces);  // the copy goes before the call returns
}

void getSphericalUvalVvalTEST(int column, int row, int width, int height, bool spherical, float& u, float& v,
                              float& scale)
{
    u = static_cast<float>((column + 0.5) / width);
    // v is taken at the pixel's edge while u is at its centre: callers rely on this asymmetry.
    v = static_cast<float>(static_cast<double>(height - row) / height);
    scale = 1.0f;
    if (spherical) {
        scale = std::sin(v * 3.1415927f);
        if (scale != 0.0f)
            u /= scale;
    }
}

bool isZTooHuge(double firstDepth, double secondDepth, double scale)
{
    return std::fabs(std::atan(secondDepth / scale) - std::atan(firstDepth / scale)) > 0.3141592741012573;
}

TavPoint qualityDerivativeVectorOneCam(double const point[3], double const normal[3], double const camera[3])
{
    double const px = point[0], py = point[1], pz = point[2];
    double const nx = normal[0], ny = normal[1], nz = normal[2];
    double const cx = camera[0], cy = camera[1], cz = camera[2];
    double const dx = cx - px, dy = cy - py, dz = cz - pz;
    double const ex = nx * cx + ny * dy + nz * dz;
    double const ey = ny * cy + nx * dx + nz * dz;
    double const ez = nz * cz + ny * dy + nx * dx;
    return {derivativeComponent(px, cx, nx, ex, cx * cx + dy * dy + dz * dz),
            derivativeComponent(py, cy, ny, ey, cy * cy + dx * dx + dz * dz),
            derivativeComponent(pz, cz, nz, ez, cz * cz + dy * dy + dx * dx)};
}

TavPoint qualityDerivativeVectorDifference(double const point[3], double const normal[3], double const firstCamera[3],
                                           double const secondCamera[3])
{
    TavPoint const first = qualityDerivativeVectorOneCam(point, normal, firstCamera);
    TavPoint const second = qualityDerivativeVectorOneCam(point, normal, secondCamera);
    return minus(second, first);
}

}  // namespace v2_0
}  // namespace Utils
}  // namespace Holvane
