// The end of the detection's plaque list: redundancies, overlaps and small neighbours removed before the
// detect file is written.

#include <holvane/block.h>
#include <holvane/fillhole.h>
#include <holvane/overlap.h>
#include <holvane/trees.h>

#include "session/context.h"

namespace Holvane {
namespace Block {
inline namespace v2_0 {

namespace {

using BinIO::DetectPlaqueInfo;

// Plaques of one pixel lie on one layer within this tolerance; wider when only transparent surfaces are
// rendered. A mode the host never set is not the transparent one.
float redundancyTolerance()
{
    Internal::Optional<Phase::TransparencyRenderingType> const& mode = Internal::session().transparencyMode;
    return mode.isSet && mode.value == Phase::TRANSP ? 1.0f : 0.475f;
}

// Moves the transparent records to their own list, in order, and leaves the others in `records`.
std::vector<DetectPlaqueInfo> takeTransparent(std::vector<DetectPlaqueInfo>& records)
{
    std::vector<DetectPlaqueInfo> transparent;
    std::size_t kept = 0;
    for (DetectPlaqueInfo const& record : records) {
        if (record.isTransparent)
            transparent.push_back(record);
        else
            records[kept++] = record;
    }
    records.resize(kept);
    return transparent;
}

void removeOverlaps(RenderingContext const& context, std::vector<DetectPlaqueInfo>& records)
{
    if (records.empty())
        return;
    // 0.25 is the plaque scale that the tree hands on to GetPlaqueInfo: the overlap tests take each plaque's
    // corners at a quarter of its size around its centre.
    PlaqueKDTree tree(context, records, 0.25f);
    DectectOverlapsWithQualityCheck(tree, records, nullptr);
    RemoveOverlapList(records, tree.removed);
}

}  // namespace

void processFillHoleIndices(RenderingContext const& context, std::vector<DetectPlaqueInfo>& records,
                            float globalScale)
{
    BinIO::RemoveRedundancies(records, context, redundancyTolerance());
    for (DetectPlaqueInfo& record : records)
        record.level = 0;
    std::vector<DetectPlaqueInfo> transparent = takeTransparent(records);
    removeOverlaps(context, records);
    removeOverlaps(context, transparent);
    float const threshold = 0.1f / (globalScale + globalScale);
    BinIO::filterPlaqueLevels(context, threshold, records);
    BinIO::filterPlaqueLevels(context, threshold, transparent);
    records.insert(records.end(), transparent.begin(), transparent.end());
}

}  // namespace v2_0
}  // namespace Block
}  // namespace Holvane
