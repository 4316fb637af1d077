#ifndef HOLVANE_SESSION_LOGGER_INTERNAL_H
#define HOLVANE_SESSION_LOGGER_INTERNAL_H

namespace Holvane {
namespace Internal {

// Hosts always get the progress bar; the percentage output is reachable from inside the library only.
void setProgressBarMode(bool bar);

}  // namespace Internal
}  // namespace Holvane

#endif
