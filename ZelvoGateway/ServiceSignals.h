#pragma once

#include "base/Clock.h"

#include <atomic>
#include <csignal>
#include <functional>
#include <mutex>
#include <thread>

namespace zelvo::service {

/// The signals by which people and service managers direct the program: SIGTERM and SIGINT end it, a second
/// one ends it at once, SIGHUP reloads. A SIGHUP because the terminal that it was started from is gone ends
/// it, too. They are blocked in the thread that makes this, and in those that it starts. If the program has
/// not ended some time after it was asked to, for instance because a disk no longer answers, the process ends
/// without it: the store survives that.
class ServiceSignals {
public:
    /// Called on a separate thread.
    struct Handlers {
        std::function<void()> stop = {};
        std::function<void()> stopNow = {};
        std::function<void()> reload = {}; ///< must not throw
    };

    ServiceSignals();
    ServiceSignals(ServiceSignals const&) = delete;
    ServiceSignals& operator=(ServiceSignals const&) = delete;
    ~ServiceSignals();

    /// stopTimeout   how long the program may take to finish its work after `stop`
    void watch(Handlers handlers, Duration stopTimeout);
    /// No handler is called from now on: what they use may go. The program still has to end in time.
    void releaseHandlers();

private:
    void await(Duration stopTimeout);
    void end(Duration stopTimeout);
    void call(std::function<void()> Handlers::* handler);
    bool waitForEnd(Duration patience) const;
    bool hasLostTerminal() const;

    sigset_t signals{};
    bool const hadTerminal;
    std::mutex mutex; ///< of `handlers`
    Handlers handlers;
    std::atomic<bool> isOver = false; // The program has ended by itself.
    std::thread waiter;
};

} // namespace zelvo::service
