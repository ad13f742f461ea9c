#include "platform/linux/x11/overlays/X11OverlayWindow.h"

#include "platform/linux/x11/overlays/CutPicture.h"

#include <unistd.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace zelvo {

namespace {

/// Every server takes requests of this length.
constexpr std::size_t maxImageBytes = 200'000;
constexpr std::string_view windowClass{"zelvo-agent\0zelvo-agent\0", 24};

void setShape(xcb_connection_t* x,
              xcb_window_t window,
              xcb_shape_sk_t kind,
              std::vector<PixelRect> const& parts)
{
    std::vector<xcb_rectangle_t> rectangles;
    rectangles.reserve(parts.size());
    for (PixelRect const& part : parts)
        rectangles.push_back({static_cast<std::int16_t>(part.x), static_cast<std::int16_t>(part.y),
                              static_cast<std::uint16_t>(part.width),
                              static_cast<std::uint16_t>(part.height)});
    xcb_shape_rectangles(x, XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, window, 0, 0,
                         static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
}

} // namespace

void X11OverlayWindow::show(DesktopPoint place, OverlayPicture picture)
{
    point = place;
    shown = std::move(picture);
    if (!server)
        return;
    if (!window)
        make();
    else
        draw();
    xcb_flush(server->connection->get());
}

void X11OverlayWindow::move(DesktopPoint place)
{
    point = place;
    if (!window)
        return;
    setPlace(wantedArea());
    xcb_flush(server->connection->get());
}

void X11OverlayWindow::remake(std::shared_ptr<OverlayServer const> on)
{
    remove();
    server = std::move(on);
    if (server && shown)
        make();
}

PixelRect X11OverlayWindow::wantedArea() const
{
    PixelPoint const origin = layout.current().toPixels(point);
    return {origin.x - shown->originX, origin.y - shown->originY, shown->width, shown->height};
}

void X11OverlayWindow::make()
{
    auto* const x = server->connection->get();
    area = wantedArea();
    window = xcb_generate_id(x);
    OverlayServer::Visual const& visual = server->visual();
    // A border pixel, because the parent's has another depth.
    std::uint32_t const values[] = {0, 1, visual.colors};
    xcb_create_window(x, visual.depth, window, server->connection->root(), static_cast<std::int16_t>(area.x),
                      static_cast<std::int16_t>(area.y), static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual.id,
                      XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP, values);
    setShape(x, window, XCB_SHAPE_SK_INPUT, {}); // Before it is mapped: no click may ever meet it.
    describe();
    draw();
    xcb_map_window(x, window);
}

/// For other programs that look at windows: whose this one is, and that it casts no shadow.
void X11OverlayWindow::describe()
{
    auto* const x = server->connection->get();
    X11Atoms const& atoms = server->connection->atoms();
    auto const pid = static_cast<std::uint32_t>(::getpid());
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        windowClass.size(), windowClass.data());
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, atoms.netWmPid, XCB_ATOM_CARDINAL, 32, 1, &pid);
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, atoms.netWmWindowType, XCB_ATOM_ATOM, 32, 1,
                        &atoms.typeDragged);
    std::uint32_t const none = 0;
    if (server->shadowSwitch)
        xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, server->shadowSwitch, XCB_ATOM_CARDINAL, 32, 1,
                            &none);
}

void X11OverlayWindow::remove()
{
    if (!window)
        return;
    xcb_destroy_window(server->connection->get(), window);
    xcb_flush(server->connection->get());
    window = 0;
}

void X11OverlayWindow::draw()
{
    auto* const x = server->connection->get();
    if (server->hasAlpha()) {
        fill(shown->pixels);
    } else {
        CutPicture const cut = cutPicture(*shown);
        fill(cut.pixels);
        setShape(x, window, XCB_SHAPE_SK_BOUNDING, cut.shape);
    }
    setPlace(wantedArea());
    xcb_clear_area(x, 0, window, 0, 0, 0, 0);
}

/// Makes the pixels the window's background, so that the server restores them by itself.
void X11OverlayWindow::fill(std::vector<std::uint32_t> const& pixels)
{
    auto* const x = server->connection->get();
    auto const width = static_cast<std::uint16_t>(shown->width);
    std::uint8_t const depth = server->visual().depth;
    xcb_pixmap_t const pixmap = xcb_generate_id(x);
    xcb_create_pixmap(x, depth, pixmap, window, width, static_cast<std::uint16_t>(shown->height));
    xcb_gcontext_t const context = xcb_generate_id(x);
    xcb_create_gc(x, context, pixmap, 0, nullptr);
    int const band = std::max(1, static_cast<int>(maxImageBytes / 4 / width));
    for (int y = 0; y < shown->height; y += band) {
        int const rows = std::min(band, shown->height - y);
        std::size_t const first = static_cast<std::size_t>(y) * width;
        xcb_put_image(x, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, width, static_cast<std::uint16_t>(rows),
                      0, static_cast<std::int16_t>(y), 0, depth, static_cast<std::uint32_t>(rows) * width * 4,
                      reinterpret_cast<std::uint8_t const*>(pixels.data() + first));
    }
    xcb_free_gc(x, context);
    xcb_change_window_attributes(x, window, XCB_CW_BACK_PIXMAP, &pixmap);
    xcb_free_pixmap(x, pixmap); // The window keeps it.
}

void X11OverlayWindow::setPlace(PixelRect const& next)
{
    if (next == area)
        return;
    area = next;
    std::array const values{static_cast<std::uint32_t>(area.x), static_cast<std::uint32_t>(area.y),
                            static_cast<std::uint32_t>(area.width), static_cast<std::uint32_t>(area.height)};
    xcb_configure_window(server->connection->get(), window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         values.data());
}

} // namespace zelvo
