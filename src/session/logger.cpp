#include <holvane/logger.h>

#include "session/logger_internal.h"

#include <atomic>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <new>
#include <string>

namespace Holvane {
namespace Logger {
inline namespace v2_0 {

namespace {

struct MemoryNode {
    MemoryNode* next;
    LogLevel level;
    std::string text;
};

// The process-wide logger. It outlives every phase; HvInitPhase never touches it. The mutex guards each
// route separately, so two threads' messages may interleave between routes but never within one route.
// The header switches and the carriage-return mode are plain stores, kept atomic so that a store racing a
// message is well defined.
struct Logger {
    MemoryNode* memoryHead = nullptr;
    MemoryNode* memoryTail = nullptr;
    std::FILE* logFile = nullptr;
    LogCallback callback = nullptr;
    void* callbackUserData = nullptr;
    std::atomic<std::int32_t> carriageReturnMode{CR_STRIP};
    std::mutex mutex;
    std::int32_t memoryLevel = -1;  // no setter raises it, so the memory route stays empty
    std::int32_t fileLevel = 0;
    std::int32_t messageBoxLevel = -1;  // kept for the failure report; no route uses it
    std::int32_t consoleLevel = 4;
    std::int32_t callbackLevel = -1;
    bool memoryFailed = false;
    bool fileFailed = false;
    bool messageBoxFailed = false;
    bool consoleFailed = false;
    std::atomic<bool> dateHeader{false};
    std::atomic<bool> levelHeader{true};
    std::atomic<bool> headerEnabled{true};
    bool progressBarMode = true;
    unsigned long long progressTotal = 100;
    unsigned long long progressCurrent = 0;
    float progressPercent = 0.0f;
    std::int32_t progressSteps = 61;
    float progressAccumulator = 0.0f;
    std::int32_t progressMarks = 0;
    bool progressDone = true;

    ~Logger();
};

Logger g_logger;

Logger::~Logger()
{
    bool flags[4];
    {
        std::lock_guard<std::mutex> lock(mutex);
        flags[0] = memoryFailed;
        flags[1] = fileFailed;
        flags[2] = messageBoxFailed;
        flags[3] = consoleFailed;
        memoryFailed = fileFailed = messageBoxFailed = consoleFailed = false;
    }
    // "occured" is the wording hosts already grep for.
    static char const* const reports[4] = {
        "A logging error occured and not all messages have been logged to memory.",
        "A logging error occured and not all messages have been logged to file.",
        "Logging to messagebox has failed, which is not possible so actually something worse is going on?!",
        "Logging to console has failed, which is not possible so actually something worse is going on?!",
    };
    for (int i = 0; i < 4; ++i)
        if (flags[i])
            std::puts(reports[i]);

    while (memoryHead) {
        MemoryNode* next = memoryHead->next;
        delete memoryHead;
        memoryHead = next;
    }
    if (logFile)
        std::fclose(logFile);
}

bool passes(LogLevel level, std::int32_t threshold)
{
    return static_cast<std::int32_t>(level) <= threshold;
}

void appendLevelName(std::string& out, LogLevel level)
{
    static char const* const names[5] = {"ERROR", "WARNING", "INFO", "DEBUG", "TRACE"};
    if (level >= 0 && level <= 4) {
        out += names[level];
        return;
    }
    char number[16];
    std::snprintf(number, sizeof number, "%d", static_cast<int>(level));
    out += number;
}

std::string header(LogLevel level)
{
    std::string out;
    if (!g_logger.headerEnabled.load(std::memory_order_relaxed))
        return out;
    if (g_logger.dateHeader.load(std::memory_order_relaxed)) {
        char date[80];
        std::time_t now = std::time(nullptr);
        std::tm local;
        localtime_r(&now, &local);
        std::size_t n = std::strftime(date, sizeof date, "[%d-%m-%Y %I:%M:%S] ", &local);
        out.append(date, n);
    }
    if (g_logger.levelHeader.load(std::memory_order_relaxed)) {
        out += '[';
        appendLevelName(out, level);
        out += "] ";
    }
    return out;
}

void sendToFile(LogLevel level, std::string const& text)
{
    std::lock_guard<std::mutex> lock(g_logger.mutex);
    if (!g_logger.logFile || !passes(level, g_logger.fileLevel))
        return;
    if (std::fputs(text.c_str(), g_logger.logFile) < 0 || std::fflush(g_logger.logFile) != 0)
        g_logger.fileFailed = true;
}

void sendToMemory(LogLevel level, std::string const& text)
{
    std::lock_guard<std::mutex> lock(g_logger.mutex);
    if (!passes(level, g_logger.memoryLevel))
        return;
    MemoryNode* node = new (std::nothrow) MemoryNode;
    if (!node) {
        g_logger.memoryFailed = true;
        return;
    }
    try {
        node->text = text;
    } catch (std::bad_alloc const&) {
        delete node;
        g_logger.memoryFailed = true;
        return;
    }
    node->next = nullptr;
    node->level = level;
    if (g_logger.memoryTail)
        g_logger.memoryTail->next = node;
    else
        g_logger.memoryHead = node;
    g_logger.memoryTail = node;
}

void sendToConsole(LogLevel level, std::string const& text)
{
    std::lock_guard<std::mutex> lock(g_logger.mutex);
    if (!passes(level, g_logger.consoleLevel))
        return;
    for (char c : text)
        if (std::putchar(static_cast<unsigned char>(c)) == EOF)
            g_logger.consoleFailed = true;
}

// The callback's copy: 4096 characters at most, plus room for an appended newline and the terminator.
// (A newline appended to a full text lands where the terminator would have been; the extra byte keeps the
// callback's string terminated.)
constexpr std::size_t kCallbackChars = 4096;

void sendToCallback(LogLevel level, std::string const& text)
{
    std::lock_guard<std::mutex> lock(g_logger.mutex);
    if (!passes(level, g_logger.callbackLevel))
        return;
    std::int32_t mode = g_logger.carriageReturnMode.load(std::memory_order_relaxed);
    char buffer[kCallbackChars + 2] = {0};
    char const* out = text.c_str();
    if (mode == CR_STRIP || mode == CR_ENSURE) {
        std::size_t length = std::strlen(text.c_str());
        if (length > kCallbackChars)
            length = kCallbackChars;
        std::memcpy(buffer, text.c_str(), length);
        bool endsInNewline = length > 0 && buffer[length - 1] == '\n';
        if (mode == CR_STRIP && endsInNewline)
            buffer[length - 1] = '\0';
        else if (mode == CR_ENSURE && !endsInNewline)
            buffer[length] = '\n';
        out = buffer;
    }
    // The mutex stays held during the call: a callback must neither log nor call a logger setter.
    if (g_logger.callback)
        g_logger.callback(level, out, g_logger.callbackUserData);
}

void send(LogLevel level, char const* message)
{
    std::string text = header(level);
    text += message;
    sendToFile(level, text);
    sendToMemory(level, text);
    sendToConsole(level, text);
    sendToCallback(level, text);
}

// Progress bar output carries no header: it is switched off around the output and restored after it.
void logProgress(bool bar, char const* format, ...)
{
    char buffer[64] = {0};
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (!bar) {
        send(INFO, buffer);
        return;
    }
    bool previous = g_logger.headerEnabled.exchange(false);
    send(INFO, buffer);
    g_logger.headerEnabled.store(previous);
}

}  // namespace

}  // namespace v2_0
}  // namespace Logger

namespace Internal {

void setProgressBarMode(bool bar)
{
    std::lock_guard<std::mutex> lock(Logger::g_logger.mutex);
    Logger::g_logger.progressBarMode = bar;
}

}  // namespace Internal

namespace Logger {
inline namespace v2_0 {

void HvOutputLogString(LogLevel const& level, char const* format, ...)
{
    char buffer[10240] = {0};
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    send(level, buffer);
}

void HvOutputLogCStr(LogLevel const& level, char const* text)
{
    send(level, text ? text : "");
}

void HvSetConsole(bool enabled)
{
    // Only silencing is possible here; HvSetConsoleLogLevel brings the console back.
    if (!enabled) {
        std::lock_guard<std::mutex> lock(g_logger.mutex);
        g_logger.consoleLevel = -1;
    }
}

void HvSetConsoleLogLevel(LogLevel level)
{
    std::lock_guard<std::mutex> lock(g_logger.mutex);
    g_logger.consoleLevel = level;
}

void HvSetFileLogLevel(LogLevel level, char const* path, char const* mode)
{
    std::lock_guard<std::mutex> lock(g_logger.mutex);
    if (!g_logger.logFile && !path) {
        std::printf("A file path is required to enable file logging.");
        return;
    }
    if (!g_logger.logFile) {
        g_logger.logFile = std::fopen(path, mode ? mode : "w");
        if (!g_logger.logFile) {
            std::printf("Could not open file for logging %s.", path);
            return;
        }
    } else if (path) {
        std::printf("Disable the file log first before opening a new file to log to.");
        return;
    }
    g_logger.fileLevel = level;
}

void HvSetCallBackLogLevel(LogLevel level, LogCallback callback, void* userData)
{
    std::lock_guard<std::mutex> lock(g_logger.mutex);
    g_logger.callbackLevel = level;
    g_logger.callback = callback;
    g_logger.callbackUserData = userData;
}

void HvSetCallbackCarriageReturnMode(CarriageReturnMode mode)
{
    g_logger.carriageReturnMode.store(mode, std::memory_order_relaxed);
}

void HvSetDateHeader(bool enabled)
{
    g_logger.dateHeader.store(enabled, std::memory_order_relaxed);
}

void HvSetLogLevelHeader(bool enabled)
{
    g_logger.levelHeader.store(enabled, std::memory_order_relaxed);
}

void HvHeaderEnable(bool enabled)
{
    g_logger.headerEnabled.store(enabled, std::memory_order_relaxed);
}

void HvResetprogress(unsigned long long const& total)
{
    bool bar;
    {
        std::lock_guard<std::mutex> lock(g_logger.mutex);
        // progressPercent stays: a completion right after a reset starts from the last progress's percent.
        g_logger.progressAccumulator = 0.0f;
        g_logger.progressMarks = 0;
        g_logger.progressCurrent = 0;
        g_logger.progressDone = false;
        g_logger.progressTotal = total;
        bar = g_logger.progressBarMode;
    }
    if (bar)
        logProgress(true, " |");
    else
        logProgress(false, "0%%\n");
}

void HvIncreaseprogress()
{
    unsigned long long current;
    unsigned long long total;
    float percent;
    std::int32_t steps;
    bool bar;
    {
        std::lock_guard<std::mutex> lock(g_logger.mutex);
        if (g_logger.progressDone)
            return;
        g_logger.progressCurrent += 1;
        g_logger.progressAccumulator += 1.0f;
        float marksEvery = static_cast<float>(g_logger.progressTotal) / static_cast<float>(g_logger.progressSteps);
        if (g_logger.progressAccumulator <= marksEvery)
            return;
        g_logger.progressMarks += 1;
        g_logger.progressAccumulator = 0.0f;
        g_logger.progressPercent =
            static_cast<float>(g_logger.progressCurrent) / static_cast<float>(g_logger.progressTotal) * 100.0f;
        current = g_logger.progressCurrent;
        total = g_logger.progressTotal;
        percent = g_logger.progressPercent;
        steps = g_logger.progressSteps;
        bar = g_logger.progressBarMode;
    }
    // Output runs outside the mutex, so marks of two threads may come out of order.
    if (current <= total) {
        if (bar)
            logProgress(true, "-");
        else
            logProgress(false, "%i%%\n", static_cast<int>(percent));
        return;
    }
    // A progress of fewer steps than marks (61/total above one) never ends itself; HvSetDoneProgression does.
    if (static_cast<float>(steps) / static_cast<float>(total) <= 1.0f) {
        if (bar)
            logProgress(true, "| Done\n");
        else
            logProgress(false, "100%%\n");
        std::lock_guard<std::mutex> lock(g_logger.mutex);
        g_logger.progressDone = true;
    }
}

void HvSetDoneProgression()
{
    std::int32_t marks;
    std::int32_t steps;
    float percent;
    bool bar;
    {
        std::lock_guard<std::mutex> lock(g_logger.mutex);
        if (g_logger.progressDone)
            return;
        marks = g_logger.progressMarks;
        steps = g_logger.progressSteps;
        percent = g_logger.progressPercent;
        bar = g_logger.progressBarMode;
    }
    std::int32_t remainingMarks = steps - marks;
    float remainingPercent = 100.0f - percent;
    int k = 1;
    // Both ends included: one mark more than remain.
    for (std::int32_t mark = marks; mark <= steps; ++mark, ++k) {
        if (bar)
            logProgress(true, "-");
        else
            logProgress(false, "%i%%\n",
                        static_cast<int>(std::trunc(k * (remainingPercent / (remainingMarks + 2)) + percent)));
    }
    if (bar)
        logProgress(true, "| Done\n");
    else
        logProgress(false, "100%%\n");
    std::lock_guard<std::mutex> lock(g_logger.mutex);
    g_logger.progressDone = true;
}

}  // namespace v2_0
}  // namespace Logger
}  // namespace Holvane
