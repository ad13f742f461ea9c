#pragma once

#include "base/LockedBox.h"
#include "base/Task.h"
#include "platform/linux/dbus/BusConnection.h"

#include <string>
#include <vector>

namespace zelvo {

/// Passes everything that was sent through the portal: the front end hands an event to a backend before it
/// answers, the backend to the compositor before it answers the next question, and the compositor handles
/// messages in their order. Thread: any.
class PortalBarrier {
public:
    static constexpr Duration patience = 500ms; ///< with each of them

    /// session  must outlive this
    explicit PortalBarrier(BusConnection& session) : session(session) {}
    /// Asks backends and compositor one after the other. One that does not answer is passed over.
    Task<> pass();

private:
    Task<> findBackends();
    Task<> ask(std::string destination, std::string path, std::string interface);

    BusConnection& session;
    LockedBox<std::vector<std::string>> backends; ///< names of the bus
};

} // namespace zelvo
