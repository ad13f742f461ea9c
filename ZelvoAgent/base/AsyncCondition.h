#pragma once

#include "base/Task.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <mutex>
#include <utility>
#include <vector>

namespace zelvo {

/// A condition variable for coroutines. notifyAll() resumes every waiter, each on its own executor.
/// Thread: any.
class AsyncCondition {
public:
    /// Waits for the next notifyAll(). Returns at once if `alreadyTrue`, called under the lock, returns true.
    template <class Condition>
    Task<> wait(Condition alreadyTrue)
    {
        auto start = [this, &alreadyTrue](auto handler) {
            auto const executor = asio::get_associated_executor(handler);
            auto resume = [executor, handler = std::move(handler)]() mutable {
                asio::post(executor, [handler = std::move(handler)]() mutable { std::move(handler)(); });
            };
            std::unique_lock guard(lock);
            if (alreadyTrue()) {
                guard.unlock();
                resume();
            } else {
                waiting.emplace_back(std::move(resume));
            }
        };
        co_await asio::async_initiate<decltype(asio::use_awaitable), void()>(start, asio::use_awaitable);
    }

    /// Calls `change` under the lock, then wakes every waiter.
    template <class Change>
    void notifyAll(Change change)
    {
        std::vector<Handler> woken;
        {
            std::scoped_lock guard(lock);
            change();
            woken.swap(waiting);
        }
        for (Handler& resume : woken)
            std::move(resume)();
    }

    /// Calls `work` under the lock, to read or change the state that the condition depends on.
    template <class Work>
    auto with(Work work) const
    {
        std::scoped_lock guard(lock);
        return work();
    }

private:
    using Handler = asio::any_completion_handler<void()>;
    mutable std::mutex lock;
    std::vector<Handler> waiting; // lock
};

} // namespace zelvo
