#include "platform/linux/x11/capture/CapturePlan.h"

#include <algorithm>

namespace zelvo {

namespace {

/// The rectangles of all shapes in a picture together. Ordinary shapes have tens; each may cost a request
/// while the server is grabbed.
constexpr std::size_t maxShapeParts = 2000;

} // namespace

bool CaptureExclusion::isAny() const
{
    return std::ranges::find(windows, true) != windows.end() ||
           std::ranges::any_of(holes, [](auto const& each) { return !each.empty(); });
}

CaptureExclusion excludedWindows(WindowSurvey const& survey,
                                 std::function<bool(ClientWindow const&)> const& named)
{
    CaptureExclusion exclusion;
    exclusion.windows.resize(survey.windows.size());
    exclusion.holes.resize(survey.windows.size());
    exclusion.pointers.resize(survey.windows.size());
    for (std::size_t i = 0; i < survey.windows.size(); ++i) {
        SurveyedWindow const& window = survey.windows[i];
        for (EmbeddedWindow const& inside : window.embedded)
            if (named(inside.client))
                exclusion.holes[i].push_back(inside.area);
        exclusion.pointers[i] = exclusion.holes[i];
        if (!named(window.client))
            continue;
        exclusion.windows[i] = !window.inputOnly;
        exclusion.pointers[i].push_back(window.area);
    }
    return exclusion;
}

void leaveOutEmptyFrames(WindowSurvey const& survey,
                         CaptureExclusion& exclusion,
                         std::function<bool(std::uint32_t)> const& hasHeldClient)
{
    for (std::size_t i = 0; i < exclusion.windows.size(); ++i) {
        SurveyedWindow const& window = survey.windows[i];
        if (window.windowManagers && !window.inputOnly && hasHeldClient(window.id))
            exclusion.windows[i] = true;
    }
}

bool isPointerExcluded(WindowSurvey const& survey,
                       CaptureExclusion const& exclusion,
                       PointerPlace const& pointer,
                       std::int32_t own)
{
    auto const isThere = [&](PixelRect const& area) {
        return !intersection(area, {pointer.x, pointer.y, 1, 1}).isEmpty();
    };
    for (std::size_t i = 0; i < survey.windows.size(); ++i) {
        SurveyedWindow const& window = survey.windows[i];
        bool const isUnder = pointer.window && window.id == pointer.window;
        if (isUnder && (exclusion.windows[i] || std::ranges::any_of(exclusion.pointers[i], isThere)))
            return true;
        if (pointer.isPressed && window.client.pid != own && !exclusion.pointers[i].empty())
            return true;
    }
    return false;
}

CapturePlan planCapture(WindowSurvey const& survey,
                        CaptureExclusion const& exclusion,
                        PixelRect const& display,
                        bool alphaCounts)
{
    CapturePlan plan;
    plan.background = PixelRegion(display);
    std::size_t shapeParts = 0;
    for (std::size_t i = survey.windows.size(); i-- > 0;) {
        SurveyedWindow const& window = survey.windows[i];
        bool const readable = window.depth == 24 || window.depth == 32;
        if (window.inputOnly || exclusion.windows[i] || !readable)
            continue;
        PixelRegion visible = plan.background.intersected(window.area);
        if (window.shaped) {
            std::size_t const parts = window.shape.all().size();
            if (shapeParts + parts > maxShapeParts)
                continue;
            shapeParts += parts;
            visible = visible.intersected(window.shape);
        }
        for (PixelRect const& hole : exclusion.holes[i])
            visible.subtract(hole);
        if (visible.isEmpty())
            continue;
        bool const blends = alphaCounts && window.depth == 32;
        if (!blends)
            plan.background.subtract(visible);
        plan.pieces.push_back({i, std::move(visible), blends, !exclusion.holes[i].empty()});
    }
    std::ranges::reverse(plan.pieces);
    return plan;
}

} // namespace zelvo
