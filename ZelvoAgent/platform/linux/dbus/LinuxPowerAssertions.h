#pragma once

#include "platform/PowerAssertion.h"
#include "platform/linux/dbus/BusConnection.h"

namespace zelvo {

/// Takes an "idle" inhibitor lock (block) from logind, else inhibits the session's screen saver service. A
/// grant that arrives after its holder was destroyed is returned.
class LinuxPowerAssertions final : public PowerAssertions {
public:
    /// The two buses must outlive this and the objects that it returns.
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
