#pragma once

#include "state/ActivityWording.h"
#include "state/StoredList.h"
#include "unit/state/StateFixture.h"

namespace zelvo {

/// The state, and what it has stored.
class AgentStateTest : public StateFixture {
protected:
    using Kind = GatewayConnectionState::Kind;

    ActivityEntry newest() const { return state.activity().front(); }
    std::string& content(char const* key) { return platform.settings.contents[key]; }
    std::vector<ActivityEntry> storedActivity()
    {
        return stored::decodeList<ActivityEntry>(content("zelvo.activity")).value();
    }
    ConnectionMap storedConnections() { return decodeConnections(content("zelvo.connections")).value(); }

    /// Clears the store, so that a test can check whether something is stored again.
    void clearStored() { platform.settings.contents.clear(); }
    bool isStored(std::string const& key) const { return platform.settings.contents.contains(key); }

    void look(std::optional<std::string> connectionId, std::optional<std::string> agentName)
    {
        state.logLooked("Acme", std::move(connectionId), std::move(agentName), platform.time.date());
    }
    void enter(Kind kind) { state.setGatewayState(GatewayConnectionState::of(kind)); }
    void retry(std::string reason, Duration in = 1s)
    {
        state.setGatewayState(GatewayConnectionState::retrying(
            std::move(reason),
            platform.time.date() + std::chrono::duration_cast<std::chrono::microseconds>(in)));
    }
};

inline GrantedConnection acme(std::string id = "con_1", std::string name = "Acme")
{
    return {std::move(id), std::move(name), {AgentScope::input, AgentScope::screen}, {}, {}};
}

inline std::vector<std::string> summaries(AgentState const& state)
{
    std::vector<std::string> texts;
    for (ActivityEntry const& entry : state.activity())
        texts.push_back(entry.summary);
    return texts;
}

/// An entry without its id and time.
inline ActivityEntry withoutStamp(ActivityEntry entry)
{
    entry.id.clear();
    entry.at = {};
    return entry;
}

inline ActivityEntry said(std::string platform, std::string summary, ActivityKind kind)
{
    ActivityEntry entry;
    entry.platformName = std::move(platform);
    entry.summary = std::move(summary);
    entry.kind = kind;
    return entry;
}

} // namespace zelvo
