#include "end_to_end/ConfirmingFixture.h"

#include <csignal>

namespace zelvo::test {
namespace {

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

    EXPECT_EQ(codeOf(perform({clickOn("AXButton", "Send")})), "ok"); // No question this time.
    EXPECT_TRUE(says("pressed Send\npressed Send")) << said();
    EXPECT_EQ(askedAnd("Escape", {key({"cmd", "s"})}), "denied_by_user"); // Another kind of action.
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

    require("the buttons at their new places", [&] {
        json::object const seen = treeWith(connection, "AXButton", "Print");
        auto const left = [&](char const* title) {
            return read::number(find(seen, "AXButton", title).at("frame").as_object(), "x").value_or(0);
        };
        return left("Send") > left("Print");
    });

    EXPECT_EQ(askedAnd("Return", click), "snapshot_expired"); // "Send" is there now, which needs a question.
    EXPECT_EQ(said().find("pressed Send"), std::string::npos) << said();
}

TEST_F(Confirming, aButtonThatChangesWhileItIsAskedAboutIsNotPressed)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    auto answer = performing({clickOn("AXButton", "Send")});
    waitForPanel();

    ::kill(application, SIGUSR1);
    ASSERT_TRUE(says("swapped")) << said();
    answerPanel("Return");

    EXPECT_EQ(codeOf(answer.get()), "snapshot_expired");
    EXPECT_EQ(said().find("pressed"), std::string::npos) << said();
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
    constexpr std::size_t length = 100'000;
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    ASSERT_EQ(codeOf(perform({clickOn("AXTextField", "Letter")})), "ok");
    json::value const type = {{"type", "type"}, {"text", std::string(length, 'x')}};
    auto answer = performing({type});
    require("the beginning of the text", [&] { return lettersTyped() > 5; });

    press("ctrl+alt+super+p");

    ASSERT_EQ(answer.wait_for(10s), std::future_status::ready);
    EXPECT_EQ(codeOf(answer.get()), "ok"); // It had already started; the rest of it is not typed.
    std::size_t const arrived = lettersTyped();
    EXPECT_LT(arrived, length);
    press("ctrl+alt+super+p");
    require("the machine at work again",
            [&] { return gateway.command(connection, "cursor.position").status == 200; });
    ASSERT_EQ(codeOf(perform({{{"type", "type"}, {"text", "yz"}}})), "ok");
    EXPECT_TRUE(waitFor([&] { return lettersTyped() == arrived + 2; })) << arrived; // No key is left pressed.
}

} // namespace
} // namespace zelvo::test
