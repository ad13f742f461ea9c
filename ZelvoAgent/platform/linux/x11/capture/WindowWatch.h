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

/// Notices whether anything that a survey rests on has changed, so that a survey need not be taken for every
/// picture. Thread: any.
class WindowWatch {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit WindowWatch(std::shared_ptr<X11Connection> server);

    /// Takes the events that have come.
    void takeEvents();
    /// True when a survey that was taken before the last reset() no longer holds. Call takeEvents() after a
    /// round trip.
    bool hasChanged() const;
    /// The survey was taken just now, with the server grabbed: watch what it rests on.
    void reset(WindowSurvey const& survey);

    /// Since when a window has been on the screen in its present size. A window's first pixels are the
    /// server's copy of what was beneath it, until it paints itself.
    Time shownSince(std::uint32_t window) const;
    /// Since then no window but these has left the screen; a compositing manager shows what goes for a little
    /// longer.
    Time lastLoss() const;
    /// Whether a window has been a frame around a client's window.
    bool hasHeldClient(std::uint32_t window) const;
    void setKept(std::unordered_set<std::uint32_t> windows);
    /// Other windows are to be kept from now on than those that have been.
    void forgetKept();
    /// A part of a window shows what is none of its own. part: within the border. until: when it passes for
    /// clean though nothing was drawn there; never without.
    void markStale(std::uint32_t window, PixelRegion const& part, std::optional<Time> until);
    /// Such a part that is left, on the root window.
    PixelRegion stale(SurveyedWindow const& window);
    /// A client inside another's window that is left out of pictures. Where it was, its host's pixels are
    /// stale.
    struct HiddenEmbeddedWindow {
        std::uint32_t window = 0;
        std::uint32_t host = 0;
        PixelRect place; ///< in its parent
        PixelRect area;  ///< in its host, within the border
        bool operator==(HiddenEmbeddedWindow const&) const = default;
    };
    void setHiddenEmbedded(std::vector<HiddenEmbeddedWindow> present);
    /// A window whose coming and going means nothing.
    void ignore(std::uint32_t window);

private:
    struct Shown {
        int width = 0;
        int height = 0;
        Time since;
    };
    void take(void const* event);
    bool takeExtension(int type, void const* event);
    void noteSize(std::uint32_t window, int width, int height);
    void noteMapped(std::uint32_t window);
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
    StalePixelTracker stalePixels;
    std::vector<HiddenEmbeddedWindow> hiddenEmbedded;
    Time loss{};
    Time anyLoss{}; ///< of kept ones too
    std::uint32_t ignored = 0;
};

} // namespace zelvo
