#include "gateway/mcp/tools/ActFixture.h"

#include <gmock/gmock.h>

namespace zelvo::service {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using ActToolButtons = ActTool;

TEST_F(ActToolButtons, releasesAButtonThatAFailureLeftPressed)
{
    commands->answers["actions.perform"] = [](DesktopCommand const& command) {
        if (writeJson(command.params).find("ctrl") != std::string::npos)
            throw failure(ErrorCode::deniedByUser, "The user denied the action");
        return json::value{{"ok", true}};
    };

    std::string const text = act(
        R"([{"type":"mouse_down","x":10,"y":20,"button":"right"},{"type":"key","keys":["ctrl","s"]},{"type":"mouse_up","x":30,"y":40,"button":"right"}])",
        R"(,"expectApp":"Mousepad")");

    EXPECT_THAT(text, StartsWith("denied_by_user: The user denied the action. Done: action 0. Next: "));
    EXPECT_THAT(text, Not(HasSubstr("still be held")));
    ASSERT_EQ(performed().size(), 3U);
    // Also if another application has come to the front.
    EXPECT_EQ(performed()[2], R"({"actions":[{"type":"mouse_up","x":10,"y":20,"button":"right"}]})");
    EXPECT_EQ(commands->methods(), "actions.perform actions.perform actions.perform screen.settle ui.tree");
}

TEST_F(ActToolButtons, releasesAButtonWhereItWasPressedIfItMustNotBeReleasedElsewhere)
{
    commands->answers["actions.perform"] = [](DesktopCommand const& command) {
        if (writeJson(command.params).find(R"("x":30)") != std::string::npos)
            throw failure(ErrorCode::zelvoUIProtected, "The point belongs to Zelvo");
        return json::value{{"ok", true}};
    };

    act(R"([{"type":"mouse_down","x":10,"y":20},{"type":"mouse_up","x":30,"y":40}])", R"(,"observe":"none")");

    EXPECT_EQ(performed().back(), R"({"actions":[{"type":"mouse_up","x":10,"y":20,"button":"left"}]})");
    EXPECT_EQ(performed().size(), 3U);
}

TEST_F(ActToolButtons, releasesAButtonThatMayHaveBeenPressed)
{
    std::string const actions = R"([{"type":"mouse_down","x":1,"y":2},{"type":"mouse_up","x":1,"y":2}])";
    auto const failsWith = [&](ErrorCode code) {
        commands->answers["actions.perform"] = [code](DesktopCommand const& command) {
            if (writeJson(command.params).find("mouse_down") != std::string::npos)
                throw failure(code);
            return json::value{{"ok", true}};
        };
        commands->sent.clear();
        act(actions, R"(,"observe":"none")");
        return performed().size();
    };

    EXPECT_EQ(failsWith(ErrorCode::timeout), 2U);
    EXPECT_EQ(failsWith(ErrorCode::internalError), 2U);
    EXPECT_EQ(failsWith(ErrorCode::hiddenAppActive), 1U);
}

TEST_F(ActToolButtons, saysThatAButtonMayStillBeHeld)
{
    commands->answers["actions.perform"] = [](DesktopCommand const& command) {
        if (writeJson(command.params).find("mouse_down") == std::string::npos)
            throw failure(ErrorCode::hiddenAppActive, "A hidden application is in front");
        return json::value{{"ok", true}};
    };

    EXPECT_THAT(
        act(R"([{"type":"mouse_down","x":1,"y":2},{"type":"mouse_up","x":1,"y":2}])"),
        HasSubstr("\nThe left button may still be held: it could not be released (hidden_app_active).\n"));
}

TEST_F(ActToolButtons, releasesAButtonAlsoWhenItsClientIsGone)
{
    call("desktop_see");
    commands->held = {"ui.tree"};
    auto const begun = begin(
        "desktop_act",
        R"({"actions":[{"type":"mouse_down","x":10,"y":20},{"type":"click","ref":"b4","count":2},{"type":"mouse_up","x":1,"y":1}]})");
    ASSERT_EQ(performed().size(), 1U);
    commands->held.insert("actions.perform");
    begun->cancellation.emit(asio::cancellation_type::terminal);
    run();

    EXPECT_TRUE(begun->isCancelled);
    ASSERT_EQ(performed().size(), 2U);
    EXPECT_EQ(performed()[1], R"({"actions":[{"type":"mouse_up","x":10,"y":20,"button":"left"}]})");
    EXPECT_EQ(commands->sent.back().client, "Tester");
    // It has control, or has never pressed anything.
    EXPECT_EQ(commands->sent.back().patience, Duration{});
    EXPECT_EQ(turns->places(), 1U); // The next call waits for it.
    commands->release();
    run();
    EXPECT_EQ(turns->places(), 0U);
    EXPECT_EQ(performed().size(), 2U);
}

TEST_F(ActToolButtons, releasesAButtonThatIsJustBeingPressedWhenItsClientGoes)
{
    commands->held = {"actions.perform"};
    begin("desktop_act",
          R"({"actions":[{"type":"mouse_down","x":10,"y":20},{"type":"mouse_up","x":1,"y":1}]})");
    clock.advance(45s);
    runner.reset(); // The conversation ends, and its pending calls with it.
    run();
    commands->release();
    run();

    ASSERT_EQ(performed().size(), 2U);
    EXPECT_EQ(performed()[1], R"({"actions":[{"type":"mouse_up","x":10,"y":20,"button":"left"}]})");
    EXPECT_EQ(turns->places(), 0U);
}

TEST_F(ActToolButtons, releasesNothingThatItReleasedItself)
{
    commands->answers["actions.perform"] = [](DesktopCommand const& command) {
        if (writeJson(command.params).find("key") != std::string::npos)
            throw failure(ErrorCode::deniedByUser);
        return json::value{{"ok", true}};
    };

    act(R"([{"type":"mouse_down","x":1,"y":2},{"type":"mouse_up","x":3,"y":4},{"type":"key","keys":["a"]}])",
        R"(,"observe":"none")");

    EXPECT_EQ(performed().size(), 3U);
}

} // namespace
} // namespace zelvo::service
