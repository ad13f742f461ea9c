#pragma once

#include "platform/linux/x11/capture/StalePixelTracker.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>
#include <vector>

namespace zelvo {

class X11Connection;

/// Notices changes of whatever a survey depends on, so that not every picture needs a new survey. Thread:
/// any.
class WindowWatch {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit WindowWatch(std::shared_ptr<X11Connection> server);

    /// Handles the events that have arrived.
    void takeEvents();
    /// True if the survey before the last reset() is out of date. Call takeEvents() after a round trip first.
    bool hasChanged() const;
    /// A survey was just taken, with the server grabbed: watch what it depends on.
    void reset(WindowSurvey const& survey);

    /// When a window other than the kept ones last left the screen. A compositing manager shows a closed
    /// window for a little longer.
    Time lastLoss() const;
    /// Whether a window has ever framed a client's window.
    bool hasHeldClient(std::uint32_t window) const;
    void setKept(std::unordered_set<std::uint32_t> windows);
    /// Forget the kept windows; a new set follows.
    void forgetKept();
    /// A part of a window shows pixels of another one.
    /// part  on the root window
    void markStale(SurveyedWindow const& window, PixelRegion const& part);
    /// The visible parts that are still stale, on the root window. With the server grabbed and all events
    /// taken.
    PixelRegion stale(SurveyedWindow const& window);
    /// Requests reports of drawing in the stale parts of a window. With the server grabbed.
    void follow(std::uint32_t window);
    bool isFollowed(std::uint32_t window) const;
    /// Whether drawing of a pixel was reported. The place is within the border.
    bool isDrawn(std::uint32_t window, int x, int y) const;
    /// The part was drawn, although no report said so.
    void markDrawn(std::uint32_t window, PixelRegion const& part);
    /// When drawing of the stale parts was first requested.
    std::optional<Time> askedAt(std::uint32_t window) const;
    /// An embedded client that pictures leave out. When it moves away, the place in its host is stale.
    struct HiddenEmbeddedWindow {
        std::uint32_t window = 0;
        std::uint32_t host = 0;
        PixelRect place; ///< in its parent
        PixelRect area;  ///< in its host, within the border
        bool operator==(HiddenEmbeddedWindow const&) const = default;
    };
    void setHiddenEmbedded(std::vector<HiddenEmbeddedWindow> present);
    /// A window whose mapping and unmapping do not matter.
    void ignore(std::uint32_t window);

private:
    /// A child of the root.
    struct Shown {
        PixelRect area; ///< border included, on the root window; empty if unknown
        int border = 0;
        bool isMapped = false;
    };
    /// The place of a window that has just left it.
    struct Ghost {
        PixelRect area;
        Time until;
    };
    void take(void const* event);
    bool takeExtension(int type, void const* event);
    void takeOnRoot(int type, void const* event);
    void noteArea(std::uint32_t window, PixelRect const& area, int border);
    void noteNewPixels(std::uint32_t window);
    PixelRegion suspectPixels(std::uint32_t around);
    void leaveGhost(std::uint32_t window);
    void noteGone(std::uint32_t window);
    void noteEnd(std::uint32_t window);
    void noteHiddenEmbedded(int type, void const* event);
    bool concernsNames(std::uint32_t atom) const;

    std::shared_ptr<X11Connection> connection;
    mutable std::mutex lock;
    bool changed = true; // lock, as all below
    std::unordered_set<std::uint32_t> selected;
    std::unordered_set<std::uint32_t> selectedShapes;
    std::unordered_set<std::uint32_t> kept;
    std::unordered_set<std::uint32_t> frames;
    std::map<std::uint32_t, Shown> shown;
    std::vector<Ghost> ghosts;
    StalePixelTracker stalePixels;
    std::vector<HiddenEmbeddedWindow> hiddenEmbedded;
    Time loss{};
    Time anyLoss{}; ///< of kept ones too
    std::uint32_t ignored = 0;
};

} // namespace zelvo
