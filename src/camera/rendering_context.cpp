#include <holvane/plaque.h>

#include "camera/cube_image.h"

namespace {

constexpr float kNearEdge = 9.998679161071777e-05f;
constexpr float kFarEdge = 0.9998999834060669f;
constexpr float kQuarter = 0.25005000829696655f;
constexpr float kThreeQuarters = 0.7499499917030334f;

constexpr TavPoint2 kMainPoints[4] = {
    {kNearEdge, kFarEdge}, {kFarEdge, kFarEdge}, {kNearEdge, kNearEdge}, {kFarEdge, kNearEdge}};

// upPos and downPos run the other way round from the main points; the order is the files' and stays.
constexpr TavPoint2 kExtendedPoints[8] = {
    {kNearEdge, 0.5f},      {kFarEdge, 0.5f},      {0.5f, kNearEdge},      {0.5f, kFarEdge},
    {kQuarter, kThreeQuarters}, {kThreeQuarters, kThreeQuarters}, {kQuarter, kQuarter}, {kThreeQuarters, kQuarter}};

// The cube direction at a point of pixel (x, y): the sums in single precision, the divisions in double.
TavPoint computedDirection(RenderingContext const& context, TavPoint2 const& within, unsigned long long x,
                           unsigned long long y)
{
    float const u = static_cast<float>(static_cast<double>(static_cast<float>(x) + within.x) /
                                       static_cast<double>(context.width));
    float const v = static_cast<float>(static_cast<double>(static_cast<float>(y) + within.y) /
                                       static_cast<double>(context.height));
    return Holvane::Internal::cubeDirection(u, v).direction;
}

// A table entry when the tables are filled and hold the pixel, else the computed direction.
TavPoint tableOrComputed(RenderingContext const& context, std::vector<TavPoint> const& table,
                         TavPoint2 const& within, unsigned long long x, unsigned long long y)
{
    if (context.lookupReady) {
        unsigned long long const index = x + y * context.width;
        if (index < table.size())
            return table[index];
    }
    return computedDirection(context, within, x, y);
}

}  // namespace

std::array<TavPoint2, 4> GetMainPointsPos2D()
{
    return {kMainPoints[0], kMainPoints[1], kMainPoints[2], kMainPoints[3]};
}

std::array<TavPoint2, 8> GetExtendedPointsPos2D()
{
    std::array<TavPoint2, 8> points;
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = kExtendedPoints[i];
    return points;
}

TavPoint RenderingContext::GetCenterDirection(unsigned long long x, unsigned long long y) const
{
    return tableOrComputed(*this, centerDirections, TavPoint2{0.5f, 0.5f}, x, y);
}

// A point outside the enumeration, which only a careless caller can pass, reads as the pixel's centre.
TavPoint RenderingContext::GetDirection(PLAQUE_MAIN_POINTS const& point, unsigned long long x,
                                        unsigned long long y) const
{
    if (static_cast<unsigned>(point) >= 4)
        return GetCenterDirection(x, y);
    return tableOrComputed(*this, cornerDirections[point], kMainPoints[point], x, y);
}

TavPoint RenderingContext::GetExtendedDirection(PLAQUE_EXTENDED_POINTS const& point, unsigned long long x,
                                                unsigned long long y) const
{
    if (static_cast<unsigned>(point) >= 8)
        return GetCenterDirection(x, y);
    return computedDirection(*this, kExtendedPoints[point], x, y);
}

void RenderingContext::InitLookup()
{
    std::size_t const count = width * height;
    centerDirections = std::vector<TavPoint>(count);
    for (auto& table : cornerDirections)
        table = std::vector<TavPoint>(count);
    for (unsigned long long y = 0; y < height; ++y) {
        for (unsigned long long x = 0; x < width; ++x) {
            unsigned long long const index = x + y * width;
            centerDirections[index] = computedDirection(*this, TavPoint2{0.5f, 0.5f}, x, y);
            for (int p = 0; p < 4; ++p)
                cornerDirections[p][index] = computedDirection(*this, kMainPoints[p], x, y);
        }
    }
    lookupReady = true;
}

void RenderingContext::ReleaseLookup()
{
    lookupReady = false;
    centerDirections = std::vector<TavPoint>();
    for (auto& table : cornerDirections)
        table = std::vector<TavPoint>();
}
