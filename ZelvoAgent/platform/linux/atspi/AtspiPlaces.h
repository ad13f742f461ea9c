#pragma once

#include "base/Geometry.h"
#include "platform/linux/atspi/AtspiElements.h"
#include "platform/linux/atspi/FrameMapping.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What the screen knows of an application. Functions that are left out know nothing: then coordinates are
/// taken as they are reported. Thread: any.
struct AtspiScreen {
    std::function<std::vector<ProcessWindow>(std::int32_t pid)> windowsOf =
        {};                                                    ///< those on the screen; blocks
    std::function<std::vector<DisplayLayout>()> displays = {}; ///< the main one first
};

/// Where the elements of an application are on the screen. Thread: one.
class AtspiPlaces {
public:
    using Index = AtspiNode::Index;

    AtspiPlaces(AtspiInquiry& inquiry, AtspiNodes& nodes, AtspiElements& elements)
        : inquiry(inquiry), nodes(nodes), elements(elements)
    {
    }

    /// Lays the application's windows over those on the screen.
    /// windows  the elements that are windows and are showing
    void begin(AtspiScreen const& screen, std::int32_t pid, std::string toolkit, std::vector<Index> windows);
    bool hasBegun() const { return mapping.has_value(); }
    void forget();

    /// Nothing for an element of which no part is drawn.
    std::optional<DesktopRect> frameOf(Index index);
    /// Is it shown in a window of its own, over that of the top-level element that it is in? Asks for the
    /// extents of what matters to it.
    bool isDropped(Index index);
    /// A window of the application under a point.
    struct Front {
        std::optional<Index> element; ///< that stands for it
        DesktopRect bounds;
        bool isPopup = false;
    };
    /// The windows at a point, the one on top first. When none of the application's is known: all its
    /// top-level elements.
    std::vector<Front> windowsAt(DesktopPoint point);
    /// A point in the words of a top-level element.
    std::optional<ReportedPoint> reportedAt(Index topLevel, DesktopPoint point) const;
    /// The same as pixels of the root window.
    ReportedPoint pixelAt(DesktopPoint point) const;
    std::vector<Index> const& windows() const { return topLevels; }

    /// Does it take the element's extents to place those below it?
    bool mattersToPlaces(Index index) const;

private:
    struct Known {
        std::optional<PlacedElement> placed; ///< nothing: it lies in no window on the screen
        bool hasFrame = false;               ///< its own extents went in
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
