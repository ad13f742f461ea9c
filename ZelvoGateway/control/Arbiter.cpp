#include "ZelvoGateway/control/Arbiter.h"

#include "ZelvoGateway/base/Secrets.h"
#include "base/DateText.h"

#include <algorithm>

namespace zelvo::service {

namespace {

records::HolderClass recordOf(Agent const& agent, Date since)
{
    return {.connectionId = agent.connectionId,
            .name = agent.name,
            .ref = agent.ref,
            .since = dates::iso8601(since),
            .task = agent.task};
}

} // namespace

std::string agentRef(std::string_view connectionId, std::string_view platformRef)
{
    std::string const both = std::string(connectionId) + "\n" + std::string(platformRef);
    return "agt_" + hashOf(both).substr(0, 24);
}

Arbiter::Arbiter(ControlTimes const& times, std::vector<PausedAgent> paused)
    : times(times), paused(std::move(paused))
{
}

Arbiter::Ticket Arbiter::ask(Agent const& agent, Instant deadline, Moment now)
{
    tick(now);
    Request const request{.ticket = ++lastTicket, .deadline = deadline};
    if (isPaused(agent.ref)) {
        decide({request}, Outcome::paused);
        return request.ticket;
    }
    if (!holder)
        holder = Holder{.agent = agent, .since = now.date, .running = {}, .until = now.instant};
    if (holder->agent.ref == agent.ref) {
        holder->agent = agent; // Its name or task may have changed.
        holder->running.push_back(request.ticket);
        decide({request}, Outcome::granted);
    } else {
        queue(agent, request, now);
        giveUp(now);
    }
    return request.ticket;
}

void Arbiter::queue(Agent const& agent, Request request, Moment now)
{
    Waiter* place = waiterOf(agent.ref);
    if (!place && waiting.size() >= times.maxLine) {
        decide({request}, Outcome::busy);
        return;
    }
    if (!place)
        place = &waiting.emplace_back(
            Waiter{.agent = agent, .since = now.date, .requests = {}, .until = now.instant});
    place->agent = agent;
    place->requests.push_back(request);
}

void Arbiter::finished(Ticket ticket, Moment now)
{
    if (!holder || std::erase(holder->running, ticket) == 0)
        return; // It has lost control meanwhile.
    holder->until = now.instant + times.idle;
    tick(now);
}

void Arbiter::withdraw(Ticket ticket, Moment now)
{
    std::erase_if(decided, [&](Decided const& one) { return one.ticket == ticket; });
    finished(ticket, now);
    std::erase_if(waiting, [&](Waiter& one) {
        bool const asked =
            std::erase_if(one.requests, [&](Request const& request) { return request.ticket == ticket; }) > 0;
        bool const goes = asked && one.requests.empty();
        if (goes)
            remember(one.agent);
        return goes;
    });
}

bool Arbiter::isPaused(std::string const& ref) const
{
    return std::ranges::any_of(paused, [&](PausedAgent const& one) { return one.agent.ref == ref; });
}

std::optional<PausedAgent> Arbiter::pause(std::string const& ref, Moment now)
{
    if (isPaused(ref))
        return std::nullopt;
    auto const agent = takeOut(ref);
    if (!agent)
        return std::nullopt;
    paused.push_back({.agent = *agent, .since = now.date});
    tick(now);
    return paused.back();
}

std::optional<Agent> Arbiter::takeOut(std::string const& ref)
{
    if (holder && holder->agent.ref == ref)
        return std::exchange(holder, std::nullopt)->agent; // Commands that were sent run to their end.
    if (Waiter const* const place = waiterOf(ref)) {
        Agent agent = place->agent;
        decide(place->requests, Outcome::paused);
        std::erase_if(waiting, [&](Waiter const& one) { return one.agent.ref == ref; });
        return agent;
    }
    auto const one = std::ranges::find(left, ref, &Agent::ref);
    return one == left.end() ? std::nullopt : std::optional(*one);
}

void Arbiter::remember(Agent const& agent)
{
    std::erase_if(left, [&](Agent const& one) { return one.ref == agent.ref; });
    left.push_back(agent);
    if (left.size() > times.maxLine)
        left.pop_front();
}

bool Arbiter::resume(std::string const& ref)
{
    return std::erase_if(paused, [&](PausedAgent const& one) { return one.agent.ref == ref; }) > 0;
}

void Arbiter::removeConnection(std::string const& connectionId, Moment now)
{
    auto const isOf = [&](auto const& one) { return one.agent.connectionId == connectionId; };
    if (holder && isOf(*holder))
        holder.reset();
    for (Waiter const& one : waiting)
        if (isOf(one))
            decide(one.requests, Outcome::gone);
    std::erase_if(waiting, isOf);
    std::erase_if(paused, isOf);
    std::erase_if(left, [&](Agent const& one) { return one.connectionId == connectionId; });
    tick(now);
}

std::set<std::string> Arbiter::connections() const
{
    std::set<std::string> all;
    if (holder)
        all.insert(holder->agent.connectionId);
    for (Waiter const& one : waiting)
        all.insert(one.agent.connectionId);
    for (PausedAgent const& one : paused)
        all.insert(one.agent.connectionId);
    for (Agent const& one : left)
        all.insert(one.connectionId);
    return all;
}

void Arbiter::machineGone()
{
    holder.reset();
    for (Waiter const& one : std::exchange(waiting, {}))
        decide(one.requests, Outcome::gone);
}

void Arbiter::tick(Moment now)
{
    endIdleHolder(now);
    passOn(now);
    giveUp(now); // Last, so that an agent whose turn comes at its deadline still gets it.
}

void Arbiter::endIdleHolder(Moment now)
{
    if (holder && holder->running.empty() && holder->until <= now.instant)
        remember(std::exchange(holder, std::nullopt)->agent);
}

void Arbiter::passOn(Moment now)
{
    if (holder || waiting.empty())
        return;
    Waiter const next = std::move(waiting.front());
    waiting.erase(waiting.begin());
    holder = Holder{.agent = next.agent, .since = now.date, .running = {}, .until = now.instant + times.turn};
    for (Request const& request : next.requests)
        holder->running.push_back(request.ticket);
    decide(next.requests, Outcome::granted);
}

void Arbiter::giveUp(Moment now)
{
    for (Waiter& one : waiting) {
        auto const isOver = [&](Request const& request) { return request.deadline <= now.instant; };
        std::vector<Request> over;
        std::ranges::copy_if(one.requests, std::back_inserter(over), isOver);
        std::erase_if(one.requests, isOver);
        decide(over, Outcome::busy);
        if (!over.empty())
            one.until = now.instant + times.place;
    }
    std::erase_if(waiting, [&](Waiter const& one) {
        bool const goes = one.requests.empty() && one.until <= now.instant;
        if (goes)
            remember(one.agent);
        return goes;
    });
}

std::optional<Instant> Arbiter::nextDue() const
{
    std::optional<Instant> next;
    auto const note = [&](Instant due) { next = next ? std::min(*next, due) : due; };
    if (holder && holder->running.empty())
        note(holder->until);
    for (Waiter const& one : waiting) {
        if (one.requests.empty())
            note(one.until);
        for (Request const& request : one.requests)
            note(request.deadline);
    }
    return next;
}

records::AgentsUpdate Arbiter::snapshot() const
{
    records::AgentsUpdate update;
    if (holder)
        update.holder = recordOf(holder->agent, holder->since);
    for (Waiter const& one : waiting)
        update.waiting.push_back(recordOf(one.agent, one.since));
    for (PausedAgent const& one : paused)
        update.paused.push_back(recordOf(one.agent, one.since));
    return update;
}

Arbiter::Waiter* Arbiter::waiterOf(std::string const& ref)
{
    auto const place = std::ranges::find_if(waiting, [&](Waiter const& one) { return one.agent.ref == ref; });
    return place == waiting.end() ? nullptr : &*place;
}

void Arbiter::decide(std::vector<Request> const& requests, Outcome outcome)
{
    for (Request const& request : requests)
        decided.push_back({.ticket = request.ticket, .outcome = outcome});
}

} // namespace zelvo::service
