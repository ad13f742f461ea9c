#pragma once

#include "base/Clock.h"
#include "wire/Json.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A live agent, as the gateway reports it.
struct ComputerAgent {
    std::string ref; ///< the gateway's handle, sent back to pause or resume the agent
    std::string name;
    std::optional<std::string> task;
    std::optional<std::string> connectionId;
    Date since; ///< when it became holder, waiting or paused
    bool operator==(ComputerAgent const&) const = default;
};

/// Which agent controls this machine, which ones wait and which ones the person has paused.
struct ComputerAgents {
    std::optional<ComputerAgent> holder;
    std::vector<ComputerAgent> waiting; ///< the first is next
    std::vector<ComputerAgent> paused;
    bool operator==(ComputerAgents const&) const = default;

    static ComputerAgents const& none();
    bool isEmpty() const { return !holder && waiting.empty() && paused.empty(); }

    /// Parses "agents.update". Returns none() if any part is invalid; an invalid "since" becomes `now`.
    static ComputerAgents parse(json::object const& params, Date now);
};

} // namespace zelvo
