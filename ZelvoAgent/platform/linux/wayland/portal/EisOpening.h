#pragma once

#include "base/Clock.h"
#include "platform/linux/wayland/InputSink.h"
#include "platform/linux/wayland/portal/PortalAnswer.h"
#include "platform/portable/files/UniqueFd.h"

#include <functional>
#include <memory>
#include <vector>

namespace zelvo {

/// What input by EIS is made of.
struct EisParts {
    Executor agent;
    Clock& clock; ///< outlives the input
    UniqueFd socket;
    std::vector<PortalStream> streams;     ///< that the person shared
    std::function<MonitorLayout()> layout; ///< thread: any; never blocks
    /// Asks the portals whether all is handled; for versions of libei that cannot ask by the connection.
    std::function<Task<>()> barrier;
};

/// Whether this program was built with libei.
bool isEisBuilt();

/// Takes a connection of PortalSession::connectToEis(). Null if libei refuses it or is not there.
/// Thread: agent.
std::shared_ptr<InputSink> openEis(EisParts parts);

} // namespace zelvo
