#pragma once

#include "base/Task.h"
#include "platform/PixelBuffer.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// A display as the screen system knows it.
struct Display {
    std::uint32_t id = 0;
    double widthPoints = 0;
    double heightPoints = 0;
    double scaleFactor = 1; ///< pixels per point
    bool operator==(Display const&) const = default;
};

struct CaptureRequest {
    std::uint32_t display = 0;
    /// Size of the result in pixels; the whole display is scaled to it.
    int width = 0;
    int height = 0;
    /// No pixel of an application that goes by one of these identifiers is ever read, nor of a window that
    /// belongs to one.
    std::set<std::string> excluded;
};

/// BGRX, 8 bits each, top row first. It may hold memory of the screen system: do not keep it.
struct Picture {
    int width = 0;
    int height = 0;
    int stride = 0; ///< bytes from row to row
    PixelBuffer pixels;
};

/// The screen system refused or failed. Reaches no agent.
struct ScreenFailure {
    std::string reason;
};

/// Takes still pictures of a display, leaving out whole applications before the picture exists.
/// Thread: any; one call at a time, further ones wait.
/// Made by: platform/linux/x11/capture/X11ScreenSource, tests/fakes/FakeScreenSource.
class ScreenSource {
public:
    virtual ~ScreenSource() = default;
    /// The screens that are attached, the main one first. Does not wait: kept by the screen system's events.
    virtual std::vector<Display> screens() = 0;
    /// The displays that may be captured; empty when capturing is refused.
    virtual Task<std::vector<Display>> capturableDisplays() = 0;
    /// One picture, the mouse pointer in it. Throws ScreenFailure, also for a width or height below 1.
    virtual Task<Picture> capture(CaptureRequest request) = 0;
    /// Called on the main executor when the screens or their sizes have changed. Added at start and never
    /// removed.
    virtual void observeScreens(std::function<void()> observer) = 0;
};

} // namespace zelvo
