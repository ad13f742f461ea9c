#include "desktop/overlays/OverlayFixture.h"

#include "app/overlays/WorkingIndicatorView.h"

#include <QScreen>

#include <unistd.h>
#include <xcb/shape.h>

#include <algorithm>

namespace zelvo::test {

namespace {

std::size_t partsOf(xcb_connection_t* x, xcb_window_t window, xcb_shape_sk_t kind)
{
    XReply<xcb_shape_get_rectangles_reply_t> const reply(
        xcb_shape_get_rectangles_reply(x, xcb_shape_get_rectangles(x, window, kind), nullptr));
    return reply ? std::size_t(xcb_shape_get_rectangles_rectangles_length(reply.get())) : 0;
}

} // namespace

void OverlayFixture::SetUp()
{
    bringUpOverlays(96);
}

void OverlayFixture::bringUpOverlays(int dpi)
{
    bringUp(dpi);
    backdrop.emplace(*desktop);
    backdrop->open({.width = 1280, .height = 1000, .color = 0xa0b4c4, .overrideRedirect = true});
    if (GetParam())
        ASSERT_TRUE(desktop->startCompositor());
    ASSERT_TRUE(until([this] { return screenAt(640, 700).red == 0xa0; }));
    indicator.emplace(parts->state, [this] {
        return WorkingIndicatorView::open(parts->state, parts->recording.state(), platform->overlays());
    });
    indicator->start();
}

void OverlayFixture::TearDown()
{
    indicator.reset();
    backdrop.reset();
    PanelFixture::TearDown();
}

QImage OverlayFixture::desktopPixels() const
{
    return QApplication::primaryScreen()->grabWindow(0).toImage();
}

QImage OverlayFixture::screenNow(std::string const& name) const
{
    QImage image = desktopPixels();
    image.save(QString::fromStdString(std::string(ZELVO_PICTURES) + "/panel-" + name + ".png"));
    return image;
}

void OverlayFixture::approach(DesktopPoint point)
{
    perform([this, point]() -> Task<> { co_await parts->cursor.approach(point); });
}

std::vector<std::uint32_t> OverlayFixture::childrenOfRoot() const
{
    XConnection const x = connectTo(desktop->display());
    return childrenOf(x.get(), screenOf(x.get())->root);
}

std::vector<OverlayFixture::Shown> OverlayFixture::overlays() const
{
    XConnection const connection = connectTo(desktop->display());
    auto* const x = connection.get();
    std::vector<Shown> found;
    for (xcb_window_t const window : childrenOf(x, screenOf(x)->root)) {
        if (numberOf(x, window, "_NET_WM_PID") != std::uint32_t(::getpid()) || !isViewable(x, window))
            continue;
        XReply<xcb_get_window_attributes_reply_t> const made(
            xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, window), nullptr));
        XReply<xcb_get_geometry_reply_t> const area(
            xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr));
        if (made && area && made->override_redirect)
            found.push_back({.id = window,
                             .depth = area->depth,
                             .area = {area->x, area->y, area->width, area->height},
                             .inputParts = partsOf(x, window, XCB_SHAPE_SK_INPUT),
                             .shapeParts = partsOf(x, window, XCB_SHAPE_SK_BOUNDING)});
    }
    return found;
}

bool OverlayFixture::waitForOverlays(std::size_t count)
{
    return until([&] { return overlays().size() == count; });
}

OverlayFixture::Color OverlayFixture::screenAt(int x, int y) const
{
    XConnection const connection = connectTo(desktop->display());
    auto* const raw = connection.get();
    XReply<xcb_get_image_reply_t> const image(
        xcb_get_image_reply(raw,
                            xcb_get_image(raw, XCB_IMAGE_FORMAT_Z_PIXMAP, screenOf(raw)->root,
                                          std::int16_t(x), std::int16_t(y), 1, 1, ~0u),
                            nullptr));
    std::uint8_t const* const pixel = xcb_get_image_data(image.get());
    return {.red = pixel[2], .green = pixel[1], .blue = pixel[0]};
}

std::pair<int, int> OverlayFixture::pointerPlace() const
{
    XConnection const x = connectTo(desktop->display());
    XReply<xcb_query_pointer_reply_t> const pointer(
        xcb_query_pointer_reply(x.get(), xcb_query_pointer(x.get(), screenOf(x.get())->root), nullptr));
    return {pointer->root_x, pointer->root_y};
}

std::vector<std::uint8_t> OverlayFixture::screenshot()
{
    std::vector<std::uint8_t> data;
    perform([this, &data]() -> Task<> {
        ScreenshotOptions options;
        options.format = ScreenshotOptions::ImageFormat::png;
        CapturedImage image = co_await parts->screen.capture(options);
        data = std::move(image.data);
    });
    return data;
}

} // namespace zelvo::test
