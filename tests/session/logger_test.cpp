#include <holvane/logger.h>

#include "common/capture.h"
#include "common/log_capture.h"
#include "session/logger_internal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace Holvane::Logger;
using HolvaneTest::captureStdout;
using HolvaneTest::Lines;
using HolvaneTest::LogCapture;
using HolvaneTest::runInChild;

namespace {


// The captured lines run together, with the "2|" of INFO dropped: a line at another level shows its level.
std::string joinedInfo(Lines const& lines)
{
    std::string out;
    for (auto const& line : lines)
        out += line.compare(0, 2, "2|") == 0 ? line.substr(2) : line;
    return out;
}

// The texts, each at `level`, as the capture holds them.
Lines atLevel(int level, Lines texts)
{
    for (std::string& text : texts)
        text = std::to_string(level) + "|" + text;
    return texts;
}

// Captures every message with its level header on, and puts the other switches back afterwards.
class LoggerTest : public ::testing::Test {
protected:
    LogCapture log;

    LoggerTest() { HvSetLogLevelHeader(true); }
    void TearDown() override
    {
        HvSetDateHeader(false), HvHeaderEnable(true);
        Holvane::Internal::setProgressBarMode(true);
        HvSetDoneProgression();
    }
};

// Six threads of 400 messages each, every message telling its thread by its letters.
void logFromSixThreads()
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 400; ++i)
                HvOutputLogString(INFO, "thread %d message %d %s\n", t, i, std::string(40, char('a' + t)).c_str());
        });
    for (auto& thread : threads)
        thread.join();
}

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
    ASSERT_EQ(log.lines.size(), 4u);
    EXPECT_EQ(log.lines[0], "2|[INFO] a");
    EXPECT_EQ(log.lines[1], "2|b");
    EXPECT_TRUE(std::regex_match(log.lines[2], std::regex(R"(3\|\[\d\d-\d\d-\d{4} \d\d:\d\d:\d\d\] \[DEBUG\] c)")))
        << log.lines[2];
    EXPECT_EQ(log.lines[3], "3|d");
}

TEST_F(LoggerTest, FormattedMessagesAreCutAt10239CharactersAndCStrIsNotFormatted)
{
    std::string longText(20000, 'x');
    HvHeaderEnable(false);
    HvOutputLogString(ERROR, "%s", longText.c_str());
    HvOutputLogCStr(ERROR, "100%d");
    HvOutputLogCStr(ERROR, longText.c_str());
    // CR_KEEP passes the text whole
    EXPECT_EQ(log.lines, atLevel(ERROR, {std::string(10239, 'x'), "100%d", longText}));
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
    EXPECT_EQ(log.lines, atLevel(INFO, {"one\n", "two", std::string(4096, 's'), "three\n", "four\n", "\n",
                                        std::string(4096, 'e') + "\n", "five\n"}));
}

TEST_F(LoggerTest, CallbackThresholdAndUserData)
{
    LogCapture other;
    HvSetLogLevelHeader(true);
    HvSetCallBackLogLevel(WARNING, LogCapture::collect, &other);
    HvOutputLogCStr(INFO, "dropped");
    HvOutputLogCStr(WARNING, "kept");
    HvOutputLogCStr(LogLevel(-3), "more important than ERROR");
    EXPECT_TRUE(log.lines.empty());
    ASSERT_EQ(other.lines.size(), 2u);
    EXPECT_EQ(other.lines[0], "1|[WARNING] kept");
    EXPECT_EQ(other.lines[1].substr(0, 3), "-3|");
}

TEST_F(LoggerTest, ProgressBarMarksEachOfTheFirstTenCallsForTenSteps)
{
    HvResetprogress(10);
    for (int i = 0; i < 30; ++i)
        HvIncreaseprogress();
    // 10/61 is below one, so every call up to the total prints a mark; past the total 61/10 is above one,
    // so nothing ends the bar until HvSetDoneProgression.
    EXPECT_EQ(joinedInfo(log.lines), " |" + std::string(10, '-'));
    log.lines.clear();
    HvSetDoneProgression();
    // Calls past the total still count as marks without printing one: the rest runs from 30 to 61.
    EXPECT_EQ(joinedInfo(log.lines), std::string(32, '-') + "| Done\n");
    log.lines.clear();
    HvSetDoneProgression();
    HvIncreaseprogress();
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(LoggerTest, ProgressBarOfAHundredStepsEndsItself)
{
    HvResetprogress(100);
    for (int i = 0; i < 102; ++i)
        HvIncreaseprogress();
    // 100/61 in single precision: a mark every second call, "| Done" on the first mark past the total.
    EXPECT_EQ(joinedInfo(log.lines), " |" + std::string(50, '-') + "| Done\n");
    EXPECT_EQ(log.lines.front(), "2| |");  // bar output never carries a header
}

TEST_F(LoggerTest, PercentageModeWithHeaders)
{
    Holvane::Internal::setProgressBarMode(false);
    HvResetprogress(4);
    for (int i = 0; i < 3; ++i)
        HvIncreaseprogress();
    HvSetDoneProgression();
    // Three marks of four; then k = 1..59 of (100 - 75) / (58 + 2) added to 75, truncated.
    Lines expected = {"[INFO] 0%\n", "[INFO] 25%\n", "[INFO] 50%\n", "[INFO] 75%\n"};
    float r = 25.0f / 60;
    for (int k = 1; k <= 59; ++k)
        expected.push_back("[INFO] " + std::to_string(static_cast<int>(k * r + 75.0f)) + "%\n");
    expected.push_back("[INFO] 100%\n");
    EXPECT_EQ(log.lines, atLevel(INFO, expected));
}

TEST_F(LoggerTest, ConcurrentMessagesAreNeverTornOnARoute)
{
    std::string fileOut = testing::TempDir() + "hv-logger-threads.log";
    std::string childOut = runInChild([&] {
        HvSetFileLogLevel(TRACE, fileOut.c_str(), "w");
        logFromSixThreads();
    });
    EXPECT_EQ(childOut, "");
    logFromSixThreads();

    std::regex line(R"(\[INFO\] thread (\d) message \d+ ([a-f])\2{39}\n?)");
    ASSERT_EQ(log.lines.size(), 2400u);
    for (auto const& text : log.lines)
        ASSERT_TRUE(text.compare(0, 2, "2|") == 0 && std::regex_match(text.substr(2), line)) << text;

    std::string const written = HolvaneTest::readBytes(fileOut);
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 2400);
    std::istringstream file(written);
    for (std::string fileLine; std::getline(file, fileLine);)
        ASSERT_TRUE(std::regex_match(fileLine, line)) << fileLine;
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
    EXPECT_EQ(HolvaneTest::readBytes(path), "[INFO] first\n[DEBUG] second\n");
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
    EXPECT_EQ(HolvaneTest::readBytes(path), "[ERROR] written\n");

    std::string out = runInChild([] {
        HvSetConsoleLogLevel(LogLevel(-1));
        HvSetFileLogLevel(ERROR, "/dev/full", "w");
        HvOutputLogCStr(ERROR, "cannot be written\n");
    });
    EXPECT_EQ(out, "A logging error occured and not all messages have been logged to file.\n");
}
