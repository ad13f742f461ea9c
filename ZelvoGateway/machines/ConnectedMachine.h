#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "base/Clock.h"
#include "base/Task.h"
#include "wire/Availability.h"
#include "wire/Json.h"

#include <cstddef>
#include <optional>
#include <set>
#include <string>

namespace zelvo::service {

/// A parsed message of a machine.
struct MachineMessage {
    json::value value;
    std::size_t bytes = 0;      ///< of its text
    MemoryBudget::Lease memory; ///< held for as long as the value is
};

/// What a machine has reported in its present session.
struct Presence {
    bool paused = false; ///< as last stored, until the session reports
    std::optional<Availability> availability;
    bool knowsAgents = false; ///< it understands "agents.update"
    /// The connections that exist at the machine, if it reports them: its person may have ended others there.
    std::optional<std::set<std::string>> granted;

    /// Connected, and ready for commands by its own word.
    bool isBack() const { return !paused && availability == Availability::ready; }
    /// False if the connection has ended at the machine.
    bool knows(std::string const& connectionId) const { return !granted || granted->contains(connectionId); }
    /// Nothing says that it would refuse a command.
    bool isUsable() const
    {
        return !paused && availability.value_or(Availability::ready) == Availability::ready;
    }
};

/// One session of a connected machine, wherever its socket is. The same session is always the same object, so
/// two sessions of a machine can be told apart by their addresses.
/// Thread: the server's.
/// Made by: MachineSession, tests/gateway/support/FakeConnectedMachine.
class ConnectedMachine {
public:
    virtual ~ConnectedMachine() = default;
    virtual std::string const& machineId() const = 0;
    virtual Presence const& presence() const = 0;
    /// Sends a frame and waits for its reply.
    /// requestId   the "id" of the frame
    /// text        the frame as JSON
    /// Throws      Failure: rateLimited if nothing was sent because too much is under way to the machine;
    ///             timeout; machineOffline if the session ends before the reply
    virtual Task<MachineMessage> call(std::string requestId, std::string text, Duration timeout) = 0;
};

} // namespace zelvo::service
