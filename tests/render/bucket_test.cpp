// The buckets: their preparation for a region, the search by region, the phase guard, pixel access, and the
// flush to the spool, also from several threads at once.

#include "common/capture.h"
#include "render/bucket_flush.h"
#include "render_session.h"

#include <cstring>
#include <exception>
#include <thread>

using namespace Holvane::BinIO;
using Holvane::Phase::PHASE_DETECT;
using Holvane::Phase::PHASE_RENDER;
using namespace HolvaneTest;

namespace {
class Buckets : public RenderSession {};
}  // namespace

TEST_F(Buckets, InitRefusesAnUnknownThreadAndABucketStillHoldingSamples)
{
    begin(PHASE_DETECT, 2);
    Bucket& bucket = s().buckets[1];
    EXPECT_THROW(HvInitBucket(2, 0, 0, 4, 4), std::exception);
    HvInitBucket(1, 4, 0, 8, 4), addPlaques(bucket, 0, 3);
    EXPECT_THROW(HvInitBucket(1, 8, 0, 12, 4), std::exception);
    EXPECT_TRUE(bucket.plaques.size() == 3u && bucket.sampleCount == 3u && bucket.xMin == 4u);  // as it was
    EXPECT_EQ(log.lines, (Lines{"4|[Holvane] cannot get bucket for this thread 2. Only 2 buckets are available\n",
                                "4|There was still samples in the bucket when the bucket was initialized. 3 samples "
                                "lost.\n"}));
    bucket.sampleCount = 0;  // what the count doesn't know of is cleared, keeping the room
    HvInitBucket(1, -3, 2, 1, 6);
    EXPECT_TRUE(bucket.plaques.empty() && bucket.plaques.capacity() >= 4u * 4u * 32u && bucket.active);
    EXPECT_TRUE(bucket.xMin == static_cast<unsigned long long>(-3) && bucket.yMax == 6u);  // widened from int
}

TEST_F(Buckets, PixelAccessAnswersTheRegionsPixelAndRefusesOthers)
{
    begin(PHASE_RENDER, 1);
    Bucket& bucket = s().buckets[0];
    HvInitBucket(0, 10, 20, 13, 22);
    bucket.pixel(12, 21)[7].push_back({});
    EXPECT_EQ(bucket.pixels[2][1].at(7).size(), 1u);  // [x - xMin][y - yMin]
    for (auto xy : {std::make_pair(9, 20), {13, 20}, {10, 19}, {10, 22}})
        EXPECT_THROW(bucket.pixel(xy.first, xy.second), std::exception);
    EXPECT_EQ(log.lines.size(), 4u);
    EXPECT_EQ(log.lines[0], "4|Registering a pixel at 9 20 that is outside the bucket bounds ([10,13] [20,22])].");
    bucket.sampleCount = 1;
    EXPECT_TRUE(HvProcessBucketFlushToFile(0ULL));
    EXPECT_TRUE(bucket.pixels[2][1].empty() && !bucket.active);
    HvInitBucket(0, 0, 0, 9, 2);  // wider than the 4 x 4 the host promised: the far pixels are refused
    EXPECT_NO_THROW(bucket.pixel(3, 1));
    EXPECT_THROW(bucket.pixel(4, 1), std::exception);
}

TEST_F(Buckets, SearchByRegionTakesTheLowestActiveIndex)
{
    begin(PHASE_DETECT, 4);
    HvInitBucket(0, 0, 0, 4, 4), HvInitBucket(1, 4, 0, 8, 4);
    HvInitBucket(2, -4, -2, 0, 2), HvInitBucket(3, 4, 0, 8, 4);
    EXPECT_EQ(Holvane::Internal::findBucketByRegion(4, 0, 8, 4), 1);
    s().buckets[1].active = false;
    EXPECT_EQ(Holvane::Internal::findBucketByRegion(4, 0, 8, 4), 3);
    EXPECT_EQ(Holvane::Internal::findBucketByRegion(-4, -2, 0, 2), 2);
    char buffer[64];
    EXPECT_EQ(HvProcessBucketGetBufferSize(1, 2, 3, 4), -1);
    EXPECT_FALSE(HvProcessBucketFlushToFile(1, 2, 3, 4));
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
    EXPECT_THROW(HvBucketFlushToMemory(buffer, sizeof buffer, 0, 0, 4, 4), std::exception);
    EXPECT_THROW(HvProcessBucketFlushToFile(0, 0, 4, 4), std::exception);
    EXPECT_NO_THROW(HvProcessAllBucketsToFile());  // nothing to flush: no guard
    addPlaques(s().buckets[0], 0, 1);
    EXPECT_THROW(HvProcessAllBucketsToFile(), std::exception);
    s().initialized = true, s().phase = Holvane::Phase::PHASE_NONE;
    EXPECT_THROW(HvProcessBucketFlushToFile(0ULL), std::exception);
    EXPECT_EQ(log.lines, Lines(5, "4|[Holvane] a phase must be initialized to use this function"));
    EXPECT_EQ(s().buckets[0].plaques.size(), 1u);
}

TEST_F(Buckets, FlushesSpoolEachBucketAsOneGroupInArrivalOrder)
{
    begin(PHASE_DETECT, 3);
    HvInitBucket(0, 0, 0, 4, 4), addPlaques(s().buckets[0], 0, 3);
    HvInitBucket(2, 4, 0, 8, 4), addPlaques(s().buckets[2], 3, 2);
    HvInitBucket(1, 8, 0, 12, 4);  // active and empty: left alone by the walk
    std::string const first = bytesOf(s().buckets[0].plaques.data(), 84);
    std::string const second = bytesOf(s().buckets[2].plaques.data(), 56);
    EXPECT_TRUE(HvProcessBucketFlushToFile(0, 0, 4, 4));
    HvProcessAllBucketsToFile();
    EXPECT_EQ(spoolBytes(), first + second);
    EXPECT_EQ(s().spoolSampleCount, 5u);
    EXPECT_TRUE(!s().buckets[0].active && !s().buckets[2].active && s().buckets[1].active);
}

TEST_F(Buckets, FlushAfterTheSpoolWasTakenWarnsOncePerPhaseKindAndDropsTheData)
{
    std::string const out = runInChild([] {  // the flags are never reset in a process: the child has its own
        LogCapture childLog;
        for (auto phase : {PHASE_DETECT, PHASE_DETECT, PHASE_RENDER, PHASE_RENDER, PHASE_DETECT}) {
            Holvane::Internal::resetSession();
            begin(phase, 1);
            std::fclose(s().spoolFile), s().spoolFile = nullptr;
            HvInitBucket(0, 0, 0, 4, 4), addPlaques(s().buckets[0], 0, 2);
            s().buckets[0].finishedSamples.resize(2);
            bool const flushed = HvProcessBucketFlushToFile(0ULL);
            std::printf("%d%d%llu|", int(flushed), int(s().buckets[0].active), s().spoolSampleCount);
        }
        for (std::string const& line : childLog.lines)
            std::printf("%s\n", line.c_str());
    });
    std::string const warning = "1|Flushing temporary file samples while samples have already been processed.\n";
    EXPECT_EQ(out, "100|100|100|100|100|" + warning + warning);
}

// Each thread fills and flushes its own bucket, by file or by memory buffer, searching by region while the
// others re-initialise theirs: only the spool is shared. Run under ThreadSanitizer too.
TEST_F(Buckets, ThreadsFlushTheirOwnBucketsAtOnce)
{
    constexpr int kThreads = 4, kRounds = 50, kGroup = 3;
    begin(PHASE_DETECT, kThreads, 16, 4);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t] {
            for (int round = 0; round < kRounds; ++round) {
                HvInitBucket(t, 4 * t, 0, 4 * t + 4, 4);
                addPlaques(s().buckets[t], t * 1000 + round * kGroup, kGroup);
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
    ASSERT_EQ(bytes.size(), std::size_t(kThreads * kRounds * kGroup * 28));
    EXPECT_EQ(s().spoolSampleCount, std::size_t(kThreads * kRounds * kGroup));
    std::vector<int> next(kThreads, 0);  // all there, each thread's plaques in its own order
    for (std::size_t at = 0; at < bytes.size(); at += 28) {
        DetectPlaqueInfo p;
        std::memcpy(static_cast<void*>(&p), bytes.data() + at, 28);
        int const t = (p.x - 1000) / 1000;
        ASSERT_TRUE(t >= 0 && t < kThreads);
        EXPECT_TRUE(samePlaque(p, plaque(t * 1000 + next[t]++)));
    }
}
