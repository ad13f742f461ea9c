#include "ZelvoGateway/ServiceSignals.h"

#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <utility>

namespace zelvo::service {

namespace {

constexpr time_t patienceForEnd = 10; // Seconds; the server itself waits 5 for its connections.

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

void ServiceSignals::watch(Handlers handlers)
{
    waiter = std::thread([this, handlers = std::move(handlers)] { await(handlers); });
}

void ServiceSignals::await(Handlers const& handlers) const
{
    for (int signal = 0; sigwait(&signals, &signal) == 0 && !isOver;) {
        if (signal == SIGUSR1)
            continue;
        if (signal == SIGHUP && !hasLostTerminal()) {
            handlers.reload();
            continue;
        }
        handlers.stop();
        assertEndsSoon();
        return;
    }
}

bool ServiceSignals::hasLostTerminal() const
{
    return hadTerminal && ::isatty(STDIN_FILENO) == 0;
}

void ServiceSignals::assertEndsSoon() const
{
    sigset_t woken{};
    sigemptyset(&woken);
    sigaddset(&woken, SIGUSR1);
    timespec const patience{.tv_sec = patienceForEnd, .tv_nsec = 0};
    while (!isOver && sigtimedwait(&woken, nullptr, &patience) < 0)
        if (errno == EAGAIN) {
            std::cerr << "zelvo-gateway: ended in spite of work that hangs" << std::endl;
            ::_exit(1);
        }
}

} // namespace zelvo::service
