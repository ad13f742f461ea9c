// Compares the reported places of elements with the pixels on the screen.
#include "desktop/applications/Applications.h"
#include "desktop/atspi/AtspiFixture.h"
#include "desktop/harness/Painter.h"
#include "platform/linux/x11/X11DisplayLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace zelvo::test {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

/// The display settings for one run of an application.
struct Showing {
    std::string name;
    Toolkit toolkit;
    int scale = 1;
    bool decorated = false; ///< draws its own frame
    bool shadowed = false;  ///< with a shadow round it
    bool elsewhere = false; ///< the main display is not at the origin
};

std::string nameOf(testing::TestParamInfo<Showing> const& showing)
{
    return showing.param.name;
}

class Frames : public testing::TestWithParam<Showing> {
protected:
    AtspiFixture fixture{{.width = 1920, .height = 1200, .accessibility = true}, AtspiFixture::Screen::known};
    PrivateDesktop& desktop = fixture.desktop;
    Painter painter{desktop.display()};
    std::shared_ptr<X11Connection> connection = X11Connection::open();
    pid_t pid = 0;

    void SetUp() override
    {
        desktop.run(
            {"sh", "-c", "echo Xft.dpi: " + std::to_string(GetParam().scale * 96) + " | xrdb -merge"});
        if (GetParam().elsewhere) {
            desktop.run({"xrandr", "--setmonitor", "left", "400/100x1200/300+0+0", "none"});
            desktop.run({"xrandr", "--setmonitor", "*main", "1520/400x1150/300+400+50", "screen"});
        }
        if (GetParam().shadowed)
            promiseShadows();
        start();
    }

    /// GTK draws shadows if a compositing manager runs and the window manager supports them, as on larger
    /// desktops.
    void promiseShadows()
    {
        if (!desktop.startCompositor())
            GTEST_SKIP() << "picom is not installed";
        xcb_atom_t const known = atomOf(painter.x(), "_GTK_FRAME_EXTENTS");
        xcb_change_property(painter.x(), XCB_PROP_MODE_APPEND, painter.root(),
                            atomOf(painter.x(), "_NET_SUPPORTED"), XCB_ATOM_ATOM, 32, 1, &known);
        painter.sync();
    }

    void start()
    {
        TestApplication application = swatches(desktop, GetParam().toolkit);
        if (GetParam().decorated)
            application.command.emplace_back("--decorated");
        // GTK has a separate scale setting; the others follow Xft.dpi.
        bool const isGtk = GetParam().toolkit == Toolkit::gtk3 || GetParam().toolkit == Toolkit::gtk4;
        pid = desktop.start(application.command,
                            {{"GDK_SCALE", isGtk ? std::to_string(GetParam().scale) : "1"}});
        painter.move(desktop.waitForWindow(application.window), 531, 83);
    }

    DisplayLayout layout() const { return readDisplayLayouts(*connection).at(0); }

    /// The places of the elements by name; elements without a place are omitted.
    std::map<std::string, DesktopRect> places() const
    {
        auto const reader = fixture.accessibility->reader(pid, 250ms);
        if (GetParam().toolkit == Toolkit::chromium)
            reader->setFlag(reader->application(), AccessibilityAttribute::manualAccessibility, true);
        std::map<std::string, DesktopRect> found;
        for (WalkedElement const& one : walkWindows(*reader, *fixture.clock).elements)
            if (one.title && one.position && one.size)
                found[*one.title] = {one.position->x, one.position->y, one.size->width, one.size->height};
        return found;
    }

    std::array<int, 3> colorAt(DesktopPoint point)
    {
        PixelPoint const pixel = layout().toPixels(point);
        auto const cookie =
            xcb_get_image(painter.x(), XCB_IMAGE_FORMAT_Z_PIXMAP, painter.root(),
                          static_cast<std::int16_t>(pixel.x), static_cast<std::int16_t>(pixel.y), 1, 1, ~0U);
        XReply<xcb_get_image_reply_t> const image(xcb_get_image_reply(painter.x(), cookie, nullptr));
        if (!image)
            return {-1, -1, -1};
        std::uint8_t const* bytes = xcb_get_image_data(image.get());
        return {bytes[2], bytes[1], bytes[0]};
    }

    /// Is this the colour of the swatch with this name? Chromium rounds a little.
    static bool isDrawnIn(std::string const& name, std::array<int, 3> const& color)
    {
        int const wanted = std::stoi(name.substr(name.size() - 6), nullptr, 16);
        return std::abs((wanted >> 16) - color[0]) <= 1 && std::abs((wanted >> 8 & 255) - color[1]) <= 1 &&
               std::abs((wanted & 255) - color[2]) <= 1;
    }

    /// The swatches that report a place whose centre shows something else.
    std::vector<std::string> misplaced(std::map<std::string, DesktopRect> const& places)
    {
        std::vector<std::string> names;
        for (auto const& [name, frame] : places)
            if (name.starts_with("swatch ") && !isDrawnIn(name, colorAt(frame.center())))
                names.push_back(name);
        return names;
    }

    /// Reads until reports and pixels agree and show exactly the wanted swatches; a window takes a moment to
    /// map, move, scroll and paint.
    std::map<std::string, DesktopRect> settled(std::vector<std::string> const& wanted,
                                               std::vector<std::string> const& unwanted = {})
    {
        std::map<std::string, DesktopRect> found;
        auto const has = [&](std::string const& name) { return found.contains(name); };
        waitFor(
            [&] {
                found = places();
                return std::ranges::all_of(wanted, has) && std::ranges::none_of(unwanted, has) &&
                       misplaced(found).empty();
            },
            10s);
        std::vector<std::string> names;
        for (auto const& [name, frame] : found)
            names.push_back(name);
        EXPECT_THAT(names, IsSupersetOf(wanted));
        for (std::string const& name : unwanted)
            EXPECT_THAT(names, Not(Contains(name)));
        EXPECT_THAT(misplaced(found), IsEmpty());
        return found;
    }

    void click(DesktopPoint point)
    {
        PixelPoint const pixel = layout().toPixels(point);
        desktop.run({"xdotool", "mousemove", std::to_string(pixel.x), std::to_string(pixel.y), "click", "1"});
    }
};

TEST_P(Frames, lieOnWhatIsDrawn)
{
    std::vector<std::string> wanted = {"swatch ff0000", "swatch ff3333", "swatch 00ff00", "swatch 33ff33",
                                       "swatch 0000ff", "swatch 3333ff", "swatch 2080c0"};
    if (GetParam().decorated)
        wanted.emplace_back("swatch aa0000");
    if (GetParam().toolkit == Toolkit::chromium)
        wanted.emplace_back("swatch 553311");

    // The last two are scrolled out of view.
    settled(wanted, {"swatch 0080c0", "swatch e880c0"});
}

TEST_P(Frames, lieOnWhatIsDrawnInWhatOpens)
{
    auto const closed = settled({"Swatches"}, {"swatch 0080c0"});
    ASSERT_TRUE(closed.contains("Swatches"));

    click(closed.at("Swatches").center());

    settled({"swatch ff8800", "swatch 0088ff", "swatch 88ff00", "swatch ff0000"});
}

std::vector<Showing> showings()
{
#ifdef ZELVO_TEST_CHROMIUM
    return {
        {.name = "ofChromium", .toolkit = Toolkit::chromium, .elsewhere = true},
        {.name = "ofChromiumDoubled", .toolkit = Toolkit::chromium, .scale = 2},
        {.name = "ofChromiumDoubledElsewhere", .toolkit = Toolkit::chromium, .scale = 2, .elsewhere = true}};
#else
    return {
        {.name = "ofGtk3", .toolkit = Toolkit::gtk3, .elsewhere = true},
        {.name = "ofGtk3Doubled", .toolkit = Toolkit::gtk3, .scale = 2},
        {.name = "ofGtk3Decorated",
         .toolkit = Toolkit::gtk3,
         .scale = 2,
         .decorated = true,
         .elsewhere = true},
        {.name = "ofGtk3Shadowed", .toolkit = Toolkit::gtk3, .decorated = true, .shadowed = true},
        {.name = "ofGtk4", .toolkit = Toolkit::gtk4},
        {.name = "ofGtk4Doubled", .toolkit = Toolkit::gtk4, .scale = 2, .elsewhere = true},
        {.name = "ofGtk4Decorated", .toolkit = Toolkit::gtk4, .decorated = true, .elsewhere = true},
        {.name = "ofGtk4Shadowed", .toolkit = Toolkit::gtk4, .scale = 2, .decorated = true, .shadowed = true},
        {.name = "ofQt", .toolkit = Toolkit::qt, .elsewhere = true},
        {.name = "ofQtDoubled", .toolkit = Toolkit::qt, .scale = 2},
        {.name = "ofQtDoubledElsewhere", .toolkit = Toolkit::qt, .scale = 2, .elsewhere = true}};
#endif
}

INSTANTIATE_TEST_SUITE_P(, Frames, testing::ValuesIn(showings()), nameOf);

} // namespace
} // namespace zelvo::test
