#pragma once

#include "ZelvoGateway/machines/MachineDirectory.h"
#include "ZelvoGateway/machines/MachineSession.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// A directory of the machines whose sockets are in this process.
class LocalMachineDirectory final : public MachineDirectory {
public:
    /// Adds a session; the older session of the machine ends with close code 4409.
    void attach(std::shared_ptr<MachineSession> session);
    /// Does nothing if another session has replaced this one.
    void detach(std::shared_ptr<MachineSession> const& session);
    std::size_t count() const { return sessions.size(); }

    std::shared_ptr<ConnectedMachine> find(std::string const& machineId) const override;
    void reject(std::string const& machineId) override;

    /// Ends every session with close code 1012. What attaches later is closed as well.
    void closeAll();
    bool isClosed() const { return closed; }

private:
    std::map<std::string, std::shared_ptr<MachineSession>> sessions; // by machine
    bool closed = false;
};

} // namespace zelvo::service
