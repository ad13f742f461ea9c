#pragma once

#include "ZelvoGateway/machines/MachineDirectory.h"

#include <map>
#include <string>

namespace zelvo::service {

/// Machines that a test connects by hand. Thread: one at a time.
class FakeMachineDirectory final : public MachineDirectory {
public:
    std::map<std::string, std::shared_ptr<ConnectedMachine>> online; ///< by machine; what a test sets

    std::shared_ptr<ConnectedMachine> find(std::string const& machineId) const override
    {
        auto const entry = online.find(machineId);
        return entry == online.end() ? nullptr : entry->second;
    }
    void reject(std::string const& machineId) override { online.erase(machineId); }
};

} // namespace zelvo::service
