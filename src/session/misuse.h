#ifndef HOLVANE_SESSION_MISUSE_H
#define HOLVANE_SESSION_MISUSE_H

namespace Holvane {
namespace Internal {

// Misuse of the order of calls: the message goes out at TRACE, then the plain std::exception reaches the
// host. Nothing inside the library catches it.
[[noreturn]] void failMisuse(char const* message);

// The same with a printf-style message.
[[noreturn]] void failMisuseFormat(char const* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;

}  // namespace Internal
}  // namespace Holvane

#endif
