#include "platform/linux/atspi/FrameMapping.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace zelvo {

namespace {

using enum AtspiRole;

bool isDocument(AtspiRole role)
{
    return role == documentWeb || role == documentFrame;
}

/// Whether it has a separate window, wherever its parent is.
bool isAWindow(AtspiRole role)
{
    switch (role) {
    case alert:
    case dialog:
    case popupMenu:
    case toolTip:
    case window:
        return true;
    default:
        return false;
    }
}

/// A menu item. A GTK 3 button lists its menu's items as its children.
bool isMenuItem(AtspiRole role)
{
    return role == checkMenuItem || role == menuItem || role == radioMenuItem;
}

/// Whether its content drops down into a separate window.
bool dropsDown(AtspiRole role)
{
    return role == menu || role == comboBox;
}

/// An area of the root window, in fractional pixels.
struct RootArea {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;

    bool isEmpty() const { return right <= left || bottom <= top; }
};

RootArea areaIn(FrameSpace const& space, ReportedRect const& reported)
{
    double const left = space.x + space.scale * reported.x;
    double const top = space.y + space.scale * reported.y;
    return {left, top, left + space.scale * reported.width, top + space.scale * reported.height};
}

RootArea visiblePart(RootArea const& area, PixelRect const& visible)
{
    return {std::max<double>(area.left, visible.x), std::max<double>(area.top, visible.y),
            std::min<double>(area.right, visible.right()), std::min<double>(area.bottom, visible.bottom())};
}

PixelRect pixelsIn(RootArea const& area)
{
    // A limit far outside of any screen, so that nothing overflows.
    auto const whole = [](double edge) { return static_cast<int>(std::clamp(edge, -1e6, 1e6)); };
    int const left = whole(std::floor(area.left));
    int const top = whole(std::floor(area.top));
    return {left, top, whole(std::ceil(area.right)) - left, whole(std::ceil(area.bottom)) - top};
}

/// The smallest area around all displays; `nullopt` if there is none.
std::optional<PixelRect> screenOf(std::vector<DisplayLayout> const& displays)
{
    PixelRegion region;
    for (DisplayLayout const& display : displays)
        region.add({display.origin.x, display.origin.y, display.widthPixels, display.heightPixels});
    return region.isEmpty() ? std::nullopt : std::optional(region.bounds());
}

/// GTK's coordinates for elements that are not on the screen.
bool isNowhere(ReportedRect const& reported)
{
    constexpr auto nowhere = std::numeric_limits<std::int32_t>::min();
    return reported.x == nowhere || reported.y == nowhere;
}

/// Without places on the screen, toolkits use the compositor's own units.
OtherScales othersOf(ReportedFrom from)
{
    return from == ReportedFrom::screen ? OtherScales::tried : OtherScales::ruledOut;
}

} // namespace

FrameMapping::FrameMapping(std::string toolkit,
                           std::vector<ReportedWindow> const& reported,
                           std::vector<ProcessWindow> windows,
                           std::vector<DisplayLayout> const& displays,
                           ReportedFrom from)
    : toolkit(std::move(toolkit)), windows(std::move(windows)), displays(displays),
      layout(displays.empty() ? DisplayLayout() : displays.front()), from(from), screen(screenOf(displays))
{
    matches = matchWindows(reported, this->windows, layout.scale, othersOf(from));
    for (std::size_t i = 0; i < reported.size(); ++i) {
        bool const isNowhere = !matches[i] && !this->windows.empty();
        spaces.push_back(isNowhere ? std::nullopt : spaceFor(reported[i], matches[i]));
    }
}

std::optional<FrameSpace> FrameMapping::topLevel(std::size_t index) const
{
    return index < spaces.size() ? spaces[index] : std::nullopt;
}

DesktopRect FrameMapping::inPoints(PixelRect const& area) const
{
    DesktopPoint const corner = layout.toPoints({area.x, area.y});
    return {corner.x, corner.y, area.width / layout.scale, area.height / layout.scale};
}

std::vector<FrontWindow> FrameMapping::windowsAt(DesktopPoint point) const
{
    std::vector<FrontWindow> found;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        DesktopRect const bounds = inPoints(windows[i].outer);
        if (!windows[i].takesPointer || !bounds.contains(point))
            continue;
        FrontWindow& front = found.emplace_back();
        front.bounds = bounds;
        front.isPopup = isPopup(i);
        if (auto const match = std::ranges::find(matches, i); match != matches.end())
            front.topLevel = static_cast<std::size_t>(match - matches.begin());
    }
    return found;
}

ReportedPoint FrameMapping::reportedAt(FrameSpace const& space, DesktopPoint point) const
{
    auto const reported = [&](double points, int origin, double offset) {
        double const value = (points * layout.scale + origin - offset) / space.scale;
        return static_cast<std::int32_t>(std::floor(std::clamp(value, -1e6, 1e6)));
    };
    return {reported(point.x, layout.origin.x, space.x), reported(point.y, layout.origin.y, space.y)};
}

std::optional<FrameSpace> FrameMapping::spaceFor(ReportedWindow const& reported,
                                                 std::optional<std::size_t> window) const
{
    if (from == ReportedFrom::corner)
        return fromCornerOf(reported);
    // Without a window to compare with, assume the toolkit's usual scale.
    bool const scalesItself = toolkit == "Qt" || toolkit == "Chromium";
    FrameSpace space{.scale = scalesItself ? layout.scale : 1, .visible = screen};
    auto const fit =
        window ? fitWindow(reported.onScreen, windows[*window], layout.scale, othersOf(from)) : std::nullopt;
    if (from == ReportedFrom::window && !fit)
        return std::nullopt;
    if (!window)
        return space;
    space.visible = onScreen(windows[*window].inner);
    space.density = densityAt(windows[*window].inner);
    if (fit) {
        space.scale = fit->scale;
        space.x = fit->x;
        space.y = fit->y;
    }
    // GTK 4.18 reports a window's corner relative to the inner edge of its border, where the content starts,
    // and adds that corner to the place of every element in the window.
    if (toolkit == "GTK") {
        space.contentX = -space.scale * reported.onScreen.x;
        space.contentY = -space.scale * reported.onScreen.y;
    }
    return space;
}

FrameSpace FrameMapping::fromCornerOf(ReportedWindow const& reported) const
{
    ReportedRect const& whole = reported.onScreen;
    FrameSpace space{.x = -static_cast<double>(whole.x), .y = -static_cast<double>(whole.y)};
    if (whole.width > 0 && whole.height > 0)
        space.visible = PixelRect{0, 0, whole.width, whole.height};
    if (toolkit == "GTK") { // See spaceFor().
        space.contentX = space.x;
        space.contentY = space.y;
    }
    return space;
}

/// That of the display that its centre is on.
double FrameMapping::densityAt(PixelRect const& window) const
{
    PixelRect const centre{window.x + window.width / 2, window.y + window.height / 2, 1, 1};
    for (DisplayLayout const& display : displays)
        if (!intersection(centre,
                          {display.origin.x, display.origin.y, display.widthPixels, display.heightPixels})
                 .isEmpty())
            return display.density;
    return layout.density;
}

PlacedElement FrameMapping::place(FrameSpace const& parent,
                                  AtspiRole role,
                                  std::optional<ReportedRect> const& reported) const
{
    PlacedElement placed = placeItself(parent, role, reported);
    placed.inside.x += std::exchange(placed.inside.contentX, 0);
    placed.inside.y += std::exchange(placed.inside.contentY, 0);
    placed.inside.owner = role;
    if (!placed.inside.isKnown)
        placed.frame.reset();
    return placed;
}

PlacedElement FrameMapping::placeItself(FrameSpace const& parent,
                                        AtspiRole role,
                                        std::optional<ReportedRect> const& reported) const
{
    PlacedElement placed{.inside = parent};
    FrameSpace& space = placed.inside;
    ProcessWindow const* const popup = reported && mayFillAPopup(role) ? popupOf(parent, *reported) : nullptr;
    if (popup)
        moveOnto(space, *popup, {reported->x, reported->y});
    else if (from != ReportedFrom::screen && leavesWindow(parent, role))
        leaveWindow(space, role);
    if (reported && toolkit == "gtk")
        layOntoContainer(space, role, *reported);
    if (isDocument(role) && toolkit == "Chromium")
        enterPage(space, reported);
    if (isAWindow(role) || (isMenuItem(role) && toolkit == "gtk")) {
        space.visible = screen;
        space.isDropped = true;
    }
    std::optional<PixelRect> const visible = space.visible;
    placed.isDropped = space.isDropped;
    if (dropsDown(role)) {
        space.visible = screen;
        space.isDropped = true;
    }
    if (!reported || isNowhere(*reported))
        return placed;
    RootArea area = areaIn(space, *reported);
    if (visible)
        area = visiblePart(area, *visible);
    if (clipsItsContent(role))
        space.visible = pixelsIn(area);
    if (area.isEmpty())
        return placed;
    placed.frame =
        DesktopRect{(area.left - layout.origin.x) / layout.scale, (area.top - layout.origin.y) / layout.scale,
                    (area.right - area.left) / layout.scale, (area.bottom - area.top) / layout.scale};
    return placed;
}

/// corner  what the popup's corner reports
void FrameMapping::moveOnto(FrameSpace& space, ProcessWindow const& popup, ReportedPoint corner) const
{
    space.x = popup.inner.x - space.scale * corner.x;
    space.y = popup.inner.y - space.scale * corner.y;
    space.visible = onScreen(popup.inner);
    space.isDropped = true;
    space.isKnown = true;
}

/// Whether an element is drawn in another window than its parent, and its place is relative to that one.
bool FrameMapping::leavesWindow(FrameSpace const& parent, AtspiRole role) const
{
    if (!parent.owner || role == alert) // It is a window itself, or a bar in one.
        return false;
    bool const isDropDown = dropsDown(*parent.owner);
    if (toolkit == "Qt")
        return isAWindow(role) || (isDropDown && role != entry && role != text && role != pushButton);
    if (toolkit == "GTK")
        return isAWindow(role) ||
               ((isDropDown || parent.owner == pushButton || parent.owner == toggleButton) &&
                mayFillAPopup(role));
    if (toolkit == "gtk")
        return isAWindow(role) || isMenuItem(role) || (isDropDown && role == menu);
    return false; // Chromium reports what pops up relative to its top-level window.
}

/// GTK 3 reports the items of a menu relative to the menu's window, which no element fills.
void FrameMapping::leaveWindow(FrameSpace& space, AtspiRole role) const
{
    if (from == ReportedFrom::corner) {
        space.x = space.y = space.contentX = space.contentY = 0;
        space.visible.reset();
        space.isDropped = true;
        return;
    }
    auto const isPopup = [](ProcessWindow const& window) { return window.overrideRedirect; };
    auto const popup = std::ranges::find_if(windows, isPopup);
    space.isKnown = toolkit == "gtk" && (isMenuItem(role) || role == menu) &&
                    std::ranges::count_if(windows, isPopup) == 1;
    if (space.isKnown)
        moveOnto(space, *popup, {});
}

/// Chromium uses scaled units for its own window and real pixels inside pages. It may draw a window for the
/// next whole density and let the compositor scale it: then the page's area shows which one it uses.
void FrameMapping::enterPage(FrameSpace& space, std::optional<ReportedRect> const& reported) const
{
    if (std::exchange(space.isPage, true))
        return;
    space.scale = 1 / space.density;
    if (reported && space.visible && reported->width * space.scale > space.visible->width + 2)
        space.scale = 1 / std::ceil(space.density);
}

/// LibreOffice draws its own window into a GTK window, below the menu bar, and some GTK windows into that
/// again. Each reports places as if it were the only one. The boundary shows as a container that has the size
/// of its parent but another place.
void FrameMapping::layOntoContainer(FrameSpace& space, AtspiRole role, ReportedRect const& reported)
{
    auto const outside = std::exchange(space.enclosing, std::nullopt);
    if (role != panel && role != rootPane)
        return;
    space.enclosing = reported;
    if (!outside || isNowhere(reported) || isNowhere(*outside) || reported.width != outside->width ||
        reported.height != outside->height)
        return;
    space.x += space.scale * (static_cast<double>(outside->x) - reported.x);
    space.y += space.scale * (static_cast<double>(outside->y) - reported.y);
}

PixelRect FrameMapping::onScreen(PixelRect const& area) const
{
    return screen ? intersection(area, *screen) : area;
}

/// Qt opens a menu as an ordinary window of the compositor if no press of the person opens it.
bool FrameMapping::isPopup(std::size_t window) const
{
    return windows[window].overrideRedirect ||
           (from == ReportedFrom::window && std::ranges::find(matches, window) == matches.end());
}

/// GTK 4 knows no screen positions, so a popover's coordinates are relative to no real point; and Qt moves
/// what is on another display than its window. The size identifies the popup: it equals that of its window.
ProcessWindow const* FrameMapping::popupOf(FrameSpace const& parent, ReportedRect const& reported) const
{
    RootArea const expected = areaIn(parent, reported);
    ProcessWindow const* nearest = nullptr;
    double least = 0;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        ProcessWindow const& window = windows[i];
        double const wider = std::abs(window.inner.width - (expected.right - expected.left));
        double const higher = std::abs(window.inner.height - (expected.bottom - expected.top));
        if (!isPopup(i) || std::max(wider, higher) >= parent.scale)
            continue;
        double const distance =
            std::abs(window.inner.x - expected.left) + std::abs(window.inner.y - expected.top);
        if (nearest && distance >= least)
            continue;
        nearest = &window;
        least = distance;
    }
    return nearest;
}

bool FrameMapping::mayFillAPopup(AtspiRole role) const
{
    if (toolkit == "GTK")
        return role == filler || role == panel || role == listBox || role == dialog || role == menu ||
               role == popupMenu || role == toolTip || role == window;
    return toolkit == "Qt" && role == popupMenu;
}

bool FrameMapping::mattersToPlaces(AtspiRole role) const
{
    bool const isContainer = toolkit == "gtk" && (role == panel || role == rootPane);
    return clipsItsContent(role) || mayFillAPopup(role) || isContainer;
}

bool FrameMapping::clipsItsContent(AtspiRole role) const
{
    switch (role) {
    case menuBar:
    case scrollPane:
    case viewport:
    case documentWeb:
    case documentFrame:
        return true;
    case filler:
    case list:
    case table:
    case tree:
    case treeTable:
        // Qt marks elements that are scrolled out of view as showing. Its plain and scrolled widgets are
        // fillers, and no widget is drawn outside its parent.
        return toolkit == "Qt";
    default:
        return false;
    }
}

} // namespace zelvo
