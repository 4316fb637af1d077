#include <holvane/logger.h>

#include "common/capture.h"
#include "session/logger_internal.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace Holvane::Logger;
using HolvaneTest::captureStdout;
using HolvaneTest::runInChild;

namespace {

struct Received {
    std::vector<std::string> texts;
    std::vector<LogLevel> levels;
};

void collect(LogLevel const& level, char const* text, void* user)
{
    auto* received = static_cast<Received*>(user);
    received->texts.push_back(text);
    received->levels.push_back(level);
}

std::string joined(std::vector<std::string> const& parts)
{
    std::string out;
    for (auto const& p : parts)
        out += p;
    return out;
}

// Routes everything to a collecting callback with the console off, and puts the defaults back afterwards.
class LoggerTest : public ::testing::Test {
protected:
    Received received;

    void SetUp() override
    {
        HvSetConsoleLogLevel(LogLevel(-1));
        HvSetCallBackLogLevel(TRACE, collect, &received);
        HvSetCallbackCarriageReturnMode(CR_KEEP);
    }

    void TearDown() override
    {
        HvSetCallBackLogLevel(LogLevel(-1), nullptr, nullptr);
        HvSetCallbackCarriageReturnMode(CR_STRIP);
        HvSetConsoleLogLevel(TRACE);
        HvSetDateHeader(false);
        HvSetLogLevelHeader(true);
        HvHeaderEnable(true);
        Holvane::Internal::setProgressBarMode(true);
        HvSetDoneProgression();
    }
};

}  // namespace

TEST(LoggerConsole, DefaultsPrintTraceWithItsLevelAndSilencingNeedsALevelToComeBack)
{
    EXPECT_EQ(captureStdout([] { HvOutputLogString(TRACE, "value %d\n", 42); }), "[TRACE] value 42\n");

    std::string out = captureStdout([] {
        HvSetConsole(false);
        HvOutputLogCStr(ERROR, "silenced\n");
        HvSetConsole(true);  // does not bring the console back
        HvOutputLogCStr(ERROR, "still silenced\n");
        HvSetConsoleLogLevel(WARNING);
        HvOutputLogCStr(INFO, "above the threshold\n");
        HvOutputLogCStr(WARNING, "at the threshold\n");
        HvOutputLogCStr(ERROR, "below it\n");
        HvSetConsoleLogLevel(TRACE);
    });
    EXPECT_EQ(out, "[WARNING] at the threshold\n[ERROR] below it\n");
}

TEST_F(LoggerTest, HeadersFollowTheirSwitches)
{
    HvOutputLogCStr(INFO, "a");
    HvSetLogLevelHeader(false);
    HvOutputLogCStr(INFO, "b");
    HvSetLogLevelHeader(true);
    HvSetDateHeader(true);
    HvOutputLogCStr(DEBUG, "c");
    HvHeaderEnable(false);
    HvOutputLogCStr(DEBUG, "d");
    ASSERT_EQ(received.texts.size(), 4u);
    EXPECT_EQ(received.texts[0], "[INFO] a");
    EXPECT_EQ(received.texts[1], "b");
    EXPECT_TRUE(std::regex_match(received.texts[2],
                                 std::regex(R"(\[\d\d-\d\d-\d{4} \d\d:\d\d:\d\d\] \[DEBUG\] c)")))
        << received.texts[2];
    EXPECT_EQ(received.texts[3], "d");
    EXPECT_EQ(received.levels[2], DEBUG);
}

TEST_F(LoggerTest, FormattedMessagesAreCutAt10239CharactersAndCStrIsNotFormatted)
{
    std::string longText(20000, 'x');
    HvHeaderEnable(false);
    HvOutputLogString(ERROR, "%s", longText.c_str());
    HvOutputLogCStr(ERROR, "100%d");
    HvOutputLogCStr(ERROR, longText.c_str());
    ASSERT_EQ(received.texts.size(), 3u);
    EXPECT_EQ(received.texts[0], std::string(10239, 'x'));
    EXPECT_EQ(received.texts[1], "100%d");
    EXPECT_EQ(received.texts[2], longText);  // CR_KEEP passes the text whole
}

TEST_F(LoggerTest, CallbackCarriageReturnModes)
{
    HvHeaderEnable(false);
    HvSetCallbackCarriageReturnMode(CR_STRIP);
    HvOutputLogCStr(INFO, "one\n\n");
    HvOutputLogCStr(INFO, "two");
    HvOutputLogCStr(INFO, (std::string(5000, 's') + "\n").c_str());
    HvSetCallbackCarriageReturnMode(CR_ENSURE);
    HvOutputLogCStr(INFO, "three");
    HvOutputLogCStr(INFO, "four\n");
    HvOutputLogCStr(INFO, "");
    HvOutputLogCStr(INFO, std::string(5000, 'e').c_str());
    HvSetCallbackCarriageReturnMode(CarriageReturnMode(7));  // any other value keeps the text
    HvOutputLogCStr(INFO, "five\n");

    std::vector<std::string> expected = {
        "one\n", "two", std::string(4096, 's'), "three\n", "four\n", "\n", std::string(4096, 'e') + "\n", "five\n",
    };
    EXPECT_EQ(received.texts, expected);
}

TEST_F(LoggerTest, CallbackThresholdAndUserData)
{
    Received other;
    HvSetCallBackLogLevel(WARNING, collect, &other);
    HvOutputLogCStr(INFO, "dropped");
    HvOutputLogCStr(WARNING, "kept");
    HvOutputLogCStr(LogLevel(-3), "more important than ERROR");
    EXPECT_TRUE(received.texts.empty());
    ASSERT_EQ(other.texts.size(), 2u);
    EXPECT_EQ(other.texts[0], "[WARNING] kept");
    EXPECT_EQ(other.levels[1], LogLevel(-3));
}

TEST_F(LoggerTest, ProgressBarMarksEachOfTheFirstTenCallsForTenSteps)
{
    HvResetprogress(10);
    for (int i = 0; i < 30; ++i)
        HvIncreaseprogress();
    // 10/61 is below one, so every call up to the total prints a mark; past the total 61/10 is above one,
    // so nothing ends the bar until HvSetDoneProgression.
    EXPECT_EQ(joined(received.texts), " |" + std::string(10, '-'));
    received.texts.clear();
    HvSetDoneProgression();
    // Calls past the total still count as marks without printing one: the rest runs from 30 to 61.
    EXPECT_EQ(joined(received.texts), std::string(32, '-') + "| Done\n");
    received.texts.clear();
    HvSetDoneProgression();
    HvIncreaseprogress();
    EXPECT_TRUE(received.texts.empty());
    for (LogLevel level : received.levels)
        EXPECT_EQ(level, INFO);
}

TEST_F(LoggerTest, ProgressBarOfAHundredStepsEndsItself)
{
    HvResetprogress(100);
    for (int i = 0; i < 102; ++i)
        HvIncreaseprogress();
    // 100/61 in single precision: a mark every second call, "| Done" on the first mark past the total.
    EXPECT_EQ(joined(received.texts), " |" + std::string(50, '-') + "| Done\n");
    EXPECT_EQ(received.texts.front(), " |");  // bar output never carries a header
}

TEST_F(LoggerTest, PercentageModeWithHeaders)
{
    Holvane::Internal::setProgressBarMode(false);
    HvResetprogress(4);
    for (int i = 0; i < 3; ++i)
        HvIncreaseprogress();
    HvSetDoneProgression();
    // Three marks of four; then k = 1..59 of (100 - 75) / (58 + 2) added to 75, truncated.
    std::vector<std::string> expected = {"[INFO] 0%\n", "[INFO] 25%\n", "[INFO] 50%\n", "[INFO] 75%\n"};
    float r = 25.0f / 60;
    for (int k = 1; k <= 59; ++k)
        expected.push_back("[INFO] " + std::to_string(static_cast<int>(k * r + 75.0f)) + "%\n");
    expected.push_back("[INFO] 100%\n");
    EXPECT_EQ(received.texts, expected);
}

TEST_F(LoggerTest, ConcurrentMessagesAreNeverTornOnARoute)
{
    std::string fileOut = testing::TempDir() + "hv-logger-threads.log";
    std::string childOut = runInChild([&] {
        HvSetFileLogLevel(TRACE, fileOut.c_str(), "w");
        std::vector<std::thread> threads;
        for (int t = 0; t < 6; ++t)
            threads.emplace_back([t] {
                for (int i = 0; i < 400; ++i)
                    HvOutputLogString(INFO, "thread %d message %d %s\n", t, i, std::string(40, char('a' + t)).c_str());
            });
        for (auto& th : threads)
            th.join();
    });
    EXPECT_EQ(childOut, "");

    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 400; ++i)
                HvOutputLogString(INFO, "thread %d message %d %s\n", t, i, std::string(40, char('a' + t)).c_str());
        });
    for (auto& th : threads)
        th.join();

    std::regex line(R"(\[INFO\] thread (\d) message \d+ ([a-f])\2{39}\n?)");
    ASSERT_EQ(received.texts.size(), 2400u);
    for (auto const& text : received.texts)
        ASSERT_TRUE(std::regex_match(text, line)) << text;

    std::ifstream file(fileOut);
    std::string fileLine;
    int lines = 0;
    while (std::getline(file, fileLine)) {
        ASSERT_TRUE(std::regex_match(fileLine, line)) << fileLine;
        ++lines;
    }
    EXPECT_EQ(lines, 2400);
}

// The log file lives once per process, so each of these runs in a child of its own.
TEST(LoggerFile, OpeningRulesAndMessages)
{
    std::string path = testing::TempDir() + "hv-logger-file.log";
    std::string out = runInChild([&] {
        HvSetConsoleLogLevel(LogLevel(-1));
        HvSetFileLogLevel(INFO, nullptr, "w");
        HvSetFileLogLevel(INFO, "/nonexistent-dir/x.log", "w");
        HvSetFileLogLevel(INFO, path.c_str(), "w");
        HvOutputLogCStr(INFO, "first\n");
        HvOutputLogCStr(DEBUG, "too detailed\n");
        HvSetFileLogLevel(TRACE, path.c_str(), "w");
        HvSetFileLogLevel(DEBUG, nullptr, nullptr);  // with a file open, a null path changes the level
        HvOutputLogCStr(DEBUG, "second\n");
    });
    EXPECT_EQ(out, "A file path is required to enable file logging."
                   "Could not open file for logging /nonexistent-dir/x.log."
                   "Disable the file log first before opening a new file to log to.");
    std::ifstream file(path);
    std::stringstream content;
    content << file.rdbuf();
    EXPECT_EQ(content.str(), "[INFO] first\n[DEBUG] second\n");
}

TEST(LoggerFile, DefaultFileLevelIsErrorAndAFailedFileIsReportedAtUnload)
{
    std::string path = testing::TempDir() + "hv-logger-default.log";
    EXPECT_EQ(runInChild([&] {
                  HvSetConsoleLogLevel(LogLevel(-1));
                  HvSetFileLogLevel(ERROR, path.c_str(), "w");
                  HvOutputLogCStr(WARNING, "not written\n");
                  HvOutputLogCStr(ERROR, "written\n");
              }),
              "");
    std::ifstream file(path);
    std::stringstream content;
    content << file.rdbuf();
    EXPECT_EQ(content.str(), "[ERROR] written\n");

    std::string out = runInChild([] {
        HvSetConsoleLogLevel(LogLevel(-1));
        HvSetFileLogLevel(ERROR, "/dev/full", "w");
        HvOutputLogCStr(ERROR, "cannot be written\n");
    });
    EXPECT_EQ(out, "A logging error occured and not all messages have been logged to file.\n");
}
