#pragma once

#include "base/Contexts.h"
#include "base/Task.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>

#include <exception>
#include <optional>
#include <stdexcept>

namespace zelvo {

/// All three contexts on one io_context: a test's whole program runs on the test's thread, in a fixed order.
inline Contexts contextsOn(asio::io_context& io)
{
    return {io.get_executor(), io.get_executor(), io.get_executor()};
}

/// Runs what is ready until nothing is.
inline void settle(asio::io_context& io)
{
    io.restart();
    io.poll();
}

/// Runs a task that needs no time to its end and gives its result; throws what it throws.
template <class T>
T run(asio::io_context& io, Task<T> task)
{
    std::exception_ptr failure;
    bool done = false;
    if constexpr (std::is_void_v<T>) {
        asio::co_spawn(io, std::move(task), [&](std::exception_ptr error) {
            failure = error;
            done = true;
        });
        settle(io);
        if (!done)
            throw std::logic_error("the task is still waiting");
        if (failure)
            std::rethrow_exception(failure);
    } else {
        std::optional<T> result;
        asio::co_spawn(io, std::move(task), [&](std::exception_ptr error, T value) {
            failure = error;
            result.emplace(std::move(value));
            done = true;
        });
        settle(io);
        if (!done)
            throw std::logic_error("the task is still waiting");
        if (failure)
            std::rethrow_exception(failure);
        return std::move(*result);
    }
}

} // namespace zelvo
