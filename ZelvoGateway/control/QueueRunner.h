#pragma once

#include "ZelvoGateway/base/Metrics.h"
#include "ZelvoGateway/base/OpenWork.h"
#include "ZelvoGateway/control/ControlService.h"
#include "ZelvoGateway/control/QueueVisits.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"

#include <string>
#include <vector>

namespace zelvo::service {

/// Runs the queued commands that a person has accepted: those of one connection one after the other, in the
/// order of the queue. A command that was sent is never sent again, unless the machine itself said that it
/// did not start it. Thread: the server's; large texts are read and written on the workers.
class QueueRunner {
public:
    QueueRunner(Store& store,
                ControlService& control,
                QueueVisits& visits,
                Clock& clock,
                Settings const& settings,
                OpenWork& work,
                Executor server,
                Executor workers,
                Metrics& metrics = Metrics::none());

    /// Runs these commands after those that were accepted before.
    void accept(QueueVisits::Visit const& visit,
                std::string const& connectionId,
                std::vector<std::string> const& ids);
    /// The person has declined a command.
    void deny(std::string const& id);
    /// Ends a command that has this status, and forgets old results of its connection.
    void end(StoredCommand const& command, records::CommandStatus status, CommandEnd const& end);

private:
    Task<> runAccepted(QueueVisits::Visit visit, std::string connectionId);
    Task<> runOne(QueueVisits::Visit visit, std::string id);
    Task<> send(QueueVisits::Visit visit, StoredCommand command, Duration patience);
    Task<> retryLater(QueueVisits::Visit visit, StoredCommand command);
    void report(StoredCommand const& command, Instant began, std::optional<ErrorCode> error);
    Task<CommandEnd> endOf(MachineMessage reply);

    Store& store;
    ControlService& control;
    QueueVisits& visits;
    Clock& clock;
    Settings const& settings;
    OpenWork& work; // Once it closes, no further command runs: each stays queued.
    Executor server;
    Executor workers;
    Metrics& metrics;
};

} // namespace zelvo::service
