#include "desktop/input/EventWindow.h"
#include "end_to_end/ConfirmingFixture.h"

#include <algorithm>
#include <csignal>
#include <vector>

namespace zelvo::test {
namespace {

/// What the person sees of an agent at work.
class Overlays : public Confirming {
protected:
    struct Shown {
        int x = 0;
        int y = 0;
        int width = 0;
    };

    /// The agent's windows that no window manager frames, from back to front.
    std::vector<Shown> overlays()
    {
        std::vector<Shown> found;
        for (xcb_window_t const window : childrenOf(x.get(), screenOf(x.get())->root)) {
            if (numberOf(x.get(), window, "_NET_WM_PID") != std::uint32_t(agent.pid()) ||
                !isViewable(x.get(), window))
                continue;
            XReply<xcb_get_geometry_reply_t> const area(
                xcb_get_geometry_reply(x.get(), xcb_get_geometry(x.get(), window), nullptr));
            if (area)
                found.push_back({area->x, area->y, area->width});
        }
        return found;
    }
    /// Whether the cursor points there.
    bool isCursorAt(int atX, int atY)
    {
        auto const all = overlays();
        return std::ranges::any_of(all, [&](Shown const& one) {
            return atX - one.x >= 0 && atX - one.x < 12 && atY - one.y >= 0 && atY - one.y < 12;
        });
    }
    bool isFramed()
    {
        auto const all = overlays();
        return std::ranges::count(all, 1280, &Shown::width) == 2; // Along the top and the bottom edge.
    }
    static json::array click(int atX, int atY)
    {
        return {json::object{{"type", "click"}, {"x", atX}, {"y", atY}}};
    }

    XConnection x = connectTo(desktop.display());
};

TEST_F(Overlays, theCursorIsThereBeforeTheClickAndLetsItThrough)
{
    EventWindow below(desktop.display());
    connection = startUnattended();
    for (auto const& [atX, atY] : {std::pair(600, 400), {200, 700}}) {
        below.take();
        auto performed = performing(click(atX, atY));
        bool isShown = false;
        bool wasShownFirst = false;
        std::vector<std::string> events;
        require("the click", [&] {
            std::ranges::move(below.take(), std::back_inserter(events));
            wasShownFirst = isShown;
            isShown = isShown || isCursorAt(atX, atY);
            return events.size() == 2;
        });

        EXPECT_EQ(codeOf(performed.get()), "ok");
        EXPECT_TRUE(wasShownFirst);
        EXPECT_EQ(events, std::vector<std::string>({"button+1", "button-1"}));
        EXPECT_EQ(std::pair(below.lastX, below.lastY), std::pair(atX, atY));
        EXPECT_TRUE(waitFor([&] { return isFramed(); }));
    }
    EXPECT_TRUE(waitFor([&] { return overlays().empty(); }));
}

TEST_F(Overlays, areInNoScreenshotAndNoList)
{
    EventWindow below(desktop.display());
    connection = startUnattended();
    auto const screenshot = [&] {
        auto const answer = gateway.command(connection, "screenshot", {{"format", "png"}});
        EXPECT_EQ(codeOf(answer), "ok");
        return std::string(answer.body.at("result").at("data").as_string());
    };
    json::array const away{json::object{{"type", "move"}, {"x", 1270}, {"y", 1010}}};
    EXPECT_EQ(codeOf(perform(away)), "ok"); // The real pointer is in pictures.
    require("the end of the overlays", [&] { return overlays().empty(); });
    std::string const before = screenshot();
    EXPECT_EQ(codeOf(perform(away)), "ok");
    require("the overlays", [&] { return isCursorAt(1270, 1010) && isFramed(); });

    std::string const after = screenshot();
    auto const list = gateway.command(connection, "windows.list", {});

    EXPECT_FALSE(overlays().empty());
    EXPECT_TRUE(before == after);
    EXPECT_EQ(writeJson(list.body).find("dev.zelvo.agent"), std::string::npos);
}

TEST_F(Overlays, noneIsMadeWhileThePersonHasTheCursorOff)
{
    EventWindow below(desktop.display());
    agent.store("zelvo.showAgentCursor", false);
    connection = startUnattended();

    auto performed = performing(click(600, 400));
    bool isShown = false;
    std::vector<std::string> events;
    require("the click", [&] {
        isShown = isShown || isCursorAt(600, 400);
        std::ranges::move(below.take(), std::back_inserter(events));
        return events.size() == 2;
    });

    EXPECT_EQ(codeOf(performed.get()), "ok");
    EXPECT_TRUE(waitFor([&] { return isFramed(); })); // The indicator is always shown.
    EXPECT_FALSE(isShown);
    EXPECT_FALSE(isCursorAt(600, 400));
}

TEST_F(Overlays, leaveTheScreenBeforeTheTwoSecondsOfTheEnd)
{
    connection = startUnattended();
    EXPECT_EQ(agent.startAgain({}), 0);
    waitForMainWindow();
    json::array const away{json::object{{"type", "move"}, {"x", 1270}, {"y", 1010}}};
    EXPECT_EQ(codeOf(perform(away)), "ok");
    require("the overlays", [&] { return isCursorAt(1270, 1010) && isFramed(); });
    ::kill(agent.pid(), SIGTERM);

    EXPECT_TRUE(waitFor([&] { return overlays().empty() && !isOpen("Zelvo"); }, 1s));
    EXPECT_TRUE(agent.isRunning());
}

} // namespace
} // namespace zelvo::test
