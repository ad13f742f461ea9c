#pragma once

#include "ZelvoGateway/machines/MachineSession.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// WebSocket close codes towards machines.
namespace CloseCode {
constexpr int goingAway = 1001;
constexpr int replaced = 4409;
constexpr int tokenRejected = 4401;
} // namespace CloseCode

namespace CloseReason {
constexpr char const* stopping = "the gateway is stopping";
} // namespace CloseReason

/// The sessions of the machines that are connected, one a machine: a newer one replaces the older.
/// Thread: the server's.
class MachineRegistry {
public:
    void attach(std::shared_ptr<MachineSession> session);
    /// Harmless when the session was replaced meanwhile.
    void detach(std::shared_ptr<MachineSession> const& session);
    /// Null when the machine is not connected.
    std::shared_ptr<MachineSession> find(std::string const& machineId) const;
    bool isOnline(std::string const& machineId) const { return sessions.contains(machineId); }
    std::size_t count() const { return sessions.size(); }

    /// Ends the session of a machine whose token is worth nothing any more.
    void reject(std::string const& machineId);
    /// Tells all machines that the gateway stops.
    void closeAll();

private:
    std::map<std::string, std::shared_ptr<MachineSession>> sessions; // by machine
};

} // namespace zelvo::service
