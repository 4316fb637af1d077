#ifndef HOLVANE_LOGGER_H
#define HOLVANE_LOGGER_H

#include <holvane/export.h>

#include <cstdint>

namespace Holvane {
namespace Logger {
inline namespace v2_0 {

// A smaller number is more important; a route takes a message when its level is at most the route's threshold.
enum LogLevel : std::int32_t {
    ERROR = 0,
    WARNING = 1,
    INFO = 2,
    DEBUG = 3,
    TRACE = 4,
};

// How the callback route treats the end of a message. Any value other than the first two keeps the text.
enum CarriageReturnMode : std::int32_t {
    CR_STRIP = 0,
    CR_ENSURE = 1,
    CR_KEEP = 2,
};

typedef void (*LogCallback)(LogLevel const& level, char const* text, void* userData);

HV_API void HvOutputLogString(LogLevel const& level, char const* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;
HV_API void HvOutputLogCStr(LogLevel const& level, char const* text);

HV_API void HvSetConsole(bool enabled);
HV_API void HvSetConsoleLogLevel(LogLevel level);
HV_API void HvSetFileLogLevel(LogLevel level, char const* path, char const* mode);
HV_API void HvSetCallBackLogLevel(LogLevel level, LogCallback callback, void* userData);
HV_API void HvSetCallbackCarriageReturnMode(CarriageReturnMode mode);
HV_API void HvSetDateHeader(bool enabled);
HV_API void HvSetLogLevelHeader(bool enabled);
HV_API void HvHeaderEnable(bool enabled);

HV_API void HvResetprogress(unsigned long long const& total);
HV_API void HvIncreaseprogress();
HV_API void HvSetDoneProgression();

}  // namespace v2_0
}  // namespace Logger
}  // namespace Holvane

#endif
