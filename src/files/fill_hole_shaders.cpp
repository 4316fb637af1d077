// The colours of the detect-as-render debugging path.

#include <holvane/fillhole.h>

#include "camera/cube_image.h"
#include "camera/vector_math.h"

#include <algorithm>
#include <cmath>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

namespace {

constexpr TavRGBA kWhite = {1.0f, 1.0f, 1.0f, 1.0f};

// The value at the sample's column, row and camera; `outside` when the image doesn't reach it.
template <typename Value>
Value valueAt(std::vector<std::vector<Value>> const& image, hlvRenderSample5_t const& sample, Value outside)
{
    if (sample.x >= image.size())
        return outside;
    std::vector<Value> const& column = image[sample.x];
    std::size_t const index = std::size_t(sample.y) * 256 + sample.cameraIndex;
    return index < column.size() ? column[index] : outside;
}

TavPoint normalOf(hlvRenderSample5_t const& sample)
{
    return {float(sample.normal.x), float(sample.normal.y), float(sample.normal.z)};
}

float brightnessOf(hlvRenderSample5_t const& sample)
{
    return (float(sample.color.x) + float(sample.color.y) + float(sample.color.z)) / 3.0f;
}

float clampToUnit(float value)
{
    return std::clamp(value, 0.0f, 1.0f);
}

// The direction at the face coordinates x / width, y / height, without the half-pixel shift of a pixel centre.
TavPoint cornerDirection(hlvRenderSample5_t const& sample, unsigned long long width, unsigned long long height)
{
    float const u = static_cast<float>(sample.x) / static_cast<float>(width);
    float const v = static_cast<float>(sample.y) / static_cast<float>(height);
    return Internal::cubeDirection(u, v).direction;
}

// Whole-number quotient; a shader made with a zero size divides nothing.
unsigned long long wholeQuotient(unsigned long long a, unsigned long long b)
{
    return b == 0 ? 0 : a / b;
}

}  // namespace

FillHoleShaderCheckInBoolImage::FillHoleShaderCheckInBoolImage(FillHoleByteImage const& image) : image(image) {}

TavRGBA FillHoleShaderCheckInBoolImage::GetColor(hlvRenderSample5_t const& sample, unsigned long long, TavRGBA color,
                                                 unsigned int)
{
    return valueAt<unsigned char>(image, sample, 0) != 0 ? kWhite : color;
}

FillHoleShaderCheckInDevImageRed::FillHoleShaderCheckInDevImageRed(FillHoleFloatImage const& image) : image(image) {}

TavRGBA FillHoleShaderCheckInDevImageRed::GetColor(hlvRenderSample5_t const& sample, unsigned long long, TavRGBA,
                                                   unsigned int)
{
    return {valueAt(image, sample, 0.0f), 0.0f, 0.0f, 1.0f};
}

FillHoleShaderCheckInDevImageGreen::FillHoleShaderCheckInDevImageGreen(FillHoleFloatImage const& image)
    : image(image)
{
}

TavRGBA FillHoleShaderCheckInDevImageGreen::GetColor(hlvRenderSample5_t const& sample, unsigned long long, TavRGBA,
                                                     unsigned int)
{
    return {0.0f, valueAt(image, sample, 0.0f), 0.0f, 1.0f};
}

FillHoleShaderCheckInDevImageBlue::FillHoleShaderCheckInDevImageBlue(FillHoleFloatImage const& image) : image(image)
{
}

TavRGBA FillHoleShaderCheckInDevImageBlue::GetColor(hlvRenderSample5_t const& sample, unsigned long long, TavRGBA,
                                                    unsigned int)
{
    return {0.0f, 0.0f, valueAt(image, sample, 0.0f), 1.0f};
}

FillHoleShaderCheckInDevImageGreenRed::FillHoleShaderCheckInDevImageGreenRed(FillHoleFloatImage const& first,
                                                                             FillHoleFloatImage const& second)
    : first(first), second(second)
{
}

TavRGBA FillHoleShaderCheckInDevImageGreenRed::GetColor(hlvRenderSample5_t const& sample, unsigned long long,
                                                        TavRGBA, unsigned int)
{
    return {valueAt(first, sample, 0.0f), valueAt(second, sample, 0.0f), 0.0f, 1.0f};
}

FillHoleShaderCheckInList::FillHoleShaderCheckInList(std::vector<bool> const& bits) : bits(bits) {}

TavRGBA FillHoleShaderCheckInList::GetColor(hlvRenderSample5_t const&, unsigned long long index, TavRGBA color,
                                            unsigned int)
{
    return index < bits.size() && bits[index] ? kWhite : color;
}

FillHoleShaderEstimated::FillHoleShaderEstimated() = default;

TavRGBA FillHoleShaderEstimated::GetColor(hlvRenderSample5_t const&, unsigned long long, TavRGBA color,
                                          unsigned int isExtrapolated)
{
    if (isExtrapolated != 0)
        return kWhite;
    return {color.r * 0.2f, color.g * 0.2f, color.b * 0.2f, color.a};
}

FillHoleShaderZDepth::FillHoleShaderZDepth() = default;

TavRGBA FillHoleShaderZDepth::GetColor(hlvRenderSample5_t const& sample, unsigned long long, TavRGBA, unsigned int)
{
    float const z = std::clamp(sample.depth, 0.0f, 2000.0f) / 2000.0f;
    // 1 - (1 - z) rather than z: the red channel has always been computed this way, rounding included
    return {1.0f - (1.0f - z), 1.0f - z, 0.0f, 1.0f};
}

FillHoleShaderTangency::FillHoleShaderTangency(float threshold, unsigned long long width, unsigned long long height)
    : threshold(threshold), width(width), height(height)
{
}

TavRGBA FillHoleShaderTangency::GetColor(hlvRenderSample5_t const& sample, unsigned long long, TavRGBA,
                                         unsigned int)
{
    // The image size and the pixel change places in this call, unlike every other caller's. Kept as it is:
    // the colours of existing debugging sessions come from it.
    int const sizeX = static_cast<int>(wholeQuotient(sample.x, width));
    int const sizeY = static_cast<int>(wholeQuotient(sample.y, height));
    TavPoint const direction = Internal::pixelDirection(static_cast<unsigned long long>(sizeX),
                                                        static_cast<unsigned long long>(sizeY), width, height)
                                   .direction;
    float const c = Internal::dot(normalOf(sample), direction);
    if (threshold > c) {
        float const v = clampToUnit((c - 1e-5f) / (threshold - 1e-5f));
        return {v * 0.75f + 0.25f, v * 0.5f, v * 0.5f, 1.0f};
    }
    float const grey = brightnessOf(sample) * 0.5f;
    return {grey, grey, grey, float(sample.color.w)};
}

FillHoleShaderHyperTangency::FillHoleShaderHyperTangency(float t1, float t2, float t3, unsigned long long width,
                                                         unsigned long long height)
    : t1(t1), t2(t2), t3(t3), width(width), height(height)
{
}

TavRGBA FillHoleShaderHyperTangency::GetColor(hlvRenderSample5_t const& sample, unsigned long long, TavRGBA,
                                              unsigned int)
{
    float const c = Internal::dot(normalOf(sample), cornerDirection(sample, width, height));
    float const e = std::min(t1 / 100.0f, 0.0001f);
    if (c < t1) {
        float const v = clampToUnit((c - e) / (t1 - e));
        return {v, v / 4.0f, v / 4.0f, 1.0f};
    }
    if (c < t2) {
        float const v = clampToUnit((c - t1) / (t2 - t1));
        return {v / 4.0f, v, v / 4.0f, 1.0f};
    }
    if (c < t3) {
        float const v = clampToUnit((c - t2) / (t3 - t2));
        return {v / 4.0f, v / 4.0f, v, 1.0f};
    }
    return {c / 4.0f, c / 4.0f, c / 4.0f, float(sample.color.w)};
}

FillHoleShaderQuality::FillHoleShaderQuality(unsigned long long width, unsigned long long height)
    : width(width), height(height)
{
}

TavRGBA FillHoleShaderQuality::GetColor(hlvRenderSample5_t const& sample, unsigned long long, TavRGBA, unsigned int)
{
    TavPoint const normal = Internal::normalised(normalOf(sample));
    float const q = clampToUnit(std::fabs(Internal::dot(cornerDirection(sample, width, height), normal)));
    float const brightness = brightnessOf(sample);
    return {(1.0f - q) * brightness, q * brightness, 0.0f, 1.0f};
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
