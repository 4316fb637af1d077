#ifndef HOLVANE_FILES_NUMERIC_LOCALE_H
#define HOLVANE_FILES_NUMERIC_LOCALE_H

#include <string>

namespace Holvane {
namespace Internal {

// Puts LC_NUMERIC on "C" for the lifetime of the guard when the host's locale writes reals with another
// decimal point, so that a file's header text always carries a "."; the host's locale comes back when the
// guard goes, on every path out of the function that holds it.
class NumericLocaleGuard {
public:
    NumericLocaleGuard();
    ~NumericLocaleGuard();
    NumericLocaleGuard(NumericLocaleGuard const&) = delete;
    NumericLocaleGuard& operator=(NumericLocaleGuard const&) = delete;

private:
    std::string savedName;
    bool switched = false;
};

}  // namespace Internal
}  // namespace Holvane

#endif
