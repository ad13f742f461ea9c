#pragma once

#include "platform/linux/atspi/AtspiElements.h"
#include "platform/linux/atspi/AtspiPlaces.h"

#include <optional>
#include <vector>

namespace zelvo {

/// Finds the deepest element that an application draws at a point. Toolkits are asked what is there, and
/// believed as far as the places of the elements agree; where they do not know, those alone decide. Thread:
/// one; blocks.
class AtspiHitTest {
public:
    using Index = AtspiNode::Index;
    /// Elements, in windows whose application does not say what is there.
    static constexpr std::size_t maxLookedAt = 5'000;
    /// An element with more children than that is not looked through when its application has been asked.
    static constexpr std::int32_t maxBelowAnAnswer = 64;

    AtspiHitTest(AtspiInquiry& inquiry, AtspiNodes& nodes, AtspiElements& known, AtspiPlaces& places)
        : inquiry(inquiry), nodes(nodes), known(known), places(places)
    {
    }

    std::optional<Index> find(DesktopPoint point);

private:
    using Chain = std::vector<Index>;

    std::optional<Index> findIn(AtspiPlaces::Front const& front, DesktopPoint point);
    /// From a window down to what its application says is there, each the next one's parent; at least the
    /// window.
    Chain asked(Index window, ReportedPoint at);
    Chain agreedIn(Index window, DesktopPoint point);
    Chain childByChild(Index window, ReportedPoint at);
    Chain upFrom(Index hit, Index window);
    /// Without what is not there after all.
    Chain agreed(Chain chain, DesktopPoint point);
    /// What lies over the element that the application gave first: it is listed after it.
    std::optional<Index> overlay(Chain const& chain, DesktopPoint point);
    /// By the places of all that is below an element.
    Index deepest(Index index, DesktopPoint point);
    std::optional<Index> below(Index index, DesktopPoint point, std::size_t level);
    /// Is what it holds drawn somewhere else than itself, or has it no place? A page lies below its tab.
    bool isElsewhere(Index index);
    /// Is it a plain area of Chromium's own window? Such lie over its buttons, and do not take the pointer.
    bool isBlank(Index index);
    /// What is no plain area, in an element.
    std::optional<Index> anythingElse(Index index, DesktopPoint point);
    /// In what drops down from an element, into a window of its own.
    std::optional<Index> findDropped(DesktopRect const& popup, DesktopPoint point);
    /// The field that an element is nothing but a part of, else the element.
    Index wholeOf(Index index, DesktopPoint point);
    bool isPartOfAList(Index button);
    /// Asks for what a press is judged by, without waiting for it.
    void askTexts(Index index);

    bool isAt(Index index, DesktopPoint point);
    bool hasFew(Index index);
    Chain childrenOf(Index index);
    void askPlace(Index index);

    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    AtspiElements& known;
    AtspiPlaces& places;
    std::size_t lookedAt = 0;
};

} // namespace zelvo
