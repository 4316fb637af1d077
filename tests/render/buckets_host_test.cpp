// The bucket calls as a host makes them through the shared library: the guard while idle, refused buffers,
// and a detection phase whose only region goes through a memory buffer into the detect file.

#include <holvane/holvane.h>

#include "common/detect_file.h"
#include "common/log_capture.h"

#include <gtest/gtest.h>

#include <exception>

using namespace Holvane::BinIO;
using namespace Holvane::Phase;
using Lines = std::vector<std::string>;

TEST(BucketsHost, IdleRefusesAndAMemoryBufferReachesTheDetectFile)
{
    HolvaneTest::LogCapture log;
    HvInitPhase(PHASE_NONE, Holvane::Util::RenderingEngineId(0));
    EXPECT_THROW(HvProcessBucketFlushToFile(0ULL), std::exception);
    EXPECT_FALSE(HvFlushMemoryBufferToFile(nullptr, 20));
    unsigned char wrongVersion[20] = {0x9C, 0x03};
    EXPECT_FALSE(HvFlushMemoryBufferToFile(wrongVersion, sizeof wrongVersion));
    EXPECT_EQ(log.lines, (Lines{"4|[Holvane] a phase must be initialized to use this function",
                                "0|[Holvane] Memory buffer is too small for its content.\n",
                                "0|[Holvane] Memory buffer version mismatch.\n"}));

    std::string const path = HolvaneTest::tempFile("hv-buckets-host");
    HvInitPhase(PHASE_DETECT, Holvane::Util::RenderingEngineId(2));
    HvSetDraft(false), HvSetCurrentFrame(1, 4), HvSetZovOffset(0, 0, 0), HvSetRenderTransparencyMode(ALL);
    HvSetOutputResolution(312, 208);
    ASSERT_TRUE(HvSetRenderingResolutionParameters(HvComputeRenderingResolutionParameters(312ULL, 208ULL)));
    HvSetBucketSize(4, 4), HvSetOutFilePath(path.c_str());
    ASSERT_TRUE(HvPhaseBegin());
    EXPECT_THROW(HvInitBucket(1, 0, 0, 4, 4), std::exception);  // one thread by default: one bucket
    HvInitBucket(0, 300, 200, 304, 204);
    int const size = HvProcessBucketGetBufferSize(300, 200, 304, 204);
    ASSERT_EQ(size, 16 + 20);
    std::vector<unsigned char> buffer(static_cast<std::size_t>(size));
    ASSERT_TRUE(HvBucketFlushToMemory(buffer.data(), buffer.size(), 300, 200, 304, 204));
    EXPECT_EQ(std::vector<unsigned char>(buffer.begin(), buffer.begin() + 16), std::vector<unsigned char>(16, 1));
    EXPECT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
    EXPECT_EQ(HvProcessBucketGetBufferSize(300, 200, 304, 204), -1);  // the flush ended the region
    EXPECT_TRUE(HvPhaseTerminate(TERMINATE_FINALIZE));

    header_v09 header;
    hlvRenderSample5Aovs_t data;
    int hashSum = 0;
    ASSERT_EQ(hlvReader_v9(path.c_str(), header, data, hashSum), READER_OK);
    EXPECT_TRUE(header.rtype && header.fillHoleCount == 0u && header.widthDisplay == 312u);
    EXPECT_EQ(data.completion.size(), 312u * 208u);
    std::remove(path.c_str());
    HvInitPhase(PHASE_NONE, Holvane::Util::RenderingEngineId(0));
}
