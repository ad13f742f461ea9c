#pragma once

#include "base/Contexts.h"
#include "drivers/Shell.h"
#include "router/Confirmations.h"
#include "router/HandlerTable.h"
#include "state/AgentState.h"

#include <array>
#include <optional>
#include <string>

namespace zelvo {

/// "shell.run". Thread: the router's strand.
class ShellHandlers {
    Task<json::value> run(Admission admission);

public:
    static constexpr std::array<HandlerRow<ShellHandlers>, 1> rows = {{
        {"shell.run", &ShellHandlers::run},
    }};

    struct Services {
        Executor main;
        AgentState& state;
        Shell& shell;
        Confirmations& confirmations;
    };

    explicit ShellHandlers(Services services) : services(std::move(services)) {}

private:
    /// Thread: main.
    void log(GrantedConnection const& connection,
             std::optional<std::string> agentName,
             ConfirmationSubject::ShellCommand const& command,
             ShellRunResult const& result);

    Services services;
};

} // namespace zelvo
