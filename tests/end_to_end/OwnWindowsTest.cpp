// Agents neither see nor operate the program's own windows.
#include "desktop/harness/XQuestions.h"
#include "end_to_end/OwnWindowsFixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <optional>

namespace zelvo::test {
namespace {

class OwnWindows : public OwnWindowsFixture {
protected:
    /// Attacks whatever is open at a place: the agent clicks, drags and scrolls there, reads it and takes its
    /// picture.
    void expectProtected(Place place)
    {
        auto const at = [&](char const* type) {
            return json::object{{"type", type}, {"x", place.x}, {"y", place.y}};
        };
        EXPECT_EQ(codeOf(perform({at("click")})), "zelvo_ui_protected");
        EXPECT_EQ(codeOf(perform({at("mouse_down")})), "zelvo_ui_protected");
        json::object scroll = at("scroll");
        scroll["dy"] = 5;
        EXPECT_EQ(codeOf(perform({scroll})), "zelvo_ui_protected");
        EXPECT_EQ(codeOf(perform({json::object{{"type", "drag"},
                                               {"from", json::object{{"x", place.x}, {"y", place.y}}},
                                               {"to", json::object{{"x", 5}, {"y", 5}}}}})),
                  "zelvo_ui_protected");
        std::string const windows = writeJson(resultOf("windows.list"));
        EXPECT_EQ(windows.find("zelvo"), std::string::npos) << windows;
        EXPECT_EQ(windows.find("Zelvo"), std::string::npos) << windows;
        Answer const tree = gateway.command(connection, "ui.tree", {{"scope", "all_windows"}});
        EXPECT_EQ(codeOf(tree), "zelvo_ui_protected");
    }
    /// A screenshot; equal ones show the same. The pointer is in a corner.
    std::string picture()
    {
        moveTo({.x = 5, .y = 5});
        return screenshot();
    }
    std::string screenshot()
    {
        return std::string(resultOf("screenshot", {{"format", "png"}}).at("data").as_string());
    }
    /// The middle of a menu, list or tool tip that is on the screen.
    std::optional<Place> popUp()
    {
        XConnection const connection = connectTo(desktop.display());
        xcb_connection_t* const x = connection.get();
        for (xcb_window_t const window : childrenOf(x, screenOf(x)->root)) {
            bool const isOurs = propertyOf(x, window, "WM_CLASS").find("zelvo-agent") != std::string::npos;
            if (!isOurs || !isViewable(x, window))
                continue;
            XReply<xcb_get_geometry_reply_t> const frame(
                xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr));
            return Place{.x = frame->x + frame->width / 2, .y = frame->y + frame->height / 2};
        }
        return std::nullopt;
    }
    Place waitForPopUp()
    {
        require("a pop-up", [this] { return popUp().has_value(); });
        return *popUp();
    }
};

TEST_F(OwnWindows, theMainWindowTakesNoClickNoKeyAndIsInNoTreeAndNoPicture)
{
    connection = startUnattended();
    std::string const empty = picture();
    EXPECT_EQ(agent.startAgain({}), 0);
    std::uint32_t const window = waitForMainWindow();

    expectProtected(middleOf(named("Activity", "list")));
    EXPECT_EQ(codeOf(gateway.command(connection, "ui.tree")), "zelvo_ui_protected");
    perform({json::object{{"type", "key"}, {"keys", json::array{"escape"}}}});
    EXPECT_EQ(desktop.activeWindow(), window); // The key closed nothing.
    perform({json::object{{"type", "key"}, {"keys", json::array{"tab"}}}});
    EXPECT_EQ(codeOf(perform({json::object{{"type", "type"}, {"text", " "}}})), "zelvo_ui_protected");
    EXPECT_EQ(picture(), empty);
}

TEST_F(OwnWindows, theMenuOfAConnectionIsProtected)
{
    connection = linkByReturn({"screen", "input"});
    std::string const empty = picture();
    EXPECT_EQ(agent.startAgain({}), 0);
    waitForMainWindow();

    read("press", {text(named("Manage", "push button"), "name")});

    expectProtected(waitForPopUp());
    EXPECT_EQ(codeOf(perform({json::object{{"type", "key"}, {"keys", json::array{"down"}}}})),
              "zelvo_ui_protected");
    EXPECT_EQ(picture(), empty);
    EXPECT_TRUE(popUp()); // It is still open.
    EXPECT_EQ(gateway.connections().size(), 1U);
}

TEST_F(OwnWindows, thePopUpOfAPickerIsProtected)
{
    connection = startUnattended();
    std::string const empty = picture();
    EXPECT_EQ(agent.startAgain({}), 0);
    waitForMainWindow();
    json::value const before = agent.setting("dev.zelvo.queuePolicy");

    read("press", {"Ask me"});

    expectProtected(waitForPopUp());
    EXPECT_EQ(codeOf(perform({json::object{{"type", "key"}, {"keys", json::array{"down"}}}})),
              "zelvo_ui_protected");
    EXPECT_EQ(picture(), empty);
    EXPECT_EQ(agent.setting("dev.zelvo.queuePolicy"), before);
}

TEST_F(OwnWindows, theFolderChooserIsProtected)
{
    connection = startUnattended();
    std::string const empty = picture();
    EXPECT_EQ(agent.startAgain({}), 0);
    waitForMainWindow();

    read("press", {"Add a folder…"});
    json::object const choose = named("Share this folder", "push button");

    expectProtected(middleOf(choose));
    EXPECT_EQ(codeOf(perform({json::object{{"type", "key"}, {"keys", json::array{"return"}}}})),
              "zelvo_ui_protected");
    EXPECT_EQ(picture(), empty);
    EXPECT_TRUE(agent.setting("dev.zelvo.fileRoots").is_null());
}

TEST_F(OwnWindows, aToolTipIsInNoPicture)
{
    json::object entry{{"id", "1"}, {"at", 785'000'000}, {"platformName", "Acme"}, {"summary", "Looked"}};
    agent.store("zelvo.activity", json::array{entry});
    connection = startUnattended();
    EXPECT_EQ(agent.startAgain({}), 0);
    waitForMainWindow();
    Place const row = middleOf(named("Looked", "list item"));

    moveTo(row);
    std::string const before = screenshot();
    ASSERT_FALSE(popUp());
    moveTo({.x = row.x + 2, .y = row.y});
    moveTo(row);
    waitForPopUp();

    EXPECT_EQ(screenshot(), before);
}

TEST_F(OwnWindows, theTraysPanelIsProtected)
{
    pid_t const watcher = desktop.start({"/usr/bin/python3", ZELVO_TRAY_WATCHER});
    require("the watcher", [&] { return desktop.hasOwner("org.kde.StatusNotifierWatcher"); });
    ::kill(watcher, SIGUSR1);
    connection = startUnattended();
    std::string const empty = picture();
    std::string item;
    require("the icon", [&] {
        item = desktop.processes().output(watcher);
        return item.find('\n') != std::string::npos;
    });
    item.resize(item.find('\n'));

    desktop.run({"dbus-send", "--session", "--print-reply", "--dest=" + item, "/StatusNotifierItem",
                 "org.kde.StatusNotifierItem.Activate", "int32:600", "int32:10"});
    json::object const quit = named("Quit", "push button");

    expectProtected(middleOf(quit));
    EXPECT_EQ(picture(), empty);
    EXPECT_TRUE(agent.isRunning());
    use("Open Zelvo", "push button"); // It still serves the person.
    waitForMainWindow();
}

} // namespace
} // namespace zelvo::test
