#include "ZelvoGateway/control/ControlService.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/control/PlatformCommand.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr Duration crowdedPause = 1s; // Before another try when too much is under way to a machine.

/// True when the machine will not refuse input for want of the scope. Machines without a person ask for none.
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

/// One machine: its arbiter, the commands that wait, and what the machine was told.
class ControlService::Desk : public std::enable_shared_from_this<Desk> {
public:
    Desk(Clock& clock, Settings const& settings, std::vector<PausedAgent> paused)
        : clock(clock), settings(settings), arbiter(settings.control, std::move(paused))
    {
    }

    /// Makes a change, hands out what was decided, and tells the machine what is new.
    template <class Change>
    auto change(Change const& make)
    {
        if constexpr (std::is_void_v<decltype(make(arbiter, moment()))>) {
            make(arbiter, moment());
            settle();
        } else {
            auto made = make(arbiter, moment());
            settle();
            return made;
        }
    }

    /// caller: who will wait for the outcome.
    Arbiter::Ticket ask(Executor caller, Agent const& agent, Instant deadline);
    Task<Arbiter::Outcome> outcomeOf(Arbiter::Ticket ticket);
    void attach(std::shared_ptr<MachineSession> const& session);
    void detach();
    bool isPaused(std::string const& ref) const { return arbiter.isPaused(ref); }
    std::set<std::string> connections() const { return arbiter.connections(); }
    void finished(Arbiter::Ticket ticket);
    void stop();

private:
    /// A command that waits for its outcome; its timer is what wakes it.
    struct Waiting {
        explicit Waiting(Executor executor) : wake(executor, asio::steady_timer::time_point::max()) {}
        asio::steady_timer wake;
        std::optional<Arbiter::Outcome> outcome;
    };

    /// What one session has been told.
    struct Telling {
        std::shared_ptr<MachineSession> session;
        std::optional<records::AgentsUpdate> told;
        bool underWay = false;
    };

    Moment moment() const { return {.instant = clock.now(), .date = clock.date()}; }
    void settle();
    void handOut();
    void setTimer();
    void tell();
    Task<> tellAll(std::shared_ptr<Telling> one);
    bool isNews(Telling const& one) const { return one.told != arbiter.picture(); }

    Clock& clock;
    Settings const& settings;
    Arbiter arbiter;
    std::map<Arbiter::Ticket, std::shared_ptr<Waiting>> waiting;
    std::map<Arbiter::Ticket, Arbiter::Outcome> early; // Decided before somebody waited for it.
    std::optional<Executor> executor;                  // Once somebody has come.
    std::shared_ptr<Telling> telling;
    TaskHandle timer;
    std::optional<Instant> timerDue;
    bool stopped = false;
};

Arbiter::Ticket ControlService::Desk::ask(Executor caller, Agent const& agent, Instant deadline)
{
    executor = std::move(caller);
    return change(
        [&](Arbiter& on, Moment now) { return on.ask(agent, std::max(deadline, now.instant), now); });
}

Task<Arbiter::Outcome> ControlService::Desk::outcomeOf(Arbiter::Ticket ticket)
{
    auto const self = shared_from_this();
    if (auto const known = early.extract(ticket))
        co_return known.mapped();
    if (stopped)
        co_return Arbiter::Outcome::gone;
    auto const mine = std::make_shared<Waiting>(*executor);
    waiting.emplace(ticket, mine);
    co_await mine->wake.async_wait(asio::as_tuple(asio::use_awaitable));
    waiting.erase(ticket);
    co_return mine->outcome.value_or(Arbiter::Outcome::gone);
}

void ControlService::Desk::settle()
{
    handOut();
    if (stopped)
        return;
    setTimer();
    tell();
}

void ControlService::Desk::handOut()
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

void ControlService::Desk::setTimer()
{
    auto const due = arbiter.nextDue();
    if (due == timerDue || !executor)
        return;
    timer.cancel();
    timerDue = due;
    if (!due)
        return;
    timer = spawn(*executor, [weak = weak_from_this(), &clock = clock, due = *due]() -> Task<> {
        co_await clock.sleepUntil(due);
        auto const self = weak.lock();
        if (!self || self->stopped)
            co_return;
        self->timer = {};
        self->timerDue.reset();
        self->change([](Arbiter& on, Moment now) { on.tick(now); });
    });
}

void ControlService::Desk::attach(std::shared_ptr<MachineSession> const& session)
{
    executor = session->executor();
    if (telling && telling->session == session)
        return;
    telling = std::make_shared<Telling>(Telling{.session = session, .told = {}});
    settle();
}

void ControlService::Desk::detach()
{
    telling = nullptr;
    change([](Arbiter& on, Moment) { on.machineGone(); });
}

void ControlService::Desk::tell()
{
    if (!telling || telling->underWay || !isNews(*telling))
        return;
    telling->underWay = true;
    spawn(telling->session->executor(),
          [self = shared_from_this(), now = telling] { return self->tellAll(now); });
}

Task<> ControlService::Desk::tellAll(std::shared_ptr<Telling> one)
{
    // One at a time, and always the newest: what changed while a machine was slow is told once.
    while (!stopped && telling == one && isNews(*one)) {
        one->told = arbiter.picture();
        std::string const requestId = newId("req");
        json::object const frame{
            {"id", requestId}, {"method", "agents.update"}, {"params", records::toJson(*one->told)}};
        bool crowded = false;
        try {
            co_await one->session->call(requestId, writeJson(frame), settings.commandTimeout);
        } catch (Failure const& failure) {
            crowded = failure.code == ErrorCode::rateLimited;
        }
        if (crowded) {
            one->told.reset();
            co_await clock.sleep(crowdedPause);
        }
    }
    one->underWay = false;
}

void ControlService::Desk::finished(Arbiter::Ticket ticket)
{
    if (stopped) // Leases are let go to the very end, when there may be no clock any more.
        return;
    change([&](Arbiter& on, Moment now) { on.finished(ticket, now); });
}

void ControlService::Desk::stop()
{
    stopped = true;
    timer.cancel();
    telling = nullptr;
    for (auto const& [ticket, one] : waiting)
        one->wake.cancel();
}

ControlService::Lease::~Lease()
{
    if (desk)
        desk->finished(ticket);
}

Task<ControlService::Lease>
ControlService::acquire(StoredConnection connection, std::string method, Agent agent, Instant deadline)
{
    auto const desk = deskOf(connection.machineId).shared_from_this();
    if (desk->isPaused(agent.ref))
        throw failureOf(Arbiter::Outcome::paused);
    if (!needsControl(method) || !mayControl(connection))
        co_return Lease();
    Executor const caller = co_await asio::this_coro::executor;
    Arbiter::Ticket const ticket = desk->ask(caller, agent, deadline);
    Arbiter::Outcome const outcome = co_await desk->outcomeOf(ticket);
    if (outcome != Arbiter::Outcome::granted)
        throw failureOf(outcome);
    Lease lease(desk, ticket);
    if (desk->isPaused(agent.ref)) // It was put aside between its turn and this moment.
        throw failureOf(Arbiter::Outcome::paused);
    co_return lease;
}

ControlService::Desk& ControlService::deskOf(std::string const& machineId)
{
    auto& desk = desks[machineId];
    if (!desk)
        desk = std::make_shared<Desk>(clock, settings, store.pausedAgents(machineId));
    return *desk;
}

void ControlService::assertNotPaused(std::string const& machineId, std::string const& ref)
{
    if (deskOf(machineId).isPaused(ref))
        throw failureOf(Arbiter::Outcome::paused);
}

void ControlService::heartbeat(std::shared_ptr<MachineSession> const& session)
{
    Desk& desk = deskOf(session->machineId());
    for (std::string const& connectionId : desk.connections())
        if (!session->presence().knows(connectionId))
            connectionRevoked(session->machineId(), connectionId);
    if (session->presence().knowsAgents)
        desk.attach(session);
}

void ControlService::pause(std::string const& machineId, std::string const& ref)
{
    auto const paused = deskOf(machineId).change([&](Arbiter& on, Moment now) { return on.pause(ref, now); });
    if (paused)
        store.addPausedAgent(machineId, *paused);
}

void ControlService::resume(std::string const& machineId, std::string const& ref)
{
    if (deskOf(machineId).change([&](Arbiter& on, Moment) { return on.resume(ref); }))
        store.removePausedAgent(machineId, ref);
}

void ControlService::machineGone(std::string const& machineId)
{
    deskOf(machineId).detach();
}

void ControlService::machineRemoved(std::string const& machineId)
{
    deskOf(machineId).stop();
    desks.erase(machineId);
}

void ControlService::connectionRevoked(std::string const& machineId, std::string const& connectionId)
{
    store.removePausedAgents(connectionId);
    deskOf(machineId).change([&](Arbiter& on, Moment now) { on.removeConnection(connectionId, now); });
}

void ControlService::stop()
{
    for (auto const& [machineId, desk] : desks)
        desk->stop();
}

} // namespace zelvo::service
