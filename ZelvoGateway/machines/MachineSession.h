#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"
#include "wire/Json.h"
#include "wire/records/Events.h"

#include <boost/asio/steady_timer.hpp>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace zelvo::service {

/// The wire to a machine, as its session uses it.
/// Made by: MachineSocket.
class MachineLink {
public:
    virtual ~MachineLink() = default;
    /// Messages go out in the order of the calls.
    virtual void send(std::string text) = 0;
    /// Ends the link, telling the machine why.
    virtual void close(int code, std::string reason) = 0;
    /// Where the link and its session run.
    virtual Executor executor() = 0;
};

/// A message of a machine, read.
struct MachineMessage {
    json::value value;
    std::size_t bytes = 0; ///< of its text
    MemoryBudget::Lease memory;
};

class MachineSession;

/// How a machine is, as far as its present session has told.
struct Presence {
    bool paused = false; ///< as last known until the session tells
    std::optional<Availability> availability;
    bool knowsAgents = false; ///< it understands "agents.update"
    /// The connections that stand at the machine, when it tells: its person may have ended others there.
    std::optional<std::set<std::string>> granted;

    /// Connected, and by its own word ready for commands.
    bool isBack() const { return !paused && availability == Availability::ready; }
    /// False when the connection has ended at the machine.
    bool knows(std::string const& connectionId) const { return !granted || granted->contains(connectionId); }
    /// It is not known that it would refuse a command.
    bool isUsable() const
    {
        return !paused && availability.value_or(Availability::ready) == Availability::ready;
    }
};

/// What happens to machines, for those who act on it.
/// Made by: CommandService.
class MachineListener {
public:
    virtual ~MachineListener() = default;
    /// A heartbeat, or a pause or its end: presence() is new.
    virtual void presenceTold(std::shared_ptr<MachineSession> const& session) = 0;
    virtual void eventTold(std::shared_ptr<MachineSession> const& session,
                           records::MachineEvent const& event) = 0;
    /// Once for each session.
    virtual void sessionEnded(std::shared_ptr<MachineSession> const& session) = 0;
};

/// One session with a machine: matches replies with calls, and keeps what heartbeats and events tell.
/// Thread: the server's.
class MachineSession : public std::enable_shared_from_this<MachineSession> {
public:
    MachineSession(std::string machineId,
                   std::shared_ptr<MachineLink> link,
                   Store& store,
                   Limits const& limits,
                   MachineListener& listener);

    std::string const& machineId() const { return id; }

    /// Sends a frame and waits for its reply. `requestId` is the frame's "id".
    /// Throws Failure: rateLimited when too much is under way, timeout, machineOffline when the link ends
    /// meanwhile.
    Task<MachineMessage> call(std::string requestId, std::string text, Duration timeout);
    /// True while a reply is owed, so that a large message may be on its way.
    bool owesReply() const { return !calls.empty(); }

    Presence const& presence() const { return present; }
    void received(MachineMessage message);
    /// The link has ended: every caller is told, and nothing more is sent.
    void ended();
    void close(int code, std::string reason) { link->close(code, std::move(reason)); }
    Executor executor() { return link->executor(); }

private:
    struct Call;

    void receivedHeartbeat(json::object const& message);
    void receivedEvent(json::object const& message);
    void receivedReply(MachineMessage message);
    void assertRoomFor(std::size_t bytes, std::string const& requestId) const;

    std::string id;
    std::shared_ptr<MachineLink> link;
    Store& store;
    Limits const& limits;
    MachineListener& listener;
    Presence present;
    std::map<std::string, std::shared_ptr<Call>> calls;
    std::size_t callBytes = 0;
    bool over = false;
};

} // namespace zelvo::service
