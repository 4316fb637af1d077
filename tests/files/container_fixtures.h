#ifndef HOLVANE_TESTS_CONTAINER_FIXTURES_H
#define HOLVANE_TESTS_CONTAINER_FIXTURES_H

// Files and data sets shared by the container tests.

#include <holvane/holvane.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace HolvaneTest {

using namespace Holvane::BinIO;
using Holvane::Phase::AOVType;

// A path of its own for each test, so that ctest can run them side by side.
inline std::string tempPath(std::string const& name)
{
    ::testing::TestInfo const* test = ::testing::UnitTest::GetInstance()->current_test_info();
    return ::testing::TempDir() + "hlv_" + test->test_suite_name() + "_" + test->name() + "_" + name;
}

inline std::string readBytes(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeBytes(std::string const& path, std::string const& bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string containerPrefix(unsigned char version, unsigned char subversion, std::string const& text)
{
    std::string bytes("\x82HLVRender=\n$\n", 14);
    bytes += static_cast<char>(version);
    bytes += static_cast<char>(subversion);
    std::uint32_t length = static_cast<std::uint32_t>(text.size());
    bytes.append(reinterpret_cast<char const*>(&length), 4);
    return bytes + text;
}

// `count` empty blocks: two zero words each.
inline std::string emptyBlocks(int count)
{
    return std::string(static_cast<std::size_t>(count) * 8, '\0');
}

// Every AOV type, and one above 6 that has no block.
inline std::vector<AOVType> const& allAovTypes()
{
    static std::vector<AOVType> const types = {
        Holvane::Phase::AOV_VEC3,     Holvane::Phase::AOV_INT, AOVType(9),
        Holvane::Phase::AOV_DOUBLE,   Holvane::Phase::AOV_BYTE, Holvane::Phase::AOV_VEC4,
        Holvane::Phase::AOV_VELOCITY, Holvane::Phase::AOV_VEC2};
    return types;
}

inline header_v09 renderHeader()
{
    header_v09 header;
    header.boxScaleX = 1.5f;
    header.boxScaleY = 2.0f;
    header.boxScaleZ = 0.75f;
    header.globalScale = 2.54f;
    header.camOffsetX = -1;
    header.camOffsetZ = 3;
    header.stereoRender = true;
    header.camId = 4;
    header.zov_distance_to_ground = 1.65f;
    header.widthDisplay = 1536;
    header.heightDisplay = 1024;
    header.projection = 1;
    header.passMode = 2;
    header.frame = 12;
    header.tolerance = 0.3f;
    header.CamToWorld[3] = 10.0f;
    header.eye = 2;
    header.cameras.locations = {{-50.0f, 0.0f, 50.0f}, {0.0f, 0.0f, 0.0f}, {50.0f, 50.0f, -50.0f}};
    header.cameras.priorities = {9.0f, 0.0f, 33.5f};
    header.cameras.directions = {CAMERA_MINUS_X | CAMERA_PLUS_Z, 63u, CAMERA_PLUS_X | CAMERA_PLUS_Y | CAMERA_MINUS_Z};
    for (std::size_t a = 0; a < allAovTypes().size(); ++a)
        header.AOVNames.push_back("aov" + std::to_string(a));
    header.AOVTypes = allAovTypes();
    header.aovNums = allAovTypes().size();
    return header;
}

// Three samples whose values all survive the half conversion, with a slot for each AOV of allAovTypes().
inline hlvRenderSample5Aovs_t renderData()
{
    hlvRenderSample5Aovs_t data;
    data.coordinates.resize(2);
    data.coordinates[0].words[0] = 0xDEADBEEF;
    data.coordinates[1].words[2] = 7;
    for (int s = 0; s < 3; ++s) {
        hlvRenderSample5_t sample;
        sample.depth = 100.25f * float(s + 1);
        sample.color = {half_float::half(0.5f), half_float::half(0.25f * s), half_float::half(1.0f),
                        half_float::half(1.0f)};
        sample.normal = {half_float::half(0.0f), half_float::half(-1.0f), half_float::half(0.5f)};
        sample.x = static_cast<std::uint16_t>(65535 - s);
        sample.y = static_cast<std::uint16_t>(s * 300);
        sample.cameraIndex = static_cast<std::uint8_t>(255 - s);
        sample.level = static_cast<std::uint8_t>(s);
        data.samples.push_back(sample);
        for (AOVType type : allAovTypes()) {
            AOVData slot;
            switch (type) {
            case Holvane::Phase::AOV_BYTE: slot.byteValue = static_cast<char>('a' + s); break;
            case Holvane::Phase::AOV_INT: slot.floatValue = -3.1415927f * float(s); break;  // bits kept
            case Holvane::Phase::AOV_DOUBLE: slot.doubleValue = 0.5 + s; break;
            case Holvane::Phase::AOV_VEC2: slot.vec2 = {1.5f, -2.0f * float(s)}; break;
            case Holvane::Phase::AOV_VEC4: slot.vec4 = {0.125f, 2.0f, 4.0f, float(s)}; break;
            case Holvane::Phase::AOV_VEC3:
            case Holvane::Phase::AOV_VELOCITY: slot.vec3 = {float(s), 0.75f, -8.0f}; break;
            default: slot.intValue = 77; break;  // no block: reads back as zero
            }
            data.aovs.push_back(slot);
        }
    }
    data.completion = {1, 0, 1, 1, 0};
    return data;
}

}  // namespace HolvaneTest

#endif
