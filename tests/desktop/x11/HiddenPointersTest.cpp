#include "desktop/x11/HiddenWindowsFixture.h"

#include <xcb/xtest.h>

namespace zelvo::test {
namespace {

/// Sets the picture of the pointer in a window: a square of the planted colour.
void setPointer(Painter& painter, std::uint32_t window)
{
    auto* const x = painter.x();
    xcb_pixmap_t const square = xcb_generate_id(x);
    xcb_create_pixmap(x, 1, square, painter.root(), 16, 16);
    xcb_gcontext_t const pen = xcb_generate_id(x);
    std::uint32_t const set = 1;
    xcb_create_gc(x, pen, square, XCB_GC_FOREGROUND, &set);
    xcb_rectangle_t const all{0, 0, 16, 16};
    xcb_poly_fill_rectangle(x, square, pen, 1, &all);
    xcb_cursor_t const cursor = xcb_generate_id(x);
    xcb_create_cursor(x, cursor, square, square, 0xffff, 0, 0xaaaa, 0xffff, 0, 0xaaaa, 0, 0);
    xcb_change_window_attributes(x, window, XCB_CW_CURSOR, &cursor);
    painter.sync();
}

class PointersOfTheHidden : public HiddenWindowsAmongOthers {
protected:
    std::size_t leakAt(int x, int y)
    {
        other.movePointer(x, y);
        return leak();
    }

    PainterProcess secret{stage.desktop, program("secret")};
    PainterProcess host{stage.desktop, program("host")};
    Painter other{stage.desktop.display()};
};

TEST_F(PointersOfTheHidden, areInNoPicture)
{
    auto const plain = host.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .color = behind, .overrideRedirect = true});
    auto const keys = secret.open({.x = 500, .y = 100, .color = planted, .overrideRedirect = true});
    auto const framed = secret.open({.x = 500, .y = 400, .color = planted});
    setPointer(other, plain);
    setPointer(other, keys);
    setPointer(other, framed);

    EXPECT_EQ(leakAt(510, 110), 0u);
    EXPECT_EQ(leakAt(510, 410), 0u);
    EXPECT_EQ(leakAt(510, 390), 0u);   // Its frame.
    EXPECT_EQ(leakAt(150, 150), 256u); // Another application's is shown.
}

TEST_F(PointersOfTheHidden, areInNoPictureOfTheScreenItself)
{
    auto const seeThrough = secret.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .inputOnly = true, .overrideRedirect = true});
    setPointer(other, seeThrough);

    EXPECT_EQ(leakAt(150, 150), 0u);
}

TEST_F(PointersOfTheHidden, areInNoPictureWhileTheyDrag)
{
    auto const keys = secret.open({.x = 500, .y = 100, .color = planted, .overrideRedirect = true});
    setPointer(other, keys);
    other.paintRoot(0x808080);
    std::uint32_t const presses = XCB_EVENT_MASK_BUTTON_PRESS;
    xcb_change_window_attributes(other.x(), keys, XCB_CW_EVENT_MASK, &presses);
    other.movePointer(510, 110);
    xcb_test_fake_input(other.x(), XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    other.sync();
    EXPECT_EQ(leakAt(1000, 800), 0u); // The server shows the same image until the button is released.

    xcb_test_fake_input(other.x(), XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    other.sync();
    EXPECT_NE(colorAt(stage.take({"secret"}), 1000, 800), 0x808080u); // The desktop's own image.
}

TEST_F(PointersOfTheHidden, areInNoPictureOfTheirHost)
{
    auto const panel = host.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .color = behind, .overrideRedirect = true});
    auto const icon = secret.open({.color = planted, .overrideRedirect = true, .mapped = false});
    secret.embed(icon, panel, 20, 30);
    setPointer(other, panel);
    setPointer(other, icon);

    EXPECT_EQ(leakAt(150, 150), 0u);
    EXPECT_EQ(leakAt(300, 300), 256u);
}

} // namespace
} // namespace zelvo::test
