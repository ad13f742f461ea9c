#include "platform/linux/x11/WindowEntries.h"

#include <algorithm>
#include <ranges>

namespace zelvo {

namespace {

constexpr int ownLayer = 8;
constexpr int menuLayer = 25;
constexpr int floatingLayer = 3;

bool isListed(SurveyedWindow const& window)
{
    return !window.inputOnly && !window.emptyInputShape && !window.windowManagers && !window.desktop;
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

DesktopRect boundsOf(SurveyedWindow const& window, DisplayLayout const& layout)
{
    auto const [left, right, top, bottom] = window.frameExtents;
    PixelRect const& area = window.area;
    DesktopPoint const corner = layout.toPoints({area.x + left, area.y + top});
    return {corner.x, corner.y, std::max(0, area.width - left - right) / layout.scale,
            std::max(0, area.height - top - bottom) / layout.scale};
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
        entry.owner = owners.namesOf(window);
    }
    return entries;
}

} // namespace zelvo
