#pragma once

#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/AgentProgram.h"
#include "end_to_end/GatewayProgram.h"

#include <gtest/gtest.h>

namespace zelvo::test {

/// A desktop with the built gateway and the built agent, which is not running yet.
class EndToEnd : public testing::Test {
protected:
    /// Starts the agent as a provisioned, unattended machine and waits until it is online; gives the
    /// connection. extra: joins the agent's environment
    std::string startUnattended(Environment extra = {})
    {
        auto const made = gateway.provision();
        agent.makeUnattended(made.token);
        agent.start({}, std::move(extra));
        machine = made.machine;
        EXPECT_TRUE(gateway.comesOnline(made.connection)) << agent.output();
        waitFor([&] { return mayAct(made.connection); }); // The accessibility bus starts asynchronously.
        return made.connection;
    }
    /// Starts the agent with a link, like a browser, and allows it with the Return key; returns the
    /// connection.
    std::string linkByReturn(std::vector<std::string> const& scopes)
    {
        agent.start({gateway.newLink(scopes)});
        waitForConsent();
        allowConsent();
        require("the connection", [&] { return !gateway.connections().empty(); });
        std::string const connection = gateway.connections().front();
        EXPECT_TRUE(gateway.comesOnline(connection));
        return connection;
    }
    /// Whether the agent reports that it can operate this desktop.
    bool mayAct(std::string const& connection)
    {
        auto const answer = gateway.command(connection, "permissions.get");
        return answer.status == 200 && answer.body.at("result").at("accessibility") == true;
    }
    void press(std::string const& key) { desktop.run({"xdotool", "key", key}); }
    bool isOpen(std::string const& title) { return desktop.findWindow({.title = title}).has_value(); }
    /// Waits until the consent window has the keyboard focus; returns it.
    std::uint32_t waitForConsent()
    {
        auto const window = desktop.waitForWindow({.title = "Connection request"});
        require("the focus of the consent window", [&] { return desktop.activeWindow() == window; });
        return window;
    }
    /// The window that a second start opens.
    std::uint32_t waitForMainWindow()
    {
        auto const window = desktop.waitForWindow({.title = "Zelvo", .className = "zelvo-agent"});
        require("the focus of the main window", [&] { return desktop.activeWindow() == window; });
        return window;
    }
    /// Presses Return until the consent window has taken it: a yes counts only after a moment without keys.
    void allowConsent()
    {
        for (int tries = 0; tries < 5 && isOpen("Connection request"); ++tries) {
            press("Return");
            waitFor([&] { return !isOpen("Connection request"); }, 1200ms);
        }
    }

    PrivateDesktop desktop{{.width = 1280, .height = 1024}};
    GatewayProgram gateway{desktop};
    AgentProgram agent{desktop, gateway.port()};
    std::string machine;
};

} // namespace zelvo::test
