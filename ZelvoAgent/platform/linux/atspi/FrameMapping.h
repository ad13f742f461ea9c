#pragma once

#include "base/Geometry.h"
#include "platform/linux/atspi/AtspiRole.h"
#include "platform/linux/atspi/WindowFit.h"
#include "platform/linux/x11/DisplayLayout.h"
#include "platform/linux/x11/windows/ProcessWindows.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What the elements below an element share: how their reported coordinates become pixels of the root window,
/// and the part of it in which any of them is drawn.
struct FrameSpace {
    double scale = 1; ///< pixel = scale * reported + offset
    double x = 0;
    double y = 0;
    double contentX = 0; ///< added to the offset for what is inside of the element
    double contentY = 0;
    std::optional<PixelRect> visible;      ///< nothing: not known
    std::optional<ReportedRect> enclosing; ///< what the parent reports, when it is a plain container
    bool isDropped = false;                ///< shown in a window of its own, over the top-level's
    bool operator==(FrameSpace const&) const = default;
};

/// An element's place and that of the elements below it.
struct PlacedElement {
    std::optional<DesktopRect> frame; ///< nothing when no part of the element is drawn
    FrameSpace inside;
    bool isDropped = false; ///< itself in a window of its own, over the top-level's
};

/// A window of the application under a point.
struct FrontWindow {
    std::optional<std::size_t> topLevel; ///< the element that stands for it; nothing: none does
    DesktopRect bounds;
    bool isPopup = false;
};

/// Finds out where the elements of one application really are. Toolkits tell places in pixels or in units
/// of their own, from the screen's or from their window's corner, or in both within one window; only sizes
/// can be trusted. So each top-level element is laid over its X window, and what lies in it goes along.
/// Holds for one reading: windows move.
/// Thread: any.
class FrameMapping {
public:
    /// toolkit    the application's ToolkitName
    /// reported   its children that are windows
    /// windows    processWindows() of its process; empty when they can't be known
    /// displays   the main one first; empty when they can't be known
    FrameMapping(std::string toolkit,
                 std::vector<ReportedWindow> const& reported,
                 std::vector<ProcessWindow> windows,
                 std::vector<DisplayLayout> const& displays);

    /// The space in which a top-level element lies: place() it in here. Nothing when the application has
    /// windows on the screen but none for it.
    std::optional<FrameSpace> topLevel(std::size_t index) const;

    /// Places an element in the space of its parent.
    /// role      its AT-SPI role
    /// reported  its extents as the application gives them; nothing when they were not asked for, which is
    ///           right for an element whose place nobody wants and whose role does not matter to places
    PlacedElement
    place(FrameSpace const& parent, AtspiRole role, std::optional<ReportedRect> const& reported) const;

    /// The windows that take the pointer at a point of the main display, as far as other applications leave
    /// them, the one on top first.
    std::vector<FrontWindow> windowsAt(DesktopPoint point) const;
    /// The point in the words of what lies in a space.
    ReportedPoint reportedAt(FrameSpace const& space, DesktopPoint point) const;

    /// Do elements below one of this role need its extents, to be placed right?
    bool mattersToPlaces(AtspiRole role) const;

private:
    PlacedElement
    placeItself(FrameSpace const& parent, AtspiRole role, std::optional<ReportedRect> const& reported) const;
    FrameSpace spaceFor(ReportedWindow const& reported, std::optional<std::size_t> window) const;
    ProcessWindow const* popupOf(FrameSpace const& parent, ReportedRect const& reported) const;
    static void layOntoContainer(FrameSpace& space, AtspiRole role, ReportedRect const& reported);
    PixelRect onScreen(PixelRect const& area) const;
    DesktopRect inPoints(PixelRect const& area) const;
    bool mayFillAPopup(AtspiRole role) const;
    bool clipsItsContent(AtspiRole role) const;

    std::string toolkit;
    std::vector<ProcessWindow> windows;
    DisplayLayout layout; // of the main display
    std::optional<PixelRect> screen;
    std::vector<std::optional<std::size_t>> matches; // windows of the top-level elements
    std::vector<std::optional<FrameSpace>> spaces;   // of the top-level elements
};

} // namespace zelvo
