#include "session/context.h"

namespace Holvane {
namespace Internal {

namespace {

// Before the first reset the distance limit is the largest double; every reset brings the smaller default.
HolvaneContext loadTimeSession()
{
    HolvaneContext context;
    context.renderingContext.maxDistance = 1.7976931348623157e+308;
    return context;
}

HolvaneContext g_session = loadTimeSession();

}  // namespace

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
