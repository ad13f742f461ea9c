#pragma once

#include "base/Contexts.h"
#include "platform/linux/wayland/WindowSource.h"
#include "platform/linux/wayland/sway/SwayEvents.h"
#include "platform/linux/wayland/sway/SwayIpc.h"

#include <mutex>
#include <optional>

namespace zelvo {

/// WindowSource by the IPC socket of sway. The limits of windowsOfTree() are its limits. A floating window
/// that is moved or resized with the pointer is not reported to the observer: sway sends no event for it.
class SwayWindows final : public WindowSource {
public:
    /// Whether there is a sway that answers. Blocks for some milliseconds.
    static bool isOffered();

    explicit SwayWindows(Contexts contexts);

    std::optional<WindowsNow> look() override;
    void observe(std::function<void()> observer) override;
    /// A window in the scratchpad is shown.
    bool activate(std::string const& id) override;
    /// The window floats and is on every workspace of its output. Sway has no task bar of its own.
    bool putInFront(std::string const& id) override;

private:
    bool command(std::string const& id, std::string const& text);

    Contexts contexts;
    std::mutex asking;
    SwayIpc ipc; // asking
    std::optional<SwayEvents> events;
};

} // namespace zelvo
