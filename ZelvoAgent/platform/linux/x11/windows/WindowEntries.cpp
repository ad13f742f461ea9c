#include "platform/linux/x11/windows/WindowEntries.h"

#include <algorithm>
#include <ranges>

namespace zelvo {

namespace {

constexpr int ownLayer = 8;
constexpr int menuLayer = 25;
constexpr int floatingLayer = 3;

bool isListed(SurveyedWindow const& window)
{
    bool const isDecoration = window.windowManagers && window.embedded.empty() && !window.hasUnknownInside;
    return !window.inputOnly && !window.emptyInputShape && !isDecoration;
}

int layerOf(SurveyedWindow const& window, bool own)
{
    if (own)
        return ownLayer;
    // A frame may be made like a menu; what counts is whether the window manager has the window in its care.
    if (window.overrideRedirect && !window.managed)
        return menuLayer;
    return window.dock || window.above ? floatingLayer : 0;
}

DesktopRect inPoints(PixelRect const& area, DisplayLayout const& layout)
{
    DesktopPoint const corner = layout.toPoints({area.x, area.y});
    return {corner.x, corner.y, area.width / layout.scale, area.height / layout.scale};
}

DesktopRect boundsOf(SurveyedWindow const& window, DisplayLayout const& layout)
{
    auto const [left, right, top, bottom] = window.frameExtents;
    PixelRect const& area = window.area;
    return inPoints({area.x + left, area.y + top, std::max(0, area.width - left - right),
                     std::max(0, area.height - top - bottom)},
                    layout);
}

/// Where a window takes the pointer; nothing when that is everywhere.
std::optional<std::vector<DesktopRect>> partsOf(SurveyedWindow const& window, DisplayLayout const& layout)
{
    if (!window.shaped && !window.input)
        return std::nullopt;
    PixelRegion region = window.input.value_or(PixelRegion(window.area)).intersected(window.area);
    if (window.shaped)
        region = region.intersected(window.shape);
    std::vector<DesktopRect> parts;
    for (PixelRect const& part : region.all())
        parts.push_back(inPoints(part, layout));
    return parts;
}

} // namespace

std::vector<WindowEntry>
windowEntries(WindowSurvey const& survey, WindowOwners const& owners, DisplayLayout const& layout)
{
    std::vector<WindowEntry> entries;
    for (SurveyedWindow const& window : std::views::reverse(survey.windows)) {
        if (!isListed(window))
            continue;
        WindowEntry& entry = entries.emplace_back();
        entry.id = window.id;
        entry.ownerPid = window.client.pid;
        entry.layer = layerOf(window, owners.isOwn(window.client));
        entry.bounds = boundsOf(window, layout);
        entry.parts = partsOf(window, layout);
        entry.owner = owners.namesOf(window.client);
        entry.ownerName = owners.application(window.client).localizedName;
        entry.title = window.client.title;
        entry.isDesktop = window.desktop;
        for (EmbeddedWindow const& inside : window.embedded)
            entry.embedded.push_back(
                {inPoints(inside.area, layout), owners.namesOf(inside.client), inside.client.pid});
    }
    return entries;
}

} // namespace zelvo
