#pragma once

#include "base/Task.h"

#include <boost/asio/error.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/system/system_error.hpp>

namespace zelvo::service {

/// Throws operation_aborted if the task that awaits it was cancelled: for waits that end without an exception
/// then.
inline Task<> throwIfCancelled()
{
    auto const state = co_await asio::this_coro::cancellation_state;
    if (state.cancelled() != asio::cancellation_type::none)
        throw boost::system::system_error(asio::error::operation_aborted);
}

} // namespace zelvo::service
