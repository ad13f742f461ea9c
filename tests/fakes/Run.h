#pragma once

#include "base/Contexts.h"
#include "base/Task.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/use_future.hpp>

#include <chrono>
#include <functional>
#include <future>
#include <stdexcept>
#include <utility>

namespace zelvo {

/// All three contexts on one io_context, so that everything runs on the test's thread in a fixed order.
inline Contexts contextsOn(asio::io_context& io)
{
    return {io.get_executor(), io.get_executor(), io.get_executor()};
}

/// Runs ready handlers until there are none.
inline void settle(asio::io_context& io)
{
    io.restart();
    io.poll();
}

/// Runs a task that does not sleep, and returns its result or throws its exception.
inline void runUntil(asio::io_context& io, std::function<bool()> const& happened)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    io.restart();
    while (!happened()) {
        if (std::chrono::steady_clock::now() > end)
            throw std::runtime_error("what the test waits for did not happen");
        io.run_one_for(std::chrono::milliseconds(10));
    }
}

/// Starts a task, calls `runUntil` with the question whether it has ended, and gives its result; throws what
/// it throws. `runUntil` throws when it gives up.
template <class T, class RunUntil>
T runWith(Executor executor, Task<T> task, RunUntil runUntil)
{
    std::future<T> result = asio::co_spawn(std::move(executor), std::move(task), asio::use_future);
    runUntil([&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
    return result.get();
}

/// Runs a task that needs no time.
template <class T>
T run(asio::io_context& io, Task<T> task)
{
    return runWith(io.get_executor(), std::move(task), [&io](auto const& hasEnded) {
        settle(io);
        if (!hasEnded())
            throw std::logic_error("the task is still waiting");
    });
}

/// Runs a task that waits for something real.
template <class T>
T runToEnd(asio::io_context& io, Task<T> task)
{
    return runWith(io.get_executor(), std::move(task),
                   [&io](auto const& hasEnded) { runUntil(io, hasEnded); });
}

/// Runs a task on an executor that other threads serve, and blocks until its end.
template <class T>
T runBlocking(Executor executor, Task<T> task)
{
    return runWith(std::move(executor), std::move(task), [](auto const&) {});
}

} // namespace zelvo
