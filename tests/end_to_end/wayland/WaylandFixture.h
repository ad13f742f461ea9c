#pragma once

#include "end_to_end/AgentProgram.h"
#include "end_to_end/GatewayProgram.h"
#include "end_to_end/Pixels.h"
#include "end_to_end/wayland/WaylandMachine.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::test {

/// The built gateway and the built agent on each Wayland desktop; the test plays the person.
class OnWayland : public testing::TestWithParam<Compositor> {
protected:
    using Answer = GatewayProgram::Answer;

    static constexpr std::uint32_t shown = 0xf0e080;
    static constexpr std::uint32_t secret = 0xe01fd0;
    static constexpr char const* hidden = "hushhush"; ///< the name of a hidden application

    void SetUp() override;

    /// Starts the agent as a provisioned, unattended machine; nothing is granted.
    void startAsking();
    /// The same, and has the desktop grant everything.
    void startUnattended();
    /// Starts the agent with a link, allows it, and has the desktop grant everything.
    void startLinked(std::vector<std::string> const& scopes);
    /// Presses buttons of the agent's windows until none is there any more.
    /// labels  what they are called, without what they are for
    void pressAll(std::vector<std::string> labels);
    bool mayAct();

    /// Starts writer.py as a program of that name, and waits for its window.
    pid_t openWriter(std::string const& name, std::uint32_t color, std::vector<std::string> more = {});
    /// What it wrote so far.
    std::string said(pid_t writer) { return desktop().processes().output(writer); }
    bool says(pid_t writer, std::string const& words);
    /// Waits until the agent reports this application as the one in front.
    void waitForFront(std::string const& name);

    Answer command(std::string const& method, json::object params = {});
    /// The result of a command that must not fail.
    json::value resultOf(std::string const& method, json::object params = {});
    std::string failureOf(std::string const& method, json::object params = {});
    std::string perform(json::array actions);
    static std::string codeOf(Answer const& answer);

    Pixels picture();
    /// The picture in what "screenshot" answered.
    static Pixels pixelsIn(json::value const& result);
    /// A tree with that element of the application in front; throws if it does not appear.
    json::object treeWith(std::string_view role, std::string_view title);
    static json::object const* find(json::object const& tree, std::string_view role, std::string_view title);
    PaintedArea placeOf(std::string_view role, std::string_view title);
    json::object clickOn(std::string_view role, std::string_view title);
    static json::object typing(std::string_view text) { return {{"type", "type"}, {"text", text}}; }

    PrivateSession& desktop() { return machine->session(); }

    std::optional<WaylandMachine> machine;
    std::optional<GatewayProgram> gateway;
    std::optional<AgentProgram> agent;
    std::string connection;

private:
    void grant();
};

/// The number of pixels of about that color.
int pixelsLike(Pixels const& pixels, std::uint32_t color);
std::uint32_t pixelAt(Pixels const& pixels, int x, int y);
std::string nameOfCompositor(testing::TestParamInfo<Compositor> const& info);

} // namespace zelvo::test
