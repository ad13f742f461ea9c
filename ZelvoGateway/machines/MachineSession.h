#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/machines/ConnectedMachine.h"
#include "ZelvoGateway/machines/MachineLink.h"
#include "ZelvoGateway/machines/MachineListener.h"
#include "ZelvoGateway/store/Store.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// A session with a machine whose socket is in this process: matches replies with calls, and keeps what
/// heartbeats and events report.
/// Thread: the server's.
class MachineSession final : public ConnectedMachine, public std::enable_shared_from_this<MachineSession> {
public:
    MachineSession(std::string machineId,
                   std::shared_ptr<MachineLink> link,
                   Store& store,
                   Limits const& limits,
                   MachineListener& listener);

    std::string const& machineId() const override { return id; }
    Presence const& presence() const override { return present; }
    Task<MachineMessage> call(std::string requestId, std::string text, Duration timeout) override;

    /// A call waits for its reply, so a large message may be on its way.
    bool owesReply() const { return !calls.empty(); }
    /// The session is in the directory.
    void began();
    /// False if nobody asked for the message.
    bool received(MachineMessage message);
    /// The link has ended: every call fails, and nothing more is sent. Later calls do nothing.
    void ended();
    void close(int code, std::string reason) { link->close(code, std::move(reason)); }

private:
    struct Call;

    void receivedHeartbeat(json::object const& message);
    void receivedEvent(json::object const& message);
    bool receivedReply(MachineMessage message);
    void assertRoomFor(std::size_t bytes) const;

    std::string id;
    std::shared_ptr<MachineLink> link;
    Store& store;
    Limits const& limits;
    MachineListener& listener;
    Presence present;
    std::map<std::string, std::shared_ptr<Call>> calls; // by request id
    std::size_t callBytes = 0;
    bool over = false;
};

} // namespace zelvo::service
