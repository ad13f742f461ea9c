#include "ZelvoGateway/base/ServiceManager.h"

#include <systemd/sd-daemon.h>

#include <chrono>
#include <ctime>

namespace zelvo::service {

namespace {

/// What can't be sent changes nothing: the manager then sees a service that is slow.
void notify(std::string const& state)
{
    static_cast<void>(sd_notify(0, state.c_str()));
}

std::uint64_t monotonicMicroseconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 +
           static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

} // namespace

void ServiceManager::reportReady(std::string const& status)
{
    notify("READY=1\nSTATUS=" + status);
}

void ServiceManager::reportReloading()
{
    notify("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(monotonicMicroseconds()) +
           "\nSTATUS=Reloading the settings");
}

void ServiceManager::reportStopping(Duration limit)
{
    auto const microseconds = std::chrono::duration_cast<std::chrono::microseconds>(limit).count();
    notify("STOPPING=1\nSTATUS=Stopping\nEXTEND_TIMEOUT_USEC=" + std::to_string(microseconds));
}

void ServiceManager::reportAlive()
{
    notify("WATCHDOG=1");
}

Duration ServiceManager::watchdogPeriod()
{
    std::uint64_t microseconds = 0;
    if (sd_watchdog_enabled(0, &microseconds) <= 0)
        return Duration::zero();
    return std::chrono::microseconds(microseconds / 2);
}

} // namespace zelvo::service
