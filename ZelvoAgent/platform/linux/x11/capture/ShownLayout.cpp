#include "platform/linux/x11/capture/ShownLayout.h"

#include <utility>

namespace zelvo {

namespace {

void append(std::vector<PixelRect>& all, PixelRegion const& region)
{
    all.insert(all.end(), region.all().begin(), region.all().end());
}

/// What is in one of two regions only.
void appendDifference(std::vector<PixelRect>& all, PixelRegion const& left, PixelRegion const& right)
{
    PixelRegion gone = left;
    gone.subtract(right);
    append(all, gone);
    PixelRegion come = right;
    come.subtract(left);
    append(all, come);
}

} // namespace

ShownLayout ShownLayout::of(WindowSurvey const& survey,
                            CaptureExclusion const& exclusion,
                            PixelRect const& display,
                            bool alphaCounts)
{
    ShownLayout layout;
    CapturePlan plan = planCapture(survey, exclusion, display, alphaCounts);
    for (CapturePiece& piece : plan.pieces) {
        SurveyedWindow const& window = survey.windows[piece.window];
        layout.shown[window.id] = {window.area, window.border, std::move(piece.visible)};
    }
    for (std::size_t i = 0; i < survey.windows.size(); ++i)
        if (exclusion.windows[i])
            layout.leftOut[survey.windows[i].id] = {survey.windows[i].area, survey.windows[i].shape.all()};
    return layout;
}

std::vector<PixelRect> ShownLayout::changesSince(ShownLayout const& before) const
{
    std::vector<PixelRect> changes;
    for (auto const& [id, was] : before.shown)
        if (!shown.contains(id))
            append(changes, was.visible);
    for (auto const& [id, is] : shown) {
        auto const was = before.shown.find(id);
        if (was == before.shown.end()) {
            append(changes, is.visible);
        } else if (was->second.area == is.area) {
            appendDifference(changes, was->second.visible, is.visible);
        } else {
            append(changes, was->second.visible);
            append(changes, is.visible);
        }
    }
    return changes;
}

PixelRegion ShownLayout::leftOutChangesSince(ShownLayout const& before) const
{
    PixelRegion changes;
    for (auto const& [id, was] : before.leftOut)
        if (auto const is = leftOut.find(id); is == leftOut.end() || is->second != was)
            changes.add(was.area);
    for (auto const& [id, is] : leftOut)
        if (auto const was = before.leftOut.find(id); was == before.leftOut.end() || was->second != is)
            changes.add(is.area);
    return changes;
}

} // namespace zelvo
