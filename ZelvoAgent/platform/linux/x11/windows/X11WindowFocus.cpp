#include "platform/linux/x11/windows/X11WindowFocus.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Events.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/windows/FocusQuestions.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>

namespace zelvo {

namespace {

constexpr std::uint32_t fromPager = 2; // Who asks, in the messages of the window manager hints.
constexpr std::uint32_t removeState = 0;
constexpr std::uint32_t addState = 1;
constexpr std::uint32_t allWorkspaces = 0xFFFFFFFF;
constexpr int deepestNesting = 32;

std::uint32_t atomNamed(xcb_connection_t* x, std::string_view name)
{
    auto const cookie = xcb_intern_atom(x, 0, static_cast<std::uint16_t>(name.size()), name.data());
    XReply<xcb_intern_atom_reply_t> const reply(xcb_intern_atom_reply(x, cookie, nullptr));
    return reply ? reply->atom : 0;
}

} // namespace

/// The connection, one caller at a time: what comes in on it is waited for.
class X11WindowFocus::Requests : public std::enable_shared_from_this<Requests> {
public:
    explicit Requests(Contexts contexts) : contexts(std::move(contexts)) {}

    template <class Result, class Work>
    Result with(Work work)
    {
        std::scoped_lock const guard(lock);
        if (!isOpened)
            open();
        if (!connection || !connection->isAlive())
            return Result{};
        connection->drain();
        return work(*connection);
    }

    void putInFront(std::uint32_t window, std::uint32_t over)
    {
        std::uint32_t const state = connection->atoms().netWmState;
        standBeforeFullScreen(window, over);
        tell(window, desktopAtom, {allWorkspaces, fromPager});
        tell(window, state, {addState, connection->atoms().netWmStateAbove, stickyAtom, fromPager});
        tell(window, state, {addState, skipTaskbarAtom, skipPagerAtom, fromPager});
        activate(window);
    }

    void activate(std::uint32_t window)
    {
        if (hasWindowManager()) {
            tell(window, connection->atoms().netActiveWindow, {fromPager, serverTime()});
            connection->sync();
            return;
        }
        auto* const x = connection->get();
        std::uint32_t const above[] = {XCB_STACK_MODE_ABOVE};
        xcb_configure_window(x, window, XCB_CONFIG_WINDOW_STACK_MODE, above);
        xcb_set_input_focus(x, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        connection->sync();
    }

    void bringBack(std::uint32_t window)
    {
        auto const home = numberAt(window, desktopAtom);
        if (home && home != allWorkspaces && home != numberAt(connection->root(), currentDesktopAtom))
            tell(connection->root(), currentDesktopAtom, {*home, serverTime()});
        tell(window, connection->atoms().netWmState,
             {removeState, connection->atoms().netWmStateShaded, 0, fromPager});
        activate(window);
    }

private:
    std::optional<std::uint32_t> numberAt(std::uint32_t window, std::uint32_t property) const
    {
        auto* const x = connection->get();
        auto const cookie = xcb_get_property(x, 0, window, property, XCB_ATOM_ANY, 0, 1);
        XReply<xcb_get_property_reply_t> const reply(xcb_get_property_reply(x, cookie, nullptr));
        if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) != 4)
            return std::nullopt;
        return *static_cast<std::uint32_t const*>(xcb_get_property_value(reply.get()));
    }

    // Window managers lay a full-screen window over all others while it is active, but not over its own
    // dialogs. So the person can go back to it and still see ours.
    void standBeforeFullScreen(std::uint32_t window, std::uint32_t over)
    {
        if (over && over != window && isFullScreen(over))
            xcb_change_property(connection->get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_TRANSIENT_FOR,
                                XCB_ATOM_WINDOW, 32, 1, &over);
    }

    bool isFullScreen(std::uint32_t window) const
    {
        constexpr std::uint32_t maxStates = 32;
        auto* const x = connection->get();
        auto const cookie =
            xcb_get_property(x, 0, window, connection->atoms().netWmState, XCB_ATOM_ATOM, 0, maxStates);
        XReply<xcb_get_property_reply_t> const reply(xcb_get_property_reply(x, cookie, nullptr));
        if (!reply || reply->format != 32)
            return false;
        auto const* const states = static_cast<std::uint32_t const*>(xcb_get_property_value(reply.get()));
        auto const count = static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / 4;
        return std::ranges::find(std::span(states, count), fullScreenAtom) != std::span(states, count).end();
    }

    void open()
    {
        isOpened = true;
        connection = X11Connection::open();
        if (!connection)
            return;
        events.emplace(contexts, connection, [self = weak_from_this()] {
            if (auto const requests = self.lock())
                requests->dropEvents();
        });
        auto* const x = connection->get();
        desktopAtom = atomNamed(x, "_NET_WM_DESKTOP");
        currentDesktopAtom = atomNamed(x, "_NET_CURRENT_DESKTOP");
        fullScreenAtom = atomNamed(x, "_NET_WM_STATE_FULLSCREEN");
        stickyAtom = atomNamed(x, "_NET_WM_STATE_STICKY");
        skipTaskbarAtom = atomNamed(x, "_NET_WM_STATE_SKIP_TASKBAR");
        skipPagerAtom = atomNamed(x, "_NET_WM_STATE_SKIP_PAGER");
        timeAtom = atomNamed(x, "_ZELVO_TIME");
        timeWindow = xcb_generate_id(x);
        std::uint32_t const values[] = {XCB_EVENT_MASK_PROPERTY_CHANGE};
        xcb_create_window(x, 0, timeWindow, connection->root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, values);
    }

    /// Whoever holds the lock reads the events itself.
    void dropEvents()
    {
        std::unique_lock const guard(lock, std::try_to_lock);
        if (guard)
            connection->drain();
    }

    void tell(std::uint32_t window, std::uint32_t what, std::array<std::uint32_t, 5> numbers)
    {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = what;
        std::ranges::copy(numbers, message.data.data32);
        xcb_send_event(connection->get(), 0, connection->root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<char const*>(&message));
    }

    // The server tells its time only with events; a change of a property of ours makes one.
    std::uint32_t serverTime()
    {
        auto* const x = connection->get();
        xcb_change_property(x, XCB_PROP_MODE_APPEND, timeWindow, timeAtom, XCB_ATOM_CARDINAL, 32, 0, nullptr);
        xcb_flush(x);
        while (XReply<xcb_generic_event_t> const event{xcb_wait_for_event(x)})
            if ((event->response_type & 0x7F) == XCB_PROPERTY_NOTIFY)
                return reinterpret_cast<xcb_property_notify_event_t const*>(event.get())->time;
        return XCB_CURRENT_TIME;
    }

    bool hasWindowManager() const
    {
        return numberAt(connection->root(), connection->atoms().netSupportingWmCheck).has_value();
    }

    Contexts const contexts;
    std::mutex lock; // All below.
    bool isOpened = false;
    std::shared_ptr<X11Connection> connection;
    std::optional<X11Events> events;
    std::uint32_t desktopAtom = 0;
    std::uint32_t currentDesktopAtom = 0;
    std::uint32_t fullScreenAtom = 0;
    std::uint32_t stickyAtom = 0;
    std::uint32_t skipTaskbarAtom = 0;
    std::uint32_t skipPagerAtom = 0;
    std::uint32_t timeAtom = 0;
    std::uint32_t timeWindow = 0;
};

X11WindowFocus::X11WindowFocus(Contexts const& contexts) : requests(std::make_shared<Requests>(contexts)) {}

X11WindowFocus::~X11WindowFocus() = default;

std::uint32_t X11WindowFocus::activeWindow()
{
    return requests->with<std::uint32_t>([](X11Connection const& connection) {
        std::uint32_t const active = activeWindowOf(connection);
        return active ? active : focusedWindowOf(connection);
    });
}

void X11WindowFocus::putInFront(std::uint32_t window, std::uint32_t over)
{
    requests->with<bool>([&](X11Connection const&) {
        requests->putInFront(window, over);
        return true;
    });
}

void X11WindowFocus::activate(std::uint32_t window)
{
    requests->with<bool>([&](X11Connection const&) {
        requests->activate(window);
        return true;
    });
}

void X11WindowFocus::bringBack(std::uint32_t window)
{
    requests->with<bool>([&](X11Connection const&) {
        requests->bringBack(window);
        return true;
    });
}

bool X11WindowFocus::isKeyDown()
{
    return requests->with<bool>([](X11Connection const& connection) {
        auto* const x = connection.get();
        XReply<xcb_query_keymap_reply_t> const reply(xcb_query_keymap_reply(x, xcb_query_keymap(x), nullptr));
        return reply && std::ranges::any_of(reply->keys, [](std::uint8_t eight) { return eight != 0; });
    });
}

WindowStanding X11WindowFocus::standing(std::uint32_t window)
{
    return requests->with<WindowStanding>([window](X11Connection const& connection) {
        auto* const x = connection.get();
        XReply<xcb_get_window_attributes_reply_t> const reply(
            xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, window), nullptr));
        if (!reply)
            return WindowStanding{};
        WindowStanding standing{.exists = true, .isOnScreen = reply->map_state == XCB_MAP_STATE_VIEWABLE};
        std::uint32_t part = focusedWindowOf(connection);
        for (int depth = 0; part && part != window && depth < deepestNesting; ++depth)
            part = parentOf(connection, part);
        standing.hasKeyboard = part == window;
        return standing;
    });
}

} // namespace zelvo
