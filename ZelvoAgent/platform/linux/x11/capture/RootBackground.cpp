#include "platform/linux/x11/capture/RootBackground.h"

#include "platform/linux/x11/X11Connection.h"

#include <xcb/composite.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>

namespace zelvo {

RootBackground::RootBackground(std::shared_ptr<X11Connection> server) : connection(std::move(server))
{
    auto* const x = connection->get();
    id = xcb_generate_id(x);
    std::uint32_t const values[] = {0, 1}; // Black, and unmanaged by the window manager.
    xcb_create_window(x, connection->rootDepth(), id, connection->root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, connection->rootVisual(),
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    // The pointer never enters it.
    if (connection->capabilities().shape)
        xcb_shape_rectangles(x, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, id, 0, 0, 0,
                             nullptr);
}

RootBackground::~RootBackground()
{
    xcb_destroy_window(connection->get(), id);
    xcb_flush(connection->get());
}

std::uint32_t RootBackground::show(PixelRect const& area)
{
    auto* const x = connection->get();
    std::uint32_t const place[] = {static_cast<std::uint32_t>(area.x), static_cast<std::uint32_t>(area.y),
                                   static_cast<std::uint32_t>(area.width),
                                   static_cast<std::uint32_t>(area.height), XCB_STACK_MODE_BELOW};
    xcb_configure_window(x, id,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT | XCB_CONFIG_WINDOW_STACK_MODE,
                         place);
    // Fails if a compositing manager has redirected it already, which is just as good. Only while the server
    // is grabbed: a compositing manager that starts fails if any window is redirected like this.
    xcb_composite_redirect_window(x, id, XCB_COMPOSITE_REDIRECT_MANUAL);
    // Map it black first: if the root has no background, the new window would keep the screen's pixels.
    std::uint32_t const black = 0;
    xcb_change_window_attributes(x, id, XCB_CW_BACK_PIXEL, &black);
    xcb_map_window(x, id);
    xcb_clear_area(x, 0, id, 0, 0, 0, 0);
    std::uint32_t const parents = XCB_BACK_PIXMAP_PARENT_RELATIVE;
    xcb_change_window_attributes(x, id, XCB_CW_BACK_PIXMAP, &parents);
    xcb_clear_area(x, 0, id, 0, 0, 0, 0);
    std::uint32_t const pixmap = xcb_generate_id(x);
    xcb_composite_name_window_pixmap(x, id, pixmap);
    return pixmap;
}

void RootBackground::hide(std::uint32_t pixmap)
{
    auto* const x = connection->get();
    xcb_free_pixmap(x, pixmap);
    xcb_unmap_window(x, id);
    xcb_composite_unredirect_window(x, id, XCB_COMPOSITE_REDIRECT_MANUAL);
}

} // namespace zelvo
