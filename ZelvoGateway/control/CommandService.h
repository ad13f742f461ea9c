#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/control/CommandQueue.h"
#include "ZelvoGateway/control/ControlService.h"
#include "ZelvoGateway/control/PlatformCommand.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/machines/MachineRegistry.h"
#include "ZelvoGateway/store/Store.h"

namespace zelvo::service {

/// Carries a platform's command to the machine of a connection, and its answer back; one that may wait for
/// its machine goes into the queue when the machine is not available.
/// Thread: the server's; large texts are read and written on the workers. Errors: Failure.
class CommandService final : public MachineListener {
public:
    CommandService(Store& store,
                   MachineRegistry& machines,
                   Settings const& settings,
                   Clock& clock,
                   MemoryBudget& memory,
                   Executor workers);

    /// body   {"method", "params"?, "agent"?, "delivery"?}; see PlatformCommand
    /// Gives  {"result": ...} as a response of 200, or a QueuedCommand as one of 202. The machine's own error
    ///        is thrown as a Failure.
    Task<HttpResponse> run(std::string connectionId, std::string body);
    /// A QueuedCommand: what has become of a queued command, with its result or error once it has ended.
    HttpResponse state(std::string const& connectionId, std::string const& commandId);
    /// Takes back a queued command that has not begun; the QueuedCommand, canceled.
    HttpResponse cancel(std::string const& connectionId, std::string const& commandId);

    void connectionRevoked(std::string const& machineId, std::string const& connectionId);
    void machineRemoved(std::string const& machineId) { control.machineRemoved(machineId); }
    /// What is to be done once a minute.
    void tidy() { queue.tidy(); }
    /// Ends the waits for control.
    void stop() { control.stop(); }

    void presenceTold(std::shared_ptr<MachineSession> const& session) override;
    void eventTold(std::shared_ptr<MachineSession> const& session,
                   records::MachineEvent const& event) override;
    void sessionEnded(std::shared_ptr<MachineSession> const& session) override;

private:
    /// A command on its way to its machine.
    struct Way {
        StoredConnection connection;
        PlatformCommand command; ///< without params and agent, which stand in the text
        Agent agent;
        std::string id;
        std::string summary;
        std::string text; ///< of the frame
        Duration patience{};
    };

    StoredConnection connectionOf(std::string const& id);
    Task<Way> read(StoredConnection connection, std::string body);
    Task<HttpResponse> send(Way way);
    Task<HttpResponse> responseOf(std::string requestId, MachineMessage reply);
    HttpResponse enqueue(Way way);
    HttpResponse recordResponse(StoredCommand command);

    Store& store;
    MachineRegistry& machines;
    Settings const& settings;
    Clock& clock;
    MemoryBudget& memory;
    Executor workers;
    ControlService control;
    CommandQueue queue;
};

} // namespace zelvo::service
