#pragma once

#include "base/Contexts.h"
#include "confirm/ElementProbing.h"
#include "drivers/HiddenAppGuard.h"
#include "drivers/InputAction.h"
#include "drivers/OwnUiGuard.h"
#include "router/FrontmostCheck.h"
#include "state/AgentState.h"
#include "wire/Permissions.h"

#include <cstddef>
#include <functional>
#include <string>

namespace zelvo {

/// Checks before each action of a batch whether it may run, so that a pause, a lock or another application
/// stops the batch in its middle. Thread: any.
class ActionGuard {
public:
    struct Services {
        Contexts contexts;
        AgentState& state;
        ElementProbing& probe;
        HiddenAppGuard& hiddenGuard;
        OwnUiGuard& ownUi;
        std::function<Permissions()> permissions;
        std::function<Task<bool>()> questionPending;
        FrontmostCheck& frontmost;
        std::function<Task<>()> beginAction; ///< may be empty
    };

    explicit ActionGuard(Services services) : services(std::move(services)) {}

    /// expected  the application that must be in front; empty for any
    /// index     the action's place in the batch
    /// maxWait   how long the expected application may take to come to the front
    /// Throws    AgentError, DetailedAgentError
    Task<> assertMayAct(InputAction action, std::string expected, std::size_t index, Duration maxWait);

private:
    Task<> assertTargetAllowed(InputAction action);

    Services services;
};

} // namespace zelvo
