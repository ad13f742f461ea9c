#include "platform/linux/x11/overlays/OverlayServer.h"

#include "platform/linux/x11/XReply.h"

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <string_view>

namespace zelvo {

namespace {

constexpr std::uint8_t alphaDepth = 32;

xcb_screen_t const& screenOf(X11Connection const& connection)
{
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    while (screens.data->root != connection.root() && screens.rem > 1)
        xcb_screen_next(&screens);
    return *screens.data;
}

bool isPlain(xcb_visualtype_t const& visual)
{
    return visual._class == XCB_VISUAL_CLASS_TRUE_COLOR && visual.red_mask == 0xff0000 &&
           visual.green_mask == 0x00ff00 && visual.blue_mask == 0x0000ff;
}

std::uint32_t alphaVisual(X11Connection const& connection)
{
    auto depths = xcb_screen_allowed_depths_iterator(&screenOf(connection));
    for (; depths.rem > 0; xcb_depth_next(&depths)) {
        if (depths.data->depth != alphaDepth)
            continue;
        auto visuals = xcb_depth_visuals_iterator(depths.data);
        for (; visuals.rem > 0; xcb_visualtype_next(&visuals))
            if (isPlain(*visuals.data))
                return visuals.data->visual_id;
    }
    return 0;
}

std::uint32_t colormapFor(X11Connection const& connection, std::uint32_t visual)
{
    std::uint32_t const id = xcb_generate_id(connection.get());
    xcb_create_colormap(connection.get(), XCB_COLORMAP_ALLOC_NONE, id, connection.root(), visual);
    return id;
}

} // namespace

std::shared_ptr<OverlayServer> OverlayServer::open()
{
    auto server = std::make_shared<OverlayServer>();
    server->connection = X11Connection::open();
    if (!server->connection || !server->connection->capabilities().shape ||
        !server->connection->hasPlainPixels())
        return nullptr;
    server->findVisuals();
    server->watchCompositor();
    server->internShadowSwitch();
    return server;
}

void OverlayServer::findVisuals()
{
    plain = {.depth = connection->rootDepth(),
             .id = connection->rootVisual(),
             .colors = screenOf(*connection).default_colormap};
    if (std::uint32_t const found = alphaVisual(*connection))
        alpha = {.depth = alphaDepth, .id = found, .colors = colormapFor(*connection, found)};
}

void OverlayServer::watchCompositor()
{
    auto* const x = connection->get();
    xcb_atom_t const selection = connection->atoms().compositor;
    if (connection->capabilities().xfixes) {
        selectionEvent = static_cast<std::uint8_t>(xcb_get_extension_data(x, &xcb_xfixes_id)->first_event +
                                                   XCB_XFIXES_SELECTION_NOTIFY);
        xcb_xfixes_select_selection_input(x, connection->root(), selection,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    }
    XReply<xcb_get_selection_owner_reply_t> const owner(
        xcb_get_selection_owner_reply(x, xcb_get_selection_owner(x, selection), nullptr));
    isComposited = owner && owner->owner != XCB_NONE;
}

void OverlayServer::internShadowSwitch()
{
    constexpr std::string_view name = "_COMPTON_SHADOW";
    auto* const x = connection->get();
    XReply<xcb_intern_atom_reply_t> const reply(
        xcb_intern_atom_reply(x, xcb_intern_atom(x, 0, name.size(), name.data()), nullptr));
    shadowSwitch = reply ? reply->atom : 0;
}

void OverlayServer::setWatching(bool isWatching) const
{
    std::uint32_t const mask = isWatching ? XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection->get(), connection->root(), XCB_CW_EVENT_MASK, &mask);
}

} // namespace zelvo
