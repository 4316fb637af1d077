#include "session/misuse.h"

#include <holvane/logger.h>

#include <exception>

namespace Holvane {
namespace Internal {

void failMisuse(char const* message)
{
    Logger::HvOutputLogCStr(Logger::TRACE, message);
    throw std::exception();
}

}  // namespace Internal
}  // namespace Holvane
