// The end of a phase: the spool read back and written as the phase's hlvDetect or hlvRender file.

#include <holvane/container.h>

#include "common/capture.h"
#include "common/detect_file.h"
#include "render/finalise.h"
#include "render/spool.h"
#include "render_session.h"

#include <cmath>
#include <cstring>
#include <exception>

using namespace Holvane::BinIO;
using namespace Holvane::Phase;
using namespace HolvaneTest;
using Holvane::Internal::Finalise;
using Holvane::Internal::fileSampleOf;

namespace {

std::string recordBytes(hlvRenderSample5_t const& sample) { return bytesOf(&sample, 28); }

class Finalisation : public RenderSession {
protected:
    std::string path = tempFile("hv-finalise");
    header_v09 header;
    hlvRenderSample5Aovs_t data;

    void TearDown() override
    {
        RenderSession::TearDown();
        std::remove(path.c_str());
    }

    // Every value the header takes, each unlike its default; the output width doesn't fit 16 bits.
    void configure(Phase phase)
    {
        begin(phase, 1, 4, 2);
        auto& c = s();
        c.currentFrame = 12, c.zovScaling = {2.0f, 0.5f, 1.5f}, c.zovOffsetRight = 1, c.zovOffsetTop = -2;
        c.zovOffsetBack = 3, c.eye = RC_LeftAndRight, c.ipd = 64.5f, c.distanceToGround = 1.75f;
        c.outputWidth = 70000.0, c.outputHeight = 416.0, c.draftMode = true, c.renderScale = 2.5f;
        c.transparencyMode = BOTH, c.renderingContext.tolerance = 0.1;
        for (int i = 0; i < 16; ++i)
            c.camToWorld.m[i / 4][i % 4] = float(i) + 0.5f;
        c.renderingContext.rig.cameras = {{-50.0f, 0.0f, 50.0f}, {1.0f, 2.0f, 3.0f}};
        c.renderingContext.rig.cameraWeights = {9.0f, -1.0f};
        c.renderingContext.rig.cameraMasks = {CAMERA_MINUS_X | CAMERA_PLUS_Z, 63u};
        c.outFilePath = path;
    }
    void readBack()
    {
        header = header_v09(), data = hlvRenderSample5Aovs_t();
        int hashSum = 0;
        ASSERT_EQ(hlvReader_v9(path.c_str(), header, data, hashSum), READER_OK);
    }
};

}  // namespace

TEST(FileSample, HeadBecomesThe28ByteRecordByNarrowingAndTruncation)
{
    Holvane::Internal::FinishedSampleHead head;
    head.z = 1.0 + std::ldexp(1.0, -30);  // not a float
    float const belowNextHalf = std::nextafter(1.0009765625f, 0.0f);
    head.color = {belowNextHalf, -belowNextHalf, 0.10002f, 1.0f};
    head.normal = {-0.5f, std::nextafter(0.5f, 1.0f), 3.0f};
    head.x = 0x12345u, head.y = 0xFFFFFu, head.cameraIndex = 0x1FFu, head.level = 0x103u, head.isBackFacing = true;
    unsigned char expected[28] = {};
    float const depth = float(head.z);
    std::memcpy(expected, &depth, 4);
    // Truncated: 1.0, -1.0, 0.09998, 1.0, then -0.5, 0.5, 3.0; rounding would give 0x3C01, 0xBC01 and 0x2E67.
    std::uint16_t const halves[7] = {0x3C00, 0xBC00, 0x2E66, 0x3C00, 0xB800, 0x3800, 0x4200};
    std::memcpy(expected + 4, halves, sizeof halves);
    expected[18] = 0x45, expected[19] = 0x23, expected[20] = expected[21] = expected[22] = 0xFF, expected[24] = 3;
    EXPECT_EQ(recordBytes(fileSampleOf(head)), bytesOf(expected, 28));
}

TEST_F(Finalisation, DetectFileHoldsThePlaquesInSpoolOrderAndTheSessionsHeader)
{
    configure(PHASE_DETECT);
    s().rayCounters = {1, 2, 0, 3, 1, 1, 1, 1};
    s().hitCounters = {1, 1, 0, 2, 1, 0, 1, 1};
    std::vector<DetectPlaqueInfo> plaques;
    for (int i = 0; i < 5; ++i)
        plaques.push_back(plaque(i));
    Holvane::Internal::spoolPlaques(plaques.data(), 2);
    Holvane::Internal::spoolPlaques(plaques.data() + 2, 3);
    ASSERT_TRUE(Finalise());
    // The plaques are cleaned before they are written: four opaque ones, then the transparent one, filtered
    // at 0.1 / (2 x renderScale). These lie on different cameras and pixels: only their levels are cleared.
    EXPECT_EQ(log.lines, (Lines{"2|[Holvane] retrieving detect phase data.  resolution 70000x416 . samples 5.\n",
                                "2|[Holvane] processing data.\n",
                                "3|Filtering plaques smaller than 0.020000 among 4 samples\n",
                                "3|Filtering result: 0 isolated, 4 remaning, (0.000000% gained)\n",
                                "3|Filtering plaques smaller than 0.020000 among 1 samples\n",
                                "3|Filtering result: 0 isolated, 1 remaning, (0.000000% gained)\n",
                                "2|[Holvane] flushing 5 samples to file.\n",
                                "2|[Holvane] wrote render file " + path + " .\n"}));
    readBack();
    ASSERT_EQ(data.fillHoles.size(), 5u);
    for (int i = 0; i < 5; ++i) {
        DetectPlaqueInfo expected = plaques[i];
        expected.level = 0;
        EXPECT_TRUE(samePlaque(data.fillHoles[i], expected)) << i;
    }
    EXPECT_EQ(data.completion, (std::vector<unsigned char>{1, 0, 1, 0, 1, 0, 1, 1}));
    header_v09 const& h = header;
    EXPECT_TRUE(h.rtype && h.fillHoleCount == 5u && h.sampleNums == 0u && data.samples.empty());
    EXPECT_TRUE(h.widthDisplay == 70000 - 65536 && h.heightDisplay == 416 && h.passMode == 0 && h.tolerance == 0.1f);
    EXPECT_TRUE(h.frame == 12 && h.boxScaleX == 2.0f && h.boxScaleY == 0.5f && h.boxScaleZ == 1.5f);
    EXPECT_TRUE(h.camOffsetX == 1 && h.camOffsetY == -2 && h.camOffsetZ == 3 && h.globalScale == 2.5f);
    EXPECT_TRUE(h.stereoRender && h.eye == 0 && h.ipd == 64.5f && h.zov_distance_to_ground == 1.75f);
    EXPECT_TRUE(h.draft == 1 && h.projection == 1 && h.aovNums == 0u);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(h.CamToWorld[i], i % 4 < 3 ? (float(i) + 0.5f) * 2.5f : float(i) + 0.5f) << i;
    EXPECT_EQ(h.cameras.priorities, (std::vector<float>{9.0f, -1.0f}));
    EXPECT_EQ(h.cameras.directions, (std::vector<std::uint32_t>{CAMERA_MINUS_X | CAMERA_PLUS_Z, 63u}));
    EXPECT_TRUE(h.cameras.locations.size() == 2u && h.cameras.locations[1].z == 3.0f);

    log.lines.clear();  // the spool is gone: a second finalisation writes nothing
    EXPECT_FALSE(Finalise());
    EXPECT_EQ(log.only(), "1|Processing temporary file samples while samples have already been processed.");
}

TEST_F(Finalisation, RenderFileConvertsEachSampleAndReadsItsAovsBack)
{
    s().aovFormat.registerAov(1, "albedo", AOV_VEC3);
    s().aovFormat.registerAov(2, "id", AOV_INT);
    s().aovFormat.registerAov(3, "depth2", AOV_DOUBLE);
    configure(PHASE_RENDER);
    s().eye = RC_Left, s().transparencyMode = ALL, s().detectExtra = {1, 0, 1};
    std::vector<FinishedSample> samples(2);
    for (int i = 0; i < 2; ++i) {
        auto& head = samples[i].head;
        head.z = 3.25 / (i + 1), head.color = {0.75f, 0.5f, -2.0f, 1.0f}, head.normal = {0.0f, -1.0f, 0.25f};
        head.x = 0x12345u + i, head.y = 9, head.cameraIndex = 0x1FFu, head.level = 2;
        samples[i].aovs.resize(3);
        samples[i].aovs[0].vec3 = {0.5f, 2.0f, -1.0f - float(i)}, samples[i].aovs[1].intValue = 42 + i;
        samples[i].aovs[2].doubleValue = 0.25 * (i + 1);
    }
    Holvane::Internal::spoolFinishedSamples(samples);
    ASSERT_TRUE(Finalise());
    EXPECT_EQ(log.lines, (Lines{"2|[Holvane] writing render file. resolution 70000x416 . samples 2.\n",
                                "2|[Holvane] wrote render file " + path + " .\n"}));
    EXPECT_TRUE(s().detectExtra.empty());
    readBack();
    ASSERT_TRUE(data.samples.size() == 2u && data.aovs.size() == 6u);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(recordBytes(data.samples[i]), recordBytes(fileSampleOf(samples[i].head))) << i;
        AOVData const* slots = &data.aovs[std::size_t(i) * 3];
        EXPECT_TRUE(slots[0].vec3.x == 0.5f && slots[0].vec3.y == 2.0f && slots[0].vec3.z == -1.0f - float(i));
        EXPECT_TRUE(slots[1].intValue == 42 + i && slots[2].doubleValue == 0.25 * (i + 1));
    }
    EXPECT_EQ(data.completion, (std::vector<unsigned char>{1, 0, 1}));  // the detect file's, carried over
    EXPECT_TRUE(!header.rtype && header.sampleNums == 2u && header.fillHoleCount == 0u && header.passMode == 2);
    EXPECT_TRUE(!header.stereoRender && header.eye == 1 && header.aovNums == 3u);
    EXPECT_EQ(header.AOVNames, (Lines{"albedo", "id", "depth2"}));
    EXPECT_EQ(header.AOVTypes, (std::vector<AOVType>{AOV_VEC3, AOV_INT, AOV_DOUBLE}));
}

TEST_F(Finalisation, EmptySpoolStillWritesAValidFileInBothPhases)
{
    for (Phase phase : {PHASE_DETECT, PHASE_RENDER}) {
        configure(phase);
        ASSERT_TRUE(Finalise());
        readBack();
        EXPECT_TRUE(data.samples.empty() && data.fillHoles.empty() && header.sampleNums + header.fillHoleCount == 0u);
        EXPECT_EQ(data.completion.size(), phase == PHASE_DETECT ? 8u : 0u);
        Holvane::Internal::resetSession();
    }
}

TEST_F(Finalisation, FailuresAfterTheSpoolIsTakenLoseItsData)
{
    configure(PHASE_DETECT);
    s().outFilePath = "/nonexistent-hv-dir/out.hlvDetect";
    EXPECT_FALSE(Finalise());
    EXPECT_EQ(log.lines.back(), "0|[Holvane] error(-2) writing file /nonexistent-hv-dir/out.hlvDetect .");
    EXPECT_EQ(s().spoolFile, nullptr);

    Holvane::Internal::resetSession();  // an unset value throws; the lock is released on the way out
    configure(PHASE_RENDER);
    s().zovOffsetTop = decltype(s().zovOffsetTop)();
    log.lines.clear();
    EXPECT_THROW(Finalise(), std::exception);
    EXPECT_FALSE(Finalise());
    EXPECT_EQ(log.lines, (Lines{"4|[Holvane] Accessing value that has not been set",
                                "1|Processing temporary file samples while samples have already been processed."}));
}

TEST_F(Finalisation, MoreHitsThanRaysWarnsOnceForTheProcessAndLeavesTheFlagClear)
{
    std::string const out = runInChild([this] {  // the flag is never reset in a process: the child has its own
        LogCapture childLog;
        for (int phase = 0; phase < 2; ++phase) {
            Holvane::Internal::resetSession();
            configure(PHASE_DETECT);
            s().rayCounters = {1, 1, 1, 1, 1, 1, 1, 1};
            s().hitCounters = {1, 2, 1, 3, 1, 1, 1, 0};
            Finalise();
            readBack();
            for (unsigned char flag : data.completion)
                std::printf("%d", flag);
            std::printf("|");
        }
        for (std::string const& line : childLog.lines)
            if (line.find("more samples") != std::string::npos)
                std::printf("%s\n", line.c_str());
    });
    EXPECT_EQ(out, "10101110|10101110|1|Received more samples than shot rays\n");
}
