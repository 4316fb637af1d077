// The memory buffer of a flushed bucket: its bytes, its way back into the spool and the counters, and the
// buffers that are refused.

#include <holvane/binio.h>

#include "render/memory_buffer.h"
#include "render_session.h"

#include <cstring>

using namespace Holvane::BinIO;
using Holvane::Internal::MemoryFooter;
using Holvane::Phase::PHASE_DETECT;
using Holvane::Phase::PHASE_RENDER;
using HolvaneTest::addPlaques;
using HolvaneTest::Bucket;
using HolvaneTest::FinishedSample;
using HolvaneTest::Lines;
using Bytes = std::vector<unsigned char>;

namespace {

std::string const tooSmall = "0|[Holvane] Memory buffer is too small for its content.\n";

class MemoryBuffer : public HolvaneTest::RenderSession {
protected:
    // A 16 x 8 detection image and the bucket of thread 0 on x 10..12, y 4..5 with plaques 0 to 4. Every pixel
    // has seen 2 rays and 1 hit, except (11, 4) and (10, 5) which are complete.
    void detectionBucket()
    {
        begin(PHASE_DETECT, 1);
        s().rayCounters.assign(128, 2), s().hitCounters.assign(128, 1);
        s().hitCounters[4 * 16 + 11] = s().hitCounters[5 * 16 + 10] = 2;
        HvInitBucket(0, 10, 4, 13, 6);
        addPlaques(s().buckets[0], 0, 5);
        plaques = s().buckets[0].plaques;
    }
    std::vector<DetectPlaqueInfo> plaques;

    // Spool, counters and log are as they were before a refused buffer.
    void expectNothingTaken(std::vector<std::uint16_t> const& rays, std::vector<std::uint16_t> const& hits)
    {
        EXPECT_EQ(s().spoolSampleCount, 0u);
        EXPECT_EQ(spoolBytes(), "");
        EXPECT_EQ(s().rayCounters, rays);
        EXPECT_EQ(s().hitCounters, hits);
    }
};

std::uint16_t at16(Bytes const& b, std::size_t i) { return std::uint16_t(b[i] | b[i + 1] << 8); }

}  // namespace

TEST_F(MemoryBuffer, DetectionBufferFillsTheEndWithPlaquesMaskAndFooter)
{
    detectionBucket();
    EXPECT_EQ(HvProcessBucketGetBufferSize(0ULL), 166);  // 5 * 28 + 3 * 2 + 20
    EXPECT_EQ(HvProcessBucketGetBufferSize(10, 4, 13, 6), 166);
    Bytes buffer(200, 0xAB);
    ASSERT_TRUE(HvBucketFlushToMemory(buffer.data(), buffer.size(), 10, 4, 13, 6));
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + 34), Bytes(34, 0xAB));  // the surplus in front is left alone
    EXPECT_EQ(bytesOf(buffer.data() + 34, 140), bytesOf(plaques.data(), 140));
    EXPECT_EQ(Bytes(buffer.begin() + 174, buffer.begin() + 180), (Bytes{0, 1, 0, 1, 0, 0}));  // y outer, x inner
    std::size_t const f = 180;
    EXPECT_TRUE(buffer[f] == 0x9C && buffer[f + 1] == 0x02);  // 668, little-endian
    EXPECT_EQ(Bytes(buffer.begin() + f + 4, buffer.begin() + f + 8), (Bytes{5, 0, 0, 0}));
    EXPECT_TRUE(at16(buffer, f + 8) == 10 && at16(buffer, f + 10) == 13);  // xMin, xMax
    EXPECT_TRUE(at16(buffer, f + 12) == 4 && at16(buffer, f + 14) == 6);   // yMin, yMax
    EXPECT_EQ(buffer[f + 16], 1);
    Bucket const& bucket = s().buckets[0];
    EXPECT_TRUE(!bucket.active && bucket.plaques.empty() && bucket.sampleCount == 0);
    EXPECT_TRUE(log.lines.empty());

    // Back into the spool: the plaques as they were, and the mask overwrites the region's counters.
    s().rayCounters.assign(128, 9), s().hitCounters.assign(128, 7);
    ASSERT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
    EXPECT_EQ(s().spoolSampleCount, 5u);
    EXPECT_EQ(spoolBytes(), bytesOf(plaques.data(), 140));
    std::vector<std::uint16_t> rays(128, 9), hits(128, 7);
    for (int y = 4; y < 6; ++y)
        for (int x = 10; x < 13; ++x)
            rays[y * 16 + x] = 1, hits[y * 16 + x] = 0;
    hits[4 * 16 + 11] = hits[5 * 16 + 10] = 1;
    EXPECT_EQ(s().rayCounters, rays);
    EXPECT_EQ(s().hitCounters, hits);
    // The exact 166 bytes do the same.
    ASSERT_TRUE(HvFlushMemoryBufferToFile(buffer.data() + 34, 166));
    EXPECT_EQ(s().spoolSampleCount, 10u);
}

TEST_F(MemoryBuffer, FlushToMemoryRefusesABufferShorterThanTheBucket)
{
    detectionBucket();
    Bytes buffer(165, 0xAB);
    EXPECT_FALSE(HvBucketFlushToMemory(buffer.data(), buffer.size(), 10, 4, 13, 6));
    EXPECT_FALSE(HvBucketFlushToMemory(nullptr, 166, 10, 4, 13, 6));
    EXPECT_EQ(buffer, Bytes(165, 0xAB));
    Bucket const& bucket = s().buckets[0];
    EXPECT_TRUE(bucket.active && bucket.plaques.size() == 5u && bucket.sampleCount == 5u);
    EXPECT_EQ(log.lines, (Lines{
                             "0|[Holvane] HvBucketFlushToMemory buffer of 165 bytes is too small, 166 needed.\n",
                             "0|[Holvane] HvBucketFlushToMemory buffer of 0 bytes is too small, 166 needed.\n",
                         }));
}

// Each buffer is its own heap block of the exact size, so that a read past either end is caught under ASan.
TEST_F(MemoryBuffer, ForeignBuffersThatDontHoldTheirContentAreRefused)
{
    detectionBucket();
    Bytes good(166);
    ASSERT_TRUE(HvBucketFlushToMemory(good.data(), good.size(), 10, 4, 13, 6));
    std::vector<std::uint16_t> const rays = s().rayCounters, hits = s().hitCounters;

    Bytes const cut(good.begin() + 1, good.end());  // one plaque byte short
    Bytes const tiny(good.end() - 19, good.end());
    Bytes oversized = good;
    oversized[146 + 4] = oversized[146 + 5] = oversized[146 + 6] = oversized[146 + 7] = 0xFF;  // 2^32 - 1 plaques
    Bytes wideMask = good;
    wideMask[146 + 10] = 0xFF, wideMask[146 + 11] = 0xFF;  // xMax 65535
    Bytes newer = good;
    newer[146] = 0x9D;
    EXPECT_FALSE(HvFlushMemoryBufferToFile(cut.data(), cut.size()));
    EXPECT_FALSE(HvFlushMemoryBufferToFile(tiny.data(), tiny.size()));
    EXPECT_FALSE(HvFlushMemoryBufferToFile(nullptr, 166));
    EXPECT_FALSE(HvFlushMemoryBufferToFile(oversized.data(), oversized.size()));
    EXPECT_FALSE(HvFlushMemoryBufferToFile(wideMask.data(), wideMask.size()));
    EXPECT_FALSE(HvFlushMemoryBufferToFile(newer.data(), newer.size()));
    EXPECT_EQ(log.lines, (Lines{tooSmall, tooSmall, tooSmall, tooSmall, tooSmall,
                                "0|[Holvane] Memory buffer version mismatch.\n"}));
    expectNothingTaken(rays, hits);

    // A render buffer that claims one record more than it holds.
    log.lines.clear();
    s().phase = PHASE_RENDER;
    Bytes render(20 + 2 * 56);
    MemoryFooter footer;
    footer.itemCount = 3;
    Holvane::Internal::writeFooter(footer, render.data() + 2 * 56);
    EXPECT_FALSE(HvFlushMemoryBufferToFile(render.data(), render.size()));
    EXPECT_EQ(log.only(), tooSmall);
    expectNothingTaken(rays, hits);
}

TEST_F(MemoryBuffer, MaskPixelsOutsideTheCountersAreSkipped)
{
    begin(PHASE_DETECT, 1);
    Bytes buffer(4 + 20);
    MemoryFooter footer;
    footer.xMin = 14, footer.xMax = 16, footer.yMin = 7, footer.yMax = 9, footer.hasPixelMask = true;
    Holvane::Internal::writeFooter(footer, buffer.data() + 4);
    buffer[0] = 1, buffer[1] = 2, buffer[2] = 1, buffer[3] = 1;  // row 8 lies below the 16 x 8 image
    EXPECT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
    EXPECT_TRUE(s().rayCounters[7 * 16 + 14] == 1 && s().hitCounters[7 * 16 + 14] == 1);
    EXPECT_TRUE(s().rayCounters[7 * 16 + 15] == 1 && s().hitCounters[7 * 16 + 15] == 0);  // only 1 is complete
    EXPECT_EQ(s().spoolSampleCount, 0u);

    // Outside both phases a buffer is taken and ignored.
    s().phase = Holvane::Phase::PHASE_NONE;
    EXPECT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
}

TEST_F(MemoryBuffer, RenderBufferHoldsHeadsAndAovRecordsAtTheirStride)
{
    s().aovFormat.registerAov(1, "albedo", Holvane::Phase::AOV_VEC3);
    s().aovFormat.registerAov(2, "id", Holvane::Phase::AOV_INT);
    s().aovFormat.registerAov(3, "depth2", Holvane::Phase::AOV_DOUBLE);
    begin(PHASE_RENDER, 2);
    Bucket& bucket = s().buckets[1];
    HvInitBucket(1, 65537, 3, 65540, 5);  // the footer keeps the low 16 bits
    EXPECT_EQ(HvProcessBucketGetBufferSize(1ULL), 20);
    Bytes empty(20);
    ASSERT_TRUE(HvBucketFlushToMemory(empty.data(), empty.size(), 65537, 3, 65540, 5));
    EXPECT_EQ(Bytes(empty.begin() + 4, empty.begin() + 17),
              (Bytes{0, 0, 0, 0, 1, 0, 4, 0, 3, 0, 5, 0, 0}));  // no item, bounds, no mask
    EXPECT_TRUE(HvFlushMemoryBufferToFile(empty.data(), empty.size()));
    EXPECT_EQ(spoolBytes(), "");

    HvInitBucket(1, 0, 0, 4, 4);
    for (int i = 0; i < 2; ++i) {
        FinishedSample sample;
        sample.head.z = 10.25 + i, sample.head.color = {0.5f, 0.25f, 1.0f, 1.0f}, sample.head.cameraIndex = 7u + i;
        sample.aovs.resize(3);
        sample.aovs[0].vec3 = {1.0f, 2.0f, float(i)};
        sample.aovs[1].intValue = 100 + i;
        sample.aovs[2].doubleValue = 0.125 * i;
        bucket.finishedSamples.push_back(sample);
    }
    std::string record[2];
    for (int i = 0; i < 2; ++i) {
        auto const& sample = bucket.finishedSamples[i];
        record[i] = bytesOf(&sample.head, 56) + bytesOf(&sample.aovs[0].vec3, 12) + bytesOf(&sample.aovs[1], 4) +
                    bytesOf(&sample.aovs[2], 8);
    }
    log.lines.clear();
    EXPECT_EQ(HvProcessBucketGetBufferSize(0, 0, 4, 4), 2 * (56 + 24) + 20);
    Bytes buffer(2 * 80 + 20);
    ASSERT_TRUE(HvBucketFlushToMemory(buffer.data(), buffer.size(), 0, 0, 4, 4));
    EXPECT_EQ(bytesOf(buffer.data(), 160), record[0] + record[1]);
    EXPECT_EQ(buffer[164], 2);
    EXPECT_EQ(log.lines, (Lines{"3|process bucket get size 01 => hlvsize(180) , items(2) \n",
                                "3|01 write to memory => hlvsize(180), items(2) vraybufsize(180) \n"}));

    // Back into the spool, sample by sample; a foreign back-facing byte comes back as a clean flag.
    buffer[80 + 52] = 2;
    ASSERT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
    record[1][52] = 1;
    EXPECT_EQ(spoolBytes(), record[0] + record[1]);
    EXPECT_EQ(s().spoolSampleCount, 2u);
}
