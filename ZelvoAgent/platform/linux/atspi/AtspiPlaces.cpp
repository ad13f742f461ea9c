#include "platform/linux/atspi/AtspiPlaces.h"

#include <algorithm>

namespace zelvo {

void AtspiPlaces::begin(AtspiScreen const& screen,
                        std::int32_t pid,
                        std::string toolkit,
                        std::vector<Index> windows)
{
    forget();
    topLevels = std::move(windows);
    for (Index const window : topLevels) {
        inquiry.ask(window, elements.titleQuestion(window));
        inquiry.ask(window, AtspiQuestion::extents);
    }
    std::vector<ReportedWindow> reported;
    for (Index const window : topLevels) {
        inquiry.ensure(window, elements.titleQuestion(window));
        reported.push_back({.title = nodes[window].name.value_or(""),
                            .onScreen = reportedOf(window).value_or(ReportedRect())});
    }
    auto shown = screen.windowsOf ? screen.windowsOf(pid) : std::vector<ProcessWindow>();
    knowsWindows = !shown.empty();
    mapping.emplace(std::move(toolkit), reported, std::move(shown),
                    screen.displays ? screen.displays() : std::vector<DisplayLayout>(), screen.from);
}

void AtspiPlaces::forget()
{
    mapping.reset();
    topLevels.clear();
    known.clear();
}

bool AtspiPlaces::mattersToPlaces(Index index) const
{
    return mapping && mapping->mattersToPlaces(nodes[index].role.value_or(AtspiRole::invalid));
}

std::optional<DesktopRect> AtspiPlaces::frameOf(Index index)
{
    auto const placed = mapping ? place(index, true) : std::nullopt;
    return placed ? placed->frame : std::nullopt;
}

bool AtspiPlaces::isDropped(Index index)
{
    auto const placed = mapping ? place(index, mattersToPlaces(index)) : std::nullopt;
    return placed && placed->isDropped;
}

std::vector<AtspiPlaces::Front> AtspiPlaces::windowsAt(DesktopPoint point)
{
    std::vector<Front> found;
    if (!mapping)
        return found;
    for (FrontWindow const& window : mapping->windowsAt(point))
        found.push_back(
            {.element = window.topLevel ? std::optional(topLevels[*window.topLevel]) : std::nullopt,
             .bounds = window.bounds,
             .isPopup = window.isPopup});
    if (!knowsWindows)
        for (Index const window : topLevels)
            if (auto const frame = frameOf(window))
                found.push_back({.element = window, .bounds = *frame});
    return found;
}

std::optional<ReportedPoint> AtspiPlaces::reportedAt(Index topLevel, DesktopPoint point) const
{
    auto const at = std::ranges::find(topLevels, topLevel);
    if (!mapping || at == topLevels.end())
        return std::nullopt;
    auto const space = mapping->topLevel(static_cast<std::size_t>(at - topLevels.begin()));
    return space ? std::optional(mapping->reportedAt(*space, point)) : std::nullopt;
}

ReportedPoint AtspiPlaces::pixelAt(DesktopPoint point) const
{
    return mapping ? mapping->reportedAt({}, point) : ReportedPoint();
}

std::optional<PlacedElement> AtspiPlaces::place(Index index, bool wantsFrame)
{
    if (known.size() <= index)
        known.resize(nodes.size());
    if (auto const& found = known[index]; found && (found->hasFrame || !wantsFrame))
        return found->placed;
    bool const wantsExtents = wantsFrame || mattersToPlaces(index);
    Known placed{.hasFrame = wantsExtents};
    if (auto const around = spaceAround(index))
        placed.placed = mapping->place(*around, nodes[index].role.value_or(AtspiRole::invalid),
                                       wantsExtents ? reportedOf(index) : std::nullopt);
    // A top-level element is a window, but not above another one of its own.
    if (placed.placed && nodes[index].parent == 0u)
        placed.placed->isDropped = placed.placed->inside.isDropped = false;
    known[index] = placed;
    return placed.placed;
}

std::optional<FrameSpace> AtspiPlaces::spaceAround(Index index)
{
    auto const parent = nodes[index].parent;
    if (!parent)
        return std::nullopt;
    if (*parent != 0) {
        auto const placed = place(*parent, false);
        return placed ? std::optional(placed->inside) : std::nullopt;
    }
    auto const window = std::ranges::find(topLevels, index);
    if (window == topLevels.end())
        return std::nullopt;
    return mapping->topLevel(static_cast<std::size_t>(window - topLevels.begin()));
}

std::optional<ReportedRect> AtspiPlaces::reportedOf(Index index)
{
    inquiry.ensure(index, AtspiQuestion::extents);
    auto const& extents = nodes[index].extents;
    return extents ? std::optional(ReportedRect{extents->x, extents->y, extents->width, extents->height})
                   : std::nullopt;
}

} // namespace zelvo
