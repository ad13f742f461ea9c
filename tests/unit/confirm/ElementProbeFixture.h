#pragma once

#include "confirm/ElementProbe.h"
#include "fakes/FakePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {

inline constexpr std::int32_t appPid = 100;
inline constexpr DesktopPoint point = {15, 25};

/// A frontmost application with one window under the point.
class ElementProbeTest : public testing::Test {
public:
    ElementProbeTest()
    {
        platform.desktop.front = RunningApplication{
            .pid = appPid, .names = {{"org.acme.mail", "mail"}}, .localizedName = "Acme Mail"};
        platform.desktop.running[appPid] = *platform.desktop.front;
        platform.windowList.list = {{.id = 1,
                                     .ownerPid = appPid,
                                     .bounds = DesktopRect{0, 0, 500, 500},
                                     .owner = {{"org.acme.mail", "mail"}}}};
    }

    FakeApplication& app() { return platform.elements.applications[appPid]; }
    void show(FakeElement window) { app().windows = {std::move(window)}; }
    void focusWindow(FakeElement window) { app().focusedWindow = std::move(window); }

    /// Expects a form in a page to have this default button.
    void expectDefault(FakeElement form, std::string const& title)
    {
        FakeElement page{.role = "AXWebArea"};
        page.children = {std::move(form)};
        focusWindow(window({page}));
        auto const found = run(platform.io, probe.defaultButton());
        ASSERT_TRUE(found);
        EXPECT_EQ(found->title, title);
    }

    static FakeElement window(std::vector<FakeElement> children, std::string subrole = "AXStandardWindow")
    {
        return {.role = "AXWindow", .subrole = std::move(subrole), .children = std::move(children)};
    }
    static FakeElement button(std::string title, std::vector<FakeElement> children = {})
    {
        return {.role = "AXButton", .title = std::move(title), .children = std::move(children)};
    }
    /// The element, nested in that many groups.
    static FakeElement within(int groups, FakeElement element)
    {
        for (int i = 0; i < groups; ++i) {
            FakeElement group;
            group.children = {std::move(element)};
            element = std::move(group);
        }
        return element;
    }

    std::optional<ProbedElement> element(DesktopPoint at = point)
    {
        return run(platform.io, probe.element(at));
    }
    std::optional<ProbedElement> dialog() { return run(platform.io, probe.frontmostDialog()); }
    std::optional<ProbedElement> focused() { return run(platform.io, probe.focusedElement()); }
    std::optional<FrontmostAppInfo> front() { return run(platform.io, probe.frontmostApp()); }

    FakePlatform platform;
    HiddenAppsStore hiddenApps{platform.contexts.agent, platform.settings};
    ElementProbe probe{platform.contexts.workers, platform, hiddenApps};
};

} // namespace zelvo
