#pragma once

#include "base/Clock.h"
#include "wire/Json.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A live agent, as the gateway tells of it.
struct ComputerAgent {
    std::string ref; ///< the gateway's handle, sent back to pause and resume it
    std::string name;
    std::optional<std::string> task;
    std::optional<std::string> connectionId;
    Date since; ///< when it entered this position
    bool operator==(ComputerAgent const&) const = default;
};

/// Who holds control of this machine, who waits for it and whom the person put aside.
struct ComputerAgents {
    std::optional<ComputerAgent> holder;
    std::vector<ComputerAgent> waiting; ///< the first is next
    std::vector<ComputerAgent> paused;
    bool operator==(ComputerAgents const&) const = default;

    static ComputerAgents const& none();
    bool isEmpty() const { return !holder && waiting.empty() && paused.empty(); }

    /// Reads "agents.update". What cannot be read as a whole gives none(); an unreadable "since" counts as
    /// `now`.
    static ComputerAgents parse(json::object const& params, Date now);
};

} // namespace zelvo
