// The detect-as-render debugging path: camera colours, the fill-hole shaders, the debug file, and the point
// count of a plain fill-hole file.

#include <holvane/fillhole.h>

#include "camera/cube_image.h"
#include "camera/vector_math.h"
#include "files/container_fixtures.h"

#include <cstring>

using namespace HolvaneTest;
using namespace Holvane::Internal;
using half = half_float::half;

namespace {

std::vector<float> channels(TavRGBA const& c) { return {c.r, c.g, c.b, c.a}; }
std::vector<float> channels(TavRGB const& c) { return {c.r, c.g, c.b}; }

// The bits of `count` halves of the sample from colour channel `first` on (4 to 6: the normal).
std::vector<std::uint16_t> halfBits(hlvRenderSample5_t const& s, int first, int count)
{
    std::vector<std::uint16_t> bits(static_cast<std::size_t>(count));
    std::memcpy(bits.data(), reinterpret_cast<char const*>(&s.color) + 2 * first, bits.size() * 2);
    return bits;
}

// A sample of camera 3 with colour (0.5, 0.25, 0.75, 0.5): brightness 0.5.
hlvRenderSample5_t sampleAt(int x, int y, TavPoint n)
{
    hlvRenderSample5_t s;
    s.x = std::uint16_t(x), s.y = std::uint16_t(y), s.cameraIndex = 3;
    s.normal = {half(n.x), half(n.y), half(n.z)};
    s.color = {half(0.5f), half(0.25f), half(0.75f), half(0.5f)};
    return s;
}

constexpr TavRGBA kGiven = {0.5f, 1.0f, 0.25f, 0.7f};
std::vector<float> const kWhite = {1, 1, 1, 1}, kKept = channels(kGiven);

// Remembers what it was asked (index, red given, isExtrapolated) and answers its own colour.
struct RecordingShader final : FillHoleShader {
    std::vector<std::tuple<unsigned long long, float, unsigned>> calls;
    TavRGBA GetColor(hlvRenderSample5_t const&, unsigned long long index, TavRGBA color, unsigned int e) override
    {
        calls.emplace_back(index, color.r, e);
        return {0.0f, 0.5f, 0.25f, 0.75f};
    }
};

}  // namespace

// Camera 0: value 24/43 x 0.5 + 0.5, hue 14/29 x 360, sector 2. Camera 20: value 1/43 x 0.5 + 0.5, hue 5/29 x
// 360, sector 1, whose fraction 0.0344828 loses digits in float.
TEST(GetColorCodeForCamera, CornersHaveFixedColoursAndOthersAHueFromTheCycle)
{
    EXPECT_EQ(channels(GetColorCodeForCamera(128)), (std::vector<float>{0, 0, 1}));
    EXPECT_EQ(channels(GetColorCodeForCamera(199)), (std::vector<float>{1, 0.5019608f, 0}));
    TavRGB const zero = GetColorCodeForCamera(0), twenty = GetColorCodeForCamera(20);
    EXPECT_EQ(zero.r, 0.0f);
    EXPECT_FLOAT_EQ(zero.g, 0.77906978f);
    EXPECT_FLOAT_EQ(zero.b, 0.69847637f);
    EXPECT_NEAR(twenty.r, 0.49398716f, 2e-6f);
    EXPECT_FLOAT_EQ(twenty.g, 0.51162791f);
    EXPECT_EQ(twenty.b, 0.0f);
}

// Image values lie at [x][y x 256 + camera]; outside the image a shader reads 0.
TEST(FillHoleShaders, ImageListEstimatedAndDepthShaders)
{
    hlvRenderSample5_t inside = sampleAt(1, 2, {}), outside = sampleAt(5, 2, {});
    FillHoleByteImage bytes(2, std::vector<unsigned char>(3 * 256, 0));
    bytes[1][2 * 256 + 3] = 7;
    FillHoleShaderCheckInBoolImage flags(bytes);
    EXPECT_EQ(channels(flags.GetColor(inside, 0, kGiven, 0)), kWhite);
    EXPECT_EQ(channels(flags.GetColor(outside, 0, kGiven, 0)), kKept);
    FillHoleFloatImage first(2, std::vector<float>(3 * 256, 0.0f)), second = first;
    first[1][2 * 256 + 3] = 0.625f, second[1][2 * 256 + 3] = 0.125f;
    EXPECT_EQ(channels(FillHoleShaderCheckInDevImageRed(first).GetColor(inside, 0, kGiven, 0)),
              (std::vector<float>{0.625f, 0, 0, 1}));
    EXPECT_EQ(channels(FillHoleShaderCheckInDevImageGreen(first).GetColor(inside, 0, kGiven, 0)),
              (std::vector<float>{0, 0.625f, 0, 1}));
    EXPECT_EQ(channels(FillHoleShaderCheckInDevImageBlue(first).GetColor(inside, 0, kGiven, 0)),
              (std::vector<float>{0, 0, 0.625f, 1}));
    EXPECT_EQ(channels(FillHoleShaderCheckInDevImageGreenRed(first, second).GetColor(inside, 0, kGiven, 0)),
              (std::vector<float>{0.625f, 0.125f, 0, 1}));
    inside.cameraIndex = 4;  // another camera's plane
    EXPECT_EQ(channels(FillHoleShaderCheckInDevImageRed(first).GetColor(inside, 0, kGiven, 0)),
              (std::vector<float>{0, 0, 0, 1}));

    std::vector<bool> const bits = {false, true};
    FillHoleShaderCheckInList list(bits);
    EXPECT_EQ(channels(list.GetColor(inside, 1, kGiven, 0)), kWhite);
    EXPECT_EQ(channels(list.GetColor(inside, 2, kGiven, 0)), kKept);
    FillHoleShaderEstimated estimated;
    EXPECT_EQ(channels(estimated.GetColor(inside, 0, kGiven, 0)), (std::vector<float>{0.1f, 0.2f, 0.05f, 0.7f}));
    EXPECT_EQ(channels(estimated.GetColor(inside, 0, kGiven, 1)), kWhite);
    FillHoleShaderZDepth depth;
    for (auto [z, colour] : {std::pair<float, std::vector<float>>{2000.0f, {1, 0, 0, 1}}, {5000.0f, {1, 0, 0, 1}},
                             {0.0f, {0, 1, 0, 1}}, {-3.0f, {0, 1, 0, 1}}, {500.0f, {0.25f, 0.75f, 0, 1}}}) {
        inside.depth = z;
        EXPECT_EQ(channels(depth.GetColor(inside, 0, kGiven, 0)), colour) << z;
    }
}

// Tangency passes x / width and y / height as the image size and width, height as the pixel: at (30, 20) of
// a 12 x 8 shader, pixel (12, 8) of a 2 x 2 image. The straight call would look 13 degrees away, which the
// threshold 0.99 tells apart. Inside the image the size is 0 and the direction NaN: always grey.
TEST(FillHoleShaders, TangencyKeepsItsExchangedArguments)
{
    FillHoleShaderTangency tangency(0.99f, 12, 8);
    TavPoint const odd = pixelDirection(2, 2, 12, 8).direction, against = scaled(odd, -1.0f);
    std::vector<float> const grey = {0.25f, 0.25f, 0.25f, 0.5f};
    EXPECT_EQ(channels(tangency.GetColor(sampleAt(30, 20, odd), 0, kGiven, 0)), grey);
    EXPECT_EQ(channels(tangency.GetColor(sampleAt(30, 20, against), 0, kGiven, 0)), (std::vector<float>{0.25f, 0, 0, 1}));
    hlvRenderSample5_t const halfway = sampleAt(30, 20, scaled(odd, 0.5f));
    float const v = (dot(scaled(odd, 0.5f), odd) - 1e-5f) / (0.99f - 1e-5f);
    TavRGBA const c = tangency.GetColor(halfway, 0, kGiven, 0);
    EXPECT_TRUE(std::fabs(c.r - (v * 0.75f + 0.25f)) < 1e-3f && std::fabs(c.g - v * 0.5f) < 1e-3f && c.g == c.b);
    EXPECT_EQ(channels(tangency.GetColor(sampleAt(3, 2, against), 0, kGiven, 0)), grey);
}

// At (6, 4) of a 12 x 8 image the face coordinates are (0.5, 0.5), without the half-pixel shift: the direction
// is (0, 1, 0.9999999) normalised. Bands at 0.2, 0.5 and 0.8; below the first, e = min(0.002, 0.0001).
TEST(FillHoleShaders, HyperTangencyBandsAndQuality)
{
    TavPoint const d = cubeDirection(0.5f, 0.5f).direction;
    FillHoleShaderHyperTangency hyper(0.2f, 0.5f, 0.8f, 12, 8);
    auto colour = [&](float y, float z) { return channels(hyper.GetColor(sampleAt(6, 4, {0, y, z}), 0, kGiven, 0)); };
    float v = (0.25f * d.y - 0.0001f) / (0.2f - 0.0001f);
    EXPECT_EQ(colour(0.25f, 0), (std::vector<float>{v, v / 4, v / 4, 1}));
    v = (0.5f * d.y - 0.2f) / (0.5f - 0.2f);
    EXPECT_EQ(colour(0.5f, 0), (std::vector<float>{v / 4, v, v / 4, 1}));
    v = (d.y - 0.5f) / (0.8f - 0.5f);
    EXPECT_EQ(colour(1, 0), (std::vector<float>{v / 4, v / 4, v, 1}));
    float const c = d.y + d.z;
    EXPECT_EQ(colour(1, 1), (std::vector<float>{c / 4, c / 4, c / 4, 0.5f}));

    FillHoleShaderQuality quality(12, 8);  // normalises the normal: (0, 4, 0) counts as (0, 1, 0)
    EXPECT_EQ(channels(quality.GetColor(sampleAt(6, 4, {0, 4, 0}), 0, kGiven, 0)),
              (std::vector<float>{(1 - d.y) * 0.5f, d.y * 0.5f, 0, 1}));
    EXPECT_EQ(channels(quality.GetColor(sampleAt(6, 4, {0, 0, 0}), 0, kGiven, 0)), (std::vector<float>{0.5f, 0, 0, 1}));
}

// In a 12 x 8 display: camera 128 face on; camera 7 nearly edge-on (cos 0.002) and transparent; camera 2 a
// hair plaque, extrapolated with flag 2, which reaches the shader as 1.
TEST(HlvWriteDetectAsRender, WritesARenderFileOfColouredPlaques)
{
    header_v09 header = renderHeader();
    header.widthDisplay = 12, header.heightDisplay = 8, header.globalScale = 2.5f, header.fillHoleCount = 9;
    TavPoint const grazing = pixelDirection(12, 8, 9, 6).direction;
    std::vector<DetectPlaqueInfo> records(3);
    records[0].cameraIndex = 128, records[0].x = 2, records[0].y = 3, records[0].distance = 3.3f;
    records[0].normal = {0.5f, -0.25f, 1.0f};
    records[1].cameraIndex = 7, records[1].x = 9, records[1].y = 6, records[1].isTransparent = 1;
    records[1].normal = add(normalised({grazing.z, 0.0f, -grazing.x}), scaled(grazing, 0.002f));
    records[2].cameraIndex = 2, records[2].isHair = 1, records[2].isExtrapolated = 2, records[2].normal = {0, 0, 1};
    std::string const path = tempPath("debug");
    HlvWriteDetectAsRender(path, header, records, nullptr);
    Read9 read = read9(path);
    ASSERT_EQ(read.answer, READER_OK);
    header_v09 const& h = read.header;
    EXPECT_EQ(int(getRenderEngineId(h.fileCode, read.hashSum)), 50);
    EXPECT_TRUE(!h.stereoRender && h.fillHoleCount == 0u && h.sampleNums == 3u && h.aovNums == 0u);
    EXPECT_TRUE(h.AOVNames.empty() && h.AOVTypes.empty() && read.data.aovs.empty());
    EXPECT_TRUE(h.widthDisplay == 12 && h.tolerance == header.tolerance && h.frame == header.frame);
    ASSERT_EQ(read.data.samples.size(), 3u);
    hlvRenderSample5_t const* s = read.data.samples.data();
    EXPECT_TRUE(s[0].depth == 3.3f * 2.5f && s[0].cameraIndex == 128 && s[0].x == 2 && s[0].y == 3);
    // Blue of camera 128 and the normal negated; edge-on red with alpha 0.5; a hair's normal zero, negated.
    EXPECT_EQ(halfBits(s[0], 0, 7), (std::vector<std::uint16_t>{0, 0, 0x3C00, 0x3C00, 0xB800, 0x3400, 0xBC00}));
    EXPECT_EQ(halfBits(s[1], 0, 4), (std::vector<std::uint16_t>{0x3C00, 0x30CC, 0x30CC, 0x3800}));
    EXPECT_EQ(halfBits(s[2], 4, 3), (std::vector<std::uint16_t>{0x8000, 0x8000, 0x8000}));

    RecordingShader shader;
    HlvWriteDetectAsRender(path, header, records, &shader);
    read = read9(path);
    ASSERT_EQ(read.data.samples.size(), 3u);
    EXPECT_EQ(shader.calls, (std::vector<std::tuple<unsigned long long, float, unsigned>>{
                                {0, 0.0f, 0}, {1, 1.0f, 0}, {2, float(half(GetColorCodeForCamera(2).r)), 1}}));
    // The shader's colour, then alpha 0.5 for the transparent plaque.
    EXPECT_EQ(halfBits(read.data.samples[1], 0, 4), (std::vector<std::uint16_t>{0, 0x3800, 0x3400, 0x3800}));
    std::remove(path.c_str());
}

TEST(GetNumPointsInfillHoles, ReadsTheFirstFourBytesAndReportsAMissingFile)
{
    std::string const path = tempPath("points");
    unsigned int count = 99;
    writeBytes(path, std::string("\x07\x01\x00\x00\x09", 5));
    EXPECT_TRUE(getNumPointsInfillHoles(path.c_str(), count) && count == 263u);
    writeBytes(path, std::string("\x07\x01", 2));
    EXPECT_TRUE(getNumPointsInfillHoles(path.c_str(), count) && count == 0u);
    std::remove(path.c_str());
    count = 99;
    ::testing::internal::CaptureStdout();
    EXPECT_TRUE(getNumPointsInfillHoles(path.c_str(), count) && count == 0u);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "\t[HOLVANE] ERROR: cannot open file: " + path + "\n");
}
