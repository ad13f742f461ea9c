#include "platform/linux/x11/capture/X11ChangeDetector.h"

#include "platform/linux/x11/WindowProcess.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"

#include <unistd.h>
#include <xcb/damage.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

namespace zelvo {

namespace {

template <class Event>
Event const& as(void const* event)
{
    return *static_cast<Event const*>(event);
}

/// Of a reply or an event that has a place.
template <class Place>
PixelRect outerArea(Place const& place)
{
    return {place.x, place.y, place.width + 2 * place.border_width, place.height + 2 * place.border_width};
}

} // namespace

std::unique_ptr<ChangeDetector> X11ChangeDetector::open(std::uint32_t ignored, std::string const& display)
{
    auto server = X11Connection::open(display);
    if (!server || !server->capabilities().damage || !server->capabilities().xfixes)
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
    xcb_xfixes_select_cursor_input(x, root, XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
    cursorEvent = static_cast<std::uint8_t>(xcb_get_extension_data(x, &xcb_xfixes_id)->first_event +
                                            XCB_XFIXES_CURSOR_NOTIFY);
    followRoot();
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

void X11ChangeDetector::followRoot()
{
    auto* const x = connection->get();
    std::uint32_t const root = connection->root();
    std::uint32_t const mask =
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(x, root, XCB_CW_EVENT_MASK, &mask);
    rootDamage = xcb_generate_id(x);
    xcb_damage_create(x, rootDamage, root, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    std::string_view const name = "_XROOTPMAP_ID";
    XReply<xcb_intern_atom_reply_t> const reply(xcb_intern_atom_reply(
        x, xcb_intern_atom(x, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    wallpaper = reply ? reply->atom : 0;
}

/// Asks for one event for all drawing in a child of the root until the next take().
void X11ChangeDetector::follow(std::uint32_t window)
{
    auto* const x = connection->get();
    if (window == ignored)
        return;
    if (windowProcess(x, window) != ::getpid()) {
        xcb_damage_create(x, xcb_generate_id(x), window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
        return;
    }
    XReply<xcb_get_geometry_reply_t> const area(
        xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr));
    if (!area)
        return;
    notePlace(window, outerArea(*area));
    if (connection->capabilities().shape)
        xcb_shape_select_input(x, window, 1);
}

bool X11ChangeDetector::take()
{
    bool const isEventful = takeEvents();
    bool const isDrawn = takeDrawing();
    // The reply also confirms that the server has restarted its reports.
    Pointer const now = askPointer();
    bool const isPointed = std::exchange(pointer, now) != now;
    return isEventful || isDrawn || isPointed;
}

bool X11ChangeDetector::takeEvents()
{
    bool changed = false;
    while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(connection->get())})
        changed = noteEvent(event.get()) || changed;
    return changed;
}

bool X11ChangeDetector::noteEvent(void const* event)
{
    auto const type = as<xcb_generic_event_t>(event).response_type & 0x7f;
    if (type == 0) // An error: the window was destroyed before it could be followed.
        return false;
    if (type == connection->capabilities().damageFirstEvent) {
        noteDamage(event);
        return false;
    }
    if (type == cursorEvent)
        return true;
    if (connection->capabilities().shape && type == connection->capabilities().shapeFirstEvent) {
        hasOwnMoved = true;
        return false;
    }
    switch (type) {
    case XCB_PROPERTY_NOTIFY:
        return as<xcb_property_notify_event_t>(event).atom == wallpaper;
    case XCB_CREATE_NOTIFY:
        follow(as<xcb_create_notify_event_t>(event).window);
        return false; // Not on the screen yet.
    case XCB_REPARENT_NOTIFY:
        ownWindows.erase(as<xcb_reparent_notify_event_t>(event).window);
        ownWindows.erase(as<xcb_reparent_notify_event_t>(event).window);
        if (as<xcb_reparent_notify_event_t>(event).parent == connection->root())
            follow(as<xcb_reparent_notify_event_t>(event).window);
        return true;
    case XCB_DESTROY_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_MAP_NOTIFY:
    case XCB_CONFIGURE_NOTIFY:
    case XCB_CIRCULATE_NOTIFY:
        return noteWindow(type, event);
    default:
        return false;
    }
}

/// Something was drawn; whether it counts is decided when all events are known.
void X11ChangeDetector::noteDamage(void const* event)
{
    auto const& drawing = as<xcb_damage_notify_event_t>(event);
    damaged.push_back({drawing.damage, drawing.geometry.x, drawing.geometry.y});
}

/// A child of the root came, went or moved.
bool X11ChangeDetector::noteWindow(int type, void const* event)
{
    // All of these have the window in the same field.
    std::uint32_t const window = as<xcb_destroy_notify_event_t>(event).window;
    if (!ownWindows.contains(window))
        return window != ignored;
    hasOwnMoved = true;
    if (type == XCB_CONFIGURE_NOTIFY)
        notePlace(window, outerArea(as<xcb_configure_notify_event_t>(event)));
    if (type == XCB_DESTROY_NOTIFY)
        ownWindows.erase(window);
    return false;
}

/// A window of this program is there.
void X11ChangeDetector::notePlace(std::uint32_t window, PixelRect const& area)
{
    ownWindows[window] = area;
    ownPlaces.add(area);
}

/// Whether the drawing since the last call changed what pictures show.
bool X11ChangeDetector::takeDrawing()
{
    std::vector<Drawing> const drawings = std::exchange(damaged, {});
    if (ownPlaces.isEmpty() && lastPlaces.isEmpty() && unsure == 0) {
        for (Drawing const& one : drawings)
            xcb_damage_subtract(connection->get(), one.damage, XCB_NONE, XCB_NONE);
        return !drawings.empty();
    }
    std::vector<PixelRegion> regions = takeRegions(drawings);
    // Those that came before the replies say where our windows were.
    bool changed = takeEvents();
    for (std::size_t i = 0; i < drawings.size(); ++i) {
        regions[i].subtract(ownPlaces);
        regions[i].subtract(lastPlaces);
        if (!regions[i].isEmpty())
            changed = true;
        else if (drawings[i].damage != rootDamage)
            ++unsure;
    }
    return isSettled(changed);
}

/// Where our windows move, the server reports drawing in the windows below too. That may hide what their
/// applications really draw there: so one picture is taken when our windows rest, or after a while.
bool X11ChangeDetector::isSettled(bool changed)
{
    constexpr int longest = 4;
    bool const rests = !hasOwnMoved && !hadOwnMoved;
    changed = changed || (unsure > 0 && (rests || ++waits > longest));
    if (changed)
        waits = unsure = 0;
    hadOwnMoved = std::exchange(hasOwnMoved, false);
    lastPlaces = std::exchange(ownPlaces, {});
    for (auto const& [window, area] : ownWindows)
        ownPlaces.add(area);
    return changed;
}

/// What was drawn, on the root window.
std::vector<PixelRegion> X11ChangeDetector::takeRegions(std::vector<Drawing> const& drawings)
{
    auto* const x = connection->get();
    // A compositing manager paints the root from the windows, which are followed, and from a property.
    XReply<xcb_get_selection_owner_reply_t> const compositor(xcb_get_selection_owner_reply(
        x, xcb_get_selection_owner(x, connection->atoms().compositor), nullptr));
    bool const isComposited = compositor && compositor->owner != XCB_NONE;
    std::vector<xcb_xfixes_fetch_region_cookie_t> cookies;
    for (Drawing const& one : drawings) {
        xcb_xfixes_region_t const region = xcb_generate_id(x);
        xcb_xfixes_create_region(x, region, 0, nullptr);
        xcb_damage_subtract(x, one.damage, XCB_NONE, region);
        cookies.push_back(xcb_xfixes_fetch_region(x, region));
        xcb_xfixes_destroy_region(x, region);
    }
    std::vector<PixelRegion> regions;
    for (std::size_t i = 0; i < drawings.size(); ++i) {
        XReply<xcb_xfixes_fetch_region_reply_t> const reply(
            xcb_xfixes_fetch_region_reply(x, cookies[i], nullptr));
        PixelRegion& drawn = regions.emplace_back();
        if (!reply || (isComposited && drawings[i].damage == rootDamage))
            continue;
        auto const count = static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(reply.get()));
        for (xcb_rectangle_t const& part : std::span(xcb_xfixes_fetch_region_rectangles(reply.get()), count))
            drawn.add({part.x + drawings[i].x, part.y + drawings[i].y, part.width, part.height});
    }
    return regions;
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
