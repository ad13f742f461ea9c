#pragma once

#include "ZelvoGateway/control/ControlService.h"
#include "ZelvoGateway/control/PlatformCommand.h"
#include "ZelvoGateway/control/QueueRunner.h"
#include "ZelvoGateway/control/QueueVisits.h"
#include "wire/records/Events.h"

#include <memory>
#include <string>
#include <vector>

namespace zelvo::service {

/// Commands that wait in the store for their machines.
///
/// A machine is back when it is connected and its heartbeat says that it is ready and not paused. It then
/// gets one "queue.offer" for each connection, with the commands that wait. The person answers with the event
/// "queued_commands_ack": accepted commands run at once, in the order of the queue; declined ones fail with
/// denied_by_user. Commands without an answer wait until they expire, and are offered again at the next
/// visit. So are commands that were accepted but had not begun when the machine went away or was paused,
/// because the person agreed to run them then. Thread: the server's. Errors: Failure.
class CommandQueue {
public:
    CommandQueue(Store& store,
                 ControlService& control,
                 AuditLog& audit,
                 Clock& clock,
                 Settings const& settings,
                 OpenWork& work,
                 Executor server,
                 Executor workers,
                 Metrics& metrics = Metrics::none());

    /// A command on its way into the queue.
    struct Entry {
        std::string id;
        std::string summary;
        std::string frame; ///< what the machine will get
        std::string keyId = {};
    };
    /// Adds a command.
    /// Throws   Failure: rateLimited if the queue of the connection or of its machine is full,
    ///          invalidRequest (tooLarge) if the frame is too large
    StoredCommand add(StoredConnection const& connection, PlatformCommand const& command, Entry entry);
    /// Throws Failure: notFound, also for a command of another connection.
    StoredCommand state(std::string const& connectionId, std::string const& id);
    /// Cancels a command that has not begun.
    /// Throws Failure: notFound; invalidRequest (wrongState) if it has begun or ended.
    StoredCommand cancel(std::string const& connectionId, std::string const& id);

    void presenceChanged(std::shared_ptr<ConnectedMachine> const& machine);
    /// "queued_commands_ack". Commands that are unknown, expired, answered already or of another connection
    /// are ignored. While the machine is not back, a yes is ignored; a no always counts.
    void acknowledged(std::shared_ptr<ConnectedMachine> const& machine, records::MachineEvent const& event);
    void sessionEnded(std::shared_ptr<ConnectedMachine> const& machine);
    /// The machine refused a command because it is not ready, although its last heartbeat says otherwise. It
    /// is back when a heartbeat says so again.
    void machineRefused(std::shared_ptr<ConnectedMachine> const& machine);
    /// Forgets the connection's commands.
    void connectionRevoked(std::string const& connectionId) { store.dropCommands(connectionId); }
    /// Once a minute: ends what has expired and forgets old results.
    void runMaintenance();

private:
    using Commands = std::vector<StoredCommand>;

    void noteAnswer(std::string const& connectionId, std::string_view type, json::array commandIds);
    void assertRoom(StoredConnection const& connection, std::size_t bytes);
    void offerAll(QueueVisits::Visit const& visit);
    Task<> offer(QueueVisits::Visit visit, StoredConnection connection, Commands commands);
    Task<bool> offerOnce(QueueVisits::Visit visit, StoredConnection connection, Commands commands);

    Store& store;
    AuditLog& audit;
    Clock& clock;
    Settings const& settings;
    Executor server;
    QueueVisits visits;
    QueueRunner runner;
};

} // namespace zelvo::service
