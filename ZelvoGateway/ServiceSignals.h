#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace zelvo::service {

/// The signals by which people and service managers direct the program: SIGTERM and SIGINT end it, SIGHUP
/// reloads. A SIGHUP because the terminal that it was started from is gone ends it, too. They are blocked in
/// the thread that makes this, and in those that it starts.
/// If the program has not ended some time after it was asked to, for instance because a disk no longer
/// answers, the process ends without it: the store survives that.
class ServiceSignals {
public:
    /// Called on a separate thread.
    struct Handlers {
        std::function<void()> stop;
        std::function<void()> reload; ///< must not throw
    };

    ServiceSignals();
    ServiceSignals(ServiceSignals const&) = delete;
    ServiceSignals& operator=(ServiceSignals const&) = delete;
    ~ServiceSignals();

    void watch(Handlers handlers);

private:
    void await(Handlers const& handlers) const;
    bool hasLostTerminal() const;
    void assertEndsSoon() const;

    sigset_t signals{};
    bool const hadTerminal;
    std::atomic<bool> isOver = false; // The program has ended by itself.
    std::thread waiter;
};

} // namespace zelvo::service
