#include "platform/linux/wayland/sway/SwayWindows.h"

#include "desktop/wayland/harness/PrivateSway.h"
#include "desktop/x11/LiveContexts.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <atomic>

namespace zelvo::test {
namespace {

class WindowsOfSway : public testing::Test {
protected:
    LiveContexts live;
    std::unique_ptr<PrivateSway> sway;
    std::unique_ptr<SwayWindows> windows;

    void SetUp() override
    {
        if (auto const reason = PrivateSway::missing(); !reason.empty())
            GTEST_SKIP() << reason;
        sway = std::make_unique<PrivateSway>(
            SwayOptions{.outputs = {{}, {.width = 800, .height = 600, .x = 1280}},
                        .xwayland = true,
                        .config = "focus_follows_mouse no\nfocus_on_window_activation none"});
        sway->adoptEnvironment();
        windows = std::make_unique<SwayWindows>(live.contexts());
    }
    void TearDown() override
    {
        windows.reset();
        live.stop();
    }

    std::optional<CompositorWindow> find(std::string const& title)
    {
        auto const now = windows->look();
        if (!now)
            return std::nullopt;
        auto const found = std::ranges::find(now->windows, title, &CompositorWindow::title);
        return found == now->windows.end() ? std::nullopt : std::optional(*found);
    }

    pid_t startTerminal(std::string const& title)
    {
        pid_t const pid = sway->start({"foot", "-T", title, "-o", "locked-title=yes", "sleep", "1000"});
        require("the terminal shows", [&] { return find(title).has_value(); });
        return pid;
    }

    /// The window's place among all, from the back.
    std::ptrdiff_t placeOf(std::string const& title)
    {
        auto const now = windows->look().value_or(WindowsNow{});
        return std::ranges::find(now.windows, title, &CompositorWindow::title) - now.windows.begin();
    }
};

TEST_F(WindowsOfSway, areDescribed)
{
    EXPECT_TRUE(SwayWindows::isOffered());
    pid_t const pid = startTerminal("one");
    // Sway lists a window before it has arranged it.
    require("the window has a title bar", [&] { return find("one")->surface.y > 10; });

    auto const one = find("one");

    ASSERT_TRUE(one);
    EXPECT_EQ(one->pid, pid);
    EXPECT_EQ(one->words.kdeDesktopFile, "foot");
    EXPECT_TRUE(one->isActive);
    EXPECT_TRUE(one->isOnScreen);
    EXPECT_EQ(one->frame, (LogicalRect{0, 0, 1280, 800}));
    EXPECT_LT(one->surface.height, 790);
}

TEST_F(WindowsOfSway, areMinimisedInTheScratchpadAndOffScreenOnOtherWorkspaces)
{
    startTerminal("one");
    startTerminal("two");
    sway->command("[title=one] move scratchpad");
    sway->command("[title=two] move container to workspace other");

    EXPECT_TRUE(waitFor([&] { return find("one")->isMinimized && !find("one")->isOnScreen; }));
    EXPECT_TRUE(waitFor([&] { return !find("two")->isOnScreen && !find("two")->isMinimized; }));

    EXPECT_TRUE(windows->activate(find("one")->id));
    EXPECT_TRUE(waitFor([&] { return find("one")->isOnScreen && find("one")->isActive; }));
    EXPECT_FALSE(find("one")->isMinimized);
    EXPECT_TRUE(windows->activate(find("two")->id));
    EXPECT_TRUE(waitFor([&] { return find("two")->isOnScreen && find("two")->isActive; }));
}

TEST_F(WindowsOfSway, knowWhichOnesAreCoveredByTabsAndFullScreens)
{
    startTerminal("one");
    startTerminal("two");
    sway->command("[title=one] layout tabbed");
    EXPECT_TRUE(waitFor([&] { return find("one")->isOnScreen != find("two")->isOnScreen; }));

    sway->command("[title=one] fullscreen enable");

    EXPECT_TRUE(waitFor([&] { return find("one")->isFullScreen && find("one")->isOnScreen; }));
    EXPECT_FALSE(find("two")->isOnScreen);
    EXPECT_EQ(find("one")->frame, (LogicalRect{0, 0, 1280, 800}));
}

TEST_F(WindowsOfSway, arePutInFrontFromAnyPlace)
{
    startTerminal("one");
    startTerminal("two");
    sway->command("[title=two] floating enable");
    sway->command("[title=one] move scratchpad");

    ASSERT_TRUE(windows->putInFront(find("one")->id));
    EXPECT_TRUE(waitFor([&] { return find("one")->isAbove && find("one")->isActive; }));
    EXPECT_GT(placeOf("one"), placeOf("two"));

    sway->command("workspace other");
    EXPECT_TRUE(waitFor([&] { return !find("two")->isOnScreen; }));
    EXPECT_TRUE(find("one")->isOnScreen);
}

TEST_F(WindowsOfSway, includeThoseOfXwaylandWithTheirDialogs)
{
    sway->start(
        sway->asUserOfCompositor({"/usr/bin/python3", ZELVO_SWAY_TEST_FOLDER "/gtk_parent_and_dialog.py"}),
        {{"GDK_BACKEND", "x11"}});
    require("the dialog shows", [&] { return find("child").has_value(); });

    auto const parent = find("parent");
    auto const child = find("child");

    ASSERT_TRUE(parent);
    EXPECT_TRUE(parent->isX11);
    EXPECT_TRUE(parent->pid);
    EXPECT_NE(parent->words.className, "");
    EXPECT_EQ(child->parent, parent->id);
    EXPECT_EQ(child->kind, CompositorWindow::Kind::dialog);
    EXPECT_LT(placeOf("parent"), placeOf("child"));
}

TEST_F(WindowsOfSway, refuseWindowsThatAreNotThere)
{
    for (char const* const id : {"", "99999", "-1", "x", "1] exit; [con_id=1"}) {
        EXPECT_FALSE(windows->activate(id)) << id;
        EXPECT_FALSE(windows->putInFront(id)) << id;
    }
    EXPECT_TRUE(windows->look());
}

TEST_F(WindowsOfSway, reportChanges)
{
    auto const changes = std::make_shared<std::atomic<int>>(0);
    windows->observe([changes] { ++*changes; });
    ASSERT_TRUE(waitFor([&] { return *changes >= 1; }));
    auto const changesAfter = [&](auto const& what) {
        int const before = *changes;
        what();
        return waitFor([&] { return *changes > before; });
    };

    EXPECT_TRUE(changesAfter([&] { startTerminal("one"); }));
    EXPECT_TRUE(changesAfter([&] { sway->command("[title=one] floating enable"); }));
    EXPECT_TRUE(changesAfter([&] { sway->command("workspace other"); }));
    pid_t const two = startTerminal("two");
    EXPECT_TRUE(changesAfter([&] { ::kill(two, SIGTERM); }));
}

TEST_F(WindowsOfSway, areUnknownWhileSwayDoesNotAnswer)
{
    startTerminal("one");
    ::kill(sway->compositor(), SIGSTOP);
    auto const before = std::chrono::steady_clock::now();
    EXPECT_FALSE(windows->look());
    EXPECT_LT(std::chrono::steady_clock::now() - before, 2s);

    ::kill(sway->compositor(), SIGCONT);
    EXPECT_TRUE(waitFor([&] { return find("one").has_value(); }));

    sway->kill();
    EXPECT_FALSE(windows->look());
    EXPECT_FALSE(windows->activate("5"));
    EXPECT_FALSE(SwayWindows::isOffered());
}

} // namespace
} // namespace zelvo::test
