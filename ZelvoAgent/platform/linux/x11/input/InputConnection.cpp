#include "platform/linux/x11/input/InputConnection.h"

#include "platform/linux/x11/input/XkbProtocol.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>

namespace zelvo {

std::unique_ptr<InputConnection> InputConnection::open()
{
    int screenNumber = 0;
    xcb_connection_t* const raw = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(raw)) {
        xcb_disconnect(raw);
        return nullptr;
    }
    auto screen = xcb_setup_roots_iterator(xcb_get_setup(raw));
    while (screenNumber-- > 0 && screen.rem > 1)
        xcb_screen_next(&screen);
    std::unique_ptr<InputConnection> connection(new InputConnection(raw, screen.data->root));
    return connection->prepare() ? std::move(connection) : nullptr;
}

InputConnection::InputConnection(xcb_connection_t* connection, std::uint32_t root)
    : connection(connection), rootWindow(root)
{
}

InputConnection::~InputConnection()
{
    xcb_disconnect(connection);
}

bool InputConnection::prepare()
{
    auto const* test = xcb_get_extension_data(connection, &xcb_test_id);
    bool const keyboard =
        xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                    XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr,
                                    &firstKeyboardEvent, nullptr) == 1;
    if (!test || !test->present || !keyboard)
        return false;
    protocolsAtom = atom("WM_PROTOCOLS");
    pingAtom = atom("_NET_WM_PING");
    watchKeymap();
    return isAlive();
}

void InputConnection::watchKeymap()
{
    constexpr auto events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t everyPart = 0xFF;
    xcb_xkb_select_events(connection, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, everyPart, everyPart,
                          nullptr);
    flush();
}

bool InputConnection::isAlive() const
{
    return xcb_connection_has_error(connection) == 0;
}

void InputConnection::flush() const
{
    xcb_flush(connection);
}

bool InputConnection::roundTrip() const
{
    auto const cookie = xcb_get_input_focus(connection);
    return XReply<xcb_get_input_focus_reply_t>(xcb_get_input_focus_reply(connection, cookie, nullptr)) !=
           nullptr;
}

std::uint32_t InputConnection::atom(std::string_view name) const
{
    auto const cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    XReply<xcb_intern_atom_reply_t> const reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : XCB_ATOM_NONE;
}

std::vector<std::uint32_t> InputConnection::property(std::uint32_t window, std::uint32_t name) const
{
    constexpr std::uint32_t maxWords = 65536;
    auto const cookie = xcb_get_property(connection, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, maxWords);
    XReply<xcb_get_property_reply_t> const reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    auto const* values = static_cast<std::uint32_t const*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

void InputConnection::setRootProperty(std::uint32_t name, std::span<std::uint32_t const> values) const
{
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, rootWindow, name, XCB_ATOM_CARDINAL, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
}

void InputConnection::deleteRootProperty(std::uint32_t name) const
{
    xcb_delete_property(connection, rootWindow, name);
}

void InputConnection::pump(std::function<void(std::uint8_t type, void const* event)> const& other)
{
    std::lock_guard const lock(pumping);
    while (XReply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
        int const type = event->response_type & 0x7F;
        if (type == firstKeyboardEvent) {
            keymapChanged = true; // Only changes of the keymap were asked for.
        } else if (type == XCB_CLIENT_MESSAGE) {
            auto const* message = reinterpret_cast<xcb_client_message_event_t const*>(event.get());
            auto const& data = message->data.data32;
            if (message->type == protocolsAtom && message->window == rootWindow && data[0] == pingAtom)
                pongs.push_back({data[1], data[2]});
        } else if (other) {
            other(static_cast<std::uint8_t>(type), event.get());
        }
    }
}

bool InputConnection::takePong(Pong const& expected)
{
    pump();
    std::lock_guard const lock(pumping);
    bool const found = std::ranges::find(pongs, expected) != pongs.end();
    pongs.clear();
    return found;
}

} // namespace zelvo
