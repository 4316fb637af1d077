// A detect list written as if it were a render, so that the detection can be looked at in the viewer.

#include <holvane/container.h>
#include <holvane/fillhole.h>

#include "camera/cube_image.h"
#include "camera/vector_math.h"

#include <cmath>
#include <cstring>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

namespace {

using half_float::half;

// The viewer's strong red for a plaque seen nearly edge-on, as half bits.
constexpr std::uint16_t kEdgeOnRed[4] = {0x3C00, 0x30CC, 0x30CC, 0x3C00};
constexpr std::uint16_t kHalfOneHalf = 0x3800;
// The debug files carry this engine number, whatever engine made the detection.
constexpr Util::RenderingEngineId kDebugEngine = Util::RenderingEngineId(50);

half halfFromBits(std::uint16_t bits)
{
    half value;
    std::memcpy(static_cast<void*>(&value), &bits, sizeof value);  // a half is its 16 bits
    return value;
}

halfvec4 halvesOf(TavRGBA const& c)
{
    return {half(c.r), half(c.g), half(c.b), half(c.a)};
}

TavRGBA floatsOf(halfvec4 const& c)
{
    return {float(c.x), float(c.y), float(c.z), float(c.w)};
}

// Seen nearly edge-on: the cosine to the view is tiny but not exactly 0, which a missing normal gives.
bool nearlyEdgeOn(DetectPlaqueInfo const& record, unsigned long long width, unsigned long long height)
{
    TavPoint const direction = Internal::pixelDirection(width, height, record.x, record.y).direction;
    float const c = std::fabs(Internal::dot(direction, record.normal));
    return 1.1920929e-7f < c && c < 0.005f;
}

// The record as a sample of a display-sized image, coloured by its camera or, edge-on, in strong red.
hlvRenderSample5_t debugSample(DetectPlaqueInfo const& record, unsigned long long width, unsigned long long height)
{
    hlvRenderSample5_t sample;
    sample.cameraIndex = record.cameraIndex;
    sample.x = record.x;
    sample.y = record.y;
    sample.level = record.level;
    sample.depth = record.distance;
    sample.normal = {half(record.normal.x), half(record.normal.y), half(record.normal.z)};
    if (nearlyEdgeOn(record, width, height)) {
        sample.color = {halfFromBits(kEdgeOnRed[0]), halfFromBits(kEdgeOnRed[1]), halfFromBits(kEdgeOnRed[2]),
                        halfFromBits(kEdgeOnRed[3])};
        return sample;
    }
    TavRGB const code = GetColorCodeForCamera(record.cameraIndex);
    sample.color = halvesOf({code.r, code.g, code.b, 1.0f});
    return sample;
}

// The header of the debug file: one sample per record, no stereo, no fill holes, no AOVs.
header_v09 debugHeader(header_v09 const& header, std::size_t sampleCount)
{
    header_v09 out = header;
    out.stereoRender = false;
    out.fillHoleCount = 0;
    out.sampleNums = sampleCount;
    out.aovNums = 0;
    out.AOVNames.clear();
    out.AOVTypes.clear();
    return out;
}

// Value, hue and the six sectors of full saturation.
TavRGB hueColour(unsigned int camera)
{
    float const value = static_cast<float>((camera + 67) % 43) / 43.0f * 0.5f + 0.5f;
    float hue = static_cast<float>((camera + 43) % 29) / 29.0f * 360.0f;
    if (hue >= 360.0f)
        hue = 0.0f;
    int const sector = static_cast<int>(hue / 60.0f);
    float const f = hue / 60.0f - static_cast<float>(sector);
    switch (sector) {
    case 0:
        return {value, f * value, 0.0f};
    case 1:
        return {(1.0f - f) * value, value, 0.0f};
    case 2:
        return {0.0f, value, f * value};
    case 3:
        return {0.0f, (1.0f - f) * value, value};
    case 4:
        return {f * value, 0.0f, value};
    default:
        return {value, 0.0f, (1.0f - f) * value};
    }
}

}  // namespace

TavRGB GetColorCodeForCamera(unsigned int camera)
{
    switch (camera) {  // the rig's corners
    case 128:
        return {0.0f, 0.0f, 1.0f};
    case 135:
        return {0.0f, 1.0f, 0.0f};
    case 184:
        return {0.0f, 1.0f, 1.0f};
    case 191:
        return {1.0f, 0.0f, 0.0f};
    case 192:
        return {1.0f, 0.0f, 1.0f};
    case 199:
        return {1.0f, 0.5019608f, 0.0f};
    case 248:
        return {0.0f, 1.0f, 0.5019608f};
    case 255:
        return {0.5019608f, 1.0f, 0.5019608f};
    default:
        return hueColour(camera);
    }
}

void HlvWriteDetectAsRender(std::string const& path, header_v09 const& header,
                            std::vector<DetectPlaqueInfo> const& records, FillHoleShader* shader)
{
    hlvRenderSample5Aovs_t data;
    data.samples.reserve(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        DetectPlaqueInfo const& record = records[index];
        hlvRenderSample5_t sample = debugSample(record, header.widthDisplay, header.heightDisplay);
        if (shader)
            sample.color =
                halvesOf(shader->GetColor(sample, index, floatsOf(sample.color), record.isExtrapolated ? 1u : 0u));
        if (record.isTransparent)
            sample.color.w = halfFromBits(kHalfOneHalf);
        sample.depth *= header.globalScale;
        // A hair's normal means nothing: it is written as zero, negated like every other normal (so -0).
        if (record.isHair)
            sample.normal = {half(0.0f), half(0.0f), half(0.0f)};
        sample.normal = {-sample.normal.x, -sample.normal.y, -sample.normal.z};
        data.samples.push_back(sample);
    }
    // The debug file is a viewing aid: a failed write has nobody to tell.
    hlvWriter_v9(path.c_str(), debugHeader(header, records.size()), data, kDebugEngine);
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
