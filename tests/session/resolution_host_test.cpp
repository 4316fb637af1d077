#include <holvane/holvane.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace Holvane;
using Phase::HvResolutionParam;

// Collects the messages as they were given: no level header, line ends kept.
struct LogLines {
    std::vector<std::string> lines;
    static void collect(Logger::LogLevel const&, char const* text, void* self)
    {
        static_cast<LogLines*>(self)->lines.push_back(text);
    }
    bool has(std::string const& text) const
    {
        for (std::string const& line : lines)
            if (line.find(text) != std::string::npos)
                return true;
        return false;
    }
};

// A detect file whose header announces `plaques` plaques, written as the detection phase writes it.
std::string writeDetectFile(unsigned long long plaques)
{
    char path[] = "/tmp/hv-resolution-XXXXXX";
    int fd = mkstemp(path);
    close(fd);
    BinIO::header_v09 header;
    header.rtype = 1;
    header.widthDisplay = 312;
    header.heightDisplay = 208;
    header.fillHoleCount = plaques;
    BinIO::hlvRenderSample5Aovs_t data;
    data.fillHoles.resize(plaques);
    EXPECT_EQ(BinIO::hlvWriter_v9(path, header, data, Util::RenderingEngineId(3)), BinIO::READER_OK);
    return path;
}

class Resolution : public ::testing::Test {
protected:
    void SetUp() override
    {
        Logger::HvSetConsoleLogLevel(Logger::LogLevel(-1));
        Logger::HvSetCallbackCarriageReturnMode(Logger::CR_KEEP);
        Logger::HvSetLogLevelHeader(false);
        Logger::HvSetCallBackLogLevel(Logger::TRACE, &LogLines::collect, &log);
    }
    void TearDown() override
    {
        Logger::HvSetCallBackLogLevel(Logger::LogLevel(-1), nullptr, nullptr);
        Logger::HvSetCallbackCarriageReturnMode(Logger::CR_STRIP);
        Logger::HvSetLogLevelHeader(true);
        Logger::HvSetConsoleLogLevel(Logger::TRACE);
        for (std::string const& file : files)
            std::remove(file.c_str());
    }

    // A render phase with everything the resolution queries need.
    void beginRenderSetup(std::string const& detectFile)
    {
        Phase::HvInitPhase(Phase::PHASE_RENDER, Util::RenderingEngineId(3));
        Phase::HvSetDraft(false);
        Phase::HvSetCurrentFrame(1, 4);
        Phase::HvSetZovOffset(0, 0, 0);
        Phase::HvSetOutputResolution(312, 208);
        Phase::HvSetRenderTransparencyMode(Phase::ALL);
        Phase::HvSetDetectFilePath(detectFile.c_str());
    }

    std::string detectFile(unsigned long long plaques)
    {
        files.push_back(writeDetectFile(plaques));
        return files.back();
    }

    LogLines log;
    std::vector<std::string> files;
};

void expectResolution(HvResolutionParam const& r, unsigned long long w, unsigned long long h, unsigned long long b)
{
    EXPECT_TRUE(r.valid);
    EXPECT_EQ(r.width, w);
    EXPECT_EQ(r.height, h);
    EXPECT_EQ(r.blockCount, b);
}

TEST_F(Resolution, ThousandPlaquesGiveTheWorkedSizes)
{
    std::string const file = detectFile(1000);
    beginRenderSetup(file);
    expectResolution(Phase::HvGetRenderingResolutionParameters(), 32, 32, 1);
    expectResolution(Phase::HvComputeRenderingResolutionParameters(10ULL, 10ULL), 10, 10, 10);
    // The block-namespace count is one more when the plaques fill the blocks exactly.
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(file.c_str(), 10, 10), 11u);
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(file.c_str(), 10, 9), 12u);
    unsigned long long width = 7, height = 7;
    EXPECT_TRUE(Block::HvGetRenderingResolutionFromBlockCount(file.c_str(), 4, width, height));
    EXPECT_EQ(width, 32u);
    EXPECT_EQ(height, 32u);
    // 312 x 208 output pixels hold the thousand plaques in one block.
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(), 1u);
}

TEST_F(Resolution, BlockCountSetsASquareImageAndTheBlocksAreWalked)
{
    beginRenderSetup(detectFile(1000));
    HvResolutionParam const r = Phase::HvComputeRenderingResolutionParameters(4ULL);
    expectResolution(r, 16, 16, 4);
    ASSERT_TRUE(Phase::HvSetRenderingResolutionParameters(r));
    EXPECT_TRUE(Phase::HvSetCurrentBlockIndex(3));
    log.lines.clear();
    EXPECT_FALSE(Phase::HvSetCurrentBlockIndex(4));
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(log.lines[0], "[Holvane] Unable to set the block 4 greater than the number of block 4 .\n");
}

TEST_F(Resolution, DetectionAnswersTheOutputResolution)
{
    Phase::HvInitPhase(Phase::PHASE_DETECT, Util::RenderingEngineId(0));
    Phase::HvSetDraft(false);
    Phase::HvSetCurrentFrame(1, 4);
    Phase::HvSetZovOffset(0, 0, 0);
    Phase::HvSetOutputResolution(624, 416);
    log.lines.clear();
    expectResolution(Phase::HvComputeRenderingResolutionParameters(100ULL, 50ULL), 624, 416, 1);
    EXPECT_TRUE(log.has("[Holvane] the transparency pass type is not set.\n"));
    EXPECT_TRUE(log.has("[Holvane] Rendering resolution is different than the final Hlv file resolution, this is "
                        "not supported in the detection phase.\n"));
    expectResolution(Phase::HvComputeRenderingResolutionParameters(4ULL), 624, 416, 1);
    EXPECT_TRUE(log.has("[Holvane] multiple blocks for the detection phase is not supported.\n"));

    HvResolutionParam const twoBlocks = {624, 416, 2, true};
    EXPECT_FALSE(Phase::HvSetRenderingResolutionParameters(twoBlocks));
    EXPECT_TRUE(log.has("[Holvane] Unable to render multiple blocks during the detection phase.\n"));
}

TEST_F(Resolution, IncompleteContextNamesWhatIsMissing)
{
    Phase::HvInitPhase(Phase::PHASE_RENDER, Util::RenderingEngineId(0));
    log.lines.clear();
    HvResolutionParam const r = Phase::HvGetRenderingResolutionParameters();
    EXPECT_FALSE(r.valid);
    EXPECT_EQ(r.width + r.height + r.blockCount, 0u);
    std::vector<std::string> const expected = {
        "[Holvane] draftMode is not set.\n",
        "[Holvane] the frame number is not set.\n",
        "[Holvane] the ZOV offset for multibox is not set.\n",
        "[Holvane] the output resolution is not set.\n",
        "[Holvane] the transparency pass type is not set.\n",
        "[Holvane] Unable to create IO paths for Holvane. Context is partialy set.\n",
    };
    EXPECT_EQ(log.lines, expected);
}

TEST_F(Resolution, DetectFileOfANewerVersionIsReported)
{
    std::string const file = detectFile(10);
    std::string const newer = detectFile(10);
    std::FILE* f = std::fopen(newer.c_str(), "r+b");
    ASSERT_NE(f, nullptr);
    std::fseek(f, 14, SEEK_SET);
    std::fputc(10, f);
    std::fclose(f);
    beginRenderSetup(file);
    Block::HvSetDetectPhaseOverride(newer);
    EXPECT_EQ(Block::HvGetDetectPhaseFileFromHolvaneContext(), file);
    log.lines.clear();
    EXPECT_FALSE(Phase::HvComputeRenderingResolutionParameters(10ULL, 10ULL).valid);
    std::vector<std::string> const expected = {
        "error(-4) reading file (" + newer + ")",
        "[Holvane] Cannot read the detection file " + newer + " .\n",
    };
    EXPECT_EQ(log.lines, expected);
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(), 0u);
    unsigned long long width = 7, height = 9;
    EXPECT_FALSE(Block::HvGetRenderingResolutionFromBlockCount(newer.c_str(), 1, width, height));
    EXPECT_EQ(width, 7u);
    EXPECT_EQ(height, 9u);
}

TEST_F(Resolution, MissingDetectFileCountsAsEmpty)
{
    // The header-only read falls back to a blank header, which holds no plaque.
    beginRenderSetup(detectFile(10));
    Block::HvSetDetectPhaseOverride("/nonexistent/hv.hlvDetect");
    expectResolution(Phase::HvGetRenderingResolutionParameters(), 0, 0, 1);
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(), 1u);
}

TEST_F(Resolution, NoBlockIsAcceptedOnlyForAnEmptyDetectFile)
{
    HvResolutionParam const noBlock = {0, 0, 0, true};
    beginRenderSetup(detectFile(0));
    expectResolution(Phase::HvGetRenderingResolutionParameters(), 0, 0, 1);
    EXPECT_TRUE(Phase::HvSetRenderingResolutionParameters(noBlock));

    beginRenderSetup(detectFile(5));
    log.lines.clear();
    EXPECT_FALSE(Phase::HvSetRenderingResolutionParameters(noBlock));
    EXPECT_TRUE(log.has("[Holvane] You must have at least one block to render\n"));

    HvResolutionParam const invalid = {10, 10, 1, false};
    EXPECT_FALSE(Phase::HvSetRenderingResolutionParameters(invalid));
    EXPECT_TRUE(log.has("[Holvane] invalid resolution params.\n"));
}

TEST_F(Resolution, BlockIndexNeedsTheRenderingParameters)
{
    Phase::HvInitPhase(Phase::PHASE_RENDER, Util::RenderingEngineId(0));
    log.lines.clear();
    EXPECT_FALSE(Phase::HvSetCurrentBlockIndex(0));
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(log.lines[0], "[Holvane] Unable to set block, the renderingParameters is not set.\n");
}

}  // namespace
