// The spatial trees against nanoflann on the same million points: building, sphere queries of some twenty
// results, and the plaque tree's overlap query against a nanoflann search followed by the same filter and sort.
#include <holvane/plaque.h>
#include <holvane/trees.h>

#include "camera/camera_rig.h"

#include <benchmark/benchmark.h>
#include <nanoflann.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace {

constexpr int kPointCount = 1000000;
constexpr int kQueryCount = 4096;
constexpr double kWantedResults = 20.0;

// nanoflann's view of a point array.
struct Cloud {
    std::vector<kdpl::float3> const* points;
    std::size_t kdtree_get_point_count() const { return points->size(); }
    float kdtree_get_pt(std::size_t i, std::size_t axis) const
    {
        kdpl::float3 const& p = (*points)[i];
        return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
    }
    template <class Box>
    bool kdtree_get_bbox(Box&) const
    {
        return false;
    }
};

using Flann = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, Cloud>, Cloud, 3, std::uint32_t>;
using Matches = std::vector<std::pair<std::uint32_t, float>>;

// The index keeps a reference to `cloud`, which must outlive it.
std::unique_ptr<Flann> buildFlann(Cloud const& cloud, std::size_t leafSize)
{
    auto index = std::make_unique<Flann>(3, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(leafSize));
    index->buildIndex();
    return index;
}

// A sphere radius that finds about kWantedResults points around the queries, by the cube-root law of density.
float radiusForResults(kdpl::KDPointLocation const& tree, std::vector<kdpl::float3> const& queries)
{
    float radius = 1.0f;
    std::vector<int> found;
    for (int round = 0; round < 3; ++round) {
        double total = 0.0;
        for (kdpl::float3 const& q : queries) {
            tree.Locate(q, radius, found);
            total += double(found.size());
        }
        double const mean = std::max(total / double(queries.size()), 0.1);
        radius *= float(std::cbrt(kWantedResults / mean));
    }
    return radius;
}

// A million points uniform in a cube of side 100, queries away from its faces.
struct UniformPoints {
    std::vector<kdpl::float3> points, queries;
    kdpl::KDPointLocation tree;
    Cloud cloud{&points};
    std::unique_ptr<Flann> flann10, flann16;  // nanoflann's default leaf size and ours
    float radius;

    UniformPoints()
    {
        std::mt19937 random(7);
        std::uniform_real_distribution<float> inside(0.0f, 100.0f), away(5.0f, 95.0f);
        for (int i = 0; i < kPointCount; ++i)
            points.push_back({inside(random), inside(random), inside(random)});
        for (int i = 0; i < kQueryCount; ++i)
            queries.push_back({away(random), away(random), away(random)});
        tree.Init(points.data(), int(points.size()));
        flann10 = buildFlann(cloud, 10);
        flann16 = buildFlann(cloud, 16);
        radius = radiusForResults(tree, queries);
    }
    static UniformPoints const& get()
    {
        static UniformPoints const data;
        return data;
    }
};

void reportResults(benchmark::State& state, std::size_t found)
{
    state.SetItemsProcessed(state.iterations());
    state.counters["results/query"] = benchmark::Counter(double(found), benchmark::Counter::kAvgIterations);
}

void BM_PointLocationInit(benchmark::State& state)
{
    std::vector<kdpl::float3> const& points = UniformPoints::get().points;
    for (auto _ : state) {
        kdpl::KDPointLocation tree;
        tree.Init(points.data(), int(points.size()));
        benchmark::ClobberMemory();
    }
}

void BM_NanoflannInit(benchmark::State& state)
{
    Cloud const cloud{&UniformPoints::get().points};
    for (auto _ : state)
        benchmark::DoNotOptimize(buildFlann(cloud, std::size_t(state.range(0))));
}

void BM_PointLocationSphere(benchmark::State& state)
{
    UniformPoints const& data = UniformPoints::get();
    std::vector<int> found;
    std::size_t total = 0, next = 0;
    for (auto _ : state) {
        data.tree.Locate(data.queries[next++ % kQueryCount], data.radius, found);
        total += found.size();
    }
    reportResults(state, total);
}

void BM_NanoflannSphere(benchmark::State& state)
{
    UniformPoints const& data = UniformPoints::get();
    Flann const& flann = state.range(0) == 10 ? *data.flann10 : *data.flann16;
    Matches matches;
    nanoflann::SearchParams const unsorted(32, 0.0f, false);
    std::size_t total = 0, next = 0;
    for (auto _ : state) {
        kdpl::float3 const& q = data.queries[next++ % kQueryCount];
        float const query[3] = {q.x, q.y, q.z};
        flann.radiusSearch(query, data.radius * data.radius, matches, unsorted);
        total += matches.size();
    }
    reportResults(state, total);
}

// A million detection plaques of the standard rig, face on, 50 to 150 units from their cameras, and the
// nanoflann index over the centres that the plaque tree holds.
struct PlaquePoints {
    Holvane::Camera::CameraRig rig = Holvane::Internal::buildBoxRig(false);
    RenderingContext context;
    std::unique_ptr<PlaqueKDTree> tree;
    std::vector<kdpl::float3> centers;
    std::vector<int> centerPlaque;  // plaque index of each centre
    Cloud cloud{&centers};
    std::unique_ptr<Flann> flann;
    std::vector<int> queries;  // plaque indices
    float radius;

    PlaquePoints()
    {
        context.rig = &rig, context.width = 1200, context.height = 800;
        std::mt19937 random(11);
        std::vector<Holvane::BinIO::DetectPlaqueInfo> records(kPointCount);
        for (auto& r : records) {
            r.cameraIndex = std::uint8_t(random() % 256), r.x = std::uint16_t(random() % 1200);
            r.y = std::uint16_t(random() % 800), r.distance = 50.0f + float(random() % 10000) / 100.0f;
            TavPoint const d = context.GetCenterDirection(r.x, r.y);
            r.normal = {-d.x, -d.y + 0.3f, -d.z};
        }
        tree = std::make_unique<PlaqueKDTree>(context, records, 1.0f);
        for (std::size_t i = 0; i < tree->plaques.size(); ++i) {
            Plaque const& p = tree->plaques[i];
            if (p.normalIsValid && p.size > 0.0 && p.incidence >= 0.05f)
                centers.push_back({p.center.x, p.center.y, p.center.z}), centerPlaque.push_back(int(i));
        }
        flann = buildFlann(cloud, 16);
        std::vector<kdpl::float3> probe;
        for (int i = 0; i < kQueryCount; ++i) {
            queries.push_back(centerPlaque[random() % centerPlaque.size()]);
            TavPoint const c = tree->plaques[std::size_t(queries.back())].center;
            probe.push_back({c.x, c.y, c.z});
        }
        radius = radiusForResults(tree->tree, probe);
    }
    static PlaquePoints const& get()
    {
        static PlaquePoints const data;
        return data;
    }
};

void BM_PlaqueOverlapList(benchmark::State& state)
{
    PlaquePoints const& data = PlaquePoints::get();
    std::size_t total = 0, next = 0;
    for (auto _ : state) {
        Plaque const& p = data.tree->plaques[std::size_t(data.queries[next++ % kQueryCount])];
        std::vector<int> const found = data.tree->GetOverlapList(p.center, p.normal, data.radius, 0.5f, p.cameraIndex);
        total += found.size();
    }
    reportResults(state, total);
}

// nanoflann's search followed by the overlap list's own filter and sort, into a list that reserves as it does.
void BM_NanoflannOverlapList(benchmark::State& state)
{
    PlaquePoints const& data = PlaquePoints::get();
    std::vector<Plaque> const& plaques = data.tree->plaques;
    Matches matches;
    nanoflann::SearchParams const unsorted(32, 0.0f, false);
    std::size_t total = 0, next = 0;
    for (auto _ : state) {
        Plaque const& p = plaques[std::size_t(data.queries[next++ % kQueryCount])];
        float const query[3] = {p.center.x, p.center.y, p.center.z};
        data.flann->radiusSearch(query, data.radius * data.radius, matches, unsorted);
        std::vector<int> found;
        found.reserve(1024);
        for (auto const& m : matches) {
            int const i = data.centerPlaque[m.first];
            Plaque const& q = plaques[std::size_t(i)];
            float const cosine = p.normal.x * q.normal.x + p.normal.y * q.normal.y + p.normal.z * q.normal.z;
            if (q.cameraIndex != p.cameraIndex && !data.tree->removed[std::size_t(i)] && q.incidence >= 0.05f &&
                !(std::fabs(cosine) < 0.5f))
                found.push_back(i);
        }
        std::sort(found.begin(), found.end(),
                  [&](int a, int b) { return plaques[std::size_t(a)].size > plaques[std::size_t(b)].size; });
        total += found.size();
    }
    reportResults(state, total);
}

}  // namespace

BENCHMARK(BM_PointLocationInit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NanoflannInit)->Arg(10)->Arg(16)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PointLocationSphere);
BENCHMARK(BM_NanoflannSphere)->Arg(10)->Arg(16);
BENCHMARK(BM_PlaqueOverlapList);
BENCHMARK(BM_NanoflannOverlapList);
