// The detect-as-render debugging path: camera colours, the fill-hole shaders, the debug file, and the point
// count of a plain fill-hole file.

#include <holvane/fillhole.h>

#include "camera/cube_image.h"
#include "camera/vector_math.h"
#include "files/container_fixtures.h"

#include <cstring>

using namespace HolvaneTest;
using half = half_float::half;

namespace {

void expectColour(TavRGBA const& c, float r, float g, float b, float a)
{
    EXPECT_FLOAT_EQ(c.r, r);
    EXPECT_FLOAT_EQ(c.g, g);
    EXPECT_FLOAT_EQ(c.b, b);
    EXPECT_FLOAT_EQ(c.a, a);
}

std::uint16_t bitsOf(half h)
{
    std::uint16_t bits;
    std::memcpy(&bits, &h, sizeof bits);
    return bits;
}

hlvRenderSample5_t sampleAt(int x, int y, TavPoint normal, TavRGBA colour = {0.5f, 0.25f, 0.75f, 0.5f})
{
    hlvRenderSample5_t s;
    s.x = std::uint16_t(x), s.y = std::uint16_t(y), s.cameraIndex = 3;
    s.normal = {half(normal.x), half(normal.y), half(normal.z)};
    s.color = {half(colour.r), half(colour.g), half(colour.b), half(colour.a)};
    return s;
}

TavPoint normalOf(hlvRenderSample5_t const& s) { return {float(s.normal.x), float(s.normal.y), float(s.normal.z)}; }

constexpr TavRGBA kGiven = {0.5f, 1.0f, 0.25f, 0.7f};

// Remembers what it was asked and answers its own colour.
struct RecordingShader final : FillHoleShader {
    std::vector<std::tuple<unsigned long long, float, unsigned>> calls;  // index, given red, isExtrapolated
    TavRGBA GetColor(hlvRenderSample5_t const&, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override
    {
        calls.emplace_back(index, color.r, isExtrapolated);
        return {0.0f, 0.5f, 0.25f, 0.75f};
    }
};

}  // namespace

TEST(GetColorCodeForCamera, CornersHaveFixedColoursAndOthersAHueFromTheCycle)
{
    TavRGB const blue = GetColorCodeForCamera(128), orange = GetColorCodeForCamera(199);
    EXPECT_TRUE(blue.r == 0.0f && blue.g == 0.0f && blue.b == 1.0f);
    EXPECT_TRUE(orange.r == 1.0f && orange.g == 0.5019608f && orange.b == 0.0f);
    // Camera 0: value 24/43 x 0.5 + 0.5, hue 14/29 x 360 (sector 2, f = 0.8965517).
    TavRGB const zero = GetColorCodeForCamera(0);
    EXPECT_FLOAT_EQ(zero.r, 0.0f);
    EXPECT_FLOAT_EQ(zero.g, 0.77906978f);
    EXPECT_FLOAT_EQ(zero.b, 0.69847637f);
    // Camera 20: value 1/43 x 0.5 + 0.5, hue 5/29 x 360 (sector 1, f = 0.0344828, whose float loses digits).
    TavRGB const twenty = GetColorCodeForCamera(20);
    EXPECT_NEAR(twenty.r, 0.49398716f, 2e-6f);
    EXPECT_FLOAT_EQ(twenty.g, 0.51162791f);
    EXPECT_FLOAT_EQ(twenty.b, 0.0f);
}

TEST(FillHoleShaders, ImageAndListShadersReadTheirSampleOrKeepTheColourGiven)
{
    hlvRenderSample5_t const inside = sampleAt(1, 2, {}), otherCamera = [] {
        hlvRenderSample5_t s = sampleAt(1, 2, {});
        s.cameraIndex = 4;
        return s;
    }();
    hlvRenderSample5_t const outside = sampleAt(5, 2, {});
    FillHoleByteImage bytes(2, std::vector<unsigned char>(3 * 256, 0));
    bytes[1][2 * 256 + 3] = 7;
    FillHoleShaderCheckInBoolImage boolShader(bytes);
    expectColour(boolShader.GetColor(inside, 0, kGiven, 0), 1, 1, 1, 1);
    expectColour(boolShader.GetColor(otherCamera, 0, kGiven, 0), 0.5f, 1, 0.25f, 0.7f);
    expectColour(boolShader.GetColor(outside, 0, kGiven, 0), 0.5f, 1, 0.25f, 0.7f);

    FillHoleFloatImage values(2, std::vector<float>(3 * 256, 0.0f)), others = values;
    values[1][2 * 256 + 3] = 0.625f, others[1][2 * 256 + 3] = 0.125f;
    FillHoleShaderCheckInDevImageRed red(values);
    FillHoleShaderCheckInDevImageGreen green(values);
    FillHoleShaderCheckInDevImageBlue blue(values);
    FillHoleShaderCheckInDevImageGreenRed greenRed(values, others);
    expectColour(red.GetColor(inside, 0, kGiven, 0), 0.625f, 0, 0, 1);
    expectColour(green.GetColor(inside, 0, kGiven, 0), 0, 0.625f, 0, 1);
    expectColour(blue.GetColor(inside, 0, kGiven, 0), 0, 0, 0.625f, 1);
    expectColour(greenRed.GetColor(inside, 0, kGiven, 0), 0.625f, 0.125f, 0, 1);
    expectColour(red.GetColor(outside, 0, kGiven, 0), 0, 0, 0, 1);

    std::vector<bool> const bits = {false, true};
    FillHoleShaderCheckInList list(bits);
    expectColour(list.GetColor(inside, 1, kGiven, 0), 1, 1, 1, 1);
    expectColour(list.GetColor(inside, 0, kGiven, 0), 0.5f, 1, 0.25f, 0.7f);
    expectColour(list.GetColor(inside, 2, kGiven, 0), 0.5f, 1, 0.25f, 0.7f);
}

TEST(FillHoleShaders, EstimatedAndZDepth)
{
    FillHoleShaderEstimated estimated;
    hlvRenderSample5_t s = sampleAt(0, 0, {});
    expectColour(estimated.GetColor(s, 0, kGiven, 0), 0.5f * 0.2f, 1.0f * 0.2f, 0.25f * 0.2f, 0.7f);
    expectColour(estimated.GetColor(s, 0, kGiven, 1), 1, 1, 1, 1);

    FillHoleShaderZDepth depth;
    for (float z : {2000.0f, 5000.0f}) {
        s.depth = z;
        expectColour(depth.GetColor(s, 0, kGiven, 0), 1, 0, 0, 1);
    }
    for (float z : {0.0f, -3.0f}) {
        s.depth = z;
        expectColour(depth.GetColor(s, 0, kGiven, 0), 0, 1, 0, 1);
    }
    s.depth = 500.0f;
    expectColour(depth.GetColor(s, 0, kGiven, 0), 0.25f, 0.75f, 0, 1);
}

// Tangency passes x / width and y / height as the image size and width, height as the pixel. For a sample
// at (30, 20) of a 12 x 8 shader that is pixel (12, 8) of a 2 x 2 image; the straight call would look 13
// degrees away, which the threshold 0.99 tells apart. Inside the image the size is 0 and the direction NaN:
// always the grey branch.
TEST(FillHoleShaders, TangencyKeepsItsExchangedArguments)
{
    FillHoleShaderTangency tangency(0.99f, 12, 8);
    TavPoint const odd = Holvane::Internal::pixelDirection(2, 2, 12, 8).direction;
    hlvRenderSample5_t const along = sampleAt(30, 20, odd);
    expectColour(tangency.GetColor(along, 0, kGiven, 0), 0.25f, 0.25f, 0.25f, 0.5f);  // (0.5+0.25+0.75)/3 x 0.5
    hlvRenderSample5_t const against = sampleAt(30, 20, {-odd.x, -odd.y, -odd.z});
    expectColour(tangency.GetColor(against, 0, kGiven, 0), 0.25f, 0, 0, 1);
    hlvRenderSample5_t const half60 = sampleAt(30, 20, {odd.x * 0.5f, odd.y * 0.5f, odd.z * 0.5f});
    float const v = (Holvane::Internal::dot(normalOf(half60), odd) - 1e-5f) / (0.99f - 1e-5f);
    expectColour(tangency.GetColor(half60, 0, kGiven, 0), v * 0.75f + 0.25f, v * 0.5f, v * 0.5f, 1);
    expectColour(tangency.GetColor(sampleAt(3, 2, {-odd.x, -odd.y, -odd.z}), 0, kGiven, 0), 0.25f, 0.25f, 0.25f,
                 0.5f);
}

// At (6, 4) of a 12 x 8 image the face coordinates are (0.5, 0.5), without the half-pixel shift: the direction
// is (0, 1, 0.9999999) normalised. Bands at 0.2, 0.5 and 0.8.
TEST(FillHoleShaders, HyperTangencyBandsAndQuality)
{
    TavPoint const direction = Holvane::Internal::cubeDirection(0.5f, 0.5f).direction;
    FillHoleShaderHyperTangency hyper(0.2f, 0.5f, 0.8f, 12, 8);
    auto colourFor = [&](TavPoint normal) { return hyper.GetColor(sampleAt(6, 4, normal), 0, kGiven, 0); };
    auto cosineFor = [&](TavPoint normal) { return Holvane::Internal::dot(normalOf(sampleAt(6, 4, normal)), direction); };
    expectColour(colourFor({0, 0, 0}), 0, 0, 0, 1);  // (0 - 0.0001) / (0.2 - 0.0001), clamped
    float c = cosineFor({0, 0.25f, 0});
    float v = (c - 0.0001f) / (0.2f - 0.0001f);
    expectColour(colourFor({0, 0.25f, 0}), v, v / 4, v / 4, 1);
    c = cosineFor({0, 0.5f, 0});
    v = (c - 0.2f) / 0.3f;
    expectColour(colourFor({0, 0.5f, 0}), v / 4, v, v / 4, 1);
    c = cosineFor({0, 1, 0});
    v = (c - 0.5f) / 0.3f;
    expectColour(colourFor({0, 1, 0}), v / 4, v / 4, v, 1);
    c = cosineFor({0, 1, 1});
    expectColour(colourFor({0, 1, 1}), c / 4, c / 4, c / 4, 0.5f);

    // Quality normalises the normal: (0, 4, 0) counts as (0, 1, 0).
    FillHoleShaderQuality quality(12, 8);
    float const q = direction.y, brightness = 0.5f;
    expectColour(quality.GetColor(sampleAt(6, 4, {0, 4, 0}), 0, kGiven, 0), (1 - q) * brightness, q * brightness, 0, 1);
    expectColour(quality.GetColor(sampleAt(6, 4, {0, 0, 0}), 0, kGiven, 0), brightness, 0, 0, 1);
}

// Three plaques in a 12 x 8 display: camera 128 face on; camera 7 nearly edge-on and transparent; camera 2 a
// hair plaque, extrapolated (flag 2 reaches the shader as 1).
TEST(HlvWriteDetectAsRender, WritesARenderFileOfColouredPlaques)
{
    header_v09 header = renderHeader();
    header.widthDisplay = 12, header.heightDisplay = 8, header.globalScale = 2.5f, header.fillHoleCount = 9;
    TavPoint const facing = Holvane::Internal::pixelDirection(12, 8, 2, 3).direction;
    TavPoint const grazing = Holvane::Internal::pixelDirection(12, 8, 9, 6).direction;
    TavPoint const side = Holvane::Internal::normalised({grazing.z, 0.0f, -grazing.x});  // at right angles
    std::vector<DetectPlaqueInfo> records(3);
    records[0].cameraIndex = 128, records[0].x = 2, records[0].y = 3, records[0].distance = 3.3f;
    records[0].normal = {0.5f, -0.25f, 1.0f};
    records[1].cameraIndex = 7, records[1].x = 9, records[1].y = 6, records[1].isTransparent = 1;
    records[1].normal = Holvane::Internal::add(side, Holvane::Internal::scaled(grazing, 0.002f));
    records[2].cameraIndex = 2, records[2].isHair = 1, records[2].isExtrapolated = 2, records[2].normal = facing;
    std::string const path = tempPath("debug");
    HlvWriteDetectAsRender(path, header, records, nullptr);
    Read9 read = read9(path);
    ASSERT_EQ(read.answer, READER_OK);
    EXPECT_EQ(int(getRenderEngineId(read.header.fileCode, read.hashSum)), 50);
    EXPECT_FALSE(read.header.stereoRender);
    EXPECT_EQ(read.header.fillHoleCount, 0u);
    EXPECT_EQ(read.header.sampleNums, 3u);
    EXPECT_EQ(read.header.aovNums, 0u);
    EXPECT_TRUE(read.header.AOVNames.empty() && read.header.AOVTypes.empty() && read.data.aovs.empty());
    EXPECT_EQ(read.header.widthDisplay, 12);
    EXPECT_EQ(read.header.tolerance, header.tolerance);
    ASSERT_EQ(read.data.samples.size(), 3u);
    hlvRenderSample5_t const* s = read.data.samples.data();
    EXPECT_EQ(s[0].depth, 3.3f * 2.5f);
    EXPECT_EQ(s[0].cameraIndex, 128);
    EXPECT_EQ(s[0].x, 2);
    EXPECT_EQ(s[0].y, 3);
    std::uint16_t const blue[4] = {0x0000, 0x0000, 0x3C00, 0x3C00}, red[4] = {0x3C00, 0x30CC, 0x30CC, 0x3800};
    EXPECT_EQ(std::memcmp(&s[0].color, blue, 8), 0);
    EXPECT_EQ(std::memcmp(&s[1].color, red, 8), 0);  // edge-on red, alpha 0.5 for the transparent plaque
    EXPECT_TRUE(float(s[0].normal.x) == -0.5f && float(s[0].normal.y) == 0.25f && float(s[0].normal.z) == -1.0f);
    EXPECT_TRUE(bitsOf(s[2].normal.x) == 0x8000 && bitsOf(s[2].normal.y) == 0x8000 && bitsOf(s[2].normal.z) == 0x8000);

    RecordingShader shader;
    HlvWriteDetectAsRender(path, header, records, &shader);
    read = read9(path);
    ASSERT_EQ(read.data.samples.size(), 3u);
    EXPECT_EQ(shader.calls, (std::vector<std::tuple<unsigned long long, float, unsigned>>{
                                {0, 0.0f, 0}, {1, 1.0f, 0}, {2, float(half(GetColorCodeForCamera(2).r)), 1}}));
    std::uint16_t const shaded[4] = {0x0000, 0x3800, 0x3400, 0x3A00}, shadedClear[4] = {0x0000, 0x3800, 0x3400, 0x3800};
    EXPECT_EQ(std::memcmp(&read.data.samples[0].color, shaded, 8), 0);
    EXPECT_EQ(std::memcmp(&read.data.samples[1].color, shadedClear, 8), 0);  // the shader first, then alpha 0.5
    std::remove(path.c_str());
}

TEST(GetNumPointsInfillHoles, ReadsTheFirstFourBytesAndReportsAMissingFile)
{
    std::string const path = tempPath("points");
    unsigned int count = 99;
    writeBytes(path, std::string("\x07\x01\x00\x00\x09", 5));
    EXPECT_TRUE(getNumPointsInfillHoles(path.c_str(), count));
    EXPECT_EQ(count, 263u);
    writeBytes(path, std::string("\x07\x01", 2));
    EXPECT_TRUE(getNumPointsInfillHoles(path.c_str(), count));
    EXPECT_EQ(count, 0u);
    std::remove(path.c_str());

    count = 99;
    ::testing::internal::CaptureStdout();
    EXPECT_TRUE(getNumPointsInfillHoles(path.c_str(), count));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "\t[HOLVANE] ERROR: cannot open file: " + path + "\n");
    EXPECT_EQ(count, 0u);
}
