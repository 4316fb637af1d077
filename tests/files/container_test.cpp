#include "files/container_format.h"
#include "files/digest.h"
#include "files/header_json.h"

#include "common/capture.h"
#include "files/container_fixtures.h"

#include <json/reader.h>
#include <json/value.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <cstring>

using namespace HolvaneTest;
using Holvane::Internal::ContainerHeaderAccess;

namespace {

Json::Value jsonOf(header_v09 const& header)
{
    return ContainerHeaderAccess::json(HLVRender_header(header));
}

// The header text of a written file, parsed.
Json::Value writtenJson(std::string const& bytes)
{
    std::uint32_t length = 0;
    std::memcpy(&length, bytes.data() + 16, 4);
    Json::Value json;
    EXPECT_TRUE(Json::Reader().parse(bytes.substr(20, length), json, false));
    return json;
}

std::string withoutFileCode(Json::Value json)
{
    json.removeMember("fileCode");
    return json.toStyledString();
}

}  // namespace

TEST(ContainerLayout, EmptyFileIsPrefixTextAndPairsOfZeroWordsForEveryBlock)
{
    header_v09 header = renderHeader();
    std::string path = tempPath("empty");
    ASSERT_EQ(hlvWriter_v9(path.c_str(), header, hlvRenderSample5Aovs_t(), Holvane::Util::RenderingEngineId(3)),
              READER_OK);
    std::string bytes = readBytes(path);
    ASSERT_GE(bytes.size(), 20u);
    EXPECT_EQ(bytes.substr(0, 16), containerPrefix(9, 1, "").substr(0, 16));
    std::uint32_t length = 0;
    std::memcpy(&length, bytes.data() + 16, 4);
    std::string text = bytes.substr(20, length);
    EXPECT_EQ(text.find('\n'), text.size() - 1);  // one line, its line feed counted
    // coordinates, fill holes, samples, seven AOV blocks (type 9 has none), completion
    EXPECT_EQ(bytes.substr(20 + length), emptyBlocks(3 + 7 + 1));

    Json::Value json = writtenJson(bytes);
    std::vector<std::string> keys = json.getMemberNames();
    std::vector<std::string> expected = {"AOVNames", "AOVTypes", "boxScaleX", "boxScaleY", "boxScaleZ", "camId",
                                         "camOffsetX", "camOffsetY", "camOffsetZ", "cameras", "coordinates",
                                         "draft", "eye", "fileCode", "fillHoleCount", "frame", "globalScale",
                                         "heightDisplay", "ipd", "passMode", "projection", "rtype", "sampleNums",
                                         "stereoRender", "tolerance", "widthDisplay", "zov_distance_to_ground",
                                         "aovNums"};
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            expected.push_back("CamToWorld" + std::to_string(row) + std::to_string(column));
    std::sort(keys.begin(), keys.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(keys, expected);
    // Reals are the float fields widened, not the decimal the host had in mind.
    EXPECT_EQ(json["ipd"].asDouble(), double(63.65f));
    EXPECT_EQ(json["CamToWorld03"].asDouble(), 10.0);
    Json::Value const& camera = json["cameras"][2];
    EXPECT_EQ(camera["priority"].asDouble(), 33.5);
    EXPECT_EQ(camera["location"]["y"].asDouble(), 50.0);
    EXPECT_TRUE(camera["direction"]["plusX"].asBool() && camera["direction"]["plusY"].asBool() &&
                camera["direction"]["minusZ"].asBool());
    EXPECT_FALSE(camera["direction"]["minusX"].asBool() || camera["direction"]["plusZ"].asBool() ||
                 camera["direction"]["minusY"].asBool());
}

TEST(ContainerLayout, WritesDifferOnlyInFileCodeAndTheEngineComesBack)
{
    hlvRenderSample5Aovs_t data = renderData();
    header_v09 header = renderHeader();
    std::string first = tempPath("first"), second = tempPath("second"), third = tempPath("third");
    auto engine = Holvane::Util::RenderingEngineId(42);
    std::srand(1);
    hlvWriter_v9(first.c_str(), header, data, engine);
    std::srand(1);
    hlvWriter_v9(second.c_str(), header, data, engine);
    std::srand(2);
    hlvWriter_v9(third.c_str(), header, data, engine);
    EXPECT_EQ(header.fileCode, -1);  // the caller's header is left alone
    std::string a = readBytes(first), c = readBytes(third);
    EXPECT_EQ(a, readBytes(second));
    EXPECT_NE(writtenJson(a)["fileCode"], writtenJson(c)["fileCode"]);
    EXPECT_EQ(withoutFileCode(writtenJson(a)), withoutFileCode(writtenJson(c)));
    std::uint32_t lengthA = 0, lengthC = 0;
    std::memcpy(&lengthA, a.data() + 16, 4);
    std::memcpy(&lengthC, c.data() + 16, 4);
    EXPECT_EQ(a.substr(20 + lengthA), c.substr(20 + lengthC));

    header_v09 read;
    hlvRenderSample5Aovs_t back;
    int hashSum = -1;
    ASSERT_EQ(hlvReader_v9(third.c_str(), read, back, hashSum), READER_OK);
    EXPECT_GE(hashSum, 0);
    EXPECT_EQ(getRenderEngineId(read.fileCode, hashSum), engine);
}

TEST(ContainerRoundTrip, RenderFileGivesBackHeaderSamplesAovsAndFlags)
{
    hlvRenderSample5Aovs_t data = renderData();
    header_v09 header = renderHeader();
    std::string path = tempPath("render");
    ASSERT_EQ(hlvWriter_v9(path.c_str(), header, data, Holvane::Util::RenderingEngineId(7)), READER_OK);

    header_v09 read;
    hlvRenderSample5Aovs_t back;
    int hashSum = -1;
    ASSERT_EQ(hlvReader_v9(path.c_str(), read, back, hashSum), READER_OK);
    EXPECT_EQ(withoutFileCode(jsonOf(read)), withoutFileCode(jsonOf(header)));
    EXPECT_EQ(read.cameras.directions, header.cameras.directions);
    ASSERT_EQ(back.samples.size(), data.samples.size());
    EXPECT_EQ(std::memcmp(back.samples.data(), data.samples.data(), data.samples.size() * 28), 0);
    ASSERT_EQ(back.coordinates.size(), 2u);
    EXPECT_EQ(back.coordinates[0].words[0], 0xDEADBEEFu);
    EXPECT_EQ(back.completion, data.completion);
    EXPECT_TRUE(back.fillHoles.empty());

    ASSERT_EQ(back.aovs.size(), data.aovs.size());
    std::size_t channels = allAovTypes().size();
    for (std::size_t i = 0; i < data.aovs.size(); ++i) {
        AOVData expected = data.aovs[i];
        if (allAovTypes()[i % channels] == AOVType(9))
            expected = AOVData();  // no block on either side: the slot stays zero
        EXPECT_EQ(std::memcmp(&back.aovs[i], &expected, sizeof(AOVData)), 0) << "slot " << i;
    }
}

TEST(ContainerRoundTrip, DetectFileGivesBackItsPlaquesAndVersion8SamplesReadBack)
{
    header_v09 header = renderHeader();
    header.rtype = true;
    header.AOVTypes.clear();
    header.AOVNames.clear();
    header.aovNums = 0;
    hlvRenderSample4Aovs_t data;
    DetectPlaqueInfo plaque;
    plaque.cameraIndex = 146;
    plaque.x = 65535;
    plaque.y = 1023;
    plaque.isHair = 1;
    plaque.level = 3;
    plaque.isTransparent = 1;
    plaque.distance = 12.5f;
    plaque.normal = {0.0f, 1.0f, -0.5f};
    data.fillHoles = {plaque, DetectPlaqueInfo()};
    data.samples.resize(2);
    data.samples[1].x = 9;
    data.completion = {1, 1};
    std::string path = tempPath("detect");
    ASSERT_EQ(hlvWriter_v8(path.c_str(), header, data, Holvane::Util::RenderingEngineId(1)), READER_OK);
    std::string bytes = readBytes(path);
    EXPECT_EQ(bytes[14], 9);  // the version 8 writer says version 9 all the same
    EXPECT_EQ(bytes[15], 1);

    header_v09 read;
    hlvRenderSample4Aovs_t back;
    int hashSum = -1;
    ASSERT_EQ(hlvReader_v8(path.c_str(), read, back, hashSum), READER_OK);
    ASSERT_EQ(back.fillHoles.size(), 2u);
    DetectPlaqueInfo const& got = back.fillHoles[0];
    EXPECT_EQ(got.cameraIndex, 146);
    EXPECT_EQ(got.x, 65535);
    EXPECT_EQ(got.y, 1023);
    EXPECT_EQ(got.isHair, 1);
    EXPECT_EQ(got.isExtrapolated, 0);
    EXPECT_EQ(got.level, 3);
    EXPECT_EQ(got.isTransparent, 1);
    EXPECT_EQ(got.distance, 12.5f);
    EXPECT_EQ(got.normal.z, -0.5f);
    ASSERT_EQ(back.samples.size(), 2u);
    EXPECT_EQ(back.samples[1].x, 9);
    EXPECT_EQ(back.completion, data.completion);
}
