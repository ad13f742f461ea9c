#pragma once

#include "platform/linux/x11/PixelRegion.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>

namespace zelvo {

class X11Connection;
struct SurveyedWindow;

/// Tracks the parts of windows that still show pixels of other windows, until the server reports that they
/// are drawn over. Thread: one at a time.
class StalePixelTracker {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit StalePixelTracker(std::shared_ptr<X11Connection> server);

    /// part   within the window's border
    /// until  when it counts as clean even if nothing was drawn; `nullopt` for never
    void markStale(std::uint32_t window, PixelRegion const& part, std::optional<Time> until);
    /// The server reported drawing in a part of a window.
    /// sequence  of the event
    void noteDrawn(std::uint32_t window, std::uint32_t damage, std::uint32_t sequence, PixelRect const& part);
    /// The window left the screen, or was resized, which replaces all its pixels.
    void noteGone(std::uint32_t window);
    /// Windows that will become stale: starts the server's reports now, so that none is missed.
    void expect(std::set<std::uint32_t> windows);

    /// On the root window; empty for most.
    PixelRegion stale(SurveyedWindow const& window);

private:
    struct Entry {
        std::uint32_t damage = 0;
        std::uint32_t asked = 0; ///< the request that started the server's reports
        PixelRegion left;
        std::optional<Time> until;
    };
    using Entries = std::map<std::uint32_t, Entry>;

    void follow(std::uint32_t window, Entry& entry);
    /// Removes the entry if nothing of it is left.
    void dropClean(Entries::iterator entry);
    void drop(Entries::iterator entry);

    std::shared_ptr<X11Connection> connection;
    Entries entries;
    std::set<std::uint32_t> expected;
};

} // namespace zelvo
