#ifndef HOLVANE_TESTS_LOG_CAPTURE_H
#define HOLVANE_TESTS_LOG_CAPTURE_H

#include <holvane/logger.h>

#include <string>
#include <vector>

namespace HolvaneTest {

struct LogLine {
    Holvane::Logger::LogLevel level;
    std::string text;
};

// Collects every message, at every level and with its newlines untouched, while it lives; the console is
// silenced and the level header off meanwhile. Restores the logger's defaults afterwards.
class LogCapture {
public:
    std::vector<LogLine> lines;

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

    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;

    std::vector<std::string> texts() const
    {
        std::vector<std::string> out;
        for (LogLine const& line : lines)
            out.push_back(line.text);
        return out;
    }

    // The one line captured so far, as "level|text"; "<n lines>" when there are none or several.
    std::string only() const
    {
        if (lines.size() != 1)
            return "<" + std::to_string(lines.size()) + " lines>";
        return std::to_string(int(lines[0].level)) + "|" + lines[0].text;
    }

    void clear() { lines.clear(); }

private:
    static void collect(Holvane::Logger::LogLevel const& level, char const* text, void* self)
    {
        static_cast<LogCapture*>(self)->lines.push_back({level, text});
    }
};

}  // namespace HolvaneTest

#endif
