#include "files/numeric_locale.h"

#include <clocale>
#include <cstring>

namespace Holvane {
namespace Internal {

NumericLocaleGuard::NumericLocaleGuard()
{
    char const* current = std::setlocale(LC_NUMERIC, nullptr);
    savedName = current ? current : "";
    char const* point = std::localeconv()->decimal_point;
    bool pointIsDot = point && std::strcmp(point, ".") == 0;
    if (!pointIsDot && !savedName.empty()) {
        std::setlocale(LC_NUMERIC, "C");
        switched = true;
    }
}

NumericLocaleGuard::~NumericLocaleGuard()
{
    if (switched)
        std::setlocale(LC_NUMERIC, savedName.c_str());
}

}  // namespace Internal
}  // namespace Holvane
