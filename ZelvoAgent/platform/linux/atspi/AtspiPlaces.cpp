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
    mapping.emplace(std::move(toolkit), reported,
                    screen.windowsOf ? screen.windowsOf(pid) : std::vector<ProcessWindow>(),
                    screen.displays ? screen.displays() : std::vector<DisplayLayout>());
}

void AtspiPlaces::forget()
{
    mapping.reset();
    topLevels.clear();
    known.clear();
}

bool AtspiPlaces::mattersToPlaces(Index index) const
{
    return mapping && mapping->mattersToPlaces(nodes[index].role.value_or(0));
}

std::optional<DesktopRect> AtspiPlaces::frameOf(Index index)
{
    auto const placed = mapping ? place(index, true) : std::nullopt;
    return placed ? placed->frame : std::nullopt;
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
        placed.placed = mapping->place(*around, nodes[index].role.value_or(0),
                                       wantsExtents ? reportedOf(index) : std::nullopt);
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
