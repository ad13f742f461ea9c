#pragma once

#include "platform/ScreenSource.h"
#include "platform/linux/screen/PixelRegion.h"
#include "platform/linux/wayland/FrameSource.h"
#include "platform/linux/wayland/kwin/KwinImage.h"

#include <optional>
#include <vector>

// Decisions about a picture without some windows. Pure. Thread: any.
namespace zelvo {

/// The windows of such a picture.
struct KwinSelection {
    std::vector<CompositorWindow> kept; ///< those to draw, front to back
    std::vector<LogicalRect> leftOut;   ///< where windows on the screen are left out
    /// Whether one of them is active: a drag that began in it keeps its pointer image everywhere.
    bool isLeftOutActive = false;
};

/// Left out are the windows for which the decision says so, their dialogs and pop-ups, and the compositor's
/// own. While any window is, tooltips and notifications of the desktop's shell are too: they may show it. The
/// shell is the program of panels and of the background.
KwinSelection
selectWindows(WindowsNow const& now, LogicalRect const& area, FrameSource::LeftOut const& leftOut);

/// Whether the pointer's image may be a left-out application's.
bool isPointerSecret(KwinSelection const& selection, std::optional<LogicalPoint> pointer);

/// Where a window's image belongs, in pixels of the monitor's picture. `nullopt` if the image does not fit
/// the window as it was listed.
std::optional<PixelRect>
placeImage(KwinImage const& image, CompositorWindow const& window, Monitor const& monitor);

/// Draws an image below what is in the picture, whose fourth byte is alpha until the end.
void drawBelow(Picture& picture, KwinImage const& image, PixelRect const& place);
/// Whether nothing below would be seen any more.
bool isOpaque(Picture const& picture);

} // namespace zelvo
