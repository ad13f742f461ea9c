// Agents neither see nor operate the program's own windows.
#include "end_to_end/CommandsFixture.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

class OwnWindows : public Commands {
protected:
    std::uint32_t openMain()
    {
        connection = startUnattended();
        EXPECT_EQ(agent.startAgain({}), 0);
        return waitForMainWindow();
    }
    json::object boundsOf(std::uint32_t window)
    {
        std::string const text =
            desktop.run({"xdotool", "getwindowgeometry", "--shell", std::to_string(window)});
        auto const number = [&](std::string const& name) {
            return std::stoi(text.substr(text.find(name + "=") + name.size() + 1));
        };
        return {{"x", number("X")}, {"y", number("Y")}, {"w", number("WIDTH")}, {"h", number("HEIGHT")}};
    }
    std::string clickAt(int x, int y)
    {
        return codeOf(perform({json::object{{"type", "click"}, {"x", x}, {"y", y}}}));
    }
};

TEST_F(OwnWindows, theMainWindowTakesNoClickNoKeyAndIsInNoTree)
{
    std::uint32_t const window = openMain();
    json::object const bounds = boundsOf(window);
    int const x = static_cast<int>(bounds.at("x").as_int64() + bounds.at("w").as_int64() / 2);
    int const y = static_cast<int>(bounds.at("y").as_int64() + bounds.at("h").as_int64() / 2);

    EXPECT_EQ(clickAt(x, y), "zelvo_ui_protected");
    EXPECT_EQ(codeOf(gateway.command(connection, "ui.tree")), "zelvo_ui_protected");
    EXPECT_EQ(codeOf(gateway.command(connection, "ui.tree", {{"scope", "all_windows"}})),
              "zelvo_ui_protected");
    json::value const windows = resultOf("windows.list");
    EXPECT_EQ(writeJson(windows).find("\"Zelvo\""), std::string::npos) << writeJson(windows);

    perform({json::object{{"type", "key"}, {"keys", json::array{"escape"}}}});
    EXPECT_EQ(desktop.activeWindow(), window); // The key closed nothing.
}

} // namespace
} // namespace zelvo::test
