#pragma once

#include "platform/ScreenSource.h"
#include "platform/linux/x11/capture/CaptureScene.h"
#include "platform/linux/x11/capture/RootBackground.h"
#include "platform/linux/x11/capture/SharedImagePool.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <set>
#include <string>

namespace zelvo {

class X11Connection;

/// What came of one look at the screen.
struct CaptureResult {
    Picture picture;
    /// When positive there is no picture: a window that stays has only just appeared over one that doesn't,
    /// and may still show what was beneath it. Try again after this time.
    std::chrono::milliseconds wait{0};
};

/// Reads pictures of the screen in one consistent look: from the check of what must be left out until the
/// last pixel the server serves nobody else, which takes a few milliseconds. With nothing to leave out the
/// screen itself is read; else the picture is put together from the windows that stay, each read from its own
/// memory. Thread: one at a time; blocks.
class X11Capture {
public:
    /// server: this object's alone. Redirects all windows into memory of their own, for as long as it
    /// lives.
    X11Capture(std::shared_ptr<X11Connection> server, DesktopEntries& entries);

    /// area: pixels of the root window. lastTry: windows that would call for waiting are left out where they
    /// overlap what is left out. Throws ScreenFailure.
    CaptureResult take(PixelRect area, std::set<std::string> const& excluded, bool lastTry);

    WindowWatch& watch() { return scene.watch(); }
    /// The window that pictures are made with; it comes and goes with them, and nobody sees it.
    std::uint32_t ownWindow() const { return background.window(); }

private:
    std::shared_ptr<X11Connection> connection;
    std::shared_ptr<SharedImagePool> memory;
    CaptureScene scene;
    RootBackground background;
};

} // namespace zelvo
