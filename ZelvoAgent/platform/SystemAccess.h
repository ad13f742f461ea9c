#pragma once

#include "platform/PermissionCause.h"
#include "wire/Permissions.h"

#include <boost/signals2/connection.hpp>

#include <functional>

namespace zelvo {

/// The system permissions that all drivers depend on.
/// Thread: any. Made by: platform/linux/dbus/LinuxSystemAccess, tests/fakes/FakeDesktop.h.
class SystemAccess {
public:
    virtual ~SystemAccess() = default;
    /// Cheap enough for every frame; never prompts and never waits.
    virtual Permissions current() = 0;
    /// Why permissions are missing. May wait some milliseconds for the display server, so not on main.
    virtual PermissionCauses causes() = 0;
    /// Does what the person asks for with a button beside a cause that canBeRequested(): opens the desktop's
    /// own dialog, or installs and enables what this program brings along. Returns at once. Thread: main.
    virtual void request(PermissionCause::Kind kind) = 0;
    /// Calls the observer on the main executor when current() or causes() may have changed, until the
    /// connection ends. Only the end of an application that started too early is not reported. Thread: main.
    virtual boost::signals2::connection observe(std::function<void()> observer) = 0;
};

} // namespace zelvo
