#pragma once

#include "ZelvoGateway/machines/ConnectedMachine.h"

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zelvo::service {

/// A machine's session, from the moment at which the machine is back until it is offline or no longer ready,
/// and the time before that. What the person accepts belongs to one visit: its tasks end with it.
struct QueueVisit {
    std::shared_ptr<ConnectedMachine> machine;
    bool back = false;
    std::map<std::string, std::vector<std::string>> offered = {}; ///< by connection: commands without answer
    std::map<std::string, std::deque<std::string>> accepted = {}; ///< by connection: commands to run
    std::set<std::string> running = {};                           ///< connections whose commands run
};

/// The present visit of each machine. Thread: the server's.
class QueueVisits {
public:
    using Visit = std::shared_ptr<QueueVisit>;

    /// The present visit of a session; begins one if there is none.
    Visit of(std::shared_ptr<ConnectedMachine> const& machine);
    /// Null if the session has none.
    Visit find(std::shared_ptr<ConnectedMachine> const& machine) const;
    bool isCurrent(Visit const& visit) const;
    /// The machine is still connected, but no longer back. Offers can still be declined.
    void end(Visit const& visit);
    /// The session has ended.
    void remove(std::shared_ptr<ConnectedMachine> const& machine);

private:
    std::map<std::string, Visit> visits; // by machine
};

} // namespace zelvo::service
