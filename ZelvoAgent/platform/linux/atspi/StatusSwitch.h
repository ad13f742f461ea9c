#pragma once

#include "base/LockedBox.h"
#include "base/Task.h"
#include "platform/linux/dbus/BusConnection.h"

#include <optional>

namespace zelvo {

/// "IsEnabled" of org.a11y.Status on the session bus, which Qt and Chromium read when they start.
/// Thread: any.
class StatusSwitch {
public:
    /// The session bus must outlive it.
    explicit StatusSwitch(BusConnection& session) : session(session) {}

    Task<> on();
    /// Restores the old value if `on` changed it.
    Task<> off();

private:
    Task<std::optional<bool>> read();
    Task<bool> write(bool value);

    BusConnection& session;
    LockedBox<bool> isOurs{false};
};

} // namespace zelvo
