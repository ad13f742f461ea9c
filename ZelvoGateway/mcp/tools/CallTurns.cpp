#include "ZelvoGateway/mcp/tools/CallTurns.h"

#include "ZelvoGateway/mcp/ToolFailure.h"

#include <algorithm>

namespace zelvo::service {

namespace {

struct Waiter {
    Waiter(std::string conversation, Executor executor, Clock& clock)
        : conversation(std::move(conversation)), wakeup(std::move(executor), clock)
    {
    }
    std::string conversation;
    Wakeup wakeup;
    bool isGranted = false;
};

/// The calls of one key on one machine.
struct Place {
    std::size_t running = 0;
    std::deque<std::shared_ptr<Waiter>> waiting = {}; ///< in the order of their turns

    std::size_t waitingOf(std::string const& conversation) const
    {
        return static_cast<std::size_t>(std::ranges::count(waiting, conversation, &Waiter::conversation));
    }
};

ToolFailure tooMany(std::string what)
{
    return {.code = ErrorCode::machineBusy,
            .what = std::move(what),
            .next = "wait for the answers of your other calls, then try again"};
}

} // namespace

struct CallTurns::State {
    State(Executor executor, Clock& clock) : executor(std::move(executor)), clock(clock) {}

    /// Sorted in as if conversations took turns: its n-th call waits behind the n-th calls of the others.
    void queue(Place& place, std::shared_ptr<Waiter> waiter) const
    {
        std::size_t const round = place.waitingOf(waiter->conversation);
        std::map<std::string, std::size_t> passed;
        auto const later = std::ranges::find_if(place.waiting, [&](std::shared_ptr<Waiter> const& other) {
            return passed[other->conversation]++ > round;
        });
        place.waiting.insert(later, std::move(waiter));
    }

    void passOn(Place& place) const
    {
        while (place.running < maxRunning && !place.waiting.empty()) {
            auto const next = std::move(place.waiting.front());
            place.waiting.pop_front();
            ++place.running;
            next->isGranted = true;
            next->wakeup.wakeAll();
        }
    }

    void finished(std::string const& name)
    {
        auto const place = places.find(name);
        --place->second.running;
        passOn(place->second);
        forgetIfEmpty(place);
    }

    void withdraw(std::string const& name, std::shared_ptr<Waiter> const& waiter)
    {
        auto const place = places.find(name);
        if (place == places.end() || waiter->isGranted)
            return;
        std::erase(place->second.waiting, waiter);
        forgetIfEmpty(place);
    }

    void forgetIfEmpty(std::map<std::string, Place>::iterator place)
    {
        if (place->second.running == 0 && place->second.waiting.empty())
            places.erase(place);
    }

    Executor executor;
    Clock& clock;
    std::map<std::string, Place> places;
};

CallTurns::Turn::~Turn()
{
    if (state)
        state->finished(place);
}

CallTurns::CallTurns(Executor executor, Clock& clock)
    : state(std::make_shared<State>(std::move(executor), clock))
{
}

std::size_t CallTurns::places() const
{
    return state->places.size();
}

Task<CallTurns::Turn> CallTurns::take(std::string name, std::string conversation)
{
    auto const kept = state;
    Place& place = kept->places[name];
    if (place.running < maxRunning) { // Then nobody waits.
        ++place.running;
        co_return Turn(kept, std::move(name));
    }
    if (place.waiting.size() >= maxWaiting || place.waitingOf(conversation) >= maxWaitingOfOne)
        throw tooMany("Too many of your calls wait for this computer already");
    auto const waiter = std::make_shared<Waiter>(std::move(conversation), kept->executor, kept->clock);
    kept->queue(place, waiter);
    try {
        co_await waiter->wakeup.wait(kept->clock.now() + maxWait);
    } catch (...) {
        kept->withdraw(name, waiter);
        if (waiter->isGranted)
            kept->finished(name);
        throw;
    }
    if (!waiter->isGranted) {
        kept->withdraw(name, waiter);
        throw tooMany("Your other calls keep this computer busy");
    }
    co_return Turn(kept, std::move(name));
}

} // namespace zelvo::service
