#include "base/Text.h"
#include "end_to_end/EndToEnd.h"

#include <gmock/gmock.h>

#include <fstream>

namespace zelvo::test {
namespace {

class Reading : public EndToEnd {
protected:
    json::object tree(std::string const& connection, json::object params = {})
    {
        auto const answer = gateway.command(connection, "ui.tree", std::move(params));
        if (answer.status != 200)
            throw std::runtime_error("no tree: " + writeJson(answer.body));
        return answer.body.at("result").as_object();
    }
    std::string lines(std::string const& connection)
    {
        return std::string(tree(connection).at("compact").as_string());
    }
    /// The element of a role and a title, which must be there.
    static json::object const& find(json::object const& tree, std::string_view role, std::string_view title)
    {
        for (json::value const& each : tree.at("elements").as_array()) {
            json::object const& element = each.as_object();
            if (read::text(element, "role") == role && read::text(element, "title").value_or("") == title)
                return element;
        }
        throw std::runtime_error("no " + std::string(title) + " in " + writeJson(tree));
    }
    static std::string centerOf(json::object const& element)
    {
        json::object const& frame = element.at("frame").as_object();
        auto const number = [&](char const* key) { return *read::number(frame, key); };
        return R"({"type":"click","x":)" + std::to_string(number("x") + number("w") / 2) + R"(,"y":)" +
               std::to_string(number("y") + number("h") / 2) + "}";
    }
};

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

    // Its menu opens where the tree says that it is.
    auto const click = parseJson(centerOf(find(editor, "AXMenuItem", "File")));
    ASSERT_EQ(gateway.command(connection, "actions.perform", {{"actions", json::array{*click}}}).status, 200);
    require("the open menu", [&] { return lines(connection).find("Quit") != std::string::npos; });
}

TEST_F(Reading, theButtonsOfADialogAreWhereTheTreeSays)
{
    std::string const connection = startUnattended();
    auto const dialog = desktop.start({"zenity", "--question", "--text", "Go on?", "--ok-label", "Onward"});
    desktop.waitForWindow({.className = "Zenity"});
    require("the tree of the dialog", [&] { return lines(connection).find("Onward") != std::string::npos; });

    auto const click = parseJson(centerOf(find(tree(connection), "AXButton", "Onward")));
    ASSERT_EQ(gateway.command(connection, "actions.perform", {{"actions", json::array{*click}}}).status, 200);

    EXPECT_EQ(desktop.processes().waitForEnd(dialog, 10), 0);
}

TEST_F(Reading, ourOwnWindowsCannotBeRead)
{
    std::string const connection = startUnattended();
    EXPECT_EQ(agent.startAgain({}), 0);
    waitForConsent();

    auto const answer = gateway.command(connection, "ui.tree");

    EXPECT_EQ(answer.body.at("error").at("code"), "zelvo_ui_protected");
}

} // namespace
} // namespace zelvo::test
