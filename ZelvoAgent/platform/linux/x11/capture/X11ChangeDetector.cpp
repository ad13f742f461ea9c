#include "platform/linux/x11/capture/X11ChangeDetector.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"

#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <utility>

namespace zelvo {

namespace {

template <class Event>
Event const& as(void const* event)
{
    return *static_cast<Event const*>(event);
}

} // namespace

std::unique_ptr<ChangeDetector> X11ChangeDetector::open(std::uint32_t ignored, std::string const& display)
{
    auto server = X11Connection::open(display);
    if (!server || !server->capabilities().damage)
        return nullptr;
    std::unique_ptr<X11ChangeDetector> changes(new X11ChangeDetector(std::move(server), ignored));
    if (!changes->isAlive())
        return nullptr;
    return changes;
}

X11ChangeDetector::X11ChangeDetector(std::unique_ptr<X11Connection> server, std::uint32_t ignored)
    : connection(std::move(server)), ignored(ignored)
{
    auto* const x = connection->get();
    std::uint32_t const root = connection->root();
    std::uint32_t const mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(x, root, XCB_CW_EVENT_MASK, &mask);
    if (connection->capabilities().xfixes) {
        xcb_xfixes_select_cursor_input(x, root, XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
        cursorEvent = static_cast<std::uint8_t>(xcb_get_extension_data(x, &xcb_xfixes_id)->first_event +
                                                XCB_XFIXES_CURSOR_NOTIFY);
    }
    follow(root);
    XReply<xcb_query_tree_reply_t> const tree(xcb_query_tree_reply(x, xcb_query_tree(x, root), nullptr));
    if (tree)
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i)
            follow(xcb_query_tree_children(tree.get())[i]);
    take();
}

X11ChangeDetector::~X11ChangeDetector() = default;

bool X11ChangeDetector::isAlive() const
{
    return connection->isAlive();
}

/// Asks for one event for all drawing in a window until the next take().
void X11ChangeDetector::follow(std::uint32_t window)
{
    auto* const x = connection->get();
    if (window != ignored)
        xcb_damage_create(x, xcb_generate_id(x), window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
}

bool X11ChangeDetector::take()
{
    bool changed = false;
    while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(connection->get())})
        changed = noteEvent(event.get()) || changed;
    // The reply also confirms that the server has restarted its reports.
    Pointer const now = askPointer();
    return std::exchange(pointer, now) != now || changed;
}

bool X11ChangeDetector::noteEvent(void const* event)
{
    auto const type = as<xcb_generic_event_t>(event).response_type & 0x7f;
    if (type == 0) // An error: the window was destroyed before it could be followed.
        return false;
    if (type == connection->capabilities().damageFirstEvent) {
        xcb_damage_subtract(connection->get(), as<xcb_damage_notify_event_t>(event).damage, XCB_NONE,
                            XCB_NONE);
        return true;
    }
    if (cursorEvent && type == cursorEvent)
        return true;
    // All of these have the window in the same field.
    std::uint32_t const about = as<xcb_destroy_notify_event_t>(event).window;
    switch (type) {
    case XCB_CREATE_NOTIFY:
        follow(about);
        return false; // Not on the screen yet.
    case XCB_REPARENT_NOTIFY:
        if (as<xcb_reparent_notify_event_t>(event).parent == connection->root())
            follow(about);
        return true;
    case XCB_DESTROY_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_MAP_NOTIFY:
    case XCB_CONFIGURE_NOTIFY:
    case XCB_CIRCULATE_NOTIFY:
        return about != ignored;
    default:
        return false;
    }
}

X11ChangeDetector::Pointer X11ChangeDetector::askPointer()
{
    auto* const x = connection->get();
    XReply<xcb_query_pointer_reply_t> const reply(
        xcb_query_pointer_reply(x, xcb_query_pointer(x, connection->root()), nullptr));
    if (!reply)
        return {};
    return {.x = reply->root_x, .y = reply->root_y, .isHere = reply->same_screen != 0};
}

} // namespace zelvo
