#pragma once

#include "base/Geometry.h"
#include "platform/linux/atspi/AtspiRole.h"
#include "platform/linux/atspi/WindowFit.h"
#include "platform/linux/screen/DisplayLayout.h"
#include "platform/linux/screen/ProcessWindow.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The coordinate space of an element's children: how reported coordinates become pixels of the root window,
/// and the area in which they are visible.
struct FrameSpace {
    double scale = 1; ///< pixel = scale * reported + offset
    double x = 0;
    double y = 0;
    double contentX = 0; ///< added to the offset for the element's content
    double contentY = 0;
    std::optional<PixelRect> visible;      ///< `nullopt`: unknown
    std::optional<ReportedRect> enclosing; ///< the parent's reported rectangle if it is a plain container
    bool isDropped = false;                ///< shown in a separate window above the top-level's
    bool isKnown = true;                   ///< false: nobody says where that window is
    bool isPage = false;                   ///< inside a web page
    double density = 1;                    ///< real pixels per pixel of the window's display
    std::optional<AtspiRole> owner; ///< of the element whose children are in it; `nullopt` for a window
    bool operator==(FrameSpace const&) const = default;
};

/// The place of an element, and the space of its children.
struct PlacedElement {
    std::optional<DesktopRect> frame; ///< `nullopt` if no part of the element is drawn
    FrameSpace inside;
    bool isDropped = false; ///< the element itself is in a separate window above the top-level's
};

/// A window of the application under a point.
struct FrontWindow {
    std::optional<std::size_t> topLevel; ///< its element; `nullopt` if there is none
    DesktopRect bounds;
    bool isPopup = false;
};

/// What the places that applications report are relative to, as far as they know.
enum class ReportedFrom {
    screen, ///< what is not matched to a window is where it says
    window, ///< what is not matched to a window has no known place
    corner, ///< nobody knows where windows are: places are given from the corner of each
};

/// Finds the real places of one application's elements. Toolkits report coordinates in pixels or scaled
/// units, relative to the screen or to their window, sometimes both within one window; only sizes are
/// reliable. So each top-level element is matched to its X window, and its descendants follow. Valid for one
/// reading, because windows move.
/// Thread: any.
class FrameMapping {
public:
    /// toolkit    the application's ToolkitName
    /// reported   its children that are windows
    /// windows    processWindows() of its process; empty if unknown
    /// displays   the main one first; empty if unknown
    FrameMapping(std::string toolkit,
                 std::vector<ReportedWindow> const& reported,
                 std::vector<ProcessWindow> windows,
                 std::vector<DisplayLayout> const& displays,
                 ReportedFrom from = ReportedFrom::screen);

    /// The space for place() of a top-level element. `nullopt` if the application has windows on the screen
    /// but none for this element, or if nothing says where its window is.
    std::optional<FrameSpace> topLevel(std::size_t index) const;

    /// Places an element in the space of its parent.
    /// role      its AT-SPI role number
    /// reported  the extents that the application reports; may be `nullopt` if nobody wants the element's
    ///           place and its role does not matter to places
    PlacedElement
    place(FrameSpace const& parent, AtspiRole role, std::optional<ReportedRect> const& reported) const;

    /// The windows that take the pointer at a point of the main display, topmost first; areas that other
    /// applications cover are excluded.
    std::vector<FrontWindow> windowsAt(DesktopPoint point) const;
    /// The point in the coordinates that elements of this space report.
    ReportedPoint reportedAt(FrameSpace const& space, DesktopPoint point) const;

    /// Whether the places of elements below one of this role depend on its extents.
    bool mattersToPlaces(AtspiRole role) const;

private:
    PlacedElement
    placeItself(FrameSpace const& parent, AtspiRole role, std::optional<ReportedRect> const& reported) const;
    std::optional<FrameSpace> spaceFor(ReportedWindow const& reported,
                                       std::optional<std::size_t> window) const;
    FrameSpace fromCornerOf(ReportedWindow const& reported) const;
    void moveOnto(FrameSpace& space, ProcessWindow const& popup, ReportedPoint corner) const;
    void leaveWindow(FrameSpace& space, AtspiRole role) const;
    bool leavesWindow(FrameSpace const& parent, AtspiRole role) const;
    void enterPage(FrameSpace& space, std::optional<ReportedRect> const& reported) const;
    double densityAt(PixelRect const& window) const;
    ProcessWindow const* popupOf(FrameSpace const& parent, ReportedRect const& reported) const;
    static void layOntoContainer(FrameSpace& space, AtspiRole role, ReportedRect const& reported);
    bool isPopup(std::size_t window) const;
    PixelRect onScreen(PixelRect const& area) const;
    DesktopRect inPoints(PixelRect const& area) const;
    bool mayFillAPopup(AtspiRole role) const;
    bool clipsItsContent(AtspiRole role) const;

    std::string toolkit;
    std::vector<ProcessWindow> windows;
    std::vector<DisplayLayout> displays;
    DisplayLayout layout; // of the main display
    ReportedFrom from;
    std::optional<PixelRect> screen;
    std::vector<std::optional<std::size_t>> matches; // windows of the top-level elements
    std::vector<std::optional<FrameSpace>> spaces;   // of the top-level elements
};

} // namespace zelvo
