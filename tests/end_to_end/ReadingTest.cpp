#include "end_to_end/ReadingFixture.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

namespace zelvo::test {
namespace {

TEST_F(Reading, aPersonCouldActFromTheTreeOfAnEditor)
{
    std::string const connection = startUnattended();
    std::ofstream(desktop.home() / "note.txt") << "The quick brown fox";
    desktop.start({"mousepad", "--disable-server", (desktop.home() / "note.txt").string()});
    desktop.waitForWindow({.className = "Mousepad"});
    require("the tree of the editor",
            [&] { return lines(connection).find("The quick") != std::string::npos; });

    json::object const editor = tree(connection);
    EXPECT_EQ(editor.at("app").at("bundleId"), "org.xfce.mousepad");
    EXPECT_EQ(editor.at("truncated"), false);
    find(editor, "AXMenuItem", "Edit");

    // Its menu opens at the place that the tree reports.
    auto const click = parseJson(centerOf(find(editor, "AXMenuItem", "File")));
    ASSERT_EQ(gateway.command(connection, "actions.perform", {{"actions", json::array{*click}}}).status, 200);
    require("the open menu", [&] { return lines(connection).find("Quit") != std::string::npos; });
}

TEST_F(Reading, theButtonsOfADialogAreWhereTheTreeSays)
{
    std::string const connection = startUnattended();
    auto const dialog = desktop.start({"zenity", "--question", "--text", "Go on?", "--ok-label", "Onward"});
    desktop.waitForWindow({.className = "zenity"});
    require("the tree of the dialog", [&] { return lines(connection).find("Onward") != std::string::npos; });

    auto const click = parseJson(centerOf(find(tree(connection), "AXButton", "Onward")));
    ASSERT_EQ(gateway.command(connection, "actions.perform", {{"actions", json::array{*click}}}).status, 200);

    EXPECT_EQ(desktop.processes().waitForEnd(dialog, 10), 0);
}

TEST_F(Reading, anApplicationThatStartedTooEarlyGetsOneLine)
{
    desktop.start({"xterm"});
    desktop.waitForWindow({.className = "XTerm"});
    std::string const connection = startUnattended();
    auto const journal = [this] {
        std::ifstream file(desktop.configHome() / "dev.zelvo.agent/defaults/zelvo.activity.json");
        return std::string{std::istreambuf_iterator<char>(file), {}};
    };
    std::string const line = "shows its contents to agents only after a restart";

    EXPECT_THAT(tree(connection).at("elements").as_array(), testing::IsEmpty());
    tree(connection);

    require("the line in the journal", [&] { return journal().find(line) != std::string::npos; });
    EXPECT_EQ(journal().find(line), journal().rfind(line));
}

TEST_F(Reading, ourOwnWindowsCannotBeRead)
{
    std::string const connection = startUnattended();
    EXPECT_EQ(agent.startAgain({}), 0);
    waitForMainWindow();

    auto const answer = gateway.command(connection, "ui.tree");

    EXPECT_EQ(answer.body.at("error").at("code"), "zelvo_ui_protected");
}

} // namespace
} // namespace zelvo::test
