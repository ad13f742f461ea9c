#include "end_to_end/wayland/WaylandFixture.h"

#include <future>
#include <sstream>
#include <string>

namespace zelvo::test {
namespace {

/// A question to the person, on each desktop.
class WaylandQuestion : public OnWayland {
protected:
    std::future<std::string> performing(json::object action)
    {
        return std::async(std::launch::async, [this, action = std::move(action)] {
            return codeOf(gateway->command(connection, "actions.perform", {{"actions", {action}}}));
        });
    }
    std::string active() { return desktop().run({"/usr/bin/python3", ZELVO_ACTIVE_WINDOW}, 30); }
    bool isOpen() { return !active().empty(); }
    /// Where the application last saw the pointer: "X Y"; "" if nowhere yet.
    std::string pointer(pid_t writer)
    {
        std::string const all = said(writer);
        auto const found = all.rfind("motion ");
        return found == std::string::npos ? "" : all.substr(found + 7, all.find('\n', found) - found - 7);
    }
    /// That place, moved right and down by as much.
    static std::string shifted(std::string const& place, int by)
    {
        std::istringstream in(place);
        int x = 0;
        int y = 0;
        in >> x >> y;
        return std::to_string(x + by) + " " + std::to_string(y + by);
    }
};

TEST_P(WaylandQuestion, letsNothingReachTheApplicationWhileItIsOpen)
{
    startLinked({"screen", "input"});
    pid_t const writer = openWriter("letter", shown);
    waitForFront("letter");
    PaintedArea const paint = placeOf("AXButton", "Paint");
    json::object const move{{"type", "move"}, {"x", paint.x + 20}, {"y", paint.y + 20}};
    json::object const click = clickOn("AXButton", "Send");
    EXPECT_EQ(perform({move}), "ok");
    EXPECT_TRUE(says(writer, "motion")) << said(writer);

    auto asked = performing(click);
    ASSERT_TRUE(waitFor([&] { return isOpen(); })) << "the question is not in front";
    std::string const before = said(writer);
    std::string const first = pointer(writer);
    auto moved = performing({{"type", "move"}, {"x", paint.x + 50}, {"y", paint.y + 50}});
    EXPECT_FALSE(waitFor([&] { return said(writer) != before; }, 1500ms)) << said(writer);
    EXPECT_TRUE(isOpen());
    pressAll({"Deny"});

    EXPECT_EQ(asked.get(), "denied_by_user");
    EXPECT_EQ(moved.get(), "ok");
    EXPECT_TRUE(waitFor([&] { return pointer(writer) == shifted(first, 30); })) << said(writer);
    EXPECT_EQ(said(writer).find("press"), std::string::npos) << said(writer);

    auto allowed = performing(click);
    ASSERT_TRUE(waitFor([&] { return isOpen(); }));
    pressAll({"Allow"});
    EXPECT_EQ(allowed.get(), "ok");
    EXPECT_TRUE(says(writer, "clicked Send")) << said(writer);
}

INSTANTIATE_TEST_SUITE_P(,
                         WaylandQuestion,
                         testing::Values(Compositor::sway, Compositor::kwin, Compositor::gnome),
                         nameOfCompositor);

} // namespace
} // namespace zelvo::test
