#include "platform/linux/x11/windows/X11FrontChanges.h"

#include "base/LockedBox.h"
#include "platform/linux/x11/XReply.h"

#include <xcb/xcb.h>

#include <span>

namespace zelvo {

namespace {

/// The pointer's entering counts where the focus follows it.
constexpr std::uint32_t windowEvents = XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_ENTER_WINDOW;

void select(xcb_connection_t* x, xcb_window_t window, std::uint32_t events)
{
    xcb_change_window_attributes(x, window, XCB_CW_EVENT_MASK, &events);
}

} // namespace

class X11FrontChanges::Listener {
public:
    Listener(std::shared_ptr<X11Connection> server, std::shared_ptr<KeyboardGrab> noted)
        : connection(std::move(server)), grab(std::move(noted))
    {
        auto* const x = connection->get();
        xcb_window_t const root = connection->root();
        // Selected before the list is read, so that no window is missed in between.
        select(x, root, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
        XReply<xcb_query_tree_reply_t> const tree(xcb_query_tree_reply(x, xcb_query_tree(x, root), nullptr));
        if (!tree)
            return;
        auto const count = static_cast<std::size_t>(xcb_query_tree_children_length(tree.get()));
        for (xcb_window_t const window : std::span(xcb_query_tree_children(tree.get()), count))
            select(x, window, windowEvents);
        xcb_flush(x);
    }

    void observe(std::function<void()> observer) { changed.set(std::move(observer)); }

    void takeEvents()
    {
        bool isChange = false;
        while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(connection->get())})
            isChange = take(*event) || isChange;
        xcb_flush(connection->get());
        if (!isChange)
            return;
        if (auto const observer = changed.get())
            observer();
    }

private:
    /// True for a change of the front.
    bool take(xcb_generic_event_t const& event)
    {
        auto const* const data = static_cast<void const*>(&event);
        switch (event.response_type & 0x7F) {
        case XCB_FOCUS_IN:
        case XCB_FOCUS_OUT:
            noteGrab(*static_cast<xcb_focus_in_event_t const*>(data));
            return true;
        case XCB_UNMAP_NOTIFY:
            grab->end(static_cast<xcb_unmap_notify_event_t const*>(data)->window);
            return false;
        case XCB_ENTER_NOTIFY:
            return takesKeys(*static_cast<xcb_enter_notify_event_t const*>(data));
        case XCB_MAP_NOTIFY:
            return true; // It may have taken the keyboard before its events were selected.
        case XCB_PROPERTY_NOTIFY:
            return static_cast<xcb_property_notify_event_t const*>(data)->atom ==
                   connection->atoms().netActiveWindow;
        case XCB_CREATE_NOTIFY:
            select(connection->get(), static_cast<xcb_create_notify_event_t const*>(data)->window,
                   windowEvents);
            return false;
        case XCB_REPARENT_NOTIFY: {
            auto const* const moved = static_cast<xcb_reparent_notify_event_t const*>(data);
            if (moved->parent == connection->root())
                select(connection->get(), moved->window, windowEvents);
            return false;
        }
        default:
            return false;
        }
    }

    /// Whether keys go to the window that the pointer has entered, which nothing else reports if they go to
    /// whatever the pointer is over.
    static bool takesKeys(xcb_enter_notify_event_t const& event)
    {
        constexpr unsigned focusFlag = 1;
        return (event.same_screen_focus & focusFlag) != 0;
    }
    /// A grab moves the keyboard to its window, and its end moves it back to the focus. Of a grab for the
    /// root window nobody learns whose it is.
    void noteGrab(xcb_focus_in_event_t const& event)
    {
        bool const gains = (event.response_type & 0x7F) == XCB_FOCUS_IN;
        if (event.detail == XCB_NOTIFY_DETAIL_POINTER)
            return; // The pointer is over this window; the keyboard went to one around it.
        if (event.mode == XCB_NOTIFY_MODE_UNGRAB)
            grab->end();
        else if (event.mode == XCB_NOTIFY_MODE_GRAB && gains)
            grab->begin(event.event);
        else if (event.mode == XCB_NOTIFY_MODE_GRAB)
            grab->end(event.event);
    }

    std::shared_ptr<X11Connection> connection;
    std::shared_ptr<KeyboardGrab> grab;
    LockedBox<std::function<void()>> changed;
};

X11FrontChanges::X11FrontChanges(Contexts const& contexts, std::shared_ptr<X11Connection> const& connection)
{
    if (!connection)
        return;
    listener = std::make_shared<Listener>(connection, grab);
    events.emplace(contexts, connection, [listener = listener] { listener->takeEvents(); });
}

X11FrontChanges::~X11FrontChanges() = default;

void X11FrontChanges::observe(std::function<void()> observer)
{
    if (listener)
        listener->observe(std::move(observer));
}

} // namespace zelvo
