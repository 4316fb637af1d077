#ifndef HLVTRACE_LIBRARY_LOG_H
#define HLVTRACE_LIBRARY_LOG_H

// The library's messages, taken from its console (standard output, which belongs to the summary) to
// standard error. Warnings and errors are shown, informational lines with --verbose. The library throws a
// plain exception after a TRACE line; the last such line is kept to tell what went wrong.

#include <memory>
#include <string>

namespace hlvtrace {

class LibraryLog {
public:
    explicit LibraryLog(bool verbose);
    ~LibraryLog();
    LibraryLog(LibraryLog const&) = delete;
    LibraryLog& operator=(LibraryLog const&) = delete;

    std::string lastTrace() const;  // empty when the library said nothing at TRACE
    std::string lastError() const;  // empty when the library said nothing at ERROR

    struct State;  // what the logger's callback sees

private:
    std::unique_ptr<State> state;
};

}  // namespace hlvtrace

#endif
