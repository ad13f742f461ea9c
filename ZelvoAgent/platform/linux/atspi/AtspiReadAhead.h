#pragma once

#include "platform/Accessibility.h"
#include "platform/linux/atspi/AtspiElements.h"
#include "platform/linux/atspi/AtspiPlaces.h"

#include <vector>

namespace zelvo {

/// Reads ahead of a walk: asks about elements in the order of the walk, with as many questions in flight as
/// the application can take, up to a bounded number of elements ahead. Thread: one.
class AtspiReadAhead {
public:
    using Index = AtspiNode::Index;
    /// Limit of elements that were asked about and that the walk has not reached.
    static constexpr std::size_t furthest = 512;

    AtspiReadAhead(AtspiExchange& exchange,
                   AtspiInquiry& inquiry,
                   AtspiNodes& nodes,
                   AtspiElements& elements,
                   AtspiPlaces const& places)
        : exchange(exchange), inquiry(inquiry), nodes(nodes), elements(elements), places(places)
    {
    }

    void plan(AccessibilityPlan next);
    bool hasPlan() const { return isPlanned; }
    AccessibilityPlan const& current() const { return accessibilityPlan; }

    /// The walk starts at these elements, or continues with them.
    void startAt(std::vector<Index> const& roots);
    /// The walk has reached an element.
    void reach(Index index);
    void noteAnswer(Index index, AtspiQuestion question);
    /// Whether the element was or will be asked about.
    bool covers(Index index) const;
    /// Sends the questions that may be sent now.
    void fill();

private:
    enum class Stage : std::uint8_t { unknown, waiting, opened, detailed };
    struct Mark {
        Stage stage = Stage::unknown;
        bool isReached = false;
        bool awaitsExtents = false; ///< further questions depend on its place
        int depth = 0;              ///< in the walk
    };
    /// A step for one element, ordered by the walk. One task opens siblings one after the other.
    struct Task {
        Index node = 0;
        bool isOpening = false;
    };

    Mark& markOf(Index index);
    void push(Task task);
    bool comesLater(Task const& left, Task const& right) const;
    bool maySend(Task task) const;
    void open(Index index);
    void openSiblingAfter(Index index);
    void askDetails(Index index);
    bool wantsDetails(Index index) const;
    bool isPlacedFirst(Index index) const;
    bool isOutOfView(Index index) const;
    void followChildren(Index index);

    AtspiExchange& exchange;
    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    AtspiElements& elements;
    AtspiPlaces const& places;
    AccessibilityPlan accessibilityPlan;
    bool isPlanned = false;
    bool isFilling = false;
    std::size_t ahead = 0;
    std::vector<Task> tasks; // a heap, the first in the walk on top
    std::vector<Mark> marks; // by index
};

} // namespace zelvo
