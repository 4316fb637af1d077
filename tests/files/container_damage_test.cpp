#include "files/container_fixtures.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>

using namespace HolvaneTest;

namespace {

std::string writtenRenderFile(std::string const& name)
{
    std::string path = tempPath(name);
    hlvWriter_v9(path.c_str(), renderHeader(), renderData(), Holvane::Util::RenderingEngineId(5));
    return readBytes(path);
}

// Every reader on one damaged file; the answers, in reader order.
std::vector<int> readAll(std::string const& path)
{
    header_v09 header;
    hlvRenderSample5Aovs_t data;
    hlvRenderSample4Aovs_t old;
    int hashSum = 0;
    std::vector<int> answers;
    answers.push_back(hlvReader_v9(path.c_str(), header, data, hashSum));
    header = header_v09();
    answers.push_back(hlvReader_v8(path.c_str(), header, old, hashSum));
    header = header_v09();
    answers.push_back(hlvReader_v7(path.c_str(), header, old, hashSum));
    unsigned char version = 0, subversion = 0;
    HLVRender_header(path.c_str()).getVersion(version, subversion);
    return answers;
}

}  // namespace

TEST(ContainerDamage, AFileCutAtEveryLengthAnswersACode)
{
    std::string bytes = writtenRenderFile("whole");
    std::string path = tempPath("cut");
    std::size_t completionStart = bytes.size() - 8 - 21;  // five flags in a 21-byte chunk
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        writeBytes(path, bytes.substr(0, length));
        int expected = length < completionStart ? READER_DECOMPRESS_FAILED : READER_OK;  // the last block's
        EXPECT_EQ(readAll(path)[0], expected) << "cut at " << length;                     // error is not told
    }
}

TEST(ContainerDamage, FlippedBytesNeverCrashAReader)
{
    std::string bytes = writtenRenderFile("whole");
    std::string path = tempPath("flipped");
    for (unsigned char mask : {0x01, 0x10, 0xFF}) {
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
}

// The writer puts a point in the header's reals whatever the host's numeric locale, and gives the locale back.
TEST(ContainerLocale, WriterWritesPointsUnderACommaLocaleAndRestoresIt)
{
    char const* commaLocale = nullptr;
    for (char const* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "de_DE", "fr_FR"})
        if (std::setlocale(LC_NUMERIC, name)) {
            commaLocale = name;
            break;
        }
    if (!commaLocale || std::strcmp(std::localeconv()->decimal_point, ",") != 0) {
        std::setlocale(LC_NUMERIC, "C");
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    }
    std::string active = std::setlocale(LC_NUMERIC, nullptr);
    std::string path = tempPath("comma");
    header_v09 header = renderHeader();
    ASSERT_EQ(hlvWriter_v9(path.c_str(), header, renderData(), Holvane::Util::RenderingEngineId(0)), READER_OK);
    EXPECT_EQ(std::setlocale(LC_NUMERIC, nullptr), active);
    EXPECT_NE(readBytes(path).find("\"ipd\":63.6"), std::string::npos);
    header_v09 read;
    EXPECT_EQ(hlvReader_v9(path.c_str(), read), READER_OK);
    EXPECT_EQ(read.ipd, 63.65f);
    EXPECT_EQ(hlvWriter_v9((path + "/none").c_str(), header, renderData(), Holvane::Util::RenderingEngineId(0)),
              READER_OPEN_FAILED);
    EXPECT_EQ(std::setlocale(LC_NUMERIC, nullptr), active);
    std::setlocale(LC_NUMERIC, "C");
}
