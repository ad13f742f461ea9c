#include "platform/linux/x11/windows/FocusQuestions.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"

#include <xcb/xcb.h>

namespace zelvo {

std::uint32_t activeWindowOf(X11Connection const& connection)
{
    auto* const x = connection.get();
    auto const cookie =
        xcb_get_property(x, 0, connection.root(), connection.atoms().netActiveWindow, XCB_ATOM_WINDOW, 0, 1);
    XReply<xcb_get_property_reply_t> const reply(xcb_get_property_reply(x, cookie, nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return 0;
    return *static_cast<std::uint32_t const*>(xcb_get_property_value(reply.get()));
}

std::uint32_t focusedWindowOf(X11Connection const& connection)
{
    auto* const x = connection.get();
    XReply<xcb_get_input_focus_reply_t> const reply(
        xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
    // None and PointerRoot are no windows.
    return reply && reply->focus > XCB_INPUT_FOCUS_POINTER_ROOT ? reply->focus : 0;
}

std::uint32_t keyboardWindowOf(X11Connection const& connection)
{
    auto* const x = connection.get();
    XReply<xcb_get_input_focus_reply_t> const focus(
        xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
    if (!focus || focus->focus == XCB_INPUT_FOCUS_NONE)
        return 0;
    if (focus->focus != XCB_INPUT_FOCUS_POINTER_ROOT && focus->focus != connection.root())
        return focus->focus;
    XReply<xcb_query_pointer_reply_t> const pointer(
        xcb_query_pointer_reply(x, xcb_query_pointer(x, connection.root()), nullptr));
    return pointer ? pointer->child : 0;
}

std::uint32_t parentOf(X11Connection const& connection, std::uint32_t window)
{
    auto* const x = connection.get();
    XReply<xcb_query_tree_reply_t> const reply(xcb_query_tree_reply(x, xcb_query_tree(x, window), nullptr));
    return reply ? reply->parent : 0;
}

} // namespace zelvo
