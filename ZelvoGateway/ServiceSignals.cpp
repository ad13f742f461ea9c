#include "ZelvoGateway/ServiceSignals.h"

#include "ZelvoGateway/base/Log.h"

#include <unistd.h>

#include <chrono>
#include <utility>

namespace zelvo::service {

namespace {

constexpr Duration patienceForEnd = 10s; // The server itself waits 5 for its connections.

[[noreturn]] void endInSpite()
{
    Log::error("ended in spite of work that hangs");
    ::_exit(1);
}

} // namespace

ServiceSignals::ServiceSignals() : hadTerminal(::isatty(STDIN_FILENO) == 1)
{
    sigemptyset(&signals);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGUSR1})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

ServiceSignals::~ServiceSignals()
{
    if (!waiter.joinable())
        return;
    isOver = true;
    pthread_kill(waiter.native_handle(), SIGUSR1);
    waiter.join();
}

void ServiceSignals::watch(Handlers wanted, Duration stopTimeout)
{
    handlers = std::move(wanted);
    waiter = std::thread([this, stopTimeout] { await(stopTimeout); });
}

void ServiceSignals::releaseHandlers()
{
    std::lock_guard const lock(mutex);
    handlers = {};
}

void ServiceSignals::call(std::function<void()> Handlers::* handler)
{
    std::lock_guard const lock(mutex);
    if (handlers.*handler)
        (handlers.*handler)();
}

void ServiceSignals::await(Duration stopTimeout)
{
    for (int signal = 0; sigwait(&signals, &signal) == 0 && !isOver;) {
        if (signal == SIGUSR1)
            continue;
        if (signal == SIGHUP && !hasLostTerminal()) {
            call(&Handlers::reload);
            continue;
        }
        end(stopTimeout);
        return;
    }
}

void ServiceSignals::end(Duration stopTimeout)
{
    call(&Handlers::stop);
    if (!waitForEnd(stopTimeout + patienceForEnd))
        endInSpite();
    call(&Handlers::stopNow);
    while (!isOver)
        if (!waitForEnd(patienceForEnd))
            endInSpite();
}

/// Until the program ends or another signal asks for it; false if neither happens in that time.
bool ServiceSignals::waitForEnd(Duration patience) const
{
    auto const end = std::chrono::steady_clock::now() + patience;
    while (!isOver) {
        auto const left = std::chrono::ceil<std::chrono::seconds>(end - std::chrono::steady_clock::now());
        if (left <= 0s)
            return false;
        timespec const limit{.tv_sec = static_cast<time_t>(left.count()), .tv_nsec = 0};
        int const signal = sigtimedwait(&signals, nullptr, &limit);
        if (signal == SIGTERM || signal == SIGINT)
            return true;
    }
    return true;
}

bool ServiceSignals::hasLostTerminal() const
{
    return hadTerminal && ::isatty(STDIN_FILENO) == 0;
}

} // namespace zelvo::service
