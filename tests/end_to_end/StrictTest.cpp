#include "end_to_end/StrictFixture.h"

namespace zelvo::test {
namespace {

TEST_F(Strict, leavesNoWayToPressAButtonOfGtkWithoutAQuestion)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    setStrict(true);
    json::value const send = clickOn("AXButton", "Send");
    json::value const print = clickOn("AXButton", "Print");
    json::value const letter = clickOn("AXTextField", "Letter");
    auto const pressed = [&] { return said().find("pressed Send") != std::string::npos; };

    expectHeld({{"press and release", {down(send), up(send)}},
                {"end of a drag", {drag(print, send)}},
                {"drag on the button itself", {drag(send, send)}},
                {"middle click", {with(send, "middle")}},
                {"release by another question", {down(send), key({"cmd", "s"})}},
                {"blank", {letter, key({"tab"}), type(" ")}},
                {"blank after a tab in one text", {letter, type("x\t ")}},
                {"line end", {letter, type("x\t\n")}},
                {"Return with Shift", {letter, key({"tab"}), key({"shift", "return"})}},
                {"Space with Control", {letter, key({"tab"}), key({"ctrl", "space"})}},
                {"Return in a field", {letter, key({"return"})}},
                {"Return with Alt in a field", {letter, key({"alt", "return"})}},
                {"line end in a field", {letter, type("dear\n")}},
                {"value with a line end", {setValue("AXTextField", "Letter", "dear\n")}}},
               pressed);
    EXPECT_EQ(codeOf(perform({setValue("AXButton", "Send", " ")})), "invalid_request");
    EXPECT_FALSE(pressed());
    EXPECT_EQ(said().find("saved"), std::string::npos) << said();

    EXPECT_EQ(askedAnd("Return", {down(send), up(send)}), "ok");
    EXPECT_TRUE(says("pressed Send")) << said();
    EXPECT_EQ(codeOf(perform({down(print), up(print), drag(send, print)})), "ok");
    EXPECT_EQ(codeOf(perform({letter, type("two words")})), "ok");
    EXPECT_EQ(codeOf(perform({setValue("AXTextField", "Letter", "two words")})), "ok");
}

TEST_F(Strict, leavesNoWayToPressAButtonOfQtWithoutAQuestion)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::qt);
    setStrict(true);
    json::value const erase = clickOn("AXButton", "Delete");
    json::value const cancel = clickOn("AXButton", "Cancel");
    auto const pressed = [&] { return said().find("pressed Delete") != std::string::npos; };

    expectHeld({{"press and release", {down(erase), up(erase)}},
                {"end of a drag", {drag(cancel, erase)}},
                {"drag on the button itself", {drag(erase, erase)}},
                {"middle click", {with(erase, "middle")}},
                {"blank", {type(" ")}},
                {"line end", {type("\n")}},
                {"Return with Shift", {key({"shift", "return"})}},
                {"Space with Control", {key({"ctrl", "space"})}}},
               pressed);
    EXPECT_EQ(codeOf(perform({setValue("AXButton", "Delete", " ")})), "invalid_request");
    EXPECT_EQ(said(), "");

    EXPECT_EQ(askedAnd("Return", {down(erase), up(erase)}), "ok");
    EXPECT_TRUE(says("pressed Delete")) << said();
}

TEST_F(Strict, isOffUntilItIsSwitchedOn)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    json::value const send = clickOn("AXButton", "Send");

    EXPECT_EQ(codeOf(perform({down(send), up(send)})), "ok");
    EXPECT_TRUE(says("pressed Send")) << said();
    EXPECT_EQ(codeOf(perform({clickOn("AXTextField", "Letter"), type("x\t ")})), "ok");
    EXPECT_TRUE(says("pressed Send\npressed Send")) << said();
}

/// On dvorak the key named "semicolon" gives S.
TEST_F(Strict, everyLayoutIsAskedToSave)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    desktop.run({"setxkbmap", "-layout", "us", "-variant", "dvorak"});

    EXPECT_EQ(askedAnd("Escape", {key({"ctrl", "semicolon"})}), "denied_by_user");
    EXPECT_EQ(said().find("saved"), std::string::npos) << said();
    EXPECT_EQ(askedAnd("Return", {key({"ctrl", "semicolon"})}), "ok");
    EXPECT_TRUE(says("saved")) << said();

    desktop.run({"setxkbmap", "-layout", "us,us", "-variant", ",dvorak"});
    EXPECT_EQ(askedAnd("Escape", {key({"ctrl", "semicolon"})}), "denied_by_user");
}

/// The person turns to a hidden application while a long text is typed.
TEST_F(Strict, aLongTextDoesNotGoOnInAHiddenApplication)
{
    constexpr std::size_t length = 100'000;
    constexpr std::size_t maxLate = 40; // What is on its way when the window comes to the front.
    auto const typedThere = desktop.home() / "typed";
    connection = linkByReturn({"screen", "input"});
    desktop.start(
        {"xterm", "-title", "Secret", "-e", "sh", "-c", "stty raw -echo; cat > " + typedThere.string()});
    auto const secret = desktop.waitForWindow({.title = "Secret"});
    require("the hidden application", [&] { return std::filesystem::exists(typedThere); });
    openLetter(Toolkit::gtk3);
    hide({"xterm"});
    ASSERT_EQ(codeOf(perform({clickOn("AXTextField", "Letter")})), "ok");
    auto answer = performing({type(std::string(length, 'x').c_str())});
    require("the beginning of the text", [&] { return lettersTyped() > 100; });

    desktop.run({"xdotool", "windowactivate", "--sync", std::to_string(secret)});

    ASSERT_EQ(answer.wait_for(10s), std::future_status::ready);
    EXPECT_EQ(codeOf(answer.get()), "ok");
    EXPECT_LT(lettersTyped(), length);
    EXPECT_LE(std::filesystem::file_size(typedThere), maxLate);
    EXPECT_EQ(codeOf(perform({type("y")})), "hidden_app_active");
}

} // namespace
} // namespace zelvo::test
