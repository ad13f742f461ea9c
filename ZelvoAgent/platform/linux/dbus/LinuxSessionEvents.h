#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/SessionEvents.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/dbus/SessionFacts.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// Our logind session, and the screen savers. Without such a session a reachable display
/// counts as a session on the console. Signals keep it up to date; unknown states count as false.
class LinuxSessionEvents final : public SessionEvents {
public:
    /// displayReachable  cheap, and safe on any thread
    /// The two buses must outlive this.
    LinuxSessionEvents(Contexts const& contexts,
                       Clock& clock,
                       BusConnection& system,
                       BusConnection& session,
                       OwnSession own,
                       std::function<bool()> displayReachable);
    ~LinuxSessionEvents() override;

    Availability current() const override;
    void observe(std::function<void(SessionEvent)> observer) override;

private:
    struct State;
    std::shared_ptr<State> state;
    std::shared_ptr<void> sources; // LoginSession and ScreenSavers; destroyed on the agent executor.
    Executor agent;
};

} // namespace zelvo
