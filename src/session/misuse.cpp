#include "session/misuse.h"

#include <holvane/logger.h>

#include <cstdarg>
#include <cstdio>
#include <exception>

namespace Holvane {
namespace Internal {

void failMisuse(char const* message)
{
    Logger::HvOutputLogCStr(Logger::TRACE, message);
    throw std::exception();
}

void failMisuseFormat(char const* format, ...)
{
    char message[10240] = {0};  // the logger's own limit for a formatted line
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    failMisuse(message);
}

}  // namespace Internal
}  // namespace Holvane
