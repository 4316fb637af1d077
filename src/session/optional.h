#ifndef HOLVANE_SESSION_OPTIONAL_H
#define HOLVANE_SESSION_OPTIONAL_H

#include "session/misuse.h"

namespace Holvane {
namespace Internal {

// A session value that may not have been given yet. Reading it unset is a misuse of the order of calls:
// it never falls back to the stored value. The few places that choose another path look at isSet.
template <typename T>
struct Optional {
    T value;
    bool isSet;

    Optional() : value(), isSet(false) {}
    // Holds `initial` without counting it as given (for example renderScale, 1.0 but unset).
    explicit Optional(T const& initial) : value(initial), isSet(false) {}

    Optional& operator=(T const& v)
    {
        value = v;
        isSet = true;
        return *this;
    }

    T const& get() const
    {
        if (!isSet)
            failMisuse("[Holvane] Accessing value that has not been set");
        return value;
    }
};

}  // namespace Internal
}  // namespace Holvane

#endif
