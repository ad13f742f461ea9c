#pragma once

#include "confirm/ElementProbing.h"

#include <functional>
#include <optional>
#include <vector>

namespace zelvo {

/// An element of which a probe reads no more than this.
inline ProbedElement seen(std::string role, std::string title)
{
    ProbedElement element;
    element.role = std::move(role);
    element.title = std::move(title);
    return element;
}

/// Returns the elements that a test sets, and the frontmost application from another probe.
class FakeProbe final : public ElementProbing {
public:
    explicit FakeProbe(ElementProbing& desktop) : desktop(desktop) {}

    std::optional<ProbedElement> hit; ///< at every point
    std::optional<ProbedElement> dialog;
    std::optional<ProbedElement> focused;
    std::optional<ProbedElement> menuItem; ///< instead of `focused`, for currentElement()
    std::optional<ProbedElement> formButton;
    std::function<std::optional<ProbedElement>(DesktopPoint)> hitAt; ///< instead of `hit`
    std::function<std::optional<ProbedElement>()> onNamed; ///< instead of `hit`, for an element by its name
    std::vector<DesktopPoint> points;
    std::vector<NamedElement> named;
    int dialogLooks = 0;
    int focusLooks = 0;
    std::function<void()> onFrontLook; ///< called before each look at the frontmost application

    Task<std::optional<ProbedElement>> element(DesktopPoint at) override
    {
        points.push_back(at);
        co_return hitAt ? hitAt(at) : hit;
    }
    Task<std::optional<ProbedElement>> element(NamedElement wanted) override
    {
        named.push_back(wanted);
        co_return onNamed ? onNamed() : hit;
    }
    Task<std::optional<ProbedElement>> frontmostDialog() override
    {
        ++dialogLooks;
        co_return dialog;
    }
    Task<std::optional<FrontmostAppInfo>> frontmostApp() override
    {
        if (onFrontLook)
            onFrontLook();
        co_return co_await desktop.frontmostApp();
    }
    Task<std::optional<ProbedElement>> focusedElement() override
    {
        ++focusLooks;
        co_return focused;
    }

    Task<std::optional<ProbedElement>> currentElement() override
    {
        ++focusLooks;
        co_return menuItem ? menuItem : focused;
    }

    Task<std::optional<ProbedElement>> defaultButton() override { co_return formButton; }

private:
    ElementProbing& desktop;
};

} // namespace zelvo
