// A small detection phase through the exported calls, from HvInitPhase to the detect file; the plaques are
// put into the buckets where the sample processing would put them. By file or through a memory buffer, the
// same plaques give the same file.

#include <holvane/holvane.h>

#include "common/detect_file.h"
#include "files/container_fixtures.h"
#include "render_session.h"

#include <algorithm>
#include <cstdlib>

using namespace Holvane::BinIO;
using namespace Holvane::Phase;
using Holvane::Internal::session;

namespace {

class DetectionPhase : public ::testing::Test {
protected:
    HolvaneTest::LogCapture log;
    std::string path = HolvaneTest::tempFile("hv-detection-phase");

    void TearDown() override
    {
        HvInitPhase(PHASE_NONE, Holvane::Util::RenderingEngineId(0));
        std::remove(path.c_str());
    }

    // 312 x 208 pixels, two threads of 8 x 8. Thread 0 renders x 16..23, y 40..47, finds plaques 0 to 3 and
    // shoots a ray that hits nothing at (17, 41); thread 1 finds plaques 4 and 5 and is never flushed.
    void beginAndRender()
    {
        HvInitPhase(PHASE_DETECT, Holvane::Util::RenderingEngineId(4));
        HvSetDraft(false), HvSetCurrentFrame(3, 4), HvSetZovOffset(0, 0, 0), HvSetRenderTransparencyMode(ALL);
        HvSetOutputResolution(312, 208);
        ASSERT_TRUE(HvSetRenderingResolutionParameters(HvComputeRenderingResolutionParameters(312ULL, 208ULL)));
        HvSetBucketSize(8, 8), HvSetThreadNumber(2), HvSetOutFilePath(path.c_str());
        ASSERT_TRUE(HvPhaseBegin());
        ASSERT_EQ(session().buckets.size(), 2u);
        HvInitBucket(0, 16, 40, 24, 48), HolvaneTest::addPlaques(session().buckets[0], 0, 4);
        session().rayCounters[41 * 312 + 17] = 1;
        HvInitBucket(1, 24, 40, 32, 48), HolvaneTest::addPlaques(session().buckets[1], 4, 2);
    }

    // rand is seeded so that the hidden engine number comes out the same.
    std::string terminate()
    {
        std::srand(11);
        EXPECT_TRUE(HvPhaseTerminate(TERMINATE_FINALIZE));
        return HolvaneTest::readBytes(path);
    }
};

}  // namespace

TEST_F(DetectionPhase, FileAndMemoryRoutesWriteTheSameDetectFile)
{
    beginAndRender();
    EXPECT_TRUE(HvProcessBucketFlushToFile(16, 40, 24, 48));
    std::string const byFile = terminate();
    EXPECT_NE(std::find(log.lines.begin(), log.lines.end(),
                        "1|Bucket 1 still had data when HvPhaseTerminate was invoked. Flushing bucket before finalizing."),
              log.lines.end());
    header_v09 header;
    hlvRenderSample5Aovs_t data;
    int hashSum = 0;
    ASSERT_EQ(hlvReader_v9(path.c_str(), header, data, hashSum), READER_OK);
    ASSERT_EQ(data.fillHoles.size(), 6u);
    // Thread 0's flush, then thread 1's leftover; cleaning keeps them (all cameras and pixels differ, the
    // transparent ones 4 and 5 come last anyway) and clears their levels.
    for (int i = 0; i < 6; ++i) {
        DetectPlaqueInfo expected = HolvaneTest::plaque(i);
        expected.level = 0;
        EXPECT_TRUE(HolvaneTest::samePlaque(data.fillHoles[i], expected)) << i;
    }
    ASSERT_EQ(data.completion.size(), 312u * 208u);
    EXPECT_EQ(std::count(data.completion.begin(), data.completion.end(), 0), 1);
    EXPECT_EQ(data.completion[41 * 312 + 17], 0);

    log.lines.clear();
    beginAndRender();
    int const size = HvProcessBucketGetBufferSize(16, 40, 24, 48);
    ASSERT_EQ(size, 4 * 28 + 64 + 20);
    std::vector<unsigned char> buffer(static_cast<std::size_t>(size));
    EXPECT_TRUE(HvBucketFlushToMemory(buffer.data(), buffer.size(), 16, 40, 24, 48));
    EXPECT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
    EXPECT_EQ(terminate(), byFile);
    EXPECT_EQ(std::count_if(log.lines.begin(), log.lines.end(), [](auto const& l) { return l[0] == '0'; }), 0);
}
