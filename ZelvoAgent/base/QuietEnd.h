#pragma once

#include "base/Task.h"

#include <boost/asio/this_coro.hpp>

#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace zelvo {

/// Runs the body of a task that is started on its own, so that a cancellation which finds it ended throws no
/// more. Asio waits once more between a body's end and the call of its handler; cancelled just then, it would
/// throw past the handler, which would never be called, and out of the event loop.
template <class F, class T = typename std::invoke_result_t<F&>::value_type>
Task<T> withQuietEnd(F body)
{
    std::exception_ptr failure;
    std::conditional_t<std::is_void_v<T>, bool, std::optional<T>> result{};
    try {
        if constexpr (std::is_void_v<T>)
            co_await body();
        else
            result.emplace(co_await body());
    } catch (...) {
        failure = std::current_exception();
    }
    co_await asio::this_coro::throw_if_cancelled(false);
    if (failure)
        std::rethrow_exception(std::move(failure));
    if constexpr (!std::is_void_v<T>)
        co_return std::move(*result);
}

} // namespace zelvo
