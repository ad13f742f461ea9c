#pragma once

#include "base/Task.h"

#include <boost/asio/this_coro.hpp>

#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace zelvo {

/// Runs the body of a spawned task so that a cancellation after the body's end no longer throws. Asio
/// suspends once more between the end of the body and the completion handler. A cancellation at that point
/// would throw out of the event loop, and the handler would never be called.
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
