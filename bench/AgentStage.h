#pragma once

#include "BareEcho.h"
#include "desktop/harness/Painter.h"
#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/AgentProgram.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The real agent program, unattended, on a private desktop. The benchmark acts as its gateway.
class AgentStage {
public:
    explicit AgentStage(int width = 1920, int height = 1080);

    /// Starts the agent and waits for its first heartbeat; returns the seconds from before the start.
    double start();
    void kill();
    /// Opens an editor and a terminal full of text and some plain windows; all but the editor scale with the
    /// screen.
    void furnish();
    /// Starts a program on the desktop.
    void run(std::vector<std::string> const& command) { desktop.start(command); }
    /// Sets the applications that pictures leave out.
    void hide(std::vector<std::string> const& bundleIds);
    /// Sends a frame and waits for its reply; skips heartbeats.
    std::string_view ask(std::string const& frame);
    /// The same with constant pings; returns the longest time without a pong, in milliseconds.
    double askUnderPings(std::string const& frame);
    std::string_view answer() const { return gateway->received(); }
    /// Stores a setting before the start.
    void store(std::string const& key, json::value const& value) { agent.store(key, value); }
    std::filesystem::path home() const { return desktop.home(); }
    test::PrivateDesktop& privateDesktop() { return desktop; }
    test::AgentProgram& program() { return agent; }
    /// Resets the peak of memory, "VmHWM".
    void forgetPeak() const;
    /// A value in KiB from the agent's /proc status, for instance "VmRSS".
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

/// A command in the gateway's format.
std::string commandFrame(std::string const& method, std::string const& params = "{}");

} // namespace zelvo
