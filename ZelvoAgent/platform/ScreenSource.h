#pragma once

#include "base/Task.h"
#include "platform/PixelBuffer.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// A display as the screen system reports it.
struct Display {
    std::uint32_t id = 0;
    double widthPoints = 0;
    double heightPoints = 0;
    double scaleFactor = 1; ///< pixels per point
    bool operator==(Display const&) const = default;
};

/// A part of a display, in the display's pixels from its top left.
struct DisplayPart {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(DisplayPart const&) const = default;
};

struct CaptureRequest {
    std::uint32_t display = 0;
    /// Size of the result in pixels; the display, or its part, is scaled to it.
    int width = 0;
    int height = 0;
    /// Identifiers of applications. No pixel of their windows is ever read.
    std::set<std::string> excluded;
    /// nullopt for the whole display. Pixels outside of it are not read.
    std::optional<DisplayPart> part = {};
};

/// BGRX, 8 bits each, top row first. The pixels may be memory of the screen system: do not keep them.
struct Picture {
    int width = 0;
    int height = 0;
    int stride = 0; ///< bytes from row to row
    PixelBuffer pixels;
};

/// The screen system refused or failed. Agents never see the reason.
struct ScreenFailure {
    std::string reason;
    /// An excluded application may be on the screen, and the screen system gives no picture without it.
    bool mayShowExcluded = false;
};

/// Takes still pictures of a display. Excluded applications are left out before any pixel is read.
/// Thread: any; one call at a time, further ones wait.
/// Made by: platform/linux/x11/capture/X11ScreenSource, tests/fakes/FakeScreenSource.
class ScreenSource {
public:
    virtual ~ScreenSource() = default;
    /// The attached screens, the main one first. Does not wait: screen events keep the list up to date.
    virtual std::vector<Display> screens() = 0;
    /// The displays that may be captured; empty if capturing is refused.
    virtual Task<std::vector<Display>> capturableDisplays() = 0;
    /// One picture, including the mouse pointer. Throws ScreenFailure, also for a width or height below 1 and
    /// for a part that is not on the display.
    virtual Task<Picture> capture(CaptureRequest request) = 0;
    /// Adds an observer that is called on the main executor when screens or their sizes change. Added at
    /// start and never removed.
    virtual void observeScreens(std::function<void()> observer) = 0;
};

} // namespace zelvo
