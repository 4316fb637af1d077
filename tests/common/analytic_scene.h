#ifndef HOLVANE_TESTS_ANALYTIC_SCENE_H
#define HOLVANE_TESTS_ANALYTIC_SCENE_H

#include <holvane/holvane.h>

#include <cmath>
#include <limits>
#include <vector>

namespace HolvaneTest {

// A scene whose rays are intersected exactly, in double: the inside of an axis-aligned room, boxes and
// spheres. Thread-safe: nothing changes after construction.
struct AnalyticScene {
    struct Box {
        double lo[3], hi[3];
    };
    struct Sphere {
        double centre[3], radius;
    };
    Box room;
    std::vector<Box> boxes;
    std::vector<Sphere> spheres;

    struct Hit {
        double t;
        double normal[3];
    };

    // A furnished room in centimetres: the zone of view stands at (0, 160, 0); a thin panel hangs 20 cm in
    // front of its +z face.
    static AnalyticScene furnishedRoom()
    {
        AnalyticScene scene;
        scene.room = {{-400, 0, -400}, {400, 300, 400}};
        scene.boxes = {{{-20, 100, 70}, {20, 220, 72}}, {{150, 0, 150}, {260, 90, 300}}};
        scene.spheres = {{{120, 80, -150}, 60}, {{-150, 50, 100}, 50}};
        return scene;
    }

    // The nearest hit in (1e-4, maxDistance] along the unit direction d.
    bool intersect(double const o[3], double const d[3], double maxDistance, Hit& best) const
    {
        best.t = std::numeric_limits<double>::infinity();
        insideRoom(o, d, best);
        for (Box const& box : boxes)
            outsideBox(box, o, d, best);
        for (Sphere const& sphere : spheres)
            outsideSphere(sphere, o, d, best);
        return best.t <= maxDistance;
    }

    // The callback a host hands to the library.
    static bool rayTest(TavPoint const* origin, TavPoint const* direction, double maxDistance, TavPoint* hit,
                        void* userData)
    {
        double const o[3] = {origin->x, origin->y, origin->z};
        double const d[3] = {direction->x, direction->y, direction->z};
        Hit h;
        if (!static_cast<AnalyticScene const*>(userData)->intersect(o, d, maxDistance, h))
            return false;
        hit[0] = {float(o[0] + h.t * d[0]), float(o[1] + h.t * d[1]), float(o[2] + h.t * d[2])};
        hit[1] = {float(h.normal[0]), float(h.normal[1]), float(h.normal[2])};
        return true;
    }

    // Distance from p to the nearest surface of the scene.
    double distanceToSurface(double const p[3]) const
    {
        double best = std::numeric_limits<double>::infinity();
        for (int a = 0; a < 3; ++a)
            best = std::fmin(best, std::fmin(std::fabs(p[a] - room.lo[a]), std::fabs(p[a] - room.hi[a])));
        for (Box const& box : boxes)
            best = std::fmin(best, boxDistance(box, p));
        for (Sphere const& s : spheres)
            best = std::fmin(best, std::fabs(std::sqrt(square(p[0] - s.centre[0]) + square(p[1] - s.centre[1]) +
                                                       square(p[2] - s.centre[2])) - s.radius));
        return best;
    }

private:
    static constexpr double kEpsilon = 1e-4;

    static double square(double v) { return v * v; }

    static void keep(Hit& best, double t, double nx, double ny, double nz)
    {
        if (t > kEpsilon && t < best.t)
            best = {t, {nx, ny, nz}};
    }

    // Leaving the room through the nearest wall; the wall's normal points back inside.
    void insideRoom(double const o[3], double const d[3], Hit& best) const
    {
        for (int a = 0; a < 3; ++a) {
            if (d[a] == 0.0)
                continue;
            double const wall = d[a] > 0.0 ? room.hi[a] : room.lo[a];
            double n[3] = {0, 0, 0};
            n[a] = d[a] > 0.0 ? -1.0 : 1.0;
            keep(best, (wall - o[a]) / d[a], n[0], n[1], n[2]);
        }
    }

    static void outsideBox(Box const& box, double const o[3], double const d[3], Hit& best)
    {
        double tNear = -std::numeric_limits<double>::infinity(), tFar = std::numeric_limits<double>::infinity();
        int axis = -1;
        double sign = 0.0;
        for (int a = 0; a < 3; ++a) {
            if (d[a] == 0.0) {
                if (o[a] < box.lo[a] || o[a] > box.hi[a])
                    return;
                continue;
            }
            double t0 = (box.lo[a] - o[a]) / d[a], t1 = (box.hi[a] - o[a]) / d[a];
            double s = -1.0;
            if (t0 > t1)
                std::swap(t0, t1), s = 1.0;
            if (t0 > tNear)
                tNear = t0, axis = a, sign = s;
            tFar = std::fmin(tFar, t1);
        }
        if (axis < 0 || tNear > tFar)
            return;
        double n[3] = {0, 0, 0};
        n[axis] = sign;
        keep(best, tNear, n[0], n[1], n[2]);
    }

    static void outsideSphere(Sphere const& s, double const o[3], double const d[3], Hit& best)
    {
        double const oc[3] = {o[0] - s.centre[0], o[1] - s.centre[1], o[2] - s.centre[2]};
        double const b = oc[0] * d[0] + oc[1] * d[1] + oc[2] * d[2];
        double const c = oc[0] * oc[0] + oc[1] * oc[1] + oc[2] * oc[2] - s.radius * s.radius;
        double const disc = b * b - c;
        if (disc < 0.0)
            return;
        double const t = -b - std::sqrt(disc);
        double const p[3] = {o[0] + t * d[0], o[1] + t * d[1], o[2] + t * d[2]};
        keep(best, t, (p[0] - s.centre[0]) / s.radius, (p[1] - s.centre[1]) / s.radius,
             (p[2] - s.centre[2]) / s.radius);
    }

    static double boxDistance(Box const& box, double const p[3])
    {
        double outside = 0.0, inside = -std::numeric_limits<double>::infinity();
        for (int a = 0; a < 3; ++a) {
            double const below = box.lo[a] - p[a], above = p[a] - box.hi[a];
            double const gap = std::fmax(below, above);
            outside += square(std::fmax(gap, 0.0));
            inside = std::fmax(inside, gap);
        }
        return outside > 0.0 ? std::sqrt(outside) : -inside;
    }
};

}  // namespace HolvaneTest

#endif
