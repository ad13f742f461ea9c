#pragma once

#include "base/Task.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace zelvo {

/// What has changed in an application's interface.
enum class InterfaceChange : std::uint8_t {
    elements, ///< elements came, went or changed
    windows,  ///< a window opened, closed, or came to the front
};

/// Follows the interfaces of applications. Destroying it ends that.
class InterfaceWatch {
public:
    virtual ~InterfaceWatch() = default;
};

/// Opens watches. Without one, applications report nothing and are not slowed down.
/// Thread: any. Made by: platform/linux/atspi/AtspiInterfaceWatches, tests/fakes/FakeInterfaceWatches.
class InterfaceWatches {
public:
    using Changed = std::function<void(std::int32_t pid, InterfaceChange change)>;

    virtual ~InterfaceWatches() = default;
    /// Resumes when applications have been asked to report. Never fails: some applications report nothing or
    /// only a part, so look again from time to time anyway.
    /// changed   called on the agent executor, often in bursts. It may still be called for a moment after the
    ///           watch is destroyed
    virtual Task<std::unique_ptr<InterfaceWatch>> open(Changed changed) = 0;
};

} // namespace zelvo
