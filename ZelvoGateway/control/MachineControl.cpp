#include "ZelvoGateway/control/MachineControl.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr Duration crowdedPause = 1s; // Before another attempt if too much is under way to the machine.

} // namespace

MachineControl::MachineControl(Clock& clock,
                               Settings const& settings,
                               Executor server,
                               std::vector<PausedAgent> paused)
    : clock(clock), settings(settings), server(std::move(server)),
      arbiter(settings.control, std::move(paused))
{
}

Arbiter::Ticket MachineControl::ask(Agent const& agent, Instant deadline)
{
    Moment const now = moment();
    Arbiter::Ticket const ticket = arbiter.ask(agent, std::max(deadline, now.instant), now);
    settle();
    return ticket;
}

Task<Arbiter::Outcome> MachineControl::outcomeOf(Arbiter::Ticket ticket)
{
    auto const self = shared_from_this();
    if (auto const known = early.extract(ticket))
        co_return known.mapped();
    if (stopped)
        co_return Arbiter::Outcome::gone;
    auto const mine = std::make_shared<Waiting>(server);
    waiting.emplace(ticket, mine);
    co_await mine->wake.async_wait(asio::as_tuple(asio::use_awaitable));
    waiting.erase(ticket);
    auto const cancellation = co_await asio::this_coro::cancellation_state;
    if (cancellation.cancelled() != asio::cancellation_type::none) {
        withdraw(ticket);
        throw boost::system::system_error(asio::error::operation_aborted);
    }
    co_return mine->outcome.value_or(Arbiter::Outcome::gone);
}

void MachineControl::withdraw(Arbiter::Ticket ticket)
{
    if (stopped)
        return;
    arbiter.withdraw(ticket, moment());
    settle();
}

void MachineControl::finished(Arbiter::Ticket ticket)
{
    if (stopped) // Leases end as late as the server does, when the clock may be gone.
        return;
    arbiter.finished(ticket, moment());
    settle();
}

std::optional<PausedAgent> MachineControl::pause(std::string const& ref)
{
    auto paused = arbiter.pause(ref, moment());
    settle();
    return paused;
}

bool MachineControl::resume(std::string const& ref)
{
    bool const resumed = arbiter.resume(ref);
    settle();
    return resumed;
}

void MachineControl::removeConnection(std::string const& connectionId)
{
    arbiter.removeConnection(connectionId, moment());
    settle();
}

void MachineControl::attach(std::shared_ptr<ConnectedMachine> const& machine)
{
    if (notification && notification->machine == machine)
        return;
    notification = std::make_shared<NotificationState>(NotificationState{.machine = machine, .sent = {}});
    settle();
}

void MachineControl::detach()
{
    notification = nullptr;
    arbiter.machineGone();
    settle();
}

void MachineControl::stop()
{
    stopped = true;
    timer.cancel();
    notification = nullptr;
    for (auto const& [ticket, one] : waiting)
        one->wake.cancel();
}

/// After every change of the arbiter.
void MachineControl::settle()
{
    deliverOutcomes();
    if (stopped)
        return;
    setTimer();
    notify();
}

void MachineControl::deliverOutcomes()
{
    for (auto const& [ticket, outcome] : arbiter.takeDecided()) {
        auto const entry = waiting.find(ticket);
        if (entry == waiting.end()) {
            early[ticket] = outcome;
            continue;
        }
        entry->second->outcome = outcome;
        entry->second->wake.cancel();
    }
}

void MachineControl::setTimer()
{
    auto const due = arbiter.nextDue();
    if (due == timerDue)
        return;
    timer.cancel();
    timerDue = due;
    if (!due)
        return;
    timer = spawn(server, [weak = weak_from_this(), &clock = clock, due = *due]() -> Task<> {
        co_await clock.sleepUntil(due);
        auto const self = weak.lock();
        if (!self || self->stopped)
            co_return;
        self->timer = {};
        self->timerDue.reset();
        self->arbiter.tick(self->moment());
        self->settle();
    });
}

void MachineControl::notify()
{
    if (!notification || notification->sending || !isOutdated(*notification))
        return;
    notification->sending = true;
    spawn(server, [self = shared_from_this(), state = notification] { return self->sendChanges(state); });
}

/// One update at a time, always the newest: while a machine is slow, only the last change counts.
Task<> MachineControl::sendChanges(std::shared_ptr<NotificationState> state)
{
    while (!stopped && notification == state && isOutdated(*state)) {
        state->sent = arbiter.snapshot();
        if (co_await send(state))
            continue;
        state->sent.reset();
        co_await clock.sleep(crowdedPause);
    }
    state->sending = false;
}

/// False if it was not sent, because too much is under way to the machine.
Task<bool> MachineControl::send(std::shared_ptr<NotificationState> state)
{
    std::string const requestId = newId("req");
    json::object const frame{
        {"id", requestId}, {"method", "agents.update"}, {"params", records::toJson(*state->sent)}};
    try {
        co_await state->machine->call(requestId, writeJson(frame), settings.commandTimeout);
    } catch (Failure const& failure) {
        co_return failure.code != ErrorCode::rateLimited;
    }
    co_return true;
}

} // namespace zelvo::service
