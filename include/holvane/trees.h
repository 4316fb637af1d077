#ifndef HOLVANE_TREES_H
#define HOLVANE_TREES_H

// The spatial search structures of the overlap detection: a k-d tree over points with integer ids, and the
// tree of plaques built on it. Both stand outside the versioned namespaces.

#include <holvane/export.h>
#include <holvane/plaque.h>
#include <holvane/records.h>
#include <holvane/types.h>

#include <cstdint>
#include <vector>

namespace kdpl {

struct float3 {
    float x, y, z;
};

struct Point {
    float3 position;
    std::int32_t id;
};

static_assert(sizeof(Point) == 16, "a point and its id are 16 bytes");

// A k-d tree over points with ids, whose leaves hold up to 16 points laid out for four-wide arithmetic.
// Locate keeps no state in the tree: any number of threads may search at once, each with its own result.
class KDPointLocation {
public:
    HV_API KDPointLocation();
    HV_API ~KDPointLocation();
    KDPointLocation(KDPointLocation const&) = delete;
    KDPointLocation& operator=(KDPointLocation const&) = delete;

    // Builds the tree over `points`, which is reordered in the process. An empty vector leaves the tree empty.
    HV_API void Init(std::vector<Point>& points);
    // Builds the tree over `count` points whose ids are their indices.
    HV_API void Init(float3 const* points, int count);

    // The ids of all points within `radius` of `center`, in tree order. An empty tree leaves `result` as it was.
    HV_API void Locate(float3 const& center, float radius, std::vector<int>& result) const;
    // Walks the sphere's nodes and keeps the points inside the cone of `apex` and `axis`: cosine to the axis at
    // most `cosLimit` and projection on the axis between `nearLimit` and `farLimit`.
    HV_API void Locate(float3 const& center, float radius, float3 const& apex, float3 const& axis, float cosLimit,
                       float nearLimit, float farLimit, std::vector<int>& result) const;

    struct Node;
    struct Leaf;

private:
    Node* root = nullptr;
};

}  // namespace kdpl

// All plaques of one list of records, with a point tree over the centres of those that can overlap others.
class PlaqueKDTree {
public:
    std::vector<bool> removed;  // one bit per record: condemned by the overlap detection
    RenderingContext context;   // a copy of the context given, with its own lookup storage
    std::vector<Plaque> plaques;  // one per record, same index
    kdpl::KDPointLocation tree;   // centres of the plaques with a valid normal, a size and enough incidence

    HV_API PlaqueKDTree(RenderingContext const& context, std::vector<Holvane::BinIO::DetectPlaqueInfo> const& records,
                        float scale);
    HV_API PlaqueKDTree(RenderingContext const& context, std::vector<Holvane::BinIO::hlvRenderSample5_t> const& records,
                        float scale);
    HV_API PlaqueKDTree(RenderingContext const& context, std::vector<Holvane::Binary::tavbin> const& records,
                        float scale, bool keepTranslucent);

    // Plaques of other cameras near `center` that face about the same way (|cosine| at least `minimumCosine`),
    // not removed and not seen edge-on, largest first.
    HV_API std::vector<int> GetOverlapList(TavPoint const& center, TavPoint const& normal, float radius,
                                           float minimumCosine, int excludedCamera) const;
    // The same for plaques facing along `normal` (signed cosine); not part of the exported interface.
    std::vector<int> GetBackfaceList(TavPoint const& center, TavPoint const& normal, float radius,
                                     float minimumCosine, int excludedCamera) const;
};

#endif
