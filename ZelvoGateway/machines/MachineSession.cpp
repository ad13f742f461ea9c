#include "ZelvoGateway/machines/MachineSession.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Failure.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace zelvo::service {

namespace {

constexpr std::size_t maxHeartbeat = 64_KiB; // It is stored, so its size is bounded.

Presence presenceOf(records::Heartbeat const& heartbeat)
{
    Presence presence{.paused = heartbeat.paused, .availability = heartbeat.availability, .granted = {}};
    if (auto const& features = heartbeat.features)
        presence.knowsAgents = std::ranges::find(*features, "agents") != features->end();
    // A machine without a person reports no connections.
    if (auto const& granted = heartbeat.grantedConnectionIds;
        granted && heartbeat.mode == AgentMode::connected)
        presence.granted.emplace(granted->begin(), granted->end());
    return presence;
}

} // namespace

/// A call that waits for its reply; cancelling its timer wakes it.
struct MachineSession::Call {
    explicit Call(Executor executor) : wake(executor) {}

    asio::steady_timer wake;
    std::optional<MachineMessage> reply;
    bool ended = false;
};

MachineSession::MachineSession(std::string machineId,
                               std::shared_ptr<MachineLink> link,
                               Store& store,
                               Limits const& limits,
                               MachineListener& listener)
    : id(std::move(machineId)), link(std::move(link)), store(store), limits(limits), listener(listener)
{
    if (auto const machine = store.machine(id))
        present.paused = machine->paused;
}

void MachineSession::assertRoomFor(std::size_t bytes) const
{
    if (over)
        throw Failure{.code = ErrorCode::machineOffline, .message = "The machine is not connected"};
    if (calls.size() >= limits.callsOfMachine || callBytes + bytes > limits.callBytesOfMachine)
        throw Failure{.code = ErrorCode::rateLimited,
                      .message = "Too many commands are waiting for this machine",
                      .limit = Refusal::machineCommands};
}

Task<MachineMessage> MachineSession::call(std::string requestId, std::string text, Duration timeout)
{
    auto const self = shared_from_this();
    std::size_t const bytes = text.size();
    assertRoomFor(bytes);
    auto const call = std::make_shared<Call>(co_await asio::this_coro::executor);
    call->wake.expires_after(timeout);
    calls.emplace(requestId, call);
    callBytes += bytes;
    link->send(std::move(text));

    co_await call->wake.async_wait(asio::as_tuple(asio::use_awaitable));

    calls.erase(requestId);
    callBytes -= bytes;
    if (call->reply)
        co_return std::move(*call->reply);
    if (call->ended)
        throw Failure{.code = ErrorCode::machineOffline,
                      .message = "The machine went away before it answered",
                      .requestId = requestId};
    throw Failure{
        .code = ErrorCode::timeout, .message = "The machine did not answer in time", .requestId = requestId};
}

void MachineSession::began()
{
    store.setSeen(id, today());
    listener.sessionBegan(shared_from_this());
}

bool MachineSession::received(MachineMessage message)
{
    json::object const* const object = message.value.if_object();
    if (!object || over)
        return false;
    if (object->contains("event"))
        receivedEvent(*object);
    else if (read::text(*object, "method") == "heartbeat" && message.bytes <= maxHeartbeat)
        receivedHeartbeat(*object);
    else
        return receivedReply(std::move(message));
    return false;
}

void MachineSession::receivedHeartbeat(json::object const& message)
{
    json::value const* const params = message.if_contains("params");
    auto const heartbeat = params ? records::fromJson<records::Heartbeat>(*params) : std::nullopt;
    if (!heartbeat)
        return;
    store.saveHeartbeat(id, *heartbeat, today());
    present = presenceOf(*heartbeat);
    listener.presenceChanged(shared_from_this());
}

void MachineSession::receivedEvent(json::object const& message)
{
    auto const event = records::fromJson<records::MachineEvent>(message);
    if (!event)
        return;
    bool const paused = event->event == records::MachineEventType::paused;
    if (paused || event->event == records::MachineEventType::resumed) {
        store.setPaused(id, paused, today());
        present.paused = paused;
        listener.presenceChanged(shared_from_this());
    } else {
        listener.eventReceived(shared_from_this(), *event);
    }
}

bool MachineSession::receivedReply(MachineMessage message)
{
    auto const requestId = read::text(message.value.get_object(), "id");
    auto const call = requestId ? calls.find(*requestId) : calls.end();
    if (call == calls.end() || call->second->reply)
        return false; // Too late, or nobody asked.
    call->second->reply = std::move(message);
    call->second->wake.cancel();
    return true;
}

void MachineSession::ended()
{
    if (std::exchange(over, true))
        return;
    store.setSeen(id, today());
    for (auto const& [requestId, call] : calls) {
        call->ended = true;
        call->wake.cancel();
    }
    listener.sessionEnded(shared_from_this());
}

} // namespace zelvo::service
