#include "desktop/wayland/gnome/GnomeFixture.h"

#include <signal.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

namespace zelvo::test {

namespace {

constexpr std::uint32_t hiddenColour = 0xff00ff;
constexpr std::uint32_t seenColour = 0x00ff00;
constexpr std::size_t windowArea = 600UL * 400;

bool isHidden(CompositorWindow const& window)
{
    return window.words.kdeDesktopFile == "dev.hidden";
}

std::set<std::string> hiddenOnes(WindowsNow const& now)
{
    std::set<std::string> ids;
    for (auto const* const all : {&now.windows, &now.chrome})
        for (CompositorWindow const& each : *all)
            if (isHidden(each))
                ids.insert(each.id);
    return ids;
}

/// How many pixels of an area differ between two pictures.
std::size_t differences(Picture const& one, Picture const& other, LogicalRect const& area)
{
    std::size_t count = 0;
    for (int y = static_cast<int>(area.y); y < static_cast<int>(area.y + area.height); ++y)
        for (int x = static_cast<int>(area.x); x < static_cast<int>(area.x + area.width); ++x) {
            std::ptrdiff_t const at = y * static_cast<std::ptrdiff_t>(one.stride) + x * 4;
            count += std::memcmp(one.pixels.data() + at, other.pixels.data() + at, 3) != 0;
        }
    return count;
}

/// In the top bar, beside "Activities".
constexpr LogicalRect titleOfTheFront{110, 0, 400, 30};
/// Where the text of a notification begins, below the clock.
constexpr LogicalPoint inTheNotification{800, 62};
/// In the list of messages, below the clock.
constexpr LogicalPoint inTheFirstMessage{690, 85};

/// The number of colours where a pointer would be drawn.
std::size_t coloursAround(Picture const& picture, LogicalPoint point)
{
    std::set<std::uint32_t> colours;
    for (int y = -16; y < 16; ++y)
        for (int x = -16; x < 16; ++x) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel,
                        picture.pixels.data() + (static_cast<int>(point.y) + y) * picture.stride +
                            (static_cast<int>(point.x) + x) * 4,
                        sizeof pixel);
            colours.insert(pixel);
        }
    return colours.size();
}

/// Pixels with a tint of the hidden colour: those of a window that fades in or out, too.
std::size_t tintedPixels(Picture const& picture)
{
    std::size_t count = 0;
    for (int y = 0; y < picture.height; ++y) {
        std::uint8_t const* pixel = picture.pixels.data() + static_cast<std::ptrdiff_t>(y) * picture.stride;
        for (int x = 0; x < picture.width; ++x, pixel += 4)
            count += pixel[0] > pixel[1] + 30 && pixel[2] > pixel[1] + 30;
    }
    return count;
}

class ShellFramesTest : public GnomeFixture {
protected:
    Picture everything()
    {
        return run<Picture>([&]() -> Task<Picture> { co_return co_await frames->everything(1); });
    }
    /// Moves the pointer to the middle of a window; the pointer's position then.
    LogicalPoint pointAt(std::string const& name)
    {
        LogicalRect const frame = windowOf(name).frame;
        LogicalPoint const wanted{frame.x + frame.width / 2, frame.y + frame.height / 2};
        LogicalPoint const now = windows->look()->pointer.value();
        gnome->start({"/usr/bin/python3", ZELVO_KEY_PRESSER, "move", std::to_string(wanted.x - now.x),
                      std::to_string(wanted.y - now.y)});
        EXPECT_TRUE(waitForLook([&](WindowsNow const& look) { return look.pointer == wanted; }));
        return wanted;
    }
    /// An application that the shell knows by name, which notifications need.
    void install(std::string const& id)
    {
        auto const folder = gnome->dataHome() / "applications";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / (id + ".desktop"))
            << "[Desktop Entry]\nType=Application\nName=Application " << id << "\nExec=/bin/true " << id
            << "\nIcon=dialog-password\n";
    }
    void notify(std::string const& id)
    {
        gnome->call("org.gtk.Notifications", "/org/gtk/Notifications",
                    "org.gtk.Notifications.AddNotification",
                    {"'" + id + "'", "'1'", "{'title': <'Hello'>, 'body': <'Something private'>}"});
    }
    /// Shows a notification of the hidden application, which the shell comes to know late.
    void notifyAsHidden()
    {
        install("dev.hidden");
        require("the notification", [&] {
            try {
                notify("dev.hidden");
                return true;
            } catch (std::exception const&) {
                return false;
            }
        });
    }
    pid_t press(std::vector<std::string> words)
    {
        words.insert(words.begin(), {"/usr/bin/python3", ZELVO_KEY_PRESSER});
        return gnome->start(words);
    }
    /// Whether the shell's own interface is in front.
    bool waitUntilCovered(bool isCovered)
    {
        return waitForLook([&](WindowsNow const& now) { return now.isCovered == isCovered; });
    }
    bool isRefused()
    {
        try {
            withoutHidden();
        } catch (ScreenFailure const& failure) {
            return failure.mayShowExcluded;
        }
        return false;
    }
    Picture withoutHidden()
    {
        return run<Picture>([&]() -> Task<Picture> { co_return co_await frames->without(1, hiddenOnes); });
    }
};

TEST_F(ShellFramesTest, showsWhatIsBelowAWindowThatIsLeftOut)
{
    startGnome();
    startClient("dev.seen", "#00ff00");
    startClient("dev.hidden", "#ff00ff");

    ASSERT_TRUE(waitFor([&] { return pixelsOf(everything(), hiddenColour) == windowArea; }));
    Picture const picture = withoutHidden();

    EXPECT_EQ(picture.width, 1920);
    EXPECT_EQ(picture.height, 1080);
    EXPECT_EQ(pixelsOf(picture, hiddenColour), 0U);
    EXPECT_EQ(pixelsOf(picture, seenColour), windowArea);
    EXPECT_EQ(pixelsOf(everything(), hiddenColour), windowArea);
}

TEST_F(ShellFramesTest, showsTheBackgroundBelowAWindowThatIsLeftOut)
{
    startGnome();
    Picture const before = everything();
    startClient("dev.hidden", "#ff00ff");
    ASSERT_TRUE(waitFor([&] { return pixelsOf(everything(), hiddenColour) == windowArea; }));

    EXPECT_EQ(differences(before, withoutHidden(), windowOf("dev.hidden").frame), 0U);
}

TEST_F(ShellFramesTest, namesNoHiddenApplicationInTheTopBar)
{
    startGnome();
    if (gnome->version() >= 45)
        GTEST_SKIP() << "this shell's top bar has no title";
    Picture const before = everything();
    startClient("dev.hidden", "#ff00ff");
    ASSERT_TRUE(waitFor([&] { return differences(before, everything(), titleOfTheFront) > 0; }));

    EXPECT_EQ(differences(before, withoutHidden(), titleOfTheFront), 0U);
    startClient("dev.seen", "#00ff00");
    EXPECT_TRUE(waitFor([&] { return differences(before, withoutHidden(), titleOfTheFront) > 0; }));
}

TEST_F(ShellFramesTest, showsNoMessageOfAHiddenApplication)
{
    startGnome();
    notifyAsHidden();
    press({"stay", "125", "47"}); // Super and V
    ASSERT_TRUE(waitForLook([](WindowsNow const& now) { return !now.chrome.empty(); }));
    ASSERT_TRUE(waitFor([&] { return coloursAround(everything(), inTheFirstMessage) > 1; }));

    EXPECT_EQ(coloursAround(withoutHidden(), inTheFirstMessage), 1U);
    gnome->call("org.gtk.Notifications", "/org/gtk/Notifications", "org.gtk.Notifications.RemoveNotification",
                {"'dev.hidden'", "'1'"});
    EXPECT_TRUE(waitForLook([](WindowsNow const& now) { return now.chrome.empty(); }));
    // A shell that ends while a menu of its own is open crashes.
    press({"1"}); // Escape
    EXPECT_TRUE(waitUntilCovered(false));
}

TEST_F(ShellFramesTest, showsNoNotificationOfAHiddenApplication)
{
    startGnome();
    notifyAsHidden();
    auto const isShown = [&] {
        gnome->run(
            {"/usr/bin/python3", ZELVO_KEY_PRESSER, "42"}); // A person who is away sees only the first one.
        auto const now = windows->look();
        return now && !hiddenOnes(*now).empty();
    };

    ASSERT_TRUE(waitFor(isShown, 40s));

    ASSERT_TRUE(waitFor([&] { return coloursAround(everything(), inTheNotification) > 1; }));
    EXPECT_EQ(coloursAround(withoutHidden(), inTheNotification), 1U);
}

TEST_F(ShellFramesTest, showsNoMenuOfAHiddenWindow)
{
    startGnome();
    startClient("dev.hidden", "#ff00ff");
    ASSERT_TRUE(waitForLook([](WindowsNow const& now) { return now.windows.back().isActive; }));
    Picture const before = withoutHidden();
    press({"stay", "56", "57"}); // Alt and space
    ASSERT_TRUE(waitUntilCovered(true));
    LogicalRect const frame = windowOf("dev.hidden").frame;
    ASSERT_TRUE(waitFor([&] { return pixelsOf(everything(), hiddenColour) < windowArea; }));

    EXPECT_EQ(differences(before, withoutHidden(), frame), 0U);
    press({"1"}); // Escape
    EXPECT_TRUE(waitUntilCovered(false));
}

TEST_F(ShellFramesTest, refusesWhileASwitcherShowsApplications)
{
    startGnome();
    startClient("dev.seen", "#00ff00");
    startClient("dev.hidden", "#ff00ff");
    EXPECT_FALSE(isRefused());

    pid_t const keys = press({"hold", "56", "15"}); // Alt and Tab

    ASSERT_TRUE(waitUntilCovered(true));
    EXPECT_TRUE(waitFor([&] { return isRefused(); })); // It appears a little later.
    gnome->processes().end(keys, SIGTERM);
    EXPECT_TRUE(waitUntilCovered(false));
}

TEST_F(ShellFramesTest, refusesWhileTheOverviewListsAMinimizedWindow)
{
    startGnome();
    startClient("dev.hidden", "#ff00ff", {"1", "minimized"});
    ASSERT_TRUE(waitFor([&] { return windowOf("dev.hidden").isMinimized; }));
    EXPECT_FALSE(isRefused());

    gnome->setOverview(true);

    EXPECT_TRUE(isRefused());
    gnome->setOverview(false); // A shell that ends while it is open crashes.
}

TEST_F(ShellFramesTest, neverShowsARestlessProgram)
{
    startGnome({.animations = true});
    startClient("dev.seen", "#00ff00");
    startClient("dev.hidden", "#ff00ff", {"2", "restless"});
    int taken = 0;
    std::size_t seen = 0;

    for (int attempt = 0; attempt < 50; ++attempt) {
        try {
            Picture const picture = withoutHidden();
            ASSERT_EQ(tintedPixels(picture), 0U);
            seen += pixelsOf(picture, seenColour) > 0;
            ++taken;
        } catch (ScreenFailure const&) { // A refusal leaks nothing, either.
        }
    }

    RecordProperty("pictures", taken);
    EXPECT_GT(taken, 25);
    EXPECT_GT(seen, 0U);
    EXPECT_TRUE(waitFor([&] { return pixelsOf(everything(), hiddenColour) > 0; }));
}

TEST_F(ShellFramesTest, refusesWhileTheOverviewShowsAWindowASecondTime)
{
    startGnome();
    startClient("dev.hidden", "#ff00ff");
    gnome->setOverview(true);

    EXPECT_THROW(withoutHidden(), ScreenFailure);
    gnome->setOverview(false);
    EXPECT_TRUE(waitFor([&] {
        try {
            return pixelsOf(withoutHidden(), hiddenColour) == 0;
        } catch (ScreenFailure const&) {
            return false;
        }
    }));
}

TEST_F(ShellFramesTest, showsThePointerButNotOverAWindowThatIsLeftOut)
{
    startGnome();
    startClient("dev.seen", "#00ff00");
    startClient("dev.hidden", "#ff00ff");

    LogicalPoint const overSeen = pointAt("dev.seen");
    EXPECT_TRUE(waitFor([&] { return coloursAround(withoutHidden(), overSeen) > 1; }));

    LogicalPoint const overHidden = pointAt("dev.hidden");
    EXPECT_TRUE(waitFor([&] { return coloursAround(everything(), overHidden) > 1; }));
    EXPECT_EQ(coloursAround(withoutHidden(), overHidden), 1U);
}

TEST_F(ShellFramesTest, hasTheResolutionOfTheMonitor)
{
    startGnome({.monitors = {{.width = 1920, .height = 1080, .scale = 1.5},
                             {.width = 2560, .height = 1440, .scale = 2}}});
    layout.monitors.push_back({.id = 2, .name = "Meta-1"});

    Picture const first = withoutHidden();
    Picture const second =
        run<Picture>([&]() -> Task<Picture> { co_return co_await frames->without(2, hiddenOnes); });

    EXPECT_EQ(first.width, 1920);
    EXPECT_EQ(first.height, 1080);
    EXPECT_EQ(second.width, 2560);
    EXPECT_EQ(second.height, 1440);
}

TEST_F(ShellFramesTest, refusesWithoutTheExtensionAndForUnknownMonitors)
{
    startGnome();
    layout.monitors[0].name = "DP-9";
    EXPECT_THROW(withoutHidden(), ScreenFailure);

    layout.monitors[0].name = "Meta-0";
    gnome->run({"gnome-extensions", "disable", ShellExtensionInstall::uuid});
    EXPECT_TRUE(waitFor([&] { return !windows->look(); }));
    EXPECT_THROW(withoutHidden(), ScreenFailure);
}

} // namespace

} // namespace zelvo::test
