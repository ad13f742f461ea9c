#include "app/AppWindows.h"

#include "app/OwnWindows.h"
#include "app/diagnostics/DiagnosticsWindow.h"
#include "app/hidden_apps/HiddenAppsWindow.h"
#include "app/main_window/MainWindow.h"
#include "app/permissions/PermissionHelpWindow.h"
#include "app/updates/UpdateWindow.h"
#include "app/welcome/WelcomeWindow.h"
#include "base/UnusedMemory.h"

#include <utility>

namespace zelvo {

AppWindows::~AppWindows() = default;

void AppWindows::open(AppWindow which)
{
    std::unique_ptr<ContentWindow>& window = windows[which];
    if (!window) {
        window = make(which);
        window->onClosed = [this, which] { forget(which); };
    }
    bringToFront(*window);
}

ContentWindow* AppWindows::shown(AppWindow which) const
{
    auto const found = windows.find(which);
    return found == windows.end() ? nullptr : found->second.get();
}

std::unique_ptr<ContentWindow> AppWindows::make(AppWindow which) const
{
    switch (which) {
    case AppWindow::main:
        return std::make_unique<MainWindow>(services);
    case AppWindow::welcome:
        return std::make_unique<WelcomeWindow>(services);
    case AppWindow::diagnostics:
        return std::make_unique<DiagnosticsWindow>(services);
    case AppWindow::hiddenApps:
        return std::make_unique<HiddenAppsWindow>(services);
    case AppWindow::permissionHelp:
        return std::make_unique<PermissionHelpWindow>(services);
    case AppWindow::updates:
        return std::make_unique<UpdateWindow>(services);
    }
    return nullptr;
}

void AppWindows::bringToFront(ContentWindow& window) const
{
    window.bringToFront();
    raiseWindow(services, window, Raising::activated);
}

// The call comes from the window itself.
void AppWindows::forget(AppWindow which)
{
    auto const found = windows.find(which);
    if (found == windows.end())
        return;
    found->second.release()->deleteLater();
    windows.erase(found);
}

} // namespace zelvo
