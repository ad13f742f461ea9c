#pragma once

#include "platform/linux/dbus/BusConnection.h"

#include <functional>
#include <memory>

namespace zelvo {

/// Whether our extension answers in GNOME Shell, and when windows change. The extension appears with the
/// shell, and again after the screen was unlocked. Thread: any.
class ShellPresence {
public:
    /// bus  must outlive every call of the observer
    ShellPresence(Executor agent, BusConnection& bus);

    /// Starts to follow it. Called once.
    void start();
    /// Never waits. False until the extension has answered for the first time.
    bool isPresent() const;
    /// Calls the observer on the agent executor each time the extension has appeared, also if that was
    /// before.
    void whenPresent(std::function<void()> observer);
    /// Calls the observer on the agent executor after each change of windows, and when the extension appears
    /// or goes. Set before start() and never changed.
    void observe(std::function<void()> observer);

private:
    struct State;
    std::shared_ptr<State> state;
    Executor agent;
    BusConnection& bus;
};

} // namespace zelvo
