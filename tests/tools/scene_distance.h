#ifndef HOLVANE_TESTS_TOOLS_SCENE_DISTANCE_H
#define HOLVANE_TESTS_TOOLS_SCENE_DISTANCE_H

// How far a point lies from the nearest triangle of a hlvtrace scene, with the triangles sorted into a
// uniform grid so that a query only looks at those nearby.

#include "scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace HolvaneTest {

struct Point3 {
    double x, y, z;
};

inline Point3 operator-(Point3 a, Point3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Point3 operator+(Point3 a, Point3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Point3 operator*(Point3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
inline double dot(Point3 a, Point3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline double norm(Point3 a) { return std::sqrt(dot(a, a)); }

// The closest point of triangle abc to p, by the Voronoi regions of its corners, edges and face.
inline Point3 closestOnTriangle(Point3 p, Point3 a, Point3 b, Point3 c)
{
    Point3 ab = b - a, ac = c - a, ap = p - a;
    double d1 = dot(ab, ap), d2 = dot(ac, ap);
    if (d1 <= 0 && d2 <= 0)
        return a;
    Point3 bp = p - b;
    double d3 = dot(ab, bp), d4 = dot(ac, bp);
    if (d3 >= 0 && d4 <= d3)
        return b;
    double vc = d1 * d4 - d3 * d2;
    if (vc <= 0 && d1 >= 0 && d3 <= 0)
        return a + ab * (d1 / (d1 - d3));
    Point3 cp = p - c;
    double d5 = dot(ab, cp), d6 = dot(ac, cp);
    if (d6 >= 0 && d5 <= d6)
        return c;
    double vb = d5 * d2 - d1 * d6;
    if (vb <= 0 && d2 >= 0 && d6 <= 0)
        return a + ac * (d2 / (d2 - d6));
    double va = d3 * d6 - d5 * d4;
    if (va <= 0 && d4 - d3 >= 0 && d5 - d6 >= 0)
        return b + (c - b) * ((d4 - d3) / ((d4 - d3) + (d5 - d6)));
    double denominator = 1.0 / (va + vb + vc);
    return a + ab * (vb * denominator) + ac * (vc * denominator);
}

class SceneDistance {
public:
    // Queries may ask about distances up to `reach`: each triangle is filed in every cell it comes that close to.
    SceneDistance(hlvtrace::Scene const& scene, double cellSide, double reach) : scene(scene), side(cellSide)
    {
        hlvtrace::Bounds b = scene.bounds();
        lo = {b.min.x - reach, b.min.y - reach, b.min.z - reach};
        Point3 hi = {b.max.x + reach, b.max.y + reach, b.max.z + reach};
        for (int k = 0; k < 3; ++k)
            cells[k] = std::max(1, int(std::ceil((axis(hi, k) - axis(lo, k)) / side)));
        grid.resize(std::size_t(cells[0]) * cells[1] * cells[2]);
        for (std::size_t t = 0; t < scene.triangles.size(); ++t)
            insert(std::uint32_t(t), reach);
    }

    // The distance to the nearest triangle filed in p's cell: exact when that triangle is within reach.
    double distance(Point3 p) const
    {
        double best = std::numeric_limits<double>::infinity();
        Range r = range(p, p, 0.0);
        for (std::uint32_t t : grid[index(r.from[0], r.from[1], r.from[2])]) {
            auto const& tri = scene.triangles[t];
            best = std::min(best, norm(p - closestOnTriangle(p, vertex(tri[0]), vertex(tri[1]), vertex(tri[2]))));
        }
        return best;
    }

private:
    struct Range {
        int from[3], to[3];
    };

    static double axis(Point3 p, int k) { return k == 0 ? p.x : k == 1 ? p.y : p.z; }
    Point3 vertex(std::uint32_t i) const
    {
        hlvtrace::Vec3 v = scene.vertices[i];
        return {v.x, v.y, v.z};
    }
    std::size_t index(int x, int y, int z) const { return (std::size_t(x) * cells[1] + y) * cells[2] + z; }

    Range range(Point3 min, Point3 max, double margin) const
    {
        Range r;
        for (int k = 0; k < 3; ++k) {
            r.from[k] = std::clamp(int(std::floor((axis(min, k) - margin - axis(lo, k)) / side)), 0, cells[k] - 1);
            r.to[k] = std::clamp(int(std::floor((axis(max, k) + margin - axis(lo, k)) / side)), 0, cells[k] - 1);
        }
        return r;
    }

    void insert(std::uint32_t t, double reach)
    {
        auto const& tri = scene.triangles[t];
        Point3 a = vertex(tri[0]), b = vertex(tri[1]), c = vertex(tri[2]);
        Range r = range({std::min({a.x, b.x, c.x}), std::min({a.y, b.y, c.y}), std::min({a.z, b.z, c.z})},
                        {std::max({a.x, b.x, c.x}), std::max({a.y, b.y, c.y}), std::max({a.z, b.z, c.z})}, reach);
        for (int x = r.from[0]; x <= r.to[0]; ++x)
            for (int y = r.from[1]; y <= r.to[1]; ++y)
                for (int z = r.from[2]; z <= r.to[2]; ++z)
                    grid[index(x, y, z)].push_back(t);
    }

    hlvtrace::Scene const& scene;
    double side;
    Point3 lo;
    int cells[3];
    std::vector<std::vector<std::uint32_t>> grid;
};

}  // namespace HolvaneTest

#endif
