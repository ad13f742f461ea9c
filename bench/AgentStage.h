#pragma once

#include "BareEcho.h"
#include "desktop/harness/Painter.h"
#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/AgentProgram.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The real agent program, unattended, on a private desktop, with the benchmark as its gateway.
class AgentStage {
public:
    explicit AgentStage(int width = 1920, int height = 1080);

    /// Starts the agent and waits for its first heartbeat; gives the seconds from before to after.
    double start();
    void kill();
    /// Puts an editor and a terminal full of text and some plain windows on the screen; all but the editor
    /// grow with it.
    void furnish();
    /// Starts a program on the desktop.
    void run(std::vector<std::string> const& command) { desktop.start(command); }
    /// Says which applications are left out of pictures.
    void hide(std::vector<std::string> const& bundleIds);
    /// Sends a frame and waits for its reply; heartbeats are passed over.
    std::string_view ask(std::string const& frame);
    /// The same under pings all the time; gives the longest that one was unanswered, in milliseconds.
    double askUnderPings(std::string const& frame);
    std::string_view answer() const { return gateway->received(); }
    /// Stores a setting before the start.
    void store(std::string const& key, json::value const& value) { agent.store(key, value); }
    std::filesystem::path home() const { return desktop.home(); }
    /// Counts the most memory, "VmHWM", anew.
    void forgetPeak() const;
    /// A number of KiB of the agent's /proc status, for instance "VmRSS".
    double memory(std::string const& name) const;
    std::string const& display() const { return desktop.display(); }

private:
    int width;
    int height;
    test::PrivateDesktop desktop;
    test::AgentProgram agent{desktop, 0};
    test::Painter painter{desktop.display()};
    std::optional<EchoDriver> gateway;
};

/// A command as the gateway sends it.
std::string commandFrame(std::string const& method, std::string const& params = "{}");

} // namespace zelvo
