#include "debug_image.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace hlvtrace {

DebugImage::DebugImage(unsigned width, unsigned height) : w(width), h(height), sums(std::size_t(width) * height) {}

void DebugImage::paint(unsigned x, unsigned y, TavRGBA const& colour)
{
    if (colour.a <= 0.0f || colour.r + colour.g + colour.b <= 0.0f)
        return;
    Sum& sum = sums[std::size_t(y) * w + x];
    sum.r += colour.r;
    sum.g += colour.g;
    sum.b += colour.b;
    sum.count += 1;
}

namespace {

std::uint8_t byte(float value)
{
    return std::uint8_t(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f));
}

}  // namespace

std::vector<std::uint8_t> DebugImage::rgb() const
{
    std::vector<std::uint8_t> out;
    out.reserve(sums.size() * 3);
    for (Sum const& sum : sums) {
        float scale = sum.count ? 1.0f / float(sum.count) : 0.0f;
        out.push_back(byte(sum.r * scale));
        out.push_back(byte(sum.g * scale));
        out.push_back(byte(sum.b * scale));
    }
    return out;
}

bool writePng(std::string const& path, DebugImage const& image, std::string& problem)
{
    std::vector<std::uint8_t> pixels = image.rgb();
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    png.width = image.width();
    png.height = image.height();
    png.format = PNG_FORMAT_RGB;
    if (png_image_write_to_file(&png, path.c_str(), 0, pixels.data(), 0, nullptr))
        return true;
    problem = png.message;
    png_image_free(&png);
    return false;
}

}  // namespace hlvtrace
