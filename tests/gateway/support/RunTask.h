#pragma once

#include "base/Task.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>

#include <exception>
#include <optional>

namespace zelvo::service {

/// Runs a task to its end on this thread, with everything else that is due; rethrows its failure.
template <class T>
T runTask(asio::io_context& io, Task<T> task)
{
    std::optional<T> result;
    std::exception_ptr failure;
    asio::co_spawn(io, std::move(task), [&](std::exception_ptr thrown, T value) {
        failure = thrown;
        result.emplace(std::move(value));
    });
    io.restart();
    io.run();
    if (failure)
        std::rethrow_exception(failure);
    return *std::move(result);
}

inline void runTask(asio::io_context& io, Task<> task)
{
    std::exception_ptr failure;
    asio::co_spawn(io, std::move(task), [&](std::exception_ptr thrown) { failure = thrown; });
    io.restart();
    io.run();
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace zelvo::service
