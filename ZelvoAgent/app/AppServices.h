#pragma once

#include "app/AgentParts.h"
#include "app/lifecycle/Updater.h"
#include "base/Contexts.h"
#include "platform/Platform.h"

#include <functional>

namespace zelvo {

/// The windows that other windows and the tray open.
enum class AppWindow { main, welcome, diagnostics, hiddenApps, permissionHelp, updates };

/// What this program's windows show and change. Everything outlives the windows. Thread: main.
struct AppServices {
    Contexts contexts;
    Platform& platform;
    AgentParts& parts;
    Updater& updater;
    std::function<void(AppWindow)> openWindow; ///< brings an open one to the front
    std::function<void()> quit;
    /// Ends the process, which installs the update that is ready, and starts the program anew. If that start
    /// cannot be arranged, nothing ends and `failed` is called.
    std::function<void(std::function<void()> failed)> restartIntoUpdate;
};

} // namespace zelvo
