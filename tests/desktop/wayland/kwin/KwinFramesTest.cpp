#include "platform/linux/wayland/kwin/KwinFrames.h"

#include "desktop/wayland/harness/TestPointer.h"
#include "desktop/wayland/kwin/KwinFixture.h"
#include "platform/linux/wayland/kwin/KwinPermissionFile.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>

namespace zelvo::test {

namespace {

constexpr std::uint32_t red = 0xff0000;
constexpr std::uint32_t blue = 0x0000ff;
constexpr std::uint32_t magenta = 0xff00ff;

class KwinFramesTest : public KwinFixture {
protected:
    void start(KwinOptions options = {})
    {
        options.isPainted = false;
        layout.monitors.clear();
        for (int at = 0; at < options.outputs; ++at) {
            std::string const name = "Virtual-" + std::to_string(at);
            layout.monitors.push_back(
                {.id = monitorId(name),
                 .name = name,
                 .area = {1.0 * at * options.width, 0, 1.0 * options.width, 1.0 * options.height},
                 .widthPixels = static_cast<int>(std::lround(options.width * options.scale)),
                 .heightPixels = static_cast<int>(std::lround(options.height * options.scale)),
                 .scale = options.scale});
        }
        KwinFixture::start(options);
        permit();
        frames = std::make_unique<KwinFrames>(live.contexts(), *session, *windows, [this] { return layout; });
    }

    std::filesystem::path applications() const { return kwin->dataHome() / "applications"; }
    static std::filesystem::path ourselves() { return std::filesystem::read_symlink("/proc/self/exe"); }
    void permit() const
    {
        DesktopEntries entries({applications()});
        std::filesystem::create_directories(applications());
        std::ofstream(applications() / KwinPermissionFile::fileName)
            << KwinPermissionFile(entries, ourselves()).text()
            << "X-KDE-Wayland-Interfaces=org_kde_kwin_fake_input\n";
    }

    Picture everything(int monitor = 0)
    {
        return live.run(frames->everything(layout.monitors.at(monitor).id));
    }
    Picture without(std::set<std::string> const& programs, int monitor = 0)
    {
        auto const leftOut = [programs](WindowsNow const& now) {
            std::set<std::string> ids;
            for (CompositorWindow const& window : now.windows)
                if (programs.contains(window.words.kdeDesktopFile) ||
                    programs.contains(window.words.className))
                    ids.insert(window.id);
            return ids;
        };
        return live.run(frames->without(layout.monitors.at(monitor).id, leftOut));
    }

    static std::uint32_t pixel(Picture const& picture, int x, int y)
    {
        std::uint8_t const* const at = picture.pixels.data() + y * picture.stride + x * 4;
        return static_cast<std::uint32_t>(at[2] << 16 | at[1] << 8 | at[0]);
    }
    static int count(Picture const& picture, std::uint32_t color)
    {
        int found = 0;
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                found += pixel(picture, x, y) == color ? 1 : 0;
        return found;
    }
    /// Pixels of magenta, also through shadows and edges.
    static int countMagenta(Picture const& picture)
    {
        int found = 0;
        for (int at = 0; at < picture.width * picture.height; ++at) {
            std::uint8_t const* const pixel = picture.pixels.data() + static_cast<std::ptrdiff_t>(at) * 4;
            found += pixel[0] > 60 && pixel[2] > 60 && pixel[1] * 2 < std::min(pixel[0], pixel[2]) ? 1 : 0;
        }
        return found;
    }
    /// Pixels that differ by more than a rounding.
    static int differences(Picture const& one, Picture const& other)
    {
        EXPECT_EQ(one.width, other.width);
        EXPECT_EQ(one.height, other.height);
        int found = 0;
        for (int at = 0; at < one.width * one.height; ++at)
            for (int channel = 0; channel < 3; ++channel)
                if (std::abs(one.pixels[static_cast<std::size_t>(at) * 4 + channel] -
                             other.pixels[static_cast<std::size_t>(at) * 4 + channel]) > 3) {
                    ++found;
                    break;
                }
        return found;
    }
    void fillScreen(std::string const& color) { kwin->start({"swaybg", "-c", color}); }

    MonitorLayout layout;
    std::unique_ptr<KwinFrames> frames;
};

class KwinScalesTest : public KwinFramesTest, public testing::WithParamInterface<double> {};

TEST_P(KwinScalesTest, aComposedPictureIsTheScreen)
{
    start({.width = 1200, .height = 800, .scale = GetParam(), .xwayland = true});
    fillScreen("#204060");
    kwin->startWindow({"One", "red", "301", "203", "dialog"});
    kwin->startWindow({"Glass", "rgba(0,255,0,0.5)", "500", "400", "alpha"});
    kwin->startWindow({"Old", "orange", "250", "150"}, kwin->onXwayland());
    kwin->start({"/usr/bin/python3", PrivateKwin::program("popover.py"), "Popped"});
    for (char const* title : {"One", "One dialog", "Glass", "Old", "Popped"})
        waitForWindow(title);
    require("the background", [&] { return count(everything(), 0x204060) > 1000; });
    require("the pop-up", [&] {
        return std::ranges::any_of(windows->look()->windows, [](CompositorWindow const& window) {
            return window.kind == CompositorWindow::Kind::popup && window.isOnScreen;
        });
    });

    // At a scale with a fraction KWin blends the edges of windows that begin inside of a pixel.
    int const most = GetParam() == std::floor(GetParam()) ? 40 : 1800 * 1200 / 50;
    int found = 0;
    EXPECT_TRUE(waitFor([&] { return (found = differences(everything(), without({}))) < most; })) << found;
}

INSTANTIATE_TEST_SUITE_P(Scales, KwinScalesTest, testing::Values(1.0, 1.5, 2.0));

TEST_F(KwinFramesTest, showsThePointerUnlessALeftOutWindowIsBelowIt)
{
    start({.width = 800, .height = 600, .environment = {{"XCURSOR_THEME", "Adwaita"}}});
    TestPointer pointer(800, 600);
    // GTK sets a pointer image; "all" is the whole screen in one color.
    kwin->startWindow({"All", "red", "800", "600"});
    waitForWindow("All");
    pointer.moveTo(700, 500);
    auto const drawn = [](Picture const& picture) { return 800 * 600 - count(picture, red); };
    require("the pointer", [&] { return drawn(everything()) > 20 && drawn(everything()) < 5000; });

    EXPECT_EQ(drawn(without({"none"})), drawn(everything()));
    kwin->startWindow({"Secret", "magenta", "400", "300"}); // In the middle.
    waitForWindow("Secret");
    require("its pixels", [&] { return count(everything(), magenta) > 1000; });

    // Where a drag may have begun in the secret window, its pointer image would be everywhere.
    EXPECT_EQ(drawn(without({"zt.Secret"})), 0);
    windows->activate(find("All")->id);
    windows->putInFront(find("Secret")->id);
    windows->activate(find("All")->id);
    EXPECT_GT(drawn(without({"zt.Secret"})), 20);
    pointer.moveTo(400, 300);
    EXPECT_EQ(drawn(without({"zt.Secret"})), 0);
}

TEST_F(KwinFramesTest, leavesOutDialogsOfWhatIsLeftOut)
{
    start({.width = 1000, .height = 700});
    kwin->startWindow({"Secret", "magenta", "400", "300", "dialog"});
    CompositorWindow const secret = waitForWindow("Secret");
    waitForWindow("Secret dialog");
    require("its pixels", [&] { return count(everything(), magenta) > 1000; });
    auto const onlyMain = [id = secret.id](WindowsNow const&) { return std::set<std::string>{id}; };

    Picture const picture = live.run(frames->without(layout.monitors[0].id, onlyMain));

    EXPECT_EQ(count(picture, magenta), 0);
}

TEST_F(KwinFramesTest, showsWhatALeftOutWindowCovers)
{
    start({.width = 1000, .height = 700});
    kwin->startWindow({"Below", "red", "300", "200"});
    waitForWindow("Below");
    kwin->startWindow({"Secret", "magenta", "800", "600"});
    waitForWindow("Secret");
    require("its pixels", [&] { return count(everything(), magenta) > 400'000; });

    Picture const picture = without({"zt.Secret"});

    EXPECT_EQ(count(picture, magenta), 0);
    EXPECT_EQ(count(picture, red), 300 * 200);
}

TEST_F(KwinFramesTest, takesManyLargeWindowsAtOnce)
{
    start({.width = 1600, .height = 1000});
    for (int number = 0; number < 7; ++number)
        kwin->startWindow({"Big" + std::to_string(number), "rgba(255,0,0,0.1)", "1500", "900", "alpha"});
    for (int number = 0; number < 7; ++number)
        waitForWindow("Big" + std::to_string(number));

    int found = 0;
    EXPECT_TRUE(waitFor([&] { return (found = differences(everything(), without({}))) < 40; })) << found;
}

TEST_F(KwinFramesTest, showsEachOfTwoMonitors)
{
    start({.width = 700, .height = 500, .outputs = 2});
    kwin->startWindow({"One", "red", "300", "200"});
    CompositorWindow const one = waitForWindow("One");
    int const home = one.frame.x >= 700 ? 1 : 0;
    require("its pixels", [&] { return count(everything(home), red) > 1000; });

    EXPECT_EQ(count(everything(1 - home), red), 0);
    EXPECT_EQ(count(without({}, 1 - home), red), 0);
    EXPECT_GT(count(without({}, home), red), 50'000);
}

TEST_F(KwinFramesTest, hasNoPixelOfABusySecretProgram)
{
    start({.width = 1000, .height = 700, .xwayland = true});
    fillScreen("#204060");
    kwin->startWindow({"Busy", "blue", "500", "400", "busy"});
    kwin->startWindow({"Secret", "magenta", "500", "400", "busy"});
    kwin->startWindow({"Secret", "magenta", "500", "400", "busy"}, kwin->onXwayland());
    require("its pixels", [&] { return count(everything(), magenta) > 1000; });
    int pictures = 0;
    int withBusy = 0;
    int failures = 0;
    int secretSeen = 0;
    auto const begin = std::chrono::steady_clock::now();
    std::chrono::steady_clock::duration spent{};

    while (pictures < 500) {
        auto const before = std::chrono::steady_clock::now();
        try {
            Picture const picture =
                without({"zt.Secret", "Zt.secret", "zt.secret", "window.py", "Window.py"});
            spent += std::chrono::steady_clock::now() - before;
            ASSERT_EQ(countMagenta(picture), 0) << "in picture " << pictures;
            withBusy += count(picture, blue) > 0 ? 1 : 0;
            ++pictures;
        } catch (ScreenFailure const& failure) {
            ASSERT_LT(++failures, 20) << failure.reason;
        }
        if (pictures % 50 == 0)
            secretSeen += countMagenta(everything()) > 0 ? 1 : 0;
    }

    EXPECT_GT(withBusy, 50);
    EXPECT_GT(secretSeen, 0);
    RecordProperty("failures", failures);
    RecordProperty("withBusy", withBusy);
    RecordProperty(
        "microsecondsEach",
        static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(spent).count() / 500));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5min);
}

TEST_F(KwinFramesTest, refusesWithoutThePermission)
{
    start({.width = 800, .height = 600});
    DesktopEntries entries({applications()});
    KwinPermissionFile const file(entries, ourselves());
    KwinScreenshots shots(live.contexts(), *session);
    EXPECT_TRUE(waitFor([&] { return live.run(shots.isAllowed()); }));
    EXPECT_EQ(file.state(), KwinPermissionFile::State::there);

    std::filesystem::remove(applications() / KwinPermissionFile::fileName);

    EXPECT_TRUE(waitFor([&] { return !live.run(shots.isAllowed()); }));
    EXPECT_EQ(file.state(), KwinPermissionFile::State::missing);
    EXPECT_THROW(everything(), ScreenFailure);
    kwin->startWindow({"One", "red"});
    waitForWindow("One");
    EXPECT_THROW(without({}), ScreenFailure);
}

TEST_F(KwinFramesTest, refusesAMonitorThatIsNotThere)
{
    start({.width = 800, .height = 600});

    EXPECT_THROW(live.run(frames->everything(1)), ScreenFailure);
    layout.monitors[0].name = "Virtual-9";
    EXPECT_THROW(everything(), ScreenFailure);
}

} // namespace

} // namespace zelvo::test
