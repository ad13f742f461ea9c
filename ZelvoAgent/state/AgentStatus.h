#pragma once

#include "state/UpdateSource.h"
#include "state/ZelvoMark.h"
#include "wire/Permissions.h"

#include <optional>
#include <string>

namespace zelvo {

class AgentState;

/// The one sentence that the agent says about itself, and what the person is offered next.
struct AgentStatus {
    enum class Action { pause, resume, reconnectNow, relink, update, connect, permissions, none };

    std::string title;
    std::string detail; ///< may be empty
    ZelvoMark::State mark = ZelvoMark::State::idle;
    bool isProblem = false;
    Action action = Action::none;
    bool operator==(AgentStatus const&) const = default;

    /// A lost link counts more than a pause, and both more than anything else. An update is offered only by a
    /// program that installs it itself. Thread: main.
    static AgentStatus current(AgentState const& state, Permissions const& permissions, UpdateSource updates);

    /// The label of the button for `action`.
    std::optional<std::string> actionTitle() const;
    /// Whether the button does the same as the pause key.
    bool showsPauseShortcut() const { return action == Action::pause || action == Action::resume; }
};

} // namespace zelvo
