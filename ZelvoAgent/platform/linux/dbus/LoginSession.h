#pragma once

#include "base/Clock.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/dbus/SessionFacts.h"
#include "platform/portable/files/UniqueFd.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Follows the logind session of this program. While logind restarts, the last state stays valid for some
/// seconds, so that a locked screen does not look unlocked. Thread: agent.
class LoginSession : public std::enable_shared_from_this<LoginSession> {
public:
    static constexpr Duration restartPatience = 10s;

    struct Events {
        std::function<void(std::optional<LoginFacts>)> onFacts;
        std::function<void(bool goesToSleep)> onSleep;
        std::function<void()> onShutdown; ///< logind waits for this program to end, for some seconds
    };

    LoginSession(Executor agent, Clock& clock, BusConnection& system, OwnSession own, Events events);
    void start();

private:
    struct Candidate {
        std::string path;
        std::uint32_t user = 0;
        BusDictionary properties;
    };

    void ownerChanged(std::string const& owner);
    void delayShutdown();
    void find();
    Task<bool> findOnce();
    Task<std::vector<Candidate>> sessions();
    void choose(std::vector<Candidate> const& candidates);
    int rank(Candidate const& candidate) const;
    void propertiesChanged(sd_bus_message* message);
    void report(std::optional<LoginFacts> next);

    Executor agent;
    Clock& clock;
    BusConnection& system;
    OwnSession const own;
    Events events;
    std::string path; ///< of the session; empty if there is none
    std::optional<LoginFacts> facts;
    TaskHandle grace;
    UniqueFd shutdownDelay; ///< logind delays a shutdown as long as this is open
    bool isSearching = false;
    bool isStale = false; ///< something changed during the search
};

} // namespace zelvo
