// Reports of changes of the front window, and whether a hidden application would get the keys.
#include "desktop/x11/GuardsFixture.h"

namespace zelvo::test {
namespace {

/// Counts reported changes of the front.
class ReportedChanges {
public:
    ReportedChanges(Contexts const& contexts, std::shared_ptr<X11Connection> const& server)
        : agent(contexts.agent), changes(contexts, server)
    {
        changes.observe([this] { ++count; });
    }
    ~ReportedChanges()
    {
        changes.observe({});
        asio::post(agent, asio::use_future).get(); // A report may be under way.
    }
    bool growBeyond(int before) const
    {
        return waitFor([&] { return count > before; }, 5s);
    }

    std::atomic<int> count = 0;
    Executor agent;
    X11FrontChanges changes;
};

TEST_F(GuardsOnADesktop, hearOfEveryWindowThatComesToTheFront)
{
    PainterProcess first(desktop, program("first"));
    std::uint32_t const one = first.open({.x = 100, .y = 100, .className = "First"});
    ReportedChanges const reported(live.contexts(), X11Connection::open());
    PainterProcess second(desktop, program("second"));
    std::uint32_t const two = second.open({.x = 300, .y = 100, .className = "Second"});
    EXPECT_TRUE(reported.growBeyond(0));
    for (std::uint32_t const window : {one, two, one}) {
        int const before = reported.count;
        bringToFront(window);
        EXPECT_TRUE(reported.growBeyond(before));
    }
}

TEST_F(GuardsOnADesktop, hearOfAWindowThatTakesTheFocusWithoutTheWindowManager)
{
    PainterProcess plain(desktop, program("plain"));
    bringToFront(plain.open({.x = 100, .y = 100, .className = "Plain"}));
    ReportedChanges const reported(live.contexts(), X11Connection::open());
    Painter menu(desktop.display());
    std::uint32_t const window = menu.open({.x = 300, .y = 300, .overrideRedirect = true});
    int const before = reported.count;

    xcb_set_input_focus(menu.x(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    menu.sync();

    EXPECT_TRUE(reported.growBeyond(before));
}

TEST_F(GuardsOnADesktop, watchWhetherAHiddenApplicationIsInFront)
{
    std::atomic<int> barrings = 0;
    X11FrontChanges changes(live.contexts(), X11Connection::open());
    FrontWatch front(live.contexts(), changes, *workspace, store, ::getpid());
    front.start([&] { ++barrings; });
    PainterProcess plain(desktop, program("plain"));
    std::uint32_t const harmless = plain.open({.x = 300, .y = 100, .className = "Plain"});
    PainterProcess secret(desktop, program("secret"));
    std::uint32_t const hidden = secret.open({.x = 100, .y = 100, .className = "Keys"});

    bringToFront(hidden);
    EXPECT_TRUE(waitFor([&] { return barrings > 0; }, 5s)); // Without being asked.
    EXPECT_TRUE(live.run(front.isBarred()));
    bringToFront(harmless);
    EXPECT_FALSE(live.run(front.isBarred()));
    bringToFront(hidden);
    EXPECT_TRUE(waitFor([&] { return live.run(front.isBarred()); }, 5s));

    // Everything under way ends before what it uses.
    changes.observe({});
    EXPECT_TRUE(live.run(front.isBarred())); // Waits for all earlier looks.
    live.stop();
}

/// The watch with what tells it, like those of the program.
class WatchOnADesktop : public GuardsOnADesktop {
protected:
    using GuardsOnADesktop::GuardsOnADesktop;

    void SetUp() override
    {
        GuardsOnADesktop::SetUp();
        changes.emplace(live.contexts(), X11Connection::open());
        watched.emplace(X11Connection::open(), *entries, nullptr, changes->keyboardGrab());
        front.emplace(live.contexts(), *changes, *watched, store, ::getpid());
        front->start([this] { ++barrings; });
    }
    void TearDown() override
    {
        changes->observe({});
        live.run(front->isBarred()); // Waits for all earlier looks.
        GuardsOnADesktop::TearDown();
    }
    /// Asked as before each key.
    bool becomes(bool barred)
    {
        return waitFor([&] { return live.run(front->isBarred()) == barred; }, 5s);
    }
    void grab(Painter& by, std::uint32_t window)
    {
        require("a grab of the keyboard", [&] {
            auto const cookie = xcb_grab_keyboard(by.x(), 0, window, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                                                  XCB_GRAB_MODE_ASYNC);
            XReply<xcb_grab_keyboard_reply_t> const reply(xcb_grab_keyboard_reply(by.x(), cookie, nullptr));
            return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
        });
    }
    void release(Painter& by)
    {
        xcb_ungrab_keyboard(by.x(), XCB_CURRENT_TIME);
        by.sync();
    }

    std::optional<X11FrontChanges> changes;
    std::optional<X11Workspace> watched;
    std::optional<FrontWatch> front;
    std::atomic<int> barrings = 0;
};

TEST_F(WatchOnADesktop, barsKeysWhileAHiddenApplicationHasGrabbedTheKeyboard)
{
    PainterProcess secret(desktop, program("secret"));
    std::uint32_t const hidden = secret.open({.x = 100, .y = 100, .className = "Keys"});
    PainterProcess plain(desktop, program("plain"));
    bringToFront(plain.open({.x = 300, .y = 100, .className = "Plain"}));
    ASSERT_TRUE(becomes(false));
    HiddenAppGuard checks(live.contexts().workers, store, *watched, *windows);
    auto const isRefused = [&] {
        return errorOf([&] { live.run(checks.assertFrontmostAllowed()); }) == AgentError::hiddenAppActive;
    };
    EXPECT_FALSE(isRefused());
    int const before = barrings;
    Painter grabber(desktop.display());

    grab(grabber, hidden);
    EXPECT_TRUE(waitFor([&] { return barrings > before; }, 5s)); // Without being asked.
    EXPECT_TRUE(live.run(front->isBarred()));
    EXPECT_TRUE(isRefused());

    release(grabber);
    EXPECT_TRUE(becomes(false));
    EXPECT_FALSE(isRefused());
}

TEST_F(WatchOnADesktop, barsKeysUntilAGrabGoesToAnotherWindowOrItsWindowGoes)
{
    PainterProcess secret(desktop, program("secret"));
    std::uint32_t const hidden = secret.open({.x = 100, .y = 100, .overrideRedirect = true});
    PainterProcess plain(desktop, program("plain"));
    bringToFront(plain.open({.x = 300, .y = 100, .className = "Plain"}));
    std::uint32_t const menu = plain.open({.x = 600, .y = 100, .overrideRedirect = true});
    Painter grabber(desktop.display());

    grab(grabber, menu);
    EXPECT_TRUE(becomes(false));
    grab(grabber, hidden);
    EXPECT_TRUE(becomes(true));
    grab(grabber, menu);
    EXPECT_TRUE(becomes(false));
    grab(grabber, hidden);
    EXPECT_TRUE(becomes(true));
    secret.unmap(hidden);
    EXPECT_TRUE(becomes(false));
}

TEST_F(WatchOnADesktop, barsKeysWhileAWindowOfOursHasGrabbedTheKeyboard)
{
    Painter own(desktop.display());
    std::uint32_t const ours = own.open({.x = 600, .y = 100, .overrideRedirect = true});
    PainterProcess plain(desktop, program("plain"));
    bringToFront(plain.open({.x = 300, .y = 100, .className = "Plain"}));
    ASSERT_TRUE(becomes(false));

    grab(own, ours);

    EXPECT_TRUE(becomes(true));
}

/// A desktop where keys go to what the pointer is over.
class WatchWithoutFocus : public WatchOnADesktop {
protected:
    WatchWithoutFocus() : WatchOnADesktop(DesktopOptions{.windowManager = false, .sessionBus = false}) {}
};

TEST_F(WatchWithoutFocus, barsKeysOnceThePointerIsOverAHiddenApplication)
{
    PainterProcess secret(desktop, program("secret"));
    secret.open({.x = 100, .y = 100, .className = "Keys"});
    PainterProcess plain(desktop, program("plain"));
    plain.open({.x = 500, .y = 100, .className = "Plain"});
    Painter person(desktop.display());
    for (std::uint32_t const focus : {std::uint32_t{XCB_INPUT_FOCUS_POINTER_ROOT}, person.root()}) {
        person.movePointer(550, 150);
        xcb_set_input_focus(person.x(), XCB_INPUT_FOCUS_POINTER_ROOT, focus, XCB_CURRENT_TIME);
        person.sync();
        ASSERT_TRUE(becomes(false));

        person.movePointer(150, 150);
        EXPECT_TRUE(becomes(true));
        person.movePointer(550, 150);
        EXPECT_TRUE(becomes(false));
    }
}

TEST_F(WatchWithoutFocus, barsKeysOnceAHiddenApplicationOpensUnderThePointer)
{
    PainterProcess plain(desktop, program("plain"));
    plain.open({.x = 100, .y = 100, .className = "Plain"});
    Painter person(desktop.display());
    person.movePointer(150, 150);
    xcb_set_input_focus(person.x(), XCB_INPUT_FOCUS_POINTER_ROOT, XCB_INPUT_FOCUS_POINTER_ROOT,
                        XCB_CURRENT_TIME);
    person.sync();
    ASSERT_TRUE(becomes(false));

    PainterProcess secret(desktop, program("secret"));
    secret.open({.x = 100, .y = 100, .className = "Keys"});

    EXPECT_TRUE(becomes(true));
}

} // namespace
} // namespace zelvo::test
