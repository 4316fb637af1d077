#include "library_log.h"

#include <holvane/logger.h>

#include <cstdio>
#include <mutex>

namespace hlvtrace {

using namespace Holvane::Logger;

struct LibraryLog::State {
    LogLevel shown;
    mutable std::mutex mutex;
    std::string lastTrace, lastError;
};

namespace {

// Runs under the library's logger lock: it must not call back into the logger.
void receive(LogLevel const& level, char const* text, void* userData)
{
    auto& state = *static_cast<LibraryLog::State*>(userData);
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        if (level == TRACE)
            state.lastTrace = text;
        if (level == ERROR)
            state.lastError = text;
    }
    if (level <= state.shown)
        std::fprintf(stderr, "hlvtrace: library: %s\n", text);
}

}  // namespace

LibraryLog::LibraryLog(bool verbose) : state(new State{verbose ? INFO : WARNING, {}, {}, {}})
{
    HvSetConsole(false);
    HvSetCallbackCarriageReturnMode(CR_STRIP);
    HvSetCallBackLogLevel(TRACE, receive, state.get());
}

LibraryLog::~LibraryLog()
{
    HvSetCallBackLogLevel(ERROR, nullptr, nullptr);
}

std::string LibraryLog::lastTrace() const
{
    std::lock_guard<std::mutex> lock(state->mutex);
    return state->lastTrace;
}

std::string LibraryLog::lastError() const
{
    std::lock_guard<std::mutex> lock(state->mutex);
    return state->lastError;
}

}  // namespace hlvtrace
