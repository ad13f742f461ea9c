#pragma once

#include "platform/PowerAssertion.h"
#include "platform/linux/dbus/BusConnection.h"

namespace zelvo {

/// Asks logind to hold off idleness ("idle", block), else the screen saver service of the session. An answer
/// that comes after the holder has gone is given back.
class LinuxPowerAssertions final : public PowerAssertions {
public:
    /// The two buses must outlive it and what it hands out.
    LinuxPowerAssertions(Executor agent, BusConnection& system, BusConnection& session)
        : agent(std::move(agent)), system(system), session(session)
    {
    }

    std::unique_ptr<PowerAssertion> preventIdleSleep(std::string name) override;

private:
    Executor agent;
    BusConnection& system;
    BusConnection& session;
};

} // namespace zelvo
