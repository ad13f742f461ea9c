#include "platform/linux/x11/capture/StalePixelTracker.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <xcb/damage.h>

#include <algorithm>
#include <utility>

namespace zelvo {

StalePixelTracker::StalePixelTracker(std::shared_ptr<X11Connection> server) : connection(std::move(server)) {}

StalePixelTracker::Entry const* StalePixelTracker::find(std::uint32_t window) const
{
    auto const found = entries.find(window);
    return found == entries.end() ? nullptr : &found->second;
}

void StalePixelTracker::markStale(std::uint32_t window, PixelRegion const& part)
{
    if (part.isEmpty())
        return;
    std::scoped_lock guard(lock);
    Entry& entry = entries[window];
    settle(entry);
    endReports(entry);
    for (PixelRect const& rect : part.all())
        entry.left.add(rect);
    entry.firstAsked.reset();
}

void StalePixelTracker::markStale(SurveyedWindow const& window, PixelRegion const& part)
{
    markStale(window.id, part.movedBy(-window.area.x - window.border, -window.area.y - window.border));
}

void StalePixelTracker::noteGone(std::uint32_t window)
{
    std::scoped_lock guard(lock);
    drop(window);
}

void StalePixelTracker::drop(std::uint32_t window)
{
    auto const found = entries.find(window);
    if (found == entries.end())
        return;
    endReports(found->second);
    entries.erase(found);
}

void StalePixelTracker::noteMove()
{
    std::scoped_lock guard(lock);
    for (auto& [window, entry] : entries) {
        settle(entry);
        endReports(entry);
    }
}

void StalePixelTracker::noteShape()
{
    std::scoped_lock guard(lock);
    for (auto& [window, entry] : entries)
        endReports(entry);
}

void StalePixelTracker::settle(Entry& entry)
{
    entry.left.subtract(std::exchange(entry.drawn, {}));
}

void StalePixelTracker::endReports(Entry& entry)
{
    entry.drawn = {};
    if (entry.damage)
        xcb_damage_destroy(connection->get(), std::exchange(entry.damage, 0));
}

void StalePixelTracker::follow(std::uint32_t window)
{
    std::scoped_lock guard(lock);
    auto const found = entries.find(window);
    if (found == entries.end() || found->second.damage || !connection->capabilities().damage)
        return;
    Entry& entry = found->second;
    auto* const x = connection->get();
    entry.damage = xcb_generate_id(x);
    // Each part is reported once, so a window that keeps drawing elsewhere costs nothing.
    entry.asked =
        xcb_damage_create(x, entry.damage, window, XCB_DAMAGE_REPORT_LEVEL_DELTA_RECTANGLES).sequence;
    // The server first reports the whole visible window as drawn. Only later events count.
    xcb_damage_subtract(x, entry.damage, XCB_NONE, XCB_NONE);
    if (!entry.firstAsked)
        entry.firstAsked = std::chrono::steady_clock::now();
}

bool StalePixelTracker::isFollowed(std::uint32_t window) const
{
    std::scoped_lock guard(lock);
    Entry const* const entry = find(window);
    return entry && entry->damage;
}

void StalePixelTracker::noteDrawn(std::uint32_t window,
                                  std::uint32_t damage,
                                  std::uint32_t sequence,
                                  PixelRect const& part)
{
    std::scoped_lock guard(lock);
    auto const found = entries.find(window);
    if (found == entries.end() || found->second.damage != damage || found->second.asked == sequence)
        return;
    // The server reports a new colour of the border as the whole window.
    if (part.x < 0 || part.y < 0) {
        settle(found->second);
        endReports(found->second);
    } else {
        found->second.drawn.add(part);
    }
}

bool StalePixelTracker::isDrawn(std::uint32_t window, int x, int y) const
{
    std::scoped_lock guard(lock);
    Entry const* const entry = find(window);
    return entry && !entry->drawn.intersected({x, y, 1, 1}).isEmpty();
}

void StalePixelTracker::markDrawn(std::uint32_t window, PixelRegion const& part)
{
    std::scoped_lock guard(lock);
    if (auto const found = entries.find(window); found != entries.end())
        found->second.left.subtract(part);
}

PixelRegion StalePixelTracker::stale(std::uint32_t window)
{
    auto const found = entries.find(window);
    if (found == entries.end())
        return {};
    settle(found->second);
    if (!found->second.left.isEmpty())
        return found->second.left;
    drop(window);
    return {};
}

PixelRegion StalePixelTracker::visible(SurveyedWindow const& window)
{
    std::scoped_lock guard(lock);
    PixelRegion const onRoot =
        stale(window.id).movedBy(window.area.x + window.border, window.area.y + window.border);
    PixelRegion const inside = onRoot.intersected(window.area);
    return window.shaped ? inside.intersected(window.shape) : inside;
}

bool StalePixelTracker::isStale(std::uint32_t window)
{
    std::scoped_lock guard(lock);
    return !stale(window).isEmpty();
}

std::vector<std::pair<std::uint32_t, PixelRegion>> StalePixelTracker::all() const
{
    std::scoped_lock guard(lock);
    std::vector<std::pair<std::uint32_t, PixelRegion>> found;
    for (auto const& [window, entry] : entries)
        found.emplace_back(window, entry.left);
    return found;
}

std::optional<StalePixelTracker::Time> StalePixelTracker::askedAt(std::uint32_t window) const
{
    std::scoped_lock guard(lock);
    Entry const* const entry = find(window);
    return entry ? entry->firstAsked : std::nullopt;
}

} // namespace zelvo
