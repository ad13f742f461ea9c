#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "confirm/ElementProbing.h"
#include "platform/Workspace.h"
#include "recording/SessionRecording.h"
#include "router/ActionGuard.h"
#include "router/Confirmations.h"
#include "router/ElementHandlers.h"
#include "router/HandlerTable.h"
#include "router/ShownInput.h"
#include "router/StrictActions.h"
#include "state/AgentState.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// "actions.perform": a batch of input actions, each checked just before it runs. Thread: the router's
/// strand.
class ActionHandlers {
    Task<json::value> perform(Admission admission);

public:
    static constexpr std::array<HandlerRow<ActionHandlers>, 1> rows = {{
        {"actions.perform", &ActionHandlers::perform},
    }};

    struct Services {
        Contexts contexts;
        Clock& clock;
        AgentState& state;
        SessionRecording& recorder;
        Workspace& workspace;
        ElementProbing& probe;
        ActionGuard& guard;
        Confirmations& confirmations;
        ElementHandlers& elements;
        ShownInput& input;
        StrictActions& strict;
        std::function<bool()> isStrict; ///< may be empty
    };

    explicit ActionHandlers(Services services) : services(std::move(services)) {}

private:
    Task<> performBatch(std::vector<InputAction> actions, std::string expected, std::optional<Asker> asker);
    /// Returns whether the strict guard has carried it out.
    Task<bool> performStrictly(InputAction action, Asker asker, StrictActions::Recheck recheck);
    /// Asks the person if the action would commit something, and then checks everything again.
    Task<> confirm(InputAction action, Asker asker, StrictActions::Recheck recheck);
    Task<> execute(InputAction action);
    Task<> wait(std::int64_t ms);
    Task<>
    log(GrantedConnection connection, std::optional<std::string> agentName, std::vector<InputAction> actions);

    Services services;
    bool isBusy = false; // strand; a batch runs
};

} // namespace zelvo
