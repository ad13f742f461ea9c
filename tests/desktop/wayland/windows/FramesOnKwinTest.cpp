// Compares the reported places of elements with the pixels on KDE's compositor.
#include "desktop/applications/Applications.h"
#include "desktop/atspi/TreeWalk.h"
#include "desktop/wayland/kwin/KwinFixture.h"
#include "platform/linux/atspi/AtspiAccessibility.h"
#include "platform/linux/wayland/kwin/KwinFrames.h"
#include "platform/linux/wayland/kwin/KwinPermissionFile.h"
#include "platform/linux/wayland/windows/CompositorWindows.h"
#include "platform/linux/wayland/windows/ElementWindows.h"

#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <map>

namespace zelvo::test {
namespace {

using testing::IsEmpty;
using testing::IsSupersetOf;

struct Showing {
    std::string name;
    Toolkit toolkit;
    double scale = 1;
    bool decorated = false; ///< draws its own frame, with a shadow
};

std::string nameOf(testing::TestParamInfo<Showing> const& showing)
{
    return showing.param.name;
}

/// What becomes of the swatches that a test does not ask for.
enum class Others { areSeen, mayBeCovered };

class FramesOnKwin : public KwinFixture, public testing::WithParamInterface<Showing> {
protected:
    void SetUp() override
    {
        KwinFixture::SetUp();
        if (GetParam().toolkit == Toolkit::chromium && !std::filesystem::exists("/usr/bin/chromium"))
            GTEST_SKIP() << "needs the package chromium";
    }
    void begin()
    {
        double const scale = GetParam().scale;
        start({.scale = scale, .isPainted = false});
        layout = {{{.id = monitorId("Virtual-0"),
                    .name = "Virtual-0",
                    .area = {0, 0, 1920, 1080},
                    .widthPixels = static_cast<int>(1920 * scale),
                    .heightPixels = static_cast<int>(1080 * scale),
                    .scale = scale}}};
        permit();
        frames.emplace(live.contexts(), *session, *windows, [this] { return layout; });
        desktop.emplace(windows.get(), [] { return std::make_shared<DesktopEntryIndex const>(); });
        AtspiScreen const screen{.windowsOf =
                                     [this](std::int32_t of) {
                                         auto const seen = desktop->look();
                                         return seen ? elementWindows(*seen, of)
                                                     : std::vector<ProcessWindow>();
                                     },
                                 .displays = [this] { return elementDisplays(layout); },
                                 .from = ReportedFrom::window};
        accessibility.emplace(live.contexts(), clock, *session, std::nullopt, screen, [] {});
        enableAccessibility();
        startProgram();
    }
    void TearDown() override
    {
        live.stop();
        accessibility.reset();
        clock.dropSleepers();
        KwinFixture::TearDown();
    }

    void permit() const
    {
        auto const folder = kwin->dataHome() / "applications";
        std::filesystem::create_directories(folder);
        DesktopEntries entries({folder});
        std::ofstream(folder / KwinPermissionFile::fileName)
            << KwinPermissionFile(entries, std::filesystem::read_symlink("/proc/self/exe")).text();
    }
    /// Starts the bus for accessibility too.
    void enableAccessibility()
    {
        kwin->run({"gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path", "/org/a11y/bus",
                   "--method", "org.freedesktop.DBus.Properties.Set", "org.a11y.Status", "IsEnabled",
                   "<true>"});
    }
    void startProgram()
    {
        auto command = swatchesCommand(kwin->home(), GetParam().toolkit);
        if (GetParam().decorated)
            command.emplace_back("--decorated");
        if (GetParam().toolkit == Toolkit::chromium)
            command.emplace_back("--ozone-platform=wayland");
        pid = kwin->start(
            command, {{"GDK_BACKEND", "wayland"}, {"QT_QPA_PLATFORM", "wayland"}, {"GSK_RENDERER", "cairo"}});
    }

    /// The places of the elements by name; elements without a place are omitted.
    std::map<std::string, DesktopRect> places()
    {
        auto const reader = accessibility->reader(pid, 250ms);
        if (GetParam().toolkit == Toolkit::chromium)
            reader->setFlag(reader->application(), AccessibilityAttribute::manualAccessibility, true);
        std::map<std::string, DesktopRect> found;
        for (WalkedElement const& one : walkWindows(*reader, clock).elements)
            if (one.title && one.position && one.size)
                found[*one.title] = {one.position->x, one.position->y, one.size->width, one.size->height};
        return found;
    }
    /// Chromium rounds colours a little.
    bool isDrawnAt(Picture const& picture, std::string const& name, DesktopPoint point) const
    {
        double const scale = layout.monitors[0].scale;
        int const x = static_cast<int>(std::floor(point.x * scale));
        int const y = static_cast<int>(std::floor(point.y * scale));
        if (x < 0 || y < 0 || x >= picture.width || y >= picture.height)
            return false;
        std::uint8_t const* const pixel = picture.pixels.data() + y * picture.stride + x * 4;
        int const wanted = std::stoi(name.substr(name.size() - 6), nullptr, 16);
        return std::abs((wanted >> 16) - pixel[2]) <= 1 && std::abs((wanted >> 8 & 255) - pixel[1]) <= 1 &&
               std::abs((wanted & 255) - pixel[0]) <= 1;
    }
    /// The swatches that report a place whose centre shows something else.
    std::vector<std::string> misplaced(std::map<std::string, DesktopRect> const& places)
    {
        Picture const picture = live.run(frames->everything(layout.monitors[0].id));
        std::vector<std::string> names;
        for (auto const& [name, frame] : places)
            if (name.starts_with("swatch ") && !isDrawnAt(picture, name, frame.center()))
                names.push_back(name);
        return names;
    }
    /// Reads until the wanted swatches have places, and these and the pixels agree.
    void settle(std::vector<std::string> const& wanted, Others others)
    {
        std::vector<std::string> names;
        std::vector<std::string> wrong;
        waitFor(
            [&] {
                auto found = places();
                if (others == Others::mayBeCovered)
                    std::erase_if(found, [&](auto const& each) {
                        return std::ranges::find(wanted, each.first) == wanted.end();
                    });
                wrong = misplaced(found);
                names.clear();
                for (auto const& [name, frame] : found)
                    names.push_back(name);
                return wrong.empty() && std::ranges::all_of(wanted, [&](std::string const& name) {
                           return found.contains(name);
                       });
            },
            15s);
        EXPECT_THAT(names, IsSupersetOf(wanted));
        EXPECT_THAT(wrong, IsEmpty());
    }

    MonitorLayout layout;
    pid_t pid = 0;
    std::optional<KwinFrames> frames;
    std::optional<CompositorWindows> desktop;
    std::optional<AtspiAccessibility> accessibility;
};

TEST_P(FramesOnKwin, areOnWhatIsDrawn)
{
    begin();
    std::vector<std::string> wanted = {"swatch ff0000", "swatch ff3333", "swatch 00ff00", "swatch 33ff33",
                                       "swatch 0000ff", "swatch 3333ff", "swatch 2080c0"};
    if (GetParam().decorated)
        wanted.emplace_back("swatch aa0000");
    if (GetParam().toolkit == Toolkit::chromium)
        wanted.emplace_back("swatch 553311");

    settle(wanted, Others::areSeen);
}

/// Chromium opens its list for a press only.
class OpenedFramesOnKwin : public FramesOnKwin {};

TEST_P(OpenedFramesOnKwin, areOnWhatIsDrawn)
{
    begin();
    settle({"swatch ff0000"}, Others::mayBeCovered);

    kwin->run({"/usr/bin/python3", PrivateKwin::program("press.py"), std::to_string(pid), "Swatches"});

    settle({"swatch ff8800", "swatch 0088ff", "swatch 88ff00", "swatch ff0000"}, Others::mayBeCovered);
}

std::vector<Showing> const widgets = {
    {.name = "ofGtk3", .toolkit = Toolkit::gtk3},
    {.name = "ofGtk3Decorated", .toolkit = Toolkit::gtk3, .decorated = true},
    {.name = "ofGtk3DecoratedDoubled", .toolkit = Toolkit::gtk3, .scale = 2, .decorated = true},
    {.name = "ofGtk4", .toolkit = Toolkit::gtk4},
    {.name = "ofGtk4Decorated", .toolkit = Toolkit::gtk4, .decorated = true},
    {.name = "ofQt", .toolkit = Toolkit::qt},
    {.name = "ofQtDoubled", .toolkit = Toolkit::qt, .scale = 2}};

std::vector<Showing> const pages = {
    {.name = "ofChromium", .toolkit = Toolkit::chromium},
    {.name = "ofChromiumDoubled", .toolkit = Toolkit::chromium, .scale = 2},
    {.name = "ofChromiumHalfAgain", .toolkit = Toolkit::chromium, .scale = 1.5}};

INSTANTIATE_TEST_SUITE_P(Widgets, FramesOnKwin, testing::ValuesIn(widgets), nameOf);
INSTANTIATE_TEST_SUITE_P(Pages, FramesOnKwin, testing::ValuesIn(pages), nameOf);
INSTANTIATE_TEST_SUITE_P(Widgets, OpenedFramesOnKwin, testing::ValuesIn(widgets), nameOf);

} // namespace
} // namespace zelvo::test
