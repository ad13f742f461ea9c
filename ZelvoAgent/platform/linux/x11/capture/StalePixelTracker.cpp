#include "platform/linux/x11/capture/StalePixelTracker.h"

#include <algorithm>

namespace zelvo {

void StalePixelTracker::markStale(std::uint32_t window, std::set<std::uint32_t> const& sources)
{
    if (sources.empty())
        return;
    std::scoped_lock guard(lock);
    Entry& entry = entries[window];
    entry.isCleaned = false;
    for (std::uint32_t const source : sources) {
        entry.sources.insert(source);
        if (auto const found = entries.find(source); found != entries.end() && source != window)
            entry.sources.insert(found->second.sources.begin(), found->second.sources.end());
    }
}

void StalePixelTracker::noteGone(std::uint32_t window)
{
    std::scoped_lock guard(lock);
    entries.erase(window);
}

void StalePixelTracker::noteShape(std::uint32_t window)
{
    std::scoped_lock guard(lock);
    if (auto const found = entries.find(window); found != entries.end())
        found->second.isCleaned = false;
}

void StalePixelTracker::noteCleaned(std::uint32_t window, bool isShaped)
{
    std::scoped_lock guard(lock);
    if (isShaped)
        entries[window].isCleaned = true;
    else
        entries.erase(window);
}

bool StalePixelTracker::isStale(std::uint32_t window,
                                std::function<bool(std::uint32_t source)> const& mayBeSeen)
{
    std::scoped_lock guard(lock);
    auto const found = entries.find(window);
    if (found == entries.end() || found->second.isCleaned)
        return false;
    if (!std::ranges::all_of(found->second.sources, mayBeSeen))
        return true;
    entries.erase(found);
    return false;
}

std::set<std::uint32_t> StalePixelTracker::all() const
{
    std::scoped_lock guard(lock);
    std::set<std::uint32_t> windows;
    for (auto const& [window, entry] : entries)
        if (!entry.isCleaned)
            windows.insert(window);
    return windows;
}

} // namespace zelvo
