#ifndef HOLVANE_TESTS_PLAQUE_COVER_H
#define HOLVANE_TESTS_PLAQUE_COVER_H

// Which points of space a list of plaques covers: a point is covered by a plaque when it lies near the
// plaque's plane (a tenth of the plaque's distance, the layer rule) and, along the normal, inside its four
// corners grown by a tenth. Plaques are filed in a uniform grid by their corners' bounds, so a query reads one
// cell.

#include <holvane/holvane.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace HolvaneTest {

class PlaqueCover {
public:
    PlaqueCover(RenderingContext const& context, std::vector<Holvane::BinIO::DetectPlaqueInfo> const& plaques,
                float cell)
        : cell(cell)
    {
        for (Holvane::BinIO::DetectPlaqueInfo const& record : plaques) {
            Plaque const plaque = GetPlaqueInfo(context, record, 1.0f);
            if (plaque.normalIsValid)
                file(footprintOf(plaque));
        }
    }

    bool covers(TavPoint const& p) const
    {
        auto const found = cells.find(keyOf(p));
        if (found == cells.end())
            return false;
        for (std::size_t i : found->second)
            if (footprints[i].covers(p))
                return true;
        return false;
    }

private:
    struct Footprint {
        TavPoint center, normal, corners[4];
        float distance;

        bool covers(TavPoint const& p) const
        {
            TavPoint const v = sub(p, center);
            float const h = dot(v, normal);
            if (std::fabs(h) > 0.1f * distance)
                return false;
            TavPoint const q = {p.x - h * normal.x, p.y - h * normal.y, p.z - h * normal.z};
            return inTriangle(q, corners[0], corners[1], corners[2]) || inTriangle(q, corners[2], corners[3], corners[1]);
        }
    };

    static TavPoint sub(TavPoint const& a, TavPoint const& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    static float dot(TavPoint const& a, TavPoint const& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

    static bool inTriangle(TavPoint const& p, TavPoint const& a, TavPoint const& b, TavPoint const& c)
    {
        TavPoint const e0 = sub(b, a), e1 = sub(c, a), e2 = sub(p, a);
        double const d00 = dot(e0, e0), d01 = dot(e0, e1), d11 = dot(e1, e1), d20 = dot(e2, e0), d21 = dot(e2, e1);
        double const det = d00 * d11 - d01 * d01;
        if (!(det > 0.0))
            return false;
        double const v = (d11 * d20 - d01 * d21) / det, w = (d00 * d21 - d01 * d20) / det;
        return v >= -0.01 && w >= -0.01 && v + w <= 1.01;
    }

    static Footprint footprintOf(Plaque const& plaque)
    {
        Footprint f;
        f.center = plaque.center;
        float const length = std::sqrt(dot(plaque.normal, plaque.normal));
        f.normal = {plaque.normal.x / length, plaque.normal.y / length, plaque.normal.z / length};
        for (int i = 0; i < 4; ++i) {
            TavPoint const out = sub(plaque.corners[i], plaque.center);
            f.corners[i] = {plaque.center.x + 1.1f * out.x, plaque.center.y + 1.1f * out.y,
                            plaque.center.z + 1.1f * out.z};
        }
        f.distance = plaque.distance;
        return f;
    }

    std::int64_t cellOf(float v) const { return std::int64_t(std::floor(v / cell)); }

    std::uint64_t keyOf(TavPoint const& p) const
    {
        return key(cellOf(p.x), cellOf(p.y), cellOf(p.z));
    }

    static std::uint64_t key(std::int64_t x, std::int64_t y, std::int64_t z)
    {
        return (std::uint64_t(x & 0x1FFFFF) << 42) | (std::uint64_t(y & 0x1FFFFF) << 21) | std::uint64_t(z & 0x1FFFFF);
    }

    // Filed under every cell of its corners' bounds, one cell wider on each side.
    void file(Footprint const& f)
    {
        float lo[3] = {f.corners[0].x, f.corners[0].y, f.corners[0].z}, hi[3] = {lo[0], lo[1], lo[2]};
        for (TavPoint const& c : f.corners) {
            float const v[3] = {c.x, c.y, c.z};
            for (int a = 0; a < 3; ++a) {
                lo[a] = std::min(lo[a], v[a]);
                hi[a] = std::max(hi[a], v[a]);
            }
        }
        std::int64_t from[3], to[3];
        for (int a = 0; a < 3; ++a) {
            from[a] = cellOf(lo[a]) - 1;
            to[a] = cellOf(hi[a]) + 1;
            if (to[a] - from[a] > 64)  // a plaque that far across covers no point a test asks about
                return;
        }
        footprints.push_back(f);
        for (std::int64_t x = from[0]; x <= to[0]; ++x)
            for (std::int64_t y = from[1]; y <= to[1]; ++y)
                for (std::int64_t z = from[2]; z <= to[2]; ++z)
                    cells[key(x, y, z)].push_back(footprints.size() - 1);
    }

    float cell;
    std::vector<Footprint> footprints;
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> cells;
};

}  // namespace HolvaneTest

#endif
