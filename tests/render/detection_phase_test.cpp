// A small detection phase through the exported calls, from HvInitPhase to the detect file. The plaques are put
// into the buckets directly, where the sample processing would put them.

#include <holvane/holvane.h>

#include "common/detect_file.h"
#include "render_session.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

using namespace Holvane::BinIO;
using namespace Holvane::Phase;
using Holvane::Internal::session;
using HolvaneTest::Lines;

namespace {

std::string fileBytes(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class DetectionPhase : public ::testing::Test {
protected:
    HolvaneTest::LogCapture log;
    std::vector<std::string> paths;

    void TearDown() override
    {
        if (session().initialized)
            HvPhaseTerminate(TERMINATE_ABORT);
        HvInitPhase(PHASE_NONE, Holvane::Util::RenderingEngineId(0));
        for (std::string const& path : paths)
            std::remove(path.c_str());
    }

    // A 312 x 208 detection with two threads of 8 x 8 buckets, up to the phase's start.
    void beginPhase(std::string const& out)
    {
        HvInitPhase(PHASE_DETECT, Holvane::Util::RenderingEngineId(4));
        HvSetDraft(false), HvSetCurrentFrame(3, 4), HvSetZovOffset(0, 0, 0), HvSetRenderTransparencyMode(ALL);
        HvSetOutputResolution(312, 208);
        ASSERT_TRUE(HvSetRenderingResolutionParameters(HvComputeRenderingResolutionParameters(312ULL, 208ULL)));
        HvSetBucketSize(8, 8), HvSetThreadNumber(2), HvSetOutFilePath(out.c_str());
        ASSERT_TRUE(HvPhaseBegin());
    }

    // Thread 0 renders x 16..23, y 40..47 and finds plaques 0 to 3; one of its pixels saw a ray without a
    // hit. Thread 1 renders the next region, finds plaques 4 and 5 and is never flushed by the host.
    void render()
    {
        auto& s = session();
        HvInitBucket(0, 16, 40, 24, 48);
        HolvaneTest::addPlaques(s.buckets[0], 0, 4);
        s.rayCounters[41 * 312 + 17] = 1;
        HvInitBucket(1, 24, 40, 32, 48);
        HolvaneTest::addPlaques(s.buckets[1], 4, 2);
    }

    // The file of one route; rand is seeded so that the hidden engine number comes out the same.
    std::string terminate()
    {
        std::srand(11);
        EXPECT_TRUE(HvPhaseTerminate(TERMINATE_FINALIZE));
        return fileBytes(paths.back());
    }

    std::string run(bool throughMemory)
    {
        paths.push_back(HolvaneTest::tempFile(throughMemory ? "hv-detect-memory" : "hv-detect-file"));
        beginPhase(paths.back());
        render();
        if (!throughMemory) {
            EXPECT_TRUE(HvProcessBucketFlushToFile(16, 40, 24, 48));
            return terminate();
        }
        int const size = HvProcessBucketGetBufferSize(16, 40, 24, 48);
        EXPECT_EQ(size, 4 * 28 + 64 + 20);
        std::vector<unsigned char> buffer(static_cast<std::size_t>(size));
        EXPECT_TRUE(HvBucketFlushToMemory(buffer.data(), buffer.size(), 16, 40, 24, 48));
        EXPECT_TRUE(HvFlushMemoryBufferToFile(buffer.data(), buffer.size()));
        return terminate();
    }
};

}  // namespace

TEST_F(DetectionPhase, FileAndMemoryRoutesWriteTheSameDetectFile)
{
    std::string const byFile = run(false);
    ASSERT_FALSE(byFile.empty());
    EXPECT_TRUE(std::find(log.lines.begin(), log.lines.end(), "3|[Holvane] bucket Number 2/2 \n") != log.lines.end());
    std::string const leftover =
        "1|Bucket 1 still had data when HvPhaseTerminate was invoked. Flushing bucket before finalizing.";
    Lines const ending = {
        leftover,
        "2|[Holvane] retrieving detect phase data.  resolution 312x208 . samples 6.\n",
        "2|[Holvane] processing data.\n",
        "2|[Holvane] flushing 6 samples to file.\n",
        "2|[Holvane] wrote render file " + paths[0] + " .\n",
    };
    EXPECT_EQ(Lines(log.lines.end() - 5, log.lines.end()), ending);

    header_v09 header;
    hlvRenderSample5Aovs_t data;
    int hashSum = 0;
    ASSERT_EQ(hlvReader_v9(paths[0].c_str(), header, data, hashSum), READER_OK);
    ASSERT_EQ(data.fillHoles.size(), 6u);
    for (int i = 0; i < 6; ++i)  // thread 0's flush, then the leftover of thread 1
        EXPECT_TRUE(HolvaneTest::samePlaque(data.fillHoles[i], HolvaneTest::plaque(i))) << i;
    EXPECT_EQ(header.fillHoleCount, 6u);
    ASSERT_EQ(data.completion.size(), 312u * 208u);
    EXPECT_EQ(data.completion[41 * 312 + 17], 0);
    EXPECT_EQ(std::count(data.completion.begin(), data.completion.end(), 0), 1);

    log.lines.clear();
    std::string const byMemory = run(true);
    EXPECT_EQ(byMemory, byFile);
    for (std::string const& line : log.lines)
        EXPECT_NE(line.substr(0, 2), "0|") << line;  // no refusal on the way
}
