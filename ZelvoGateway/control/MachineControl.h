#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/control/Arbiter.h"
#include "ZelvoGateway/machines/ConnectedMachine.h"
#include "base/Clock.h"
#include "base/Task.h"

#include <boost/asio/steady_timer.hpp>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo::service {

/// Who controls one machine: runs its arbiter, wakes the commands that wait for control, and reports every
/// change to the machine with "agents.update".
/// Thread: the server's.
class MachineControl : public std::enable_shared_from_this<MachineControl> {
public:
    MachineControl(Clock& clock, Settings const& settings, Executor server, std::vector<PausedAgent> paused);

    /// Asks for control; see Arbiter::ask(). The outcome has to be awaited, and finished() has to follow if
    /// it is `granted`.
    Arbiter::Ticket ask(Agent const& agent, Instant deadline);
    /// Cancelling the task takes the command back.
    Task<Arbiter::Outcome> outcomeOf(Arbiter::Ticket ticket);
    void finished(Arbiter::Ticket ticket);

    std::optional<PausedAgent> pause(std::string const& ref);
    bool resume(std::string const& ref);
    bool isPaused(std::string const& ref) const { return arbiter.isPaused(ref); }
    void removeConnection(std::string const& connectionId);
    /// Of every agent that it knows.
    std::set<std::string> connections() const { return arbiter.connections(); }

    /// Reports to this session from now on, beginning with the present state.
    void attach(std::shared_ptr<ConnectedMachine> const& machine);
    /// The machine is offline: nobody holds control or waits any more.
    void detach();
    /// Ends every wait and every report, for good.
    void stop();

private:
    /// A command that waits for its outcome; cancelling its timer wakes it.
    struct Waiting {
        explicit Waiting(Executor executor) : wake(executor, asio::steady_timer::time_point::max()) {}
        asio::steady_timer wake;
        std::optional<Arbiter::Outcome> outcome;
    };

    /// What one session has heard.
    struct NotificationState {
        std::shared_ptr<ConnectedMachine> machine;
        std::optional<records::AgentsUpdate> sent;
        bool sending = false;
    };

    Moment moment() const { return {.instant = clock.now(), .date = clock.date()}; }
    void withdraw(Arbiter::Ticket ticket);
    void settle();
    void deliverOutcomes();
    void setTimer();
    void notify();
    Task<> sendChanges(std::shared_ptr<NotificationState> state);
    Task<bool> send(std::shared_ptr<NotificationState> state);
    bool isOutdated(NotificationState const& state) const { return state.sent != arbiter.snapshot(); }

    Clock& clock;
    Settings const& settings;
    Executor server;
    Arbiter arbiter;
    std::map<Arbiter::Ticket, std::shared_ptr<Waiting>> waiting;
    std::map<Arbiter::Ticket, Arbiter::Outcome> early; // Decided before outcomeOf() was called.
    std::shared_ptr<NotificationState> notification;   // of the present session
    TaskHandle timer;
    std::optional<Instant> timerDue;
    bool stopped = false;
};

} // namespace zelvo::service
