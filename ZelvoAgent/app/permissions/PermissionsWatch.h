#pragma once

#include "base/Contexts.h"
#include "base/DelayedCall.h"
#include "platform/SystemAccess.h"
#include "wire/Permissions.h"

#include <boost/signals2/connection.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// Follows the system permissions and what they lack, for a window, as long as it exists. Thread: main.
class PermissionsWatch {
public:
    PermissionsWatch(SystemAccess& access, Contexts contexts, Clock& clock, std::function<void()> onChange);

    Permissions const& current() const { return seen; }
    /// Why something is missing; empty until it was found out.
    PermissionCauses const& causes() const { return found; }
    /// The applications that agents can read only after a restart.
    std::vector<std::string> startedTooEarly() const;
    /// Reads all anew.
    void look();

private:
    Task<> findCauses(std::weak_ptr<int> owner);

    SystemAccess& access;
    Contexts contexts;
    std::function<void()> onChange;
    Permissions seen;
    PermissionCauses found;
    boost::signals2::scoped_connection following;
    DelayedCall nextLook; // The system does not report the end of an application that started too early.
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

/// Names in one line, as the person's language joins them.
std::string joinedNames(std::vector<std::string> const& names);

} // namespace zelvo
