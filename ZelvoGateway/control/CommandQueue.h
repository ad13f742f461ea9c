#pragma once

#include "ZelvoGateway/control/ControlService.h"
#include "ZelvoGateway/control/PlatformCommand.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/machines/MachineSession.h"

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zelvo::service {

/// Commands that wait for their machines, on disk.
///
/// When a machine is back (connected, and its heartbeat says that it is ready and not paused) it gets one
/// "queue.offer" for each connection that stands there, with the commands that wait. What the person accepts,
/// told by the event "queued_commands_ack", runs at once, one after the other in the order in which it was
/// submitted; what they decline has failed with "denied_by_user". What they leave unanswered stays until its
/// time is over, and is offered again when the machine is back the next time. So is what was accepted but not
/// begun when the machine went away or was paused again: the yes was to running it then. What has begun is
/// never sent again, unless the machine itself said that it did not start it. Thread: the server's. Errors:
/// Failure.
class CommandQueue {
public:
    CommandQueue(
        Store& store, ControlService& control, Clock& clock, Settings const& settings, Executor workers);

    /// Keeps a command; `frame` is what the machine will get. Throws Failure: rateLimited when the
    /// connection or its machine has too many, invalidRequest when it is too large.
    records::QueuedCommand add(StoredConnection const& connection,
                               PlatformCommand const& command,
                               std::string id,
                               std::string summary,
                               std::string frame);
    /// What has become of a command. Throws Failure: notFound, also for another connection's.
    StoredCommand state(std::string const& connectionId, std::string const& id);
    /// Takes a command back that has not begun. Throws Failure: notFound; invalidRequest with status 409 when
    /// it runs or has ended.
    StoredCommand cancel(std::string const& connectionId, std::string const& id);

    void presenceTold(std::shared_ptr<MachineSession> const& session);
    /// "queued_commands_ack": what is unknown, expired, another's or was answered before is passed over. A
    /// yes that comes when the machine is not back any more changes nothing; a no always counts.
    void acknowledged(std::shared_ptr<MachineSession> const& session, records::MachineEvent const& event);
    void sessionEnded(std::shared_ptr<MachineSession> const& session);
    /// The machine refused something since it is not ready, though its last heartbeat says otherwise: it is
    /// back when a heartbeat says so again.
    void machineRefused(std::shared_ptr<MachineSession> const& session);
    /// Forgets the connection's commands.
    void connectionRevoked(std::string const& connectionId) { store.dropCommands(connectionId); }
    /// Lets what is over end, and forgets what ended long ago.
    void tidy();

private:
    /// A machine from the moment it is back until it goes away or is not ready any more, and the time before
    /// that. What was accepted belongs to one visit: its tasks end with it.
    struct Visit {
        std::shared_ptr<MachineSession> session;
        bool back = false;
        std::map<std::string, std::vector<std::string>> offered; ///< by connection: commands without answer
        std::map<std::string, std::deque<std::string>> accepted; ///< by connection: commands to run
        std::set<std::string> running;                           ///< connections
    };
    using Commands = std::vector<StoredCommand>;

    void assertRoom(StoredConnection const& connection, std::size_t bytes);
    std::shared_ptr<Visit> visitOf(std::shared_ptr<MachineSession> const& session);
    bool goesOn(std::shared_ptr<Visit> const& visit) const;
    void endVisit(std::shared_ptr<Visit> const& visit);
    void offerAll(std::shared_ptr<Visit> const& visit);
    Task<> offer(std::shared_ptr<Visit> visit, StoredConnection connection, Commands commands);
    Task<bool> offerOnce(std::shared_ptr<Visit> visit, StoredConnection connection, Commands commands);
    void accept(std::shared_ptr<Visit> const& visit,
                std::string const& connectionId,
                std::vector<std::string> const& ids);
    Task<> runAccepted(std::shared_ptr<Visit> visit, std::string connectionId);
    Task<> runOne(std::shared_ptr<Visit> visit, std::string id);
    Task<> send(std::shared_ptr<Visit> visit, StoredCommand command, Duration patience);
    Task<> tryLater(std::shared_ptr<Visit> visit, StoredCommand command);
    Task<CommandEnd> endOf(MachineMessage reply);
    void deny(std::string const& id);
    void end(StoredCommand const& command, records::CommandStatus status, CommandEnd const& end);

    Store& store;
    ControlService& control;
    Clock& clock;
    Settings const& settings;
    Executor workers;
    std::map<std::string, std::shared_ptr<Visit>> visits; // by machine
};

/// {"commandId", "status", "expiresAt", "result"?, "error"?}, the text of a QueuedCommand.
std::string recordText(StoredCommand const& command);

} // namespace zelvo::service
