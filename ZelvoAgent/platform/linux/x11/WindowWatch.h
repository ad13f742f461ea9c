#pragma once

#include "platform/linux/x11/WindowSurvey.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_set>

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
    /// A window whose coming and going means nothing.
    void ignore(std::uint32_t window);

private:
    struct Shown {
        int width = 0;
        int height = 0;
        Time since;
    };
    void take(void const* event);
    void noteSize(std::uint32_t window, int width, int height);
    void noteMapped(std::uint32_t window);
    void noteGone(std::uint32_t window, bool destroyed);
    bool concernsNames(std::uint32_t atom) const;

    std::shared_ptr<X11Connection> connection;
    mutable std::mutex lock;
    bool changed = true; // lock, as all below
    std::unordered_set<std::uint32_t> selected;
    std::unordered_set<std::uint32_t> selectedShapes;
    std::unordered_set<std::uint32_t> kept;
    std::unordered_set<std::uint32_t> frames;
    std::map<std::uint32_t, Shown> shown;
    Time loss{};
    std::uint32_t ignored = 0;
};

} // namespace zelvo
