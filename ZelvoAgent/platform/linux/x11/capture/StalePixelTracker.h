#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>

namespace zelvo {

/// Tracks which windows may show pixels of which others, their sources: the server begins new pixels of a
/// window with a copy of the screen. Thread: any.
class StalePixelTracker {
public:
    /// A window that is gone, or that nobody knows.
    static constexpr std::uint32_t unknown = 0;

    /// The window may show pixels of these windows, and of what they may show pixels of.
    void markStale(std::uint32_t window, std::set<std::uint32_t> const& sources);
    /// The window left the screen. When it comes back, the server gives it new pixels.
    void noteGone(std::uint32_t window);
    /// The window has a new shape, with pixels that were not shown before.
    void noteShape(std::uint32_t window);
    /// All pixels that the window shows have been replaced.
    /// isShaped  it has others, which it does not show
    void noteCleaned(std::uint32_t window, bool isShaped);

    /// Whether the window may show pixels of a source that may not be seen. If not, forgets its sources: they
    /// may be seen, so it does no harm to show them.
    bool isStale(std::uint32_t window, std::function<bool(std::uint32_t source)> const& mayBeSeen);
    /// All windows that may show pixels of others.
    std::set<std::uint32_t> all() const;

private:
    struct Entry {
        std::set<std::uint32_t> sources;
        bool isCleaned = false; ///< in the shape that it has
    };

    mutable std::mutex lock;
    std::map<std::uint32_t, Entry> entries; // lock
};

} // namespace zelvo
