#ifndef HLVTRACE_INPUT_ERROR_H
#define HLVTRACE_INPUT_ERROR_H

#include <stdexcept>
#include <string>

namespace hlvtrace {

// A failure on the user's input: one line naming the file (or what was asked) and the problem. The program
// prints it on standard error and exits with status 1.
struct InputError : std::runtime_error {
    InputError(std::string const& what, std::string const& problem) : std::runtime_error(what + ": " + problem) {}
};

}  // namespace hlvtrace

#endif
