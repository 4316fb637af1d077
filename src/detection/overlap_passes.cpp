#include <holvane/overlap.h>

#include "camera/vector_math.h"
#include "detection/overlap_action.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

using Holvane::BinIO::DetectPlaqueInfo;
using Holvane::Binary::tavbin;
using Holvane::Internal::kEdgeOnIncidence;

constexpr std::uint16_t kAllPoints = 65535;

// Detection plaques: estimated fill holes go first and are judged without the quality check, then the
// back faces, then the rest.
struct FillHolesFirst {
    static int rank(DetectPlaqueInfo const& record, Plaque const& plaque)
    {
        return (record.isExtrapolated ? 0 : 2) + (plaque.isFrontFacing ? 1 : 0);
    }
    static bool qualityCheck(DetectPlaqueInfo const& record) { return !record.isExtrapolated; }
    static bool estimatedFillHole(DetectPlaqueInfo const& record) { return record.isExtrapolated != 0; }
};

// Shaded samples and merged records: front faces go first, all judged with the quality check. The order of the
// facing is the reverse of the detection plaques' on purpose.
struct FrontFacesFirst {
    template <class Record>
    static int rank(Record const&, Plaque const& plaque)
    {
        return plaque.isFrontFacing ? 0 : 1;
    }
    template <class Record>
    static bool qualityCheck(Record const&)
    {
        return true;
    }
    template <class Record>
    static bool estimatedFillHole(Record const&)
    {
        return false;
    }
};

// A tree built from another list than the one given can't be walked.
bool treeMatches(PlaqueKDTree const& tree, std::size_t count)
{
    return tree.plaques.size() == count && tree.removed.size() == count &&
           count <= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
}

// Size ascending, a NaN after every number so that the order stays strict and weak.
bool smallerSize(double a, double b)
{
    if (std::isnan(a))
        return false;
    return std::isnan(b) || a < b;
}

// The plaques from the most disposable to the least: by rank, then by size ascending. Ties keep the
// records' order, so that the walk does not depend on the sort's implementation.
template <class Rules, class Record>
std::vector<std::uint32_t> walkOrder(PlaqueKDTree const& tree, std::vector<Record> const& records)
{
    struct Key {
        double size;
        std::uint32_t index;
        int rank;
    };
    std::vector<Key> keys(records.size());
    for (std::size_t i = 0; i < keys.size(); ++i)
        keys[i] = {tree.plaques[i].size, static_cast<std::uint32_t>(i), Rules::rank(records[i], tree.plaques[i])};
    std::sort(keys.begin(), keys.end(), [](Key const& a, Key const& b) {
        if (a.rank != b.rank)
            return a.rank < b.rank;
        if (smallerSize(a.size, b.size) || smallerSize(b.size, a.size))
            return smallerSize(a.size, b.size);
        return a.index < b.index;
    });
    std::vector<std::uint32_t> order(keys.size());
    std::transform(keys.begin(), keys.end(), order.begin(), [](Key const& key) { return key.index; });
    return order;
}

void countKinds(DebugOverlapCounters& counters, Plaque const& plaque, bool estimatedFillHole)
{
    counters.backFaces += plaque.isFrontFacing ? 0 : 1;
    counters.estimatedFillHoles += estimatedFillHole ? 1 : 0;
    counters.hyperTangents += plaque.incidence < kEdgeOnIncidence ? 1 : 0;
}

// Walks the plaques in order and removes those wholly covered by others. A plaque that a removal of the
// same round leans on is put off to the next round instead of being judged; rounds go on while the list of
// plaques put off still shrinks.
template <class Rules, class Record>
void detectOverlaps(PlaqueKDTree& tree, std::vector<Record> const& records, DebugOverlapCounters* given)
{
    DebugOverlapCounters local;
    DebugOverlapCounters& counters = given ? *given : local;
    counters = DebugOverlapCounters{};
    if (!treeMatches(tree, records.size()))
        return;
    counters.totalIndices = records.size();

    std::vector<bool> usedAsCover(records.size(), false);
    std::vector<std::uint32_t> deferred;
    for (std::uint32_t const i : walkOrder<Rules>(tree, records)) {
        Plaque const& plaque = tree.plaques[i];
        countKinds(counters, plaque, Rules::estimatedFillHole(records[i]));
        if (usedAsCover[i]) {
            deferred.push_back(i);
            ++counters.deferredCount;
            continue;
        }
        switch (GetOverlapAction(tree, plaque, kAllPoints, Rules::qualityCheck(records[i]), usedAsCover)) {
        case InvalidPlaque:
            ++counters.nullNormals;
            break;
        case Overlapped:
            tree.removed[i] = true;
            ++counters.firstPassRemoved;
            break;
        case Deferred:
            deferred.push_back(i);
            ++counters.deferredCount;
            break;
        default:
            break;
        }
    }

    // An empty list can't change in length: the rounds end there as well.
    std::vector<std::uint32_t> next;
    while (!deferred.empty()) {
        std::fill(usedAsCover.begin(), usedAsCover.end(), false);
        next.clear();
        for (std::uint32_t const i : deferred) {
            if (usedAsCover[i]) {
                next.push_back(i);
                ++counters.deferredCount;
                continue;
            }
            OverlapAction const action =
                GetOverlapAction(tree, tree.plaques[i], kAllPoints, Rules::qualityCheck(records[i]), usedAsCover);
            if (action == Overlapped) {
                tree.removed[i] = true;
                ++counters.laterPassRemoved;
            } else if (action == Deferred) {
                next.push_back(i);  // put off again, not counted again
            }
        }
        bool const settled = next.size() == deferred.size();
        deferred.swap(next);
        if (settled)
            break;
    }
}

// Whether plaque i may be weighed against what lies behind it: not removed yet, a usable normal, not seen
// edge-on.
bool canHideBackFace(PlaqueKDTree const& tree, std::uint32_t i)
{
    Plaque const& plaque = tree.plaques[i];
    return !tree.removed[i] && !Holvane::Internal::isDegenerate(plaque.normal) &&
           plaque.incidence > kEdgeOnIncidence;
}

// The average |size| of the listed plaques, in float.
float averageSize(std::vector<Plaque> const& plaques, std::vector<int> const& listed)
{
    float sum = 0.0f;
    std::size_t counted = 0;
    for (int const index : listed) {
        if (index < 0 || static_cast<std::size_t>(index) >= plaques.size())
            continue;
        sum += static_cast<float>(std::fabs(plaques[index].size));
        ++counted;
    }
    return counted ? sum / static_cast<float>(counted) : 0.0f;
}

}  // namespace

void DectectOverlapsWithQualityCheck(PlaqueKDTree& tree, std::vector<DetectPlaqueInfo> const& records,
                                     DebugOverlapCounters* counters)
{
    detectOverlaps<FillHolesFirst>(tree, records, counters);
}

void DectectOverlapSamplesWithQualityCheck(PlaqueKDTree& tree,
                                           std::vector<Holvane::BinIO::hlvRenderSample5_t> const& records,
                                           DebugOverlapCounters* counters)
{
    detectOverlaps<FrontFacesFirst>(tree, records, counters);
}

void DectectOverlapTavbinWithQualityCheck(PlaqueKDTree& tree, std::vector<tavbin> const& records,
                                          DebugOverlapCounters* counters)
{
    detectOverlaps<FrontFacesFirst>(tree, records, counters);
}

// The counters are part of the signature only: this pass counts nothing.
void DectectBackfaceTavbin(PlaqueKDTree& tree, std::vector<tavbin> const& records, DebugOverlapCounters*)
{
    if (!treeMatches(tree, records.size()))
        return;
    for (std::uint32_t const i : walkOrder<FrontFacesFirst>(tree, records)) {
        if (!canHideBackFace(tree, i))
            continue;
        Plaque const& plaque = tree.plaques[i];
        TavPoint const behind = {-plaque.normal.x, -plaque.normal.y, -plaque.normal.z};
        float const radius = 0.25f * Holvane::Internal::overlapSearchRadius(tree.context, plaque);
        std::vector<int> const facing = tree.GetBackfaceList(plaque.center, behind, radius, 0.25f, plaque.cameraIndex);
        if (!facing.empty() && 2.0 * plaque.size < static_cast<double>(averageSize(tree.plaques, facing)))
            tree.removed[i] = true;
    }
}
