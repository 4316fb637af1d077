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
    Json::Value camera;
    Json::Reader().parse(R"({"location":{"x":50.0,"y":50.0,"z":-50.0},"priority":33.5,"direction":{"minusX":false,)"
                         R"("minusY":false,"minusZ":true,"plusX":true,"plusY":true,"plusZ":false}})",
                         camera);
    EXPECT_EQ(json["cameras"][2], camera);
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
    EXPECT_TRUE(got.cameraIndex == 146 && got.x == 65535 && got.y == 1023 && got.level == 3);
    EXPECT_TRUE(got.isHair == 1 && got.isExtrapolated == 0 && got.isTransparent == 1);
    EXPECT_TRUE(got.distance == 12.5f && got.normal.z == -0.5f);
    ASSERT_EQ(back.samples.size(), 2u);
    EXPECT_EQ(back.samples[1].x, 9);
    EXPECT_EQ(back.completion, data.completion);
}

namespace {

// A hand-made file: prefix, the given text, then `blocks` empty blocks.
std::string handMade(std::string const& name, unsigned char version, unsigned char subversion,
                     std::string const& text, int blocks)
{
    std::string path = tempPath(name);
    writeBytes(path, containerPrefix(version, subversion, text) + emptyBlocks(blocks));
    return path;
}

std::string const cameraText =
    R"({"globalScale":1,"eye":2,"cameras":[{"location":{"x":1.5,"y":-2,"z":3},"priority":7,)"
    R"("direction":{"minusX":true,"plusY":true,"minusZ":false}}],"AOVNames":["Diffuse","Cd_Right"],)"
    R"("AOVTypes":[3,4],"aovNums":1,"fillHoleCount":5,"tolerance":0.5,"CamToWorld00":2})"
    "\n";

}  // namespace

TEST(ContainerHeaderRules, VersionAndSubversionDecideTheCameras)
{
    header_v09 read;
    read.cameras.directions = {0xAB00u};  // bits above the face mask are kept
    ASSERT_EQ(hlvReader_v9(handMade("v91", 9, 1, cameraText, 0).c_str(), read), READER_OK);
    ASSERT_EQ(read.cameras.locations.size(), 1u);
    EXPECT_EQ(read.cameras.locations[0].y, -2.0f);
    EXPECT_EQ(read.cameras.priorities[0], 7.0f);
    EXPECT_EQ(read.cameras.directions[0], 0xAB00u | CAMERA_MINUS_X | CAMERA_PLUS_Y);
    // Only "aovNums" entries are taken from the lists.
    EXPECT_EQ(read.AOVNames, std::vector<std::string>{"Diffuse"});
    EXPECT_EQ(read.fillHoleCount, 5u);
    EXPECT_EQ(read.CamToWorld[0], 2.0f);
    EXPECT_EQ(read.CamToWorld[5], 0.0f);  // missing keys read as zero

    header_v09 noCameras;
    ASSERT_EQ(hlvReader_v9(handMade("v91bare", 9, 1, "{\"eye\":2}\n", 0).c_str(), noCameras), READER_OK);
    EXPECT_TRUE(noCameras.cameras.locations.empty() && noCameras.cameras.directions.empty());

    header_v09 seven;
    seven.eye = 5;
    seven.ipd = 60.0f;
    ASSERT_EQ(HLVRender_header(handMade("v7", 7, 0, cameraText, 0).c_str()).getHeaderData(seven), READER_OK);
    EXPECT_EQ(seven.fillHoleCount, 0u);
    EXPECT_EQ(seven.tolerance, 0.0f);
    EXPECT_EQ(seven.CamToWorld[0], 1.0f);
    EXPECT_EQ(seven.eye, 5);  // left as it was
    EXPECT_EQ(seven.ipd, 60.0f);

    header_v09 tooNew;
    tooNew.frame = 3;
    hlvRenderSample5Aovs_t data;
    int hashSum = -9;
    EXPECT_EQ(hlvReader_v9(handMade("v10", 10, 1, cameraText, 3).c_str(), tooNew, data, hashSum),
              READER_VERSION_TOO_NEW);
    EXPECT_EQ(tooNew.frame, 3);
    EXPECT_EQ(hashSum, -9);
}

TEST(ContainerHeaderRules, AovCountBeyondTheListsPadsOrIsRefused)
{
    // A count a little past the lists pads with unnamed byte channels.
    header_v09 padded;
    std::string const three = "{\"aovNums\":3,\"AOVNames\":[\"a\",\"b\"],\"AOVTypes\":[4]}\n";
    ASSERT_EQ(hlvReader_v9(handMade("aov3", 9, 1, three, 0).c_str(), padded), READER_OK);
    EXPECT_EQ(padded.AOVNames, (std::vector<std::string>{"a", "b", ""}));
    EXPECT_EQ(padded.AOVTypes, (std::vector<AOVType>{Holvane::Phase::AOV_VEC4, Holvane::Phase::AOV_BYTE, Holvane::Phase::AOV_BYTE}));
    // A negative count would size the lists from nothing the file holds: the header doesn't read.
    header_v09 negative;
    std::string const minusOne = "{\"aovNums\":-1,\"AOVNames\":[\"a\"],\"AOVTypes\":[4]}\n";
    EXPECT_EQ(hlvReader_v9(handMade("aovneg", 9, 1, minusOne, 0).c_str(), negative), READER_BAD_JSON);
    hlvRenderSample4Aovs_t data;
    int hashSum = 0;
    EXPECT_EQ(hlvReader_v7(handMade("aovneg7", 7, 0, minusOne, 2).c_str(), negative, data, hashSum),
              READER_BAD_JSON);
}

TEST(ContainerHeaderRules, SubversionZeroGetsTheDefaultRigPlacedInTheBox)
{
    header_v09 read;
    std::string text = "{\"globalScale\":2,\"boxScaleX\":1,\"boxScaleY\":1,\"boxScaleZ\":4,\"camOffsetZ\":1}\n";
    ASSERT_EQ(hlvReader_v9(handMade("v90", 9, 0, text, 0).c_str(), read), READER_OK);
    ASSERT_EQ(read.cameras.locations.size(), 256u);
    EXPECT_EQ(read.cameras.locations[146].x, 0.0f);  // the centre camera
    EXPECT_EQ(read.cameras.locations[146].z, 200.0f);  // offset one box of 2 / 2 * 100 along z
    EXPECT_EQ(read.cameras.directions[146], 63u);
    // The first camera stands at (-50, 30, -50) on the box's edge, looking out of its -X and -Z faces.
    EXPECT_EQ(read.cameras.locations[0].x, -25.0f);
    EXPECT_EQ(read.cameras.locations[0].y, 15.0f);
    EXPECT_EQ(read.cameras.locations[0].z, 100.0f);
    EXPECT_EQ(read.cameras.priorities[0], 10.0f);
    EXPECT_EQ(read.cameras.directions[0], CAMERA_MINUS_X | CAMERA_MINUS_Z);
}

TEST(ContainerReaderQuirks, FailedHeaderLoadsAreSwallowed)
{
    std::string missing = tempPath("missing");
    header_v09 header;
    hlvRenderSample5Aovs_t data;
    data.completion = {9};
    int hashSum = -9;
    EXPECT_EQ(hlvReader_v9(missing.c_str(), header, data, hashSum), READER_OK);
    EXPECT_EQ(data.completion, std::vector<unsigned char>{9});  // nothing read
    EXPECT_EQ(hashSum, -9);
    unsigned char version = 1, subversion = 1;
    EXPECT_EQ(HLVRender_header(missing.c_str()).getVersion(version, subversion), READER_BAD_MAGIC);
    EXPECT_EQ(version + subversion, 0);
    EXPECT_EQ(HLVRender_header().getVersion(version, subversion), READER_BAD_MAGIC);

    // A bad text or a bad magic leaves a zero header, and the blocks are read all the same.
    std::string badJson = handMade("badjson", 9, 1, "{\"eye\":", 0);
    std::string completion = std::string("\x01\0\0\0\0\0\0\0\x01", 9);
    writeBytes(badJson, readBytes(badJson) + emptyBlocks(3) + completion);
    EXPECT_EQ(HLVRender_header(badJson.c_str()).getVersion(version, subversion), READER_BAD_MAGIC);
    header_v09 zero;
    EXPECT_EQ(hlvReader_v9(badJson.c_str(), zero, data, hashSum), READER_OK);
    EXPECT_EQ(zero.eye, 0);
    EXPECT_EQ(data.completion, std::vector<unsigned char>{1});
    EXPECT_NE(hashSum, -9);

    std::string badMagic = tempPath("badmagic");
    std::string bytes = readBytes(badJson);
    bytes[1] = 'h';
    writeBytes(badMagic, bytes);
    EXPECT_FALSE(isHlvRender(badMagic.c_str()));
    EXPECT_EQ(hlvReader_v9(badMagic.c_str(), zero, data, hashSum), READER_OK);
}

TEST(ContainerReaderQuirks, BlockErrorsKeepWhatWasReadAndTheV9SumButNotTheV7One)
{
    hlvRenderSample5Aovs_t data = renderData();
    std::string path = tempPath("cut");
    hlvWriter_v9(path.c_str(), renderHeader(), data, Holvane::Util::RenderingEngineId(0));
    std::string bytes = readBytes(path);
    // The completion block (a chunk of 21 bytes) is cut away, and the last AOV block (36 bytes) with it.
    writeBytes(path, bytes.substr(0, bytes.size() - 40));
    header_v09 header;
    hlvRenderSample5Aovs_t back;
    back.completion = {7};
    int hashSum = -9;
    EXPECT_EQ(hlvReader_v9(path.c_str(), header, back, hashSum), READER_DECOMPRESS_FAILED);
    EXPECT_EQ(back.samples.size(), 3u);
    EXPECT_EQ(back.coordinates.size(), 2u);
    EXPECT_EQ(back.completion, std::vector<unsigned char>{7});  // not reached
    EXPECT_NE(hashSum, -9);

    // Version 7: coordinates, samples of 24 bytes, AOVs, completion; no fill holes.
    std::string seven = handMade("v7", 7, 0, "{\"aovNums\":1,\"AOVTypes\":[0]}", 2);
    std::string blocks = readBytes(seven);
    writeBytes(seven, blocks + std::string("\x02\0\0\0\0\0\0\0a", 9));  // an AOV block short of a byte
    hlvRenderSample4Aovs_t old;
    hashSum = -9;
    header = header_v09();  // the AOV lists are appended to what a header holds
    EXPECT_EQ(hlvReader_v7(seven.c_str(), header, old, hashSum), READER_DECOMPRESS_FAILED);
    EXPECT_EQ(hashSum, -9);
    writeBytes(seven, blocks + std::string("\x02\0\0\0\0\0\0\0ab\x01\0\0\0\0\0\0\0a", 19));
    header = header_v09();
    EXPECT_EQ(hlvReader_v7(seven.c_str(), header, old, hashSum), READER_OK);
    EXPECT_NE(hashSum, -9);
    EXPECT_EQ(old.completion, std::vector<unsigned char>{'a'});
}

TEST(ContainerReaderQuirks, ACountBeyondAnIntThrowsTheJsonError)
{
    std::string path = handMade("large", 9, 1, "{\"sampleNums\":3000000000}", 0);
    header_v09 header;
    EXPECT_THROW(hlvReader_v9(path.c_str(), header), std::exception);
    // So does a text that parses but is no object.
    EXPECT_THROW(hlvReader_v9(handMade("array", 9, 1, "[1]", 0).c_str(), header), std::exception);
}

TEST(ContainerFunctions, NamesVersionsAndEngines)
{
    header_v07 header;
    header.AOVNames = {"Diffuse", "Cd_Right", "cd_right"};
    EXPECT_EQ(header.getVectorAovIndexByType(Holvane::Phase::AOV_VEC3, "cd_right"), 1);
    EXPECT_EQ(header.getVectorAovIndexByType(Holvane::Phase::AOV_BYTE, "DIFFUSE"), 0);
    EXPECT_EQ(header.getVectorAovIndexByType(Holvane::Phase::AOV_VEC3, "Diffuse "), -1);

    EXPECT_EQ(getRenderEngineId(-100, 0), -1);  // the signed remainder
    EXPECT_EQ(getRenderEngineId(2147483647, 8160), (2147483647LL + 8160) % 99);

    std::string old = tempPath("old");
    writeBytes(old, "Version\x06rest");
    EXPECT_FALSE(isHlvRender(old.c_str()));
    FILE* file = std::fopen(old.c_str(), "rb");
    EXPECT_EQ(getHlvVersionReader(file), 6);
    EXPECT_EQ(std::ftell(file), 8);
    std::fclose(file);
    std::string container = handMade("new", 9, 1, "{}", 0);
    EXPECT_TRUE(isHlvRender(container.c_str()));
    file = std::fopen(container.c_str(), "rb");
    EXPECT_EQ(getHlvVersionReader(file), 0);
    EXPECT_EQ(std::ftell(file), 0);
    std::fclose(file);
    std::string missing = tempPath("missing");
    EXPECT_FALSE(isHlvRender(missing.c_str()));
    std::string printed = captureStdout([&] { EXPECT_EQ(getHlvVersionReader(missing.c_str()), 0); });
    EXPECT_EQ(printed, "\t[HOLVANE] ERROR: cannot open file: " + missing + "\n");
    EXPECT_EQ(hlvWriter_v9((missing + "/x").c_str(), header_v09(), hlvRenderSample5Aovs_t(),
                           Holvane::Util::RenderingEngineId(0)),
              READER_OPEN_FAILED);
}
