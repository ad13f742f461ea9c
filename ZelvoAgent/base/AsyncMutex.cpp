#include "base/AsyncMutex.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <list>
#include <mutex>
#include <utility>

namespace zelvo {

struct AsyncMutex::State : std::enable_shared_from_this<State> {
    using Handler = asio::any_completion_handler<void(std::exception_ptr, Lock)>;
    struct Waiter {
        std::uint64_t number;
        Executor executor;
        Handler handler;
    };

    bool tryLock()
    {
        std::scoped_lock guard(access);
        return !std::exchange(isLocked, true);
    }

    /// The first of those that wait has it from now on, also before it runs: nobody can get in between.
    void unlock()
    {
        std::list<Waiter> next;
        {
            std::scoped_lock guard(access);
            if (waiting.empty())
                isLocked = false;
            else
                next.splice(next.end(), waiting, waiting.begin());
        }
        if (!next.empty())
            resume(std::move(next.front()), nullptr, Lock(shared_from_this()));
    }

    template <class H>
    void wait(H handler)
    {
        Executor const executor = asio::get_associated_executor(handler);
        auto slot = asio::get_associated_cancellation_slot(handler);
        std::unique_lock guard(access);
        std::uint64_t const number = ++lastNumber;
        if (slot.is_connected())
            slot.assign([weak = weak_from_this(), number](asio::cancellation_type) {
                if (auto const state = weak.lock())
                    state->abandon(number);
            });
        // Whoever had it may have gone since tryLock().
        bool const isFree = !std::exchange(isLocked, true);
        Waiter waiter{number, executor, Handler(withoutSlot(std::move(handler)))};
        if (!isFree)
            return waiting.push_back(std::move(waiter));
        guard.unlock();
        resume(std::move(waiter), nullptr, Lock(shared_from_this()));
    }

    void abandon(std::uint64_t number)
    {
        std::list<Waiter> gone;
        {
            std::scoped_lock guard(access);
            auto const waiter = std::ranges::find(waiting, number, &Waiter::number);
            if (waiter == waiting.end())
                return; // It has the mutex already, and gives it back by its Lock.
            gone.splice(gone.end(), waiting, waiter);
        }
        auto const aborted = boost::system::system_error(asio::error::operation_aborted);
        resume(std::move(gone.front()), std::make_exception_ptr(aborted), Lock());
    }

    /// Frees the slot before the handler runs, since a coroutine that goes on uses it for its next wait.
    template <class H>
    static auto withoutSlot(H handler)
    {
        return [handler = std::move(handler)](std::exception_ptr failure, Lock lock) mutable {
            auto slot = asio::get_associated_cancellation_slot(handler);
            if (slot.is_connected())
                slot.clear();
            std::move(handler)(std::move(failure), std::move(lock));
        };
    }

    static void resume(Waiter waiter, std::exception_ptr failure, Lock lock)
    {
        asio::post(waiter.executor, [handler = std::move(waiter.handler), failure = std::move(failure),
                                     lock = std::move(lock)]() mutable {
            std::move(handler)(std::move(failure), std::move(lock));
        });
    }

    std::mutex access;
    bool isLocked = false; // access, as all below
    std::uint64_t lastNumber = 0;
    std::list<Waiter> waiting;
};

AsyncMutex::Lock::~Lock()
{
    if (state)
        state->unlock();
}

AsyncMutex::AsyncMutex() : state(std::make_shared<State>()) {}

bool AsyncMutex::isLocked() const
{
    std::scoped_lock guard(state->access);
    return state->isLocked;
}

Task<AsyncMutex::Lock> AsyncMutex::lock()
{
    auto const kept = state;
    if (kept->tryLock())
        co_return Lock(kept);
    auto start = [kept](auto handler) { kept->wait(std::move(handler)); };
    co_return co_await asio::async_initiate<decltype(asio::use_awaitable), void(std::exception_ptr, Lock)>(
        start, asio::use_awaitable);
}

} // namespace zelvo
