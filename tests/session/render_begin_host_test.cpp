// A render phase begins as a host drives it: from a detect file written by the library's own writer.

#include <holvane/holvane.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace Holvane;

struct LogLines {
    std::vector<std::string> lines;
    static void collect(Logger::LogLevel const& level, char const* text, void* self)
    {
        static_cast<LogLines*>(self)->lines.push_back(std::to_string(int(level)) + "|" + text);
    }
    bool has(std::string const& line) const
    {
        for (std::string const& l : lines)
            if (l == line)
                return true;
        return false;
    }
};

BinIO::DetectPlaqueInfo plaque(std::uint8_t camera, std::uint16_t x, std::uint16_t y)
{
    BinIO::DetectPlaqueInfo p;
    p.cameraIndex = camera;
    p.x = x;
    p.y = y;
    p.distance = 10.0f;
    return p;
}

class RenderBegin : public ::testing::Test {
protected:
    void SetUp() override
    {
        char name[] = "/tmp/hv-render-begin-XXXXXX";
        close(mkstemp(name));
        path = name;
        Logger::HvSetConsoleLogLevel(Logger::LogLevel(-1));
        Logger::HvSetCallbackCarriageReturnMode(Logger::CR_KEEP);
        Logger::HvSetLogLevelHeader(false);
        Logger::HvSetCallBackLogLevel(Logger::TRACE, &LogLines::collect, &log);
    }
    void TearDown() override
    {
        Phase::HvPhaseTerminate(Phase::TERMINATE_ABORT);
        Phase::HvInitPhase(Phase::PHASE_NONE, Util::RenderingEngineId(0));
        Logger::HvSetCallBackLogLevel(Logger::LogLevel(-1), nullptr, nullptr);
        Logger::HvSetCallbackCarriageReturnMode(Logger::CR_STRIP);
        Logger::HvSetLogLevelHeader(true);
        Logger::HvSetConsoleLogLevel(Logger::TRACE);
        std::remove(path.c_str());
    }

    // Two cameras: one at the origin, one far out on +X. Three plaques detected at 624 x 416: the far camera
    // looking along +X, the near one, the far camera looking back along -X.
    void writeDetectFile()
    {
        BinIO::header_v09 header;
        header.rtype = 1;
        header.widthDisplay = 624;
        header.heightDisplay = 416;
        header.fillHoleCount = 3;
        header.cameras.locations = {TavPoint{0, 0, 0}, TavPoint{1000, 0, 0}};
        header.cameras.priorities = {1.0f, 2.0f};
        header.cameras.directions = {63u, 2u};
        BinIO::hlvRenderSample5Aovs_t data;
        data.fillHoles = {plaque(1, 100, 100), plaque(0, 300, 100), plaque(1, 520, 100)};
        data.completion = {1, 0, 1};
        ASSERT_EQ(BinIO::hlvWriter_v9(path.c_str(), header, data, Util::RenderingEngineId(3)), BinIO::READER_OK);
    }

    void configureRender()
    {
        Phase::HvInitPhase(Phase::PHASE_RENDER, Util::RenderingEngineId(3));
        Phase::HvSetDetectFilePath(path.c_str());
        Phase::HvSetOutputResolution(312, 208);
        Phase::HvSetBucketSize(16, 16);
        Phase::HvSetDraft(false);
        Phase::HvSetCurrentFrame(1, 4);
        Phase::HvSetZovOffset(0, 0, 0);
        Phase::HvSetRenderTransparencyMode(Phase::ALL);
        ASSERT_TRUE(Phase::HvSetRenderingResolutionParameters(Phase::HvResolutionParam{2, 2, 1, true}));
    }

    std::string path;
    LogLines log;
};

TEST_F(RenderBegin, PlaquesOutsideTheClippingSphereLeaveAndTheFileCamerasShoot)
{
    writeDetectFile();
    configureRender();
    // The near camera stands inside the sphere; the far one sees it only when looking back along -X.
    Phase::HvSetClippingSphere(true, TavPoint{0, 0, 0}, 100.0f, false);
    ASSERT_TRUE(Phase::HvPhaseBegin());
    EXPECT_TRUE(log.has("2|[Holvane] read the detection file " + path + " .\n"));
    EXPECT_TRUE(log.has("3|[Holvane] filehole(2)\n"));
    // The output resolution is the one the plaques were detected at.
    EXPECT_TRUE(log.has("2|[Holvane] output resolution 624x416.\n"));

    Camera::HvCameraRay const near = Camera::HvGetRayRenderPhase(0.5, 0.5);
    EXPECT_TRUE(near.valid);
    EXPECT_EQ(near.origin.x, 0.0f);
    Camera::HvCameraRay const back = Camera::HvGetRayRenderPhase(1.5, 0.5);
    EXPECT_TRUE(back.valid);
    EXPECT_EQ(back.origin.x, 1000.0f);
    EXPECT_LT(back.direction.x, -0.9f);
    // Past the last plaque the ray is refused.
    EXPECT_FALSE(Camera::HvGetRayRenderPhase(0.5, 1.5).valid);
}

TEST_F(RenderBegin, InvertedSphereKeepsEveryPlaque)
{
    writeDetectFile();
    configureRender();
    Phase::HvSetClippingSphere(true, TavPoint{0, 0, 0}, 10.0f, true);
    ASSERT_TRUE(Phase::HvPhaseBegin());
    EXPECT_TRUE(log.has("3|[Holvane] filehole(3)\n"));
    Camera::HvCameraRay const far = Camera::HvGetRayRenderPhase(0.5, 0.5);
    EXPECT_TRUE(far.valid);
    EXPECT_EQ(far.origin.x, 1000.0f);
    EXPECT_GT(far.direction.x, 0.9f);
}

TEST_F(RenderBegin, UnreadableDetectFileBeginsWithoutPlaquesOnTheStandardRig)
{
    writeDetectFile();
    configureRender();
    // A version the readers don't know.
    std::FILE* f = std::fopen(path.c_str(), "r+b");
    ASSERT_NE(f, nullptr);
    std::fseek(f, 14, SEEK_SET);
    std::fputc(10, f);
    std::fclose(f);
    ASSERT_TRUE(Phase::HvPhaseBegin());
    EXPECT_TRUE(log.has("0|[Holvane] cannot read the detection file " + path + " .\n"));
    EXPECT_TRUE(log.has("1|Cameras were unitialized at this stage."));
    // The host's output resolution stays.
    EXPECT_TRUE(log.has("2|[Holvane] output resolution 312x208.\n"));
    EXPECT_FALSE(Camera::HvGetRayRenderPhase(0.5, 0.5).valid);
}

}  // namespace
