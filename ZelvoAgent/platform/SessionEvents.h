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
    screenUnlocked
};

/// The person's login session: is it on the console, is it locked, does the machine go to sleep.
/// Thread: any. Made by: platform/linux/dbus/LinuxSessionEvents, tests/fakes/FakeSessionEvents.
class SessionEvents {
public:
    virtual ~SessionEvents() = default;
    /// What the session shows at this moment: noGUISession, screenLocked or ready, never asleep. Does not
    /// wait.
    virtual Availability current() const = 0;
    /// Called on the main executor for each event. Observers are added at start and never removed.
    virtual void observe(std::function<void(SessionEvent)> observer) = 0;
};

} // namespace zelvo
