#ifndef HOLVANE_OVERLAP_H
#define HOLVANE_OVERLAP_H

// Finding and removing plaques that plaques of other cameras cover wholly. Free functions in the global
// namespace; "Dectect" is how the exported names are spelled.

#include <holvane/export.h>
#include <holvane/records.h>
#include <holvane/trees.h>

#include <cstdint>
#include <string>
#include <vector>

enum OverlapAction : std::int32_t {
    NoOverlap = 0,      // keep: not covered, or can't be judged
    InvalidPlaque = 1,  // keep: null or infinite normal
    Overlapped = 2,     // wholly covered: remove
    Deferred = 3,       // covered by worse plaques: ask again in a later round
};

struct DebugOverlapCounters {
    std::uint64_t totalIndices = 0;
    std::uint64_t firstPassRemoved = 0;
    std::uint64_t deferredCount = 0;
    std::uint64_t laterPassRemoved = 0;
    std::uint64_t nullNormals = 0;
    std::uint64_t backFaces = 0;
    std::uint64_t estimatedFillHoles = 0;
    std::uint64_t hyperTangents = 0;
};

HV_API OverlapAction GetOverlapAction(PlaqueKDTree const& tree, Plaque const& plaque, std::uint16_t pointMask,
                                      bool withQualityCheck, std::vector<bool>& usedAsCover);

HV_API void DectectOverlapsWithQualityCheck(PlaqueKDTree& tree,
                                            std::vector<Holvane::BinIO::DetectPlaqueInfo> const& records,
                                            DebugOverlapCounters* counters);
HV_API void DectectOverlapSamplesWithQualityCheck(PlaqueKDTree& tree,
                                                  std::vector<Holvane::BinIO::hlvRenderSample5_t> const& records,
                                                  DebugOverlapCounters* counters);
HV_API void DectectOverlapTavbinWithQualityCheck(PlaqueKDTree& tree,
                                                 std::vector<Holvane::Binary::tavbin> const& records,
                                                 DebugOverlapCounters* counters);
HV_API void DectectBackfaceTavbin(PlaqueKDTree& tree, std::vector<Holvane::Binary::tavbin> const& records,
                                  DebugOverlapCounters* counters);

HV_API void RemoveOverlapList(std::vector<Holvane::BinIO::DetectPlaqueInfo>& records, std::vector<bool> const& removed);
HV_API void RemoveOverlapSample5List(std::vector<Holvane::BinIO::hlvRenderSample5_t>& samples,
                                     std::vector<Holvane::RenderSample::AOVData>& aovs,
                                     std::uint64_t aovCountPerSample, std::vector<bool> const& removed);

HV_API void WriteDebugCounters(std::string const& path, DebugOverlapCounters const& counters);

#endif
