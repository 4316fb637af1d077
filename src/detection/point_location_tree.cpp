#include <holvane/trees.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#define HOLVANE_KDPL_SSE2 1
#include <emmintrin.h>
#else
#define HOLVANE_KDPL_SSE2 0
#endif

namespace kdpl {

namespace {

constexpr int kLeafCapacity = 16;
constexpr float kFiller = std::numeric_limits<float>::max();  // coordinates of the unused lanes

float coordinate(Point const& p, int axis)
{
    return axis == 0 ? p.position.x : axis == 1 ? p.position.y : p.position.z;
}

// Orders points along one axis. NaN coordinates sort after all numbers, so that the selection always has a
// strict weak order to work with, whatever the points hold.
struct AlongAxis {
    int axis;
    bool operator()(Point const& a, Point const& b) const
    {
        float const u = coordinate(a, axis);
        float const v = coordinate(b, axis);
        return u < v || (std::isnan(v) && !std::isnan(u));
    }
};

}  // namespace

// Sixteen points as four arrays, so that four lanes of each are read at once.
struct alignas(16) KDPointLocation::Leaf {
    float x[kLeafCapacity];
    float y[kLeafCapacity];
    float z[kLeafCapacity];
    std::int32_t id[kLeafCapacity];
};

static_assert(sizeof(KDPointLocation::Leaf) == 256, "a leaf block is 256 bytes");

struct KDPointLocation::Node {
    alignas(16) float boundsMin[4];  // the fourth lane stays 0
    alignas(16) float boundsMax[4];
    std::int32_t axis;  // -1 on a leaf
    float split;
    Node* left;
    Node* right;
    Leaf* leaf;
    // Leaves only: one bit per lane that holds a point. The filler lanes fail the tests for any finite query,
    // but a huge radius or a degenerate cone would let them through; this mask keeps them out for good.
    std::uint32_t usedLanes;
};

namespace {

using Node = KDPointLocation::Node;
using Leaf = KDPointLocation::Leaf;

void destroy(Node* node)
{
    if (!node)
        return;
    destroy(node->left);
    destroy(node->right);
    delete node->leaf;
    delete node;
}

void computeBounds(Node& node, Point const* first, std::size_t count)
{
    float lo[3] = {first->position.x, first->position.y, first->position.z};
    float hi[3] = {lo[0], lo[1], lo[2]};
    for (std::size_t i = 1; i < count; ++i) {
        float const c[3] = {first[i].position.x, first[i].position.y, first[i].position.z};
        for (int a = 0; a < 3; ++a) {
            lo[a] = std::min(lo[a], c[a]);
            hi[a] = std::max(hi[a], c[a]);
        }
    }
    for (int a = 0; a < 3; ++a) {
        node.boundsMin[a] = lo[a];
        node.boundsMax[a] = hi[a];
    }
}

// The largest extent; a tie goes to the smaller axis index.
int widestAxis(Node const& node)
{
    float const ex = node.boundsMax[0] - node.boundsMin[0];
    float const ey = node.boundsMax[1] - node.boundsMin[1];
    float const ez = node.boundsMax[2] - node.boundsMin[2];
    if (ex >= ey && ex >= ez)
        return 0;
    if (ey >= ez)
        return 1;
    return 2;
}

void fillLeaf(Node& node, Point const* first, std::size_t count)
{
    node.axis = -1;
    node.leaf = new Leaf;
    Leaf& leaf = *node.leaf;
    for (int lane = 0; lane < kLeafCapacity; ++lane) {
        bool const used = static_cast<std::size_t>(lane) < count;
        leaf.x[lane] = used ? first[lane].position.x : kFiller;
        leaf.y[lane] = used ? first[lane].position.y : kFiller;
        leaf.z[lane] = used ? first[lane].position.z : kFiller;
        leaf.id[lane] = used ? first[lane].id : -1;
    }
    node.usedLanes = (1u << count) - 1u;
}

// Builds the subtree of points[lo..hi] into `slot`. The node is attached before its children are built, so
// that a failed allocation leaves a tree that the caller can free.
void build(Node*& slot, Point* points, std::size_t lo, std::size_t hi)
{
    slot = new Node();
    Node& node = *slot;
    std::size_t const count = hi - lo + 1;
    computeBounds(node, points + lo, count);
    if (count <= static_cast<std::size_t>(kLeafCapacity)) {
        fillLeaf(node, points + lo, count);
        return;
    }
    node.axis = widestAxis(node);
    std::size_t const m = lo + (hi - lo) / 2;  // (lo + hi) / 2 without the overflow
    std::nth_element(points + lo, points + m, points + hi + 1, AlongAxis{node.axis});
    node.split = coordinate(points[m], node.axis);
    build(node.left, points, lo, m);
    build(node.right, points, m + 1, hi);
}

// The walk's query: the sphere and the box around it.
struct Query {
    float center[3];
    float radius;
    alignas(16) float boxMin[4];
    alignas(16) float boxMax[4];

    Query(float3 const& c, float r)
        : center{c.x, c.y, c.z},
          radius(r),
          boxMin{c.x - r, c.y - r, c.z - r, 0.0f},
          boxMax{c.x + r, c.y + r, c.z + r, 0.0f}
    {
    }
};

// True when the node's box lies wholly on one side of the query box along some axis (strict comparisons).
bool missesBox(Node const& node, Query const& q)
{
#if HOLVANE_KDPL_SSE2
    __m128 const below = _mm_cmplt_ps(_mm_load_ps(node.boundsMax), _mm_load_ps(q.boxMin));
    __m128 const above = _mm_cmplt_ps(_mm_load_ps(q.boxMax), _mm_load_ps(node.boundsMin));
    return _mm_movemask_ps(_mm_or_ps(below, above)) != 0;  // the fourth lanes hold 0 < 0
#else
    for (int a = 0; a < 3; ++a) {
        if (node.boundsMax[a] < q.boxMin[a] || q.boxMax[a] < node.boundsMin[a])
            return true;
    }
    return false;
#endif
}

void appendLanes(Leaf const& leaf, std::uint32_t bits, std::vector<int>& result)
{
    while (bits != 0) {
        int const lane = __builtin_ctz(bits);
        result.push_back(leaf.id[lane]);
        bits &= bits - 1u;
    }
}

// Visits, left before right, every leaf that the sphere's walk reaches, and hands it to `testLeaf`. Equal
// coordinates may lie on either side of a split, hence both sides on equality.
template <class LeafTest>
void walk(Node const* node, Query const& q, LeafTest const& testLeaf)
{
    for (;;) {
        if (node->axis < 0) {
            testLeaf(*node);
            return;
        }
        if (missesBox(*node, q))
            return;
        float const c = q.center[node->axis];
        if (!(c - q.radius > node->split))
            walk(node->left, q, testLeaf);
        if (node->split > c + q.radius)
            return;
        node = node->right;
    }
}

// Keeps the lanes whose squared distance from the centre is at most radius squared.
struct SphereTest {
    float center[3];
    float radiusSquared;
    std::vector<int>& result;

    void operator()(Node const& node) const
    {
        Leaf const& leaf = *node.leaf;
        std::uint32_t bits = 0;
#if HOLVANE_KDPL_SSE2
        __m128 const cx = _mm_set1_ps(center[0]);
        __m128 const cy = _mm_set1_ps(center[1]);
        __m128 const cz = _mm_set1_ps(center[2]);
        __m128 const limit = _mm_set1_ps(radiusSquared);
        for (int g = 0; g < kLeafCapacity; g += 4) {
            __m128 const dx = _mm_sub_ps(_mm_load_ps(leaf.x + g), cx);
            __m128 const dy = _mm_sub_ps(_mm_load_ps(leaf.y + g), cy);
            __m128 const dz = _mm_sub_ps(_mm_load_ps(leaf.z + g), cz);
            __m128 const d2 = _mm_add_ps(_mm_add_ps(_mm_mul_ps(dx, dx), _mm_mul_ps(dy, dy)), _mm_mul_ps(dz, dz));
            bits |= static_cast<std::uint32_t>(_mm_movemask_ps(_mm_cmple_ps(d2, limit))) << g;
        }
#else
        for (int lane = 0; lane < kLeafCapacity; ++lane) {
            float const dx = leaf.x[lane] - center[0];
            float const dy = leaf.y[lane] - center[1];
            float const dz = leaf.z[lane] - center[2];
            bits |= static_cast<std::uint32_t>(dx * dx + dy * dy + dz * dz <= radiusSquared) << lane;
        }
#endif
        appendLanes(leaf, bits & node.usedLanes, result);
    }
};

// Keeps the lanes within the cone: with v = point - apex and d = v . axis, d / |v| at most cosLimit (through
// the fast approximate reciprocal square root) and nearLimit <= d <= farLimit. "At most" is the exported
// behaviour that callers rely on, not a reversed test.
struct ConeTest {
    float3 apex;
    float3 axis;
    float cosLimit;
    float nearLimit;
    float farLimit;
    std::vector<int>& result;

    void operator()(Node const& node) const
    {
        Leaf const& leaf = *node.leaf;
        std::uint32_t bits = 0;
#if HOLVANE_KDPL_SSE2
        __m128 const px = _mm_set1_ps(apex.x);
        __m128 const py = _mm_set1_ps(apex.y);
        __m128 const pz = _mm_set1_ps(apex.z);
        __m128 const ax = _mm_set1_ps(axis.x);
        __m128 const ay = _mm_set1_ps(axis.y);
        __m128 const az = _mm_set1_ps(axis.z);
        __m128 const cosine = _mm_set1_ps(cosLimit);
        __m128 const nearest = _mm_set1_ps(nearLimit);
        __m128 const farthest = _mm_set1_ps(farLimit);
        for (int g = 0; g < kLeafCapacity; g += 4) {
            __m128 const vx = _mm_sub_ps(_mm_load_ps(leaf.x + g), px);
            __m128 const vy = _mm_sub_ps(_mm_load_ps(leaf.y + g), py);
            __m128 const vz = _mm_sub_ps(_mm_load_ps(leaf.z + g), pz);
            __m128 const d = _mm_add_ps(_mm_add_ps(_mm_mul_ps(vx, ax), _mm_mul_ps(vy, ay)), _mm_mul_ps(vz, az));
            __m128 const v2 = _mm_add_ps(_mm_add_ps(_mm_mul_ps(vx, vx), _mm_mul_ps(vy, vy)), _mm_mul_ps(vz, vz));
            __m128 const inside = _mm_and_ps(_mm_cmple_ps(_mm_mul_ps(d, _mm_rsqrt_ps(v2)), cosine),
                                             _mm_and_ps(_mm_cmple_ps(d, farthest), _mm_cmple_ps(nearest, d)));
            bits |= static_cast<std::uint32_t>(_mm_movemask_ps(inside)) << g;
        }
#else
        for (int lane = 0; lane < kLeafCapacity; ++lane) {
            float const vx = leaf.x[lane] - apex.x;
            float const vy = leaf.y[lane] - apex.y;
            float const vz = leaf.z[lane] - apex.z;
            float const d = vx * axis.x + vy * axis.y + vz * axis.z;
            float const v2 = vx * vx + vy * vy + vz * vz;
            bool const inside = d * (1.0f / std::sqrt(v2)) <= cosLimit && d <= farLimit && nearLimit <= d;
            bits |= static_cast<std::uint32_t>(inside) << lane;
        }
#endif
        appendLanes(leaf, bits & node.usedLanes, result);
    }
};

}  // namespace

KDPointLocation::KDPointLocation() = default;

KDPointLocation::~KDPointLocation()
{
    destroy(root);
}

void KDPointLocation::Init(std::vector<Point>& points)
{
    destroy(root);
    root = nullptr;
    if (points.empty())
        return;
    try {
        build(root, points.data(), 0, points.size() - 1);
    } catch (...) {
        destroy(root);
        root = nullptr;
        throw;
    }
}

void KDPointLocation::Init(float3 const* points, int count)
{
    std::vector<Point> numbered(count > 0 ? static_cast<std::size_t>(count) : 0);
    for (std::size_t i = 0; i < numbered.size(); ++i)
        numbered[i] = Point{points[i], static_cast<std::int32_t>(i)};
    Init(numbered);
}

// Only a tree with a root clears the result: an empty tree leaves it as it was.
void KDPointLocation::Locate(float3 const& center, float radius, std::vector<int>& result) const
{
    if (!root)
        return;
    result.clear();
    walk(root, Query(center, radius), SphereTest{{center.x, center.y, center.z}, radius * radius, result});
}

// The sphere only bounds the walk: a point of the cone outside it is kept when its leaf is reached.
void KDPointLocation::Locate(float3 const& center, float radius, float3 const& apex, float3 const& axis,
                             float cosLimit, float nearLimit, float farLimit, std::vector<int>& result) const
{
    if (!root)
        return;
    result.clear();
    walk(root, Query(center, radius), ConeTest{apex, axis, cosLimit, nearLimit, farLimit, result});
}

}  // namespace kdpl
