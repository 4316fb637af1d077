#ifndef HOLVANE_TESTS_LOG_CAPTURE_H
#define HOLVANE_TESTS_LOG_CAPTURE_H

#include <holvane/logger.h>

#include <algorithm>
#include <string>
#include <vector>

namespace HolvaneTest {

using Lines = std::vector<std::string>;

// While it lives, collects every message as "level|text" (newlines kept, no level header) instead of printing.
struct LogCapture {
    Lines lines;

    LogCapture()
    {
        using namespace Holvane::Logger;
        HvSetConsoleLogLevel(LogLevel(-1));
        HvSetCallBackLogLevel(TRACE, collect, this);
        HvSetCallbackCarriageReturnMode(CR_KEEP);
        HvSetLogLevelHeader(false);
    }
    ~LogCapture()
    {
        using namespace Holvane::Logger;
        HvSetCallBackLogLevel(LogLevel(-1), nullptr, nullptr);
        HvSetCallbackCarriageReturnMode(CR_STRIP);
        HvSetConsoleLogLevel(TRACE);
        HvSetLogLevelHeader(true);
    }

    bool has(std::string const& line) const { return std::find(lines.begin(), lines.end(), line) != lines.end(); }

    // The one line captured, or "<n lines>".
    std::string only() const { return lines.size() == 1 ? lines[0] : "<" + std::to_string(lines.size()) + " lines>"; }

    static void collect(Holvane::Logger::LogLevel const& level, char const* text, void* self)
    {
        static_cast<LogCapture*>(self)->lines.push_back(std::to_string(int(level)) + "|" + text);
    }
};

}  // namespace HolvaneTest

#endif
