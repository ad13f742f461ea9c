#include "desktop/wayland/windows/SwatchFrames.h"

#include "desktop/atspi/TreeWalk.h"
#include "desktop/harness/WaitFor.h"
#include "platform/linux/wayland/windows/ElementWindows.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace zelvo::test {

std::string nameOfShowing(testing::TestParamInfo<SwatchShowing> const& showing)
{
    return showing.param.name;
}

std::vector<SwatchShowing> widgetShowings()
{
    return {{.name = "ofGtk3", .toolkit = Toolkit::gtk3},
            {.name = "ofGtk3Decorated", .toolkit = Toolkit::gtk3, .decorated = true},
            {.name = "ofGtk3DecoratedDoubled", .toolkit = Toolkit::gtk3, .scale = 2, .decorated = true},
            {.name = "ofGtk4", .toolkit = Toolkit::gtk4},
            {.name = "ofGtk4Decorated", .toolkit = Toolkit::gtk4, .decorated = true},
            {.name = "ofQt", .toolkit = Toolkit::qt},
            {.name = "ofQtDoubled", .toolkit = Toolkit::qt, .scale = 2}};
}

std::vector<SwatchShowing> pageShowings()
{
    return {{.name = "ofChromium", .toolkit = Toolkit::chromium},
            {.name = "ofChromiumHalfAgain", .toolkit = Toolkit::chromium, .scale = 1.5},
            {.name = "ofChromiumDoubled", .toolkit = Toolkit::chromium, .scale = 2}};
}

std::vector<std::string> seenSwatches(SwatchShowing const& showing)
{
    std::vector<std::string> seen = {"swatch ff0000", "swatch ff3333", "swatch 00ff00", "swatch 33ff33",
                                     "swatch 0000ff", "swatch 3333ff", "swatch 2080c0"};
    if (showing.decorated)
        seen.emplace_back("swatch aa0000");
    if (showing.toolkit == Toolkit::chromium)
        seen.emplace_back("swatch 553311");
    return seen;
}

SwatchFrames::SwatchFrames(Desktop desktop, SwatchShowing shown)
    : on(std::move(desktop)), showing(std::move(shown)),
      windows(&on.windows, [] { return std::make_shared<DesktopEntryIndex const>(); })
{
    AtspiScreen const screen{.windowsOf =
                                 [this](std::int32_t of) {
                                     auto const seen = windows.look();
                                     return seen ? elementWindows(*seen, of) : std::vector<ProcessWindow>();
                                 },
                             .displays = [this] { return elementDisplays(on.layout); },
                             .from = ReportedFrom::window};
    accessibility =
        std::make_unique<AtspiAccessibility>(on.contexts, on.clock, on.bus, std::nullopt, screen, [] {});
    on.session.enableAccessibility();
    auto command = swatchesCommand(on.session.home(), showing.toolkit);
    if (showing.decorated)
        command.emplace_back("--decorated");
    if (showing.toolkit == Toolkit::chromium)
        command.emplace_back("--ozone-platform=wayland");
    pid = on.session.start(
        command, {{"GDK_BACKEND", "wayland"}, {"QT_QPA_PLATFORM", "wayland"}, {"GSK_RENDERER", "cairo"}});
}

void SwatchFrames::settle(std::vector<std::string> const& wanted, Others others)
{
    std::vector<std::string> names;
    std::vector<std::string> wrong;
    auto const isWanted = [&](auto const& each) {
        return std::ranges::find(wanted, each.first) != wanted.end();
    };
    waitFor(
        [&] {
            Places found = places();
            if (others == Others::mayBeCovered)
                std::erase_if(found, [&](auto const& each) { return !isWanted(each); });
            wrong = misplaced(found);
            names.clear();
            for (auto const& [name, frame] : found)
                names.push_back(name);
            return wrong.empty() &&
                   std::ranges::all_of(wanted, [&](std::string const& name) { return found.contains(name); });
        },
        15s);
    EXPECT_THAT(names, testing::IsSupersetOf(wanted));
    EXPECT_THAT(wrong, testing::IsEmpty());
}

void SwatchFrames::openMenu()
{
    on.session.run({"/usr/bin/python3", ZELVO_TEST_PRESS, std::to_string(pid), "Swatches"});
}

/// Elements without a place are omitted.
SwatchFrames::Places SwatchFrames::places()
{
    auto const reader = accessibility->reader(pid, 250ms);
    if (showing.toolkit == Toolkit::chromium)
        reader->setFlag(reader->application(), AccessibilityAttribute::manualAccessibility, true);
    Places found;
    for (WalkedElement const& one : walkWindows(*reader, on.clock).elements)
        if (one.title && one.position && one.size)
            found[*one.title] = {one.position->x, one.position->y, one.size->width, one.size->height};
    return found;
}

/// The swatches that report a place whose centre shows something else.
std::vector<std::string> SwatchFrames::misplaced(Places const& places) const
{
    Picture const picture = on.picture();
    std::vector<std::string> names;
    for (auto const& [name, frame] : places)
        if (name.starts_with("swatch ") && !isDrawnAt(picture, name, frame.center()))
            names.push_back(name);
    return names;
}

/// Chromium rounds colours a little.
bool SwatchFrames::isDrawnAt(Picture const& picture, std::string const& name, DesktopPoint point) const
{
    double const scale = on.layout.monitors[0].scale;
    int const x = static_cast<int>(std::floor(point.x * scale));
    int const y = static_cast<int>(std::floor(point.y * scale));
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height)
        return false;
    std::uint8_t const* const pixel = picture.pixels.data() +
                                      static_cast<std::ptrdiff_t>(y) * picture.stride +
                                      static_cast<std::ptrdiff_t>(x) * 4;
    int const wanted = std::stoi(name.substr(name.size() - 6), nullptr, 16);
    return std::abs((wanted >> 16) - pixel[2]) <= 1 && std::abs((wanted >> 8 & 255) - pixel[1]) <= 1 &&
           std::abs((wanted & 255) - pixel[0]) <= 1;
}

} // namespace zelvo::test
