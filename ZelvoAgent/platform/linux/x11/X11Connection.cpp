#include "platform/linux/x11/X11Connection.h"

#include "platform/linux/x11/XReply.h"

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/res.h>
#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstring>
#include <optional>
#include <tuple>

namespace zelvo {

namespace {

bool atLeast(auto const& reply, unsigned major, unsigned minor)
{
    return reply && std::tuple<unsigned, unsigned>(reply->major_version, reply->minor_version) >=
                        std::tuple<unsigned, unsigned>(major, minor);
}

bool hasExtension(xcb_connection_t* x, xcb_query_extension_cookie_t cookie)
{
    XReply<xcb_query_extension_reply_t> reply(xcb_query_extension_reply(x, cookie, nullptr));
    return reply && reply->present;
}

xcb_query_extension_cookie_t askFor(xcb_connection_t* x, char const* name)
{
    return xcb_query_extension(x, static_cast<std::uint16_t>(std::strlen(name)), name);
}

bool isBgr(xcb_visualtype_t const& visual)
{
    return visual._class == XCB_VISUAL_CLASS_TRUE_COLOR && visual.red_mask == 0xff0000 &&
           visual.green_mask == 0x00ff00 && visual.blue_mask == 0x0000ff;
}

/// The first event number of an extension; `nullopt` if it is absent. Querying the version of an absent
/// extension would close the connection.
std::optional<std::uint8_t> present(xcb_connection_t* x, xcb_extension_t* extension)
{
    auto const* data = xcb_get_extension_data(x, extension);
    if (!data || !data->present)
        return std::nullopt;
    return data->first_event;
}

} // namespace

std::unique_ptr<X11Connection> X11Connection::open(std::string const& display)
{
    int number = 0;
    xcb_connection_t* const raw = xcb_connect(display.empty() ? nullptr : display.c_str(), &number);
    if (xcb_connection_has_error(raw)) {
        xcb_disconnect(raw);
        return nullptr;
    }
    return std::unique_ptr<X11Connection>(new X11Connection(raw, number));
}

X11Connection::X11Connection(xcb_connection_t* connection, int number)
    : connection(connection), number(number)
{
    readScreen();
    for (auto* extension : {&xcb_shm_id, &xcb_composite_id, &xcb_xfixes_id, &xcb_damage_id, &xcb_shape_id,
                            &xcb_res_id, &xcb_randr_id})
        xcb_prefetch_extension_data(connection, extension);
    names = X11Atoms::intern(connection, number);
    askExtensions();
}

X11Connection::~X11Connection()
{
    xcb_disconnect(connection);
}

void X11Connection::readScreen()
{
    auto const* setup = xcb_get_setup(connection);
    resourceMask = setup->resource_id_mask;
    auto screens = xcb_setup_roots_iterator(setup);
    for (int i = 0; i < number && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    rootWindow = screens.data->root;
    visual = screens.data->root_visual;
    depth = screens.data->root_depth;
    readPixelFormat(*setup, *screens.data);
}

void X11Connection::readPixelFormat(xcb_setup_t const& setup, xcb_screen_t const& screen)
{
    bool inFourBytes = false;
    for (auto formats = xcb_setup_pixmap_formats_iterator(&setup); formats.rem > 0; xcb_format_next(&formats))
        inFourBytes |= formats.data->depth == depth && formats.data->bits_per_pixel == 32;
    if ((depth != 24 && depth != 32) || !inFourBytes || setup.image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
        return;
    for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0; xcb_depth_next(&depths))
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0;
             xcb_visualtype_next(&visuals))
            if (visuals.data->visual_id == visual)
                plainPixels = isBgr(*visuals.data);
}

void X11Connection::askExtensions()
{
    auto* const x = connection;
    auto const xtest = askFor(x, "XTEST");
    auto const xwayland = askFor(x, "XWAYLAND");
    auto const randr = present(x, &xcb_randr_id);
    auto const shape = present(x, &xcb_shape_id);
    can.randrFirstEvent = randr.value_or(0);
    can.shapeFirstEvent = shape.value_or(0);
    can.shm = present(x, &xcb_shm_id).has_value();
    if (present(x, &xcb_composite_id)) {
        XReply<xcb_composite_query_version_reply_t> reply(
            xcb_composite_query_version_reply(x, xcb_composite_query_version(x, 0, 4), nullptr));
        can.composite = atLeast(reply, 0, 2);
    }
    if (present(x, &xcb_xfixes_id)) {
        XReply<xcb_xfixes_query_version_reply_t> reply(
            xcb_xfixes_query_version_reply(x, xcb_xfixes_query_version(x, 5, 0), nullptr));
        can.xfixes = atLeast(reply, 2, 0);
    }
    if (auto const damage = present(x, &xcb_damage_id)) {
        can.damageFirstEvent = *damage;
        XReply<xcb_damage_query_version_reply_t> reply(
            xcb_damage_query_version_reply(x, xcb_damage_query_version(x, 1, 1), nullptr));
        can.damage = atLeast(reply, 1, 1);
    }
    if (shape) {
        XReply<xcb_shape_query_version_reply_t> reply(
            xcb_shape_query_version_reply(x, xcb_shape_query_version(x), nullptr));
        can.shape = atLeast(reply, 1, 1);
    }
    if (present(x, &xcb_res_id)) {
        XReply<xcb_res_query_version_reply_t> reply(
            xcb_res_query_version_reply(x, xcb_res_query_version(x, 1, 2), nullptr));
        can.res = reply && std::tuple(reply->server_major, reply->server_minor) >= std::tuple(1, 2);
    }
    if (randr) {
        XReply<xcb_randr_query_version_reply_t> reply(
            xcb_randr_query_version_reply(x, xcb_randr_query_version(x, 1, 5), nullptr));
        can.randr = atLeast(reply, 1, 5);
    }
    can.xtest = hasExtension(x, xtest);
    can.xwayland = hasExtension(x, xwayland);
}

bool X11Connection::isAlive() const
{
    return xcb_connection_has_error(connection) == 0;
}

void X11Connection::sync() const
{
    XReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

void X11Connection::drain() const
{
    while (XReply<xcb_generic_event_t>(xcb_poll_for_event(connection))) {
    }
}

} // namespace zelvo
