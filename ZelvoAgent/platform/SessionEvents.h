#pragma once

#include "wire/Availability.h"

#include <functional>

namespace zelvo {

enum class SessionEvent {
    willSleep,
    didWake,
    sessionResignedActive,
    sessionBecameActive,
    screenLocked,
    screenUnlocked,
    willShutDown ///< the machine; it waits some seconds for this program to end
};

/// The user's login session: whether it is on the console and locked, and when the machine sleeps.
/// Thread: any. Made by: platform/linux/dbus/LinuxSessionEvents, tests/fakes/FakeDesktop.h.
class SessionEvents {
public:
    virtual ~SessionEvents() = default;
    /// The present state: noGUISession, screenLocked or ready, never asleep. Does not wait.
    virtual Availability current() const = 0;
    /// Called on the main executor for each event. Observers are added at start and never removed.
    virtual void observe(std::function<void(SessionEvent)> observer) = 0;
};

} // namespace zelvo
