#pragma once

#include "base/Geometry.h"
#include "platform/linux/atspi/AtspiElements.h"
#include "platform/linux/atspi/FrameMapping.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Screen data about an application. Without these functions reported coordinates are used unchanged, unless
/// they are relative to windows: then no element has a known place. Thread: any.
struct AtspiScreen {
    std::function<std::vector<ProcessWindow>(std::int32_t pid)> windowsOf =
        {};                                                    ///< windows on the screen; blocks
    std::function<std::vector<DisplayLayout>()> displays = {}; ///< the main one first
    ReportedFrom from = ReportedFrom::screen;
    std::function<bool()> isKnown = {}; ///< whether it is known where windows are; always, if empty
};

/// Where the elements of an application are on the screen. Thread: one.
class AtspiPlaces {
public:
    using Index = AtspiNode::Index;

    AtspiPlaces(AtspiInquiry& inquiry, AtspiNodes& nodes, AtspiElements& elements)
        : inquiry(inquiry), nodes(nodes), elements(elements)
    {
    }

    /// Matches the application's window elements to its windows on the screen.
    /// windows  the window elements that are showing
    void begin(AtspiScreen const& screen, std::int32_t pid, std::string toolkit, std::vector<Index> windows);
    bool hasBegun() const { return mapping.has_value(); }
    void forget();

    /// `nullopt` if no part of the element is drawn.
    std::optional<DesktopRect> frameOf(Index index);
    /// Whether it is shown in a separate window above that of its top-level element. Asks for the extents
    /// that this depends on.
    bool isDropped(Index index);
    /// A window of the application under a point.
    struct Front {
        std::optional<Index> element; ///< its element
        DesktopRect bounds;
        bool isPopup = false;
    };
    /// The windows at a point, topmost first. If none of the application's windows is known: all its
    /// top-level elements.
    std::vector<Front> windowsAt(DesktopPoint point);
    /// The point in the coordinates of a top-level element.
    std::optional<ReportedPoint> reportedAt(Index topLevel, DesktopPoint point) const;
    /// The same in pixels of the root window.
    ReportedPoint pixelAt(DesktopPoint point) const;
    std::vector<Index> const& windows() const { return topLevels; }

    /// Whether the places of elements below it depend on its extents.
    bool mattersToPlaces(Index index) const;

private:
    struct Known {
        std::optional<PlacedElement> placed; ///< `nullopt`: it is in no window on the screen
        bool hasFrame = false;               ///< its own extents were used
    };

    std::optional<PlacedElement> place(Index index, bool wantsFrame);
    std::optional<FrameSpace> spaceAround(Index index);
    std::optional<ReportedRect> reportedOf(Index index);

    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    AtspiElements& elements;
    std::optional<FrameMapping> mapping;
    bool knowsWindows = false;
    std::vector<Index> topLevels;
    std::vector<std::optional<Known>> known; // by index
};

} // namespace zelvo
