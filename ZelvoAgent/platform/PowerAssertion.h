#pragma once

#include <memory>
#include <string>

namespace zelvo {

/// While it exists, an idle machine does not go to sleep, if the system grants that.
class PowerAssertion {
public:
    virtual ~PowerAssertion() = default;
};

/// Thread: any; does not wait. Made by: platform/linux/dbus/LinuxPowerAssertions, tests/fakes/FakeDesktop.h.
class PowerAssertions {
public:
    virtual ~PowerAssertions() = default;
    /// Always returns an object; a refusal is not reported. Desktops show `name` as the reason why the
    /// machine stays awake.
    virtual std::unique_ptr<PowerAssertion> preventIdleSleep(std::string name) = 0;
};

} // namespace zelvo
