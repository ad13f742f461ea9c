#include "end_to_end/ReadingDesk.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <future>

namespace zelvo::test {
namespace {

using Answer = GatewayProgram::Answer;

json::value const leftClick = {{"type", "click"}};

/// Acts on applications that commit something, with a person at the machine who answers.
class Confirming : public Reading {
protected:
    std::string connection;
    pid_t application = 0;

    void openLetter(Toolkit toolkit)
    {
        TestApplication const letter = test::letter(desktop, toolkit);
        application = desktop.start(letter.command);
        letterWindow = desktop.waitForWindow(letter.window, 60s);
        require("the letter in front", [&] { return desktop.activeWindow() == letterWindow; }, 20s);
    }
    std::string said() { return desktop.processes().output(application); }
    bool says(std::string const& words)
    {
        return waitFor([&] { return said().find(words) != std::string::npos; });
    }

    std::future<Answer> performing(json::array actions)
    {
        return std::async(std::launch::async, [this, actions = std::move(actions)] {
            return gateway.command(connection, "actions.perform", {{"actions", actions}});
        });
    }
    Answer perform(json::array actions) { return performing(std::move(actions)).get(); }
    static std::string codeOf(Answer const& answer)
    {
        if (answer.status == 200)
            return "ok";
        return std::string(answer.body.at("error").at("code").as_string());
    }

    /// Waits for the panel with the keyboard, and presses a key on it as the person does.
    void answerPanel(std::string const& key)
    {
        auto const panel = desktop.waitForWindow({.title = "Zelvo"});
        require("the focus of the panel", [&] { return desktop.activeWindow() == panel; });
        std::this_thread::sleep_for(
            500ms); // As a person does: a key at once is taken for one that was meant for others.
        press(key);
        require("the end of the panel", [&] { return !isOpen("Zelvo"); });
    }
    std::string askedAnd(std::string const& key, json::array actions)
    {
        auto answer = performing(std::move(actions));
        answerPanel(key);
        return codeOf(answer.get());
    }

    json::value clickOn(std::string_view role, std::string_view title, std::string_view button = "left")
    {
        json::object action = parseJson(centerOf(find(tree(connection), role, title)))->as_object();
        action["button"] = button;
        return action;
    }
    json::value elementClick(std::string_view role, std::string_view title)
    {
        json::object const seen = tree(connection);
        return {{"type", "click_element"},
                {"snapshotId", seen.at("snapshotId")},
                {"elementId", find(seen, role, title).at("id")}};
    }
    static json::value key(std::initializer_list<char const*> keys)
    {
        return {{"type", "key"}, {"keys", json::array(keys.begin(), keys.end())}};
    }

    std::uint32_t letterWindow = 0;
};

TEST_F(Confirming, asksBeforeSendIsClickedInAForm)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    json::array const click{clickOn("AXButton", "Send")};

    EXPECT_EQ(askedAnd("Escape", click), "denied_by_user");
    EXPECT_EQ(said().find("pressed"), std::string::npos) << said();

    EXPECT_EQ(askedAnd("Return", click), "ok");
    EXPECT_TRUE(says("pressed Send")) << said();
}

TEST_F(Confirming, letsOtherButtonsAndOtherClicksPass)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);

    EXPECT_EQ(codeOf(perform({clickOn("AXButton", "Print")})), "ok");
    EXPECT_TRUE(says("pressed Print")) << said();
    EXPECT_EQ(codeOf(perform({clickOn("AXButton", "Send", "right")})), "ok");
    EXPECT_TRUE(says("menu of Send")) << said();
}

TEST_F(Confirming, asksBeforeDeleteIsClickedInADialog)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::qt);
    json::array const click{clickOn("AXButton", "Delete")};

    EXPECT_EQ(askedAnd("Escape", click), "denied_by_user");
    EXPECT_EQ(said(), "");

    EXPECT_EQ(askedAnd("Return", click), "ok");
    EXPECT_TRUE(says("pressed Delete")) << said();
    EXPECT_EQ(codeOf(perform({clickOn("AXButton", "Cancel")})), "ok");
    EXPECT_TRUE(says("pressed Cancel")) << said();
}

TEST_F(Confirming, asksForTheDefaultButtonOfADialog)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    ASSERT_EQ(codeOf(perform({clickOn("AXButton", "Discard")})), "ok");
    ASSERT_TRUE(says("focused")) << said();

    EXPECT_EQ(askedAnd("Escape", {key({"return"})}), "denied_by_user");
    EXPECT_EQ(said().find("answered"), std::string::npos) << said();

    EXPECT_EQ(askedAnd("Return", {key({"enter"})}), "ok");
    EXPECT_TRUE(says("answered -5")) << said(); // GTK's number for OK.
}

TEST_F(Confirming, asksToSaveHoweverControlIsNamed)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);

    EXPECT_EQ(askedAnd("Escape", {key({"cmd", "s"})}), "denied_by_user");
    EXPECT_EQ(askedAnd("Escape", {key({"ctrl", "s"})}), "denied_by_user");
    EXPECT_EQ(said().find("saved"), std::string::npos);

    EXPECT_EQ(askedAnd("Return", {key({"cmd", "s"})}), "ok");
    EXPECT_TRUE(says("saved")) << said();
}

TEST_F(Confirming, remembersAKindForTheSession)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);

    auto answer = performing({clickOn("AXButton", "Send")});
    tickRemember();
    answerPanel("Return");
    EXPECT_EQ(codeOf(answer.get()), "ok");

    EXPECT_EQ(codeOf(perform({clickOn("AXButton", "Send")})), "ok"); // Nobody answers.
    EXPECT_TRUE(says("pressed Send\npressed Send")) << said();
    EXPECT_EQ(askedAnd("Escape", {key({"cmd", "s"})}), "denied_by_user"); // Another kind.
}

TEST_F(Confirming, anElementThatMovedAwayIsNotClicked)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    json::array const click{elementClick("AXButton", "Print")};
    EXPECT_EQ(codeOf(perform(click)), "ok");
    ASSERT_TRUE(says("pressed Print")) << said();

    ::kill(application, SIGUSR1);
    ASSERT_TRUE(says("swapped")) << said();

    EXPECT_EQ(askedAnd("Return", click), "snapshot_expired"); // "Send" is there now, and a person is asked.
    EXPECT_EQ(said().find("pressed Send"), std::string::npos) << said();
}

TEST_F(Confirming, thePauseKeyStopsABatchAtTheNextAction)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    json::value const wait = {{"type", "wait"}, {"ms", 1000}};
    json::value const click = clickOn("AXButton", "Print");
    auto answer = performing({click, wait, click});
    ASSERT_TRUE(says("pressed Print")) << said();

    press("ctrl+alt+super+p");

    EXPECT_EQ(codeOf(answer.get()), "machine_paused");
    std::string const all = said();
    EXPECT_EQ(all.find("pressed"), all.rfind("pressed")) << all;
}

TEST_F(Confirming, thePauseKeyStopsALongTextInItsMiddle)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    ASSERT_EQ(codeOf(perform({clickOn("AXTextField", "Letter")})), "ok");
    json::value const type = {{"type", "type"}, {"text", std::string(20'000, 'x')}};
    auto answer = performing({type});
    auto const typed = [&] {
        return read::text(find(tree(connection), "AXTextField", "Letter"), "value").value_or("");
    };
    require("the beginning of the text", [&] { return typed().size() > 5; });

    press("ctrl+alt+super+p");
    EXPECT_EQ(answer.wait_for(10s), std::future_status::ready);
    press("ctrl+alt+super+p");

    require("the machine at work again", [&] { return gateway.isOnline(connection); });
    require("an answer", [&] { return gateway.command(connection, "cursor.position").status == 200; });
    EXPECT_EQ(said().find("saved"), std::string::npos); // No modifier of the hot key was left pressed.
}

} // namespace
} // namespace zelvo::test
