#include "end_to_end/wayland/WaylandFixture.h"

#include <thread>

namespace zelvo::test {
namespace {

/// What the person granted, on the desktops that ask.
class WaylandGrant : public OnWayland {
protected:
    static json::object clickAt(int x, int y) { return {{"type", "click"}, {"x", x}, {"y", y}}; }
    std::vector<std::string> refusals()
    {
        return {failureOf("screenshot"), failureOf("ui.tree"), perform({clickAt(600, 400)}),
                perform({typing("text")})};
    }
    static std::vector<std::string> allMissing() { return std::vector<std::string>(4, "permission_missing"); }
};

TEST_P(WaylandGrant, isNeededForEverythingAndAskedForByThePersonOnly)
{
    startAsking();
    pid_t const writer = openWriter("letter", shown);

    EXPECT_EQ(refusals(), allMissing());
    EXPECT_EQ(refusals(), allMissing()); // Nor does being refused ask for it.
    EXPECT_EQ(machine->portalSessions(), 0u);
    EXPECT_EQ(said(writer), "mapped\n");

    pressAll({"Ask the desktop", "--then", "Later", "Start"});
    require("the grant", [&] { return mayAct(); }, 40s);
    EXPECT_GT(machine->portalSessions(), 0u);
    EXPECT_EQ(failureOf("screenshot"), "ok");
}

TEST_P(WaylandGrant, endsWithinASecond)
{
    startUnattended();
    openWriter("letter", shown);
    waitForFront("letter");
    EXPECT_EQ(perform({clickOn("AXButton", "Print")}), "ok");

    machine->withdraw();

    EXPECT_TRUE(waitFor([&] { return refusals() == allMissing(); }, 1s));
}

TEST_P(WaylandGrant, leavesNoButtonDownWhenItEndsInADrag)
{
    if (GetParam() == Compositor::kwin)
        GTEST_SKIP() << "KDE's own portal withdraws only by its panel";
    startUnattended();
    pid_t const writer = openWriter("letter", shown);
    waitForFront("letter");
    PaintedArea const area = placeOf("AXButton", "Paint");
    auto const corner = [](int x, int y) { return json::object{{"x", x}, {"y", y}}; };
    json::object const drag{{"type", "drag"},
                            {"from", corner(area.x + 5, area.y + 5)},
                            {"to", corner(area.x + area.width - 5, area.y + area.height - 5)},
                            {"durationMs", 3000}};
    std::string code;
    std::thread acting([&] { code = perform({drag}); });
    bool const isDown = says(writer, "press 1");
    machine->withdraw();
    acting.join();

    EXPECT_TRUE(isDown);
    EXPECT_TRUE(says(writer, "release 1")) << said(writer);
    EXPECT_EQ(refusals(), allMissing());
    std::string const got = said(writer);
    EXPECT_EQ(got.find("press 1"), got.rfind("press 1")) << got;
}

INSTANTIATE_TEST_SUITE_P(,
                         WaylandGrant,
                         testing::Values(Compositor::kwin, Compositor::gnome),
                         nameOfCompositor);

} // namespace
} // namespace zelvo::test
