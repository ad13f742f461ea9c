#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "base/Clock.h"
#include "wire/records/Connections.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo::service {

/// An agent of a platform, as the person at a machine meets it.
struct Agent {
    std::string ref; ///< the gateway's handle; see agentRef()
    std::string connectionId;
    std::string name;
    std::optional<std::string> task; ///< what it is doing, in the platform's words
    bool operator==(Agent const&) const = default;
};

/// The handle of an agent: the same for the same connection and the same `platformRef`, and of no other
/// connection. Platforms choose their own references, so two of them may choose the same.
std::string agentRef(std::string_view connectionId, std::string_view platformRef);

/// An agent that the person has put aside, and since when.
struct PausedAgent {
    Agent agent;
    Date since;
};

/// A moment of both clocks: waits go by the continuous one, what is told by the date.
struct Moment {
    Instant instant;
    Date date;
};

/// Who controls one machine. The first agent that asks holds it; others stand in line in the order in which
/// they asked. Control passes on when the holder has been idle for ControlTimes::idle, or is put aside.
/// Nothing here waits: asking gives a ticket, whose outcome comes out of takeDecided(), at once or later.
/// Thread: the server's.
class Arbiter {
public:
    using Ticket = std::uint64_t;

    enum class Outcome {
        granted, ///< the command may run; finished() must follow
        busy,    ///< another agent still has control, or too many wait
        paused,  ///< the person has put the agent aside
        gone,    ///< the machine or the connection went away
    };

    struct Decided {
        Ticket ticket;
        Outcome outcome;
    };

    explicit Arbiter(ControlTimes const& times, std::vector<PausedAgent> paused = {});

    /// A command of `agent` wants control and waits for it until `deadline`; one that has passed asks only
    /// whether control is to be had now. Whoever asked keeps its place in line for ControlTimes::place after
    /// it gave up, so that one that asks again and again gets its turn.
    Ticket ask(Agent const& agent, Instant deadline, Moment now);
    /// A command that was granted has ended.
    void finished(Ticket ticket, Moment now);
    bool isPaused(std::string const& ref) const;
    /// Puts an agent aside: the holder, one in line, or one that has lately been either, since the person may
    /// say so at the moment in which its time ends. Nothing for others.
    std::optional<PausedAgent> pause(std::string const& ref, Moment now);
    /// False when it was not put aside. It stands in line again when it asks again.
    bool resume(std::string const& ref);
    void removeConnection(std::string const& connectionId, Moment now);
    /// Of all the agents that it knows.
    std::set<std::string> connections() const;
    /// The machine went away: nobody holds, nobody waits. Who was put aside stays so.
    void machineGone();

    /// Lets happen what is due.
    void tick(Moment now);
    /// The next moment at which something is due.
    std::optional<Instant> nextDue() const;
    /// What was decided since the last call.
    std::vector<Decided> takeDecided() { return std::exchange(decided, {}); }
    /// What the machine is told.
    records::AgentsUpdate picture() const;

private:
    struct Wish {
        Ticket ticket;
        Instant deadline;
    };
    struct Holder {
        Agent agent;
        Date since;
        std::vector<Ticket> running;
        Instant until; ///< while nothing runs
    };
    struct Waiter {
        Agent agent;
        Date since;
        std::vector<Wish> wishes;
        Instant until; ///< without wishes
    };

    Waiter* waiterOf(std::string const& ref);
    void standInLine(Agent const& agent, Wish wish, Moment now);
    std::optional<Agent> takeOut(std::string const& ref);
    void remember(Agent const& agent);
    void endIdleHolder(Moment now);
    void passOn(Moment now);
    void endPatience(Moment now);
    void decide(std::vector<Wish> const& wishes, Outcome outcome);

    ControlTimes times;
    std::optional<Holder> holder;
    std::vector<Waiter> waiting;
    std::vector<PausedAgent> paused;
    std::deque<Agent> left; ///< went by themselves, the latest last; at most ControlTimes::maxLine
    std::vector<Decided> decided;
    Ticket lastTicket = 0;
};

} // namespace zelvo::service
