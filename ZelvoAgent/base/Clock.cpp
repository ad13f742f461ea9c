#include "base/Clock.h"

#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

namespace zelvo {

Task<> Clock::sleepUntil(Instant due)
{
    if (due <= now())
        co_await asio::post(asio::use_awaitable); // Yield, so that other tasks run.
    else
        co_await sleepers().wait(due, asio::use_awaitable);
}

Task<> Clock::sleep(Duration duration)
{
    co_await sleepUntil(now() + duration);
}

Task<> Clock::sleepThroughCancel(Duration duration)
{
    bool cancelled = false;
    try {
        co_await sleep(duration);
    } catch (boost::system::system_error const& error) {
        if (error.code() != asio::error::operation_aborted)
            throw;
        cancelled = true;
    }
    if (cancelled)
        co_await asio::this_coro::reset_cancellation_state();
}

} // namespace zelvo
