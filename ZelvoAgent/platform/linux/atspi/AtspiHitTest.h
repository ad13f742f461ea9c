#pragma once

#include "platform/linux/atspi/AtspiElements.h"
#include "platform/linux/atspi/AtspiPlaces.h"

#include <optional>
#include <vector>

namespace zelvo {

/// Finds the deepest element that an application draws at a point. The toolkit's hit test is used as far as
/// the elements' places agree with it; where the toolkit has no answer, the places alone decide. Thread: one;
/// blocks.
class AtspiHitTest {
public:
    using Index = AtspiNode::Index;
    /// Limit of elements in windows whose application has no hit test.
    static constexpr std::size_t maxLookedAt = 5'000;
    /// An element with more children is not searched after the toolkit's hit test gave it.
    static constexpr std::int32_t maxBelowAnAnswer = 64;

    AtspiHitTest(AtspiInquiry& inquiry, AtspiNodes& nodes, AtspiElements& known, AtspiPlaces& places)
        : inquiry(inquiry), nodes(nodes), known(known), places(places)
    {
    }

    std::optional<Index> find(DesktopPoint point);

private:
    using Chain = std::vector<Index>;

    std::optional<Index> findIn(AtspiPlaces::Front const& front, DesktopPoint point);
    /// The path from a window down to the toolkit's answer, each element the parent of the next; at least the
    /// window.
    Chain asked(Index window, ReportedPoint at);
    Chain agreedIn(Index window, DesktopPoint point);
    Chain childByChild(Index window, ReportedPoint at);
    Chain upFrom(Index hit, Index window);
    /// Cuts the path at the end, up to an element that is at the point.
    Chain agreed(Chain chain, DesktopPoint point);
    /// An element drawn over the toolkit's answer: one that its parent lists later.
    std::optional<Index> overlay(Chain const& chain, DesktopPoint point);
    /// The deepest element below this one, by places alone.
    Index deepest(Index index, DesktopPoint point);
    std::optional<Index> below(Index index, DesktopPoint point, std::size_t level);
    /// Whether its children may be drawn outside of it: its role is unknown, or it is a tab, whose child is
    /// the page below.
    bool isElsewhere(Index index);
    /// Whether it is a plain container of Chromium's own window. Those cover its buttons but do not take the
    /// pointer.
    bool isBlank(Index index);
    /// The deepest element at the point that is no plain container.
    std::optional<Index> anythingElse(Index index, DesktopPoint point);
    /// Searches the content of an element that drops down into a separate window.
    std::optional<Index> findDropped(DesktopRect const& popup, DesktopPoint point);
    /// The field that the element is a mere part of, else the element.
    Index wholeOf(Index index, DesktopPoint point);
    bool isPartOfAList(Index button);
    /// Sends the questions that a press is judged by, without waiting for answers.
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
