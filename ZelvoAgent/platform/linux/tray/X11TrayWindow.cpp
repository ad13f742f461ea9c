#include "platform/linux/tray/X11TrayWindow.h"

#include "platform/linux/x11/PropertyValues.h"
#include "platform/linux/x11/XReply.h"

#include <boost/asio/post.hpp>

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace zelvo {

namespace {

xcb_atom_t atom(xcb_connection_t* x, std::string_view name)
{
    XReply<xcb_intern_atom_reply_t> const reply(xcb_intern_atom_reply(
        x, xcb_intern_atom(x, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : 0;
}

/// The property has four colours of three channels, 16 bits each; the first is for plain symbols.
std::optional<Rgb> firstColor(std::span<std::uint32_t const> channels)
{
    if (channels.size() < 3)
        return std::nullopt;
    auto const byte = [](std::uint32_t channel) { return static_cast<std::uint8_t>(channel >> 8); };
    return Rgb{.red = byte(channels[0]), .green = byte(channels[1]), .blue = byte(channels[2])};
}

} // namespace

class X11TrayWindow::Watch : public std::enable_shared_from_this<Watch> {
public:
    Watch(Contexts contexts, std::shared_ptr<X11Connection> opened, std::function<void(TrayState)> onChange)
        : contexts(std::move(contexts)), connection(std::move(opened)), onChange(std::move(onChange)),
          x(connection->get()),
          selection(atom(x, "_NET_SYSTEM_TRAY_S" + std::to_string(connection->screenNumber()))),
          colors(atom(x, "_NET_SYSTEM_TRAY_COLORS"))
    {
        if (!connection->capabilities().xfixes)
            return;
        changeEvent = xcb_get_extension_data(x, &xcb_xfixes_id)->first_event + XCB_XFIXES_SELECTION_NOTIFY;
        xcb_xfixes_select_selection_input(x, connection->root(), selection,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    }

    /// Blocks for the server. Reading and reporting are one step, so that reports stay in order.
    void refresh()
    {
        std::scoped_lock const guard(reading);
        TrayState const next = read();
        if (std::exchange(state, next) != next)
            onChange(next);
    }

    /// Takes the events that have arrived, on the agent's thread.
    void takeEvents()
    {
        bool isChange = false;
        while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(x)})
            isChange = concernsTray(*event) || isChange;
        if (!isChange)
            return;
        asio::post(contexts.workers, [self = shared_from_this()] {
            self->refresh();
            // More events may have come with the replies.
            asio::post(self->contexts.agent, [self] { self->takeEvents(); });
        });
    }

private:
    TrayState read()
    {
        XReply<xcb_get_selection_owner_reply_t> const found(
            xcb_get_selection_owner_reply(x, xcb_get_selection_owner(x, selection), nullptr));
        if (!found || found->owner == XCB_WINDOW_NONE)
            return {};
        // Before the property is read, so that no change is missed in between.
        std::uint32_t const changes = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(x, found->owner, XCB_CW_EVENT_MASK, &changes);
        constexpr std::uint32_t channels = 3;
        auto const cookie = xcb_get_property(x, 0, found->owner, colors, XCB_ATOM_CARDINAL, 0, channels);
        XReply<xcb_get_property_reply_t> const property(xcb_get_property_reply(x, cookie, nullptr));
        if (!property)
            return {}; // It was destroyed meanwhile.
        return {.isPresent = true, .foreground = firstColor(numbersIn(*property))};
    }

    bool concernsTray(xcb_generic_event_t const& event) const
    {
        std::uint8_t const type = event.response_type & 0x7F;
        if (type == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<xcb_property_notify_event_t const&>(event).atom == colors;
        return changeEvent != 0 && type == changeEvent;
    }

    Contexts contexts;
    std::shared_ptr<X11Connection> connection;
    std::function<void(TrayState)> onChange;
    xcb_connection_t* x;
    xcb_atom_t selection;
    xcb_atom_t colors;
    std::uint8_t changeEvent = 0;
    std::mutex reading;
    TrayState state; // reading
};

X11TrayWindow::X11TrayWindow(Contexts const& contexts,
                             std::shared_ptr<X11Connection> const& connection,
                             std::function<void(TrayState)> onChange)
{
    if (!connection)
        return;
    auto const watch = std::make_shared<Watch>(contexts, connection, std::move(onChange));
    watch->refresh();
    events.emplace(contexts, connection, [watch] { watch->takeEvents(); });
}

X11TrayWindow::~X11TrayWindow() = default;

} // namespace zelvo
