// The memory buffer of a flushed bucket: its bytes, its way back into the spool and the counters, and the
// buffers that are refused.

#include "render/memory_buffer.h"
#include "render_session.h"

using namespace Holvane::BinIO;
using Holvane::Internal::MemoryFooter;
using Holvane::Phase::PHASE_DETECT;
using Holvane::Phase::PHASE_RENDER;
using namespace HolvaneTest;
using Bytes = std::vector<unsigned char>;

namespace {

std::string const tooSmall = "0|[Holvane] Memory buffer is too small for its content.\n";

class MemoryBuffer : public RenderSession {
protected:
    // A 16 x 8 image; thread 0 on x 10..12, y 4..5 with plaques 0 to 4. Every pixel saw 2 rays and 1 hit,
    // except (11, 4) and (10, 5), which are complete.
    void detectionBucket()
    {
        begin(PHASE_DETECT, 1);
        s().rayCounters.assign(128, 2), s().hitCounters.assign(128, 1);
        s().hitCounters[4 * 16 + 11] = s().hitCounters[5 * 16 + 10] = 2;
        HvInitBucket(0, 10, 4, 13, 6);
        addPlaques(s().buckets[0], 0, 5);
        plaques = bytesOf(s().buckets[0].plaques.data(), 140);
    }
    std::string plaques;
};

std::uint16_t at16(Bytes const& b, std::size_t i) { return std::uint16_t(b[i] | b[i + 1] << 8); }

}  // namespace

TEST_F(MemoryBuffer, DetectionBufferFillsTheEndWithPlaquesMaskAndFooter)
{
    detectionBucket();
    EXPECT_EQ(HvProcessBucketGetBufferSize(10, 4, 13, 6), 166);  // 5 * 28 + 3 * 2 + 20
    Bytes buffer(200, 0xAB);
    ASSERT_TRUE(HvBucketFlushToMemory(buffer.data(), buffer.size(), 10, 4, 13, 6));
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + 34), Bytes(34, 0xAB));  // the surplus in front is left alone
    EXPECT_EQ(bytesOf(buffer.data() + 34, 140), plaques);
    EXPECT_EQ(Bytes(buffer.begin() + 174, buffer.begin() + 180), (Bytes{0, 1, 0, 1, 0, 0}));  // y outer, x inner
    EXPECT_TRUE(at16(buffer, 180) == 668 && at16(buffer, 184) == 5 && at16(buffer, 186) == 0);  // version, count
    EXPECT_TRUE(at16(buffer, 188) == 10 && at16(buffer, 190) == 13);  // xMin, xMax
    EXPECT_TRUE(at16(buffer, 192) == 4 && at16(buffer, 194) == 6 && buffer[196] == 1);  // yMin, yMax, mask
    EXPECT_TRUE(!s().buckets[0].active && s().buckets[0].plaques.empty() && log.lines.empty());

    // Back into the spool: the plaques as they were; the mask overwrites the region's counters.
    s().rayCounters.assign(128, 9), s().hitCounters.assign(128, 7);
    ASSERT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
    EXPECT_EQ(spoolBytes(), plaques);
    EXPECT_EQ(s().spoolSampleCount, 5u);
    std::vector<std::uint16_t> rays(128, 9), hits(128, 7);
    for (int i : {4 * 16 + 10, 4 * 16 + 11, 4 * 16 + 12, 5 * 16 + 10, 5 * 16 + 11, 5 * 16 + 12})
        rays[i] = 1, hits[i] = i == 4 * 16 + 11 || i == 5 * 16 + 10;
    EXPECT_EQ(s().rayCounters, rays);
    EXPECT_EQ(s().hitCounters, hits);
}

TEST_F(MemoryBuffer, FlushToMemoryRefusesABufferShorterThanTheBucket)
{
    detectionBucket();
    Bytes buffer(165, 0xAB);
    EXPECT_FALSE(HvBucketFlushToMemory(buffer.data(), buffer.size(), 10, 4, 13, 6));
    EXPECT_FALSE(HvBucketFlushToMemory(nullptr, 166, 10, 4, 13, 6));
    EXPECT_EQ(buffer, Bytes(165, 0xAB));
    EXPECT_TRUE(s().buckets[0].active && s().buckets[0].sampleCount == 5u);
    EXPECT_EQ(log.lines, (Lines{"0|[Holvane] HvBucketFlushToMemory buffer of 165 bytes is too small, 166 needed.\n",
                                "0|[Holvane] HvBucketFlushToMemory buffer of 0 bytes is too small, 166 needed.\n"}));
}

// Each buffer is a heap block of its exact size, so that a read past either end is caught under ASan.
TEST_F(MemoryBuffer, ForeignBuffersThatDontHoldTheirContentAreRefused)
{
    detectionBucket();
    Bytes good(166);
    ASSERT_TRUE(HvBucketFlushToMemory(good.data(), good.size(), 10, 4, 13, 6));
    auto const rays = s().rayCounters, hits = s().hitCounters;
    Bytes oversized = good, wideMask = good, newer = good;
    oversized[150] = oversized[151] = oversized[152] = oversized[153] = 0xFF;  // 2^32 - 1 plaques
    wideMask[156] = wideMask[157] = 0xFF;                                     // xMax 65535
    newer[146] = 0x9D;
    Bytes render(20 + 2 * 56);  // claims three records
    MemoryFooter footer;
    footer.itemCount = 3;
    Holvane::Internal::writeFooter(footer, render.data() + 2 * 56);
    for (Bytes const& b : {Bytes(good.begin() + 1, good.end()), Bytes(good.end() - 19, good.end()), oversized,
                           wideMask, newer})
        EXPECT_FALSE(HvFlushMemoryBufferToFile(b.data(), b.size()));
    EXPECT_FALSE(HvFlushMemoryBufferToFile(nullptr, 166));
    s().phase = PHASE_RENDER;
    EXPECT_FALSE(HvFlushMemoryBufferToFile(render.data(), render.size()));
    EXPECT_EQ(log.lines, (Lines{tooSmall, tooSmall, tooSmall, tooSmall, "0|[Holvane] Memory buffer version mismatch.\n",
                                tooSmall, tooSmall}));
    EXPECT_TRUE(spoolBytes().empty() && s().spoolSampleCount == 0u);
    EXPECT_TRUE(s().rayCounters == rays && s().hitCounters == hits);
}

TEST_F(MemoryBuffer, MaskPixelsOutsideTheCountersAreSkipped)
{
    begin(PHASE_DETECT, 1);
    Bytes buffer = {1, 2, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    MemoryFooter footer;  // x 14..15, y 7..8: row 8 lies below the 16 x 8 image
    footer.xMin = 14, footer.xMax = 16, footer.yMin = 7, footer.yMax = 9, footer.hasPixelMask = true;
    Holvane::Internal::writeFooter(footer, buffer.data() + 4);
    EXPECT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
    EXPECT_TRUE(s().rayCounters[7 * 16 + 14] == 1 && s().hitCounters[7 * 16 + 14] == 1);
    EXPECT_TRUE(s().rayCounters[7 * 16 + 15] == 1 && s().hitCounters[7 * 16 + 15] == 0);  // only a 1 is complete
    s().phase = Holvane::Phase::PHASE_NONE;  // outside both phases a buffer is taken and ignored
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
    EXPECT_EQ(Bytes(empty.begin() + 4, empty.begin() + 17), (Bytes{0, 0, 0, 0, 1, 0, 4, 0, 3, 0, 5, 0, 0}));
    EXPECT_TRUE(HvFlushMemoryBufferToFile(empty.data(), empty.size()));
    EXPECT_EQ(spoolBytes(), "");

    HvInitBucket(1, 0, 0, 4, 4);
    std::string records;
    bucket.finishedSamples.resize(2);
    for (int i = 0; i < 2; ++i) {
        FinishedSample& sample = bucket.finishedSamples[i];
        sample.head.z = 10.25 + i, sample.head.color = {0.5f, 0.25f, 1.0f, 1.0f}, sample.head.cameraIndex = 7u + i;
        sample.aovs.resize(3);
        sample.aovs[0].vec3 = {1.0f, 2.0f, float(i)}, sample.aovs[1].intValue = 100 + i;
        sample.aovs[2].doubleValue = 0.125 * i;
        records += bytesOf(&sample.head, 56) + bytesOf(&sample.aovs[0], 12) + bytesOf(&sample.aovs[1], 4) +
                   bytesOf(&sample.aovs[2], 8);
    }
    log.lines.clear();
    EXPECT_EQ(HvProcessBucketGetBufferSize(0, 0, 4, 4), 2 * (56 + 24) + 20);
    Bytes buffer(2 * 80 + 20);
    ASSERT_TRUE(HvBucketFlushToMemory(buffer.data(), buffer.size(), 0, 0, 4, 4));
    EXPECT_EQ(bytesOf(buffer.data(), 160), records);
    EXPECT_EQ(log.lines, (Lines{"3|process bucket get size 01 => hlvsize(180) , items(2) \n",
                                "3|01 write to memory => hlvsize(180), items(2) vraybufsize(180) \n"}));
    // Back into the spool, record by record; a foreign back-facing byte comes back as a clean flag.
    buffer[80 + 52] = 2, records[80 + 52] = 1;
    ASSERT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
    EXPECT_EQ(spoolBytes(), records);
    EXPECT_EQ(s().spoolSampleCount, 2u);
}
