#ifndef HOLVANE_SESSION_PARAMETERS_H
#define HOLVANE_SESSION_PARAMETERS_H

namespace Holvane {
namespace Internal {

// The two tests every guarded setter starts with: a phase has been chosen and has not begun yet. On failure
// the ERROR line is logged and false returned; the caller then stores nothing.
bool setterMayStore();

}  // namespace Internal
}  // namespace Holvane

#endif
