#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "drivers/HiddenAppsStore.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"
#include "recording/SessionRecording.h"
#include "router/Confirmations.h"
#include "router/FrontmostCheck.h"
#include "router/HandlerTable.h"

#include <array>

namespace zelvo {

/// Applications, windows and URLs. Thread: the router's strand.
class ApplicationHandlers {
    Task<json::value> openApp(Admission admission);
    Task<json::value> activateApp(Admission admission);
    Task<json::value> listApps(Admission admission);
    Task<json::value> listWindows(Admission admission);
    Task<json::value> openUrl(Admission admission);

public:
    static constexpr std::array<HandlerRow<ApplicationHandlers>, 5> rows = {{
        {"apps.open", &ApplicationHandlers::openApp},
        {"apps.activate", &ApplicationHandlers::activateApp},
        {"apps.list", &ApplicationHandlers::listApps},
        {"windows.list", &ApplicationHandlers::listWindows},
        {"urls.open", &ApplicationHandlers::openUrl},
    }};

    struct Services {
        Executor workers;
        Clock& clock;
        Workspace& workspace;
        WindowList& windows;
        HiddenAppsStore& hiddenApps;
        SessionRecording& recorder;
        FrontmostCheck& frontmost;
        Confirmations& confirmations;
    };

    explicit ApplicationHandlers(Services services) : services(std::move(services)) {}

private:
    Task<json::value> bringToFront(Admission admission, Workspace::NotRunning notRunning);

    Services services;
};

} // namespace zelvo
