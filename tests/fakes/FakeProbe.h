#pragma once

#include "confirm/ElementProbing.h"

#include <vector>

namespace zelvo {

/// Sees what a test says, and keeps where it was asked to look.
class FakeProbe final : public ElementProbing {
public:
    std::optional<ProbedElement> hit;
    std::optional<ProbedElement> dialog;
    std::optional<FrontmostAppInfo> front;
    std::optional<ProbedElement> focused;
    std::vector<DesktopPoint> points;

    Task<std::optional<ProbedElement>> element(DesktopPoint at) override
    {
        points.push_back(at);
        co_return hit;
    }
    Task<std::optional<ProbedElement>> frontmostDialog() override { co_return dialog; }
    Task<std::optional<FrontmostAppInfo>> frontmostApp() override { co_return front; }
    Task<std::optional<ProbedElement>> focusedElement() override { co_return focused; }
};

} // namespace zelvo
