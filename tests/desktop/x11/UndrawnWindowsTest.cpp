// Windows that never drew anything show what the screen showed before, so pictures must not have them.
#include "desktop/x11/CaptureDesktop.h"

#include <gtest/gtest.h>

#include <xcb/shape.h>

namespace zelvo::test {
namespace {

constexpr std::uint32_t planted = 0xff00aa; // The hidden application's colour, which nothing else has.
constexpr std::uint32_t drawn = 0x00aa55;
constexpr PaintedArea secretArea{.x = 100, .y = 100, .width = 400, .height = 300};

/// A hidden application's window, and an application that hangs: it maps windows without a background and
/// draws nothing. With and without a compositing manager.
class UndrawnWindows : public testing::TestWithParam<bool> {
protected:
    void SetUp() override
    {
        if (GetParam() && !stage.hasCompositor)
            GTEST_SKIP() << "picom is not installed";
        Painter(stage.desktop.display()).paintRoot(0x336699);
        hidden = secret.open({.x = secretArea.x,
                              .y = secretArea.y,
                              .width = secretArea.width,
                              .height = secretArea.height,
                              .color = planted,
                              .overrideRedirect = true});
        require("the hidden window", [&] { return countOf(stage.onTheScreen(), planted) > 100'000; });
        EXPECT_EQ(leak(), 0u);
    }
    std::size_t leak() { return countOf(stage.take({"secret"}), planted); }
    /// No picture has the colour, neither at once nor when everything that waits has ended.
    void expectNoLeak(char const* when)
    {
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(leak(), 0u) << when;
        waitFor([] { return false; }, 400ms);
        EXPECT_EQ(leak(), 0u) << when << ", later";
    }
    std::uint32_t openBare(PaintedWindow window)
    {
        window.mapped = false;
        window.overrideRedirect = true;
        auto const id = hung.open(window);
        unpaint(id);
        hung.map(id);
        return id;
    }
    void unpaint(std::uint32_t window)
    {
        std::uint32_t const none = XCB_BACK_PIXMAP_NONE;
        xcb_change_window_attributes(hung.x(), window, XCB_CW_BACK_PIXMAP, &none);
        hung.sync();
    }
    /// A window inside another one, with or without a background.
    std::uint32_t openInside(PaintedWindow window, bool isBare)
    {
        window.mapped = false;
        auto const id = hung.open(window);
        if (isBare)
            unpaint(id);
        xcb_map_window(hung.x(), id);
        hung.sync();
        return id;
    }
    void fill(std::uint32_t window, std::vector<xcb_rectangle_t> const& areas)
    {
        auto const gc = xcb_generate_id(hung.x());
        xcb_create_gc(hung.x(), gc, window, XCB_GC_FOREGROUND, &drawn);
        xcb_poly_fill_rectangle(hung.x(), window, gc, static_cast<std::uint32_t>(areas.size()), areas.data());
        xcb_free_gc(hung.x(), gc);
        hung.sync();
    }

    CaptureDesktop stage{{.sessionBus = false}, GetParam()};
    PainterProcess secret{stage.desktop, stage.desktop.home() / "bin" / "secret"};
    Painter hung{stage.desktop.display()};
    std::uint32_t hidden = 0;
};

TEST_P(UndrawnWindows, areNotShownUntilTheyDraw)
{
    auto const bare = openBare({.x = 200, .y = 150, .width = 100, .height = 100});
    expectNoLeak("over the hidden one");

    hung.paint(bare, drawn);

    EXPECT_EQ(countOf(stage.take({"secret"}), drawn), 10'000u);
}

TEST_P(UndrawnWindows, areNotShownWhereTheHiddenOneWasBefore)
{
    openBare({.x = 200, .y = 150, .width = 100, .height = 100});
    secret.move(hidden, 1200, 600);
    expectNoLeak("after it moved");
    secret.raise(hidden);
    secret.resize(hidden, 300, 200);
    secret.unmap(hidden);
    expectNoLeak("after it was closed");
    openBare({.x = 1250, .y = 650, .width = 50, .height = 50}); // It has only just left.
    expectNoLeak("at its last place");
}

TEST_P(UndrawnWindows, areNotDrawnByWhatMovesThem)
{
    auto const bare = openBare({.x = 200, .y = 150, .width = 100, .height = 100});
    hung.raise(bare);
    expectNoLeak("raised");
    hung.move(bare, 800, 600);
    expectNoLeak("moved");
    hung.lower(bare);
    expectNoLeak("lowered");
    hung.unmap(bare);
    hung.map(bare);
    expectNoLeak("mapped again");
    hung.move(bare, 150, 150);
    hung.resize(bare, 300, 200);
    expectNoLeak("resized over the hidden one");
    hung.move(bare, 900, 100);
    secret.close(hidden);
    expectNoLeak("alone");
}

TEST_P(UndrawnWindows, areNotShownWhereTheyGrow)
{
    auto const bare = openBare({.x = 10, .y = 150, .width = 60, .height = 100});
    hung.paint(bare, drawn);
    unpaint(bare);
    hung.resize(bare, 300, 100);

    expectNoLeak("grown over the hidden one");
}

TEST_P(UndrawnWindows, areNotShownByANewShape)
{
    auto const bare = openBare({.x = 200, .y = 150, .width = 100, .height = 100, .shape = {{0, 0, 10, 10}}});
    expectNoLeak("with a small shape");
    xcb_shape_mask(hung.x(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, bare, 0, 0, XCB_NONE);
    hung.sync();
    expectNoLeak("without a shape");
}

TEST_P(UndrawnWindows, areNotShownByTheirChildren)
{
    auto const bare = openBare({.x = 200, .y = 150, .width = 100, .height = 100});
    auto const child = openInside({.x = 10, .y = 10, .width = 30, .height = 30, .parent = bare}, true);
    expectNoLeak("with a child that draws nothing");

    hung.paint(child, drawn);

    EXPECT_EQ(countOf(stage.take({"secret"}), drawn), 900u);
    expectNoLeak("with a child that draws");
}

TEST_P(UndrawnWindows, areShownAtOnceIfTheyHaveABackground)
{
    hung.open({.x = 200, .y = 150, .width = 100, .height = 100, .color = drawn, .overrideRedirect = true});

    EXPECT_EQ(countOf(stage.take({"secret"}), drawn), 10'000u);
}

TEST_P(UndrawnWindows, passNothingOnToOneAnother)
{
    openBare({.x = 200, .y = 150, .width = 100, .height = 100});
    EXPECT_EQ(leak(), 0u);
    secret.close(hidden);
    waitFor([] { return false; }, 1500ms); // The first one still shows it on the screen.
    openBare({.x = 180, .y = 140, .width = 200, .height = 200});

    expectNoLeak("copied from one that never drew");
}

TEST_P(UndrawnWindows, mayHaveBegunBeforeTheApplicationWasHidden)
{
    openBare({.x = 200, .y = 150, .width = 100, .height = 100});
    PainterProcess other(stage.desktop, stage.desktop.home() / "bin" / "other");
    other.open(
        {.x = 800, .y = 500, .width = 200, .height = 200, .color = 0xff0055, .overrideRedirect = true});
    stage.take({"secret"});
    openBare({.x = 850, .y = 550, .width = 100, .height = 100});

    EXPECT_EQ(countOf(stage.take({"secret", "other"}), 0xff0055), 0u);
    EXPECT_EQ(countOf(stage.take({"secret", "other"}), 0xff0055), 0u);
}

TEST_P(UndrawnWindows, areShownOnlyWhereTheyDrew)
{
    auto const bare = openBare({.x = 200, .y = 150, .width = 100, .height = 100});
    EXPECT_EQ(leak(), 0u);

    fill(bare, {{0, 0, 100, 1}, {0, 99, 100, 1}, {0, 0, 1, 100}, {99, 0, 1, 100}});

    EXPECT_EQ(countOf(stage.take({"secret"}), drawn), 396u);
    expectNoLeak("with a frame that it drew in one request");
}

TEST_P(UndrawnWindows, areNotShownForABackgroundThatCameLater)
{
    auto const bare = openBare({.x = 200, .y = 150, .width = 100, .height = 100});
    xcb_change_window_attributes(hung.x(), bare, XCB_CW_BACK_PIXEL, &drawn);
    hung.sync();

    expectNoLeak("with a background that nobody painted");
}

TEST_P(UndrawnWindows, areNotShownBehindWhatIsInThem)
{
    auto const bare = openBare({.x = 200, .y = 150, .width = 200, .height = 100});
    auto const view = openInside({.x = 10, .y = 10, .width = 60, .height = 60, .parent = bare}, true);
    openInside({.x = -200, .y = -200, .width = 2000, .height = 2000, .color = drawn, .parent = view}, false);
    openInside({.x = 100,
                .y = 10,
                .width = 60,
                .height = 60,
                .color = drawn,
                .shape = {{0, 0, 10, 10}},
                .parent = bare},
               false);
    openInside({.x = 80, .y = 40, .width = 60, .height = 60, .parent = bare}, true);

    expectNoLeak("with windows inside that cover it in part");
}

TEST_P(UndrawnWindows, mayMoveWhatTheyNeverDrew)
{
    auto const wide = openBare({.x = 300, .y = 150, .width = 500, .height = 100});
    auto const child = openInside({.x = 10, .y = 10, .width = 80, .height = 80, .parent = wide}, true);
    hung.move(child, 350, 10);
    auto const gc = xcb_generate_id(hung.x());
    xcb_create_gc(hung.x(), gc, wide, 0, nullptr);
    xcb_copy_area(hung.x(), wide, wide, gc, 100, 0, 250, 0, 100, 100);
    hung.sync();

    expectNoLeak("moved within the window");
}

TEST_P(UndrawnWindows, mayHaveBegunOverWhatCameIntoAnother)
{
    auto const host = hung.open(
        {.x = 700, .y = 500, .width = 300, .height = 300, .color = drawn, .overrideRedirect = true});
    EXPECT_EQ(leak(), 0u); // The host is in a picture.

    secret.embed(hidden, host, 0, 0);
    openBare({.x = 750, .y = 550, .width = 100, .height = 100});
    expectNoLeak("over a host");

    secret.unmap(hidden);
    expectNoLeak("after the hidden one left its host");
}

TEST_P(UndrawnWindows, showNothingOfWhatCameAndWentBetweenTwoPictures)
{
    auto const host = openBare({.x = 700, .y = 500, .width = 300, .height = 300});
    hung.paint(host, drawn);
    unpaint(host);
    EXPECT_EQ(leak(), 0u);

    secret.embed(hidden, host, 0, 0);
    secret.unmap(hidden);

    expectNoLeak("where it was embedded for a moment");
}

TEST_P(UndrawnWindows, mayHaveBegunOverOneThatIsHiddenByItsNewName)
{
    PainterProcess other(stage.desktop);
    auto const renamed = other.open({.x = 700,
                                     .y = 500,
                                     .width = 300,
                                     .height = 300,
                                     .color = 0xff0055,
                                     .overrideRedirect = true,
                                     .instance = "innocent",
                                     .className = "Innocent"});
    EXPECT_GT(countOf(stage.take({"secret", "Guilty"}), 0xff0055), 89'000u);

    hung.setText(renamed, "WM_CLASS", std::string("guilty\0Guilty\0", 14));
    openBare({.x = 750, .y = 550, .width = 100, .height = 100});

    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(countOf(stage.take({"secret", "Guilty"}), 0xff0055), 0u);
}

INSTANTIATE_TEST_SUITE_P(Without, UndrawnWindows, testing::Values(false));
INSTANTIATE_TEST_SUITE_P(WithACompositor, UndrawnWindows, testing::Values(true));

} // namespace
} // namespace zelvo::test
