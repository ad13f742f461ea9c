#pragma once

#include "base/LockedBox.h"
#include "platform/linux/dbus/BusConnection.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// The main monitor as GNOME's compositor reports it on the session bus; its Wayland protocols do not. Other
/// compositors have no such service.
class MainMonitor {
public:
    /// Asks once, which blocks for a moment, and follows changes from then on.
    /// bus  must outlive every call of the observer
    explicit MainMonitor(BusConnection& bus);

    /// The connector's name; empty if it is unknown. Thread: any; never waits.
    std::string name() const { return state->name.get(); }
    /// Calls the observer on the agent executor after a change. Set once, after construction.
    void observe(std::function<void()> observer);

private:
    struct State {
        LockedBox<std::string> name;
        LockedBox<std::function<void()>> changed;
    };
    std::shared_ptr<State> state = std::make_shared<State>();
};

/// Reads the compositor's answer about its monitors. Empty if it has another type or names no main one.
std::string readMainMonitor(sd_bus_message* message);

} // namespace zelvo
