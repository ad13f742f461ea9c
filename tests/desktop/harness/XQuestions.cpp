#include "desktop/harness/XQuestions.h"

#include <cstring>
#include <stdexcept>

namespace zelvo::test {

XConnection connectTo(std::string const& display)
{
    XConnection connection(xcb_connect(display.c_str(), nullptr));
    if (xcb_connection_has_error(connection.get()))
        throw std::runtime_error("cannot connect to the display " + display);
    return connection;
}

xcb_screen_t* screenOf(xcb_connection_t* connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

xcb_atom_t atomOf(xcb_connection_t* connection, std::string const& name)
{
    auto const cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    XReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : XCB_ATOM_NONE;
}

std::string propertyOf(xcb_connection_t* connection, xcb_window_t window, std::string const& name)
{
    auto const cookie =
        xcb_get_property(connection, 0, window, atomOf(connection, name), XCB_ATOM_ANY, 0, 65536);
    XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply)
        return {};
    return {static_cast<char const*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

bool hasProperty(xcb_connection_t* connection, xcb_window_t window, std::string const& name)
{
    auto const cookie = xcb_get_property(connection, 0, window, atomOf(connection, name), XCB_ATOM_ANY, 0, 0);
    XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    return reply && reply->type != XCB_ATOM_NONE;
}

std::uint32_t numberOf(xcb_connection_t* connection, xcb_window_t window, std::string const& name)
{
    std::string const bytes = propertyOf(connection, window, name);
    std::uint32_t number = 0;
    if (bytes.size() >= sizeof number)
        std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

std::vector<xcb_window_t> childrenOf(xcb_connection_t* connection, xcb_window_t window)
{
    XReply<xcb_query_tree_reply_t> reply(
        xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
    if (!reply)
        return {};
    xcb_window_t const* first = xcb_query_tree_children(reply.get());
    return {first, first + xcb_query_tree_children_length(reply.get())};
}

bool isViewable(xcb_connection_t* connection, xcb_window_t window)
{
    auto const cookie = xcb_get_window_attributes(connection, window);
    XReply<xcb_get_window_attributes_reply_t> reply(
        xcb_get_window_attributes_reply(connection, cookie, nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

void syncWith(xcb_connection_t* connection)
{
    XReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

} // namespace zelvo::test
