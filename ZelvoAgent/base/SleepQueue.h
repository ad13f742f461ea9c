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

/// The continuous clock's traits for std::chrono.
struct ContinuousTime {
    using rep = std::int64_t;
    using period = std::nano;
    using duration = std::chrono::nanoseconds;
    using time_point = std::chrono::time_point<ContinuousTime>;
    static constexpr bool is_steady = true;
};
using Instant = ContinuousTime::time_point;

/// The sleepers of a clock, ordered by due time. A clock wakes them with wakeDue(). Each sleeper resumes on
/// its own executor; a cancelled one resumes with operation_aborted. Thread: any.
class SleepQueue {
public:
    /// earliestChanged  called without the lock when a new sleeper becomes the first one due
    explicit SleepQueue(std::function<void()> earliestChanged = {});

    template <class Token>
    auto wait(Instant due, Token&& token)
    {
        return boost::asio::async_initiate<Token, void(boost::system::error_code)>(
            [this, due](auto handler) { this->add(due, std::move(handler)); }, token);
    }

    /// When the first sleeper is due; `nullopt` if nobody sleeps.
    std::optional<Instant> earliest() const;
    /// Wakes all sleepers that are due at `now` or earlier.
    void wakeDue(Instant now);
    /// Destroys all sleepers; they are never resumed.
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
        // The slot may only be cleared on the sleeper's executor, so the completion goes there first.
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
