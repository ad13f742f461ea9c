#pragma once

#include "ZelvoGateway/base/KeyRing.h"
#include "ZelvoGateway/base/Metrics.h"
#include "ZelvoGateway/control/CommandQueue.h"
#include "ZelvoGateway/control/ControlService.h"
#include "ZelvoGateway/control/PlatformCommand.h"
#include "ZelvoGateway/machines/MachineDirectory.h"

#include <string>
#include <variant>

namespace zelvo::service {

/// What a machine answered to a command.
struct CommandResult {
    json::value value;
    std::size_t bytes = 0;      ///< of its text
    MemoryBudget::Lease memory; ///< held for as long as the value is
};

/// The result of a command that ran, or the command as it was queued.
using CommandOutcome = std::variant<CommandResult, StoredCommand>;

/// Carries a platform's command to the machine of a connection, and the answer back. A command that may be
/// queued goes into the queue while the machine is not available.
/// Thread: the server's; large texts are written on the workers. Errors: Failure.
class CommandService {
public:
    CommandService(Store& store,
                   MachineDirectory& machines,
                   ControlService& control,
                   CommandQueue& queue,
                   KeyRing& keys,
                   AuditLog& audit,
                   Settings const& settings,
                   Clock& clock,
                   Executor workers,
                   Metrics& metrics = Metrics::none());

    /// Throws Failure: notFound if the connection does not exist, was revoked or is not reached by the
    /// caller.
    void assertExists(Caller const& caller, std::string const& connectionId)
    {
        connectionOf(caller, connectionId);
    }
    /// bytes    about how long the command's text is
    /// Throws   Failure: the machine's own error, too
    Task<CommandOutcome>
    run(Caller caller, std::string connectionId, PlatformCommand command, std::size_t bytes);
    /// A queued command, with its result or error once it has ended.
    StoredCommand state(Caller const& caller, std::string const& connectionId, std::string const& commandId);
    /// Cancels a queued command that has not begun.
    StoredCommand cancel(Caller const& caller, std::string const& connectionId, std::string const& commandId);

private:
    /// A command that is ready to be sent or queued.
    struct Submission {
        Caller caller;
        StoredConnection connection;
        PlatformCommand command; ///< without params and agent, which are in the text
        Agent agent;
        std::string id;
        std::string summary; ///< empty if it may not be queued
        std::string text;    ///< of the frame
        Duration patience{};
    };

    Task<CommandOutcome>
    carryOut(Caller caller, std::string connectionId, PlatformCommand command, std::size_t bytes);
    StoredConnection connectionOf(Caller const& caller, std::string const& id);
    void assertStillAllowed(Submission const& submission);
    Task<Submission> prepare(StoredConnection connection, PlatformCommand command, std::size_t bytes);
    Task<CommandOutcome> send(Submission submission);
    std::shared_ptr<ConnectedMachine> onlineMachine(std::string const& machineId) const;
    static void logSent(Submission const& submission);
    CommandOutcome enqueue(Submission submission);

    Store& store;
    MachineDirectory& machines;
    ControlService& control;
    CommandQueue& queue;
    KeyRing& keys;
    AuditLog& audit;
    Settings const& settings;
    Clock& clock;
    Executor workers;
    Metrics& metrics;
};

} // namespace zelvo::service
