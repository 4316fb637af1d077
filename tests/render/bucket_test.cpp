// The buckets: their preparation for a region, the search by region, the phase guard, pixel access, and the
// flush to the spool, also from several threads at once.

#include <holvane/binio.h>

#include "common/capture.h"
#include "render/bucket_flush.h"
#include "render/spool.h"
#include "render_session.h"

#include <cstring>
#include <exception>
#include <thread>

using namespace Holvane::BinIO;
using Holvane::Phase::PHASE_DETECT;
using Holvane::Phase::PHASE_RENDER;
using HolvaneTest::addPlaques;
using HolvaneTest::Bucket;
using HolvaneTest::DetectPlaqueInfo;
using HolvaneTest::FinishedSample;
using HolvaneTest::Lines;

namespace {

class Buckets : public HolvaneTest::RenderSession {};

std::string const guardLine = "4|[Holvane] a phase must be initialized to use this function";

}  // namespace

TEST_F(Buckets, InitRefusesAnUnknownThreadAndABucketStillHoldingSamples)
{
    begin(PHASE_DETECT, 2);
    EXPECT_THROW(HvInitBucket(2, 0, 0, 4, 4), std::exception);
    Bucket& bucket = s().buckets[1];
    HvInitBucket(1, 4, 0, 8, 4);
    addPlaques(bucket, 0, 3);
    EXPECT_THROW(HvInitBucket(1, 8, 0, 12, 4), std::exception);
    // The refused call changed nothing: the samples and the region stay.
    EXPECT_EQ(bucket.plaques.size(), 3u);
    EXPECT_EQ(bucket.sampleCount, 3u);
    EXPECT_TRUE(bucket.active && bucket.xMin == 4u && bucket.xMax == 8u);
    EXPECT_EQ(log.lines, (Lines{
                             "4|[Holvane] cannot get bucket for this thread 2. Only 2 buckets are available\n",
                             "4|There was still samples in the bucket when the bucket was initialized. 3 samples lost.\n",
                         }));

    // Samples taken out without the count (a flush in progress elsewhere) are cleared by the next init.
    bucket.sampleCount = 0;
    HvInitBucket(1, -3, 2, 1, 6);
    EXPECT_TRUE(bucket.plaques.empty());
    EXPECT_GE(bucket.plaques.capacity(), 4u * 4u * 32u);
    EXPECT_EQ(bucket.xMin, static_cast<unsigned long long>(-3));  // widened from int
    EXPECT_TRUE(bucket.yMin == 2u && bucket.xMax == 1u && bucket.yMax == 6u && bucket.active);
}

TEST_F(Buckets, PixelAccessAnswersTheRegionsPixelAndRefusesOthers)
{
    begin(PHASE_RENDER, 1);
    Bucket& bucket = s().buckets[0];
    HvInitBucket(0, 10, 20, 13, 22);
    bucket.pixel(12, 21)[7].push_back({});
    EXPECT_EQ(bucket.pixels[2][1].at(7).size(), 1u);  // [x - xMin][y - yMin]
    EXPECT_TRUE(bucket.pixels[1][2].empty());
    for (auto xy : {std::make_pair(9, 20), {13, 20}, {10, 19}, {10, 22}})
        EXPECT_THROW(bucket.pixel(xy.first, xy.second), std::exception);
    EXPECT_EQ(log.lines[0], "4|Registering a pixel at 9 20 that is outside the bucket bounds ([10,13] [20,22])].");
    EXPECT_EQ(log.lines.size(), 4u);

    // A region wider than the bucket size the host promised: its far pixels are refused, not overrun.
    HvInitBucket(0, 0, 0, 9, 2);
    EXPECT_NO_THROW(bucket.pixel(3, 1));
    EXPECT_THROW(bucket.pixel(4, 1), std::exception);

    // The flush empties the region's pixels and ends the region.
    HvInitBucket(0, 10, 20, 13, 22);
    bucket.pixel(12, 21)[7].push_back({});
    bucket.sampleCount = 1;
    EXPECT_TRUE(HvProcessBucketFlushToFile(0));
    EXPECT_TRUE(bucket.pixels[2][1].empty());
    EXPECT_FALSE(bucket.active);
    EXPECT_EQ(bucket.sampleCount, 0u);
}

TEST_F(Buckets, SearchByRegionTakesTheLowestActiveIndex)
{
    begin(PHASE_DETECT, 4);
    HvInitBucket(0, 0, 0, 4, 4);
    HvInitBucket(1, 4, 0, 8, 4);
    HvInitBucket(2, 8, 0, 12, 4);
    HvInitBucket(3, 4, 0, 8, 4);
    EXPECT_EQ(Holvane::Internal::findBucketByRegion(4, 0, 8, 4), 1);
    s().buckets[1].active = false;
    EXPECT_EQ(Holvane::Internal::findBucketByRegion(4, 0, 8, 4), 3);
    EXPECT_EQ(Holvane::Internal::findBucketByRegion(8, 0, 12, 5), -1);
    HvInitBucket(1, -4, -2, 0, 2);
    EXPECT_EQ(Holvane::Internal::findBucketByRegion(-4, -2, 0, 2), 1);

    // Each region form reports a region that no active bucket has.
    EXPECT_EQ(HvProcessBucketGetBufferSize(1, 2, 3, 4), -1);
    EXPECT_FALSE(HvProcessBucketFlushToFile(1, 2, 3, 4));
    char buffer[64];
    EXPECT_FALSE(HvBucketFlushToMemory(buffer, sizeof buffer, -1, 2, 3, 4));
    EXPECT_EQ(HvProcessBucketGetBufferSize(77ULL), -1);
    EXPECT_FALSE(HvProcessBucketFlushToFile(77ULL));  // silently
    EXPECT_EQ(log.lines, (Lines{
        "0|[Holvane] HvProcessBucketGetBufferSize Failed to get a bucket with coordinates 1 2 3 4.\n",
        "1|[Holvane]  HvProcessBucketFlushToFile Failed to get a bucket with coordinates 1 2 3 4.\n",
        "0|[Holvane] HvBucketFlushToMemory Failed to get a bucket with coordinates -1 2 3 4.\n",
        "0|[Holvane] there's no bucket for this thread 77.\n",
    }));
}

TEST_F(Buckets, FunctionsOutsideARunningPhaseThrowAfterTheGuardLine)
{
    begin(PHASE_DETECT, 1);
    HvInitBucket(0, 0, 0, 4, 4);
    s().initialized = false;
    char buffer[64];
    EXPECT_THROW(HvProcessBucketGetBufferSize(0ULL), std::exception);
    EXPECT_THROW(HvProcessBucketGetBufferSize(0, 0, 4, 4), std::exception);
    EXPECT_THROW(HvBucketFlushToMemory(buffer, sizeof buffer, 0, 0, 4, 4), std::exception);
    EXPECT_THROW(HvProcessBucketFlushToFile(0ULL), std::exception);
    EXPECT_THROW(HvProcessBucketFlushToFile(0, 0, 4, 4), std::exception);
    EXPECT_NO_THROW(HvProcessAllBucketsToFile());  // nothing to flush: no guard
    EXPECT_EQ(log.lines, Lines(5, guardLine));
    addPlaques(s().buckets[0], 0, 1);
    EXPECT_THROW(HvProcessAllBucketsToFile(), std::exception);
    s().initialized = true, s().phase = Holvane::Phase::PHASE_NONE;
    EXPECT_THROW(HvProcessBucketFlushToFile(0ULL), std::exception);
    EXPECT_EQ(log.lines, Lines(7, guardLine));
    EXPECT_EQ(s().buckets[0].plaques.size(), 1u);
}

TEST_F(Buckets, FlushToFileSpoolsThePlaquesInOneGroupAndResets)
{
    begin(PHASE_DETECT, 3);
    HvInitBucket(0, 0, 0, 4, 4), addPlaques(s().buckets[0], 0, 3);
    HvInitBucket(2, 4, 0, 8, 4), addPlaques(s().buckets[2], 3, 2);
    HvInitBucket(1, 8, 0, 12, 4);  // active, empty: not flushed by the walk
    std::vector<DetectPlaqueInfo> const first = s().buckets[0].plaques, second = s().buckets[2].plaques;
    EXPECT_TRUE(HvProcessBucketFlushToFile(0, 0, 4, 4));
    EXPECT_EQ(s().spoolSampleCount, 3u);
    HvProcessAllBucketsToFile();
    EXPECT_EQ(s().spoolSampleCount, 5u);
    EXPECT_EQ(spoolBytes(), bytesOf(first.data(), 3 * 28) + bytesOf(second.data(), 2 * 28));
    EXPECT_FALSE(s().buckets[0].active || s().buckets[2].active);
    EXPECT_TRUE(s().buckets[1].active);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(Buckets, RenderSpoolHoldsEachHeadThenItsAovRecord)
{
    s().aovFormat.registerAov(1, "albedo", Holvane::Phase::AOV_VEC3);
    s().aovFormat.registerAov(2, "id", Holvane::Phase::AOV_INT);
    begin(PHASE_RENDER, 1);
    HvInitBucket(0, 0, 0, 4, 4);
    Bucket& bucket = s().buckets[0];
    for (int i = 0; i < 2; ++i) {
        FinishedSample sample;
        sample.head.z = 1.5 + i, sample.head.x = 7u + i, sample.head.isBackFacing = i == 1;
        sample.aovs.resize(2);
        sample.aovs[0].vec3 = {0.5f, float(i), 2.0f};
        sample.aovs[1].intValue = -5 - i;
        bucket.finishedSamples.push_back(sample);
    }
    bucket.finishedSamples.back().aovs.resize(1);  // a short slot array writes zero slots
    bucket.sampleCount = 9;
    std::string expected;
    for (FinishedSample const& sample : bucket.finishedSamples) {
        expected += bytesOf(&sample.head, 56);
        expected += bytesOf(&sample.aovs[0].vec3, 12);
        int const id = sample.aovs.size() > 1 ? sample.aovs[1].intValue : 0;
        expected += bytesOf(&id, 4);
    }
    EXPECT_TRUE(HvProcessBucketFlushToFile(0ULL));
    EXPECT_EQ(spoolBytes(), expected);
    EXPECT_EQ(s().spoolSampleCount, 2u);  // one per finished sample, not the kept-sample count
}

TEST_F(Buckets, FlushAfterTheSpoolWasTakenWarnsOncePerPhaseKindAndDropsTheData)
{
    // The flags are never reset in a process: the child has its own.
    std::string const out = HolvaneTest::runInChild([] {
        HolvaneTest::LogCapture childLog;
        for (auto phase : {PHASE_DETECT, PHASE_DETECT, PHASE_RENDER, PHASE_RENDER, PHASE_DETECT}) {
            Holvane::Internal::resetSession();
            begin(phase, 1);
            std::fclose(s().spoolFile), s().spoolFile = nullptr;
            HvInitBucket(0, 0, 0, 4, 4);
            addPlaques(s().buckets[0], 0, 2);
            s().buckets[0].finishedSamples.resize(2);
            bool const flushed = HvProcessBucketFlushToFile(0ULL);
            std::printf("%d %d %llu|", int(flushed), int(s().buckets[0].active), s().spoolSampleCount);
        }
        for (std::string const& line : childLog.lines)
            std::printf("%s\n", line.c_str());
    });
    EXPECT_EQ(out, "1 0 0|1 0 0|1 0 0|1 0 0|1 0 0|"
                   "1|Flushing temporary file samples while samples have already been processed.\n"
                   "1|Flushing temporary file samples while samples have already been processed.\n");
}

// Each thread fills and flushes its own bucket, by file or by memory buffer, while the others do the same:
// only the spool is shared. Run under ThreadSanitizer too.
TEST_F(Buckets, ThreadsFlushTheirOwnBucketsAtOnce)
{
    constexpr int kThreads = 4, kRounds = 50, kPerRound = 3;
    begin(PHASE_DETECT, kThreads, 16, 4);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t] {
            for (int round = 0; round < kRounds; ++round) {
                HvInitBucket(t, 4 * t, 0, 4 * t + 4, 4);
                addPlaques(s().buckets[t], t * 1000 + round * kPerRound, kPerRound);
                if (t % 2 == 0) {
                    HvProcessBucketFlushToFile(t * 4, 0, t * 4 + 4, 4);
                    continue;
                }
                std::vector<unsigned char> buffer(std::size_t(HvProcessBucketGetBufferSize(t * 4, 0, t * 4 + 4, 4)));
                HvBucketFlushToMemory(buffer.data(), buffer.size(), t * 4, 0, t * 4 + 4, 4);
                HvFlushMemoryBufferToFile(buffer.data(), buffer.size());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    std::string const bytes = spoolBytes();
    ASSERT_EQ(bytes.size(), std::size_t(kThreads * kRounds * kPerRound * 28));
    EXPECT_EQ(s().spoolSampleCount, std::size_t(kThreads * kRounds * kPerRound));
    // Every group arrives whole and each thread's groups in its own order.
    std::vector<int> next(kThreads, 0);
    for (std::size_t at = 0; at < bytes.size(); at += kPerRound * 28) {
        DetectPlaqueInfo p[kPerRound];
        std::memcpy(static_cast<void*>(p), bytes.data() + at, sizeof p);
        int const t = (p[0].x - 1000) / 1000;
        ASSERT_TRUE(t >= 0 && t < kThreads);
        for (int k = 0; k < kPerRound; ++k)
            EXPECT_TRUE(HolvaneTest::samePlaque(p[k], HolvaneTest::plaque(t * 1000 + next[t] + k)));
        next[t] += kPerRound;
    }
    // The memory route set every counter of its regions to one ray, one hit.
    EXPECT_EQ(s().rayCounters[4 + 3], 1u);
    EXPECT_EQ(s().hitCounters[16 * 3 + 15], 1u);
    EXPECT_EQ(s().rayCounters[0], 0u);
}
