#ifndef HOLVANE_TESTS_CONTAINER_FIXTURES_H
#define HOLVANE_TESTS_CONTAINER_FIXTURES_H

// Files and data sets shared by the container tests.

#include <holvane/holvane.h>

#include "common/capture.h"

#include <gtest/gtest.h>

#include <string>

namespace HolvaneTest {

using namespace Holvane::BinIO;
using Holvane::Phase::AOVType;
namespace HP = Holvane::Phase;
inline Holvane::Util::RenderingEngineId engine(int id) { return Holvane::Util::RenderingEngineId(id); }

// A path of its own for each test, so that ctest can run them side by side.
inline std::string tempPath(std::string const& name)
{
    ::testing::TestInfo const* test = ::testing::UnitTest::GetInstance()->current_test_info();
    return ::testing::TempDir() + "hlv_" + test->test_suite_name() + "_" + test->name() + "_" + name;
}

inline std::string containerPrefix(unsigned char version, unsigned char subversion, std::string const& text)
{
    std::uint32_t length = static_cast<std::uint32_t>(text.size());
    return std::string("\x82HLVRender=\n$\n", 14) + char(version) + char(subversion) +
           std::string(reinterpret_cast<char const*>(&length), 4) + text;
}

// `count` empty blocks: two zero words each.
inline std::string emptyBlocks(int count) { return std::string(static_cast<std::size_t>(count) * 8, '\0'); }

// Every AOV type, and one above 6 that has no block.
inline std::vector<AOVType> const& allAovTypes()
{
    static std::vector<AOVType> const types = {HP::AOV_VEC3, HP::AOV_INT,  AOVType(9),       HP::AOV_DOUBLE,
                                               HP::AOV_BYTE, HP::AOV_VEC4, HP::AOV_VELOCITY, HP::AOV_VEC2};
    return types;
}

inline header_v09 renderHeader()
{
    header_v09 h;
    h.boxScaleX = 1.5f, h.boxScaleY = 2.0f, h.boxScaleZ = 0.75f, h.globalScale = 2.54f;
    h.camOffsetX = -1, h.camOffsetZ = 3, h.stereoRender = true, h.camId = 4, h.zov_distance_to_ground = 1.65f;
    h.widthDisplay = 1536, h.heightDisplay = 1024, h.projection = 1, h.passMode = 2, h.frame = 12;
    h.tolerance = 0.3f, h.CamToWorld[3] = 10.0f, h.eye = 2;
    h.cameras.locations = {{-50.0f, 0.0f, 50.0f}, {0.0f, 0.0f, 0.0f}, {50.0f, 50.0f, -50.0f}};
    h.cameras.priorities = {9.0f, 0.0f, 33.5f};
    h.cameras.directions = {CAMERA_MINUS_X | CAMERA_PLUS_Z, 63u, CAMERA_PLUS_X | CAMERA_PLUS_Y | CAMERA_MINUS_Z};
    for (std::size_t a = 0; a < allAovTypes().size(); ++a)
        h.AOVNames.push_back("aov" + std::to_string(a));
    h.AOVTypes = allAovTypes();
    h.aovNums = allAovTypes().size();
    return h;
}

// Three samples whose values all survive the half conversion, with a slot for each AOV of allAovTypes().
inline hlvRenderSample5Aovs_t renderData()
{
    using half = half_float::half;
    hlvRenderSample5Aovs_t data;
    data.coordinates.resize(2);
    data.coordinates[0].words[0] = 0xDEADBEEF, data.coordinates[1].words[2] = 7;
    for (int s = 0; s < 3; ++s) {
        hlvRenderSample5_t sample;
        sample.depth = 100.25f * float(s + 1);
        sample.color = {half(0.5f), half(0.25f * s), half(1.0f), half(1.0f)};
        sample.normal = {half(0.0f), half(-1.0f), half(0.5f)};
        sample.x = static_cast<std::uint16_t>(65535 - s), sample.y = static_cast<std::uint16_t>(s * 300);
        sample.cameraIndex = static_cast<std::uint8_t>(255 - s), sample.level = static_cast<std::uint8_t>(s);
        data.samples.push_back(sample);
        for (AOVType type : allAovTypes()) {
            AOVData slot;
            switch (type) {
            case HP::AOV_BYTE: slot.byteValue = static_cast<char>('a' + s); break;
            case HP::AOV_INT: slot.floatValue = -3.1415927f * float(s); break;  // bits kept
            case HP::AOV_DOUBLE: slot.doubleValue = 0.5 + s; break;
            case HP::AOV_VEC2: slot.vec2 = {1.5f, -2.0f * float(s)}; break;
            case HP::AOV_VEC4: slot.vec4 = {0.125f, 2.0f, 4.0f, float(s)}; break;
            case HP::AOV_VEC3:
            case HP::AOV_VELOCITY: slot.vec3 = {float(s), 0.75f, -8.0f}; break;
            default: slot.intValue = 77; break;  // no block: reads back as zero
            }
            data.aovs.push_back(slot);
        }
    }
    data.completion = {1, 0, 1, 1, 0};
    return data;
}

// A full read by the version 9 reader; header, data and sum start as given, to show what the reader leaves alone.
struct Read9 {
    header_v09 header;
    hlvRenderSample5Aovs_t data;
    int hashSum = -9;
    HlvReaderError answer = READER_OK;
};

inline Read9 read9(std::string const& path, Read9 read = Read9())
{
    read.answer = hlvReader_v9(path.c_str(), read.header, read.data, read.hashSum);
    return read;
}

// Writes renderHeader() and renderData() to the path, and gives back the file's bytes.
inline std::string renderFileBytes(std::string const& path, int engineId = 5)
{
    hlvWriter_v9(path.c_str(), renderHeader(), renderData(), engine(engineId));
    return readBytes(path);
}

}  // namespace HolvaneTest

#endif
