#include <holvane/trees.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

using Holvane::BinIO::DetectPlaqueInfo;
using Holvane::BinIO::hlvRenderSample5_t;
using Holvane::Binary::tavbin;

constexpr float kGrazingIncidence = 0.05f;  // below this a plaque is seen edge-on and covers nothing

bool isOpaque(float alpha)
{
    return !(std::fabs(alpha - 1.0f) > 0.05f);
}

// A record of a camera that the rig doesn't have (a damaged or foreign file) gets no size, so that it never
// enters the tree; its geometry was taken from a camera at the origin.
bool rigHasCamera(RenderingContext const& context, unsigned camera)
{
    return context.rig && camera < context.rig->cameras.size();
}

// The lookup tables cost a direction computation per pixel of the image, the records five each without them:
// they are filled only when the records outnumber the pixels. The plaques come out the same either way, and a
// file's claimed image size can't make us allocate more than its records back.
bool lookupPaysOff(RenderingContext const& context, std::size_t recordCount)
{
    return context.width != 0 && context.height <= recordCount / context.width;
}

template <class Record, class HasNoSize>
void buildPlaques(PlaqueKDTree& tree, std::vector<Record> const& records, float scale, HasNoSize hasNoSize)
{
    RenderingContext& context = tree.context;
    if (lookupPaysOff(context, records.size()))
        context.InitLookup();
    tree.plaques.reserve(records.size());
    for (Record const& record : records) {
        Plaque plaque = GetPlaqueInfo(context, record, scale);
        if (hasNoSize(record) || !rigHasCamera(context, record.cameraIndex))
            plaque.size = 0.0;
        tree.plaques.push_back(plaque);
    }
    context.ReleaseLookup();

    std::vector<kdpl::Point> points;
    for (std::size_t i = 0; i < tree.plaques.size(); ++i) {
        Plaque const& p = tree.plaques[i];
        if (p.normalIsValid && p.size > 0.0 && p.incidence >= kGrazingIncidence)
            points.push_back(kdpl::Point{{p.center.x, p.center.y, p.center.z}, static_cast<std::int32_t>(i)});
    }
    tree.tree.Init(points);
}

float dotProduct(TavPoint const& a, TavPoint const& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

enum class Facing { EitherWay, SameWay };

// The plaques around `center` that may overlap a plaque of `normal`, without those of `excludedCamera`, those
// already removed and those seen edge-on, largest first.
void findOverlapCandidates(PlaqueKDTree const& tree, TavPoint const& center, TavPoint const& normal, float radius,
                           float minimumCosine, int excludedCamera, Facing facing, std::vector<int>& result)
{
    tree.tree.Locate(kdpl::float3{center.x, center.y, center.z}, radius, result);
    auto const isOut = [&](int i) {
        Plaque const& p = tree.plaques[static_cast<std::size_t>(i)];
        float const cosine = dotProduct(normal, p.normal);
        float const facingCosine = facing == Facing::EitherWay ? std::fabs(cosine) : cosine;
        return p.cameraIndex == excludedCamera || tree.removed[static_cast<std::size_t>(i)] ||
               p.incidence < kGrazingIncidence || facingCosine < minimumCosine;
    };
    result.erase(std::remove_if(result.begin(), result.end(), isOut), result.end());
    std::sort(result.begin(), result.end(), [&](int a, int b) {
        return tree.plaques[static_cast<std::size_t>(a)].size > tree.plaques[static_cast<std::size_t>(b)].size;
    });
}

}  // namespace

PlaqueKDTree::PlaqueKDTree(RenderingContext const& context, std::vector<DetectPlaqueInfo> const& records,
                           float scale)
    : removed(records.size(), false), context(context)
{
    buildPlaques(*this, records, scale, [](DetectPlaqueInfo const& r) { return r.isExtrapolated != 0; });
}

PlaqueKDTree::PlaqueKDTree(RenderingContext const& context, std::vector<hlvRenderSample5_t> const& records,
                           float scale)
    : removed(records.size(), false), context(context)
{
    buildPlaques(*this, records, scale,
                 [](hlvRenderSample5_t const& r) { return !isOpaque(static_cast<float>(r.color.w)); });
}

PlaqueKDTree::PlaqueKDTree(RenderingContext const& context, std::vector<tavbin> const& records, float scale,
                           bool keepTranslucent)
    : removed(records.size(), false), context(context)
{
    buildPlaques(*this, records, scale,
                 [keepTranslucent](tavbin const& r) { return !keepTranslucent && !isOpaque(r.color.a); });
}

std::vector<int> PlaqueKDTree::GetOverlapList(TavPoint const& center, TavPoint const& normal, float radius,
                                              float minimumCosine, int excludedCamera) const
{
    std::vector<int> result;
    result.reserve(1024);
    findOverlapCandidates(*this, center, normal, radius, minimumCosine, excludedCamera, Facing::EitherWay, result);
    return result;
}

// Given the negated normal of a plaque, this finds the plaques that face away from it.
std::vector<int> PlaqueKDTree::GetBackfaceList(TavPoint const& center, TavPoint const& normal, float radius,
                                               float minimumCosine, int excludedCamera) const
{
    std::vector<int> result;
    findOverlapCandidates(*this, center, normal, radius, minimumCosine, excludedCamera, Facing::SameWay, result);
    return result;
}
