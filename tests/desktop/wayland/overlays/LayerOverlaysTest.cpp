#include "platform/linux/wayland/overlays/LayerOverlays.h"

#include "desktop/wayland/harness/PrivateKwin.h"
#include "desktop/wayland/harness/PrivateSway.h"
#include "desktop/wayland/harness/TestPointer.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/wayland/kwin/KwinPermissionFile.h"
#include "platform/linux/wayland/kwin/KwinScreenshots.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>

namespace zelvo::test {

namespace {

using Layer = OverlayWindows::Layer;

constexpr std::uint32_t red = 0xffff0000;
constexpr std::uint32_t green = 0xff00ff00;

OverlayPicture square(int side, std::uint32_t color)
{
    return {.width = side,
            .height = side,
            .pixels = std::vector<std::uint32_t>(
                static_cast<std::size_t>(side) * static_cast<std::size_t>(side), color)};
}

/// A picture of the screen.
struct Shot {
    int width = 0;
    int height = 0;
    std::string rgb;
    std::uint32_t at(int x, int y) const
    {
        auto const byte = [&](int channel) {
            return static_cast<unsigned char>(
                rgb.at(static_cast<std::size_t>((y * width + x) * 3 + channel)));
        };
        return 0xff000000U | static_cast<std::uint32_t>(byte(0) << 16 | byte(1) << 8 | byte(2));
    }
};

struct Case {
    std::string compositor;
    double scale = 1;
};

class LayerOverlaysTest : public testing::TestWithParam<Case> {
protected:
    void SetUp() override
    {
        std::string const missing = isKwin() ? PrivateKwin::missingPackage() : PrivateSway::missing();
        if (!missing.empty())
            GTEST_SKIP() << missing;
        if (isKwin())
            startKwin();
        else
            session = std::make_unique<PrivateSway>(
                SwayOptions{.outputs = {{.width = scaled(800), .height = scaled(600), .scale = scale()}},
                            .config = "default_border none\nbindsym --release F12 nop"});
        session->adoptEnvironment();
        if (isKwin())
            bus = std::make_unique<BusConnection>(live.contexts().agent, clock, openSessionBus);
        monitors = std::make_unique<WaylandMonitors>(live.contexts(), WaylandClient::open());
        auto client = WaylandClient::open();
        ASSERT_TRUE(client && LayerOverlays::isOffered(*client));
        overlays = std::make_unique<LayerOverlays>(live.contexts(), std::move(client), *monitors);
    }
    void TearDown() override
    {
        overlays.reset();
        monitors.reset();
        live.stop();
        bus.reset();
    }
    void startKwin()
    {
        session = std::make_unique<PrivateKwin>(
            KwinOptions{.width = 800, .height = 600, .scale = scale(), .isPainted = false});
        auto const folder = session->dataHome() / "applications";
        std::filesystem::create_directories(folder);
        DesktopEntries entries({folder});
        std::ofstream(folder / KwinPermissionFile::fileName)
            << KwinPermissionFile(entries, std::filesystem::read_symlink("/proc/self/exe")).text()
            << "X-KDE-Wayland-Interfaces=org_kde_kwin_fake_input\n";
    }

    static bool isKwin() { return GetParam().compositor == "kwin"; }
    static double scale() { return GetParam().scale; }
    static int scaled(int points) { return static_cast<int>(points * scale()); }

    Shot shot() { return isKwin() ? kwinShot() : swayShot(); }
    Shot kwinShot()
    {
        KwinScreenshots shots(live.contexts(), *bus);
        auto results = live.run(shots.take({{.monitor = "Virtual-0"}}));
        KwinImage const& image = results.at(0).image.value();
        Shot made{.width = image.width, .height = image.height};
        for (int at = 0; at < image.width * image.height; ++at)
            for (int channel : {2, 1, 0})
                made.rgb += static_cast<char>(image.pixels[static_cast<std::size_t>(at * 4 + channel)]);
        return made;
    }
    Shot swayShot()
    {
        auto const file = session->home() / "shot.ppm";
        session->run({"grim", "-t", "ppm", file.string()});
        std::ifstream in(file, std::ios::binary);
        Shot made;
        std::string magic;
        int most = 0;
        in >> magic >> made.width >> made.height >> most;
        in.get();
        made.rgb.assign(std::istreambuf_iterator<char>(in), {});
        return made;
    }
    bool shows(int x, int y, std::uint32_t color)
    {
        return waitFor([&] { return shot().at(x, y) == color; });
    }
    std::uint32_t at(int x, int y) { return shot().at(x, y); }

    LiveContexts live;
    LinuxClock clock{live.contexts().agent};
    std::unique_ptr<PrivateSession> session;
    std::unique_ptr<BusConnection> bus;
    std::unique_ptr<WaylandMonitors> monitors;
    std::unique_ptr<LayerOverlays> overlays;
};

TEST_P(LayerOverlaysTest, coversThePixelOfItsPlaceAndMoves)
{
    auto const display = overlays->mainDisplay();
    ASSERT_TRUE(display);
    EXPECT_EQ(display->width, scaled(800));
    EXPECT_EQ(display->scale, scale());
    if (isKwin()) // The name by which KWin takes pictures of it.
        EXPECT_EQ(monitors->current().monitors.at(0).name, "Virtual-0");
    auto const window = overlays->open(Layer::pointer);
    OverlayPicture picture = square(20, red);
    picture.originX = 5;
    picture.originY = 6;

    window->show({100, 80}, std::move(picture));

    int const x = scaled(100) - 5;
    int const y = scaled(80) - 6;
    EXPECT_TRUE(shows(x + 10, y + 10, red));
    Shot const now = shot();
    EXPECT_EQ(now.at(x, y), red);
    EXPECT_EQ(now.at(x + 19, y + 19), red);
    EXPECT_NE(now.at(x - 1, y + 5), red);
    EXPECT_NE(now.at(x + 20, y + 5), red);
    EXPECT_NE(now.at(x + 5, y - 1), red);
    EXPECT_NE(now.at(x + 5, y + 20), red);

    window->move({300, 200});

    EXPECT_TRUE(shows(scaled(300) + 1, scaled(200) + 1, red));
    EXPECT_NE(at(x + 10, y + 10), red);
}

TEST_P(LayerOverlaysTest, keepsTheOrderOfLayersWhateverCameFirst)
{
    auto const front = overlays->open(Layer::pointer);
    front->show({100, 100}, square(40, green));
    ASSERT_TRUE(shows(scaled(100) + 10, scaled(100) + 10, green));

    auto const back = overlays->open(Layer::frame);
    back->show({90, 90}, square(80, red));

    EXPECT_TRUE(shows(scaled(90) + 2, scaled(90) + 2, red));
    EXPECT_TRUE(shows(scaled(100) + 10, scaled(100) + 10, green));
}

TEST_P(LayerOverlaysTest, isGoneWithItsEnd)
{
    auto window = overlays->open(Layer::ripple);
    window->show({10, 10}, square(30, red));
    ASSERT_TRUE(shows(scaled(10) + 5, scaled(10) + 5, red));

    window.reset();

    EXPECT_TRUE(waitFor([&] { return at(scaled(10) + 5, scaled(10) + 5) != red; }));
}

TEST_P(LayerOverlaysTest, showsEachNewPicture)
{
    auto const window = overlays->open(Layer::frame);
    for (int round = 0; round < 30; ++round)
        window->show({20.0 + round, 20}, square(30 + round % 3, round % 2 ? red : green));

    EXPECT_TRUE(shows(scaled(49) + 5, scaled(20) + 5, red));
}

TEST_P(LayerOverlaysTest, letsClicksThrough)
{
    pid_t const program =
        session->start({"/usr/bin/python3", PrivateKwin::program("window.py"), "Below", "red", "button"});
    auto const window = overlays->open(Layer::pointer);
    window->show({0, 0}, square(scaled(500), green));
    ASSERT_TRUE(shows(scaled(200), scaled(200), green));

    TestPointer pointer(800, 600);
    auto const isPressed = [&] {
        // The window of KWin is in the middle, that of sway is everywhere.
        pointer.moveTo(400, 300);
        pointer.click();
        return session->processes().output(program).find("pressed") != std::string::npos;
    };
    EXPECT_TRUE(waitFor(isPressed));
    EXPECT_EQ(at(scaled(200), scaled(200)), green);
}

INSTANTIATE_TEST_SUITE_P(Compositors,
                         LayerOverlaysTest,
                         testing::Values(Case{"kwin", 1},
                                         Case{"kwin", 1.5},
                                         Case{"kwin", 2},
                                         Case{"sway", 1},
                                         Case{"sway", 1.5},
                                         Case{"sway", 2}),
                         [](auto const& info) {
                             return info.param.compositor +
                                    std::to_string(static_cast<int>(info.param.scale * 10));
                         });

} // namespace

} // namespace zelvo::test
