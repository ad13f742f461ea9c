#include "ZelvoGateway/control/ControlService.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/control/MethodRules.h"

#include <algorithm>

namespace zelvo::service {

namespace {

/// False if the machine refuses input because the connection lacks the scope. Machines without a person need
/// no scopes.
bool mayControl(StoredConnection const& connection)
{
    return connection.kind != AgentMode::connected ||
           std::ranges::find(connection.scopes, AgentScope::input) != connection.scopes.end();
}

Failure failureOf(Arbiter::Outcome outcome)
{
    if (outcome == Arbiter::Outcome::paused)
        return {.code = ErrorCode::agentPaused, .message = "The person has paused this agent"};
    if (outcome == Arbiter::Outcome::busy)
        return {.code = ErrorCode::machineBusy, .message = "Another agent is in control of this machine"};
    return {.code = ErrorCode::machineOffline, .message = "The machine or the connection went away"};
}

} // namespace

ControlService::Lease::~Lease()
{
    if (machine)
        machine->finished(ticket);
}

Task<ControlService::Lease>
ControlService::acquire(StoredConnection connection, std::string method, Agent agent, Instant deadline)
{
    auto const machine = controlOf(connection.machineId).shared_from_this();
    if (machine->isPaused(agent.ref))
        throw failureOf(Arbiter::Outcome::paused);
    if (!MethodRules::needsControl(method) || !mayControl(connection))
        co_return Lease();
    Arbiter::Ticket const ticket = machine->ask(agent, deadline);
    Arbiter::Outcome const outcome = co_await machine->outcomeOf(ticket);
    if (outcome != Arbiter::Outcome::granted)
        throw failureOf(outcome);
    Lease lease(machine, ticket);
    if (machine->isPaused(agent.ref)) // The person may have paused it after it was granted.
        throw failureOf(Arbiter::Outcome::paused);
    co_return lease;
}

MachineControl& ControlService::controlOf(std::string const& machineId)
{
    auto& control = controls[machineId];
    if (!control)
        control = std::make_shared<MachineControl>(clock, settings, server, store.pausedAgents(machineId));
    return *control;
}

void ControlService::assertNotPaused(std::string const& machineId, std::string const& ref)
{
    if (controlOf(machineId).isPaused(ref))
        throw failureOf(Arbiter::Outcome::paused);
}

void ControlService::presenceChanged(std::shared_ptr<ConnectedMachine> const& machine)
{
    MachineControl& control = controlOf(machine->machineId());
    for (std::string const& connectionId : control.connections())
        if (!machine->presence().knows(connectionId))
            connectionRevoked(machine->machineId(), connectionId);
    if (machine->presence().knowsAgents)
        control.attach(machine);
}

void ControlService::pause(std::string const& machineId, std::string const& ref)
{
    if (auto const paused = controlOf(machineId).pause(ref)) {
        store.addPausedAgent(machineId, *paused);
        noteByPerson("agent.paused", paused->agent);
    }
}

void ControlService::noteByPerson(std::string_view type, Agent const& agent)
{
    if (auto const connection = store.connection(agent.connectionId))
        audit.addFrom(records::Actor::endUser, AuditEntry::of(*connection, type, {{"agentRef", agent.ref}}));
}

void ControlService::resume(std::string const& machineId, std::string const& ref)
{
    if (!controlOf(machineId).resume(ref))
        return;
    for (PausedAgent const& paused : store.pausedAgents(machineId))
        if (paused.agent.ref == ref)
            noteByPerson("agent.resumed", paused.agent);
    store.removePausedAgent(machineId, ref);
}

void ControlService::machineGone(std::string const& machineId)
{
    controlOf(machineId).detach();
}

void ControlService::machineRemoved(std::string const& machineId)
{
    controlOf(machineId).stop();
    controls.erase(machineId);
}

void ControlService::connectionRevoked(std::string const& machineId, std::string const& connectionId)
{
    store.removePausedAgents(connectionId);
    controlOf(machineId).removeConnection(connectionId);
}

void ControlService::stop()
{
    for (auto const& [machineId, control] : controls)
        control->stop();
}

} // namespace zelvo::service
