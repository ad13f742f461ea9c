#include "platform/linux/x11/capture/StalePixelTracker.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <xcb/damage.h>

#include <utility>

namespace zelvo {

StalePixelTracker::StalePixelTracker(std::shared_ptr<X11Connection> server) : connection(std::move(server)) {}

void StalePixelTracker::follow(std::uint32_t window, Entry& entry)
{
    auto* const x = connection->get();
    if (!connection->capabilities().damage)
        return;
    entry.damage = xcb_generate_id(x);
    entry.asked = xcb_damage_create(x, entry.damage, window, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES).sequence;
    // The server first reports the whole visible window as drawn. Only events after the next request count.
    xcb_no_operation(x);
    xcb_flush(x);
}

void StalePixelTracker::drop(Entries::iterator entry)
{
    if (entry->second.damage)
        xcb_damage_destroy(connection->get(), entry->second.damage);
    entries.erase(entry);
}

void StalePixelTracker::dropClean(Entries::iterator entry)
{
    if (entry->second.left.isEmpty() && !expected.contains(entry->first))
        drop(entry);
}

void StalePixelTracker::expect(std::set<std::uint32_t> windows)
{
    std::set<std::uint32_t> const before = std::exchange(expected, std::move(windows));
    for (std::uint32_t const window : expected)
        if (Entry& entry = entries[window]; !entry.damage)
            follow(window, entry);
    for (std::uint32_t const window : before)
        if (auto const entry = entries.find(window); entry != entries.end())
            dropClean(entry);
}

void StalePixelTracker::markStale(std::uint32_t window, PixelRegion const& part, std::optional<Time> until)
{
    if (part.isEmpty())
        return;
    Entry& entry = entries[window];
    for (PixelRect const& rect : part.all())
        entry.left.add(rect);
    entry.until = until;
    if (!entry.damage)
        follow(window, entry);
}

void StalePixelTracker::noteDrawn(std::uint32_t window,
                                  std::uint32_t damage,
                                  std::uint32_t sequence,
                                  PixelRect const& part)
{
    auto const found = entries.find(window);
    if (found == entries.end() || found->second.damage != damage || found->second.asked == sequence)
        return;
    found->second.left.subtract(part);
    dropClean(found);
}

void StalePixelTracker::noteGone(std::uint32_t window)
{
    if (auto const entry = entries.find(window); entry != entries.end())
        drop(entry);
}

PixelRegion StalePixelTracker::stale(SurveyedWindow const& window)
{
    PixelRegion region;
    auto const found = entries.find(window.id);
    if (found == entries.end())
        return region;
    if (found->second.until && *found->second.until < std::chrono::steady_clock::now()) {
        found->second.left = {};
        dropClean(found);
        return region;
    }
    for (PixelRect const& rect : found->second.left.all())
        region.add(rect.movedBy(window.area.x + window.border, window.area.y + window.border));
    return region;
}

} // namespace zelvo
