#pragma once

#include "wire/Permissions.h"

namespace zelvo {

/// The system permissions that all drivers depend on.
/// Thread: any. Made by: platform/linux/dbus/LinuxSystemAccess, tests/fakes/FakeDesktop.h.
class SystemAccess {
public:
    virtual ~SystemAccess() = default;
    /// Cheap enough for every frame; never prompts and never waits.
    virtual Permissions current() = 0;
};

} // namespace zelvo
