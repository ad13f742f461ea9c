#pragma once

#include "ZelvoGateway/mcp/tools/ActionRequest.h"
#include "ZelvoGateway/mcp/tools/ElementSearch.h"
#include "ZelvoGateway/mcp/tools/HeldButtons.h"
#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <cstddef>
#include <string>
#include <vector>

namespace zelvo::service {

/// Carries out actions in order, each as a separate command, because machines do not say which action of a
/// command failed. A button that they leave pressed, because one failed or the call was cancelled, is
/// released.
/// Thread: the server's.
class ActionRun {
public:
    /// expectedApp   that has to be in front, by its name or identifier; empty for any
    ActionRun(MachineCallPtr call, std::vector<ActionRequest> actions, std::string expectedApp);

    /// Throws ToolFailure, which says what was done.
    Task<> run();
    std::size_t count() const { return actions.size(); }

private:
    Task<> perform(std::size_t index);
    Task<> send(std::size_t index, Freshness freshness);
    Task<> sendOne(std::size_t index, json::object wire);
    /// What a machine is to do for one action, command by command.
    Task<std::vector<json::object>> wireActions(std::size_t index, Freshness freshness);
    Task<std::vector<json::object>> onElement(ActionRequest action, Freshness freshness);
    Task<ScreenPoint> placeOf(ActionRequest action);
    ScreenPoint pointsOf(ScreenPoint shown) const;

    MachineCallPtr call;
    std::vector<ActionRequest> actions;
    std::string expected;
    HeldButtons held;
    bool isBegun = false; // A part of the present action was done.
};

} // namespace zelvo::service
