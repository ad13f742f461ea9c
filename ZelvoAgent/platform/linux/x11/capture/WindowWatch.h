#pragma once

#include "platform/linux/x11/capture/ShownWindows.h"
#include "platform/linux/x11/capture/StalePixelTracker.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
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
    /// Whether the last picture showed the window whole, and nothing has been put into it since.
    bool isKept(std::uint32_t window) const;
    /// The windows that may show pixels of others. Marks new ones while it takes events.
    StalePixelTracker& stale() { return stalePixels; }
    /// An embedded client that pictures leave out. When it moves away, the place in its host is stale.
    struct HiddenEmbeddedWindow {
        std::uint32_t window = 0;
        std::uint32_t host = 0;
        PixelRect area; ///< in its host
        bool operator==(HiddenEmbeddedWindow const&) const = default;
    };
    void setHiddenEmbedded(std::vector<HiddenEmbeddedWindow> present);
    /// A window whose mapping and unmapping do not matter.
    void ignore(std::uint32_t window);

private:
    void take(void const* event);
    bool takeExtension(int type, void const* event);
    void takeOnRoot(int type, void const* event);
    void takeInside(int type, void const* event);
    void noteArea(std::uint32_t window, PixelRect const& area);
    void noteNewPixels(std::uint32_t window);
    void noteGone(std::uint32_t window);
    void noteEnd(std::uint32_t window);
    bool concernsNames(std::uint32_t atom) const;

    std::shared_ptr<X11Connection> connection;
    mutable std::mutex lock;
    bool changed = true; // lock, as all below
    std::unordered_set<std::uint32_t> selected;
    std::unordered_set<std::uint32_t> selectedShapes;
    std::unordered_set<std::uint32_t> frames;
    std::map<std::uint32_t, std::uint32_t> surveyed; ///< the child of the root that a client's window is in
    ShownWindows shown;
    StalePixelTracker stalePixels; // with its own lock
    std::vector<HiddenEmbeddedWindow> hiddenEmbedded;
    Time loss{};
    Time anyLoss{}; ///< of kept ones too
    std::uint32_t ignored = 0;
};

} // namespace zelvo
