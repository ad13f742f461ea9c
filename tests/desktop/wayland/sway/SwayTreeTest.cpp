#include "platform/linux/wayland/sway/SwayTree.h"

#include "platform/linux/wayland/sway/SwayIpc.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo::test {
namespace {

/// A tree with one output and one workspace, whose nodes these are.
std::string
treeOf(std::string const& tiled, std::string const& floating = "", std::string const& layout = "splith")
{
    return R"({"id":1,"type":"root","name":"root","nodes":[{"id":2,"type":"output","name":"DP-1","nodes":[)"
           R"({"id":3,"type":"workspace","name":"1","layout":")" +
           layout + R"(","nodes":[)" + tiled + R"(],"floating_nodes":[)" + floating + R"(]}]}]})";
}

std::string const terminal =
    R"({"id":10,"type":"con","name":"shell","pid":77,"app_id":"foot","focused":true,"visible":true,)"
    R"("shell":"xdg_shell","fullscreen_mode":0,"rect":{"x":640,"y":25,"width":640,"height":695},)"
    R"("deco_rect":{"x":640,"y":0,"width":640,"height":25},"window_rect":{"x":2,"y":0,"width":636,"height":693}})";

CompositorWindow onlyWindow(std::string const& tree)
{
    auto const windows = windowsOfTree(tree);
    EXPECT_TRUE(windows && windows->size() == 1);
    return windows && !windows->empty() ? windows->front() : CompositorWindow{};
}

TEST(SwayTree, hasAWindow)
{
    CompositorWindow const window = onlyWindow(treeOf(terminal));

    EXPECT_EQ(window.id, "10");
    EXPECT_EQ(window.pid, 77);
    EXPECT_EQ(window.title, "shell");
    EXPECT_EQ(window.words.kdeDesktopFile, "foot");
    EXPECT_EQ(window.frame, (LogicalRect{640, 0, 640, 720}));
    EXPECT_EQ(window.surface, (LogicalRect{642, 25, 636, 693}));
    EXPECT_TRUE(window.isActive);
    EXPECT_TRUE(window.isOnScreen);
    EXPECT_FALSE(window.isMinimized || window.isAbove || window.isFullScreen || window.isX11);
}

TEST(SwayTree, doesNotCountTheTitlesOfTabsAsAWindow)
{
    EXPECT_EQ(onlyWindow(treeOf(terminal, "", "tabbed")).frame, (LogicalRect{640, 25, 640, 695}));
    EXPECT_EQ(onlyWindow(treeOf(terminal, "", "stacked")).frame, (LogicalRect{640, 25, 640, 695}));
}

TEST(SwayTree, hasX11WindowsWithTheirParents)
{
    std::string const parent =
        R"({"id":20,"pid":5,"shell":"xwayland","window":4194307,"window_properties":)"
        R"({"class":"Gimp","instance":"gimp","window_type":"normal","transient_for":null}})";
    std::string const dialog = R"({"id":21,"pid":5,"shell":"xwayland","window":4194311,"window_properties":)"
                               R"({"window_type":"dialog","transient_for":4194307}})";
    std::string const orphan = R"({"id":22,"pid":5,"shell":"xwayland","window":4194312,"window_properties":)"
                               R"({"window_type":"popup_menu","transient_for":99}})";

    auto const windows = windowsOfTree(treeOf(parent, dialog + ',' + orphan));

    ASSERT_TRUE(windows && windows->size() == 3);
    EXPECT_EQ(windows->at(0).words.className, "Gimp");
    EXPECT_EQ(windows->at(0).words.instance, "gimp");
    EXPECT_EQ(windows->at(0).kind, CompositorWindow::Kind::normal);
    EXPECT_TRUE(windows->at(0).isX11);
    EXPECT_EQ(windows->at(1).kind, CompositorWindow::Kind::dialog);
    EXPECT_EQ(windows->at(1).parent, "20");
    EXPECT_EQ(windows->at(2).kind, CompositorWindow::Kind::popup);
    EXPECT_EQ(windows->at(2).parent, "");
}

TEST(SwayTree, hasTheScratchpadAsMinimisedWindows)
{
    auto const windows = windowsOfTree(
        R"({"type":"root","nodes":[{"name":"__i3","nodes":[{"name":"__i3_scratch","floating_nodes":[)"
        R"({"id":9,"pid":1,"visible":true}]}]}]})");

    ASSERT_TRUE(windows && windows->size() == 1);
    EXPECT_TRUE(windows->front().isMinimized);
    EXPECT_FALSE(windows->front().isOnScreen);
}

TEST(SwayTree, leavesOutWhatHasAnotherType)
{
    CompositorWindow const window = onlyWindow(treeOf(
        R"({"id":"x","pid":4294967297,"name":7,"rect":[1],"visible":"yes","fullscreen_mode":2,"window_properties":3})"));

    EXPECT_EQ(window.id, "");
    EXPECT_EQ(window.pid, std::nullopt);
    EXPECT_EQ(window.title, "");
    EXPECT_EQ(window.frame, LogicalRect{});
    EXPECT_FALSE(window.isOnScreen);
    EXPECT_TRUE(window.isFullScreen);
}

TEST(SwayTree, refusesWhatIsNoTree)
{
    for (char const* const text : {"", "{", "[]", "{}", R"({"type":"con"})", "null"})
        EXPECT_FALSE(windowsOfTree(text)) << text;
    std::string deep = R"({"type":"root","nodes":[)";
    for (int i = 0; i < 10'000; ++i)
        deep += R"({"nodes":[)";
    EXPECT_FALSE(windowsOfTree(deep));
}

TEST(HasSucceeded, needsEachCommandToSucceed)
{
    EXPECT_TRUE(hasSucceeded(R"([{"success":true},{"success":true}])"));
    EXPECT_FALSE(hasSucceeded(R"([{"success":true},{"success":false,"error":"no"}])"));
    EXPECT_FALSE(hasSucceeded("[]"));
    EXPECT_FALSE(hasSucceeded("[true]"));
    EXPECT_FALSE(hasSucceeded("nonsense"));
}

TEST(SwayHeader, isReadAsItIsWritten)
{
    auto const header = SwayHeader::parse(SwayHeader::message(SwayHeader::getTree, "abc"));

    ASSERT_TRUE(header);
    EXPECT_EQ(header->length, 3u);
    EXPECT_EQ(header->type, SwayHeader::getTree);
}

TEST(SwayHeader, refusesOthersAndTooLongPayloads)
{
    std::string message = SwayHeader::message(SwayHeader::getTree, "");
    EXPECT_FALSE(SwayHeader::parse(message.substr(0, 13)));
    message[9] = '\x7f';
    EXPECT_FALSE(SwayHeader::parse(message));
    EXPECT_FALSE(SwayHeader::parse("HTTP/1.1 400 Bad"));
}

} // namespace
} // namespace zelvo::test
