#include "desktop/harness/PainterProcess.h"
#include "desktop/overlays/OverlayFixture.h"

#include <chrono>
#include <set>

namespace zelvo::test {
namespace {

using OverlayStackingTest = OverlayFixture;

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCompositor, OverlayStackingTest, testing::Bool());

TEST_P(OverlayStackingTest, overlaysAreAboveAFullScreenWindow)
{
    approach({400, 300});
    beginWork();
    ASSERT_TRUE(waitForOverlays(5));
    PainterProcess painter(*desktop);
    auto const film = painter.open({.width = 1280,
                                    .height = 1000,
                                    .color = 0xc0ffc0,
                                    .title = "film",
                                    .state = "_NET_WM_STATE_FULLSCREEN"});

    ASSERT_TRUE(until([&] { return desktop->activeWindow() == film; }));
    EXPECT_TRUE(until([&] { return hasPointerAt(400, 300); }));
    EXPECT_TRUE(until([&] { return isBlue(screenAt(1, 500)) && isBlue(screenAt(640, 2)); }));
}

TEST_P(OverlayStackingTest, overlaysComeBackAboveWhatIsRaisedOverThem)
{
    approach({400, 300});
    ASSERT_TRUE(until([&] { return hasPointerAt(400, 300); }));
    PainterProcess painter(*desktop);
    auto const menu = painter.open(
        {.x = 350, .y = 250, .width = 200, .height = 200, .color = 0xc0ffc0, .overrideRedirect = true});
    EXPECT_TRUE(until([&] { return hasPointerAt(400, 300); }, 2s));

    painter.lower(menu);
    painter.raise(menu);

    EXPECT_TRUE(until([&] { return hasPointerAt(400, 300); }, 2s));
}

TEST_P(OverlayStackingTest, theCursorIsInFrontOfTheIndicator)
{
    beginWork();
    ASSERT_TRUE(waitForOverlays(4));
    std::set<std::uint32_t> frame;
    for (Shown const& one : overlays())
        frame.insert(one.id);
    approach({400, 300});
    ASSERT_TRUE(waitForOverlays(5));
    EXPECT_FALSE(frame.contains(overlays().back().id));

    parts->cursor.clicked({400, 300}, 1);
    ASSERT_TRUE(waitForOverlays(6));

    auto const all = overlays();
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_TRUE(frame.contains(all[i].id));
    EXPECT_LT(all[4].area.width, 60); // The ripple, behind the pointer.
}

TEST_P(OverlayStackingTest, overlaysAreRaisedAtMostTenTimesASecond)
{
    PainterProcess painter(*desktop);
    auto const other = painter.open(
        {.x = 350, .y = 250, .width = 200, .height = 200, .color = 0xc0ffc0, .overrideRedirect = true});
    beginWork();
    approach({400, 300});
    ASSERT_TRUE(waitForOverlays(5));
    std::uint32_t const pointer = overlays().back().id;
    XConnection const watch = connectTo(desktop->display());
    auto* const x = watch.get();
    std::uint32_t const mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(x, pointer, XCB_CW_EVENT_MASK, &mask);
    syncWith(x);

    auto const start = std::chrono::steady_clock::now();
    int raised = 0;
    until(
        [&] {
            painter.raise(other);
            ++raised;
            return false;
        },
        1500ms);
    std::chrono::duration<double> const taken = std::chrono::steady_clock::now() - start;
    syncWith(x);
    int answers = 0;
    while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(x)})
        answers += (event->response_type & 0x7f) == XCB_CONFIGURE_NOTIFY;

    EXPECT_GT(raised, 30);
    EXPECT_GE(answers, 3);
    EXPECT_LE(answers, taken.count() * 10 + 2);
    EXPECT_TRUE(until([&] { return overlays().back().id == pointer; }, 1s));
}

TEST_P(OverlayStackingTest, overlaysFollowACompositorThatComesOrGoes)
{
    approach({400, 300});
    beginWork();
    ASSERT_TRUE(waitForOverlays(5));
    auto const haveDepth = [&](int depth) {
        auto const all = overlays();
        return all.size() == 5 && std::ranges::all_of(all, [&](Shown const& one) {
                   return one.depth == depth && one.inputParts == 0;
               });
    };
    ASSERT_TRUE(until([&] { return haveDepth(GetParam() ? 32 : 24); }));

    for (bool runs = !GetParam(); int const round : {1, 2}) {
        beginWork();
        approach({400, 300.0 + round});
        if (runs)
            ASSERT_TRUE(desktop->startCompositor());
        else
            desktop->endCompositor();
        EXPECT_TRUE(until([&] { return haveDepth(runs ? 32 : 24); }));
        EXPECT_TRUE(until([&] { return hasPointerAt(400, 300 + round); }));
        EXPECT_TRUE(until([&] { return isBlue(screenAt(1, 500)); }));
        EXPECT_FALSE(isBlack(screenAt(200, 800)));
        runs = !runs;
    }
}

} // namespace
} // namespace zelvo::test
