#pragma once

#include <memory>
#include <string>

namespace zelvo {

/// Keeps the machine from going to sleep of idleness as long as it lives, where the system grants it.
class PowerAssertion {
public:
    virtual ~PowerAssertion() = default;
};

/// Thread: any; does not wait. Made by: platform/linux/dbus/LinuxPowerAssertions,
/// tests/fakes/FakePowerAssertions.
class PowerAssertions {
public:
    virtual ~PowerAssertions() = default;
    /// Always gives a holder; a refusal goes unnoticed. `name` tells a person who asks why the machine stays
    /// awake.
    virtual std::unique_ptr<PowerAssertion> preventIdleSleep(std::string name) = 0;
};

} // namespace zelvo
