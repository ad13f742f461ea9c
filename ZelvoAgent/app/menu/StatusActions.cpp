#include "app/menu/StatusActions.h"

#include "app/OpenInBrowser.h"

namespace zelvo {

void StatusActions::perform(AgentStatus::Action action, AppServices const& services)
{
    switch (action) {
    case AgentStatus::Action::pause:
        services.parts.state.setPaused(true);
        break;
    case AgentStatus::Action::resume:
        services.parts.state.setPaused(false);
        break;
    case AgentStatus::Action::reconnectNow:
        services.parts.runtime.reconnectNow();
        break;
    case AgentStatus::Action::relink:
        services.parts.runtime.relink();
        break;
    case AgentStatus::Action::update:
        services.openWindow(AppWindow::updates);
        services.updater.checkNow();
        break;
    case AgentStatus::Action::connect:
        openConsole(services);
        break;
    case AgentStatus::Action::permissions:
        services.openWindow(AppWindow::welcome);
        break;
    case AgentStatus::Action::none:
        break;
    }
}

} // namespace zelvo
