#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "base/DelayedCall.h"
#include "router/Admission.h"
#include "state/AgentState.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/signals2/connection.hpp>

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace zelvo {

/// What commands that wait have in common. It sleeps until something happens or a moment comes, and it also
/// wakes when the state changes, so that a pause, a lock or the loss of the right ends the wait at once.
/// Thread: its executor.
class GuardedWait {
    struct State;

public:
    struct Services {
        Contexts contexts;
        Clock& clock;
        AgentState& state;
    };

    /// Hands over what happens elsewhere. Thread: any.
    class Inbox {
    public:
        /// Runs `note` on the wait's executor, unless the wait has ended by then, and wakes the wait if it
        /// returns true.
        void post(std::function<bool()> note) const;

    private:
        friend GuardedWait;
        Inbox(Executor executor, std::weak_ptr<State> state)
            : executor(std::move(executor)), state(std::move(state))
        {
        }

        Executor executor;
        std::weak_ptr<State> state;
    };

    /// executor  a strand, or on one thread
    /// asker     who needs the right; nullopt if no rights are checked
    GuardedWait(Services services, Executor executor, std::optional<Asker> asker);
    GuardedWait(GuardedWait const&) = delete;
    GuardedWait& operator=(GuardedWait const&) = delete;
    ~GuardedWait();

    /// Begins to follow the state. Throws what assertAllowed() throws.
    Task<> begin();
    /// Throws AgentError as an action would, if the right is gone or the agent is paused or locked.
    Task<> assertAllowed();
    /// Sleeps until something wakes it; returns at once if that happened since it last slept. A cancellation
    /// ends the sleep with operation_aborted.
    Task<> sleep();
    /// The same, but at most until that moment.
    Task<> sleepUntil(Instant due);
    Inbox inbox() const { return {executor, state}; }
    /// Gives the result of the work, or throws what it throws. If the wait is not allowed any more or is
    /// cancelled, it throws at once; the work then goes on alone and its result is dropped. So it may use
    /// nothing of the wait.
    template <class T>
    Task<T> whileAllowed(Task<T> work)
    {
        std::optional<T> result = co_await whileAllowed(std::move(work), std::nullopt);
        co_return *std::move(result);
    }
    /// The same, but gives `nullopt` if there is no result at the end.
    template <class T>
    Task<std::optional<T>> whileAllowed(Task<T> work, std::optional<Instant> end)
    {
        struct Outcome {
            std::exception_ptr failure;
            T result{};
            bool isThere = false;
        };
        auto const outcome = std::make_shared<Outcome>();
        auto onEnd = [outcome, inbox = inbox()](std::exception_ptr failure, T result) {
            outcome->failure = std::move(failure);
            outcome->result = std::move(result);
            inbox.post([outcome] { return outcome->isThere = true; });
        };
        asio::co_spawn(executor, std::move(work), std::move(onEnd));
        while (!outcome->isThere) {
            if (end && services.clock.now() >= *end)
                co_return std::nullopt;
            if (end)
                co_await sleepUntil(*end);
            else
                co_await sleep();
            co_await assertAllowed();
        }
        if (outcome->failure)
            std::rethrow_exception(std::move(outcome->failure));
        co_return std::move(outcome->result);
    }

private:
    Services services;
    Executor executor;
    std::optional<Asker> const asker;
    // The sleeping task is in it, and holds this: so it belongs to a task that the clock ends, at the
    // program's end at the latest.
    std::weak_ptr<State> state;
    TaskHandle keeper;
    DelayedCall timer;
    boost::signals2::scoped_connection stateChanges;
};

} // namespace zelvo
