#pragma once

#include "platform/linux/x11/PixelRegion.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace zelvo {

class X11Connection;
struct SurveyedWindow;

/// Tracks the parts of windows that still show pixels of other windows, until the server reports that they
/// are drawn over. The server also reports parts that it only moves or uncovers, right after the event of
/// what caused that, so reports end at such an event and have to be requested again. Thread: any.
class StalePixelTracker {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit StalePixelTracker(std::shared_ptr<X11Connection> server);

    /// part  within the window's border
    void markStale(std::uint32_t window, PixelRegion const& part);
    /// part  on the root window
    void markStale(SurveyedWindow const& window, PixelRegion const& part);
    /// The window left the screen. When it comes back, the server gives it new pixels.
    void noteGone(std::uint32_t window);
    /// A window appeared, disappeared, moved or changed its size or place in the stack. Ends all reports;
    /// what they said before counts.
    void noteMove();
    /// A window changed its shape. Ends all reports; what they said may come from that.
    void noteShape();

    /// Requests reports of drawing in a window with stale parts. Not while another client may change windows
    /// and the events of that have not arrived: with the server grabbed.
    void follow(std::uint32_t window);
    bool isFollowed(std::uint32_t window) const;
    /// The server reported drawing in a part of a window.
    /// sequence  of the event
    void noteDrawn(std::uint32_t window, std::uint32_t damage, std::uint32_t sequence, PixelRect const& part);
    /// Whether drawing of a pixel was reported.
    bool isDrawn(std::uint32_t window, int x, int y) const;
    /// The part was drawn, although no report said so.
    void markDrawn(std::uint32_t window, PixelRegion const& part);

    /// The visible stale parts, on the root window; empty for most windows. What was reported until now
    /// counts: not before all events of changed shapes have arrived.
    PixelRegion visible(SurveyedWindow const& window);
    bool isStale(std::uint32_t window);
    /// When reports were first requested for the window's present stale parts; `nullopt` if never.
    std::optional<Time> askedAt(std::uint32_t window) const;
    /// All windows with stale parts, and these within the border.
    std::vector<std::pair<std::uint32_t, PixelRegion>> all() const;

private:
    struct Entry {
        std::uint32_t damage = 0; ///< 0: no reports
        std::uint32_t asked = 0;  ///< the request that started the reports
        PixelRegion left;
        PixelRegion drawn; ///< reported, but not subtracted yet
        std::optional<Time> firstAsked;
    };
    using Entries = std::map<std::uint32_t, Entry>;

    void settle(Entry& entry);
    void endReports(Entry& entry);
    Entry const* find(std::uint32_t window) const;
    PixelRegion stale(std::uint32_t window);
    void drop(std::uint32_t window);

    std::shared_ptr<X11Connection> connection;
    mutable std::mutex lock;
    Entries entries; // lock
};

} // namespace zelvo
