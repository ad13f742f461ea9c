#include "app/welcome/WelcomePresenter.h"

#include <utility>

namespace zelvo {

void WelcomePresenter::showIfNeeded(AppServices const& services)
{
    if (std::exchange(wasAsked, true))
        return;
    UserDefaults& settings = services.platform.defaults();
    if (settings.boolean(seenKey).value_or(false))
        return;
    Permissions const permissions = services.platform.access().current();
    bool const isSetUp = permissions.accessibility && permissions.screenRecording &&
                         !services.parts.state.connections().empty();
    if (isSetUp)
        settings.setBoolean(seenKey, true);
    else
        services.openWindow(AppWindow::welcome);
}

} // namespace zelvo
