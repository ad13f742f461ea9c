#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "base/DelayedCall.h"
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

/// The one observable store of the agent's activity and the person's decisions. Every window draws from it,
/// and every part that reports something to the person writes to it. Its lists survive a restart.
/// Thread: main, unless a member says otherwise.
class AgentState {
public:
    struct Services {
        Executor main;
        Clock& clock;
        UserDefaults& defaults;
        SessionEvents& session;
        ScreenSource& screen;
        std::function<void()> refreshDisplay; ///< called at start and after each change of the screens
    };

    static constexpr std::size_t maxAvailabilityChanges = 50;

    explicit AgentState(Services services);
    AgentState(AgentState const&) = delete;
    AgentState& operator=(AgentState const&) = delete;

    /// Emitted after every change of the values below.
    boost::signals2::signal<void()> changed;
    /// Called with the new value when `paused` has changed.
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
    /// The person's choice; it takes effect at the next pause or resume.
    bool keepAwakeWhileWorking() const { return keepsAwake; }

    /// Restores the stored lists and starts to observe the session and the screens. May be called again.
    void startObserving();
    void refreshAvailability();
    /// The availability that the session reports now; never `asleep`. Thread: any.
    Availability currentAvailability() const { return services.session.current(); }
    /// Thread: any.
    StateMirror currentState() const { return mirror.get(); }

    void setPaused(bool value);
    void setShowAgentCursor(bool value);
    void setKeepAwakeWhileWorking(bool value);

    struct LogLine {
        std::string platform;
        std::string summary;
        std::optional<ActivityKind> kind = {};
        std::optional<std::string> connectionId = {};
        std::optional<std::string> note = {};
        std::optional<std::string> detail = {};
        std::optional<std::string> agentName = {};
        std::optional<std::string> cwd = {};
        std::vector<std::string> env = {};
    };
    void log(LogLine line);
    /// Logs a screenshot by an agent. Successive screenshots are merged into one entry with a count.
    void logLooked(std::string platform,
                   std::optional<std::string> connectionId,
                   std::optional<std::string> agentName,
                   Date at);

    /// Adds or replaces a connection.
    void grant(GrantedConnection connection);
    void revoke(std::string const& id);
    void forgetConnections();
    /// Renames connections, in earlier log entries too.
    /// names  the platforms' present names by connection id
    void renameConnections(std::map<std::string, std::string> const& names);
    std::optional<GrantedConnection> connection(std::optional<std::string> const& id) const;
    void setScopes(std::vector<AgentScope> scopes, std::string const& id);
    void setShareRecordings(std::optional<bool> share, std::string const& id);
    /// Resumes when all earlier changes are on disk. A command that removes a right replies only after that.
    /// Thread: any.
    Task<> written() { return services.defaults.written(); }

    /// Throws AgentError::scopeDenied.
    void assertScope(AgentScope scope, std::optional<std::string> const& id) const;
    /// Throws AgentError::machinePaused or machineUnavailable.
    void assertReady() const;

    /// Reports an agent's action. The agent counts as working until 3 s after the last call.
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
    bool keepsAwake = false;
    Availability present = Availability::ready;
    std::vector<AvailabilityChange> history;
    bool working = false;
    ComputerAgents agents;
    GatewayConnectionState link;
    DelayedCall workingEnd;
    bool isObserving = false;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Observers hold it weakly to detect destruction.
    LockedBox<StateMirror> mirror;
};

} // namespace zelvo
