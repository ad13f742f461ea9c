#pragma once

#include "ZelvoGateway/machines/ConnectedMachine.h"
#include "wire/records/Events.h"

#include <memory>

namespace zelvo::service {

/// Hears what happens to machines.
/// Thread: the server's.
/// Made by: MachineEvents.
class MachineListener {
public:
    virtual ~MachineListener() = default;
    /// Once for each session, before everything else.
    virtual void sessionBegan(std::shared_ptr<ConnectedMachine> const& machine) = 0;
    /// The machine sent a heartbeat, or was paused or resumed: presence() is new.
    virtual void presenceChanged(std::shared_ptr<ConnectedMachine> const& machine) = 0;
    /// Every other event.
    virtual void eventReceived(std::shared_ptr<ConnectedMachine> const& machine,
                               records::MachineEvent const& event) = 0;
    /// Once for each session. The machine is offline, or a newer session has replaced this one.
    virtual void sessionEnded(std::shared_ptr<ConnectedMachine> const& machine) = 0;
};

} // namespace zelvo::service
