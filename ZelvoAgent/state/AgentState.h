#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "base/LockedBox.h"
#include "platform/ScreenSource.h"
#include "platform/SessionEvents.h"
#include "platform/UserDefaults.h"
#include "state/ActivityLog.h"
#include "state/AvailabilityChange.h"
#include "state/ComputerAgents.h"
#include "state/GatewayConnectionState.h"
#include "state/GrantedConnection.h"
#include "state/StateMirror.h"
#include "wire/AgentScope.h"
#include "wire/Availability.h"

#include <boost/signals2/signal.hpp>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The one observable store of what the agent is doing and what the person has decided. Every window draws
/// from it, and every part that has something to tell the person writes to it. Its lists survive a restart.
/// Thread: main, except where a member says otherwise.
class AgentState {
public:
    struct Services {
        Executor main;
        Clock& clock;
        UserDefaults& defaults;
        SessionEvents& session;
        ScreenSource& screen;
        std::function<void()> refreshDisplay; ///< called at start and when the screens change
    };

    static constexpr std::size_t maxAvailabilityChanges = 50;

    explicit AgentState(Services services);
    AgentState(AgentState const&) = delete;
    AgentState& operator=(AgentState const&) = delete;

    /// Emitted after every change of what is read below.
    boost::signals2::signal<void()> changed;
    /// Called when `paused` has changed, with its new value.
    std::function<void(bool)> onPauseChanged;

    ConnectionMap const& connections() const { return granted; }
    std::vector<ActivityEntry> const& activity() const { return journal.entries(); }
    bool isPaused() const { return paused; }
    Availability availability() const { return present; }
    std::vector<AvailabilityChange> const& availabilityHistory() const { return history; }
    bool isAgentWorking() const { return working; }
    ComputerAgents const& liveAgents() const { return agents; }
    GatewayConnectionState const& gateway() const { return link; }
    bool showAgentCursor() const;
    /// The person's wish; it takes effect at the next pause or resume.
    bool keepAwakeWhileWorking = false;

    /// Restores what is stored and begins to follow the session and the screens. Safe to call twice.
    void startObserving();
    void refreshAvailability();
    /// What the session shows now; never asleep. Thread: any.
    Availability currentAvailability() const { return services.session.current(); }
    /// Thread: any.
    StateMirror currentState() const { return mirror.get(); }

    void setPaused(bool value);
    void setShowAgentCursor(bool value);

    struct LogLine {
        std::string platform;
        std::string summary;
        std::optional<ActivityKind> kind = {};
        std::optional<std::string> connectionId = {};
        std::optional<std::string> note = {};
        std::optional<std::string> detail = {};
        std::optional<std::string> agentName = {};
    };
    void log(LogLine line);
    /// Notes that an agent looked at the screen; a burst of looks becomes one line with a count.
    void logLooked(std::string platform,
                   std::optional<std::string> connectionId,
                   std::optional<std::string> agentName,
                   Date at);

    /// Adds or replaces a connection.
    void grant(GrantedConnection connection);
    void revoke(std::string const& id);
    void forgetConnections();
    /// names  the platforms' present names by connection id; old lines of the log follow
    void renameConnections(std::map<std::string, std::string> const& names);
    std::optional<GrantedConnection> connection(std::optional<std::string> const& id) const;
    void setScopes(std::vector<AgentScope> scopes, std::string const& id);
    void setShareRecordings(std::optional<bool> share, std::string const& id);
    /// Resumes when all that was changed so far is on disk: what takes a right away is answered only then.
    /// Thread: any.
    Task<> written() { return services.defaults.written(); }

    /// Throws AgentError::scopeDenied.
    void assertScope(AgentScope scope, std::optional<std::string> const& id) const;
    /// Throws AgentError::machinePaused or machineUnavailable.
    void assertReady() const;

    /// Says that an agent acts; it counts as working until 3 s after the last call.
    void markWorking();
    void setGatewayState(GatewayConnectionState next);
    void setLiveAgents(ComputerAgents next);

private:
    void observeSession();
    void setAvailability(Availability next);
    void mirrorConnections();
    void persistConnections();
    void persistActivity();
    ActivityEntry newEntry(LogLine line) const;
    bool mergesWithNewest(std::optional<std::string> const& connectionId,
                          std::optional<std::string> const& agentName,
                          Date at) const;
    void logGatewayChange(GatewayConnectionState const& old);

    Services services;
    ConnectionMap granted;
    ActivityLog journal;
    bool paused = false;
    Availability present = Availability::ready;
    std::vector<AvailabilityChange> history;
    bool working = false;
    ComputerAgents agents;
    GatewayConnectionState link;
    TaskHandle workingResetTask;
    bool isObserving = false;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks that hold the state weakly look at it.
    LockedBox<StateMirror> mirror;
};

} // namespace zelvo
