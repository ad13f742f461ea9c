#include "platform/linux/x11/input/X11PointerPresses.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Events.h"
#include "platform/linux/x11/XReply.h"

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include <optional>
#include <tuple>
#include <utility>

namespace zelvo {

namespace {

// Buttons 4 to 7 are turns of the wheel.
bool isWheel(std::uint32_t button)
{
    return button >= 4 && button <= 7;
}

/// The major opcode of XInput; `nullopt` without 2.1, which is the first to report raw events during grabs.
std::optional<std::uint8_t> inputOpcode(xcb_connection_t* x)
{
    auto const* const data = xcb_get_extension_data(x, &xcb_input_id);
    if (!data || !data->present)
        return std::nullopt;
    XReply<xcb_input_xi_query_version_reply_t> const reply(
        xcb_input_xi_query_version_reply(x, xcb_input_xi_query_version(x, 2, 1), nullptr));
    if (!reply || std::tuple(reply->major_version, reply->minor_version) < std::tuple(2, 1))
        return std::nullopt;
    return data->major_opcode;
}

void selectPresses(X11Connection const& connection)
{
    struct {
        xcb_input_event_mask_t head{.deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1};
        std::uint32_t events = XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
    } const mask;
    xcb_input_xi_select_events(connection.get(), connection.root(), 1, &mask.head);
    connection.sync();
}

/// Takes all events; true if a button was pressed.
bool takePresses(xcb_connection_t* x, std::uint8_t opcode)
{
    bool isPressed = false;
    while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(x)}) {
        auto const* const data = static_cast<void const*>(event.get());
        auto const* const generic = static_cast<xcb_ge_generic_event_t const*>(data);
        if ((event->response_type & 0x7F) != XCB_GE_GENERIC || generic->extension != opcode ||
            generic->event_type != XCB_INPUT_RAW_BUTTON_PRESS)
            continue;
        auto const* const press = static_cast<xcb_input_raw_button_press_event_t const*>(data);
        isPressed = isPressed || !isWheel(press->detail);
    }
    return isPressed;
}

} // namespace

/// What an observation shares with the tasks that it started.
class X11PointerPresses::Watch : public std::enable_shared_from_this<Watch> {
public:
    Watch(X11PointerPresses const& owner, std::function<void(DesktopPoint)> pressed)
        : contexts(owner.contexts), display(owner.display), layout(owner.layout), pressed(std::move(pressed))
    {
    }

    /// Opens the connection in the background, because that waits for the server.
    void start()
    {
        asio::post(contexts.workers, [self = shared_from_this()] { self->listen(); });
    }

    void end()
    {
        pressed = nullptr;
        events.reset();
    }

private:
    void listen()
    {
        std::shared_ptr<X11Connection> const connection = X11Connection::open();
        std::optional<std::uint8_t> const opcode = connection ? inputOpcode(connection->get()) : std::nullopt;
        if (!opcode)
            return;
        selectPresses(*connection);
        asio::post(contexts.main, [self = shared_from_this(), connection, opcode = *opcode] {
            if (self->pressed)
                self->follow(connection, opcode);
        });
    }

    void follow(std::shared_ptr<X11Connection> const& connection, std::uint8_t opcode)
    {
        events.emplace(contexts, connection, [self = shared_from_this(), connection, opcode] {
            if (takePresses(connection->get(), opcode))
                asio::post(self->contexts.workers, [self] { self->report(); });
        });
    }

    /// Raw events carry no position.
    void report()
    {
        auto* const x = display->get();
        XReply<xcb_query_pointer_reply_t> const reply(
            xcb_query_pointer_reply(x, xcb_query_pointer(x, display->root()), nullptr));
        if (!reply)
            return;
        DesktopPoint const place = layout().toPoints({reply->root_x, reply->root_y});
        asio::post(contexts.main, [self = shared_from_this(), place] {
            if (auto const call = self->pressed) // A copy: the call may end the observation.
                call(place);
        });
    }

    Contexts contexts;
    std::shared_ptr<X11Connection> display;
    std::function<DisplayLayout()> layout;
    std::function<void(DesktopPoint)> pressed; // main; null after the end
    std::optional<X11Events> events;           // main
};

class X11PointerPresses::Observation final : public PressObservation {
public:
    explicit Observation(std::shared_ptr<Watch> watch) : watch(std::move(watch)) {}
    Observation(Observation const&) = delete;
    Observation& operator=(Observation const&) = delete;
    ~Observation() override { watch->end(); }

private:
    std::shared_ptr<Watch> watch;
};

X11PointerPresses::X11PointerPresses(Contexts contexts,
                                     std::shared_ptr<X11Connection> display,
                                     std::function<DisplayLayout()> layout)
    : contexts(std::move(contexts)), display(std::move(display)), layout(std::move(layout))
{
}

std::unique_ptr<PressObservation> X11PointerPresses::observe(std::function<void(DesktopPoint)> pressed)
{
    auto watch = std::make_shared<Watch>(*this, std::move(pressed));
    if (display)
        watch->start();
    return std::make_unique<Observation>(std::move(watch));
}

} // namespace zelvo
