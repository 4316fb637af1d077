#include <holvane/holvane.h>

#include "common/detect_file.h"
#include "common/log_capture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace Holvane;
using Phase::HvResolutionParam;
using HolvaneTest::LogCapture;
using HolvaneTest::Lines;

::testing::AssertionResult isResolution(HvResolutionParam const& r, unsigned long long w, unsigned long long h,
                                        unsigned long long blocks)
{
    if (r.valid && r.width == w && r.height == h && r.blockCount == blocks)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got (" << r.width << ", " << r.height << ", " << r.blockCount << ", "
                                         << r.valid << ")";
}

class Resolution : public ::testing::Test {
protected:
    void TearDown() override
    {
        for (std::string const& file : files)
            std::remove(file.c_str());
    }

    std::string detectFile(std::size_t plaques)
    {
        files.push_back(HolvaneTest::tempFile("hv-resolution"));
        HolvaneTest::writeDetectFile(files.back(), std::vector<BinIO::DetectPlaqueInfo>(plaques));
        return files.back();
    }

    // A phase with everything the resolution queries need.
    static void configure(Phase::Phase phase, std::string const& detectFile)
    {
        using namespace Phase;
        HvInitPhase(phase, Util::RenderingEngineId(3));
        HvSetDraft(false), HvSetCurrentFrame(1, 4), HvSetZovOffset(0, 0, 0), HvSetOutputResolution(312, 208);
        HvSetRenderTransparencyMode(ALL), HvSetDetectFilePath(detectFile.c_str());
    }

    std::vector<std::string> files;
};

TEST_F(Resolution, ThousandPlaquesGiveTheWorkedSizesAndTheBlocksAreWalked)
{
    std::string const file = detectFile(1000);
    configure(Phase::PHASE_RENDER, file);
    EXPECT_TRUE(isResolution(Phase::HvGetRenderingResolutionParameters(), 32, 32, 1));
    EXPECT_TRUE(isResolution(Phase::HvComputeRenderingResolutionParameters(10ULL, 10ULL), 10, 10, 10));
    // The block-namespace count is one more when the plaques fill the blocks exactly.
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(file.c_str(), 10, 10), 11u);
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(file.c_str(), 10, 9), 12u);
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(), 1u);  // 312 x 208 holds them all
    unsigned long long width = 7, height = 7;
    EXPECT_TRUE(Block::HvGetRenderingResolutionFromBlockCount(file.c_str(), 4, width, height));
    EXPECT_TRUE(width == 32 && height == 32);  // the block count plays no part

    HvResolutionParam const four = Phase::HvComputeRenderingResolutionParameters(4ULL);
    EXPECT_TRUE(isResolution(four, 16, 16, 4));
    ASSERT_TRUE(Phase::HvSetRenderingResolutionParameters(four));
    EXPECT_TRUE(Phase::HvSetCurrentBlockIndex(3));
    LogCapture log;
    EXPECT_FALSE(Phase::HvSetCurrentBlockIndex(4));
    EXPECT_EQ(log.only(), "0|[Holvane] Unable to set the block 4 greater than the number of block 4 .\n");
}

TEST_F(Resolution, DetectionAnswersTheOutputResolutionAndRefusesBlocks)
{
    configure(Phase::PHASE_DETECT, "/tmp/hv-detect-out.hlvDetect");
    Phase::HvSetOutputResolution(624, 416);
    LogCapture log;
    EXPECT_TRUE(isResolution(Phase::HvComputeRenderingResolutionParameters(100ULL, 50ULL), 624, 416, 1));
    EXPECT_TRUE(log.has("1|[Holvane] Rendering resolution is different than the final Hlv file resolution, "
                            "this is not supported in the detection phase.\n"));
    EXPECT_TRUE(isResolution(Phase::HvComputeRenderingResolutionParameters(4ULL), 624, 416, 1));
    EXPECT_TRUE(log.has("1|[Holvane] multiple blocks for the detection phase is not supported.\n"));
    EXPECT_FALSE(Phase::HvSetRenderingResolutionParameters(HvResolutionParam{624, 416, 2, true}));
    EXPECT_TRUE(log.has("0|[Holvane] Unable to render multiple blocks during the detection phase.\n"));
}

TEST_F(Resolution, IncompleteContextNamesWhatIsMissing)
{
    Phase::HvInitPhase(Phase::PHASE_RENDER, Util::RenderingEngineId(0));
    LogCapture log;
    HvResolutionParam const r = Phase::HvGetRenderingResolutionParameters();
    EXPECT_TRUE(!r.valid && r.width == 0 && r.height == 0 && r.blockCount == 0);
    EXPECT_EQ(log.lines, (Lines{
        "1|[Holvane] draftMode is not set.\n",
        "1|[Holvane] the frame number is not set.\n",
        "1|[Holvane] the ZOV offset for multibox is not set.\n",
        "1|[Holvane] the output resolution is not set.\n",
        "1|[Holvane] the transparency pass type is not set.\n",
        "0|[Holvane] Unable to create IO paths for Holvane. Context is partialy set.\n",
    }));
    log.lines.clear();
    EXPECT_FALSE(Phase::HvSetCurrentBlockIndex(0));
    EXPECT_EQ(log.only(), "0|[Holvane] Unable to set block, the renderingParameters is not set.\n");
}

TEST_F(Resolution, DetectFilesThatDontReadAndFilesThatDontExist)
{
    std::string const file = detectFile(10);
    std::string const newer = detectFile(10);
    HolvaneTest::markVersionTooNew(newer);
    configure(Phase::PHASE_RENDER, file);
    Block::HvSetDetectPhaseOverride(newer);
    EXPECT_EQ(Block::HvGetDetectPhaseFileFromHolvaneContext(), file);  // the override isn't reported
    LogCapture log;
    EXPECT_FALSE(Phase::HvComputeRenderingResolutionParameters(10ULL, 10ULL).valid);
    // The reader's line has no line end of its own.
    EXPECT_EQ(log.lines, (Lines{"0|error(-4) reading file (" + newer + ")",
                                "0|[Holvane] Cannot read the detection file " + newer + " .\n"}));
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(), 0u);
    unsigned long long width = 7, height = 9;
    EXPECT_FALSE(Block::HvGetRenderingResolutionFromBlockCount(newer.c_str(), 1, width, height));
    EXPECT_TRUE(width == 7 && height == 9);

    // A missing file reads as a blank header, which holds no plaque.
    Block::HvSetDetectPhaseOverride("/nonexistent/hv.hlvDetect");
    EXPECT_TRUE(isResolution(Phase::HvGetRenderingResolutionParameters(), 0, 0, 1));
    EXPECT_EQ(Block::HvGetBlockCountFromRenderingResolution(), 1u);
}

TEST_F(Resolution, NoBlockIsAcceptedOnlyForAnEmptyDetectFile)
{
    HvResolutionParam const noBlock = {0, 0, 0, true};
    configure(Phase::PHASE_RENDER, detectFile(0));
    EXPECT_TRUE(isResolution(Phase::HvGetRenderingResolutionParameters(), 0, 0, 1));
    // An image of no pixel is a valid answer too: it asks for no block, which this file allows.
    EXPECT_TRUE(isResolution(Phase::HvComputeRenderingResolutionParameters(0ULL, 0ULL), 0, 0, 0));
    EXPECT_TRUE(Phase::HvSetRenderingResolutionParameters(noBlock));

    configure(Phase::PHASE_RENDER, detectFile(5));
    LogCapture log;
    EXPECT_FALSE(Phase::HvSetRenderingResolutionParameters(noBlock));
    EXPECT_TRUE(log.has("0|[Holvane] You must have at least one block to render\n"));
    EXPECT_FALSE(Phase::HvSetRenderingResolutionParameters(HvResolutionParam{10, 10, 1, false}));
    EXPECT_TRUE(log.has("0|[Holvane] invalid resolution params.\n"));
}

}  // namespace
