#pragma once

#include "base/Contexts.h"
#include "platform/SystemTray.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/x11/X11Connection.h"

#include <memory>

namespace zelvo {

/// A host of status notifier items on the session bus, or the tray window of the X server. Only the latter
/// says a colour.
class LinuxSystemTray final : public SystemTray {
public:
    /// Blocks for a moment to ask the X server.
    /// session     must outlive this
    /// connection  only for this; null if the server cannot be reached
    LinuxSystemTray(Contexts const& contexts,
                    BusConnection& session,
                    std::shared_ptr<X11Connection> const& connection);
    ~LinuxSystemTray() override;

    TrayState current() const override;
    void observe(std::function<void()> observer) override;

private:
    struct State;
    struct Sources;

    Executor agent;
    std::shared_ptr<State> state;
    std::shared_ptr<Sources> sources; // Destroyed on the agent executor.
};

} // namespace zelvo
