#pragma once

#include "ZelvoGateway/MemoryBudget.h"
#include "ZelvoGateway/Settings.h"
#include "ZelvoGateway/Store.h"
#include "base/Task.h"
#include "wire/Json.h"

#include <boost/asio/steady_timer.hpp>

#include <map>
#include <memory>
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

/// One session with a machine: matches replies with calls, and keeps what heartbeats and events tell.
/// Thread: the server's.
class MachineSession : public std::enable_shared_from_this<MachineSession> {
public:
    MachineSession(std::string machineId,
                   std::shared_ptr<MachineLink> link,
                   Store& store,
                   Limits const& limits);

    std::string const& machineId() const { return id; }

    /// Sends a frame and waits for its reply. `requestId` is the frame's "id".
    /// Throws Failure: rateLimited when too much is under way, timeout, machineOffline when the link ends
    /// meanwhile.
    Task<MachineMessage> call(std::string requestId, std::string text, Duration timeout);
    /// True while a reply is owed, so that a large message may be on its way.
    bool owesReply() const { return !calls.empty(); }

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
    std::map<std::string, std::shared_ptr<Call>> calls;
    std::size_t callBytes = 0;
    bool over = false;
};

} // namespace zelvo::service
