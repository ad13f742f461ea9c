#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/store/Agent.h"
#include "base/Clock.h"
#include "wire/records/Connections.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo::service {

/// The handle of an agent, made of the connection and the platform's own reference, because two platforms
/// may choose the same reference.
std::string agentRef(std::string_view connectionId, std::string_view platformRef);

/// The same moment on both clocks: waits use the continuous one, reports the date.
struct Moment {
    Instant instant;
    Date date;
};

/// Decides who controls one machine. The first agent that asks gets control; others queue in the order in
/// which they asked. Control passes on when the holder has been idle for ControlTimes::idle, or is paused.
/// Pure: it never waits. Asking returns a ticket, and takeDecided() returns the ticket's outcome, at once or
/// later.
/// Thread: the server's.
class Arbiter {
public:
    using Ticket = std::uint64_t;

    enum class Outcome {
        granted, ///< the command may run; finished() must follow
        busy,    ///< another agent has control, or too many wait
        paused,  ///< the person has paused the agent
        gone,    ///< the machine or the connection is gone
    };

    struct Decided {
        Ticket ticket;
        Outcome outcome;
    };

    explicit Arbiter(ControlTimes const& times, std::vector<PausedAgent> paused = {});

    /// A command of `agent` wants control and waits for it until `deadline`; with a deadline in the past it
    /// gets control now or never. An agent that gives up keeps its place in line for ControlTimes::place, so
    /// that one that asks again and again gets its turn.
    Ticket ask(Agent const& agent, Instant deadline, Moment now);
    /// A command that was granted has ended.
    void finished(Ticket ticket, Moment now);
    /// A command that asked no longer wants control. It gets no outcome, and does not keep its place in line.
    void withdraw(Ticket ticket, Moment now);
    bool isPaused(std::string const& ref) const;
    /// Pauses the holder, an agent in line, or one that has lately been either: the person may choose it at
    /// the moment at which its time ends. nullopt for others, and for one that is paused.
    std::optional<PausedAgent> pause(std::string const& ref, Moment now);
    /// False if it was not paused. It has to ask again.
    bool resume(std::string const& ref);
    void removeConnection(std::string const& connectionId, Moment now);
    /// Of every agent that it knows.
    std::set<std::string> connections() const;
    /// The machine is offline: nobody holds control, nobody waits. Paused agents stay paused.
    void machineGone();

    /// Does what is due.
    void tick(Moment now);
    /// The next moment at which something is due.
    std::optional<Instant> nextDue() const;
    /// The outcomes since the last call.
    std::vector<Decided> takeDecided() { return std::exchange(decided, {}); }
    /// The present state, as the machine gets it.
    records::AgentsUpdate snapshot() const;

private:
    struct Request {
        Ticket ticket;
        Instant deadline;
    };
    struct Holder {
        Agent agent;
        Date since;
        std::vector<Ticket> running;
        Instant until; ///< loses control then, unless a command runs
    };
    struct Waiter {
        Agent agent;
        Date since;
        std::vector<Request> requests;
        Instant until; ///< loses its place then, unless a command waits
    };

    Waiter* waiterOf(std::string const& ref);
    void queue(Agent const& agent, Request request, Moment now);
    std::optional<Agent> takeOut(std::string const& ref);
    void remember(Agent const& agent);
    void endIdleHolder(Moment now);
    void passOn(Moment now);
    void giveUp(Moment now);
    void decide(std::vector<Request> const& requests, Outcome outcome);

    ControlTimes times;
    std::optional<Holder> holder;
    std::vector<Waiter> waiting;
    std::vector<PausedAgent> paused;
    std::deque<Agent> left; ///< lost control or their place, the latest last; at most ControlTimes::maxLine
    std::vector<Decided> decided;
    Ticket lastTicket = 0;
};

} // namespace zelvo::service
