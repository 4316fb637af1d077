#include "session/context.h"

namespace Holvane {
namespace Internal {

namespace {
HolvaneContext g_session;
}

HolvaneContext& session()
{
    return g_session;
}

void resetSession()
{
    // The spool file of an aborted phase is left behind by HvPhaseTerminate; the reset releases it.
    if (g_session.spoolFile)
        std::fclose(g_session.spoolFile);
    g_session = HolvaneContext();
}

}  // namespace Internal
}  // namespace Holvane
