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

/// The result of one attempt.
struct CaptureResult {
    Picture picture;
    /// If positive, there is no picture: a visible window has only just appeared over a hidden one and may
    /// still show its pixels. Try again after this time.
    std::chrono::milliseconds wait{0};
};

/// Takes consistent pictures of the screen: the server is grabbed from the check of what to leave out until
/// the last pixel, which takes a few milliseconds. With nothing to leave out, the screen itself is read; else
/// the picture is composed from the remaining windows, each read from its own memory. Thread: one at a time;
/// blocks.
class X11Capture {
public:
    /// server  used by this object alone; all windows stay redirected into memory while it lives
    X11Capture(std::shared_ptr<X11Connection> server, DesktopEntries& entries);

    /// area     pixels of the root window
    /// lastTry  do not ask for a wait: leave out unsettled windows where they overlap hidden ones
    /// Throws ScreenFailure.
    CaptureResult take(PixelRect area, std::set<std::string> const& excluded, bool lastTry);

    /// Whether the server can still be reached. Thread: any.
    bool isAlive() const;
    WindowWatch& watch() { return scene.watch(); }
    /// The window used while taking pictures. It is mapped and unmapped with each one, and nobody sees it.
    std::uint32_t ownWindow() const { return background.window(); }

private:
    std::shared_ptr<X11Connection> connection;
    std::shared_ptr<SharedImagePool> memory;
    CaptureScene scene;
    RootBackground background;
};

} // namespace zelvo
