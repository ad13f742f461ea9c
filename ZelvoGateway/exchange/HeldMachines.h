#pragma once

#include "ZelvoGateway/exchange/Exchange.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// The machines that this node holds, each with the term of its session.
/// Thread: the server's.
class HeldMachines {
public:
    struct Held {
        std::uint64_t term = 0;
        std::shared_ptr<MachineHolder> holder;
    };

    /// Replaces a holder with a lower term. False if the present one has the higher term: then the new holder
    /// is replaced at once.
    bool add(std::string const& machineId, Held held);
    /// Does nothing if the holder of this term was replaced.
    void remove(std::string const& machineId, std::uint64_t term);
    /// Another node holds the machine. Returns this node's term if that is higher.
    std::optional<std::uint64_t> yield(std::string const& machineId, std::uint64_t term);
    /// Null if this node does not hold it.
    std::shared_ptr<MachineHolder> find(std::string const& machineId) const;
    std::map<std::string, Held> const& all() const { return machines; }

private:
    std::map<std::string, Held> machines;
};

} // namespace zelvo::service
