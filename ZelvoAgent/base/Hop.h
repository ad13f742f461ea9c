#pragma once

#include "base/QuietEnd.h"
#include "base/Task.h"

#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <exception>
#include <type_traits>
#include <utility>

namespace zelvo {

/// Runs a plain function on another executor, then resumes the caller on the caller's executor with the
/// result or the exception: `co_await on(contexts.main, [&] { return state.connection(id); })`. The result
/// must be default constructible.
template <class F, class R = std::invoke_result_t<F&>>
Task<R> on(Executor executor, F work)
{
    if constexpr (std::is_void_v<R>) {
        auto start = [executor, &work](auto handler) {
            asio::post(executor, [&work, handler = std::move(handler)]() mutable {
                std::exception_ptr failure;
                try {
                    work();
                } catch (...) {
                    failure = std::current_exception();
                }
                auto home = asio::get_associated_executor(handler);
                // Moved, so that only one thread at a time owns the exception.
                asio::dispatch(home, [handler = std::move(handler), failure = std::move(failure)]() mutable {
                    handler(std::move(failure));
                });
            });
        };
        co_await asio::async_initiate<decltype(asio::use_awaitable), void(std::exception_ptr)>(
            start, asio::use_awaitable);
    } else {
        auto start = [executor, &work](auto handler) {
            asio::post(executor, [&work, handler = std::move(handler)]() mutable {
                std::exception_ptr failure;
                R result{};
                try {
                    result = work();
                } catch (...) {
                    failure = std::current_exception();
                }
                auto home = asio::get_associated_executor(handler);
                asio::dispatch(home, [handler = std::move(handler), failure = std::move(failure),
                                      result = std::move(result)]() mutable {
                    handler(std::move(failure), std::move(result));
                });
            });
        };
        co_return co_await asio::async_initiate<decltype(asio::use_awaitable), void(std::exception_ptr, R)>(
            start, asio::use_awaitable);
    }
}

/// Runs a coroutine on another executor, such as a strand, then resumes the caller on the caller's executor.
template <class F, class T = typename std::invoke_result_t<F&>::value_type>
Task<T> runOn(Executor executor, F body)
{
    co_return co_await asio::co_spawn(executor, withQuietEnd(std::move(body)), asio::use_awaitable);
}

} // namespace zelvo
