#include "desktop/harness/Painter.h"
#include "desktop/harness/PrivateDesktop.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/input/X11PointerPresses.h"

#include <gtest/gtest.h>

#include <xcb/res.h>

#include <future>
#include <mutex>

namespace zelvo::test {
namespace {

/// Presses of real clicks on a desktop with a window manager.
class PointerPressesTest : public testing::Test {
protected:
    PointerPressesTest()
    {
        desktop.adoptEnvironment();
        presses.emplace(live.contexts(), X11Connection::open(), [this] { return layout; });
    }
    ~PointerPressesTest() override
    {
        end();
        live.stop();
    }

    /// Observes from the main context, and returns when presses are reported.
    void observe()
    {
        onMain([this] {
            observation = presses->observe([this](DesktopPoint place) {
                std::scoped_lock const guard(lock);
                places.push_back(place);
            });
        });
        require("the first press", [this] {
            click(1, 1);
            return waitFor([this] { return !seen().empty(); }, 200ms);
        });
        settle();
        forget();
    }
    void end()
    {
        onMain([this] { observation.reset(); });
    }
    void onMain(std::function<void()> const& call)
    {
        asio::post(live.contexts().main, std::packaged_task<void()>(call)).get();
    }

    void click(int x, int y, int button = 1)
    {
        desktop.run(
            {"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", std::to_string(button)});
    }
    /// Returns when the presses before it must have been reported: another observation reports a later one.
    void settle()
    {
        std::promise<void> arrived;
        bool isFirst = true;
        std::unique_ptr<PressObservation> other;
        onMain([&] {
            other = presses->observe([&](DesktopPoint) {
                if (std::exchange(isFirst, false))
                    arrived.set_value();
            });
        });
        auto const last = arrived.get_future();
        require("a later press", [&] {
            click(1, 1);
            return last.wait_for(200ms) == std::future_status::ready;
        });
        onMain([&] { other.reset(); });
    }
    std::vector<DesktopPoint> seen()
    {
        std::scoped_lock const guard(lock);
        return places;
    }
    void forget()
    {
        std::scoped_lock const guard(lock);
        places.clear();
    }
    bool sees(std::vector<DesktopPoint> const& wanted)
    {
        return waitFor([&] { return seen() == wanted; });
    }

    PrivateDesktop desktop{{.width = 800, .height = 600}};
    DisplayLayout layout{.widthPixels = 800, .heightPixels = 600};
    LiveContexts live;
    std::optional<X11PointerPresses> presses;
    std::unique_ptr<PressObservation> observation; // main
    std::mutex lock;
    std::vector<DesktopPoint> places;
};

TEST_F(PointerPressesTest, areReportedOnTheDesktopsBackground)
{
    observe();

    click(300, 200);

    EXPECT_TRUE(sees({{300, 200}})) << testing::PrintToString(seen().size());
}

TEST_F(PointerPressesTest, areReportedInManagedAndInOverrideRedirectWindows)
{
    Painter painter(desktop.display());
    painter.open({.x = 100, .y = 100, .title = "managed"});
    painter.open({.x = 500, .y = 400, .overrideRedirect = true});
    observe();

    click(150, 150);
    EXPECT_TRUE(sees({{150, 150}}));
    click(550, 450);
    EXPECT_TRUE(sees({{150, 150}, {550, 450}}));
}

TEST_F(PointerPressesTest, areReportedWhileAnotherProgramHasGrabbedThePointer)
{
    observe();
    Painter other(desktop.display());
    XReply<xcb_grab_pointer_reply_t> const grab(xcb_grab_pointer_reply(
        other.x(),
        xcb_grab_pointer(other.x(), 0, other.root(), XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC,
                         XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
        nullptr));
    ASSERT_TRUE(grab && grab->status == XCB_GRAB_STATUS_SUCCESS);

    click(300, 200);

    EXPECT_TRUE(sees({{300, 200}}));
}

TEST_F(PointerPressesTest, areOfEveryButtonButNotOfTheWheel)
{
    observe();

    for (int const button : {4, 5, 6, 7})
        click(300, 200, button);
    for (int const button : {1, 2, 3, 8})
        click(400, 200, button);

    EXPECT_TRUE(sees({{400, 200}, {400, 200}, {400, 200}, {400, 200}}));
}

TEST_F(PointerPressesTest, areInPoints)
{
    layout.origin = {100, 50};
    layout.scale = 2;
    observe();

    click(300, 200);

    EXPECT_TRUE(sees({{100, 75}}));
}

TEST_F(PointerPressesTest, areReportedNoMoreAfterTheObservation)
{
    observe();
    end();

    click(300, 200);
    settle();

    EXPECT_TRUE(seen().empty());
}

TEST_F(PointerPressesTest, canBeObservedAgain)
{
    observe();
    end();

    observe();
    click(300, 200);

    EXPECT_TRUE(sees({{300, 200}}));
}

TEST_F(PointerPressesTest, haveNoConnectionWhileNobodyObserves)
{
    XConnection const x = connectTo(desktop.display());
    auto const clients = [&] {
        XReply<xcb_res_query_clients_reply_t> const reply(
            xcb_res_query_clients_reply(x.get(), xcb_res_query_clients(x.get()), nullptr));
        return reply->num_clients;
    };
    auto const before = clients();

    observe();
    EXPECT_TRUE(waitFor([&] { return clients() == before + 1; })) << before << " " << clients();
    end();
    EXPECT_TRUE(waitFor([&] { return clients() == before; })) << before << " " << clients();
}

TEST(PointerPressesWithoutADisplay, areNone)
{
    LiveContexts live;
    X11PointerPresses presses(live.contexts(), nullptr, [] { return DisplayLayout(); });

    EXPECT_TRUE(presses.observe([](DesktopPoint) { FAIL(); }));

    live.stop();
}

} // namespace
} // namespace zelvo::test
