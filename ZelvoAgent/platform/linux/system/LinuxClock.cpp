#include "platform/linux/system/LinuxClock.h"

#include "platform/portable/files/UniqueFd.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include <sys/timerfd.h>

#include <cerrno>
#include <ctime>
#include <mutex>
#include <system_error>

namespace zelvo {

namespace {

Instant bootTime()
{
    timespec time{};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return Instant(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

int makeTimer()
{
    int const timer = ::timerfd_create(CLOCK_BOOTTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    if (timer < 0)
        throw std::system_error(errno, std::generic_category(), "timerfd_create");
    return timer;
}

/// A timer descriptor's expiry; zero would disarm it.
timespec momentOf(Instant due)
{
    auto const ns = std::max<std::int64_t>(due.time_since_epoch().count(), 1);
    return {.tv_sec = ns / 1'000'000'000, .tv_nsec = ns % 1'000'000'000};
}

} // namespace

struct LinuxClock::Timer : std::enable_shared_from_this<Timer> {
    explicit Timer(Executor const& executor)
        : agent(executor), descriptor(executor, makeTimer()), queue([this] { arm(); })
    {
    }

    /// Sets the descriptor to the next sleeper. The lock ensures that the last of two callers uses the newest
    /// list.
    void arm()
    {
        std::scoped_lock guard(arming);
        auto const next = queue.earliest();
        itimerspec setting{};
        if (next)
            setting.it_value = momentOf(*next);
        ::timerfd_settime(timerFd, TFD_TIMER_ABSTIME, &setting, nullptr);
    }

    void watch()
    {
        descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                              [weak = weak_from_this()](boost::system::error_code error) {
                                  auto const self = weak.lock();
                                  if (!error && self)
                                      self->fired();
                              });
    }

    void fired()
    {
        std::uint64_t count = 0;
        [[maybe_unused]] auto const read = ::read(timerFd, &count, sizeof count); // Else it stays readable.
        queue.wakeDue(bootTime());
        arm();
        watch();
    }

    Executor agent;
    asio::posix::stream_descriptor descriptor; // agent
    int const timerFd = descriptor.native_handle();
    std::mutex arming;
    SleepQueue queue;
};

LinuxClock::LinuxClock(Executor agent) : timer(std::make_shared<Timer>(agent))
{
    asio::dispatch(agent, [kept = timer] { kept->watch(); });
}

LinuxClock::~LinuxClock()
{
    // The descriptor belongs to the agent's thread, so it is destroyed there.
    asio::dispatch(timer->agent, [kept = timer] { kept->descriptor.cancel(); });
}

Instant LinuxClock::now() const
{
    return bootTime();
}

Date LinuxClock::date() const
{
    return std::chrono::time_point_cast<Date::duration>(std::chrono::system_clock::now());
}

SleepQueue& LinuxClock::sleepers()
{
    return timer->queue;
}

} // namespace zelvo
