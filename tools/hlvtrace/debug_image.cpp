#include "debug_image.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace hlvtrace {

DebugImage::DebugImage(unsigned width, unsigned height)
    : w(width), h(height), colours(std::size_t(width) * height, TavRGBA{0.0f, 0.0f, 0.0f, 0.0f})
{
}

void DebugImage::paint(unsigned x, unsigned y, TavRGBA const& colour)
{
    if (colour.a <= 0.0f || colour.r + colour.g + colour.b <= 0.0f || painted(x, y))
        return;
    colours[std::size_t(y) * w + x] = colour;
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
    out.reserve(colours.size() * 3);
    for (TavRGBA const& colour : colours) {
        out.push_back(byte(colour.r));
        out.push_back(byte(colour.g));
        out.push_back(byte(colour.b));
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
