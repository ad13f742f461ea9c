#pragma once

#include "BareEcho.h"
#include "end_to_end/AgentProgram.h"
#include "end_to_end/wayland/WaylandMachine.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The real agent program, unattended, on a private Wayland desktop of 1920 x 1080 that has granted
/// everything, with an editor full of text. The benchmark acts as its gateway. Throws std::runtime_error if
/// something does not start.
class WaylandStage {
public:
    explicit WaylandStage(test::Compositor kind);

    /// Sends a frame and waits for its reply; skips heartbeats.
    std::string_view ask(std::string const& frame);
    pid_t agentPid() const { return agent.pid(); }

private:
    void start();
    void grant();

    test::WaylandMachine machine;
    test::AgentProgram agent;
    std::optional<EchoDriver> gateway;
};

} // namespace zelvo
