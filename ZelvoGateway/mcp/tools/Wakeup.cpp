#include "ZelvoGateway/mcp/tools/Wakeup.h"

#include "base/DelayedCall.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

#include <utility>

namespace zelvo::service {

Task<> Wakeup::wait(Instant until)
{
    auto const timer = std::make_shared<asio::steady_timer>(executor, asio::steady_timer::time_point::max());
    DelayedCall atTheEnd(executor, clock);
    if (until <= clock.now())
        co_return;
    std::erase_if(waiting, [](Timer const& one) { return one.use_count() == 1; }); // Those that gave up.
    waiting.push_back(timer);
    atTheEnd.in(until - clock.now(), [timer] { timer->cancel(); });
    co_await timer->async_wait(asio::as_tuple(asio::use_awaitable));
    auto const cancellation = co_await asio::this_coro::cancellation_state;
    if (cancellation.cancelled() != asio::cancellation_type::none)
        throw boost::system::system_error(asio::error::operation_aborted);
}

void Wakeup::wakeAll()
{
    for (Timer const& timer : std::exchange(waiting, {}))
        timer->cancel();
}

} // namespace zelvo::service
