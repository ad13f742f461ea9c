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
#include <optional>
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

    /// What has to be in front.
    struct Front {
        std::string expected;                ///< by the caller of the batch; empty for any application
        std::optional<std::string> askedFor; ///< the one that the person's yes is for; empty for none at all
        Duration maxWait{};                  ///< for it to come there
    };

    /// index   the action's place in the batch
    /// Throws  AgentError, DetailedAgentError
    Task<> assertMayAct(InputAction action, Front front, std::size_t index);

private:
    Task<> assertInFront(Front front, std::size_t index);
    Task<> assertTargetAllowed(InputAction action);

    Services services;
};

} // namespace zelvo
