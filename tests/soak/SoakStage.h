#pragma once

#include "desktop/harness/PrivateDesktop.h"
#include "desktop/input/TextField.h"
#include "end_to_end/AgentProgram.h"
#include "end_to_end/GatewayProgram.h"

#include <filesystem>
#include <optional>
#include <string>

namespace zelvo::test {

/// The built gateway and the built agent, unattended, on a private desktop with a text field in front.
class SoakStage {
public:
    SoakStage();

    /// Sends a command; throws std::runtime_error unless it succeeds.
    json::value command(std::string const& method, json::object params = {}) const;
    /// Performs one input action.
    void act(json::object action) const;

    pid_t agentProcess() const { return agent.pid(); }
    /// A folder that agents may use.
    std::filesystem::path folder() const { return desktop.home() / "shared"; }
    /// A point of the text field, given from its window's top left.
    DesktopPoint pointInField(int x, int y) const { return field->pointIn(x, y); }

private:
    PrivateDesktop desktop{{.width = 1280, .height = 800}};
    GatewayProgram gateway{desktop};
    AgentProgram agent{desktop, gateway.port()};
    std::string connection;
    std::optional<TextField> field;
};

} // namespace zelvo::test
