#include "platform/linux/x11/capture/WindowWatch.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

void select(X11Connection const& connection, std::uint32_t window)
{
    // Its destruction matters too: a new window with the same id must be selected again.
    std::uint32_t const mask =
        XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection.get(), window, XCB_CW_EVENT_MASK, &mask);
}

template <class Event>
Event const& as(void const* event)
{
    return *static_cast<Event const*>(event);
}

/// Of the events of creation and of configuration.
template <class Event>
PixelRect outerArea(Event const& event)
{
    return {event.x, event.y, event.width + 2 * event.border_width, event.height + 2 * event.border_width};
}

} // namespace

WindowWatch::WindowWatch(std::shared_ptr<X11Connection> server) : connection(std::move(server))
{
    select(*connection, connection->root());
    connection->sync();
}

void WindowWatch::takeEvents()
{
    // Polling and handling are one step: no other thread may see an empty queue before its events are
    // handled.
    std::scoped_lock guard(lock);
    while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(connection->get())})
        take(event.get());
}

bool WindowWatch::concernsNames(std::uint32_t atom) const
{
    auto const& atoms = connection->atoms();
    return atom == XCB_ATOM_WM_CLASS || atom == XCB_ATOM_WM_TRANSIENT_FOR || atom == XCB_ATOM_WM_HINTS ||
           atom == atoms.wmClientLeader || atom == atoms.gtkApplicationId || atom == atoms.kdeDesktopFile ||
           atom == atoms.netWmPid || atom == atoms.wmState || atom == atoms.netClientList ||
           atom == atoms.netSupportingWmCheck;
}

void WindowWatch::take(void const* event)
{
    auto const type = as<xcb_generic_event_t>(event).response_type & 0x7f;
    switch (type) {
    case 0: // An error: the window was destroyed before we could select its events.
        return;
    case XCB_PROPERTY_NOTIFY:
        changed = changed || concernsNames(as<xcb_property_notify_event_t>(event).atom);
        return;
    case XCB_CREATE_NOTIFY:
    case XCB_DESTROY_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_MAP_NOTIFY:
    case XCB_CONFIGURE_NOTIFY:
    case XCB_REPARENT_NOTIFY:
    case XCB_GRAVITY_NOTIFY:
    case XCB_CIRCULATE_NOTIFY:
        break;
    default:
        changed = takeExtension(type, event) || changed;
        return;
    }
    // Except for creation, all of these have the affected window after the window that reports it.
    auto const& about = as<xcb_destroy_notify_event_t>(event);
    bool const onRoot = about.event == connection->root();
    if (about.window == ignored || about.window == connection->root())
        return;
    changed = true;
    if (!onRoot)
        takeInside(type, event);
    if (type == XCB_CREATE_NOTIFY) {
        auto const& created = as<xcb_create_notify_event_t>(event);
        if (created.parent == connection->root())
            noteArea(created.window, outerArea(created));
    } else if (onRoot) {
        takeOnRoot(type, event);
    }
    if (type == XCB_DESTROY_NOTIFY)
        noteEnd(about.window);
}

/// A child of the root has changed.
void WindowWatch::takeOnRoot(int type, void const* event)
{
    std::uint32_t const window = as<xcb_destroy_notify_event_t>(event).window;
    if (type == XCB_UNMAP_NOTIFY || type == XCB_DESTROY_NOTIFY) {
        noteGone(window);
    } else if (type == XCB_CONFIGURE_NOTIFY) {
        noteArea(window, outerArea(as<xcb_configure_notify_event_t>(event)));
    } else if (type == XCB_REPARENT_NOTIFY) {
        std::uint32_t const parent = as<xcb_reparent_notify_event_t>(event).parent;
        if (parent == connection->root())
            shown.noteArrival(window);
        else
            frames.insert(parent);
    } else if (type == XCB_MAP_NOTIFY) {
        shown.noteMapped(window);
        noteNewPixels(window);
    }
}

/// A window inside a child of the root has changed. If it is another client's, it may be a hidden one's, and
/// the window that it is in shows its pixels or has them left.
void WindowWatch::takeInside(int type, void const* event)
{
    auto const& about = as<xcb_destroy_notify_event_t>(event);
    std::uint32_t const ownBits = xcb_get_setup(connection->get())->resource_id_mask;
    bool const isForeign = ((about.event ^ about.window) & ~ownBits) != 0;
    auto const host = surveyed.find(about.event);
    auto const inside = surveyed.find(about.window);
    bool const isHidden = std::ranges::find(hiddenEmbedded, about.window, &HiddenEmbeddedWindow::window) !=
                          hiddenEmbedded.end();
    bool const isKnownThere =
        host != surveyed.end() && inside != surveyed.end() && inside->second == host->second;
    if (!isForeign || (isKnownThere && !isHidden))
        return;
    std::set<std::uint32_t> const hosts = host == surveyed.end() ? shown.mapped() : std::set{host->second};
    for (std::uint32_t const one : hosts) {
        shown.dropKept(one);
        if (type != XCB_CREATE_NOTIFY && type != XCB_MAP_NOTIFY)
            stalePixels.markStale(one, {StalePixelTracker::unknown});
    }
}

/// True if a survey depends on it.
bool WindowWatch::takeExtension(int type, void const* event)
{
    X11Capabilities const& can = connection->capabilities();
    if (!can.shape || type != can.shapeFirstEvent)
        return false;
    stalePixels.noteShape(as<xcb_shape_notify_event_t>(event).affected_window);
    return true;
}

/// A window has a place. A new size brings new pixels, as mapping does.
void WindowWatch::noteArea(std::uint32_t window, PixelRect const& area)
{
    if (shown.notePlace(window, area))
        noteNewPixels(window);
}

/// The server begins a window with a copy of what the screen shows there.
void WindowWatch::noteNewPixels(std::uint32_t window)
{
    std::set<std::uint32_t> sources = shown.below(window);
    sources.erase(ignored);
    if (!sources.empty())
        shown.dropKept(window);
    stalePixels.markStale(window, sources);
}

void WindowWatch::noteGone(std::uint32_t window)
{
    anyLoss = std::chrono::steady_clock::now();
    if (!shown.isKept(window))
        loss = anyLoss;
    shown.noteUnmapped(window);
    stalePixels.noteGone(window);
}

/// The server may reuse the id for a different window.
void WindowWatch::noteEnd(std::uint32_t window)
{
    selected.erase(window);
    selectedShapes.erase(window);
    frames.erase(window);
    shown.noteEnd(window);
}

bool WindowWatch::hasChanged() const
{
    std::scoped_lock guard(lock);
    return changed;
}

void WindowWatch::reset(WindowSurvey const& survey)
{
    std::scoped_lock guard(lock);
    changed = false;
    surveyed.clear();
    for (std::uint32_t const window : survey.watched)
        if (selected.insert(window).second)
            select(*connection, window);
    for (SurveyedWindow const& window : survey.windows) {
        if (window.client.id != window.id)
            frames.insert(window.id);
        shown.set(window.id, window.area);
        surveyed[window.id] = surveyed[window.client.id] = window.id;
        for (EmbeddedWindow const& inside : window.embedded)
            surveyed[inside.client.id] = window.id;
        if (connection->capabilities().shape && selectedShapes.insert(window.id).second)
            xcb_shape_select_input(connection->get(), window.id, 1);
    }
}

WindowWatch::Time WindowWatch::lastLoss() const
{
    std::scoped_lock guard(lock);
    return loss;
}

void WindowWatch::forgetKept()
{
    std::scoped_lock guard(lock);
    loss = anyLoss;
    shown.setKept({});
}

bool WindowWatch::isKept(std::uint32_t window) const
{
    std::scoped_lock guard(lock);
    return shown.isKept(window);
}

bool WindowWatch::hasHeldClient(std::uint32_t window) const
{
    std::scoped_lock guard(lock);
    return frames.contains(window);
}

void WindowWatch::setKept(std::unordered_set<std::uint32_t> windows)
{
    std::scoped_lock guard(lock);
    for (std::uint32_t const window : stalePixels.all())
        windows.erase(window);
    shown.setKept(std::move(windows));
}

void WindowWatch::setHiddenEmbedded(std::vector<HiddenEmbeddedWindow> present)
{
    std::scoped_lock guard(lock);
    // One may move without an event, for instance because another window is between it and its host.
    for (HiddenEmbeddedWindow const& before : hiddenEmbedded)
        if (std::ranges::find(present, before) == present.end())
            stalePixels.markStale(before.host, {StalePixelTracker::unknown});
    hiddenEmbedded = std::move(present);
}

void WindowWatch::ignore(std::uint32_t window)
{
    std::scoped_lock guard(lock);
    ignored = window;
}

} // namespace zelvo
