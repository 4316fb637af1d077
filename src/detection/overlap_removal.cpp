#include <holvane/overlap.h>

#include "detection/overlap_action.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <locale>

namespace {

// Moves the runs of `stride` items whose bit is clear to the front, keeping their order, and answers how
// many runs stay. The items must hold removed.size() runs.
template <class Item>
std::size_t keepClearRuns(std::vector<Item>& items, std::vector<bool> const& removed, std::size_t stride)
{
    std::size_t kept = 0;
    for (std::size_t i = 0; i < removed.size(); ++i) {
        if (removed[i])
            continue;
        if (kept != i)
            std::copy_n(items.begin() + i * stride, stride, items.begin() + kept * stride);
        ++kept;
    }
    return kept;
}

}  // namespace

void RemoveOverlapList(std::vector<Holvane::BinIO::DetectPlaqueInfo>& records, std::vector<bool> const& removed)
{
    if (records.size() != removed.size())
        return;
    records.resize(keepClearRuns(records, removed, 1));
}

void RemoveOverlapSample5List(std::vector<Holvane::BinIO::hlvRenderSample5_t>& samples,
                              std::vector<Holvane::RenderSample::AOVData>& aovs, std::uint64_t aovCountPerSample,
                              std::vector<bool> const& removed)
{
    std::size_t const count = samples.size();
    if (count != removed.size())
        return;
    if (aovCountPerSample != 0 && aovs.size() / aovCountPerSample < count)
        return;  // the AOVs can't back every sample: the lists don't belong together
    std::size_t const stride = static_cast<std::size_t>(aovCountPerSample);
    std::size_t const kept = keepClearRuns(samples, removed, 1);
    keepClearRuns(aovs, removed, stride);
    samples.resize(kept);
    aovs.resize(kept * stride);
}

void WriteDebugCounters(std::string const& path, DebugOverlapCounters const& counters)
{
    std::ofstream out(path);
    if (!out)
        return;
    out.imbue(std::locale::classic());  // a report reads the same whatever the host's locale
    std::uint64_t const removed = counters.firstPassRemoved + counters.laterPassRemoved;
    double const percentage = static_cast<double>(removed) * 100.0 / static_cast<double>(counters.totalIndices);
    out << "Total indices: " << counters.totalIndices << "\n\n";
    out << "# of samples with null/inf normals: " << counters.nullNormals << "\n\n";
    out << "# identified in the first pass: " << counters.firstPassRemoved << "\n";
    out << "# estimated fill holes: " << counters.estimatedFillHoles << "\n";
    out << "# back faces: " << counters.backFaces << "\n";
    out << "# hyper tangents (" << static_cast<double>(Holvane::Internal::kEdgeOnIncidence)
        << "): " << counters.hyperTangents << "\n\n";
    out << "Total removed: " << removed << " (" << percentage << "%)\n" << "\n";
    out << "Final count: " << counters.totalIndices - removed << "\n";
}
