#include "platform/linux/wayland/portal/PortalGrant.h"

#include "base/DelayedCall.h"
#include "base/LockedBox.h"

#include <boost/asio/dispatch.hpp>

#include <utility>
#include <vector>

namespace zelvo {

namespace {

using State = DesktopGrant::State;
using Outcome = PortalSession::Outcome;

State stateOf(Outcome outcome)
{
    switch (outcome) {
    case Outcome::refused:
        return State::refused;
    case Outcome::unavailable:
        return State::unavailable;
    default:
        return State::notAsked; // The person has not decided, and may be asked again.
    }
}

} // namespace

/// Runs on the agent, except `now` and what reads it.
class PortalGrant::Holder : public std::enable_shared_from_this<Holder> {
public:
    struct Now {
        State state = State::notAsked;
        std::shared_ptr<PortalSession> session;
    };

    Holder(Executor agent,
           Clock& clock,
           std::shared_ptr<PortalRequests> requests,
           SecretStore& secrets,
           std::string machine)
        : agent(std::move(agent)), requests(std::move(requests)), secrets(secrets),
          machine(std::move(machine)), clock(clock), withdrawal(this->agent, clock)
    {
    }

    LockedBox<Now> now; // Any thread.

    void observe(std::function<void(State)> observer) { observers.push_back(std::move(observer)); }

    void setSurroundings(Surroundings next) { surroundings = std::move(next); }

    void noteUnlock()
    {
        if (std::exchange(isEndedByLock, false))
            resume();
    }

    void ask()
    {
        State const state = now.get().state;
        if (state == State::asking || state == State::granted)
            return;
        // Its token would give the same again, without the dialog.
        bool const asksAnew = state == State::partly;
        begin(asksAnew, patience);
    }

    void resume()
    {
        State const state = now.get().state;
        if (state != State::asking && state != State::granted && state != State::partly)
            begin(false, resumePatience, true);
    }

    void stop()
    {
        isStopped = true;
        withdrawal.cancel();
        observers.clear();
        now.set({});
    }

private:
    void begin(bool asksAnew, Duration longest, bool needsToken = false)
    {
        withdrawal.cancel();
        isEndedByLock = false;
        State const before = now.get().state;
        // Set at once, so that a second call does nothing; without a token nobody gets to know.
        if (needsToken)
            now.set({.state = State::asking});
        else
            change({.state = State::asking});
        spawn(agent, [self = shared_from_this(), asksAnew, longest, needsToken, before] {
            return self->open(asksAnew, longest, needsToken, before);
        });
    }

    Task<> open(bool asksAnew, Duration longest, bool needsToken, State before)
    {
        std::string const token = asksAnew ? std::string() : co_await keptToken();
        if (token.empty() && needsToken) {
            now.set({.state = before});
            co_return;
        }
        if (needsToken)
            report(State::asking);
        PortalSession::Wish wish{.restoreToken = token, .patience = longest};
        auto opening = co_await PortalSession::open(requests, wish);
        if (opening.outcome == Outcome::noToken) {
            co_await dropToken();
            wish.restoreToken.clear();
            if (!needsToken)
                opening = co_await PortalSession::open(requests, std::move(wish));
        }
        bool const isTokenRefused =
            needsToken && (opening.outcome == Outcome::refused || opening.outcome == Outcome::ended);
        if (isTokenRefused)
            co_await dropToken();
        if (!opening.session)
            co_return finish({.state = isTokenRefused ? State::notAsked : stateOf(opening.outcome)});
        co_await keepToken(std::move(opening.restoreToken));
        hold(std::move(opening.session));
    }

    void hold(std::shared_ptr<PortalSession> session)
    {
        if (!session->isOpen())
            return finish({.state = State::withdrawn});
        session->observeEnd([weak = weak_from_this()] {
            if (auto const self = weak.lock())
                self->lose();
        });
        State const state = session->hasInput() ? State::granted : State::partly;
        finish({.state = state, .session = std::move(session)});
    }

    void lose()
    {
        if (surroundings.isLocked())
            return loseByLock();
        finish({.state = State::withdrawn});
        if (isStopped)
            return;
        spawn(agent, [self = shared_from_this()] { return self->mark(); });
        proveLater(clock.now());
    }

    /// That is no decision of the person, so the token stays good.
    void loseByLock()
    {
        isEndedByLock = true;
        finish({.state = State::notAsked});
    }

    void proveLater(Instant lost)
    {
        withdrawal.in(proofPace, [weak = weak_from_this(), lost] {
            if (auto const self = weak.lock())
                self->prove(lost);
        });
    }

    void prove(Instant lost)
    {
        if (isMarking)
            return proveLater(lost); // Else the mark might come after its removal.
        auto const since = clock.now() - lost;
        bool const isLock = since <= lockProof && surroundings.isLocked();
        if (isLock || !surroundings.isDesktopThere()) {
            spawn(agent, [self = shared_from_this()] { return self->unmark(); });
            return isLock ? loseByLock() : void();
        }
        if (since < withdrawalProof)
            return proveLater(lost);
        spawn(agent, [self = shared_from_this()] { return self->dropToken(); });
    }

    void finish(Now next)
    {
        if (!isStopped)
            change(std::move(next));
    }

    void change(Now next)
    {
        State const state = next.state;
        now.set(std::move(next));
        report(state);
    }

    void report(State state)
    {
        auto const called = observers;
        for (auto const& observer : called)
            observer(state);
    }

    Task<std::string> keptToken()
    {
        auto const kept = co_await secrets.get(service, account);
        if (!kept)
            co_return std::string();
        bool const isWithdrawn = (co_await secrets.get(service, withdrawnAccount)).has_value();
        if (isWithdrawn) {
            co_await dropToken();
            co_return std::string();
        }
        auto const end = kept->find('\n');
        if (end == std::string::npos || kept->substr(0, end) != machine) {
            co_await dropToken();
            co_return std::string();
        }
        co_return kept->substr(end + 1);
    }

    Task<> dropToken()
    {
        co_await secrets.remove(service, account);
        co_await unmark();
    }

    Task<> mark()
    {
        isMarking = true;
        try {
            co_await secrets.set(service, withdrawnAccount, machine);
        } catch (SecretStoreFailure const&) {
            // The proof still drops the token, unless the program ends before.
        }
        isMarking = false;
    }

    Task<> unmark() { co_await secrets.remove(service, withdrawnAccount); }

    /// A new token replaces the old one. Where none is given the old one is of no use any more.
    Task<> keepToken(std::string token)
    {
        try {
            if (token.empty())
                co_await dropToken();
            else
                co_await secrets.set(service, account, machine + '\n' + token);
            co_await unmark();
        } catch (SecretStoreFailure const&) {
            // The grant is good for this run, and the person is asked again in the next.
        }
    }

    Executor const agent;
    std::shared_ptr<PortalRequests> const requests;
    SecretStore& secrets;
    std::string const machine;
    Clock& clock;
    DelayedCall withdrawal;
    Surroundings surroundings;
    bool isEndedByLock = false;
    bool isMarking = false;
    std::vector<std::function<void(State)>> observers;
    bool isStopped = false;
};

PortalGrant::PortalGrant(Contexts const& contexts,
                         Clock& clock,
                         std::shared_ptr<PortalRequests> requests,
                         SecretStore& secrets,
                         std::string machine)
    : agent(contexts.agent), holder(std::make_shared<Holder>(
                                 contexts.agent, clock, std::move(requests), secrets, std::move(machine)))
{
}

PortalGrant::~PortalGrant()
{
    asio::dispatch(agent, [kept = std::move(holder)] { kept->stop(); });
}

DesktopGrant::State PortalGrant::state() const
{
    return holder->now.get().state;
}

std::shared_ptr<PortalSession> PortalGrant::session() const
{
    return holder->now.get().session;
}

void PortalGrant::ask()
{
    asio::dispatch(agent, [kept = holder] { kept->ask(); });
}

void PortalGrant::resume()
{
    asio::dispatch(agent, [kept = holder] { kept->resume(); });
}

void PortalGrant::observe(std::function<void(State)> observer)
{
    asio::dispatch(agent, [kept = holder, observer = std::move(observer)]() mutable {
        kept->observe(std::move(observer));
    });
}

void PortalGrant::setSurroundings(Surroundings surroundings)
{
    asio::dispatch(agent, [kept = holder, surroundings = std::move(surroundings)]() mutable {
        kept->setSurroundings(std::move(surroundings));
    });
}

void PortalGrant::noteUnlock()
{
    asio::dispatch(agent, [kept = holder] { kept->noteUnlock(); });
}

} // namespace zelvo
