#ifndef HOLVANE_TESTS_DETECTION_HOST_H
#define HOLVANE_TESTS_DETECTION_HOST_H

#include "common/analytic_scene.h"

#include <holvane/holvane.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace HolvaneTest {

// A detection host as a renderer plug-in drives the library: tiles of the cube image handed out to threads,
// each tile a region of its thread's bucket, every sample index of every pixel traced in an AnalyticScene.
struct DetectionHost {
    enum Route { SPOOL, MEMORY_BUFFER };

    AnalyticScene scene = AnalyticScene::furnishedRoom();
    unsigned long long width = 312, height = 208, tile = 26;
    unsigned threads = 4;
    bool concurrent = true;          // false: the buckets' tiles run one after the other on this thread
    unsigned camerasPerPixel = 256;  // the first sample indices of each pixel only, for short runs
    Route route = SPOOL;
    std::atomic<unsigned long long> plaquesFlushed{0};  // as the buffer sizes tell
    std::vector<Holvane::BinIO::DetectPlaqueInfo> recorded;  // on the memory route: the plaques before cleaning

    // The zone of view, a 1-metre cube turned 30 degrees about y and standing at (0, 160, 0).
    static Matrix4 boxToWorld()
    {
        float const c = float(std::cos(0.5235987755982988)), s = float(std::sin(0.5235987755982988));
        return Matrix4{{{c, 0, -s, 0}, {0, 1, 0, 0}, {s, 0, c, 0}, {0, 160, 0, 1}}};
    }

    static TavPoint toWorld(TavPoint const& p, bool translate)
    {
        Matrix4 const m = boxToWorld();
        float const t = translate ? 1.0f : 0.0f;
        return {p.x * m.m[0][0] + p.y * m.m[1][0] + p.z * m.m[2][0] + t * m.m[3][0],
                p.x * m.m[0][1] + p.y * m.m[1][1] + p.z * m.m[2][1] + t * m.m[3][1],
                p.x * m.m[0][2] + p.y * m.m[1][2] + p.z * m.m[2][2] + t * m.m[3][2]};
    }

    bool begin(std::string const& outPath)
    {
        using namespace Holvane::Phase;
        HvInitPhase(PHASE_DETECT, Holvane::Util::RenderingEngineId(7));
        HvSetDraft(false), HvSetCurrentFrame(1, 4), HvSetZovOffset(0, 0, 0), HvSetRenderTransparencyMode(ALL);
        HvSetOutFilePath(outPath.c_str()), HvSetOutputResolution(width, height);
        // The resolution is computed from the settings above.
        HvSetRenderingResolutionParameters(HvComputeRenderingResolutionParameters(width, height));
        HvSetBucketSize(tile, tile), HvSetThreadNumber(threads), HvSetZovScaling(1.0f, 1.0f, 1.0f);
        HvSetRenderScale(1.0), HvSetCameraToWorldMatrix(boxToWorld()), HvSetTolerance(0.25);
        return HvPhaseBegin();
    }

    // Runs the whole phase and writes the file; false when the phase did not begin.
    bool run(std::string const& outPath)
    {
        if (!begin(outPath))
            return false;
        std::vector<std::pair<unsigned long long, unsigned long long>> tiles;
        for (unsigned long long y = 0; y < height; y += tile)
            for (unsigned long long x = 0; x < width; x += tile)
                tiles.emplace_back(x, y);
        auto worker = [&](unsigned thread) {
            for (std::size_t i = thread; i < tiles.size(); i += threads)
                renderTile(thread, tiles[i].first, tiles[i].second);
        };
        if (concurrent) {
            std::vector<std::thread> pool;
            for (unsigned t = 0; t < threads; ++t)
                pool.emplace_back(worker, t);
            for (std::thread& t : pool)
                t.join();
        } else {
            for (std::size_t i = 0; i < tiles.size(); ++i)
                renderTile(unsigned(i % threads), tiles[i].first, tiles[i].second);
        }
        return Holvane::Phase::HvPhaseTerminate(Holvane::Phase::TERMINATE_FINALIZE);
    }

private:
    std::mutex recordedLock;

    // A buffer starts with the bucket's plaques in their 28-byte memory form.
    void keepRecorded(std::vector<unsigned char> const& buffer, int plaqueBytes)
    {
        std::vector<Holvane::BinIO::DetectPlaqueInfo> plaques(std::size_t(plaqueBytes) / 28);
        if (!plaques.empty())
            std::memcpy(plaques.data(), buffer.data(), plaques.size() * 28);
        std::lock_guard<std::mutex> hold(recordedLock);
        recorded.insert(recorded.end(), plaques.begin(), plaques.end());
    }

    void renderTile(unsigned thread, unsigned long long x0, unsigned long long y0)
    {
        int const xMin = int(x0), yMin = int(y0);
        int const xMax = int(std::min(x0 + tile, width)), yMax = int(std::min(y0 + tile, height));
        unsigned long long const threadId = thread;
        Holvane::BinIO::HvInitBucket(threadId, xMin, yMin, xMax, yMax);
        for (int y = yMin; y < yMax; ++y)
            for (int x = xMin; x < xMax; ++x)
                tracePixel(thread, x, y);
        flush(threadId, xMin, yMin, xMax, yMax);
    }

    void tracePixel(unsigned thread, int x, int y)
    {
        Holvane::DetectSample::RayTestInterface rays{&scene, &AnalyticScene::rayTest};
        for (unsigned n = 0; n < camerasPerPixel; ++n) {
            unsigned long long camera = 0;
            if (!Holvane::Camera::HvGetCurrentSampleIndexCount(x, y, camera))
                return;
            Holvane::Camera::HvCameraRay const ray = Holvane::Camera::HvGetRayDetectPhase(camera, x + 0.5, y + 0.5);
            if (ray.valid) {
                TavPoint const origin = toWorld(ray.origin, true), direction = toWorld(ray.direction, false);
                TavPoint hit[2];
                if (AnalyticScene::rayTest(&origin, &direction, 1e30, hit, &scene)) {
                    Holvane::DetectSample::HvDetectSample const sample{false, x, y, camera, false, hit[1], hit[0]};
                    Holvane::DetectSample::HvProcessDetectSample(&rays, sample, thread);
                }
            }
            if (camera >= 255)  // the index stays at the last camera once reached
                return;
        }
    }

    void flush(unsigned long long threadId, int xMin, int yMin, int xMax, int yMax)
    {
        int const size = Holvane::BinIO::HvProcessBucketGetBufferSize(threadId);
        unsigned long long const region = (unsigned long long)(xMax - xMin) * (unsigned long long)(yMax - yMin);
        plaquesFlushed += (unsigned long long)(size - 20 - (int)region) / 28;
        if (route == SPOOL) {
            Holvane::BinIO::HvProcessBucketFlushToFile(threadId);
            return;
        }
        std::vector<unsigned char> buffer((std::size_t)size);
        Holvane::BinIO::HvBucketFlushToMemory(buffer.data(), buffer.size(), xMin, yMin, xMax, yMax);
        keepRecorded(buffer, size - 20 - int(region));
        Holvane::BinIO::HvFlushMemoryBufferToFile(buffer.data(), buffer.size());
    }
};

}  // namespace HolvaneTest

#endif
