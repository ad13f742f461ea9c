#pragma once

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/system/error_code.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace zelvo {

/// A moment of the continuous clock.
struct ContinuousTime {
    using rep = std::int64_t;
    using period = std::nano;
    using duration = std::chrono::nanoseconds;
    using time_point = std::chrono::time_point<ContinuousTime>;
    static constexpr bool is_steady = true;
};
using Instant = ContinuousTime::time_point;

/// The sleepers of a clock, in the order in which they are due. A clock wakes them with wakeDue(); each is
/// resumed on its own executor, and a cancelled one with operation_aborted. Thread: any.
class SleepQueue {
public:
    /// earliestChanged is called, without the lock held, when another moment has become the next one.
    explicit SleepQueue(std::function<void()> earliestChanged = {});

    template <class Token>
    auto wait(Instant due, Token&& token)
    {
        return boost::asio::async_initiate<Token, void(boost::system::error_code)>(
            [this, due](auto handler) { this->add(due, std::move(handler)); }, token);
    }

    /// The next moment at which somebody is to be woken.
    std::optional<Instant> earliest() const;
    /// Wakes all that are due by `now`.
    void wakeDue(Instant now);
    /// Lets go of all sleepers; they are never resumed.
    void drop();
    std::size_t size() const;

private:
    using Handler = boost::asio::any_completion_handler<void(boost::system::error_code)>;
    struct Shared;

    template <class H>
    void add(Instant due, H handler)
    {
        auto slot = boost::asio::get_associated_cancellation_slot(handler);
        auto const executor = boost::asio::get_associated_executor(handler);
        std::uint64_t const id = nextId();
        if (slot.is_connected())
            slot.assign([weak = weakShared(), id](boost::asio::cancellation_type) { cancel(weak, id); });
        // Completion hops home first; only there is it safe to let go of the slot.
        insert(due, id,
               [executor, slot, handler = std::move(handler)](boost::system::error_code error) mutable {
                   boost::asio::post(executor, [slot, error, handler = std::move(handler)]() mutable {
                       if (slot.is_connected())
                           slot.clear();
                       std::move(handler)(error);
                   });
               });
    }

    std::uint64_t nextId();
    std::weak_ptr<Shared> weakShared() const;
    void insert(Instant due, std::uint64_t id, Handler wake);
    static void cancel(std::weak_ptr<Shared> const& weak, std::uint64_t id);

    std::shared_ptr<Shared> shared;
};

} // namespace zelvo
