#include "files/container_format.h"

#include "common/capture.h"
#include "common/detect_file.h"
#include "files/container_fixtures.h"

#include <json/reader.h>
#include <json/value.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tuple>

using namespace HolvaneTest;
using Holvane::Internal::ContainerHeaderAccess;

namespace {

std::uint32_t textLength(std::string const& bytes)
{
    std::uint32_t length;
    return std::memcpy(&length, bytes.data() + 16, 4), length;
}

// The header text of a written file, parsed.
Json::Value writtenJson(std::string const& bytes)
{
    Json::Value json;
    EXPECT_TRUE(Json::Reader().parse(bytes.substr(20, textLength(bytes)), json, false));
    return json;
}

std::string withoutFileCode(Json::Value json)
{
    json.removeMember("fileCode");
    return json.toStyledString();
}

std::string jsonOf(header_v09 const& header)
{
    return withoutFileCode(ContainerHeaderAccess::json(HLVRender_header(header)));
}

// A hand-made file: prefix, the given text, then `blocks` empty blocks.
std::string handMade(std::string const& name, unsigned char version, unsigned char subversion,
                     std::string const& text, int blocks)
{
    std::string path = tempPath(name);
    writeBytes(path, containerPrefix(version, subversion, text) + emptyBlocks(blocks));
    return path;
}

std::vector<float> xyz(TavPoint const& p) { return {p.x, p.y, p.z}; }

// Every reader on one damaged file, and the version query; the readers' answers in the order 9, 8, 7.
std::vector<int> readAll(std::string const& path)
{
    header_v09 h8, h7;
    hlvRenderSample4Aovs_t old;
    int hashSum = 0;
    unsigned char version, subversion;
    HLVRender_header(path.c_str()).getVersion(version, subversion);
    return {read9(path).answer, hlvReader_v8(path.c_str(), h8, old, hashSum),
            hlvReader_v7(path.c_str(), h7, old, hashSum)};
}

}  // namespace

TEST(ContainerLayout, EmptyFileIsPrefixTextAndPairsOfZeroWordsForEveryBlock)
{
    std::string path = tempPath("empty");
    ASSERT_EQ(hlvWriter_v9(path.c_str(), renderHeader(), hlvRenderSample5Aovs_t(), engine(3)), READER_OK);
    std::string bytes = readBytes(path);
    ASSERT_GE(bytes.size(), 20u);
    EXPECT_EQ(bytes.substr(0, 16), containerPrefix(9, 1, "").substr(0, 16));
    std::uint32_t length = textLength(bytes);
    EXPECT_EQ(bytes.find('\n', 20), 19u + length);  // one line, its line feed counted
    // coordinates, fill holes, samples, seven AOV blocks (type 9 has none), completion
    EXPECT_EQ(bytes.substr(20 + length), emptyBlocks(3 + 7 + 1));
    Json::Value json = writtenJson(bytes);
    std::vector<std::string> keys = json.getMemberNames(), expected = {
        "AOVNames", "AOVTypes", "boxScaleX", "boxScaleY", "boxScaleZ", "camId", "camOffsetX", "camOffsetY",
        "camOffsetZ", "cameras", "coordinates", "draft", "eye", "fileCode", "fillHoleCount", "frame",
        "globalScale", "heightDisplay", "ipd", "passMode", "projection", "rtype", "sampleNums", "stereoRender",
        "tolerance", "widthDisplay", "zov_distance_to_ground", "aovNums"};
    for (int cell = 0; cell < 16; ++cell)
        expected.push_back("CamToWorld" + std::to_string(cell / 4) + std::to_string(cell % 4));
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

// Three writes under the seeds 1, 1 and 2: only the file code follows the seed, and everything reads back.
TEST(ContainerRoundTrip, RenderFileDiffersOnlyInFileCodeAndGivesBackEverything)
{
    header_v09 header = renderHeader();
    hlvRenderSample5Aovs_t data = renderData();
    std::vector<std::string> files;
    for (unsigned seed : {1u, 1u, 2u}) {
        std::string path = tempPath(std::to_string(files.size()));
        std::srand(seed);
        ASSERT_EQ(hlvWriter_v9(path.c_str(), header, data, engine(42)), READER_OK);
        files.push_back(readBytes(path));
    }
    EXPECT_EQ(header.fileCode, -1);  // the caller's header is left alone
    std::string const &a = files[0], &c = files[2];
    EXPECT_EQ(a, files[1]);
    EXPECT_NE(writtenJson(a)["fileCode"], writtenJson(c)["fileCode"]);
    EXPECT_EQ(withoutFileCode(writtenJson(a)), withoutFileCode(writtenJson(c)));
    EXPECT_EQ(a.substr(20 + textLength(a)), c.substr(20 + textLength(c)));
    Read9 read = read9(tempPath("2"));
    ASSERT_EQ(read.answer, READER_OK);
    EXPECT_GE(read.hashSum, 0);
    EXPECT_EQ(getRenderEngineId(read.header.fileCode, read.hashSum), 42);
    EXPECT_EQ(jsonOf(read.header), jsonOf(header));  // the cameras' directions among the rest
    hlvRenderSample5Aovs_t const& back = read.data;
    ASSERT_TRUE(back.samples.size() == 3 && back.coordinates.size() == 2 && back.aovs.size() == data.aovs.size());
    EXPECT_EQ(std::memcmp(back.samples.data(), data.samples.data(), 3 * 28), 0);
    EXPECT_EQ(std::memcmp(back.coordinates.data(), data.coordinates.data(), 2 * 12), 0);
    EXPECT_EQ(back.completion, data.completion);
    EXPECT_TRUE(back.fillHoles.empty());
    for (std::size_t i = 0; i < data.aovs.size(); ++i) {
        AOVData expected = data.aovs[i];
        if (allAovTypes()[i % allAovTypes().size()] == AOVType(9))
            expected = AOVData();  // no block on either side: the slot stays zero
        EXPECT_EQ(std::memcmp(&back.aovs[i], &expected, sizeof(AOVData)), 0) << "slot " << i;
    }
}

TEST(ContainerRoundTrip, DetectFileGivesBackItsPlaquesAndVersion8SamplesReadBack)
{
    header_v09 header = renderHeader();
    header.rtype = true;
    header.AOVTypes.clear(), header.AOVNames.clear(), header.aovNums = 0;
    hlvRenderSample4Aovs_t data;
    DetectPlaqueInfo const plaque = {146, 65535, 1023, 0, 1, 0, 3, 1, 12.5f, {0.0f, 1.0f, -0.5f}};
    data.fillHoles = {plaque, DetectPlaqueInfo()};
    data.samples.resize(2);
    data.samples[1].x = 9;
    data.completion = {1, 1};
    std::string path = tempPath("detect");
    ASSERT_EQ(hlvWriter_v8(path.c_str(), header, data, engine(1)), READER_OK);
    EXPECT_EQ(readBytes(path).substr(14, 2), "\x09\x01");  // the version 8 writer says version 9 all the same
    header_v09 read;
    hlvRenderSample4Aovs_t back;
    int hashSum = -1;
    ASSERT_EQ(hlvReader_v8(path.c_str(), read, back, hashSum), READER_OK);
    ASSERT_TRUE(back.fillHoles.size() == 2 && back.samples.size() == 2);
    EXPECT_TRUE(samePlaque(back.fillHoles[0], plaque));
    EXPECT_EQ(back.samples[1].x, 9);
    EXPECT_EQ(back.completion, data.completion);
}

TEST(ContainerHeaderRules, VersionAndSubversionDecideTheCameras)
{
    std::string const text =
        R"({"globalScale":1,"eye":2,"cameras":[{"location":{"x":1.5,"y":-2,"z":3},"priority":7,)"
        R"("direction":{"minusX":true,"plusY":true,"minusZ":false}}],"AOVNames":["Diffuse","Cd_Right"],)"
        R"("AOVTypes":[3,4],"aovNums":1,"fillHoleCount":5,"tolerance":0.5,"CamToWorld00":2})"
        "\n";
    header_v09 read;
    read.cameras.directions = {0xAB00u};  // bits above the face mask are kept
    ASSERT_EQ(hlvReader_v9(handMade("v91", 9, 1, text, 0).c_str(), read), READER_OK);
    ASSERT_EQ(read.cameras.locations.size(), 1u);
    EXPECT_EQ(xyz(read.cameras.locations[0]), (std::vector<float>{1.5f, -2.0f, 3.0f}));
    EXPECT_EQ(read.cameras.priorities[0], 7.0f);
    EXPECT_EQ(read.cameras.directions[0], 0xAB00u | CAMERA_MINUS_X | CAMERA_PLUS_Y);
    EXPECT_EQ(read.AOVNames, std::vector<std::string>{"Diffuse"});  // only "aovNums" entries are taken
    EXPECT_EQ(read.fillHoleCount, 5u);
    EXPECT_EQ(read.CamToWorld[0], 2.0f);
    EXPECT_EQ(read.CamToWorld[5], 0.0f);  // missing keys read as zero
    header_v09 noCameras;
    ASSERT_EQ(hlvReader_v9(handMade("v91bare", 9, 1, "{\"eye\":2}\n", 0).c_str(), noCameras), READER_OK);
    EXPECT_TRUE(noCameras.cameras.locations.empty() && noCameras.cameras.directions.empty());
    header_v09 seven;
    seven.eye = 5, seven.ipd = 60.0f;
    ASSERT_EQ(HLVRender_header(handMade("v7", 7, 0, text, 0).c_str()).getHeaderData(seven), READER_OK);
    EXPECT_TRUE(seven.fillHoleCount == 0 && seven.tolerance == 0.0f && seven.CamToWorld[0] == 1.0f);
    EXPECT_TRUE(seven.eye == 5 && seven.ipd == 60.0f);  // left as they were
    Read9 before;
    before.header.frame = 3;
    Read9 tooNew = read9(handMade("v10", 10, 1, text, 3), before);
    EXPECT_EQ(tooNew.answer, READER_VERSION_TOO_NEW);
    EXPECT_TRUE(tooNew.header.frame == 3 && tooNew.hashSum == -9);  // both left alone
}

TEST(ContainerHeaderRules, SubversionZeroGetsTheDefaultRigPlacedInTheBox)
{
    header_v09 read;
    std::string text = "{\"globalScale\":2,\"boxScaleX\":1,\"boxScaleY\":1,\"boxScaleZ\":4,\"camOffsetZ\":1}\n";
    ASSERT_EQ(hlvReader_v9(handMade("v90", 9, 0, text, 0).c_str(), read), READER_OK);
    ASSERT_EQ(read.cameras.locations.size(), 256u);
    // The centre camera, offset one box of 2 / 2 * 100 along z.
    EXPECT_EQ(xyz(read.cameras.locations[146]), (std::vector<float>{0.0f, 0.0f, 200.0f}));
    EXPECT_EQ(read.cameras.directions[146], 63u);
    // The first camera stands at (-50, 30, -50) on the box's edge, looking out of its -X and -Z faces.
    EXPECT_EQ(xyz(read.cameras.locations[0]), (std::vector<float>{-25.0f, 15.0f, 100.0f}));
    EXPECT_EQ(read.cameras.priorities[0], 10.0f);
    EXPECT_EQ(read.cameras.directions[0], CAMERA_MINUS_X | CAMERA_MINUS_Z);
}

// An AOV count a little past the lists pads with unnamed byte channels; one the file can't back doesn't read.
TEST(ContainerHeaderRules, CountsBeyondTheListsPadOrAreRefused)
{
    header_v09 padded;
    std::string const three = "{\"aovNums\":3,\"AOVNames\":[\"a\",\"b\"],\"AOVTypes\":[4]}\n";
    ASSERT_EQ(hlvReader_v9(handMade("aov3", 9, 1, three, 0).c_str(), padded), READER_OK);
    EXPECT_EQ(padded.AOVNames, (std::vector<std::string>{"a", "b", ""}));
    EXPECT_EQ(padded.AOVTypes, (std::vector<AOVType>{HP::AOV_VEC4, HP::AOV_BYTE, HP::AOV_BYTE}));
    header_v09 negative;
    std::string const minusOne = "{\"aovNums\":-1,\"AOVNames\":[\"a\"],\"AOVTypes\":[4]}\n";
    EXPECT_EQ(hlvReader_v9(handMade("aovneg", 9, 1, minusOne, 0).c_str(), negative), READER_BAD_JSON);
    hlvRenderSample4Aovs_t data;
    int hashSum = 0;
    EXPECT_EQ(hlvReader_v7(handMade("aovneg7", 7, 0, minusOne, 2).c_str(), negative, data, hashSum),
              READER_BAD_JSON);
    // A count beyond an int, or a text that parses but is no object, throws the JSON error.
    EXPECT_THROW(hlvReader_v9(handMade("large", 9, 1, "{\"sampleNums\":3000000000}", 0).c_str(), negative),
                 std::exception);
    EXPECT_THROW(hlvReader_v9(handMade("array", 9, 1, "[1]", 0).c_str(), negative), std::exception);
}

TEST(ContainerReaderQuirks, FailedHeaderLoadsAreSwallowed)
{
    std::string missing = tempPath("missing");
    Read9 before;
    before.data.completion = {9};
    Read9 read = read9(missing, before);
    EXPECT_EQ(read.answer, READER_OK);
    EXPECT_TRUE(read.data.completion == before.data.completion && read.hashSum == -9);  // nothing read
    unsigned char version = 1, subversion = 1;
    EXPECT_EQ(HLVRender_header(missing.c_str()).getVersion(version, subversion), READER_BAD_MAGIC);
    EXPECT_EQ(version + subversion, 0);
    EXPECT_EQ(HLVRender_header().getVersion(version, subversion), READER_BAD_MAGIC);
    // A bad text or a bad magic leaves a zero header, and the blocks are read all the same.
    std::string badJson = handMade("badjson", 9, 1, "{\"eye\":", 3);
    writeBytes(badJson, readBytes(badJson) + std::string("\x01\0\0\0\0\0\0\0\x01", 9));
    EXPECT_EQ(HLVRender_header(badJson.c_str()).getVersion(version, subversion), READER_BAD_MAGIC);
    read = read9(badJson, before);
    EXPECT_TRUE(read.answer == READER_OK && read.header.eye == 0 && read.hashSum != -9);
    EXPECT_EQ(read.data.completion, std::vector<unsigned char>{1});
    std::string badMagic = tempPath("badmagic"), bytes = readBytes(badJson);
    bytes[1] = 'h';
    writeBytes(badMagic, bytes);
    EXPECT_FALSE(isHlvRender(badMagic.c_str()));
    read = read9(badMagic);
    EXPECT_TRUE(read.answer == READER_OK && read.header.eye == 0 && read.data.completion.size() == 1);
}

// Version 7: coordinates, samples of 24 bytes, AOVs, completion; no fill holes. The AOV lists are appended to
// what a header holds, so each read starts from a fresh one.
TEST(ContainerReaderQuirks, AVersion7BlockErrorLeavesTheSumAlone)
{
    std::string seven = handMade("v7", 7, 0, "{\"aovNums\":1,\"AOVTypes\":[0]}", 2), blocks = readBytes(seven);
    writeBytes(seven, blocks + std::string("\x02\0\0\0\0\0\0\0a", 9));  // an AOV block short of a byte
    header_v09 header;
    hlvRenderSample4Aovs_t old;
    int hashSum = -9;
    EXPECT_EQ(hlvReader_v7(seven.c_str(), header, old, hashSum), READER_DECOMPRESS_FAILED);
    EXPECT_EQ(hashSum, -9);
    writeBytes(seven, blocks + std::string("\x02\0\0\0\0\0\0\0ab\x01\0\0\0\0\0\0\0a", 19));
    EXPECT_EQ(hlvReader_v7(seven.c_str(), header = header_v09(), old, hashSum), READER_OK);
    EXPECT_TRUE(hashSum != -9 && old.completion == std::vector<unsigned char>{'a'});
}

// The version 9 reader keeps what it read before a bad block, and the sum; the last block's error is not told.
TEST(ContainerDamage, AFileCutAtEveryLengthAnswersACode)
{
    std::string path = tempPath("cut"), bytes = renderFileBytes(path);
    std::size_t completionStart = bytes.size() - 8 - 21;  // five flags in a 21-byte chunk
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        writeBytes(path, bytes.substr(0, length));
        int expected = length < completionStart ? READER_DECOMPRESS_FAILED : READER_OK;
        EXPECT_EQ(readAll(path)[0], expected) << "cut at " << length;
    }
    // The completion block is cut away, and the last AOV block (36 bytes) with it.
    writeBytes(path, bytes.substr(0, bytes.size() - 40));
    Read9 before;
    before.data.completion = {7};
    Read9 read = read9(path, before);
    EXPECT_EQ(read.answer, READER_DECOMPRESS_FAILED);
    EXPECT_TRUE(read.data.samples.size() == 3 && read.data.coordinates.size() == 2 && read.hashSum != -9);
    EXPECT_EQ(read.data.completion, std::vector<unsigned char>{7});  // not reached
}

TEST(ContainerDamage, FlippedBytesNeverCrashAReader)
{
    std::string path = tempPath("flipped"), bytes = renderFileBytes(path);
    for (unsigned char mask : {0x01, 0x10, 0xFF})
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            std::string damaged = bytes;
            damaged[at] = static_cast<char>(damaged[at] ^ mask);
            writeBytes(path, damaged);
            for (int answer : readAll(path))
                EXPECT_TRUE(answer == READER_OK || answer == READER_DECOMPRESS_FAILED ||
                            answer == READER_VERSION_TOO_NEW)
                    << "byte " << at << " answered " << answer;
        }
}

// The writer puts a point in the header's reals whatever the host's numeric locale, and gives the locale back,
// also when it fails.
TEST(ContainerLocale, WriterWritesPointsUnderACommaLocaleAndRestoresIt)
{
    for (char const* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "de_DE", "fr_FR"})
        if (std::setlocale(LC_NUMERIC, name))
            break;
    if (std::strcmp(std::localeconv()->decimal_point, ",") != 0) {
        std::setlocale(LC_NUMERIC, "C");
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    }
    std::string active = std::setlocale(LC_NUMERIC, nullptr), path = tempPath("comma");
    ASSERT_EQ(hlvWriter_v9(path.c_str(), renderHeader(), renderData(), engine(0)), READER_OK);
    EXPECT_EQ(std::setlocale(LC_NUMERIC, nullptr), active);
    EXPECT_NE(readBytes(path).find("\"ipd\":63.6"), std::string::npos);
    EXPECT_EQ(read9(path).header.ipd, 63.65f);
    EXPECT_EQ(hlvWriter_v9((path + "/none").c_str(), renderHeader(), renderData(), engine(0)), READER_OPEN_FAILED);
    EXPECT_EQ(std::setlocale(LC_NUMERIC, nullptr), active);
    std::setlocale(LC_NUMERIC, "C");
}

TEST(ContainerFunctions, NamesVersionsAndEngines)
{
    header_v07 header;
    header.AOVNames = {"Diffuse", "Cd_Right", "cd_right"};
    EXPECT_EQ(header.getVectorAovIndexByType(HP::AOV_VEC3, "cd_right"), 1);
    EXPECT_EQ(header.getVectorAovIndexByType(HP::AOV_BYTE, "DIFFUSE"), 0);
    EXPECT_EQ(header.getVectorAovIndexByType(HP::AOV_VEC3, "Diffuse "), -1);
    EXPECT_EQ(getRenderEngineId(-100, 0), -1);  // the signed remainder
    EXPECT_EQ(getRenderEngineId(2147483647, 8160), (2147483647LL + 8160) % 99);
    // An old file's version is read and the stream left past it; a container's leaves the stream alone.
    std::string old = tempPath("old"), container = handMade("new", 9, 1, "{}", 0), missing = tempPath("missing");
    writeBytes(old, "Version\x06rest");
    for (auto [path, version, position] : {std::make_tuple(old, 6, 8L), std::make_tuple(container, 0, 0L)}) {
        EXPECT_EQ(isHlvRender(path.c_str()), version == 0);
        FILE* file = std::fopen(path.c_str(), "rb");
        EXPECT_EQ(getHlvVersionReader(file), version);
        EXPECT_EQ(std::ftell(file), position);
        std::fclose(file);
    }
    EXPECT_FALSE(isHlvRender(missing.c_str()));
    std::string printed = captureStdout([&] { EXPECT_EQ(getHlvVersionReader(missing.c_str()), 0); });
    EXPECT_EQ(printed, "\t[HOLVANE] ERROR: cannot open file: " + missing + "\n");
    EXPECT_EQ(hlvWriter_v9((missing + "/x").c_str(), header_v09(), hlvRenderSample5Aovs_t(), engine(0)),
              READER_OPEN_FAILED);
}
